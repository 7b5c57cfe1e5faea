#include "ColourSizeWriter.h"

#include "bomservice/BomAccess.h"
#include "bomservice/BomHistory.h"
#include "bomservice/BomRuns.h"
#include "bomservice/BomSaver.h"
#include "bomservice/Guards.h"
#include "db/BoundList.h"
#include "db/BoundRows.h"
#include "db/Database.h"
#include "db/DbError.h"
#include "entry/BomVisibility.h"
#include "entry/Session.h"

#include <QHash>
#include <QSet>
#include <QUuid>
#include <algorithm>

namespace bom::variants {
namespace {

using bomservice::BomHistory;

// What a new header copies from the template besides its free items and user-defined fields.
const QStringList kHeaderColumns{"cpspcode",   "cdepcode",   "bexpand",    "ifinishexch",
                                 "cmemo",      "csocode",    "fbzgs",      "fbzgzl",
                                 "fbzrgcb",    "fbzfyl",     "fbzzfy",     "fbzcb",
                                 "fqmzcpwlcb", "fqmzcprgcb", "fqmzcpzzfy", "bstopflag"};

// What a new line copies from its template line; unitqty follows from the copied quantities.
const QStringList kLineColumns{
    "cpspcode",       "cpscode",        "cpstype",      "cwhcode",       "ipsquantity",
    "cprocedurename", "cdepcode",       "cpersonname",  "cfree1",        "cfree2",
    "iwasterate",     "cfree3",         "cfree4",       "cfree5",        "cfree6",
    "cfree7",         "cfree8",         "cfree9",       "cfree10",       "ccaacomunitcode",
    "childguid",      "iprodchangrate", "cinsertfirst", "cinsertsecond", "cinsertthird",
    "csocode",        "cdefine22",      "cdefine23",    "cdefine24",     "cdefine25",
    "cdefine26",      "cdefine27",      "cdefine28",    "cdefine29",     "cdefine30",
    "cdefine31",      "cdefine32",      "cdefine33",    "cdefine34",     "cdefine35",
    "cdefine36",      "cdefine37",      "fvflag",       "wiptype",       "replaceflag",
    "tdqtyd",         "fbzdj",          "fbzwlcb",      "unitqty"};

// What a substitute copies; its line is the new one.
const QStringList kOptionColumns{
    "cinvcode",  "cfree1",      "cfree2",    "cfree3",    "cfree4",    "cfree5",
    "cfree6",    "cfree7",      "cfree8",    "cfree9",    "cfree10",   "cbatch",
    "cwhcode",   "cpersonname", "sequence",  "tdqtyn",    "tdqtyd",    "ccaacomunitcode",
    "cdefine22", "cdefine23",   "cdefine24", "cdefine25", "cdefine26", "cdefine27",
    "cdefine28", "cdefine29",   "cdefine30", "cdefine31", "cdefine32", "cdefine33",
    "cdefine34", "cdefine35",   "cdefine36", "cdefine37"};

// A line's component identity, by which a template line's substitutes find the new line that
// copies it: code, sales order and free items, a missing value equal to an empty one.
const QString kIdentity = QStringLiteral(
    "cpscode, csocode, cfree1, cfree2, cfree3, cfree4, cfree5, cfree6, cfree7, cfree8, cfree9, "
    "cfree10");

QStringList identityOf(const db::Rows& rows, std::size_t row, int first) {
    QStringList key;
    for (int column = first; column < first + 12; ++column)
        key << rows.at(row).at(column).toString();
    return key;
}

QStringList prefixed(const QString& alias, const QStringList& columns) {
    QStringList out;
    for (const QString& column : columns)
        out << alias + QLatin1Char('.') + column;
    return out;
}

QString pairKey(const QString& colour, const QString& size) {
    return colour + QLatin1Char('\n') + size;
}

} // namespace

QString ColourSizeWriter::describe(const QString& parent, const std::vector<VariantPair>& pairs) {
    QStringList named;
    for (const VariantPair& pair : pairs)
        named << pair.colour + QLatin1Char(':') + pair.size;
    return parent + QLatin1Char(' ') + named.join(QLatin1Char(','));
}

std::vector<VariantPair> ColourSizeWriter::freshPairs(const QString& parent,
                                                      const std::vector<VariantPair>& pairs) {
    // Read again inside the run's transaction: another planner may have made a pair since.
    const db::Rows existing = session_.gConn->query(
        QStringLiteral("select distinct COALESCE(%1,''), COALESCE(%2,'') from ProductStructure "
                       "where cpspcode=?")
            .arg(columns_.colour, columns_.size),
        {parent});
    QSet<QString> taken;
    for (std::size_t i = 0; i < existing.size(); ++i)
        taken.insert(pairKey(existing.at(i).at(0).toString(), existing.at(i).at(1).toString()));
    std::vector<VariantPair> out;
    for (const VariantPair& pair : pairs) {
        const VariantPair value{pair.colour.trimmed(), pair.size.trimmed()};
        const QString key = pairKey(value.colour, value.size);
        if (!taken.contains(key)) {
            taken.insert(key);
            out.push_back(value);
        }
    }
    return out;
}

ColourSizeWriter::Outcome ColourSizeWriter::generate(const QString& templateId,
                                                     const std::vector<VariantPair>& pairs,
                                                     const Progress& progress) {
    db::Database& db = *session_.gConn;
    Outcome out;
    const QString parent =
        db.scalar(QStringLiteral("select cpspcode from ProductStructure where iautoid=?"),
                  {templateId})
            .toString();
    const std::vector<VariantPair> fresh = freshPairs(parent, pairs);
    if (fresh.empty())
        return out;
    bomservice::BomRuns runs(session_);
    out.run = runs.Begin(QLatin1String(kGenerate), describe(parent, fresh));
    const TemplateLines lines = templateLines(templateId);
    const std::size_t perBlock = std::size_t(
        std::max<qsizetype>(1, kLinesPerBlock / std::max<qsizetype>(1, lines.autoids.size())));
    for (std::size_t start = 0; start < fresh.size(); start += perBlock) {
        Block block;
        QStringList ids;
        for (std::size_t i = start; i < std::min(fresh.size(), start + perBlock); ++i) {
            ids << QUuid::createUuid().toString(QUuid::WithBraces).toUpper();
            block.push_back({ids.last(), fresh[i]});
        }
        insertHeaders(templateId, block);
        insertLines(lines, ids);
        out.created += ids;
        if (progress && !progress(int(out.created.size()), int(fresh.size())))
            throw Cancelled{};
    }
    recordCreated(out.run, parent, out.created);
    runs.Finish(out.run);
    return out;
}

void ColourSizeWriter::insertHeaders(const QString& templateId, const Block& block) {
    db::Database& db = *session_.gConn;
    QStringList copied = kHeaderColumns;
    for (int i = 1; i <= 10; ++i)
        copied << QStringLiteral("cfree%1").arg(i);
    for (int i = 1; i <= 16; ++i)
        copied << QStringLiteral("cdefine%1").arg(i);
    copied.removeAll(columns_.colour);
    copied.removeAll(columns_.size);
    const QHash<QString, QString> types = db.columnTypes(QStringLiteral("ProductStructure"));
    std::vector<QVariantList> rows;
    rows.reserve(block.size());
    for (const auto& [id, pair] : block)
        rows.push_back({id, pair.colour, pair.size});
    // Never the default cost BOM, never approved.
    const db::SqlCondition insert =
        db::SqlCondition{QStringLiteral("insert into ProductStructure(iautoid, %1, %2, %3, "
                                        "bmrcbbom, ccheck) select n.c0, %4, n.c1, n.c2, 0, ? from ")
                             .arg(copied.join(QLatin1Char(',')), columns_.colour, columns_.size,
                                  prefixed(QStringLiteral("t"), copied).join(QLatin1Char(','))),
                         {QStringLiteral("")}} +
        db::BoundRows::table(db.dialect(),
                             {types.value(QStringLiteral("iautoid")), types.value(columns_.colour),
                              types.value(columns_.size)},
                             rows) +
        db::SqlCondition{QStringLiteral(" n, ProductStructure t where t.iautoid=?"), {templateId}};
    db.exec(insert.sql, insert.params);
}

ColourSizeWriter::TemplateLines ColourSizeWriter::templateLines(const QString& templateId) {
    const db::Rows rows = session_.gConn->query(
        QStringLiteral("select autoid, %1, (select count(*) from ProstruOpt c where "
                       "c.AutoID=a.autoid) as options from ProductStructures a where ipid=? "
                       "order by autoid")
            .arg(kIdentity),
        {templateId});
    TemplateLines out;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const qlonglong autoid = rows.at(i).at(0).toLongLong();
        out.autoids << autoid;
        if (rows.value(i, "options").toInt() > 0)
            out.withOptions[identityOf(rows, i, 1)] << autoid;
    }
    return out;
}

void ColourSizeWriter::insertLines(const TemplateLines& lines, const QStringList& headerIds) {
    db::Database& db = *session_.gConn;
    // The template's lines by their keys: the planner reads them by the primary key, however
    // many lines the run has added so far. psid given as the trigger would fill it, so no row
    // is touched twice.
    const db::SqlCondition insert =
        db::sqlText(QStringLiteral("insert into ProductStructures(%1, ipid, psid) select %2, "
                                   "h.iautoid, h.ID from ProductStructure h, ProductStructures a "
                                   "where ")
                        .arg(kLineColumns.join(QLatin1Char(',')),
                             prefixed(QStringLiteral("a"), kLineColumns).join(QLatin1Char(',')))) +
        db::BoundList::in(db.dialect(), QStringLiteral("a.autoid"), lines.autoids) +
        db::sqlText(QStringLiteral(" and ")) +
        db::BoundList::in(db.dialect(), QStringLiteral("h.iautoid"), headerIds) +
        db::sqlText(QStringLiteral(" order by h.ID, a.autoid"));
    if (lines.withOptions.isEmpty()) {
        db.exec(insert.sql, insert.params);
        return;
    }
    const db::Rows made =
        db.query(insert.sql + QStringLiteral(" returning autoid, ") + kIdentity, insert.params);
    std::vector<QVariantList> matches; // template line, new line
    for (std::size_t i = 0; i < made.size(); ++i)
        for (qlonglong from : lines.withOptions.value(identityOf(made, i, 1)))
            matches.push_back({from, made.at(i).at(0).toLongLong()});
    if (matches.empty())
        return;
    const QString key =
        db.columnTypes(QStringLiteral("ProstruOpt")).value(QStringLiteral("autoid"));
    const db::SqlCondition options =
        db::sqlText(
            QStringLiteral("insert into ProstruOpt(%1, AutoID) select %2, m.c1 from ")
                .arg(kOptionColumns.join(QLatin1Char(',')),
                     prefixed(QStringLiteral("c"), kOptionColumns).join(QLatin1Char(',')))) +
        db::BoundRows::table(db.dialect(), {key, key}, matches) +
        db::sqlText(QStringLiteral(" m join ProstruOpt c on c.AutoID=m.c0 order by m.c1, "
                                   "c.compsubid"));
    db.exec(options.sql, options.params);
}

void ColourSizeWriter::recordCreated(qlonglong run, const QString& parent,
                                     const QStringList& created) {
    db::Database& db = *session_.gConn;
    bomservice::BomRuns runs(session_);
    runs.Created(run, db::sqlText(QStringLiteral("select iautoid, CAST(NULL AS BIGINT) from "
                                                 "ProductStructure where ")) +
                          db::BoundList::in(db.dialect(), QStringLiteral("iautoid"), created));
    runs.Touched(run, created, QStringLiteral("C"));
    bomservice::BomSaver saver(session_);
    saver.LinkLinesTo(created);
    saver.LinesChanged({parent});
    std::vector<BomHistory::BomChange> changes;
    changes.reserve(std::size_t(created.size()));
    for (const QString& id : created)
        changes.push_back({id, {BomHistory::kCreated, {}, {}, parent, {}}});
    BomHistory(db).record(changes, session_.gUserId, run);
    entry::BomVisibility(db).RefreshBoms(created);
    saver.MarkStructureChanged();
}

ColourSizeWriter::Outcome ColourSizeWriter::remove(const QString& parent,
                                                   const std::vector<VariantPair>& pairs,
                                                   const Progress& progress) {
    db::Database& db = *session_.gConn;
    Outcome out;
    // The parent's BOMs, held until the run ends, in the pairs' order.
    const db::Rows boms = db.query(
        QStringLiteral("select iautoid, COALESCE(%1,'') as colour, COALESCE(%2,'') as size, "
                       "COALESCE(ccheck,'') as ccheck, COALESCE(bmrcbbom,0) as bmrcbbom, "
                       "COALESCE(csocode,'') as csocode from ProductStructure where cpspcode=? "
                       "order by iautoid")
                .arg(columns_.colour, columns_.size) +
            db.dialect().forShare(),
        {parent});
    const QString itemName =
        db.scalar(QStringLiteral("select cInvName from Inventory where cInvCode=?"), {parent})
            .toString();
    QHash<QString, std::vector<std::size_t>> byPair;
    QStringList all;
    for (std::size_t i = 0; i < boms.size(); ++i) {
        byPair[pairKey(boms.text(i, "colour"), boms.text(i, "size"))].push_back(i);
        all << boms.text(i, "iautoid");
    }
    // A BOM the operator may not touch is as good as not there.
    const QSet<QString> touchable = bomservice::BomAccess(session_).Touchable(all);
    QStringList doomed;
    std::vector<VariantPair> doomedPairs;
    QSet<QString> named;
    for (const VariantPair& pair : pairs) {
        const QString key = pairKey(pair.colour.trimmed(), pair.size.trimmed());
        if (named.contains(key))
            continue;
        named.insert(key);
        for (std::size_t i : byPair.value(key)) {
            const QString id = boms.text(i, "iautoid");
            if (!touchable.contains(id))
                continue;
            if (!boms.text(i, "ccheck").isEmpty() || boms.value(i, "bmrcbbom").toInt() != 0)
                out.kept.push_back({id, itemName, boms.text(i, "colour"), boms.text(i, "size"),
                                    boms.text(i, "csocode")});
            else {
                doomed << id;
                doomedPairs.push_back({boms.text(i, "colour"), boms.text(i, "size")});
            }
        }
    }
    if (doomed.isEmpty())
        return out;
    bomservice::BomRuns runs(session_);
    out.run = runs.Begin(QLatin1String(kDelete), describe(parent, doomedPairs));
    runs.Touched(out.run, doomed, QStringLiteral("X"));
    const int lines = [&] {
        const db::SqlCondition count =
            db::sqlText(QStringLiteral("select count(*) from ProductStructures where ")) +
            db::BoundList::in(db.dialect(), QStringLiteral("ipid"), doomed);
        return db.scalar(count.sql, count.params).toInt();
    }();
    const qsizetype perBlock =
        std::max<qsizetype>(1, qsizetype(kLinesPerBlock) * doomed.size() / std::max(1, lines));
    for (qsizetype start = 0; start < doomed.size(); start += perBlock) {
        removeBlock(out.run, doomed.mid(start, perBlock));
        out.deleted += doomed.mid(start, perBlock);
        if (progress && !progress(int(out.deleted.size()), int(doomed.size())))
            throw Cancelled{};
    }
    bomservice::BomSaver(session_).MarkStructureChanged();
    runs.Finish(out.run);
    return out;
}

void ColourSizeWriter::removeBlock(qlonglong run, const QStringList& headerIds) {
    db::Database& db = *session_.gConn;
    bomservice::BomRuns runs(session_);
    const db::SqlCondition lines =
        db::BoundList::in(db.dialect(), QStringLiteral("ipid"), headerIds);
    // Kept whole, so undo puts every row back with its keys.
    runs.KeepHeaders(run, db::BoundList::in(db.dialect(), QStringLiteral("iautoid"), headerIds));
    runs.KeepLines(run, lines);
    runs.KeepOptions(run, db::sqlText(QStringLiteral("AutoID in (select autoid from "
                                                     "ProductStructures where ")) +
                              lines + db::sqlText(QStringLiteral(")")));
    if (bomservice::BomGuards(session_).RemoveStoredBoms(headerIds, run).size() != headerIds.size())
        throw db::DbError(QStringLiteral("物料清单已被删除"));
}

} // namespace bom::variants
