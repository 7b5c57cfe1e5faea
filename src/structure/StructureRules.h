#pragma once

#include <QString>
#include <QVariant>

namespace bom::structure {

// The arithmetic every structure tool shares.
class StructureRules {
public:
    // A line's quantity per unit of its parent: numerator ÷ denominator × (1 + waste rate %).
    // A missing or zero denominator counts as 1, as a new line's does.
    static double quantityPer(const QVariant& numerator, const QVariant& denominator,
                              const QVariant& wasteRate);
    // A leaf's price: the line's standard price, else (none or zero) the item's reference cost.
    static double leafPrice(const QVariant& linePrice, const QVariant& referenceCost);
    // A cost at the account's price digits.
    static double rounded(double value, int digits);
    // A number as the tables show it: as many digits as it has, up to ten significant.
    static QString text(double value);
    // A stored figure so: "" for none, however the driver types its null.
    static QString figure(const QVariant& stored);
    // Whether a stored cost figure (null: none) differs from a worked out one at `digits`.
    static bool differs(const QVariant& stored, double worked, int digits);
};

} // namespace bom::structure
