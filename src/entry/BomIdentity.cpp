#include "BomIdentity.h"

namespace bom::entry {

BomIdentity BomIdentity::trimmed() const {
    BomIdentity out{code.trimmed(), salesOrder.trimmed(), {}};
    for (std::size_t i = 0; i < free.size(); ++i)
        out.free[i] = free[i].trimmed();
    return out;
}

db::SqlCondition BomIdentity::matches(const QString& codeColumn, const QString& alias) const {
    const BomIdentity value = trimmed();
    const QString prefix = alias.isEmpty() ? QString() : alias + QLatin1Char('.');
    db::SqlCondition out{prefix + codeColumn + QStringLiteral("=? and COALESCE(") + prefix +
                             QStringLiteral("csocode,'')=?"),
                         {value.code, value.salesOrder}};
    for (std::size_t i = 0; i < free.size(); ++i) {
        out.sql += QStringLiteral(" and COALESCE(%1cfree%2,'')=?").arg(prefix).arg(i + 1);
        out.params << value.free[i];
    }
    return out;
}

QString BomIdentity::headersMatch(const QString& one, const QString& other) {
    QString sql = QStringLiteral("%1.cpspcode=%2.cpspcode and COALESCE(%1.csocode,'')="
                                 "COALESCE(%2.csocode,'')")
                      .arg(one, other);
    for (int i = 1; i <= 10; ++i)
        sql += QStringLiteral(" and COALESCE(%1.cfree%3,'')=COALESCE(%2.cfree%3,'')")
                   .arg(one, other)
                   .arg(i);
    return sql;
}

QString BomIdentity::headerMatchesLine(const QString& header, const QString& line) {
    const QString none = QStringLiteral("'%1'").arg(QLatin1String(kNoSalesOrder));
    QString sql = QStringLiteral("%1.cpspcode=%2.cpscode and COALESCE(%1.csocode,%3)="
                                 "COALESCE(%2.csocode,%3)")
                      .arg(header, line, none);
    for (int i = 1; i <= 10; ++i)
        sql += QStringLiteral(" and COALESCE(%1.cfree%3,'')=COALESCE(%2.cfree%3,'')")
                   .arg(header, line)
                   .arg(i);
    return sql;
}

QString BomIdentity::isDefaultBom(const QString& header) {
    QString sql = QStringLiteral("COALESCE(%1.csocode,'')=''").arg(header);
    for (int i = 1; i <= 10; ++i)
        sql += QStringLiteral(" and COALESCE(%1.cfree%2,'')=''").arg(header).arg(i);
    return sql;
}

} // namespace bom::entry
