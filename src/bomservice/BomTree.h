#pragma once

#include "db/Rows.h"
#include "db/SqlCondition.h"

#include <QString>
#include <QStringList>
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
    // The BOM and every BOM below it that the operator may see, each once, level by level
    // (the BOM first). Empty when the BOM is gone or hidden. Throws db::DbError.
    QStringList reachableBoms(const QString& headerId);

private:
    struct Link {
        QString parentId;
        BomTreeNode child;
    };
    // Appended to a WHERE over ProductStructure h: the operator's list shows the BOM.
    db::SqlCondition visibleOnly() const;
    db::Rows root(const QString& headerId) const;
    // The visible BOMs the lines of these BOMs name, in line order per parent.
    std::vector<Link> childrenOf(const QStringList& parentIds) const;
    static bool isOnPath(const std::vector<BomTreeNode>& built, int node, const QString& id);
    // Display order of the nodes built level by level, parents as output indices.
    static std::vector<BomTreeNode> preOrder(const std::vector<BomTreeNode>& built,
                                             const std::vector<std::vector<int>>& children);

    entry::Session& session_;
};

} // namespace bom::bomservice
