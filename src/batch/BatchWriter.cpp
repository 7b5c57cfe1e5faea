#include "BatchWriter.h"

#include "BatchFields.h"
#include "bomservice/BomHistory.h"
#include "bomservice/BomRuns.h"
#include "bomservice/BomSaver.h"
#include "bomservice/LineDescriber.h"
#include "db/BoundList.h"
#include "db/Database.h"
#include "db/DbError.h"
#include "entry/BomVisibility.h"
#include "entry/Session.h"

#include <QHash>
#include <QSet>

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
    const QStringList parents = plan.changedParents();
    runs.Touched(run, boms, BatchScope::changeKind(plan.operation));
    runs.KeepTotals(run, parents, components(plan));

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

    // Every changed BOM's version moves on, so a card loaded before the run cannot be saved
    // over it, and undo can tell whether anything changed it after.
    const db::SqlCondition bump =
        db::sqlText(QStringLiteral("update ProductStructure set qzts=qzts where ")) +
        db::BoundList::in(db.dialect(), QStringLiteral("iautoid"), boms);
    db.exec(bump.sql, bump.params);
    bomservice::BomSaver(session_).SaveQuantityTotals(parents, components(plan));
    runs.KeepTotalsAfter(run);
    runs.Finish(run);
    recordHistory(plan, run);
    entry::BomVisibility(db).RefreshBoms(boms);
    if (plan.operation == Operation::Add)
        db.exec(QStringLiteral("update accinformation set cValue='1' where csysid='pp' and "
                               "cname='bStruChange'"));
    return run;
}

void BatchWriter::insertLines(const BatchPlan& plan, const std::vector<const BatchChange*>& block,
                              qlonglong run) {
    db::Database& db = *session_.gConn;
    const QHash<QString, QString> types = db.columnTypes(QStringLiteral("ProductStructures"));
    // Every added line carries the same values but for its BOM's keys, taken from its header
    // (psid too, as the line-parent trigger would fill it).
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
        db::BoundList::in(db.dialect(), QStringLiteral("h.iautoid"), boms);
    if (db.exec(insert.sql, insert.params) != boms.size())
        throw db::DbError(QStringLiteral("批量处理中物料清单已被删除"));
    bomservice::BomRuns(session_).Created(
        run, db::sqlText(QStringLiteral("select ipid, autoid from ProductStructures where ")) +
                 db::BoundList::in(db.dialect(), QStringLiteral("ipid"), boms) +
                 db::sqlText(QStringLiteral(" and ")) +
                 plan.newComponent.matches(QStringLiteral("cpscode")));
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
    // Lines whose written values are all equal are changed by one statement.
    std::vector<int> columns;
    for (const QString& column : plan.written)
        columns.push_back(plan.lines.columnIndex(column));
    QHash<QString, int> groupOf;
    std::vector<std::pair<db::Params, QList<qlonglong>>> groups;
    for (std::size_t i = 0; i < block.size(); ++i) {
        db::Params values;
        QString key;
        for (int at : columns) {
            values << block[i]->after.value(at);
            key += keyOf(values.last()) + QLatin1Char('\x03');
        }
        auto found = groupOf.constFind(key);
        if (found == groupOf.cend()) {
            found = groupOf.insert(key, int(groups.size()));
            groups.push_back({values, {}});
        }
        groups[std::size_t(*found)].second << autoids[qsizetype(i)];
    }
    QStringList sets;
    for (const QString& column : plan.written)
        sets << column + QStringLiteral("=?");
    for (const auto& [values, lines] : groups) {
        const db::SqlCondition update =
            db::SqlCondition{QStringLiteral("update ProductStructures set %1 where ")
                                 .arg(sets.join(QLatin1Char(','))),
                             values} +
            db::BoundList::in(db.dialect(), QStringLiteral("autoid"), lines);
        if (db.exec(update.sql, update.params) != lines.size())
            throw db::DbError(QStringLiteral("批量处理中子件行已被删除"));
    }
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
    // Added lines are known by their BOM: each has the new component once.
    QHash<QString, QString> addedLine;
    if (plan.operation == Operation::Add) {
        const db::SqlCondition sql =
            db::sqlText(QStringLiteral("select ipid, autoid from ProductStructures where ")) +
            db::BoundList::in(db.dialect(), QStringLiteral("ipid"), plan.changedBoms()) +
            db::sqlText(QStringLiteral(" and ")) +
            plan.newComponent.matches(QStringLiteral("cpscode"));
        const db::Rows rows = db.query(sql.sql, sql.params);
        for (std::size_t i = 0; i < rows.size(); ++i)
            addedLine.insert(rows.text(i, "ipid"), rows.text(i, "autoid"));
    }
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
                                 : addedLine.value(change.headerId);
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
