#include "BenchAccount.h"

#include "db/DbError.h"
#include "suite/Account.h"

#include <QElapsedTimer>
#include <algorithm>
#include <cstdio>

namespace bom::bench {

std::unique_ptr<db::Database> openGeneratedAccount(const QString& url, int boms) {
    try {
        auto existing = db::Database::open(url);
        if (suite::Account::exists(*existing))
            return existing;
    } catch (const db::DbError&) {
        // Not there yet: made below.
    }
    std::fprintf(stderr, "generating %d BOMs into %s …\n", boms, qPrintable(url));
    QElapsedTimer timer;
    timer.start();
    auto db = suite::Account::create(url, QStringLiteral("demo"), QStringLiteral("演示操作员"));
    suite::Account::generate(*db, {boms, 3, 10, 1});
    std::fprintf(stderr, "generated in %.1f s\n", timer.elapsed() / 1000.0);
    return db;
}

std::vector<double> measure(int runs, const std::function<void()>& work) {
    std::vector<double> ms;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        work();
        ms.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::sort(ms.begin(), ms.end());
    return ms;
}

double percentile(const std::vector<double>& sorted, double p) {
    if (sorted.empty())
        return 0;
    const auto index =
        std::size_t(std::min<double>(sorted.size() - 1, p * (sorted.size() - 1) + 0.5));
    return sorted[index];
}

} // namespace bom::bench
