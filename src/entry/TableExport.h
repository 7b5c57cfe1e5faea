#pragma once

#include <QString>
#include <QStringList>
#include <vector>

class QIODevice;

namespace bom::entry {

class Session;
struct Sheet;

// A table as the module prints and exports it: a title, column captions and rows of the texts
// shown, one text per caption.
struct ExportTable {
    // What a column holds, so that a spreadsheet gets numbers with the account's decimals.
    enum class Kind { Text, Count, Quantity, Amount };
    QString title;
    QStringList captions;
    std::vector<QStringList> rows;
    std::vector<Kind> kinds; // by column; a column without one is text
};

// The one way tables leave the module as files and print pages. Files are XLSX or CSV (UTF-8
// with a byte-order mark, so spreadsheet programs read Chinese, lines ending in CR LF).
class TableExport {
public:
    // The table as a sheet: numbers where its kinds say so, with the session's decimals.
    static Sheet sheet(const ExportTable& table, const Session& session);
    // As XLSX or CSV by the file name's extension; false with `error` set when writing failed.
    static bool write(QIODevice& out, const QString& fileName, const ExportTable& table,
                      const Session& session, QString* error);
    // An HTML page of the table, for printing and preview.
    static QString html(const ExportTable& table);
    // `body` as a page in the module's printed style: ruled tables, grey headings.
    static QString htmlDocument(const QString& body);
};

} // namespace bom::entry
