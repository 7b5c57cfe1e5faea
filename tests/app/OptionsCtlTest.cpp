#include "db/Database.h"
#include "support/BomctlDemoTest.h"

#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>

using namespace bom;

// bomctl's substitutes card: printed, edited as a file and saved back as a script does it.
class OptionsCtlTest : public test::BomctlDemoTest {
protected:
    void SetUp() override {
        BomctlDemoTest::SetUp();
        auto db = db::Database::open(account->url());
        tube = db->scalar(QStringLiteral("SELECT autoid FROM ProductStructures WHERE "
                                         "cpspcode='FR100' AND cpscode='TU100'"))
                   .toString();
    }
    test::ProcessResult run(QStringList args) {
        return as("demo", args << QStringLiteral("--json"));
    }
    QJsonObject options() {
        const auto shown = run({QStringLiteral("options"), tube});
        EXPECT_EQ(shown.status, 0) << shown.out.toStdString() << shown.err.toStdString();
        return test::lastJson(shown.out).value("card").toObject();
    }
    test::ProcessResult save(const QJsonObject& card) {
        QFile file(dir.filePath(QStringLiteral("options.json")));
        file.open(QIODevice::WriteOnly | QIODevice::Truncate);
        file.write(QJsonDocument(card).toJson());
        file.close();
        return run({QStringLiteral("options-save"), tube, file.fileName()});
    }
    static QStringList codes(const QJsonObject& card) {
        QStringList out;
        for (const QJsonValue& row : card.value("lines").toArray())
            out << row.toObject().value("cinvcode").toString() + QLatin1Char('/') +
                       QString::number(row.toObject().value("tdqtyn").toDouble());
        return out;
    }
    QTemporaryDir dir;
    QString tube;
};

TEST_P(OptionsCtlTest, AnEditedListSavesBackAndAStaleOrWrongOneIsRefused) {
    const QJsonObject loaded = options();
    EXPECT_EQ(loaded.value("header").toObject().value("cpscode").toString(),
              QStringLiteral("TU100"));
    EXPECT_EQ(codes(loaded), QStringList{QStringLiteral("TU101/2.5")});

    // The whole list: the stored row changed, one added; then the stored one left out.
    QJsonObject card = loaded;
    QJsonArray lines = card.value("lines").toArray();
    QJsonObject first = lines.first().toObject();
    first.insert("tdqtyn", 3);
    lines.replace(0, first);
    lines.append(QJsonObject{{"cinvcode", "RM100"}, {"tdqtyn", 2}, {"tdqtyd", 1}, {"sequence", 2}});
    card.insert("lines", lines);
    const auto saved = save(card);
    ASSERT_EQ(saved.status, 0) << saved.out.toStdString();
    EXPECT_EQ(test::lastJson(saved.out).value("compsubid").toArray().size(), 2);
    QJsonObject now = options();
    EXPECT_EQ(codes(now), (QStringList{"TU101/3", "RM100/2"}));

    // The file just saved is stale now: the BOM's version moved on with the save.
    const auto stale = save(card);
    EXPECT_EQ(stale.status, 1);
    EXPECT_TRUE(stale.out.contains(QStringLiteral("该单据已被其他人更新或删除，请放弃后刷新！")));
    EXPECT_EQ(codes(options()), (QStringList{"TU101/3", "RM100/2"}));

    lines = now.value("lines").toArray();
    lines.removeFirst();
    now.insert("lines", lines);
    ASSERT_EQ(save(now).status, 0);
    now = options();
    EXPECT_EQ(codes(now), QStringList{QStringLiteral("RM100/2")});

    // A check's refusal, a file that is no card, a line nobody has.
    lines = now.value("lines").toArray();
    lines.append(QJsonObject{{"cinvcode", "RM100"}, {"tdqtyn", 1}, {"tdqtyd", 1}});
    now.insert("lines", lines);
    const auto twin = save(now);
    EXPECT_EQ(twin.status, 1);
    EXPECT_TRUE(twin.out.contains(QStringLiteral("替代料编码（RM100）出现重复，请修改！")));
    EXPECT_EQ(test::lastJson(twin.out).value("result").toString(),
              QStringLiteral("单据录入不合法！"));
    EXPECT_EQ(run({QStringLiteral("options-save"), tube, dir.filePath("none.json")}).status, 2);
    const auto gone = run({QStringLiteral("options"), QStringLiteral("999999")});
    EXPECT_EQ(gone.status, 1);
    EXPECT_TRUE(gone.out.contains(QStringLiteral("单据加载失败，请刷新后重试！")));
    EXPECT_EQ(codes(options()), QStringList{QStringLiteral("RM100/2")});
}

BOM_INSTANTIATE_BACKENDS(OptionsCtlTest);
