#pragma once

#include "db/SqlCondition.h"

namespace bom::entry {

class Session;

// Authorisation conditions over the operator's row rights. Allowed codes reach SQL as a keyed
// look-up in the rights table, so a list of any length binds one value.
class RowAuthFilter {
public:
    explicit RowAuthFilter(Session& session) : session_(session) {}

    // The condition to append to a WHERE over pp_q_bomtreet: empty when the operator is
    // unrestricted on departments, items and warehouses; otherwise the BOM must have an allowed
    // department (or none) and parent item, and no line may name a forbidden department, item
    // or warehouse (blank values pass).
    db::SqlCondition GetBomAuthFilter() const;

    // "(1=1)", "(1=2)" or "the row's code is granted" for a reference over `table`.
    db::SqlCondition referenceCondition(const QString& table) const;

private:
    // The operator holds the right of `kind` on the code in `codeColumn`.
    db::SqlCondition granted(const QString& kind, const QString& codeColumn) const;

    Session& session_;
};

} // namespace bom::entry
