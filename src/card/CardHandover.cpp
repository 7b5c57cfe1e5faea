#include "CardHandover.h"

#include "ListOrderNavigator.h"
#include "VoucherSetWindow.h"
#include "entry/Session.h"

namespace bom::card {

CardHandover::CardHandover(entry::Session& session, QWidget* list, ListFilter filter)
    : session_(session), list_(list), filter_(std::move(filter)), pending_(session) {}

QString CardHandover::commandOf(CardMode mode) {
    switch (mode) {
    case CardMode::Add:
        return QStringLiteral("ADD_X");
    case CardMode::Modify:
        return QStringLiteral("MODIFY_X");
    case CardMode::Copy:
        return QStringLiteral("COPY");
    case CardMode::CopyAllLevels:
        return QStringLiteral("ALLCOPY");
    case CardMode::CopySingle:
        return QStringLiteral("COPYSINGLE");
    case CardMode::Browse:
        break;
    }
    return {};
}

void CardHandover::openCard(CardMode mode, const QString& headerId) {
    ListOrderNavigator navigator(session_, filter_ ? filter_() : db::SqlCondition{});
    VoucherSetWindow window(session_, navigator, list_);
    // Every mode but Add starts from the stored BOM; when it cannot be shown (its message
    // said why) the card does not open.
    if (mode != CardMode::Add && !window.LoadCard(headerId))
        return;
    const QString command = commandOf(mode);
    if (!command.isEmpty())
        window.ExecuteCommand(command);
    window.exec();
    // A task the card took for a BOM only shown is not kept past it; the list's own commands
    // give theirs back themselves.
    if (mode == CardMode::Browse && session_.gLogin)
        session_.gLogin->TaskExec(QLatin1String(clsVoucher::kTask), 0);
}

void CardHandover::openBatch(const QString& operation, const std::vector<list::ListRow>& parents,
                             const std::vector<list::ListRow>& lines) {
    pending_.openBatch(operation, parents, lines);
}

void CardHandover::openColourSize(const QString& mode, const list::ListRow& parent) {
    pending_.openColourSize(mode, parent);
}

void CardHandover::openBatchRuns() {
    pending_.openBatchRuns();
}

void CardHandover::openStructure(const QString& headerId) {
    pending_.openStructure(headerId);
}

} // namespace bom::card
