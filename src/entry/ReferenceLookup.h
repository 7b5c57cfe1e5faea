#pragma once

#include "db/SqlCondition.h"

#include <QString>
#include <optional>

namespace bom::entry {

class Session;

// One reference list (items, warehouses, departments …) narrowed to what the operator may see
// and to the typed text, read page by page.
struct ReferenceQuery {
    QString key;             // column-setting key, e.g. "InventoryRef"
    QString table;           // the reference's main table
    db::SqlCondition select; // the full query without order and paging
    QString orderBy;
    db::SqlCondition classTree; // empty when the reference has no class tree

    db::Rows page(db::Database& db, int pageIndex, int pageSize) const;
    db::Rows classes(db::Database& db) const;
};

// The reference routine behind every code field: the window's reference dialog and bomctl both
// open a query here by field name and typed text.
class ReferenceLookup {
public:
    explicit ReferenceLookup(Session& session) : session_(session) {}

    // An unknown field shows "没有设定参照！" and answers nothing. "cpscode" is the item
    // reference of a component: bought items too, not only made ones.
    std::optional<ReferenceQuery> ShowRef(const QString& fieldName, const QString& typedText);
    // The last reference opened, kept so paging and searching can reissue it.
    const std::optional<ReferenceQuery>& last() const { return last_; }

private:
    Session& session_;
    std::optional<ReferenceQuery> last_;
};

} // namespace bom::entry
