#include "Format.h"

#include <cmath>

namespace bom::entry {

QString FormatByDigits(double value, int digits) {
    if (digits > 0)
        return QString::number(value, 'f', digits);
    return QString::number(std::round(value), 'f', 0);
}

QVariant NullToStr(const QVariant& value) {
    return value.isNull() ? QVariant(QString()) : value;
}

QString StoredText(const QVariant& value) {
    if (value.isNull())
        return {};
    if (value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float)
        return QString::number(value.toDouble(), 'g', 15);
    return value.toString();
}

} // namespace bom::entry
