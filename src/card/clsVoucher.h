#pragma once

#include "bomservice/BomCardLoader.h"

#include <QMap>
#include <QString>
#include <optional>

namespace bom::entry {
class Session;
}

namespace bom::card {

class CardForm;
class VoucherControl;

// The moves through the list's order.
enum class CardMove { First, Prev, Next, Last };

// Finds the neighbours of a BOM in the order of the list the card was opened from.
class CardNavigator {
public:
    virtual ~CardNavigator() = default;
    // std::nullopt when there is none (or no current BOM for Prev/Next).
    virtual std::optional<QString> neighbour(CardMove move, const QString& currentId) = 0;
};

// What the form keeps about the card on display and its edit.
struct CardFormState {
    int iVoucherState = 0; // 0 browsing or a new unsaved card, 1 modifying a stored card
    bool bUnloadState = false;
    bool bRecordChange = false;
    bool bCheck = false; // the card on display is approved
    QString sParentCode, sbomid, ssocode;
    QString sParentCodeOld, sbomidold, ssocodeold;
    QString rowChanges;      // line numbers changed in this edit; "-" for a deleted line
    int templateId = 0;      // display template of the card
    int printTemplateId = 0; // print template
};

// The card's command dispatcher: every toolbar button, key, tree click and close request
// becomes one command key run here against the card and the BOM services. UI-free: the window
// and the headless form supply the VoucherControl and the CardForm.
class clsVoucher {
public:
    static constexpr const char* kCardNumber = "PP30";
    static constexpr const char* kTitle = "BOM维护";

    clsVoucher(entry::Session& session, VoucherControl& control, CardForm& form,
               CardNavigator& navigator);

    CardFormState state;
    const std::optional<bomservice::VoucherTemplate>& voucherTemplate() const { return template_; }

    // Loads a stored BOM for browsing (the card the form opens with, a tree node, a move).
    bool LoadCard(const QString& headerId);
    // Runs one command key (any case) with its extra argument: the template id from the
    // toolbar combo, or a follow-up command ("PAINT" after a Cancel). False when the command
    // was refused or failed (its message shown).
    bool ExecuteCommand(const QString& key, const QString& extra = QString());
    // A tree node clicked: "r" is the root and does nothing; else its tag names the BOM.
    void TreeClick(const QString& tag);
    // The close guard: true when the form may close.
    bool QueryUnload();

    // The toolbar's enabled buttons for the card's state, by lower-case key.
    QMap<QString, bool> enabledButtons() const;

private:
    entry::Session& session_;
    VoucherControl& control_;
    CardForm& form_;
    CardNavigator& navigator_;
    std::optional<bomservice::VoucherTemplate> template_;
};

} // namespace bom::card
