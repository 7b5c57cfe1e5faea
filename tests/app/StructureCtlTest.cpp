#include "support/BomctlDemoTest.h"

#include <QDateTime>
#include <QJsonArray>
#include <QSet>

using namespace bom;

namespace {

const QString kMountainBike = QStringLiteral("{5C9F1F2A-2360-54E5-BEFF-918716664B59}");

} // namespace

class StructureCtlTest : public test::BomctlDemoTest {
protected:
    // The command's result, the run failing the test unless it exits with `status`.
    QJsonObject run(QStringList args, int status = 0) {
        const auto done = as("demo", args << QStringLiteral("--json"));
        EXPECT_EQ(done.status, status) << args.join(' ').toStdString() << '\n'
                                       << done.out.toStdString() << done.err.toStdString();
        return test::lastJson(done.out);
    }
};

TEST_P(StructureCtlTest, ExplodeWhereUsedCostAndCompareAnswerWhatScriptsRead) {
    // By item code: its default BOM. Every row's quantity per top unit is its parent's times its
    // own, down to the last level.
    const QJsonArray rows = run({"explode", "BK200"}).value("rows").toArray();
    ASSERT_GT(rows.size(), 5);
    QStringList top;
    std::vector<double> cum;
    for (const QJsonValue& value : rows) {
        const QJsonObject row = value.toObject();
        const int level = row.value("level").toInt();
        const QStringList path = row.value("path").toString().split('/');
        EXPECT_EQ(path.size(), level + 1);
        EXPECT_EQ(path.last(), row.value("cinvcode").toString());
        cum.resize(std::size_t(level));
        cum[std::size_t(level) - 1] =
            row.value("qty").toDouble() * (level > 1 ? cum[std::size_t(level) - 2] : 1.0);
        EXPECT_DOUBLE_EQ(row.value("cum_qty").toDouble(), cum.back())
            << path.join('/').toStdString();
        if (level == 1)
            top << row.value("cinvcode").toString();
    }
    EXPECT_EQ(top, QStringList({"FR100", "WH100", "FK100", "SD100", "BR100"}));
    EXPECT_EQ(run({"explode", kMountainBike, "--levels", "1"}).value("rows").toArray().size(), 5);
    QSet<QString> leaves;
    for (const QJsonValue& row : run({"explode", "BK200", "--summary"}).value("rows").toArray())
        EXPECT_FALSE(leaves.contains(row.toObject().value("cinvcode").toString()));
    run({"explode", "BK200", "--levels", "0"}, 2);
    run({"explode", "NO-SUCH"}, 1);

    // The tyre: in the wheel, and through the wheels in the bicycles.
    QHash<QString, double> users;
    for (const QJsonValue& value : run({"where-used", "TY100"}).value("rows").toArray()) {
        const QJsonObject row = value.toObject();
        users.insert(QString::number(row.value("level").toInt()) +
                         row.value("cpspcode").toString() + row.value("csocode").toString(),
                     row.value("qty").toDouble());
    }
    ASSERT_TRUE(users.contains("1WH100"));
    EXPECT_DOUBLE_EQ(users.value("2BK200"), 2 * users.value("1WH100"));
    run({"where-used", "NO-SUCH"}, 1);

    // Costs: worked out, written as a run, and undone by the batch undo.
    const QJsonObject costs = run({"cost", kMountainBike});
    const QJsonObject first = costs.value("rows").toArray().first().toObject();
    EXPECT_EQ(first.value("iautoid").toString(), kMountainBike);
    EXPECT_TRUE(first.value("differs").toBool());
    EXPECT_TRUE(first.value("stored_total").isNull());
    const QJsonObject written = run({"cost", "BK200", "--write"});
    ASSERT_GT(written.value("run").toInt(), 0);
    for (const QJsonValue& row : run({"cost", "BK200"}).value("rows").toArray())
        EXPECT_FALSE(row.toObject().value("differs").toBool());
    run({"cost", "BK200", "--write"}, 1); // nothing differs
    run({"batch", "undo", QString::number(written.value("run").toInt())});
    EXPECT_TRUE(run({"cost", "BK200"})
                    .value("rows")
                    .toArray()
                    .first()
                    .toObject()
                    .value("differs")
                    .toBool());

    // The city bike beside the mountain bike, and the mountain bike beside itself a moment ago.
    const QJsonObject compared = run({"compare", kMountainBike, "BK100"});
    QStringList changes;
    for (const QJsonValue& d : compared.value("diff").toArray())
        changes << d.toObject().value("change").toString() + ' ' +
                       d.toObject().value("cinvcode").toString();
    EXPECT_EQ(changes, QStringList({"removed FK100", "changed BR100", "added CH100"}));
    EXPECT_EQ(compared.value("diff").toArray()[1].toObject().value("fields").toObject().value(
                  "ipsquantity"),
              QJsonArray({2, 1}));
    EXPECT_TRUE(compared.value("cost").toObject().contains("difference"));
    const QString now = QDateTime::currentDateTime().toString(Qt::ISODate);
    EXPECT_TRUE(run({"compare", "BK200", kMountainBike + "@" + now, "--exploded"})
                    .value("diff")
                    .toArray()
                    .isEmpty());
    run({"compare", "BK200", "BK200@yesterday"}, 2);
}

BOM_INSTANTIATE_BACKENDS(StructureCtlTest);
