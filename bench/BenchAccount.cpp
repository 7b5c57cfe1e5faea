#include "BenchAccount.h"

#include "db/DbError.h"
#include "db/Transaction.h"
#include "suite/Account.h"
#include "suite/RightsStore.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QStringList>
#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace bom::bench {

namespace {

std::unique_ptr<db::Database> openOrGenerate(const QString& url,
                                             const suite::Account::GenerateOptions& shape) {
    try {
        auto existing = db::Database::open(url);
        if (suite::Account::exists(*existing))
            return existing;
    } catch (const db::DbError&) {
        // Not there yet: made below.
    }
    std::fprintf(stderr, "generating %d BOMs into %s …\n", shape.boms, qPrintable(url));
    QElapsedTimer timer;
    timer.start();
    auto db = suite::Account::create(url, QStringLiteral("demo"), QStringLiteral("演示操作员"));
    suite::Account::generate(*db, shape);
    // What autovacuum would do a minute later: measure plans on statistics, as accounts run.
    if (db->isPostgres())
        db->exec(QStringLiteral("ANALYZE"));
    std::fprintf(stderr, "generated in %.1f s\n", timer.elapsed() / 1000.0);
    return db;
}

} // namespace

std::unique_ptr<db::Database> openGeneratedAccount(const QString& url, int boms) {
    return openOrGenerate(url, {boms, 3, 10, 1});
}

std::unique_ptr<db::Database> openGeneratedAccount(const QString& url,
                                                   const suite::Account::GenerateOptions& shape) {
    return openOrGenerate(shapedUrl(url, shape), shape);
}

QString taggedUrl(const QString& url, const QString& tag) {
    if (url.startsWith(QLatin1String("sqlite:"))) {
        const qsizetype dot = url.lastIndexOf(QLatin1Char('.'));
        const bool extension = dot > url.lastIndexOf(QLatin1Char('/'));
        return extension ? url.left(dot) + QLatin1Char('-') + tag + url.mid(dot)
                         : url + QLatin1Char('-') + tag;
    }
    return url + QLatin1Char('_') + tag; // a PostgreSQL database name
}

suite::Account::GenerateOptions deepFamilies() {
    suite::Account::GenerateOptions shape{100000, 8, 10, 1};
    shape.share = 4;
    shape.family = 50;
    return shape;
}

QString shapedUrl(const QString& url, const suite::Account::GenerateOptions& shape) {
    return taggedUrl(url, QStringLiteral("b%1_d%2_f%3_s%4_w%5_r%6")
                              .arg(shape.boms)
                              .arg(shape.depth)
                              .arg(shape.fanout)
                              .arg(shape.share)
                              .arg(shape.family)
                              .arg(shape.seed));
}

QString sizedUrl(const QString& url, int boms) {
    return boms == 100000 ? url : taggedUrl(url, QStringLiteral("%1k").arg(boms / 1000));
}

ListAccount listAccount(int argc, char** argv) {
    const int boms = countArg(argc, argv, 2, 100000);
    const QString url = sizedUrl(accountUrl(argc, argv), boms);
    ensurePlanner(*openGeneratedAccount(url, boms));
    return {url, QStringLiteral("%1k").arg(boms / 1000)};
}

int benchMain(int argc, char** argv, int defaultRuns,
              const std::function<int(const QString& url, int runs)>& run) {
    QCoreApplication app(argc, argv);
    try {
        return run(accountUrl(argc, argv), countArg(argc, argv, 2, defaultRuns));
    } catch (const db::DbError& e) {
        std::fprintf(stderr, "database error: %s\n%s\n", qPrintable(e.message()),
                     qPrintable(e.sql()));
        return 1;
    }
}

QString accountUrl(int argc, char** argv) {
    return argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("sqlite:/tmp/bom-bench.db");
}

int countArg(int argc, char** argv, int index, int fallback) {
    return argc > index ? std::max(1, QString::fromLocal8Bit(argv[index]).toInt()) : fallback;
}

QString freshParent(db::Database& db) {
    const int id = db.scalar(QStringLiteral("SELECT COALESCE(MAX(iId), 10000000) + 1 FROM "
                                            "Inventory WHERE iId >= 10000000"))
                       .toInt();
    const QString code = QStringLiteral("SB-%1").arg(id);
    db.exec(
        QStringLiteral("INSERT INTO Inventory(iId, cInvCode, cInvName, bself) VALUES (?,?,?,1)"),
        {id, code, QStringLiteral("保存基准 ") + code});
    return code;
}

QStringList purchasedItems(db::Database& db, int count) {
    const db::Rows rows = db.query(QStringLiteral("select cInvCode from Inventory where cInvCode "
                                                  "like 'P-%' order by cInvCode limit ?"),
                                   {count});
    QStringList codes;
    for (std::size_t i = 0; i < rows.size(); ++i)
        codes << rows.text(i, "cInvCode");
    return codes;
}

// A new card of `parent` whose lines use `components`, in order, as a planner enters it.
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

// A planner allowed every made item and half of the purchased ones: most BOMs have a
// purchased line he may not see.
void ensurePlanner(db::Database& db) {
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

std::unique_ptr<entry::HeadlessSession> signIn(const QString& url, const QString& user,
                                               suite::ScriptedPrompter& prompter) {
    auto session = std::make_unique<entry::HeadlessSession>(prompter);
    QString error;
    if (session->start(url, user, QString(), &error) != entry::HeadlessSession::Outcome::Running) {
        std::fprintf(stderr, "session refused: %s\n",
                     qPrintable(error + prompter.texts().join(' ')));
        std::exit(1);
    }
    return session;
}

GeneratedSession::GeneratedSession(const QString& url) {
    openGeneratedAccount(url, 100000);
    headless = signIn(url, QStringLiteral("demo"), prompter);
}

void forgetRuns(db::Database& db, const QList<qlonglong>& runs) {
    db::Transaction tx(db);
    for (qlonglong run : runs) {
        for (const char* table : {"sys_bom_run_line", "sys_bom_run_option", "sys_bom_run_header",
                                  "sys_bom_run_created", "sys_bom_run_bom", "sys_bom_history"})
            db.exec(QStringLiteral("delete from %1 where irunid=?").arg(QLatin1String(table)),
                    {run});
        db.exec(QStringLiteral("delete from sys_bom_run where id=?"), {run});
    }
    tx.commit();
}

void failed(const char* what, suite::ScriptedPrompter& prompter) {
    std::fprintf(stderr, "%s failed; shown: %s\n", what, qPrintable(prompter.texts().join(" | ")));
    std::exit(1);
}

double msSince(const QElapsedTimer& timer) {
    return timer.nsecsElapsed() / 1e6;
}

std::vector<double> measure(int runs, const std::function<void()>& work) {
    std::vector<double> ms;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        work();
        ms.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::sort(ms.begin(), ms.end());
    return ms;
}

double percentile(const std::vector<double>& sorted, double p) {
    if (sorted.empty())
        return 0;
    const auto index =
        std::size_t(std::min<double>(sorted.size() - 1, p * (sorted.size() - 1) + 0.5));
    return sorted[index];
}

void printRow(const QString& figure, const std::vector<double>& ours,
              const std::vector<double>& baseline, const std::vector<double>& floor) {
    auto sorted = [](std::vector<double> v) {
        std::sort(v.begin(), v.end());
        return v;
    };
    const std::vector<double> o = sorted(ours), b = sorted(baseline), f = sorted(floor);
    auto ms = [](const std::vector<double>& v, double p) {
        return v.empty() ? QStringLiteral("-") : QString::number(percentile(v, p), 'f', 2);
    };
    // Both ratios use our p95, the wait a planner meets at worst most of the time: how many
    // times faster than the baseline's p50, and how many times the floor's p50.
    auto ratio = [](double numerator, double denominator) {
        return denominator <= 0
                   ? QStringLiteral("-")
                   : QString::number(numerator / denominator, 'f', 2) + QStringLiteral("x");
    };
    const double ourP95 = o.empty() ? 0 : percentile(o, 0.95);
    const QString faster = b.empty() ? QStringLiteral("-") : ratio(percentile(b, 0.5), ourP95);
    const QString ofFloor = f.empty() ? QStringLiteral("-") : ratio(ourP95, percentile(f, 0.5));
    const QString line = QStringList{QStringLiteral("ROW"),
                                     figure,
                                     ms(o, 0.5),
                                     ms(o, 0.95),
                                     ms(b, 0.5),
                                     faster,
                                     ms(f, 0.5),
                                     ofFloor}
                             .join(QLatin1Char('\t'));
    std::printf("%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

} // namespace bom::bench
