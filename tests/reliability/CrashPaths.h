#pragma once

#include "Bomctl.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <vector>

namespace bom::db {
class Database;
}

namespace bom::reliability {

// The command one crash-loop cycle starts and kills: bomctl ARGS on the account (--db, --user,
// --json and --yes are added), with the input files the preparation wrote.
struct Invocation {
    QStringList args;
};

// What a path's preparation may use: bomctl on the account (nothing is being killed while it
// runs), a connection for reading, the loop's random numbers, a folder for input files, and
// what the account was made with.
class CrashContext {
public:
    CrashContext(const Bomctl& bomctl, std::mt19937& random, const QString& folder);

    const Bomctl& bomctl;
    const Bomctl* reference = nullptr; // on the copy the loop keeps equal to the account
    std::mt19937& random;
    int cycle = 0;

    // Top-level BOMs (no other BOM uses their parent) that every command may act on, and
    // purchased items no BOM of the demo factory uses.
    QStringList workingBoms;
    QStringList purchased;

    std::unique_ptr<db::Database> open() const;
    QString file(const QString& name) const; // a path in the folder
    int below(int n);                        // 0 … n-1
    QStringList sample(const QStringList& from, int count);
    // Runs bomctl (not to be killed): its result, or none when it did not succeed. A command
    // that writes goes through apply(), which runs it on the reference copy too.
    std::optional<QJsonObject> result(const QStringList& args) const;
    std::optional<QJsonObject> apply(const QStringList& args) const;
    // Writes a JSON object to a file of the folder and answers its path.
    QString write(const QString& name, const QJsonObject& object) const;

private:
    QString folder_;
};

// One write path the crash loop kills: `prepare` writes the inputs of the next cycle's command
// (and may run commands of its own first); none means there is nothing to do this cycle.
struct CrashPath {
    const char* name;
    const char* what;
    std::function<std::optional<Invocation>(CrashContext&)> prepare;
};

// Every path, in the order the loop runs them.
const std::vector<CrashPath>& crashPaths();

} // namespace bom::reliability
