#include "db/DbError.h"
#include "entry/BomVisibility.h"
#include "entry/Common.h"
#include "entry/ReferenceLookup.h"
#include "entry/RowAuthFilter.h"
#include "list/BomList.h"
#include "suite/PublicService.h"
#include "suite/RightsStore.h"
#include "support/TestAccount.h"

using namespace bom;

class AuthFilterTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        db = account->createDemo();
    }
    // The parent codes and first free items of the BOMs the operator's list shows.
    QStringList listed(const char* user) {
        test::TestSession s(account->url(), QLatin1String(user));
        const db::SqlCondition sql = list::BomList(s.session()).parentQuery();
        const db::Rows rows = s.db().query(sql.sql, sql.params);
        QStringList out;
        for (std::size_t i = 0; i < rows.size(); ++i)
            out << rows.text(i, "cpspcode") + rows.text(i, "cfree1");
        out.sort();
        return out;
    }
    void setScope(const char* kind, suite::RightsStore::Scope scope) {
        suite::RightsStore(*db).setScope(QStringLiteral("wang"), QLatin1String(kind), scope);
    }
    void addLine(const char* parentFree, const QVariant& warehouse) {
        db->exec(QStringLiteral("INSERT INTO ProductStructures(ipid, cpspcode, cpscode, "
                                "ipsquantity, cwhcode) SELECT iautoid, cpspcode, 'BT100', 1, ? "
                                "FROM ProductStructure WHERE cpspcode='GT100' AND cfree1=?"),
                 {warehouse, QLatin1String(parentFree)});
        decideAgain();
    }
    // What every writer of BOMs does after changing them.
    void decideAgain() {
        QStringList ids;
        const db::Rows all = db->query(QStringLiteral("SELECT iautoid FROM ProductStructure"));
        for (std::size_t i = 0; i < all.size(); ++i)
            ids << all.text(i, "iautoid");
        entry::BomVisibility(*db).RefreshBoms(ids);
    }
    std::unique_ptr<db::Database> db;
};

TEST_P(AuthFilterTest, ListsOnlyTheBomsTheOperatorMaySee) {
    EXPECT_EQ(listed("demo").size(), 8);
    {
        test::TestSession s(account->url(), QStringLiteral("demo"));
        EXPECT_TRUE(entry::RowAuthFilter(s.session()).GetBomAuthFilter().isEmpty());
    }
    const QStringList garments{QStringLiteral("GT100BLU"), QStringLiteral("GT100RED")};
    EXPECT_EQ(listed("wang"), garments);

    // A line in a forbidden warehouse hides its BOM; a line without warehouse does not.
    addLine("RED", QStringLiteral("03"));
    addLine("BLU", QVariant());
    EXPECT_EQ(listed("wang"), QStringList{QStringLiteral("GT100BLU")});
    // With no warehouse right at all, warehouses restrict nothing.
    setScope("warehouse", suite::RightsStore::Scope::None);
    EXPECT_EQ(listed("wang"), garments);

    // A header without department passes; no department right at all lists nothing.
    db->exec(QStringLiteral("UPDATE ProductStructure SET cdepcode='0101' WHERE cfree1='RED'"));
    db->exec(QStringLiteral("UPDATE ProductStructure SET cdepcode=NULL WHERE cfree1='BLU'"));
    decideAgain();
    EXPECT_EQ(listed("wang"), QStringList{QStringLiteral("GT100BLU")});
    setScope("department", suite::RightsStore::Scope::None);
    EXPECT_TRUE(listed("wang").isEmpty());
    setScope("department", suite::RightsStore::Scope::All);
    setScope("inventory", suite::RightsStore::Scope::None);
    EXPECT_TRUE(listed("wang").isEmpty());

    // A list whose every code was revoked grants nothing, not even a BOM without department;
    // a warehouse list without codes restricts nothing.
    suite::RightsStore store(*db);
    setScope("inventory", suite::RightsStore::Scope::All);
    store.grant(QStringLiteral("wang"), QStringLiteral("department"), {QStringLiteral("0101")});
    store.revoke(QStringLiteral("wang"), QStringLiteral("department"),
                 store.codes(QStringLiteral("wang"), QStringLiteral("department")));
    EXPECT_EQ(store.scope(QStringLiteral("wang"), QStringLiteral("department")),
              suite::RightsStore::Scope::List);
    EXPECT_TRUE(listed("wang").isEmpty());
    setScope("department", suite::RightsStore::Scope::All);
    store.grant(QStringLiteral("wang"), QStringLiteral("warehouse"), {QStringLiteral("01")});
    store.revoke(QStringLiteral("wang"), QStringLiteral("warehouse"), {QStringLiteral("01")});
    EXPECT_EQ(listed("wang"), listed("demo"));
}

TEST_P(AuthFilterTest, TenThousandAllowedItemsStillWork) {
    QStringList codes;
    QSqlQuery insert = db->prepare(QStringLiteral(
        "INSERT INTO Inventory(iId, cInvCode, cInvName, bself) VALUES (?, ?, 'x', 1)"));
    for (int i = 0; i < 10000; ++i) {
        codes << QStringLiteral("X%1").arg(i);
        db->run(insert, {1000 + i, codes.last()});
    }
    suite::RightsStore(*db).grant(QStringLiteral("wang"), QStringLiteral("inventory"), codes);
    EXPECT_EQ(listed("wang").size(), 2);
    test::TestSession s(account->url(), QStringLiteral("wang"));
    const auto items =
        entry::ReferenceLookup(s.session()).ShowRef(QStringLiteral("cInvCode"), "X99");
    ASSERT_TRUE(items);
    EXPECT_EQ(items->page(s.db(), 0, 500).size(), 111u); // X99, X990…X999, X9900…X9999
}

TEST_P(AuthFilterTest, ReferencesFollowRightsTypedTextAndItemRules) {
    suite::PublicService::setFunctionLockShared(*db, true); // two sessions at once
    test::TestSession wang(account->url(), QStringLiteral("wang"));
    entry::ReferenceLookup lookup(wang.session());
    auto codes = [&](const char* field, const char* text) {
        const auto query = lookup.ShowRef(QLatin1String(field), QString::fromUtf8(text));
        QStringList out;
        if (!query)
            return out;
        const db::Rows rows = query->page(wang.db(), 0, 100);
        for (std::size_t i = 0; i < rows.size(); ++i)
            out << rows.at(i).first().toString();
        return out;
    };
    // Items: only allowed, made or outsourced, not services, not discontinued or ROP.
    EXPECT_EQ(codes("cInvCode", ""), QStringList{QStringLiteral("GT100")});
    EXPECT_EQ(codes("cWhCode", ""), QStringList{QStringLiteral("02")});
    EXPECT_EQ(codes("cDepCode", ""), (QStringList{QStringLiteral("0201"), QStringLiteral("0202")}));
    EXPECT_EQ(codes("cFree1", "蓝"), QStringList{QStringLiteral("BLU")});
    EXPECT_EQ(codes("cProcedureName", "缝"), QStringList{QStringLiteral("60")});
    EXPECT_FALSE(
        lookup.ShowRef(QStringLiteral("cPersonName"), QString())->classes(wang.db()).empty());
    EXPECT_TRUE(codes("nothing", "").isEmpty());
    EXPECT_EQ(wang.prompter.texts().last(), QStringLiteral("没有设定参照！"));
    // Typed text is never a pattern, however long or odd; a NUL is refused with a clear text.
    EXPECT_TRUE(codes("cInvCode", "%").isEmpty());
    EXPECT_TRUE(codes("cInvCode", QString(60000, QLatin1Char('%')).toUtf8().constData()).isEmpty());
    try {
        codes("cInvCode", "GT\0");
        lookup.ShowRef(QStringLiteral("cInvCode"), QStringLiteral("GT") + QChar(0))
            ->page(wang.db(), 0, 10);
        ADD_FAILURE() << "a NUL reached the database";
    } catch (const db::DbError& e) {
        EXPECT_TRUE(e.message().contains(QStringLiteral("NUL")));
    }

    test::TestSession demo(account->url(), QStringLiteral("demo"));
    entry::ReferenceLookup all(demo.session());
    const db::Rows items =
        all.ShowRef(QStringLiteral("cinvname"), QString())->page(demo.db(), 0, 100);
    QStringList itemCodes;
    for (std::size_t i = 0; i < items.size(); ++i)
        itemCodes << items.text(i, "cInvCode");
    EXPECT_TRUE(itemCodes.contains(QStringLiteral("FK100")));   // outsourced
    EXPECT_FALSE(itemCodes.contains(QStringLiteral("SC100")));  // re-order point
    EXPECT_FALSE(itemCodes.contains(QStringLiteral("OLD100"))); // discontinued
    EXPECT_FALSE(itemCodes.contains(QStringLiteral("SV100")));  // service
    EXPECT_FALSE(itemCodes.contains(QStringLiteral("TU100")));  // purchased only
}

TEST_P(AuthFilterTest, PrecisionFallsBackToTwoPlaces) {
    db->exec(QStringLiteral("UPDATE AccInformation SET cValue=NULL WHERE cName IN "
                            "('iStrsQuanDecDgt','iNumDecDgt')"));
    db->exec(
        QStringLiteral("UPDATE AccInformation SET cDefault='3' WHERE cName='iStrsQuanDecDgt'"));
    db->exec(QStringLiteral("DELETE FROM AccInformation WHERE cName='iExchRateDecDgt'"));
    db->exec(QStringLiteral("UPDATE AccInformation SET cValue='5' WHERE cName='iStrsPriDecDgt'"));
    test::TestSession s(account->url(), QStringLiteral("demo"));
    entry::Common::LoadPrecision(s.session());
    EXPECT_EQ(s.session().gQuanDigits, 3); // from the default
    EXPECT_EQ(s.session().gNumDigits, 2);  // empty value
    EXPECT_EQ(s.session().gRateDigits, 2); // no row
    EXPECT_EQ(s.session().gPriceDigits, 5);
}

BOM_INSTANTIATE_BACKENDS(AuthFilterTest);
