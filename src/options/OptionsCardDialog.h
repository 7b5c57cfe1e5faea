#pragma once

#include "OptEntryCheck.h"
#include "OptVoucherControl.h"
#include "card/CardDocument.h"
#include "clsOptVoucher.h"

#include <QDialog>
#include <memory>

class QPushButton;

namespace bom::card {
class VoucherView;
}

namespace bom::options {

// The substitutes card of one component line: the line read only above, its substitutes in a
// grid laid out by the "PP31" template, each entry checked as it is typed or picked; add and
// delete rows, save, cancel back to what is stored, close. Loads and saves through
// clsOptVoucher, which has shown every failure by the time it answers.
class OptionsCardDialog : public QDialog, public OptVoucherControl {
    Q_OBJECT
public:
    OptionsCardDialog(entry::Session& session, const QString& lineAutoid,
                      QWidget* parent = nullptr);
    ~OptionsCardDialog() override;

    // Loads the line's card; false when it could not (its message shown).
    bool load();
    // The BOM's version before the first save and after the last one; equal when nothing
    // was saved.
    qlonglong versionLoaded() const { return versionLoaded_; }
    qlonglong versionSaved() const { return versionSaved_; }

    bool save();
    void cancelEdits();
    void addRow();
    void deleteRow();

    card::CardDocument& document() { return document_; }
    card::VoucherView* view() const { return view_; }

    // OptVoucherControl
    bomservice::BomCard getVoucherData() const override { return document_.getVoucherData(); }
    void setVoucherData(const bomservice::BomCard& card) override;
    void ShowCard() override { exec(); }

protected:
    void reject() override; // closing asks before unsaved edits go

private:
    bool edited() const;
    qlonglong bomVersion() const;

    entry::Session& session_;
    card::CardDocument document_;
    clsOptVoucher voucher_;
    OptEntryCheck check_;
    card::VoucherView* view_ = nullptr;
    qlonglong versionLoaded_ = 0;
    qlonglong versionSaved_ = 0;
};

} // namespace bom::options
