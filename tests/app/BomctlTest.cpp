#include "suite/ColumnSettings.h"
#include "support/TestAccount.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

using namespace bom;

namespace {

test::ProcessResult bomctl(const QStringList& args, const QByteArray& input = {}) {
    return test::runProgram(QStringLiteral(BOMCTL_PATH), args, {}, input);
}

QJsonObject lastJson(const QString& out) {
    const QStringList lines = out.trimmed().split('\n');
    return QJsonDocument::fromJson(lines.last().toUtf8()).object();
}

QString field(const QJsonValue& row, const char* name) {
    return row.toObject().value(QLatin1String(name)).toString();
}

// The texts of the messages a --json run printed.
QStringList messages(const QString& out) {
    QStringList texts;
    for (const QString& line : out.trimmed().split('\n')) {
        const QJsonObject o = QJsonDocument::fromJson(line.toUtf8()).object();
        if (o.value("type").toString() == QLatin1String("message"))
            texts << o.value("text").toString();
    }
    return texts;
}

} // namespace

class BomctlTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        const auto init =
            bomctl({QStringLiteral("init"), account->url(), QStringLiteral("--demo")});
        ASSERT_EQ(init.status, 0) << init.err.toStdString();
    }
    test::ProcessResult as(const char* user, QStringList args, const QByteArray& input = {}) {
        args << QStringLiteral("--db") << account->url() << QStringLiteral("--user")
             << QLatin1String(user);
        return bomctl(args, input);
    }
};

TEST_P(BomctlTest, InitRefusesAnExistingAccountAndUsageErrorsExitTwo) {
    const auto again = bomctl({QStringLiteral("init"), account->url(), QStringLiteral("--json")});
    EXPECT_EQ(again.status, 1);
    EXPECT_FALSE(lastJson(again.out).value("ok").toBool());
    EXPECT_EQ(bomctl({QStringLiteral("init")}).status, 2);
    EXPECT_EQ(bomctl({QStringLiteral("frobnicate")}).status, 2);
    EXPECT_EQ(
        as("demo", {QStringLiteral("operator"), QStringLiteral("list"), QStringLiteral("--bogus")})
            .status,
        2);
    EXPECT_EQ(as("nobody", {QStringLiteral("operator"), QStringLiteral("list")}).status, 1);
    EXPECT_EQ(bomctl({QStringLiteral("operator"), QStringLiteral("list"), QStringLiteral("--db"),
                      QStringLiteral("sqlite:/nonexistent/a.db"), QStringLiteral("--user"),
                      QStringLiteral("demo")})
                  .status,
              3);
}

TEST_P(BomctlTest, OperatorsAndRightsAreAdministeredWithoutSql) {
    const auto list =
        as("demo", {QStringLiteral("operator"), QStringLiteral("list"), QStringLiteral("--json")});
    ASSERT_EQ(list.status, 0) << list.err.toStdString();
    const QJsonObject result = lastJson(list.out);
    EXPECT_EQ(result.value("type").toString(), QStringLiteral("result"));
    EXPECT_EQ(result.value("rows").toArray().size(), 2);
    EXPECT_EQ(result.value("rows").toArray().at(1).toObject().value("name").toString(),
              QStringLiteral("王芳"));

    EXPECT_EQ(as("demo",
                 {QStringLiteral("operator"), QStringLiteral("add"), QStringLiteral("li"),
                  QStringLiteral("李工"), QStringLiteral("--password")},
                 "secret\n")
                  .status,
              0);
    EXPECT_EQ(as("demo", {QStringLiteral("operator"), QStringLiteral("add"), QStringLiteral("li"),
                          QStringLiteral("again")})
                  .status,
              1);
    // A new operator has no function right until granted, and signs in with the password.
    const auto grant = as("demo", {QStringLiteral("rights"), QStringLiteral("grant"),
                                   QStringLiteral("li"), QStringLiteral("function"),
                                   QStringLiteral("ProductStructure"), QStringLiteral("AS001")});
    EXPECT_EQ(grant.status, 0) << grant.err.toStdString();
    EXPECT_EQ(as("demo", {QStringLiteral("rights"), QStringLiteral("grant"), QStringLiteral("li"),
                          QStringLiteral("warehouse"), QStringLiteral("NOPE")})
                  .status,
              1);
    const auto li = test::runProgram(QStringLiteral(BOMCTL_PATH),
                                     {QStringLiteral("operator"), QStringLiteral("list"),
                                      QStringLiteral("--db"), account->url(),
                                      QStringLiteral("--user"), QStringLiteral("li")},
                                     {QStringLiteral("BOM_PASSWORD=secret")});
    EXPECT_EQ(li.status, 0) << li.err.toStdString();
    const auto wrong = test::runProgram(QStringLiteral(BOMCTL_PATH),
                                        {QStringLiteral("operator"), QStringLiteral("list"),
                                         QStringLiteral("--db"), account->url(),
                                         QStringLiteral("--user"), QStringLiteral("li")},
                                        {QStringLiteral("BOM_PASSWORD=guess")});
    EXPECT_EQ(wrong.status, 1);

    const auto shown =
        as("demo", {QStringLiteral("rights"), QStringLiteral("show"), QStringLiteral("wang"),
                    QStringLiteral("department"), QStringLiteral("--json")});
    EXPECT_EQ(lastJson(shown.out)
                  .value("rows")
                  .toArray()
                  .at(0)
                  .toObject()
                  .value("codes")
                  .toArray()
                  .size(),
              2);
    EXPECT_EQ(
        as("demo", {QStringLiteral("rights"), QStringLiteral("revoke"), QStringLiteral("wang"),
                    QStringLiteral("department"), QStringLiteral("--none")})
            .status,
        0);
    EXPECT_EQ(
        as("demo", {QStringLiteral("operator"), QStringLiteral("remove"), QStringLiteral("li")})
            .status,
        0);
}

TEST_P(BomctlTest, TheFunctionLockIsExclusiveUnlessTheAccountSharesIt) {
    QProcess holder;
    holder.start(QStringLiteral(LOCK_HOLDER_PATH), {account->url(), QStringLiteral("wang")});
    ASSERT_TRUE(holder.waitForReadyRead(30000));
    const auto refused =
        as("demo", {QStringLiteral("operator"), QStringLiteral("list"), QStringLiteral("--json")});
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(refused.out.contains(QStringLiteral("王芳"))) << refused.out.toStdString();
    holder.kill();
    holder.waitForFinished();

    ASSERT_EQ(as("demo", {QStringLiteral("setting"), QStringLiteral("function-lock"),
                          QStringLiteral("shared")})
                  .status,
              0);
    holder.start(QStringLiteral(LOCK_HOLDER_PATH), {account->url(), QStringLiteral("wang")});
    ASSERT_TRUE(holder.waitForReadyRead(30000));
    EXPECT_EQ(as("demo", {QStringLiteral("operator"), QStringLiteral("list")}).status, 0);
    holder.kill();
    holder.waitForFinished();
}

TEST_P(BomctlTest, ListsShowsAndLooksUpForEachOperator) {
    auto rows = [&](const char* user, QStringList args) {
        args << QStringLiteral("--json");
        const auto run = as(user, args);
        EXPECT_EQ(run.status, 0) << run.err.toStdString() << run.out.toStdString();
        return lastJson(run.out).value("rows").toArray();
    };
    EXPECT_EQ(rows("demo", {QStringLiteral("list")}).size(), 8);
    const QJsonArray garments = rows("wang", {QStringLiteral("list")});
    ASSERT_EQ(garments.size(), 2);
    EXPECT_EQ(garments.at(0).toObject().value("cpspcode").toString(), QStringLiteral("GT100"));
    EXPECT_EQ(rows("demo", {QStringLiteral("list"), QStringLiteral("--where"),
                            QStringLiteral("cpspcode=BK200")})
                  .size(),
              2);
    const auto badField = as(
        "demo", {QStringLiteral("list"), QStringLiteral("--where"), QStringLiteral("1=1 or x=y")});
    EXPECT_EQ(badField.status, 2);

    const QString id = garments.at(0).toObject().value("iautoid").toString();
    EXPECT_EQ(rows("wang", {QStringLiteral("lines"), id}).size(), 3);
    const auto csv = as(
        "wang", {QStringLiteral("lines"), id, QStringLiteral("--format"), QStringLiteral("csv")});
    EXPECT_EQ(csv.out.trimmed().split('\n').size(), 4); // heading and three lines

    const auto shown = as("demo", {QStringLiteral("show"), id, QStringLiteral("--json")});
    const QJsonObject card = lastJson(shown.out).value("card").toObject();
    EXPECT_EQ(card.value("header").toObject().value("iautoid").toString(), id);
    EXPECT_EQ(card.value("lines").toArray().size(), 3);
    EXPECT_EQ(card.value("lines").toArray().at(0).toObject().value("editprop").toString(),
              QString());
    const auto xml =
        as("demo", {QStringLiteral("show"), id, QStringLiteral("--format"), QStringLiteral("xml")});
    EXPECT_EQ(xml.out.count(QStringLiteral("<rs:data>")), 2);
    EXPECT_EQ(as("demo", {QStringLiteral("show"), QStringLiteral("{nope}")}).status, 1);

    const QJsonArray items =
        rows("wang", {QStringLiteral("ref"), QStringLiteral("cinvcode"), QStringLiteral("衬衫")});
    ASSERT_EQ(items.size(), 1);
    EXPECT_EQ(items.at(0).toObject().value("cinvcode").toString(), QStringLiteral("GT100"));
    EXPECT_EQ(as("demo", {QStringLiteral("ref"), QStringLiteral("nonsense")}).status, 1);
}

TEST_P(BomctlTest, ValidateRefusesCyclesRepeatsAndTakenIdentitiesAndAcceptsAGoodCard) {
    const auto list = as("demo", {QStringLiteral("list"), QStringLiteral("--where"),
                                  QStringLiteral("cpspcode=FR100"), QStringLiteral("--json")});
    const QString id =
        lastJson(list.out).value("rows").toArray().at(0).toObject().value("iautoid").toString();
    const QJsonObject card =
        lastJson(as("demo", {QStringLiteral("show"), id, QStringLiteral("--json")}).out)
            .value("card")
            .toObject();
    QTemporaryDir dir;
    auto validate = [&](const QJsonObject& c, QStringList extra = {}) {
        QFile file(dir.filePath(QStringLiteral("card.json")));
        file.open(QIODevice::WriteOnly | QIODevice::Truncate);
        file.write(QJsonDocument(c).toJson());
        file.close();
        return as("demo", QStringList{QStringLiteral("validate"), file.fileName(),
                                      QStringLiteral("--json")} +
                              extra);
    };
    auto withLines = [&](const QJsonArray& lines) {
        QJsonObject c = card;
        c.insert("lines", lines);
        return c;
    };
    const QJsonArray lines = card.value("lines").toArray();

    const auto good = validate(card, {QStringLiteral("--modify")});
    EXPECT_EQ(good.status, 0) << good.out.toStdString();

    QJsonObject bike = lines.at(0).toObject();
    bike.insert("cpscode", QStringLiteral("BK100"));
    bike.insert("replaceflag", QStringLiteral("否"));
    const auto cycle = validate(withLines(QJsonArray(lines) << bike));
    EXPECT_EQ(cycle.status, 1);
    EXPECT_TRUE(cycle.out.contains(QStringLiteral("母件FR100与子件BK100循环!")));
    EXPECT_EQ(lastJson(cycle.out).value("cycle_path").toArray().size(), 2);

    const auto repeated = validate(withLines(QJsonArray(lines) << lines.at(1)));
    EXPECT_EQ(repeated.status, 1);
    EXPECT_TRUE(repeated.out.contains(QStringLiteral("子件编码（PT100）出现重复，请修改！")));

    QJsonObject copy = card;
    QJsonObject header = copy.value("header").toObject();
    header.remove("iautoid");
    copy.insert("header", header);
    const auto taken = validate(copy);
    EXPECT_EQ(taken.status, 1);
    EXPECT_TRUE(taken.out.contains(QStringLiteral("该母件+版本号已经存在！")));

    const auto broken =
        as("demo", {QStringLiteral("validate"), dir.filePath(QStringLiteral("none.json"))});
    EXPECT_EQ(broken.status, 2);
}

TEST_P(BomctlTest, ACardIsCreatedShownChangedAndDeletedThroughBomctlAlone) {
    QTemporaryDir dir;
    auto write = [&](const QJsonObject& card) {
        const QString path = dir.filePath(QStringLiteral("card.json"));
        QFile file(path);
        file.open(QIODevice::WriteOnly | QIODevice::Truncate);
        file.write(QJsonDocument(card).toJson());
        return path;
    };
    const QJsonObject line{{"cpscode", "RM100"},
                           {"ipsquantity", 2},
                           {"tdqtyd", 1},
                           {"replaceflag", QStringLiteral("否")},
                           {"wiptype", QStringLiteral("正常领料")}};
    const auto created =
        as("demo",
           {QStringLiteral("save"),
            write({{"header", QJsonObject{{"cpspcode", "SD100"}}}, {"lines", QJsonArray{line}}}),
            QStringLiteral("--json")});
    ASSERT_EQ(created.status, 0) << created.out.toStdString();
    const QString id = lastJson(created.out).value("iautoid").toString();

    QJsonObject card =
        lastJson(as("demo", {QStringLiteral("show"), id, QStringLiteral("--json")}).out)
            .value("card")
            .toObject();
    const double firstVersion = card.value("header").toObject().value("qzts").toDouble();
    QJsonArray lines = card.value("lines").toArray();
    QJsonObject changed = lines.at(0).toObject();
    changed.insert("ipsquantity", 7);
    changed.insert("editprop", "M");
    lines.replace(0, changed);
    card.insert("lines", lines);
    const auto saved = as("demo", {QStringLiteral("save"), write(card), QStringLiteral("--json")});
    ASSERT_EQ(saved.status, 0) << saved.out.toStdString();
    EXPECT_EQ(lastJson(saved.out).value("iautoid").toString(), id);
    const QJsonArray stored =
        lastJson(as("demo", {QStringLiteral("lines"), id, QStringLiteral("--json")}).out)
            .value("rows")
            .toArray();
    ASSERT_EQ(stored.size(), 1);
    EXPECT_EQ(stored.at(0).toObject().value("ipsquantity").toDouble(), 7.0);

    const auto stale = as("demo", {QStringLiteral("card-delete"), id, QStringLiteral("--qzts"),
                                   QString::number(qlonglong(firstVersion))});
    EXPECT_EQ(stale.status, 1);
    EXPECT_TRUE(stale.err.contains(QStringLiteral("本单据已被其他人更新，请刷新后再试！")));
    EXPECT_EQ(as("demo", {QStringLiteral("card-delete"), id}).status, 0);
    EXPECT_EQ(as("demo", {QStringLiteral("show"), id}).status, 1);
}

TEST_P(BomctlTest, ScriptsGetFixedColumnsAndExitStatusesWhereverTheOptionsStand) {
    // Global options before the command, mixed with those after it.
    const auto before = bomctl({"--db", account->url(), "--json", "list", "--user=demo"});
    ASSERT_EQ(before.status, 0) << before.err.toStdString();
    const QJsonArray all = lastJson(before.out).value("rows").toArray();
    EXPECT_EQ(all.size(), 8);
    auto idOf = [&](const char* parent, bool orderBom = false) {
        for (const auto& row : all)
            if (field(row, "cpspcode") == QLatin1String(parent) &&
                field(row, "csocode").isEmpty() != orderBom)
                return field(row, "iautoid");
        return QString();
    };

    // The operator's column settings in the window change nothing in what scripts read.
    suite::ColumnSettings settings;
    ASSERT_TRUE(settings.Init(account->url(), QStringLiteral("demo")));
    QString error;
    ASSERT_TRUE(settings.Save(QStringLiteral("WLQDLBM"),
                              {{"cinvname", "母件名称", true, 150, "desc", 1},
                               {"cpspcode", "母件编码", true, 110, "", 0}},
                              &error));
    const QString fixed = QStringLiteral(
        "iautoid,cpspcode,cinvname,cinvstd,csocode,cfree1,cfree2,cfree3,cfree4,cfree5,cfree6,"
        "cfree7,cfree8,cfree9,cfree10,cdepcode,cdepname,ccheck,bstopflag,bmrcbbom,bexpand,fbzcb,"
        "cmemo,qzts");
    const QStringList csv = as("demo", {"list", "--format", "csv"}).out.trimmed().split('\n');
    ASSERT_EQ(csv.size(), 9);
    EXPECT_EQ(csv.first(), fixed);
    EXPECT_TRUE(csv.at(1).startsWith(idOf("BK100") + QStringLiteral(",BK100,")));
    EXPECT_EQ(lastJson(as("demo", {"list", "--json"}).out)["columns"].toVariant().toStringList(),
              fixed.split(','));
    EXPECT_TRUE(as("demo", {"help"}).out.contains(fixed));

    // --columns picks others; --where takes any column of the view, shown or not.
    const auto picked = as("demo", {"list", "--columns", "cdepname,CPSPCODE", "--where",
                                    "cdepcode=0102", "--format", "csv"});
    EXPECT_EQ(picked.out.trimmed().split('\n'),
              QStringList({"cdepname,cpspcode", "车架车间,FK100", "车架车间,FR100"}));
    const auto badColumn = as("demo", {"list", "--columns", "cpspcode,colour", "--json"});
    EXPECT_EQ(badColumn.status, 2);
    EXPECT_TRUE(messages(badColumn.out).join(' ').contains(QStringLiteral("colour")));
    EXPECT_TRUE(messages(badColumn.out).join(' ').contains(QStringLiteral("cdefine16")));
    EXPECT_EQ(as("demo", {"list", "--where", "colour=RED"}).status, 2);

    const auto xml = as("demo", {"show", idOf("FR100"), "--format", "xml", "--json"});
    EXPECT_EQ(lastJson(xml.out)["xml"].toString().count(QStringLiteral("<rs:data>")), 2);

    // A command over several BOMs is refused when it changed none, done when it changed one.
    const auto approved = as("demo", {"approve", idOf("BK100"), "--json"});
    EXPECT_EQ(approved.status, 1);
    EXPECT_EQ(lastJson(approved.out)["changed"].toInt(), 0);
    const auto refused = as("demo", {"stop", idOf("FR100"), idOf("WH100"), "--json"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(messages(refused.out).last(), QStringLiteral("停用 0条记录 ！"));
    const auto oneStopped = as("demo", {"stop", idOf("FR100"), idOf("BK200", true), "--json"});
    EXPECT_EQ(oneStopped.status, 0) << oneStopped.out.toStdString();
    EXPECT_EQ(lastJson(oneStopped.out)["changed"].toInt(), 1);
    const auto stopped = as("demo", {"list", "--where", "bstopflag=是", "--json"});
    EXPECT_EQ(lastJson(stopped.out)["rows"].toArray().size(), 2); // with the blue shirt

    for (const char* command : {"lines", "show"}) {
        const auto gone = as("demo", {command, "{nope}", "--json"});
        EXPECT_EQ(gone.status, 1) << command;
        EXPECT_EQ(messages(gone.out), QStringList{QStringLiteral("当前选中的母件已被删除！")});
    }
}

TEST_P(BomctlTest, ACardIsPrintedToPdfByItsPrintTemplateForThoseWhoMaySeeIt) {
    QTemporaryDir dir;
    const QString pdf = dir.filePath(QStringLiteral("bk100.pdf"));
    const QString bike = QStringLiteral("{BDAD2A5E-EE29-5A09-AADB-050369217BC0}");
    const auto printed = as("demo", {QStringLiteral("print"), bike, QStringLiteral("--pdf"), pdf,
                                     QStringLiteral("--json")});
    ASSERT_EQ(printed.status, 0) << printed.err.toStdString();
    EXPECT_EQ(lastJson(printed.out).value("template").toInt(), 2); // the card's print default
    EXPECT_GE(lastJson(printed.out).value("pages").toInt(), 1);
    QFile file(pdf);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.read(5).startsWith("%PDF"));

    // A display template is no print template; a BOM the operator's rights hide is gone.
    EXPECT_EQ(as("demo", {QStringLiteral("print"), bike, QStringLiteral("--pdf"), pdf,
                          QStringLiteral("--template"), QStringLiteral("1")})
                  .status,
              1);
    const auto hidden =
        as("wang", {QStringLiteral("print"), bike, QStringLiteral("--pdf"),
                    dir.filePath(QStringLiteral("hidden.pdf")), QStringLiteral("--json")});
    EXPECT_EQ(hidden.status, 1);
    EXPECT_EQ(messages(hidden.out), QStringList{QStringLiteral("当前选中的母件已被删除！")});
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("hidden.pdf"))));

    // Printing is a right of its own.
    ASSERT_EQ(as("demo", {QStringLiteral("rights"), QStringLiteral("grant"), QStringLiteral("wang"),
                          QStringLiteral("function"), QStringLiteral("ProductStructure"),
                          QStringLiteral("AS001")})
                  .status,
              0);
    const auto refused = as("wang", {QStringLiteral("print"),
                                     QStringLiteral("{4CEC3297-B84C-5AAF-B02C-EAE3D62404CD}"),
                                     QStringLiteral("--pdf"), pdf, QStringLiteral("--json")});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(messages(refused.out), QStringList{QStringLiteral("没有打印或预览权限")});
}

BOM_INSTANTIATE_BACKENDS(BomctlTest);
