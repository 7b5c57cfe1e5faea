#pragma once

#include "db/SqlCondition.h"
#include "suite/RightsStore.h"

namespace bom::entry {

class Session;

// Authorisation conditions over the operator's row rights. Allowed codes reach SQL as a keyed
// look-up in the rights table, so a list of any length binds one value.
class RowAuthFilter {
public:
    using Scope = suite::RightsStore::Scope;
    struct BomScopes {
        Scope department = Scope::All;
        Scope inventory = Scope::All;
        Scope warehouse = Scope::All;
        // Lists of codes decide row by row: what the visible-BOM sets are kept for.
        bool decidedRowByRow() const;
        // No right at all on departments or items: nothing is listed.
        bool seesNothing() const { return department == Scope::None || inventory == Scope::None; }
    };

    explicit RowAuthFilter(Session& session) : session_(session) {}

    // The condition to append to a WHERE over pp_q_bomtreet: empty when the operator is
    // unrestricted on departments, items and warehouses; otherwise the BOM must have an allowed
    // department (or none) and parent item, and no line may name a forbidden department, item
    // or warehouse (blank values pass). Lists of codes are answered from the operator's
    // visible-BOM set (see BomVisibility), so a page costs the same in any size of account.
    db::SqlCondition GetBomAuthFilter() const;

    // The same rule worked out from the rights themselves, for operator `userId`.
    static db::SqlCondition DirectBomAuthFilter(const QString& userId, const BomScopes& scopes);
    // Its two halves: the header (relation `header` with cdepcode and cpspcode, the parent
    // item's iId in `itemId`) is allowed; a line of the BOM keyed `headerKey` is forbidden.
    static db::SqlCondition HeaderAllowed(const QString& userId, const BomScopes& scopes,
                                          const QString& header, const QString& itemId);
    static db::SqlCondition ForbiddenLineExists(const QString& userId, const BomScopes& scopes,
                                                const QString& headerKey);
    static BomScopes bomScopesOf(const QHash<QString, Scope>& scopesByKind);

    // "(1=1)", "(1=2)" or "the row's code is granted" for a reference over `table`.
    db::SqlCondition referenceCondition(const QString& table) const;

private:
    Session& session_;
};

} // namespace bom::entry
