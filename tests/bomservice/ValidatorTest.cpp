#include "bomservice/BomCardLoader.h"
#include "bomservice/BomValidator.h"
#include "db/Transaction.h"
#include "support/TestAccount.h"

#include <QSqlQuery>

using namespace bom;
using bomservice::BomCard;
using bomservice::BomValidator;

class ValidatorTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        account->createDemo();
        session = std::make_unique<test::TestSession>(account->url(), QStringLiteral("demo"));
    }
    void TearDown() override {
        session.reset();
        BackendTest::TearDown();
    }
    db::Database& db() { return session->db(); }
    BomCard load(const char* parent) {
        bomservice::BomCardLoader loader(session->session());
        const QString id =
            db().scalar(QStringLiteral("SELECT iautoid FROM ProductStructure WHERE cpspcode=? "
                                       "ORDER BY iautoid LIMIT 1"),
                        {QLatin1String(parent)})
                .toString();
        return *loader.LoadBom(*loader.LoadTemplate(QStringLiteral("PP30")), id);
    }
    // A new card for `parent` whose lines use `components`.
    BomCard newCard(const QString& parent, const QStringList& components) {
        BomCard card;
        card.header.setValue(card.header.appendRow(), QStringLiteral("cpspcode"), parent);
        for (const QString& component : components)
            addLine(card, component);
        return card;
    }
    int addLine(BomCard& card, const QString& component) {
        const int row = card.lines.appendRow();
        card.lines.setValue(row, QStringLiteral("cpscode"), component);
        card.lines.setValue(row, QStringLiteral("ipsquantity"), 1.0);
        card.lines.setValue(row, QStringLiteral("tdqtyd"), 1.0);
        card.lines.setEditprop(row, QStringLiteral("A"));
        return row;
    }
    // Validates and answers the one message shown, or "" when the card passed.
    QString verdict(BomCard card, int mode = 0) {
        session->prompter.clear();
        const bool ok = BomValidator(session->session()).ValidateBom(card, mode);
        const QStringList texts = session->prompter.texts();
        EXPECT_EQ(ok, texts.isEmpty());
        EXPECT_LE(texts.size(), 1);
        return texts.isEmpty() ? QString() : texts.first();
    }
    void store(const QString& parent, const QString& component) {
        const QString id = QStringLiteral("{%1}").arg(parent + QStringLiteral("-") + component);
        db().exec(
            QStringLiteral("INSERT INTO ProductStructure(iautoid, cpspcode) SELECT ?, ? "
                           "WHERE NOT EXISTS (SELECT 1 FROM ProductStructure WHERE iautoid=?)"),
            {id, parent, id});
        db().exec(QStringLiteral("INSERT INTO ProductStructures(ipid, cpspcode, cpscode, "
                                 "ipsquantity) VALUES (?, ?, ?, 1)"),
                  {id, parent, component});
    }
    std::unique_ptr<test::TestSession> session;
};

TEST_P(ValidatorTest, RulesRunInOrderAndStopAtTheFirstFailure) {
    EXPECT_EQ(verdict(load("FR100"), BomValidator::kModify), QString()); // re-saving itself

    BomCard noLines = load("FR100");
    for (int row : noLines.lines.allRows())
        noLines.lines.setEditprop(row, QStringLiteral("D"));
    EXPECT_EQ(verdict(noLines), QStringLiteral("一个母件至少要包括一个子件！"));

    // A repeated line and an unknown item: only the first rule speaks.
    BomCard twice =
        newCard(QStringLiteral("SD100X"), {QStringLiteral("RM100"), QStringLiteral("RM100")});
    EXPECT_EQ(verdict(twice), QStringLiteral("子件编码（RM100）出现重复，请修改！"));
    twice.lines.setValue(1, QStringLiteral("cfree1"), QStringLiteral("RED"));
    EXPECT_EQ(verdict(twice), QStringLiteral("存货SD100X不存在，请检查！"));
    twice.lines.setValue(1, QStringLiteral("cfree1"), QVariant());
    twice.lines.setEditprop(1, QStringLiteral("D"));
    twice.header.setValue(0, QStringLiteral("cpspcode"), QStringLiteral("SD100"));
    EXPECT_EQ(verdict(twice), QString()); // a deleted repeat is no duplicate

    BomCard again = load("FR100");
    again.header.setValue(0, QStringLiteral("iautoid"), QVariant());
    EXPECT_EQ(verdict(again), QStringLiteral("该母件+版本号已经存在！"));
    again.header.setValue(0, QStringLiteral("cfree1"), QStringLiteral("RED"));
    EXPECT_EQ(verdict(again), QStringLiteral("不允许设置颜色，请检查！"));
    again.header.setValue(0, QStringLiteral("cfree1"), QVariant());
    again.header.setValue(0, QStringLiteral("cfree3"), QStringLiteral("x"));
    EXPECT_EQ(verdict(again), QStringLiteral("不允许设置自由项3，请检查！"));

    BomCard zero = newCard(QStringLiteral("SD100"), {QStringLiteral("RM100")});
    zero.lines.setValue(0, QStringLiteral("ipsquantity"), 0.0);
    EXPECT_EQ(verdict(zero), QStringLiteral("基本用量分子必须大于0"));

    BomCard copied = newCard(QStringLiteral("SD100"), {QStringLiteral("RM100")});
    copied.lines.setValue(0, QStringLiteral("cpspcode"), QStringLiteral("OTHER"));
    BomValidator(session->session()).ValidateBom(copied, 0);
    EXPECT_EQ(copied.lines.text(0, QStringLiteral("cpspcode")), QStringLiteral("SD100"));

    // A material that substitutes elsewhere may not get a BOM; a flagged line may not be made.
    EXPECT_EQ(verdict(newCard(QStringLiteral("TU100"), {QStringLiteral("RM100")})),
              QStringLiteral("替代标示为[是]的物料不能为半成品或成品！"));
    BomCard flagged =
        newCard(QStringLiteral("SD100"), {QStringLiteral("RM100"), QStringLiteral("WH100")});
    flagged.lines.setValue(1, QStringLiteral("replaceflag"), QStringLiteral("是"));
    EXPECT_EQ(verdict(flagged),
              QStringLiteral("行[2]物料[WH100]为半成品或成品，替代标示不能为[是]。"));
}

TEST_P(ValidatorTest, DefaultCostQuestionDepartmentRightAndDuplicatesInTheDatabase) {
    BomValidator validator(session->session());
    const QString bk100 = load("BK100").header.text(0, QStringLiteral("iautoid"));
    EXPECT_TRUE(validator.ConfirmDefaultCostBom(QStringLiteral("BK100"), bk100)); // only itself
    session->prompter.queueAnswer(suite::Prompter::Answer::No);
    EXPECT_FALSE(validator.ConfirmDefaultCostBom(QStringLiteral("BK100"), QString()));
    const auto& asked = session->prompter.prompts().back();
    EXPECT_EQ(asked.title, QStringLiteral("物料清单"));
    EXPECT_EQ(asked.style, 4);
    session->prompter.queueAnswer(suite::Prompter::Answer::Yes);
    EXPECT_TRUE(validator.ConfirmDefaultCostBom(QStringLiteral("BK100"), QString()));

    EXPECT_EQ(validator.CheckDepartmentRight(load("BK100")), QString());
    session.reset();
    test::TestSession wang(account->url(), QStringLiteral("wang"));
    BomValidator restricted(wang.session());
    bomservice::BomCardLoader loader(wang.session());
    BomCard shirt = *loader.LoadBom(
        *loader.LoadTemplate(QStringLiteral("PP30")),
        wang.db()
            .scalar(QStringLiteral("SELECT iautoid FROM ProductStructure WHERE cfree1='RED'"))
            .toString());
    EXPECT_EQ(restricted.CheckDepartmentRight(shirt), QString());
    shirt.lines.setValue(2, QStringLiteral("cdepcode"), QStringLiteral("0101"));
    shirt.lines.setValue(2, QStringLiteral("usedept"), QVariant());
    EXPECT_EQ(restricted.CheckDepartmentRight(shirt), QStringLiteral("没有 装配车间 部门录入权限"));

    const QString id = shirt.header.text(0, QStringLiteral("iautoid"));
    {
        db::Transaction tx(wang.db());
        EXPECT_TRUE(restricted.CheckLineDuplicatesInDb(id));
        wang.db().exec(QStringLiteral("INSERT INTO ProductStructures(ipid, cpspcode, cpscode, "
                                      "cfree1, ipsquantity) VALUES (?, 'GT100', 'FB100', ?, 2)"),
                       {id, QStringLiteral("RED")});
        EXPECT_FALSE(restricted.CheckLineDuplicatesInDb(id));
        EXPECT_EQ(wang.prompter.texts().last(),
                  QStringLiteral("子件编码（FB100）出现重复，请修改！"));
    }
    EXPECT_TRUE(restricted.CheckLineDuplicatesInDb(id)); // rolled back with the transaction
}

TEST_P(ValidatorTest, CyclesAreFoundThroughAnyVariantAndAnyNumberOfPaths) {
    bomservice::CycleCheck cycles(db(), session->prompter);
    auto cycleOf = [&](const QString& parent, const QString& component) {
        session->prompter.clear();
        const bool ok = cycles.CheckCycle(newCard(parent, {QStringLiteral("RM100"), component}));
        return ok ? QStringList() : cycles.lastPath();
    };
    EXPECT_EQ(cycleOf(QStringLiteral("FR100"), QStringLiteral("BK100")),
              (QStringList{QStringLiteral("FR100"), QStringLiteral("BK100")}));
    EXPECT_EQ(session->prompter.texts(), QStringList{QStringLiteral("母件FR100与子件BK100循环!")});
    // Three levels: TU100 is in FR100, which is in BK100 and BK200.
    EXPECT_EQ(
        cycleOf(QStringLiteral("TU100"), QStringLiteral("BK100")),
        (QStringList{QStringLiteral("TU100"), QStringLiteral("FR100"), QStringLiteral("BK100")}));
    // The shirt's BOMs are colour variants; the fabric's would be a plain one: still a cycle.
    EXPECT_EQ(cycleOf(QStringLiteral("FB100"), QStringLiteral("GT100")).size(), 2);
    EXPECT_TRUE(cycleOf(QStringLiteral("FR100"), QStringLiteral("SD100")).isEmpty());
    EXPECT_TRUE(cycleOf(QStringLiteral("BK100"), QStringLiteral("BK200")).isEmpty());

    // A sub-assembly reached by 40 × 40 paths is read once per edge.
    db::Transaction tx(db());
    for (int a = 0; a < 40; ++a) {
        store(QStringLiteral("A%1").arg(a), QStringLiteral("BASE"));
        for (int b = 0; b < 40; ++b)
            store(QStringLiteral("B%1").arg(b), QStringLiteral("A%1").arg(a));
    }
    for (int b = 0; b < 40; ++b)
        store(QStringLiteral("TOP"), QStringLiteral("B%1").arg(b));
    tx.commit();
    EXPECT_EQ(cycleOf(QStringLiteral("BASE"), QStringLiteral("TOP")).size(), 4);
    EXPECT_TRUE(cycleOf(QStringLiteral("BASE"), QStringLiteral("ELSE")).isEmpty());

    // Old data that already loops ends the search instead of hanging it.
    store(QStringLiteral("L1"), QStringLiteral("L2"));
    store(QStringLiteral("L2"), QStringLiteral("L1"));
    EXPECT_TRUE(cycleOf(QStringLiteral("L1"), QStringLiteral("ELSE")).isEmpty());
    EXPECT_EQ(cycleOf(QStringLiteral("L1"), QStringLiteral("L1")),
              (QStringList{QStringLiteral("L1"), QStringLiteral("L2"), QStringLiteral("L1")}));

    // The forms' one-level check sees only a direct use.
    EXPECT_FALSE(cycles.CheckDirectCycle(QStringLiteral("FR100"), QStringLiteral("BK100")));
    EXPECT_EQ(session->prompter.texts().last(),
              QStringLiteral("该子件已经作为母件，\r\n不可出现循环调用！"));
    EXPECT_TRUE(cycles.CheckDirectCycle(QStringLiteral("TU100"), QStringLiteral("BK100")));
    EXPECT_TRUE(cycles.CheckDirectCycle(QStringLiteral("FR100"), QStringLiteral("RM100")));
    EXPECT_FALSE(cycles.CheckCycleUp(newCard(QStringLiteral("TU100"), {}), QStringLiteral("BK200"),
                                     QStringLiteral("TU100")));
}

TEST_P(ValidatorTest, LineRulesAnswerInRowOrderWhateverTheirSize) {
    BomValidator validator(session->session());
    auto duplicate = [&](const BomCard& card) {
        session->prompter.clear();
        const bool ok = validator.CheckLineDuplicates(card);
        EXPECT_EQ(ok, session->prompter.texts().isEmpty());
        return ok ? QString() : session->prompter.texts().first();
    };
    // The first line that has a later twin is named, not the first line that repeats one.
    const QString rim = QStringLiteral("RM100"), spoke = QStringLiteral("SP100");
    EXPECT_EQ(duplicate(newCard(QStringLiteral("SD100"), {rim, spoke, spoke, rim})),
              QStringLiteral("子件编码（RM100）出现重复，请修改！"));
    BomCard card = newCard(QStringLiteral("SD100"), {spoke, rim, rim});
    card.lines.setEditprop(1, QStringLiteral("D"));
    EXPECT_EQ(duplicate(card), QString()); // a deleted line is no twin
    card.lines.setValue(0, QStringLiteral("cfree2"), QStringLiteral("L"));
    addLine(card, spoke);
    EXPECT_EQ(duplicate(card), QString()); // a free item tells lines apart
    card.lines.setValue(3, QStringLiteral("csocode"), QStringLiteral("SO1"));
    addLine(card, spoke);
    card.lines.setValue(4, QStringLiteral("csocode"), QStringLiteral("SO1 "));
    addLine(card, QStringLiteral("sp100"));
    EXPECT_EQ(duplicate(card), QString()); // plain text: blanks and case count
    // A null cell and an empty one read the same; so do a number and its text.
    card.lines.setValue(5, QStringLiteral("cpscode"), spoke);
    card.lines.setValue(5, QStringLiteral("cfree2"), QStringLiteral("L"));
    card.lines.setValue(5, QStringLiteral("cfree5"), QStringLiteral(""));
    EXPECT_EQ(duplicate(card), QStringLiteral("子件编码（SP100）出现重复，请修改！"));
    card.lines.setValue(0, QStringLiteral("cfree7"), 7);
    card.lines.setValue(5, QStringLiteral("cfree7"), QStringLiteral("7.0"));
    EXPECT_EQ(duplicate(card), QString());
    card.lines.setValue(5, QStringLiteral("cfree7"), QStringLiteral("7"));
    EXPECT_EQ(duplicate(card), QStringLiteral("子件编码（SP100）出现重复，请修改！"));

    // 1,200 lines, past one look-up's worth of items: the first failing line speaks, however
    // far down, and a deleted line is not looked at.
    {
        QSqlQuery insert =
            db().prepare(QStringLiteral("INSERT INTO Inventory(iId, cInvCode, cInvName, bPurchase, "
                                        "bFree2) VALUES (?,?,'v',1,?)"));
        db::Transaction tx(db());
        for (int i = 0; i < 1200; ++i)
            db().run(insert, {200000 + i, QStringLiteral("V%1").arg(i), i == 1100 ? 1 : 0});
        tx.commit();
    }
    QStringList many;
    for (int i = 0; i < 1200; ++i)
        many << QStringLiteral("V%1").arg(i);
    BomCard big = newCard(QStringLiteral("SD100"), many);
    EXPECT_EQ(verdict(big), QString());
    big.lines.setValue(1150, QStringLiteral("cpscode"), QStringLiteral("NOPE"));
    big.lines.setValue(1180, QStringLiteral("cfree1"), QStringLiteral("RED"));
    EXPECT_EQ(verdict(big), QStringLiteral("存货NOPE不存在，请检查！"));
    big.lines.setValue(700, QStringLiteral("cfree1"), QStringLiteral("RED"));
    EXPECT_EQ(verdict(big), QStringLiteral("不允许设置颜色，请检查！"));
    big.lines.setValue(700, QStringLiteral("cfree1"), QVariant());
    big.lines.setValue(1100, QStringLiteral("cfree2"), QStringLiteral("XL")); // V1100 has sizes
    big.lines.setValue(1160, QStringLiteral("cfree4"), QStringLiteral("x"));
    EXPECT_EQ(verdict(big), QStringLiteral("存货NOPE不存在，请检查！"));
    big.lines.setEditprop(1150, QStringLiteral("D"));
    EXPECT_EQ(verdict(big), QStringLiteral("不允许设置自由项4，请检查！"));
    big.lines.setValue(1160, QStringLiteral("cfree4"), QVariant());
    big.lines.setValue(1180, QStringLiteral("cfree1"), QVariant());
    EXPECT_EQ(verdict(big), QString());
    big.lines.setValue(1199, QStringLiteral("cpscode"), QStringLiteral("V0"));
    EXPECT_EQ(verdict(big), QStringLiteral("子件编码（V0）出现重复，请修改！"));

    // Flagged lines are numbered among the live ones; a component's BOM counts only for the
    // variant it is (sales order and free items trimmed, as the identity rule reads them).
    BomCard flagged =
        newCard(QStringLiteral("SD100"), {QStringLiteral("TY100"), rim, QStringLiteral("WH100")});
    flagged.lines.setEditprop(0, QStringLiteral("D"));
    flagged.lines.setValue(1, QStringLiteral("replaceflag"), QStringLiteral("是"));
    flagged.lines.setValue(2, QStringLiteral("replaceflag"), QStringLiteral("是"));
    flagged.lines.setValue(2, QStringLiteral("csocode"), QStringLiteral("SO-X"));
    EXPECT_EQ(verdict(flagged), QString());
    flagged.lines.setValue(2, QStringLiteral("csocode"), QStringLiteral("  "));
    EXPECT_EQ(verdict(flagged),
              QStringLiteral("行[2]物料[WH100]为半成品或成品，替代标示不能为[是]。"));
}

BOM_INSTANTIATE_BACKENDS(ValidatorTest);
