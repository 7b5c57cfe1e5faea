#pragma once

#include "Explosion.h"
#include "entry/TableExport.h"

#include <QDateTime>
#include <QString>
#include <QVariant>
#include <optional>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::structure {

// A line found in only one of two BOMs, or in both with fields that differ.
struct CompareDiff {
    enum class Change { Added, Removed, Changed }; // added: only in the second BOM
    struct Field {
        QString name;
        QVariant a; // in the first BOM
        QVariant b; // in the second
    };
    QString path;     // item codes below the top down to the line, "/" between (with the line's
                      // sales order and free items in brackets when it has any)
    QString cinvcode; // the line's component
    Change change = Change::Changed;
    std::vector<Field> fields; // changed lines only
};

struct CompareResult {
    std::vector<CompareDiff>
        diff; // in the first BOM's display order, then what only the second has
    double materialA = 0;
    double materialB = 0;
    double totalA = 0; // standard cost, rolled up as the cost roll-up does
    double totalB = 0;
};

// Two BOMs side by side (or one BOM and the same BOM as it once stood): lines paired by their
// component identity (component, sales order, free items), single-level or through every
// level below by the way down to them, with the cost of each worked out by the explosion.
class BomCompare {
public:
    explicit BomCompare(entry::Session& session) : session_(session) {}

    // The BOM a planner names (its id, or an item code for the item's default BOM) as stored,
    // or as it stood at `at`. std::nullopt, the reason shown, when there is none he may see or
    // it was made after `at`. Throws db::DbError.
    std::optional<bomservice::BomCard> Load(const QString& named,
                                            const std::optional<QDateTime>& at = std::nullopt);
    // Throws db::DbError.
    CompareResult Compare(const bomservice::BomCard& a, const bomservice::BomCard& b,
                          bool exploded);

    static QString changeName(CompareDiff::Change change); // "added", "removed", "changed"
    static entry::ExportTable table(const CompareResult& result, const QString& title);

private:
    entry::Session& session_;
};

} // namespace bom::structure
