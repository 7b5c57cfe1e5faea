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

// The one walk down a structure, level by level: the BOMs a level meets are read in one query
// (BomLinks), each BOM once however many parents it has, and then shown under each of them.
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

private:
    // The nodes in display order: each BOM's lines (positions in the lines read) with the BOM
    // each line leads to (`below`, -1 for none), walked down from BOM 0.
    static std::vector<BomWalkNode> preOrder(const std::vector<std::vector<std::size_t>>& linesOf,
                                             const std::vector<int>& below, int levels);

    BomLinks links_;
};

} // namespace bom::bomservice
