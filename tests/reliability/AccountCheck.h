#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

namespace bom::db {
class Database;
}

namespace bom::reliability {

// What an account must be whatever was cut off in it, and a fingerprint of all it holds.
class AccountCheck {
public:
    // Everything wrong with the account, one sentence each; empty when it is whole: the
    // database's own integrity (SQLite), no line without its header or with another header's
    // parent, no substitute without its line, no link to a BOM that is gone, quantity totals
    // equal to the sums of the lines, run records and history that agree with each other and
    // with the BOMs.
    static QStringList faults(db::Database& db);

    // Per table, a hash of its rows: the same for two accounts that hold the same BOMs made by
    // the same work. Keys the program draws at random (GUIDs) count by the order they first
    // appear in (BOMs by their serial ID, then the history), times of day not at all, and the
    // lock tables, which say who is working now, are left out.
    using Digest = QMap<QString, QByteArray>;
    static Digest digest(db::Database& db);
    // The tables whose rows differ between two digests.
    static QStringList differences(const Digest& a, const Digest& b);

    // Seconds until the function lock could be taken by a new session (a dead session's lock
    // must not keep it for longer than the lease); negative when it could not be taken within
    // the lease and a margin.
    static double functionLockWait(const QString& url, const QString& user);
};

} // namespace bom::reliability
