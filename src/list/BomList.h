#pragma once

#include "ListView.h"
#include "db/Keyset.h"
#include "db/SqlCondition.h"
#include "entry/Common.h"
#include "suite/ColumnSettings.h"

#include <QString>
#include <optional>
#include <utility>

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

    // The columns a listing for scripts prints, in this order, whatever columns the operator
    // chose to see in the window.
    static const QStringList& fixedParentColumns();
    // Every column of the header view, lower case, in the view's order.
    QStringList parentViewColumns() const;
    // `names` as header view columns (lower case); empty with `error` set, naming the columns
    // there are, when one is not a column of the view.
    std::optional<QStringList> viewColumns(const QStringList& names, QString* error) const;

    // A condition "FIELD = value" on one of the header view's columns; empty with `error`
    // set for any other field.
    std::optional<db::SqlCondition> fieldFilter(const QString& field, const QString& value,
                                                QString* error) const;
    db::SqlCondition parentQuery(const db::SqlCondition& filter = {}) const;
    // The same headers a page at a time: at most `limit` rows after `lastKey` (the keyset
    // columns of the last row read; empty for the first page), in the list's order, the
    // column settings' sort with the header key last.
    db::SqlCondition parentPage(const db::SqlCondition& filter, const QVariantList& lastKey,
                                int limit) const;
    db::Keyset parentKeyset() const;

    // The parent list's pages with the column settings and rights read once, so that each
    // further page costs only its own query.
    class ParentPages {
    public:
        db::SqlCondition page(const QVariantList& lastKey, int limit) const;
        // At most `limit` rows before `firstKey`, nearest first; the last rows for an empty key.
        db::SqlCondition pageBefore(const QVariantList& firstKey, int limit) const;
        // The row of BOM `headerId` when the list holds it, with its keyset columns.
        db::SqlCondition row(const QString& headerId) const;
        // Keyset columns at the end of each page row (named db::Keyset::keyColumn(i)).
        int keyCount() const { return int(keyset_.keys().size()); }
        // The column settings the pages were made with.
        const std::vector<suite::ColumnSetting>& columns() const { return columns_; }

    private:
        friend class BomList;
        ParentPages(db::SqlCondition head, db::Keyset keyset,
                    std::vector<suite::ColumnSetting> columns)
            : head_(std::move(head)), keyset_(std::move(keyset)), columns_(std::move(columns)) {}
        db::SqlCondition head_;
        db::Keyset keyset_;
        std::vector<suite::ColumnSetting> columns_;
    };
    ParentPages parentPages(const db::SqlCondition& filter = {}) const;

    // How many headers the parent list holds. Unfiltered, from the headers and the operator's
    // hidden BOMs alone, so it costs the same however long the list; filtered, by counting.
    int parentCount(const db::SqlCondition& filter = {}) const;
    // The headers the operator may see with exactly `columns` (checked view columns), ordered
    // by parent and free items 1 and 2 rather than by the operator's sort.
    db::SqlCondition fixedParentQuery(const QStringList& columns,
                                      const db::SqlCondition& filter = {}) const;
    // With no current parent, the "where 1=2" form that lists nothing.
    db::SqlCondition componentQuery(const QString& headerId) const;
    // The same with the column settings ("WLQDLBZ") already read.
    static db::SqlCondition componentQuery(const entry::RefColumns& columns,
                                           const QString& headerId);

    // The rows of either query as list rows, numbered from 1, none selected.
    static std::vector<ListRow> listRows(const db::Rows& rows);

private:
    db::Keyset keysetOf(const std::vector<suite::ColumnSetting>& columns) const;
    db::SqlCondition withFilters(db::SqlCondition sql, const db::SqlCondition& filter) const;

    entry::Session& session_;
};

} // namespace bom::list
