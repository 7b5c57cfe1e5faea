#include "CardTemplates.h"

#include "CardTexts.h"
#include "db/SqlCondition.h"
#include "entry/Session.h"
#include "suite/Prompter.h"
#include "suite/RightsStore.h"

namespace bom::card {
namespace {

const QString kKind = QStringLiteral("template");

// The operator's rights on templates as a condition over VoucherTemplates.
db::SqlCondition permitted(db::Database& db, const QString& userId) {
    suite::RightsStore rights(db);
    switch (rights.scope(userId, kKind)) {
    case suite::RightsStore::Scope::All:
        return db::sqlText(QStringLiteral("1=1"));
    case suite::RightsStore::Scope::None:
        return db::sqlText(QStringLiteral("1=2"));
    case suite::RightsStore::Scope::List:
        break;
    }
    db::SqlCondition list{QStringLiteral("VoucherTemplates.vt_id in("), {}};
    for (const QString& code : rights.codes(userId, kKind)) {
        bool number = false;
        const int id = code.toInt(&number);
        if (!number)
            continue; // no template has such an id
        list.sql += list.params.isEmpty() ? QStringLiteral("?") : QStringLiteral(",?");
        list.params << id;
    }
    if (list.params.isEmpty())
        return db::sqlText(QStringLiteral("1=2"));
    list.sql += QLatin1Char(')');
    return list;
}

} // namespace

std::optional<int> TemplateCombo::selectedId() const {
    if (selected < 0 || selected >= int(entries.size()))
        return std::nullopt;
    return entries[std::size_t(selected)].id;
}

QString TemplateCombo::toolbarText(int index) const {
    const auto& entry = entries.at(std::size_t(index));
    return entry.name + QLatin1Char('(') + QString::number(entry.id) + QLatin1Char(')');
}

std::optional<int> CardTemplates::idOfToolbarText(const QString& text) {
    const qsizetype open = text.indexOf(QLatin1Char('('));
    const qsizetype close = text.indexOf(QLatin1Char(')'));
    if (open < 0 || close <= open)
        return std::nullopt;
    bool number = false;
    const int id = text.mid(open + 1, close - open - 1).trimmed().toInt(&number);
    return number ? std::optional<int>(id) : std::nullopt;
}

int CardTemplates::defaultId(const QString& cardNumber, int mode) {
    return session_.gConn
        ->scalar(QStringLiteral("select %1 from vouchers where lower(cardnumber)=lower(?)")
                     .arg(mode == kPrint ? QLatin1String("def_id_prn") : QLatin1String("def_id")),
                 {cardNumber})
        .toInt();
}

TemplateCombo CardTemplates::fill(const QString& cardNumber, int mode, int requestedId) {
    db::Database& db = *session_.gConn;
    const db::SqlCondition sql =
        db::SqlCondition{QStringLiteral("Select vt_name,vt_id from VoucherTemplates WHERE "
                                        "(lower(VT_CardNumber) = lower(?)) AND "
                                        "(VT_TemplateMode = ?) and "),
                         {cardNumber, mode}} +
        permitted(db, session_.gUserId) + db::sqlText(QStringLiteral(" order by vt_id"));
    const db::Rows rows = db.query(sql.sql, sql.params);
    TemplateCombo combo;
    combo.label =
        mode == kPrint ? CardTexts::printTemplateLabel() : CardTexts::displayTemplateLabel();
    if (rows.empty()) {
        session_.prompter.info(CardTexts::noTemplate(), CardTexts::title(), 64);
        return combo;
    }
    for (std::size_t i = 0; i < rows.size(); ++i)
        combo.entries.push_back({rows.text(i, "vt_name"), rows.value(i, "vt_id").toInt()});
    auto indexOf = [&](int id) {
        for (std::size_t i = 0; i < combo.entries.size(); ++i)
            if (combo.entries[i].id == id)
                return int(i);
        return -1;
    };
    combo.selected = indexOf(requestedId);
    if (combo.selected < 0)
        combo.selected = std::max(indexOf(defaultId(cardNumber, mode)), 0);
    combo.toolTip = combo.entries[std::size_t(combo.selected)].name;
    return combo;
}

} // namespace bom::card
