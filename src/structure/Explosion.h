#pragma once

#include "bomservice/BomWalk.h"
#include "entry/TableExport.h"

#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::structure {

// One stored line of an exploded structure, however many places it is shown in.
struct ExplosionLine {
    qlonglong autoid = 0;
    QString iautoid; // the BOM its component is made by; empty for a leaf
    QString cinvcode;
    QString variant; // the line's sales order and free items, "," between; empty for none
    QString cinvname;
    QString cinvstd;
    QString cunit;
    QString cwhcode;
    QString cwhname;
    QString wiptype; // the supply type as shown
    double numerator = 0;
    double denominator = 0;
    double wasteRate = 0;
    QVariant price;        // the line's standard price as stored
    double qty = 0;        // per unit of the line's parent
    double leafPrice = 0;  // the price a leaf takes (its own, else the item's reference cost)
    double storedCost = 0; // the stored standard cost of the BOM below
    double added = 0;      // that BOM's labour and overhead
};

// One place of a line in the exploded structure, in display order.
struct ExplosionRow {
    using Below = bomservice::BomWalkNode::Below;
    int level = 1;   // 1 for a line of the top BOM
    int parent = -1; // the row above, -1 for a line of the top BOM
    int line = 0;    // in ExplosionResult::lines
    Below below = Below::Nothing;
    double cumQty = 0;   // per unit of the top
    double unitCost = 0; // one unit of the component: its price, or the cost of the BOM below
    double cost = 0;     // unitCost × cumQty: the component's cost in one unit of the top
};

struct ExplosionResult {
    QString topId;
    QString topCode;
    QString topName;
    double labour = 0;   // the top BOM's labour (fbzrgcb)
    double overhead = 0; // and overhead (fbzzfy) figures
    std::vector<ExplosionLine> lines;
    std::vector<ExplosionRow> rows;
    // Each loop met in stored data: item codes from the top down to the BOM met again.
    std::vector<QStringList> loops;

    const ExplosionLine& lineOf(const ExplosionRow& row) const {
        return lines[std::size_t(row.line)];
    }
    // The item codes from the top down to row `row`, "/" between them.
    QString path(std::size_t row) const;
    double material() const; // the lines of the top BOM, their costs summed
    double total() const { return material() + labour + overhead; }
};

// One leaf item with its quantity summed over the whole structure.
struct SummaryRow {
    QString cinvcode;
    QString cinvname;
    QString cinvstd;
    QString cunit;
    double qty = 0; // per unit of the top
    double cost = 0;
};

// Multi-level explosion: every component at every level below a BOM, each line following its
// link to the BOM below (childguid, else the BOM of its identity, else the item's default BOM),
// read one query per level. A sub-assembly used by several parents is shown under each; a
// loop in stored data is reported with its path and not followed. Costs roll up as the cost
// roll-up works them out: a leaf at its price, a sub-assembly at the cost of its BOM (its
// stored cost where the depth limit or a loop stops the explosion).
class Explosion {
public:
    explicit Explosion(entry::Session& session) : session_(session) {}

    // Down to `levels` levels (0 or less: all). std::nullopt when the BOM is gone or the
    // operator may not see it. Throws db::DbError.
    std::optional<ExplosionResult> Explode(const QString& headerId, int levels);
    // The card as given (a BOM as it once stood, as BomHistory reads it from the tables): its
    // own lines, the stored BOMs below them.
    ExplosionResult Explode(const bomservice::BomCard& card, int levels);

    // The leaves (rows with nothing expanded below them), one row per item code, in the order
    // first met.
    static std::vector<SummaryRow> Summarise(const ExplosionResult& result);

    // How the explosion reads lines: the full link rule, with every column it shows.
    static bomservice::BomLinks links(entry::Session& session);

    static entry::ExportTable table(const ExplosionResult& result);
    static entry::ExportTable summaryTable(const ExplosionResult& result);

private:
    ExplosionResult explode(ExplosionResult top, int levels, const bomservice::RowSet* topLines);
    static std::vector<ExplosionLine> linesOf(const db::Rows& rows);
    static void rollUp(ExplosionResult& result, const std::vector<bomservice::BomWalkNode>& nodes);

    entry::Session& session_;
};

} // namespace bom::structure
