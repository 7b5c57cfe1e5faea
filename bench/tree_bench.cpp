// The card's BOM tree (InitTreeByCode) of the largest structure, the one with the most nodes (a
// shared sub-assembly counts under every parent), of the generated account of 100,000 BOMs over
// 3 levels and of the deep one whose sub-assemblies have 4 parents each, beside the
// straightforward walk run in the same process through the same driver: one query per node for
// the BOMs its lines name.
// Usage: tree_bench [sqlite:PATH | postgresql://…] [runs] (default /tmp/bom-bench.db, 20 runs)
#include "BenchAccount.h"
#include "bomservice/BomTree.h"
#include "entry/Session.h"

#include <QCoreApplication>
#include <QHash>
#include <algorithm>
#include <cstdio>
#include <functional>

using namespace bom;

namespace {

// The BOM whose tree has the most nodes, and their number: every BOM's count worked out once
// from the links between BOMs.
std::pair<QString, qlonglong> largestStructure(db::Database& db) {
    QHash<QString, QStringList> children;
    const db::Rows links = db.query(QStringLiteral(
        "select ipid, childguid from ProductStructures where childguid is not null order by "
        "autoid"));
    for (std::size_t i = 0; i < links.size(); ++i)
        children[links.text(i, "ipid")] << links.text(i, "childguid");
    QHash<QString, qlonglong> nodes;
    std::function<qlonglong(const QString&)> count = [&](const QString& id) {
        const auto known = nodes.constFind(id);
        if (known != nodes.constEnd())
            return *known;
        qlonglong n = 1;
        for (const QString& child : children.value(id))
            n += count(child);
        nodes.insert(id, n);
        return n;
    };
    std::pair<QString, qlonglong> best;
    for (auto it = children.constBegin(); it != children.constEnd(); ++it)
        if (const qlonglong n = count(it.key());
            n > best.second || (n == best.second && it.key() < best.first))
            best = {it.key(), n}; // the same one on every run
    return best;
}

// The straightforward walk: the root, then for every node one query for the BOMs its lines name.
int walk(db::Database& db, const QString& headerId) {
    const QString columns =
        QStringLiteral("h.iautoid, h.cpspcode, h.csocode, i.cInvName AS cinvname");
    const db::Rows root = db.query(QStringLiteral("select ") + columns +
                                       QStringLiteral(" from ProductStructure h left join "
                                                      "Inventory i on i.cInvCode=h.cpspcode "
                                                      "where h.iautoid=?"),
                                   {headerId});
    if (root.empty())
        return 0;
    std::function<int(const QString&)> below = [&](const QString& id) {
        const db::Rows rows =
            db.query(QStringLiteral("select ") + columns +
                         QStringLiteral(" from ProductStructures l join ProductStructure h on "
                                        "h.iautoid=l.childguid left join Inventory i on "
                                        "i.cInvCode=h.cpspcode where l.ipid=? order by l.autoid"),
                     {id});
        int n = 0;
        for (std::size_t i = 0; i < rows.size(); ++i)
            n += 1 + below(rows.text(i, "iautoid"));
        return n;
    };
    return 1 + below(headerId);
}

// Both ways in turn on the account's largest structure; false when their trees differ in size.
bool benchShape(const QString& url, const QString& name, int runs) {
    suite::ScriptedPrompter prompter;
    const auto headless = bench::signIn(url, QStringLiteral("demo"), prompter);
    db::Database& db = *headless->session().gConn;
    const auto [top, expected] = largestStructure(db);
    bomservice::BomTree tree(headless->session());

    std::size_t ours = 0;
    int theirs = 0;
    std::vector<double> ourTimes, baseTimes;
    // Turn by turn, so that other work on the machine falls on both alike.
    for (int i = 0; i < runs; ++i) {
        ourTimes.push_back(bench::measure(1, [&] { ours = tree.InitTreeByCode(top).size(); })[0]);
        baseTimes.push_back(bench::measure(1, [&] { theirs = walk(db, top); })[0]);
    }
    std::sort(ourTimes.begin(), ourTimes.end());
    std::sort(baseTimes.begin(), baseTimes.end());
    if (qlonglong(ours) != expected || theirs != expected) {
        std::fprintf(stderr, "%s: node counts differ: expected %lld, ours %zu, walk %d\n",
                     qPrintable(name), expected, ours, theirs);
        return false;
    }
    const QString kind = db.isPostgres() ? QStringLiteral("pg") : QStringLiteral("sqlite");
    bench::printRow(QStringLiteral("%1, %2 nodes (%3)").arg(name).arg(expected).arg(kind), ourTimes,
                    baseTimes);
    std::printf("%s %s: %lld nodes; level by level p50 %.1f p95 %.1f ms; one query per node "
                "p50 %.1f p95 %.1f ms\n",
                qPrintable(name), qPrintable(top), expected, bench::percentile(ourTimes, 0.5),
                bench::percentile(ourTimes, 0.95), bench::percentile(baseTimes, 0.5),
                bench::percentile(baseTimes, 0.95));
    return true;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QString url = bench::accountUrl(argc, argv);
    const int runs = bench::countArg(argc, argv, 2, 20);
    bench::openGeneratedAccount(url, 100000);
    bool agreed = benchShape(url, QStringLiteral("tree of the largest structure d3"), runs);
    // Deep product families: a sub-assembly appears under many paths.
    const suite::Account::GenerateOptions shared = bench::deepFamilies();
    bench::openGeneratedAccount(url, shared);
    agreed = benchShape(bench::shapedUrl(url, shared),
                        QStringLiteral("tree of the largest structure d8 s4"), runs) &&
             agreed;
    return agreed ? 0 : 1;
}
