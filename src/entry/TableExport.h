#pragma once

#include <QString>
#include <QStringList>
#include <vector>

class QIODevice;

namespace bom::entry {

// A table as the module prints and exports it: a title, column captions and rows of the texts
// shown, one text per caption.
struct ExportTable {
    QString title;
    QStringList captions;
    std::vector<QStringList> rows;
};

// The one way tables leave the module as files and print pages. Files are CSV in UTF-8 with a
// byte-order mark, so spreadsheet programs read Chinese, lines ending in CR LF.
class TableExport {
public:
    enum class Format { Csv };

    // False with `error` set when writing failed.
    static bool write(QIODevice& out, const ExportTable& table, Format format, QString* error);
    // An HTML page of the table, for printing and preview.
    static QString html(const ExportTable& table);
    // `body` as a page in the module's printed style: ruled tables, grey headings.
    static QString htmlDocument(const QString& body);

    // The pieces the module's other CSV files are made of.
    static QString csvField(const QString& text); // quoted when it holds , " or a line break
    static QString csvLine(const QStringList& fields);
    // `text` (CSV lines) with the byte-order mark; false with `error` set when writing failed.
    static bool writeCsvText(QIODevice& out, const QString& text, QString* error);
};

} // namespace bom::entry
