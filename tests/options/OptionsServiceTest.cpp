#include "bomservice/BomCardLoader.h"
#include "bomservice/BomHistory.h"
#include "bomservice/BomSaver.h"
#include "options/clsOptVoucher.h"
#include "suite/PublicService.h"
#include "support/TestAccount.h"

using namespace bom;
using bomservice::BomCard;
using options::clsOptVoucher;

namespace {

const QString kChanged = QStringLiteral("该单据已被其他人更新或删除，请放弃后刷新！");

} // namespace

// The substitutes of the frame's tube line (TU100 in FR100, one substitute TU101).
class OptionsServiceTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        auto db = account->createDemo();
        suite::PublicService::setFunctionLockShared(*db, true); // two sessions in some tests
        session = std::make_unique<test::TestSession>(account->url(), QStringLiteral("demo"));
        tube = db->scalar(QStringLiteral("SELECT autoid FROM ProductStructures WHERE "
                                         "cpspcode='FR100' AND cpscode='TU100'"))
                   .toString();
        frame = db->scalar(QStringLiteral("SELECT iautoid FROM ProductStructure WHERE "
                                          "cpspcode='FR100'"))
                    .toString();
    }
    void TearDown() override {
        session.reset();
        BackendTest::TearDown();
    }
    db::Database& db() { return session->db(); }
    std::unique_ptr<clsOptVoucher> loaded(test::TestSession& s) {
        auto voucher = std::make_unique<clsOptVoucher>(s.session());
        voucher->Autoid = tube;
        EXPECT_TRUE(voucher->InitVoucher()) << s.prompter.texts().join('|').toStdString();
        return voucher;
    }
    static int addRow(BomCard& card, const char* code, const char* free1 = nullptr) {
        const int row = card.lines.appendRow();
        card.lines.setValue(row, QStringLiteral("cinvcode"), QLatin1String(code));
        if (free1)
            card.lines.setValue(row, QStringLiteral("cfree1"), QLatin1String(free1));
        card.lines.setValue(row, QStringLiteral("tdqtyn"), 1.0);
        card.lines.setValue(row, QStringLiteral("tdqtyd"), 1.0);
        card.lines.setEditprop(row, QStringLiteral("A"));
        return row;
    }
    // The line's substitutes as stored, in key order.
    QStringList stored() {
        const db::Rows rows = db().query(
            QStringLiteral("SELECT cInvCode, COALESCE(cFree1,''), tdQtyN FROM ProstruOpt WHERE "
                           "AutoID=? ORDER BY compsubid"),
            {tube.toLongLong()});
        QStringList out;
        for (std::size_t i = 0; i < rows.size(); ++i)
            out << QStringLiteral("%1/%2/%3")
                       .arg(rows.at(i).value(0).toString(), rows.at(i).value(1).toString(),
                            QString::number(rows.at(i).value(2).toDouble()));
        return out;
    }
    qlonglong bomVersion() {
        return db()
            .scalar(QStringLiteral("SELECT qzts FROM ProductStructure WHERE iautoid=?"), {frame})
            .toLongLong();
    }
    std::unique_ptr<test::TestSession> session;
    QString tube;
    QString frame;
};

TEST_P(OptionsServiceTest, ChecksRunInTheirOrderAndASaveWritesOnlyWhatPassed) {
    auto voucher = loaded(*session);
    EXPECT_EQ(voucher->rstHead.text(0, QStringLiteral("cpscode")), QStringLiteral("TU100"));
    EXPECT_EQ(voucher->eipid, frame);
    ASSERT_EQ(voucher->rstBody.rowCount(), 1);
    EXPECT_EQ(voucher->rstBody.text(0, QStringLiteral("cinvcode")), QStringLiteral("TU101"));
    EXPECT_EQ(voucher->rstBody.editprop(0), QString());

    // The parent is made purchasable and SC100's flag unknown, so every check can be met.
    db().exec(QStringLiteral("UPDATE Inventory SET bPurchase=1 WHERE cInvCode='FR100'"));
    db().exec(QStringLiteral("UPDATE Inventory SET bPurchase=NULL WHERE cInvCode='SC100'"));
    BomCard card{voucher->rstHead, voucher->rstBody};
    const int twin = addRow(card, "TU101");
    const int same = addRow(card, "TU100");
    const int unknown = addRow(card, "XX999");
    const int unpurchased = addRow(card, "SC100");
    const int parent = addRow(card, "FR100");
    const std::pair<int, QString> expected[] = {
        {twin, QStringLiteral("替代料编码（TU101）出现重复，请修改！")},
        {same, QStringLiteral("第2行保存时发生错误：替代件不可与被替代件相同！")},
        {unknown, QStringLiteral("第2行保存时发生错误：替代件不存在！")},
        {unpurchased, QStringLiteral("第2行保存时发生错误：非采购件不可进行替代！")},
        {parent, QStringLiteral("替代料编码（FR100）与子件的母件相同，不可替代，请修改！")},
    };
    // Each refusal names the first fault left; dropping that row reveals the next check's.
    for (const auto& [row, message] : expected) {
        EXPECT_FALSE(voucher->SaveVoucher(card));
        EXPECT_EQ(session->prompter.texts().last(), message);
        EXPECT_EQ(voucher->sErr, QStringLiteral("单据录入不合法！"));
        card.lines.setEditprop(row, QStringLiteral("D"));
    }
    const int empty = addRow(card, "RM100");
    card.lines.setValue(empty, QStringLiteral("tdqtyn"), QString());
    EXPECT_FALSE(voucher->SaveVoucher(card));
    EXPECT_EQ(session->prompter.texts().last(), QStringLiteral("替代用量分子为必填项！"));
    EXPECT_EQ(stored(), QStringList{QStringLiteral("TU101//2.5")});

    // The same code with other free items is no twin, nor is the component in another colour.
    card.lines.removeRow(empty);
    addRow(card, "RM100", "RED");
    addRow(card, "RM100", "BLU");
    addRow(card, "TU100", "RED");
    card.lines.setValue(0, QStringLiteral("tdqtyn"), 4.0);
    card.lines.setEditprop(0, QStringLiteral("M"));
    const qlonglong before = bomVersion();
    ASSERT_TRUE(voucher->SaveVoucher(card)) << session->prompter.texts().join('|').toStdString();
    EXPECT_EQ(stored(), (QStringList{"TU101//4", "RM100/RED/1", "RM100/BLU/1", "TU100/RED/1"}));
    EXPECT_GT(bomVersion(), before);
    ASSERT_EQ(card.lines.rowCount(), 4); // refused rows dropped, the rest unmarked with keys
    EXPECT_FALSE(card.lines.hasEditMarks());
    const QVariant blue = card.lines.value(2, QStringLiteral("compsubid"));
    EXPECT_FALSE(blue.isNull());

    // A second save of the same card: one row deleted by its key, the line's others stay.
    card.lines.setEditprop(2, QStringLiteral("D"));
    ASSERT_TRUE(voucher->SaveVoucher(card)) << session->prompter.texts().join('|').toStdString();
    EXPECT_EQ(stored(), (QStringList{"TU101//4", "RM100/RED/1", "TU100/RED/1"}));
    QStringList history;
    for (const auto& e : bomservice::BomHistory(db()).read(frame))
        history << e.change.kind + QLatin1Char(' ') + e.change.line + QLatin1Char(' ') +
                       e.change.oldValue + QLatin1Char('>') + e.change.newValue;
    EXPECT_EQ(history.first(),
              QStringLiteral("option-remove %1/%2 RM100>").arg(tube, blue.toString()));
    EXPECT_TRUE(history.contains(QStringLiteral("option-change %1/%2 2.5>4")
                                     .arg(tube, card.lines.text(0, QStringLiteral("compsubid")))));

    // Lines that are gone or hidden load as a gone card does; an approved BOM saves nothing.
    test::TestSession wang(account->url(), QStringLiteral("wang"));
    for (auto* s : {session.get(), &wang}) {
        clsOptVoucher other(s->session());
        other.Autoid = s == &wang ? tube : QStringLiteral("999999");
        EXPECT_FALSE(other.InitVoucher());
        EXPECT_EQ(s->prompter.texts().last(), QStringLiteral("单据加载失败，请刷新后重试！"));
    }
    db().exec(QStringLiteral("UPDATE ProductStructure SET ccheck='demo' WHERE iautoid=?"), {frame});
    addRow(card, "SP100");
    EXPECT_FALSE(voucher->SaveVoucher(card));
    EXPECT_EQ(session->prompter.texts().last(), QStringLiteral("审核过的产品不可修改！"));
    EXPECT_EQ(stored().size(), 3);
}

TEST_P(OptionsServiceTest, AFailedWriteLeavesNothingOfTheSave) {
    // The database refuses SP100 as a substitute: the last statement of the save fails, after
    // a row was deleted and another changed.
    if (db().isPostgres()) {
        db().exec(QStringLiteral("CREATE FUNCTION refuse_sp100() RETURNS trigger LANGUAGE plpgsql "
                                 "AS $$ BEGIN IF NEW.cInvCode = 'SP100' THEN RAISE EXCEPTION "
                                 "'refused'; END IF; RETURN NEW; END; $$"));
        db().exec(QStringLiteral("CREATE TRIGGER refuse_sp100 BEFORE INSERT ON ProstruOpt FOR "
                                 "EACH ROW EXECUTE FUNCTION refuse_sp100()"));
    } else {
        db().exec(QStringLiteral("CREATE TRIGGER refuse_sp100 BEFORE INSERT ON ProstruOpt WHEN "
                                 "NEW.cInvCode = 'SP100' BEGIN SELECT RAISE(ABORT, 'refused'); "
                                 "END"));
    }
    auto voucher = loaded(*session);
    BomCard card{voucher->rstHead, voucher->rstBody};
    addRow(card, "RM100");
    ASSERT_TRUE(voucher->SaveVoucher(card));
    const QStringList before = stored();
    const qlonglong version = bomVersion();
    const std::size_t entries = bomservice::BomHistory(db()).read(frame).size();

    card.lines.setEditprop(0, QStringLiteral("D"));
    card.lines.setValue(1, QStringLiteral("tdqtyn"), 7.0);
    card.lines.setEditprop(1, QStringLiteral("M"));
    addRow(card, "SP100");
    EXPECT_FALSE(voucher->SaveVoucher(card));
    EXPECT_EQ(voucher->sErr, QStringLiteral("保存失败！"));
    const auto& shown = session->prompter.prompts().back();
    EXPECT_TRUE(
        shown.text.startsWith(QStringLiteral("保存失败，\r\n请重试，\r\n或检查数据格式！\r\n")))
        << shown.text.toStdString(); // then what the database said
    EXPECT_EQ(shown.style, 16);
    EXPECT_EQ(shown.title, QStringLiteral("BOM维护"));
    EXPECT_EQ(stored(), before);
    EXPECT_EQ(bomVersion(), version);
    EXPECT_EQ(bomservice::BomHistory(db()).read(frame).size(), entries);
}

TEST_P(OptionsServiceTest, ACardWritesOnlyOverTheVersionsItWasLoadedAt) {
    test::TestSession other(account->url(), QStringLiteral("demo"));
    auto refusedAsChanged = [&](clsOptVoucher& voucher, BomCard card) {
        const bool saved = voucher.SaveVoucher(card);
        const auto& shown = session->prompter.prompts().back();
        return !saved && voucher.sErr == QStringLiteral("保存失败！") && shown.text == kChanged &&
               shown.style == 16;
    };
    const QVariant tu101 = db().scalar(
        QStringLiteral("SELECT compsubid FROM ProstruOpt WHERE AutoID=?"), {tube.toLongLong()});

    // A substitute changed by someone else since: neither the change nor an added row is kept.
    auto voucher = loaded(*session);
    other.db().exec(QStringLiteral("UPDATE ProstruOpt SET tdQtyN=9 WHERE compsubid=?"), {tu101});
    BomCard card{voucher->rstHead, voucher->rstBody};
    card.lines.setValue(0, QStringLiteral("tdqtyn"), 3.0);
    card.lines.setEditprop(0, QStringLiteral("M"));
    addRow(card, "RM100");
    EXPECT_TRUE(refusedAsChanged(*voucher, card));
    EXPECT_EQ(stored(), QStringList{QStringLiteral("TU101//9")});

    // Deleted by someone else since; the row itself cannot be deleted over a newer version.
    voucher = loaded(*session);
    card = {voucher->rstHead, voucher->rstBody};
    other.db().exec(QStringLiteral("UPDATE ProstruOpt SET cbatch='B1' WHERE compsubid=?"), {tu101});
    card.lines.setEditprop(0, QStringLiteral("D"));
    EXPECT_TRUE(refusedAsChanged(*voucher, card));
    other.db().exec(QStringLiteral("DELETE FROM ProstruOpt WHERE compsubid=?"), {tu101});
    voucher = loaded(*session);
    EXPECT_EQ(voucher->rstBody.rowCount(), 0);

    // The BOM saved by someone else since the options card was loaded, and the other way round:
    // a BOM card loaded before a substitutes save no longer saves.
    card = {voucher->rstHead, voucher->rstBody};
    addRow(card, "RM100");
    bomservice::BomCardLoader loader(other.session());
    BomCard bom = *loader.LoadBom(*loader.LoadTemplate(QStringLiteral("PP30")), frame);
    bom.header.setValue(0, QStringLiteral("cmemo"), QStringLiteral("theirs"));
    QString result, error;
    ASSERT_TRUE(bomservice::BomSaver(other.session())
                    .SaveBom(bom, QStringLiteral("PP30"), 1, result, error));
    EXPECT_TRUE(refusedAsChanged(*voucher, card));
    EXPECT_TRUE(stored().isEmpty());
    voucher = loaded(*session);
    card = {voucher->rstHead, voucher->rstBody};
    addRow(card, "RM100");
    ASSERT_TRUE(voucher->SaveVoucher(card));
    BomCard staleBom = bom;
    staleBom.header.setValue(0, QStringLiteral("cmemo"), QStringLiteral("stale"));
    EXPECT_FALSE(bomservice::BomSaver(other.session())
                     .SaveBom(staleBom, QStringLiteral("PP30"), 1, result, error));
    EXPECT_EQ(error, kChanged);
    EXPECT_EQ(stored(), QStringList{QStringLiteral("RM100//1")});
}

BOM_INSTANTIATE_BACKENDS(OptionsServiceTest);
