#include "batch/BatchEditor.h"
#include "bomservice/BomHistory.h"
#include "bomservice/BomRuns.h"
#include "bomservice/Guards.h"
#include "bomservice/LowLevelCodes.h"
#include "db/Transaction.h"
#include "structure/BomCompare.h"
#include "structure/CostRollup.h"
#include "structure/Explosion.h"
#include "structure/WhereUsed.h"
#include "suite/RightsStore.h"
#include "support/DemoSessionTest.h"

using namespace bom;
using structure::ExplosionRow;
using Below = ExplosionRow::Below;

namespace {

// A small structure worked out by hand. ST-T uses ST-S (childguid; 2/1 +10% = 2.2), ST-X
// (1/4, price 8) and ST-U for sales order SO1 (no childguid: its identity's BOM; 3/2 = 1.5).
// ST-S uses ST-U (no childguid: the default BOM; 1/2) and ST-Y (3/1 +50% = 4.5, priced at its
// reference cost 3). ST-U's default BOM uses ST-Z (5/10 +20% = 0.6, price 2); its SO1 BOM
// uses ST-Z (1/1, price 2). Labour + overhead: T 2+1.8, S 1+0.5, U 0.3+0.5, U/SO1 none.
struct FixtureTable {
    const char* sql;
    std::vector<db::Params> rows;
};
const QVariant kNull;
// History moved to either side of 2 January 2001, for reading a BOM as it stood that day.
const QString kBefore = QStringLiteral("2001-01-01 00:00:00");
const QString kAfter = QStringLiteral("2001-01-03 00:00:00");
const std::vector<FixtureTable> kStructure = {
    {"INSERT INTO Inventory(iId, cInvCode, cInvName, cComunitCode, bself, iInvRCost) VALUES "
     "(?,?,?,?,?,?)",
     {{901, "ST-T", "整机", "PCS", 1, kNull},
      {902, "ST-S", "部件", "PCS", 1, kNull},
      {903, "ST-U", "组件", "PCS", 1, kNull},
      {904, "ST-X", "外购件", "PCS", 0, kNull},
      {905, "ST-Y", "原料", "PCS", 0, 3},
      {906, "ST-Z", "零件", "PCS", 0, 99}}},
    {"INSERT INTO ProductStructure(iautoid, cpspcode, csocode, fbzrgcb, fbzzfy, fbzcb) VALUES "
     "(?,?,?,?,?,?)",
     {{"{T}", "ST-T", kNull, 2, 1.8, kNull},
      {"{S}", "ST-S", kNull, 1, 0.5, 10},
      {"{U}", "ST-U", kNull, 0.3, 0.5, kNull},
      {"{U1}", "ST-U", "SO1", 0, 0, kNull}}},
    {"INSERT INTO ProductStructures(ipid, cpspcode, cpscode, csocode, ipsquantity, tdqtyd, "
     "iwasterate, fbzdj, childguid) VALUES (?,?,?,?,?,?,?,?,?)",
     {{"{T}", "ST-T", "ST-S", kNull, 2, 1, 10, kNull, "{S}"},
      {"{T}", "ST-T", "ST-X", kNull, 1, 4, 0, 8, kNull},
      {"{T}", "ST-T", "ST-U", "SO1", 3, 2, 0, kNull, kNull},
      {"{S}", "ST-S", "ST-U", kNull, 1, 2, 0, kNull, kNull},
      {"{S}", "ST-S", "ST-Y", kNull, 3, 1, 50, kNull, kNull},
      {"{U}", "ST-U", "ST-Z", kNull, 5, 10, 20, 2, kNull},
      {"{U1}", "ST-U", "ST-Z", "SO1", 1, 1, 0, 2, kNull}}},
};

QString shape(const structure::ExplosionResult& result) {
    QStringList out;
    for (const ExplosionRow& row : result.rows)
        out << QStringLiteral("%1:%2<%3")
                   .arg(row.level)
                   .arg(result.lineOf(row).cinvcode)
                   .arg(row.parent);
    return out.join(' ');
}

} // namespace

class StructureTest : public test::DemoSessionTest {
protected:
    void loadStructure() {
        for (const FixtureTable& table : kStructure)
            for (const db::Params& row : table.rows)
                db().exec(QLatin1String(table.sql), row);
    }
    QStringList rows(const QString& sql, const db::Params& params = {}) {
        const db::Rows found = db().query(sql, params);
        QStringList out;
        for (std::size_t i = 0; i < found.size(); ++i) {
            QStringList cells;
            for (const QVariant& v : found.at(i))
                cells << (v.isNull() ? QString() : v.toString());
            out << cells.join('|');
        }
        return out;
    }
    QStringList levels() {
        return rows(QStringLiteral("select cinvcode, ilevel, cvia from bom_llc order by cinvcode"));
    }
    // The levels worked out from nothing, the account left as it was.
    QStringList rebuilt() {
        db::Transaction tx(db());
        bomservice::LowLevelCodes(db()).Rebuild();
        return levels();
    }
};

TEST_P(StructureTest, ExplosionCarriesQuantitiesThroughEveryLevelAndStopsAtLimitsAndLoops) {
    loadStructure();
    structure::Explosion explosion(s());
    const auto all = explosion.Explode(QStringLiteral("{T}"), 0);
    ASSERT_TRUE(all);
    // ST-U appears under ST-S (its default BOM) and under ST-T (its SO1 BOM).
    EXPECT_EQ(shape(*all), "1:ST-S<-1 2:ST-U<0 3:ST-Z<1 2:ST-Y<0 1:ST-X<-1 1:ST-U<-1 2:ST-Z<5");
    const double qty[] = {2.2, 0.5, 0.6, 4.5, 0.25, 1.5, 1};
    const double cum[] = {2.2, 1.1, 0.66, 9.9, 0.25, 1.5, 1.5};
    for (std::size_t i = 0; i < all->rows.size(); ++i) {
        EXPECT_NEAR(all->lineOf(all->rows[i]).qty, qty[i], 1e-9) << i;
        EXPECT_NEAR(all->rows[i].cumQty, cum[i], 1e-9) << i;
    }
    EXPECT_EQ(all->lineOf(all->rows[1]).iautoid, QStringLiteral("{U}"));
    EXPECT_EQ(all->lineOf(all->rows[5]).iautoid, QStringLiteral("{U1}"));
    EXPECT_EQ(all->path(2), QStringLiteral("ST-T/ST-S/ST-U/ST-Z"));
    // Costs from the leaves up: U 0.6×2+0.8 = 2, S 0.5×2+4.5×3+1.5 = 16, T 2.2×16+0.25×8+1.5×2.
    EXPECT_NEAR(all->rows[0].unitCost, 16, 1e-9);
    EXPECT_NEAR(all->material(), 40.2, 1e-9);
    EXPECT_NEAR(all->total(), 44, 1e-9);
    const auto summary = structure::Explosion::Summarise(*all);
    ASSERT_EQ(summary.size(), 3u);
    EXPECT_EQ(summary[0].cinvcode, QStringLiteral("ST-Z"));
    EXPECT_NEAR(summary[0].qty, 2.16, 1e-9);
    EXPECT_NEAR(summary[1].qty, 9.9, 1e-9);

    // One level: the sub-assemblies at their stored costs (S 10, U/SO1 none).
    const auto one = explosion.Explode(QStringLiteral("{T}"), 1);
    EXPECT_EQ(shape(*one), "1:ST-S<-1 1:ST-X<-1 1:ST-U<-1");
    EXPECT_EQ(one->rows[0].below, Below::Cut);
    EXPECT_NEAR(one->material(), 2.2 * 10 + 2, 1e-9);

    // An operator who may not see ST-Y sees no BOM of ST-S: there it is a leaf.
    suite::RightsStore rights(db());
    db().exec(QStringLiteral("INSERT INTO sys_operator(cuserid, cusername) VALUES (?,?)"),
              {QStringLiteral("li"), QStringLiteral("李")});
    rights.setScope(QStringLiteral("li"), QStringLiteral("function"),
                    suite::RightsStore::Scope::All);
    rights.setScope(QStringLiteral("li"), QStringLiteral("inventory"),
                    suite::RightsStore::Scope::List);
    rights.grant(QStringLiteral("li"), QStringLiteral("inventory"),
                 {"ST-T", "ST-S", "ST-U", "ST-X", "ST-Z"});
    test::TestSession li(account->url(), QStringLiteral("li"));
    const auto hidden = structure::Explosion(li.session()).Explode(QStringLiteral("{T}"), 0);
    ASSERT_TRUE(hidden);
    EXPECT_EQ(shape(*hidden), "1:ST-S<-1 1:ST-X<-1 1:ST-U<-1 2:ST-Z<2");
    EXPECT_FALSE(structure::Explosion(li.session()).Explode(QStringLiteral("{S}"), 0));

    // Old data looping back to the top: reported with its way down, not followed.
    db().exec(QStringLiteral("INSERT INTO ProductStructures(ipid, cpspcode, cpscode, ipsquantity, "
                             "tdqtyd, childguid) VALUES (?,?,?,1,1,?)"),
              {QStringLiteral("{U}"), QStringLiteral("ST-U"), QStringLiteral("ST-T"),
               QStringLiteral("{T}")});
    const auto looping = explosion.Explode(QStringLiteral("{T}"), 0);
    ASSERT_EQ(looping->loops.size(), 1u);
    EXPECT_EQ(looping->loops[0], QStringList({"ST-T", "ST-S", "ST-U", "ST-T"}));
    EXPECT_EQ(looping->rows[3].below, Below::Loop);
    EXPECT_EQ(looping->rows.size(), 8u);
    // The levels climb the loop to their ceiling and stop.
    EXPECT_TRUE(rebuilt().contains(
        QStringLiteral("ST-T|%1|ST-U").arg(bomservice::LowLevelCodes::kDeepest)));
}

TEST_P(StructureTest, WhereUsedSumsEveryWayUpAndCostRollUpWritesAsAnUndoableRun) {
    loadStructure();
    structure::WhereUsed whereUsed(s());
    auto shown = [](const std::vector<structure::WhereUsedRow>& found) {
        QStringList out;
        for (const auto& row : found)
            out << QStringLiteral("%1:%2/%3=%4")
                       .arg(row.level)
                       .arg(row.cpspcode, row.csocode, QString::number(row.qty, 'g', 12));
        return out.join(' ');
    };
    // T takes Z through its SO1 ST-U (1.5×1) and through ST-S (2.2×0.5×0.6).
    EXPECT_EQ(shown(whereUsed.Find(QStringLiteral("ST-Z"), 0)),
              "1:ST-U/=0.6 1:ST-U/SO1=1 2:ST-S/=0.3 2:ST-T/=2.16");
    EXPECT_EQ(shown(whereUsed.Find(QStringLiteral("ST-Z"), 1)), "1:ST-U/=0.6 1:ST-U/SO1=1");

    structure::CostRollup rollup(s());
    std::vector<structure::CostRow> costs = rollup.Compute(QStringLiteral("{T}"));
    QStringList figures;
    for (const auto& row : costs)
        figures << QStringLiteral("%1%2:%3/%4")
                       .arg(row.cpspcode, row.csocode)
                       .arg(row.material)
                       .arg(row.total);
    EXPECT_EQ(figures.join(' '), "ST-T:40.2/44 ST-S:14.5/16 ST-U:1.2/2 ST-USO1:2/2");
    // The whole account agrees.
    const auto everything = rollup.ComputeAll();
    const auto top = std::find_if(everything.begin(), everything.end(),
                                  [](const auto& row) { return row.iautoid == "{T}"; });
    ASSERT_NE(top, everything.end());
    EXPECT_DOUBLE_EQ(top->total, 44);

    // Written: S is approved and left alone; a BOM changed after the figures were worked out
    // refuses the whole write.
    db().exec(QStringLiteral("update ProductStructure set ccheck=? where iautoid=?"),
              {QStringLiteral("demo"), QStringLiteral("{S}")});
    costs = rollup.Compute(QStringLiteral("{T}"));
    db().exec(QStringLiteral("update ProductStructure set cmemo=? where iautoid=?"),
              {QStringLiteral("改"), QStringLiteral("{U}")});
    const QString stored = QStringLiteral("select iautoid, fbzwlcb, fbzcb from ProductStructure "
                                          "where cpspcode like ? order by iautoid");
    const db::Params ours{QStringLiteral("ST-%")};
    const QStringList before = rows(stored, ours);
    EXPECT_FALSE(rollup.Write(costs));
    EXPECT_EQ(rows(stored, ours), before);
    costs = rollup.Compute(QStringLiteral("{T}"));
    const auto written = rollup.Write(costs);
    ASSERT_TRUE(written);
    EXPECT_EQ(written->boms, 3);
    EXPECT_EQ(written->approved, 1);
    EXPECT_EQ(rows(stored, ours), QStringList({"{S}||10", "{T}|40.2|44", "{U1}|2|2", "{U}|1.2|2"}));
    for (const auto& row : rollup.Compute(QStringLiteral("{T}")))
        EXPECT_EQ(row.differs, row.iautoid == QStringLiteral("{S}"));
    const auto history = bomservice::BomHistory(db()).read(QStringLiteral("{T}"));
    ASSERT_EQ(history.size(), 2u);
    EXPECT_EQ(history[0].run, written->run);
    EXPECT_EQ(history[1].change.field, QStringLiteral("fbzwlcb"));
    EXPECT_EQ(history[1].change.newValue, QStringLiteral("40.2"));

    ASSERT_TRUE(bomservice::BomRuns(s()).Undo(written->run, QStringLiteral("撤销")));
    EXPECT_EQ(rows(stored, ours), before);
    // The BOM as it stood between the write and the undo has the figures again.
    const QString undone = QStringLiteral("run-undo");
    db().exec(QStringLiteral("update sys_bom_history set dtime=? where ckind<>?"),
              {kBefore, undone});
    db().exec(QStringLiteral("update sys_bom_history set dtime=? where ckind=?"), {kAfter, undone});
    const auto between =
        bomservice::BomHistory(db()).readAt(QStringLiteral("{T}"), QDateTime({2001, 1, 2}, {}));
    ASSERT_TRUE(between);
    EXPECT_EQ(between->header.value(0, QStringLiteral("fbzcb")).toDouble(), 44.0);
}

TEST_P(StructureTest, ComparingABomWithItsOwnPastShowsWhatEachChangeDid) {
    const QString bike = idOf("BK200");
    const bomservice::BomCard then = *bomservice::BomHistory(db()).readStored(bike);
    const QString stored = QStringLiteral("select autoid, cpscode, ipsquantity, tdqtyd, cwhcode "
                                          "from ProductStructures where ipid=? order by autoid");
    const QStringList linesThen = rows(stored, {bike});
    const int seen =
        db().scalar(QStringLiteral("select COALESCE(max(id),0) from sys_bom_history")).toInt();

    // A save changes the wheels' quantity, removes the saddle and adds a chain.
    bomservice::BomCard card = load(bike);
    for (int row = 0; row < card.lines.rowCount(); ++row) {
        const QString item = card.lines.text(row, QStringLiteral("cpscode"));
        if (item == QLatin1String("WH100")) {
            card.lines.setValue(row, QStringLiteral("ipsquantity"), 3.0);
            card.lines.setEditprop(row, QStringLiteral("M"));
        } else if (item == QLatin1String("SD100")) {
            card.lines.setEditprop(row, QStringLiteral("D"));
        }
    }
    addLine(card, QStringLiteral("CH100"));
    ASSERT_TRUE(save(card)) << session->prompter.texts().join('|').toStdString();
    // A batch run then changes the frame's waste rate.
    batch::BatchEditor editor(s());
    ASSERT_TRUE(editor.InitBatch(1, QStringLiteral("'%1'").arg(bike), QStringLiteral("FR100")));
    ASSERT_EQ(editor.CheckValue(QStringLiteral("iwasterate"), QStringLiteral("5")), QString());
    ASSERT_TRUE(editor.Save());
    db().exec(QStringLiteral("update sys_bom_history set dtime=? where id<=?"), {kBefore, seen});
    db().exec(QStringLiteral("update sys_bom_history set dtime=? where id>?"), {kAfter, seen});

    bomservice::BomHistory history(db());
    const auto past = history.readAt(bike, QDateTime({2001, 1, 2}, {}));
    ASSERT_TRUE(past);
    QStringList linesAt;
    for (int row = 0; row < past->lines.rowCount(); ++row)
        linesAt << QStringList{past->lines.text(row, QStringLiteral("autoid")),
                               past->lines.text(row, QStringLiteral("cpscode")),
                               QString::number(past->lines.value(row, QStringLiteral("ipsquantity"))
                                                   .toDouble()),
                               QString::number(
                                   past->lines.value(row, QStringLiteral("tdqtyd")).toDouble()),
                               past->lines.text(row, QStringLiteral("cwhcode"))}
                       .join('|');
    EXPECT_EQ(linesAt, linesThen);

    structure::BomCompare compare(s());
    const auto now = compare.Load(bike);
    ASSERT_TRUE(now);
    const structure::CompareResult single = compare.Compare(*past, *now, false);
    QStringList diff;
    for (const auto& d : single.diff) {
        QStringList fields;
        for (const auto& f : d.fields)
            if (f.name != QLatin1String("cost")) // checked as a whole below
                fields << QStringLiteral("%1=%2>%3").arg(f.name, f.a.toString(), f.b.toString());
        diff << structure::BomCompare::changeName(d.change) + QLatin1Char(':') + d.path +
                    (fields.isEmpty() ? QString() : QLatin1Char(' ') + fields.join(','));
    }
    EXPECT_EQ(diff, QStringList({"changed:FR100 qty=1>1.05,iwasterate=0>5",
                                 "changed:WH100 qty=2>3,ipsquantity=2>3", "removed:SD100",
                                 "added:CH100"}));
    EXPECT_NEAR(single.totalA, structure::Explosion(s()).Explode(then, 0).total(), 1e-9);
    EXPECT_NEAR(single.totalB, structure::Explosion(s()).Explode(bike, 0)->total(), 1e-9);
    // Exploded, the frame's and wheels' own lines follow them down.
    const structure::CompareResult exploded = compare.Compare(*past, *now, true);
    EXPECT_GT(exploded.diff.size(), single.diff.size());
    EXPECT_TRUE(std::any_of(exploded.diff.begin(), exploded.diff.end(), [](const auto& d) {
        return d.path.startsWith(QStringLiteral("WH100/")) &&
               std::any_of(d.fields.begin(), d.fields.end(),
                           [](const auto& f) { return f.name == QLatin1String("cum_qty"); });
    }));
}

TEST_P(StructureTest, LowLevelCodesFollowSavesRunsUndoAndDeletesAsAFullRebuildWould) {
    bomservice::LowLevelCodes codes(db());
    // First use works the demo account out.
    EXPECT_EQ(codes.LevelsOf({"FR100", "WH100", "TY100", "BK200"}),
              (QHash<QString, int>{{"FR100", 1}, {"WH100", 1}, {"TY100", 2}}));
    EXPECT_EQ(levels(), rebuilt());

    // The frame takes a wheel: the wheel and its tyre go one level down.
    const QString frame = idOf("FR100");
    bomservice::BomCard card = load(frame);
    addLine(card, QStringLiteral("WH100"));
    ASSERT_TRUE(save(card)) << session->prompter.texts().join('|').toStdString();
    EXPECT_EQ(codes.LevelsOf({"WH100", "TY100"}),
              (QHash<QString, int>{{"WH100", 2}, {"TY100", 3}}));
    EXPECT_EQ(levels(), rebuilt());

    // A batch run deletes it again, and its undo puts it back.
    batch::BatchEditor editor(s());
    ASSERT_TRUE(editor.InitBatch(3, QStringLiteral("'%1'").arg(frame), QStringLiteral("WH100,")));
    const auto run = editor.Save();
    ASSERT_TRUE(run);
    EXPECT_EQ(codes.LevelsOf({"WH100"}).value("WH100"), 1);
    EXPECT_EQ(levels(), rebuilt());
    ASSERT_TRUE(bomservice::BomRuns(s()).Undo(run->run, QStringLiteral("撤销")));
    EXPECT_EQ(codes.LevelsOf({"WH100"}).value("WH100"), 2);
    EXPECT_EQ(levels(), rebuilt());

    // The frame's BOM goes: what only it used has no level any more.
    {
        db::Transaction tx(db());
        ASSERT_TRUE(bomservice::BomGuards(s()).RemoveStoredBom(frame));
        tx.commit();
    }
    EXPECT_EQ(levels(), rebuilt());
    EXPECT_EQ(codes.LevelsOf({"WH100"}).value("WH100"), 1);
}

BOM_INSTANTIATE_BACKENDS(StructureTest);
