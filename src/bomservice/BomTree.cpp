#include "BomTree.h"

#include "entry/RowAuthFilter.h"
#include "entry/Session.h"

#include <QHash>
#include <QSet>
#include <algorithm>

namespace bom::bomservice {
namespace {

// Ids bound per query at most, however many the dialect would take.
constexpr int kIdsPerQuery = 500;

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

db::SqlCondition BomTree::visibleOnly() const {
    const db::SqlCondition filter = entry::RowAuthFilter(session_).GetBomAuthFilter();
    if (filter.isEmpty())
        return {};
    // The filter is written over the list's view; a keyed look-up per BOM found.
    return db::sqlText(QStringLiteral(" and exists (select 1 from pp_q_bomtreet where "
                                      "pp_q_bomtreet.iautoid=h.iautoid")) +
           filter + db::sqlText(QStringLiteral(")"));
}

db::Rows BomTree::root(const QString& headerId) const {
    const db::SqlCondition sql =
        db::SqlCondition{QStringLiteral("select ") + kColumns +
                             QStringLiteral(" from ProductStructure h left join Inventory i on "
                                            "i.cInvCode=h.cpspcode where h.iautoid=?"),
                         {headerId}} +
        visibleOnly();
    return session_.gConn->query(sql.sql, sql.params);
}

std::vector<BomTree::Link> BomTree::childrenOf(const QStringList& parentIds) const {
    std::vector<Link> links;
    const db::SqlCondition visible = visibleOnly();
    const int perQuery = std::min(kIdsPerQuery, session_.gConn->dialect().valuesPerStatement());
    for (qsizetype start = 0; start < parentIds.size(); start += perQuery) {
        const QStringList chunk = parentIds.mid(start, perQuery);
        db::Params params(chunk.begin(), chunk.end());
        const db::SqlCondition sql =
            db::SqlCondition{
                QStringLiteral("select l.ipid, ") + kColumns +
                    QStringLiteral(" from ProductStructures l join ProductStructure h on "
                                   "h.iautoid=l.childguid left join Inventory i on "
                                   "i.cInvCode=h.cpspcode where l.ipid in (%1)")
                        .arg(QStringList(chunk.size(), QStringLiteral("?")).join(',')),
                params} +
            visible + db::sqlText(QStringLiteral(" order by l.autoid"));
        const db::Rows rows = session_.gConn->query(sql.sql, sql.params);
        for (std::size_t i = 0; i < rows.size(); ++i)
            links.push_back({rows.text(i, "ipid"), nodeOf(rows, i, 0, -1)});
    }
    return links; // a parent's lines all come in one chunk, in line order
}

std::vector<BomTreeNode> BomTree::InitTreeByCode(const QString& headerId) {
    const db::Rows top = root(headerId);
    if (top.empty())
        return {};
    // Built level by level; children[i] are the nodes under node i in line order.
    std::vector<BomTreeNode> built{nodeOf(top, 0, 0, -1)};
    std::vector<std::vector<int>> children(1);
    std::vector<int> frontier{0};
    while (!frontier.empty()) {
        QStringList ids;
        for (int n : frontier)
            ids << built[std::size_t(n)].iautoid;
        ids.removeDuplicates();
        QHash<QString, std::vector<const BomTreeNode*>> byParent;
        const std::vector<Link> links = childrenOf(ids);
        for (const Link& link : links)
            byParent[link.parentId].push_back(&link.child);
        std::vector<int> next;
        for (int n : frontier)
            for (const BomTreeNode* child : byParent.value(built[std::size_t(n)].iautoid)) {
                if (isOnPath(built, n, child->iautoid))
                    continue; // bad data: a BOM never appears under itself
                BomTreeNode node = *child;
                node.level = built[std::size_t(n)].level + 1;
                node.parent = n;
                built.push_back(node);
                children.emplace_back();
                children[std::size_t(n)].push_back(int(built.size()) - 1);
                next.push_back(int(built.size()) - 1);
            }
        frontier = std::move(next);
    }
    return preOrder(built, children);
}

QStringList BomTree::reachableBoms(const QString& headerId) {
    if (root(headerId).empty())
        return {};
    QStringList found{headerId};
    QSet<QString> seen{headerId};
    QStringList frontier{headerId};
    while (!frontier.isEmpty()) {
        QStringList next;
        for (const Link& link : childrenOf(frontier))
            if (!seen.contains(link.child.iautoid)) {
                seen.insert(link.child.iautoid);
                next << link.child.iautoid;
            }
        found += next;
        frontier = next;
    }
    return found;
}

bool BomTree::isOnPath(const std::vector<BomTreeNode>& built, int node, const QString& id) {
    for (int n = node; n >= 0; n = built[std::size_t(n)].parent)
        if (built[std::size_t(n)].iautoid == id)
            return true;
    return false;
}

std::vector<BomTreeNode> BomTree::preOrder(const std::vector<BomTreeNode>& built,
                                           const std::vector<std::vector<int>>& children) {
    std::vector<BomTreeNode> out;
    out.reserve(built.size());
    // (node, its position in the output of its parent)
    std::vector<std::pair<int, int>> stack{{0, -1}};
    while (!stack.empty()) {
        const auto [n, parent] = stack.back();
        stack.pop_back();
        BomTreeNode node = built[std::size_t(n)];
        node.parent = parent;
        out.push_back(node);
        const std::vector<int>& under = children[std::size_t(n)];
        for (auto it = under.rbegin(); it != under.rend(); ++it)
            stack.emplace_back(*it, int(out.size()) - 1);
    }
    return out;
}

} // namespace bom::bomservice
