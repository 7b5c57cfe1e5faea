#include "entry/IProduct.h"
#include "entry/ListWindowHandle.h"
#include "suite/Account.h"
#include "suite/Prompter.h"
#include "support/TestAccount.h"

using namespace bom;

class ShowTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        db = account->createDemo();
    }
    std::unique_ptr<suite::Login> signIn(const char* user) {
        QString error;
        auto login = suite::Login::SignIn(account->url(), QLatin1String(user), QString(), &error);
        EXPECT_TRUE(login) << error.toStdString();
        return login;
    }
    int locks() { return db->scalar(QStringLiteral("SELECT count(*) FROM sys_lock")).toInt(); }

    std::unique_ptr<db::Database> db;
    suite::ScriptedPrompter prompter;
    entry::HeadlessListWindowFactory windows;
};

TEST_P(ShowTest, RunsASessionUntilItsWindowClosesAndASecondShowOnlyRaises) {
    auto login = signIn("demo");
    entry::IProduct product(prompter, windows);
    product.Show(login.get());
    ASSERT_TRUE(product.session().running());
    entry::HeadlessListWindow* window = windows.last;
    EXPECT_EQ(window->shown, 1);
    EXPECT_EQ(window->funcText(), QStringLiteral("物料清单维护"));
    EXPECT_TRUE(product.session().gConn && product.session().gConn->isOpen());
    EXPECT_EQ(product.session().gAuthInventory(), QStringLiteral("(1=1) "));
    EXPECT_EQ(locks(), 1);

    product.Show(login.get());
    EXPECT_EQ(windows.last, window);
    EXPECT_EQ(window->raised, 1);
    EXPECT_EQ(locks(), 1);

    window->close();
    EXPECT_FALSE(product.session().running());
    EXPECT_EQ(locks(), 0);
    EXPECT_EQ(login->shutDownCount(), 1);
    EXPECT_TRUE(prompter.prompts().empty());

    auto again = signIn("demo"); // a later Show starts anew
    product.Show(again.get());
    EXPECT_TRUE(product.session().running());
    windows.last->close(); // before `again`, which the session borrows, goes away
}

TEST_P(ShowTest, RefusalsLeaveNoWindowAndNoLock) {
    entry::IProduct product(prompter, windows);
    product.Show(nullptr);
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("没有传入Login对象！")});
    EXPECT_EQ(prompter.prompts().back().title, QStringLiteral("提示信息"));
    EXPECT_EQ(prompter.prompts().back().style, 64);

    // Another operator holds the function: the lock service says who, nothing else happens.
    auto wang = signIn("wang");
    QString refusal;
    ASSERT_TRUE(wang->locks().acquire(QStringLiteral("ProductStructure"), false, &refusal));
    auto demo = signIn("demo");
    prompter.clear();
    product.Show(demo.get());
    EXPECT_FALSE(product.session().running());
    ASSERT_EQ(prompter.prompts().size(), 1u);
    EXPECT_TRUE(prompter.texts().first().contains(QStringLiteral("王芳")));
    EXPECT_EQ(locks(), 1);
    wang->ShutDown();

    // An operator without the function right gets the lock given back, silently.
    suite::Account::addOperator(*db, QStringLiteral("li"), QStringLiteral("李"), QString());
    auto li = signIn("li");
    prompter.clear();
    product.Show(li.get());
    EXPECT_FALSE(product.session().running());
    EXPECT_TRUE(prompter.prompts().empty());
    EXPECT_EQ(locks(), 0);
}

TEST_P(ShowTest, UnreachableAccountIsReported) {
    auto login = signIn("demo");
    login->QzDbName = QStringLiteral("sqlite:/nonexistent/account.db");
    entry::IProduct product(prompter, windows);
    product.Show(login.get());
    EXPECT_FALSE(product.session().running());
    EXPECT_EQ(prompter.texts(),
              QStringList{QStringLiteral("数据库连接失败！\r\n请检查数据库连接！")});
}

BOM_INSTANTIATE_BACKENDS(ShowTest);
