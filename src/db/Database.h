#pragma once

#include "DbUrl.h"
#include "Dialect.h"
#include "Rows.h"

#include <QHash>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariantList>
#include <functional>
#include <memory>

namespace bom::db {

using Params = QVariantList;

// One connection to an account database. Every value reaches SQL as a bound parameter ('?'
// placeholders); QVariant() binds NULL, any QString (even a null one) binds text. Failures
// throw DbError with the driver's text.
class Database {
public:
    enum class OpenMode { ExistingOnly, CreateIfMissing };

    static std::unique_ptr<Database> open(const QString& url,
                                          OpenMode mode = OpenMode::ExistingOnly);
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

    // A prepared statement for repeated execution (bulk writes, paged reads).
    QSqlQuery prepare(const QString& sql);
    void run(QSqlQuery& query, const Params& params);

    bool relationExists(const QString& name);
    // Column names of an existing table or view (empty when there is none).
    QStringList columnsOf(const QString& relation);
    // Column names with the driver's value types of an existing table or view.
    QSqlRecord recordOf(const QString& relation);
    // The declared length of each length-limited text column of a table, by lower-case name.
    // SQLite keeps longer texts without complaint, so callers check lengths themselves.
    QHash<QString, int> textLimits(const QString& table);

    // Used by Transaction: nesting becomes savepoints.
    void begin();
    void commit();
    void rollback();
    int transactionDepth() const { return depth_; }

private:
    Database(DbUrl url, std::unique_ptr<Dialect> dialect, QSqlDatabase handle);
    QSqlQuery execute(const QString& sql, const Params& params);

    DbUrl url_;
    std::unique_ptr<Dialect> dialect_;
    QSqlDatabase handle_;
    QString connectionName_;
    int depth_ = 0;
};

} // namespace bom::db
