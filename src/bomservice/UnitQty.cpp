#include "UnitQty.h"

#include "entry/Format.h"

namespace bom::bomservice {

std::optional<double> UnitQtyOf(double ipsquantity, double tdqtyd, double changeRate,
                                int numDigits) {
    if (tdqtyd == 0 || changeRate == 0)
        return std::nullopt;
    const double unitQty =
        entry::FormatByDigits(ipsquantity / tdqtyd / changeRate, numDigits).toDouble();
    if (unitQty == 0)
        return std::nullopt;
    return unitQty;
}

void ComputeUnitQty(RowSet& body, int numDigits) {
    // Null, empty or non-numeric text all read as zero here.
    const auto number = [&body](int row, const char* column) {
        return body.value(row, QLatin1String(column)).toDouble();
    };
    for (int row = 0; row < body.rowCount(); ++row) {
        const auto unitQty = UnitQtyOf(number(row, "ipsquantity"), number(row, "tdqtyd"),
                                       number(row, "iprodchangrate"), numDigits);
        if (!unitQty)
            continue;
        // A new column is numeric, not the text column setValue would make.
        if (!body.hasColumn(QStringLiteral("unitqty")))
            body.addColumn({QStringLiteral("unitqty"), QStringLiteral("float")});
        body.setValue(row, QStringLiteral("unitqty"), *unitQty);
    }
}

} // namespace bom::bomservice
