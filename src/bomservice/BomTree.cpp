#include "BomTree.h"

#include "BomAccess.h"
#include "BomWalk.h"
#include "entry/Session.h"

namespace bom::bomservice {
namespace {

const QString kColumns = QStringLiteral("h.iautoid, h.cpspcode, h.csocode, i.cInvName AS cinvname");

BomTreeNode nodeOf(const db::Rows& rows, std::size_t row, int level, int parent) {
    return {level,
            parent,
            rows.text(row, "iautoid"),
            rows.text(row, "cpspcode"),
            rows.text(row, "cinvname"),
            rows.text(row, "csocode")};
}

} // namespace

BomWalk BomTree::walk() const {
    return BomWalk(BomLinks(session_, BomLinks::Rule::ChildGuid, kColumns, BomLinks::LineOrder));
}

db::Rows BomTree::root(const QString& headerId) const {
    const db::SqlCondition sql =
        db::SqlCondition{QStringLiteral("select ") + kColumns +
                             QStringLiteral(" from ProductStructure h left join Inventory i on "
                                            "i.cInvCode=h.cpspcode where h.iautoid=?"),
                         {headerId}} +
        BomAccess(session_).VisibleOnly(QStringLiteral("h"));
    return session_.gConn->query(sql.sql, sql.params);
}

std::vector<BomTreeNode> BomTree::InitTreeByCode(const QString& headerId) {
    const db::Rows top = root(headerId);
    if (top.empty())
        return {};
    const BomWalk::Result below = walk().down(headerId, 0);
    std::vector<BomTreeNode> out{nodeOf(top, 0, 0, -1)};
    // Every node leads to a BOM; one that loops back is left out with what is under it.
    std::vector<int> shownAt(below.nodes.size(), -1);
    for (std::size_t n = 0; n < below.nodes.size(); ++n) {
        const BomWalkNode& node = below.nodes[n];
        const int parent = node.parent < 0 ? 0 : shownAt[std::size_t(node.parent)];
        if (node.below == BomWalkNode::Below::Loop || parent < 0)
            continue;
        out.push_back(nodeOf(below.lines, node.line, node.level, parent));
        shownAt[n] = int(out.size()) - 1;
    }
    return out;
}

QStringList BomTree::reachableBoms(const QString& headerId) {
    if (root(headerId).empty())
        return {};
    return walk().reachable(headerId);
}

} // namespace bom::bomservice
