// The CSV reader behind `bomctl import` on any bytes: rows or an error, never a crash; rows
// it accepts, written by the module's own CSV writer, read back the same.
#include "entry/SpreadsheetFile.h"

#include <QBuffer>
#include <algorithm>
#include <cstdint>
#include <cstdlib>

using bom::entry::Sheet;
using bom::entry::SpreadsheetFile;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    QString error;
    const auto rows = SpreadsheetFile::readCsv(
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size)), &error);
    if (!rows) {
        if (error.isEmpty())
            std::abort();
        return 0;
    }
    if (rows->empty())
        return 0;
    // The first row as the heading, every row as wide as the widest, as an export writes them;
    // the reader drops the empty cells this pads with.
    qsizetype width = 0;
    for (const QStringList& row : *rows) {
        if (!row.isEmpty() && row.last().isEmpty())
            std::abort(); // empty trailing cells are dropped
        width = std::max(width, row.size());
    }
    Sheet sheet;
    for (qsizetype c = 0; c < width; ++c)
        sheet.columns.push_back({QStringLiteral("c%1").arg(c), rows->front().value(c), -1});
    for (std::size_t r = 1; r < rows->size(); ++r) {
        QVariantList cells;
        for (const QString& cell : (*rows)[r])
            cells << cell;
        sheet.rows.push_back(cells);
    }
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    if (!SpreadsheetFile::writeCsv(out, sheet, &error))
        std::abort();
    const auto again = SpreadsheetFile::readCsv(out.data(), &error);
    if (!again || *again != *rows)
        std::abort();
    return 0;
}
