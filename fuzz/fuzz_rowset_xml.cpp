// The XML row-set reader on any bytes: it answers a row set or an error, never crashes, and a
// row set it accepts survives being written and read again.
#include "bomservice/RowSet.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    QString error;
    const auto rows = bom::bomservice::RowSet::fromXml(text, &error);
    if (!rows)
        return 0;
    const auto again = bom::bomservice::RowSet::fromXml(rows->toXml(), &error);
    if (!again || !(*again == *rows))
        std::abort();
    return 0;
}
