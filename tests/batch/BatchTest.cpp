#include "batch/BatchEditor.h"
#include "bomservice/BomHistory.h"
#include "bomservice/BomRuns.h"
#include "db/Transaction.h"
#include "entry/VoucherHelpers.h"
#include "support/TestAccount.h"

using namespace bom;
using batch::BatchEditor;
using batch::Operation;
using suite::Prompter;

namespace {

const QString kBk100 = QStringLiteral("{BDAD2A5E-EE29-5A09-AADB-050369217BC0}"); // approved
const QString kBk200 = QStringLiteral("{5C9F1F2A-2360-54E5-BEFF-918716664B59}");
const QString kBk200Order = QStringLiteral("{090D4316-FD7F-5F3D-AD91-F241FEFD8DF6}");
const QString kFr100 = QStringLiteral("{68A4B30F-4353-573A-8925-97479D304B80}");
const QString kWh100 = QStringLiteral("{48694C8D-1E51-5107-96C2-EF5644A8201E}");
const QString kFk100 = QStringLiteral("{7E87ACF0-F0A5-5AC4-BB48-8170C3293257}"); // one line
const QString kTitle = QStringLiteral("批量处理");

// Rows as exact text, doubles to the last bit.
QStringList dump(db::Database& db, const QString& sql, const db::Params& params = {}) {
    return db.query(sql, params).asText();
}

} // namespace

class BatchTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        account->createDemo();
        s = std::make_unique<test::TestSession>(account->url(), QStringLiteral("demo"));
        editor = std::make_unique<BatchEditor>(s->session());
    }
    void TearDown() override {
        editor.reset();
        s.reset();
        BackendTest::TearDown();
    }
    db::Database& db() { return s->db(); }
    QVariant cell(const QString& sql, const db::Params& params = {}) {
        return db().scalar(sql, params);
    }
    int count(const QString& sql, const db::Params& params = {}) {
        return cell(sql, params).toInt();
    }
    QString last() { return s->prompter.texts().value(s->prompter.texts().size() - 1); }
    // Every row a batch run may touch, as exact text; the headers' row versions last.
    QStringList state(bool versions) {
        QStringList out;
        out << dump(db(), QStringLiteral("select * from ProductStructures order by autoid"));
        out << dump(db(), QStringLiteral("select * from ProstruOpt order by compsubid"));
        out << dump(db(), QStringLiteral("select * from ProductStructuresEx order by cPSPCode, "
                                         "cPSCode"));
        if (versions)
            out << dump(db(), QStringLiteral("select iautoid, qzts from ProductStructure order "
                                             "by iautoid"));
        return out;
    }
    // `full` (a state with versions) without them.
    static QStringList state(bool, const QStringList& full) { return full.mid(0, full.size() - 8); }
    void enter(const QString& name, const QString& value) {
        ASSERT_EQ(editor->CheckValue(name, value), QString()) << name.toStdString();
    }
    qlonglong save() {
        const auto result = editor->Save();
        return result ? result->run : -1;
    }

    std::unique_ptr<test::TestSession> s;
    std::unique_ptr<BatchEditor> editor;
};

TEST_P(BatchTest, AddRunsItsChecksInOrderThenSkipsDuplicatesAndApprovedBoms) {
    ASSERT_TRUE(editor->InitBatch(
        0, QStringLiteral("'%1','%2','%3','%4',").arg(kBk100, kBk200, kBk200Order, kFr100),
        QString()));
    EXPECT_EQ(editor->caption(), QStringLiteral("批量增加"));
    EXPECT_EQ(save(), -1);
    EXPECT_EQ(last(), QStringLiteral("存货编码、存放仓库不能为空!"));
    EXPECT_EQ(s->prompter.prompts().back().title, kTitle);

    // Editor checks: each refusal with its words; an accepted item brings its warehouse,
    // storekeeper and supply type, an accepted warehouse its supply type.
    EXPECT_EQ(editor->CheckValue(QStringLiteral("cpscode"), QStringLiteral("SV100")),
              QStringLiteral("该存货不存在或已停用或您无权使用，请重新录入!"));
    EXPECT_EQ(editor->CheckValue(QStringLiteral("cwhcode"), QStringLiteral("99")),
              QStringLiteral("仓库不存在或无权使用，请重新录入!"));
    EXPECT_EQ(editor->CheckValue(QStringLiteral("iwasterate"), QStringLiteral("100.5")),
              QStringLiteral("损耗率范围是[0-100]!"));
    EXPECT_EQ(editor->CheckValue(QStringLiteral("ipsquantity"), QStringLiteral("0")),
              QStringLiteral("不能录入零或负值!"));
    EXPECT_EQ(editor->CheckValue(QStringLiteral("fbzdj"), QStringLiteral("-1")),
              QStringLiteral("不能录入负值!"));
    EXPECT_FALSE(editor->EnterValue(QStringLiteral("cdefine26"), QStringLiteral("x")));
    EXPECT_EQ(last(), QStringLiteral("输入数值为非法，请重新输入！"));
    EXPECT_EQ(editor->value(QStringLiteral("cdefine26")), QString()); // cleared
    enter(QStringLiteral("iwasterate"), QStringLiteral("100"));
    enter(QStringLiteral("cpscode"), QStringLiteral("CH100")); // tracked, ordinary warehouse 02
    EXPECT_EQ(editor->value(QStringLiteral("cwhcode")), QStringLiteral("02"));
    EXPECT_EQ(editor->value(QStringLiteral("cpersonname")), QStringLiteral("王强"));
    EXPECT_EQ(editor->value(QStringLiteral("wiptype")), QStringLiteral("正常领料"));
    EXPECT_EQ(editor->CheckValue(QStringLiteral("wiptype"), QStringLiteral("入库倒冲")),
              QStringLiteral("存货为出库跟踪入库，不能设置为[入库倒冲]!"));
    enter(QStringLiteral("cwhcode"), QStringLiteral("车间现场仓")); // by name, a site warehouse
    EXPECT_EQ(editor->value(QStringLiteral("wiptype")), QStringLiteral("入库倒冲"));
    EXPECT_EQ(editor->CheckValue(QStringLiteral("wiptype"), QStringLiteral("正常领料")),
              QStringLiteral("物料类型为非[入库倒冲]只能输入普通仓库!"));

    // The component may not be a selected parent nor have one below it.
    enter(QStringLiteral("cpscode"), QStringLiteral("FR100"));
    EXPECT_EQ(save(), -1);
    EXPECT_EQ(last(), QStringLiteral("子件将与以下母件导致母子关系循环，不能保存:\r\nFR100"));
    enter(QStringLiteral("cpscode"), QStringLiteral("BK200"));
    EXPECT_EQ(save(), -1);
    EXPECT_EQ(last(), QStringLiteral("子件将与以下母件导致母子关系循环，不能保存:\r\nBK200,FR100"));
    // A stopped component BOM, then a made one as a substitute.
    enter(QStringLiteral("cpscode"), QStringLiteral("GT100"));
    enter(QStringLiteral("cfree1"), QStringLiteral("BLU"));
    enter(QStringLiteral("cfree2"), QStringLiteral("L"));
    enter(QStringLiteral("cwhcode"), QStringLiteral("02"));
    EXPECT_EQ(save(), -1);
    EXPECT_EQ(last(), QStringLiteral("子件已停用。"));
    enter(QStringLiteral("cfree1"), QString());
    enter(QStringLiteral("cfree2"), QString());
    enter(QStringLiteral("cpscode"), QStringLiteral("WH100"));
    enter(QStringLiteral("replaceflag"), QStringLiteral("是"));
    EXPECT_EQ(save(), -1);
    EXPECT_EQ(last(), QStringLiteral("半成品、成品应不能替代。"));
    enter(QStringLiteral("replaceflag"), QStringLiteral("否"));
    enter(QStringLiteral("cpscode"), QStringLiteral("SD100"));
    EXPECT_EQ(save(), -1);
    EXPECT_EQ(last(), QStringLiteral("基本用量分子不能为空或零！"));
    EXPECT_EQ(count(QStringLiteral("select count(*) from sys_bom_run")), 0);

    // SD100 is on both BK200 BOMs already: only FR100 gets it, after one message.
    const int linesBefore = count(QStringLiteral("select count(*) from ProductStructures"));
    const qlonglong versionBefore =
        cell(QStringLiteral("select qzts from ProductStructure where iautoid=?"), {kFr100})
            .toLongLong();
    db().exec(QStringLiteral("update accinformation set cValue='0' where cname='bStruChange'"));
    enter(QStringLiteral("ipsquantity"), QStringLiteral("3"));
    enter(QStringLiteral("cdepcode"), QStringLiteral("车架车间"));
    enter(QStringLiteral("cdefine26"), QStringLiteral("7.5"));
    s->prompter.clear();
    const auto result = editor->Save();
    ASSERT_TRUE(result);
    EXPECT_EQ(s->prompter.texts(), QStringList({QStringLiteral("BOM不能添加重复子件。"),
                                                QStringLiteral("批量添加完毕！")}));
    EXPECT_EQ(result->changed, QStringList{kFr100});
    ASSERT_EQ(result->skipped.size(), 3u);
    EXPECT_EQ(result->skipped[0].reason, QStringLiteral("approved"));
    EXPECT_EQ(result->skipped[1].reason, QStringLiteral("duplicate"));
    EXPECT_EQ(result->skipped[2].headerId, kBk200Order);
    EXPECT_EQ(count(QStringLiteral("select count(*) from ProductStructures")), linesBefore + 1);
    const db::Rows added = db().query(QStringLiteral("select * from ProductStructures where "
                                                     "ipid=? and cpscode='SD100'"),
                                      {kFr100});
    ASSERT_EQ(added.size(), 1u);
    EXPECT_EQ(added.text(0, "cpspcode"), QStringLiteral("FR100"));
    EXPECT_EQ(added.text(0, "cdepcode"), QStringLiteral("0102"));
    EXPECT_EQ(added.value(0, "ipsquantity").toDouble(), 3.0);
    EXPECT_EQ(added.value(0, "tdqtyd").toDouble(), 1.0);
    EXPECT_EQ(added.value(0, "iwasterate").toDouble(), 100.0);
    EXPECT_EQ(added.value(0, "wiptype").toInt(), 3);
    EXPECT_EQ(added.value(0, "cdefine26").toDouble(), 7.5);
    EXPECT_TRUE(added.value(0, "iprodchangrate").isNull()); // no rate: NULL, not 0
    EXPECT_TRUE(added.value(0, "csocode").isNull());
    EXPECT_EQ(added.value(0, "psid"),
              cell(QStringLiteral("select ID from ProductStructure where iautoid=?"), {kFr100}));
    EXPECT_GT(cell(QStringLiteral("select qzts from ProductStructure where iautoid=?"), {kFr100})
                  .toLongLong(),
              versionBefore);
    EXPECT_EQ(cell(QStringLiteral("select iPSQuantity from ProductStructuresEx where "
                                  "cPSPCode='FR100' and cPSCode='SD100'"))
                  .toDouble(),
              3.0);
    EXPECT_EQ(cell(QStringLiteral("select cValue from accinformation where cname='bStruChange'"))
                  .toString(),
              QStringLiteral("1"));
    // The card's history tells the run that added the line.
    const auto history = bomservice::BomHistory(db()).read(kFr100);
    ASSERT_FALSE(history.empty());
    EXPECT_EQ(history.front().change.kind, QStringLiteral("batch-add"));
    EXPECT_EQ(history.front().run, result->run);
    EXPECT_TRUE(history.front().change.newValue.startsWith(
        QStringLiteral("子件编码=\"SD100\" 子件名称=\"鞍座\" 存货代码=\"SD-01\"")))
        << history.front().change.newValue.toStdString();

    // All of them holding it: the message once, nothing written, no run.
    ASSERT_TRUE(editor->InitBatch(0, QStringLiteral("'%1','%2'").arg(kBk200, kBk200Order), {}));
    enter(QStringLiteral("cpscode"), QStringLiteral("SD100"));
    enter(QStringLiteral("ipsquantity"), QStringLiteral("1"));
    s->prompter.clear();
    const auto none = editor->Save();
    ASSERT_TRUE(none);
    EXPECT_EQ(none->run, 0);
    EXPECT_EQ(s->prompter.texts(), QStringList{QStringLiteral("BOM不能添加重复子件。")});
    EXPECT_EQ(count(QStringLiteral("select count(*) from sys_bom_run")), 1);
}

TEST_P(BatchTest, DeleteLeavesOnlyLinesAndModifySetsOnlyWhatWasEntered) {
    // FK100's only line is TU100: dropped with the message; WH100 has no TU100.
    db().exec(QStringLiteral("insert into ProstruOpt(AutoID, cInvCode, Sequence) select autoid, "
                             "'TY100', 2 from ProductStructures where ipid=? and cpscode='TU100'"),
              {kFr100});
    ASSERT_TRUE(editor->InitBatch(3, QStringLiteral("'%1','%2','%3'").arg(kFk100, kWh100, kFr100),
                                  QStringLiteral("TU100,")));
    EXPECT_TRUE(editor->lineDescription().startsWith(QStringLiteral("子件编码=\"TU100\"")));
    const auto deleted = editor->Save();
    ASSERT_TRUE(deleted);
    EXPECT_EQ(
        s->prompter.texts(),
        QStringList({QStringLiteral("所选择的BOM中，有子件唯一的母件，不能执行批量删除操作。"),
                     QStringLiteral("批量删除完毕！")}));
    EXPECT_EQ(deleted->changed, QStringList{kFr100});
    EXPECT_EQ(deleted->skipped[0].reason, QStringLiteral("only-line"));
    EXPECT_EQ(deleted->skipped[1].reason, QStringLiteral("no-line"));
    EXPECT_EQ(count(QStringLiteral("select count(*) from ProductStructures where cpscode='TU100'")),
              1); // FK100's
    EXPECT_EQ(count(QStringLiteral("select count(*) from ProstruOpt where AutoID not in (select "
                                   "autoid from ProductStructures)")),
              0);
    EXPECT_EQ(count(QStringLiteral("select count(*) from ProductStructuresEx where "
                                   "cPSPCode='FR100' and cPSCode='TU100'")),
              0);

    // Modify: a component outside the selection is refused before anything else.
    s->prompter.clear();
    EXPECT_FALSE(editor->InitBatch(1, QStringLiteral("'%1'").arg(kWh100), QStringLiteral("FR100")));
    EXPECT_EQ(last(), QStringLiteral("请在指定BOM范围内选择子件。"));
    const QString lines = QStringLiteral("select * from ProductStructures where cpscode='FR100' "
                                         "order by autoid");
    QStringList before = dump(db(), lines);
    ASSERT_TRUE(editor->InitBatch(1, QStringLiteral("'%1','%2'").arg(kBk200, kBk200Order),
                                  QStringLiteral("FR100")));
    EXPECT_EQ(editor->caption(), QStringLiteral("FR100--批量修改"));
    EXPECT_EQ(save(), -1);
    EXPECT_EQ(last(), QStringLiteral("请设置修改项目"));
    // A numerator alone asks; No writes nothing, Yes drops the quantity and goes on.
    enter(QStringLiteral("ipsquantity"), QStringLiteral("4"));
    enter(QStringLiteral("iwasterate"), QStringLiteral("5"));
    s->prompter.queueAnswer(Prompter::Answer::No);
    EXPECT_EQ(save(), -1);
    EXPECT_EQ(s->prompter.prompts().back().text,
              QStringLiteral("用量分子分母必须同时修改，是否继续？"));
    EXPECT_TRUE(s->prompter.prompts().back().question);
    EXPECT_EQ(dump(db(), lines), before);
    s->prompter.queueAnswer(Prompter::Answer::Yes);
    EXPECT_GT(save(), 0);
    EXPECT_EQ(last(), QStringLiteral("批量修改完毕！"));
    // Only the waste rate moved, and only in the two BOMs selected.
    EXPECT_EQ(count(QStringLiteral("select count(*) from ProductStructures where cpscode='FR100' "
                                   "and iwasterate=5 and ipid in (?,?)"),
                    {kBk200, kBk200Order}),
              2);
    db().exec(QStringLiteral("update ProductStructures set iwasterate=0 where cpscode='FR100'"));
    EXPECT_EQ(dump(db(), lines), before);

    // The cost rule: a new quantity with no price carries each line's own price over; a
    // price alone is worked out over each line's own quantity.
    db().exec(QStringLiteral("update ProductStructures set fbzdj=10 where cpscode='WH100'"));
    ASSERT_TRUE(editor->InitBatch(1, QStringLiteral("'%1','%2'").arg(kBk200, kBk200Order),
                                  QStringLiteral("WH100")));
    enter(QStringLiteral("ipsquantity"), QStringLiteral("3"));
    enter(QStringLiteral("tdqtyd"), QStringLiteral("2"));
    EXPECT_GT(save(), 0);
    EXPECT_EQ(cell(QStringLiteral("select fbzwlcb from ProductStructures where cpscode='WH100' "
                                  "and ipid=?"),
                   {kBk200})
                  .toDouble(),
              15.0);
    ASSERT_TRUE(editor->InitBatch(1, QStringLiteral("'%1'").arg(kBk200), QStringLiteral("BR100")));
    enter(QStringLiteral("fbzdj"), QStringLiteral("4"));
    enter(QStringLiteral("cdefine22"), QStringLiteral("批注"));
    EXPECT_GT(save(), 0);
    const db::Rows br = db().query(QStringLiteral("select ipsquantity, fbzdj, fbzwlcb, cdefine22 "
                                                  "from ProductStructures where cpscode='BR100' "
                                                  "and ipid=?"),
                                   {kBk200});
    EXPECT_EQ(br.value(0, "ipsquantity").toDouble(), 2.0);
    EXPECT_EQ(br.value(0, "fbzwlcb").toDouble(), 8.0);
    EXPECT_EQ(br.text(0, "cdefine22"), QStringLiteral("批注"));
}

TEST_P(BatchTest, ReplaceWritesEveryColumnAndKeepsOtherSubstitutesUnlessCleared) {
    db().exec(QStringLiteral("insert into ProstruOpt(AutoID, cInvCode, Sequence) select autoid, "
                             "'TY100', 2 from ProductStructures where ipid=? and cpscode='TU100'"),
              {kFr100});
    db().exec(QStringLiteral("update ProductStructures set fbzdj=3, fbzwlcb=7.5 where "
                             "cpscode='TU100'"));
    ASSERT_TRUE(editor->InitBatch(2, QStringLiteral("'%1','%2'").arg(kFr100, kFk100),
                                  QStringLiteral("TU100")));
    enter(QStringLiteral("cpscode"), QStringLiteral("TU101")); // roll unit RL, 100 m a roll
    enter(QStringLiteral("multiplier"), QStringLiteral("2"));
    const auto preview = editor->Preview();
    ASSERT_TRUE(preview);
    const auto result = editor->Save();
    ASSERT_TRUE(result);
    EXPECT_EQ(last(), QStringLiteral("批量替换完毕！"));
    EXPECT_EQ(result->changed, QStringList({kFr100, kFk100}));
    const db::Rows lines = db().query(QStringLiteral("select * from ProductStructures where "
                                                     "cpscode='TU101' order by autoid"));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines.value(0, "ipsquantity").toDouble(), 5.0); // 2.5 doubled
    EXPECT_EQ(lines.value(1, "ipsquantity").toDouble(), 1.6); // 0.8 doubled
    EXPECT_TRUE(lines.value(0, "fbzdj").isNull());            // no price: both costs cleared
    EXPECT_TRUE(lines.value(0, "fbzwlcb").isNull());
    EXPECT_EQ(lines.text(0, "ccaacomunitcode"), QStringLiteral("RL"));
    EXPECT_EQ(lines.value(0, "unitqty").toDouble(), 0.05);
    EXPECT_EQ(lines.text(0, "cwhcode"), QStringLiteral("02"));
    EXPECT_TRUE(lines.value(0, "cprocedurename").toString() == QStringLiteral("焊接"));
    // The substitute naming the new item went; the other stayed.
    EXPECT_EQ(dump(db(), QStringLiteral("select o.cInvCode from ProstruOpt o join "
                                        "ProductStructures l on l.autoid=o.AutoID where "
                                        "l.cpscode='TU101'")),
              QStringList{QStringLiteral("TY100")});

    // The preview said exactly this, line by line.
    ASSERT_EQ(preview->changes.size(), 2u);
    for (const batch::BatchChange& change : preview->changes) {
        const db::Rows now = db().query(QStringLiteral("select * from ProductStructures where "
                                                       "autoid=?"),
                                        {preview->beforeRow(change).value(0)});
        for (const QString& column : preview->shownColumns())
            EXPECT_TRUE(
                entry::VoucherHelpers::SameValue(
                    now.value(0, column), change.after.value(preview->lines.columnIndex(column))) ||
                (now.value(0, column).isNull() &&
                 change.after.value(preview->lines.columnIndex(column)).isNull()))
                << column.toStdString();
        EXPECT_DOUBLE_EQ(change.costAfter,
                         cell(QStringLiteral("select SUM(COALESCE(fbzwlcb,0)) from "
                                             "ProductStructures where ipid=?"),
                              {change.headerId})
                             .toDouble());
    }
    EXPECT_DOUBLE_EQ(preview->changes[0].costBefore, 7.5);

    // Cleared on request: every substitute of the replaced line goes.
    ASSERT_TRUE(editor->InitBatch(2, QStringLiteral("'%1'").arg(kFr100), QStringLiteral("TU101")));
    enter(QStringLiteral("cpscode"), QStringLiteral("TU100"));
    enter(QStringLiteral("clearsubstitutes"), QStringLiteral("是"));
    enter(QStringLiteral("fbzdj"), QStringLiteral("2"));
    EXPECT_GT(save(), 0);
    EXPECT_EQ(count(QStringLiteral("select count(*) from ProstruOpt o join ProductStructures l on "
                                   "l.autoid=o.AutoID where l.ipid=?"),
                    {kFr100}),
              0);
    EXPECT_EQ(cell(QStringLiteral("select fbzwlcb from ProductStructures where ipid=? and "
                                  "cpscode='TU100'"),
                   {kFr100})
                  .toDouble(),
              5.0 / 1 * 2 * 1);
}

TEST_P(BatchTest, FailureOrCancelLeavesNothingAndUndoRestoresExactlyUnlessChangedSince) {
    const QStringList original = state(true);
    const QString boms = QStringLiteral("'%1','%2','%3'").arg(kFr100, kWh100, kBk200);
    auto prepareAdd = [&] {
        ASSERT_TRUE(editor->InitBatch(0, boms, {}));
        enter(QStringLiteral("cpscode"), QStringLiteral("BT100"));
        enter(QStringLiteral("ipsquantity"), QStringLiteral("2"));
        enter(QStringLiteral("fbzdj"), QStringLiteral("1.25"));
    };
    // A history write that fails after the lines were written.
    if (db().isPostgres()) {
        db().exec(QStringLiteral("CREATE FUNCTION no_history() RETURNS trigger AS $$ BEGIN RAISE "
                                 "EXCEPTION 'history refused'; END; $$ LANGUAGE plpgsql"));
        db().exec(QStringLiteral("CREATE TRIGGER no_history BEFORE INSERT ON sys_bom_history FOR "
                                 "EACH ROW EXECUTE FUNCTION no_history()"));
    } else {
        db().exec(QStringLiteral("CREATE TRIGGER no_history BEFORE INSERT ON sys_bom_history "
                                 "BEGIN SELECT RAISE(ABORT, 'history refused'); END"));
    }
    prepareAdd();
    EXPECT_FALSE(editor->Save());
    EXPECT_TRUE(last().startsWith(QStringLiteral("批量处理失败，未做任何修改：")));
    EXPECT_EQ(state(true), original);
    EXPECT_EQ(count(QStringLiteral("select count(*) from sys_bom_run")), 0);
    db().exec(QStringLiteral("DROP TRIGGER no_history") +
              (db().isPostgres() ? QStringLiteral(" ON sys_bom_history") : QString()));
    // Cancelled from the progress callback.
    prepareAdd();
    const auto cancelled = editor->Save([](int, int) { return false; });
    ASSERT_TRUE(cancelled);
    EXPECT_TRUE(cancelled->cancelled);
    EXPECT_EQ(state(true), original);

    // Two runs undone newest first: each puts back exactly what was there before it.
    prepareAdd();
    const qlonglong added = save();
    ASSERT_GT(added, 0);
    const QStringList afterAdd = state(false);
    ASSERT_TRUE(editor->InitBatch(2, boms, QStringLiteral("BT100")));
    enter(QStringLiteral("cpscode"), QStringLiteral("TH100"));
    enter(QStringLiteral("cwhcode"), QStringLiteral("02"));
    const qlonglong replaced = save();
    ASSERT_GT(replaced, 0);
    bomservice::BomRuns runs(s->session());
    EXPECT_TRUE(runs.Undo(replaced, kTitle));
    EXPECT_EQ(state(false), afterAdd);
    EXPECT_FALSE(runs.Undo(replaced, kTitle));
    EXPECT_EQ(last(), QStringLiteral("批量处理%1已经撤销过了。").arg(replaced));
    EXPECT_TRUE(runs.Undo(added, kTitle));
    EXPECT_EQ(state(false), state(false, original));
    EXPECT_NE(state(true), original); // the versions moved on
    const auto history = bomservice::BomHistory(db()).read(kWh100);
    ASSERT_GE(history.size(), 4u);
    EXPECT_EQ(history.front().change.kind, QStringLiteral("run-undo"));
    EXPECT_EQ(history.front().run, added);
    EXPECT_TRUE(history.front().change.newValue.isEmpty()); // the added line is gone again
    EXPECT_EQ(runs.List().front().state, QStringLiteral("undone"));

    // Someone changes one of the BOMs after a run: nothing is undone, and that BOM is named.
    prepareAdd();
    const qlonglong third = save();
    ASSERT_GT(third, 0);
    db().exec(QStringLiteral("update ProductStructure set cmemo='改' where iautoid=?"), {kWh100});
    const QStringList changed = state(true);
    EXPECT_FALSE(runs.Undo(third, kTitle));
    EXPECT_EQ(runs.refusedBoms(), QStringList{QStringLiteral("WH100 ") + kWh100});
    EXPECT_TRUE(last().contains(kWh100));
    EXPECT_EQ(state(true), changed);
}

BOM_INSTANTIATE_BACKENDS(BatchTest);
