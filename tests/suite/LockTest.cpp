#include "suite/Login.h"
#include "suite/Prompter.h"
#include "suite/PublicService.h"
#include "support/TestAccount.h"

#include <QProcess>
#include <csignal>

using namespace bom;

class LockTest : public test::BackendTest {
protected:
    std::unique_ptr<suite::Login> signIn(const char* user) {
        QString error;
        auto login = suite::Login::SignIn(account->url(), QLatin1String(user), QString(), &error);
        EXPECT_TRUE(login) << error.toStdString();
        return login;
    }
};

TEST_P(LockTest, ExclusiveLocksNameTheirHolderAndSharedModeLetsTwoIn) {
    auto db = account->createDemo();
    auto demo = signIn("demo");
    auto wang = signIn("wang");
    QString refusal;
    ASSERT_TRUE(demo->locks().acquire(QStringLiteral("ProductStructure"), false, &refusal));
    EXPECT_FALSE(wang->locks().acquire(QStringLiteral("ProductStructure"), false, &refusal));
    EXPECT_TRUE(refusal.contains(QStringLiteral("演示操作员"))) << refusal.toStdString();

    ASSERT_TRUE(wang->TaskExec(QStringLiteral("AS001"), -1));
    EXPECT_FALSE(demo->TaskExec(QStringLiteral("AS001"), -1));
    EXPECT_TRUE(demo->ShareString.contains(QStringLiteral("王芳")));

    demo->ShutDown();
    EXPECT_TRUE(wang->locks().acquire(QStringLiteral("ProductStructure"), false, &refusal));
    wang->ShutDown();
    EXPECT_EQ(db->scalar(QStringLiteral("SELECT count(*) FROM sys_lock")).toInt(), 0);

    suite::PublicService::setFunctionLockShared(*db, true);
    EXPECT_TRUE(demo->locks().acquire(QStringLiteral("ProductStructure"), true, &refusal));
    EXPECT_TRUE(wang->locks().acquire(QStringLiteral("ProductStructure"), true, &refusal));
}

TEST_P(LockTest, ALockLeftByAKilledProcessIsTakenOver) {
    account->createDemo();
    QProcess holder;
    holder.start(QStringLiteral(LOCK_HOLDER_PATH), {account->url(), QStringLiteral("wang")});
    ASSERT_TRUE(holder.waitForReadyRead(30000)) << holder.readAllStandardError().toStdString();
    ASSERT_EQ(holder.readLine().trimmed(), QByteArray("held"));

    auto demo = signIn("demo");
    QString refusal;
    EXPECT_FALSE(demo->locks().acquire(QStringLiteral("ProductStructure"), false, &refusal));
    EXPECT_TRUE(refusal.contains(QStringLiteral("王芳")));

    ::kill(pid_t(holder.processId()), SIGKILL);
    holder.waitForFinished();
    EXPECT_TRUE(demo->locks().acquire(QStringLiteral("ProductStructure"), false, &refusal))
        << refusal.toStdString();
}

BOM_INSTANTIATE_BACKENDS(LockTest);
