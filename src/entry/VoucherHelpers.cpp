#include "VoucherHelpers.h"

#include "BomIdentity.h"
#include "db/Database.h"

namespace bom::entry::VoucherHelpers {

bool TextToBool(const QVariant& value) {
    const QString text = value.toString().trimmed();
    if (text.isEmpty())
        return false;
    if (text.toUpper() == QLatin1String("TRUE") || text == QStringLiteral("是"))
        return true;
    bool ok = false;
    const double number = text.toDouble(&ok);
    return ok && number != 0;
}

bool IsSharedBom(db::Database& db, const QString& headerId) {
    return db.scalar(QStringLiteral("select count(autoid) from productstructures where "
                                    "ChildGUID=?"),
                     {headerId})
               .toInt() >= 2;
}

bool HasSubstitutes(db::Database& db, const QVariant& lineAutoid) {
    return db.scalar(QStringLiteral("select count(autoid) from ProstruOpt where autoid=?"),
                     {lineAutoid})
               .toInt() > 0;
}

bool IsBomMissing(db::Database& db, const BomIdentity& identity) {
    const db::SqlCondition match = identity.matches(QStringLiteral("cpspcode"));
    return db
        .query(QStringLiteral("select iautoid from productstructure where ") + match.sql +
                   QStringLiteral(" LIMIT 1"),
               match.params)
        .empty();
}

bool IsFlaggedLineMissing(db::Database& db, const BomIdentity& identity) {
    const db::SqlCondition match = identity.matches(QStringLiteral("cpscode"));
    return db
        .query(QStringLiteral("select autoid from productstructures where ") + match.sql +
                   QStringLiteral(" and COALESCE(ReplaceFlag,0) = 1 LIMIT 1"),
               match.params)
        .empty();
}

bool IsUnitGroupType1(db::Database& db, const QString& itemCode) {
    if (itemCode.isEmpty())
        return false;
    return db.scalar(QStringLiteral("select iGroupType from Inventory where cinvcode=?"),
                     {itemCode})
               .toInt() == 1;
}

int GetToolbarStyle(db::Database& db, const QString& userId) {
    const QVariant value = db.scalar(
        QStringLiteral("select cvalue from sys_user_setting where cuserid=? and csection=? and "
                       "cname=?"),
        {userId, QStringLiteral("SOFTWARE\\Mervale\\WF\\Appearance"),
         QStringLiteral("Toolbar Style")});
    if (value.isNull())
        return 1;
    const QString text = value.toString();
    return !text.isEmpty() && text.startsWith(QLatin1Char('T')) ? 1 : 2;
}

} // namespace bom::entry::VoucherHelpers
