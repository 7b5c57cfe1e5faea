#include "LoopAccount.h"

#include "db/DbError.h"
#include "db/Identifier.h"
#include "db/Transaction.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <QUuid>

namespace bom::reliability {
namespace {

QString adminUrl() {
    return qEnvironmentVariable("BOM_TEST_PG_URL");
}

QString unique() {
    return QUuid::createUuid().toString(QUuid::Id128).left(12);
}

} // namespace

bool LoopAccount::available(const QString& backend) {
    return backend == QLatin1String("sqlite") ||
           (backend == QLatin1String("postgresql") && !adminUrl().isEmpty());
}

LoopAccount::LoopAccount(const QString& backend, const QString& tag) {
    if (!available(backend))
        throw db::DbError(QStringLiteral("no server for %1 (BOM_TEST_PG_URL)").arg(backend));
    if (backend == QLatin1String("sqlite")) {
        path_ = QDir::temp().filePath(QStringLiteral("bom-loop-%1-%2.db").arg(tag, unique()));
        url_ = QStringLiteral("sqlite:") + path_;
        return;
    }
    database_ = QStringLiteral("bomloop_%1_%2").arg(tag, unique()).toLower();
    if (!db::isPlainIdentifier(database_))
        throw db::DbError(QStringLiteral("not a database name: %1").arg(database_));
    const QString server = adminUrl();
    url_ = server.left(server.lastIndexOf(QLatin1Char('/')) + 1) + database_;
}

LoopAccount::~LoopAccount() {
    drop();
}

void LoopAccount::drop() {
    if (!path_.isEmpty()) {
        for (const char* suffix : {"", "-wal", "-shm", "-journal"})
            QFile::remove(path_ + QLatin1String(suffix));
        return;
    }
    try {
        admin()->exec(QStringLiteral("DROP DATABASE IF EXISTS %1 WITH (FORCE)").arg(database_));
    } catch (const db::DbError& e) {
        qWarning("scratch database %s not dropped: %s", qPrintable(database_),
                 qPrintable(e.message()));
    }
}

std::unique_ptr<db::Database> LoopAccount::admin() {
    return db::Database::open(adminUrl());
}

std::unique_ptr<db::Database> LoopAccount::create(const suite::Account::GenerateOptions& shape) {
    auto db = suite::Account::create(url_, user(), QStringLiteral("演示操作员"));
    suite::Account::loadDemo(*db);
    suite::Account::generate(*db, shape);
    return db;
}

QStringList LoopAccount::workingBoms(db::Database& db, int count) {
    const db::Rows rows = db.query(
        QStringLiteral("select iautoid from ProductStructure h where cpspcode like 'G_-%' and not "
                       "exists (select 1 from ProductStructures l where l.childguid=h.iautoid) "
                       "order by ID limit ?"),
        {count});
    QStringList ids;
    db::Transaction tx(db);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        ids << rows.at(i).value(0).toString();
        db.exec(QStringLiteral("update ProductStructure set bmrcbbom=0 where iautoid=?"),
                {ids.last()});
    }
    tx.commit();
    return ids;
}

QStringList LoopAccount::purchasedItems(db::Database& db) {
    const db::Rows rows = db.query(QStringLiteral(
        "select cInvCode from Inventory where bPurchase=1 and cInvCode like 'P-%' order by iId"));
    QStringList codes;
    for (std::size_t i = 0; i < rows.size(); ++i)
        codes << rows.at(i).value(0).toString();
    return codes;
}

int LoopAccount::otherSessions() {
    return admin()
        ->scalar(QStringLiteral("SELECT count(*) FROM pg_stat_activity WHERE datname=?"),
                 {database_})
        .toInt();
}

bool LoopAccount::waitForNoSessions(double seconds) {
    if (!isPostgres())
        return true;
    QElapsedTimer timer;
    timer.start();
    while (otherSessions() > 0) {
        if (timer.elapsed() > seconds * 1000)
            return false;
        QThread::msleep(20);
    }
    return true;
}

void LoopAccount::syncSequencesTo(LoopAccount& copy) {
    if (!isPostgres())
        return;
    const db::Rows sequences = db::Database::open(url_)->query(
        QStringLiteral("SELECT sequencename, last_value FROM pg_sequences WHERE "
                       "schemaname=current_schema()"));
    auto target = db::Database::open(copy.url_);
    for (std::size_t i = 0; i < sequences.size(); ++i) {
        const QVariant last = sequences.at(i).value(1);
        target->scalar(
            QStringLiteral("SELECT setval(CAST(? AS regclass), ?, ?)"),
            {sequences.at(i).value(0), last.isNull() ? 1 : last.toLongLong(), !last.isNull()});
    }
}

void LoopAccount::copyTo(LoopAccount& copy) {
    if (!isPostgres()) {
        auto db = db::Database::open(url_);
        db->exec(QStringLiteral("VACUUM INTO ?"), {copy.path_});
        return;
    }
    if (!waitForNoSessions(30))
        throw db::DbError(QStringLiteral("sessions still open on %1").arg(database_));
    admin()->exec(QStringLiteral("CREATE DATABASE %1 TEMPLATE %2 STRATEGY FILE_COPY")
                      .arg(copy.database_, database_));
}

} // namespace bom::reliability
