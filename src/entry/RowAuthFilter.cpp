#include "RowAuthFilter.h"

#include "Session.h"
#include "suite/RightsStore.h"

#include <QHash>

namespace bom::entry {
namespace {

using Scope = suite::RightsStore::Scope;
using db::sqlText;

// "(<column> in <allowed>)" style wrapping of a sub-query.
db::SqlCondition wrap(const QString& before, const db::SqlCondition& inner, const QString& after) {
    return sqlText(before) + inner + sqlText(after);
}

} // namespace

db::SqlCondition RowAuthFilter::allowedCodes(const QString& kind) const {
    return {
        QStringLiteral("(SELECT ccode FROM sys_right WHERE cuserid=? AND ckind='%1')").arg(kind),
        {session_.gUserId}};
}

db::SqlCondition RowAuthFilter::allowedItemIds() const {
    return {QStringLiteral("(SELECT ai.iId FROM Inventory ai JOIN sys_right ar ON "
                           "ar.ccode=ai.cInvCode WHERE ar.cuserid=? AND ar.ckind='inventory')"),
            {session_.gUserId}};
}

db::SqlCondition RowAuthFilter::GetBomAuthFilter() const {
    const suite::RowAuth& auth = *session_.gRowAuth;
    const Scope department = auth.rights(QStringLiteral("Department")).scope;
    const Scope inventory = auth.rights(QStringLiteral("Inventory")).scope;
    const Scope warehouse = auth.rights(QStringLiteral("Warehouse")).scope;
    if (department == Scope::All && inventory == Scope::All && warehouse == Scope::All)
        return {};

    // Conditions on the header itself, and on any one of its lines that would forbid it.
    db::SqlCondition header;
    db::SqlCondition forbiddenLine = sqlText(QStringLiteral("(1=2)"));
    if (department == Scope::None)
        header += sqlText(QStringLiteral(" and (1=2)"));
    if (department == Scope::List) {
        const db::SqlCondition codes = allowedCodes(QStringLiteral("department"));
        header += wrap(QStringLiteral(" and (pp_q_bomtreet.cdepcode in "), codes,
                       QStringLiteral(" or pp_q_bomtreet.cdepcode is null)"));
        forbiddenLine += wrap(QStringLiteral(" or (COALESCE(w.cdepcode,'')<>'' and "
                                             "COALESCE(w.cdepcode,'') not in "),
                              codes, QStringLiteral(")"));
    }
    if (inventory == Scope::None)
        header += sqlText(QStringLiteral(" and (1=2)"));
    if (inventory == Scope::List) {
        const db::SqlCondition ids = allowedItemIds();
        header += wrap(QStringLiteral(" and pp_q_bomtreet.iId in "), ids, QString());
        forbiddenLine += wrap(QStringLiteral(" or (COALESCE(w.iId,-100)<>-100 and "
                                             "COALESCE(w.iId,-100) not in "),
                              ids, QStringLiteral(")"));
    }
    // No warehouse right at all restricts nothing here, unlike departments and items.
    if (warehouse == Scope::List)
        forbiddenLine += wrap(QStringLiteral(" or (COALESCE(w.cwhcode,'')<>'' and "
                                             "COALESCE(w.cwhcode,'') not in "),
                              allowedCodes(QStringLiteral("warehouse")), QStringLiteral(")"));
    // Correlated on the header, so the list streams its first rows instead of first collecting
    // every forbidden BOM of the account.
    return header + wrap(QStringLiteral(" and not exists (select 1 from pp_q_bomtreew w where "
                                        "w.ipid=pp_q_bomtreet.iautoid and ("),
                         forbiddenLine, QStringLiteral("))"));
}

db::SqlCondition RowAuthFilter::referenceCondition(const QString& table) const {
    const auto kind = suite::RightsStore::kindOfTable(table);
    const Scope scope = kind ? session_.gRowAuth->rights(table).scope : Scope::All;
    if (scope == Scope::All)
        return sqlText(QStringLiteral("(1=1)"));
    if (scope == Scope::None)
        return sqlText(QStringLiteral("(1=2)"));
    if (*kind == QLatin1String("inventory"))
        return wrap(QStringLiteral("(Inventory.iId in "), allowedItemIds(), QStringLiteral(")"));
    static const QHash<QString, QString> codeColumn{
        {QStringLiteral("department"), QStringLiteral("Department.cDepCode")},
        {QStringLiteral("person"), QStringLiteral("Person.cPersonCode")},
        {QStringLiteral("warehouse"), QStringLiteral("Warehouse.cWhCode")}};
    return wrap(QStringLiteral("(%1 in ").arg(codeColumn.value(*kind)), allowedCodes(*kind),
                QStringLiteral(")"));
}

} // namespace bom::entry
