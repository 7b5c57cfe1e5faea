#include "ListOrderNavigator.h"

#include "db/Keyset.h"
#include "entry/Session.h"
#include "list/BomList.h"

namespace bom::card {

std::optional<QString> ListOrderNavigator::firstId(const db::SqlCondition& page) {
    const db::Rows rows = session_.gConn->query(page.sql, page.params);
    if (rows.empty())
        return std::nullopt;
    return rows.text(0, "iautoid");
}

std::optional<QString> ListOrderNavigator::neighbour(CardMove move, const QString& currentId) {
    const list::BomList::ParentPages pages = list::BomList(session_).parentPages(filter_);
    if (move == CardMove::First)
        return firstId(pages.page({}, 1));
    if (move == CardMove::Last)
        return firstId(pages.pageBefore({}, 1));
    if (currentId.isEmpty())
        return std::nullopt;
    const db::SqlCondition current = pages.row(currentId);
    const db::Rows rows = session_.gConn->query(current.sql, current.params);
    if (rows.empty()) // filtered out, hidden or deleted: it has no place in the order
        return std::nullopt;
    QVariantList key;
    for (int i = 0; i < pages.keyCount(); ++i)
        key << rows.value(0, db::Keyset::keyColumn(i));
    return firstId(move == CardMove::Next ? pages.page(key, 1) : pages.pageBefore(key, 1));
}

} // namespace bom::card
