#include "RowWriter.h"

#include "db/Database.h"
#include "db/DbError.h"
#include "db/ValueTypes.h"
#include "entry/VoucherHelpers.h"
#include "suite/Login.h"

#include <QSqlField>

namespace bom::bomservice {
namespace {

// Columns the database keeps by itself: keys, links the save sets separately, row versions.
bool writtenBySomethingElse(const QString& column, bool isBody) {
    const QString upper = column.toUpper();
    if (upper == QLatin1String("PUBQZTS") || upper == QLatin1String("AUTOID") ||
        upper == QLatin1String("QZTS") || upper == QLatin1String("PSID") ||
        upper == QLatin1String("COMPSUBID"))
        return true;
    return isBody ? upper == QLatin1String("CHILDGUID") : upper == QLatin1String("ID");
}

bool isDate(QMetaType::Type type) {
    return type == QMetaType::QDate || type == QMetaType::QDateTime;
}

} // namespace

const RowWriter::Table& RowWriter::tableOf(const QString& table, bool isBody) {
    const QString key = table.toLower() + (isBody ? QStringLiteral("/B") : QStringLiteral("/T"));
    auto found = tables_.find(key);
    if (found != tables_.end())
        return *found;
    Table t;
    t.record = db_.recordOf(table);
    if (t.record.isEmpty())
        throw db::DbError(QStringLiteral("表%1不存在").arg(table));
    const db::Rows system = db_.query(
        QStringLiteral("Select fieldname from voucheritems where vt_id=? and cardsection=? and "
                       "lower(refertable)='system'"),
        {templateId_, isBody ? QStringLiteral("B") : QStringLiteral("T")});
    for (std::size_t i = 0; i < system.size(); ++i)
        t.systemFields << system.text(i, "fieldname").toLower();
    return *tables_.insert(key, t);
}

QVariant RowWriter::storedValue(const QString& column, QMetaType::Type type,
                                const QVariant& shown) const {
    const QString upper = column.toUpper();
    const QString text = shown.toString().trimmed();
    if (upper == QLatin1String("REPLACEFLAG") || upper == QLatin1String("BSTOPFLAG") ||
        upper == QLatin1String("BMRCBBOM"))
        return text == QStringLiteral("是") ? 1 : 0;
    if (upper == QLatin1String("WIPTYPE"))
        return text == QStringLiteral("入库倒冲") ? 1 : text == QStringLiteral("正常领料") ? 3 : 0;
    if (db::isNumericType(type) && upper.startsWith(QLatin1Char('B')))
        return entry::VoucherHelpers::TextToBool(shown) ? 1 : 0; // flags shown as "是"/"否"
    if (shown.isNull() || text.isEmpty())
        return {};
    if (db::isNumericType(type)) {
        bool ok = false;
        const double number =
            shown.typeId() == QMetaType::QString ? text.toDouble(&ok) : shown.toDouble(&ok);
        if (!ok)
            throw db::DbError(QStringLiteral("字段%1的值不是数字：%2").arg(column, text));
        return number;
    }
    return isDate(type) ? QVariant(text) : QVariant(shown.toString());
}

QVariant RowWriter::WriteRow(const QString& table, const RowSet& rows, int row, int mode,
                             bool isBody, const QVariant& key, Outcome* outcome) {
    const Table& t = tableOf(table, isBody);
    QStringList columns;
    db::Params values;
    for (int i = 0; i < t.record.count(); ++i) {
        const QString column = t.record.fieldName(i);
        const auto type = QMetaType::Type(t.record.field(i).metaType().id());
        if (writtenBySomethingElse(column, isBody))
            continue;
        if (!isBody && column.compare(QLatin1String("iautoid"), Qt::CaseInsensitive) == 0) {
            if (mode == 0) {
                columns << column;
                values << key;
            }
            continue;
        }
        if (t.systemFields.contains(column.toLower())) {
            columns << column;
            values << (isDate(type) ? QVariant(login_.CurDate.toString(Qt::ISODate))
                                    : QVariant(login_.cUserName));
            continue;
        }
        if (!rows.hasColumn(column))
            continue;
        columns << column;
        values << storedValue(column, type, rows.value(row, column));
    }
    *outcome = Outcome::Written;
    if (mode == 0) {
        QStringList marks;
        for (int i = 0; i < columns.size(); ++i)
            marks << QStringLiteral("?");
        return db_.insertReturning(
            QStringLiteral("insert into %1(%2) values(%3) RETURNING %4")
                .arg(table, columns.join(','), marks.join(','),
                     isBody ? QStringLiteral("autoid") : QStringLiteral("ID")),
            values);
    }
    QStringList sets;
    for (const QString& column : columns)
        sets << column + QStringLiteral("=?");
    values << key;
    const int changed =
        db_.exec(QStringLiteral("Update %1 set %2 where %3=?")
                     .arg(table, sets.join(','),
                          isBody ? QStringLiteral("autoid") : QStringLiteral("iAutoId")),
                 values);
    if (changed == 0)
        *outcome = Outcome::NoRowUpdated;
    return key;
}

} // namespace bom::bomservice
