#include "WhereUsed.h"

#include "StructureRules.h"
#include "StructureTexts.h"
#include "bomservice/BomLinks.h"
#include "entry/Session.h"

#include <QHash>
#include <QSet>
#include <algorithm>
#include <functional>

namespace bom::structure {
namespace {

const QString kColumns = QStringLiteral(
    "p.cpspcode AS pcode, p.csocode AS pso, (select n.cInvName from Inventory n where "
    "n.cInvCode=p.cpspcode) AS pname, l.ipsquantity AS ipsquantity, l.tdqtyd AS tdqtyd, "
    "l.iwasterate AS iwasterate");

// A line of `user` taking `qty` of what is below it: the item itself (empty) or a BOM.
struct Use {
    QString below;
    double qty = 0;
};

} // namespace

std::vector<WhereUsedRow> WhereUsed::Find(const QString& itemCode, int levels) {
    const bomservice::BomLinks links(session_, bomservice::BomLinks::Rule::Full, kColumns);
    QHash<QString, WhereUsedRow> found;
    QHash<QString, std::vector<Use>> uses; // by the BOM whose line it is
    // Lines naming the item, then lines leading to the BOMs found one level down. The lines of
    // the last level are read too, for the uses among BOMs found already.
    db::Rows lines = links.linesUsing({itemCode});
    for (int level = 1; !lines.empty(); ++level) {
        QStringList ids, codes;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const QString user = lines.text(i, QStringLiteral("ipid"));
            const QString below = level == 1 ? QString() : lines.text(i, QStringLiteral("childid"));
            if (!found.contains(user)) {
                if (levels > 0 && level > levels)
                    continue;
                found.insert(user, {level, user, lines.text(i, QStringLiteral("pcode")),
                                    lines.text(i, QStringLiteral("pname")),
                                    lines.text(i, QStringLiteral("pso")), 0});
                ids << user;
                codes << lines.text(i, QStringLiteral("pcode"));
            }
            uses[user].push_back(
                {below, StructureRules::quantityPer(lines.value(i, QStringLiteral("ipsquantity")),
                                                    lines.value(i, QStringLiteral("tdqtyd")),
                                                    lines.value(i, QStringLiteral("iwasterate")))});
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
    std::vector<WhereUsedRow> out;
    out.reserve(std::size_t(found.size()));
    for (auto it = found.begin(); it != found.end(); ++it) {
        it->qty = perUnit(it.key());
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
                             {}};
    for (const WhereUsedRow& row : rows)
        table.rows.push_back({QString::number(row.level), row.cpspcode, row.cinvname, row.csocode,
                              StructureRules::text(row.qty), row.iautoid});
    return table;
}

} // namespace bom::structure
