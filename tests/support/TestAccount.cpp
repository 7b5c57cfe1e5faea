#include "TestAccount.h"

#include "db/DbError.h"
#include "suite/Account.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QUuid>

namespace bom::test {
namespace {

// QtSql needs an application object; tests that make none get this one.
void ensureApplication() {
    if (QCoreApplication::instance())
        return;
    static int argc = 1;
    static char name[] = "bomtest";
    static char* argv[] = {name, nullptr};
    new QCoreApplication(argc, argv);
}

QString pgAdminUrl() {
    return qEnvironmentVariable("BOM_TEST_PG_URL");
}

// The server part of the admin URL, to which a database name is appended.
QString pgServerPrefix() {
    QString url = pgAdminUrl();
    return url.left(url.lastIndexOf('/') + 1);
}

} // namespace

std::vector<std::string> backends() {
    std::vector<std::string> kinds{"sqlite"};
    if (!pgAdminUrl().isEmpty())
        kinds.push_back("postgresql");
    return kinds;
}

TestAccount::TestAccount(const std::string& backend) : backend_(backend) {
    ensureApplication();
    const QString unique = QUuid::createUuid().toString(QUuid::Id128).left(16);
    if (backend == "sqlite") {
        path_ = QDir::temp().filePath(QStringLiteral("bomtest-%1.db").arg(unique));
        url_ = QStringLiteral("sqlite:") + path_;
    } else {
        database_ = QStringLiteral("bomtest_") + unique;
        url_ = pgServerPrefix() + database_;
    }
}

TestAccount::~TestAccount() {
    if (!path_.isEmpty()) {
        for (const char* suffix : {"", "-wal", "-shm", "-journal"})
            QFile::remove(path_ + QLatin1String(suffix));
        return;
    }
    try {
        auto admin = db::Database::open(pgAdminUrl());
        admin->exec(QStringLiteral("DROP DATABASE IF EXISTS %1 WITH (FORCE)").arg(database_));
    } catch (const db::DbError& e) {
        ADD_FAILURE() << "could not drop test database: " << e.message().toStdString();
    }
}

std::unique_ptr<db::Database> TestAccount::createDemo() {
    auto db = suite::Account::create(url_, QStringLiteral("demo"), QStringLiteral("演示操作员"));
    suite::Account::loadDemo(*db);
    return db;
}

ProcessResult runProgram(const QString& program, const QStringList& args,
                         const QStringList& extraEnv, const QByteArray& input) {
    ensureApplication();
    QProcess process;
    QStringList env = QProcess::systemEnvironment();
    env << extraEnv;
    process.setEnvironment(env);
    process.start(program, args);
    if (!input.isEmpty())
        process.write(input);
    process.closeWriteChannel();
    process.waitForFinished(240000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

} // namespace bom::test

namespace bom::test {

TestSession::TestSession(const QString& url, const QString& userId) {
    QString error;
    if (headless_.start(url, userId, QString(), &error) != entry::HeadlessSession::Outcome::Running)
        throw std::runtime_error("the session did not start: " +
                                 (error + prompter.texts().join(' ')).toStdString());
}

} // namespace bom::test
