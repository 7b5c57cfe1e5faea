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

// In this order (workOut reads them by position).
const QString kLineColumns =
    QStringLiteral("l.ipsquantity AS ipsquantity, l.tdqtyd AS tdqtyd, l.iwasterate AS "
                   "iwasterate, l.fbzdj AS fbzdj, i.iInvRCost AS refcost");

bomservice::BomLinks costLinks(entry::Session& session) {
    return bomservice::BomLinks(session, bomservice::BomLinks::Rule::Full, kLineColumns,
                                bomservice::BomLinks::Leaves);
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

void CostRollup::workOut(std::vector<CostRow>& rows, const LineSource& source) {
    const int digits = session_.gPriceDigits;
    QHash<QString, int> position;
    position.reserve(qsizetype(rows.size()));
    for (std::size_t i = 0; i < rows.size(); ++i)
        position.insert(rows[i].iautoid, int(i));
    // Row positions by level, deepest first.
    std::map<int, std::vector<int>, std::greater<>> byLevel;
    for (std::size_t i = 0; i < rows.size(); ++i)
        byLevel[rows[i].level].push_back(int(i));
    std::vector<std::vector<Line>> lines(rows.size());
    std::vector<char> done(rows.size(), 0);
    for (const auto& levelPositions : byLevel) {
        // Named apart: a structured binding cannot be captured by the lambda below (C++17 rule
        // clang still enforces).
        const int level = levelPositions.first;
        const auto& positions = levelPositions.second;
        QStringList ids;
        for (int at : positions)
            ids << rows[std::size_t(at)].iautoid;
        // Columns as kLineColumns reads them, after the line's BOM and the BOM below.
        enum { Bom, Below, Numerator, Denominator, Waste, Price, Reference };
        source(ids, [&](QVariantList&& line) {
            const int at = position.value(line.at(Bom).toString(), -1);
            if (at >= 0 && rows[std::size_t(at)].level == level)
                lines[std::size_t(at)].push_back(
                    {StructureRules::quantityPer(line.at(Numerator), line.at(Denominator),
                                                 line.at(Waste)),
                     StructureRules::leafPrice(line.at(Price), line.at(Reference)),
                     line.at(Below).isNull() ? -1 : position.value(line.at(Below).toString(), -1)});
        });
        for (int at : positions) {
            CostRow& row = rows[std::size_t(at)];
            double material = 0;
            for (const Line& line : lines[std::size_t(at)]) {
                double price = line.leafPrice;
                if (line.below >= 0) {
                    // Not worked out yet only where stored data loops: priced as stored.
                    const CostRow& below = rows[std::size_t(line.below)];
                    const bool ready = done[std::size_t(line.below)];
                    row.loop = row.loop || !ready;
                    price = ready ? below.total : below.storedTotal.toDouble();
                }
                material += line.qty * price;
            }
            lines[std::size_t(at)] = {};
            row.material = StructureRules::rounded(material, digits);
            row.total = StructureRules::rounded(material + row.labour + row.overhead, digits);
            row.differs = StructureRules::differs(row.storedMaterial, row.material, digits) ||
                          StructureRules::differs(row.storedTotal, row.total, digits);
            done[std::size_t(at)] = 1;
        }
    }
}

std::vector<CostRow> CostRollup::Compute(const QString& headerId) {
    if (!bomservice::BomAccess(session_).MayTouch(headerId))
        return {};
    db::Rows read;
    const QStringList ids = bomservice::BomWalk(costLinks(session_)).reachable(headerId, &read);
    std::vector<CostRow> rows = headers(&ids);
    workOut(rows, [&](const QStringList&, const std::function<void(QVariantList &&)>& onLine) {
        for (std::size_t i = 0; i < read.size(); ++i)
            onLine(QVariantList(read.at(i)));
    });
    // The BOM asked about first.
    std::stable_partition(rows.begin(), rows.end(),
                          [&](const CostRow& row) { return row.iautoid == headerId; });
    return rows;
}

std::vector<CostRow> CostRollup::ComputeAll() {
    const bomservice::BomLinks links = costLinks(session_);
    std::vector<CostRow> rows = headers(nullptr);
    workOut(rows, [&](const QStringList& ids, const std::function<void(QVariantList &&)>& onLine) {
        links.eachLineOf(ids, onLine);
    });
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
    entry::ExportTable table{StructureTexts::costTitle(), StructureTexts::costCaptions(), {}, {}};
    using Kind = entry::ExportTable::Kind;
    table.kinds = {Kind::Count,  Kind::Text,   Kind::Text,   Kind::Text, Kind::Amount,
                   Kind::Amount, Kind::Amount, Kind::Amount, Kind::Text, Kind::Text};
    for (const CostRow& row : rows)
        table.rows.push_back({QString::number(row.level), row.cpspcode, row.cinvname, row.csocode,
                              StructureRules::text(row.material), StructureRules::text(row.total),
                              StructureRules::figure(row.storedMaterial),
                              StructureRules::figure(row.storedTotal),
                              row.differs ? StructureTexts::yes() : QString(), row.iautoid});
    return table;
}

} // namespace bom::structure
