#include "Account.h"

#include "AccountGenerator.h"
#include "Login.h"
#include "RightsStore.h"
#include "db/Database.h"
#include "db/DbError.h"
#include "db/SchemaMigrator.h"
#include "db/SqlScript.h"
#include "db/Transaction.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>

namespace bom::suite {
namespace {} // namespace

bool Account::exists(db::Database& db) {
    return db.relationExists(QStringLiteral("sys_operator"));
}

void Account::runScript(db::Database& db, const QString& resourcePath) {
    QFile file(resourcePath);
    if (!file.open(QIODevice::ReadOnly))
        throw db::DbError(QStringLiteral("无法读取脚本：%1").arg(resourcePath));
    const QString script = db.dialect().translateSchema(QString::fromUtf8(file.readAll()));
    for (const QString& statement : db::splitSqlScript(script))
        db.exec(statement);
}

void Account::addOperator(db::Database& db, const QString& userId, const QString& userName,
                          const QString& password) {
    QString hash;
    QString salt;
    if (!password.isEmpty()) {
        salt = QUuid::createUuid().toString(QUuid::Id128);
        hash = Login::hashPassword(password, salt);
    }
    db.exec(QStringLiteral("INSERT INTO sys_operator(cuserid, cusername, cpasswordhash, csalt) "
                           "VALUES (?,?,?,?)"),
            {userId, userName, hash.isEmpty() ? QVariant() : QVariant(hash),
             salt.isEmpty() ? QVariant() : QVariant(salt)});
}

std::unique_ptr<db::Database> Account::create(const QString& url, const QString& userId,
                                              const QString& userName) {
    QString why;
    const auto parsed = db::DbUrl::parse(url, &why);
    if (!parsed)
        throw db::DbError(why);
    if (parsed->kind == db::Dialect::Kind::Sqlite && !parsed->isMemory() &&
        QFileInfo::exists(parsed->path))
        throw db::DbError(QStringLiteral("账套已存在：%1").arg(parsed->path));
    auto db = db::Database::open(url, db::Database::OpenMode::CreateIfMissing);
    if (exists(*db))
        throw db::DbError(QStringLiteral("账套已存在：%1").arg(url));
    db::SchemaMigrator::migrate(*db);
    db::Transaction tx(*db);
    runScript(*db, QStringLiteral(":/schema/seed/001_config.sql"));
    addOperator(*db, userId, userName, QString());
    RightsStore(*db).setScope(userId, QStringLiteral("function"), RightsStore::Scope::All);
    tx.commit();
    return db;
}

void Account::loadDemo(db::Database& db) {
    db::Transaction tx(db);
    runScript(db, QStringLiteral(":/schema/demo/001_demo.sql"));
    tx.commit();
}

void Account::generate(db::Database& db, const GenerateOptions& options) {
    AccountGenerator(db, options).run();
}

} // namespace bom::suite
