// Operators at work on one account at once, each a thread with a session of its own, doing what
// a planning office does for a bounded time: reading pages of the BOM list, opening cards,
// saving a 50-line card (mostly his own; now and then a card every operator shares, loaded just
// before, which another may have saved meanwhile), and one batch run a minute (a waste rate
// changed in the BOMs that use a common component). Printed per operation: count, throughput,
// p50/p95/p99 latency and refusals (a message shown instead of the work); for the whole run,
// the conflicts the services retried (PostgreSQL 40001/40P01).
// Usage: load_bench [URL] [operators] [seconds] [boms]
//   defaults: sqlite:/tmp/bom-bench.db, 16 operators, 60 s, an account of 20,000 BOMs (made once
//   beside URL and reused). The figures that matter are PostgreSQL's: operators on one SQLite
//   file queue behind its single writer.
#include "BenchAccount.h"
#include "batch/BatchEditor.h"
#include "bomservice/BomCardLoader.h"
#include "bomservice/BomSaver.h"
#include "db/DbError.h"
#include "db/Transaction.h"
#include "db/TransactionRetry.h"
#include "entry/Session.h"
#include "list/BomList.h"
#include "list/PagedQueryModel.h"
#include "suite/PublicService.h"
#include "suite/RightsStore.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <cstdio>
#include <map>
#include <mutex>
#include <random>
#include <thread>

using namespace bom;

namespace {

const QString kCard = QStringLiteral("PP30");
constexpr int kCardLines = 50;
constexpr int kSharedCards = 2;
constexpr int kOpenPool = 500;
constexpr int kBatchBoms = 2000;

enum class Op { ListPage, CardOpen, SaveOwn, SaveShared, BatchRun };

const char* nameOf(Op op) {
    switch (op) {
    case Op::ListPage:
        return "list page";
    case Op::CardOpen:
        return "card open";
    case Op::SaveOwn:
        return "save own 50-line card";
    case Op::SaveShared:
        return "save shared 50-line card";
    case Op::BatchRun:
        return "batch run";
    }
    return "?";
}

// What every operator reports into, under one lock: samples are few (thousands a minute).
class Tally {
public:
    void add(Op op, double ms, bool refused) {
        const std::lock_guard lock(mutex_);
        samples_[op].push_back(ms);
        refused_[op] += refused ? 1 : 0;
    }
    void addFailure(Op op, const QString& what) {
        const std::lock_guard lock(mutex_);
        failures_[op] << what;
    }
    void print(double seconds) const {
        std::printf("%-26s %7s %8s %9s %9s %9s %8s\n", "operation", "count", "per s", "p50 ms",
                    "p95 ms", "p99 ms", "refused");
        for (auto [op, ms] : samples_) {
            std::sort(ms.begin(), ms.end());
            std::printf("%-26s %7d %8.1f %9.2f %9.2f %9.2f %8d\n", nameOf(op), int(ms.size()),
                        double(ms.size()) / seconds, bench::percentile(ms, 0.50),
                        bench::percentile(ms, 0.95), bench::percentile(ms, 0.99), refused_.at(op));
        }
        for (const auto& [op, texts] : failures_)
            std::printf("%s failed %d times; first: %s\n", nameOf(op), int(texts.size()),
                        qPrintable(texts.first()));
    }
    int failures() const {
        int n = 0;
        for (const auto& [op, texts] : failures_)
            n += int(texts.size());
        return n;
    }

private:
    mutable std::mutex mutex_;
    std::map<Op, std::vector<double>> samples_;
    std::map<Op, int> refused_;
    std::map<Op, QStringList> failures_;
};

// The operators are load01, load02, …
QString operatorName(int index) {
    return QStringLiteral("load%1").arg(index + 1, 2, 10, QLatin1Char('0'));
}

// What the setup made for the operators.
struct Stage {
    QString url;
    QStringList ownCards;    // one 50-line card per operator
    QStringList sharedCards; // cards every operator saves now and then
    QStringList openPool;    // BOMs the operators open
    QString batchComponent;  // used by many BOMs; the batch runs change its waste rate
    QStringList batchBoms;
};

// One operator's working time. Only the operation itself is timed; the card a save needs is
// loaded before its timer starts.
class Operator {
public:
    Operator(const Stage& stage, int index, double seconds, Tally& tally)
        : stage_(stage), index_(index), seconds_(seconds), tally_(tally),
          random_(1000u + unsigned(index)) {}

    void run() {
        suite::ScriptedPrompter prompter;
        prompter.setFallbackAnswer(suite::Prompter::Answer::Yes);
        auto headless = bench::signIn(stage_.url, operatorName(index_), prompter);
        entry::Session& session = headless->session();
        bomservice::BomCardLoader loader(session);
        const auto voucher = loader.LoadTemplate(kCard);
        if (!voucher) {
            tally_.addFailure(Op::CardOpen,
                              QStringLiteral("template: ") + prompter.texts().join(' '));
            return;
        }
        const list::BomList list(session);
        const list::BomList::ParentPages pages = list.parentPages();
        QVariantList lastKey;
        QElapsedTimer clock;
        clock.start();
        qint64 nextBatch = 5000; // the first run once everyone is at work
        while (clock.elapsed() < qint64(seconds_ * 1000)) {
            prompter.clear();
            const Op op = next(clock.elapsed() >= nextBatch);
            try {
                switch (op) {
                case Op::ListPage:
                    listPage(session, pages, lastKey);
                    break;
                case Op::CardOpen:
                    cardOpen(loader, *voucher, prompter);
                    break;
                case Op::SaveOwn:
                case Op::SaveShared:
                    save(session, loader, *voucher, prompter, op);
                    break;
                case Op::BatchRun:
                    nextBatch += 60000;
                    batchRun(session, prompter);
                    break;
                }
            } catch (const db::DbError& e) {
                tally_.addFailure(op, e.message());
            }
        }
    }

private:
    // Half list pages, a third card opens, the rest saves; the first operator also runs the
    // batch when its minute comes.
    Op next(bool batchDue) {
        if (index_ == 0 && batchDue)
            return Op::BatchRun;
        const int dice = std::uniform_int_distribution<int>(0, 99)(random_);
        return dice < 50   ? Op::ListPage
               : dice < 80 ? Op::CardOpen
               : dice < 96 ? Op::SaveOwn
                           : Op::SaveShared;
    }

    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }

    void listPage(entry::Session& session, const list::BomList::ParentPages& pages,
                  QVariantList& lastKey) {
        QElapsedTimer t;
        t.start();
        const db::SqlCondition sql = pages.page(lastKey, list::PagedQueryModel::kPageSize);
        const db::Rows rows = session.gConn->query(sql.sql, sql.params);
        tally_.add(Op::ListPage, bench::msSince(t), false);
        // Scroll on; back to the top at the end of the list or after ten pages.
        lastKey.clear();
        if (!rows.empty() && ++pagesRead_ % 10 != 0)
            for (int k = 0; k < pages.keyCount(); ++k)
                lastKey << rows.value(rows.size() - 1, db::Keyset::keyColumn(k));
    }

    void cardOpen(bomservice::BomCardLoader& loader, const bomservice::VoucherTemplate& voucher,
                  suite::ScriptedPrompter& prompter) {
        const QString& id = stage_.openPool[pick(int(stage_.openPool.size()))];
        QElapsedTimer t;
        t.start();
        const auto card = loader.LoadBom(voucher, id);
        tally_.add(Op::CardOpen, bench::msSince(t), !card);
        if (!card)
            tally_.addFailure(Op::CardOpen, prompter.texts().join(' '));
    }

    void save(entry::Session& session, bomservice::BomCardLoader& loader,
              const bomservice::VoucherTemplate& voucher, suite::ScriptedPrompter& prompter,
              Op op) {
        const QString& id =
            op == Op::SaveOwn ? stage_.ownCards[index_] : stage_.sharedCards[pick(kSharedCards)];
        auto card = loader.LoadBom(voucher, id);
        if (!card) {
            tally_.addFailure(op, QStringLiteral("card load: ") + prompter.texts().join(' '));
            return;
        }
        // A planner corrects a few quantities.
        for (int n = 0; n < 3; ++n) {
            const int row = pick(card->lines.rowCount());
            card->lines.setValue(row, QStringLiteral("ipsquantity"), pick(9) + 1);
            card->lines.setEditprop(row, QStringLiteral("M"));
        }
        QString result, error;
        QElapsedTimer t;
        t.start();
        const bool saved = bomservice::BomSaver(session).SaveBom(*card, kCard, 1, result, error);
        tally_.add(op, bench::msSince(t), !saved);
        // Only a shared card may be refused, as changed by another operator meanwhile.
        if (!saved && op == Op::SaveOwn)
            tally_.addFailure(op, result + QLatin1Char(' ') + prompter.texts().join(' '));
    }

    void batchRun(entry::Session& session, suite::ScriptedPrompter& prompter) {
        batch::BatchEditor editor(session);
        const bool ready =
            editor.InitBatch(batch::Operation::Modify, stage_.batchBoms,
                             entry::BomIdentity{stage_.batchComponent, {}, {}}) &&
            editor.EnterValue(QStringLiteral("iwasterate"), QString::number(pick(20) + 1));
        QElapsedTimer t;
        t.start();
        const auto result = ready ? editor.Save() : std::nullopt;
        const bool done = result && result->run > 0;
        tally_.add(Op::BatchRun, bench::msSince(t), !done);
        if (!done)
            tally_.addFailure(Op::BatchRun, prompter.texts().join(' '));
    }

    const Stage& stage_;
    const int index_;
    const double seconds_;
    Tally& tally_;
    std::mt19937 random_;
    int pagesRead_ = 0;
};

// Operators of their own, and the BOM function shared among them as an office sets it (its
// lock is exclusive by default).
void ensureOperators(db::Database& db, int count) {
    db::Transaction tx(db);
    suite::PublicService::setFunctionLockShared(db, true);
    suite::RightsStore rights(db);
    for (int i = 0; i < count; ++i) {
        if (db.scalar(QStringLiteral("SELECT count(*) FROM sys_operator WHERE cuserid=?"),
                      {operatorName(i)})
                .toInt())
            continue;
        db.exec(QStringLiteral("INSERT INTO sys_operator(cuserid, cusername) VALUES (?, ?)"),
                {operatorName(i), QStringLiteral("计划员%1").arg(i + 1)});
        rights.setScope(operatorName(i), QStringLiteral("function"),
                        suite::RightsStore::Scope::All);
    }
    tx.commit();
}

// The account and what the operators work on, made before the clock starts.
Stage prepare(const QString& url, int operators, int boms) {
    Stage stage;
    stage.url = bench::sizedUrl(url, boms);
    auto db = bench::openGeneratedAccount(stage.url, boms);
    ensureOperators(*db, operators);
    suite::ScriptedPrompter prompter;
    auto headless = bench::signIn(stage.url, QStringLiteral("demo"), prompter);
    entry::Session& session = headless->session();
    const QStringList components = bench::purchasedItems(*db, kCardLines);
    for (int i = 0; i < operators + kSharedCards; ++i) {
        bomservice::BomCard card = bench::newCard(bench::freshParent(*db), components);
        QString result, error;
        if (!bomservice::BomSaver(session).SaveBom(card, kCard, 0, result, error))
            bench::failed("card for the load", prompter);
        (i < operators ? stage.ownCards : stage.sharedCards)
            << card.header.text(0, QStringLiteral("iautoid"));
    }
    const db::Rows pool =
        db->query(QStringLiteral("select iautoid from ProductStructure order by iautoid limit ?"),
                  {kOpenPool});
    for (std::size_t i = 0; i < pool.size(); ++i)
        stage.openPool << pool.text(i, "iautoid");
    // The component most BOMs use, and (some of) those BOMs, unapproved.
    stage.batchComponent =
        db->scalar(QStringLiteral("select cpscode from ProductStructures group by cpscode "
                                  "order by count(*) desc, cpscode limit 1"))
            .toString();
    const db::Rows users = db->query(
        QStringLiteral("select distinct h.iautoid from ProductStructures s join ProductStructure "
                       "h on h.iautoid=s.ipid where s.cpscode=? and COALESCE(h.ccheck,'')='' "
                       "order by h.iautoid limit ?"),
        {stage.batchComponent, kBatchBoms});
    // Not the operators' cards: a run between loading one and saving it would refuse the save.
    for (std::size_t i = 0; i < users.size(); ++i)
        if (!stage.ownCards.contains(users.text(i, "iautoid")) &&
            !stage.sharedCards.contains(users.text(i, "iautoid")))
            stage.batchBoms << users.text(i, "iautoid");
    return stage;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QString url = bench::accountUrl(argc, argv);
    const int operators = bench::countArg(argc, argv, 2, 16);
    const double seconds = bench::countArg(argc, argv, 3, 60);
    const int boms = bench::countArg(argc, argv, 4, 20000);
    try {
        const Stage stage = prepare(url, operators, boms);
        std::printf("%d operators on %s (%d BOMs) for %.0f s; the batch runs change %d BOMs "
                    "using %s\n",
                    operators, qPrintable(stage.url), boms, seconds, int(stage.batchBoms.size()),
                    qPrintable(stage.batchComponent));
        const qint64 retriesBefore = db::TransactionRetry::retries();
        Tally tally;
        std::vector<std::thread> threads;
        for (int i = 0; i < operators; ++i)
            threads.emplace_back([&, i] { Operator(stage, i, seconds, tally).run(); });
        for (std::thread& thread : threads)
            thread.join();
        tally.print(seconds);
        std::printf("conflicts retried inside the services: %lld\n",
                    db::TransactionRetry::retries() - retriesBefore);
        return tally.failures() == 0 ? 0 : 1;
    } catch (const db::DbError& e) {
        std::fprintf(stderr, "database error: %s\n%s\n", qPrintable(e.message()),
                     qPrintable(e.sql()));
        return 1;
    }
}
