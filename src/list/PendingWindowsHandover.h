#pragma once

#include "ListView.h"

namespace bom::entry {
class Session;
}

namespace bom::list {

// Until the card, batch and colour/size windows exist, handing over to them says so.
class PendingWindowsHandover : public ListHandover {
public:
    explicit PendingWindowsHandover(entry::Session& session) : session_(session) {}
    void openCard(CardMode mode, const QString& headerId) override;
    void openBatch(const QString& operation, const std::vector<ListRow>& parents,
                   const std::vector<ListRow>& lines) override;
    void openColourSize(const QString& mode, const ListRow& parent) override;
    void openBatchRuns() override;
    void openStructure(const QString& headerId) override;

private:
    void pending();
    entry::Session& session_;
};

} // namespace bom::list
