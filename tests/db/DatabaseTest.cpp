#include "db/DbError.h"
#include "db/SchemaMigrator.h"
#include "db/SqlScript.h"
#include "db/Transaction.h"
#include "support/TestAccount.h"

using namespace bom;

TEST(SqlScript, KeepsQuotedTextDollarBodiesAndTriggerBlocksWhole) {
    const QStringList statements = db::splitSqlScript(QStringLiteral(
        "INSERT INTO t VALUES ('a;b', 'it''s; fine'); -- note; here\n"
        "CREATE FUNCTION f() RETURNS int AS $$ BEGIN RETURN 1; END; $$ LANGUAGE plpgsql;\n"
        "CREATE TRIGGER x AFTER UPDATE ON t BEGIN UPDATE t SET a=1; UPDATE t SET b=2; END;\n"
        "SELECT 1"));
    ASSERT_EQ(statements.size(), 4);
    EXPECT_EQ(statements[0], QStringLiteral("INSERT INTO t VALUES ('a;b', 'it''s; fine')"));
    EXPECT_TRUE(statements[1].endsWith(QStringLiteral("LANGUAGE plpgsql")));
    EXPECT_TRUE(statements[2].endsWith(QStringLiteral("END")));
    EXPECT_EQ(statements[3], QStringLiteral("SELECT 1"));
}

class DatabaseTest : public test::BackendTest {};

TEST_P(DatabaseTest, MigratesAnEmptyDatabaseOnceAndAgainIsANoOp) {
    auto db = db::Database::open(account->url(), db::Database::OpenMode::CreateIfMissing);
    EXPECT_EQ(db::SchemaMigrator::currentVersion(*db), 0);
    // Migration numbers may have gaps while branches add theirs: the last one counts.
    EXPECT_GT(db::SchemaMigrator::migrate(*db), 0);
    EXPECT_EQ(db::SchemaMigrator::migrate(*db), 0);
    EXPECT_EQ(db::SchemaMigrator::currentVersion(*db), db::SchemaMigrator::latestVersion());
    for (const char* name : {"ProductStructure",
                             "ProductStructures",
                             "ProductStructureEx",
                             "ProductStructuresEx",
                             "ProstruOpt",
                             "so_sodetails",
                             "Inventory",
                             "InventoryClass",
                             "Warehouse",
                             "Department",
                             "Person",
                             "ComputationUnit",
                             "ComputationGroup",
                             "CA_Predf",
                             "PP_RoutMainRef_V",
                             "so_somain",
                             "InventoryColorFree",
                             "userdef",
                             "userdefine",
                             "ca_MenuDef",
                             "AccInformation",
                             "GL_bdigest",
                             "vouchers",
                             "voucheritems",
                             "voucheritems_prn",
                             "VoucherTemplates",
                             "vouchlog",
                             "vouchlogs",
                             "pp_q_bomtreet",
                             "pp_q_bomtreew",
                             "PP_BomCardHead",
                             "PP_BomCardBody",
                             "PP_OptCardHead",
                             "PP_OptCardBody"})
        EXPECT_TRUE(db->relationExists(QLatin1String(name))) << name;
}

TEST_P(DatabaseTest, HeaderVersionGrowsOnEveryUpdateAndLinesFollowTheirHeader) {
    auto db = account->createDemo();
    const QString id = QStringLiteral("{00000000-0000-0000-0000-0000000000AA}");
    db->exec(QStringLiteral("INSERT INTO ProductStructure(iautoid, cpspcode) VALUES (?, 'BK100')"),
             {id});
    const qint64 headerId =
        db->scalar(QStringLiteral("SELECT ID FROM ProductStructure WHERE iautoid=?"), {id})
            .toLongLong();
    auto version = [&] {
        return db->scalar(QStringLiteral("SELECT qzts FROM ProductStructure WHERE iautoid=?"), {id})
            .toLongLong();
    };
    const qint64 first = version();
    db->exec(QStringLiteral("UPDATE ProductStructure SET cmemo='a' WHERE iautoid=?"), {id});
    db->exec(QStringLiteral("UPDATE ProductStructure SET cmemo='a' WHERE iautoid=?"), {id});
    EXPECT_EQ(version(), first + 2);

    const QVariant line = db->insertReturning(
        QStringLiteral("INSERT INTO ProductStructures(ipid, cpspcode, cpscode, ipsquantity) "
                       "VALUES (?, 'BK100', 'SD100', 1) RETURNING autoid"),
        {id});
    EXPECT_EQ(
        db->scalar(QStringLiteral("SELECT psid FROM ProductStructures WHERE autoid=?"), {line})
            .toLongLong(),
        headerId);
}

TEST_P(DatabaseTest, TransactionsRollBackUnlessCommittedAndValuesStayText) {
    auto db = account->createDemo();
    const QString nasty = QStringLiteral("x'); DELETE FROM Inventory; --");
    {
        db::Transaction outer(*db);
        db->exec(QStringLiteral("INSERT INTO GL_bdigest(cId, cText) VALUES ('T1', ?)"), {nasty});
        {
            db::Transaction inner(*db);
            db->exec(QStringLiteral("INSERT INTO GL_bdigest(cId, cText) VALUES ('T2', 'b')"));
        } // inner rolled back to its savepoint
        outer.commit();
    }
    {
        db::Transaction abandoned(*db);
        db->exec(QStringLiteral("INSERT INTO GL_bdigest(cId, cText) VALUES ('T3', 'c')"));
    }
    EXPECT_EQ(db->scalar(QStringLiteral("SELECT cText FROM GL_bdigest WHERE cId='T1'")).toString(),
              nasty);
    EXPECT_EQ(db->scalar(QStringLiteral("SELECT count(*) FROM GL_bdigest WHERE cId IN "
                                        "('T2','T3')"))
                  .toInt(),
              0);
    EXPECT_GT(db->scalar(QStringLiteral("SELECT count(*) FROM Inventory")).toInt(), 0);
    EXPECT_THROW(db->exec(QStringLiteral("SELECT * FROM no_such_table")), db::DbError);
}

TEST_P(DatabaseTest, ReusedStatementsSurviveFailuresRollbacksAndSchemaChanges) {
    auto db = db::Database::open(account->url(), db::Database::OpenMode::CreateIfMissing);
    auto other = db::Database::open(account->url());
    db->exec(QStringLiteral("CREATE TABLE probe (k INTEGER PRIMARY KEY, v TEXT)"));
    const QString insert = QStringLiteral("INSERT INTO probe(k, v) VALUES (?, ?)");
    const QString byKey = QStringLiteral("SELECT * FROM probe WHERE k=?");

    // A statement first run in a transaction that is rolled back, or one that failed, works
    // again afterwards.
    {
        db::Transaction tx(*db);
        db->exec(insert, {1, QStringLiteral("a")});
    }
    EXPECT_EQ(db->exec(insert, {1, QStringLiteral("b")}), 1);
    {
        db::Transaction tx(*db);
        EXPECT_THROW(db->exec(insert, {1, QStringLiteral("again")}), db::DbError);
    }
    EXPECT_EQ(db->exec(insert, {2, QStringLiteral("c")}), 1);

    // The same SQL read again while it is being read.
    QStringList seen;
    db->stream(
        QStringLiteral("SELECT v FROM probe WHERE k>=? ORDER BY k"), {1}, [](const QStringList&) {},
        [&](QVariantList&& row) {
            seen << row.at(0).toString();
            if (!db->isPostgres()) // PostgreSQL's driver ends a streamed read at the next query
                seen << db->scalar(QStringLiteral("SELECT v FROM probe WHERE k>=? ORDER BY k"), {2})
                            .toString();
        });
    EXPECT_EQ(seen, db->isPostgres() ? QStringList({"b", "c"}) : QStringList({"b", "c", "c", "c"}));

    // A read whose other rows were not wanted leaves no snapshot behind: another connection's
    // write is seen at once.
    EXPECT_EQ(db->scalar(QStringLiteral("SELECT v FROM probe WHERE k>=? ORDER BY k"), {1}),
              QStringLiteral("b"));
    other->exec(insert, {3, QStringLiteral("d")});
    EXPECT_EQ(db->scalar(QStringLiteral("SELECT count(*) FROM probe WHERE k>=?"), {0}).toInt(), 3);

    // A kept SELECT * follows the table's new columns.
    EXPECT_EQ(db->query(byKey, {3}).columns().size(), 2);
    db->exec(QStringLiteral("ALTER TABLE probe ADD COLUMN w TEXT"));
    EXPECT_EQ(db->query(byKey, {3}).columns().size(), 3);

    // However many different statements run, only so many are kept.
    for (int i = 0; i < db::Database::kMaxStatements + 20; ++i)
        EXPECT_EQ(
            db->scalar(QStringLiteral("SELECT count(*) + %1 FROM probe WHERE k>?").arg(i), {0})
                .toInt(),
            3 + i);
    EXPECT_EQ(db->cachedStatements(), db::Database::kMaxStatements);
    EXPECT_EQ(db->query(byKey, {2}).at(0).at(1).toString(), QStringLiteral("c"));
}

BOM_INSTANTIATE_BACKENDS(DatabaseTest);
