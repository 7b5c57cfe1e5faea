#pragma once

#include "card/CardHandover.h"

namespace bom::app {

// Everything the BOM list opens over itself: the card, the batch editor with its runs, the
// colour/size editor and the structure tools.
class WindowHandover : public card::CardHandover {
public:
    using card::CardHandover::CardHandover;

    void openBatch(const QString& operation, const std::vector<list::ListRow>& parents,
                   const std::vector<list::ListRow>& lines) override;
    void openBatchRuns() override;
    void openStructure(const QString& headerId) override;
    void openColourSize(const QString& mode, const list::ListRow& parent) override;
};

} // namespace bom::app
