// The save's checks on cards of 1,000 and 10,000 lines on a generated account of 100,000 BOMs:
// BomValidator::ValidateBom (every rule, the cycle search included, nothing written), beside
// the straightforward checks (a fresh statement per line's item, duplicate lines compared
// pairwise) on the 1,000-line card; pairwise, 10,000 lines take tens of seconds, so that
// figure is left out. Ten times the lines should cost at most fifteen times the time.
// Usage: validate_bench [sqlite:PATH | postgresql://…] (default /tmp/bom-bench.db)
#include "BenchAccount.h"
#include "StraightforwardSave.h"
#include "bomservice/BomValidator.h"
#include "db/DbError.h"
#include "entry/HeadlessSession.h"
#include "suite/Prompter.h"

#include <QCoreApplication>
#include <cstdio>
#include <cstdlib>

using namespace bom;

namespace {

double p50(std::vector<double> ms) {
    std::sort(ms.begin(), ms.end());
    return bench::percentile(ms, 0.5);
}

int run(const QString& url) {
    bench::GeneratedSession signedIn(url);
    suite::ScriptedPrompter& prompter = signedIn.prompter;
    entry::Session& session = signedIn.session();
    db::Database& db = signedIn.db();
    const QString kind = db.isPostgres() ? QStringLiteral("pg") : QStringLiteral("sqlite");

    QStringList components;
    const db::Rows purchased = db.query(QStringLiteral(
        "select cInvCode from Inventory where cInvCode like 'P-%' order by cInvCode limit 10000"));
    for (std::size_t i = 0; i < purchased.size(); ++i)
        components << purchased.text(i, "cInvCode");
    if (components.size() < 10000) {
        std::fprintf(stderr, "only %d purchased items\n", int(components.size()));
        return 1;
    }
    // A parent with no BOM and no use yet: every rule runs to its end.
    const QString parent = QStringLiteral("VB-%1").arg(QCoreApplication::applicationPid());
    db.exec(QStringLiteral("INSERT INTO Inventory(iId, cInvCode, cInvName, bself) SELECT "
                           "COALESCE(MAX(iId),0)+1, ?, ?, 1 FROM Inventory"),
            {parent, QStringLiteral("校验基准 ") + parent});

    auto ours = [&](int lines, int runs) {
        // The validation may change its card, so each run gets a copy made before the clock.
        std::vector<bomservice::BomCard> cards(std::size_t(runs),
                                               bench::newCard(parent, components.mid(0, lines)));
        std::size_t next = 0;
        return bench::measure(runs, [&] {
            prompter.clear();
            if (!bomservice::BomValidator(session).ValidateBom(cards[next++], 0)) {
                std::fprintf(stderr, "validation refused: %s\n",
                             qPrintable(prompter.texts().join(' ')));
                std::exit(1);
            }
        });
    };
    bench::StraightforwardSave straightforward(session);
    const bomservice::BomCard small = bench::newCard(parent, components.mid(0, 1000));
    const std::vector<double> base = bench::measure(3, [&] {
        bomservice::BomCard copy = small;
        if (!straightforward.validate(copy)) {
            std::fprintf(stderr, "straightforward validation refused\n");
            std::exit(1);
        }
    });
    const std::vector<double> thousand = ours(1000, 20);
    const std::vector<double> tenThousand = ours(10000, 7);
    bench::printRow(QStringLiteral("validate 1,000-line card (%1)").arg(kind), thousand, base);
    bench::printRow(QStringLiteral("validate 10,000-line card (%1)").arg(kind), tenThousand);
    const double ratio = p50(tenThousand) / p50(thousand);
    std::printf("validate: 1,000 lines p50 %.1f ms, 10,000 lines p50 %.1f ms (target < 1000 ms: "
                "%s); 10x the lines cost %.1fx the time (target <= 15x: %s)\n",
                p50(thousand), p50(tenThousand), p50(tenThousand) < 1000 ? "met" : "NOT met", ratio,
                ratio <= 15 ? "met" : "NOT met");
    db.exec(QStringLiteral("DELETE FROM Inventory WHERE cInvCode=?"), {parent});
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QString url = bench::accountUrl(argc, argv);
    try {
        return run(url);
    } catch (const db::DbError& e) {
        std::fprintf(stderr, "database error: %s\n%s\n", qPrintable(e.message()),
                     qPrintable(e.sql()));
        return 1;
    }
}
