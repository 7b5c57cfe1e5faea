#include "clsVoucher.h"

#include "CardForm.h"
#include "CardTexts.h"
#include "ItemCard.h"
#include "VoucherControl.h"
#include "bomservice/BomCopier.h"
#include "bomservice/BomHistory.h"
#include "bomservice/BomSaver.h"
#include "bomservice/BomValidator.h"
#include "bomservice/Guards.h"
#include "db/DbError.h"
#include "entry/Session.h"
#include "entry/VoucherHelpers.h"
#include "suite/Prompter.h"
#include "suite/RightsStore.h"

namespace bom::card {
namespace {

using bomservice::BomCard;
using suite::Prompter;

const QString kTitleText = CardTexts::title();

// The toolbar's keys, lower case, in its order.
const char* const kButtons[] = {"print",  "preview", "output",  "add",      "modify",
                                "erase",  "tlbopt",  "copy",    "save",     "cancel",
                                "addrow", "delrow",  "picture", "cinvcode", "appedix",
                                "rowloc", "log",     "paint",   "tofirst",  "toprevious",
                                "tonext", "tolast",  "help",    "exit",     "structure"};

// What still runs while the body is shown summarised.
bool runsSummarised(const QString& key) {
    static const QStringList keys{QStringLiteral("PREVIEW"), QStringLiteral("OUTPUT"),
                                  QStringLiteral("HELP"), QStringLiteral("EXIT"),
                                  QStringLiteral("PRINT")};
    return keys.contains(key);
}

// The stored card as the start of a new one: no keys, no version, not approved; its lines
// added, each remembering the line it came from so flagged lines bring their substitutes.
BomCard asNewCard(BomCard card) {
    for (const char* field : {"iautoid", "id", "qzts", "ccheck"})
        card.header.setValue(0, QLatin1String(field), QVariant());
    for (int row = card.lines.rowCount() - 1; row >= 0; --row) {
        if (card.lines.editprop(row) == QLatin1String("D")) {
            card.lines.removeRow(row);
            continue;
        }
        card.lines.setEditprop(row, QStringLiteral("A"));
        card.lines.setValue(row, QStringLiteral("autoid"), QVariant());
        card.lines.setValue(row, QStringLiteral("ipid"), QVariant());
    }
    return card;
}

// "1,2,3" with the deleted line's number replaced by "-".
QString markDeleted(const QString& rowChanges, int row) {
    QStringList numbers = rowChanges.split(QLatin1Char(','));
    const int at = int(numbers.indexOf(QString::number(row + 1)));
    if (at >= 0)
        numbers[at] = QStringLiteral("-");
    return numbers.join(QLatin1Char(','));
}

CardForm::PrintMode printModeOf(const QString& key) {
    if (key == QLatin1String("PREVIEW"))
        return CardForm::PrintMode::Preview;
    return key == QLatin1String("OUTPUT") ? CardForm::PrintMode::Output
                                          : CardForm::PrintMode::Print;
}

} // namespace

clsVoucher::clsVoucher(entry::Session& session, VoucherControl& control, CardForm& form,
                       CardNavigator& navigator)
    : session_(session), control_(control), form_(form), navigator_(navigator) {
    try {
        template_ = bomservice::BomCardLoader(session_).LoadTemplate(kCardNumber);
    } catch (const db::DbError& e) {
        session_.prompter.info(e.message(), kTitleText, 16);
    }
    if (template_)
        state.templateId = template_->DEF_ID;
}

const QMap<QString, clsVoucher::Handler>& clsVoucher::handlers() {
    static const QMap<QString, Handler> map{
        {QStringLiteral("ADD"), &clsVoucher::newCard},
        {QStringLiteral("ADD_X"), &clsVoucher::newCard},
        {QStringLiteral("COPY"), &clsVoucher::newCard},
        {QStringLiteral("MODIFY"), &clsVoucher::modify},
        {QStringLiteral("MODIFY_X"), &clsVoucher::modify},
        {QStringLiteral("COPYSINGLE"), &clsVoucher::copyLevels},
        {QStringLiteral("ALLCOPY"), &clsVoucher::copyLevels},
        {QStringLiteral("SAVE"), &clsVoucher::save},
        {QStringLiteral("CANCEL"), &clsVoucher::cancel},
        {QStringLiteral("ERASE"), &clsVoucher::erase},
        {QStringLiteral("ADDROW"), &clsVoucher::addRow},
        {QStringLiteral("DELROW"), &clsVoucher::deleteRow},
        {QStringLiteral("TLBOPT"), &clsVoucher::substitutes},
        {QStringLiteral("PICTURE"), &clsVoucher::picture},
        {QStringLiteral("CINVCODE"), &clsVoucher::inventoryCard},
        {QStringLiteral("LOG"), &clsVoucher::history},
        {QStringLiteral("STRUCTURE"), &clsVoucher::structure},
        {QStringLiteral("APPEDIX"), &clsVoucher::attachments},
        {QStringLiteral("HELP"), &clsVoucher::windowOnly},
        {QStringLiteral("EXIT"), &clsVoucher::windowOnly},
        {QStringLiteral("ROWLOC"), &clsVoucher::windowOnly},
        {QStringLiteral("PRINT"), &clsVoucher::print},
        {QStringLiteral("PREVIEW"), &clsVoucher::print},
        {QStringLiteral("OUTPUT"), &clsVoucher::print},
        {QStringLiteral("TOFIRST"), &clsVoucher::move},
        {QStringLiteral("TOPREVIOUS"), &clsVoucher::move},
        {QStringLiteral("TONEXT"), &clsVoucher::move},
        {QStringLiteral("TOLAST"), &clsVoucher::move},
        {QStringLiteral("SEEK"), &clsVoucher::reload},
        {QStringLiteral("PAINT"), &clsVoucher::reload},
    };
    return map;
}

bool clsVoucher::ExecuteCommand(const QString& key, const QString& extra) {
    bool done = false;
    try {
        done = run(key.trimmed().toUpper(), extra);
    } catch (const db::DbError& e) {
        session_.prompter.info(e.message(), kTitleText, 16);
    }
    form_.setToolbarEnabled(enabledButtons());
    return done;
}

bool clsVoucher::run(const QString& key, const QString& extra) {
    if (!runsSummarised(key) && control_.IsAggregateStatus()) {
        session_.prompter.info(CardTexts::summarised(), CardTexts::listTitle(), 0);
        return false;
    }
    template_ = bomservice::BomCardLoader(session_).LoadTemplate(kCardNumber);
    const Handler handler = handlers().value(key);
    if (!template_ || !handler)
        return false;
    return (this->*handler)(key, extra);
}

bool clsVoucher::LoadCard(const QString& headerId) {
    bool done = false;
    try {
        done = load(headerId, true);
    } catch (const db::DbError& e) {
        session_.prompter.info(e.message(), kTitleText, 16);
    }
    form_.setToolbarEnabled(enabledButtons());
    return done;
}

bool clsVoucher::load(const QString& headerId, bool showTree) {
    if (!template_)
        return false; // the card has no template: said so when it was read
    const auto card = bomservice::BomCardLoader(session_).LoadBom(*template_, headerId);
    if (!card)
        return false;
    control_.setVoucherData(*card);
    leaveEdit();
    state.sbomid = headerId;
    state.sParentCode = card->header.text(0, QStringLiteral("cpspcode"));
    state.ssocode = card->header.text(0, QStringLiteral("csocode"));
    state.bCheck = !card->header.text(0, QStringLiteral("ccheck")).trimmed().isEmpty();
    if (showTree)
        showTreeOf(headerId);
    return true;
}

void clsVoucher::showTreeOf(const QString& headerId) {
    form_.showTree(bomservice::BomTree(session_).InitTreeByCode(headerId));
}

bool clsVoucher::claimTask() {
    if (session_.gLogin->TaskExec(QLatin1String(kTask), -1))
        return true;
    session_.ShowInfo(session_.gLogin->ShareString);
    return false;
}

void clsVoucher::rememberOld() {
    state.sParentCodeOld = state.sParentCode;
    state.sbomidold = state.sbomid;
    state.ssocodeold = state.ssocode;
}

void clsVoucher::enterEdit(int voucherState) {
    state.iVoucherState = voucherState;
    state.rowChanges.clear();
    control_.setVoucherStatus(1);
    control_.setEditStatus(1);
}

void clsVoucher::leaveEdit() {
    state.iVoucherState = 0;
    state.bRecordChange = false;
    state.rowChanges.clear();
    control_.setVoucherStatus(0);
    control_.setEditStatus(0);
}

void clsVoucher::clearCard() {
    control_.AddNew();
    leaveEdit();
    state.sbomid.clear();
    state.sParentCode.clear();
    state.ssocode.clear();
    state.bCheck = false;
}

bool clsVoucher::newCard(const QString& key, const QString&) {
    if (!claimTask())
        return false;
    const bool copy = key == QLatin1String("COPY") && hasCard();
    const BomCard source = control_.getVoucherData();
    rememberOld();
    control_.AddNew();
    if (copy)
        control_.setVoucherData(asNewCard(source));
    enterEdit(0);
    control_.setHeaderText(QStringLiteral("bexpand"), QStringLiteral("是"));
    control_.setHeaderText(QStringLiteral("bmrcbbom"), QStringLiteral("否"));
    state.sbomid.clear();
    state.sParentCode = control_.headerText(QStringLiteral("cpspcode"));
    state.ssocode = control_.headerText(QStringLiteral("csocode"));
    state.bCheck = false;
    return true;
}

bool clsVoucher::copyLevels(const QString& key, const QString&) {
    if (!claimTask() || !hasCard())
        return false;
    const bool allLevels = key == QLatin1String("ALLCOPY");
    if (allLevels && session_.prompter.ask(CardTexts::allLevelsQuestion(), kTitleText, 36 + 256) !=
                         Prompter::Answer::Yes)
        return false;
    bomservice::BomCopier copier(session_);
    const auto code = form_.askSoCode(copier.suggestSoCode(state.sbomid));
    if (!code)
        return false;
    const auto copied = allLevels ? copier.CopyAllLayer(state.sbomid, *code)
                                  : copier.CopySingle(state.sbomid, *code);
    return copied && load(copied->topId, true);
}

bool clsVoucher::modify(const QString& key, const QString&) {
    const bool fromList = key == QLatin1String("MODIFY_X");
    if ((fromList && !claimTask()) || !hasCard())
        return false;
    const QString id = state.sbomid;
    if (!bomservice::BomGuards(session_).CheckModifiable(id))
        return false;
    // The list has asked already before it opened the card with MODIFY_X.
    if (!fromList && entry::VoucherHelpers::IsSharedBom(*session_.gConn, id) &&
        session_.prompter.ask(CardTexts::sharedParent(), kTitleText, 4) != Prompter::Answer::Yes)
        return false;
    // The edit starts from the version stored now, which the save will write over.
    if (!load(id, false))
        return false;
    rememberOld();
    state.bRecordChange = true;
    enterEdit(1);
    return true;
}

bool clsVoucher::dropBlankLines() {
    for (int row = control_.BodyRows() - 1; row >= 0; --row) {
        if (control_.isBlankLine(row)) {
            control_.DelLine(row);
            continue;
        }
        const QString code = control_.bodyText(row, QStringLiteral("cpscode")).trimmed();
        if (control_.bodyText(row, QStringLiteral("ccaacomunitcode")).trimmed().isEmpty() &&
            entry::VoucherHelpers::IsUnitGroupType1(*session_.gConn, code)) {
            session_.prompter.info(CardTexts::noAuxiliaryUnit(code), kTitleText, 16);
            return false;
        }
    }
    if (control_.BodyRows() > 0)
        return true;
    session_.prompter.info(CardTexts::noLines(), kTitleText, 16);
    return false;
}

bool clsVoucher::save(const QString&, const QString& extra) {
    state.bUnloadState = true;
    if (control_.ProtectUnload2() != 2 || !state.bUnloadState)
        return false;
    if (template_->HaveBodyGrid && !dropBlankLines())
        return false;
    bool isId = false;
    const int fromCombo = extra.trimmed().toInt(&isId);
    const int templateId = isId && fromCombo > 0 ? fromCombo : state.templateId;
    control_.setHeaderText(QStringLiteral("ivtid"), QString::number(templateId));
    BomCard card = control_.getVoucherData();
    const QString noRight = bomservice::BomValidator(session_).CheckDepartmentRight(card);
    if (!noRight.isEmpty()) {
        session_.prompter.info(noRight, kTitleText, 64);
        return false;
    }
    // Told before the save writes the changes: afterwards the stored card is the new one.
    const QString changes = control_.getChangeLog();
    QString result, error;
    if (!bomservice::BomSaver(session_).SaveBom(card, QLatin1String(kCardNumber),
                                                state.iVoucherState, result, error))
        return false;
    auto savedOr = [&](const char* field, const QString& old) {
        const QString saved = card.header.text(0, QLatin1String(field));
        return saved.isEmpty() ? old : saved;
    };
    state.sParentCode = savedOr("cpspcode", state.sParentCodeOld);
    state.sbomid = savedOr("iautoid", state.sbomidold);
    state.ssocode = savedOr("csocode", state.ssocodeold);
    if (!state.sbomid.isEmpty())
        showTreeOf(state.sbomid);
    // The save has recorded the history and raised the structure-changed flag itself.
    state.lastChangeLog = changes;
    control_.setVoucherData(card);
    leaveEdit();
    state.bCheck = false;
    state.templateId = templateId;
    form_.SetCboVt(templateId);
    if (session_.gLogin->TaskExec(QLatin1String(kTask), -1))
        reload(QStringLiteral("PAINT"), QString());
    else
        session_.ShowInfo(session_.gLogin->ShareString);
    return true;
}

bool clsVoucher::cancel(const QString&, const QString& extra) {
    // After "No" to saving the edit (tree click) the edit is dropped without a second question.
    if (extra.trimmed().toUpper() != QLatin1String("PAINT") &&
        session_.prompter.ask(CardTexts::cancelQuestion(), kTitleText, 36) != Prompter::Answer::Yes)
        return false;
    leaveEdit();
    if (state.sbomidold.isEmpty() || !load(state.sbomidold, false))
        clearCard();
    return true;
}

bool clsVoucher::erase(const QString&, const QString&) {
    if (!hasCard())
        return false;
    bomservice::BomGuards guards(session_);
    if (guards.IsApproved(state.sbomid)) {
        session_.ShowInfo(CardTexts::approvedNotErased());
        return false;
    }
    if (session_.prompter.ask(CardTexts::eraseQuestion(), kTitleText, 4) != Prompter::Answer::Yes ||
        !guards.DeleteBom(control_.getVoucherData(), QLatin1String(kCardNumber)))
        return false;
    clearCard();
    form_.showTree({});
    return true;
}

bool clsVoucher::addRow(const QString&, const QString&) {
    if (control_.VoucherStatus() != 1)
        return false;
    control_.setBodyMaxRows(control_.BodyRows() + 1);
    if (control_.ProtectUnload2() != 2)
        return false;
    control_.AddLine();
    return true;
}

bool clsVoucher::deleteRow(const QString&, const QString&) {
    const int row = control_.currentRow();
    if (control_.VoucherStatus() != 1 || row < 0 ||
        session_.prompter.ask(CardTexts::deleteRowQuestion(), kTitleText, 36) !=
            Prompter::Answer::Yes)
        return false;
    control_.DelLine(row);
    state.rowChanges = markDeleted(state.rowChanges, row);
    return true;
}

bool clsVoucher::substitutes(const QString&, const QString&) {
    const int row = control_.currentRow();
    if (row < 0) {
        session_.prompter.info(CardTexts::chooseLine(), kTitleText, 0);
        return false;
    }
    if (control_.bodyText(row, QStringLiteral("replaceflag")) != QStringLiteral("是")) {
        session_.prompter.info(
            CardTexts::noSubstitutes(control_.bodyText(row, QStringLiteral("cpscode"))), kTitleText,
            0);
        return false;
    }
    if (!openOptionsCard)
        return false; // no options card in this build yet
    QString error;
    if (openOptionsCard(control_.bodyText(row, QStringLiteral("autoid")), error))
        return true;
    if (!error.isEmpty())
        session_.prompter.info(error, kTitleText, 0);
    return false;
}

QString clsVoucher::currentItem() const {
    const int row = control_.currentRow();
    const QString line = row < 0 ? QString() : control_.bodyText(row, QStringLiteral("cpscode"));
    return line.trimmed().isEmpty() ? control_.headerText(QStringLiteral("cpspcode")).trimmed()
                                    : line.trimmed();
}

bool clsVoucher::picture(const QString&, const QString&) {
    const QString code = currentItem();
    const QByteArray bytes =
        code.isEmpty() ? QByteArray() : ItemCard(*session_.gConn).picture(code);
    if (bytes.isEmpty()) {
        session_.prompter.info(CardTexts::noPicture(), kTitleText, 64);
        return false;
    }
    form_.showPicture(code, bytes);
    return true;
}

bool clsVoucher::inventoryCard(const QString&, const QString&) {
    const QString code = currentItem();
    if (code.isEmpty())
        return false;
    const auto fields = ItemCard(*session_.gConn).fields(code);
    if (!fields) {
        session_.prompter.info(CardTexts::noItem(), kTitleText, 64);
        return false;
    }
    form_.showInventoryCard(code, *fields);
    return true;
}

bool clsVoucher::history(const QString&, const QString&) {
    if (!hasCard())
        return false;
    form_.showHistory(state.sbomid, bomservice::BomHistory(*session_.gConn).read(state.sbomid));
    return true;
}

bool clsVoucher::structure(const QString&, const QString&) {
    if (!hasCard())
        return false;
    form_.showStructure(state.sbomid);
    return true;
}

bool clsVoucher::attachments(const QString&, const QString&) {
    if (!hasCard())
        return false;
    form_.showAttachments(state.sbomid);
    return true;
}

bool clsVoucher::windowOnly(const QString& key, const QString&) {
    if (key == QLatin1String("HELP"))
        form_.help();
    else if (key == QLatin1String("EXIT"))
        form_.closeForm();
    else
        form_.showFindRow();
    return true;
}

bool clsVoucher::print(const QString& key, const QString&) {
    if (!suite::RightsStore(*session_.gConn)
             .allows(session_.gUserId, QStringLiteral("function"), QLatin1String(kPrintRight))) {
        session_.prompter.info(CardTexts::noPrintRight(), kTitleText, 64);
        return false;
    }
    if (control_.headerText(QStringLiteral("ID")).trimmed().isEmpty()) {
        session_.prompter.info(key == QLatin1String("PREVIEW") ? CardTexts::nothingToPreview()
                                                               : CardTexts::nothingToPrint(),
                               kTitleText, 64);
        return false;
    }
    form_.print(printModeOf(key), state.printTemplateId);
    return true;
}

bool clsVoucher::move(const QString& key, const QString&) {
    static const QMap<QString, CardMove> moves{{QStringLiteral("TOFIRST"), CardMove::First},
                                               {QStringLiteral("TOPREVIOUS"), CardMove::Prev},
                                               {QStringLiteral("TONEXT"), CardMove::Next},
                                               {QStringLiteral("TOLAST"), CardMove::Last}};
    const auto id = navigator_.neighbour(moves.value(key), state.sbomid);
    return id && load(*id, true);
}

bool clsVoucher::reload(const QString&, const QString&) {
    return hasCard() && load(state.sbomid, false);
}

void clsVoucher::TreeClick(const QString& tag) {
    if (tag.trimmed().isEmpty() || tag == QLatin1String("r"))
        return;
    if (control_.editStatus() != 0) {
        const auto answer = session_.prompter.ask(CardTexts::saveEditQuestion(), kTitleText, 35);
        if (answer == Prompter::Answer::Cancel)
            return;
        // A failed save keeps the edit on screen rather than leaving it behind.
        if (answer == Prompter::Answer::Yes
                ? !ExecuteCommand(QStringLiteral("SAVE"))
                : !ExecuteCommand(QStringLiteral("CANCEL"), QStringLiteral("PAINT")))
            return;
    }
    const QString node = tag.mid(1).trimmed();
    try {
        load(node.section(QLatin1Char(' '), 0, 0), false);
    } catch (const db::DbError& e) {
        session_.prompter.info(e.message(), kTitleText, 16);
    }
    form_.setToolbarEnabled(enabledButtons());
}

bool clsVoucher::QueryUnload() {
    if (control_.editStatus() == 0)
        return true;
    switch (session_.prompter.ask(CardTexts::saveEditQuestion(), kTitleText, 35)) {
    case Prompter::Answer::Cancel:
        return false;
    case Prompter::Answer::Yes:
        ExecuteCommand(QStringLiteral("SAVE"));
        return !enabledButtons().value(QStringLiteral("save"));
    default:
        leaveEdit();
        return true;
    }
}

QString clsVoucher::treeTag(const bomservice::BomTreeNode& node) {
    if (node.parent < 0)
        return QStringLiteral("r");
    return QStringLiteral("n") + node.iautoid + QLatin1Char(' ') + node.cpspcode;
}

QMap<QString, bool> clsVoucher::enabledButtons() const {
    const bool edit = control_.VoucherStatus() == 1;
    const bool browse = !edit && hasCard();
    const bool grid = template_ && template_->HaveBodyGrid;
    const int row = control_.currentRow();
    const bool flagged =
        row >= 0 && control_.bodyText(row, QStringLiteral("replaceflag")) == QStringLiteral("是");
    QMap<QString, bool> out;
    for (const char* key : kButtons)
        out.insert(QLatin1String(key), false);
    for (const char* key :
         {"print", "preview", "output", "copy", "paint", "log", "appedix", "structure"})
        out[QLatin1String(key)] = browse;
    for (const char* key : {"modify", "erase"})
        out[QLatin1String(key)] = browse && !state.bCheck;
    for (const char* key : {"add", "tofirst", "toprevious", "tonext", "tolast"})
        out[QLatin1String(key)] = !edit;
    for (const char* key : {"save", "cancel"})
        out[QLatin1String(key)] = edit;
    for (const char* key : {"addrow", "delrow"})
        out[QLatin1String(key)] = edit && grid;
    out[QStringLiteral("tlbopt")] = flagged && (edit || hasCard());
    const bool item = !currentItem().isEmpty();
    out[QStringLiteral("picture")] = item;
    out[QStringLiteral("cinvcode")] = item;
    out[QStringLiteral("rowloc")] = control_.BodyRows() > 0;
    out[QStringLiteral("help")] = true;
    out[QStringLiteral("exit")] = true;
    return out;
}

} // namespace bom::card
