#include "bomservice/BomCardLoader.h"
#include "bomservice/BomCopier.h"
#include "bomservice/BomHistory.h"
#include "bomservice/BomSaver.h"
#include "bomservice/BomTree.h"
#include "bomservice/CardAttachments.h"
#include "bomservice/Guards.h"
#include "db/DbError.h"
#include "suite/PublicService.h"
#include "suite/RightsStore.h"
#include "support/DemoSessionTest.h"

using namespace bom;
using bomservice::BomCard;
using bomservice::BomHistory;

class CardServicesTest : public test::DemoSessionTest {
protected:
    // The frame uses the wheel too: the wheel is shared within one bicycle.
    void frameUsesWheel() {
        BomCard frame = load(idOf("FR100"));
        addLine(frame, QStringLiteral("WH100"));
        ASSERT_TRUE(save(frame)) << session->prompter.texts().join('|').toStdString();
    }
    QString text(const QString& sql, const db::Params& params) {
        return db().scalar(sql, params).toString();
    }
    // Everything a copy or a save may write, in a fixed order.
    QStringList snapshot() {
        QStringList out;
        for (const char* sql : {"SELECT * FROM ProductStructure ORDER BY iautoid",
                                "SELECT * FROM ProductStructures ORDER BY autoid",
                                "SELECT * FROM ProstruOpt ORDER BY compsubid",
                                "SELECT * FROM ProductStructuresEx ORDER BY cPSPCode, cPSCode",
                                "SELECT * FROM sys_bom_history ORDER BY id",
                                "SELECT * FROM sys_bom_visible ORDER BY cuserid, iautoid",
                                "SELECT * FROM so_sodetails ORDER BY autoid",
                                "SELECT cValue FROM AccInformation WHERE cName='bStruChange'"}) {
            const db::Rows rows = db().query(QLatin1String(sql));
            for (std::size_t i = 0; i < rows.size(); ++i) {
                QStringList cells;
                for (const QVariant& v : rows.at(i))
                    cells << v.toString();
                out << cells.join('|');
            }
        }
        return out;
    }
    // An operator whose item rights leave out the wheel's tyre: the wheel's BOM is hidden.
    std::unique_ptr<test::TestSession> operatorWithoutTyre() {
        suite::RightsStore rights(db());
        db().exec(
            QStringLiteral("INSERT INTO sys_operator(cuserid, cusername) VALUES ('li','李')"));
        rights.setScope(QStringLiteral("li"), QStringLiteral("function"),
                        suite::RightsStore::Scope::All);
        rights.setScope(QStringLiteral("li"), QStringLiteral("inventory"),
                        suite::RightsStore::Scope::List);
        QStringList items;
        const db::Rows rows =
            db().query(QStringLiteral("SELECT cInvCode FROM Inventory WHERE cInvCode<>'TY100'"));
        for (std::size_t i = 0; i < rows.size(); ++i)
            items << rows.text(i, "cInvCode");
        rights.grant(QStringLiteral("li"), QStringLiteral("inventory"), items);
        return std::make_unique<test::TestSession>(account->url(), QStringLiteral("li"));
    }
};

TEST_P(CardServicesTest, HistoryRecordsWhatAModificationAndADeleteChanged) {
    const QString frame = idOf("FR100");
    BomCard card = load(frame);
    const QString tube = card.lines.text(0, QStringLiteral("autoid"));
    const QString paint = card.lines.text(1, QStringLiteral("autoid"));
    card.header.setValue(0, QStringLiteral("cmemo"), QStringLiteral("加强型"));
    card.lines.setValue(0, QStringLiteral("ipsquantity"), QStringLiteral("3"));
    card.lines.setValue(0, QStringLiteral("tdqtyd"), QStringLiteral("1.0")); // 1 as before
    card.lines.setEditprop(0, QStringLiteral("M"));
    card.lines.setEditprop(1, QStringLiteral("D"));
    addLine(card, QStringLiteral("BR100"));
    ASSERT_TRUE(save(card)) << session->prompter.texts().join('|').toStdString();
    const QString brake = card.lines.text(1, QStringLiteral("autoid"));

    BomHistory history(db());
    auto entries = history.read(frame);
    ASSERT_EQ(entries.size(), 4u);
    // Newest first: the lines in card order after the header.
    const BomHistory::Change& added = entries[0].change;
    EXPECT_EQ(added.kind, BomHistory::kLineAdded);
    EXPECT_EQ(added.line, brake);
    EXPECT_EQ(added.newValue, QStringLiteral("BR100"));
    EXPECT_EQ(entries[1].change.kind, BomHistory::kLineRemoved);
    EXPECT_EQ(entries[1].change.line, paint);
    EXPECT_EQ(entries[1].change.oldValue, QStringLiteral("PT100"));
    const BomHistory::Change& changed = entries[2].change;
    EXPECT_EQ(changed.kind, BomHistory::kLineChanged);
    EXPECT_EQ(changed.line, tube);
    EXPECT_EQ(changed.field, QStringLiteral("ipsquantity"));
    EXPECT_EQ(changed.oldValue, QStringLiteral("2.5"));
    EXPECT_EQ(changed.newValue, QStringLiteral("3"));
    const BomHistory::Change& header = entries[3].change;
    EXPECT_EQ(header.kind, BomHistory::kHeader);
    EXPECT_EQ(header.field, QStringLiteral("cmemo"));
    EXPECT_EQ(header.oldValue, QString());
    EXPECT_EQ(header.newValue, QStringLiteral("加强型"));
    EXPECT_EQ(entries[3].user, QStringLiteral("demo"));

    // A save that changes nothing records nothing; a delete records itself, newest.
    BomCard again = load(frame);
    again.lines.setEditprop(0, QStringLiteral("M"));
    ASSERT_TRUE(save(again));
    EXPECT_EQ(history.read(frame).size(), 4u);
    ASSERT_TRUE(bomservice::BomGuards(s()).DeleteBom(load(frame), QStringLiteral("PP30")));
    entries = history.read(frame);
    ASSERT_EQ(entries.size(), 5u);
    EXPECT_EQ(entries[0].change.kind, BomHistory::kDeleted);
    EXPECT_EQ(entries[0].change.oldValue, QStringLiteral("FR100"));
}

TEST_P(CardServicesTest,
       TreeShowsSharedSubAssembliesUnderEveryParentAndHidesWhatTheOperatorMayNotSee) {
    frameUsesWheel();
    auto shape = [](const std::vector<bomservice::BomTreeNode>& nodes) {
        QStringList out;
        for (const auto& n : nodes)
            out << QStringLiteral("%1:%2<%3")
                       .arg(n.level)
                       .arg(n.cpspcode)
                       .arg(n.parent < 0 ? QString() : nodes[std::size_t(n.parent)].cpspcode);
        return out.join(' ');
    };
    const QString bike = idOf("BK200");
    const auto nodes = bomservice::BomTree(s()).InitTreeByCode(bike);
    EXPECT_EQ(shape(nodes),
              QStringLiteral("0:BK200< 1:FR100<BK200 2:WH100<FR100 1:WH100<BK200 1:FK100<BK200"));
    EXPECT_EQ(nodes[2].iautoid, nodes[3].iautoid);
    EXPECT_EQ(nodes[0].cinvname,
              text(QStringLiteral("SELECT cInvName FROM Inventory WHERE cInvCode='BK200'"), {}));

    // Bad data: the wheel's rim line names the bicycle. It never appears under itself.
    db().exec(QStringLiteral("UPDATE ProductStructures SET childguid=? WHERE ipid=? AND "
                             "cpscode='RM100'"),
              {bike, idOf("WH100")});
    EXPECT_EQ(shape(bomservice::BomTree(s()).InitTreeByCode(bike)), shape(nodes));

    auto li = operatorWithoutTyre();
    bomservice::BomTree restricted(li->session());
    EXPECT_EQ(shape(restricted.InitTreeByCode(bike)),
              QStringLiteral("0:BK200< 1:FR100<BK200 1:FK100<BK200"));
    EXPECT_TRUE(restricted.InitTreeByCode(idOf("WH100")).empty());
}

TEST_P(CardServicesTest, CopyAllLayerCopiesEachBomOnceAndLinksTheCopies) {
    frameUsesWheel();
    const QString bike = idOf("BK100"); // approved, the default cost BOM
    bomservice::BomCopier copier(s());
    const auto result = copier.CopyAllLayer(bike, QStringLiteral("V2"));
    ASSERT_TRUE(result) << session->prompter.texts().join('|').toStdString();
    ASSERT_EQ(result->created.size(), 3);
    EXPECT_EQ(result->topId, result->created.first());
    const QString frameCopy = idOf("FR100", "V2");
    const QString wheelCopy = idOf("WH100", "V2");
    EXPECT_EQ(QSet<QString>(result->created.begin(), result->created.end()),
              (QSet<QString>{idOf("BK100", "V2"), frameCopy, wheelCopy}));
    auto childOf = [&](const QString& header, const char* component) {
        return text(QStringLiteral("SELECT childguid FROM ProductStructures WHERE ipid=? AND "
                                   "cpscode=?"),
                    {header, QLatin1String(component)});
    };
    EXPECT_EQ(childOf(result->topId, "FR100"), frameCopy);
    EXPECT_EQ(childOf(result->topId, "WH100"), wheelCopy);
    EXPECT_EQ(childOf(frameCopy, "WH100"), wheelCopy);
    EXPECT_EQ(childOf(bike, "WH100"), idOf("WH100")); // the original is untouched
    for (const auto& [copy, component, substitute] :
         {std::tuple{frameCopy, "TU100", "TU101"}, std::tuple{wheelCopy, "TY100", "TY101"}})
        EXPECT_EQ(text(QStringLiteral("SELECT o.cInvCode FROM ProstruOpt o JOIN ProductStructures "
                                      "l ON l.autoid=o.AutoID WHERE l.ipid=? AND l.cpscode=?"),
                       {copy, QLatin1String(component)}),
                  QLatin1String(substitute));
    for (const QString& id : result->created) {
        EXPECT_EQ(text(QStringLiteral("SELECT COALESCE(ccheck,'') || '/' || bmrcbbom FROM "
                                      "ProductStructure WHERE iautoid=?"),
                       {id}),
                  QStringLiteral("/0"));
        EXPECT_EQ(BomHistory(db()).read(id).front().change.kind, BomHistory::kCreated);
    }
    EXPECT_EQ(text(QStringLiteral("SELECT bmrcbbom FROM ProductStructure WHERE iautoid=?"), {bike}),
              QStringLiteral("1"));

    // Again under the same code: the wheel's copy exists, so nothing is written.
    QStringList before = snapshot();
    EXPECT_FALSE(copier.CopyAllLayer(bike, QStringLiteral("V2")));
    EXPECT_EQ(session->prompter.texts().last(), QStringLiteral("该母件+版本号已经存在！"));
    EXPECT_EQ(snapshot(), before);

    // A failure half-way, after the first copies were written, leaves the account as it was.
    int copies = 0;
    copier.afterEachCopy = [&](const QString&) {
        if (++copies == 2)
            throw db::DbError(QStringLiteral("injected"));
    };
    before = snapshot();
    EXPECT_FALSE(copier.CopyAllLayer(bike, QStringLiteral("V3")));
    EXPECT_EQ(copies, 2);
    EXPECT_TRUE(session->prompter.texts().last().contains(QStringLiteral("injected")));
    EXPECT_EQ(snapshot(), before);
}

TEST_P(CardServicesTest, CopySingleSavesOneNewCardThroughEveryRule) {
    const QString bike = idOf("BK200");
    bomservice::BomCopier copier(s());
    const QString suggested = copier.suggestSoCode(bike);
    EXPECT_TRUE(idOf("BK200", qPrintable(suggested)).isEmpty());
    const auto copy = copier.CopySingle(bike, suggested);
    ASSERT_TRUE(copy) << session->prompter.texts().join('|').toStdString();
    EXPECT_EQ(copy->created, QStringList{copy->topId});
    EXPECT_EQ(idOf("BK200", qPrintable(suggested)), copy->topId);
    EXPECT_NE(copier.suggestSoCode(bike), suggested);
    // One level: its lines still name the stored sub-assemblies.
    EXPECT_EQ(text(QStringLiteral("SELECT childguid FROM ProductStructures WHERE ipid=? AND "
                                  "cpscode='FR100'"),
                   {copy->topId}),
              idOf("FR100"));

    const QStringList before = snapshot();
    EXPECT_FALSE(copier.CopySingle(bike, QStringLiteral("SO2026001-BK200-101")));
    EXPECT_EQ(session->prompter.texts().last(), QStringLiteral("该母件+版本号已经存在！"));
    EXPECT_EQ(snapshot(), before);
}

TEST_P(CardServicesTest, AttachmentsRoundTripForTheOperatorsWhoSeeTheBom) {
    const QString wheel = idOf("WH100");
    bomservice::CardAttachments files(s());
    const QByteArray drawing("\x89PNG\0\xff\xfe", 7);
    const qlonglong id = files.add(wheel, QStringLiteral("轮组.png"), drawing);
    ASSERT_GT(id, 0);
    const auto listed = files.list(wheel);
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].name, QStringLiteral("轮组.png"));
    EXPECT_EQ(listed[0].size, drawing.size());
    EXPECT_EQ(files.content(id), drawing);

    auto li = operatorWithoutTyre();
    bomservice::CardAttachments hidden(li->session());
    EXPECT_TRUE(hidden.list(wheel).empty());
    EXPECT_EQ(hidden.add(wheel, QStringLiteral("x"), "x"), 0);
    EXPECT_TRUE(hidden.content(id).isEmpty());
    EXPECT_FALSE(hidden.remove(id));

    EXPECT_EQ(files.count(wheel), 1);
    EXPECT_TRUE(files.remove(id));
    EXPECT_FALSE(files.remove(id));
    EXPECT_EQ(files.count(wheel), 0);
}

BOM_INSTANTIATE_BACKENDS(CardServicesTest);
