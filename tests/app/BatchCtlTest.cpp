#include "support/BomctlDemoTest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace bom;

namespace {

const QString kMountainBike = QStringLiteral("{5C9F1F2A-2360-54E5-BEFF-918716664B59}");
const QString kOrderBike = QStringLiteral("{090D4316-FD7F-5F3D-AD91-F241FEFD8DF6}");
const QString kFork = QStringLiteral("{7E87ACF0-F0A5-5AC4-BB48-8170C3293257}");
const QString kShirt = QStringLiteral("{4CEC3297-B84C-5AAF-B02C-EAE3D62404CD}");

// The texts of the messages bomctl printed with --json, in order.
QStringList messages(const QString& out) {
    QStringList texts;
    for (const QString& line : out.trimmed().split('\n')) {
        const QJsonObject o = QJsonDocument::fromJson(line.toUtf8()).object();
        if (o.value("type").toString() != QLatin1String("result"))
            texts << o.value("text").toString();
    }
    return texts;
}

QStringList ids(const QJsonArray& array, const char* field = nullptr) {
    QStringList out;
    for (const QJsonValue& v : array)
        out << (field ? v.toObject().value(QLatin1String(field)).toString() : v.toString());
    return out;
}

} // namespace

class BatchCtlTest : public test::BomctlDemoTest {
protected:
    test::ProcessResult run(const char* user, QStringList args) {
        return as(user, QStringList{QStringLiteral("batch")} + args << QStringLiteral("--json"));
    }
    test::ProcessResult run(QStringList args) { return run("demo", args); }
};

TEST_P(BatchCtlTest, DryRunShowsWhatTheRunThenDoesAndUndoPutsItBack) {
    const QStringList replace{QStringLiteral("replace"),
                              QStringLiteral("--where"),
                              QStringLiteral("cpspcode=BK200"),
                              QStringLiteral("--component"),
                              QStringLiteral("SD100"),
                              QStringLiteral("--set"),
                              QStringLiteral("cpscode=TY101"),
                              QStringLiteral("--multiplier"),
                              QStringLiteral("2")};
    const auto dry = run(replace + QStringList{QStringLiteral("--dry-run")});
    ASSERT_EQ(dry.status, 0) << dry.out.toStdString() << dry.err.toStdString();
    const QJsonObject planned = test::lastJson(dry.out);
    EXPECT_EQ(planned.value("run").toInt(), 0);
    const QJsonArray preview = planned.value("preview").toArray();
    ASSERT_EQ(preview.size(), 2);
    for (const QJsonValue& entry : preview) {
        const QJsonObject change = entry.toObject();
        EXPECT_EQ(change.value("cpspcode").toString(), QStringLiteral("BK200"));
        EXPECT_EQ(change.value("before").toObject().value("cpscode").toString(),
                  QStringLiteral("SD100"));
        EXPECT_EQ(change.value("after").toObject().value("cpscode").toString(),
                  QStringLiteral("TY101"));
        EXPECT_EQ(change.value("after").toObject().value("ipsquantity").toDouble(), 2.0);
    }
    // Nothing was written by the preview.
    const auto before = as("demo", {QStringLiteral("lines"), kMountainBike,
                                    QStringLiteral("--format"), QStringLiteral("csv")});

    const auto done = run(replace);
    ASSERT_EQ(done.status, 0) << done.out.toStdString() << done.err.toStdString();
    EXPECT_EQ(messages(done.out), QStringList{QStringLiteral("批量替换完毕！")});
    const QJsonObject result = test::lastJson(done.out);
    const int runId = result.value("run").toInt();
    ASSERT_GT(runId, 0);
    EXPECT_EQ(ids(result.value("changed").toArray()), ids(planned.value("changed").toArray()));
    // In the list's order: the order BOM sorts first.
    EXPECT_EQ(ids(result.value("changed").toArray()), QStringList({kOrderBike, kMountainBike}));
    // The lines are what the preview showed.
    const auto lines =
        as("demo", {QStringLiteral("lines"), kMountainBike, QStringLiteral("--json")});
    int found = 0;
    for (const QJsonValue& row : test::lastJson(lines.out).value("rows").toArray())
        if (row.toObject().value("cpscode").toString() == QLatin1String("TY101")) {
            EXPECT_EQ(row.toObject().value("ipsquantity").toDouble(), 2.0);
            ++found;
        }
    EXPECT_EQ(found, 1) << lines.out.toStdString();
    const auto history =
        as("demo", {QStringLiteral("history"), kMountainBike, QStringLiteral("--json")});
    const QJsonObject latest =
        test::lastJson(history.out).value("rows").toArray().first().toObject();
    EXPECT_EQ(latest.value("kind").toString(), QStringLiteral("batch-modify"));
    EXPECT_EQ(latest.value("run").toInt(), runId);

    const auto runs = run({QStringLiteral("runs")});
    ASSERT_EQ(runs.status, 0);
    const QJsonObject listedRun =
        test::lastJson(runs.out).value("runs").toArray().first().toObject();
    EXPECT_EQ(listedRun.value("id").toInt(), runId);
    EXPECT_EQ(listedRun.value("operation").toString(), QStringLiteral("batch-replace"));
    EXPECT_EQ(listedRun.value("boms").toInt(), 2);

    const auto undo = run({QStringLiteral("undo"), QString::number(runId)});
    ASSERT_EQ(undo.status, 0) << undo.out.toStdString();
    EXPECT_EQ(as("demo", {QStringLiteral("lines"), kMountainBike, QStringLiteral("--format"),
                          QStringLiteral("csv")})
                  .out,
              before.out);
    const auto again = run({QStringLiteral("undo"), QString::number(runId)});
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(messages(again.out).last(), QStringLiteral("批量处理%1已经撤销过了。").arg(runId));
}

TEST_P(BatchCtlTest, RefusalsQuestionsAndUsageAsTheEditorGivesThem) {
    // Usage: no BOMs, a component for add, an unknown field, replace options elsewhere.
    EXPECT_EQ(run({QStringLiteral("add"), QStringLiteral("--set"), QStringLiteral("cpscode=BT100")})
                  .status,
              2);
    EXPECT_EQ(run({QStringLiteral("add"), QStringLiteral("--boms"), kShirt,
                   QStringLiteral("--component"), QStringLiteral("BT100")})
                  .status,
              2);
    EXPECT_EQ(run({QStringLiteral("modify"), QStringLiteral("--boms"), kShirt,
                   QStringLiteral("--component"), QStringLiteral("BT100"), QStringLiteral("--set"),
                   QStringLiteral("colour=red")})
                  .status,
              2);
    EXPECT_EQ(run({QStringLiteral("modify"), QStringLiteral("--boms"), kShirt,
                   QStringLiteral("--component"), QStringLiteral("BT100"),
                   QStringLiteral("--multiplier"), QStringLiteral("2")})
                  .status,
              2);

    // An editor value refused with its check's words; nothing set to modify.
    const auto warehouse = run({QStringLiteral("add"), QStringLiteral("--boms"), kShirt,
                                QStringLiteral("--set"), QStringLiteral("cpscode=SC100"),
                                QStringLiteral("--set"), QStringLiteral("cwhcode=99")});
    EXPECT_EQ(warehouse.status, 1);
    EXPECT_EQ(messages(warehouse.out),
              QStringList{QStringLiteral("仓库不存在或无权使用，请重新录入!")});
    const QStringList modify{QStringLiteral("modify"), QStringLiteral("--boms"),
                             kShirt + QLatin1Char(',') + kMountainBike,
                             QStringLiteral("--component"), QStringLiteral("BT100")};
    const auto nothing = run(modify);
    EXPECT_EQ(nothing.status, 1);
    EXPECT_EQ(messages(nothing.out), QStringList{QStringLiteral("请设置修改项目")});
    // The numerator alone asks; --no stops, --yes goes on without the quantity.
    const QStringList numerator =
        modify + QStringList{QStringLiteral("--set"), QStringLiteral("ipsquantity=3"),
                             QStringLiteral("--set"), QStringLiteral("cinsertfirst=A1")};
    const auto declined = run(numerator + QStringList{QStringLiteral("--no")});
    EXPECT_EQ(declined.status, 1);
    EXPECT_EQ(messages(declined.out),
              QStringList{QStringLiteral("用量分子分母必须同时修改，是否继续？")});
    const auto accepted = run(numerator + QStringList{QStringLiteral("--yes")});
    ASSERT_EQ(accepted.status, 0) << accepted.out.toStdString();
    const QJsonObject changed = test::lastJson(accepted.out);
    EXPECT_EQ(ids(changed.value("changed").toArray()), QStringList{kShirt});
    EXPECT_EQ(ids(changed.value("skipped").toArray(), "reason"),
              QStringList{QStringLiteral("no-line")});

    // The fork's only line stays, with the message; nothing else to do is a refusal.
    const auto only = run({QStringLiteral("delete"), QStringLiteral("--boms"), kFork,
                           QStringLiteral("--component"), QStringLiteral("TU100")});
    EXPECT_EQ(only.status, 1);
    EXPECT_EQ(messages(only.out), QStringList{QStringLiteral(
                                      "所选择的BOM中，有子件唯一的母件，不能执行批量删除操作。")});
    EXPECT_EQ(ids(test::lastJson(only.out).value("skipped").toArray(), "reason"),
              QStringList{QStringLiteral("only-line")});

    // A BOM outside the operator's rights is as one that does not exist.
    const auto hidden = run("wang", {QStringLiteral("add"), QStringLiteral("--boms"), kMountainBike,
                                     QStringLiteral("--set"), QStringLiteral("cpscode=BT100"),
                                     QStringLiteral("--set"), QStringLiteral("cwhcode=02"),
                                     QStringLiteral("--set"), QStringLiteral("ipsquantity=1")});
    EXPECT_EQ(hidden.status, 1);
    EXPECT_EQ(ids(test::lastJson(hidden.out).value("skipped").toArray(), "reason"),
              QStringList{QStringLiteral("no-access")});
}

BOM_INSTANTIATE_BACKENDS(BatchCtlTest);
