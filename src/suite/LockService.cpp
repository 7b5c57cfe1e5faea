#include "LockService.h"

#include "db/Database.h"
#include "db/DbError.h"
#include "db/Transaction.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QSysInfo>
#include <QUuid>
#include <cerrno>
#include <csignal>

namespace bom::suite {
namespace {

qint64 now() {
    return QDateTime::currentSecsSinceEpoch();
}

bool processAlive(qint64 pid) {
    return pid > 0 && (::kill(pid, 0) == 0 || errno == EPERM);
}

QString describeHolder(const db::Rows& rows, std::size_t i) {
    return QStringLiteral("操作员[%1]%2 (主机 %3，进程 %4)")
        .arg(rows.text(i, "cuserid"), rows.text(i, "cusername"), rows.text(i, "chost"),
             rows.text(i, "ipid"));
}

} // namespace

LockOwner LockOwner::current(const QString& userId, const QString& userName) {
    return {userId, userName, QUuid::createUuid().toString(QUuid::WithoutBraces),
            QSysInfo::machineHostName(), QCoreApplication::applicationPid()};
}

LockService::LockService(db::Database& db, LockOwner owner) : db_(db), owner_(std::move(owner)) {}

LockService::~LockService() {
    try {
        releaseAll();
    } catch (const db::DbError&) {
        // Connection lost: the rows go stale and are taken over after the lease.
    }
    stopHeartbeat();
}

int LockService::leaseSeconds() {
    bool ok = false;
    const int fromEnv = qEnvironmentVariableIntValue("BOM_LOCK_LEASE", &ok);
    return ok && fromEnv > 0 ? fromEnv : 60;
}

void LockService::removeStale(const QString& key) {
    const db::Rows holders = db_.query(
        QStringLiteral("SELECT csession, chost, ipid, iheartbeat FROM sys_lock WHERE ckey=?"),
        {key});
    for (std::size_t i = 0; i < holders.size(); ++i) {
        const bool expired = holders.value(i, "iheartbeat").toLongLong() < now() - leaseSeconds();
        const bool deadHere = holders.text(i, "chost") == owner_.host &&
                              !processAlive(holders.value(i, "ipid").toLongLong());
        if (holders.text(i, "csession") != owner_.session && (expired || deadHere))
            db_.exec(QStringLiteral("DELETE FROM sys_lock WHERE ckey=? AND csession=?"),
                     {key, holders.text(i, "csession")});
    }
}

bool LockService::acquire(const QString& key, bool shared, QString* refusal) {
    if (held_.contains(key))
        return true;
    db::Transaction tx(db_);
    // Touching the key row serialises competing sessions on PostgreSQL as on SQLite.
    db_.exec(QStringLiteral("INSERT INTO sys_lock_key(ckey) VALUES (?) ON CONFLICT DO NOTHING"),
             {key});
    db_.exec(QStringLiteral("UPDATE sys_lock_key SET ckey=ckey WHERE ckey=?"), {key});
    removeStale(key);
    const db::Rows holders =
        db_.query(QStringLiteral("SELECT cuserid, cusername, chost, ipid, bshared FROM sys_lock "
                                 "WHERE ckey=? AND csession<>?"),
                  {key, owner_.session});
    for (std::size_t i = 0; i < holders.size(); ++i) {
        if (shared && holders.value(i, "bshared").toInt() == 1)
            continue;
        if (refusal)
            *refusal = QStringLiteral("%1 正在使用“%2”，请稍后再试。")
                           .arg(describeHolder(holders, i), key);
        return false;
    }
    db_.exec(QStringLiteral("INSERT INTO sys_lock(ckey, csession, cuserid, cusername, chost, ipid, "
                            "bshared, iheartbeat) VALUES (?,?,?,?,?,?,?,?)"),
             {key, owner_.session, owner_.userId, owner_.userName, owner_.host, owner_.pid,
              shared ? 1 : 0, now()});
    tx.commit();
    held_ << key;
    startHeartbeat();
    return true;
}

void LockService::release(const QString& key) {
    if (!held_.removeAll(key))
        return;
    db_.exec(QStringLiteral("DELETE FROM sys_lock WHERE ckey=? AND csession=?"),
             {key, owner_.session});
}

void LockService::releaseAll() {
    const QStringList keys = held_;
    for (const QString& key : keys)
        release(key);
}

void LockService::startHeartbeat() {
    if (heartbeat_.joinable())
        return;
    const QString url = db_.url().text;
    const QString session = owner_.session;
    const auto interval = std::chrono::seconds(std::max(1, leaseSeconds() / 4));
    heartbeat_ = std::thread([this, url, session, interval] {
        std::unique_ptr<db::Database> conn;
        std::unique_lock lock(mutex_);
        while (!wake_.wait_for(lock, interval, [this] { return stopping_; })) {
            try {
                if (!conn)
                    conn = db::Database::open(url);
                conn->exec(QStringLiteral("UPDATE sys_lock SET iheartbeat=? WHERE csession=?"),
                           {now(), session});
            } catch (const db::DbError&) {
                conn.reset(); // try again with a fresh connection at the next beat
            }
        }
    });
}

void LockService::stopHeartbeat() {
    if (!heartbeat_.joinable())
        return;
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    heartbeat_.join();
}

} // namespace bom::suite
