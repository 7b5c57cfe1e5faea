// An import of 10,000 lines: the first 1,000 BOMs of the generated account's list (10 lines
// each) exported to one XLSX file with every line's quantity changed, imported through
// BomImporter: the file read, each changed value through the card's entry checks, each BOM
// through the save's checks and the save, the run record, one transaction. Its preview (all of
// that but the writes) is timed too. Beside it, measured in the same run:
//  - floor: the same 1,000 changed cards handed straight to the save (BomSaver::SaveBom) in one
//    transaction: the writes an import cannot avoid, without reading a file or entry checks.
// Every import and floor run is undone or rolled back before the next, so runs repeat.
// Usage: import_bench [sqlite:PATH | postgresql://…] [runs] (default /tmp/bom-bench.db, 3 runs)
#include "BenchAccount.h"
#include "bomservice/BomCardLoader.h"
#include "bomservice/BomRuns.h"
#include "bomservice/BomSaver.h"
#include "card/CardDocument.h"
#include "db/Transaction.h"
#include "entry/Session.h"
#include "structure/BomImporter.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <cstdio>

using namespace bom;
using bench::failed;
using bench::msSince;

namespace {

constexpr int kBoms = 1000;

QStringList firstBoms(db::Database& db) {
    const db::Rows rows = db.query(QStringLiteral("select iautoid from ProductStructure order by "
                                                  "cpspcode, cfree1, cfree2 limit ?"),
                                   {kBoms});
    QStringList out;
    for (std::size_t i = 0; i < rows.size(); ++i)
        out << rows.text(i, "iautoid");
    return out;
}

// The cards, each line's numerator one more than it was.
std::vector<bomservice::BomCard> changedCards(entry::Session& session, const QStringList& ids) {
    bomservice::BomCardLoader loader(session);
    const auto voucher = loader.LoadTemplate(QStringLiteral("PP30"));
    std::vector<bomservice::BomCard> cards;
    for (const QString& id : ids) {
        auto card = loader.LoadBom(*voucher, id);
        for (int row = 0; row < card->lines.rowCount(); ++row) {
            card->lines.setValue(row, QStringLiteral("ipsquantity"),
                                 card->lines.value(row, QStringLiteral("ipsquantity")).toDouble() +
                                     1);
            card->lines.setEditprop(row, QStringLiteral("M"));
        }
        cards.push_back(std::move(*card));
    }
    return cards;
}

// One file of every card in the import layout.
QString writeFile(entry::Session& session, const std::vector<bomservice::BomCard>& cards,
                  const QString& path, int* lines) {
    card::CardDocument document(session);
    bomservice::BomCardLoader loader(session);
    const auto voucher = loader.LoadTemplate(QStringLiteral("PP30"));
    if (!document.applyTemplate(QStringLiteral("PP30"), voucher->DEF_ID))
        return {};
    entry::Sheet all;
    for (const bomservice::BomCard& card : cards) {
        entry::Sheet sheet = structure::BomImporter::cardSheet(card, document.layout());
        if (all.columns.empty())
            all = sheet;
        else
            all.rows.insert(all.rows.end(), sheet.rows.begin(), sheet.rows.end());
    }
    *lines = int(all.rows.size());
    QString error;
    return entry::SpreadsheetFile::write(path, all, &error) ? path : QString();
}

int run(const QString& url, int runs) {
    bench::GeneratedSession signedIn(url);
    suite::ScriptedPrompter& prompter = signedIn.prompter;
    entry::Session& session = signedIn.session();
    db::Database& db = signedIn.db();
    const QStringList ids = firstBoms(db);
    QTemporaryDir dir;
    int lines = 0;
    const QString file = writeFile(session, changedCards(session, ids),
                                   dir.filePath(QStringLiteral("import.xlsx")), &lines);
    if (file.isEmpty())
        failed("writing the file", prompter);

    std::vector<double> imported, previewed, floor;
    for (int r = 0; r < runs; ++r) {
        QElapsedTimer timer;
        timer.start();
        const auto preview = structure::BomImporter(session).Import(file, true);
        previewed.push_back(msSince(timer));
        if (!preview.refused.empty())
            failed(qPrintable(QStringLiteral("preview: row %1 %2 %3")
                                  .arg(preview.refused[0].row)
                                  .arg(preview.refused[0].field, preview.refused[0].message)),
                   prompter);
        timer.start();
        const auto result = structure::BomImporter(session).Import(file, false);
        imported.push_back(msSince(timer));
        if (!result.written)
            failed("import", prompter);
        if (!bomservice::BomRuns(session).Undo(result.run, QStringLiteral("导入")))
            failed("undo", prompter);
        bench::forgetRuns(db, {result.run});

        // The floor: the cards as the import would save them, straight to the save.
        std::vector<bomservice::BomCard> cards = changedCards(session, ids);
        timer.start();
        {
            db::Transaction tx(db);
            bomservice::BomSaver saver(session);
            saver.deferDerived(); // as the import saves: totals and levels once at the end
            for (bomservice::BomCard& card : cards) {
                QString shown, error;
                if (!saver.SaveBom(card, QStringLiteral("PP30"), 1, shown, error))
                    failed("floor save", prompter);
            }
            saver.finishDeferred();
        } // rolled back: the floor writes nothing that stays
        floor.push_back(msSince(timer));
    }
    const QString kind = db.isPostgres() ? QStringLiteral("pg") : QStringLiteral("sqlite");
    std::printf("%s account (100,000 BOMs): %d BOMs, %d lines changed in one XLSX file, %d runs\n",
                db.isPostgres() ? "PostgreSQL" : "SQLite", int(ids.size()), lines, runs);
    bench::printRow(QStringLiteral("import of %1 lines (%2)").arg(lines).arg(kind), imported, {},
                    floor);
    bench::printRow(QStringLiteral("import preview of %1 lines (%2)").arg(lines).arg(kind),
                    previewed);
    std::sort(imported.begin(), imported.end());
    const double p95 = bench::percentile(imported, 0.95);
    std::printf("import: p95 %.0f ms for %d lines (target < 5000 ms: %s)\n", p95, lines,
                p95 < 5000 ? "met" : "NOT met");
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    return bench::benchMain(argc, argv, 3, run);
}
