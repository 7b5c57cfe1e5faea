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

db::SqlCondition RowAuthFilter::granted(const QString& kind, const QString& codeColumn) const {
    // A keyed look-up per row: cheap for the few rows a list page needs, whatever the list size.
    return {QStringLiteral("exists (SELECT 1 FROM sys_right ar WHERE ar.cuserid=? AND "
                           "ar.ckind='%1' AND ar.ccode=%2)")
                .arg(kind, codeColumn),
            {session_.gUserId}};
}

db::SqlCondition RowAuthFilter::GetBomAuthFilter() const {
    const suite::RowAuth& auth = *session_.gRowAuth;
    const Scope department = auth.scope(QStringLiteral("Department"));
    const Scope inventory = auth.scope(QStringLiteral("Inventory"));
    const Scope warehouse = auth.scope(QStringLiteral("Warehouse"));
    if (department == Scope::All && inventory == Scope::All && warehouse == Scope::All)
        return {};

    // Conditions on the header itself, and on any one of its lines that would forbid it.
    db::SqlCondition header;
    db::SqlCondition forbiddenLine = sqlText(QStringLiteral("(1=2)"));
    if (department == Scope::None)
        header += sqlText(QStringLiteral(" and (1=2)"));
    if (department == Scope::List) {
        header +=
            wrap(QStringLiteral(" and ("),
                 granted(QStringLiteral("department"), QStringLiteral("pp_q_bomtreet.cdepcode")),
                 QStringLiteral(" or pp_q_bomtreet.cdepcode is null)"));
        forbiddenLine += wrap(QStringLiteral(" or (COALESCE(w.cdepcode,'')<>'' and not "),
                              granted(QStringLiteral("department"), QStringLiteral("w.cdepcode")),
                              QStringLiteral(")"));
    }
    if (inventory == Scope::None)
        header += sqlText(QStringLiteral(" and (1=2)"));
    // Items are granted by code; an item's code and iId name the same Inventory row.
    if (inventory == Scope::List) {
        header +=
            wrap(QStringLiteral(" and pp_q_bomtreet.iId is not null and "),
                 granted(QStringLiteral("inventory"), QStringLiteral("pp_q_bomtreet.cpspcode")),
                 QString());
        forbiddenLine += wrap(QStringLiteral(" or (COALESCE(w.iId,-100)<>-100 and not "),
                              granted(QStringLiteral("inventory"), QStringLiteral("w.cpscode")),
                              QStringLiteral(")"));
    }
    // No warehouse right at all restricts nothing here, unlike departments and items.
    if (warehouse == Scope::List)
        forbiddenLine += wrap(QStringLiteral(" or (COALESCE(w.cwhcode,'')<>'' and not "),
                              granted(QStringLiteral("warehouse"), QStringLiteral("w.cwhcode")),
                              QStringLiteral(")"));
    // Correlated on the header, so the list streams its first rows instead of first collecting
    // every forbidden BOM of the account.
    return header + wrap(QStringLiteral(" and not exists (select 1 from pp_q_bomtreew w where "
                                        "w.ipid=pp_q_bomtreet.iautoid and ("),
                         forbiddenLine, QStringLiteral("))"));
}

db::SqlCondition RowAuthFilter::referenceCondition(const QString& table) const {
    const auto kind = suite::RightsStore::kindOfTable(table);
    const Scope scope = kind ? session_.gRowAuth->scope(table) : Scope::All;
    if (scope == Scope::All)
        return sqlText(QStringLiteral("(1=1)"));
    if (scope == Scope::None)
        return sqlText(QStringLiteral("(1=2)"));
    static const QHash<QString, QString> codeColumn{
        {QStringLiteral("inventory"), QStringLiteral("Inventory.cInvCode")},
        {QStringLiteral("department"), QStringLiteral("Department.cDepCode")},
        {QStringLiteral("person"), QStringLiteral("Person.cPersonCode")},
        {QStringLiteral("warehouse"), QStringLiteral("Warehouse.cWhCode")}};
    return wrap(QStringLiteral("("), granted(*kind, codeColumn.value(*kind)), QStringLiteral(")"));
}

} // namespace bom::entry
