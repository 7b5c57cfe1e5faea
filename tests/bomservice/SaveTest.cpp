#include "bomservice/BomCardLoader.h"
#include "bomservice/BomSaver.h"
#include "bomservice/Guards.h"
#include "db/Transaction.h"
#include "suite/PublicService.h"
#include "support/TestAccount.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <csignal>
#include <functional>
#include <limits>

using namespace bom;
using bomservice::BomCard;

class SaveTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        auto db = account->createDemo();
        suite::PublicService::setFunctionLockShared(*db, true); // two sessions in some tests
        session = std::make_unique<test::TestSession>(account->url(), QStringLiteral("demo"));
    }
    void TearDown() override {
        session.reset();
        BackendTest::TearDown();
    }
    db::Database& db() { return session->db(); }
    QString idOf(const char* parent, const char* free1 = "") {
        return db()
            .scalar(QStringLiteral("SELECT iautoid FROM ProductStructure WHERE cpspcode=? "
                                   "AND COALESCE(cfree1,'')=? AND csocode IS NULL"),
                    {QLatin1String(parent), QLatin1String(free1)})
            .toString();
    }
    BomCard load(test::TestSession& s, const QString& id) {
        bomservice::BomCardLoader loader(s.session());
        return *loader.LoadBom(*loader.LoadTemplate(QStringLiteral("PP30")), id);
    }
    BomCard newCard(const QString& parent) {
        bomservice::BomCardLoader loader(session->session());
        BomCard card = loader.NewCard(*loader.LoadTemplate(QStringLiteral("PP30")));
        const int row = card.header.appendRow();
        card.header.setValue(row, QStringLiteral("cpspcode"), parent);
        card.header.setValue(row, QStringLiteral("bmrcbbom"), QStringLiteral("否"));
        return card;
    }
    int addLine(BomCard& card, const QString& component, double quantity) {
        const int row = card.lines.appendRow();
        card.lines.setValue(row, QStringLiteral("cpscode"), component);
        card.lines.setValue(row, QStringLiteral("ipsquantity"), quantity);
        card.lines.setValue(row, QStringLiteral("tdqtyd"), 1.0);
        card.lines.setValue(row, QStringLiteral("replaceflag"), QStringLiteral("否"));
        card.lines.setValue(row, QStringLiteral("wiptype"), QStringLiteral("正常领料"));
        card.lines.setEditprop(row, QStringLiteral("A"));
        return row;
    }
    bool save(test::TestSession& s, BomCard& card, int mode, QString* result = nullptr) {
        QString r, e;
        const bool ok =
            bomservice::BomSaver(s.session()).SaveBom(card, QStringLiteral("PP30"), mode, r, e);
        if (result)
            *result = r;
        return ok;
    }
    int count(const QString& sql, const db::Params& params = {}) {
        return db().scalar(sql, params).toInt();
    }
    double total(const char* parent, const char* component) {
        return db()
            .scalar(QStringLiteral("SELECT iPSQuantity FROM ProductStructuresEx WHERE "
                                   "cPSPCode=? AND cPSCode=?"),
                    {QLatin1String(parent), QLatin1String(component)})
            .toDouble();
    }
    std::unique_ptr<test::TestSession> session;
};

TEST_P(SaveTest, NewCardThenModificationKeepKeysLinesAndTotals) {
    db().exec(QStringLiteral("UPDATE AccInformation SET cValue='0' WHERE cName='bStruChange'"));
    BomCard card = newCard(QStringLiteral("SD100"));
    addLine(card, QStringLiteral("RM100"), 2);
    addLine(card, QStringLiteral("SP100"), 3);
    card.header.setValue(0, QStringLiteral("cmemo"),
                         QStringLiteral("x'); DELETE FROM Inventory; --"));
    ASSERT_TRUE(save(*session, card, 0)) << session->prompter.texts().join('|').toStdString();
    const QString id = card.header.text(0, QStringLiteral("iautoid"));
    EXPECT_EQ(id.size(), 38);
    EXPECT_FALSE(card.header.value(0, QStringLiteral("ID")).isNull());
    EXPECT_FALSE(card.lines.value(1, QStringLiteral("autoid")).isNull());
    EXPECT_EQ(card.lines.editprop(1), QString());
    EXPECT_EQ(
        db().scalar(QStringLiteral("SELECT cmemo FROM ProductStructure WHERE iautoid=?"), {id})
            .toString(),
        QStringLiteral("x'); DELETE FROM Inventory; --"));
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM Inventory")), 22);
    EXPECT_EQ(
        db().scalar(QStringLiteral("SELECT cValue FROM AccInformation WHERE cName='bStruChange'"))
            .toString(),
        QStringLiteral("1"));
    EXPECT_EQ(total("SD100", "SP100"), 3.0);

    // Change one line, add one, drop one: a second save is a modification.
    card.lines.setValue(0, QStringLiteral("ipsquantity"), 5.0);
    card.lines.setEditprop(0, QStringLiteral("M"));
    card.lines.setEditprop(1, QStringLiteral("D"));
    addLine(card, QStringLiteral("TY100"), 1);
    ASSERT_TRUE(save(*session, card, 1)) << session->prompter.texts().join('|').toStdString();
    EXPECT_EQ(card.lines.rowCount(), 2);
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProductStructures WHERE ipid=?"), {id}),
              2);
    EXPECT_EQ(total("SD100", "RM100"), 5.0);
    EXPECT_EQ(total("SD100", "SP100"), 0.0); // no line left: no total
    EXPECT_EQ(
        count(QStringLiteral("SELECT count(*) FROM ProductStructuresEx WHERE cPSPCode='SD100'")),
        2);
    EXPECT_EQ(
        count(QStringLiteral("SELECT count(*) FROM ProductStructureEx WHERE cPSPCode='SD100'")), 1);
    // Totals equal the stored lines over every BOM of each pair.
    EXPECT_EQ(
        count(QStringLiteral("SELECT count(*) FROM ProductStructuresEx x WHERE x.iPSQuantity <> "
                             "(SELECT SUM(ipsquantity) FROM ProductStructures p WHERE "
                             "p.cpspcode=x.cPSPCode AND p.cpscode=x.cPSCode)")),
        0);
}

TEST_P(SaveTest, SubstitutesFollowCopiedFlaggedLinesOnly) {
    BomCard frame = load(*session, idOf("FR100"));
    const QVariant tube = frame.lines.value(0, QStringLiteral("autoid")); // flagged, one substitute
    BomCard copy = newCard(QStringLiteral("SD100"));
    for (int source = 0; source < 2; ++source) {
        const int row = copy.lines.appendRow();
        for (const auto& column : frame.lines.columns())
            copy.lines.setValue(row, column.name, frame.lines.value(source, column.name));
        copy.lines.setEditprop(row, QStringLiteral("A"));
    }
    ASSERT_TRUE(save(*session, copy, 0)) << session->prompter.texts().join('|').toStdString();
    const QVariant copiedTube = copy.lines.value(0, QStringLiteral("autoid"));
    EXPECT_NE(copiedTube.toLongLong(), tube.toLongLong());
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProstruOpt WHERE AutoID=?"), {copiedTube}),
              1);
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProstruOpt WHERE AutoID=?"),
                    {copy.lines.value(1, QStringLiteral("autoid"))}),
              0);

    // Unflagging a line drops its substitutes.
    frame.lines.setValue(0, QStringLiteral("replaceflag"), QStringLiteral("否"));
    frame.lines.setEditprop(0, QStringLiteral("M"));
    ASSERT_TRUE(save(*session, frame, 1));
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProstruOpt WHERE AutoID=?"), {tube}), 0);
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProstruOpt WHERE AutoID=?"), {copiedTube}),
              1);
}

TEST_P(SaveTest, ChildLinksDefaultCostAndSalesOrderLinks) {
    // A new BOM of a part used elsewhere is linked from those lines; its own lines link down.
    BomCard rim = newCard(QStringLiteral("RM100"));
    addLine(rim, QStringLiteral("SP100"), 1);
    addLine(rim, QStringLiteral("FK100"), 1);
    ASSERT_TRUE(save(*session, rim, 0)) << session->prompter.texts().join('|').toStdString();
    const QString rimId = rim.header.text(0, QStringLiteral("iautoid"));
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProductStructures WHERE cpscode='RM100' "
                                   "AND childguid=?"),
                    {rimId}),
              1);
    EXPECT_EQ(db().scalar(QStringLiteral("SELECT childguid FROM ProductStructures WHERE ipid=? AND "
                                         "cpscode='FK100'"),
                          {rimId})
                  .toString(),
              idOf("FK100"));

    // A second default cost BOM of a parent: declined writes nothing, accepted moves the flag.
    BomCard order = newCard(QStringLiteral("BK100"));
    order.header.setValue(0, QStringLiteral("bmrcbbom"), QStringLiteral("是"));
    order.header.setValue(0, QStringLiteral("csocode"), QStringLiteral("SO2026001-BK100-0"));
    addLine(order, QStringLiteral("FR100"), 1);
    QString result;
    session->prompter.queueAnswer(suite::Prompter::Answer::No);
    EXPECT_FALSE(save(*session, order, 0, &result));
    EXPECT_EQ(result, QStringLiteral("用户取消"));
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProductStructure WHERE cpspcode='BK100'")),
              1);
    session->prompter.queueAnswer(suite::Prompter::Answer::Yes);
    ASSERT_TRUE(save(*session, order, 0));
    EXPECT_EQ(
        count(QStringLiteral("SELECT count(*) FROM ProductStructure WHERE cpspcode='BK100' AND "
                             "bmrcbbom=1")),
        1);
    EXPECT_EQ(count(QStringLiteral("SELECT bmrcbbom FROM ProductStructure WHERE iautoid=?"),
                    {order.header.text(0, QStringLiteral("iautoid"))}),
              1);
    // A line id of 0 links no sales order line; a three-part key with a real line does.
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM so_sodetails WHERE bomid IS NOT NULL")),
              1);
    BomCard shirt = newCard(QStringLiteral("GT100"));
    shirt.header.setValue(0, QStringLiteral("cfree1"), QStringLiteral("WHT"));
    shirt.header.setValue(0, QStringLiteral("csocode"), QStringLiteral("SO2026002-GT100"));
    addLine(shirt, QStringLiteral("BT100"), 6);
    ASSERT_TRUE(save(*session, shirt, 0));
    EXPECT_EQ(count(QStringLiteral(
                  "SELECT count(*) FROM so_sodetails WHERE autoid=102 AND bomid IS NULL")),
              1);
    shirt.header.setValue(0, QStringLiteral("csocode"), QStringLiteral("SO2026002-GT100-102"));
    ASSERT_TRUE(save(*session, shirt, 1));
    EXPECT_EQ(
        db().scalar(QStringLiteral("SELECT bomid FROM so_sodetails WHERE autoid=102")).toString(),
        shirt.header.text(0, QStringLiteral("iautoid")));
}

TEST_P(SaveTest, DuplicatesFoundInTheDatabaseRollTheSaveBack) {
    BomCard frame = load(*session, idOf("FR100"));
    frame.lines.removeRow(1); // only the changed line travels
    frame.lines.setValue(0, QStringLiteral("cpscode"), QStringLiteral("PT100"));
    frame.lines.setValue(0, QStringLiteral("replaceflag"), QStringLiteral("否"));
    frame.lines.setEditprop(0, QStringLiteral("M"));
    QString result;
    EXPECT_FALSE(save(*session, frame, 1, &result));
    EXPECT_EQ(result, QStringLiteral("保存失败！"));
    EXPECT_EQ(session->prompter.texts().last(),
              QStringLiteral("子件编码（PT100）出现重复，请修改！"));
    EXPECT_EQ(count(QStringLiteral(
                        "SELECT count(*) FROM ProductStructures WHERE ipid=? AND cpscode='TU100'"),
                    {idOf("FR100")}),
              1);
}

TEST_P(SaveTest, TwoSessionsCannotSaveOrDeleteOverEachOther) {
    test::TestSession other(account->url(), QStringLiteral("demo"));
    BomCard mine = load(*session, idOf("FR100"));
    BomCard theirs = load(other, idOf("FR100"));
    ASSERT_TRUE(bomservice::BomGuards(other.session()).DeleteBom(theirs, QStringLiteral("PP30")));
    mine.lines.setValue(0, QStringLiteral("ipsquantity"), 9.0);
    mine.lines.setEditprop(0, QStringLiteral("M"));
    QString result;
    EXPECT_FALSE(save(*session, mine, 1, &result));
    EXPECT_EQ(result, QStringLiteral("保存失败！"));
    EXPECT_EQ(session->prompter.prompts().back().text,
              QStringLiteral("该单据已被其他人更新或删除，请放弃后刷新！"));
    EXPECT_EQ(session->prompter.prompts().back().style, 16);
    EXPECT_EQ(
        count(QStringLiteral("SELECT count(*) FROM ProductStructures WHERE cpspcode='FR100'")), 0);

    BomCard wheel = load(*session, idOf("WH100"));
    BomCard changed = load(other, idOf("WH100"));
    changed.header.setValue(0, QStringLiteral("cmemo"), QStringLiteral("changed"));
    ASSERT_TRUE(save(other, changed, 1));
    EXPECT_FALSE(
        bomservice::BomGuards(session->session()).DeleteBom(wheel, QStringLiteral("PP30")));
    EXPECT_EQ(session->prompter.texts().last(),
              QStringLiteral("本单据已被其他人更新，请刷新后再试！"));
    EXPECT_TRUE(bomservice::BomGuards(session->session())
                    .DeleteBom(load(*session, idOf("WH100")), QStringLiteral("PP30")));
    EXPECT_FALSE(
        bomservice::BomGuards(session->session()).DeleteBom(wheel, QStringLiteral("PP30")));
    EXPECT_EQ(session->prompter.texts().last(), QStringLiteral("本单据已被其他人删除，请刷新！"));
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProductStructures WHERE childguid=?"),
                    {wheel.header.text(0, QStringLiteral("iautoid"))}),
              0);
}

TEST_P(SaveTest, AModificationWritesOnlyOverTheVersionItWasLoadedAt) {
    test::TestSession other(account->url(), QStringLiteral("demo"));
    const QString frame = idOf("FR100");
    auto memo = [&] {
        return db()
            .scalar(QStringLiteral("SELECT cmemo FROM ProductStructure WHERE iautoid=?"), {frame})
            .toString();
    };
    auto refusedAsChanged = [&](test::TestSession& s, BomCard card) {
        QString result;
        const bool saved = save(s, card, 1, &result);
        const auto& shown = s.prompter.prompts().back();
        return !saved && result == QStringLiteral("保存失败！") &&
               shown.text == QStringLiteral("该单据已被其他人更新或删除，请放弃后刷新！") &&
               shown.style == 16 && shown.title == QStringLiteral("BOM维护");
    };

    BomCard mine = load(*session, frame);
    BomCard theirs = load(other, frame);
    mine.header.setValue(0, QStringLiteral("cmemo"), QStringLiteral("mine"));
    ASSERT_TRUE(save(*session, mine, 1));
    theirs.header.setValue(0, QStringLiteral("cmemo"), QStringLiteral("theirs"));
    theirs.lines.setValue(0, QStringLiteral("ipsquantity"), 7.0);
    theirs.lines.setEditprop(0, QStringLiteral("M"));
    EXPECT_TRUE(refusedAsChanged(other, theirs));
    EXPECT_EQ(memo(), QStringLiteral("mine"));
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProductStructures WHERE ipid=? AND "
                                   "ipsquantity=7"),
                    {frame}),
              0);

    // A card without its version, and one loaded before an approval and its withdrawal.
    BomCard versionless = load(*session, frame);
    versionless.header.setValue(0, QStringLiteral("qzts"), QVariant());
    EXPECT_TRUE(refusedAsChanged(*session, versionless));
    BomCard stale = load(*session, frame);
    other.db().exec(QStringLiteral("UPDATE ProductStructure SET ccheck='demo' WHERE iautoid=?"),
                    {frame});
    other.db().exec(QStringLiteral("UPDATE ProductStructure SET ccheck=NULL WHERE iautoid=?"),
                    {frame});
    stale.header.setValue(0, QStringLiteral("cmemo"), QStringLiteral("stale"));
    EXPECT_TRUE(refusedAsChanged(*session, stale));
    EXPECT_EQ(memo(), QStringLiteral("mine"));

    // A line changed in the card but deleted meanwhile; a line of another BOM named in the card.
    BomCard fresh = load(*session, frame);
    other.db().exec(QStringLiteral("DELETE FROM ProductStructures WHERE autoid=?"),
                    {fresh.lines.value(0, QStringLiteral("autoid"))});
    fresh.lines.setValue(0, QStringLiteral("ipsquantity"), 5.0);
    fresh.lines.setEditprop(0, QStringLiteral("M"));
    fresh.header.setValue(0, QStringLiteral("cmemo"), QStringLiteral("fresh"));
    EXPECT_TRUE(refusedAsChanged(*session, fresh));
    EXPECT_EQ(memo(), QStringLiteral("mine"));

    const QString wheel = idOf("WH100");
    const QVariant foreignLine = db().scalar(
        QStringLiteral("SELECT min(autoid) FROM ProductStructures WHERE ipid=?"), {wheel});
    const int wheelLines =
        count(QStringLiteral("SELECT count(*) FROM ProductStructures WHERE ipid=?"), {wheel});
    BomCard intruder = load(*session, frame);
    intruder.lines.setValue(0, QStringLiteral("autoid"), foreignLine);
    intruder.lines.setEditprop(0, QStringLiteral("M"));
    EXPECT_TRUE(refusedAsChanged(*session, intruder));
    BomCard remover = load(*session, frame);
    const int row = remover.lines.appendRow();
    remover.lines.setValue(row, QStringLiteral("autoid"), foreignLine);
    remover.lines.setEditprop(row, QStringLiteral("D"));
    EXPECT_TRUE(save(*session, remover, 1));
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProductStructures WHERE ipid=?"), {wheel}),
              wheelLines);
}

TEST_P(SaveTest, NullCellsKeepDefaultsAndStoredValues) {
    BomCard card = newCard(QStringLiteral("SD100"));
    const int row = addLine(card, QStringLiteral("RM100"), 2.0);
    card.lines.setValue(row, QStringLiteral("wiptype"), QVariant());
    ASSERT_TRUE(save(*session, card, 0));
    const QString id = card.header.text(0, QStringLiteral("iautoid"));
    EXPECT_EQ(count(QStringLiteral("SELECT bexpand FROM ProductStructure WHERE iautoid=?"), {id}),
              1);
    EXPECT_EQ(count(QStringLiteral("SELECT wiptype FROM ProductStructures WHERE ipid=?"), {id}), 3);
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProductStructureEx WHERE cpspcode='SD100' "
                                   "AND cdepcode=''")),
              1); // an empty department is kept as empty text

    db().exec(QStringLiteral("UPDATE ProductStructures SET iwasterate=5 WHERE ipid=?"), {id});
    BomCard loaded = load(*session, id);
    loaded.lines.setValue(0, QStringLiteral("iwasterate"), QVariant());
    loaded.lines.setValue(0, QStringLiteral("ipsquantity"), 3.0);
    loaded.lines.setEditprop(0, QStringLiteral("M"));
    ASSERT_TRUE(save(*session, loaded, 1));
    EXPECT_EQ(count(QStringLiteral("SELECT iwasterate FROM ProductStructures WHERE ipid=?"), {id}),
              5);
    EXPECT_EQ(count(QStringLiteral("SELECT ipsquantity FROM ProductStructures WHERE ipid=?"), {id}),
              3);
}

TEST_P(SaveTest, BadValuesAreRefusedNamingTheirFieldAndChangeNothing) {
    const QString frame = idOf("FR100");
    auto line = [](const char* field, const QVariant& value) {
        return [=](BomCard& c) {
            c.lines.setValue(0, QLatin1String(field), value);
            c.lines.setEditprop(0, QStringLiteral("M"));
        };
    };
    auto header = [](const char* field, const QVariant& value) {
        return [=](BomCard& c) { c.header.setValue(0, QLatin1String(field), value); };
    };
    const struct {
        std::function<void(BomCard&)> spoil;
        QStringList shown; // every piece appears in the one message shown
    } cases[] = {
        {line("cpscode", QStringLiteral("FR100")), {QStringLiteral("母件不可与子件相同！")}},
        {line("ipsquantity", QStringLiteral(" ")), {QStringLiteral("基本用量分子不可为空！")}},
        {line("ipsquantity", QStringLiteral("abc")), {QStringLiteral("基本用量分子必须为数字！")}},
        {line("ipsquantity", QStringLiteral("nan")), {QStringLiteral("基本用量分子必须为数字！")}},
        {line("ipsquantity", std::numeric_limits<double>::infinity()),
         {QStringLiteral("基本用量分子必须为数字！")}},
        {line("ipsquantity", 0.0), {QStringLiteral("基本用量分子必须大于0")}},
        {line("ipsquantity", -2.0), {QStringLiteral("基本用量分子必须大于0")}},
        {line("tdqtyd", QVariant()), {QStringLiteral("基本用量分母不可为空！")}},
        {line("tdqtyd", QStringLiteral("1/2")), {QStringLiteral("基本用量分母必须为数字！")}},
        {line("tdqtyd", QStringLiteral("-0")), {QStringLiteral("基本用量分母必须大于0")}},
        {line("cpscode", QStringLiteral("RM1\u0000"
                                        "00")),
         {QStringLiteral("cpscode"), QStringLiteral("非法字符")}},
        {header("cmemo", QString(256, QLatin1Char('x'))),
         {QStringLiteral("备注（cmemo）"), QStringLiteral("255")}},
        {header("fbzgs", QStringLiteral("2h")), {QStringLiteral("标准工时（fbzgs）必须为数字！")}},
        {header("ivtid", 1.5), {QStringLiteral("ivtid"), QStringLiteral("整数")}},
        {header("qzts", QStringLiteral("new")), {QStringLiteral("qzts"), QStringLiteral("数字")}},
        {[](BomCard& c) {
             c.lines.setValue(0, QStringLiteral("autoid"), QStringLiteral("1 or 1=1"));
             c.lines.setEditprop(0, QStringLiteral("D"));
         },
         {QStringLiteral("autoid")}},
    };
    auto snapshot = [&] {
        const db::Rows rows = db().query(
            QStringLiteral("SELECT h.qzts, h.cmemo, l.autoid, l.cpscode, l.ipsquantity, l.tdqtyd "
                           "FROM ProductStructure h JOIN ProductStructures l ON l.ipid=h.iautoid "
                           "WHERE h.iautoid=? ORDER BY l.autoid"),
            {frame});
        QStringList out;
        for (std::size_t i = 0; i < rows.size(); ++i)
            for (const QVariant& v : rows.at(i))
                out << v.toString();
        return out;
    };
    const QStringList before = snapshot();
    for (const auto& c : cases) {
        BomCard card = load(*session, frame);
        c.spoil(card);
        session->prompter.clear();
        EXPECT_FALSE(save(*session, card, 1));
        ASSERT_EQ(session->prompter.texts().size(), 1);
        const QString text = session->prompter.texts().first();
        for (const QString& piece : c.shown)
            EXPECT_TRUE(text.contains(piece)) << text.toStdString();
        EXPECT_EQ(snapshot(), before) << text.toStdString();
    }
}

TEST_P(SaveTest, GuardsAndAttachments) {
    bomservice::BomGuards guards(session->session());
    EXPECT_FALSE(guards.CheckNotApproved(idOf("BK100")));
    EXPECT_EQ(session->prompter.texts().last(), QStringLiteral("审核过的产品不可修改！"));
    EXPECT_TRUE(guards.CheckNotApproved(idOf("FR100"))); // ccheck is NULL
    EXPECT_FALSE(guards.CheckNotStopped(idOf("GT100", "BLU")));
    EXPECT_EQ(session->prompter.texts().last(), QStringLiteral("停用的产品不可修改！"));
    EXPECT_TRUE(guards.CheckNotStopped(idOf("FR100")));

    const QString frame = idOf("FR100");
    const QString voucherId = guards.GetVoucherId(frame);
    db().exec(QStringLiteral("INSERT INTO sys_attachment(ccardnum, ivoucherid, cfilename) VALUES "
                             "('pp30', ?, 'drawing.pdf')"),
              {voucherId.toLongLong()});
    bomservice::RowSet document;
    EXPECT_FALSE(guards.BuildAttachmentRow(document, frame, QStringLiteral("0")));
    EXPECT_EQ(session->prompter.texts().last(), QStringLiteral("请先请删除单据附件！"));
    guards.BuildAttachmentRowClosed(document, idOf("BK100"), QStringLiteral("0"));
    EXPECT_EQ(document.text(0, QStringLiteral("strcardnum")), QStringLiteral("pp30"));
    EXPECT_TRUE(document.value(0, QStringLiteral("bclosecard")).toBool());

    ASSERT_TRUE(guards.DeleteBom(load(*session, frame), QStringLiteral("PP30")));
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM sys_attachment")), 0);
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProstruOpt WHERE AutoID NOT IN (SELECT "
                                   "autoid FROM ProductStructures)")),
              0);
    EXPECT_EQ(total("FR100", "TU100"), 0.0);
}

TEST_P(SaveTest, AKilledSaveLeavesNothingBehind) {
    // 20,000 purchased items for one card large enough to be killed in the middle of its save.
    QJsonArray lines;
    {
        QSqlQuery insert = db().prepare(QStringLiteral(
            "INSERT INTO Inventory(iId, cInvCode, cInvName, bPurchase) VALUES (?, ?, 'k', 1)"));
        db::Transaction tx(db());
        for (int i = 0; i < 20000; ++i) {
            db().run(insert, {100000 + i, QStringLiteral("K%1").arg(i)});
            lines.append(QJsonObject{{"cpscode", QStringLiteral("K%1").arg(i)},
                                     {"ipsquantity", 1},
                                     {"tdqtyd", 1},
                                     {"replaceflag", QStringLiteral("否")},
                                     {"wiptype", QStringLiteral("正常领料")}});
        }
        tx.commit();
    }
    QTemporaryDir dir;
    QFile file(dir.filePath(QStringLiteral("big.json")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(
        QJsonDocument(QJsonObject{{"header", QJsonObject{{"cpspcode", "SD100"}}}, {"lines", lines}})
            .toJson());
    file.close();
    session.reset(); // bomctl takes its own session

    QProcess save;
    save.start(QStringLiteral(BOMCTL_PATH),
               {QStringLiteral("save"), file.fileName(), QStringLiteral("--db"), account->url(),
                QStringLiteral("--user"), QStringLiteral("demo")});
    ASSERT_TRUE(save.waitForStarted());
    auto observer = db::Database::open(account->url());
    // Killed as soon as its session, holding the function lock, is inside the write of the card:
    // a fixed delay would let a fast machine finish the save first.
    const auto writing = [&observer] {
        if (observer->isPostgres())
            return observer
                       ->scalar(QStringLiteral(
                           "SELECT count(*) FROM pg_locks l JOIN pg_class c ON c.oid = l.relation "
                           "WHERE c.relname IN ('productstructure', 'productstructures') "
                           "AND l.mode = 'RowExclusiveLock' AND l.pid <> pg_backend_pid()"))
                       .toInt() > 0;
        try {
            observer->exec(QStringLiteral("BEGIN IMMEDIATE"));
        } catch (const std::exception&) {
            return true; // another connection holds the write lock
        }
        observer->exec(QStringLiteral("ROLLBACK"));
        return false;
    };
    if (!observer->isPostgres())
        observer->exec(QStringLiteral("PRAGMA busy_timeout=0"));
    bool locked = false;
    for (int i = 0; i < 4000 && !locked; ++i) {
        locked = observer->scalar(QStringLiteral("SELECT count(*) FROM sys_lock")).toInt() > 0;
        if (!locked)
            QThread::msleep(2);
    }
    ASSERT_TRUE(locked) << "the save never took its function lock";
    bool inWrite = false;
    for (int i = 0; i < 20000 && !(inWrite = writing()); ++i)
        QThread::usleep(500);
    ::kill(pid_t(save.processId()), SIGKILL);
    save.waitForFinished();
    ASSERT_EQ(save.exitStatus(), QProcess::CrashExit) << "the save finished before it was killed";
    ASSERT_TRUE(inWrite) << "the save was never seen writing";
    EXPECT_EQ(
        observer
            ->scalar(QStringLiteral("SELECT count(*) FROM ProductStructure WHERE cpspcode='SD100'"))
            .toInt(),
        0);
    EXPECT_EQ(observer
                  ->scalar(QStringLiteral(
                      "SELECT count(*) FROM ProductStructures WHERE cpspcode='SD100'"))
                  .toInt(),
              0);
    EXPECT_EQ(observer
                  ->scalar(QStringLiteral(
                      "SELECT count(*) FROM ProductStructuresEx WHERE cPSPCode='SD100'"))
                  .toInt(),
              0);
    EXPECT_EQ(observer
                  ->scalar(QStringLiteral("SELECT count(*) FROM ProstruOpt WHERE AutoID NOT IN "
                                          "(SELECT autoid FROM ProductStructures)"))
                  .toInt(),
              0);
}

TEST_P(SaveTest, LargeCardsKeepCardOrderDefaultsAndTheirHeader) {
    {
        QSqlQuery insert = db().prepare(QStringLiteral(
            "INSERT INTO Inventory(iId, cInvCode, cInvName, bPurchase) VALUES (?, ?, 'w', 1)"));
        db::Transaction tx(db());
        for (int i = 0; i < 450; ++i)
            db().run(insert, {300000 + i, QStringLiteral("W%1").arg(i)});
        tx.commit();
    }
    // Long runs of lines carrying the same cells, then lines that differ one by one.
    auto wasted = [](int i) { return i < 250 || i % 3 == 0; };
    BomCard card = newCard(QStringLiteral("SD100"));
    for (int i = 0; i < 450; ++i) {
        const int row = addLine(card, QStringLiteral("W%1").arg(i), 1 + i % 7);
        if (wasted(i))
            card.lines.setValue(row, QStringLiteral("iwasterate"), 2.0);
    }
    ASSERT_TRUE(save(*session, card, 0)) << session->prompter.texts().join('|').toStdString();
    const QString id = card.header.text(0, QStringLiteral("iautoid"));
    auto stored = [&] {
        const db::Rows rows = db().query(
            QStringLiteral("SELECT l.autoid, l.cpscode, l.ipsquantity, l.iwasterate, "
                           "CASE WHEN l.psid = h.ID THEN 'linked' ELSE 'stray' END FROM "
                           "ProductStructures l JOIN ProductStructure h ON h.iautoid = l.ipid "
                           "WHERE l.ipid=? ORDER BY l.autoid"),
            {id});
        QStringList out;
        for (std::size_t i = 0; i < rows.size(); ++i)
            out << QStringLiteral("%1 %2 %3 %4 %5")
                       .arg(rows.at(i).at(0).toLongLong())
                       .arg(rows.at(i).at(1).toString())
                       .arg(rows.at(i).at(2).toDouble())
                       .arg(rows.at(i).at(3).toDouble())
                       .arg(rows.at(i).at(4).toString());
        return out;
    };
    QStringList expected;
    for (int i = 0; i < 450; ++i)
        expected << QStringLiteral("%1 W%2 %3 %4 linked")
                        .arg(card.lines.value(i, QStringLiteral("autoid")).toLongLong())
                        .arg(i)
                        .arg(1 + i % 7)
                        .arg(wasted(i) ? 2 : 0); // a null cell keeps the table's default
    EXPECT_EQ(stored(), expected);

    // Drop 330 lines (two with substitutes), change ten, add two.
    BomCard loaded = load(*session, id);
    for (int row : {20, 21})
        db().exec(QStringLiteral("INSERT INTO ProstruOpt(AutoID, cInvCode) VALUES (?, 'SP100')"),
                  {loaded.lines.value(row, QStringLiteral("autoid"))});
    for (int row = 10; row < 340; ++row)
        loaded.lines.setEditprop(row, QStringLiteral("D"));
    for (int row = 0; row < 10; ++row) {
        loaded.lines.setValue(row, QStringLiteral("ipsquantity"), 9.0);
        loaded.lines.setEditprop(row, QStringLiteral("M"));
    }
    const int rim = addLine(loaded, QStringLiteral("RM100"), 4);
    addLine(loaded, QStringLiteral("SP100"), 5);
    ASSERT_TRUE(save(*session, loaded, 1)) << session->prompter.texts().join('|').toStdString();
    ASSERT_EQ(loaded.lines.rowCount(), 122);
    expected.clear();
    for (int row = 0; row < loaded.lines.rowCount(); ++row) {
        const int i = row < 10 ? row : row + 330;
        expected << QStringLiteral("%1 %2 %3 %4 linked")
                        .arg(loaded.lines.value(row, QStringLiteral("autoid")).toLongLong())
                        .arg(loaded.lines.text(row, QStringLiteral("cpscode")))
                        .arg(row < 10           ? 9
                             : row >= rim - 330 ? 4 + row - (rim - 330)
                                                : 1 + i % 7)
                        .arg(row >= rim - 330 ? 0
                             : wasted(i)      ? 2
                                              : 0);
    }
    EXPECT_EQ(stored(), expected);
    EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProstruOpt WHERE AutoID NOT IN (SELECT "
                                   "autoid FROM ProductStructures)")),
              0);
    EXPECT_EQ(total("SD100", "W0"), 9.0);
    EXPECT_EQ(total("SD100", "W15"), 0.0);
}

TEST_P(SaveTest, ManyModifiedLinesWriteWhatOneLineAtATimeWritesAndAllOrNothing) {
    // Two BOMs alike; the same edits go to one in a single save and to the other line by line.
    // Lines come in blocks that carry the same cells: 20 lines, then four blocks of 10.
    constexpr int kLines = 60;
    auto block = [](int row) { return row < 20 ? 0 : 1 + (row - 20) / 10; };
    {
        QSqlQuery insert = db().prepare(QStringLiteral(
            "INSERT INTO Inventory(iId, cInvCode, cInvName, bPurchase) VALUES (?, ?, 'm', 1)"));
        db::Transaction tx(db());
        for (int i = 0; i < kLines + 2; ++i)
            db().run(insert, {400000 + i, i < kLines ? QStringLiteral("M%1").arg(i)
                                                     : QStringLiteral("MP%1").arg(i - kLines)});
        tx.commit();
    }
    QString ids[2];
    for (int b = 0; b < 2; ++b) {
        BomCard card = newCard(QStringLiteral("MP%1").arg(b));
        for (int i = 0; i < kLines; ++i) {
            const int row = addLine(card, QStringLiteral("M%1").arg(i), 1 + i % 5);
            if (block(i) % 2 == 0)
                card.lines.setValue(row, QStringLiteral("iwasterate"), 2.0);
            if (block(i) != 3) {
                card.lines.setValue(row, QStringLiteral("cwhcode"), QStringLiteral("W01"));
                card.lines.setValue(row, QStringLiteral("cdefine22"), QStringLiteral("old"));
            }
        }
        ASSERT_TRUE(save(*session, card, 0)) << session->prompter.texts().join('|').toStdString();
        ids[b] = card.header.text(0, QStringLiteral("iautoid"));
    }
    // Numbers, texts, display flags, empty cells (stored as NULL) and null cells (kept).
    auto edit = [&](BomCard& card, int row) {
        auto set = [&](const char* field, const QVariant& value) {
            card.lines.setValue(row, QLatin1String(field), value);
        };
        switch (block(row)) {
        case 0:
            set("ipsquantity", 1.0 / 3 + row);
            set("cdefine26", 1e-7 * row);
            break;
        case 1:
            set("cwhcode", QStringLiteral(""));
            set("cdefine22", QStringLiteral("it's 第%1行").arg(row));
            set("wiptype", QStringLiteral("入库倒冲"));
            break;
        case 2:
            set("iwasterate", QVariant());
            set("cdefine26", QStringLiteral(""));
            set("replaceflag", QStringLiteral("是"));
            break;
        case 3:
            set("cdefine22", QVariant());
            set("cdefine27", 123456789.125);
            set("unitqty", QStringLiteral("4"));
            break;
        default:
            break; // marked changed, nothing changed
        }
        card.lines.setEditprop(row, QStringLiteral("M"));
    };
    BomCard whole = load(*session, ids[0]);
    for (int row = 0; row < kLines; ++row)
        edit(whole, row);
    ASSERT_TRUE(save(*session, whole, 1)) << session->prompter.texts().join('|').toStdString();
    BomCard single = load(*session, ids[1]);
    for (int row = 0; row < kLines; ++row) {
        edit(single, row);
        ASSERT_TRUE(save(*session, single, 1)) << row;
    }
    auto stored = [&](const QString& id) {
        const db::Rows rows = db().query(
            QStringLiteral("SELECT l.cpscode, l.ipsquantity, l.tdqtyd, l.iwasterate, l.cwhcode, "
                           "l.cdefine22, l.cdefine26, l.cdefine27, l.unitqty, l.wiptype, "
                           "l.replaceflag, CASE WHEN l.psid = h.ID AND l.cpspcode = h.cpspcode "
                           "THEN 'linked' ELSE 'stray' END FROM ProductStructures l JOIN "
                           "ProductStructure h ON h.iautoid = l.ipid WHERE l.ipid=? ORDER BY "
                           "l.autoid"),
            {id});
        QStringList out;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            QStringList cells;
            for (const QVariant& v : rows.at(i))
                cells << (v.isNull() ? QStringLiteral("NULL") : v.toString());
            out << cells.join('|');
        }
        return out;
    };
    const QStringList written = stored(ids[0]);
    ASSERT_EQ(written.size(), kLines);
    EXPECT_EQ(written, stored(ids[1]));
    auto field = [&](int row, int column) { return written[row].split('|')[column]; };
    EXPECT_DOUBLE_EQ(field(5, 1).toDouble(), 1.0 / 3 + 5);
    EXPECT_DOUBLE_EQ(field(5, 6).toDouble(), 5e-7);
    EXPECT_EQ(field(25, 4), QStringLiteral("NULL"));
    EXPECT_EQ(field(25, 5), QStringLiteral("it's 第25行"));
    EXPECT_EQ(field(25, 9), QStringLiteral("1"));
    EXPECT_EQ(field(32, 3).toDouble(), 2.0); // a null cell keeps the stored value
    EXPECT_EQ(field(32, 6), QStringLiteral("NULL"));
    EXPECT_EQ(field(32, 10), QStringLiteral("1"));
    EXPECT_EQ(field(45, 5), QStringLiteral("NULL")); // never stored
    EXPECT_EQ(field(45, 7).toDouble(), 123456789.125);
    EXPECT_EQ(field(45, 8).toDouble(), 4.0);
    EXPECT_EQ(field(55, 5), QStringLiteral("old"));
    EXPECT_EQ(field(59, 11), QStringLiteral("linked"));

    // A line gone from the BOM in the middle of a block, deleted meanwhile or one of another
    // BOM named instead, refuses the whole save.
    const qlonglong version =
        db().scalar(QStringLiteral("SELECT qzts FROM ProductStructure WHERE iautoid=?"), {ids[0]})
            .toLongLong();
    test::TestSession other(account->url(), QStringLiteral("demo"));
    const QVariant foreign = single.lines.value(14, QStringLiteral("autoid"));
    for (int spoil = 0; spoil < 2; ++spoil) {
        BomCard card = load(*session, ids[0]);
        for (int row = 0; row < card.lines.rowCount(); ++row) {
            card.lines.setValue(row, QStringLiteral("ipsquantity"), 7.0);
            card.lines.setEditprop(row, QStringLiteral("M"));
        }
        if (spoil == 0)
            other.db().exec(QStringLiteral("DELETE FROM ProductStructures WHERE autoid=?"),
                            {card.lines.value(13, QStringLiteral("autoid"))});
        else
            card.lines.setValue(14, QStringLiteral("autoid"), foreign);
        QString result;
        EXPECT_FALSE(save(*session, card, 1, &result));
        EXPECT_EQ(result, QStringLiteral("保存失败！"));
        EXPECT_EQ(session->prompter.texts().last(),
                  QStringLiteral("该单据已被其他人更新或删除，请放弃后刷新！"));
        EXPECT_EQ(count(QStringLiteral("SELECT count(*) FROM ProductStructures WHERE ipid IN "
                                       "(?,?) AND ipsquantity=7"),
                        {ids[0], ids[1]}),
                  0);
        EXPECT_EQ(db().scalar(QStringLiteral("SELECT qzts FROM ProductStructure WHERE iautoid=?"),
                              {ids[0]})
                      .toLongLong(),
                  version);
    }
    EXPECT_EQ(stored(ids[1]), written);
}

BOM_INSTANTIATE_BACKENDS(SaveTest);
