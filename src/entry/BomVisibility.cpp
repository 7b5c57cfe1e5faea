#include "BomVisibility.h"

#include "RowAuthFilter.h"
#include "db/BoundList.h"
#include "db/Database.h"
#include "db/Transaction.h"
#include "suite/RightsStore.h"

namespace bom::entry {
namespace {

RowAuthFilter::BomScopes scopesOf(db::Database& db, const QString& userId) {
    return RowAuthFilter::bomScopesOf(suite::RightsStore(db).effectiveRowScopes(userId));
}

// Stored BOMs that the operator's rights let him see, restricted by `where` on ProductStructure
// h: read from the tables themselves, a header's lines through their index.
db::SqlCondition visibleBoms(const QString& userId, const RowAuthFilter::BomScopes& scopes,
                             const db::SqlCondition& where) {
    return db::SqlCondition{QStringLiteral("insert into sys_bom_visible(cuserid, iautoid) select "
                                           "?, h.iautoid from ProductStructure h left join "
                                           "Inventory hi on hi.cInvCode=h.cpspcode where "),
                            {userId}} +
           where + db::sqlText(QStringLiteral(" and ")) +
           RowAuthFilter::HeaderAllowed(userId, scopes, QStringLiteral("h"),
                                        QStringLiteral("hi.iId")) +
           db::sqlText(QStringLiteral(" and not ")) +
           RowAuthFilter::ForbiddenLineExists(userId, scopes, QStringLiteral("h.iautoid"));
}

} // namespace

void BomVisibility::EnsureCurrent(const QString& userId) {
    const qlonglong version = suite::RightsStore(db_).version(userId);
    const db::Rows state = db_.query(
        QStringLiteral("select irightsversion from sys_bom_visible_state where cuserid=?"),
        {userId});
    const bool kept = !state.empty();
    if (kept ? state.value(0, "irightsversion").toLongLong() == version
             : !scopesOf(db_, userId).decidedRowByRow())
        return;
    RefreshOperator(userId);
}

void BomVisibility::RefreshOperator(const QString& userId) {
    db::Transaction tx(db_);
    const RowAuthFilter::BomScopes scopes = scopesOf(db_, userId);
    // The state row first: a save that decides BOMs for this operator meanwhile waits for it.
    if (!scopes.decidedRowByRow()) {
        db_.exec(QStringLiteral("delete from sys_bom_visible_state where cuserid=?"), {userId});
    } else if (db_.exec(QStringLiteral("update sys_bom_visible_state set irightsversion=? where "
                                       "cuserid=?"),
                        {suite::RightsStore(db_).version(userId), userId}) == 0) {
        db_.exec(QStringLiteral("insert into sys_bom_visible_state(cuserid, irightsversion) "
                                "values (?, ?)"),
                 {userId, suite::RightsStore(db_).version(userId)});
    }
    db_.exec(QStringLiteral("delete from sys_bom_visible where cuserid=?"), {userId});
    if (scopes.decidedRowByRow()) {
        const db::SqlCondition insert =
            visibleBoms(userId, scopes, db::sqlText(QStringLiteral("1=1")));
        db_.exec(insert.sql, insert.params);
    }
    tx.commit();
}

void BomVisibility::RefreshBoms(const QStringList& headerIds) {
    if (headerIds.isEmpty())
        return;
    db::Transaction tx(db_);
    const db::Rows kept = db_.query(QStringLiteral("select cuserid from sys_bom_visible_state") +
                                    db_.dialect().forShare());
    // One statement per operator whatever the number of BOMs: a batch run decides thousands.
    const db::SqlCondition gone =
        db::sqlText(QStringLiteral("delete from sys_bom_visible where ")) +
        db::BoundList::in(db_.dialect(), QStringLiteral("iautoid"), headerIds);
    db_.exec(gone.sql, gone.params);
    const db::SqlCondition these =
        db::BoundList::in(db_.dialect(), QStringLiteral("h.iautoid"), headerIds);
    for (std::size_t i = 0; i < kept.size(); ++i) {
        const QString userId = kept.text(i, "cuserid");
        const RowAuthFilter::BomScopes scopes = scopesOf(db_, userId);
        if (!scopes.decidedRowByRow())
            continue; // renewed at his next sign-in, when his new rights take effect
        const db::SqlCondition insert = visibleBoms(userId, scopes, these);
        db_.exec(insert.sql, insert.params);
    }
    tx.commit();
}

} // namespace bom::entry
