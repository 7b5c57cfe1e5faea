#include "LowLevelCodes.h"

#include "db/BoundList.h"
#include "db/BoundRows.h"
#include "db/Database.h"
#include "db/Transaction.h"
#include "suite/AccountSettings.h"

#include <algorithm>

namespace bom::bomservice {
namespace {

QStringList firstColumn(const db::Rows& rows) {
    QStringList out;
    out.reserve(qsizetype(rows.size()));
    for (std::size_t i = 0; i < rows.size(); ++i)
        out << rows.at(i).at(0).toString();
    return out;
}

QStringList cleaned(QStringList codes) {
    codes.removeAll(QString());
    codes.removeDuplicates();
    return codes;
}

} // namespace

bool LowLevelCodes::current() {
    return suite::AccountSettings(db_).isSet(suite::AccountSettings::kProduction,
                                             suite::AccountSettings::kLowLevelCodesCurrent);
}

void LowLevelCodes::EnsureCurrent() {
    if (current())
        return;
    db::Transaction tx(db_);
    // Claimed first: a second session doing the same waits here, then finds it done.
    if (suite::AccountSettings(db_).set(suite::AccountSettings::kProduction,
                                        suite::AccountSettings::kLowLevelCodesCurrent))
        Rebuild();
    tx.commit();
}

void LowLevelCodes::Rebuild() {
    db_.exec(QStringLiteral("delete from bom_llc"));
    // Each (item, level) pair once, so a shared sub-assembly costs its levels, not its paths.
    db_.exec(QStringLiteral("insert into bom_llc(cinvcode, ilevel, cvia) with recursive "
                            "walk(code, lvl) as (select distinct cpscode, 1 from "
                            "ProductStructures union select s.cpscode, w.lvl + 1 from walk w "
                            "join ProductStructures s on s.cpspcode = w.code where w.lvl < %1) "
                            "select code, max(lvl), ? from walk group by code")
                 .arg(kDeepest),
             {QStringLiteral("")});
    // The same parent workOut names: the first by code of those at the deepest level above.
    db_.exec(QStringLiteral(
        "update bom_llc set cvia = (select min(s.cpspcode) from ProductStructures s left join "
        "bom_llc p on p.cinvcode = s.cpspcode where s.cpscode = bom_llc.cinvcode and "
        "COALESCE(p.ilevel, 0) = (select max(COALESCE(q.ilevel, 0)) from ProductStructures t "
        "left join bom_llc q on q.cinvcode = t.cpspcode where t.cpscode = bom_llc.cinvcode))"));
}

QStringList LowLevelCodes::componentsOf(const QStringList& parentCodes) {
    const db::SqlCondition sql =
        db::sqlText(QStringLiteral("select distinct cpscode from ProductStructures where ")) +
        db::BoundList::in(db_.dialect(), QStringLiteral("cpspcode"), parentCodes);
    return firstColumn(db_.query(sql.sql, sql.params));
}

QStringList LowLevelCodes::givenBy(const QStringList& parentCodes) {
    const db::SqlCondition sql =
        db::sqlText(QStringLiteral("select cinvcode from bom_llc where ")) +
        db::BoundList::in(db_.dialect(), QStringLiteral("cvia"), parentCodes);
    return firstColumn(db_.query(sql.sql, sql.params));
}

QHash<QString, LowLevelCodes::Level> LowLevelCodes::workOut(const QStringList& items) {
    const db::SqlCondition sql =
        db::sqlText(QStringLiteral("select e.cpscode, e.cpspcode, COALESCE(p.ilevel, 0) from "
                                   "(select distinct cpspcode, cpscode from ProductStructures "
                                   "where ")) +
        db::BoundList::in(db_.dialect(), QStringLiteral("cpscode"), items) +
        db::sqlText(QStringLiteral(") e left join bom_llc p on p.cinvcode = e.cpspcode"));
    const db::Rows edges = db_.query(sql.sql, sql.params);
    // Per item its deepest parent, the first by code among equals.
    QHash<QString, std::pair<int, QString>> deepest;
    for (std::size_t i = 0; i < edges.size(); ++i) {
        const QString item = edges.at(i).at(0).toString();
        const QString parent = edges.at(i).at(1).toString();
        const int level = edges.at(i).at(2).toInt();
        const auto found = deepest.find(item);
        if (found == deepest.end())
            deepest.insert(item, {level, parent});
        else if (level > found->first || (level == found->first && parent < found->second))
            *found = {level, parent};
    }
    QHash<QString, Level> out;
    for (auto it = deepest.cbegin(); it != deepest.cend(); ++it)
        out.insert(it.key(), {std::min(kDeepest, it->first + 1), it->second});
    return out;
}

QHash<QString, LowLevelCodes::Level> LowLevelCodes::stored(const QStringList& items) {
    const db::SqlCondition sql =
        db::sqlText(QStringLiteral("select cinvcode, ilevel, cvia from bom_llc where ")) +
        db::BoundList::in(db_.dialect(), QStringLiteral("cinvcode"), items);
    const db::Rows rows = db_.query(sql.sql, sql.params);
    QHash<QString, Level> out;
    for (std::size_t i = 0; i < rows.size(); ++i)
        out.insert(rows.at(i).at(0).toString(),
                   {rows.at(i).at(1).toInt(), rows.at(i).at(2).toString()});
    return out;
}

void LowLevelCodes::settle(QStringList items) {
    const QHash<QString, QString> types = db_.columnTypes(QStringLiteral("bom_llc"));
    const QStringList rowTypes{types.value(QStringLiteral("cinvcode")),
                               types.value(QStringLiteral("ilevel")),
                               types.value(QStringLiteral("cvia"))};
    // Every round settles one more level below; a loop climbs one level a round to kDeepest.
    for (int round = 0; !items.isEmpty() && round <= 2 * kDeepest; ++round) {
        const QHash<QString, Level> before = stored(items);
        const QHash<QString, Level> after = workOut(items);
        QStringList changed, moved;
        std::vector<QVariantList> rows;
        for (const QString& item : items) {
            const Level was = before.value(item);
            const Level now = after.value(item);
            if (was == now)
                continue;
            changed << item;
            if (was.level != now.level)
                moved << item;
            if (now.level > 0)
                rows.push_back({item, now.level, now.via});
        }
        if (changed.isEmpty())
            return;
        const db::SqlCondition drop =
            db::sqlText(QStringLiteral("delete from bom_llc where ")) +
            db::BoundList::in(db_.dialect(), QStringLiteral("cinvcode"), changed);
        db_.exec(drop.sql, drop.params);
        if (!rows.empty()) {
            const db::SqlCondition insert =
                db::sqlText(QStringLiteral("insert into bom_llc(cinvcode, ilevel, cvia) select "
                                           "c0, c1, c2 from ")) +
                db::BoundRows::table(db_.dialect(), rowTypes, rows) +
                db::sqlText(QStringLiteral(" x"));
            db_.exec(insert.sql, insert.params);
        }
        items = moved.isEmpty() ? QStringList() : componentsOf(moved);
    }
}

void LowLevelCodes::Update(const QStringList& parentCodes) {
    const QStringList parents = cleaned(parentCodes);
    if (!current()) {
        EnsureCurrent(); // works out every level, this write's too
        return;
    }
    if (!parents.isEmpty())
        settle(cleaned(componentsOf(parents) + givenBy(parents)));
}

void LowLevelCodes::Update(const QStringList& parentCodes, const QStringList& componentCodes) {
    if (!current()) {
        EnsureCurrent();
        return;
    }
    // A component a parent no longer uses may have had its level from it; the others keep
    // theirs, as the parent's other lines did not change.
    if (!cleaned(parentCodes).isEmpty())
        settle(cleaned(componentCodes));
}

QHash<QString, int> LowLevelCodes::LevelsOf(const QStringList& codes) {
    EnsureCurrent();
    QHash<QString, int> out;
    const QHash<QString, Level> levels = stored(cleaned(codes));
    for (auto it = levels.cbegin(); it != levels.cend(); ++it)
        out.insert(it.key(), it->level);
    return out;
}

} // namespace bom::bomservice
