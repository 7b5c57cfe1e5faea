#include "support/BomctlDemoTest.h"

#include <QJsonArray>

using namespace bom;

namespace {

const QString kShirt = QStringLiteral("{4CEC3297-B84C-5AAF-B02C-EAE3D62404CD}");

QStringList texts(const QString& out, const char* type) {
    QStringList found;
    for (const QString& line : out.trimmed().split('\n')) {
        const QJsonObject o = QJsonDocument::fromJson(line.toUtf8()).object();
        if (o.value("type").toString() == QLatin1String(type))
            found << o.value("text").toString();
    }
    return found;
}

QStringList strings(const QJsonValue& array) {
    QStringList out;
    for (const QJsonValue& v : array.toArray())
        out << v.toString();
    return out;
}

} // namespace

class VariantsCtlTest : public test::BomctlDemoTest {
protected:
    test::ProcessResult variants(QStringList args) {
        return as("demo", QStringList{QStringLiteral("variants"), kShirt} + args
                              << QStringLiteral("--json"));
    }
};

TEST_P(VariantsCtlTest, ListsGeneratesDeletesAndTheBatchRunsUndoIt) {
    const auto listed = variants({});
    ASSERT_EQ(listed.status, 0) << listed.out.toStdString() << listed.err.toStdString();
    const QJsonObject shown = test::lastJson(listed.out);
    const QJsonArray colours = shown.value("colours").toArray();
    ASSERT_EQ(colours.size(), 5);
    EXPECT_EQ(colours[2].toObject().value("code").toString(), QStringLiteral("RED"));
    EXPECT_EQ(colours[2].toObject().value("alias").toString(), QStringLiteral("红色"));
    EXPECT_EQ(strings(colours[2].toObject().value("sizes")), QStringList{"M"});
    EXPECT_EQ(shown.value("sizes").toArray().size(), 5);

    const auto made = variants({QStringLiteral("--generate"), QStringLiteral("WHT:S,WHT:M,RED:M")});
    ASSERT_EQ(made.status, 0) << made.out.toStdString();
    const QJsonObject generated = test::lastJson(made.out);
    const QStringList created = strings(generated.value("created"));
    ASSERT_EQ(created.size(), 2); // red medium is the template itself
    EXPECT_EQ(variants({QStringLiteral("--generate"), QStringLiteral("WHT:S")}).status, 1);

    const auto deleted = variants({QStringLiteral("--delete"), QStringLiteral("RED:M,WHT:S")});
    ASSERT_EQ(deleted.status, 0) << deleted.out.toStdString();
    const QJsonObject removed = test::lastJson(deleted.out);
    EXPECT_EQ(strings(removed.value("kept")), QStringList{kShirt});
    EXPECT_EQ(strings(removed.value("deleted")), QStringList{created.at(1)});
    EXPECT_EQ(texts(deleted.out, "message"),
              QStringList{QStringLiteral(
                  "男式衬衫[颜色: RED,尺码:M,版本号:]已审核或为默认成本BOM，不可删除！")});

    const auto runs =
        as("demo", {QStringLiteral("batch"), QStringLiteral("runs"), QStringLiteral("--json")});
    const QJsonArray listedRuns = test::lastJson(runs.out).value("runs").toArray();
    ASSERT_EQ(listedRuns.size(), 2);
    EXPECT_EQ(listedRuns[0].toObject().value("operation").toString(),
              QStringLiteral("variants-delete"));
    const QString run = QString::number(removed.value("run").toInt());
    ASSERT_EQ(as("demo", {QStringLiteral("batch"), QStringLiteral("undo"), run}).status, 0);
    const auto back = variants({});
    EXPECT_EQ(
        strings(test::lastJson(back.out).value("colours").toArray()[1].toObject().value("sizes")),
        (QStringList{"M", "S"}));
}

TEST_P(VariantsCtlTest, RefusesWhatTheWindowWouldNotDoAndWritesNothing) {
    EXPECT_EQ(variants({QStringLiteral("--generate"), QStringLiteral("WHT")}).status, 2);
    EXPECT_EQ(variants({QStringLiteral("--generate"), QStringLiteral("WHT:S"),
                        QStringLiteral("--delete"), QStringLiteral("RED:M")})
                  .status,
              2);
    const auto unknown = variants({QStringLiteral("--generate"), QStringLiteral("WHT:S,PNK:S")});
    EXPECT_EQ(unknown.status, 1);
    EXPECT_EQ(texts(unknown.out, "message"),
              QStringList{QStringLiteral("颜色PNK不是GT100的颜色。")});
    // A stopped template is not copied; the gate wants both free items.
    const QString stopped = QStringLiteral("{DC9EEED6-F34C-5F89-8BAA-869209594B5F}");
    const auto fromStopped =
        as("demo", {QStringLiteral("variants"), stopped, QStringLiteral("--generate"),
                    QStringLiteral("WHT:S"), QStringLiteral("--json")});
    EXPECT_EQ(fromStopped.status, 1);
    EXPECT_EQ(texts(fromStopped.out, "message"),
              QStringList{QStringLiteral("当前所选记录为［停用］状态，不可使用批增按钮！")});
    auto db = db::Database::open(account->url());
    db->exec(QStringLiteral("UPDATE userdef SET cItemName=NULL WHERE cItemName=?"),
             {QStringLiteral("尺码")});
    for (const QStringList& args : {QStringList{}, QStringList{"--generate", "WHT:S"}}) {
        const auto refused = variants(args);
        EXPECT_EQ(refused.status, 1);
        EXPECT_EQ(texts(refused.out, "message"),
                  QStringList{QStringLiteral("服装版帐套必须设置颜色和尺码自由项才可以操作！")});
    }
    EXPECT_EQ(db->scalar(QStringLiteral("SELECT COUNT(*) FROM ProductStructure WHERE cpspcode=?"),
                         {QStringLiteral("GT100")})
                  .toInt(),
              2);
}

BOM_INSTANTIATE_BACKENDS(VariantsCtlTest);
