// The save's cycle check of a 500-line card on a generated account of 100,000 BOMs with
// 1,000,000 lines: our level-by-level ancestor search against the straightforward walk that runs
// one query per visited parent and path. Usage: cycle_bench [URL] [seconds cap of the walk]
#include "BenchAccount.h"
#include "bomservice/CycleCheck.h"
#include "suite/Prompter.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSqlQuery>
#include <cstdio>

using namespace bom;

namespace {

// The walk as the original did it: depth first, no visited set, one query per call.
class NaiveWalk {
public:
    NaiveWalk(db::Database& db, qint64 capMs)
        : db_(db), parents_(db.prepare(QStringLiteral(
                       "select distinct productstructures.cpspcode, productstructures.cpscode "
                       "from productstructures where cpscode=?"))),
          capMs_(capMs) {
        timer_.start();
    }
    // False when a cycle was found; `timedOut` tells whether the cap stopped it.
    bool up(const QString& component, const QString& current) {
        if (timedOut())
            return true;
        ++queries;
        db_.run(parents_, {current});
        QStringList found;
        while (parents_.next())
            found << parents_.value(0).toString();
        parents_.finish();
        for (const QString& parent : found)
            if (parent == component || !up(component, parent))
                return false;
        return true;
    }
    bool timedOut() const { return timer_.elapsed() > capMs_; }
    qint64 elapsed() const { return timer_.elapsed(); }
    qint64 queries = 0;

private:
    db::Database& db_;
    QSqlQuery parents_;
    qint64 capMs_;
    QElapsedTimer timer_;
};

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QString url =
        argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("sqlite:/tmp/bom-bench.db");
    const qint64 capMs = (argc > 2 ? QString::fromLocal8Bit(argv[2]).toLongLong() : 60) * 1000;
    auto db = bench::openGeneratedAccount(url, 100000);

    // The most used first-level sub-assembly: the parent with the most ancestors above it.
    const QString parent =
        db
            ->scalar(QStringLiteral(
                "select cpscode from ProductStructures where cpscode like 'G1-%' group by cpscode "
                "order by count(*) desc, cpscode limit 1"))
            .toString();
    const db::Rows purchased = db->query(QStringLiteral(
        "select cInvCode from Inventory where cInvCode like 'P-%' order by cInvCode limit 500"));
    bomservice::BomCard card;
    card.header.setValue(card.header.appendRow(), QStringLiteral("cpspcode"), parent);
    for (std::size_t i = 0; i < purchased.size(); ++i)
        card.lines.setValue(card.lines.appendRow(), QStringLiteral("cpscode"),
                            purchased.text(i, "cInvCode"));

    suite::ScriptedPrompter prompter;
    bomservice::CycleCheck check(*db, prompter);
    bool clean = true;
    const auto ours = bench::measure(30, [&] { clean = check.CheckCycle(card) && clean; });
    const double p50 = bench::percentile(ours, 0.5);
    const double p95 = bench::percentile(ours, 0.95);

    NaiveWalk walk(*db, capMs);
    int linesDone = 0;
    for (int row = 0; row < card.lines.rowCount() && !walk.timedOut(); ++row) {
        walk.up(card.lines.text(row, QStringLiteral("cpscode")), parent);
        if (!walk.timedOut())
            ++linesDone;
    }
    const double walkMs = double(walk.elapsed());

    std::printf("card: parent %s, %d lines, no cycle: %s\n", qPrintable(parent),
                card.lines.rowCount(), clean ? "yes" : "NO");
    std::printf(
        "ours (breadth first, one query per level): p50 %.2f ms, p95 %.2f ms over %zu runs\n", p50,
        p95, ours.size());
    if (linesDone == card.lines.rowCount()) {
        std::printf("walk (query per path): %.0f ms, %lld queries\n", walkMs, walk.queries);
        std::printf("ratio walk/ours(p95): %.0fx\n", walkMs / p95);
    } else {
        // Lines already walked tell how long the whole card would take.
        std::printf("walk (query per path): capped at %.0f ms after %d of %d lines, %lld queries\n",
                    walkMs, linesDone, card.lines.rowCount(), walk.queries);
        std::printf("ratio walk/ours(p95): at least %.0fx\n", walkMs / p95);
    }
    return clean ? 0 : 1;
}
