#pragma once

#include <QString>
#include <QStringList>

namespace bom::db {
class Database;
}

namespace bom::entry {

// Keeps, for every operator whose rights are lists of codes, the BOMs those rights let him see
// (sys_bom_visible), so that his list asks one keyed look-up per row instead of weighing every
// line of every BOM that sorts before the ones he may see. The set he sees is kept rather than
// the one he does not because a narrow right hides most BOMs: the look-ups then go to a small
// index, however many hidden BOMs sort first. Every write that can change whom a
// BOM shows to (a new or deleted BOM, its header's parent or department, its lines' items,
// departments or warehouses) calls RefreshBoms inside its own transaction; an operator's set
// is worked out anew at sign-in when his rights changed since it was made.
class BomVisibility {
public:
    explicit BomVisibility(db::Database& db) : db_(db) {}

    // At sign-in: renews the operator's set when it is missing or older than his rights.
    void EnsureCurrent(const QString& userId);
    // Works the operator's whole set out anew; drops it when his rights are not lists.
    void RefreshOperator(const QString& userId);
    // Decides these BOMs again for every operator whose set is kept; a BOM that is gone leaves
    // every set.
    void RefreshBoms(const QStringList& headerIds);

private:
    db::Database& db_;
};

} // namespace bom::entry
