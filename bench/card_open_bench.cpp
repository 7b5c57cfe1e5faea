// Opening a 500-line BOM card on the generated account of 100,000 BOMs: the card's dispatcher
// loading the stored BOM into the card (template, header and lines, the card's state, its tree
// and toolbar), beside the floor: the header row and the 500 lines read from the card's views
// through the same driver in the same run; and the card window (offscreen) built, loaded with
// that card and drawn, beside the same floor.
// Usage: card_open_bench [sqlite:PATH | postgresql://…] [runs] (default /tmp/bom-bench.db, 20)
#include "BenchAccount.h"
#include "bomservice/BomSaver.h"
#include "card/CardDocument.h"
#include "card/HeadlessCardForm.h"
#include "card/ListOrderNavigator.h"
#include "card/VoucherSetWindow.h"
#include "card/clsVoucher.h"
#include "entry/Session.h"

#include <QApplication>
#include <cstdio>

using namespace bom;

namespace {

constexpr int kLines = 500;
const QString kParent = QStringLiteral("CO-500");

// The benchmark's own 500-line BOM, saved once and reused by later runs.
QString cardOf500Lines(entry::Session& session) {
    db::Database& db = *session.gConn;
    const QString stored = db.scalar(QStringLiteral("select iautoid from ProductStructure where "
                                                    "cpspcode=?"),
                                     {kParent})
                               .toString();
    if (!stored.isEmpty())
        return stored;
    db.exec(QStringLiteral("INSERT INTO Inventory(iId, cInvCode, cInvName, bself) VALUES "
                           "((SELECT MAX(iId) + 1 FROM Inventory), ?, ?, 1)"),
            {kParent, QStringLiteral("开卡基准")});
    bomservice::BomCard card = bench::newCard(kParent, bench::purchasedItems(db, kLines));
    QString result, error;
    if (!bomservice::BomSaver(session).SaveBom(card, QStringLiteral("PP30"), 0, result, error)) {
        std::fprintf(stderr, "saving the card failed: %s %s\n", qPrintable(result),
                     qPrintable(error));
        std::exit(1);
    }
    return card.header.text(0, QStringLiteral("iautoid"));
}

// Every value of the rows, as the card reads them.
int readAll(db::Database& db, const QString& sql, const QString& id) {
    int cells = 0;
    db.stream(
        sql, {id}, [](const QStringList&) {},
        [&](QVariantList&& values) { cells += int(values.size()); });
    return cells;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QString url = bench::accountUrl(argc, argv);
    const int runs = bench::countArg(argc, argv, 2, 20);
    bench::GeneratedSession signedIn(url);
    suite::ScriptedPrompter& prompter = signedIn.prompter;
    entry::Session& session = signedIn.session();
    const QString id = cardOf500Lines(session);

    card::CardDocument document(session);
    card::HeadlessCardForm form;
    card::ListOrderNavigator navigator(session);
    card::clsVoucher voucher(session, document, form, navigator);
    const std::vector<double> ours = bench::measure(runs, [&] {
        if (!voucher.LoadCard(id) || document.BodyRows() != kLines) {
            std::fprintf(stderr, "the card did not load: %s\n",
                         qPrintable(prompter.texts().join(' ')));
            std::exit(1);
        }
    });
    const std::vector<double> floor = bench::measure(runs, [&] {
        readAll(*session.gConn, QStringLiteral("select * from pp_q_bomtreet where iautoid=?"), id);
        readAll(*session.gConn, QStringLiteral("select * from pp_q_bomtreew where ipid=?"), id);
    });
    const QString kind =
        session.gConn->isPostgres() ? QStringLiteral("postgresql") : QStringLiteral("sqlite");
    bench::printRow(QStringLiteral("card open, 500 lines (%1)").arg(kind), ours, {}, floor);
    const std::vector<double> window = bench::measure(runs, [&] {
        card::VoucherSetWindow shown(session, navigator);
        if (!shown.LoadCard(id)) {
            std::fprintf(stderr, "the window did not load the card\n");
            std::exit(1);
        }
        shown.show();
        QApplication::processEvents();
    });
    bench::printRow(QStringLiteral("card window open and drawn, 500 lines (%1)").arg(kind), window,
                    {}, floor);
    return 0;
}
