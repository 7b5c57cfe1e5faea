#include "bomservice/Guards.h"
#include "db/Transaction.h"
#include "list/BomList.h"
#include "suite/ColumnSettings.h"
#include "suite/PublicService.h"
#include "suite/RightsStore.h"
#include "support/TestAccount.h"

#include <algorithm>
#include <map>
#include <random>

using namespace bom;

// Reading the list page by page after the last row's key.
class ListPagingTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        db = account->createDemo();
        suite::PublicService::setFunctionLockShared(*db, true);
        // Headers that tie on parent and free items, with null and empty free items mixed.
        std::mt19937 rng(3);
        const QStringList parents{"FR100", "GT100", "WH100"};
        const QVariantList frees{QVariant(), QString(), "A", "B"};
        for (int i = 0; i < 40; ++i)
            db->exec(QStringLiteral("INSERT INTO ProductStructure(iautoid, cpspcode, cfree1, "
                                    "cfree2, csocode) VALUES (?, ?, ?, ?, ?)"),
                     {QStringLiteral("{P%1}").arg(rng() % 1000, 4, 10, QLatin1Char('0')) +
                          QString::number(i),
                      parents.at(int(rng() % 3)), frees.at(int(rng() % 4)),
                      frees.at(int(rng() % 4)), QStringLiteral("SO%1").arg(i)});
    }
    // Every page of `size` rows read one after the other, as iautoid, cpspcode and cfree1.
    std::vector<QStringList> paged(test::TestSession& s, int size) {
        const list::BomList list(s.session());
        const int keys = int(list.parentKeyset().keys().size());
        std::vector<QStringList> out;
        QVariantList last;
        for (;;) {
            const db::SqlCondition sql = list.parentPage({}, last, size);
            const db::Rows rows = s.db().query(sql.sql, sql.params);
            EXPECT_LE(int(rows.size()), size);
            for (std::size_t i = 0; i < rows.size(); ++i)
                out.push_back({rows.text(i, "iautoid"), rows.text(i, "cpspcode"),
                               rows.text(i, "cfree1"), rows.text(i, "cfree2")});
            if (int(rows.size()) < size)
                return out;
            last.clear();
            for (int k = 0; k < keys; ++k)
                last << rows.value(rows.size() - 1, db::Keyset::keyColumn(k));
        }
    }
    // The operator's whole list, sorted here: parent, free item 1 (`descending` or not),
    // free item 2, header key; nulls as empty text.
    std::vector<QStringList> sorted(test::TestSession& s, bool descending) {
        const db::SqlCondition sql = list::BomList(s.session()).parentQuery();
        const db::Rows rows = s.db().query(sql.sql, sql.params);
        std::vector<QStringList> out;
        for (std::size_t i = 0; i < rows.size(); ++i)
            out.push_back({rows.text(i, "iautoid"), rows.text(i, "cpspcode"),
                           rows.text(i, "cfree1"), rows.text(i, "cfree2")});
        std::sort(out.begin(), out.end(), [&](const QStringList& a, const QStringList& b) {
            if (a[1] != b[1])
                return a[1] < b[1];
            if (a[2] != b[2])
                return descending ? a[2] > b[2] : a[2] < b[2];
            if (a[3] != b[3])
                return a[3] < b[3];
            return a[0] < b[0];
        });
        return out;
    }
    std::unique_ptr<db::Database> db;
};

TEST_P(ListPagingTest, PagesReturnEveryRowOnceInTheListsOrder) {
    test::TestSession demo(account->url(), QStringLiteral("demo"));
    const auto all = sorted(demo, false);
    ASSERT_GT(all.size(), 40u);
    for (int size : {1, 3, 7, 200})
        EXPECT_EQ(paged(demo, size), all) << size;

    // A restricted operator pages through exactly what his rights show.
    test::TestSession wang(account->url(), QStringLiteral("wang"));
    const auto his = sorted(wang, false);
    ASSERT_FALSE(his.empty());
    EXPECT_LT(his.size(), all.size());
    EXPECT_EQ(paged(wang, 2), his);

    // Mixed directions: free item 1 descending.
    suite::ColumnSettings settings;
    ASSERT_TRUE(settings.Init(account->url(), QStringLiteral("demo")));
    auto columns = settings.GetColset(QStringLiteral("WLQDLBM"));
    for (auto& c : columns)
        if (c.fieldName == QLatin1String("cfree1"))
            c.sort = QStringLiteral("desc");
    QString error;
    ASSERT_TRUE(settings.Save(QStringLiteral("WLQDLBM"), columns, &error));
    test::TestSession resorted(account->url(), QStringLiteral("demo"));
    EXPECT_EQ(paged(resorted, 3), sorted(resorted, true));
}

TEST_P(ListPagingTest, CountIsTheNumberOfRowsListed) {
    // li may see every item (his rights are a list that hides nothing), zhao no item at all.
    {
        db::Transaction tx(*db);
        suite::RightsStore rights(*db);
        for (const QString& user : {QStringLiteral("li"), QStringLiteral("zhao")}) {
            db->exec(QStringLiteral("INSERT INTO sys_operator(cuserid, cusername) VALUES (?, ?)"),
                     {user, user});
            rights.setScope(user, QStringLiteral("function"), suite::RightsStore::Scope::All);
        }
        rights.setScope(QStringLiteral("li"), QStringLiteral("inventory"),
                        suite::RightsStore::Scope::List);
        QStringList items;
        const db::Rows codes = db->query(QStringLiteral("SELECT cInvCode FROM Inventory"));
        for (std::size_t i = 0; i < codes.size(); ++i)
            items << codes.text(i, "cInvCode");
        rights.grant(QStringLiteral("li"), QStringLiteral("inventory"), items);
        rights.setScope(QStringLiteral("zhao"), QStringLiteral("inventory"),
                        suite::RightsStore::Scope::None);
        tx.commit();
    }
    const auto listed = [](test::TestSession& s, const db::SqlCondition& filter) {
        const db::SqlCondition sql = list::BomList(s.session()).parentQuery(filter);
        return int(s.db().query(sql.sql, sql.params).size());
    };
    const db::SqlCondition shirts{QStringLiteral("cpspcode = ?"), {QStringLiteral("GT100")}};
    const int all = db->scalar(QStringLiteral("SELECT count(*) FROM ProductStructure")).toInt();
    std::map<QString, int> counts;
    for (const QString& user : {QStringLiteral("demo"), QStringLiteral("wang"),
                                QStringLiteral("li"), QStringLiteral("zhao")}) {
        test::TestSession s(account->url(), user);
        const list::BomList list(s.session());
        counts[user] = list.parentCount();
        EXPECT_EQ(counts[user], listed(s, {})) << user.toStdString();
        EXPECT_EQ(list.parentCount(shirts), listed(s, shirts)) << user.toStdString();
        if (counts[user] > 0) { // the filter leaves some of his BOMs
            EXPECT_GT(list.parentCount(shirts), 0) << user.toStdString();
        }
    }
    EXPECT_EQ(counts["demo"], all);
    EXPECT_EQ(counts["li"], all);
    EXPECT_EQ(counts["zhao"], 0);
    EXPECT_GT(counts["wang"], 0);
    EXPECT_LT(counts["wang"], all);

    // Deleting a BOM hidden from wang and one he sees: his count follows both.
    test::TestSession demo(account->url(), QStringLiteral("demo"));
    const QString hidden =
        db->scalar(QStringLiteral("SELECT iautoid FROM ProductStructure p WHERE NOT EXISTS "
                                  "(SELECT 1 FROM sys_bom_visible v WHERE v.cuserid='wang' "
                                  "AND v.iautoid=p.iautoid)"))
            .toString();
    test::TestSession wang(account->url(), QStringLiteral("wang"));
    const db::SqlCondition his = list::BomList(wang.session()).parentQuery();
    const QString shown = wang.db().query(his.sql, his.params).text(0, "iautoid");
    ASSERT_FALSE(hidden.isEmpty());
    for (const QString& id : {hidden, shown}) {
        db::Transaction tx(demo.db());
        ASSERT_TRUE(bomservice::BomGuards(demo.session()).RemoveStoredBom(id));
        tx.commit();
    }
    EXPECT_EQ(list::BomList(wang.session()).parentCount(), counts["wang"] - 1);
    EXPECT_EQ(list::BomList(wang.session()).parentCount(), listed(wang, {}));
}

BOM_INSTANTIATE_BACKENDS(ListPagingTest);
