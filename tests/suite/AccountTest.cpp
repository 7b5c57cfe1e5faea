#include "suite/Account.h"
#include "bomservice/LowLevelCodes.h"
#include "db/DbError.h"
#include "suite/RowAuth.h"
#include "support/TestAccount.h"

#include <functional>

using namespace bom;

class AccountTest : public test::BackendTest {
protected:
    int count(db::Database& db, const char* sql) {
        return db.scalar(QString::fromUtf8(sql)).toInt();
    }
};

TEST_P(AccountTest, RefusesAnExistingAccount) {
    account->createDemo();
    EXPECT_THROW(suite::Account::create(account->url(), QStringLiteral("x"), QStringLiteral("x")),
                 db::DbError);
}

TEST_P(AccountTest, DemoDataHoldsTogether) {
    auto db = account->createDemo();
    // Lines belong to a header, carry its parent code and ID, and name known items.
    EXPECT_EQ(count(*db, "SELECT count(*) FROM ProductStructures p LEFT JOIN ProductStructure h "
                         "ON h.iautoid=p.ipid WHERE h.iautoid IS NULL OR h.cpspcode<>p.cpspcode "
                         "OR h.ID<>p.psid"),
              0);
    EXPECT_EQ(count(*db, "SELECT count(*) FROM ProductStructures p LEFT JOIN Inventory i ON "
                         "i.cInvCode=p.cpscode WHERE i.cInvCode IS NULL"),
              0);
    // childguid names the component's own BOM of the same identity.
    EXPECT_EQ(count(*db, "SELECT count(*) FROM ProductStructures p JOIN ProductStructure c ON "
                         "c.iautoid=p.childguid WHERE c.cpspcode<>p.cpscode"),
              0);
    EXPECT_EQ(
        db->scalar(QStringLiteral("SELECT count(*) FROM ProductStructures WHERE cpscode IN "
                                  "(?, ?, ?) AND childguid IS NULL"),
                   {QStringLiteral("FR100"), QStringLiteral("WH100"), QStringLiteral("FK100")})
            .toInt(),
        0);
    EXPECT_GE(count(*db, "SELECT count(*) FROM ProductStructures WHERE childguid IN (SELECT "
                         "iautoid FROM ProductStructure WHERE cpspcode='WH100')"),
              2); // a shared sub-assembly
    // Substitutes hang on flagged lines; quantity totals match the lines.
    EXPECT_EQ(count(*db, "SELECT count(*) FROM ProstruOpt o LEFT JOIN ProductStructures p ON "
                         "p.autoid=o.AutoID WHERE p.autoid IS NULL OR p.ReplaceFlag<>1"),
              0);
    EXPECT_GT(count(*db, "SELECT count(*) FROM ProstruOpt"), 0);
    EXPECT_EQ(count(*db, "SELECT count(*) FROM ProductStructuresEx x WHERE x.iPSQuantity <> "
                         "(SELECT SUM(ipsquantity) FROM ProductStructures p WHERE "
                         "p.cpspcode=x.cPSPCode AND p.cpscode=x.cPSCode)"),
              0);
    EXPECT_EQ(count(*db, "SELECT count(*) FROM (SELECT cpspcode FROM ProductStructure WHERE "
                         "bmrcbbom=1 GROUP BY cpspcode HAVING count(*)>1) t"),
              0);
    EXPECT_EQ(count(*db, "SELECT count(*) FROM ProductStructure WHERE length(iautoid)<>38"), 0);
    // The order BOM is linked from its sales order line.
    EXPECT_EQ(count(*db, "SELECT count(*) FROM so_sodetails d JOIN ProductStructure h ON "
                         "h.iautoid=d.bomid AND h.csocode=d.cbomsocode"),
              1);
    // Views carry display texts.
    EXPECT_EQ(db->scalar(QStringLiteral("SELECT wiptype FROM PP_BomCardBody WHERE cpscode='PT100'"))
                  .toString(),
              QStringLiteral("入库倒冲"));
}

TEST_P(AccountTest, GeneratedAccountsAreDeterministicAndLevelled) {
    auto fingerprint = [&](test::TestAccount& target, quint32 seed) {
        auto db = suite::Account::create(target.url(), QStringLiteral("demo"), QStringLiteral("d"));
        suite::Account::generate(*db, {300, 3, 6, seed});
        return std::make_tuple(count(*db, "SELECT count(*) FROM ProductStructure"),
                               count(*db, "SELECT count(*) FROM ProductStructures"),
                               db->scalar(QStringLiteral("SELECT MIN(iautoid) FROM "
                                                         "ProductStructure"))
                                   .toString(),
                               count(*db, "SELECT count(*) FROM ProductStructures WHERE "
                                          "childguid IS NOT NULL"));
    };
    test::TestAccount other(GetParam());
    test::TestAccount third(GetParam());
    const auto a = fingerprint(*account, 7);
    EXPECT_EQ(std::get<0>(a), 300);
    EXPECT_EQ(std::get<1>(a), 300 * 6);
    EXPECT_GT(std::get<3>(a), 0); // made items are used as components
    EXPECT_EQ(a, fingerprint(other, 7));
    EXPECT_NE(std::get<2>(a), std::get<2>(fingerprint(third, 8)));
}

TEST_P(AccountTest, SharedAccountsHaveTheirDepthFamiliesAndSharing) {
    auto db = suite::Account::create(account->url(), QStringLiteral("demo"), QStringLiteral("d"));
    suite::Account::GenerateOptions shape{6 * 40, 6, 5, 3};
    shape.share = 3;
    shape.family = 8;
    suite::Account::generate(*db, shape);
    for (int level = 1; level <= 6; ++level)
        EXPECT_EQ(db->scalar(QStringLiteral("SELECT count(*) FROM ProductStructure WHERE "
                                            "cpspcode LIKE ?"),
                             {QStringLiteral("G%1-%").arg(level)})
                      .toInt(),
                  40);
    EXPECT_EQ(count(*db, "SELECT count(*) FROM ProductStructures"), 6 * 40 * 5);

    // Made components: one level down, in the parent's family of 8, 3 per BOM above level 1.
    const db::Rows made = db->query(
        QStringLiteral("SELECT cpspcode, cpscode FROM ProductStructures WHERE cpscode LIKE 'G%'"));
    auto level = [](const QString& code) { return code.section('-', 0, 0).mid(1).toInt(); };
    auto family = [](const QString& code) { return (code.section('-', 1).toInt() - 1) / 8; };
    QHash<QString, QStringList> parents;
    QHash<QString, int> madePerBom;
    for (std::size_t i = 0; i < made.size(); ++i) {
        const QString parent = made.text(i, QStringLiteral("cpspcode"));
        const QString child = made.text(i, QStringLiteral("cpscode"));
        EXPECT_EQ(level(child), level(parent) - 1) << parent.toStdString();
        EXPECT_EQ(family(child), family(parent)) << parent.toStdString();
        parents[child] << parent;
        ++madePerBom[parent];
    }
    EXPECT_EQ(madePerBom.size(), 5 * 40);
    for (auto it = madePerBom.cbegin(); it != madePerBom.cend(); ++it)
        EXPECT_EQ(it.value(), 3) << it.key().toStdString();
    // So each sub-assembly has 3 parents on average (levels 1-5 hold 200 of them)...
    EXPECT_EQ(made.size(), std::size_t(3 * 5 * 40));

    // ...and from the bottom the ways up multiply while the ancestors stay in one family.
    for (const QString& bottom : {QStringLiteral("G1-000001"), QStringLiteral("G1-000017")}) {
        QSet<QString> ancestors;
        int paths = 0;
        std::function<void(const QString&)> up = [&](const QString& code) {
            for (const QString& parent : parents.value(code)) {
                ++paths;
                ancestors.insert(parent);
                up(parent);
            }
        };
        up(bottom);
        int top = 0;
        for (const QString& ancestor : ancestors) {
            EXPECT_EQ(family(ancestor), family(bottom));
            top += level(ancestor) == 6;
        }
        EXPECT_GT(top, 0) << bottom.toStdString();
        EXPECT_LE(ancestors.size(), 5 * 8);
        EXPECT_GT(paths, 4 * ancestors.size()) << bottom.toStdString();
    }

    // The low-level codes the generator writes are those the account works out itself.
    const QString levels =
        QStringLiteral("SELECT cinvcode, ilevel, cvia FROM bom_llc ORDER BY cinvcode");
    const QStringList generated = db->query(levels).asText();
    EXPECT_GT(generated.size(), 6 * 40);
    bomservice::LowLevelCodes(*db).Rebuild();
    EXPECT_EQ(db->query(levels).asText(), generated);
}

TEST_P(AccountTest, RowRightsOfTheRestrictedOperator) {
    account->createDemo();
    suite::RowAuth all;
    ASSERT_TRUE(all.Init(account->url(), QStringLiteral("demo")));
    EXPECT_EQ(all.GetAuthString(QStringLiteral("Inventory")), QString());
    suite::RowAuth wang;
    ASSERT_TRUE(wang.Init(account->url(), QStringLiteral("wang")));
    EXPECT_EQ(wang.GetAuthString(QStringLiteral("Department")), QStringLiteral("'0201','0202'"));
    EXPECT_EQ(wang.GetAuthString(QStringLiteral("Warehouse")), QStringLiteral("'02'"));
    EXPECT_EQ(wang.GetAuthString(QStringLiteral("Person")), QString());
    EXPECT_EQ(wang.GetAuthString(QStringLiteral("Inventory")).split(QLatin1Char(',')).size(), 4);
    EXPECT_TRUE(wang.HasRecordRight(QStringLiteral("Department"), QStringLiteral("0202")));
    EXPECT_FALSE(wang.HasRecordRight(QStringLiteral("Department"), QStringLiteral("0101")));
}

BOM_INSTANTIATE_BACKENDS(AccountTest);
