// A batch run over 10,000 BOMs of the generated account of 100,000 BOMs: adding a component to
// every one of them, then replacing it by another, through BatchEditor::Save (the save's
// checks, the plan, the set-based writes with run record, totals, history, commit), beside a
// baseline run in the same process through the same driver on the same BOMs:
//  - baseline: the same run written one BOM at a time, as the editor did it BOM by BOM: for
//    each BOM its header and lines read, its run record rows, its line inserted or each of its
//    lines updated, its row version with its run record, its totals, its history and its
//    visibility, each its own statement (prepared once, reused). It writes the same rows, so
//    undo treats it alike.
// Two selections: the first 10,000 BOMs of the list (in its order, as a planner ticks a filtered
// range), and 10,000 scattered over the whole account (in key order), whose changes land all
// over every index and so write several times the pages at commit.
// The floor: the same lines written bare, one statement and the commit (floorRun).
// Also timed: the preview of each run (nothing written). Every timed run is undone before the
// next, and its run record and history go, so the account stays as it was and runs repeat.
// Usage: batch_bench [sqlite:PATH | postgresql://…] [runs] (default /tmp/bom-bench.db, 3 runs)
#include "BenchAccount.h"
#include "batch/BatchEditor.h"
#include "bomservice/BomHistory.h"
#include "bomservice/BomRuns.h"
#include "bomservice/BomSaver.h"
#include "bomservice/LineDescriber.h"
#include "db/BoundList.h"
#include "db/DbError.h"
#include "db/Transaction.h"
#include "entry/BomVisibility.h"
#include "entry/Session.h"

#include <QElapsedTimer>
#include <QHash>
#include <cstdio>
#include <cstdlib>

using namespace bom;

using bench::failed;
using bench::msSince;

namespace {

constexpr int kBoms = 10000;
const QString kAdded = QStringLiteral("BB-ADD");
const QString kReplacing = QStringLiteral("BB-REP");
const QString kWarehouse = QStringLiteral("BW");

// Two bought items no BOM uses and an ordinary warehouse, made once per account.
void ensureMasterData(db::Database& db) {
    db::Transaction tx(db);
    if (db.scalar(QStringLiteral("select count(*) from Warehouse where cWhCode=?"), {kWarehouse})
            .toInt() == 0)
        db.exec(QStringLiteral("insert into Warehouse(cWhCode, cWhName, iWhProperty) values "
                               "(?, ?, 0)"),
                {kWarehouse, QStringLiteral("基准仓")});
    for (const QString& code : {kAdded, kReplacing})
        if (db.scalar(QStringLiteral("select count(*) from Inventory where cInvCode=?"), {code})
                .toInt() == 0)
            db.exec(QStringLiteral("insert into Inventory(iId, cInvCode, cInvName, bPurchase) "
                                   "select COALESCE(MAX(iId),0)+1, ?, ?, 1 from Inventory"),
                    {code, QStringLiteral("批量基准 ") + code});
    tx.commit();
}

// The first kBoms BOMs that may be changed, in the order `orderBy` names.
QStringList selectBoms(db::Database& db, const QString& orderBy) {
    const db::Rows rows = db.query(QStringLiteral("select iautoid from ProductStructure where "
                                                  "COALESCE(ccheck,'')='' order by %1 limit ?")
                                       .arg(orderBy),
                                   {kBoms});
    QStringList out;
    for (std::size_t i = 0; i < rows.size(); ++i)
        out << rows.text(i, "iautoid");
    return out;
}

// The editor set up for the add (component kAdded) or the replace (kAdded by kReplacing).
std::unique_ptr<batch::BatchEditor> editorFor(entry::Session& session, bool replace,
                                              const QStringList& boms,
                                              suite::ScriptedPrompter& prompter) {
    auto editor = std::make_unique<batch::BatchEditor>(session);
    const bool ready =
        editor->InitBatch(replace ? batch::Operation::Replace : batch::Operation::Add, boms,
                          replace ? entry::BomIdentity{kAdded, {}, {}} : entry::BomIdentity{}) &&
        editor->EnterValue(QStringLiteral("cpscode"), replace ? kReplacing : kAdded) &&
        editor->EnterValue(QStringLiteral("cwhcode"), kWarehouse) &&
        (replace ? editor->EnterValue(QStringLiteral("multiplier"), QStringLiteral("2"))
                 : editor->EnterValue(QStringLiteral("ipsquantity"), QStringLiteral("2")) &&
                       editor->EnterValue(QStringLiteral("fbzdj"), QStringLiteral("1.5")));
    if (!ready)
        failed("editor set-up", prompter);
    return editor;
}

// The baseline: the plan written one BOM at a time, every statement for that BOM alone.
// The editor's checks run first and the plan is worked out inside the run's transaction, as
// the editor's save does.
qlonglong statementPerBom(entry::Session& session, batch::BatchEditor& editor,
                          suite::ScriptedPrompter& prompter) {
    if (!editor.CheckSave())
        failed("baseline checks", prompter);
    db::Database& db = *session.gConn;
    db::Transaction tx(db);
    const batch::BatchPlan plan =
        batch::BatchPlanner(session, editor.scope(), editor.fields()).plan(true, false);
    const bool add = plan.operation == batch::Operation::Add;
    QStringList components{add ? kAdded : plan.component.code};
    if (!add)
        components << plan.newComponent.code;
    bomservice::BomRuns runs(session);
    bomservice::BomSaver saver(session);
    bomservice::BomHistory history(db);
    entry::BomVisibility visibility(db);
    const qlonglong run = runs.Begin(batch::BatchScope::operationName(plan.operation), {});
    bomservice::LineDescriber describer(session);
    std::vector<const QVariantList*> all;
    for (const batch::BatchChange& change : plan.changes) {
        if (change.before >= 0)
            all.push_back(&plan.beforeRow(change));
        all.push_back(&change.after);
    }
    describer.learn(plan.lines, all);
    QStringList marks;
    for (int i = 0; i < plan.written.size(); ++i)
        marks << QStringLiteral("?");
    QStringList sets;
    for (const QString& column : plan.written)
        sets << column + QStringLiteral("=?");
    const QString insert =
        QStringLiteral("insert into ProductStructures(%1, ipid, cpspcode) values (%2, ?, ?)")
            .arg(plan.written.join(','), marks.join(','));
    const QString update =
        QStringLiteral("update ProductStructures set %1 where autoid=?").arg(sets.join(','));
    QHash<QString, std::vector<const batch::BatchChange*>> byBom;
    for (const batch::BatchChange& change : plan.changes)
        byBom[change.headerId].push_back(&change);
    for (const QString& bom : plan.changedBoms()) {
        const auto& changes = byBom[bom];
        const QString parent = changes.front()->parent;
        db.query(QStringLiteral("select cpspcode, COALESCE(ccheck,'') as ccheck, qzts from "
                                "ProductStructure where iautoid=?"),
                 {bom});
        db.query(QStringLiteral("select * from ProductStructures where ipid=? order by autoid"),
                 {bom});
        if (add) {
            db::Params values;
            for (const QString& column : plan.written)
                values << changes.front()->after.value(plan.lines.columnIndex(column));
            db.exec(insert, values + db::Params{bom, parent});
            runs.Created(run, db::SqlCondition{QStringLiteral("select ipid, autoid from "
                                                              "ProductStructures where ipid=? "
                                                              "and cpscode=?"),
                                               {bom, kAdded}});
        }
        for (const batch::BatchChange* change : changes) {
            if (add)
                break;
            const QVariant autoid = plan.beforeRow(*change).value(0);
            runs.KeepLines(run, {QStringLiteral("autoid=?"), {autoid}});
            runs.KeepOptions(run,
                             {QStringLiteral("AutoID=? and cInvCode=?"), {autoid, kReplacing}});
            db.exec(QStringLiteral("delete from ProstruOpt where AutoID=? and cInvCode=?"),
                    {autoid, kReplacing});
            db::Params values;
            for (const QString& column : plan.written)
                values << change->after.value(plan.lines.columnIndex(column));
            db.exec(update, values + db::Params{autoid});
        }
        runs.Bumped(run, {bom}, add ? QStringLiteral("A") : QStringLiteral("M"));
        saver.LinesChanged({parent}, components);
        std::vector<bomservice::BomHistory::Change> described;
        for (const batch::BatchChange* change : changes)
            described.push_back(
                {add ? QStringLiteral("batch-add") : QStringLiteral("batch-modify"),
                 {},
                 add ? QString() : describer.describe(plan.lines, plan.beforeRow(*change)),
                 describer.describe(plan.lines, change->after),
                 {}});
        history.record(bom, session.gUserId, described, run);
        visibility.RefreshBoms({bom});
    }
    if (add)
        db.exec(QStringLiteral("update accinformation set cValue='1' where csysid='pp' and "
                               "cname='bStruChange'"));
    tx.commit();
    return run;
}

// The rows a run wrote into the lines, keys aside, to show both ways wrote the same.
QStringList written(db::Database& db, const QString& component) {
    const db::Rows rows = db.query(
        QStringLiteral("select ipid, cpspcode, cpscode, ipsquantity, tdqtyd, cwhcode, wiptype, "
                       "replaceflag, fbzdj, fbzwlcb, childguid, unitqty, psid, iwasterate from "
                       "ProductStructures where cpscode=? order by ipid"),
        {component});
    return rows.asText();
}

// Undoes runs newest first, then drops their record and history: the account as it was.
void undo(entry::Session& session, const QList<qlonglong>& newestFirst,
          suite::ScriptedPrompter& prompter) {
    bomservice::BomRuns runs(session);
    for (qlonglong run : newestFirst)
        if (!runs.Undo(run, QStringLiteral("批量处理")))
            failed("undo", prompter);
    bench::forgetRuns(*session.gConn, newestFirst);
}

// The floor: the lines alone written through the same driver, one statement over the whole
// selection, and the commit; no checks, plan, run record, versions, totals or history. Added,
// then replaced; both timed, then the lines go again, untimed.
std::pair<double, double> floorRun(db::Database& db, const QStringList& boms) {
    QElapsedTimer timer;
    timer.start();
    {
        db::Transaction tx(db);
        const db::SqlCondition insert =
            db::SqlCondition{
                QStringLiteral("insert into ProductStructures(cpscode, ipsquantity, tdqtyd, "
                               "cwhcode, wiptype, replaceflag, fbzdj, fbzwlcb, ipid, cpspcode, "
                               "psid) select ?, 2, 1, ?, 3, 0, 1.5, 3, h.iautoid, h.cpspcode, "
                               "h.ID from ProductStructure h where "),
                {kAdded, kWarehouse}} +
            db::BoundList::in(db.dialect(), QStringLiteral("h.iautoid"), boms);
        db.exec(insert.sql, insert.params);
        tx.commit();
    }
    const double added = msSince(timer);
    timer.start();
    {
        db::Transaction tx(db);
        const db::SqlCondition update =
            db::SqlCondition{QStringLiteral("update ProductStructures set cpscode=?, "
                                            "ipsquantity=ipsquantity*2, fbzdj=NULL, fbzwlcb=NULL "
                                            "where cpscode=? and "),
                             {kReplacing, kAdded}} +
            db::BoundList::in(db.dialect(), QStringLiteral("ipid"), boms);
        db.exec(update.sql, update.params);
        tx.commit();
    }
    const double replaced = msSince(timer);
    db::Transaction tx(db);
    db.exec(QStringLiteral("delete from ProductStructures where cpscode=?"), {kReplacing});
    tx.commit();
    return {added, replaced};
}

struct Figures {
    std::vector<double> add, replace, previewAdd, previewReplace, baseAdd, baseReplace, floorAdd,
        floorReplace;
};

// Ours and the baseline on one selection, `runs` times; false when the two ways wrote
// different lines or the account was not left as it was.
bool measure(entry::Session& session, const QStringList& boms, int runs, Figures& f,
             suite::ScriptedPrompter& prompter) {
    db::Database& db = *session.gConn;
    const QString original = written(db, kAdded).join('\n') + written(db, kReplacing).join('\n');
    for (int r = 0; r < runs; ++r) {
        auto adding = editorFor(session, false, boms, prompter);
        QElapsedTimer timer;
        timer.start();
        const auto addPlan = adding->Preview();
        f.previewAdd.push_back(msSince(timer));
        timer.start();
        const auto added = adding->Save();
        f.add.push_back(msSince(timer));
        if (!addPlan || !added || added->changed.size() != kBoms)
            failed("add", prompter);
        const QStringList ourAdd = written(db, kAdded);
        auto replacing = editorFor(session, true, boms, prompter);
        timer.start();
        const auto replacePlan = replacing->Preview();
        f.previewReplace.push_back(msSince(timer));
        timer.start();
        const auto replaced = replacing->Save();
        f.replace.push_back(msSince(timer));
        if (!replacePlan || !replaced || replaced->changed.size() != kBoms)
            failed("replace", prompter);
        const QStringList ourReplace = written(db, kReplacing);
        undo(session, {replaced->run, added->run}, prompter);

        auto plainAdding = editorFor(session, false, boms, prompter);
        timer.start();
        const qlonglong plainAdded = statementPerBom(session, *plainAdding, prompter);
        f.baseAdd.push_back(msSince(timer));
        auto plainReplacing = editorFor(session, true, boms, prompter);
        timer.start();
        const qlonglong plainReplaced = statementPerBom(session, *plainReplacing, prompter);
        f.baseReplace.push_back(msSince(timer));
        const QStringList baseReplaceRows = written(db, kReplacing);
        undo(session, {plainReplaced}, prompter);
        const QStringList baseAddRows = written(db, kAdded);
        undo(session, {plainAdded}, prompter);
        if (ourAdd != baseAddRows || ourReplace != baseReplaceRows || ourAdd.size() != kBoms) {
            std::fprintf(stderr, "the two ways wrote different lines (%d and %d added)\n",
                         int(ourAdd.size()), int(baseAddRows.size()));
            return false;
        }
        const auto [floorAdded, floorReplaced] = floorRun(db, boms);
        f.floorAdd.push_back(floorAdded);
        f.floorReplace.push_back(floorReplaced);
        if (written(db, kAdded).join('\n') + written(db, kReplacing).join('\n') != original) {
            std::fprintf(stderr, "the account was not left as it was\n");
            return false;
        }
    }
    return true;
}

void report(const QString& selection, const Figures& f, bool postgres) {
    auto p = [](std::vector<double> v, double q) {
        std::sort(v.begin(), v.end());
        return bench::percentile(v, q);
    };
    const QString kind = postgres ? QStringLiteral("pg") : QStringLiteral("sqlite");
    auto row = [&](const QString& what, const std::vector<double>& ours,
                   const std::vector<double>& base, const std::vector<double>& floor) {
        bench::printRow(QStringLiteral("batch %1, 10,000 %2 (%3)").arg(what, selection, kind), ours,
                        base, floor);
    };
    row(QStringLiteral("add"), f.add, f.baseAdd, f.floorAdd);
    row(QStringLiteral("replace"), f.replace, f.baseReplace, f.floorReplace);
    row(QStringLiteral("preview add"), f.previewAdd, {}, {});
    row(QStringLiteral("preview replace"), f.previewReplace, {}, {});
    const double target = postgres ? 10000 : 20000;
    auto rate = [&](const char* what, const std::vector<double>& ours,
                    const std::vector<double>& base) {
        const double p50 = kBoms / (p(ours, 0.5) / 1000), p95 = kBoms / (p(ours, 0.95) / 1000);
        const double faster = p(base, 0.5) / p(ours, 0.95);
        std::printf("%s, %s: %.0f lines/s p50, %.0f lines/s p95 (target >= %.0f: %s); baseline "
                    "%.0f lines/s p50; %.1fx the baseline at our p95 (target >= 20x: %s)\n",
                    what, qPrintable(selection), p50, p95, target,
                    p95 >= target ? "met" : "NOT met", kBoms / (p(base, 0.5) / 1000), faster,
                    faster >= 20 ? "met" : "NOT met");
    };
    rate("add", f.add, f.baseAdd);
    rate("replace", f.replace, f.baseReplace);
    const double preview = std::max(p(f.previewAdd, 0.95), p(f.previewReplace, 0.95));
    std::printf("preview, %s: add p95 %.0f ms, replace p95 %.0f ms (target < 2000 ms: %s)\n",
                qPrintable(selection), p(f.previewAdd, 0.95), p(f.previewReplace, 0.95),
                preview < 2000 ? "met" : "NOT met");
}

int run(const QString& url, int runs) {
    bench::GeneratedSession signedIn(url);
    suite::ScriptedPrompter& prompter = signedIn.prompter;
    entry::Session& session = signedIn.session();
    db::Database& db = signedIn.db();
    ensureMasterData(db);
    const std::pair<QString, QString> selections[] = {
        {QStringLiteral("BOMs in list order"), QStringLiteral("cpspcode, cfree1, cfree2")},
        {QStringLiteral("scattered BOMs"), QStringLiteral("iautoid")}};
    std::vector<Figures> figures(std::size(selections));
    for (std::size_t s = 0; s < std::size(selections); ++s) {
        const QStringList boms = selectBoms(db, selections[s].second);
        if (boms.size() != kBoms) {
            std::fprintf(stderr, "only %d BOMs\n", int(boms.size()));
            return 1;
        }
        if (!measure(session, boms, runs, figures[s], prompter))
            return 1;
    }
    std::printf("%s account (100,000 BOMs), runs over %d BOMs, %d runs each; both ways wrote "
                "the same lines, every run undone\n",
                db.isPostgres() ? "PostgreSQL" : "SQLite", kBoms, runs);
    for (std::size_t s = 0; s < std::size(selections); ++s)
        report(selections[s].first, figures[s], db.isPostgres());
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    return bench::benchMain(argc, argv, 3, run);
}
