#pragma once

#include "ListView.h"
#include "db/SqlCondition.h"

#include <QString>
#include <optional>

namespace bom::entry {
class Session;
}

namespace bom::list {

// The queries of the BOM list: headers the operator may see (column setting "WLQDLBM") and
// the lines of the current BOM ("WLQDLBZ").
class BomList {
public:
    static constexpr const char* kParentColumns = "WLQDLBM";
    static constexpr const char* kComponentColumns = "WLQDLBZ";

    explicit BomList(entry::Session& session) : session_(session) {}

    // A condition "FIELD = value" on one of the parent list's columns; empty with `error`
    // set for any other field.
    std::optional<db::SqlCondition> fieldFilter(const QString& field, const QString& value,
                                                QString* error) const;
    db::SqlCondition parentQuery(const db::SqlCondition& filter = {}) const;
    // With no current parent, the "where 1=2" form that lists nothing.
    db::SqlCondition componentQuery(const QString& headerId) const;

    // The rows of either query as list rows, numbered from 1, none selected.
    static std::vector<ListRow> listRows(const db::Rows& rows);

private:
    entry::Session& session_;
};

} // namespace bom::list
