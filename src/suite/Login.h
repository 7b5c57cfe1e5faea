#pragma once

#include "LockService.h"

#include <QDate>
#include <QString>
#include <memory>

namespace bom::db {
class Database;
}

namespace bom::suite {

// The signed-in operator on one account, as a host suite hands it to the module.
class Login {
public:
    enum class Failure { None, Refused, WrongPassword, Database };

    // Signs `userId` in on the account at `url`. On failure answers null with `error` set:
    // Refused for an unknown operator, WrongPassword, Database when unreachable.
    static std::unique_ptr<Login> SignIn(const QString& url, const QString& userId,
                                         const QString& password, QString* error,
                                         Failure* failure = nullptr);
    ~Login();

    QString QzDbName; // the account URL
    QString cUserId;
    QString cUserName;
    QDate CurDate;       // the business date of the session
    QString ShareString; // the text of the last refusal of TaskExec

    // mode -1 claims task `code` for this session, 0 ends it. A refused claim answers false
    // with ShareString saying who holds the task.
    bool TaskExec(const QString& code, int mode);
    void ShutDown();
    bool isShutDown() const { return shutDownCount_ > 0; }
    int shutDownCount() const { return shutDownCount_; }

    LockService& locks() { return *locks_; }
    db::Database& connection() { return *db_; }

    static QString hashPassword(const QString& password, const QString& salt);

private:
    Login() = default;

    std::unique_ptr<db::Database> db_;
    std::unique_ptr<LockService> locks_;
    int shutDownCount_ = 0;
};

} // namespace bom::suite
