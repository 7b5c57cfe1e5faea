#pragma once

#include "bomservice/BomCardLoader.h"
#include "bomservice/BomTree.h"

#include <QMap>
#include <QString>
#include <functional>
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
    QString lastChangeLog;   // the changes the last save made, as getChangeLog told them
};

// The card's command dispatcher: every toolbar button, key, tree click and close request
// becomes one command key run here against the card and the BOM services. UI-free: the window
// and the headless form supply the VoucherControl and the CardForm.
//
// Keys: the toolbar's (PRINT, PREVIEW, OUTPUT, ADD, MODIFY, ERASE, TLBOPT, COPY, SAVE, CANCEL,
// ADDROW, DELROW, PICTURE, CINVCODE, APPEDIX, ROWLOC, LOG, PAINT, TOFIRST, TOPREVIOUS, TONEXT,
// TOLAST, HELP, EXIT), SEEK, and those the list opens the card with: ADD_X (add), MODIFY_X
// (modify, after the list's own checks and question), COPYSINGLE (one level) and ALLCOPY
// (every level). Both copies of levels write the copy under a new sales-order code at once and
// open it; COPY starts a new card in edit from the card on display, written by SAVE.
class clsVoucher {
public:
    static constexpr const char* kCardNumber = "PP30";
    static constexpr const char* kTitle = "BOM维护";
    static constexpr const char* kTask = "AS001";
    // The function right PRINT, PREVIEW and OUTPUT need.
    static constexpr const char* kPrintRight = "AS001P";

    clsVoucher(entry::Session& session, VoucherControl& control, CardForm& form,
               CardNavigator& navigator);

    CardFormState state;
    const std::optional<bomservice::VoucherTemplate>& voucherTemplate() const { return template_; }

    // Opens the substitutes of a line (the options card, card number "PP31") with the line's
    // autoid; false with `error` set when it failed. Unset, TLBOPT stops after its checks.
    std::function<bool(const QString& lineAutoid, QString& error)> openOptionsCard;

    // Loads a stored BOM for browsing (the card the form opens with, a move) and shows its
    // tree.
    bool LoadCard(const QString& headerId);
    // Runs one command key (any case) with its extra argument: the template id from the
    // toolbar combo, or a follow-up command ("PAINT" after a Cancel). False when the command
    // was refused or failed (its message shown).
    bool ExecuteCommand(const QString& key, const QString& extra = QString());
    // A tree node clicked: "r" is the root and does nothing; else its tag names the BOM.
    void TreeClick(const QString& tag);
    // The close guard: true when the form may close.
    bool QueryUnload();

    // The tag of a tree node: "r" for the root, else "n" + its header id + " " + its parent.
    static QString treeTag(const bomservice::BomTreeNode& node);

    // The toolbar's enabled buttons for the card's state, by lower-case key.
    QMap<QString, bool> enabledButtons() const;

private:
    using Handler = bool (clsVoucher::*)(const QString& key, const QString& extra);
    static const QMap<QString, Handler>& handlers();

    bool run(const QString& key, const QString& extra);
    bool load(const QString& headerId, bool showTree);
    void showTreeOf(const QString& headerId);
    bool claimTask();
    void rememberOld();
    void enterEdit(int voucherState);
    void leaveEdit();
    void clearCard();
    bool hasCard() const { return !state.sbomid.isEmpty(); }
    QString currentItem() const;

    bool newCard(const QString& key, const QString& extra);
    bool copyLevels(const QString& key, const QString& extra);
    bool modify(const QString& key, const QString& extra);
    bool save(const QString& key, const QString& extra);
    bool dropBlankLines();
    bool cancel(const QString& key, const QString& extra);
    bool erase(const QString& key, const QString& extra);
    bool addRow(const QString& key, const QString& extra);
    bool deleteRow(const QString& key, const QString& extra);
    bool substitutes(const QString& key, const QString& extra);
    bool picture(const QString& key, const QString& extra);
    bool inventoryCard(const QString& key, const QString& extra);
    bool history(const QString& key, const QString& extra);
    bool structure(const QString& key, const QString& extra);
    bool attachments(const QString& key, const QString& extra);
    bool windowOnly(const QString& key, const QString& extra);
    bool print(const QString& key, const QString& extra);
    bool move(const QString& key, const QString& extra);
    bool reload(const QString& key, const QString& extra);

    entry::Session& session_;
    VoucherControl& control_;
    CardForm& form_;
    CardNavigator& navigator_;
    std::optional<bomservice::VoucherTemplate> template_;
};

} // namespace bom::card
