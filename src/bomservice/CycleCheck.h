#pragma once

#include "RowSet.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

namespace bom::db {
class Database;
}
namespace bom::suite {
class Prompter;
}

namespace bom::bomservice {

// Keeps BOMs from making an item its own ancestor. Only item codes count: a cycle through any
// sales-order or free-item variant of an item is a cycle.
class CycleCheck {
public:
    CycleCheck(db::Database& db, suite::Prompter& prompter) : db_(db), prompter_(prompter) {}

    // True when no line of the card has a component that is an ancestor of the card's parent
    // in the stored BOMs; otherwise shows "母件P与子件C循环!" for the first such line in card
    // order and keeps the path P … C in lastPath().
    bool CheckCycle(const BomCard& card);
    // True when `componentCode` is not an ancestor of `currentCode`.
    bool CheckCycleUp(const BomCard& card, const QString& componentCode,
                      const QString& currentCode);
    // The one-level check of the card forms: is `parentCode` already a direct component of
    // `componentCode`'s BOM? `parentTerm`/`componentTerm` are the account's display words.
    bool CheckDirectCycle(const QString& parentCode, const QString& componentCode,
                          const QString& parentTerm = QStringLiteral("母件"),
                          const QString& componentTerm = QStringLiteral("子件"));
    // The same question without a message, for callers that word the refusal themselves.
    bool HasDirectCycle(const QString& parentCode, const QString& componentCode);

    // A component for many BOMs at once: the codes among `parentCodes` that occur in
    // `componentCode`'s own structure below it, the component itself included, each of which
    // would become its own ancestor. Sorted by code; one query whatever the number of parents.
    QStringList ParentsClosingCycle(const QString& componentCode, const QStringList& parentCodes);

    // The cycle found last: the card's parent, then the way up that a depth-first walk taking
    // each item's parents in code order finds first, up to the component.
    const QStringList& lastPath() const { return lastPath_; }

private:
    // `code` and every item above it in the stored BOMs.
    QSet<QString> reachFrom(const QString& code);
    // Whether `component` is above `code`; `reach` is reachFrom(code).
    bool isAbove(const QString& component, const QString& code, const QSet<QString>& reach);
    // The parents of each of `codes`, sorted by code.
    QHash<QString, QStringList> parentsOf(const QSet<QString>& codes);
    // The first way from `from` up to `component` in depth-first order, without `from`;
    // `reach` is reachFrom(from).
    QStringList wayUp(const QString& from, const QString& component, const QSet<QString>& reach);
    bool report(const QString& parent, const QString& from, const QString& component,
                const QSet<QString>& reach);

    db::Database& db_;
    suite::Prompter& prompter_;
    QStringList lastPath_;
};

} // namespace bom::bomservice
