#include "db/Database.h"
#include "support/BomctlDemoTest.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

using namespace bom;

namespace {

const QString kChanged = QStringLiteral("该单据已被其他人更新或删除，请放弃后刷新！");

} // namespace

// bomctl's card commands as a script meets them: the checks the card runs, what a file means,
// the authorisation gate and concurrent clients.
class CardFileTest : public test::BomctlDemoTest {
protected:
    void SetUp() override {
        BomctlDemoTest::SetUp();
        db = db::Database::open(account->url());
    }
    void TearDown() override {
        db.reset();
        BomctlDemoTest::TearDown();
    }
    QString idOf(const char* parent, const char* free1 = "") {
        return db
            ->scalar(QStringLiteral("SELECT iautoid FROM ProductStructure WHERE cpspcode=? AND "
                                    "COALESCE(cfree1,'')=?"),
                     {QLatin1String(parent), QLatin1String(free1)})
            .toString();
    }
    QJsonObject show(const QString& id) {
        const auto shown = as("demo", {QStringLiteral("show"), id, QStringLiteral("--json")});
        EXPECT_EQ(shown.status, 0) << shown.err.toStdString();
        return test::lastJson(shown.out).value("card").toObject();
    }
    QString write(const QJsonObject& card, const QString& name = QStringLiteral("card.json")) {
        const QString path = dir.filePath(name);
        QFile file(path);
        file.open(QIODevice::WriteOnly | QIODevice::Truncate);
        file.write(QJsonDocument(card).toJson());
        return path;
    }
    static QJsonObject withHeader(QJsonObject card, const char* field, const QJsonValue& value) {
        QJsonObject header = card.value("header").toObject();
        header.insert(QLatin1String(field), value);
        card.insert("header", header);
        return card;
    }
    // Every stored value of the BOM, to prove a refusal wrote nothing.
    QStringList snapshot(const QString& id) {
        const db::Rows rows = db->query(
            QStringLiteral("SELECT h.qzts, h.ccheck, h.cmemo, h.bstopflag, l.autoid, l.cpscode, "
                           "l.ipsquantity FROM ProductStructure h LEFT JOIN ProductStructures l "
                           "ON l.ipid=h.iautoid WHERE h.iautoid=? ORDER BY l.autoid"),
            {id});
        QStringList out;
        for (std::size_t i = 0; i < rows.size(); ++i)
            for (const QVariant& v : rows.at(i))
                out << v.toString();
        return out;
    }
    QTemporaryDir dir;
    std::unique_ptr<db::Database> db;
};

TEST_P(CardFileTest, AHiddenBomAnswersEveryCommandAsAnUnknownOne) {
    // wang's rights hide the frame's BOM; the same commands on an id nobody has must read alike.
    const QString hidden = idOf("FR100");
    const QString unknown = QStringLiteral("{00000000-0000-0000-0000-00000000BEEF}");
    const QJsonObject card = show(hidden);
    const QString hiddenCard = write(card, QStringLiteral("hidden.json"));
    const QString unknownCard =
        write(withHeader(card, "iautoid", unknown), QStringLiteral("unknown.json"));
    const QString hiddenLine =
        db->scalar(QStringLiteral("SELECT min(autoid) FROM ProductStructures WHERE ipid=?"),
                   {hidden})
            .toString();
    const QString unknownLine = QStringLiteral("987654321");
    const QStringList before = snapshot(hidden);

    const struct {
        QStringList forHidden;
        QStringList forUnknown;
    } commands[] = {
        {{"show", hidden}, {"show", unknown}},
        {{"lines", hidden}, {"lines", unknown}},
        {{"validate", hiddenCard, "--modify"}, {"validate", unknownCard, "--modify"}},
        {{"save", hiddenCard}, {"save", unknownCard}},
        {{"card-delete", hidden}, {"card-delete", unknown}},
        {{"approve", hidden}, {"approve", unknown}},
        {{"unapprove", hidden}, {"unapprove", unknown}},
        {{"stop", hidden}, {"stop", unknown}},
        {{"enable", hidden}, {"enable", unknown}},
        {{"delete", hidden, "--yes"}, {"delete", unknown, "--yes"}},
        {{"delete-line", hiddenLine, "--yes"}, {"delete-line", unknownLine, "--yes"}},
    };
    for (const auto& c : commands) {
        const auto onHidden = as("wang", c.forHidden);
        const auto onUnknown = as("wang", c.forUnknown);
        const std::string what = c.forHidden.first().toStdString();
        EXPECT_NE(onHidden.status, 0) << what;
        EXPECT_EQ(onHidden.status, onUnknown.status) << what;
        QString hiddenSaid = onHidden.err;
        hiddenSaid.replace(hidden, QStringLiteral("ID")).replace(hiddenLine, QStringLiteral("ID"));
        QString unknownSaid = onUnknown.err;
        unknownSaid.replace(unknown, QStringLiteral("ID"))
            .replace(unknownLine, QStringLiteral("ID"));
        EXPECT_EQ(hiddenSaid, unknownSaid) << what;
        EXPECT_FALSE(hiddenSaid.trimmed().isEmpty()) << what;
    }
    // One hidden BOM among visible ones stops the whole command; what wang sees he may change.
    const QString blueShirt = idOf("GT100", "BLU");
    EXPECT_EQ(as("wang", {QStringLiteral("enable"), blueShirt, hidden}).status, 1);
    EXPECT_EQ(snapshot(hidden), before);
    EXPECT_EQ(snapshot(blueShirt).at(3), QStringLiteral("1"));
    EXPECT_EQ(as("wang", {QStringLiteral("enable"), blueShirt}).status, 0);
    EXPECT_EQ(snapshot(blueShirt).at(3), QStringLiteral("0"));
}

TEST_P(CardFileTest, SaveRunsTheCardsChecksAndTakesAnUnmarkedFileAsTheWholeCard) {
    // Approved and stopped BOMs are refused before anything is written.
    const QString approved = idOf("BK100");
    const QStringList approvedBefore = snapshot(approved);
    const auto onApproved = as("demo", {QStringLiteral("save"), write(show(approved))});
    EXPECT_EQ(onApproved.status, 1);
    EXPECT_TRUE(onApproved.err.contains(QStringLiteral("审核过的产品不可修改！")));
    EXPECT_EQ(snapshot(approved), approvedBefore);
    const auto onStopped = as("demo", {QStringLiteral("save"), write(show(idOf("GT100", "BLU")))});
    EXPECT_EQ(onStopped.status, 1);
    EXPECT_TRUE(onStopped.err.contains(QStringLiteral("停用的产品不可修改！")));

    // The department entry right comes before the save's own rules (here a repeated line).
    const QString red = idOf("GT100", "RED");
    QJsonObject redCard = withHeader(show(red), "cdepcode", QStringLiteral("0101"));
    QJsonArray redLines = redCard.value("lines").toArray();
    redLines.append(redLines.at(0));
    redCard.insert("lines", redLines);
    for (const char* command : {"validate", "save"}) {
        const auto noRight = as("wang", {QLatin1String(command), write(redCard)});
        EXPECT_EQ(noRight.status, 1) << command;
        EXPECT_TRUE(noRight.err.contains(QStringLiteral("部门录入权限"))) << command;
        EXPECT_FALSE(noRight.err.contains(QStringLiteral("重复"))) << command;
    }

    // A declined default-cost question ends validation with nothing more said.
    db->exec(QStringLiteral("UPDATE ProductStructure SET bmrcbbom=1 WHERE iautoid=?"),
             {idOf("GT100", "BLU")});
    const auto declined =
        as("demo", {QStringLiteral("validate"),
                    write(withHeader(show(red), "bmrcbbom", QStringLiteral("是"))),
                    QStringLiteral("--no"), QStringLiteral("--json")});
    EXPECT_EQ(declined.status, 1);
    const QStringList said = declined.out.trimmed().split('\n');
    ASSERT_EQ(said.size(), 2) << declined.out.toStdString(); // the question and the result
    EXPECT_EQ(QJsonDocument::fromJson(said.first().toUtf8()).object().value("type").toString(),
              QStringLiteral("question"));

    // Without editprop marks the file is the whole card.
    const QString frame = idOf("FR100");
    QJsonObject card = show(frame);
    QJsonArray lines = card.value("lines").toArray();
    ASSERT_EQ(lines.size(), 2);
    const QString dropped = QString::number(lines.at(1).toObject().value("autoid").toInteger());
    QJsonObject first = lines.at(0).toObject();
    first.insert("ipsquantity", 4.5);
    QJsonObject added = first;
    added.remove("autoid");
    added.remove("oldautoid");
    added.insert("cpscode", QStringLiteral("RM100"));
    card.insert("lines", QJsonArray{first, added});
    const auto whole = as("demo", {QStringLiteral("save"), write(card)});
    ASSERT_EQ(whole.status, 0) << whole.err.toStdString();
    const db::Rows stored = db->query(
        QStringLiteral("SELECT autoid, cpscode, ipsquantity FROM ProductStructures WHERE ipid=? "
                       "ORDER BY autoid"),
        {frame});
    ASSERT_EQ(stored.size(), 2u);
    EXPECT_EQ(stored.value(0, "ipsquantity").toDouble(), 4.5);
    EXPECT_EQ(stored.text(1, "cpscode"), QStringLiteral("RM100"));
    EXPECT_NE(stored.text(1, "autoid"), dropped);

    // An endless file is refused without reading it whole.
    const auto endless = as("demo", {QStringLiteral("save"), QStringLiteral("/dev/zero")});
    EXPECT_EQ(endless.status, 2);
    EXPECT_TRUE(endless.err.contains(QStringLiteral("64 MiB")));
}

TEST_P(CardFileTest, TwoClientsSavingOneCardAtOnceNeverBothWin) {
    ASSERT_EQ(as("demo", {QStringLiteral("setting"), QStringLiteral("function-lock"),
                          QStringLiteral("shared")})
                  .status,
              0);
    const QString frame = idOf("FR100");
    for (int round = 0; round < 6; ++round) {
        const QJsonObject card = show(frame);
        const QString memoA = QStringLiteral("A%1").arg(round);
        const QString memoB = QStringLiteral("B%1").arg(round);
        const QString fileA = write(withHeader(card, "cmemo", memoA), QStringLiteral("a.json"));
        const QString fileB = write(withHeader(card, "cmemo", memoB), QStringLiteral("b.json"));
        QProcess a;
        QProcess b;
        a.start(QStringLiteral(BOMCTL_PATH), withAccount("demo", {QStringLiteral("save"), fileA}));
        b.start(QStringLiteral(BOMCTL_PATH), withAccount("demo", {QStringLiteral("save"), fileB}));
        ASSERT_TRUE(a.waitForFinished(60000) && b.waitForFinished(60000));
        const bool aWon = a.exitCode() == 0;
        EXPECT_NE(aWon, b.exitCode() == 0) << "round " << round;
        QProcess& loser = aWon ? b : a;
        EXPECT_EQ(loser.exitCode(), 1);
        EXPECT_TRUE(QString::fromUtf8(loser.readAllStandardError()).contains(kChanged));
        EXPECT_EQ(db->scalar(QStringLiteral("SELECT cmemo FROM ProductStructure WHERE iautoid=?"),
                             {frame})
                      .toString(),
                  aWon ? memoA : memoB);
    }
}

BOM_INSTANTIATE_BACKENDS(CardFileTest);
