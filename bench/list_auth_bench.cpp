// The BOM list query with the operator's authorisation filter against the same query without
// it (an unrestricted operator's list), on a generated account: time to the first page (what the
// list shows at once) and to the whole list. Usage: list_auth_bench [sqlite:PATH | postgresql://…]
// (default /tmp/bom-bench.db)
#include "BenchAccount.h"
#include "db/Transaction.h"
#include "entry/HeadlessSession.h"
#include "list/BomList.h"
#include "suite/Prompter.h"
#include "suite/RightsStore.h"

#include <QCoreApplication>
#include <QSqlQuery>
#include <cstdio>

using namespace bom;

namespace {

// A planner allowed every made item and half of the purchased ones.
void ensureRestrictedOperator(db::Database& db) {
    if (db.scalar(QStringLiteral("SELECT count(*) FROM sys_operator WHERE cuserid=?"),
                  {QStringLiteral("planner")})
            .toInt())
        return;
    db::Transaction tx(db);
    db.exec(QStringLiteral("INSERT INTO sys_operator(cuserid, cusername) VALUES (?, ?)"),
            {QStringLiteral("planner"), QStringLiteral("计划员")});
    suite::RightsStore rights(db);
    rights.setScope(QStringLiteral("planner"), QStringLiteral("function"),
                    suite::RightsStore::Scope::All);
    db.exec(QStringLiteral("INSERT INTO sys_right(cuserid, ckind, ccode) SELECT ?, ?, cInvCode "
                           "FROM Inventory WHERE bself=1 OR iId % 2 = 0"),
            {QStringLiteral("planner"), QStringLiteral("inventory")});
    rights.setScope(QStringLiteral("planner"), QStringLiteral("inventory"),
                    suite::RightsStore::Scope::List);
    tx.commit();
}

struct Timing {
    double firstPage;
    double all;
    int rows;
};

Timing timeQuery(db::Database& db, const db::SqlCondition& sql) {
    Timing t{0, 0, 0};
    const auto first = bench::measure(5, [&] {
        QSqlQuery q = db.prepare(sql.sql);
        db.run(q, sql.params);
        for (int i = 0; i < 50 && q.next(); ++i) {
        }
    });
    const auto all = bench::measure(3, [&] {
        QSqlQuery q = db.prepare(sql.sql);
        db.run(q, sql.params);
        t.rows = 0;
        while (q.next())
            ++t.rows;
    });
    t.firstPage = bench::percentile(first, 0.5);
    t.all = bench::percentile(all, 0.5);
    return t;
}

Timing listFor(const QString& url, const QString& user) {
    suite::ScriptedPrompter prompter;
    entry::HeadlessSession session(prompter);
    if (session.start(url, user, QString()) != entry::HeadlessSession::Outcome::Running) {
        std::fprintf(stderr, "session refused: %s\n", qPrintable(prompter.texts().join(' ')));
        std::exit(1);
    }
    // An unrestricted operator's list is the same query without any authorisation condition.
    return timeQuery(session.db(), list::BomList(session.session()).parentQuery());
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QString url =
        argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("sqlite:/tmp/bom-bench.db");
    {
        auto db = bench::openGeneratedAccount(url, 100000);
        ensureRestrictedOperator(*db);
    }
    const Timing open = listFor(url, QStringLiteral("demo"));
    const Timing restricted = listFor(url, QStringLiteral("planner"));
    std::printf("%-38s %10s %10s %8s\n", "BOM list, median ms", "first 50", "all rows", "rows");
    std::printf("%-38s %10.2f %10.1f %8d\n", "without filter (unrestricted operator)",
                open.firstPage, open.all, open.rows);
    std::printf("%-38s %10.2f %10.1f %8d\n", "with filter (restricted operator)",
                restricted.firstPage, restricted.all, restricted.rows);
    std::printf("ratio filtered/unfiltered: first page %.2fx, all rows %.2fx\n",
                restricted.firstPage / open.firstPage, restricted.all / open.all);
    return 0;
}
