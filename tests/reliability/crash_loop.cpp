// The crash loop: every write path is started on a generated account and killed (SIGKILL)
// after a random delay, again and again; after each kill the account must be whole, the
// command's work all there or all absent, and the function lock free for the next session.
//   crash_loop sqlite|postgresql [--kills N] [--seed S] [--paths save,list,…] [--boms N]
//              [--verbose]
// All there: the account's digest equals that of a copy taken before the cycle on which the
// same command ran to its end. Exit 0 when no cycle found a fault.
#include "AccountCheck.h"
#include "Bomctl.h"
#include "CrashPaths.h"
#include "LoopAccount.h"
#include "LoopArgs.h"
#include "db/DbError.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <chrono>
#include <cstdio>

using namespace bom;
using namespace bom::reliability;

namespace {

struct Options {
    QString backend;
    int kills = 50;
    quint32 seed = 1;
    int boms = 150;
    QStringList paths;
    bool verbose = false; // every cycle's command and outcome on stderr
};

struct Tally {
    int kills = 0;
    int whole = 0;  // killed after its work was committed
    int absent = 0; // killed before
    int ended = 0;  // ended before the kill came
    int idle = 0;   // nothing to do that cycle
    int faults = 0;
    double lockWait = 0; // longest wait for the function lock after a kill
};

std::optional<Options> parse(const QStringList& words) {
    const auto args =
        LoopArgs::parse(words, {"--kills", "--seed", "--boms", "--paths"}, {"--verbose"});
    if (!args)
        return std::nullopt;
    Options o;
    o.backend = args->backend;
    o.kills = args->number(QStringLiteral("--kills"), o.kills);
    o.seed = args->values.value(QStringLiteral("--seed"), QString::number(o.seed)).toUInt();
    o.boms = args->number(QStringLiteral("--boms"), o.boms);
    o.paths =
        args->values.value(QStringLiteral("--paths")).split(QLatin1Char(','), Qt::SkipEmptyParts);
    o.verbose = args->flags.contains(QStringLiteral("--verbose"));
    if (o.kills < 1 || o.boms < 20)
        return std::nullopt;
    return o;
}

AccountCheck::Digest digestOf(const QString& url) {
    return AccountCheck::digest(*db::Database::open(url));
}

class CrashLoop {
public:
    // A copy of the account kept equal to it: each command the account ends up having run
    // (or a preparation runs) runs on the copy too, to its end. After a cycle the account must
    // equal the copy; when it does not, the fault is reported and the copy made anew.
    class Reference {
    public:
        Reference(LoopAccount& account, const QString& backend);
        LoopAccount& account() { return copy_; }
        // The tables in which the account as it is now differs from the copy.
        QStringList mismatch(const AccountCheck::Digest& account);
        // The tables in which the account differs from the copy as it is now (after it ran the
        // same command); the copy is made anew when there are any.
        QStringList differences(const AccountCheck::Digest& account);

    private:
        void renew(const AccountCheck::Digest& account);

        LoopAccount& source_;
        LoopAccount copy_;
        AccountCheck::Digest digest_;
    };

    CrashLoop(const Options& options, const CrashPath& path)
        : options_(options), path_(path), random_(options.seed) {}

    Tally run();

private:
    void cycle(CrashContext& ctx, LoopAccount& account, Reference& reference, int number);
    void fault(int cycle, const QString& what) {
        ++tally_.faults;
        std::fprintf(stderr, "FAULT %s/%s cycle %d: %s\n", path_.name, qPrintable(options_.backend),
                     cycle, qPrintable(what));
    }
    // What the next kill aims at: anywhere in the later part of the run, where it writes (its
    // start is the program loading and signing in), to a little after its usual end.
    std::chrono::microseconds nextDelay() {
        const double share = std::uniform_real_distribution<double>(0.3, 1.05)(random_);
        return std::chrono::microseconds(qint64(share * typicalSeconds_ * 1e6));
    }
    void learn(double seconds) { typicalSeconds_ = 0.7 * typicalSeconds_ + 0.3 * seconds; }

    const Options& options_;
    const CrashPath& path_;
    std::mt19937 random_;
    Tally tally_;
    double typicalSeconds_ = 0.3;
};

Tally CrashLoop::run() {
    LoopAccount account(options_.backend, QLatin1String(path_.name));
    QTemporaryDir folder;
    const Bomctl bomctl(Bomctl::chosen(QStringLiteral(BOMCTL_PATH)), account.url(),
                        LoopAccount::user());
    CrashContext ctx(bomctl, random_, folder.path());
    {
        suite::Account::GenerateOptions shape;
        shape.boms = options_.boms;
        shape.depth = 3;
        shape.fanout = 8;
        shape.seed = options_.seed;
        auto db = account.create(shape);
        ctx.workingBoms = LoopAccount::workingBoms(*db, options_.boms);
        ctx.purchased = LoopAccount::purchasedItems(*db);
        const QStringList faults = AccountCheck::faults(*db);
        if (!faults.isEmpty())
            fault(-1, QStringLiteral("the new account: ") + faults.join(QStringLiteral("; ")));
    }
    Reference reference(account, options_.backend);
    const Bomctl onReference = bomctl.on(reference.account().url());
    ctx.reference = &onReference;
    for (int number = 0; tally_.kills < options_.kills && number < options_.kills * 4; ++number)
        cycle(ctx, account, reference, number);
    return tally_;
}

CrashLoop::Reference::Reference(LoopAccount& account, const QString& backend)
    : source_(account), copy_(backend, QStringLiteral("ref")) {
    source_.copyTo(copy_);
    digest_ = digestOf(copy_.url());
}

void CrashLoop::cycle(CrashContext& ctx, LoopAccount& account, Reference& reference, int number) {
    ctx.cycle = number;
    // A killed run's rolled-back inserts moved the account's sequences on.
    account.syncSequencesTo(reference.account());
    const std::optional<Invocation> invocation = path_.prepare(ctx);
    if (!invocation) {
        ++tally_.idle;
        return;
    }
    const QString command = invocation->args.join(QLatin1Char(' ')).left(300);
    const AccountCheck::Digest before = digestOf(account.url());
    const QStringList apart = reference.mismatch(before);
    if (!apart.isEmpty())
        fault(number, QStringLiteral("the reference copy went apart from the account while "
                                     "preparing %1: %2")
                          .arg(command, apart.join(QStringLiteral(", "))));

    const Bomctl& bomctl = ctx.bomctl;
    const Bomctl::Reply cut = Bomctl::parse(
        ChildProcess(bomctl.program(), bomctl.arguments(invocation->args)).killAfter(nextDelay()));
    if (options_.verbose)
        std::fprintf(stderr, "%s cycle %d: %s -> %s\n", path_.name, number,
                     qPrintable(command.left(160)), qPrintable(cut.shown().left(300)));
    if (cut.killed) {
        ++tally_.kills;
    } else {
        ++tally_.ended;
        learn(cut.seconds);
        if (cut.status != 0 && cut.status != 1)
            fault(number, QStringLiteral("%1 failed: %2").arg(command, cut.shown()));
    }
    if (!account.waitForNoSessions(30))
        fault(number, QStringLiteral("the killed session's server process did not end"));
    const AccountCheck::Digest after = digestOf(account.url());
    {
        auto db = db::Database::open(account.url());
        for (const QString& f : AccountCheck::faults(*db))
            fault(number, f);
    }
    if (after != before) {
        learn(ctx.reference->run(invocation->args).seconds);
        const QStringList differ = reference.differences(after);
        if (!differ.isEmpty())
            fault(number, QStringLiteral("partly written (%1) by %2; tables that differ from the "
                                         "whole run: %3")
                              .arg(cut.killed ? QStringLiteral("killed") : QStringLiteral("ended"),
                                   command, differ.join(QStringLiteral(", "))));
        else if (cut.killed)
            ++tally_.whole;
    } else if (cut.killed) {
        ++tally_.absent;
    }
    const double wait = AccountCheck::functionLockWait(account.url(), LoopAccount::user());
    if (wait < 0)
        fault(number, QStringLiteral("the function lock stayed taken beyond the lease"));
    tally_.lockWait = std::max(tally_.lockWait, wait);
}

QStringList CrashLoop::Reference::mismatch(const AccountCheck::Digest& account) {
    if (account == digest_)
        return {};
    // A preparation that wrote ran on both: the copy's digest is read again.
    return differences(account);
}

QStringList CrashLoop::Reference::differences(const AccountCheck::Digest& account) {
    digest_ = digestOf(copy_.url());
    const QStringList differ = AccountCheck::differences(account, digest_);
    if (!differ.isEmpty())
        renew(account);
    return differ;
}

void CrashLoop::Reference::renew(const AccountCheck::Digest& account) {
    copy_.drop();
    source_.copyTo(copy_);
    digest_ = account;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const auto options = parse(app.arguments().mid(1));
    if (!options) {
        std::fprintf(stderr, "usage: crash_loop sqlite|postgresql [--kills N] [--seed S] "
                             "[--paths save,list,…] [--boms N] [--verbose]\n");
        return 2;
    }
    if (!LoopAccount::available(options->backend)) {
        std::printf("no %s server (BOM_TEST_PG_URL): skipped\n", qPrintable(options->backend));
        return 77;
    }
    std::printf("%-9s %-10s %6s %6s %7s %6s %5s %7s %9s\n", "path", "backend", "kills", "whole",
                "absent", "ended", "idle", "faults", "lock wait");
    int faults = 0;
    for (const CrashPath& path : crashPaths()) {
        if (!options->paths.isEmpty() && !options->paths.contains(QLatin1String(path.name)))
            continue;
        try {
            const Tally t = CrashLoop(*options, path).run();
            std::printf("%-9s %-10s %6d %6d %7d %6d %5d %7d %8.2fs\n", path.name,
                        qPrintable(options->backend), t.kills, t.whole, t.absent, t.ended, t.idle,
                        t.faults, t.lockWait);
            std::fflush(stdout);
            faults += t.faults + (t.kills < options->kills ? 1 : 0);
        } catch (const db::DbError& e) {
            std::fprintf(stderr, "FAULT %s: %s\n", path.name, qPrintable(e.message()));
            ++faults;
        }
    }
    return faults == 0 ? 0 : 1;
}
