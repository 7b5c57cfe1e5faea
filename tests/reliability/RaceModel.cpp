#include "RaceModel.h"

#include "db/Database.h"

#include <QHash>
#include <algorithm>
#include <cmath>

namespace bom::reliability {
namespace {

bool isLineCell(const QString& key) {
    return key.startsWith(QLatin1String("q:"));
}

bool isVersionedCell(const QString& key) {
    return key == QLatin1String("cmemo") || isLineCell(key);
}

bool sameValue(const QString& key, const QVariant& a, const QVariant& b) {
    if (a.isNull() || b.isNull())
        return a.isNull() == b.isNull();
    if (isLineCell(key))
        return std::abs(a.toDouble() - b.toDouble()) < 1e-6;
    return a.toString() == b.toString();
}

QString shown(const QVariant& value) {
    return value.isNull() ? QStringLiteral("(none)") : value.toString();
}

} // namespace

QMap<QString, Cells> readBoms(db::Database& db, const QStringList& boms,
                              QMap<QString, qlonglong>* versions) {
    QMap<QString, Cells> out;
    for (const QString& bom : boms) {
        const db::Rows header = db.query(
            QStringLiteral("select COALESCE(cmemo,'') as cmemo, bstopflag, COALESCE(ccheck,'') as "
                           "ccheck, qzts from ProductStructure where iautoid=?"),
            {bom});
        if (header.empty())
            continue;
        Cells cells{{QStringLiteral("cmemo"), header.text(0, "cmemo")},
                    {QStringLiteral("bstopflag"), header.value(0, "bstopflag").toInt()},
                    {QStringLiteral("ccheck"), header.text(0, "ccheck")}};
        if (versions)
            versions->insert(bom, header.value(0, "qzts").toLongLong());
        const db::Rows lines = db.query(
            QStringLiteral("select cpscode, ipsquantity from ProductStructures where ipid=?"),
            {bom});
        for (std::size_t i = 0; i < lines.size(); ++i)
            cells.insert(QStringLiteral("q:") + lines.text(i, "cpscode"),
                         lines.value(i, "ipsquantity").toDouble());
        out.insert(bom, cells);
    }
    return out;
}

const Effect* RaceCheck::effectOfRun(qlonglong run, const QString& bom) const {
    for (const RaceOp& op : ops_)
        if (op.accepted && op.run == run)
            for (const Effect& e : op.effects)
                if (e.bom == bom)
                    return &e;
    return nullptr;
}

QStringList RaceCheck::versionedFaults(const QString& bom, Cells& state, qlonglong finalVersion) {
    std::vector<Step> steps;
    for (const RaceOp& op : ops_)
        if (op.accepted)
            for (const Effect& e : op.effects)
                if (e.bom == bom && e.after >= 0)
                    steps.push_back({&op, &e});
    std::sort(steps.begin(), steps.end(),
              [](const Step& a, const Step& b) { return a.effect->after < b.effect->after; });
    QStringList faults;
    QHash<const Effect*, Cells> before;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const Step& step = steps[i];
        // Accepted writes of one BOM never overlap: each starts from a version at or after the
        // one its predecessor left.
        if (step.effect->before >= step.effect->after ||
            (i > 0 && step.effect->before < steps[i - 1].effect->after))
            faults << QStringLiteral("BOM %1: op %2 (%3, version %4 -> %5) overlaps op %6 (%7, "
                                     "%8 -> %9): one of them was written over unseen")
                          .arg(bom)
                          .arg(step.op->id)
                          .arg(step.op->kind)
                          .arg(step.effect->before)
                          .arg(step.effect->after)
                          .arg(i > 0 ? steps[i - 1].op->id : -1)
                          .arg(i > 0 ? steps[i - 1].op->kind : QString())
                          .arg(i > 0 ? steps[i - 1].effect->before : -1)
                          .arg(i > 0 ? steps[i - 1].effect->after : -1);
        before.insert(step.effect, state);
        if (!step.effect->undoes) {
            for (auto it = step.effect->cells.cbegin(); it != step.effect->cells.cend(); ++it)
                state.insert(it.key(), it.value());
            continue;
        }
        const Effect* run = effectOfRun(step.effect->undoes, bom);
        if (!run || !before.contains(run)) {
            faults << QStringLiteral("BOM %1: op %2 undid run %3, which did not come before it")
                          .arg(bom)
                          .arg(step.op->id)
                          .arg(step.effect->undoes);
            continue;
        }
        for (auto it = run->cells.cbegin(); it != run->cells.cend(); ++it)
            state.insert(it.key(), before.value(run).value(it.key()));
    }
    if (!steps.empty() && finalVersion < steps.back().effect->after)
        faults << QStringLiteral("BOM %1 ends at version %2, behind %3 left by op %4")
                      .arg(bom)
                      .arg(finalVersion)
                      .arg(steps.back().effect->after)
                      .arg(steps.back().op->id);
    return faults;
}

QStringList RaceCheck::unversionedFaults(const QString& bom, const QString& cell,
                                         const QVariant& final) {
    std::vector<std::pair<const RaceOp*, QVariant>> writes;
    for (const RaceOp& op : ops_)
        if (op.accepted)
            for (const Effect& e : op.effects)
                if (e.bom == bom && e.after < 0 && e.cells.contains(cell))
                    writes.emplace_back(&op, e.cells.value(cell));
    QList<QVariant> allowed;
    for (const auto& [op, value] : writes) {
        // A write no other write began after the end of: any of them may be the last.
        const bool overtaken = std::any_of(writes.begin(), writes.end(), [&](const auto& other) {
            return other.first->start > op->end;
        });
        if (!overtaken)
            allowed << value;
    }
    if (writes.empty())
        allowed << start_.value(bom).value(cell);
    for (const QVariant& value : allowed)
        if (sameValue(cell, value, final))
            return {};
    QStringList expected;
    for (const QVariant& value : allowed)
        expected << shown(value);
    return {QStringLiteral("BOM %1: %2 is %3, but the last accepted writes left %4")
                .arg(bom, cell, shown(final), expected.join(QStringLiteral(" or ")))};
}

QStringList RaceCheck::lostWrites(const QMap<QString, Cells>& end,
                                  const QMap<QString, qlonglong>& versions) {
    QStringList faults;
    for (auto it = start_.cbegin(); it != start_.cend(); ++it) {
        const QString& bom = it.key();
        Cells state = it.value();
        faults << versionedFaults(bom, state, versions.value(bom));
        const Cells actual = end.value(bom);
        QStringList keys = state.keys() + actual.keys();
        keys.removeDuplicates();
        for (const QString& key : keys) {
            if (isVersionedCell(key)) {
                if (!sameValue(key, state.value(key), actual.value(key)))
                    faults << QStringLiteral("BOM %1: %2 is %3, but the accepted writes left %4")
                                  .arg(bom, key, shown(actual.value(key)), shown(state.value(key)));
            } else {
                faults << unversionedFaults(bom, key, actual.value(key));
            }
        }
    }
    return faults;
}

} // namespace bom::reliability
