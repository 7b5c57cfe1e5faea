#pragma once

#include "db/Database.h"
#include "suite/Account.h"

#include <QString>
#include <memory>

namespace bom::reliability {

// A scratch account the loops run on: a SQLite file in a folder of its own, or a PostgreSQL
// database on the server BOM_TEST_PG_URL names. Dropped when the object goes.
class LoopAccount {
public:
    // `backend` is "sqlite" or "postgresql"; `tag` goes into the file or database name.
    LoopAccount(const QString& backend, const QString& tag);
    ~LoopAccount();
    LoopAccount(const LoopAccount&) = delete;
    LoopAccount& operator=(const LoopAccount&) = delete;

    const QString& url() const { return url_; }
    bool isPostgres() const { return !database_.isEmpty(); }
    // The operator every loop signs in as.
    static QString user() { return QStringLiteral("demo"); }

    // Makes the account: the demo factory with a generated structure of `shape` beside it, so
    // every write path finds what it needs (warehouses, colours and sizes, substitutes).
    std::unique_ptr<db::Database> create(const suite::Account::GenerateOptions& shape);
    // Removes the account; its address stays, to be made again.
    void drop();
    // Makes `copy` (which must not exist yet) as this account is now. No session may be open
    // on a PostgreSQL account while it is copied.
    void copyTo(LoopAccount& copy);
    // Gives `copy` this account's sequence positions (PostgreSQL: a rolled-back insert still
    // moves a sequence on, so after it the two would hand out different keys for the same work).
    void syncSequencesTo(LoopAccount& copy);
    // Waits until no session is open on a PostgreSQL account, the caller's own included: a
    // killed client's server process may still be ending its transaction. False after
    // `seconds`.
    bool waitForNoSessions(double seconds);

    // Top-level BOMs of the generated structure (no other BOM uses their parent), at most
    // `count`, made plain BOMs rather than their parents' default cost BOMs, which stop and
    // delete refuse: the loops need BOMs every command may act on.
    static QStringList workingBoms(db::Database& db, int count);
    // Purchased items of the generated structure, by code.
    static QStringList purchasedItems(db::Database& db);

    // Whether the loops can run on `backend` here (PostgreSQL needs BOM_TEST_PG_URL).
    static bool available(const QString& backend);

private:
    static std::unique_ptr<db::Database> admin();
    int otherSessions();

    QString url_;
    QString path_;     // SQLite
    QString database_; // PostgreSQL
};

} // namespace bom::reliability
