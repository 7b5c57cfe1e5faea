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

// Where each column stands in the walk's answer, found once.
struct Columns {
    explicit Columns(const db::Rows& rows) {
        for (const char* name : {"autoid", "ipid", "childid", "cpscode", "csocode", "cinvname",
                                 "cinvstd", "cunit", "cwhcode", "cwhname", "wiptext", "ipsquantity",
                                 "tdqtyd", "iwasterate", "fbzdj", "refcost", "storedcost", "added"})
            at.insert(QLatin1String(name), rows.columnIndex(QLatin1String(name)));
        for (int i = 1; i <= 10; ++i)
            free.push_back(rows.columnIndex(QStringLiteral("cfree%1").arg(i)));
    }
    int operator[](const char* name) const { return at.value(QLatin1String(name)); }
    QHash<QString, int> at;
    std::vector<int> free;
};

QString variantOf(const QVariantList& line, const Columns& c) {
    QStringList parts{line.value(c["csocode"]).toString().trimmed()};
    for (int column : c.free)
        parts << line.value(column).toString().trimmed();
    while (!parts.isEmpty() && parts.last().isEmpty())
        parts.removeLast();
    return parts.join(QLatin1Char(','));
}

} // namespace

QString ExplosionResult::path(std::size_t row) const {
    QStringList codes;
    for (int at = int(row); at >= 0; at = rows[std::size_t(at)].parent)
        codes.prepend(lineOf(rows[std::size_t(at)]).cinvcode);
    codes.prepend(topCode);
    return codes.join(QLatin1Char('/'));
}

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
    ExplosionResult result;
    result.topId = headerId;
    result.topCode = top.text(0, "cpspcode");
    result.topName = top.text(0, "cInvName");
    result.labour = top.value(0, "fbzrgcb").toDouble();
    result.overhead = top.value(0, "fbzzfy").toDouble();
    return explode(std::move(result), levels, nullptr);
}

ExplosionResult Explosion::Explode(const bomservice::BomCard& card, int levels) {
    const QString code = card.header.text(0, QStringLiteral("cpspcode"));
    const QString name =
        session_.gConn
            ->scalar(QStringLiteral("select cInvName from Inventory where cInvCode=?"), {code})
            .toString();
    ExplosionResult result;
    result.topId = card.header.text(0, QStringLiteral("iautoid"));
    result.topCode = code;
    result.topName = name;
    result.labour = card.header.value(0, QStringLiteral("fbzrgcb")).toDouble();
    result.overhead = card.header.value(0, QStringLiteral("fbzzfy")).toDouble();
    return explode(std::move(result), levels, &card.lines);
}

bomservice::BomLinks Explosion::links(entry::Session& session) {
    return bomservice::BomLinks(session, bomservice::BomLinks::Rule::Full, columns());
}

std::vector<ExplosionLine> Explosion::linesOf(const db::Rows& rows) {
    const Columns c(rows);
    std::vector<ExplosionLine> out;
    out.reserve(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const QVariantList& line = rows.at(i);
        const QVariant denominator = line.value(c["tdqtyd"]);
        // Untyped when missing: a driver may type its null as a number that reads as 0.
        const QVariant price = line.value(c["fbzdj"]);
        out.push_back({line.value(c["autoid"]).toLongLong(), line.value(c["childid"]).toString(),
                       line.value(c["cpscode"]).toString(), variantOf(line, c),
                       line.value(c["cinvname"]).toString(), line.value(c["cinvstd"]).toString(),
                       line.value(c["cunit"]).toString(), line.value(c["cwhcode"]).toString(),
                       line.value(c["cwhname"]).toString(), line.value(c["wiptext"]).toString(),
                       line.value(c["ipsquantity"]).toDouble(),
                       denominator.isNull() ? 1 : denominator.toDouble(),
                       line.value(c["iwasterate"]).toDouble(), price.isNull() ? QVariant() : price,
                       StructureRules::quantityPer(line.value(c["ipsquantity"]), denominator,
                                                   line.value(c["iwasterate"])),
                       StructureRules::leafPrice(price, line.value(c["refcost"])),
                       line.value(c["storedcost"]).toDouble(), line.value(c["added"]).toDouble()});
    }
    return out;
}

ExplosionResult Explosion::explode(ExplosionResult result, int levels,
                                   const bomservice::RowSet* topLines) {
    const bomservice::BomWalk walk(links(session_));
    const bomservice::BomWalk::Result below = walk.down(result.topId, levels, topLines);
    result.lines = linesOf(below.lines);
    rollUp(result, below.nodes);
    return result;
}

void Explosion::rollUp(ExplosionResult& result, const std::vector<bomservice::BomWalkNode>& nodes) {
    std::vector<ExplosionRow>& rows = result.rows;
    rows.reserve(nodes.size());
    for (const bomservice::BomWalkNode& node : nodes) {
        ExplosionRow row{node.level, node.parent, int(node.line), node.below, 0, 0, 0};
        const ExplosionLine& line = result.lineOf(row);
        row.cumQty = line.qty * (row.parent < 0 ? 1 : rows[std::size_t(row.parent)].cumQty);
        if (row.below == Below::Nothing)
            row.unitCost = line.leafPrice;
        else if (row.below != Below::Expanded) // where the explosion stops: as stored
            row.unitCost = line.storedCost;
        rows.push_back(row);
        if (row.below == Below::Loop)
            result.loops.push_back(result.path(rows.size() - 1).split(QLatin1Char('/')));
    }
    // Bottom up: in reverse display order a row comes after every row below it.
    std::vector<double> lineCosts(rows.size(), 0);
    for (std::size_t i = rows.size(); i-- > 0;) {
        ExplosionRow& row = rows[i];
        const ExplosionLine& line = result.lineOf(row);
        if (row.below == Below::Expanded)
            row.unitCost = lineCosts[i] + line.added;
        if (row.parent >= 0)
            lineCosts[std::size_t(row.parent)] += line.qty * row.unitCost;
        row.cost = row.unitCost * row.cumQty;
    }
}

std::vector<SummaryRow> Explosion::Summarise(const ExplosionResult& result) {
    std::vector<SummaryRow> out;
    QHash<QString, std::size_t> at;
    for (const ExplosionRow& row : result.rows) {
        if (row.below == Below::Expanded)
            continue;
        const ExplosionLine& line = result.lineOf(row);
        const auto found = at.constFind(line.cinvcode);
        if (found == at.constEnd()) {
            at.insert(line.cinvcode, out.size());
            out.push_back(
                {line.cinvcode, line.cinvname, line.cinvstd, line.cunit, row.cumQty, row.cost});
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
                             {},
                             {}};
    using Kind = entry::ExportTable::Kind;
    table.kinds = {Kind::Count,    Kind::Text, Kind::Text, Kind::Text, Kind::Text,   Kind::Quantity,
                   Kind::Quantity, Kind::Text, Kind::Text, Kind::Text, Kind::Amount, Kind::Text};
    table.rows.reserve(result.rows.size());
    for (std::size_t i = 0; i < result.rows.size(); ++i) {
        const ExplosionRow& row = result.rows[i];
        const ExplosionLine& line = result.lineOf(row);
        table.rows.push_back(
            {QString::number(row.level), result.path(i), line.cinvcode, line.cinvname, line.cinvstd,
             StructureRules::text(line.qty), StructureRules::text(row.cumQty), line.cunit,
             (line.cwhcode + QLatin1Char(' ') + line.cwhname).trimmed(), line.wiptype,
             StructureRules::text(row.cost),
             row.below == Below::Loop ? line.iautoid + StructureTexts::loopMark() : line.iautoid});
    }
    return table;
}

entry::ExportTable Explosion::summaryTable(const ExplosionResult& result) {
    entry::ExportTable table{StructureTexts::summaryTitle() + QLatin1Char(' ') + result.topCode +
                                 QLatin1Char(' ') + result.topName,
                             StructureTexts::summaryCaptions(),
                             {},
                             {}};
    using Kind = entry::ExportTable::Kind;
    table.kinds = {Kind::Text, Kind::Text, Kind::Text, Kind::Quantity, Kind::Text};
    for (const SummaryRow& row : Summarise(result))
        table.rows.push_back(
            {row.cinvcode, row.cinvname, row.cinvstd, StructureRules::text(row.qty), row.cunit});
    return table;
}

} // namespace bom::structure
