#pragma once

#include "DbUrl.h"
#include "Dialect.h"
#include "Rows.h"

#include <QHash>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariantList>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

namespace bom::db {

using Params = QVariantList;

// One connection to an account database. Every value reaches SQL as a bound parameter ('?'
// placeholders); QVariant() binds NULL, any QString (even a null one) binds text. Failures
// throw DbError with the driver's text. Statements with parameters are prepared once per
// connection and reused by their SQL text: on PostgreSQL a fresh statement costs three round
// trips (prepare, execute, deallocate), a reused one a single execute.
class Database {
public:
    enum class OpenMode { ExistingOnly, CreateIfMissing };

    static std::unique_ptr<Database> open(const QString& url,
                                          OpenMode mode = OpenMode::ExistingOnly);
    // A connection for reading a long list page by page, set up for it by the dialect.
    static std::unique_ptr<Database> openPagedReader(const QString& url);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    const DbUrl& url() const { return url_; }
    const Dialect& dialect() const { return *dialect_; }
    bool isPostgres() const { return dialect_->kind() == Dialect::Kind::Postgres; }
    bool isOpen() const;

    Rows query(const QString& sql, const Params& params = {});
    // The same query handed over as it arrives: the column names, then each row. For lists too
    // long to hold before the first row is shown.
    void stream(const QString& sql, const Params& params,
                const std::function<void(const QStringList&)>& onColumns,
                const std::function<void(QVariantList&&)>& onRow);
    QVariant scalar(const QString& sql, const Params& params = {}); // first column of first row
    int exec(const QString& sql, const Params& params = {});        // rows affected
    // Runs a statement whose SQL ends in RETURNING <column> and answers that value.
    QVariant insertReturning(const QString& sql, const Params& params = {});

    // A prepared statement of the caller's own, outside the reuse above (bulk writes, paged
    // reads, and whatever must cost what a fresh statement costs).
    QSqlQuery prepare(const QString& sql);
    void run(QSqlQuery& query, const Params& params);

    bool relationExists(const QString& name);
    // Column names of an existing table or view (empty when there is none).
    QStringList columnsOf(const QString& relation);
    // Column names with the driver's value types of an existing table or view.
    QSqlRecord recordOf(const QString& relation);
    // The declared length of each length-limited text column of a table, by lower-case name.
    // SQLite keeps longer texts without complaint, so callers check lengths themselves. Like
    // the other facts of the schema here, kept per connection until a schema change.
    QHash<QString, int> textLimits(const QString& table);
    // The SQL type of each column of a table, by lower-case name, as a cast names it. Kept per
    // connection until a schema change.
    QHash<QString, QString> columnTypes(const QString& table);

    // Holds the application keys `keys` of the kind `space` (a parent item's quantity totals,
    // say) until the transaction ends: another transaction asking for one of them waits. Keys
    // fall into kKeyBuckets buckets, taken in one order, so two transactions never wait on each
    // other crosswise and a run over many keys holds a bounded number of locks.
    void holdKeys(const QString& space, const QStringList& keys);
    static constexpr int kKeyBuckets = 64;

    // Used by Transaction: nesting becomes savepoints.
    void begin();
    void commit();
    void rollback();
    int transactionDepth() const { return depth_; }

    // Statements kept for reuse right now (at most kMaxStatements).
    int cachedStatements() const { return int(statements_.size()); }
    static constexpr int kMaxStatements = 128;

private:
    struct Statement {
        QSqlQuery query;
        bool busy = false; // checked out: a nested call with the same SQL gets its own
        quint64 lastUse = 0;
    };
    // One run of a statement: a reused one checked out of the cache or one of its own.
    // Finishing it on release lets SQLite drop its read snapshot at once.
    class Run {
    public:
        Run(Database& db, Statement* cached, QSqlQuery own);
        ~Run();
        Run(const Run&) = delete;
        Run& operator=(const Run&) = delete;
        QSqlQuery& query() { return cached_ ? cached_->query : own_; }

    private:
        Database& db_;
        Statement* cached_;
        QSqlQuery own_;
    };

    Database(DbUrl url, std::unique_ptr<Dialect> dialect, QSqlDatabase handle);
    std::unique_ptr<Run> execute(const QString& sql, const Params& params);
    Statement* cachedStatement(const QString& sql);
    void forget(const QString& sql);
    void evictOldest();
    void releaseRetired();

    DbUrl url_;
    std::unique_ptr<Dialect> dialect_;
    QSqlDatabase handle_;
    QString connectionName_;
    int depth_ = 0;
    struct TextHash {
        std::size_t operator()(const QString& text) const { return qHash(text); }
    };
    std::unordered_map<QString, std::unique_ptr<Statement>, TextHash> statements_;
    // Statements dropped inside a transaction: PostgreSQL refuses to deallocate in a failed
    // one, so they go when the transaction has ended.
    std::vector<std::unique_ptr<Statement>> retired_;
    quint64 uses_ = 0;
    // What this connection learnt of the schema; a schema change it makes forgets it.
    struct SchemaFacts {
        QSet<QString> relations;
        QHash<QString, QSqlRecord> records;
        QHash<QString, QHash<QString, int>> textLimits;
        QHash<QString, QHash<QString, QString>> columnTypes;
    };
    SchemaFacts schema_;
};

} // namespace bom::db
