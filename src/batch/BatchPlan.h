#pragma once

#include "BatchScope.h"
#include "db/Rows.h"

#include <QString>
#include <QStringList>
#include <QVariantList>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::batch {

class BatchFields;

// A selected BOM the run leaves alone, and why: "duplicate" (it holds the new component
// already), "only-line" (delete: it has no line besides the component), "approved", "no-line"
// (it has no line of the component) or "no-access" (gone, or outside the operator's rights).
struct BatchSkip {
    QString headerId;
    QString reason;
};

// One line a run adds, changes or deletes, with the material cost of its BOM's lines before
// and after the run (worked out for a preview only).
struct BatchChange {
    QString headerId;
    QString parent;
    int before = -1;    // row of BatchPlan::lines; -1 for an added line
    QVariantList after; // in the columns of BatchPlan::lines; empty for a deleted line
    double costBefore = 0;
    double costAfter = 0;
};

// One cell of a line as a run leaves it: its column and the values before and after (null
// where the line is added or deleted).
struct BatchCellChange {
    QString column;
    QVariant before;
    QVariant after;
};

// Everything a run would do, worked out from the stored BOMs without writing. The preview
// shows it and the run writes exactly it, so the two cannot disagree.
struct BatchPlan {
    Operation operation = Operation::Add;
    entry::BomIdentity component;    // the line worked on (modify, replace, delete)
    entry::BomIdentity newComponent; // add and replace: the line's new identity
    db::Rows lines;                  // the stored lines changed or deleted, "select *" shape
    QStringList written;             // columns the run writes into a line (lower case)
    std::vector<BatchChange> changes;
    std::vector<BatchSkip> skipped;

    // The BOMs changed, each once, in selection order.
    QStringList changedBoms() const;
    // Parent codes of the changed BOMs, each once.
    QStringList changedParents() const;
    bool empty() const { return changes.empty(); }
    bool skippedFor(const QString& reason) const;
    // A line before (or after) as "column → value" over the columns worth showing: the
    // identity, the quantities and what the run writes.
    QStringList shownColumns() const;
    const QVariantList& beforeRow(const BatchChange& change) const;
    // The shown cells the change alters: for a changed line those whose value differs, for an
    // added or deleted one those that hold a value.
    std::vector<BatchCellChange> differences(const BatchChange& change) const;
};

// Works the plan out: which selected BOMs may be changed, the lines concerned and each line
// after the run. Set-based: a few queries whatever the number of BOMs. `lockBoms` takes the
// selected headers against concurrent saves until the caller's transaction ends (the run).
class BatchPlanner {
public:
    BatchPlanner(entry::Session& session, const BatchScope& scope, BatchFields& fields)
        : session_(session), scope_(scope), fields_(fields) {}

    // `withCosts`: the material cost of each changed BOM before and after, for a preview.
    BatchPlan plan(bool lockBoms, bool withCosts);
    // The BOMs of the selection that the operator may change (neither gone, hidden nor
    // approved), and the parents of those; the rest go to `skipped`.
    QStringList candidates(std::vector<BatchSkip>& skipped, bool lockBoms,
                           QHash<QString, QString>* parents = nullptr,
                           QHash<QString, qlonglong>* ids = nullptr);

private:
    void planAdd(BatchPlan& plan, const QStringList& boms, const QHash<QString, QString>& parents,
                 const QHash<QString, qlonglong>& ids);
    void planDelete(BatchPlan& plan, const QStringList& boms);
    void planChange(BatchPlan& plan, const QStringList& boms);
    // The values a line takes from the editors, for add and replace, by column position.
    std::vector<std::pair<int, QVariant>> newValues(const db::Rows& shape);
    void modifyLine(const db::Rows& shape, QVariantList& line);
    void replaceLine(const db::Rows& shape, QVariantList& line);
    void costs(BatchPlan& plan);
    QVariant childOf(const entry::BomIdentity& component);

    entry::Session& session_;
    const BatchScope& scope_;
    BatchFields& fields_;
};

} // namespace bom::batch
