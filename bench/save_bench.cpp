// Saving a 500-line BOM card on a generated account of 100,000 BOMs with 1,000,000 lines: a new
// card and a modification through BomSaver (validation, cycle check, writes, commit) against the
// old way of writing the same lines, one prepared statement per line with a key read-back after
// each. Usage: save_bench [sqlite:PATH | postgresql://…] (default /tmp/bom-bench.db)
#include "BenchAccount.h"
#include "bomservice/BomCardLoader.h"
#include "bomservice/BomSaver.h"
#include "db/DbError.h"
#include "db/Transaction.h"
#include "entry/HeadlessSession.h"
#include "suite/Login.h"
#include "suite/Prompter.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSqlQuery>
#include <QUuid>
#include <algorithm>
#include <cstdio>
#include <cstdlib>

using namespace bom;

namespace {

constexpr int kRuns = 20;
constexpr int kLines = 500;
const QString kCard = QStringLiteral("PP30");

struct Figures {
    double p50;
    double p95;
};

Figures figuresOf(std::vector<double> ms) {
    std::sort(ms.begin(), ms.end());
    return {bench::percentile(ms, 0.5), bench::percentile(ms, 0.95)};
}

[[noreturn]] void failed(const char* what, suite::ScriptedPrompter& prompter, const QString& result,
                         const QString& error) {
    std::fprintf(stderr, "%s failed: result \"%s\", error \"%s\", shown: %s\n", what,
                 qPrintable(result), qPrintable(error), qPrintable(prompter.texts().join(" | ")));
    std::exit(1);
}

// A parent nobody has a BOM for yet, so the identity check lets the new card through.
QString freshParent(db::Database& db, int run) {
    static const int base =
        db.scalar(QStringLiteral("SELECT COALESCE(MAX(iId), 10000000) FROM Inventory WHERE iId "
                                 ">= 10000000"))
            .toInt();
    const int id = base + run;
    const QString code = QStringLiteral("SB-%1").arg(id);
    db.exec(
        QStringLiteral("INSERT INTO Inventory(iId, cInvCode, cInvName, bself) VALUES (?,?,?,1)"),
        {id, code, QStringLiteral("保存基准 ") + code});
    return code;
}

bomservice::BomCard newCard(const QString& parent, const QStringList& components) {
    bomservice::BomCard card;
    const int head = card.header.appendRow();
    card.header.setValue(head, QStringLiteral("cpspcode"), parent);
    card.header.setValue(head, QStringLiteral("bmrcbbom"), QStringLiteral("否"));
    card.header.setValue(head, QStringLiteral("bexpand"), QStringLiteral("是"));
    for (int i = 0; i < components.size(); ++i) {
        const int row = card.lines.appendRow();
        card.lines.setValue(row, QStringLiteral("cpscode"), components[i]);
        card.lines.setValue(row, QStringLiteral("ipsquantity"), 1 + i % 9);
        card.lines.setValue(row, QStringLiteral("tdqtyd"), 1);
        card.lines.setValue(row, QStringLiteral("wiptype"), QStringLiteral("正常领料"));
        card.lines.setValue(row, QStringLiteral("replaceflag"), QStringLiteral("否"));
        card.lines.setEditprop(row, QStringLiteral("A"));
    }
    return card;
}

// The old save: SQL built per statement (so prepared each time) and the new key read back
// with max() after every insert. Committed like ours, then removed outside the timing.
double oldWayOnce(db::Database& db, const QString& parent, const QStringList& components) {
    const QString headerId = QUuid::createUuid().toString(QUuid::WithBraces).toUpper();
    QElapsedTimer timer;
    timer.start();
    {
        db::Transaction tx(db);
        QSqlQuery header = db.prepare(
            QStringLiteral("INSERT INTO ProductStructure(iautoid, cpspcode, bexpand, bStopFlag, "
                           "bmrcbbom) VALUES (?,?,1,0,0)"));
        db.run(header, {headerId, parent});
        for (int i = 0; i < components.size(); ++i) {
            QSqlQuery line =
                db.prepare(QStringLiteral("INSERT INTO ProductStructures(ipid, cpspcode, cpscode, "
                                          "ipsquantity, tdqtyd) VALUES (?,?,?,?,1)"));
            db.run(line, {headerId, parent, components[i], 1 + i % 9});
            QSqlQuery key = db.prepare(QStringLiteral("SELECT max(autoid) FROM ProductStructures"));
            db.run(key, {});
            key.next();
            if (key.value(0).isNull())
                throw db::DbError(QStringLiteral("no key read back"));
        }
        tx.commit();
    }
    const double ms = timer.nsecsElapsed() / 1e6;
    db::Transaction cleanup(db);
    db.exec(QStringLiteral("DELETE FROM ProductStructures WHERE ipid=?"), {headerId});
    db.exec(QStringLiteral("DELETE FROM ProductStructure WHERE iautoid=?"), {headerId});
    cleanup.commit();
    return ms;
}

void printRow(const char* name, const Figures& f, double targetMs) {
    std::printf("%-44s p50 %8.1f ms  p95 %8.1f ms", name, f.p50, f.p95);
    if (targetMs > 0)
        std::printf("  (target p95 < %.0f ms: %s)", targetMs, f.p95 < targetMs ? "met" : "NOT met");
    std::printf("\n");
}

int run(const QString& url) {
    bench::openGeneratedAccount(url, 100000);

    suite::ScriptedPrompter prompter;
    entry::HeadlessSession headless(prompter);
    QString error;
    if (headless.start(url, QStringLiteral("demo"), QString(), &error) !=
        entry::HeadlessSession::Outcome::Running) {
        std::fprintf(stderr, "session refused: %s\n",
                     qPrintable(error + prompter.texts().join(' ')));
        return 1;
    }
    entry::Session& session = headless.session();
    db::Database& db = *session.gConn;
    const bool postgres = db.isPostgres();
    const double targetMs = postgres ? 500 : 250;

    QStringList components;
    const db::Rows purchased = db.query(QStringLiteral(
        "select cInvCode from Inventory where cInvCode like 'P-%' order by cInvCode limit 500"));
    for (std::size_t i = 0; i < purchased.size(); ++i)
        components << purchased.text(i, "cInvCode");
    if (components.size() != kLines) {
        std::fprintf(stderr, "only %d purchased items\n", int(components.size()));
        return 1;
    }

    bomservice::BomSaver saver(session);
    QString result;

    std::vector<double> created;
    QStringList savedIds;
    QString lastParent;
    for (int r = 1; r <= kRuns; ++r) {
        lastParent = freshParent(db, r);
        bomservice::BomCard card = newCard(lastParent, components);
        prompter.clear();
        QElapsedTimer timer;
        timer.start();
        const bool ok = saver.SaveBom(card, kCard, 0, result, error);
        const double ms = timer.nsecsElapsed() / 1e6;
        if (!ok)
            failed("new card save", prompter, result, error);
        created.push_back(ms);
        savedIds << card.header.text(0, QStringLiteral("iautoid"));
    }

    // Each run reloads a card just saved, so its keys and row version are the stored ones.
    bomservice::BomCardLoader loader(session);
    const auto voucher = loader.LoadTemplate(kCard);
    if (!voucher)
        failed("template load", prompter, {}, {});
    std::vector<double> modified;
    for (const QString& id : savedIds) {
        prompter.clear();
        auto card = loader.LoadBom(*voucher, id);
        if (!card || card->lines.rowCount() != kLines)
            failed("card load", prompter, {}, {});
        for (int row = 0; row < card->lines.rowCount(); ++row) {
            const int quantity = card->lines.value(row, QStringLiteral("ipsquantity")).toInt();
            card->lines.setValue(row, QStringLiteral("ipsquantity"), quantity % 9 + 1);
            card->lines.setEditprop(row, QStringLiteral("M"));
        }
        QElapsedTimer timer;
        timer.start();
        const bool ok = saver.SaveBom(*card, kCard, 1, result, error);
        const double ms = timer.nsecsElapsed() / 1e6;
        if (!ok)
            failed("modification save", prompter, result, error);
        modified.push_back(ms);
    }

    std::vector<double> oldWay;
    for (int r = 0; r < kRuns; ++r)
        oldWay.push_back(oldWayOnce(db, lastParent, components));

    // A save that reported success must have left the lines it was given.
    const int stored =
        db.scalar(QStringLiteral("select count(*) from ProductStructures where ipid=?"),
                  {savedIds.first()})
            .toInt();
    if (stored != kLines) {
        std::fprintf(stderr, "saved card holds %d lines, not %d\n", stored, kLines);
        return 1;
    }

    const Figures ours = figuresOf(created);
    const Figures change = figuresOf(modified);
    const Figures base = figuresOf(oldWay);
    std::printf("%s account, %d-line card, %d runs each\n", postgres ? "PostgreSQL" : "SQLite",
                kLines, kRuns);
    printRow("new card (BomSaver, mode 0)", ours, targetMs);
    printRow("modification (BomSaver, mode 1)", change, targetMs);
    printRow("baseline: statement per line + max() read", base, 0);
    std::printf("ratio new/baseline: p50 %.2fx, p95 %.2fx\n", ours.p50 / base.p50,
                ours.p95 / base.p95);
    std::printf("ratio modification/baseline: p50 %.2fx, p95 %.2fx\n", change.p50 / base.p50,
                change.p95 / base.p95);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QString url =
        argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("sqlite:/tmp/bom-bench.db");
    try {
        return run(url);
    } catch (const db::DbError& e) {
        std::fprintf(stderr, "database error: %s\n%s\n", qPrintable(e.message()),
                     qPrintable(e.sql()));
        return 1;
    }
}
