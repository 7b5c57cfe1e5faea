#pragma once

#include "RowSet.h"
#include "db/Rows.h"
#include "db/SqlCondition.h"

#include <QString>
#include <QStringList>
#include <functional>

namespace bom::entry {
class Session;
}

namespace bom::bomservice {

// The component lines of BOMs, each with the BOM its component is made by, read set-based: one
// query for the lines of any number of BOMs. A BOM the operator may not see is not there: a line
// leads past it to what the rule offers next, or nowhere.
class BomLinks {
public:
    enum class Rule {
        // The line's childguid only.
        ChildGuid,
        // The line's childguid, else the BOM of the line's identity (component, sales order,
        // free items), else the component's default BOM.
        Full,
    };

    // The line columns a select list may read as l.<column>, and that lines given as rows carry.
    static const QStringList& lineColumns();

    // What an answer holds: leaves (lines that lead to no BOM) too, and lines in line order
    // (autoid), which a whole account's lines are better read without.
    enum Option { Leaves = 1, LineOrder = 2 };

    // `columns`: what the caller reads, over l (the line), i (its component's item), p (the BOM
    // the line belongs to) and h (the BOM below, null for a leaf). Every answer starts with the
    // columns "ipid" (the line's BOM) and "childid" (the BOM below, null for a leaf), then these.
    BomLinks(entry::Session& session, Rule rule, QString columns, int options = Leaves | LineOrder);

    // The lines of these BOMs. Throws db::DbError.
    db::Rows linesOf(const QStringList& headerIds) const;
    // The same handed over as they arrive, for more lines than are worth holding at once.
    void eachLineOf(const QStringList& headerIds,
                    const std::function<void(QVariantList&&)>& onLine) const;
    // The same over lines given rather than stored (a BOM as it once was), carrying lineColumns().
    db::Rows linesOf(const RowSet& lines) const;
    // Lines of BOMs the operator may see whose component is one of `codes`.
    db::Rows linesUsing(const QStringList& codes) const;
    // Lines of BOMs the operator may see that lead to one of these BOMs, whose parents are
    // `codes`: what a where-used walks up by.
    db::Rows linesLeadingTo(const QStringList& headerIds, const QStringList& codes) const;

private:
    // The BOM the line `line` leads to, as an SQL expression.
    db::SqlCondition childOf(const QString& line) const;
    // `source` is a relation with the line columns, aliased l; `where` filters the lines found.
    db::SqlCondition statement(const db::SqlCondition& source, const db::SqlCondition& where,
                               bool visibleParent) const;
    db::Rows read(const db::SqlCondition& source, const db::SqlCondition& where,
                  bool visibleParent) const;
    // The lines of these BOMs, a query per few thousand of them.
    void streamLinesOf(const QStringList& headerIds,
                       const std::function<void(const QStringList&)>& onColumns,
                       const std::function<void(QVariantList&&)>& onLine) const;

    entry::Session& session_;
    Rule rule_;
    QString columns_;
    int options_;
};

} // namespace bom::bomservice
