#include "support/TestAccount.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

using namespace bom;

namespace {

test::ProcessResult bomctl(const QStringList& args, const QByteArray& input = {}) {
    return test::runProgram(QStringLiteral(BOMCTL_PATH), args, {}, input);
}

QJsonObject lastJson(const QString& out) {
    const QStringList lines = out.trimmed().split('\n');
    return QJsonDocument::fromJson(lines.last().toUtf8()).object();
}

} // namespace

class BomctlTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        const auto init =
            bomctl({QStringLiteral("init"), account->url(), QStringLiteral("--demo")});
        ASSERT_EQ(init.status, 0) << init.err.toStdString();
    }
    test::ProcessResult as(const char* user, QStringList args, const QByteArray& input = {}) {
        args << QStringLiteral("--db") << account->url() << QStringLiteral("--user")
             << QLatin1String(user);
        return bomctl(args, input);
    }
};

TEST_P(BomctlTest, InitRefusesAnExistingAccountAndUsageErrorsExitTwo) {
    const auto again = bomctl({QStringLiteral("init"), account->url(), QStringLiteral("--json")});
    EXPECT_EQ(again.status, 1);
    EXPECT_FALSE(lastJson(again.out).value("ok").toBool());
    EXPECT_EQ(bomctl({QStringLiteral("init")}).status, 2);
    EXPECT_EQ(bomctl({QStringLiteral("frobnicate")}).status, 2);
    EXPECT_EQ(
        as("demo", {QStringLiteral("operator"), QStringLiteral("list"), QStringLiteral("--bogus")})
            .status,
        2);
    EXPECT_EQ(as("nobody", {QStringLiteral("operator"), QStringLiteral("list")}).status, 1);
    EXPECT_EQ(bomctl({QStringLiteral("operator"), QStringLiteral("list"), QStringLiteral("--db"),
                      QStringLiteral("sqlite:/nonexistent/a.db"), QStringLiteral("--user"),
                      QStringLiteral("demo")})
                  .status,
              3);
}

TEST_P(BomctlTest, OperatorsAndRightsAreAdministeredWithoutSql) {
    const auto list =
        as("demo", {QStringLiteral("operator"), QStringLiteral("list"), QStringLiteral("--json")});
    ASSERT_EQ(list.status, 0) << list.err.toStdString();
    const QJsonObject result = lastJson(list.out);
    EXPECT_EQ(result.value("type").toString(), QStringLiteral("result"));
    EXPECT_EQ(result.value("rows").toArray().size(), 2);
    EXPECT_EQ(result.value("rows").toArray().at(1).toObject().value("name").toString(),
              QStringLiteral("王芳"));

    EXPECT_EQ(as("demo",
                 {QStringLiteral("operator"), QStringLiteral("add"), QStringLiteral("li"),
                  QStringLiteral("李工"), QStringLiteral("--password")},
                 "secret\n")
                  .status,
              0);
    EXPECT_EQ(as("demo", {QStringLiteral("operator"), QStringLiteral("add"), QStringLiteral("li"),
                          QStringLiteral("again")})
                  .status,
              1);
    // A new operator has no function right until granted, and signs in with the password.
    const auto grant = as("demo", {QStringLiteral("rights"), QStringLiteral("grant"),
                                   QStringLiteral("li"), QStringLiteral("function"),
                                   QStringLiteral("ProductStructure"), QStringLiteral("AS001")});
    EXPECT_EQ(grant.status, 0) << grant.err.toStdString();
    EXPECT_EQ(as("demo", {QStringLiteral("rights"), QStringLiteral("grant"), QStringLiteral("li"),
                          QStringLiteral("warehouse"), QStringLiteral("NOPE")})
                  .status,
              1);
    const auto li = test::runProgram(QStringLiteral(BOMCTL_PATH),
                                     {QStringLiteral("operator"), QStringLiteral("list"),
                                      QStringLiteral("--db"), account->url(),
                                      QStringLiteral("--user"), QStringLiteral("li")},
                                     {QStringLiteral("BOM_PASSWORD=secret")});
    EXPECT_EQ(li.status, 0) << li.err.toStdString();
    const auto wrong = test::runProgram(QStringLiteral(BOMCTL_PATH),
                                        {QStringLiteral("operator"), QStringLiteral("list"),
                                         QStringLiteral("--db"), account->url(),
                                         QStringLiteral("--user"), QStringLiteral("li")},
                                        {QStringLiteral("BOM_PASSWORD=guess")});
    EXPECT_EQ(wrong.status, 1);

    const auto shown =
        as("demo", {QStringLiteral("rights"), QStringLiteral("show"), QStringLiteral("wang"),
                    QStringLiteral("department"), QStringLiteral("--json")});
    EXPECT_EQ(lastJson(shown.out)
                  .value("rows")
                  .toArray()
                  .at(0)
                  .toObject()
                  .value("codes")
                  .toArray()
                  .size(),
              2);
    EXPECT_EQ(
        as("demo", {QStringLiteral("rights"), QStringLiteral("revoke"), QStringLiteral("wang"),
                    QStringLiteral("department"), QStringLiteral("--none")})
            .status,
        0);
    EXPECT_EQ(
        as("demo", {QStringLiteral("operator"), QStringLiteral("remove"), QStringLiteral("li")})
            .status,
        0);
}

TEST_P(BomctlTest, TheFunctionLockIsExclusiveUnlessTheAccountSharesIt) {
    QProcess holder;
    holder.start(QStringLiteral(LOCK_HOLDER_PATH), {account->url(), QStringLiteral("wang")});
    ASSERT_TRUE(holder.waitForReadyRead(30000));
    const auto refused =
        as("demo", {QStringLiteral("operator"), QStringLiteral("list"), QStringLiteral("--json")});
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(refused.out.contains(QStringLiteral("王芳"))) << refused.out.toStdString();
    holder.kill();
    holder.waitForFinished();

    ASSERT_EQ(as("demo", {QStringLiteral("setting"), QStringLiteral("function-lock"),
                          QStringLiteral("shared")})
                  .status,
              0);
    holder.start(QStringLiteral(LOCK_HOLDER_PATH), {account->url(), QStringLiteral("wang")});
    ASSERT_TRUE(holder.waitForReadyRead(30000));
    EXPECT_EQ(as("demo", {QStringLiteral("operator"), QStringLiteral("list")}).status, 0);
    holder.kill();
    holder.waitForFinished();
}

BOM_INSTANTIATE_BACKENDS(BomctlTest);
