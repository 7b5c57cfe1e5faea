#include "Login.h"

#include "RightsStore.h"
#include "db/Database.h"
#include "db/DbError.h"
#include "db/SchemaMigrator.h"

#include <QCryptographicHash>

namespace bom::suite {

QString Login::hashPassword(const QString& password, const QString& salt) {
    QByteArray digest = (salt + password).toUtf8();
    for (int round = 0; round < 10000; ++round)
        digest = QCryptographicHash::hash(digest + salt.toUtf8(), QCryptographicHash::Sha256);
    return QString::fromLatin1(digest.toHex());
}

std::unique_ptr<Login> Login::SignIn(const QString& url, const QString& userId,
                                     const QString& password, QString* error, Failure* failure) {
    auto fail = [&](Failure kind, const QString& why) -> std::unique_ptr<Login> {
        if (error)
            *error = why;
        if (failure)
            *failure = kind;
        return nullptr;
    };
    std::unique_ptr<Login> login(new Login);
    try {
        login->db_ = db::Database::open(url);
        if (!login->db_->relationExists(QStringLiteral("sys_operator")))
            return fail(Failure::Database, QStringLiteral("%1 不是物料清单账套。").arg(url));
        db::SchemaMigrator::migrate(*login->db_); // an older account is upgraded on sign-in
        const db::Rows rows = login->db_->query(
            QStringLiteral("SELECT cusername, cpasswordhash, csalt FROM sys_operator "
                           "WHERE cuserid=?"),
            {userId});
        if (rows.empty())
            return fail(Failure::Refused, QStringLiteral("操作员[%1]不存在！").arg(userId));
        const QString stored = rows.text(0, "cpasswordhash");
        if (!stored.isEmpty() && hashPassword(password, rows.text(0, "csalt")) != stored)
            return fail(Failure::WrongPassword,
                        QStringLiteral("操作员[%1]的密码不正确！").arg(userId));
        login->cUserName = rows.text(0, "cusername");
    } catch (const db::DbError& e) {
        return fail(Failure::Database, e.message());
    }
    login->QzDbName = url;
    login->cUserId = userId;
    login->CurDate = QDate::currentDate();
    login->locks_ = std::make_unique<LockService>(
        *login->db_, LockOwner::current(login->cUserId, login->cUserName));
    if (failure)
        *failure = Failure::None;
    return login;
}

Login::~Login() {
    locks_.reset(); // gives back whatever is still held before the connection closes
}

bool Login::TaskExec(const QString& code, int mode) {
    try {
        if (mode == 0) {
            locks_->release(QStringLiteral("task:") + code);
            return true;
        }
        const bool allowed = RightsStore(*db_).allows(cUserId, QStringLiteral("function"), code);
        if (!allowed) {
            ShareString = QStringLiteral("操作员[%1]没有任务[%2]的权限！").arg(cUserId, code);
            return false;
        }
        return locks_->acquire(QStringLiteral("task:") + code, false, &ShareString);
    } catch (const db::DbError& e) {
        ShareString = e.message();
        return false;
    }
}

void Login::ShutDown() {
    ++shutDownCount_;
    try {
        locks_->releaseAll();
    } catch (const db::DbError&) {
        // Unreachable database: the rows expire with their lease.
    }
}

} // namespace bom::suite
