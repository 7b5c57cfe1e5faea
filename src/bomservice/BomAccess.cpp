#include "BomAccess.h"

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

} // namespace bom::bomservice
