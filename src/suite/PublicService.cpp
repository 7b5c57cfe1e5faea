#include "PublicService.h"

#include "ConnectionService.h"
#include "Login.h"
#include "Prompter.h"
#include "RightsStore.h"
#include "db/DbError.h"
#include "db/Identifier.h"

namespace bom::suite {
namespace {

const char kFunctionLockSetting[] = "function_lock";

QString deleteKey(const QString& table, const QString& key) {
    return QStringLiteral("delete:%1:%2").arg(table.toLower(), key);
}

} // namespace

bool PublicService::functionLockShared(db::Database& db) {
    return db.scalar(QStringLiteral("SELECT cvalue FROM sys_setting WHERE cname=?"),
                     {QLatin1String(kFunctionLockSetting)})
               .toString() == QLatin1String("shared");
}

void PublicService::setFunctionLockShared(db::Database& db, bool shared) {
    db.exec(QStringLiteral("DELETE FROM sys_setting WHERE cname=?"),
            {QLatin1String(kFunctionLockSetting)});
    db.exec(QStringLiteral("INSERT INTO sys_setting(cname, cvalue) VALUES (?,?)"),
            {QLatin1String(kFunctionLockSetting),
             shared ? QStringLiteral("shared") : QStringLiteral("exclusive")});
}

bool PublicService::IsLockFun(ConnectionService&, Login& login, const QString& key, int mode) {
    try {
        if (mode == -1) {
            login.locks().release(key);
            return true;
        }
        QString refusal;
        if (login.locks().acquire(key, functionLockShared(login.connection()), &refusal))
            return true;
        prompter_.info(refusal, QStringLiteral("提示信息"), 48);
    } catch (const db::DbError& e) {
        prompter_.info(e.message(), QStringLiteral("提示信息"), 16);
    }
    return false;
}

void PublicService::Find(Login& login, const QString& caption, const void*, QString& funcText) {
    funcText.clear();
    try {
        const db::Rows rows = login.connection().query(
            QStringLiteral("SELECT cfunccode, cfunctext FROM sys_function WHERE cfuncname=?"),
            {caption});
        if (rows.empty())
            return;
        if (RightsStore(login.connection())
                .allows(login.cUserId, QStringLiteral("function"), rows.text(0, "cfunccode")))
            funcText = rows.text(0, "cfunctext");
    } catch (const db::DbError& e) {
        prompter_.info(e.message(), QStringLiteral("提示信息"), 16);
    }
}

MatchCondition PublicService::CreateMatchStr(const QString&, const QString& columns,
                                             const QString& text) {
    const QString typed = text.trimmed();
    if (typed.isEmpty())
        return {QStringLiteral("(1=1)"), {}};
    // Cells are compared as at most 200 characters: a longer text is in none of them, and a
    // pattern that long would exceed what SQLite's LIKE accepts.
    if (typed.size() > kMatchLength)
        return {QStringLiteral("(1=2)"), {}};
    QStringList parts;
    db::Params params;
    QString pattern = typed;
    pattern.replace('\\', QLatin1String("\\\\")).replace('%', QLatin1String("\\%"));
    pattern.replace('_', QLatin1String("\\_"));
    for (const QString& column : columns.split(',', Qt::SkipEmptyParts)) {
        const QString name = column.trimmed();
        if (!db::isPlainIdentifier(name))
            continue;
        parts << QStringLiteral("lower(CAST(%1 AS VARCHAR(%2))) LIKE lower(?) ESCAPE '\\'")
                     .arg(name)
                     .arg(kMatchLength);
        params << QStringLiteral("%") + pattern + QStringLiteral("%");
    }
    if (parts.isEmpty())
        return {QStringLiteral("(1=1)"), {}};
    return {QStringLiteral("(") + parts.join(QLatin1String(" OR ")) + QStringLiteral(")"), params};
}

bool PublicService::DeleteStart(Login& login, const QString& table, const QString& key) {
    QString refusal;
    try {
        if (login.locks().acquire(deleteKey(table, key), false, &refusal))
            return true;
    } catch (const db::DbError& e) {
        refusal = e.message();
    }
    prompter_.info(refusal, QStringLiteral("提示信息"), 48);
    return false;
}

void PublicService::DeleteEnded(Login& login, const QString& table, const QString& key) {
    try {
        login.locks().release(deleteKey(table, key));
    } catch (const db::DbError&) {
        // The row expires with the lease; the delete itself is already settled.
    }
}

} // namespace bom::suite
