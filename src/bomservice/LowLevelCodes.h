#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

namespace bom::db {
class Database;
}

namespace bom::bomservice {

// Every item's low-level code (table bom_llc): its deepest level in any structure, 0 for an
// item no line uses. Only item codes count, as for cycles. Writes keep it current: after a
// write has changed the lines of some parents, Update works out again the levels of their
// components and, as far as a level moves, of what lies below them, inside the writer's
// transaction. Levels stop at kDeepest, which only a loop in stored data reaches.
class LowLevelCodes {
public:
    static constexpr int kDeepest = 99;

    explicit LowLevelCodes(db::Database& db) : db_(db) {}

    // After a write changed the lines of BOMs of these parent codes (a save, a BOM deleted,
    // whole BOMs made or removed by a run or an import): the components they use or used.
    void Update(const QStringList& parentCodes);
    // The same when only these components of these parents changed (a run over many BOMs
    // that adds, replaces or deletes one component).
    void Update(const QStringList& parentCodes, const QStringList& componentCodes);

    // Works every level out from the stored lines when the account has not got them yet (made
    // before they were kept, or filled by a script), in the caller's transaction or its own.
    void EnsureCurrent();
    // Every level worked out anew from the stored lines, in the caller's transaction.
    void Rebuild();

    // The level of each of `codes`; codes no line uses are left out (level 0).
    QHash<QString, int> LevelsOf(const QStringList& codes);

private:
    struct Level {
        int level = 0;
        QString via; // the parent it is one level below
        bool operator==(const Level& other) const = default;
    };
    // Codes of the components of these parents, and of the items whose level they give.
    QStringList componentsOf(const QStringList& parentCodes);
    QStringList givenBy(const QStringList& parentCodes);
    // The levels of `items` from their parents' stored levels (items without parents: none).
    QHash<QString, Level> workOut(const QStringList& items);
    QHash<QString, Level> stored(const QStringList& items);
    // Follows level changes down from `items` until nothing moves.
    void settle(QStringList items);
    // True when the account's levels are there (the first use worked them out).
    bool current();

    db::Database& db_;
};

} // namespace bom::bomservice
