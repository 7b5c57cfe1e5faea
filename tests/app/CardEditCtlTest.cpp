#include "support/BomctlDemoTest.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

using namespace bom;

namespace {

// The mountain bike's standard BOM: not approved, five lines.
const QString kMountainBike = QStringLiteral("{5C9F1F2A-2360-54E5-BEFF-918716664B59}");

QString text(const QJsonObject& row, const char* field) {
    const QJsonValue v = row.value(QLatin1String(field));
    return v.isDouble() ? QString::number(v.toDouble()) : v.toString();
}

} // namespace

class CardEditCtlTest : public test::BomctlDemoTest {
protected:
    void SetUp() override {
        BomctlDemoTest::SetUp();
        ASSERT_TRUE(folder.isValid());
        card = folder.filePath(QStringLiteral("card.json"));
        const auto shown = as("demo", {QStringLiteral("show"), kMountainBike});
        ASSERT_EQ(shown.status, 0) << shown.err.toStdString();
        QFile file(card);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(shown.out.toUtf8());
    }
    test::ProcessResult edit(QStringList entries) {
        return as("demo",
                  QStringList{QStringLiteral("edit"), card} + entries << QStringLiteral("--json"));
    }

    QTemporaryDir folder;
    QString card;
};

TEST_P(CardEditCtlTest, EntriesPassTheChecksInOrderAndTheResultSaves) {
    const auto edited =
        edit({QStringLiteral("--header"), QStringLiteral("fbzrgcb=10"), QStringLiteral("--line"),
              QStringLiteral("2"), QStringLiteral("iwasterate=5"), QStringLiteral("--add-line"),
              QStringLiteral("TY101"), QStringLiteral("--line"), QStringLiteral("6"),
              QStringLiteral("ipsquantity=2")});
    ASSERT_EQ(edited.status, 0) << edited.out.toStdString() << edited.err.toStdString();
    const QJsonObject result = test::lastJson(edited.out).value("card").toObject();
    const QJsonArray lines = result.value("lines").toArray();
    ASSERT_EQ(lines.size(), 6);
    EXPECT_EQ(text(result.value("header").toObject(), "fbzrgcb").toDouble(), 10);
    EXPECT_EQ(text(lines[1].toObject(), "iwasterate").toDouble(), 5);
    EXPECT_EQ(text(lines[1].toObject(), "editprop"), QStringLiteral("M"));
    const QJsonObject added = lines[5].toObject();
    EXPECT_EQ(text(added, "cpscode"), QStringLiteral("TY101"));
    EXPECT_EQ(text(added, "editprop"), QStringLiteral("A"));
    EXPECT_EQ(text(added, "ipsquantity").toDouble(), 2);
    EXPECT_EQ(text(added, "wiptype"), QStringLiteral("正常领料"));
    EXPECT_EQ(text(added, "replaceflag"), QStringLiteral("否"));
    EXPECT_FALSE(text(added, "cinvname").isEmpty()); // filled from the item

    // What edit prints is a card save takes as it is: the new line is stored.
    QFile file(card);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QJsonDocument(result).toJson());
    file.close();
    const auto saved = as("demo", {QStringLiteral("save"), card});
    ASSERT_EQ(saved.status, 0) << saved.err.toStdString();
    const auto shown = as("demo", {QStringLiteral("show"), kMountainBike});
    const QJsonArray stored =
        QJsonDocument::fromJson(shown.out.toUtf8()).object().value("lines").toArray();
    ASSERT_EQ(stored.size(), 6);
    EXPECT_EQ(text(stored[5].toObject(), "cpscode"), QStringLiteral("TY101"));
}

TEST_P(CardEditCtlTest, TheFirstRefusalStopsWithTheChecksMessage) {
    // Refused in the order given: the quote before any rule, then the field's own rule.
    const auto quoted =
        edit({QStringLiteral("--line"), QStringLiteral("1"), QStringLiteral("ipsquantity=1'"),
              QStringLiteral("--line"), QStringLiteral("1"), QStringLiteral("ipsquantity=0")});
    EXPECT_EQ(quoted.status, 1);
    EXPECT_TRUE(quoted.out.contains(QStringLiteral("请输入合法字符！")));
    EXPECT_FALSE(quoted.out.contains(QStringLiteral("基本用量分子必须大于0")));
    EXPECT_FALSE(quoted.out.contains(QStringLiteral("\"card\"")));

    const auto zero =
        edit({QStringLiteral("--line"), QStringLiteral("1"), QStringLiteral("ipsquantity=0"),
              QStringLiteral("--add-line"), QStringLiteral("NOSUCH")});
    EXPECT_EQ(zero.status, 1);
    EXPECT_TRUE(zero.out.contains(QStringLiteral("基本用量分子必须大于0")));
    EXPECT_FALSE(zero.out.contains(QStringLiteral("存货中不存在该子件!")));

    const auto unknown = edit({QStringLiteral("--add-line"), QStringLiteral("NOSUCH")});
    EXPECT_EQ(unknown.status, 1);
    EXPECT_TRUE(unknown.out.contains(QStringLiteral("存货中不存在该子件!")));

    // What the system fills is not entered: the approver, for one.
    const auto approver = edit({QStringLiteral("--header"), QStringLiteral("ccheck=demo")});
    EXPECT_EQ(approver.status, 1);
    EXPECT_TRUE(approver.out.contains(QStringLiteral("该项由系统填写，不能修改！")));

    const auto missing =
        edit({QStringLiteral("--line"), QStringLiteral("9"), QStringLiteral("ipsquantity=1")});
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(missing.out.contains(QStringLiteral("卡片没有第9行。")));

    for (const QStringList& bad :
         {QStringList{QStringLiteral("--line"), QStringLiteral("0"), QStringLiteral("a=1")},
          QStringList{QStringLiteral("--header"), QStringLiteral("novalue")},
          QStringList{QStringLiteral("--line"), QStringLiteral("1")}})
        EXPECT_EQ(edit(bad).status, 2) << bad.join(' ').toStdString();
}

BOM_INSTANTIATE_BACKENDS(CardEditCtlTest);
