// Saving a 500-line BOM card on a generated account of 100,000 BOMs with 1,000,000 lines: a new
// card and a modification of one through BomSaver (every check, the cycle search, the writes,
// links and totals, commit), beside two references run in the same process through the same
// driver on the same cards:
//  - floor: the header and the 500 lines the save writes (same columns, same values, keys read
//    back), in one transaction through one reused prepared statement for the lines; also, for
//    reference, the lines as one multi-row insert;
//  - baseline: the same save done the straightforward way: a fresh statement for every check
//    and every line (item look-up per line, duplicate lines compared pairwise through named
//    cells, each line inserted or updated and its key read back with max(), each line linked
//    to its child BOM), then the same links, totals and checks; it writes the same rows.
// Usage: save_bench [sqlite:PATH | postgresql://…] [runs] (default /tmp/bom-bench.db, 20 runs)
#include "BenchAccount.h"
#include "StraightforwardSave.h"
#include "bomservice/BomAccess.h"
#include "bomservice/BomCardLoader.h"
#include "bomservice/BomSaver.h"
#include "bomservice/CycleCheck.h"
#include "bomservice/RowWriter.h"
#include "db/DbError.h"
#include "db/Transaction.h"
#include "db/ValueTypes.h"
#include "entry/BomIdentity.h"
#include "entry/HeadlessSession.h"
#include "entry/VoucherHelpers.h"
#include "suite/Login.h"
#include "suite/Prompter.h"

#include <QElapsedTimer>
#include <QSqlField>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QUuid>
#include <cstdio>
#include <cstdlib>

using namespace bom;

using bench::msSince;

namespace {

constexpr int kLines = 500;
const QString kCard = QStringLiteral("PP30");

[[noreturn]] void failed(const char* what, suite::ScriptedPrompter& prompter, const QString& result,
                         const QString& error) {
    std::fprintf(stderr, "%s failed: result \"%s\", error \"%s\", shown: %s\n", what,
                 qPrintable(result), qPrintable(error), qPrintable(prompter.texts().join(" | ")));
    std::exit(1);
}

// Every line marked changed with a new quantity, as a planner's edit of the whole card.
void changeEveryLine(bomservice::BomCard& card) {
    for (int row = 0; row < card.lines.rowCount(); ++row) {
        const int quantity = card.lines.value(row, QStringLiteral("ipsquantity")).toInt();
        card.lines.setValue(row, QStringLiteral("ipsquantity"), quantity % 9 + 1);
        card.lines.setEditprop(row, QStringLiteral("M"));
    }
}

void removeBom(db::Database& db, const QString& headerId) {
    db::Transaction tx(db);
    db.exec(QStringLiteral("DELETE FROM ProductStructures WHERE ipid=?"), {headerId});
    db.exec(QStringLiteral("DELETE FROM ProductStructure WHERE iautoid=?"), {headerId});
    tx.commit();
}

// The floor: what the save must at least write for a new card, through the same driver. The
// lines carry the columns the save writes for them; keys are read back as the save needs them.
double floorOnce(db::Database& db, const QString& parent, const QStringList& components,
                 bool oneStatement) {
    const QString headerId = QUuid::createUuid().toString(QUuid::WithBraces).toUpper();
    QElapsedTimer timer;
    timer.start();
    {
        db::Transaction tx(db);
        QSqlQuery header = db.prepare(
            QStringLiteral("INSERT INTO ProductStructure(iautoid, cpspcode, bexpand, bmrcbbom) "
                           "VALUES (?,?,?,?) RETURNING ID"));
        db.run(header, {headerId, parent, 1, 0});
        header.next();
        const QVariant number = header.value(0);
        header.finish();
        const QString columns =
            QStringLiteral("INSERT INTO ProductStructures(ipid, cpspcode, cpscode, ipsquantity, "
                           "tdqtyd, wiptype, replaceflag, psid) VALUES ");
        const QString tuple = QStringLiteral("(?,?,?,?,?,?,?,?)");
        auto values = [&](int i) {
            return db::Params{headerId, parent, components[i], double(1 + i % 9), 1.0,
                              3,        0,      number};
        };
        int keys = 0;
        if (oneStatement) {
            QStringList tuples;
            db::Params all;
            for (int i = 0; i < components.size(); ++i) {
                tuples << tuple;
                all += values(i);
            }
            QSqlQuery lines =
                db.prepare(columns + tuples.join(',') + QStringLiteral(" RETURNING autoid"));
            db.run(lines, all);
            while (lines.next())
                ++keys;
            lines.finish();
        } else {
            QSqlQuery line = db.prepare(columns + tuple + QStringLiteral(" RETURNING autoid"));
            for (int i = 0; i < components.size(); ++i) {
                db.run(line, values(i));
                keys += line.next() ? 1 : 0;
            }
            line.finish();
        }
        if (keys != components.size())
            throw db::DbError(QStringLiteral("floor: keys not read back"));
        tx.commit();
    }
    const double ms = msSince(timer);
    removeBom(db, headerId);
    return ms;
}

// The stored lines of a BOM and the totals of its parent, keys and codes of the parent aside,
// to show both ways wrote the same rows.
QStringList storedRows(db::Database& db, const QString& headerId) {
    QStringList out;
    auto add = [&](const db::Rows& rows) {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            QStringList cells;
            for (const QVariant& v : rows.at(i))
                cells << v.toString();
            out << cells.join('|');
        }
    };
    add(db.query(QStringLiteral("SELECT l.cpspcode = h.cpspcode, l.cpscode, l.ipsquantity, "
                                "l.tdqtyd, l.wiptype, l.replaceflag, l.childguid, l.psid = h.ID "
                                "FROM ProductStructures l JOIN ProductStructure h ON h.iautoid = "
                                "l.ipid WHERE l.ipid=? ORDER BY l.autoid"),
                 {headerId}));
    add(db.query(QStringLiteral("SELECT h.bexpand, h.bmrcbbom, h.bstopflag, h.ccheck, x.cPSCode, "
                                "x.iPSQuantity FROM ProductStructure h JOIN ProductStructuresEx "
                                "x ON x.cPSPCode = h.cpspcode WHERE h.iautoid=? ORDER BY "
                                "x.cPSCode"),
                 {headerId}));
    return out;
}

int run(const QString& url, int runs) {
    bench::GeneratedSession signedIn(url);
    suite::ScriptedPrompter& prompter = signedIn.prompter;
    entry::Session& session = signedIn.session();
    db::Database& db = signedIn.db();
    const bool postgres = db.isPostgres();

    const QStringList components = bench::purchasedItems(db, kLines);
    if (components.size() != kLines) {
        std::fprintf(stderr, "only %d purchased items\n", int(components.size()));
        return 1;
    }

    bomservice::BomSaver saver(session);
    bench::StraightforwardSave straightforward(session);
    bomservice::BomCardLoader loader(session);
    const auto voucher = loader.LoadTemplate(kCard);
    if (!voucher)
        failed("template load", prompter, {}, {});
    auto load = [&](const QString& id) {
        auto card = loader.LoadBom(*voucher, id);
        if (!card || card->lines.rowCount() != kLines)
            failed("card load", prompter, {}, {});
        return *card;
    };
    QString result, error;

    // Each round runs every variant once, in turn, so that load from other work on the
    // machine falls on all of them alike.
    std::vector<double> ours, oursChange, base, baseChange, floor, floorOne;
    QStringList ourIds, baseIds;
    for (int r = 0; r < runs; ++r) {
        bomservice::BomCard card = bench::newCard(bench::freshParent(db), components);
        prompter.clear();
        QElapsedTimer timer;
        timer.start();
        if (!saver.SaveBom(card, kCard, 0, result, error))
            failed("new card save", prompter, result, error);
        ours.push_back(msSince(timer));
        ourIds << card.header.text(0, QStringLiteral("iautoid"));

        bomservice::BomCard plain = bench::newCard(bench::freshParent(db), components);
        timer.start();
        if (!straightforward.save(plain, 0))
            failed("straightforward new card save", prompter, {}, {});
        base.push_back(msSince(timer));
        baseIds << plain.header.text(0, QStringLiteral("iautoid"));

        bomservice::BomCard changed = load(ourIds.last());
        changeEveryLine(changed);
        timer.start();
        if (!saver.SaveBom(changed, kCard, 1, result, error))
            failed("modification save", prompter, result, error);
        oursChange.push_back(msSince(timer));

        bomservice::BomCard plainChanged = load(baseIds.last());
        changeEveryLine(plainChanged);
        timer.start();
        if (!straightforward.save(plainChanged, 1))
            failed("straightforward modification save", prompter, {}, {});
        baseChange.push_back(msSince(timer));

        const QString parent = bench::freshParent(db);
        floor.push_back(floorOnce(db, parent, components, false));
        floorOne.push_back(floorOnce(db, parent, components, true));
    }

    // Both ways must have written the same rows: same lines in the same order, same values,
    // links and psid, and the same totals.
    const QStringList ourLines = storedRows(db, ourIds.first());
    const QStringList baseLines = storedRows(db, baseIds.first());
    if (ourLines.size() != 2 * kLines || ourLines != baseLines) {
        std::fprintf(stderr, "the two saves wrote different lines (%d and %d)\n",
                     int(ourLines.size()), int(baseLines.size()));
        return 1;
    }

    std::printf("%s account (100,000 BOMs), %d-line card, %d runs each; both saves wrote the "
                "same rows\n",
                postgres ? "PostgreSQL" : "SQLite", kLines, runs);
    const QString kind = postgres ? QStringLiteral("pg") : QStringLiteral("sqlite");
    bench::printRow(QStringLiteral("save new 500-line card (%1)").arg(kind), ours, base, floor);
    bench::printRow(QStringLiteral("save modified 500-line card (%1)").arg(kind), oursChange,
                    baseChange, floor);
    bench::printRow(QStringLiteral("save floor as one multi-row insert (%1)").arg(kind), floorOne);
    auto p = [](std::vector<double> v, double q) {
        std::sort(v.begin(), v.end());
        return bench::percentile(v, q);
    };
    const double limit = 3 * p(floor, 0.5);
    std::printf("floor p50 %.1f ms (statement reused per line), %.1f ms (one multi-row insert)\n",
                p(floor, 0.5), p(floorOne, 0.5));
    std::printf("new card:     p50 %.1f p95 %.1f ms; straightforward p50 %.1f p95 %.1f ms; p95 "
                "%.2fx floor (target <= 3x: %s)\n",
                p(ours, 0.5), p(ours, 0.95), p(base, 0.5), p(base, 0.95),
                p(ours, 0.95) / p(floor, 0.5), p(ours, 0.95) <= limit ? "met" : "NOT met");
    std::printf("modification: p50 %.1f p95 %.1f ms; straightforward p50 %.1f p95 %.1f ms; p95 "
                "%.2fx floor (target <= 3x: %s)\n",
                p(oursChange, 0.5), p(oursChange, 0.95), p(baseChange, 0.5), p(baseChange, 0.95),
                p(oursChange, 0.95) / p(floor, 0.5),
                p(oursChange, 0.95) <= limit ? "met" : "NOT met");
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    return bench::benchMain(argc, argv, 20, run);
}
