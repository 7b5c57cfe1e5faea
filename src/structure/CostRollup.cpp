#include "CostRollup.h"

#include "StructureRules.h"
#include "StructureTexts.h"
#include "bomservice/BomAccess.h"
#include "bomservice/BomHistory.h"
#include "bomservice/BomRuns.h"
#include "bomservice/BomWalk.h"
#include "bomservice/LowLevelCodes.h"
#include "db/BoundList.h"
#include "db/BoundRows.h"
#include "db/Database.h"
#include "db/Transaction.h"
#include "entry/Session.h"
#include "suite/Prompter.h"

#include <algorithm>
#include <map>

namespace bom::structure {
namespace {

const QString kLineColumns =
    QStringLiteral("l.ipsquantity AS ipsquantity, l.tdqtyd AS tdqtyd, l.iwasterate AS "
                   "iwasterate, l.fbzdj AS fbzdj, i.iInvRCost AS refcost, h.fbzcb AS storedcost");

bomservice::BomLinks costLinks(entry::Session& session) {
    return bomservice::BomLinks(session, bomservice::BomLinks::Rule::Full, kLineColumns);
}

bool byLevelAndCode(const CostRow& a, const CostRow& b) {
    return std::tie(a.level, a.cpspcode, a.csocode, a.iautoid) <
           std::tie(b.level, b.cpspcode, b.csocode, b.iautoid);
}

} // namespace

std::vector<CostRow> CostRollup::headers(const QStringList* ids) {
    db::Database& db = *session_.gConn;
    bomservice::LowLevelCodes(db).EnsureCurrent();
    db::SqlCondition sql = db::sqlText(QStringLiteral(
        "select h.iautoid, h.cpspcode, i.cInvName, h.csocode, COALESCE(v.ilevel,0) as llc, "
        "h.fbzwlcb, h.fbzcb, h.fbzrgcb, h.fbzzfy, h.ccheck, h.qzts from ProductStructure h "
        "left join Inventory i on i.cInvCode=h.cpspcode left join bom_llc v on "
        "v.cinvcode=h.cpspcode where 1=1"));
    if (ids)
        sql += db::sqlText(QStringLiteral(" and ")) +
               db::BoundList::in(db.dialect(), QStringLiteral("h.iautoid"), *ids);
    sql += bomservice::BomAccess(session_).VisibleOnly(QStringLiteral("h"));
    const db::Rows rows = db.query(sql.sql, sql.params);
    std::vector<CostRow> out;
    out.reserve(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        CostRow row;
        row.iautoid = rows.text(i, "iautoid");
        row.cpspcode = rows.text(i, "cpspcode");
        row.cinvname = rows.text(i, "cInvName");
        row.csocode = rows.text(i, "csocode");
        row.level = rows.value(i, "llc").toInt();
        row.storedMaterial = rows.value(i, "fbzwlcb");
        row.storedTotal = rows.value(i, "fbzcb");
        row.labour = rows.value(i, "fbzrgcb").toDouble();
        row.overhead = rows.value(i, "fbzzfy").toDouble();
        row.approved = !rows.text(i, "ccheck").trimmed().isEmpty();
        row.qzts = rows.value(i, "qzts").toLongLong();
        out.push_back(std::move(row));
    }
    std::sort(out.begin(), out.end(), byLevelAndCode);
    return out;
}

CostRollup::Lines CostRollup::linesOf(const db::Rows& rows) {
    Lines out;
    for (std::size_t i = 0; i < rows.size(); ++i)
        out[rows.text(i, "ipid")].push_back(
            {StructureRules::quantityPer(rows.value(i, "ipsquantity"), rows.value(i, "tdqtyd"),
                                         rows.value(i, "iwasterate")),
             StructureRules::leafPrice(rows.value(i, "fbzdj"), rows.value(i, "refcost")),
             rows.text(i, "childid"), rows.value(i, "storedcost").toDouble()});
    return out;
}

void CostRollup::workOut(std::vector<CostRow>& rows, const LineSource& source) {
    const int digits = session_.gPriceDigits;
    // Row positions by level, deepest first.
    std::map<int, std::vector<std::size_t>, std::greater<>> byLevel;
    for (std::size_t i = 0; i < rows.size(); ++i)
        byLevel[rows[i].level].push_back(i);
    QHash<QString, double> done; // the standard cost of each BOM worked out so far
    for (const auto& [level, positions] : byLevel) {
        QStringList ids;
        for (std::size_t at : positions)
            ids << rows[at].iautoid;
        const Lines lines = source(ids);
        for (std::size_t at : positions) {
            CostRow& row = rows[at];
            double material = 0;
            for (const Line& line : lines.value(row.iautoid)) {
                double price = line.leafPrice;
                if (!line.below.isEmpty()) {
                    const auto below = done.constFind(line.below);
                    row.loop = row.loop || below == done.constEnd();
                    price = below != done.constEnd() ? *below : line.belowStored;
                }
                material += line.qty * price;
            }
            row.material = StructureRules::rounded(material, digits);
            row.total = StructureRules::rounded(material + row.labour + row.overhead, digits);
            row.differs = StructureRules::differs(row.storedMaterial, row.material, digits) ||
                          StructureRules::differs(row.storedTotal, row.total, digits);
            done.insert(row.iautoid, row.total);
        }
    }
}

std::vector<CostRow> CostRollup::Compute(const QString& headerId) {
    if (!bomservice::BomAccess(session_).MayTouch(headerId))
        return {};
    db::Rows read;
    const QStringList ids = bomservice::BomWalk(costLinks(session_)).reachable(headerId, &read);
    const Lines lines = linesOf(read);
    std::vector<CostRow> rows = headers(&ids);
    workOut(rows, [&](const QStringList&) { return lines; });
    // The BOM asked about first.
    std::stable_partition(rows.begin(), rows.end(),
                          [&](const CostRow& row) { return row.iautoid == headerId; });
    return rows;
}

std::vector<CostRow> CostRollup::ComputeAll() {
    const bomservice::BomLinks links = costLinks(session_);
    std::vector<CostRow> rows = headers(nullptr);
    workOut(rows, [&](const QStringList& ids) { return linesOf(links.linesOf(ids)); });
    return rows;
}

std::optional<CostRollup::Written> CostRollup::Write(const std::vector<CostRow>& rows) {
    db::Database& db = *session_.gConn;
    Written written;
    std::vector<const CostRow*> changes;
    for (const CostRow& row : rows)
        if (row.differs && row.approved)
            ++written.approved;
        else if (row.differs)
            changes.push_back(&row);
    if (changes.empty())
        return written;
    QStringList ids;
    std::vector<QVariantList> figures;
    std::vector<bomservice::BomHistory::BomChange> history;
    for (const CostRow* row : changes) {
        ids << row->iautoid;
        figures.push_back({row->iautoid, row->material, row->total, row->qzts});
        for (const auto& [field, stored, worked] :
             {std::tuple{"fbzwlcb", row->storedMaterial, row->material},
              std::tuple{"fbzcb", row->storedTotal, row->total}})
            if (StructureRules::figure(stored) != StructureRules::text(worked))
                history.push_back(
                    {row->iautoid,
                     {QLatin1String(bomservice::BomHistory::kHeader), QLatin1String(field),
                      StructureRules::figure(stored), StructureRules::text(worked), QString()}});
    }
    db::Transaction tx(db);
    const QString setup = db.dialect().longTransactionSetup();
    if (!setup.isEmpty())
        db.exec(setup);
    bomservice::BomRuns runs(session_);
    written.run = runs.Begin(StructureTexts::costOperation(), StructureTexts::costTitle());
    runs.Touched(written.run, ids, QStringLiteral("M"));
    runs.KeepHeaders(written.run, db::BoundList::in(db.dialect(), QStringLiteral("iautoid"), ids));
    // Only over the versions worked out from; the header trigger moves each one on.
    const QHash<QString, QString> types = db.columnTypes(QStringLiteral("ProductStructure"));
    const db::SqlCondition update =
        db::sqlText(QStringLiteral("update ProductStructure set fbzwlcb=v.c1, fbzcb=v.c2 from ")) +
        db::BoundRows::table(
            db.dialect(),
            {types.value(QStringLiteral("iautoid")), types.value(QStringLiteral("fbzwlcb")),
             types.value(QStringLiteral("fbzcb")), types.value(QStringLiteral("qzts"))},
            figures) +
        db::sqlText(QStringLiteral(" v where ProductStructure.iautoid=v.c0 and "
                                   "ProductStructure.qzts=v.c3"));
    if (db.exec(update.sql, update.params) != ids.size()) {
        session_.prompter.info(StructureTexts::costChangedMeanwhile(), StructureTexts::title(), 48);
        return std::nullopt;
    }
    runs.Finish(written.run);
    bomservice::BomHistory(db).record(history, session_.gUserId, written.run);
    tx.commit();
    written.boms = int(ids.size());
    return written;
}

entry::ExportTable CostRollup::table(const std::vector<CostRow>& rows) {
    entry::ExportTable table{StructureTexts::costTitle(), StructureTexts::costCaptions(), {}};
    for (const CostRow& row : rows)
        table.rows.push_back({QString::number(row.level), row.cpspcode, row.cinvname, row.csocode,
                              StructureRules::text(row.material), StructureRules::text(row.total),
                              StructureRules::figure(row.storedMaterial),
                              StructureRules::figure(row.storedTotal),
                              row.differs ? StructureTexts::yes() : QString(), row.iautoid});
    return table;
}

} // namespace bom::structure
