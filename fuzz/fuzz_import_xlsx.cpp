// The XLSX reader behind `bomctl import` (the zip through minizip, then the workbook's XML) on
// any bytes: rows or an error, never a crash, leak or hang; rows it answers keep the reader's
// promises (no empty trailing cell, within the row and column limits).
#include "entry/SpreadsheetFile.h"

#include <QFile>
#include <QTemporaryDir>
#include <cstdint>
#include <cstdlib>

using bom::entry::SpreadsheetFile;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The reader takes a path: one file, rewritten for every input.
    static QTemporaryDir dir;
    static const QString path = dir.filePath(QStringLiteral("input.xlsx"));
    QFile file(path);
    if (!dir.isValid() || !file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(reinterpret_cast<const char*>(data), qint64(size)) != qint64(size))
        std::abort();
    file.close();
    QString error;
    const auto rows = SpreadsheetFile::read(path, &error);
    if (!rows) {
        if (error.isEmpty())
            std::abort();
        return 0;
    }
    if (rows->size() > std::size_t(SpreadsheetFile::kMaxRows))
        std::abort();
    for (const QStringList& row : *rows)
        if (row.size() > SpreadsheetFile::kMaxColumns || (!row.isEmpty() && row.last().isEmpty()))
            std::abort();
    return 0;
}
