#include "BoundList.h"

#include "Dialect.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace bom::db {

SqlCondition BoundList::texts(const Dialect& dialect, const QStringList& values) {
    return {dialect.listElements(false),
            {QString::fromUtf8(
                QJsonDocument(QJsonArray::fromStringList(values)).toJson(QJsonDocument::Compact))}};
}

SqlCondition BoundList::numbers(const Dialect& dialect, const QList<qlonglong>& values) {
    // Written out by hand: a JSON number through a double would round keys past 2^53.
    QStringList digits;
    digits.reserve(values.size());
    for (qlonglong value : values)
        digits << QString::number(value);
    return {dialect.listElements(true),
            {QLatin1Char('[') + digits.join(QLatin1Char(',')) + QLatin1Char(']')}};
}

SqlCondition BoundList::in(const Dialect& dialect, const QString& column,
                           const QStringList& values) {
    return {dialect.inList(column, false), texts(dialect, values).params};
}

SqlCondition BoundList::in(const Dialect& dialect, const QString& column,
                           const QList<qlonglong>& values) {
    return {dialect.inList(column, true), numbers(dialect, values).params};
}

} // namespace bom::db
