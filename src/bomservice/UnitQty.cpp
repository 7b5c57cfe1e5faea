#include "UnitQty.h"

#include "entry/Format.h"

namespace bom::bomservice {

void ComputeUnitQty(RowSet& body, int numDigits) {
    // Null, empty or non-numeric text all read as zero here.
    const auto number = [&body](int row, const char* column) {
        return body.value(row, QLatin1String(column)).toDouble();
    };
    for (int row = 0; row < body.rowCount(); ++row) {
        const double baseQty = number(row, "tdqtyd");
        const double changeRate = number(row, "iprodchangrate");
        if (baseQty == 0 || changeRate == 0)
            continue;
        const QString rounded =
            entry::FormatByDigits(number(row, "ipsquantity") / baseQty / changeRate, numDigits);
        const double unitQty = rounded.toDouble();
        if (unitQty == 0)
            continue;
        // A new column is numeric, not the text column setValue would make.
        if (!body.hasColumn(QStringLiteral("unitqty")))
            body.addColumn({QStringLiteral("unitqty"), QStringLiteral("float")});
        body.setValue(row, QStringLiteral("unitqty"), unitQty);
    }
}

} // namespace bom::bomservice
