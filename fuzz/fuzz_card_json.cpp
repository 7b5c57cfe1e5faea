// The card JSON reader (bomctl save, validate, edit) on any bytes: a card or an error, never a
// crash; a card it accepts is read back equal from what bomctl prints of it.
#include "ctl/CardJson.h"

#include <QJsonDocument>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    QString error;
    const auto card = bom::app::cardFromJson(
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size)), &error);
    if (!card)
        return 0;
    const QByteArray printed = QJsonDocument(bom::app::cardToJson(*card)).toJson();
    const auto again = bom::app::cardFromJson(printed, &error);
    if (!again || !(again->header == card->header) || !(again->lines == card->lines))
        std::abort();
    return 0;
}
