// Opening the BOM list window on a generated account of 100,000 BOMs: the time of Show (sign-in
// done before), which loads the first page of both lists, against reading every header of
// the same list as the baseline. Runs offscreen. Usage: list_open_bench [URL]
#include "BenchAccount.h"
#include "entry/IProduct.h"
#include "list/BomList.h"
#include "list/ProductListWindow.h"
#include "suite/Login.h"
#include "suite/Prompter.h"

#include <QApplication>
#include <QSqlQuery>
#include <algorithm>
#include <cstdio>

using namespace bom;

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QString url =
        argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("sqlite:/tmp/bom-bench.db");
    bench::openGeneratedAccount(url, 100000);

    std::vector<double> opens;
    std::vector<double> fullReads;
    for (int run = 0; run < 5; ++run) {
        QString error;
        auto login = suite::Login::SignIn(url, QStringLiteral("demo"), QString(), &error);
        suite::ScriptedPrompter prompter;
        list::ProductListWindowFactory windows;
        entry::IProduct product(prompter, windows);
        opens.push_back(bench::measure(1, [&] { product.Show(login.get()); }).front());
        if (!product.session().running()) {
            std::fprintf(stderr, "session refused: %s\n", qPrintable(prompter.texts().join(' ')));
            return 1;
        }
        const db::SqlCondition sql = list::BomList(product.session()).parentQuery();
        fullReads.push_back(bench::measure(1, [&] {
                                QSqlQuery q = product.session().gConn->prepare(sql.sql);
                                product.session().gConn->run(q, sql.params);
                                while (q.next()) {
                                }
                            }).front());
        dynamic_cast<list::ProductListWindow*>(product.session().gListForm)->close();
        QCoreApplication::processEvents(); // lets the closed window go
    }
    std::sort(opens.begin(), opens.end());
    std::sort(fullReads.begin(), fullReads.end());
    std::printf(
        "open the list window (Show, first page of both lists): median %.0f ms, max %.0f ms\n",
        bench::percentile(opens, 0.5), opens.back());
    std::printf("baseline, read every header of the list: median %.0f ms\n",
                bench::percentile(fullReads, 0.5));
    return 0;
}
