#pragma once

#include <QString>
#include <QStringList>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace bom::db {
class Database;
}

namespace bom::suite {

// Who holds a lock: enough for a refusal to name the holder and for a takeover to tell a
// crashed holder from a live one.
struct LockOwner {
    QString userId;
    QString userName;
    QString session; // unique per Login
    QString host;
    qint64 pid = 0;

    static LockOwner current(const QString& userId, const QString& userName);
};

// Function and task locks as rows of sys_lock. A holder beats every few seconds from its own
// thread; a lock whose holder missed its lease, or whose process on this host is gone, is stale
// and taken over.
class LockService {
public:
    LockService(db::Database& db, LockOwner owner);
    ~LockService();
    LockService(const LockService&) = delete;
    LockService& operator=(const LockService&) = delete;

    // False with `refusal` naming the holder when another live session holds `key`
    // (always for an exclusive lock; never when `shared` and the key is held shared too).
    bool acquire(const QString& key, bool shared, QString* refusal);
    void release(const QString& key);
    void releaseAll();
    bool holds(const QString& key) const { return held_.contains(key); }
    const LockOwner& owner() const { return owner_; }

    static int leaseSeconds();

private:
    void removeStale(const QString& key);
    void startHeartbeat();
    void stopHeartbeat();

    db::Database& db_;
    LockOwner owner_;
    QStringList held_;

    std::thread heartbeat_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool stopping_ = false;
};

} // namespace bom::suite
