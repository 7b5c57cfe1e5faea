#include "db/TransactionRetry.h"
#include "db/DbError.h"
#include "db/Transaction.h"
#include "support/TestAccount.h"

#include <algorithm>
#include <atomic>
#include <latch>
#include <thread>
#include <utility>

using namespace bom;

namespace {

// Two sessions on one PostgreSQL database with a table of two counters.
class RetryTest : public ::testing::Test {
protected:
    void SetUp() override {
        const std::vector<std::string> kinds = test::backends();
        if (std::find(kinds.begin(), kinds.end(), "postgresql") == kinds.end())
            GTEST_SKIP() << "collisions are PostgreSQL's (BOM_TEST_PG_URL)";
        account = std::make_unique<test::TestAccount>("postgresql");
        one = db::Database::open(account->url(), db::Database::OpenMode::CreateIfMissing);
        other = db::Database::open(account->url());
        one->exec(QStringLiteral("CREATE TABLE tally (k INTEGER PRIMARY KEY, n INTEGER)"));
        one->exec(QStringLiteral("INSERT INTO tally VALUES (1, 0), (2, 0)"));
    }
    void TearDown() override {
        one.reset();
        other.reset();
        account.reset();
    }
    int count(int key) {
        return one->scalar(QStringLiteral("SELECT n FROM tally WHERE k=?"), {key}).toInt();
    }
    // Reads counter 1 in a repeatable-read transaction and writes it back plus one; on the
    // first attempt the other session adds 10 in between, which PostgreSQL refuses with 40001.
    // `isolate`: this transaction is the outermost one and sets its isolation itself.
    void readThenWrite(int& attempts, bool isolate = true) {
        ++attempts;
        db::Transaction tx(*one);
        if (isolate)
            one->exec(QStringLiteral("SET TRANSACTION ISOLATION LEVEL REPEATABLE READ"));
        const int n = count(1);
        if (attempts == 1)
            other->exec(QStringLiteral("UPDATE tally SET n=n+10 WHERE k=1"));
        one->exec(QStringLiteral("UPDATE tally SET n=? WHERE k=1"), {n + 1});
        tx.commit();
    }

    std::unique_ptr<test::TestAccount> account;
    std::unique_ptr<db::Database> one, other;
};

TEST_F(RetryTest, SerializationFailureIsRunAgainOnFreshDataButNotInsideAnOuterTransaction) {
    const qint64 retriedBefore = db::TransactionRetry::retries();
    int attempts = 0;
    db::TransactionRetry::run(*one, [&] { readThenWrite(attempts); });
    EXPECT_EQ(attempts, 2);
    EXPECT_EQ(count(1), 11) << "the second attempt must build on the other session's write";
    EXPECT_EQ(db::TransactionRetry::retries(), retriedBefore + 1);

    // Inside an outer transaction the collision ended the outer one too: it goes up, said as a
    // collision, and nothing of the outer transaction stays.
    attempts = 0;
    try {
        db::Transaction outer(*one);
        one->exec(QStringLiteral("SET TRANSACTION ISOLATION LEVEL REPEATABLE READ"));
        one->exec(QStringLiteral("UPDATE tally SET n=n+100 WHERE k=2"));
        db::TransactionRetry::run(*one, [&] { readThenWrite(attempts, false); });
        ADD_FAILURE() << "the collision was not reported";
    } catch (const db::DbError& e) {
        EXPECT_TRUE(e.collided());
        EXPECT_EQ(e.sqlState(), QStringLiteral("40001"));
        EXPECT_TRUE(e.message().contains(QStringLiteral("请重试"))) << e.message().toStdString();
    }
    EXPECT_EQ(attempts, 1);
    EXPECT_EQ(count(1), 21);
    EXPECT_EQ(count(2), 0);

    // Other failures are not collisions and are not run again.
    attempts = 0;
    try {
        db::TransactionRetry::run(*one, [&] {
            ++attempts;
            db::Transaction tx(*one);
            one->exec(QStringLiteral("INSERT INTO tally VALUES (1, 5)"));
            tx.commit();
        });
        ADD_FAILURE() << "the duplicate key was not reported";
    } catch (const db::DbError& e) {
        EXPECT_FALSE(e.collided());
    }
    EXPECT_EQ(attempts, 1);
}

TEST_F(RetryTest, DeadlockLoserIsRunAgainAndBothSessionsWritesStay) {
    // Two sessions take the counters in opposite order, each waiting for the other after its
    // first write: PostgreSQL ends one of them with 40P01.
    const qint64 retriedBefore = db::TransactionRetry::retries();
    std::latch bothHoldOne(2);
    std::atomic<int> attempts{0};
    std::vector<QString> failures(2);
    auto session = [&](int index, int first, int second) {
        try {
            auto db = db::Database::open(account->url());
            bool firstAttempt = true;
            db::TransactionRetry::run(*db, [&] {
                ++attempts;
                db::Transaction tx(*db);
                db->exec(QStringLiteral("UPDATE tally SET n=n+1 WHERE k=?"), {first});
                if (std::exchange(firstAttempt, false))
                    bothHoldOne.arrive_and_wait();
                db->exec(QStringLiteral("UPDATE tally SET n=n+1 WHERE k=?"), {second});
                tx.commit();
            });
        } catch (const db::DbError& e) {
            failures[std::size_t(index)] = e.message();
        }
    };
    std::thread a(session, 0, 1, 2), b(session, 1, 2, 1);
    a.join();
    b.join();
    EXPECT_EQ(failures, std::vector<QString>(2));
    EXPECT_EQ(attempts.load(), 3);
    EXPECT_EQ(db::TransactionRetry::retries(), retriedBefore + 1);
    EXPECT_EQ(count(1), 2);
    EXPECT_EQ(count(2), 2);
}

} // namespace
