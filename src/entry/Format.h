#pragma once

#include <QString>
#include <QVariant>

namespace bom::entry {

// A number for display with `digits` decimal places ("0.00" for 2); with 0 or fewer, a whole
// number without decimal point.
QString FormatByDigits(double value, int digits);

// "" for a null value, otherwise the value itself.
QVariant NullToStr(const QVariant& value);

// A stored value as text: "" for null, a number to 15 significant digits, else its text.
QString StoredText(const QVariant& value);

} // namespace bom::entry
