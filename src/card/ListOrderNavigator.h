#pragma once

#include "clsVoucher.h"
#include "db/SqlCondition.h"

#include <utility>

namespace bom::card {

// The card's moves through the BOM list it was opened from: the list's order (the operator's
// column sort, the header key last) over the list's filter and his row rights. Each move is one
// keyed query, however long the list.
class ListOrderNavigator : public CardNavigator {
public:
    ListOrderNavigator(entry::Session& session, db::SqlCondition filter = {})
        : session_(session), filter_(std::move(filter)) {}

    // Throws db::DbError.
    std::optional<QString> neighbour(CardMove move, const QString& currentId) override;

private:
    std::optional<QString> firstId(const db::SqlCondition& page);

    entry::Session& session_;
    db::SqlCondition filter_;
};

} // namespace bom::card
