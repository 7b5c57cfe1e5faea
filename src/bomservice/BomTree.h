#pragma once

#include "db/Rows.h"

#include <QString>
#include <QStringList>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::bomservice {

class BomWalk;

// One node of a card's BOM tree, in display order (pre-order: a node, then its sub-tree).
struct BomTreeNode {
    int level = 0;   // 0 for the card's own BOM
    int parent = -1; // index of the parent node, -1 for the root
    QString iautoid;
    QString cpspcode;
    QString cinvname;
    QString csocode;
};

// The card's parent with, at every level, the components that have BOMs of their own (a line's
// childguid). A shared sub-assembly appears under every parent that uses it. Read level by
// level, one query per level (BomWalk); BOMs hidden from the operator are left out.
class BomTree {
public:
    explicit BomTree(entry::Session& session) : session_(session) {}

    // Empty when the BOM is gone or hidden. Throws db::DbError.
    std::vector<BomTreeNode> InitTreeByCode(const QString& headerId);
    // The BOM and every BOM below it that the operator may see, each once, level by level
    // (the BOM first). Empty when the BOM is gone or hidden. Throws db::DbError.
    QStringList reachableBoms(const QString& headerId);

private:
    db::Rows root(const QString& headerId) const;
    BomWalk walk() const;

    entry::Session& session_;
};

} // namespace bom::bomservice
