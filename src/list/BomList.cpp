#include "BomList.h"

#include "db/Identifier.h"
#include "entry/Common.h"
#include "entry/RowAuthFilter.h"
#include "entry/Session.h"

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

std::optional<db::SqlCondition> BomList::fieldFilter(const QString& field, const QString& value,
                                                     QString* error) const {
    const entry::RefColumns columns =
        entry::Common::GetRefColumns(session_, QLatin1String(kParentColumns));
    QStringList names;
    for (const auto& c : columns.colSet)
        names << c.fieldName;
    const QString column = db::matchName(names, field.trimmed());
    if (column.isEmpty()) {
        if (error)
            *error = QStringLiteral("列表没有字段“%1”，可用的字段：%2").arg(field, names.join(','));
        return std::nullopt;
    }
    return db::SqlCondition{column + QStringLiteral(" = ?"), {value}};
}

db::SqlCondition BomList::parentQuery(const db::SqlCondition& filter) const {
    const entry::RefColumns columns =
        entry::Common::GetRefColumns(session_, QLatin1String(kParentColumns));
    db::SqlCondition sql =
        db::sqlText(QStringLiteral("select ") + withKeyColumns(columns.selectList, kParentKeys) +
                    QStringLiteral(" from pp_q_bomtreet  where 1=1"));
    if (!filter.sql.trimmed().isEmpty())
        sql += db::sqlText(QStringLiteral(" and  ")) + filter;
    sql += entry::RowAuthFilter(session_).GetBomAuthFilter();
    if (!columns.orderBy.isEmpty())
        sql += db::sqlText(columns.orderBy);
    return sql;
}

db::SqlCondition BomList::componentQuery(const QString& headerId) const {
    const entry::RefColumns columns =
        entry::Common::GetRefColumns(session_, QLatin1String(kComponentColumns));
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
        ListRow row{int(i) + 1, false, {}};
        for (const QString& column : rows.columns())
            row.cells.insert(column.toLower(), rows.value(i, column));
        out.push_back(std::move(row));
    }
    return out;
}

} // namespace bom::list
