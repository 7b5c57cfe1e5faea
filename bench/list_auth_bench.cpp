// The BOM list's pages on a generated account (100,000 BOMs, or the count given): the time to
// the last row of the first page and of a page far down, for an unrestricted operator and for a
// restricted one whose rights hide most BOMs. Baseline: the same page with the rights decided
// row by row from the rights tables (no visible-BOM set). Floor: the same number of header rows
// read by their index straight from the table through the same driver.
// Usage: list_auth_bench [URL] [BOMS]   (default sqlite:/tmp/bom-bench.db, 100000)
#include "BenchAccount.h"
#include "db/Transaction.h"
#include "entry/HeadlessSession.h"
#include "entry/RowAuthFilter.h"
#include "list/BomList.h"
#include "suite/Prompter.h"
#include "suite/RightsStore.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <cstdio>

using namespace bom;

namespace {

constexpr int kPage = 200;
constexpr int kFarPage = 50;

// Runs a page query and reads its rows; answers the keyset of its last row.
QVariantList readPage(db::Database& db, const db::SqlCondition& sql, int keys, int* rows) {
    QVariantList last;
    *rows = 0;
    db.stream(
        sql.sql, sql.params, [](const QStringList&) {},
        [&](QVariantList&& values) {
            ++*rows;
            last = values.mid(values.size() - keys);
        });
    return last;
}

struct Pages {
    std::vector<double> first, far;
    int rows = 0;
};

// `pageOf` builds the query of the page after a key; the far page is found by walking there.
Pages timePages(db::Database& db, int keys,
                const std::function<db::SqlCondition(const QVariantList&)>& pageOf) {
    Pages p;
    p.first = bench::measure(20, [&] { readPage(db, pageOf({}), keys, &p.rows); });
    QVariantList key;
    int rows = 0;
    for (int i = 1; i < kFarPage && (i == 1 || rows == kPage); ++i)
        key = readPage(db, pageOf(key), keys, &rows);
    p.far = bench::measure(20, [&] { readPage(db, pageOf(key), keys, &rows); });
    return p;
}

std::unique_ptr<entry::HeadlessSession> timedSignIn(const QString& url, const QString& user,
                                                    suite::ScriptedPrompter& prompter) {
    QElapsedTimer timer;
    timer.start();
    auto session = bench::signIn(url, user, prompter);
    std::printf("sign-in of %s (works out his visible BOMs when his rights changed): %.0f ms\n",
                qPrintable(user), double(timer.elapsed()));
    return session;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const auto [url, size] = bench::listAccount(argc, argv);
    suite::ScriptedPrompter prompter;
    for (const QString& user : {QStringLiteral("demo"), QStringLiteral("planner")}) {
        auto session = timedSignIn(url, user, prompter);
        db::Database& db = session->db();
        // Pages are read as the window reads them: on a connection of their own.
        const auto reader = db::Database::openPagedReader(url);
        const list::BomList list(session->session());
        const db::Keyset keyset = list.parentKeyset();
        const int keys = int(keyset.keys().size());
        const Pages ours = timePages(*reader, keys, [&](const QVariantList& after) {
            return list.parentPage({}, after, kPage);
        });
        // The same page with the rights decided row by row, as the rights tables say.
        const auto scopes =
            entry::RowAuthFilter::bomScopesOf(suite::RightsStore(db).effectiveRowScopes(user));
        const Pages direct = timePages(*reader, keys, [&](const QVariantList& after) {
            db::SqlCondition sql = db::sqlText(QStringLiteral("select *,") + keyset.selectList() +
                                               QStringLiteral(" from pp_q_bomtreet where 1=1")) +
                                   entry::RowAuthFilter::DirectBomAuthFilter(user, scopes);
            return sql + keyset.after(after) +
                   db::sqlText(keyset.orderBy() + QStringLiteral(" limit %1").arg(kPage));
        });
        // The raw work: as many header rows by the index, straight from the table.
        const db::Keyset bare({{QStringLiteral("cpspcode")},
                               {QStringLiteral("cfree1")},
                               {QStringLiteral("cfree2")},
                               {QStringLiteral("iautoid")}});
        const Pages floor = timePages(*reader, 4, [&](const QVariantList& after) {
            return db::sqlText(QStringLiteral("select *,") + bare.selectList() +
                               QStringLiteral(" from ProductStructure where 1=1")) +
                   bare.after(after) +
                   db::sqlText(bare.orderBy() + QStringLiteral(" limit %1").arg(kPage));
        });
        const QString who = user == QLatin1String("demo") ? QStringLiteral("unrestricted")
                                                          : QStringLiteral("restricted");
        bench::printRow(QStringLiteral("list first page, %1, %2").arg(who, size), ours.first,
                        direct.first, floor.first);
        bench::printRow(QStringLiteral("list page %1, %2, %3").arg(kFarPage).arg(who, size),
                        ours.far, direct.far, floor.far);
    }
    return 0;
}
