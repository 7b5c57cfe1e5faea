#include "PendingWindowsHandover.h"

#include "entry/Session.h"

namespace bom::list {

void PendingWindowsHandover::pending() {
    session_.ShowInfo(QStringLiteral("该功能将在后续版本提供。"));
}

void PendingWindowsHandover::openCard(CardMode, const QString&) {
    pending();
}

void PendingWindowsHandover::openBatch(const QString&, const std::vector<ListRow>&,
                                       const std::vector<ListRow>&) {
    pending();
}

void PendingWindowsHandover::openColourSize(const QString&, const ListRow&) {
    pending();
}

void PendingWindowsHandover::openBatchRuns() {
    pending();
}

void PendingWindowsHandover::openStructure(const QString&) {
    pending();
}

} // namespace bom::list
