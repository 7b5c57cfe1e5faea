#pragma once

#include "entry/TableExport.h"

#include <QString>
#include <QStringList>
#include <QVariant>
#include <functional>
#include <optional>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::structure {

// One BOM's costs worked out beside those stored.
struct CostRow {
    QString iautoid;
    QString cpspcode;
    QString cinvname;
    QString csocode;
    int level = 0;           // the parent's low-level code
    double material = 0;     // worked out: its lines at their prices (fbzwlcb)
    double total = 0;        // material + labour + overhead (fbzcb)
    QVariant storedMaterial; // as stored; null when there is none
    QVariant storedTotal;
    double labour = 0;     // fbzrgcb
    double overhead = 0;   // fbzzfy
    bool differs = false;  // a stored figure is not the worked out one
    bool approved = false; // left alone when the figures are written
    bool loop = false;     // a line leads back up (stored data loops): priced at its stored cost
    qlonglong qzts = 0;    // the version the figures were worked out from
};

// Cost roll-up: a BOM's material cost from its leaves up (a leaf at the line's standard
// price, else the item's reference cost; a sub-assembly at the standard cost of the BOM its line
// leads to), plus its labour and overhead figures: the standard cost. BOMs are worked out
// deepest low-level code first, so a BOM below is always done before the BOMs that use it; the
// lines of a whole level are read in one query.
class CostRollup {
public:
    explicit CostRollup(entry::Session& session) : session_(session) {}

    // The BOM and every BOM below it: the BOM first, the others by level, code and sales
    // order. Empty when the BOM is gone or hidden. Throws db::DbError.
    std::vector<CostRow> Compute(const QString& headerId);
    // Every BOM the operator may see, by level, code and sales order.
    std::vector<CostRow> ComputeAll();

    struct Written {
        qlonglong run = 0; // the run record's id (0: nothing written)
        int boms = 0;
        int approved = 0; // differing BOMs left alone because they are approved
    };
    // Writes the worked out figures of the rows that differ, approved BOMs left alone, in one
    // transaction recorded as a run that BomRuns::Undo puts back, each change in the BOM's
    // history. std::nullopt (nothing written, the reason shown) when one of them changed since
    // its figures were worked out. Throws db::DbError.
    std::optional<Written> Write(const std::vector<CostRow>& rows);

    static entry::ExportTable table(const std::vector<CostRow>& rows);

private:
    // A line as its BOM's cost needs it: quantity per unit, the price a leaf takes, and the BOM
    // it leads to (a position in the rows; -1 for a leaf).
    struct Line {
        double qty = 0;
        double leafPrice = 0;
        int below = -1;
    };
    // Hands each line of these BOMs, as BomLinks answers it with kLineColumns, to `onLine`.
    using LineSource = std::function<void(const QStringList& headerIds,
                                          const std::function<void(QVariantList&&)>& onLine)>;

    // The BOMs' headers (all the operator sees when `ids` is null) with their levels.
    std::vector<CostRow> headers(const QStringList* ids);
    // Works out every row, deepest level first, the lines of a level read from `source`.
    void workOut(std::vector<CostRow>& rows, const LineSource& source);

    entry::Session& session_;
};

} // namespace bom::structure
