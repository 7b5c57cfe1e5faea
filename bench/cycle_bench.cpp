// The save's cycle check on generated accounts of 100,000 BOMs, cold (the first check on a new
// connection) and warm (repeated on one connection), against two references run in the same
// process through the same driver:
//  - baseline: the documented depth-first walk, one query per visited item and path and no
//    visited set, run once for the whole card: each parent it meets is compared with every
//    line's component, so one walk answers what the documented check asks once per line;
//  - floor: the one recursive query that reads every ancestor of the card's parent.
// Usage: cycle_bench [URL] [warm runs, 200] [cold runs, 50] [runs of the walk, 10]
#include "BenchAccount.h"
#include "bomservice/CycleCheck.h"
#include "suite/Prompter.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSqlQuery>
#include <algorithm>
#include <cstdio>

using namespace bom;

namespace {

// Every ancestor of the bound item, and the item itself, in one statement.
const QString kAncestorsSql =
    QStringLiteral("WITH RECURSIVE up(code) AS ("
                   " SELECT CAST(? AS VARCHAR(60))"
                   " UNION"
                   " SELECT s.cpspcode FROM ProductStructures s JOIN up ON s.cpscode=up.code)"
                   " SELECT code FROM up");

// The same started from the lines that use the item: PostgreSQL then guesses tens of thousands
// of rows (JIT-compiling the statement on every run), the reason ours starts from the item.
const QString kFromLinesSql =
    QStringLiteral("WITH RECURSIVE up(code) AS ("
                   " SELECT cpspcode FROM ProductStructures WHERE cpscode=?"
                   " UNION"
                   " SELECT s.cpspcode FROM ProductStructures s JOIN up ON s.cpscode=up.code)"
                   " SELECT code FROM up");

// The documented walk once for a whole card.
class CardWalk {
public:
    explicit CardWalk(db::Database& db)
        : db_(db), parents_(db.prepare(QStringLiteral(
                       "select distinct productstructures.cpspcode, productstructures.cpscode "
                       "from productstructures where cpscode=?"))) {}

    // The first line (in card order) whose component is above `parent`, or -1.
    int check(const QString& parent, const QStringList& components) {
        lineOf_.clear();
        for (int i = components.size() - 1; i >= 0; --i)
            lineOf_.insert(components[i], i);
        first_ = -1;
        queries = 0;
        up(parent);
        return first_;
    }
    qint64 queries = 0;

private:
    // False once line 0 has been met: no later find can come before it.
    bool up(const QString& current) {
        ++queries;
        db_.run(parents_, {current});
        QStringList found;
        while (parents_.next())
            found << parents_.value(0).toString();
        parents_.finish();
        for (const QString& parent : found) {
            const int line = lineOf_.value(parent, -1);
            if (line >= 0 && (first_ < 0 || line < first_))
                first_ = line;
            if (first_ == 0 || !up(parent))
                return false;
        }
        return true;
    }

    db::Database& db_;
    QSqlQuery parents_;
    QHash<QString, int> lineOf_;
    int first_ = -1;
};

struct Card {
    QString parent;
    QStringList components;
    bomservice::BomCard rows() const {
        bomservice::BomCard card;
        card.header.setValue(card.header.appendRow(), QStringLiteral("cpspcode"), parent);
        for (const QString& component : components)
            card.lines.setValue(card.lines.appendRow(), QStringLiteral("cpscode"), component);
        return card;
    }
};

// One figure's three sample sets, and whether every run agreed on the verdict.
struct Samples {
    std::vector<double> ours, walk, floor;
    bool agreed = true;
    qint64 walkQueries = 0;
    int ancestors = 0;
};

// The verdict of each way is the first cycling line, -1 for none.
int runOurs(db::Database& db, const Card& card, Samples& out) {
    const bomservice::BomCard rows = card.rows();
    QElapsedTimer timer;
    timer.start();
    suite::ScriptedPrompter prompter;
    bomservice::CycleCheck check(db, prompter);
    const bool clean = check.CheckCycle(rows);
    out.ours.push_back(timer.nsecsElapsed() / 1e6);
    return clean ? -1 : int(card.components.indexOf(check.lastPath().last()));
}

int runWalk(db::Database& db, const Card& card, Samples& out) {
    QElapsedTimer timer;
    timer.start();
    CardWalk walk(db);
    const int line = walk.check(card.parent, card.components);
    out.walk.push_back(timer.nsecsElapsed() / 1e6);
    out.walkQueries = walk.queries;
    return line;
}

int runFloor(db::Database& db, const Card& card, Samples& out) {
    QElapsedTimer timer;
    timer.start();
    const db::Rows above = db.query(kAncestorsSql, {card.parent});
    out.floor.push_back(timer.nsecsElapsed() / 1e6);
    out.ancestors = int(above.size()) - 1; // less the parent itself
    int first = -1;
    for (std::size_t i = 0; i < above.size(); ++i) {
        const int line = int(card.components.indexOf(above.at(i).at(0).toString()));
        if (line >= 0 && (first < 0 || line < first))
            first = line;
    }
    return first;
}

// `walk` is -2 when the walk has not run.
void agree(Samples& out, int ours, int walk, int floor) {
    out.agreed = out.agreed && ours == floor && (walk == -2 || walk == ours);
}

// The walk takes seconds a run on the shared account, so it runs in the first `walkRuns`
// rounds only; ours and the floor run in every round.
Samples measureCold(const QString& url, const Card& card, int runs, int walkRuns) {
    // Each way on a connection of its own, opened just before (not timed): an empty page cache
    // (SQLite), a new server process with no plans or catalog cached (PostgreSQL).
    Samples samples;
    int walk = -2;
    for (int i = 0; i < runs; ++i) {
        const int ours = runOurs(*db::Database::open(url), card, samples);
        if (i < walkRuns)
            walk = runWalk(*db::Database::open(url), card, samples);
        const int floor = runFloor(*db::Database::open(url), card, samples);
        agree(samples, ours, walk, floor);
    }
    return samples;
}

Samples measureWarm(db::Database& db, const Card& card, int runs, int walkRuns) {
    Samples samples;
    int walk = -2;
    for (int i = -1; i < runs; ++i) {
        const int ours = runOurs(db, card, samples);
        if (i < walkRuns)
            walk = runWalk(db, card, samples);
        const int floor = runFloor(db, card, samples);
        agree(samples, ours, walk, floor);
        if (i < 0) { // the first round only warms the connection up
            samples.ours.clear();
            samples.walk.clear();
            samples.floor.clear();
        }
    }
    return samples;
}

// The recursion started from the lines, beside the floor, warm.
Samples measureFromLines(db::Database& db, const Card& card, int runs) {
    Samples samples;
    for (int i = -1; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        const db::Rows above = db.query(kFromLinesSql, {card.parent});
        const double ms = timer.nsecsElapsed() / 1e6;
        Samples floor;
        runFloor(db, card, floor);
        if (i >= 0) {
            samples.ours.push_back(ms);
            samples.floor.push_back(floor.floor.front());
        }
        samples.ancestors = int(above.size());
    }
    return samples;
}

bool report(const QString& figure, const Samples& samples) {
    auto p = [](std::vector<double> ms, double at) {
        std::sort(ms.begin(), ms.end());
        return bench::percentile(ms, at);
    };
    std::printf("%s: %d ancestors, walk %lld queries, verdicts %s; p50/p95 ms: ours %.2f/%.2f "
                "(%zu runs), walk %.2f/%.2f (%zu), floor %.2f/%.2f (%zu)\n",
                qPrintable(figure), samples.ancestors, samples.walkQueries,
                samples.agreed ? "agree" : "DIFFER", p(samples.ours, 0.5), p(samples.ours, 0.95),
                samples.ours.size(), p(samples.walk, 0.5), p(samples.walk, 0.95),
                samples.walk.size(), p(samples.floor, 0.5), p(samples.floor, 0.95),
                samples.floor.size());
    bench::printRow(figure, samples.ours, samples.walk, samples.floor);
    return samples.agreed;
}

struct Runs {
    int warm = 200, cold = 50, walk = 10;
};

bool benchShape(std::unique_ptr<db::Database> db, const QString& url, const QString& name,
                int depth, const Runs& runs) {
    // The lowest sub-assembly most used: the most ways up.
    Card clean;
    clean.parent = db->scalar(QStringLiteral("select cpscode from ProductStructures where "
                                             "cpscode like 'G1-%' group by cpscode order by "
                                             "count(*) desc, cpscode limit 1"))
                       .toString();
    const db::Rows lines = db->query(
        QStringLiteral("select cpscode from ProductStructures where cpspcode=? order by autoid"),
        {clean.parent});
    for (std::size_t i = 0; i < lines.size(); ++i)
        clean.components << lines.at(i).at(0).toString();
    // The same card with a finished product above it as its first line.
    const db::Rows tops = db->query(kAncestorsSql, {clean.parent});
    QStringList topCodes;
    const QString topLevel = QStringLiteral("G%1-").arg(depth);
    for (std::size_t i = 0; i < tops.size(); ++i)
        if (tops.at(i).at(0).toString().startsWith(topLevel))
            topCodes << tops.at(i).at(0).toString();
    topCodes.sort();
    Card cycling = clean;
    if (!topCodes.isEmpty())
        cycling.components.prepend(topCodes.at(topCodes.size() / 2));
    std::printf("%s account %s: card %s with %lld lines; cycle card's first line %s\n",
                qPrintable(name), qPrintable(url), qPrintable(clean.parent),
                qlonglong(clean.components.size()), qPrintable(cycling.components.value(0)));

    bool agreed = report(name + QStringLiteral(" clean card, cold"),
                         measureCold(url, clean, runs.cold, runs.walk));
    agreed = report(name + QStringLiteral(" clean card, warm"),
                    measureWarm(*db, clean, runs.warm, runs.walk)) &&
             agreed;
    agreed = report(name + QStringLiteral(" cycling card, warm"),
                    measureWarm(*db, cycling, runs.warm, runs.walk)) &&
             agreed;
    const Samples fromLines = measureFromLines(*db, clean, runs.warm);
    std::printf("%s: the recursion started from the lines (not ours) reads %d ancestors\n",
                qPrintable(name), fromLines.ancestors);
    bench::printRow(name + QStringLiteral(" recursion from the lines (not ours), warm"),
                    fromLines.ours, {}, fromLines.floor);
    return agreed;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QString url = bench::accountUrl(argc, argv);
    Runs runs;
    if (argc > 2)
        runs.warm = QString::fromLocal8Bit(argv[2]).toInt();
    if (argc > 3)
        runs.cold = QString::fromLocal8Bit(argv[3]).toInt();
    if (argc > 4)
        runs.walk = QString::fromLocal8Bit(argv[4]).toInt();

    // Deep product families whose sub-assemblies have 4 parents each: paths multiply upward.
    const suite::Account::GenerateOptions shared = bench::deepFamilies();
    bool agreed =
        benchShape(bench::openGeneratedAccount(url, shared), bench::shapedUrl(url, shared),
                   QStringLiteral("cycle shared d8 s4 w50"), shared.depth, runs);
    // The three-level account of the other benchmarks: few shared ancestors.
    agreed = benchShape(bench::openGeneratedAccount(url, 100000), url,
                        QStringLiteral("cycle flat d3"), 3, runs) &&
             agreed;
    return agreed ? 0 : 1;
}
