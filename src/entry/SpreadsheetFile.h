#pragma once

#include <QString>
#include <QStringList>
#include <QVariantList>
#include <optional>
#include <vector>

class QIODevice;

namespace bom::entry {

// A column of a sheet: the name a script reads, the caption a planner reads, and for numbers
// the account's decimal places (-1: text).
struct SheetColumn {
    QString name;
    QString caption;
    int decimals = -1;
};

// A table as it goes to a spreadsheet: one heading row of captions, then the rows, values in
// the order of the columns.
struct Sheet {
    QString title;
    std::vector<SheetColumn> columns;
    std::vector<QVariantList> rows;
};

// Spreadsheet files planners exchange: XLSX (written by libxlsxwriter, read from its zip with
// minizip) and CSV (UTF-8 with a byte-order mark, so spreadsheet programs read Chinese). Every
// failure answers false or nothing with `error` set; a file is never trusted to be small or
// well formed.
class SpreadsheetFile {
public:
    enum class Format { Xlsx, Csv };

    // By the file's extension; nothing for any other.
    static std::optional<Format> formatOf(const QString& path);

    // XLSX: the heading bold and frozen, numbers as numbers with their decimal places, columns
    // wide enough for their captions. CSV: the same cells as text.
    // The file name's extension chooses the format.
    static bool write(const QString& path, const Sheet& sheet, QString* error);
    static bool write(QIODevice& out, const QString& fileName, const Sheet& sheet, QString* error);
    static bool writeCsv(QIODevice& out, const Sheet& sheet, QString* error);
    // The pieces the module's other CSV files are made of.
    static QString csvField(const QString& text); // quoted when it holds , " or a line break
    static QString csvLine(const QStringList& fields);
    // `text` (CSV lines) with the byte-order mark; false with `error` set when writing failed.
    static bool writeCsvText(QIODevice& out, const QString& text, QString* error);

    // The first sheet's rows as text, the heading first; empty trailing cells dropped. Numbers
    // come as the shortest text that reads back the same.
    static std::optional<std::vector<QStringList>> read(const QString& path, QString* error);
    static std::optional<std::vector<QStringList>> readCsv(const QByteArray& text, QString* error);

    // What a file may hold at most: past it the read is refused rather than tried.
    static constexpr qint64 kMaxBytes = 256LL * 1024 * 1024;
    static constexpr int kMaxRows = 1000000;
    static constexpr int kMaxColumns = 1000;
};

} // namespace bom::entry
