#pragma once

#include "entry/TableExport.h"

#include <QString>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::structure {

// A BOM that uses the item, directly or through the BOMs below it.
struct WhereUsedRow {
    int level = 1; // 1: a line of it names the item; n: it is n levels above the item
    QString iautoid;
    QString cpspcode;
    QString cinvname;
    QString csocode;
    double qty = 0; // of the item in one unit of the BOM's parent, over every way down to it
};

// Where-used: every BOM the operator may see that uses an item, directly or through BOMs
// below it up to the top, read one query per level, the lines followed up by the same links
// the explosion follows down. Each BOM once, at the level it is first met.
class WhereUsed {
public:
    explicit WhereUsed(entry::Session& session) : session_(session) {}

    // Up to `levels` levels (0 or less: all); by level, then parent code, sales order and id.
    // Throws db::DbError.
    std::vector<WhereUsedRow> Find(const QString& itemCode, int levels);

    static entry::ExportTable table(const QString& itemCode, const std::vector<WhereUsedRow>& rows);

private:
    entry::Session& session_;
};

} // namespace bom::structure
