#include "StructureRules.h"

#include "entry/VoucherHelpers.h"

#include <algorithm>
#include <cmath>

namespace bom::structure {
namespace {

double numberOr(const QVariant& value, double fallback) {
    return entry::VoucherHelpers::ToNumber(value).value_or(fallback);
}

} // namespace

double StructureRules::quantityPer(const QVariant& numerator, const QVariant& denominator,
                                   const QVariant& wasteRate) {
    const double below = numberOr(denominator, 1);
    return entry::VoucherHelpers::QuantityPer(numberOr(numerator, 0), below == 0 ? 1 : below,
                                              numberOr(wasteRate, 0));
}

double StructureRules::leafPrice(const QVariant& linePrice, const QVariant& referenceCost) {
    const double price = numberOr(linePrice, 0);
    return price != 0 ? price : numberOr(referenceCost, 0);
}

double StructureRules::rounded(double value, int digits) {
    const double scale = std::pow(10.0, std::max(0, digits));
    return std::round(value * scale) / scale;
}

QString StructureRules::text(double value) {
    return QString::number(value, 'g', 10);
}

QString StructureRules::figure(const QVariant& stored) {
    return stored.isNull() ? QString() : text(stored.toDouble());
}

bool StructureRules::differs(const QVariant& stored, double worked, int digits) {
    const auto number = entry::VoucherHelpers::ToNumber(stored);
    return !number || std::abs(*number - worked) >= 0.5 * std::pow(10.0, -std::max(0, digits));
}

} // namespace bom::structure
