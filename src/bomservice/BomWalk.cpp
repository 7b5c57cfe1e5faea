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
    const int bom = rows.columnIndex(QStringLiteral("ipid"));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        byBom[rows.at(i).at(bom).toString()].push_back(all.size());
        all.append(rows.at(i));
    }
    return byBom;
}

} // namespace

BomWalk::Result BomWalk::down(const QString& headerId, int levels, const RowSet* topLines) const {
    Result result;
    // The BOMs met, by number; the lines of each (positions in result.lines) and the BOM each
    // line leads to (-1: none).
    QHash<QString, int> number{{headerId, 0}};
    std::vector<std::vector<std::size_t>> linesOf(1);
    std::vector<int> below;
    const auto numbered = [&](const QString& id) {
        if (id.isEmpty())
            return -1;
        const auto found = number.constFind(id);
        if (found != number.constEnd())
            return *found;
        number.insert(id, int(linesOf.size()));
        linesOf.emplace_back();
        return int(linesOf.size()) - 1;
    };
    // Each BOM's lines are read once, in the query of the first level that meets it: a level
    // holds the BOMs below the one before that are not read yet. Below the depth limit none is.
    std::vector<char> read{1};
    QStringList frontier{headerId};
    for (int level = 1; !frontier.isEmpty(); ++level) {
        const db::Rows rows =
            level == 1 && topLines ? links_.linesOf(*topLines) : links_.linesOf(frontier);
        const auto byBom = append(result.lines, rows);
        const int childColumn = result.lines.columnIndex(QStringLiteral("childid"));
        below.resize(result.lines.size(), -1);
        QStringList next;
        for (auto it = byBom.cbegin(); it != byBom.cend(); ++it) {
            const int bom = level == 1 ? 0 : number.value(it.key());
            for (std::size_t line : it.value()) {
                linesOf[std::size_t(bom)].push_back(line);
                const QString child = result.lines.at(line).at(childColumn).toString();
                const int childNumber = numbered(child);
                below[line] = childNumber;
                read.resize(linesOf.size(), 0);
                if (childNumber >= 0 && !read[std::size_t(childNumber)]) {
                    read[std::size_t(childNumber)] = 1;
                    next << child;
                }
            }
        }
        if (levels > 0 && level >= levels)
            break;
        frontier = next;
    }
    result.nodes = preOrder(linesOf, below, levels);
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

std::vector<BomWalkNode> BomWalk::preOrder(const std::vector<std::vector<std::size_t>>& linesOf,
                                           const std::vector<int>& below, int levels) {
    std::vector<BomWalkNode> nodes;
    // The BOMs on the way down from the top to the line being placed, counted.
    std::vector<int> onWay(linesOf.size(), 0);
    struct Step {
        int bom;
        int node; // the node whose BOM this is; -1 for the top
        int level;
        std::size_t next = 0;
    };
    std::vector<Step> way{{0, -1, 1}};
    onWay[0] = 1;
    while (!way.empty()) {
        Step& step = way.back();
        const std::vector<std::size_t>& lines = linesOf[std::size_t(step.bom)];
        if (step.next == lines.size()) {
            --onWay[std::size_t(step.bom)];
            way.pop_back();
            continue;
        }
        const std::size_t line = lines[step.next++];
        const int child = below[line];
        const int level = step.level;
        BomWalkNode node{level, step.node, line, Below::Nothing};
        if (child >= 0)
            node.below = onWay[std::size_t(child)]       ? Below::Loop
                         : levels > 0 && level >= levels ? Below::Cut
                                                         : Below::Expanded;
        nodes.push_back(node);
        if (node.below == Below::Expanded) {
            ++onWay[std::size_t(child)];
            way.push_back({child, int(nodes.size()) - 1, level + 1});
        }
    }
    return nodes;
}

} // namespace bom::bomservice
