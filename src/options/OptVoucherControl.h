#pragma once

#include "bomservice/RowSet.h"

namespace bom::options {

// What the options card's service needs of the control that shows the card: the card as the
// operator edited it, a place to put the card it loaded or saved, and a way to put it before
// the operator. The card's window implements it; the service never sees a widget.
class OptVoucherControl {
public:
    virtual ~OptVoucherControl() = default;

    // The card on display; its substitute rows marked "A", "M" or "D" as edited.
    virtual bomservice::BomCard getVoucherData() const = 0;
    virtual void setVoucherData(const bomservice::BomCard& card) = 0;
    // Shows the card until the operator closes it.
    virtual void ShowCard() = 0;
};

} // namespace bom::options
