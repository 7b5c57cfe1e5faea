#include "BatchPlan.h"

#include "BatchFields.h"
#include "bomservice/BomAccess.h"
#include "bomservice/Guards.h"
#include "bomservice/UnitQty.h"
#include "db/BoundList.h"
#include "db/Database.h"
#include "entry/Session.h"
#include "entry/VoucherHelpers.h"

#include <QHash>
#include <QSet>

namespace bom::batch {
namespace {

using entry::VoucherHelpers::ToNumber;

// The stored number of a cell; nothing for NULL.
std::optional<double> numberOf(const QVariant& value) {
    return value.isNull() ? std::nullopt : ToNumber(value);
}

QVariant orNull(const std::optional<double>& value) {
    return value ? QVariant(*value) : QVariant();
}

void setCell(const db::Rows& shape, QVariantList& line, const QString& column,
             const QVariant& value) {
    const int at = shape.columnIndex(column);
    if (at >= 0)
        line[at] = value;
}

QVariant cellOf(const db::Rows& shape, const QVariantList& line, const QString& column) {
    const int at = shape.columnIndex(column);
    return at < 0 ? QVariant() : line.value(at);
}

bool sameIdentity(const entry::BomIdentity& a, const entry::BomIdentity& b) {
    const entry::BomIdentity x = a.trimmed(), y = b.trimmed();
    return x.code == y.code && x.salesOrder == y.salesOrder && x.free == y.free;
}

bool isNumber(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Double:
    case QMetaType::Int:
    case QMetaType::LongLong:
        return true;
    default:
        return false;
    }
}

// Stored and planned values compare as numbers where either is one (a driver may hand back
// 1 for the 1.0 a plan holds).
bool sameValue(const QVariant& a, const QVariant& b) {
    if (a.isNull() || b.isNull())
        return a.isNull() == b.isNull();
    if (isNumber(a) || isNumber(b)) {
        bool x = false, y = false;
        const double da = a.toDouble(&x), db = b.toDouble(&y);
        if (x && y)
            return da == db;
    }
    return a.toString() == b.toString();
}

QStringList freeColumns() {
    QStringList out;
    for (int n = 1; n <= 10; ++n)
        out << QStringLiteral("cfree%1").arg(n);
    return out;
}

} // namespace

QStringList BatchPlan::changedBoms() const {
    QStringList out;
    QSet<QString> seen;
    for (const BatchChange& change : changes)
        if (!seen.contains(change.headerId)) {
            seen.insert(change.headerId);
            out << change.headerId;
        }
    return out;
}

QStringList BatchPlan::changedParents() const {
    QStringList out;
    QSet<QString> seen;
    for (const BatchChange& change : changes)
        if (!seen.contains(change.parent)) {
            seen.insert(change.parent);
            out << change.parent;
        }
    return out;
}

bool BatchPlan::skippedFor(const QString& reason) const {
    for (const BatchSkip& skip : skipped)
        if (skip.reason == reason)
            return true;
    return false;
}

const QVariantList& BatchPlan::beforeRow(const BatchChange& change) const {
    static const QVariantList none;
    return change.before < 0 ? none : lines.at(std::size_t(change.before));
}

std::vector<BatchCellChange> BatchPlan::differences(const BatchChange& change) const {
    const QVariantList& before = beforeRow(change);
    std::vector<BatchCellChange> out;
    for (const QString& column : shownColumns()) {
        const int at = lines.columnIndex(column);
        const QVariant was = before.value(at);
        const QVariant now = change.after.value(at);
        const bool differs = before.isEmpty() || change.after.isEmpty()
                                 ? !(was.isNull() && now.isNull())
                                 : !sameValue(was, now);
        if (at >= 0 && differs)
            out.push_back({column, was, now});
    }
    return out;
}

QStringList BatchPlan::shownColumns() const {
    QStringList out{QStringLiteral("autoid"), QStringLiteral("cpscode"), QStringLiteral("csocode")};
    out += freeColumns();
    for (const char* column : {"ipsquantity", "tdqtyd", "iwasterate", "cwhcode", "cdepcode",
                               "cpersonname", "wiptype", "replaceflag", "fbzdj", "fbzwlcb"})
        out << QLatin1String(column);
    for (const QString& column : written)
        if (!out.contains(column))
            out << column;
    return out;
}

QStringList BatchPlanner::candidates(std::vector<BatchSkip>& skipped, bool lockBoms,
                                     QHash<QString, QString>* parents,
                                     QHash<QString, qlonglong>* ids) {
    db::Database& db = *session_.gConn;
    if (lockBoms)
        bomservice::BomGuards(session_).LockBoms(scope_.boms);
    const db::SqlCondition sql =
        db::sqlText(QStringLiteral("select iautoid, ID, cpspcode, COALESCE(ccheck,'') as ccheck "
                                   "from ProductStructure where ")) +
        db::BoundList::in(db.dialect(), QStringLiteral("iautoid"), scope_.boms);
    const db::Rows headers = db.query(sql.sql, sql.params);
    QHash<QString, std::size_t> found;
    for (std::size_t i = 0; i < headers.size(); ++i)
        found.insert(headers.text(i, "iautoid"), i);
    const QSet<QString> mayTouch = bomservice::BomAccess(session_).Touchable(found.keys());
    QStringList out;
    for (const QString& id : scope_.boms) {
        const auto at = found.constFind(id);
        if (at == found.cend() || !mayTouch.contains(id)) {
            skipped.push_back({id, QStringLiteral("no-access")});
        } else if (!headers.text(*at, "ccheck").isEmpty()) {
            skipped.push_back({id, QStringLiteral("approved")});
        } else {
            out << id;
            if (parents)
                parents->insert(id, headers.text(*at, "cpspcode"));
            if (ids)
                ids->insert(id, headers.value(*at, "ID").toLongLong());
        }
    }
    return out;
}

BatchPlan BatchPlanner::plan(bool lockBoms, bool withCosts) {
    BatchPlan plan;
    plan.operation = scope_.operation;
    plan.component = scope_.component.trimmed();
    if (scope_.operation == Operation::Add || scope_.operation == Operation::Replace) {
        plan.newComponent.code = fields_.text(QStringLiteral("cpscode"));
        plan.newComponent.salesOrder = fields_.text(QStringLiteral("csocode"));
        for (int n = 1; n <= 10; ++n)
            plan.newComponent.free[std::size_t(n - 1)] =
                fields_.text(QStringLiteral("cfree%1").arg(n));
    }
    QHash<QString, QString> parents;
    QHash<QString, qlonglong> ids;
    const QStringList boms = candidates(plan.skipped, lockBoms, &parents, &ids);
    switch (scope_.operation) {
    case Operation::Add:
        planAdd(plan, boms, parents, ids);
        break;
    case Operation::Delete:
        planDelete(plan, boms);
        break;
    case Operation::Modify:
    case Operation::Replace:
        planChange(plan, boms);
        break;
    }
    if (withCosts)
        costs(plan);
    return plan;
}

QVariant BatchPlanner::childOf(const entry::BomIdentity& component) {
    // The header-against-line rule, with the values as the new line stores them.
    auto stored = [](const QString& text) {
        return text.trimmed().isEmpty() ? QVariant() : QVariant(text.trimmed());
    };
    const QString none =
        QStringLiteral("'%1'").arg(QLatin1String(entry::BomIdentity::kNoSalesOrder));
    db::SqlCondition sql{QStringLiteral("select iautoid from ProductStructure where cpspcode=? and "
                                        "COALESCE(csocode,%1)=COALESCE(?,%1)")
                             .arg(none),
                         {component.code.trimmed(), stored(component.salesOrder)}};
    for (int n = 1; n <= 10; ++n) {
        sql.sql += QStringLiteral(" and COALESCE(cfree%1,'')=COALESCE(?,'')").arg(n);
        sql.params << stored(component.free[std::size_t(n - 1)]);
    }
    sql.sql += QStringLiteral(" LIMIT 1");
    const db::Rows rows = session_.gConn->query(sql.sql, sql.params);
    return rows.empty() ? QVariant() : rows.value(0, "iautoid");
}

std::vector<std::pair<int, QVariant>> BatchPlanner::newValues(const db::Rows& shape) {
    std::vector<std::pair<int, QVariant>> out;
    auto set = [&](const QString& column, const QVariant& value) {
        const int at = shape.columnIndex(column);
        if (at >= 0)
            out.emplace_back(at, value);
    };
    for (const char* column :
         {"cpscode", "csocode", "cwhcode", "cpersonname", "cdepcode", "ccaacomunitcode",
          "iprodchangrate", "cinsertfirst", "cinsertsecond", "cinsertthird"})
        set(QLatin1String(column), fields_.stored(QLatin1String(column)));
    for (const QString& column : freeColumns())
        set(column, fields_.stored(column));
    set(QStringLiteral("iwasterate"), fields_.number(QStringLiteral("iwasterate")).value_or(0));
    set(QStringLiteral("wiptype"), fields_.wipType());
    set(QStringLiteral("replaceflag"), fields_.replaceFlag());
    for (int n = 22; n <= 37; ++n)
        if (fields_.has(QStringLiteral("cdefine%1").arg(n)))
            set(QStringLiteral("cdefine%1").arg(n),
                fields_.stored(QStringLiteral("cdefine%1").arg(n)));
    return out;
}

void BatchPlanner::planAdd(BatchPlan& plan, const QStringList& boms,
                           const QHash<QString, QString>& parents,
                           const QHash<QString, qlonglong>& ids) {
    db::Database& db = *session_.gConn;
    plan.lines = db.query(QStringLiteral("select * from ProductStructures where 1=0"));
    const db::SqlCondition duplicates =
        db::sqlText(QStringLiteral("select distinct ipid from ProductStructures where ")) +
        db::BoundList::in(db.dialect(), QStringLiteral("ipid"), boms) +
        db::sqlText(QStringLiteral(" and ")) + plan.newComponent.matches(QStringLiteral("cpscode"));
    const db::Rows held = db.query(duplicates.sql, duplicates.params);
    QSet<QString> holding;
    for (std::size_t i = 0; i < held.size(); ++i)
        holding.insert(held.text(i, "ipid"));

    QVariantList line(plan.lines.columns().size());
    for (const auto& [at, value] : newValues(plan.lines))
        line[at] = value;
    const double numerator = fields_.number(QStringLiteral("ipsquantity")).value_or(0);
    const double denominator = fields_.number(QStringLiteral("tdqtyd")).value_or(1);
    setCell(plan.lines, line, QStringLiteral("ipsquantity"), numerator);
    setCell(plan.lines, line, QStringLiteral("tdqtyd"), denominator);
    plan.written = QStringList{QStringLiteral("cpscode"),         QStringLiteral("csocode"),
                               QStringLiteral("ipsquantity"),     QStringLiteral("tdqtyd"),
                               QStringLiteral("cwhcode"),         QStringLiteral("cpersonname"),
                               QStringLiteral("cdepcode"),        QStringLiteral("iwasterate"),
                               QStringLiteral("ccaacomunitcode"), QStringLiteral("iprodchangrate"),
                               QStringLiteral("wiptype"),         QStringLiteral("replaceflag"),
                               QStringLiteral("cinsertfirst"),    QStringLiteral("cinsertsecond"),
                               QStringLiteral("cinsertthird")};
    const auto price = fields_.number(QStringLiteral("fbzdj"));
    if (price && *price > 0) {
        const double cost =
            fields_.number(QStringLiteral("fbzwlcb")).value_or(*price * numerator / denominator);
        setCell(plan.lines, line, QStringLiteral("fbzdj"), *price);
        setCell(plan.lines, line, QStringLiteral("fbzwlcb"), cost);
        plan.written << QStringLiteral("fbzdj") << QStringLiteral("fbzwlcb");
    }
    plan.written += freeColumns();
    for (int n = 22; n <= 37; ++n)
        if (fields_.has(QStringLiteral("cdefine%1").arg(n)))
            plan.written << QStringLiteral("cdefine%1").arg(n);
    setCell(plan.lines, line, QStringLiteral("childguid"), childOf(plan.newComponent));
    const auto rate = numberOf(fields_.stored(QStringLiteral("iprodchangrate")));
    setCell(plan.lines, line, QStringLiteral("unitqty"),
            orNull(bomservice::UnitQtyOf(numerator, denominator, rate.value_or(0),
                                         session_.gNumDigits)));
    plan.written << QStringLiteral("childguid") << QStringLiteral("unitqty");

    for (const QString& id : boms) {
        if (holding.contains(id)) {
            plan.skipped.push_back({id, QStringLiteral("duplicate")});
            continue;
        }
        BatchChange change{id, parents.value(id), -1, line, 0, 0};
        setCell(plan.lines, change.after, QStringLiteral("ipid"), id);
        setCell(plan.lines, change.after, QStringLiteral("cpspcode"), parents.value(id));
        // What the line-parent trigger fills.
        setCell(plan.lines, change.after, QStringLiteral("psid"), ids.value(id));
        plan.changes.push_back(std::move(change));
    }
}

void BatchPlanner::planDelete(BatchPlan& plan, const QStringList& boms) {
    db::Database& db = *session_.gConn;
    const db::SqlCondition counts =
        db::sqlText(QStringLiteral("select ipid, count(*) as n from ProductStructures where ")) +
        db::BoundList::in(db.dialect(), QStringLiteral("ipid"), boms) +
        db::sqlText(QStringLiteral(" group by ipid"));
    const db::Rows counted = db.query(counts.sql, counts.params);
    QHash<QString, int> linesOf;
    for (std::size_t i = 0; i < counted.size(); ++i)
        linesOf.insert(counted.text(i, "ipid"), counted.value(i, "n").toInt());
    QStringList rest;
    for (const QString& id : boms) {
        // A BOM keeps at least one line: one with a single line is left out whatever it is.
        if (linesOf.value(id) < 2)
            plan.skipped.push_back({id, QStringLiteral("only-line")});
        else
            rest << id;
    }
    planChange(plan, rest);
}

void BatchPlanner::planChange(BatchPlan& plan, const QStringList& boms) {
    db::Database& db = *session_.gConn;
    const db::SqlCondition sql =
        db::sqlText(QStringLiteral("select * from ProductStructures where ")) +
        db::BoundList::in(db.dialect(), QStringLiteral("ipid"), boms) +
        db::sqlText(QStringLiteral(" and ")) + plan.component.matches(QStringLiteral("cpscode")) +
        db::sqlText(QStringLiteral(" order by autoid"));
    plan.lines = db.query(sql.sql, sql.params);
    QHash<QString, std::vector<int>> linesOf;
    for (std::size_t i = 0; i < plan.lines.size(); ++i)
        linesOf[plan.lines.text(i, "ipid")].push_back(int(i));

    QSet<QString> holding; // replace: BOMs that have the new component already
    if (plan.operation == Operation::Replace && !sameIdentity(plan.newComponent, plan.component)) {
        const db::SqlCondition duplicates =
            db::sqlText(QStringLiteral("select distinct ipid from ProductStructures where ")) +
            db::BoundList::in(db.dialect(), QStringLiteral("ipid"), boms) +
            db::sqlText(QStringLiteral(" and ")) +
            plan.newComponent.matches(QStringLiteral("cpscode"));
        const db::Rows held = db.query(duplicates.sql, duplicates.params);
        for (std::size_t i = 0; i < held.size(); ++i)
            holding.insert(held.text(i, "ipid"));
    }
    // What every replaced line takes alike, worked out once.
    std::vector<std::pair<int, QVariant>> replacing;
    if (plan.operation == Operation::Replace) {
        replacing = newValues(plan.lines);
        const int child = plan.lines.columnIndex(QStringLiteral("childguid"));
        if (child >= 0)
            replacing.emplace_back(child, childOf(plan.newComponent));
    }
    for (const QString& id : boms) {
        const auto found = linesOf.constFind(id);
        if (found == linesOf.cend()) {
            plan.skipped.push_back({id, QStringLiteral("no-line")});
            continue;
        }
        if (holding.contains(id)) {
            plan.skipped.push_back({id, QStringLiteral("duplicate")});
            continue;
        }
        for (int row : *found) {
            BatchChange change{id, plan.lines.text(std::size_t(row), "cpspcode"), row, {}, 0, 0};
            if (plan.operation != Operation::Delete) {
                change.after = plan.lines.at(std::size_t(row));
                if (plan.operation == Operation::Modify) {
                    modifyLine(plan.lines, change.after);
                } else {
                    for (const auto& [at, value] : replacing)
                        change.after[at] = value;
                    replaceLine(plan.lines, change.after);
                }
            }
            plan.changes.push_back(std::move(change));
        }
    }
    // What each operation writes, in the order the set list names the columns.
    if (plan.operation == Operation::Delete)
        return;
    if (plan.operation == Operation::Replace) {
        plan.written =
            QStringList{QStringLiteral("cpscode"),         QStringLiteral("csocode"),
                        QStringLiteral("cwhcode"),         QStringLiteral("cdepcode"),
                        QStringLiteral("ccaacomunitcode"), QStringLiteral("iprodchangrate"),
                        QStringLiteral("iwasterate"),      QStringLiteral("cpersonname"),
                        QStringLiteral("cinsertfirst"),    QStringLiteral("cinsertsecond"),
                        QStringLiteral("cinsertthird"),    QStringLiteral("wiptype"),
                        QStringLiteral("replaceflag"),     QStringLiteral("ipsquantity"),
                        QStringLiteral("fbzdj"),           QStringLiteral("fbzwlcb")};
        plan.written += freeColumns();
        for (int n = 22; n <= 37; ++n)
            if (fields_.has(QStringLiteral("cdefine%1").arg(n)))
                plan.written << QStringLiteral("cdefine%1").arg(n);
        plan.written << QStringLiteral("childguid") << QStringLiteral("unitqty");
        return;
    }
    for (const char* column : {"cwhcode", "cdepcode", "cpersonname", "wiptype", "replaceflag",
                               "cinsertfirst", "cinsertsecond", "cinsertthird"})
        if (fields_.has(QLatin1String(column)))
            plan.written << QLatin1String(column);
    const bool quantity =
        fields_.has(QStringLiteral("ipsquantity")) && fields_.has(QStringLiteral("tdqtyd"));
    const auto price = fields_.number(QStringLiteral("fbzdj"));
    if (quantity)
        plan.written << QStringLiteral("ipsquantity") << QStringLiteral("tdqtyd");
    if (price && *price > 0)
        plan.written << QStringLiteral("fbzdj");
    if (quantity || (price && *price > 0))
        plan.written << QStringLiteral("fbzwlcb");
    if (fields_.has(QStringLiteral("iprodchangrate")))
        plan.written << QStringLiteral("iprodchangrate");
    if (fields_.has(QStringLiteral("iwasterate")))
        plan.written << QStringLiteral("iwasterate");
    for (int n = 22; n <= 37; ++n)
        if (fields_.has(QStringLiteral("cdefine%1").arg(n)))
            plan.written << QStringLiteral("cdefine%1").arg(n);
    if (quantity || fields_.has(QStringLiteral("iprodchangrate")))
        plan.written << QStringLiteral("unitqty");
}

void BatchPlanner::modifyLine(const db::Rows& shape, QVariantList& line) {
    auto set = [&](const QString& column, const QVariant& value) {
        setCell(shape, line, column, value);
    };
    // A number of the line as it stands at this point of the rule.
    auto old = [&](const char* column) {
        return numberOf(cellOf(shape, line, QLatin1String(column)));
    };
    for (const char* column : {"cwhcode", "cdepcode", "cpersonname", "cinsertfirst",
                               "cinsertsecond", "cinsertthird", "iprodchangrate", "iwasterate"})
        if (fields_.has(QLatin1String(column)))
            set(QLatin1String(column), fields_.stored(QLatin1String(column)));
    if (fields_.has(QStringLiteral("wiptype")))
        set(QStringLiteral("wiptype"), fields_.wipType());
    if (fields_.has(QStringLiteral("replaceflag")))
        set(QStringLiteral("replaceflag"), fields_.replaceFlag());
    for (int n = 22; n <= 37; ++n)
        if (fields_.has(QStringLiteral("cdefine%1").arg(n)))
            set(QStringLiteral("cdefine%1").arg(n),
                fields_.stored(QStringLiteral("cdefine%1").arg(n)));

    // The cost rule: a new price sets the amount; a new quantity carries each line's own price
    // over to it, or a new price is worked out over each line's own quantity.
    const auto numerator = fields_.number(QStringLiteral("ipsquantity"));
    const auto denominator = fields_.number(QStringLiteral("tdqtyd"));
    const bool quantity = numerator && denominator;
    const auto price = fields_.number(QStringLiteral("fbzdj"));
    const bool priced = price && *price > 0;
    if (quantity && priced) {
        set(QStringLiteral("fbzdj"), *price);
        set(QStringLiteral("fbzwlcb"),
            fields_.number(QStringLiteral("fbzwlcb")).value_or(*price * *numerator / *denominator));
    } else if (quantity) {
        const auto linePrice = old("fbzdj");
        set(QStringLiteral("fbzwlcb"),
            orNull(linePrice ? std::optional<double>(*linePrice * *numerator / *denominator)
                             : std::nullopt));
    } else if (priced) {
        const auto q = old("ipsquantity");
        const auto d = old("tdqtyd");
        set(QStringLiteral("fbzdj"), *price);
        set(QStringLiteral("fbzwlcb"),
            orNull(q && d && *d != 0 ? std::optional<double>(*q / *d * *price) : std::nullopt));
    }
    if (quantity) {
        set(QStringLiteral("ipsquantity"), *numerator);
        set(QStringLiteral("tdqtyd"), *denominator);
    }
    if (quantity || fields_.has(QStringLiteral("iprodchangrate"))) {
        const auto unitQty =
            bomservice::UnitQtyOf(old("ipsquantity").value_or(0), old("tdqtyd").value_or(0),
                                  old("iprodchangrate").value_or(0), session_.gNumDigits);
        if (unitQty) // else the line keeps its auxiliary quantity, as a save leaves it
            set(QStringLiteral("unitqty"), *unitQty);
    }
}

void BatchPlanner::replaceLine(const db::Rows& shape, QVariantList& line) {
    // `line` holds the new identity and editors already; the quantity and cost follow the
    // stored line's own quantity, scaled by the multiplier.
    const int quantityAt = shape.columnIndex(QStringLiteral("ipsquantity"));
    const auto q = numberOf(line.value(quantityAt));
    const auto d = numberOf(cellOf(shape, line, QStringLiteral("tdqtyd")));
    const double multiplier = fields_.number(QStringLiteral("multiplier")).value_or(1);
    const auto price = fields_.number(QStringLiteral("fbzdj"));
    setCell(shape, line, QStringLiteral("ipsquantity"),
            orNull(q ? std::optional<double>(*q * multiplier) : std::nullopt));
    if (price && *price > 0) {
        setCell(shape, line, QStringLiteral("fbzdj"), *price);
        setCell(shape, line, QStringLiteral("fbzwlcb"),
                orNull(q && d && *d != 0 ? std::optional<double>(*q / *d * *price * multiplier)
                                         : std::nullopt));
    } else {
        setCell(shape, line, QStringLiteral("fbzdj"), QVariant());
        setCell(shape, line, QStringLiteral("fbzwlcb"), QVariant());
    }
    const auto unitQty = bomservice::UnitQtyOf(
        numberOf(line.value(quantityAt)).value_or(0), d.value_or(0),
        numberOf(cellOf(shape, line, QStringLiteral("iprodchangrate"))).value_or(0),
        session_.gNumDigits);
    if (unitQty)
        setCell(shape, line, QStringLiteral("unitqty"), *unitQty);
}

void BatchPlanner::costs(BatchPlan& plan) {
    if (plan.changes.empty())
        return;
    db::Database& db = *session_.gConn;
    // The lines the run leaves as they are (all but the component's, which it changes or
    // deletes; add changes none), and all of them.
    const db::SqlCondition changed = plan.operation == Operation::Add
                                         ? db::sqlText(QStringLiteral("1=0"))
                                         : plan.component.matches(QStringLiteral("cpscode"));
    const db::SqlCondition sql =
        db::sqlText(QStringLiteral("select ipid, SUM(COALESCE(fbzwlcb,0)) as total, SUM(case when "
                                   "")) +
        changed +
        db::sqlText(QStringLiteral(" then 0 else COALESCE(fbzwlcb,0) end) as kept from "
                                   "ProductStructures where ")) +
        db::BoundList::in(db.dialect(), QStringLiteral("ipid"), plan.changedBoms()) +
        db::sqlText(QStringLiteral(" group by ipid"));
    const db::Rows sums = db.query(sql.sql, sql.params);
    QHash<QString, std::pair<double, double>> before; // total, kept
    for (std::size_t i = 0; i < sums.size(); ++i)
        before.insert(sums.text(i, "ipid"),
                      {sums.value(i, "total").toDouble(), sums.value(i, "kept").toDouble()});
    QHash<QString, double> after;
    const int cost = plan.lines.columnIndex(QStringLiteral("fbzwlcb"));
    for (const BatchChange& change : plan.changes)
        if (!change.after.isEmpty())
            after[change.headerId] += numberOf(change.after.value(cost)).value_or(0);
    for (BatchChange& change : plan.changes) {
        const auto figures = before.value(change.headerId);
        change.costBefore = figures.first;
        change.costAfter = figures.second + after.value(change.headerId);
    }
}

} // namespace bom::batch
