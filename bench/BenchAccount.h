#pragma once

#include "bomservice/RowSet.h"
#include "db/Database.h"
#include "entry/HeadlessSession.h"
#include "suite/Account.h"
#include "suite/Prompter.h"

#include <QElapsedTimer>
#include <QString>
#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace bom::bench {

// The command line every benchmark takes: the account's URL first (default
// sqlite:/tmp/bom-bench.db), then a count at `index` (runs or BOMs).
QString accountUrl(int argc, char** argv);
int countArg(int argc, char** argv, int index, int fallback);

// A benchmark's main: `run` with the account URL and the count of runs from the command line
// (default `defaultRuns`); a database failure is printed with its statement and exits 1.
int benchMain(int argc, char** argv, int defaultRuns,
              const std::function<int(const QString& url, int runs)>& run);

// The generated account a benchmark runs on: reused when the file exists (made once with
// 100,000 BOMs of 10 lines over 3 levels), so repeated runs measure, not generate.
std::unique_ptr<db::Database> openGeneratedAccount(const QString& url, int boms);
// The same for an account of another shape, kept at shapedUrl(url, shape).
std::unique_ptr<db::Database> openGeneratedAccount(const QString& url,
                                                   const suite::Account::GenerateOptions& shape);
// The deep account several benchmarks share: 100,000 BOMs over 8 levels of product families of
// 50 items, each sub-assembly drawn by 4 parents, so the paths up from a low one multiply.
suite::Account::GenerateOptions deepFamilies();
// `url` with the shape in the file or database name, so that every shape has its own account.
QString shapedUrl(const QString& url, const suite::Account::GenerateOptions& shape);

// `url` for an account of `boms` BOMs: itself for 100,000, else with the count in its name.
QString sizedUrl(const QString& url, int boms);
// `url` with `tag` added to its file or database name.
QString taggedUrl(const QString& url, const QString& tag);

// A new made item no BOM uses yet, so a new card of it passes the identity check.
QString freshParent(db::Database& db);
// The first `count` purchased items of the generated account, by code.
QStringList purchasedItems(db::Database& db, int count);

// A new card of `parent` with one line per component, quantities 1 … 9 over 1.
bomservice::BomCard newCard(const QString& parent, const QStringList& components);

// The operator "planner", allowed every made item and half of the purchased ones, so most BOMs
// have a line he may not see; made once per account.
void ensurePlanner(db::Database& db);

// The generated account the list benchmarks read, sized by the count after the URL (default
// 100,000 BOMs), with the planner on it.
struct ListAccount {
    QString url;
    QString size; // "100k"
};
ListAccount listAccount(int argc, char** argv);

// A running session of `user` on `url`; a refusal ends the benchmark with its reason.
std::unique_ptr<entry::HeadlessSession> signIn(const QString& url, const QString& user,
                                               suite::ScriptedPrompter& prompter);

// The demo operator signed in on the generated 100,000-BOM account (made first when missing).
struct GeneratedSession {
    explicit GeneratedSession(const QString& url);
    entry::Session& session() { return headless->session(); }
    db::Database& db() { return *session().gConn; }

    suite::ScriptedPrompter prompter;
    std::unique_ptr<entry::HeadlessSession> headless;
};

// Drops the record and history of runs already undone, so an account a benchmark ran on is
// as it was before and the next measurement starts alike.
void forgetRuns(db::Database& db, const QList<qlonglong>& runs);

// Ends the benchmark when a step the measurement needs failed, with what it showed.
[[noreturn]] void failed(const char* what, suite::ScriptedPrompter& prompter);
// Milliseconds since `timer` started, to the nanosecond.
double msSince(const QElapsedTimer& timer);

// Runs `work` `runs` times and answers the durations in milliseconds, sorted.
std::vector<double> measure(int runs, const std::function<void()>& work);
double percentile(const std::vector<double>& sorted, double p);

// One line of the table bench/run-all.sh gathers: the figure's p50/p95 over `ours`, beside the
// p50 of a baseline (the straightforward way) and of a floor (the raw work through the same
// driver), each measured in the same run; an empty sample set prints "-". Printed as
// "ROW\t<figure>\t<p50>\t<p95>\t<baseline p50>\t<baseline/our p95>\t<floor p50>\t<our p95/floor>".
void printRow(const QString& figure, const std::vector<double>& ours,
              const std::vector<double>& baseline = {}, const std::vector<double>& floor = {});

} // namespace bom::bench
