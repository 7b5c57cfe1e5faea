#include "WhereUsed.h"

#include "StructureRules.h"
#include "StructureTexts.h"
#include "bomservice/BomLinks.h"
#include "db/BoundList.h"
#include "db/Database.h"
#include "entry/Session.h"

#include <QHash>
#include <QSet>
#include <algorithm>
#include <functional>

namespace bom::structure {
namespace {

// The parents' names are read once at the end, not on every line read on the way up.
const QString kColumns =
    QStringLiteral("p.cpspcode AS pcode, p.csocode AS pso, l.ipsquantity AS ipsquantity, "
                   "l.tdqtyd AS tdqtyd, l.iwasterate AS iwasterate");

// A line of `user` taking `qty` of what is below it: the item itself (empty) or a BOM.
struct Use {
    QString below;
    double qty = 0;
};

} // namespace

std::vector<WhereUsedRow> WhereUsed::Find(const QString& itemCode, int levels) {
    const bomservice::BomLinks links(session_, bomservice::BomLinks::Rule::Full, kColumns,
                                     bomservice::BomLinks::Leaves);
    QHash<QString, WhereUsedRow> found;
    QHash<QString, std::vector<Use>> uses; // by the BOM whose line it is
    // Lines naming the item, then lines leading to the BOMs found one level down. The lines of
    // the last level are read too, for the uses among BOMs found already.
    db::Rows lines = links.linesUsing({itemCode});
    // The columns in the order kColumns reads them, after the line's BOM and the BOM below.
    enum { Bom, Below, Parent, SalesOrder, Numerator, Denominator, Waste };
    for (int level = 1; !lines.empty(); ++level) {
        QStringList ids, codes;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const QVariantList& line = lines.at(i);
            const QString user = line.at(Bom).toString();
            if (!found.contains(user)) {
                if (levels > 0 && level > levels)
                    continue;
                found.insert(user, {level, user, line.at(Parent).toString(), QString(),
                                    line.at(SalesOrder).toString(), 0});
                ids << user;
                codes << line.at(Parent).toString();
            }
            uses[user].push_back({level == 1 ? QString() : line.at(Below).toString(),
                                  StructureRules::quantityPer(
                                      line.at(Numerator), line.at(Denominator), line.at(Waste))});
        }
        if (ids.isEmpty())
            break;
        codes.removeDuplicates();
        lines = links.linesLeadingTo(ids, codes);
    }
    // The item in one unit of each BOM: its lines' quantities times what is below them. A use
    // that leads back up (a loop in stored data) counts nothing.
    QHash<QString, double> total;
    QSet<QString> open;
    std::function<double(const QString&)> perUnit = [&](const QString& bom) -> double {
        if (bom.isEmpty())
            return 1;
        if (const auto known = total.constFind(bom); known != total.constEnd())
            return *known;
        if (open.contains(bom) || !found.contains(bom))
            return 0;
        open.insert(bom);
        double sum = 0;
        for (const Use& use : uses.value(bom))
            sum += use.qty * perUnit(use.below);
        open.remove(bom);
        total.insert(bom, sum);
        return sum;
    };
    QStringList parents;
    for (const WhereUsedRow& row : found)
        parents << row.cpspcode;
    parents.removeDuplicates();
    const db::SqlCondition names =
        db::sqlText(QStringLiteral("select cInvCode, cInvName from Inventory where ")) +
        db::BoundList::in(session_.gConn->dialect(), QStringLiteral("cInvCode"), parents);
    QHash<QString, QString> nameOf;
    const db::Rows named = session_.gConn->query(names.sql, names.params);
    for (std::size_t i = 0; i < named.size(); ++i)
        nameOf.insert(named.at(i).at(0).toString(), named.at(i).at(1).toString());
    std::vector<WhereUsedRow> out;
    out.reserve(std::size_t(found.size()));
    for (auto it = found.begin(); it != found.end(); ++it) {
        it->qty = perUnit(it.key());
        it->cinvname = nameOf.value(it->cpspcode);
        out.push_back(*it);
    }
    std::sort(out.begin(), out.end(), [](const WhereUsedRow& a, const WhereUsedRow& b) {
        return std::tie(a.level, a.cpspcode, a.csocode, a.iautoid) <
               std::tie(b.level, b.cpspcode, b.csocode, b.iautoid);
    });
    return out;
}

entry::ExportTable WhereUsed::table(const QString& itemCode,
                                    const std::vector<WhereUsedRow>& rows) {
    entry::ExportTable table{StructureTexts::whereUsedTitle() + QLatin1Char(' ') + itemCode,
                             StructureTexts::whereUsedCaptions(),
                             {},
                             {}};
    using Kind = entry::ExportTable::Kind;
    table.kinds = {Kind::Count, Kind::Text, Kind::Text, Kind::Text, Kind::Quantity, Kind::Text};
    for (const WhereUsedRow& row : rows)
        table.rows.push_back({QString::number(row.level), row.cpspcode, row.cinvname, row.csocode,
                              StructureRules::text(row.qty), row.iautoid});
    return table;
}

} // namespace bom::structure
