#include "BomWalk.h"

#include <QHash>
#include <QSet>

namespace bom::bomservice {
namespace {

using Below = BomWalkNode::Below;

// Appends `rows` to `all` and answers, per BOM, the positions of its lines there.
QHash<QString, std::vector<std::size_t>> append(db::Rows& all, const db::Rows& rows) {
    if (all.columns().isEmpty())
        all = db::Rows(rows.columns());
    QHash<QString, std::vector<std::size_t>> byBom;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        byBom[rows.text(i, QStringLiteral("ipid"))].push_back(all.size());
        all.append(rows.at(i));
    }
    return byBom;
}

} // namespace

BomWalk::Result BomWalk::down(const QString& headerId, int levels, const RowSet* topLines) const {
    Result result;
    // Built level by level; `children` holds each node's nodes in line order, the last entry
    // those of the top BOM. `below[n]` is the BOM node n leads to.
    std::vector<BomWalkNode> built;
    std::vector<std::vector<int>> children;
    std::vector<QString> below;
    std::vector<int> top;
    std::vector<std::pair<int, QString>> frontier{{-1, headerId}};
    for (int level = 1; !frontier.empty(); ++level) {
        QStringList ids;
        for (const auto& step : frontier)
            ids << step.second;
        ids.removeDuplicates();
        const auto byBom = append(result.lines, level == 1 && topLines ? links_.linesOf(*topLines)
                                                                       : links_.linesOf(ids));
        std::vector<std::pair<int, QString>> next;
        for (const auto& [node, id] : frontier)
            for (std::size_t line : byBom.value(id)) {
                const int at = int(built.size());
                const QString child = result.lines.text(line, QStringLiteral("childid"));
                Below kind = Below::Nothing;
                if (!child.isEmpty()) {
                    bool loops = child == headerId;
                    for (int up = node; up >= 0 && !loops; up = built[std::size_t(up)].parent)
                        loops = below[std::size_t(up)] == child;
                    kind = loops                           ? Below::Loop
                           : levels > 0 && level >= levels ? Below::Cut
                                                           : Below::Expanded;
                }
                built.push_back({level, node, line, kind});
                below.push_back(child);
                children.emplace_back();
                (node < 0 ? top : children[std::size_t(node)]).push_back(at);
                if (kind == Below::Expanded)
                    next.emplace_back(at, child);
            }
        frontier = std::move(next);
    }
    children.push_back(std::move(top));
    result.nodes = preOrder(built, children);
    return result;
}

QStringList BomWalk::reachable(const QString& headerId, db::Rows* all) const {
    QStringList found{headerId};
    QSet<QString> seen{headerId};
    QStringList frontier{headerId};
    while (!frontier.isEmpty()) {
        QStringList next;
        const db::Rows lines = links_.linesOf(frontier);
        if (all)
            append(*all, lines);
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const QString child = lines.text(i, QStringLiteral("childid"));
            if (!child.isEmpty() && !seen.contains(child)) {
                seen.insert(child);
                next << child;
            }
        }
        found += next;
        frontier = next;
    }
    return found;
}

std::vector<BomWalkNode> BomWalk::preOrder(const std::vector<BomWalkNode>& built,
                                           const std::vector<std::vector<int>>& children) {
    std::vector<BomWalkNode> out;
    out.reserve(built.size());
    // (node, its parent's position in the output); the top BOM's lines are children.back().
    std::vector<std::pair<int, int>> stack;
    const auto push = [&](const std::vector<int>& under, int parent) {
        for (auto it = under.rbegin(); it != under.rend(); ++it)
            stack.emplace_back(*it, parent);
    };
    push(children.back(), -1);
    while (!stack.empty()) {
        const auto [n, parent] = stack.back();
        stack.pop_back();
        BomWalkNode node = built[std::size_t(n)];
        node.parent = parent;
        out.push_back(node);
        push(children[std::size_t(n)], int(out.size()) - 1);
    }
    return out;
}

} // namespace bom::bomservice
