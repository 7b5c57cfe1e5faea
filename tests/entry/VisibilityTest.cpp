#include "bomservice/BomCardLoader.h"
#include "bomservice/BomSaver.h"
#include "bomservice/Guards.h"
#include "db/Transaction.h"
#include "entry/RowAuthFilter.h"
#include "list/BomList.h"
#include "suite/PublicService.h"
#include "suite/RightsStore.h"
#include "support/TestAccount.h"

#include <map>
#include <random>

using namespace bom;
using Scope = suite::RightsStore::Scope;

// The visible-BOM sets kept by saves, deletes and sign-ins against the rights themselves.
class VisibilityTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        db = account->createDemo();
        suite::PublicService::setFunctionLockShared(*db, true);
        db->exec(
            QStringLiteral("INSERT INTO sys_operator(cuserid, cusername) VALUES ('li', '李')"));
        suite::RightsStore(*db).setScope(QStringLiteral("li"), QStringLiteral("function"),
                                         Scope::All);
        writer = std::make_unique<test::TestSession>(account->url(), QStringLiteral("demo"));
    }
    void TearDown() override {
        sessions.clear();
        writer.reset();
        db.reset();
        BackendTest::TearDown();
    }
    QStringList column(const QString& sql, const db::Params& params = {}) {
        const db::Rows rows = db->query(sql, params);
        QStringList out;
        for (std::size_t i = 0; i < rows.size(); ++i)
            out << rows.at(i).first().toString();
        out.sort();
        return out;
    }
    // What the operator's list shows, through a session signed in when his rights last changed.
    QStringList listed(const QString& user) {
        auto& s = sessions[user];
        if (!s)
            s = std::make_unique<test::TestSession>(account->url(), user);
        const db::SqlCondition sql = list::BomList(s->session()).parentQuery();
        const db::Rows rows = s->db().query(sql.sql, sql.params);
        QStringList out;
        for (std::size_t i = 0; i < rows.size(); ++i)
            out << rows.text(i, "iautoid");
        out.sort();
        return out;
    }
    // What his rights allow, worked out row by row.
    QStringList allowed(const QString& user) {
        const auto scopes =
            entry::RowAuthFilter::bomScopesOf(suite::RightsStore(*db).effectiveRowScopes(user));
        const db::SqlCondition sql =
            db::sqlText(QStringLiteral("SELECT iautoid FROM pp_q_bomtreet WHERE 1=1")) +
            entry::RowAuthFilter::DirectBomAuthFilter(user, scopes);
        return column(sql.sql, sql.params);
    }
    std::unique_ptr<db::Database> db;
    std::unique_ptr<test::TestSession> writer;
    std::map<QString, std::unique_ptr<test::TestSession>> sessions;
};

TEST_P(VisibilityTest, KeptSetsAgreeWithTheRightsAfterRandomChanges) {
    std::mt19937 rng(GetParam() == "sqlite" ? 7 : 11);
    auto pick = [&](const QStringList& from) { return from.at(int(rng() % from.size())); };
    const QStringList users{QStringLiteral("wang"), QStringLiteral("li")};
    const QStringList kinds{QStringLiteral("department"), QStringLiteral("inventory"),
                            QStringLiteral("warehouse")};
    const std::map<QString, QStringList> codes{
        {kinds[0], column(QStringLiteral("SELECT cDepCode FROM Department"))},
        {kinds[1], column(QStringLiteral("SELECT cInvCode FROM Inventory"))},
        {kinds[2], column(QStringLiteral("SELECT cWhCode FROM Warehouse"))}};
    bomservice::BomCardLoader loader(writer->session());
    const auto voucher = loader.LoadTemplate(QStringLiteral("PP30"));
    ASSERT_TRUE(voucher);
    int saves = 0, rightsChanges = 0, deletions = 0;
    std::map<QString, int> signInAt;

    for (int step = 0; step < 40; ++step) {
        const QStringList boms = column(QStringLiteral("SELECT iautoid FROM ProductStructure"));
        // Every fifth step changes rights; the others write BOMs. Which BOM a step picks follows
        // the new BOMs' random keys, so a purely random choice of actions could skip a kind.
        const int action = step % 5 == 0 ? 0 : 1 + int(rng() % 4);
        if (action == 0) { // rights change; the operator signs in again some steps later
            const QString user = pick(users);
            const QString kind = pick(kinds);
            suite::RightsStore store(*db);
            db::Transaction tx(*db);
            switch (rng() % 4) {
            case 0:
                store.setScope(user, kind, rng() % 2 ? Scope::All : Scope::None);
                break;
            case 1: {
                const QStringList granted = store.codes(user, kind);
                if (!granted.isEmpty())
                    store.revoke(user, kind, {pick(granted)});
                break;
            }
            default:
                store.grant(user, kind, {pick(codes.at(kind))});
            }
            tx.commit();
            sessions.erase(user); // rights take effect at his next sign-in
            signInAt[user] = step + int(rng() % 3);
            ++rightsChanges;
            continue;
        }
        if (action == 1 && boms.size() > 4) { // a BOM deleted
            db::Transaction tx(writer->db());
            ASSERT_TRUE(bomservice::BomGuards(writer->session()).RemoveStoredBom(pick(boms)));
            tx.commit();
            ++deletions;
        } else { // a BOM changed through the save, or saved anew as an order BOM
            auto card = loader.LoadBom(*voucher, pick(boms));
            ASSERT_TRUE(card);
            const bool asNew = action == 2;
            card->header.setValue(0, QStringLiteral("cdepcode"),
                                  rng() % 3 ? pick(codes.at(kinds[0])) : QString());
            for (int row : card->lines.allRows()) {
                card->lines.setValue(row, QStringLiteral("cwhcode"),
                                     rng() % 3 ? pick(codes.at(kinds[2])) : QString());
                card->lines.setValue(row, QStringLiteral("cdepcode"),
                                     rng() % 2 ? pick(codes.at(kinds[0])) : QString());
                card->lines.setEditprop(row, QStringLiteral("M"));
            }
            if (asNew) {
                card->header.setValue(0, QStringLiteral("iautoid"), QVariant());
                card->header.setValue(0, QStringLiteral("csocode"),
                                      QStringLiteral("SO-%1").arg(step));
            }
            QString result, error;
            const bool saved =
                bomservice::BomSaver(writer->session())
                    .SaveBom(*card, QStringLiteral("PP30"), asNew ? 0 : 1, result, error);
            saves += saved;
        }
        for (const QString& user : users) {
            if (step >= signInAt[user]) {
                ASSERT_EQ(listed(user), allowed(user))
                    << user.toStdString() << " after step " << step;
            }
        }
    }
    // The run exercised every kind of change.
    EXPECT_GT(saves, 5);
    EXPECT_GT(rightsChanges, 3);
    EXPECT_GT(deletions, 1);
}

BOM_INSTANTIATE_BACKENDS(VisibilityTest);
