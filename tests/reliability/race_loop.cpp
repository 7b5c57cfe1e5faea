// The race loop: N operators, each a thread running bomctl commands one after another, save
// cards, run list commands and batch runs and undo runs on a few overlapping BOMs for a
// bounded time. Afterwards every refusal must be one of the documented ones, no accepted write
// may be lost (the accepted operations, replayed in the order of the row versions they left,
// give the final state), no operation may have waited beyond the statement time-out, and the
// account must be whole.
//   race_loop sqlite|postgresql [--operators N] [--seconds T] [--seed S] [--boms K] [--verbose]
#include "AccountCheck.h"
#include "Bomctl.h"
#include "LoopAccount.h"
#include "LoopArgs.h"
#include "RaceModel.h"
#include "batch/BatchTexts.h"
#include "bomservice/ServiceTexts.h"
#include "db/Database.h"
#include "db/DbError.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <random>
#include <thread>

using namespace bom;
using namespace bom::reliability;

namespace {

constexpr double kStatementTimeout = 120; // seconds: the sessions' statement_timeout
const QString kWarehouse = QStringLiteral("02");

struct Options {
    QString backend;
    int operators = 4;
    double seconds = 20;
    quint32 seed = 1;
    int boms = 12;
    bool verbose = false;
};

std::optional<Options> parse(const QStringList& words) {
    const auto args =
        LoopArgs::parse(words, {"--operators", "--seconds", "--seed", "--boms"}, {"--verbose"});
    if (!args)
        return std::nullopt;
    Options o;
    o.backend = args->backend;
    o.operators = args->number(QStringLiteral("--operators"), o.operators);
    o.seconds = args->decimal(QStringLiteral("--seconds"), o.seconds);
    o.seed = args->values.value(QStringLiteral("--seed"), QString::number(o.seed)).toUInt();
    o.boms = args->number(QStringLiteral("--boms"), o.boms);
    o.verbose = args->flags.contains(QStringLiteral("--verbose"));
    if (o.operators < 1 || o.seconds <= 0 || o.boms < 2)
        return std::nullopt;
    return o;
}

// What the operators share: the BOMs they race on, the two components batch runs move, the
// log of operations and the runs there are to undo.
class Race {
public:
    Race(const Bomctl& bomctl, const QString& folder, QStringList boms, QString modified,
         QString toggled)
        : bomctl(bomctl), folder(folder), boms(std::move(boms)), modified(std::move(modified)),
          toggled(std::move(toggled)), began_(std::chrono::steady_clock::now()) {}

    const Bomctl& bomctl;
    const QString folder;
    const QStringList boms;
    const QString modified; // every BOM has a line of it; batch runs change its quantity
    const QString toggled;  // batch runs add and delete its line

    double now() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - began_).count();
    }
    int nextId() { return ++ids_; }
    void record(RaceOp op) {
        std::lock_guard lock(mutex_);
        if (op.accepted && op.run)
            runs_ << op.run;
        ops_.push_back(std::move(op));
    }
    qlonglong someRun(std::mt19937& random) {
        std::lock_guard lock(mutex_);
        if (runs_.isEmpty())
            return 0;
        return runs_.at(std::uniform_int_distribution<qsizetype>(0, runs_.size() - 1)(random));
    }
    const std::vector<RaceOp>& ops() const { return ops_; }

private:
    std::chrono::steady_clock::time_point began_;
    std::atomic<int> ids_{0};
    std::mutex mutex_;
    std::vector<RaceOp> ops_;
    QList<qlonglong> runs_;
};

// One operator: a thread that picks an operation, runs it through bomctl and records it.
class Operator {
public:
    Operator(Race& race, int number, quint32 seed) : race_(race), number_(number), random_(seed) {}

    void work(double until) {
        while (race_.now() < until)
            race_.record(next());
    }

private:
    RaceOp next() {
        RaceOp op;
        op.id = race_.nextId();
        op.operatorNo = number_;
        const int pick = below(100);
        if (pick < 30)
            save(op);
        else if (pick < 45)
            batch(op, QStringLiteral("modify"));
        else if (pick < 53)
            batch(op, QStringLiteral("add"));
        else if (pick < 61)
            batch(op, QStringLiteral("delete"));
        else if (pick < 71)
            undo(op);
        else if (pick < 85)
            listCommand(op, below(2) ? QStringLiteral("stop") : QStringLiteral("enable"),
                        QStringLiteral("bstopflag"));
        else
            listCommand(op, below(2) ? QStringLiteral("approve") : QStringLiteral("unapprove"),
                        QStringLiteral("ccheck"));
        return op;
    }

    int below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random_); }
    QStringList someBoms(int most) {
        QStringList all = race_.boms;
        std::shuffle(all.begin(), all.end(), random_);
        return all.mid(0, 1 + below(most));
    }
    void run(RaceOp& op, const QStringList& args, const QString& kind) {
        op.kind = kind;
        op.command = args.join(QLatin1Char(' ')).left(200);
        op.start = race_.now();
        op.reply = race_.bomctl.run(args);
        op.end = race_.now();
        op.accepted = op.reply.ok();
        if (op.reply.status != 0 && op.reply.status != 1)
            op.fault = QStringLiteral("failed: ") + op.reply.shown();
    }
    // A refusal must say one of `documented`.
    void refusedWith(RaceOp& op, const QStringList& documented) {
        if (op.accepted || !op.fault.isEmpty())
            return;
        for (const QString& text : documented)
            if (op.reply.messages.join(QLatin1Char('\n')).contains(text))
                return;
        op.fault = QStringLiteral("refused without a documented reason: ") + op.reply.shown();
    }

    void save(RaceOp& op);
    void batch(RaceOp& op, const QString& verb);
    void undo(RaceOp& op);
    void listCommand(RaceOp& op, const QString& command, const QString& field);
    void takeVersions(RaceOp& op, const Cells& cells, bool undo);

    Race& race_;
    int number_;
    std::mt19937 random_;
};

// A card loaded, its memo and one line's quantity changed, and saved over the version loaded.
void Operator::save(RaceOp& op) {
    const QString bom = someBoms(1).first();
    const Bomctl::Reply shown = race_.bomctl.run({QStringLiteral("show"), bom});
    QJsonObject card = shown.result.value(QStringLiteral("card")).toObject();
    QJsonObject header = card.value(QStringLiteral("header")).toObject();
    QJsonArray lines = card.value(QStringLiteral("lines")).toArray();
    if (!shown.ok() || lines.isEmpty()) {
        op.kind = QStringLiteral("save");
        op.fault = QStringLiteral("show %1: %2").arg(bom, shown.shown());
        return;
    }
    const int row = below(int(lines.size()));
    QJsonObject line = lines.at(row).toObject();
    const double quantity = 1000 + op.id;
    const QString memo = QStringLiteral("op %1").arg(op.id);
    line.insert(QStringLiteral("ipsquantity"), quantity);
    line.insert(QStringLiteral("editprop"), QStringLiteral("M"));
    lines.replace(row, line);
    header.insert(QStringLiteral("cmemo"), memo);
    card.insert(QStringLiteral("header"), header);
    card.insert(QStringLiteral("lines"), lines);
    const QString path = race_.folder + QStringLiteral("/card-%1.json").arg(op.id);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(QJsonDocument(card).toJson(QJsonDocument::Compact)) < 0)
        return;
    file.close();
    run(op, {QStringLiteral("save"), path}, QStringLiteral("save"));
    QFile::remove(path);
    if (op.accepted)
        op.effects.push_back(
            {bom,
             header.value(QStringLiteral("qzts")).toInteger(-1),
             op.reply.result.value(QStringLiteral("qzts")).toInteger(-1),
             {{QStringLiteral("cmemo"), memo},
              {QStringLiteral("q:") + line.value(QStringLiteral("cpscode")).toString(), quantity}},
             0});
    refusedWith(op,
                {bomservice::ServiceTexts::changedMeanwhile(),
                 QStringLiteral("审核过的产品不可修改！"), QStringLiteral("停用的产品不可修改！")});
}

// Each BOM the run or undo changed, from the versions bomctl reports.
void Operator::takeVersions(RaceOp& op, const Cells& cells, bool undo) {
    for (const QJsonValue& v : op.reply.result.value(QStringLiteral("versions")).toArray()) {
        const QJsonObject version = v.toObject();
        op.effects.push_back({version.value(QStringLiteral("iautoid")).toString(),
                              version.value(QStringLiteral("before")).toInteger(-1),
                              version.value(QStringLiteral("after")).toInteger(-1), cells,
                              undo ? op.run : 0});
    }
}

void Operator::batch(RaceOp& op, const QString& verb) {
    const QString quantity = QString::number(2000 + op.id);
    QStringList args{QStringLiteral("batch"), verb, QStringLiteral("--boms"),
                     someBoms(4).join(QLatin1Char(','))};
    Cells cells;
    if (verb == QLatin1String("modify")) {
        args << QStringLiteral("--component") << race_.modified << QStringLiteral("--set")
             << QStringLiteral("ipsquantity=") + quantity << QStringLiteral("--set")
             << QStringLiteral("tdqtyd=1");
        cells.insert(QStringLiteral("q:") + race_.modified, quantity.toDouble());
    } else if (verb == QLatin1String("add")) {
        args << QStringLiteral("--set") << QStringLiteral("cpscode=") + race_.toggled
             << QStringLiteral("--set") << QStringLiteral("cwhcode=") + kWarehouse
             << QStringLiteral("--set") << QStringLiteral("ipsquantity=") + quantity;
        cells.insert(QStringLiteral("q:") + race_.toggled, quantity.toDouble());
    } else {
        args << QStringLiteral("--component") << race_.toggled;
        cells.insert(QStringLiteral("q:") + race_.toggled, QVariant());
    }
    run(op, args, verb);
    op.run = op.reply.result.value(QStringLiteral("run")).toInteger();
    if (op.accepted)
        takeVersions(op, cells, false);
    // Nothing changed: every BOM was skipped (approved, already with or without the line) or
    // none had the line.
    if (!op.accepted && op.fault.isEmpty() &&
        op.reply.result.value(QStringLiteral("skipped")).toArray().size() > 0)
        return;
    refusedWith(op, {batch::BatchTexts::lineNotInScope(), batch::BatchTexts::duplicate()});
}

void Operator::undo(RaceOp& op) {
    const qlonglong run = race_.someRun(random_);
    if (!run) {
        batch(op, QStringLiteral("modify"));
        return;
    }
    op.run = run;
    this->run(op, {QStringLiteral("batch"), QStringLiteral("undo"), QString::number(run)},
              QStringLiteral("undo"));
    if (op.accepted)
        takeVersions(op, {}, true);
    refusedWith(op, {QStringLiteral("之后已被修改，不能撤销"), QStringLiteral("已经撤销过了")});
}

void Operator::listCommand(RaceOp& op, const QString& command, const QString& field) {
    // Approval changes only BOMs the list shows in the other state, one at a time so that the
    // result says which.
    const bool approval = field == QLatin1String("ccheck");
    const QStringList boms = someBoms(approval ? 1 : 3);
    run(op, QStringList{command} + boms, command);
    QVariant value;
    if (command == QLatin1String("stop") || command == QLatin1String("enable"))
        value = command == QLatin1String("stop") ? 1 : 0;
    else
        value = command == QLatin1String("approve") ? QStringLiteral("演示操作员") : QString();
    if (op.accepted)
        for (const QString& bom : boms)
            op.effects.push_back({bom, -1, -1, {{field, value}}, 0});
    if (approval && !op.accepted && op.fault.isEmpty())
        return; // it was in that state already
    refusedWith(op, {});
}

struct Setup {
    QStringList boms;
    QString modified;
    QString toggled;
};

// The race BOMs, each with a line of the component batch runs modify, shared locks on.
Setup prepare(LoopAccount& account, const Bomctl& bomctl, const Options& options) {
    Setup setup;
    {
        suite::Account::GenerateOptions shape;
        shape.boms = 60;
        shape.depth = 3;
        shape.fanout = 8;
        shape.seed = options.seed;
        auto db = account.create(shape);
        setup.boms = LoopAccount::workingBoms(*db, options.boms);
        const QStringList purchased = LoopAccount::purchasedItems(*db);
        setup.modified = purchased.value(0);
        setup.toggled = purchased.value(1);
    }
    for (const QStringList& args :
         {QStringList{QStringLiteral("setting"), QStringLiteral("function-lock"),
                      QStringLiteral("shared")},
          QStringList{QStringLiteral("batch"), QStringLiteral("add"), QStringLiteral("--boms"),
                      setup.boms.join(QLatin1Char(',')), QStringLiteral("--set"),
                      QStringLiteral("cpscode=") + setup.modified, QStringLiteral("--set"),
                      QStringLiteral("cwhcode=") + kWarehouse, QStringLiteral("--set"),
                      QStringLiteral("ipsquantity=1")}}) {
        const Bomctl::Reply reply = bomctl.run(args);
        if (reply.status != 0 && reply.status != 1)
            throw db::DbError(QStringLiteral("setup: ") + reply.shown());
    }
    return setup;
}

struct Counts {
    int accepted = 0;
    int refused = 0;
};

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const auto options = parse(app.arguments().mid(1));
    if (!options) {
        std::fprintf(stderr, "usage: race_loop sqlite|postgresql [--operators N] [--seconds T] "
                             "[--seed S] [--boms K] [--verbose]\n");
        return 2;
    }
    if (!LoopAccount::available(options->backend)) {
        std::printf("no %s server (BOM_TEST_PG_URL): skipped\n", qPrintable(options->backend));
        return 77;
    }
    try {
        LoopAccount account(options->backend, QStringLiteral("race"));
        QTemporaryDir folder;
        const Bomctl bomctl(Bomctl::chosen(QStringLiteral(BOMCTL_PATH)), account.url(),
                            LoopAccount::user());
        const Setup setup = prepare(account, bomctl, *options);
        QMap<QString, Cells> start;
        {
            auto db = db::Database::open(account.url());
            start = readBoms(*db, setup.boms, nullptr);
        }
        Race race(bomctl, folder.path(), setup.boms, setup.modified, setup.toggled);
        std::vector<std::thread> threads;
        const double until = race.now() + options->seconds;
        for (int n = 0; n < options->operators; ++n)
            threads.emplace_back([&race, n, until, &options] {
                Operator(race, n, options->seed * 1000 + quint32(n)).work(until);
            });
        for (std::thread& t : threads)
            t.join();

        QStringList faults;
        QMap<QString, Counts> counts;
        double longest = 0;
        for (const RaceOp& op : race.ops()) {
            Counts& c = counts[op.kind];
            (op.accepted ? c.accepted : c.refused)++;
            longest = std::max(longest, op.end - op.start);
            if (!op.fault.isEmpty())
                faults << QStringLiteral("op %1 (%2): %3").arg(op.id).arg(op.command, op.fault);
            if (options->verbose)
                std::fprintf(stderr, "op %d [%d] %.2f-%.2f %s -> %s\n", op.id, op.operatorNo,
                             op.start, op.end, qPrintable(op.command.left(120)),
                             qPrintable(op.reply.shown().left(300)));
        }
        if (longest > kStatementTimeout)
            faults << QStringLiteral("an operation waited %1 s, beyond the statement time-out")
                          .arg(longest);
        auto db = db::Database::open(account.url());
        faults << AccountCheck::faults(*db);
        QMap<QString, qlonglong> versions;
        const QMap<QString, Cells> end = readBoms(*db, setup.boms, &versions);
        const QStringList lost = RaceCheck(start, race.ops()).lostWrites(end, versions);
        faults << lost;

        std::printf("race on %s: %d operators, %.0f s, %d BOMs\n", qPrintable(options->backend),
                    options->operators, options->seconds, int(setup.boms.size()));
        std::printf("%-10s %9s %8s\n", "operation", "accepted", "refused");
        int total = 0;
        for (auto it = counts.cbegin(); it != counts.cend(); ++it) {
            std::printf("%-10s %9d %8d\n", qPrintable(it.key()), it->accepted, it->refused);
            total += it->accepted + it->refused;
        }
        std::printf("%d operations, %lld lost or misplaced writes, longest operation %.2f s, %lld "
                    "faults\n",
                    total, qlonglong(lost.size()), longest, qlonglong(faults.size()));
        for (const QString& f : faults)
            std::fprintf(stderr, "FAULT %s\n", qPrintable(f));
        return faults.isEmpty() ? 0 : 1;
    } catch (const db::DbError& e) {
        std::fprintf(stderr, "FAULT %s\n", qPrintable(e.message()));
        return 1;
    }
}
