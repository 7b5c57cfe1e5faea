#include "card/CardEntryCheck.h"
#include "bomservice/BomCardLoader.h"
#include "card/CardDocument.h"
#include "entry/Common.h"
#include "suite/PublicService.h"
#include "support/TestAccount.h"

#include <functional>

using namespace bom;

namespace {

const QString kCityBike = QStringLiteral("{BDAD2A5E-EE29-5A09-AADB-050369217BC0}");
const QString kRedShirt = QStringLiteral("{4CEC3297-B84C-5AAF-B02C-EAE3D62404CD}");
const QString kTitle = QStringLiteral("BOM维护");
const QString kPromptTitle = QStringLiteral("提示");

} // namespace

class CardEntryCheckTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        auto db = account->createDemo();
        suite::PublicService::setFunctionLockShared(*db, true); // wang signs in beside demo
        session = std::make_unique<test::TestSession>(account->url(), QStringLiteral("demo"));
        entry::Common::LoadPrecision(s()); // as the list does: quantities and rates to 4 places
        card = std::make_unique<card::CardDocument>(s());
        ASSERT_TRUE(card->applyTemplate(QStringLiteral("PP30"), 1));
        check = std::make_unique<card::CardEntryCheck>(s(), *card);
    }
    void TearDown() override {
        check.reset();
        card.reset();
        session.reset();
        BackendTest::TearDown();
    }
    entry::Session& s() { return session->session(); }
    suite::ScriptedPrompter& prompter() { return session->prompter; }

    void load(const QString& id) {
        bomservice::BomCardLoader loader(s());
        card->setVoucherData(*loader.LoadBom(*loader.LoadTemplate(QStringLiteral("PP30")), id));
    }
    // A new card of `parent` with one empty line.
    void newCard(const char* parent) {
        card->AddNew();
        card->AddLine();
        if (*parent) {
            ASSERT_TRUE(check->headerEntry(QStringLiteral("cpspcode"), QLatin1String(parent)));
        }
    }
    QString head(const char* field) { return card->headerText(QLatin1String(field)); }
    QString line(int row, const char* field) { return card->bodyText(row, QLatin1String(field)); }
    bool header(const char* field, const QString& value) {
        return check->headerEntry(QLatin1String(field), value);
    }
    bool body(int row, const char* field, const QString& value) {
        return check->bodyEntry(row, QLatin1String(field), value);
    }
    // An entry that must be refused: it shows exactly this message and leaves the card as it
    // was.
    void refused(const std::function<bool()>& entry, const QString& text,
                 const QString& title = kTitle, int style = 64) {
        const bomservice::BomCard before = card->getVoucherData();
        prompter().clear();
        EXPECT_FALSE(entry());
        ASSERT_EQ(prompter().prompts().size(), 1u);
        EXPECT_EQ(prompter().prompts()[0].text, text);
        EXPECT_EQ(prompter().prompts()[0].title, title);
        EXPECT_EQ(prompter().prompts()[0].style, style);
        const bomservice::BomCard after = card->getVoucherData();
        EXPECT_TRUE(after.header == before.header && after.lines == before.lines)
            << text.toStdString();
    }

    std::unique_ptr<test::TestSession> session;
    std::unique_ptr<card::CardDocument> card;
    std::unique_ptr<card::CardEntryCheck> check;
};

TEST_P(CardEntryCheckTest, ParentItemDepartmentAndFlags) {
    newCard("");
    // The quote goes first, before the item is even looked up.
    refused([&] { return header("cpspcode", "BK'100"); }, QStringLiteral("请输入合法字符！"));
    refused([&] { return header("cpspcode", "SC100"); },
            QStringLiteral("存货档案中产品[SC100]是ROP件，不允许作为母件！"));
    for (const char* notParent : {"TU100", "OLD100", "SV100", "XX999"}) // bought, old, service
        refused([&] { return header("cpspcode", QLatin1String(notParent)); },
                QStringLiteral("存货档案中不存在该产品") + QLatin1String(notParent) +
                    QStringLiteral("名称或编码或者该存货不具有生产/委外属性，或者该存货已停用，"
                                   "也可能是当前用户没有使用该存货的权限！"));
    ASSERT_TRUE(header("cpspcode", QStringLiteral("CB-26"))); // by its additional code
    EXPECT_EQ(head("cpspcode"), QStringLiteral("BK100"));
    EXPECT_EQ(head("cinvname"), QStringLiteral("城市自行车"));
    EXPECT_EQ(head("cinvstd"), QStringLiteral("26寸 单速"));

    ASSERT_TRUE(body(0, "cpscode", QStringLiteral("FR100")));
    refused([&] { return header("cpspcode", QStringLiteral("车架总成")); },
            QStringLiteral("母件不可与子件相同！"));
    refused([&] { return header("bexpand", QStringLiteral("Y")); }, QStringLiteral("输入错误！"));
    EXPECT_TRUE(header("bmrcbbom", QStringLiteral("否")));
    refused([&] { return header("cdepcode", QStringLiteral("01")); }, // not end-level
            QStringLiteral("没有该部门编码或名称或非末节部门编码和名称！"));
    ASSERT_TRUE(header("cdepname", QStringLiteral("车架车间")));
    EXPECT_EQ(head("cdepcode"), QStringLiteral("0102"));
    EXPECT_EQ(head("cdepname"), QStringLiteral("车架车间"));

    // A new parent drops the free items it does not use and the old one's routing.
    load(kRedShirt);
    ASSERT_TRUE(header("routcode", QStringLiteral("R-GT100")));
    ASSERT_TRUE(header("cpspcode", QStringLiteral("BK200")));
    EXPECT_EQ(head("cfree1") + head("cfree2") + head("routcode") + head("routid"), QString());

    // Another operator sees only the items and departments granted to him.
    test::TestSession wang(account->url(), QStringLiteral("wang"));
    card::CardEntryCheck restricted(wang.session(), *card);
    EXPECT_FALSE(restricted.headerEntry(QStringLiteral("cpspcode"), QStringLiteral("BK100")));
    EXPECT_FALSE(restricted.headerEntry(QStringLiteral("cdepcode"), QStringLiteral("0101")));
    EXPECT_TRUE(restricted.headerEntry(QStringLiteral("cpspcode"), QStringLiteral("GT100")));
}

TEST_P(CardEntryCheckTest, SalesOrderAndRoutingNeedTheirEarlierEntries) {
    newCard("");
    refused([&] { return header("csocode", QStringLiteral("SO2026001")); },
            QStringLiteral("请先输入母件编码"), kPromptTitle);
    refused([&] { return header("routcode", QStringLiteral("R-BK100")); },
            QStringLiteral("请先输入母件编码"), kPromptTitle);
    refused([&] { return header("croutsocode", QStringLiteral("V1")); },
            QStringLiteral("请先输入工艺路线编码"), kPromptTitle);
    refused([&] { return check->reference(QStringLiteral("csocode"), -1, {}).has_value(); },
            QStringLiteral("请先输入母件编码"), kPromptTitle);
    refused([&] { return check->reference(QStringLiteral("croutsocode"), -1, {}).has_value(); },
            QStringLiteral("请先输入工艺路线编码"), kPromptTitle);

    ASSERT_TRUE(header("cpspcode", QStringLiteral("BK200")));
    const QString noLine = QStringLiteral("销售订单[SO2026002]中没有母件[BK200]的订单行！");
    refused([&] { return header("csocode", QStringLiteral("SO2026002")); }, noLine);
    refused([&] { return header("csocode", QStringLiteral("SO2026002-BK200-102")); }, noLine);
    ASSERT_TRUE(header("csocode", QStringLiteral("SO2026001")));
    EXPECT_EQ(head("csocode"), QStringLiteral("SO2026001-BK200-101"));
    ASSERT_TRUE(header("csocode", QStringLiteral("BK200-V01"))); // a version code of its own
    const auto orders = check->reference(QStringLiteral("csocode"), -1, {});
    ASSERT_TRUE(orders);
    const db::Rows rows = orders->page(*s().gConn, 0, 50);
    EXPECT_EQ(rows.columns().join(','), QStringLiteral("销售订单号,销售订单行号,存货编码"));
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows.text(0, QStringLiteral("销售订单号")), QStringLiteral("SO2026001"));

    refused([&] { return header("routcode", QStringLiteral("R-BK100")); }, // BK100's routing
            QStringLiteral("没有该工艺路线"));
    ASSERT_TRUE(header("cpspcode", QStringLiteral("BK100")));
    ASSERT_TRUE(header("routcode", QStringLiteral("R-BK100")));
    EXPECT_EQ(head("routid") + head("croutsocode") + head("routname"),
              QStringLiteral("1V1城市车总装"));
    refused([&] { return header("croutsocode", QStringLiteral("V3")); },
            QStringLiteral("该工艺路线没有该版本号"));
    ASSERT_TRUE(header("croutsocode", QStringLiteral("V2")));
    EXPECT_EQ(head("routid"), QStringLiteral("4"));
    EXPECT_EQ(
        check->reference(QStringLiteral("croutsocode"), -1, {})->page(*s().gConn, 0, 50).size(),
        2u);
}

TEST_P(CardEntryCheckTest, CostFiguresKeepTheirThresholdsAndTheTotal) {
    newCard("BK100");
    const std::vector<std::pair<const char*, const char*>> figures{
        {"fbzgs", "标准工时必须大于等于0！"},
        {"fbzgzl", "标准工资率必须大于等于0！"},
        {"fbzrgcb", "标准人工成本必须大于等于0！"},
        {"fbzfyl", "标准费用率必须大于等于0！"},
        {"fbzzfy", "标准制造费用必须大于等于0！"},
        {"fqmzcpwlcb", "期末在产品物料成本必须大于等于0！"},
        {"fqmzcprgcb", "期末在产品人工成本必须大于等于0！"},
        {"fqmzcpzzfy", "期末在产品制造费用必须大于等于0！"}};
    for (const auto& [field, text] : figures) {
        refused([&] { return header(field, QStringLiteral("-0.01")); }, QString::fromUtf8(text),
                kPromptTitle);
        EXPECT_TRUE(header(field, QStringLiteral("0"))) << field;
    }
    refused([&] { return header("ifinishexch", QStringLiteral("0")); },
            QStringLiteral("成品率必须大于0！"), kPromptTitle);
    EXPECT_TRUE(header("ifinishexch", QString()));
    refused([&] { return header("fbzgs", QStringLiteral("1,5")); },
            QStringLiteral("输入数值为非法，请重新输入！"));

    // Total = overhead + labour + the lines' material costs.
    ASSERT_TRUE(body(0, "cpscode", QStringLiteral("TU100")));
    ASSERT_TRUE(body(0, "ipsquantity", QStringLiteral("2")));
    ASSERT_TRUE(header("fbzzfy", QStringLiteral("10")));
    ASSERT_TRUE(header("fbzrgcb", QStringLiteral("4.5")));
    EXPECT_EQ(head("fbzcb"), QStringLiteral("39.50")); // 10 + 4.5 + 12.5 × 2
    ASSERT_TRUE(body(0, "iwasterate", QStringLiteral("10")));
    EXPECT_EQ(line(0, "fbzwlcb"), QStringLiteral("27.50"));
    EXPECT_EQ(head("fbzcb"), QStringLiteral("42.00"));
    ASSERT_TRUE(body(0, "fbzdj", QString()));
    EXPECT_EQ(head("fbzcb"), QStringLiteral("14.50"));
}

TEST_P(CardEntryCheckTest, LineNumbersAndTheAuxiliaryFigures) {
    newCard("FR100");
    for (const char* field :
         {"ipsquantity", "tdqtyd", "unitqty", "iprodchangrate", "fbzdj", "iwasterate"}) {
        refused([&] { return body(0, field, QStringLiteral("1'")); },
                QStringLiteral("请输入合法字符！"));
    }
    const std::vector<std::tuple<const char*, const char*, const char*>> tooSmall{
        {"ipsquantity", "0", "基本用量分子必须大于0"},
        {"tdqtyd", "-1", "基本用量分母必须大于0"},
        {"unitqty", "0", "件数必须大于0"},
        {"iprodchangrate", "-2", "换算率必须大于0"},
        {"fbzdj", "-1", "标准单价必须大于等于0"},
        {"iwasterate", "-0.5", "损耗率% 必须大于 0 !"},
        {"iwasterate", "x", "必须填写数字！"},
        {"ipsquantity", "", "基本用量分子不可为空！"},
        {"tdqtyd", "a", "基本用量分母必须为数字！"}};
    for (const auto& [field, value, text] : tooSmall)
        refused([&] { return body(0, field, QLatin1String(value)); }, QString::fromUtf8(text));
    EXPECT_TRUE(body(0, "iwasterate", QStringLiteral("0")));
    EXPECT_TRUE(body(0, "iwasterate", QString()));
    EXPECT_TRUE(body(0, "fbzdj", QStringLiteral("0")));

    // Fixed rate (1 roll = 100 m): pieces follow the numerator and give it back.
    ASSERT_TRUE(body(0, "cpscode", QStringLiteral("TU100")));
    EXPECT_EQ(line(0, "ccaacomunitcode") + line(0, "iprodchangrate"), QStringLiteral("RL100"));
    ASSERT_TRUE(body(0, "ipsquantity", QStringLiteral("250")));
    EXPECT_EQ(line(0, "unitqty"), QStringLiteral("2.50"));
    ASSERT_TRUE(body(0, "unitqty", QStringLiteral("3")));
    EXPECT_EQ(line(0, "ipsquantity"), QStringLiteral("300.0000"));
    ASSERT_TRUE(body(0, "tdqtyd", QStringLiteral("4")));
    EXPECT_EQ(line(0, "unitqty"), QStringLiteral("0.75"));
    ASSERT_TRUE(body(0, "ccaacomunitname", QStringLiteral("米")));
    EXPECT_EQ(line(0, "iprodchangrate"), QStringLiteral("1"));
    EXPECT_EQ(line(0, "unitqty"), QStringLiteral("75.00"));

    // Floating rate: pieces give the rate back.
    ASSERT_TRUE(body(0, "cpscode", QStringLiteral("PT100")));
    ASSERT_TRUE(body(0, "tdqtyd", QStringLiteral("1")));
    ASSERT_TRUE(body(0, "ipsquantity", QStringLiteral("50")));
    EXPECT_EQ(line(0, "unitqty"), QStringLiteral("2.00"));
    ASSERT_TRUE(body(0, "unitqty", QStringLiteral("4")));
    EXPECT_EQ(line(0, "iprodchangrate"), QStringLiteral("12.5000"));
    EXPECT_EQ(line(0, "ipsquantity"), QStringLiteral("50"));
    refused([&] { return body(0, "ccaacomunitcode", QStringLiteral("RL")); }, // not its group
            QStringLiteral("没有该辅助计量单位编码或名称！"));

    card->AddLine();
    refused([&] { return body(1, "ccaacomunitcode", QStringLiteral("RL")); },
            QStringLiteral("必须先输入存货！"));
    refused([&] { return check->reference(QStringLiteral("ccaacomunitname"), 1, {}).has_value(); },
            QStringLiteral("必须先输入存货！"));
    const db::Rows units =
        check->reference(QStringLiteral("ccaacomunitcode"), 0, {})->page(*s().gConn, 0, 50);
    EXPECT_EQ(units.columns().join(','),
              QStringLiteral("计量单位编码,计量单位名称,计量单位组,组类别,是否主计量,换算率"));
    EXPECT_EQ(units.size(), 2u); // kilogram and bag
}

TEST_P(CardEntryCheckTest, ComponentWarehouseAndSupplyType) {
    newCard("BK200");
    refused([&] { return body(0, "cpscode", QString()); }, QStringLiteral("子件编码不能为空。"));
    refused([&] { return body(0, "cpscode", QStringLiteral("BK200")); },
            QStringLiteral("母件不可与子件相同！"));
    refused([&] { return body(0, "cpscode", QStringLiteral("SV100")); },
            QStringLiteral("存货中不存在该子件!"));
    ASSERT_TRUE(body(0, "cpscode", QStringLiteral("链条"))); // tracked, by its name
    EXPECT_EQ(line(0, "cpscode") + line(0, "cwhcode"), QStringLiteral("CH10002"));
    refused([&] { return body(0, "cwhcode", QStringLiteral("03")); },
            QStringLiteral("存货为出库跟踪入库，不能设置为[现场仓或委外仓]。"));
    refused([&] { return body(0, "cwhname", QStringLiteral("无此仓")); },
            QStringLiteral("没有该仓库编码或名称！"));
    refused([&] { return body(0, "wiptype", QStringLiteral("入库倒冲")); },
            QStringLiteral("物料类型为[入库倒冲]只能输入现场仓或者委外仓。"));
    // Without a warehouse only the tracking flag speaks.
    ASSERT_TRUE(body(0, "cwhcode", QString()));
    refused([&] { return body(0, "wiptype", QStringLiteral("入库倒冲")); },
            QStringLiteral("存货为出库跟踪入库，不能设置为[入库倒冲]。"));
    ASSERT_TRUE(body(0, "cpscode", QStringLiteral("SD100")) && body(0, "cwhcode", QString()));
    EXPECT_TRUE(body(0, "wiptype", QStringLiteral("入库倒冲")));

    ASSERT_TRUE(body(0, "cwhcode", QStringLiteral("车间现场仓")));
    EXPECT_EQ(line(0, "cwhcode") + line(0, "wiptype"), QStringLiteral("03入库倒冲"));
    refused([&] { return body(0, "wiptype", QStringLiteral("正常领料")); },
            QStringLiteral("物料类型为非[入库倒冲]只能输入普通仓库。"));
    refused([&] { return body(0, "replaceflag", QStringLiteral("可")); },
            QStringLiteral("输入错误！"));
    refused([&] { return body(0, "usedept", QStringLiteral("生产部")); },
            QStringLiteral("没有该用料车间编码或名称或非末节！"));
    refused([&] { return body(0, "cpersonname", QStringLiteral("赵六")); },
            QStringLiteral("没有该库管员编码或名称！"));
    refused([&] { return body(0, "cprocedurename", QStringLiteral("99")); },
            QStringLiteral("没有该用工序编码或名称！"));
    ASSERT_TRUE(body(0, "cdepcode", QStringLiteral("0101")) &&
                body(0, "cpersonname", QStringLiteral("001")) &&
                body(0, "cprocedurename", QStringLiteral("40")));
    EXPECT_EQ(line(0, "usedept") + line(0, "cpersonname") + line(0, "cprocedurename"),
              QStringLiteral("装配车间张伟装配"));

    test::TestSession wang(account->url(), QStringLiteral("wang"));
    EXPECT_FALSE(card::CardEntryCheck(wang.session(), *card)
                     .bodyEntry(0, QStringLiteral("cwhcode"), QStringLiteral("01")));
}

TEST_P(CardEntryCheckTest, PickedItemsFillTheirLinesAfterTheCycleCheck) {
    newCard("BK200");
    ASSERT_TRUE(header("csocode", QStringLiteral("SO2026001")));
    ASSERT_TRUE(check->pickItems(0, {QStringLiteral("FR100"), QStringLiteral("TU100")}));
    ASSERT_EQ(card->BodyRows(), 2);
    // The frame's default warehouse is a site warehouse: it is backflushed.
    EXPECT_EQ(QStringList({line(0, "cinvname"), line(0, "ccomunitname"), line(0, "cwhname"),
                           line(0, "wiptype"), line(0, "replaceflag"), line(0, "fbzdj"),
                           line(0, "fbzwlcb")}),
              QStringList({"车架总成", "个", "车间现场仓", "入库倒冲", "否", "85", "85.00"}));
    EXPECT_EQ(
        QStringList({line(1, "cinvstd"), line(1, "ccaacomunitname"), line(1, "iprodchangrate"),
                     line(1, "ipsquantity"), line(1, "tdqtyd"), line(1, "unitqty"),
                     line(1, "cwhcode"), line(1, "wiptype"), line(1, "csocode")}),
        QStringList(
            {"Φ28×1.5", "卷", "100", "1", "1", "0.01", "02", "正常领料", "SO2026001-BK200-101"}));
    EXPECT_EQ(head("fbzcb"), QStringLiteral("97.50"));

    // BK100's BOM uses FR100: FR100 may not take BK100; the picks before it stay.
    newCard("FR100");
    prompter().clear();
    EXPECT_FALSE(check->pickItems(
        0, {QStringLiteral("TU100"), QStringLiteral("BK100"), QStringLiteral("RM100")}));
    EXPECT_EQ(prompter().texts(),
              QStringList{QStringLiteral("子件[BK100]的BOM中已含母件[FR100]，不可出现循环调用！")});
    ASSERT_EQ(card->BodyRows(), 1);
    EXPECT_EQ(line(0, "cpscode"), QStringLiteral("TU100"));
}

TEST_P(CardEntryCheckTest, FillAllLinesReportsTheRefusedLinesTogether) {
    load(kCityBike); // FR100, WH100, SD100, CH100 (tracked), BR100
    ASSERT_EQ(line(3, "cpscode"), QStringLiteral("CH100"));
    prompter().clear();
    EXPECT_FALSE(check->fillAllLines(QStringLiteral("cwhcode"), QStringLiteral("03")));
    ASSERT_EQ(prompter().prompts().size(), 1u);
    EXPECT_EQ(prompter().prompts()[0].text,
              QStringLiteral("第4行：存货为出库跟踪入库，不能设置为[现场仓或委外仓]。"));
    QStringList warehouses;
    for (int row = 0; row < card->BodyRows(); ++row)
        warehouses << line(row, "cwhcode") + line(row, "wiptype");
    EXPECT_EQ(warehouses.join(','),
              QStringLiteral("03入库倒冲,03入库倒冲,03入库倒冲,02正常领料,03入库倒冲"));
    EXPECT_EQ(card->getVoucherData().lines.editprop(3), QString()); // untouched
    // Checks write to the card only, never to the account.
    EXPECT_EQ(s().gConn
                  ->scalar(QStringLiteral("SELECT count(*) FROM ProductStructures WHERE ipid=? "
                                          "AND cwhcode='03'"),
                           {kCityBike})
                  .toInt(),
              2);
    EXPECT_TRUE(check->fillAllLines(QStringLiteral("cdepcode"), QStringLiteral("0102")));
    EXPECT_EQ(line(4, "usedept"), QStringLiteral("车架车间"));
}

TEST_P(CardEntryCheckTest, UserDefinedAndFreeItemsFollowTheirDefinitions) {
    load(kRedShirt);
    refused([&] { return header("cdefine1", QStringLiteral("家具")); }, // not in its archive
            QStringLiteral("合法性检查失败！"));
    EXPECT_TRUE(header("cdefine1", QStringLiteral("服装")));
    refused([&] { return header("cdefine7", QStringLiteral("七")); },
            QStringLiteral("输入数值为非法，请重新输入！"));
    refused([&] { return header("cdefine2", QString(61, QLatin1Char('x'))); },
            QStringLiteral("合法性检查失败！"));
    refused([&] { return body(0, "cdefine26", QStringLiteral("x")); },
            QStringLiteral("输入数值为非法，请重新输入！"));
    EXPECT_TRUE(body(0, "cdefine26", QStringLiteral("2.5")));

    // Colours are checked against their list once the definition asks for it.
    EXPECT_TRUE(header("cfree1", QStringLiteral("GRN")));
    s().gConn->exec(QStringLiteral("UPDATE userdef SET bcheckval=1 WHERE cID=1"));
    card::CardEntryCheck fresh(s(), *card);
    EXPECT_TRUE(fresh.checkHeader(QStringLiteral("cfree1"), QStringLiteral("PNK")).has_value());
    EXPECT_EQ(fresh.checkBody(0, QStringLiteral("cfree1"), QStringLiteral("PNK"))->text,
              QStringLiteral("合法性检查失败！"));
    EXPECT_FALSE(fresh.checkBody(0, QStringLiteral("cfree1"), QStringLiteral("BLU")).has_value());
    refused([&] { return body(1, "cfree2", QStringLiteral("M")); }, // buttons have no size
            QStringLiteral("不允许设置尺码，请检查！"));

    s().gConn->exec(QStringLiteral("ALTER TABLE userdef RENAME TO userdef_gone"));
    card::CardEntryCheck broken(s(), *card);
    const auto unread = broken.checkHeader(QStringLiteral("cdefine3"), QStringLiteral("a"));
    ASSERT_TRUE(unread);
    EXPECT_EQ(unread->text, QStringLiteral("初始化自定义项组件失败！"));
}


TEST_P(CardEntryCheckTest, SubstituteFlagAsksBeforeDroppingAndRefusesMadeComponents) {
    using Answer = suite::Prompter::Answer;
    const auto rowOf = [&](const char* component) {
        for (int row = 0; row < card->BodyRows(); ++row)
            if (line(row, "cpscode") == QLatin1String(component))
                return row;
        return -1;
    };
    load(QStringLiteral("{68A4B30F-4353-573A-8925-97479D304B80}")); // FR100: TU100 has one
    const int tube = rowOf("TU100");
    const int paint = rowOf("PT100");
    ASSERT_GE(tube, 0);
    ASSERT_GE(paint, 0);
    ASSERT_EQ(line(tube, "replaceflag"), QStringLiteral("是"));
    prompter().clear();
    prompter().queueAnswer(Answer::No);
    EXPECT_FALSE(body(tube, "replaceflag", QStringLiteral("否")));
    ASSERT_EQ(prompter().prompts().size(), 1u); // the question, nothing after it
    EXPECT_EQ(prompter().prompts()[0].text,
              QStringLiteral("将替换属性改成否系统将自动清除相应的替换件，是否继续？"));
    EXPECT_TRUE(prompter().prompts()[0].question);
    EXPECT_EQ(line(tube, "replaceflag"), QStringLiteral("是"));
    prompter().queueAnswer(Answer::Yes);
    EXPECT_TRUE(body(tube, "replaceflag", QStringLiteral("否")));
    EXPECT_EQ(line(tube, "replaceflag"), QStringLiteral("否"));
    // Without substitutes, or on a line never saved, nothing is asked.
    prompter().clear();
    EXPECT_TRUE(body(paint, "replaceflag", QStringLiteral("是")));
    EXPECT_TRUE(body(paint, "replaceflag", QStringLiteral("否")));
    card->AddLine();
    const int fresh = card->BodyRows() - 1;
    ASSERT_TRUE(check->pickItems(fresh, {QStringLiteral("TU101")}));
    EXPECT_TRUE(body(fresh, "replaceflag", QStringLiteral("是")));
    EXPECT_TRUE(body(fresh, "replaceflag", QStringLiteral("否")));
    EXPECT_TRUE(prompter().prompts().empty());

    // A made component is not substituted, unless its BOM is for another sales order.
    load(kCityBike);
    const int frame = rowOf("FR100");
    ASSERT_GE(frame, 0);
    refused([&] { return body(frame, "replaceflag", QStringLiteral("是")); },
            QStringLiteral("半成品、成品应不能替代。"));
    ASSERT_TRUE(body(frame, "csocode", QStringLiteral("SO-OTHER")));
    EXPECT_TRUE(body(frame, "replaceflag", QStringLiteral("是")));
}

BOM_INSTANTIATE_BACKENDS(CardEntryCheckTest);
