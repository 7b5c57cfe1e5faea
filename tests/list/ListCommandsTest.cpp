#include "list/BomList.h"
#include "list/BomListCommands.h"
#include "suite/ColumnSettings.h"
#include "suite/PublicService.h"
#include "support/TestAccount.h"

#include <QRegularExpression>
#include <QSqlRecord>

using namespace bom;
using list::ListRow;

namespace {

// The list as a window would hold it: the rows of the two queries, with selection marks set
// by the test, and a record of what was handed over.
class ListedRows : public list::ListView, public list::ListHandover {
public:
    explicit ListedRows(entry::Session& session) : session_(session) { reload(); }

    std::vector<ListRow> parents;
    std::vector<ListRow> lines;
    int current = 0;
    int currentLineIndex = -1; // the component list is active when >= 0
    QStringList handedOver;

    void select(const QString& parent, const QString& free1 = {}) {
        for (ListRow& row : parents)
            if (row.text("cpspcode") == parent && row.text("cfree1") == free1)
                row.selected = true;
    }
    void moveTo(const QString& parent, const QString& free1 = {}) {
        for (std::size_t i = 0; i < parents.size(); ++i)
            if (parents[i].text("cpspcode") == parent && parents[i].text("cfree1") == free1)
                current = int(i);
        reloadLines();
    }

    std::vector<ListRow> parentRows() const override { return parents; }
    std::optional<ListRow> currentParent() const override {
        if (current < 0 || current >= int(parents.size()))
            return std::nullopt;
        return parents[current];
    }
    bool componentListActive() const override { return currentLineIndex >= 0; }
    std::optional<ListRow> currentLine() const override { return lines.at(currentLineIndex); }
    int lineCount() const override { return int(lines.size()); }
    std::vector<ListRow> selectedLines() const override {
        std::vector<ListRow> out;
        for (const ListRow& l : lines)
            if (l.selected)
                out.push_back(l);
        return out;
    }
    void reload() override {
        parents = query(list::BomList(session_).parentQuery());
        reloadLines();
    }
    void reloadLines() override {
        const auto row = currentParent();
        lines =
            query(list::BomList(session_).componentQuery(row ? row->text("iautoid") : QString()));
    }
    void selectAll(bool selected) override {
        for (ListRow& row : parents)
            row.selected = selected;
    }
    void openCard(CardMode mode, const QString& id) override {
        handedOver << QStringLiteral("card %1 %2").arg(int(mode)).arg(id);
    }
    void openBatch(const QString& op, const std::vector<ListRow>& p,
                   const std::vector<ListRow>& l) override {
        handedOver << QStringLiteral("batch %1 %2 %3").arg(op).arg(p.size()).arg(l.size());
    }
    void openColourSize(const QString& mode, const ListRow&) override { handedOver << mode; }
    void openBatchRuns() override { handedOver << QStringLiteral("runs"); }
    void openStructure(const QString& id) override {
        handedOver << QStringLiteral("structure ") + id;
    }

private:
    std::vector<ListRow> query(const db::SqlCondition& sql) {
        return list::BomList::listRows(session_.gConn->query(sql.sql, sql.params));
    }
    entry::Session& session_;
};

} // namespace

class ListCommandsTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        auto db = account->createDemo();
        suite::PublicService::setFunctionLockShared(*db, true);
        s = std::make_unique<test::TestSession>(account->url(), QStringLiteral("demo"));
        view = std::make_unique<ListedRows>(s->session());
        commands = std::make_unique<list::BomListCommands>(s->session(), *view, *view);
    }
    void TearDown() override {
        commands.reset();
        view.reset();
        s.reset();
        BackendTest::TearDown();
    }
    int count(const char* sql) { return s->db().scalar(QString::fromUtf8(sql)).toInt(); }
    QString lastText() { return s->prompter.texts().last(); }

    std::unique_ptr<test::TestSession> s;
    std::unique_ptr<ListedRows> view;
    std::unique_ptr<list::BomListCommands> commands;
};

TEST_P(ListCommandsTest, ApproveStopAndEnableCountTheirRows) {
    // Nothing to approve is nothing done, though the count is still shown.
    EXPECT_FALSE(commands->ExecuteCommand(QStringLiteral("auditing")));
    EXPECT_EQ(lastText(), QStringLiteral("本次共审核 '0' 条母件记录！"));

    view->select(QStringLiteral("BK100")); // already approved: left out
    view->select(QStringLiteral("FR100"));
    view->select(QStringLiteral("GT100"), QStringLiteral("RED"));
    EXPECT_TRUE(commands->ExecuteCommand(QStringLiteral("Auditing")));
    EXPECT_EQ(lastText(), QStringLiteral("本次共审核 '2' 条母件记录！"));
    EXPECT_EQ(count("SELECT count(*) FROM ProductStructure WHERE ccheck='演示操作员'"), 3);
    view->selectAll(true);
    EXPECT_EQ(commands->AuditSelected(false), 3);
    EXPECT_EQ(lastText(), QStringLiteral("本次共弃审 '3' 条母件记录！"));
    EXPECT_EQ(count("SELECT count(*) FROM ProductStructure WHERE COALESCE(ccheck,'')<>''"), 0);

    // Default cost BOMs and BOMs used as components are refused row by row.
    view->select(QStringLiteral("FR100")); // both default cost BOMs
    view->select(QStringLiteral("WH100"));
    EXPECT_FALSE(commands->ExecuteCommand(QStringLiteral("StopUse")));
    EXPECT_EQ(lastText(), QStringLiteral("停用 0条记录 ！"));
    s->db().exec(QStringLiteral("UPDATE ProductStructure SET bmrcbbom=0 WHERE cpspcode='FK100'"));
    view->reload();
    view->selectAll(true);
    s->prompter.clear();
    EXPECT_EQ(commands->StopSelected(), 2);
    EXPECT_TRUE(
        s->prompter.texts().contains(QStringLiteral("FK100是其他物料清单的子项，不可以停用")));
    const auto& prompts = s->prompter.prompts();
    EXPECT_EQ(prompts.back().text,
              QStringLiteral("停用 2条记录 ！")); // the order BOM, the stopped shirt
    EXPECT_EQ(prompts.back().title, QStringLiteral("消息提示"));
    EXPECT_EQ(prompts.back().style, 0);
    EXPECT_EQ(prompts.front().title, QStringLiteral("错误"));
    EXPECT_TRUE(prompts.front().text.endsWith(QStringLiteral("物料清单是默认成本BOM，不能停用！")));
    EXPECT_EQ(count("SELECT count(*) FROM ProductStructure WHERE bStopFlag=1"), 2);
    view->selectAll(true);
    EXPECT_EQ(commands->EnableSelected(), 8);
    EXPECT_EQ(lastText(), QStringLiteral("启用 8条记录 ！"));
    EXPECT_EQ(count("SELECT count(*) FROM ProductStructure WHERE bStopFlag=1"), 0);
}

TEST_P(ListCommandsTest, DeletesABomOrALineWithTheirChecksAndLog) {
    view->moveTo(QStringLiteral("BK100"));
    EXPECT_FALSE(commands->ExecuteCommand(QStringLiteral("Delete")));
    EXPECT_EQ(lastText(), QStringLiteral("审核过的产品不可删除！"));
    view->moveTo(QStringLiteral("FR100"));
    EXPECT_FALSE(commands->ExecuteCommand(QStringLiteral("Delete")));
    EXPECT_EQ(s->prompter.prompts().back().title, QStringLiteral("错误"));
    EXPECT_EQ(lastText(), QStringLiteral("该物料清单是默认成本BOM，不能删除！"));

    view->moveTo(QStringLiteral("BK200"));
    view->current = [&] { // the order BOM, not the default one
        for (std::size_t i = 0; i < view->parents.size(); ++i)
            if (!view->parents[i].text("csocode").isEmpty())
                return int(i);
        return -1;
    }();
    s->prompter.queueAnswer(suite::Prompter::Answer::No);
    EXPECT_FALSE(commands->ExecuteCommand(QStringLiteral("Delete")));
    EXPECT_EQ(s->prompter.prompts().back().style, 52);
    EXPECT_EQ(s->prompter.prompts().back().title, QStringLiteral("警告信息"));
    EXPECT_EQ(count("SELECT count(*) FROM ProductStructure"), 8);
    s->prompter.queueAnswer(suite::Prompter::Answer::Yes);
    EXPECT_TRUE(commands->ExecuteCommand(QStringLiteral("Delete")));
    EXPECT_EQ(count("SELECT count(*) FROM ProductStructure"), 7);
    EXPECT_EQ(count("SELECT count(*) FROM ProductStructures WHERE ipid NOT IN (SELECT iautoid FROM "
                    "ProductStructure)"),
              0);
    EXPECT_EQ(count("SELECT count(*) FROM so_sodetails WHERE bomid IS NOT NULL"), 0);
    EXPECT_EQ(count("SELECT count(*) FROM sys_lock WHERE ckey LIKE 'task:%'"), 0); // task ended

    // Lines: the last one stays; another goes with a log of what it was.
    view->moveTo(QStringLiteral("FK100"));
    view->currentLineIndex = 0;
    EXPECT_FALSE(commands->ExecuteCommand(QStringLiteral("Delete")));
    EXPECT_EQ(lastText(), QStringLiteral("一个母件必须有一个子件，不可再删除！"));
    // The log names the list's columns in the operator's order, not sorted.
    QString error;
    ASSERT_TRUE(s->session().gColSet->Save(QStringLiteral("WLQDLBZ"),
                                           {{"cpscode", "子件编码", true, 110, "", 0},
                                            {"iId", "子件ID", true, 60, "", 0},
                                            {"ipsquantity", "基本用量分子", true, 90, "", 0}},
                                           &error))
        << error.toStdString();
    view->moveTo(QStringLiteral("WH100"));
    for (std::size_t i = 0; i < view->lines.size(); ++i)
        if (view->lines[i].text("cpscode") == QStringLiteral("RM100"))
            view->currentLineIndex = int(i);
    s->prompter.queueAnswer(suite::Prompter::Answer::Yes);
    EXPECT_TRUE(commands->ExecuteCommand(QStringLiteral("Delete")));
    EXPECT_EQ(s->prompter.prompts().back().text,
              QStringLiteral("确信删除该子件编码为'RM100'的档案？"));
    EXPECT_EQ(view->lines.size(), 2u);
    EXPECT_EQ(count("SELECT count(*) FROM vouchlog WHERE cOperation='D' AND cCardNum='pp30'"), 1);
    QString logged;
    const db::Rows pieces =
        s->db().query(QStringLiteral("SELECT cData FROM vouchlogs ORDER BY iNo"));
    for (std::size_t i = 0; i < pieces.size(); ++i)
        logged += pieces.text(i, "cData");
    EXPECT_TRUE(logged.startsWith(QStringLiteral("<Deleted autoid=\""))) << logged.toStdString();
    EXPECT_TRUE(logged.endsWith(QStringLiteral("\" />")));
    EXPECT_TRUE(logged.contains(QStringLiteral(" cpscode=\"RM100\" ")));
    QStringList names;
    for (const auto& m : QRegularExpression(QStringLiteral("(\\w+)=\"")).globalMatch(logged))
        names << m.captured(1).toLower();
    // The setting's columns, then the keys the commands need; the first is the log's own.
    EXPECT_EQ(names, QStringList({"autoid", "cpscode", "iid", "ipsquantity", "autoid", "ipid"}));
    EXPECT_EQ(
        count(
            "SELECT count(*) FROM ProductStructuresEx WHERE cPSPCode='WH100' AND cPSCode='RM100'"),
        0);
}

TEST_P(ListCommandsTest, TasksSelectionsAndGatesRefuseBeforeHandingOver) {
    test::TestSession other(account->url(), QStringLiteral("wang"));
    ASSERT_TRUE(other.session().gLogin->TaskExec(QStringLiteral("AS001"), -1));
    EXPECT_FALSE(commands->ExecuteCommand(QStringLiteral("Add")));
    EXPECT_TRUE(lastText().contains(QStringLiteral("王芳")));
    other.session().gLogin->TaskExec(QStringLiteral("AS001"), 0);

    view->current = -1;
    EXPECT_FALSE(commands->ExecuteCommand(QStringLiteral("Modify")));
    EXPECT_EQ(lastText(), QStringLiteral("请选中修改行！"));
    view->moveTo(QStringLiteral("BK100"));
    EXPECT_FALSE(commands->ExecuteCommand(QStringLiteral("modify")));
    EXPECT_EQ(lastText(), QStringLiteral("审核过的产品不可修改！"));
    view->moveTo(QStringLiteral("WH100")); // used by three lines: shared
    s->prompter.queueAnswer(suite::Prompter::Answer::No);
    EXPECT_FALSE(commands->ExecuteCommand(QStringLiteral("Modify")));
    EXPECT_EQ(lastText(), QStringLiteral("该母件是公用件，是否继续？"));
    view->moveTo(QStringLiteral("FR100"));
    s->db().exec(QStringLiteral("DELETE FROM ProductStructure WHERE cpspcode='FR100'"));
    s->prompter.queueAnswer(suite::Prompter::Answer::Yes); // it was a shared BOM
    EXPECT_FALSE(commands->ExecuteCommand(QStringLiteral("Modify")));
    EXPECT_EQ(lastText(), QStringLiteral("当前选中的母件已被删除或停用！"));
    view->moveTo(QStringLiteral("SD100X")); // nothing there: current stays where it was
    EXPECT_TRUE(view->handedOver.isEmpty());
    view->moveTo(QStringLiteral("BK200"));
    EXPECT_TRUE(commands->ExecuteCommand(QStringLiteral("Copy")));
    EXPECT_TRUE(view->handedOver.last().startsWith(QStringLiteral("card 2 {")));
    EXPECT_TRUE(commands->ExecuteCommand(QStringLiteral("Structure")));
    EXPECT_TRUE(view->handedOver.last().startsWith(QStringLiteral("structure {")));

    EXPECT_FALSE(commands->ExecuteCommand(QStringLiteral("batchEdit")));
    EXPECT_EQ(lastText(), QStringLiteral("请在批量操作前选择操作母件！"));
    view->select(QStringLiteral("BK200")); // the standard and the order BOM
    EXPECT_FALSE(commands->ExecuteCommand(QStringLiteral("batchEdit")));
    EXPECT_EQ(lastText(), QStringLiteral("请在批量操作前选择要操作的子件！"));
    EXPECT_TRUE(commands->ExecuteCommand(QStringLiteral("batchAdd")));
    EXPECT_EQ(view->handedOver.last(), QStringLiteral("batch batchadd 2 0"));

    view->moveTo(QStringLiteral("GT100"), QStringLiteral("BLU")); // stopped
    EXPECT_FALSE(commands->ExecuteCommand(QStringLiteral("pCopy")));
    EXPECT_EQ(lastText(), QStringLiteral("当前所选记录为［停用］状态，不可使用批增按钮！"));
    EXPECT_TRUE(commands->ExecuteCommand(QStringLiteral("pDelete")));
    s->db().exec(QStringLiteral("UPDATE userdef SET cItemName=NULL WHERE cItemName='尺码'"));
    EXPECT_FALSE(commands->ExecuteCommand(QStringLiteral("pDelete")));
    EXPECT_EQ(lastText(), QStringLiteral("服装版帐套必须设置颜色和尺码自由项才可以操作！"));

    s->session().gQuanDigits = 3;
    s->session().gRateDigits = 5;
    commands->UpdateDecimalPlaces();
    EXPECT_EQ(
        count("SELECT NumPoint FROM voucheritems WHERE cardnum='pp30' AND fieldname='ipsquantity'"),
        3);
    EXPECT_EQ(count("SELECT NumPoint FROM voucheritems WHERE cardnum='pp31' AND "
                    "fieldname='iprodchangrate'"),
              5);
    EXPECT_EQ(
        count("SELECT NumPoint FROM voucheritems WHERE cardnum='pp31' AND fieldname='sequence'"),
        0);
    EXPECT_EQ(list::BomListCommands::keyForShortcut(Qt::Key_F3, Qt::ControlModifier),
              QStringLiteral("Pos"));
    EXPECT_FALSE(list::BomListCommands::keyForShortcut(Qt::Key_P, Qt::NoModifier));
}

BOM_INSTANTIATE_BACKENDS(ListCommandsTest);
