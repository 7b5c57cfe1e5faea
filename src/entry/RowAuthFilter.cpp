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

// The operator holds the right of `kind` on the code in `codeColumn`: a keyed look-up per row,
// cheap for the few rows a page needs, whatever the length of the list.
db::SqlCondition granted(const QString& userId, const QString& kind, const QString& codeColumn) {
    return {QStringLiteral("exists (SELECT 1 FROM sys_right ar WHERE ar.cuserid=? AND "
                           "ar.ckind='%1' AND ar.ccode=%2)")
                .arg(kind, codeColumn),
            {userId}};
}

} // namespace

bool RowAuthFilter::BomScopes::decidedRowByRow() const {
    return !seesNothing() &&
           (department == Scope::List || inventory == Scope::List || warehouse == Scope::List);
}

RowAuthFilter::BomScopes RowAuthFilter::bomScopesOf(const QHash<QString, Scope>& scopesByKind) {
    return {scopesByKind.value(QStringLiteral("department"), Scope::All),
            scopesByKind.value(QStringLiteral("inventory"), Scope::All),
            scopesByKind.value(QStringLiteral("warehouse"), Scope::All)};
}

db::SqlCondition RowAuthFilter::HeaderAllowed(const QString& userId, const BomScopes& scopes,
                                              const QString& header, const QString& itemId) {
    db::SqlCondition allowed = sqlText(QStringLiteral("(1=1"));
    if (scopes.department == Scope::List)
        allowed += wrap(QStringLiteral(" and ("),
                        granted(userId, QStringLiteral("department"), header + ".cdepcode"),
                        QStringLiteral(" or %1.cdepcode is null)").arg(header));
    // Items are granted by code; an item's code and iId name the same Inventory row.
    if (scopes.inventory == Scope::List)
        allowed +=
            wrap(QStringLiteral(" and %1 is not null and ").arg(itemId),
                 granted(userId, QStringLiteral("inventory"), header + ".cpspcode"), QString());
    return allowed + sqlText(QStringLiteral(")"));
}

db::SqlCondition RowAuthFilter::ForbiddenLineExists(const QString& userId, const BomScopes& scopes,
                                                    const QString& headerKey) {
    db::SqlCondition forbidden = sqlText(QStringLiteral("(1=2)"));
    if (scopes.department == Scope::List)
        forbidden +=
            wrap(QStringLiteral(" or (COALESCE(w.cdepcode,'')<>'' and not "),
                 granted(userId, QStringLiteral("department"), QStringLiteral("w.cdepcode")),
                 QStringLiteral(")"));
    if (scopes.inventory == Scope::List)
        forbidden += wrap(QStringLiteral(" or (wi.iId is not null and not "),
                          granted(userId, QStringLiteral("inventory"), QStringLiteral("w.cpscode")),
                          QStringLiteral(")"));
    // No warehouse right at all restricts nothing here, unlike departments and items.
    if (scopes.warehouse == Scope::List)
        forbidden += wrap(QStringLiteral(" or (COALESCE(w.cwhcode,'')<>'' and not "),
                          granted(userId, QStringLiteral("warehouse"), QStringLiteral("w.cwhcode")),
                          QStringLiteral(")"));
    return wrap(QStringLiteral("exists (select 1 from ProductStructures w left join Inventory wi "
                               "on wi.cInvCode=w.cpscode where w.ipid=%1 and (")
                    .arg(headerKey),
                forbidden, QStringLiteral("))"));
}

db::SqlCondition RowAuthFilter::DirectBomAuthFilter(const QString& userId,
                                                    const BomScopes& scopes) {
    if (scopes.seesNothing())
        return sqlText(QStringLiteral(" and (1=2)"));
    if (!scopes.decidedRowByRow())
        return {};
    return sqlText(QStringLiteral(" and ")) +
           HeaderAllowed(userId, scopes, QStringLiteral("pp_q_bomtreet"),
                         QStringLiteral("pp_q_bomtreet.iId")) +
           sqlText(QStringLiteral(" and not ")) +
           ForbiddenLineExists(userId, scopes, QStringLiteral("pp_q_bomtreet.iautoid"));
}

db::SqlCondition RowAuthFilter::GetBomAuthFilter() const {
    const suite::RowAuth& auth = *session_.gRowAuth;
    const BomScopes scopes{auth.scope(QStringLiteral("Department")),
                           auth.scope(QStringLiteral("Inventory")),
                           auth.scope(QStringLiteral("Warehouse"))};
    if (!scopes.decidedRowByRow())
        return DirectBomAuthFilter(session_.gUserId, scopes);
    return {QStringLiteral(" and exists (select 1 from sys_bom_visible vb where vb.cuserid=? "
                           "and vb.iautoid=pp_q_bomtreet.iautoid)"),
            {session_.gUserId}};
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
    return wrap(QStringLiteral("("), granted(session_.gUserId, *kind, codeColumn.value(*kind)),
                QStringLiteral(")"));
}

} // namespace bom::entry
