#pragma once

#include "db/SqlCondition.h"

#include <QString>
#include <array>

namespace bom::entry {

// What tells one BOM of a parent from another: parent code, sales order and ten free items.
struct BomIdentity {
    QString code; // the parent code (or, for a line, the component code)
    QString salesOrder;
    std::array<QString, 10> free;

    // Values are trimmed: blanks around a free item never make a second BOM.
    BomIdentity trimmed() const;

    // Rule one, a stored row against this identity: "<codeColumn>=? and
    // COALESCE(csocode,'')=? and COALESCE(cfree1,'')=? …", columns prefixed with `alias.`.
    db::SqlCondition matches(const QString& codeColumn, const QString& alias = {}) const;

    // Rule one between two stored headers in a join: same parent, sales order and free items,
    // a missing value equal to an empty one.
    static QString headersMatch(const QString& one, const QString& other);

    // Rule two, a header against a component line in a join: same code, same sales order (a
    // missing one on both sides is the all-zero GUID) and same free items.
    static QString headerMatchesLine(const QString& header, const QString& line);
    // An item's default BOM: the header `header` has no sales order and empty free items.
    static QString isDefaultBom(const QString& header);

    static constexpr const char* kNoSalesOrder = "00000000-0000-0000-0000-000000000000";
};

} // namespace bom::entry
