#pragma once

#include "RowSet.h"

namespace bom::bomservice {

// Fills each body row's unitqty with ipsquantity / tdqtyd / iprodchangrate rounded to
// `numDigits` decimals. Rows where either divisor is zero, or where the rounded quantity comes
// out as zero, keep the unitqty they had.
void ComputeUnitQty(RowSet& body, int numDigits);

} // namespace bom::bomservice
