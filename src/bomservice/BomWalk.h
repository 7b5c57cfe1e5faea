#pragma once

#include "BomLinks.h"

#include <vector>

namespace bom::bomservice {

// One line met on the way down from a BOM, in display order (a line, then everything below it).
struct BomWalkNode {
    enum class Below {
        Nothing,  // a leaf: the component has no BOM
        Expanded, // the lines of the BOM below follow
        Cut,      // a BOM below, not read: the depth limit
        Loop,     // a BOM below that is already on the way down: stored data loops
    };
    int level = 1;        // 1 for a line of the top BOM
    int parent = -1;      // the node above, -1 for a line of the top BOM
    std::size_t line = 0; // its row in BomWalk::Result::lines
    Below below = Below::Nothing;
};

// The one walk down a structure, level by level: every BOM of a level is read in one query
// (BomLinks), and a BOM met under several parents is read once and shown under each.
class BomWalk {
public:
    struct Result {
        db::Rows lines; // every line read, once (BomLinks' columns)
        std::vector<BomWalkNode> nodes;
    };

    explicit BomWalk(BomLinks links) : links_(std::move(links)) {}

    // The lines below `headerId` down to `levels` levels (0 or less: all), or below the lines
    // given in `topLines` instead of the BOM's stored ones. Throws db::DbError.
    Result down(const QString& headerId, int levels, const RowSet* topLines = nullptr) const;
    // `headerId` and every BOM below it, each once, level by level (the BOM first); `lines`,
    // when given, gets the lines of every one of them.
    QStringList reachable(const QString& headerId, db::Rows* lines = nullptr) const;

    const BomLinks& links() const { return links_; }

private:
    static std::vector<BomWalkNode> preOrder(const std::vector<BomWalkNode>& built,
                                             const std::vector<std::vector<int>>& children);

    BomLinks links_;
};

} // namespace bom::bomservice
