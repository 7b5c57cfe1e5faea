#include "BatchWriter.h"

#include "BatchFields.h"
#include "bomservice/BomHistory.h"
#include "bomservice/BomRuns.h"
#include "bomservice/BomSaver.h"
#include "bomservice/LineDescriber.h"
#include "db/BoundList.h"
#include "db/BoundRows.h"
#include "db/Database.h"
#include "db/DbError.h"
#include "entry/BomVisibility.h"
#include "entry/Session.h"

#include <QHash>
#include <QSet>
#include <algorithm>

namespace bom::batch {
namespace {

using bomservice::BomHistory;

QList<qlonglong> autoidsOf(const BatchPlan& plan, const std::vector<const BatchChange*>& block) {
    QList<qlonglong> out;
    for (const BatchChange* change : block)
        out << plan.lines.value(std::size_t(change->before), "autoid").toLongLong();
    return out;
}

QStringList bomsOf(const std::vector<const BatchChange*>& block) {
    QStringList out;
    for (const BatchChange* change : block)
        if (out.isEmpty() || out.last() != change->headerId)
            out << change->headerId;
    out.removeDuplicates();
    return out;
}

// A value as a key of equal values: the same text for the same stored value only.
QString keyOf(const QVariant& value) {
    if (value.isNull())
        return QStringLiteral("\x01");
    if (value.typeId() == QMetaType::Double)
        return QString::number(value.toDouble(), 'g', 17) + QStringLiteral("\x02d");
    return value.toString() + QStringLiteral("\x02") + QString::number(value.typeId());
}

} // namespace

QStringList BatchWriter::components(const BatchPlan& plan) const {
    QStringList out;
    if (plan.operation != Operation::Add)
        out << plan.component.trimmed().code;
    if (plan.operation == Operation::Add || plan.operation == Operation::Replace)
        out << plan.newComponent.trimmed().code;
    out.removeDuplicates();
    return out;
}

qlonglong BatchWriter::write(const BatchPlan& plan, const QString& description,
                             const Progress& progress) {
    db::Database& db = *session_.gConn;
    bomservice::BomRuns runs(session_);
    const qlonglong run = runs.Begin(BatchScope::operationName(plan.operation), description);
    const QStringList boms = plan.changedBoms();

    // Blocks of whole BOMs, so progress can be told and a cancel comes between statements.
    std::vector<const BatchChange*> block;
    QSet<QString> inBlock;
    int done = 0;
    auto flush = [&] {
        if (block.empty())
            return;
        switch (plan.operation) {
        case Operation::Add:
            insertLines(plan, block, run);
            break;
        case Operation::Delete:
            deleteLines(plan, block, run);
            break;
        default:
            updateLines(plan, block, run);
        }
        done += int(inBlock.size());
        block.clear();
        inBlock.clear();
        if (progress && !progress(done, int(boms.size())))
            throw Cancelled{};
    };
    for (const BatchChange& change : plan.changes) {
        if (!inBlock.contains(change.headerId) && inBlock.size() >= kBlock)
            flush();
        inBlock.insert(change.headerId);
        block.push_back(&change);
    }
    flush();
    runs.Bumped(run, boms, BatchScope::changeKind(plan.operation));
    // A modify leaves every component where it was.
    bomservice::BomSaver(session_).LinesChanged(
        plan.changedParents(), components(plan),
        plan.operation == Operation::Modify ? bomservice::BomSaver::LineChange::QuantitiesOnly
                                            : bomservice::BomSaver::LineChange::Structure);
    recordHistory(plan, run);
    entry::BomVisibility(db).RefreshBoms(boms);
    if (plan.operation == Operation::Add)
        bomservice::BomSaver(session_).MarkStructureChanged();
    return run;
}

void BatchWriter::insertLines(const BatchPlan& plan, const std::vector<const BatchChange*>& block,
                              qlonglong run) {
    db::Database& db = *session_.gConn;
    const QHash<QString, QString> types = db.columnTypes(QStringLiteral("ProductStructures"));
    // Every added line carries the same values but for its BOM's keys, taken from its header
    // (psid too, as the line-parent trigger would fill it). The new keys follow the BOMs' order,
    // whatever plan the database picks: the same run on the same account makes the same lines.
    const QVariantList& line = block.front()->after;
    QStringList marks;
    db::Params values;
    for (const QString& column : plan.written) {
        marks << db.dialect().typedPlaceholder(types.value(column));
        values << line.value(plan.lines.columnIndex(column));
    }
    const QStringList boms = bomsOf(block);
    const db::SqlCondition insert =
        db::SqlCondition{
            QStringLiteral("insert into ProductStructures(%1, ipid, cpspcode, psid) select "
                           "%2, h.iautoid, h.cpspcode, h.ID from ProductStructure h where ")
                .arg(plan.written.join(QLatin1Char(',')), marks.join(QLatin1Char(','))),
            values} +
        db::BoundList::in(db.dialect(), QStringLiteral("h.iautoid"), boms) +
        db::sqlText(QStringLiteral(" order by h.ID returning ipid, autoid"));
    const db::Rows made = db.query(insert.sql, insert.params);
    if (made.size() != std::size_t(boms.size()))
        throw db::DbError(QStringLiteral("批量处理中物料清单已被删除"));
    std::vector<QVariantList> rows;
    rows.reserve(made.size());
    for (std::size_t i = 0; i < made.size(); ++i) {
        rows.push_back(made.at(i));
        addedLines_.insert(made.text(i, "ipid"), made.text(i, "autoid"));
    }
    bomservice::BomRuns(session_).Created(
        run, db::sqlText(QStringLiteral("select c0, c1 from ")) +
                 db::BoundRows::table(
                     db.dialect(),
                     {types.value(QStringLiteral("ipid")), types.value(QStringLiteral("autoid"))},
                     rows) +
                 db::sqlText(QStringLiteral(" x")));
}

void BatchWriter::updateLines(const BatchPlan& plan, const std::vector<const BatchChange*>& block,
                              qlonglong run) {
    db::Database& db = *session_.gConn;
    const QList<qlonglong> autoids = autoidsOf(plan, block);
    bomservice::BomRuns runs(session_);
    runs.KeepLines(run, db::BoundList::in(db.dialect(), QStringLiteral("autoid"), autoids));
    if (plan.operation == Operation::Replace) {
        // The new item may not be its own substitute; the others go only when asked.
        db::SqlCondition options =
            db::BoundList::in(db.dialect(), QStringLiteral("AutoID"), autoids);
        if (!fields_.clearSubstitutes())
            options += db::SqlCondition{QStringLiteral(" and cInvCode=?"),
                                        {plan.newComponent.trimmed().code}};
        runs.KeepOptions(run, options);
        const db::SqlCondition drop =
            db::sqlText(QStringLiteral("delete from ProstruOpt where ")) + options;
        db.exec(drop.sql, drop.params);
    }
    // Values every line of the block takes alike are bound once; the others travel as rows
    // keyed by the line, so the block is one statement however its lines differ.
    const QHash<QString, QString> types = db.columnTypes(QStringLiteral("ProductStructures"));
    QStringList sets, rowTypes{types.value(QStringLiteral("autoid"))};
    db::Params same;
    std::vector<int> varying;
    for (const QString& column : plan.written) {
        const int at = plan.lines.columnIndex(column);
        const QString first = keyOf(block.front()->after.value(at));
        const bool alike = std::all_of(block.begin(), block.end(), [&](const BatchChange* c) {
            return keyOf(c->after.value(at)) == first;
        });
        if (alike) {
            sets << column + QStringLiteral("=?");
            same << block.front()->after.value(at);
        } else {
            varying.push_back(at);
            rowTypes << types.value(column);
            sets << QStringLiteral("%1=v.c%2").arg(column).arg(varying.size());
        }
    }
    std::vector<QVariantList> rows;
    rows.reserve(block.size());
    for (std::size_t i = 0; i < block.size(); ++i) {
        QVariantList row{autoids[qsizetype(i)]};
        for (int at : varying)
            row << block[i]->after.value(at);
        rows.push_back(std::move(row));
    }
    const db::SqlCondition update =
        db::SqlCondition{QStringLiteral("update ProductStructures set %1 from ")
                             .arg(sets.join(QLatin1Char(','))),
                         same} +
        db::BoundRows::table(db.dialect(), rowTypes, rows) +
        db::sqlText(QStringLiteral(" v where ProductStructures.autoid=v.c0"));
    if (db.exec(update.sql, update.params) != autoids.size())
        throw db::DbError(QStringLiteral("批量处理中子件行已被删除"));
}

void BatchWriter::deleteLines(const BatchPlan& plan, const std::vector<const BatchChange*>& block,
                              qlonglong run) {
    db::Database& db = *session_.gConn;
    const QList<qlonglong> autoids = autoidsOf(plan, block);
    bomservice::BomRuns runs(session_);
    const db::SqlCondition lines =
        db::BoundList::in(db.dialect(), QStringLiteral("autoid"), autoids);
    runs.KeepLines(run, lines);
    // A deleted line's substitutes go with it, kept for undo like the line.
    const db::SqlCondition options =
        db::BoundList::in(db.dialect(), QStringLiteral("AutoID"), autoids);
    runs.KeepOptions(run, options);
    const db::SqlCondition dropOptions =
        db::sqlText(QStringLiteral("delete from ProstruOpt where ")) + options;
    db.exec(dropOptions.sql, dropOptions.params);
    // Checked again as it deletes: a BOM keeps at least one line.
    const db::SqlCondition drop =
        db::sqlText(QStringLiteral("delete from ProductStructures where ")) + lines +
        db::sqlText(QStringLiteral(" and ipid in (select ipid from ProductStructures where ")) +
        db::BoundList::in(db.dialect(), QStringLiteral("ipid"), bomsOf(block)) +
        db::sqlText(QStringLiteral(" group by ipid having count(*)>1)"));
    if (db.exec(drop.sql, drop.params) != autoids.size())
        throw db::DbError(QStringLiteral("批量处理中物料清单已被修改"));
}

void BatchWriter::recordHistory(const BatchPlan& plan, qlonglong run) {
    db::Database& db = *session_.gConn;
    bomservice::LineDescriber describer(session_);
    std::vector<const QVariantList*> all;
    for (const BatchChange& change : plan.changes) {
        if (change.before >= 0)
            all.push_back(&plan.beforeRow(change));
        if (!change.after.isEmpty())
            all.push_back(&change.after);
    }
    describer.learn(plan.lines, all);
    const QString kind = plan.operation == Operation::Add      ? BomHistory::kRunLineAdded
                         : plan.operation == Operation::Delete ? BomHistory::kRunLineDeleted
                                                               : BomHistory::kRunLineChanged;
    std::vector<BomHistory::BomChange> changes;
    changes.reserve(plan.changes.size());
    for (const BatchChange& change : plan.changes) {
        const QString line = change.before >= 0
                                 ? plan.lines.text(std::size_t(change.before), "autoid")
                                 : addedLines_.value(change.headerId);
        changes.push_back(
            {change.headerId,
             {kind, QString(),
              change.before >= 0 ? describer.describe(plan.lines, plan.beforeRow(change))
                                 : QString(),
              change.after.isEmpty() ? QString() : describer.describe(plan.lines, change.after),
              line}});
    }
    BomHistory(db).record(changes, session_.gUserId, run);
}

} // namespace bom::batch
