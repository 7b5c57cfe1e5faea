#pragma once

#include "RowSet.h"

#include <optional>

namespace bom::bomservice {

// The auxiliary quantity of one line: ipsquantity / tdqtyd / iprodchangrate rounded to
// `numDigits` decimals; nothing when either divisor is zero or the rounded quantity is zero.
std::optional<double> UnitQtyOf(double ipsquantity, double tdqtyd, double changeRate,
                                int numDigits);

// Fills each body row's unitqty with UnitQtyOf its quantities. Rows where it answers nothing
// keep the unitqty they had.
void ComputeUnitQty(RowSet& body, int numDigits);

} // namespace bom::bomservice
