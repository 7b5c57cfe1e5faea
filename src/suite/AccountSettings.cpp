#include "AccountSettings.h"

#include "db/Database.h"

namespace bom::suite {

QString AccountSettings::value(const QString& system, const QString& name) {
    return db_
        .scalar(QStringLiteral("select cValue from AccInformation where cSysID=? and cName=?"),
                {system, name})
        .toString();
}

bool AccountSettings::set(const QString& system, const QString& name) {
    const QString on = QStringLiteral("1");
    return db_.exec(QStringLiteral("update AccInformation set cValue=? where cSysID=? and "
                                   "cName=? and COALESCE(cValue, '')<>?"),
                    {on, system, name, on}) > 0;
}

} // namespace bom::suite
