#include "BenchAccount.h"

#include "db/DbError.h"
#include "suite/Account.h"

#include <QElapsedTimer>
#include <QStringList>
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

void printRow(const QString& figure, const std::vector<double>& ours,
              const std::vector<double>& baseline, const std::vector<double>& floor) {
    auto sorted = [](std::vector<double> v) {
        std::sort(v.begin(), v.end());
        return v;
    };
    const std::vector<double> o = sorted(ours), b = sorted(baseline), f = sorted(floor);
    auto ms = [](const std::vector<double>& v, double p) {
        return v.empty() ? QStringLiteral("-") : QString::number(percentile(v, p), 'f', 2);
    };
    // Both ratios use our p95, the wait a planner meets at worst most of the time: how many
    // times faster than the baseline's p50, and how many times the floor's p50.
    auto ratio = [](double numerator, double denominator) {
        return denominator <= 0
                   ? QStringLiteral("-")
                   : QString::number(numerator / denominator, 'f', 2) + QStringLiteral("x");
    };
    const double ourP95 = o.empty() ? 0 : percentile(o, 0.95);
    const QString faster = b.empty() ? QStringLiteral("-") : ratio(percentile(b, 0.5), ourP95);
    const QString ofFloor = f.empty() ? QStringLiteral("-") : ratio(ourP95, percentile(f, 0.5));
    const QString line = QStringList{QStringLiteral("ROW"),
                                     figure,
                                     ms(o, 0.5),
                                     ms(o, 0.95),
                                     ms(b, 0.5),
                                     faster,
                                     ms(f, 0.5),
                                     ofFloor}
                             .join(QLatin1Char('\t'));
    std::printf("%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

} // namespace bom::bench
