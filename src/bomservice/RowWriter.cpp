#include "RowWriter.h"

#include "db/Database.h"
#include "db/DbError.h"
#include "db/ValueTypes.h"
#include "entry/VoucherHelpers.h"
#include "suite/Login.h"

#include <QSqlField>
#include <cmath>

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

// Display texts the writer turns into stored numbers itself: any text is acceptable.
bool isDisplayFlag(const QString& column, QMetaType::Type type) {
    const QString upper = column.toUpper();
    return upper == QLatin1String("REPLACEFLAG") || upper == QLatin1String("BSTOPFLAG") ||
           upper == QLatin1String("BMRCBBOM") || upper == QLatin1String("WIPTYPE") ||
           (db::isNumericType(type) && upper.startsWith(QLatin1Char('B')));
}

bool isWholeNumberType(QMetaType::Type type) {
    return db::isNumericType(type) && type != QMetaType::Double && type != QMetaType::Float;
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
    t.textLimits = db_.textLimits(table);
    const db::Rows captions = db_.query(
        QStringLiteral("Select fieldname, carditemname from voucheritems where vt_id=? and "
                       "cardsection=?"),
        {templateId_, isBody ? QStringLiteral("B") : QStringLiteral("T")});
    for (std::size_t i = 0; i < captions.size(); ++i)
        t.captions.insert(captions.text(i, "fieldname").toLower(),
                          captions.text(i, "carditemname"));
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
        const auto number = entry::VoucherHelpers::ToNumber(shown);
        if (!number)
            throw db::DbError(QStringLiteral("字段%1的值不是数字：%2").arg(column, text));
        return *number;
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
        if (rows.value(row, column).isNull())
            continue; // not carried, or null: the table's default or stored value stands
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
    QString where = isBody ? QStringLiteral("autoid=?") : QStringLiteral("iAutoId=?");
    if (isBody) { // a line of another BOM is never changed through this card
        where += QStringLiteral(" and ipid=?");
        values << rows.text(row, QStringLiteral("ipid"));
    }
    const int changed =
        sets.isEmpty()
            ? 1
            : db_.exec(
                  QStringLiteral("Update %1 set %2 where %3").arg(table, sets.join(','), where),
                  values);
    if (changed == 0)
        *outcome = Outcome::NoRowUpdated;
    return key;
}

QString RowWriter::checkValue(const Table& t, int field, const QVariant& value, bool isBody) const {
    const QString column = t.record.fieldName(field);
    const QString name = column.toLower();
    const auto type = QMetaType::Type(t.record.field(field).metaType().id());
    if (isBody) {
        const QString refusal = entry::VoucherHelpers::CheckLineNumber(name, value);
        if (!refusal.isEmpty())
            return refusal;
    }
    const QString caption = t.captions.value(name);
    const QString shownName =
        caption.isEmpty() ? column : QStringLiteral("%1（%2）").arg(caption, column);
    const QString text = value.toString();
    if (text.contains(QChar(0)))
        return shownName + QStringLiteral("含有非法字符！");
    if (isDisplayFlag(column, type) || text.trimmed().isEmpty())
        return {};
    if (db::isNumericType(type)) {
        const auto number = entry::VoucherHelpers::ToNumber(value);
        if (!number)
            return shownName + QStringLiteral("必须为数字！");
        if (isWholeNumberType(type) && (*number != std::floor(*number) || std::abs(*number) > 9e15))
            return shownName + QStringLiteral("必须为整数！");
        return {};
    }
    const int limit = t.textLimits.value(name, 0);
    if (limit > 0 && text.size() > limit)
        return shownName + QStringLiteral("不能超过%1个字符！").arg(limit);
    return {};
}

QString RowWriter::CheckRow(const QString& table, const RowSet& rows, int row, bool isBody) {
    const Table& t = tableOf(table, isBody);
    for (int i = 0; i < t.record.count(); ++i) {
        const QVariant value = rows.value(row, t.record.fieldName(i));
        const QString refusal = checkValue(t, i, value, isBody);
        if (!refusal.isEmpty())
            return refusal;
    }
    return {};
}

} // namespace bom::bomservice
