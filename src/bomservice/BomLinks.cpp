#include "BomLinks.h"

#include "BomAccess.h"
#include "db/BoundList.h"
#include "db/BoundRows.h"
#include "db/Database.h"
#include "entry/BomIdentity.h"
#include "entry/Session.h"

namespace bom::bomservice {
namespace {

// BOMs bound per query at most: keeps the rows of one answer within bounds on whole-account work.
constexpr int kBomsPerQuery = 5000;

} // namespace

const QStringList& BomLinks::lineColumns() {
    static const QStringList columns{
        "autoid",     "ipid",    "cpspcode",        "cpscode",        "csocode",     "cfree1",
        "cfree2",     "cfree3",  "cfree4",          "cfree5",         "cfree6",      "cfree7",
        "cfree8",     "cfree9",  "cfree10",         "childguid",      "ipsquantity", "tdqtyd",
        "iwasterate", "cwhcode", "cdepcode",        "cpersonname",    "wiptype",     "replaceflag",
        "fbzdj",      "fbzwlcb", "ccaacomunitcode", "iprodchangrate", "unitqty"};
    return columns;
}

BomLinks::BomLinks(entry::Session& session, Rule rule, QString columns, int options)
    : session_(session), rule_(rule), columns_(std::move(columns)), options_(options) {}

db::SqlCondition BomLinks::childOf(const QString& line) const {
    const db::SqlCondition visible = BomAccess(session_).VisibleOnly(QStringLiteral("c"));
    const db::SqlCondition byGuid =
        db::sqlText(QStringLiteral("(select c.iautoid from ProductStructure c where "
                                   "c.iautoid=%1.childguid")
                        .arg(line)) +
        visible + db::sqlText(QStringLiteral(")"));
    if (rule_ == Rule::ChildGuid)
        return byGuid;
    // Identity and default are each one BOM by the identity rule; the least id only makes old
    // data that breaks it answer the same every time.
    return db::sqlText(QStringLiteral("COALESCE(")) + byGuid +
           db::sqlText(QStringLiteral(", (select min(c.iautoid) from ProductStructure c where ") +
                       entry::BomIdentity::headerMatchesLine(QStringLiteral("c"), line)) +
           visible +
           db::sqlText(QStringLiteral("), (select min(c.iautoid) from ProductStructure c where "
                                      "c.cpspcode=%1.cpscode and ")
                           .arg(line) +
                       entry::BomIdentity::isDefaultBom(QStringLiteral("c"))) +
           visible + db::sqlText(QStringLiteral("))"));
}

db::SqlCondition BomLinks::statement(const db::SqlCondition& source, const db::SqlCondition& where,
                                     bool visibleParent) const {
    QStringList lineColumnsOfL;
    for (const QString& column : lineColumns())
        lineColumnsOfL << QStringLiteral("l.") + column;
    db::SqlCondition sql =
        db::sqlText(QStringLiteral("select l.ipid as ipid, l.childid as childid, ") + columns_ +
                    QStringLiteral(" from (select ") + lineColumnsOfL.join(QLatin1Char(',')) +
                    QStringLiteral(", ")) +
        childOf(QStringLiteral("l")) + db::sqlText(QStringLiteral(" as childid from ")) + source +
        db::sqlText(QStringLiteral(") l join ProductStructure p on p.iautoid=l.ipid left join "
                                   "ProductStructure h on h.iautoid=l.childid left join "
                                   "Inventory i on i.cInvCode=l.cpscode where 1=1"));
    if (visibleParent)
        sql += BomAccess(session_).VisibleOnly(QStringLiteral("p"));
    if (!(options_ & Leaves))
        sql += db::sqlText(QStringLiteral(" and l.childid is not null"));
    sql += where;
    if (options_ & LineOrder)
        sql += db::sqlText(QStringLiteral(" order by l.autoid"));
    return sql;
}

db::Rows BomLinks::read(const db::SqlCondition& source, const db::SqlCondition& where,
                        bool visibleParent) const {
    const db::SqlCondition sql = statement(source, where, visibleParent);
    return session_.gConn->query(sql.sql, sql.params);
}

void BomLinks::streamLinesOf(const QStringList& headerIds,
                             const std::function<void(const QStringList&)>& onColumns,
                             const std::function<void(QVariantList&&)>& onLine) const {
    db::Database& db = *session_.gConn;
    for (qsizetype start = 0; start < headerIds.size(); start += kBomsPerQuery) {
        const db::SqlCondition sql =
            statement(db::sqlText(QStringLiteral("ProductStructures l where ")) +
                          db::BoundList::in(db.dialect(), QStringLiteral("l.ipid"),
                                            headerIds.mid(start, kBomsPerQuery)),
                      {}, false);
        db.stream(sql.sql, sql.params, onColumns, onLine);
    }
}

void BomLinks::eachLineOf(const QStringList& headerIds,
                          const std::function<void(QVariantList&&)>& onLine) const {
    streamLinesOf(
        headerIds, [](const QStringList&) {}, onLine);
}

db::Rows BomLinks::linesOf(const QStringList& headerIds) const {
    db::Rows out;
    streamLinesOf(
        headerIds,
        [&](const QStringList& columns) {
            if (out.columns().isEmpty())
                out = db::Rows(columns);
        },
        [&](QVariantList&& row) { out.append(std::move(row)); });
    return out;
}

db::Rows BomLinks::linesOf(const RowSet& lines) const {
    db::Database& db = *session_.gConn;
    const QHash<QString, QString> types = db.columnTypes(QStringLiteral("ProductStructures"));
    QStringList rowTypes, renamed;
    for (const QString& column : lineColumns()) {
        renamed << QStringLiteral("c%1 as %2").arg(rowTypes.size()).arg(column);
        rowTypes << types.value(column);
    }
    std::vector<QVariantList> rows;
    for (int row : lines.notDeletedRows()) {
        QVariantList values;
        for (const QString& column : lineColumns())
            values << lines.value(row, column);
        rows.push_back(std::move(values));
    }
    return read(db::sqlText(QStringLiteral("(select ") + renamed.join(QLatin1Char(',')) +
                            QStringLiteral(" from ")) +
                    db::BoundRows::table(db.dialect(), rowTypes, rows) +
                    db::sqlText(QStringLiteral(" x) l")),
                {}, false);
}

db::Rows BomLinks::linesUsing(const QStringList& codes) const {
    return read(
        db::sqlText(QStringLiteral("ProductStructures l where ")) +
            db::BoundList::in(session_.gConn->dialect(), QStringLiteral("l.cpscode"), codes),
        {}, true);
}

db::Rows BomLinks::linesLeadingTo(const QStringList& headerIds, const QStringList& codes) const {
    const db::Dialect& dialect = session_.gConn->dialect();
    return read(db::sqlText(QStringLiteral("ProductStructures l where ")) +
                    db::BoundList::in(dialect, QStringLiteral("l.cpscode"), codes),
                db::sqlText(QStringLiteral(" and ")) +
                    db::BoundList::in(dialect, QStringLiteral("l.childid"), headerIds),
                true);
}

} // namespace bom::bomservice
