#include "bomservice/BomHistory.h"
#include "bomservice/BomRuns.h"
#include "db/DbError.h"
#include "support/TestAccount.h"
#include "variants/ColourSizeGenerator.h"

using namespace bom;
using variants::ColourSizeGenerator;
using Mode = ColourSizeGenerator::Mode;

namespace {

const QString kShirt = QStringLiteral("{4CEC3297-B84C-5AAF-B02C-EAE3D62404CD}"); // RED M, cost BOM
const QString kBike = QStringLiteral("{BDAD2A5E-EE29-5A09-AADB-050369217BC0}");
const QString kShirtCode = QStringLiteral("GT100");
const QString kStructureChanged = QStringLiteral("bStruChange");

// Rows as exact text, a row a line.
QStringList dump(db::Database& db, const QString& sql, const db::Params& params = {}) {
    return db.query(sql, params).asText();
}

} // namespace

class ColourSizeTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        account->createDemo();
        s = std::make_unique<test::TestSession>(account->url(), QStringLiteral("demo"));
        // The template's button line has a substitute; the bike uses the white small shirt.
        db().exec(QStringLiteral("INSERT INTO ProstruOpt(AutoID, cInvCode, Sequence, tdQtyN, "
                                 "tdQtyD, cWhcode) SELECT autoid, ?, 1, 6, 1, ? FROM "
                                 "ProductStructures WHERE ipid=? AND cpscode=?"),
                  {QStringLiteral("SC100"), QStringLiteral("02"), kShirt, QStringLiteral("BT100")});
        db().exec(QStringLiteral("INSERT INTO ProductStructures(ipid, cpspcode, cpscode, cfree1, "
                                 "cfree2, ipsquantity, tdqtyd) VALUES (?, ?, ?, ?, ?, 1, 1)"),
                  {kBike, QStringLiteral("BK100"), QStringLiteral("GT100"), QStringLiteral("WHT"),
                   QStringLiteral("S")});
    }
    void TearDown() override {
        s.reset();
        BackendTest::TearDown();
    }
    db::Database& db() { return s->db(); }
    int count(const QString& sql, const db::Params& params = {}) {
        return db().scalar(sql, params).toInt();
    }
    int colour(const ColourSizeGenerator& g, const QString& code) {
        for (std::size_t i = 0; i < g.colours().size(); ++i)
            if (g.colours()[i].colour.code == code)
                return int(i);
        return -1;
    }
    // Every row a run may write, keys and versions aside where undo moves them on.
    QStringList state() {
        QStringList out;
        out << dump(db(), QStringLiteral("SELECT iautoid, ID, cfree1, cfree2, ccheck, bmrcbbom "
                                         "FROM ProductStructure ORDER BY iautoid"));
        out << dump(db(), QStringLiteral("SELECT * FROM ProductStructures ORDER BY autoid"));
        out << dump(db(), QStringLiteral("SELECT * FROM ProstruOpt ORDER BY compsubid"));
        out << dump(db(), QStringLiteral("SELECT * FROM ProductStructuresEx ORDER BY cPSPCode, "
                                         "cPSCode"));
        return out;
    }
    QString bomOf(const QString& colourCode, const QString& size) {
        return db()
            .scalar(QStringLiteral("SELECT iautoid FROM ProductStructure WHERE cpspcode=? "
                                   "AND cfree1=? AND cfree2=?"),
                    {kShirtCode, colourCode, size})
            .toString();
    }
    // A generation of exactly these pairs from the shirt.
    ColourSizeGenerator::Result generate(const std::vector<variants::VariantPair>& pairs) {
        ColourSizeGenerator g(s->session());
        EXPECT_TRUE(g.Open(Mode::Copy, kShirt));
        EXPECT_TRUE(g.ChooseExactly(pairs));
        return g.Run().value_or(ColourSizeGenerator::Result{});
    }

    std::unique_ptr<test::TestSession> s;
};

TEST_P(ColourSizeTest, GeneratesEachNewPairOnceLikeASavedBomAndUndoRemovesThem) {
    db().exec(QStringLiteral("UPDATE accinformation SET cValue=? WHERE cname=?"),
              {QStringLiteral("0"), kStructureChanged});
    const QStringList before = state();
    ColourSizeGenerator g(s->session());
    ASSERT_TRUE(g.Open(Mode::Copy, kShirt));
    EXPECT_EQ(g.columns().colour, QStringLiteral("cfree1"));
    EXPECT_EQ(g.parentName(), QStringLiteral("男式衬衫"));
    // Both lists by alias; the existing pairs chosen and fixed.
    QStringList colours, sizes;
    for (const auto& row : g.colours())
        colours << row.colour.code;
    for (const auto& size : g.sizes())
        sizes << size.code;
    EXPECT_EQ(colours, (QStringList{"GRY", "WHT", "RED", "BLU", "BLK"}));
    EXPECT_EQ(sizes, (QStringList{"M", "XL", "L", "S", "XXL"}));
    const int red = colour(g, "RED"), white = colour(g, "WHT"), black = colour(g, "BLK");
    EXPECT_EQ(g.chosenText(red), QStringLiteral("M"));
    EXPECT_FALSE(g.setTicked(red, QStringLiteral("M"), false));
    g.ClearAll();
    EXPECT_EQ(g.chosenText(red), QStringLiteral("M"));

    // White small and medium, red large; black has nothing chosen and yields nothing.
    EXPECT_TRUE(g.setTicked(white, QStringLiteral("S"), true));
    EXPECT_TRUE(g.setTicked(white, QStringLiteral("M"), true));
    EXPECT_TRUE(g.setTicked(red, QStringLiteral("L"), true));
    EXPECT_EQ(g.chosenText(white), QStringLiteral("M,S"));
    EXPECT_EQ(g.chosenText(black), QString());
    const auto result = g.Run();
    ASSERT_TRUE(result);
    ASSERT_EQ(result->created.size(), 3);
    EXPECT_EQ(result->created.at(0), bomOf("WHT", "M"));
    EXPECT_EQ(result->created.at(2), bomOf("RED", "L"));
    EXPECT_TRUE(s->prompter.texts().isEmpty());

    // Copied from the template but never the cost BOM nor approved; the lines with new keys,
    // each button line with its substitute.
    for (const QString& id : result->created) {
        EXPECT_EQ(dump(db(),
                       QStringLiteral("SELECT cdepcode, cmemo, bmrcbbom, ccheck, csocode "
                                      "FROM ProductStructure WHERE iautoid=?"),
                       {id}),
                  QStringList{"0202|红色中码|0||NULL"});
        EXPECT_EQ(dump(db(),
                       QStringLiteral(
                           "SELECT l.cpscode, l.cfree1, l.ipsquantity, "
                           "l.tdqtyd, l.unitqty, CASE WHEN l.psid=h.ID THEN 1 END, o.cInvCode, "
                           "o.tdQtyN FROM ProductStructures l JOIN "
                           "ProductStructure h ON h.iautoid=l.ipid LEFT JOIN "
                           "ProstruOpt o ON o.AutoID=l.autoid WHERE l.ipid=? "
                           "ORDER BY l.autoid"),
                       {id}),
                  dump(db(),
                       QStringLiteral("SELECT l.cpscode, l.cfree1, l.ipsquantity, "
                                      "l.tdqtyd, l.unitqty, 1, o.cInvCode, o.tdQtyN FROM "
                                      "ProductStructures l LEFT JOIN ProstruOpt o ON "
                                      "o.AutoID=l.autoid WHERE l.ipid=? ORDER BY l.autoid"),
                       {kShirt}));
        const auto history = bomservice::BomHistory(db()).read(id);
        ASSERT_EQ(history.size(), 1u);
        EXPECT_EQ(history[0].change.kind, QStringLiteral("create"));
        EXPECT_EQ(history[0].run, result->run);
    }
    EXPECT_EQ(db().scalar(QStringLiteral("SELECT childguid FROM ProductStructures WHERE "
                                         "ipid=? AND cpscode=?"),
                          {kBike, kShirtCode})
                  .toString(),
              bomOf("WHT", "S"));
    EXPECT_DOUBLE_EQ(db().scalar(QStringLiteral("SELECT iPSQuantity FROM ProductStructuresEx "
                                                "WHERE cPSPCode=? AND cPSCode=?"),
                                 {kShirtCode, QStringLiteral("BT100")})
                         .toDouble(),
                     8.0 * 5);
    EXPECT_EQ(count("SELECT cValue FROM accinformation WHERE cname=?", {kStructureChanged}), 1);

    // Twice creates nothing.
    const auto again = g.Run();
    ASSERT_TRUE(again);
    EXPECT_EQ(again->run, 0);
    EXPECT_TRUE(again->created.isEmpty());
    EXPECT_EQ(count("SELECT COUNT(*) FROM ProductStructure WHERE cpspcode=?", {kShirtCode}), 5);

    bomservice::BomRuns runs(s->session());
    EXPECT_EQ(runs.List().front().operation, QStringLiteral("variants-generate"));
    EXPECT_EQ(runs.List().front().boms, 3);
    EXPECT_EQ(runs.List().front().description, QStringLiteral("GT100 WHT:M,WHT:S,RED:L"));
    ASSERT_TRUE(runs.Undo(result->run, QStringLiteral("批量处理")));
    EXPECT_EQ(state(), before);
}

TEST_P(ColourSizeTest, DeletionKeepsProtectedPairsReportsThemAndUndoPutsTheRestBack) {
    const auto made =
        generate({{"WHT", "S"}, {"WHT", "M"}, {"BLK", "XL"}, {"GRY", "M"}, {"GRY", "L"}});
    ASSERT_EQ(made.created.size(), 5);
    db().exec(QStringLiteral("UPDATE ProductStructure SET ccheck=? WHERE iautoid=?"),
              {QStringLiteral("演示操作员"), bomOf("WHT", "M")});
    const QStringList generated = state();

    ColourSizeGenerator g(s->session());
    ASSERT_TRUE(g.Open(Mode::Delete, kShirt));
    const int grey = colour(g, "GRY");
    EXPECT_EQ(g.chosenText(grey), QStringLiteral("M,L"));       // what exists starts chosen
    EXPECT_FALSE(g.setTicked(grey, QStringLiteral("S"), true)); // no BOM: cannot be ticked
    g.InvertSizes(grey);
    EXPECT_EQ(g.chosenText(grey), QString());
    g.ApplyToAllColours(grey);
    EXPECT_TRUE(g.chosenPairs().empty());
    ASSERT_TRUE(g.ChooseExactly({{"BLK", "XL"}, {"RED", "M"}, {"WHT", "S"}, {"WHT", "M"}}));
    const QString whiteSmall = bomOf("WHT", "S"), blackLarge = bomOf("BLK", "XL");
    const auto result = g.Run();
    ASSERT_TRUE(result);
    EXPECT_EQ(result->deleted, (QStringList{whiteSmall, blackLarge}));
    EXPECT_EQ(result->kept, (QStringList{bomOf("WHT", "M"), kShirt}));
    ASSERT_EQ(s->prompter.prompts().size(), 1u);
    EXPECT_EQ(
        s->prompter.prompts()[0].text,
        QStringLiteral("男式衬衫[颜色: WHT,尺码:M,版本号:]已审核或为默认成本BOM，不可删除！\r\n"
                       "男式衬衫[颜色: RED,尺码:M,版本号:]已审核或为默认成本BOM，不可删除！"));
    EXPECT_EQ(s->prompter.prompts()[0].title, QStringLiteral("提示"));
    EXPECT_EQ(s->prompter.prompts()[0].style, 16);
    // Gone with its lines and substitutes; the bike's line no longer points at it.
    for (const QString& table : {QStringLiteral("ProductStructure WHERE iautoid=?"),
                                 QStringLiteral("ProductStructures WHERE ipid=?"),
                                 QStringLiteral("ProstruOpt WHERE AutoID IN (SELECT autoid FROM "
                                                "ProductStructures WHERE ipid=?)"),
                                 QStringLiteral("ProductStructures WHERE childguid=?")})
        EXPECT_EQ(count(QStringLiteral("SELECT COUNT(*) FROM ") + table, {whiteSmall}), 0);

    bomservice::BomRuns runs(s->session());
    ASSERT_TRUE(runs.Undo(result->run, QStringLiteral("批量处理")));
    EXPECT_EQ(state(), generated);

    // A pair made again after its deletion keeps the deletion from being undone.
    ColourSizeGenerator again(s->session());
    ASSERT_TRUE(again.Open(Mode::Delete, kShirt));
    ASSERT_TRUE(again.ChooseExactly({{"GRY", "L"}}));
    const auto removed = again.Run();
    ASSERT_TRUE(removed && removed->run);
    generate({{"GRY", "L"}});
    EXPECT_FALSE(runs.Undo(removed->run, QStringLiteral("批量处理")));
    EXPECT_TRUE(s->prompter.texts().last().contains(QStringLiteral("已重新建立")));
    EXPECT_EQ(count("SELECT COUNT(*) FROM ProductStructure WHERE cfree1=? AND cfree2=?",
                    {QStringLiteral("GRY"), QStringLiteral("L")}),
              1);
}

TEST_P(ColourSizeTest, ACancelOrAFailureHalfWayLeavesNothingAndNamesMustBeTheItems) {
    const QStringList before = state();
    for (const bool cancel : {true, false}) {
        ColourSizeGenerator g(s->session());
        ASSERT_TRUE(g.Open(Mode::Copy, kShirt));
        g.TickAllSizes(colour(g, "BLU"));
        g.ApplyToAllColours(colour(g, "BLU"));
        EXPECT_EQ(g.chosenPairs().size(), 25u);
        const auto result = g.Run([&](int done, int) -> bool {
            EXPECT_GT(count("SELECT COUNT(*) FROM ProductStructure"), 8); // written so far
            if (!cancel)
                throw db::DbError(QStringLiteral("磁盘已满"));
            return done == 0;
        });
        EXPECT_EQ(result.has_value(), cancel);
        EXPECT_EQ(state(), before);
    }
    EXPECT_EQ(s->prompter.texts(),
              QStringList{QStringLiteral("颜色尺码处理失败，未做任何修改：磁盘已满")});

    // What a script names must be what the window could tick; refused, nothing chosen.
    ColourSizeGenerator g(s->session());
    ASSERT_TRUE(g.Open(Mode::Delete, kShirt));
    EXPECT_FALSE(g.ChooseExactly({{"RED", "M"}, {"PNK", "M"}}));
    EXPECT_FALSE(g.ChooseExactly({{"RED", "XS"}}));
    EXPECT_FALSE(g.ChooseExactly({{"WHT", "S"}}));
    EXPECT_EQ(s->prompter.texts().mid(1),
              (QStringList{QStringLiteral("颜色PNK不是GT100的颜色。"),
                           QStringLiteral("尺码XS不是GT100的尺码。"),
                           QStringLiteral("颜色WHT尺码S没有物料清单，不能删除。")}));
    EXPECT_EQ(g.chosenPairs().size(), 2u); // as opened: RED M and BLU L

    // A template gone meanwhile, or one the operator may not see.
    db().exec(QStringLiteral("DELETE FROM ProductStructure WHERE iautoid=?"), {kShirt});
    EXPECT_FALSE(ColourSizeGenerator(s->session()).Open(Mode::Copy, kShirt));
    EXPECT_EQ(s->prompter.texts().last(), QStringLiteral("当前选中的已被删除!"));
    s.reset(); // one session holds the function at a time
    test::TestSession wang(account->url(), QStringLiteral("wang"));
    EXPECT_FALSE(ColourSizeGenerator(wang.session()).Open(Mode::Copy, kBike));
    EXPECT_EQ(wang.prompter.texts(), QStringList{QStringLiteral("当前选中的已被删除!")});
}

BOM_INSTANTIATE_BACKENDS(ColourSizeTest);
