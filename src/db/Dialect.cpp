#include "Dialect.h"

#include <QStringList>
#include <utility>
#include <vector>

namespace bom::db {
namespace {

using TokenMap = std::vector<std::pair<const char*, const char*>>;

QString replaceTokens(QString script, const TokenMap& tokens) {
    for (const auto& [token, type] : tokens)
        script.replace(QLatin1String(token), QLatin1String(type));
    return script;
}

class SqliteDialect final : public Dialect {
public:
    // The busy time-out already waits; SQLite statements themselves have no time limit.
    QString longTransactionSetup() const override { return {}; }
    QStringList pagedReaderSetup() const override { return {}; }
    int valuesPerStatement() const override { return 200; }
    QString columnTypesSql() const override {
        return QStringLiteral("SELECT name, type FROM pragma_table_info(?)");
    }
    QString typedPlaceholder(const QString&) const override { return QStringLiteral("?"); }
    QString listElements(bool) const override {
        return QStringLiteral("(SELECT value AS v FROM json_each(?))");
    }
    QString inList(const QString& column, bool numbers) const override {
        return column + QStringLiteral(" IN ") + listElements(numbers);
    }
    QString rowElements(const QStringList& types) const override {
        // json_extract hands back numbers and texts as they are stored; the column's affinity
        // does the rest, so the types need no cast.
        QStringList columns;
        for (qsizetype k = 0; k < types.size(); ++k)
            columns << QStringLiteral("json_extract(value,'$[%1]') AS c%1").arg(k);
        return QStringLiteral("(SELECT %1 FROM json_each(?))").arg(columns.join(QLatin1Char(',')));
    }
    Kind kind() const override { return Kind::Sqlite; }
    QString name() const override { return QStringLiteral("sqlite"); }
    QString translateSchema(const QString& script) const override {
        static const TokenMap tokens{
            {"@SERIAL@", "INTEGER PRIMARY KEY AUTOINCREMENT"},
            {"@NUM@", "REAL"},
            {"@INT@", "INTEGER"},
            {"@BIGINT@", "INTEGER"},
            {"@TEXT@", "TEXT"},
            {"@DATETIME@", "TEXT"},
            {"@BLOB@", "BLOB"},
        };
        return replaceTokens(script, tokens);
    }
    QString relationExistsSql() const override {
        return QStringLiteral("SELECT count(*) AS n FROM sqlite_master WHERE type IN "
                              "('table','view') AND lower(name)=lower(?)");
    }
    QString textColumnsSql() const override {
        return QStringLiteral("SELECT name, type FROM pragma_table_info(?)");
    }
    QString forShare() const override { return {}; }
    QString forUpdate() const override { return {}; }
    QString keyLockSql() const override { return {}; }
    QStringList sessionSetup() const override {
        // WAL lets a reader (the list) and a writer (a save in another process) work at once;
        // the busy time-out makes a second writer wait instead of failing at once.
        return {QStringLiteral("PRAGMA foreign_keys=ON"), QStringLiteral("PRAGMA journal_mode=WAL"),
                QStringLiteral("PRAGMA busy_timeout=120000"),
                QStringLiteral("PRAGMA case_sensitive_like=OFF"),
                // Large accounts (100,000 BOMs) keep their hot indexes in memory.
                QStringLiteral("PRAGMA cache_size=-131072")};
    }
};

class PostgresDialect final : public Dialect {
public:
    QString longTransactionSetup() const override {
        return QStringLiteral("SET LOCAL statement_timeout = 600000");
    }
    QStringList pagedReaderSetup() const override {
        // A page's query stays open while the operator scrolls, so no time-out may end it. The
        // pages of a list differ only in their keys: a plan made once for no particular key
        // cannot tell a last page from a first and may read every row a restricted operator
        // sees, so each page is planned for its own keys.
        return {QStringLiteral("SET statement_timeout = 0"),
                QStringLiteral("SET plan_cache_mode = force_custom_plan")};
    }

    int valuesPerStatement() const override { return 20000; }
    QString columnTypesSql() const override {
        return QStringLiteral("SELECT a.attname AS name, format_type(a.atttypid, NULL) AS type "
                              "FROM pg_attribute a JOIN pg_class c ON c.oid = a.attrelid JOIN "
                              "pg_namespace n ON n.oid = c.relnamespace WHERE n.nspname = "
                              "current_schema() AND c.relname = lower(?) AND a.attnum > 0 AND "
                              "NOT a.attisdropped");
    }
    QString typedPlaceholder(const QString& type) const override {
        return type.isEmpty() ? QStringLiteral("?") : QStringLiteral("CAST(? AS %1)").arg(type);
    }
    QString listElements(bool numbers) const override {
        return numbers ? QStringLiteral("(SELECT CAST(e AS BIGINT) AS v FROM "
                                        "json_array_elements_text(CAST(? AS json)) AS e)")
                       : QStringLiteral("(SELECT e AS v FROM json_array_elements_text(CAST(? AS "
                                        "json)) AS e)");
    }
    QString inList(const QString& column, bool numbers) const override {
        // The list read once into an array: "= ANY" of it is an index condition, where "IN"
        // of the function's rows may become a join that reads the list again for every row.
        return column + (numbers
                             ? QStringLiteral(" = ANY(ARRAY(SELECT CAST(e AS BIGINT) FROM "
                                              "json_array_elements_text(CAST(? AS json)) AS e))")
                             : QStringLiteral(" = ANY(ARRAY(SELECT e FROM "
                                              "json_array_elements_text(CAST(? AS json)) AS e))"));
    }
    QString rowElements(const QStringList& types) const override {
        QStringList columns;
        for (qsizetype k = 0; k < types.size(); ++k)
            columns << (types.at(k).isEmpty()
                            ? QStringLiteral("r->>%1 AS c%1").arg(k)
                            : QStringLiteral("CAST(r->>%1 AS %2) AS c%1").arg(k).arg(types.at(k)));
        // jsonb: parsed once, where every ->> of json would parse its row again.
        return QStringLiteral("(SELECT %1 FROM jsonb_array_elements(CAST(? AS jsonb)) AS r)")
            .arg(columns.join(QLatin1Char(',')));
    }
    Kind kind() const override { return Kind::Postgres; }
    QString name() const override { return QStringLiteral("postgresql"); }
    QString translateSchema(const QString& script) const override {
        static const TokenMap tokens{
            {"@SERIAL@", "BIGSERIAL PRIMARY KEY"},
            {"@NUM@", "DOUBLE PRECISION"},
            {"@INT@", "INTEGER"},
            {"@BIGINT@", "BIGINT"},
            {"@TEXT@", "TEXT"},
            {"@DATETIME@", "TIMESTAMP"},
            {"@BLOB@", "BYTEA"},
        };
        return replaceTokens(script, tokens);
    }
    QString relationExistsSql() const override {
        return QStringLiteral("SELECT count(*) AS n FROM information_schema.tables WHERE "
                              "table_schema=current_schema() AND table_name=lower(?)");
    }
    QString textColumnsSql() const override {
        return QStringLiteral("SELECT column_name AS name, character_maximum_length AS length "
                              "FROM information_schema.columns WHERE "
                              "table_schema=current_schema() AND table_name=lower(?) AND "
                              "character_maximum_length IS NOT NULL");
    }
    QString forShare() const override { return QStringLiteral(" FOR SHARE"); }
    QString forUpdate() const override { return QStringLiteral(" FOR UPDATE"); }
    QString keyLockSql() const override {
        return QStringLiteral("SELECT pg_advisory_xact_lock(?, ?)");
    }
    QStringList sessionSetup() const override {
        return {QStringLiteral("SET statement_timeout = 120000"),
                QStringLiteral("SET client_min_messages = warning")};
    }
};

} // namespace

std::unique_ptr<Dialect> Dialect::create(Kind kind) {
    if (kind == Kind::Postgres)
        return std::make_unique<PostgresDialect>();
    return std::make_unique<SqliteDialect>();
}

} // namespace bom::db
