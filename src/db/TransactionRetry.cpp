#include "TransactionRetry.h"

#include <QRandomGenerator>
#include <QThread>
#include <atomic>

namespace bom::db {
namespace {

std::atomic<qint64> retried{0};

} // namespace

qint64 TransactionRetry::retries() {
    return retried.load();
}

void TransactionRetry::pauseAfter(int attempts) {
    ++retried;
    // Random and growing, so the two sides of a deadlock do not meet again at once.
    const int ceiling = 20 << std::min(attempts, 5);
    QThread::msleep(QRandomGenerator::global()->bounded(ceiling / 2, ceiling));
}

} // namespace bom::db
