#include "Explosion.h"

#include "StructureRules.h"
#include "StructureTexts.h"
#include "bomservice/BomAccess.h"
#include "entry/Session.h"

#include <QHash>

namespace bom::structure {
namespace {

using Below = ExplosionRow::Below;

QString columns() {
    QString free;
    for (int i = 1; i <= 10; ++i)
        free += QStringLiteral("l.cfree%1 AS cfree%1, ").arg(i);
    return QStringLiteral("l.autoid AS autoid, l.cpscode AS cpscode, l.csocode AS csocode, ") +
           free +
           QStringLiteral(
               "l.ipsquantity AS ipsquantity, l.tdqtyd AS tdqtyd, l.iwasterate AS iwasterate, "
               "l.fbzdj AS fbzdj, l.cwhcode AS cwhcode, CASE l.wiptype WHEN 1 THEN '入库倒冲' "
               "WHEN 3 THEN '正常领料' ELSE '' END AS wiptext, i.cInvName AS cinvname, "
               "i.cInvStd AS cinvstd, i.iInvRCost AS refcost, (select u.cComUnitName from "
               "ComputationUnit u where u.cComUnitCode=i.cComunitCode) AS cunit, (select "
               "w.cWhName from Warehouse w where w.cWhCode=l.cwhcode) AS cwhname, "
               "COALESCE(h.fbzrgcb,0) + COALESCE(h.fbzzfy,0) AS added, h.fbzcb AS storedcost");
}

QString variantOf(const db::Rows& lines, std::size_t row) {
    QStringList parts{lines.text(row, QStringLiteral("csocode")).trimmed()};
    for (int i = 1; i <= 10; ++i)
        parts << lines.text(row, QStringLiteral("cfree%1").arg(i)).trimmed();
    while (!parts.isEmpty() && parts.last().isEmpty())
        parts.removeLast();
    return parts.join(QLatin1Char(','));
}

ExplosionRow rowOf(const db::Rows& lines, const bomservice::BomWalkNode& node) {
    const std::size_t at = node.line;
    ExplosionRow row;
    row.level = node.level;
    row.parent = node.parent;
    row.below = node.below;
    row.autoid = lines.value(at, QStringLiteral("autoid")).toLongLong();
    row.bomId = lines.text(at, QStringLiteral("ipid"));
    row.iautoid = lines.text(at, QStringLiteral("childid"));
    row.cinvcode = lines.text(at, QStringLiteral("cpscode"));
    row.variant = variantOf(lines, at);
    row.cinvname = lines.text(at, QStringLiteral("cinvname"));
    row.cinvstd = lines.text(at, QStringLiteral("cinvstd"));
    row.cunit = lines.text(at, QStringLiteral("cunit"));
    row.cwhcode = lines.text(at, QStringLiteral("cwhcode"));
    row.cwhname = lines.text(at, QStringLiteral("cwhname"));
    row.wiptype = lines.text(at, QStringLiteral("wiptext"));
    const QVariant numerator = lines.value(at, QStringLiteral("ipsquantity"));
    const QVariant denominator = lines.value(at, QStringLiteral("tdqtyd"));
    const QVariant waste = lines.value(at, QStringLiteral("iwasterate"));
    row.numerator = numerator.toDouble();
    row.denominator = denominator.isNull() ? 1 : denominator.toDouble();
    row.wasteRate = waste.toDouble();
    // Untyped when missing: a driver may type its null as a number that reads as 0.
    const QVariant price = lines.value(at, QStringLiteral("fbzdj"));
    row.price = price.isNull() ? QVariant() : price;
    row.qty = StructureRules::quantityPer(numerator, denominator, waste);
    return row;
}

} // namespace

double ExplosionResult::material() const {
    double sum = 0;
    for (const ExplosionRow& row : rows)
        if (row.level == 1)
            sum += row.cost;
    return sum;
}

std::optional<ExplosionResult> Explosion::Explode(const QString& headerId, int levels) {
    const db::SqlCondition sql =
        db::SqlCondition{QStringLiteral("select h.cpspcode, i.cInvName, h.fbzrgcb, h.fbzzfy from "
                                        "ProductStructure h left join Inventory i on "
                                        "i.cInvCode=h.cpspcode where h.iautoid=?"),
                         {headerId}} +
        bomservice::BomAccess(session_).VisibleOnly(QStringLiteral("h"));
    const db::Rows top = session_.gConn->query(sql.sql, sql.params);
    if (top.empty())
        return std::nullopt;
    return explode({headerId,
                    top.text(0, "cpspcode"),
                    top.text(0, "cInvName"),
                    top.value(0, "fbzrgcb").toDouble(),
                    top.value(0, "fbzzfy").toDouble(),
                    {},
                    {}},
                   levels, nullptr);
}

ExplosionResult Explosion::Explode(const bomservice::BomCard& card, int levels) {
    const QString code = card.header.text(0, QStringLiteral("cpspcode"));
    const QString name =
        session_.gConn
            ->scalar(QStringLiteral("select cInvName from Inventory where cInvCode=?"), {code})
            .toString();
    return explode({card.header.text(0, QStringLiteral("iautoid")),
                    code,
                    name,
                    card.header.value(0, QStringLiteral("fbzrgcb")).toDouble(),
                    card.header.value(0, QStringLiteral("fbzzfy")).toDouble(),
                    {},
                    {}},
                   levels, &card.lines);
}

ExplosionResult Explosion::explode(ExplosionResult result, int levels,
                                   const bomservice::RowSet* topLines) {
    const bomservice::BomWalk walk(
        bomservice::BomLinks(session_, bomservice::BomLinks::Rule::Full, columns()));
    const bomservice::BomWalk::Result below = walk.down(result.topId, levels, topLines);
    std::vector<ExplosionRow>& rows = result.rows;
    rows.reserve(below.nodes.size());
    // What each row's BOM adds to its lines (labour and overhead), and its lines' costs.
    std::vector<double> added, lineCosts(below.nodes.size(), 0);
    added.reserve(below.nodes.size());
    for (const bomservice::BomWalkNode& node : below.nodes) {
        ExplosionRow row = rowOf(below.lines, node);
        const ExplosionRow* parent = row.parent < 0 ? nullptr : &rows[std::size_t(row.parent)];
        row.cumQty = row.qty * (parent ? parent->cumQty : 1);
        row.path = (parent ? parent->path : result.topCode) + QLatin1Char('/') + row.cinvcode;
        if (row.below == Below::Nothing)
            row.unitCost =
                StructureRules::leafPrice(row.price, below.lines.value(node.line, "refcost"));
        else if (row.below != Below::Expanded) // where the explosion stops: as stored
            row.unitCost = below.lines.value(node.line, "storedcost").toDouble();
        if (row.below == Below::Loop)
            result.loops.push_back(row.path.split(QLatin1Char('/')));
        added.push_back(below.lines.value(node.line, "added").toDouble());
        rows.push_back(std::move(row));
    }
    // Bottom up: a row comes after every row below it in reverse display order.
    for (std::size_t i = rows.size(); i-- > 0;) {
        ExplosionRow& row = rows[i];
        if (row.below == Below::Expanded)
            row.unitCost = lineCosts[i] + added[i];
        if (row.parent >= 0)
            lineCosts[std::size_t(row.parent)] += row.qty * row.unitCost;
        row.cost = row.unitCost * row.cumQty;
    }
    return result;
}

std::vector<SummaryRow> Explosion::Summarise(const ExplosionResult& result) {
    std::vector<SummaryRow> out;
    QHash<QString, std::size_t> at;
    for (const ExplosionRow& row : result.rows) {
        if (row.below == Below::Expanded)
            continue;
        const auto found = at.constFind(row.cinvcode);
        if (found == at.constEnd()) {
            at.insert(row.cinvcode, out.size());
            out.push_back(
                {row.cinvcode, row.cinvname, row.cinvstd, row.cunit, row.cumQty, row.cost});
        } else {
            out[*found].qty += row.cumQty;
            out[*found].cost += row.cost;
        }
    }
    return out;
}

entry::ExportTable Explosion::table(const ExplosionResult& result) {
    entry::ExportTable table{StructureTexts::explosionTitle() + QLatin1Char(' ') + result.topCode +
                                 QLatin1Char(' ') + result.topName,
                             StructureTexts::explosionCaptions(),
                             {}};
    for (const ExplosionRow& row : result.rows)
        table.rows.push_back(
            {QString::number(row.level), row.path, row.cinvcode, row.cinvname, row.cinvstd,
             StructureRules::text(row.qty), StructureRules::text(row.cumQty), row.cunit,
             (row.cwhcode + QLatin1Char(' ') + row.cwhname).trimmed(), row.wiptype,
             StructureRules::text(row.cost),
             row.below == Below::Loop ? row.iautoid + StructureTexts::loopMark() : row.iautoid});
    return table;
}

entry::ExportTable Explosion::summaryTable(const ExplosionResult& result) {
    entry::ExportTable table{StructureTexts::summaryTitle() + QLatin1Char(' ') + result.topCode +
                                 QLatin1Char(' ') + result.topName,
                             StructureTexts::summaryCaptions(),
                             {}};
    for (const SummaryRow& row : Summarise(result))
        table.rows.push_back(
            {row.cinvcode, row.cinvname, row.cinvstd, StructureRules::text(row.qty), row.cunit});
    return table;
}

} // namespace bom::structure
