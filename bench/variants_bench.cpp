// A colour/size generation of 20 colours x 10 sizes from a template BOM of 200 lines (200 new
// BOMs, 40,000 lines, every tenth line with a substitute) through ColourSizeGenerator::Run (the
// set-based writes with run record, child links, totals, history, visibility, commit), beside
// in the same process through the same driver:
//  - baseline: the same pairs written pair by pair with the statements the window ran, values
//    bound, in one transaction: per pair the existence query, the header copied by one
//    insert-select, its lines by another, their substitutes by the join of template and new
//    lines on the component identity; and per pair its run record, history and visibility,
//    then the links, totals and run's end once. It writes the same rows, so undo removes it.
//  - floor: the same headers, lines and substitutes inserted bare, one statement each, and the
//    commit; no run record, history, visibility, totals or links.
// Also timed: the undo of the generation, and the deletion of the 200 pairs. Every timed run is
// undone or deleted again and its record dropped, so runs repeat on the same account.
// The account is its own small one (the demo account with the shirt item "VB-SHIRT", its
// colours and sizes and the template), kept next to the URL under the tag "variants".
// Usage: variants_bench [sqlite:PATH | postgresql://…] [runs] (default /tmp/bom-bench.db, 5 runs)
#include "BenchAccount.h"
#include "bomservice/BomHistory.h"
#include "bomservice/BomRuns.h"
#include "bomservice/BomSaver.h"
#include "db/BoundList.h"
#include "db/BoundRows.h"
#include "db/DbError.h"
#include "db/Transaction.h"
#include "entry/BomVisibility.h"
#include "entry/Session.h"
#include "suite/Account.h"
#include "variants/ColourSizeGenerator.h"

#include <QElapsedTimer>
#include <QUuid>
#include <cstdio>
#include <cstdlib>

using namespace bom;
using variants::ColourSizeGenerator;
using variants::VariantPair;

using bench::failed;
using bench::msSince;

namespace {

constexpr int kColours = 20;
constexpr int kSizes = 10;
constexpr int kLines = 200;
const QString kParent = QStringLiteral("VB-SHIRT");
const QString kUndoTitle = QStringLiteral("批量处理");

QString colourCode(int i) {
    return QStringLiteral("C%1").arg(i, 2, 10, QLatin1Char('0'));
}
QString sizeCode(int i) {
    return QStringLiteral("S%1").arg(i, 2, 10, QLatin1Char('0'));
}

// The demo account with a shirt of 20 colours and 10 sizes and its template BOM (colour C00,
// size S00, outside the lists, the parent's cost BOM) of 200 bought components, made once.
std::unique_ptr<db::Database> openAccount(const QString& url) {
    try {
        auto existing = db::Database::open(url);
        if (suite::Account::exists(*existing))
            return existing;
    } catch (const db::DbError&) {
        // Not there yet: made below.
    }
    auto db = suite::Account::create(url, QStringLiteral("demo"), QStringLiteral("演示操作员"));
    suite::Account::loadDemo(*db);
    db::Transaction tx(*db);
    db->exec(QStringLiteral("insert into Inventory(iId, cInvCode, cInvName, bself, bFree1, "
                            "bFree2) values (?, ?, ?, 1, 1, 1)"),
             {900000, kParent, QStringLiteral("基准衬衫")});
    for (int i = 1; i <= kLines; ++i)
        db->exec(QStringLiteral("insert into Inventory(iId, cInvCode, cInvName, bPurchase) values "
                                "(?, ?, ?, 1)"),
                 {900000 + i, QStringLiteral("VB-P%1").arg(i, 3, 10, QLatin1Char('0')),
                  QStringLiteral("基准物料%1").arg(i)});
    auto values = [&](int cid, int count, QString (*code)(int)) {
        for (int i = 1; i <= count; ++i) {
            db->exec(QStringLiteral("insert into userdefine(cID, cValue, cAlias) values (?,?,?)"),
                     {cid, code(i), code(i)});
            db->exec(QStringLiteral("insert into InventoryColorFree(cID, cInvCode, cValue) values "
                                    "(?,?,?)"),
                     {cid, kParent, code(i)});
        }
    };
    values(1, kColours, colourCode);
    values(2, kSizes, sizeCode);
    db->exec(QStringLiteral("insert into ProductStructure(iautoid, cpspcode, cfree1, cfree2, "
                            "cdepcode, bexpand, bmrcbbom, cmemo) values (?, ?, ?, ?, ?, 1, 1, ?)"),
             {QStringLiteral("{VB-TEMPLATE}"), kParent, colourCode(0), sizeCode(0),
              QStringLiteral("0202"), QStringLiteral("基准模板")});
    db->exec(
        QStringLiteral("insert into ProductStructures(ipid, cpspcode, cpscode, ipsquantity, "
                       "tdqtyd, cwhcode, wiptype, replaceflag) select ?, ?, cInvCode, "
                       "1 + iId % 9, 1, ?, 3, 0 from Inventory where cInvCode like ? "
                       "order by cInvCode"),
        {QStringLiteral("{VB-TEMPLATE}"), kParent, QStringLiteral("02"), QStringLiteral("VB-P%")});
    db->exec(QStringLiteral("insert into ProstruOpt(AutoID, cInvCode, Sequence, tdQtyN, tdQtyD, "
                            "cWhcode) select autoid, ?, 1, 2, 1, ? from ProductStructures "
                            "where ipid=? and autoid % 10 = 0"),
             {QStringLiteral("SC100"), QStringLiteral("02"), QStringLiteral("{VB-TEMPLATE}")});
    db->exec(QStringLiteral("insert into ProductStructuresEx(cPSPCode, cPSCode, iPSQuantity) "
                            "select cpspcode, cpscode, SUM(ipsquantity) from ProductStructures "
                            "where cpspcode=? group by cpspcode, cpscode"),
             {kParent});
    tx.commit();
    if (db->isPostgres())
        db->exec(QStringLiteral("ANALYZE"));
    return db;
}

std::vector<VariantPair> allPairs() {
    std::vector<VariantPair> out;
    for (int c = 1; c <= kColours; ++c)
        for (int s = 1; s <= kSizes; ++s)
            out.push_back({colourCode(c), sizeCode(s)});
    return out;
}

// Ours: the window's run over every pair.
ColourSizeGenerator::Result ours(entry::Session& session, ColourSizeGenerator::Mode mode,
                                 suite::ScriptedPrompter& prompter) {
    ColourSizeGenerator generator(session);
    if (!generator.Open(mode, QStringLiteral("{VB-TEMPLATE}")) ||
        !generator.ChooseExactly(allPairs()))
        failed("open", prompter);
    const auto result = generator.Run();
    if (!result)
        failed("run", prompter);
    return *result;
}

// The baseline: every pair on its own, each statement for that pair alone.
qlonglong pairByPair(entry::Session& session) {
    db::Database& db = *session.gConn;
    const QString templateId = QStringLiteral("{VB-TEMPLATE}");
    db::Transaction tx(db);
    bomservice::BomRuns runs(session);
    bomservice::BomHistory history(db);
    entry::BomVisibility visibility(db);
    const qlonglong run = runs.Begin(QStringLiteral("variants-generate"), {});
    QString same;
    for (const char* column : {"cpscode", "cfree1", "cfree2", "cfree3", "cfree4", "cfree5",
                               "cfree6", "cfree7", "cfree8", "cfree9", "cfree10", "csocode"})
        same += QStringLiteral(" and COALESCE(a.%1,'')=COALESCE(b.%1,'')").arg(column);
    const QString lines = QStringLiteral(
        "cpspcode, cpscode, cpstype, cwhcode, ipsquantity, cprocedurename, cdepcode, cpersonname, "
        "cfree1, cfree2, iwasterate, cfree3, cfree4, cfree5, cfree6, cfree7, cfree8, cfree9, "
        "cfree10, ccaacomunitcode, childguid, iprodchangrate, cinsertfirst, cinsertsecond, "
        "cinsertthird, csocode, cdefine22, cdefine23, cdefine24, cdefine25, cdefine26, cdefine27, "
        "cdefine28, cdefine29, cdefine30, cdefine31, cdefine32, cdefine33, cdefine34, cdefine35, "
        "cdefine36, cdefine37, fvflag, wiptype, replaceflag, tdqtyd, fbzdj, fbzwlcb, unitqty");
    const QString options = QStringLiteral(
        "cinvcode, cfree1, cfree2, cfree3, cfree4, cfree5, cfree6, cfree7, cfree8, cfree9, "
        "cfree10, cbatch, cwhcode, cpersonname, sequence, tdqtyn, tdqtyd, ccaacomunitcode, "
        "cdefine22, cdefine23, cdefine24, cdefine25, cdefine26, cdefine27, cdefine28, cdefine29, "
        "cdefine30, cdefine31, cdefine32, cdefine33, cdefine34, cdefine35, cdefine36, cdefine37");
    QStringList prefixed;
    for (const QString& column : options.split(QStringLiteral(", ")))
        prefixed << QStringLiteral("c.") + column;
    QStringList created;
    for (const VariantPair& pair : allPairs()) {
        if (!db.query(QStringLiteral("select iautoid from ProductStructure where "
                                     "COALESCE(cfree1,'')=? and COALESCE(cfree2,'')=? and "
                                     "COALESCE(cpspcode,'')=?"),
                      {pair.colour, pair.size, kParent})
                 .empty())
            continue;
        const QString id = QUuid::createUuid().toString(QUuid::WithBraces).toUpper();
        db.exec(QStringLiteral(
                    "insert into ProductStructure(iautoid, cpspcode, cdepcode, bexpand, "
                    "ifinishexch, cmemo, csocode, fbzgs, fbzgzl, fbzrgcb, fbzfyl, fbzzfy, fbzcb, "
                    "fqmzcpwlcb, fqmzcprgcb, fqmzcpzzfy, bstopflag, cfree3, cfree4, cfree5, "
                    "cfree6, cfree7, cfree8, cfree9, cfree10, cdefine1, cdefine2, cdefine3, "
                    "cdefine4, cdefine5, cdefine6, cdefine7, cdefine8, cdefine9, cdefine10, "
                    "cdefine11, cdefine12, cdefine13, cdefine14, cdefine15, cdefine16, cfree1, "
                    "cfree2, bmrcbbom, ccheck) select ?, cpspcode, cdepcode, bexpand, "
                    "ifinishexch, cmemo, csocode, fbzgs, fbzgzl, fbzrgcb, fbzfyl, fbzzfy, fbzcb, "
                    "fqmzcpwlcb, fqmzcprgcb, fqmzcpzzfy, bstopflag, cfree3, cfree4, cfree5, "
                    "cfree6, cfree7, cfree8, cfree9, cfree10, cdefine1, cdefine2, cdefine3, "
                    "cdefine4, cdefine5, cdefine6, cdefine7, cdefine8, cdefine9, cdefine10, "
                    "cdefine11, cdefine12, cdefine13, cdefine14, cdefine15, cdefine16, ?, ?, 0, "
                    "? from ProductStructure where iautoid=?"),
                {id, pair.colour, pair.size, QStringLiteral(""), templateId});
        db.exec(QStringLiteral("insert into ProductStructures(%1, ipid) select %1, ? from "
                               "ProductStructures where ipid=? order by autoid")
                    .arg(lines),
                {id, templateId});
        db.exec(QStringLiteral("insert into ProstruOpt(%1, AutoID) select %2, b.autoid from "
                               "ProductStructures a, ProductStructures b, ProstruOpt c where "
                               "a.ipid=? and b.ipid=?%3 and a.autoid=c.AutoID")
                    .arg(options, prefixed.join(QStringLiteral(", ")), same),
                {templateId, id});
        runs.Created(run, db::SqlCondition{QStringLiteral("select iautoid, CAST(NULL AS BIGINT) "
                                                          "from ProductStructure where iautoid=?"),
                                           {id}});
        runs.Touched(run, {id}, QStringLiteral("C"));
        history.record(id, session.gUserId,
                       {{bomservice::BomHistory::kCreated, {}, {}, kParent, {}}}, run);
        visibility.RefreshBoms({id});
        created << id;
    }
    bomservice::BomSaver saver(session);
    saver.LinkLinesTo(created);
    saver.LinesChanged({kParent});
    saver.MarkStructureChanged();
    runs.Finish(run);
    tx.commit();
    return run;
}

// The floor: the same rows written bare, one statement for each table.
void floorRun(db::Database& db) {
    const QString templateId = QStringLiteral("{VB-TEMPLATE}");
    std::vector<QVariantList> heads;
    QStringList ids;
    for (const VariantPair& pair : allPairs()) {
        ids << QUuid::createUuid().toString(QUuid::WithBraces).toUpper();
        heads.push_back({ids.last(), pair.colour, pair.size});
    }
    db::Transaction tx(db);
    const db::SqlCondition headers =
        db::sqlText(QStringLiteral("insert into ProductStructure(iautoid, cpspcode, cdepcode, "
                                   "bexpand, cfree1, cfree2, bmrcbbom, ccheck) select n.c0, "
                                   "t.cpspcode, t.cdepcode, t.bexpand, n.c1, n.c2, 0, '' from ")) +
        db::BoundRows::table(db.dialect(), {QString(), QString(), QString()}, heads) +
        db::SqlCondition{QStringLiteral(" n, ProductStructure t where t.iautoid=?"), {templateId}};
    db.exec(headers.sql, headers.params);
    const db::SqlCondition lines =
        db::SqlCondition{QStringLiteral("insert into ProductStructures(cpspcode, cpscode, "
                                        "ipsquantity, tdqtyd, cwhcode, wiptype, replaceflag, "
                                        "ipid, psid) select a.cpspcode, a.cpscode, "
                                        "a.ipsquantity, a.tdqtyd, a.cwhcode, a.wiptype, "
                                        "a.replaceflag, h.iautoid, h.ID from ProductStructure h "
                                        "join ProductStructures a on a.ipid=? where "),
                         {templateId}} +
        db::BoundList::in(db.dialect(), QStringLiteral("h.iautoid"), ids);
    db.exec(lines.sql, lines.params);
    const db::SqlCondition options =
        db::SqlCondition{QStringLiteral("insert into ProstruOpt(cInvCode, Sequence, tdQtyN, "
                                        "tdQtyD, cWhcode, AutoID) select c.cInvCode, c.Sequence, "
                                        "c.tdQtyN, c.tdQtyD, c.cWhcode, b.autoid from "
                                        "ProductStructures a join ProstruOpt c on "
                                        "c.AutoID=a.autoid join ProductStructures b on "
                                        "b.cpscode=a.cpscode where a.ipid=? and "),
                         {templateId}} +
        db::BoundList::in(db.dialect(), QStringLiteral("b.ipid"), ids);
    db.exec(options.sql, options.params);
    tx.commit();
}

// Every generated line with its substitutes, keys aside, to show the ways wrote the same.
QStringList generated(db::Database& db) {
    const db::Rows rows = db.query(
        QStringLiteral("select h.cfree1, h.cfree2, h.cdepcode, h.bmrcbbom, l.cpscode, "
                       "l.ipsquantity, l.cwhcode, l.psid=h.ID, o.cInvCode, o.tdQtyN from "
                       "ProductStructure h join ProductStructures l on l.ipid=h.iautoid left "
                       "join ProstruOpt o on o.AutoID=l.autoid where h.cpspcode=? and "
                       "h.iautoid<>? order by h.cfree1, h.cfree2, l.cpscode"),
        {kParent, QStringLiteral("{VB-TEMPLATE}")});
    return rows.asText();
}

// How many headers, lines, substitutes and runs the account holds.
QString counts(db::Database& db) {
    const db::Rows rows = db.query(
        QStringLiteral("select (select count(*) from ProductStructure), (select count(*) from "
                       "ProductStructures), (select count(*) from ProstruOpt), (select count(*) "
                       "from sys_bom_run)"));
    QStringList out;
    for (const QVariant& v : rows.at(0))
        out << v.toString();
    return out.join(QLatin1Char('/'));
}

int run(const QString& url, int runs) {
    const QString account = bench::taggedUrl(url, QStringLiteral("variants"));
    openAccount(account);
    suite::ScriptedPrompter prompter;
    const auto headless = bench::signIn(account, QStringLiteral("demo"), prompter);
    entry::Session& session = headless->session();
    db::Database& db = *session.gConn;
    bomservice::BomRuns record(session);
    const QString original = counts(db);
    std::vector<double> generate, undo, remove, baseline, floor;
    for (int r = 0; r < runs; ++r) {
        QElapsedTimer timer;
        timer.start();
        const auto made = ours(session, ColourSizeGenerator::Mode::Copy, prompter);
        generate.push_back(msSince(timer));
        if (made.created.size() != kColours * kSizes)
            failed("generation", prompter);
        const QStringList ourRows = generated(db);
        timer.start();
        if (!record.Undo(made.run, kUndoTitle))
            failed("undo", prompter);
        undo.push_back(msSince(timer));

        timer.start();
        const qlonglong plain = pairByPair(session);
        baseline.push_back(msSince(timer));
        const QStringList plainRows = generated(db);
        if (!record.Undo(plain, kUndoTitle))
            failed("baseline undo", prompter);
        if (plainRows != ourRows) {
            std::fprintf(stderr, "the two ways wrote different rows (%d and %d)\n",
                         int(ourRows.size()), int(plainRows.size()));
            return 1;
        }

        timer.start();
        floorRun(db);
        floor.push_back(msSince(timer));
        {
            db::Transaction tx(db);
            db.exec(QStringLiteral("delete from ProstruOpt where AutoID in (select autoid from "
                                   "ProductStructures where cpspcode=? and ipid<>?)"),
                    {kParent, QStringLiteral("{VB-TEMPLATE}")});
            db.exec(QStringLiteral("delete from ProductStructures where cpspcode=? and ipid<>?"),
                    {kParent, QStringLiteral("{VB-TEMPLATE}")});
            db.exec(QStringLiteral("delete from ProductStructure where cpspcode=? and iautoid<>?"),
                    {kParent, QStringLiteral("{VB-TEMPLATE}")});
            tx.commit();
        }

        const auto again = ours(session, ColourSizeGenerator::Mode::Copy, prompter);
        timer.start();
        const auto removed = ours(session, ColourSizeGenerator::Mode::Delete, prompter);
        remove.push_back(msSince(timer));
        if (removed.deleted.size() != kColours * kSizes)
            failed("deletion", prompter);
        bench::forgetRuns(db, {removed.run, again.run, plain, made.run});
        if (counts(db) != original) {
            std::fprintf(stderr, "the account was not left as it was: %s, was %s\n",
                         qPrintable(counts(db)), qPrintable(original));
            return 1;
        }
    }
    const QString kind = db.isPostgres() ? QStringLiteral("pg") : QStringLiteral("sqlite");
    std::printf("%s account of its own: %d colours x %d sizes from a template of %d lines "
                "(%d BOMs, %d lines), %d runs; both ways wrote the same rows, every run undone\n",
                qPrintable(kind), kColours, kSizes, kLines, kColours * kSizes,
                kColours * kSizes * kLines, runs);
    bench::printRow(QStringLiteral("variants generate 20x10, 200 lines (%1)").arg(kind), generate,
                    baseline, floor);
    bench::printRow(QStringLiteral("variants undo of that generation (%1)").arg(kind), undo);
    bench::printRow(QStringLiteral("variants delete 20x10 (%1)").arg(kind), remove);
    std::sort(generate.begin(), generate.end());
    const double p95 = bench::percentile(generate, 0.95);
    if (!db.isPostgres())
        std::printf("generation p95 %.0f ms (target < 1000 ms: %s)\n", p95,
                    p95 < 1000 ? "met" : "NOT met");
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    return bench::benchMain(argc, argv, 5, run);
}
