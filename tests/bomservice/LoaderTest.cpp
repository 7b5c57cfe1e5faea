#include "bomservice/BomCardLoader.h"
#include "entry/BomIdentity.h"
#include "entry/VoucherHelpers.h"
#include "support/TestAccount.h"

using namespace bom;
using bomservice::BomCardLoader;

class LoaderTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        db = account->createDemo();
        session = std::make_unique<test::TestSession>(account->url(), QStringLiteral("demo"));
    }
    void TearDown() override {
        session.reset();
        BackendTest::TearDown();
    }
    QString bomOf(const char* parent, const char* free1 = nullptr) {
        return db
            ->scalar(QStringLiteral("SELECT iautoid FROM ProductStructure WHERE cpspcode=? "
                                    "AND COALESCE(cfree1,'')=? AND csocode IS NULL"),
                     {QLatin1String(parent), QLatin1String(free1 ? free1 : "")})
            .toString();
    }
    std::unique_ptr<db::Database> db;
    std::unique_ptr<test::TestSession> session;
};

TEST_P(LoaderTest, LoadsACardWithDisplayValuesAndRefusesAVanishedOne) {
    BomCardLoader loader(session->session());
    const auto card = loader.LoadTemplate(QStringLiteral("pp30"));
    ASSERT_TRUE(card);
    EXPECT_EQ(card->BWTblName, QStringLiteral("ProductStructures"));
    const auto bom = loader.LoadBom(*card, bomOf("FR100"));
    ASSERT_TRUE(bom);
    EXPECT_EQ(bom->header.text(0, "cpspcode"), QStringLiteral("FR100"));
    EXPECT_EQ(bom->header.text(0, "bmrcbbom"), QStringLiteral("是"));
    ASSERT_EQ(bom->lines.rowCount(), 2);
    EXPECT_EQ(bom->lines.text(1, "wiptype"), QStringLiteral("入库倒冲"));
    EXPECT_EQ(bom->lines.text(0, "replaceflag"), QStringLiteral("是"));
    EXPECT_EQ(bom->lines.editprop(0), QString());
    EXPECT_EQ(bom->lines.oldautoid(0), bom->lines.value(0, "autoid"));

    const auto empty = loader.NewCard(*card);
    EXPECT_EQ(empty.header.rowCount(), 0);
    EXPECT_TRUE(empty.lines.hasColumn(QStringLiteral("editprop")));

    EXPECT_FALSE(loader.LoadBom(*card, QStringLiteral("{00000000-0000-0000-0000-000000000001}")));
    EXPECT_EQ(session->prompter.texts().last(), QStringLiteral("单据加载失败，请刷新后重试！"));

    // A template without body grid loads the header alone; an unknown view is no template.
    db->exec(QStringLiteral("UPDATE vouchers SET HaveBodyGrid=0 WHERE cardnumber='PP30'"));
    EXPECT_EQ(loader.LoadBom(*loader.LoadTemplate(QStringLiteral("PP30")), bomOf("FR100"))
                  ->lines.rowCount(),
              0);
    db->exec(QStringLiteral("UPDATE vouchers SET BTQName='ProductStructure; DROP TABLE x' "
                            "WHERE cardnumber='PP30'"));
    EXPECT_FALSE(loader.LoadTemplate(QStringLiteral("PP30")));
    EXPECT_FALSE(loader.LoadTemplate(QStringLiteral("XX99")));
    EXPECT_EQ(session->prompter.texts().last(), QStringLiteral("单据模板不存在。"));
}

TEST_P(LoaderTest, RequiredFieldsNameTheFirstEmptyOneButNeverTheKeys) {
    BomCardLoader loader(session->session());
    const auto card = loader.LoadTemplate(QStringLiteral("PP30"));
    auto bom = loader.LoadBom(*card, bomOf("WH100"));
    ASSERT_TRUE(bom);
    EXPECT_TRUE(loader.CheckRequired(*bom, card->DEF_ID));

    bom->header.setValue(0, QStringLiteral("iautoid"), QVariant()); // keys come from the save
    bom->header.setValue(0, QStringLiteral("qzts"), QVariant());
    EXPECT_TRUE(loader.CheckRequired(*bom, card->DEF_ID));

    bom->lines.setValue(1, QStringLiteral("ipsquantity"), QString());
    bom->lines.setEditprop(1, QStringLiteral("D")); // a deleted line is not checked
    EXPECT_TRUE(loader.CheckRequired(*bom, card->DEF_ID));
    bom->lines.setEditprop(1, QStringLiteral("M"));
    EXPECT_FALSE(loader.CheckRequired(*bom, card->DEF_ID));
    EXPECT_EQ(session->prompter.texts().last(), QStringLiteral("基本用量分子为必填项！"));

    db->exec(QStringLiteral("UPDATE voucheritems SET cardformula1='母件' WHERE vt_id=1 AND "
                            "fieldname='cpspcode'"));
    bom->header.setValue(0, QStringLiteral("cpspcode"), QString());
    EXPECT_FALSE(loader.CheckRequired(*bom, card->DEF_ID));
    EXPECT_EQ(session->prompter.texts().last(), QStringLiteral("母件为必填项！"));

    EXPECT_EQ(loader.fieldCaption(QStringLiteral("CDEFINE23")), QStringLiteral("表体自定义项2"));
    EXPECT_EQ(loader.fieldCaption(QStringLiteral("cfree10")), QStringLiteral("自由项10"));
    db->exec(QStringLiteral("INSERT INTO voucheritems(cardnum, cardsection, fieldname, "
                            "cardformula1) VALUES ('001', 'T', 'CFREE1', '颜色')"));
    EXPECT_EQ(loader.fieldCaption(QStringLiteral("cfree1")), QStringLiteral("颜色"));
}

TEST_P(LoaderTest, SharedQuestionsAnswerFromStoredRows) {
    using namespace entry::VoucherHelpers;
    EXPECT_TRUE(TextToBool(QStringLiteral(" true ")));
    EXPECT_TRUE(TextToBool(QStringLiteral("2")));
    EXPECT_TRUE(TextToBool(QStringLiteral("是")));
    EXPECT_FALSE(TextToBool(QStringLiteral("0.0")));
    EXPECT_FALSE(TextToBool(QStringLiteral("否")));
    EXPECT_FALSE(TextToBool(QString()));

    EXPECT_TRUE(IsSharedBom(*db, bomOf("WH100")));  // used by three lines
    EXPECT_FALSE(IsSharedBom(*db, bomOf("BK100"))); // used by none
    db->exec(QStringLiteral("UPDATE ProductStructures SET childguid=NULL WHERE childguid=? AND "
                            "ipid<>?"),
             {bomOf("FK100"), bomOf("BK200")});
    EXPECT_FALSE(IsSharedBom(*db, bomOf("FK100"))); // exactly one line left

    entry::BomIdentity shirt{QStringLiteral("GT100"), QString(), {}};
    shirt.free[0] = QStringLiteral(" RED ");
    shirt.free[1] = QStringLiteral("M");
    EXPECT_FALSE(IsBomMissing(*db, shirt)); // NULL free items 3–10 match empty ones
    shirt.free[1] = QStringLiteral("S");
    EXPECT_TRUE(IsBomMissing(*db, shirt));

    entry::BomIdentity tube{QStringLiteral("TU100"), QString(), {}};
    EXPECT_FALSE(IsFlaggedLineMissing(*db, tube));
    tube.code = QStringLiteral("SD100");
    EXPECT_TRUE(IsFlaggedLineMissing(*db, tube));
    EXPECT_TRUE(IsUnitGroupType1(*db, QStringLiteral("FB100")));
    EXPECT_FALSE(IsUnitGroupType1(*db, QString()));
    EXPECT_EQ(GetToolbarStyle(*db, QStringLiteral("demo")), 1);
    db->exec(QStringLiteral("INSERT INTO sys_user_setting VALUES (?, ?, ?, ?)"),
             {QStringLiteral("demo"), QStringLiteral("SOFTWARE\\Mervale\\WF\\Appearance"),
              QStringLiteral("Toolbar Style"), QStringLiteral("Flat")});
    EXPECT_EQ(GetToolbarStyle(*db, QStringLiteral("demo")), 2);
}

BOM_INSTANTIATE_BACKENDS(LoaderTest);
