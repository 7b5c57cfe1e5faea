#include "BomAccess.h"

#include "db/BoundList.h"
#include "entry/BomIdentity.h"
#include "entry/RowAuthFilter.h"
#include "entry/Session.h"

namespace bom::bomservice {

bool BomAccess::MayTouch(const QString& headerId) const {
    if (headerId.isEmpty())
        return false;
    const db::SqlCondition sql =
        db::SqlCondition{QStringLiteral("select 1 from pp_q_bomtreet where iautoid=?"),
                         {headerId}} +
        entry::RowAuthFilter(session_).GetBomAuthFilter();
    return !session_.gConn->query(sql.sql, sql.params).empty();
}

QSet<QString> BomAccess::Touchable(const QStringList& headerIds) const {
    QSet<QString> out;
    if (headerIds.isEmpty())
        return out;
    db::Database& db = *session_.gConn;
    const db::SqlCondition rights = entry::RowAuthFilter(session_).GetBomAuthFilter();
    // Unrestricted, every BOM there is may be touched: the headers answer without the view.
    const db::SqlCondition sql =
        db::sqlText(rights.isEmpty() ? QStringLiteral("select iautoid from ProductStructure where ")
                                     : QStringLiteral("select iautoid from pp_q_bomtreet where ")) +
        db::BoundList::in(db.dialect(), QStringLiteral("iautoid"), headerIds) + rights;
    const db::Rows rows = db.query(sql.sql, sql.params);
    for (std::size_t i = 0; i < rows.size(); ++i)
        out.insert(rows.at(i).at(0).toString());
    return out;
}

QString BomAccess::HeaderOfLine(const QVariant& autoid) const {
    bool isNumber = false;
    const qlonglong id = autoid.toString().trimmed().toLongLong(&isNumber);
    if (!isNumber)
        return {};
    const QString headerId =
        session_.gConn
            ->scalar(QStringLiteral("select ipid from ProductStructures where autoid=?"), {id})
            .toString();
    return MayTouch(headerId) ? headerId : QString();
}

QString BomAccess::BomNamed(const QString& idOrCode) const {
    const QString named = idOrCode.trimmed();
    if (named.isEmpty())
        return {};
    if (MayTouch(named))
        return named;
    return BomOfIdentity(entry::BomIdentity{named, {}, {}});
}

QString BomAccess::BomOfIdentity(const entry::BomIdentity& identity) const {
    const db::SqlCondition sql =
        db::sqlText(QStringLiteral("select h.iautoid from ProductStructure h where ")) +
        identity.matches(QStringLiteral("cpspcode"), QStringLiteral("h")) +
        VisibleOnly(QStringLiteral("h")) +
        db::sqlText(QStringLiteral(" order by h.iautoid LIMIT 1"));
    return session_.gConn->scalar(sql.sql, sql.params).toString();
}

db::SqlCondition BomAccess::VisibleOnly(const QString& header) const {
    const db::SqlCondition filter = entry::RowAuthFilter(session_).GetBomAuthFilter();
    if (filter.isEmpty())
        return {};
    // The filter is written over the list's view; a keyed look-up per BOM asked about.
    return db::sqlText(QStringLiteral(" and exists (select 1 from pp_q_bomtreet where "
                                      "pp_q_bomtreet.iautoid=%1.iautoid")
                           .arg(header)) +
           filter + db::sqlText(QStringLiteral(")"));
}

} // namespace bom::bomservice
