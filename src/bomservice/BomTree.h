#pragma once

#include <QString>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::bomservice {

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
// level, one query per level; BOMs hidden from the operator are left out.
class BomTree {
public:
    explicit BomTree(entry::Session& session) : session_(session) {}

    // Empty when the BOM is gone or hidden. Throws db::DbError.
    std::vector<BomTreeNode> InitTreeByCode(const QString& headerId);

private:
    entry::Session& session_;
};

} // namespace bom::bomservice
