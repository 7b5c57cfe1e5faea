#include "SchemaMigrator.h"

#include "Database.h"
#include "DbError.h"
#include "SqlScript.h"
#include "Transaction.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <map>

namespace bom::db {
namespace {

// Scripts by migration number, the portable one first, for one dialect.
std::map<int, QStringList> scriptsByVersion(const QString& dialectName) {
    std::map<int, QStringList> byVersion;
    for (const QString& folder : {QStringLiteral("common"), dialectName}) {
        const QDir dir(QStringLiteral(":/schema/") + folder);
        const QStringList files = dir.entryList({QStringLiteral("*.sql")}, QDir::Files, QDir::Name);
        for (const QString& file : files)
            byVersion[file.section('_', 0, 0).toInt()] << dir.filePath(file);
    }
    return byVersion;
}

QString readScript(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw DbError(QStringLiteral("无法读取数据库结构脚本：%1").arg(path));
    return QString::fromUtf8(file.readAll());
}

void ensureVersionTable(Database& db) {
    db.exec(QStringLiteral("CREATE TABLE IF NOT EXISTS schema_version (version INTEGER PRIMARY "
                           "KEY, applied_at VARCHAR(32) NOT NULL)"));
}

} // namespace

int SchemaMigrator::currentVersion(Database& db) {
    if (!db.relationExists(QStringLiteral("schema_version")))
        return 0;
    return db.scalar(QStringLiteral("SELECT COALESCE(MAX(version),0) FROM schema_version")).toInt();
}

int SchemaMigrator::latestVersion() {
    const auto scripts = scriptsByVersion(QStringLiteral("sqlite"));
    return scripts.empty() ? 0 : scripts.rbegin()->first;
}

int SchemaMigrator::migrate(Database& db) {
    ensureVersionTable(db);
    if (currentVersion(db) >= latestVersion())
        return 0;
    int applied = 0;
    for (const auto& [version, paths] : scriptsByVersion(db.dialect().name())) {
        Transaction tx(db);
        // Read inside the transaction: another session may have upgraded meanwhile.
        if (version <= currentVersion(db))
            continue;
        for (const QString& path : paths) {
            const QString script = db.dialect().translateSchema(readScript(path));
            for (const QString& statement : splitSqlScript(script))
                db.exec(statement);
        }
        db.exec(QStringLiteral("INSERT INTO schema_version(version, applied_at) VALUES (?, ?)"),
                {version, QDateTime::currentDateTimeUtc().toString(Qt::ISODate)});
        tx.commit();
        ++applied;
    }
    return applied;
}

} // namespace bom::db
