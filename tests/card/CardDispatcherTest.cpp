#include "bomservice/BomHistory.h"
#include "card/CardDocument.h"
#include "card/CardPrintSettings.h"
#include "card/CardPrinter.h"
#include "card/CardTemplates.h"
#include "card/HeadlessCardForm.h"
#include "card/ListOrderNavigator.h"
#include "card/clsVoucher.h"
#include "db/Transaction.h"
#include "suite/PublicService.h"
#include "suite/RightsStore.h"
#include "support/TestAccount.h"

#include <QBuffer>

using namespace bom;
using card::clsVoucher;
using Answer = suite::Prompter::Answer;

namespace {

const QString kCityBike = QStringLiteral("{BDAD2A5E-EE29-5A09-AADB-050369217BC0}"); // approved
const QString kMountainBike = QStringLiteral("{5C9F1F2A-2360-54E5-BEFF-918716664B59}");
const QString kFrame = QStringLiteral("{68A4B30F-4353-573A-8925-97479D304B80}");     // shared
const QString kBlueShirt = QStringLiteral("{DC9EEED6-F34C-5F89-8BAA-869209594B5F}"); // stopped

} // namespace

class CardDispatcherTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        auto db = account->createDemo();
        suite::PublicService::setFunctionLockShared(*db, true); // a second session in one test
        session = std::make_unique<test::TestSession>(account->url(), QStringLiteral("demo"));
        document = std::make_unique<card::CardDocument>(s());
        ASSERT_TRUE(document->applyTemplate(QStringLiteral("PP30"), 1));
        navigator = std::make_unique<card::ListOrderNavigator>(s());
        voucher = std::make_unique<clsVoucher>(s(), *document, form, *navigator);
    }
    void TearDown() override {
        voucher.reset();
        document.reset();
        session.reset();
        BackendTest::TearDown();
    }
    entry::Session& s() { return session->session(); }
    db::Database& db() { return session->db(); }
    suite::ScriptedPrompter& prompter() { return session->prompter; }
    // Runs a command with every question it asks answered `answer` (else declined).
    bool run(const char* key, std::optional<Answer> answer = std::nullopt) {
        prompter().clear();
        prompter().setFallbackAnswer(answer);
        return voucher->ExecuteCommand(QLatin1String(key));
    }
    QString lastText() {
        return prompter().prompts().empty() ? QString() : prompter().prompts().back().text;
    }
    int count(const QString& sql, const db::Params& params = {}) {
        return db().scalar(sql, params).toInt();
    }
    void fillLine(int row, const char* code, const char* quantity, const char* denominator) {
        document->setBodyText(row, QStringLiteral("cpscode"), QLatin1String(code));
        document->setBodyText(row, QStringLiteral("ipsquantity"), QLatin1String(quantity));
        document->setBodyText(row, QStringLiteral("tdqtyd"), QLatin1String(denominator));
        document->setBodyText(row, QStringLiteral("replaceflag"), QStringLiteral("否"));
        document->setBodyText(row, QStringLiteral("wiptype"), QStringLiteral("正常领料"));
    }
    void restrict(const QString& kind, const QStringList& codes) {
        db::Transaction tx(db());
        suite::RightsStore rights(db());
        rights.setScope(QStringLiteral("demo"), kind, suite::RightsStore::Scope::List);
        rights.grant(QStringLiteral("demo"), kind, codes);
        tx.commit();
    }

    std::unique_ptr<test::TestSession> session;
    std::unique_ptr<card::CardDocument> document;
    card::HeadlessCardForm form;
    std::unique_ptr<card::ListOrderNavigator> navigator;
    std::unique_ptr<clsVoucher> voucher;
};

TEST_P(CardDispatcherTest, AddModifyCopySaveAndCancelMoveTheCardBetweenBrowseAndEdit) {
    ASSERT_TRUE(voucher->LoadCard(kMountainBike));
    EXPECT_FALSE(form.toolbar.value("cancel")); // nothing to cancel at start
    EXPECT_TRUE(form.toolbar.value("modify") && form.toolbar.value("copy"));
    ASSERT_FALSE(form.tree.empty());
    EXPECT_EQ(clsVoucher::treeTag(form.tree.front()), QStringLiteral("r"));

    // Add, then cancel back to the card shown before.
    ASSERT_TRUE(run("ADD"));
    EXPECT_EQ(document->VoucherStatus(), 1);
    EXPECT_EQ(voucher->state.iVoucherState, 0);
    EXPECT_EQ(document->headerText(QStringLiteral("bexpand")), QStringLiteral("是"));
    EXPECT_EQ(document->headerText(QStringLiteral("iautoid")), QString());
    EXPECT_TRUE(form.toolbar.value("save") && !form.toolbar.value("add"));
    EXPECT_FALSE(form.toolbar.value("tonext"));
    ASSERT_TRUE(run("CANCEL", Answer::Yes));
    EXPECT_EQ(lastText(), QStringLiteral("确实要放弃保存该张单据吗？"));
    EXPECT_EQ(voucher->state.sbomid, kMountainBike);
    EXPECT_EQ(document->VoucherStatus(), 0);

    // A copy is a new card whose lines are added and remember their source lines.
    ASSERT_TRUE(run("COPY"));
    EXPECT_EQ(document->headerText(QStringLiteral("iautoid")), QString());
    EXPECT_EQ(document->BodyRows(), 5);
    const auto copied = document->getVoucherData().lines;
    EXPECT_EQ(copied.editprop(0), QStringLiteral("A"));
    EXPECT_FALSE(copied.oldautoid(0).toString().isEmpty());
    EXPECT_FALSE(run("CANCEL", Answer::No)); // declined: still in edit
    EXPECT_EQ(document->VoucherStatus(), 1);
    ASSERT_TRUE(run("CANCEL", Answer::Yes));

    // Modify: change a line, delete one, add one; the save writes exactly that.
    ASSERT_TRUE(run("MODIFY"));
    EXPECT_EQ(voucher->state.iVoucherState, 1);
    document->setBodyText(0, QStringLiteral("ipsquantity"), QStringLiteral("3"));
    EXPECT_EQ(document->getVoucherData().lines.editprop(0), QStringLiteral("M"));
    document->setCurrentRow(1);
    const QString removed = document->bodyText(1, QStringLiteral("cpscode"));
    ASSERT_TRUE(run("DELROW", Answer::Yes));
    ASSERT_TRUE(run("ADDROW"));
    fillLine(document->BodyRows() - 1, "TY100", "2", "1");
    ASSERT_TRUE(run("SAVE")) << prompter().texts().join('|').toStdString();
    EXPECT_EQ(document->VoucherStatus(), 0);
    EXPECT_EQ(voucher->state.iVoucherState, 0);
    EXPECT_TRUE(voucher->state.lastChangeLog.contains(QStringLiteral("增加子件 TY100")));
    EXPECT_TRUE(voucher->state.lastChangeLog.contains(QStringLiteral("删除子件 ") + removed));
    EXPECT_TRUE(voucher->state.lastChangeLog.contains(QStringLiteral("基本用量分子")));
    EXPECT_EQ(form.selectedTemplates.back(), 1);
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProductStructures WHERE ipid=?"),
                    {kMountainBike}),
              5);
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProductStructures WHERE ipid=? AND "
                                   "cpscode=?"),
                    {kMountainBike, removed}),
              0);
    EXPECT_EQ(document->getVoucherData().lines.editprop(0), QString()); // reloaded
    ASSERT_TRUE(run("LOG"));
    EXPECT_EQ(form.historyOf, kMountainBike);
    EXPECT_FALSE(form.history.empty()); // recorded once, by the save

    // A new card saved, then erased.
    ASSERT_TRUE(run("ADD"));
    document->setHeaderText(QStringLiteral("cpspcode"), QStringLiteral("SD100"));
    ASSERT_TRUE(run("ADDROW"));
    fillLine(0, "RM100", "2", "1");
    const int trees = form.treesShown;
    ASSERT_TRUE(run("SAVE")) << prompter().texts().join('|').toStdString();
    const QString created = voucher->state.sbomid;
    EXPECT_EQ(created, document->headerText(QStringLiteral("iautoid")));
    EXPECT_GT(form.treesShown, trees);
    ASSERT_FALSE(run("ERASE", Answer::No));
    ASSERT_TRUE(run("ERASE", Answer::Yes));
    EXPECT_EQ(lastText(), QStringLiteral("确信要删除该单据吗？"));
    EXPECT_EQ(
        count(QStringLiteral("SELECT count(*) FROM ProductStructure WHERE iautoid=?"), {created}),
        0);
    EXPECT_TRUE(voucher->state.sbomid.isEmpty());
    EXPECT_TRUE(form.tree.empty());
}

TEST_P(CardDispatcherTest, RefusalsLeaveTheCardAsItWas) {
    // Approved and stopped BOMs are not modified.
    ASSERT_TRUE(voucher->LoadCard(kCityBike));
    EXPECT_FALSE(form.toolbar.value("modify") || form.toolbar.value("erase"));
    EXPECT_FALSE(run("MODIFY"));
    EXPECT_EQ(lastText(), QStringLiteral("审核过的产品不可修改！"));
    ASSERT_TRUE(voucher->LoadCard(kBlueShirt));
    EXPECT_FALSE(run("MODIFY"));
    EXPECT_EQ(lastText(), QStringLiteral("停用的产品不可修改！"));
    EXPECT_EQ(document->VoucherStatus(), 0);

    // A shared parent asks first; an item kept in an auxiliary unit needs one on its line.
    ASSERT_TRUE(voucher->LoadCard(kFrame));
    EXPECT_FALSE(run("MODIFY", Answer::No));
    EXPECT_EQ(lastText(), QStringLiteral("该母件是公用件，是否继续？"));
    EXPECT_EQ(document->VoucherStatus(), 0);
    ASSERT_TRUE(run("MODIFY", Answer::Yes));
    for (int row = 0; row < document->BodyRows(); ++row)
        if (document->bodyText(row, QStringLiteral("cpscode")) == QLatin1String("TU100"))
            document->setBodyText(row, QStringLiteral("ccaacomunitcode"), QString());
    EXPECT_FALSE(run("SAVE"));
    EXPECT_EQ(lastText(), QStringLiteral("存货[TU100]库存辅助计量单位不能为空！"));
    EXPECT_EQ(prompter().prompts().back().style, 16);
    EXPECT_EQ(document->VoucherStatus(), 1);
    ASSERT_TRUE(run("CANCEL", Answer::Yes));

    // Only blank lines: they go, and the card stays in edit.
    ASSERT_TRUE(run("ADD"));
    document->setHeaderText(QStringLiteral("cpspcode"), QStringLiteral("SD100"));
    ASSERT_TRUE(run("ADDROW"));
    ASSERT_TRUE(run("ADDROW"));
    EXPECT_FALSE(run("SAVE"));
    EXPECT_EQ(lastText(), QStringLiteral("表体记录为0！"));
    EXPECT_EQ(document->BodyRows(), 0);
    EXPECT_EQ(document->VoucherStatus(), 1);
    EXPECT_TRUE(form.toolbar.value("save"));

    // The summarised view blocks all but print, preview, output, help and exit.
    ASSERT_TRUE(run("CANCEL", Answer::Yes));
    document->setAggregateStatus(true);
    for (const char* key : {"ADD", "MODIFY", "COPY", "SAVE", "ERASE", "TONEXT", "LOG", "PAINT"}) {
        EXPECT_FALSE(run(key)) << key;
        EXPECT_EQ(lastText(), QStringLiteral("进行业务操作前请先取消汇总!")) << key;
        EXPECT_EQ(prompter().prompts().back().title, QStringLiteral("物料清单"));
    }
    for (const char* key : {"PRINT", "PREVIEW", "OUTPUT", "HELP", "EXIT"})
        EXPECT_TRUE(run(key)) << key << lastText().toStdString();
    EXPECT_EQ(form.prints.size(), 3u);
    EXPECT_EQ(form.helps + form.closes, 2);
    document->setAggregateStatus(false);

    // Printing needs the print right and a stored card.
    restrict(QStringLiteral("function"),
             {QStringLiteral("ProductStructure"), QStringLiteral("AS001")});
    EXPECT_FALSE(run("PREVIEW"));
    EXPECT_EQ(lastText(), QStringLiteral("没有打印或预览权限"));
    restrict(QStringLiteral("function"), {QLatin1String(clsVoucher::kPrintRight)});
    clsVoucher empty(s(), *document, form, *navigator);
    document->AddNew();
    prompter().clear();
    EXPECT_FALSE(empty.ExecuteCommand(QStringLiteral("PRINT")));
    EXPECT_FALSE(empty.ExecuteCommand(QStringLiteral("preview")));
    EXPECT_EQ(prompter().texts(), (QStringList{QStringLiteral("没有数据，不能打印！"),
                                               QStringLiteral("没有数据，不能预览！")}));

    // Another session holding the edit task refuses Add with the holder named.
    s().gLogin->TaskExec(QStringLiteral("AS001"), 0);
    test::TestSession other(account->url(), QStringLiteral("wang"));
    ASSERT_TRUE(other.session().gLogin->TaskExec(QStringLiteral("AS001"), -1));
    EXPECT_FALSE(run("ADD"));
    EXPECT_TRUE(lastText().contains(QStringLiteral("AS001")));
    EXPECT_EQ(document->VoucherStatus(), 0);
}

TEST_P(CardDispatcherTest, SummarisedViewAddsQuantitiesPerComponent) {
    ASSERT_TRUE(run("ADD"));
    document->setHeaderText(QStringLiteral("cpspcode"), QStringLiteral("SD100"));
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(run("ADDROW"));
    fillLine(0, "RM100", "1", "2");
    fillLine(1, "SP100", "4", "1");
    fillLine(2, "RM100", "3", "1");
    document->setBodyText(0, QStringLiteral("unitqty"), QStringLiteral("1.5"));
    document->setBodyText(2, QStringLiteral("unitqty"), QStringLiteral("2"));
    document->setAggregateStatus(true);
    ASSERT_EQ(document->shownRows(), 2);
    EXPECT_EQ(document->shownText(0, QStringLiteral("cpscode")), QStringLiteral("RM100"));
    EXPECT_EQ(document->shownText(0, QStringLiteral("ipsquantity")), QStringLiteral("3.5000"));
    EXPECT_EQ(document->shownText(0, QStringLiteral("tdqtyd")), QStringLiteral("1.0000"));
    EXPECT_EQ(document->shownText(0, QStringLiteral("unitqty")), QStringLiteral("3.50"));
    EXPECT_EQ(document->shownText(1, QStringLiteral("ipsquantity")), QStringLiteral("4.0000"));
    document->setAggregateStatus(false);
    EXPECT_EQ(document->shownRows(), 3);
}

TEST_P(CardDispatcherTest, CloseGuardTreeAndMovesFollowTheEditAndTheListOrder) {
    ASSERT_TRUE(voucher->LoadCard(kMountainBike));
    ASSERT_TRUE(run("MODIFY"));
    prompter().clear();
    prompter().queueAnswer(Answer::Cancel);
    EXPECT_FALSE(voucher->QueryUnload());
    EXPECT_EQ(prompter().prompts().back().style, 35);
    EXPECT_EQ(prompter().prompts().back().title, QStringLiteral("BOM维护"));
    EXPECT_EQ(document->VoucherStatus(), 1);
    prompter().queueAnswer(Answer::No);
    EXPECT_TRUE(voucher->QueryUnload());

    // Yes saves; a save that fails keeps the form open.
    ASSERT_TRUE(run("MODIFY"));
    document->setBodyText(0, QStringLiteral("ipsquantity"), QString());
    prompter().queueAnswer(Answer::Yes);
    EXPECT_FALSE(voucher->QueryUnload());
    document->setBodyText(0, QStringLiteral("ipsquantity"), QStringLiteral("7"));
    prompter().queueAnswer(Answer::Yes);
    EXPECT_TRUE(voucher->QueryUnload());
    EXPECT_EQ(db().scalar(QStringLiteral("SELECT ipsquantity FROM ProductStructures WHERE ipid=? "
                                         "ORDER BY autoid LIMIT 1"),
                          {kMountainBike})
                  .toDouble(),
              7.0);

    // The root of the tree does nothing, even in edit; another node opens its BOM.
    ASSERT_TRUE(run("MODIFY"));
    prompter().clear();
    voucher->TreeClick(QStringLiteral("r"));
    EXPECT_TRUE(prompter().prompts().empty());
    EXPECT_EQ(document->VoucherStatus(), 1);
    ASSERT_TRUE(run("CANCEL", Answer::Yes));
    ASSERT_GT(form.tree.size(), 1u);
    const auto child = form.tree.at(1);
    voucher->TreeClick(clsVoucher::treeTag(child));
    EXPECT_EQ(voucher->state.sbomid, child.iautoid);

    // Moves in the list's order: parent code, free items 1 and 2, then the key.
    const db::Rows order =
        db().query(QStringLiteral("SELECT iautoid FROM ProductStructure ORDER BY cpspcode, "
                                  "COALESCE(cfree1,''), COALESCE(cfree2,''), iautoid"));
    ASSERT_TRUE(run("TOFIRST"));
    EXPECT_EQ(voucher->state.sbomid, order.text(0, "iautoid"));
    ASSERT_TRUE(run("TONEXT"));
    EXPECT_EQ(voucher->state.sbomid, order.text(1, "iautoid"));
    ASSERT_TRUE(run("TONEXT"));
    ASSERT_TRUE(run("TOPREVIOUS"));
    EXPECT_EQ(voucher->state.sbomid, order.text(1, "iautoid"));
    ASSERT_TRUE(run("TOLAST"));
    EXPECT_EQ(voucher->state.sbomid, order.text(order.size() - 1, "iautoid"));
    EXPECT_FALSE(run("TONEXT")); // nothing after the last
    EXPECT_EQ(voucher->state.sbomid, order.text(order.size() - 1, "iautoid"));
}

TEST_P(CardDispatcherTest, FullLevelCopyOpensTheNewTopBom) {
    ASSERT_TRUE(voucher->LoadCard(kMountainBike));
    const int boms = count(QStringLiteral("SELECT count(*) FROM ProductStructure"));
    EXPECT_FALSE(run("ALLCOPY", Answer::No));
    EXPECT_EQ(lastText(), QStringLiteral("全阶复制会自动生成新的订单BOM，确实要进行全阶复制吗？"
                                         "如选择是，请生成后及时修改版本号及其他信息！"));
    EXPECT_EQ(prompter().prompts().back().style, 36 + 256);
    form.soCodeAnswer = std::nullopt; // the code was not given
    EXPECT_FALSE(run("ALLCOPY", Answer::Yes));
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProductStructure")), boms);

    form.soCodeAnswer = QStringLiteral("V2");
    ASSERT_TRUE(run("ALLCOPY", Answer::Yes)) << prompter().texts().join('|').toStdString();
    EXPECT_EQ(form.soCodesSuggested.size(), 2);
    const QString copy = voucher->state.sbomid;
    EXPECT_NE(copy, kMountainBike);
    EXPECT_EQ(document->headerText(QStringLiteral("iautoid")), copy);
    EXPECT_EQ(document->VoucherStatus(), 0);
    EXPECT_GT(count(QStringLiteral("SELECT count(*) FROM ProductStructure")), boms + 1);
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProductStructure WHERE iautoid=? AND "
                                   "cpspcode='BK200'"),
                    {copy}),
              1);
    EXPECT_EQ(form.tree.front().iautoid, copy);
}

TEST_P(CardDispatcherTest, TemplatesFollowTheOperatorsRightsAndPrintSettingsStay) {
    db().exec(QStringLiteral("INSERT INTO VoucherTemplates(VT_id, VT_CardNumber, VT_name, "
                             "VT_TemplateMode) VALUES (5, 'PP30', '简易显示', 0)"));
    card::CardTemplates templates(s());
    const auto all = templates.fill(QStringLiteral("PP30"), card::CardTemplates::kDisplay, 5);
    ASSERT_EQ(all.entries.size(), 2u);
    EXPECT_EQ(all.selectedId().value_or(-1), 5);
    EXPECT_EQ(all.label, QStringLiteral("显示模版："));
    EXPECT_EQ(all.toolTip, QStringLiteral("简易显示"));
    EXPECT_EQ(all.toolbarText(1), QStringLiteral("简易显示(5)"));
    EXPECT_EQ(card::CardTemplates::idOfToolbarText(all.toolbarText(1)).value_or(-1), 5);
    EXPECT_EQ(templates.fill(QStringLiteral("PP30"), card::CardTemplates::kDisplay, 0)
                  .selectedId()
                  .value_or(-1),
              1); // the card's default
    const auto print = templates.fill(QStringLiteral("PP30"), card::CardTemplates::kPrint, 0);
    EXPECT_EQ(print.label, QStringLiteral("打印模版："));
    EXPECT_EQ(print.selectedId().value_or(-1), 2);

    // A list of templates: one not among them selects the first permitted. BOM rights stay.
    restrict(QStringLiteral("template"), {QStringLiteral("5")});
    const auto listed = templates.fill(QStringLiteral("PP30"), card::CardTemplates::kDisplay, 1);
    ASSERT_EQ(listed.entries.size(), 1u);
    EXPECT_EQ(listed.selectedId().value_or(-1), 5);
    EXPECT_FALSE(suite::RightsStore(db())
                     .effectiveRowScopes(QStringLiteral("demo"))
                     .contains(QStringLiteral("template")));
    EXPECT_TRUE(voucher->LoadCard(kCityBike));

    {
        db::Transaction tx(db());
        suite::RightsStore(db()).setScope(QStringLiteral("demo"), QStringLiteral("template"),
                                          suite::RightsStore::Scope::None);
        tx.commit();
    }
    prompter().clear();
    const auto none = templates.fill(QStringLiteral("PP30"), card::CardTemplates::kDisplay, 1);
    EXPECT_TRUE(none.entries.empty());
    EXPECT_EQ(none.selected, -1);
    ASSERT_EQ(prompter().prompts().size(), 1u);
    EXPECT_EQ(prompter().prompts().front().text,
              QStringLiteral("没有任何有权限的模板或对当前模板无修改权限！"));
    EXPECT_EQ(prompter().prompts().front().style, 64);

    // The card by its print template, and the operator's print settings.
    const auto layout = card::CardPrinter(s()).layoutOf(2, 1);
    const QString html =
        card::CardPrinter::html(QStringLiteral("物料清单"), document->getVoucherData(), layout);
    EXPECT_TRUE(html.contains(QStringLiteral("母件编码")) &&
                html.contains(QStringLiteral("FR100")));
    EXPECT_FALSE(html.contains(kCityBike)); // keys are never printed
    // A column empty on every line is left off the page, not out of the export.
    ASSERT_TRUE(layout.bodyField(QStringLiteral("cinsertfirst")));
    const QString emptyCaption = layout.bodyField(QStringLiteral("cinsertfirst"))->caption;
    EXPECT_FALSE(html.contains(emptyCaption));
    QBuffer csv;
    csv.open(QIODevice::WriteOnly);
    ASSERT_TRUE(card::CardPrinter::writeCsv(csv, document->getVoucherData(), layout, nullptr));
    EXPECT_TRUE(csv.data().startsWith("\xEF\xBB\xBF"));
    EXPECT_TRUE(QString::fromUtf8(csv.data()).contains(emptyCaption));
    card::CardPrintSettings settings(s());
    card::PrintSettings mine;
    mine.printTemplateId = 2;
    mine.landscape = true;
    mine.printer = QStringLiteral("车间打印机");
    ASSERT_TRUE(settings.save(mine));
    ASSERT_TRUE(settings.save(mine)); // saved again over itself
    EXPECT_EQ(settings.load(), mine);
    db().exec(QStringLiteral("DROP TABLE sys_user_setting"));
    prompter().clear();
    EXPECT_FALSE(settings.save(mine));
    EXPECT_EQ(prompter().texts(), QStringList{QStringLiteral("打印设置保存失败！")});
    EXPECT_EQ(prompter().prompts().front().style, 16);
}

TEST_P(CardDispatcherTest, ItemPictureAndMasterDataOfTheCurrentLine) {
    ASSERT_TRUE(voucher->LoadCard(kFrame));
    document->setCurrentRow(0);
    EXPECT_FALSE(run("PICTURE"));
    EXPECT_EQ(lastText(), QStringLiteral("该存货没有图片"));
    db().exec(QStringLiteral("UPDATE Inventory SET InvPicture=? WHERE cInvCode='TU100'"),
              {QByteArray("\x89PNG-tube")});
    ASSERT_TRUE(run("PICTURE"));
    EXPECT_EQ(form.pictureItem, QStringLiteral("TU100"));
    EXPECT_EQ(form.picture, QByteArray("\x89PNG-tube"));
    ASSERT_TRUE(run("CINVCODE"));
    ASSERT_FALSE(form.inventoryFields.empty());
    EXPECT_EQ(form.inventoryFields.front().second, QStringLiteral("TU100"));
    QString opened;
    voucher->openOptionsCard = [&](const QString& line, QString&) {
        opened = line;
        return true;
    };
    ASSERT_TRUE(run("TLBOPT")); // the tube's line allows substitutes
    EXPECT_EQ(opened, document->bodyText(0, QStringLiteral("autoid")));
    document->setCurrentRow(-1);
    EXPECT_FALSE(run("TLBOPT"));
    EXPECT_EQ(lastText(), QStringLiteral("请选择一条子件。"));
    document->setCurrentRow(1);
    EXPECT_FALSE(run("TLBOPT"));
    EXPECT_EQ(lastText(), QStringLiteral("子件[PT100]的替代标示为否，不能编辑替代料。"));
}

BOM_INSTANTIATE_BACKENDS(CardDispatcherTest);
