#pragma once

#include "db/SqlCondition.h"
#include "list/ListView.h"
#include "list/PendingWindowsHandover.h"

#include <functional>

class QWidget;

namespace bom::entry {
class Session;
}

namespace bom::card {

// What the BOM list hands over to the card: the card window opened modally over the list,
// started by the mode's command. The other windows are a wider hand-over's (WindowHandover).
class CardHandover : public list::ListHandover {
public:
    // The list's filter now, so the card moves through the BOMs the list shows.
    using ListFilter = std::function<db::SqlCondition()>;

    CardHandover(entry::Session& session, QWidget* list, ListFilter filter = {});

    void openCard(CardMode mode, const QString& headerId) override;
    void openBatch(const QString& operation, const std::vector<list::ListRow>& parents,
                   const std::vector<list::ListRow>& lines) override;
    void openColourSize(const QString& mode, const list::ListRow& parent) override;
    void openBatchRuns() override;
    void openStructure(const QString& headerId) override;

    // The dispatcher's command that starts the card in `mode`; "" to only show the BOM.
    static QString commandOf(CardMode mode);

protected:
    QWidget* list() const { return list_; }
    entry::Session& session() const { return session_; }

private:
    entry::Session& session_;
    QWidget* list_;
    ListFilter filter_;
    list::PendingWindowsHandover pending_;
};

} // namespace bom::card
