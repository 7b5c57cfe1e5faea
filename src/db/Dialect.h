#pragma once

#include <QString>
#include <memory>

namespace bom::db {

// Everything that truly differs between SQLite and PostgreSQL. The rest of the code writes
// SQL that both run and asks this class for the few spots where they part.
class Dialect {
public:
    enum class Kind { Sqlite, Postgres };
    virtual ~Dialect() = default;

    virtual Kind kind() const = 0;
    virtual QString name() const = 0; // "sqlite" or "postgresql": the schema folder
    // Replaces the portable type tokens of the schema scripts (@KEY@, @NUM@, @TEXT@ …).
    virtual QString translateSchema(const QString& script) const = 0;
    // SQL answering one row with one column "n" when table or view `name` exists.
    virtual QString relationExistsSql() const = 0;
    // SQL answering, for the table bound to its one placeholder, one row per column: "name" and
    // either "length" (the declared length of a text column) or "type" (a declared type such as
    // "VARCHAR(60)", whose number is the length).
    virtual QString textColumnsSql() const = 0;
    // Appended to a SELECT whose rows a transaction reads and relies on: on PostgreSQL they stay
    // unchanged by others until it ends; SQLite's write transaction holds the database already.
    virtual QString forShare() const = 0;
    // Appended to a SELECT of rows a transaction is about to change: on PostgreSQL they are
    // taken for it at once, where reading them FOR SHARE first would let two transactions each
    // hold a share the other must wait out before it may write.
    virtual QString forUpdate() const = 0;
    // SQL taking a lock on the application key bound to its two integer placeholders until the
    // transaction ends; empty when the dialect needs none (SQLite's write transaction holds the
    // whole database).
    virtual QString keyLockSql() const = 0;
    // Statements run once on every new connection.
    virtual QStringList sessionSetup() const = 0;
    // Run at the start of a long write transaction (a card save): lifts the statement time-out
    // to 600 seconds for that transaction only. Empty when the dialect needs nothing.
    virtual QString longTransactionSetup() const = 0;
    // Run on a connection that only reads a long list page by page (Database::openPagedReader).
    virtual QStringList pagedReaderSetup() const = 0;

    // Bound values one multi-row statement should carry at most. Qt's SQLite driver looks up
    // every placeholder's name on each run, which grows with the square of their number.
    virtual int valuesPerStatement() const = 0;
    // SQL answering, for the table bound to its one placeholder, one row per column: "name"
    // and "type", the type as a cast names it (without length, so a cast never cuts a text).
    virtual QString columnTypesSql() const = 0;
    // A placeholder for a value of SQL type `type` where nothing around it tells the database
    // its type (a VALUES list): PostgreSQL would take text.
    virtual QString typedPlaceholder(const QString& type) const = 0;
    // A one-column subquery over the elements of a JSON array bound to its one placeholder, as
    // text or as whole numbers, its column named v: a list of any length reaches SQL as a
    // single value.
    virtual QString listElements(bool numbers) const = 0;
    // "<column> IN <the list>" for the same bound JSON array, in the form the planner turns
    // into an index look-up per element (PostgreSQL would otherwise rescan the list per row).
    virtual QString inList(const QString& column, bool numbers) const = 0;
    // A subquery over the rows of a JSON array of arrays bound to its one placeholder, element
    // k of each row as column ck, of SQL type types[k] (BoundRows).
    virtual QString rowElements(const QStringList& types) const = 0;

    static std::unique_ptr<Dialect> create(Kind kind);
};

} // namespace bom::db
