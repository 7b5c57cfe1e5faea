#include "BomList.h"

#include "db/Identifier.h"
#include "db/ValueTypes.h"
#include "entry/Common.h"
#include "entry/RowAuthFilter.h"
#include "entry/Session.h"

#include <QSqlField>
#include <QSqlRecord>
#include <algorithm>

namespace bom::list {

namespace {

// The commands read these cells whatever columns the operator chose to see.
QString withKeyColumns(const QString& selectList, const QStringList& keys) {
    QStringList columns = selectList.split(',', Qt::SkipEmptyParts);
    for (const QString& key : keys)
        if (db::matchName(columns, key).isEmpty())
            columns << key;
    return columns.join(',');
}

const QStringList kParentKeys{"iautoid", "cpspcode", "ccheck", "bstopflag", "bmrcbbom", "qzts"};
const QStringList kComponentKeys{"autoid", "ipid", "cpscode"};

} // namespace

const QStringList& BomList::fixedParentColumns() {
    // The identity (parent, sales order, ten free items) first, then the state a script acts
    // on; qzts is the version a card delete must name.
    static const QStringList columns{
        "iautoid",  "cpspcode", "cinvname",  "cinvstd",  "csocode", "cfree1", "cfree2",  "cfree3",
        "cfree4",   "cfree5",   "cfree6",    "cfree7",   "cfree8",  "cfree9", "cfree10", "cdepcode",
        "cdepname", "ccheck",   "bstopflag", "bmrcbbom", "bexpand", "fbzcb",  "cmemo",   "qzts"};
    return columns;
}

QStringList BomList::parentViewColumns() const {
    const db::Rows none =
        session_.gConn->query(QStringLiteral("select * from pp_q_bomtreet where 1=2"));
    QStringList names;
    for (const QString& name : none.columns())
        names << name.toLower();
    return names;
}

std::optional<QStringList> BomList::viewColumns(const QStringList& names, QString* error) const {
    const QStringList known = parentViewColumns();
    QStringList out;
    for (const QString& name : names) {
        const QString column = db::matchName(known, name.trimmed());
        if (column.isEmpty()) {
            if (error)
                *error =
                    QStringLiteral("列表没有字段“%1”，可用的字段：%2").arg(name, known.join(','));
            return std::nullopt;
        }
        out << column;
    }
    return out;
}

std::optional<db::SqlCondition> BomList::fieldFilter(const QString& field, const QString& value,
                                                     QString* error) const {
    const auto column = viewColumns({field}, error);
    if (!column)
        return std::nullopt;
    return db::SqlCondition{column->first() + QStringLiteral(" = ?"), {value}};
}

db::SqlCondition BomList::withFilters(db::SqlCondition sql, const db::SqlCondition& filter) const {
    if (!filter.sql.trimmed().isEmpty())
        sql += db::sqlText(QStringLiteral(" and  ")) + filter;
    sql += entry::RowAuthFilter(session_).GetBomAuthFilter();
    return sql;
}

db::Keyset BomList::parentKeyset() const {
    return keysetOf(entry::Common::GetRefColumns(session_, QLatin1String(kParentColumns)).colSet);
}

db::Keyset BomList::keysetOf(const std::vector<suite::ColumnSetting>& columns) const {
    std::vector<suite::ColumnSetting> sorted;
    for (const suite::ColumnSetting& c : columns)
        if (c.sort == QLatin1String("asc") || c.sort == QLatin1String("desc"))
            sorted.push_back(c);
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return a.sortOrder < b.sortOrder; });
    std::vector<db::Keyset::Key> keys;
    // The view's value types tell numeric keys; not needed when only the header key sorts.
    const QSqlRecord view =
        sorted.empty() ? QSqlRecord() : session_.gConn->recordOf(QStringLiteral("pp_q_bomtreet"));
    for (const suite::ColumnSetting& c : sorted) {
        const int field = view.indexOf(c.fieldName.section('.', -1));
        if (field < 0 || c.fieldName.compare(QLatin1String("iautoid"), Qt::CaseInsensitive) == 0)
            continue;
        keys.push_back({c.fieldName, c.sort == QLatin1String("desc"),
                        db::isNumericType(view.field(field).metaType().id())});
    }
    keys.push_back({QStringLiteral("iautoid"), false, false}); // tells every header apart
    return db::Keyset(std::move(keys));
}

BomList::ParentPages BomList::parentPages(const db::SqlCondition& filter) const {
    entry::RefColumns columns =
        entry::Common::GetRefColumns(session_, QLatin1String(kParentColumns));
    db::Keyset keyset = keysetOf(columns.colSet);
    db::SqlCondition head = withFilters(
        db::sqlText(QStringLiteral("select ") + withKeyColumns(columns.selectList, kParentKeys) +
                    QLatin1Char(',') + keyset.selectList() +
                    QStringLiteral(" from pp_q_bomtreet  where 1=1")),
        filter);
    return ParentPages(std::move(head), std::move(keyset), std::move(columns.colSet));
}

db::SqlCondition BomList::ParentPages::page(const QVariantList& lastKey, int limit) const {
    return head_ + keyset_.after(lastKey) +
           db::sqlText(keyset_.orderBy() + QStringLiteral(" limit %1").arg(limit));
}

db::SqlCondition BomList::ParentPages::pageBefore(const QVariantList& firstKey, int limit) const {
    const db::Keyset backwards = keyset_.reversed();
    return head_ + backwards.after(firstKey) +
           db::sqlText(backwards.orderBy() + QStringLiteral(" limit %1").arg(limit));
}

db::SqlCondition BomList::ParentPages::row(const QString& headerId) const {
    return head_ + db::SqlCondition{QStringLiteral(" and iautoid=? limit 1"), {headerId}};
}

db::SqlCondition BomList::parentPage(const db::SqlCondition& filter, const QVariantList& lastKey,
                                     int limit) const {
    return parentPages(filter).page(lastKey, limit);
}

int BomList::parentCount(const db::SqlCondition& filter) const {
    db::Database& db = *session_.gConn;
    if (filter.sql.trimmed().isEmpty()) {
        const suite::RowAuth& auth = *session_.gRowAuth;
        const entry::RowAuthFilter::BomScopes scopes{auth.scope(QStringLiteral("Department")),
                                                     auth.scope(QStringLiteral("Inventory")),
                                                     auth.scope(QStringLiteral("Warehouse"))};
        if (scopes.seesNothing())
            return 0;
        // Every header is one row of the list; the rights hide exactly the kept hidden BOMs.
        const QString headers = QStringLiteral("select count(*) from ProductStructure");
        if (!scopes.decidedRowByRow())
            return db.scalar(headers).toInt();
        return db
            .scalar(QStringLiteral("select (%1) - (select count(*) from sys_bom_hidden "
                                   "where cuserid=?)")
                        .arg(headers),
                    {session_.gUserId})
            .toInt();
    }
    const db::SqlCondition sql = withFilters(
        db::sqlText(QStringLiteral("select count(*) from pp_q_bomtreet  where 1=1")), filter);
    return db.scalar(sql.sql, sql.params).toInt();
}

db::SqlCondition BomList::parentQuery(const db::SqlCondition& filter) const {
    const entry::RefColumns columns =
        entry::Common::GetRefColumns(session_, QLatin1String(kParentColumns));
    db::SqlCondition sql = withFilters(
        db::sqlText(QStringLiteral("select ") + withKeyColumns(columns.selectList, kParentKeys) +
                    QStringLiteral(" from pp_q_bomtreet  where 1=1")),
        filter);
    if (!columns.orderBy.isEmpty())
        sql += db::sqlText(columns.orderBy);
    return sql;
}

db::SqlCondition BomList::fixedParentQuery(const QStringList& columns,
                                           const db::SqlCondition& filter) const {
    return withFilters(db::sqlText(QStringLiteral("select ") + columns.join(',') +
                                   QStringLiteral(" from pp_q_bomtreet  where 1=1")),
                       filter) +
           db::sqlText(QStringLiteral(" order by cpspcode, cfree1, cfree2, iautoid"));
}

db::SqlCondition BomList::componentQuery(const QString& headerId) const {
    return componentQuery(entry::Common::GetRefColumns(session_, QLatin1String(kComponentColumns)),
                          headerId);
}

db::SqlCondition BomList::componentQuery(const entry::RefColumns& columns,
                                         const QString& headerId) {
    const QString select =
        QStringLiteral("select ") + withKeyColumns(columns.selectList, kComponentKeys);
    if (headerId.isEmpty())
        return db::sqlText(select + QStringLiteral(" from pp_q_bomtreew  where 1=2"));
    return db::SqlCondition{select + QStringLiteral(" from pp_q_bomtreew  where ipid=?"),
                            {headerId}} +
           db::sqlText(columns.orderBy);
}

std::vector<ListRow> BomList::listRows(const db::Rows& rows) {
    std::vector<ListRow> out;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        ListRow row{int(i) + 1, false, {}, rows.columns()};
        for (const QString& column : rows.columns())
            row.cells.insert(column.toLower(), rows.value(i, column));
        out.push_back(std::move(row));
    }
    return out;
}

} // namespace bom::list
