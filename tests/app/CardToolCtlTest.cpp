#include "support/TestAccount.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace bom;

namespace {

// Bicycles of the demo account.
const QString kCityBike = QStringLiteral("{BDAD2A5E-EE29-5A09-AADB-050369217BC0}");
const QString kMountainBike = QStringLiteral("{5C9F1F2A-2360-54E5-BEFF-918716664B59}");

QJsonObject lastJson(const QString& out) {
    return QJsonDocument::fromJson(out.trimmed().split('\n').last().toUtf8()).object();
}

QStringList values(const QJsonArray& rows, const char* field) {
    QStringList out;
    for (const QJsonValue& row : rows) {
        const QJsonValue v = row.toObject().value(QLatin1String(field));
        out << (v.isDouble() ? QString::number(v.toInt()) : v.toString());
    }
    return out;
}

} // namespace

class CardToolCtlTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        const auto init =
            test::runProgram(QStringLiteral(BOMCTL_PATH),
                             {QStringLiteral("init"), account->url(), QStringLiteral("--demo")});
        ASSERT_EQ(init.status, 0) << init.err.toStdString();
    }
    test::ProcessResult run(QStringList args) {
        args << QStringLiteral("--db") << account->url() << QStringLiteral("--user")
             << QStringLiteral("demo") << QStringLiteral("--json");
        return test::runProgram(QStringLiteral(BOMCTL_PATH), args);
    }
};

TEST_P(CardToolCtlTest, CopyThenReadTheCopysHistoryAndTheTree) {
    const auto tree = run({QStringLiteral("tree"), kMountainBike});
    ASSERT_EQ(tree.status, 0) << tree.out.toStdString() << tree.err.toStdString();
    const QJsonArray nodes = lastJson(tree.out).value("nodes").toArray();
    EXPECT_EQ(values(nodes, "cpspcode").join(','), QStringLiteral("BK200,FR100,WH100,FK100"));
    EXPECT_EQ(values(nodes, "level").join(','), QStringLiteral("0,1,1,1"));

    const auto copy =
        run({QStringLiteral("copy"), kCityBike, QStringLiteral("--socode"), QStringLiteral("V2"),
             QStringLiteral("--levels"), QStringLiteral("all")});
    ASSERT_EQ(copy.status, 0) << copy.out.toStdString() << copy.err.toStdString();
    const QJsonObject result = lastJson(copy.out);
    ASSERT_EQ(result.value("created").toArray().size(), 3);
    const QString top = result.value("iautoid").toString();
    EXPECT_EQ(result.value("created").toArray().first().toString(), top);

    const auto copied = run({QStringLiteral("tree"), top});
    EXPECT_EQ(values(lastJson(copied.out).value("nodes").toArray(), "csocode").join(','),
              QStringLiteral("V2,V2,V2"));
    const auto history = run({QStringLiteral("history"), top});
    ASSERT_EQ(history.status, 0);
    const QJsonArray rows = lastJson(history.out).value("rows").toArray();
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(rows.first().toObject().value("kind").toString(), QStringLiteral("create"));

    // The same identity again is refused with the rule's message; unknown BOMs as elsewhere.
    const auto again =
        run({QStringLiteral("copy"), kCityBike, QStringLiteral("--socode"), QStringLiteral("V2")});
    EXPECT_EQ(again.status, 1);
    EXPECT_TRUE(again.out.contains(QStringLiteral("该母件+版本号已经存在！")));
    EXPECT_EQ(run({QStringLiteral("history"), QStringLiteral("{nope}")}).status, 1);
    EXPECT_EQ(run({QStringLiteral("copy"), kCityBike}).status, 2);
}

BOM_INSTANTIATE_BACKENDS(CardToolCtlTest);
