#include "RowWriter.h"

#include "db/Database.h"
#include "db/DbError.h"
#include "db/ValueTypes.h"
#include "entry/VoucherHelpers.h"
#include "suite/Login.h"

#include <QSet>
#include <QSqlField>
#include <algorithm>
#include <cmath>

namespace bom::bomservice {

namespace {

bool isRowVersion(const QString& column) {
    return column.compare(QLatin1String("qzts"), Qt::CaseInsensitive) == 0 ||
           column.compare(QLatin1String("pubqzts"), Qt::CaseInsensitive) == 0;
}

bool isDate(QMetaType::Type type) {
    return type == QMetaType::QDate || type == QMetaType::QDateTime;
}

bool isWholeNumberType(QMetaType::Type type) {
    return db::isNumericType(type) && type != QMetaType::Double && type != QMetaType::Float;
}

// Lines per multi-row insert or update at most: more gained nothing measurable.
constexpr int kMaxRowsPerStatement = 200;

} // namespace

const BodyTable& BodyTable::lines() {
    static const BodyTable table{QStringLiteral("ProductStructures"),
                                 QStringLiteral("autoid"),
                                 QStringLiteral("ipid"),
                                 QStringLiteral("psid"),
                                 {QStringLiteral("childguid")},
                                 {QStringLiteral("ipid"), QStringLiteral("cpspcode")},
                                 true};
    return table;
}

bool BodyTable::writtenBySomethingElse(const QString& column) const {
    return isRowVersion(column) || column.compare(key, Qt::CaseInsensitive) == 0 ||
           (!headerNumber.isEmpty() && column.compare(headerNumber, Qt::CaseInsensitive) == 0) ||
           setBySave.contains(column, Qt::CaseInsensitive);
}

bool RowWriter::WrittenBySomethingElse(const QString& column, bool isBody) {
    if (isBody)
        return BodyTable::lines().writtenBySomethingElse(column);
    return isRowVersion(column) || column.compare(QLatin1String("ID"), Qt::CaseInsensitive) == 0;
}

std::optional<int> RowWriter::StoredFlag(const QString& column, const QVariant& shown,
                                         bool numeric) {
    const QString upper = column.toUpper();
    const QString text = shown.toString().trimmed();
    if (upper == QLatin1String("REPLACEFLAG") || upper == QLatin1String("BSTOPFLAG") ||
        upper == QLatin1String("BMRCBBOM"))
        return text == QStringLiteral("是") ? 1 : 0;
    if (upper == QLatin1String("WIPTYPE"))
        return text == QStringLiteral("入库倒冲") ? 1 : text == QStringLiteral("正常领料") ? 3 : 0;
    if (numeric && upper.startsWith(QLatin1Char('B'))) // other flags, shown as "是"/"否"
        return entry::VoucherHelpers::TextToBool(shown) ? 1 : 0;
    return std::nullopt;
}

const RowWriter::Table& RowWriter::tableOf(const QString& table, const BodyTable* body) {
    const bool isBody = body != nullptr;
    const QString key = table.toLower() + (isBody ? QStringLiteral("/B") : QStringLiteral("/T"));
    auto found = tables_.find(key);
    if (found != tables_.end())
        return *found;
    const QSqlRecord record = db_.recordOf(table);
    if (record.isEmpty())
        throw db::DbError(QStringLiteral("表%1不存在").arg(table));
    QStringList systemFields;
    const db::Rows system = db_.query(
        QStringLiteral("Select fieldname from voucheritems where vt_id=? and cardsection=? and "
                       "lower(refertable)='system'"),
        {templateId_, isBody ? QStringLiteral("B") : QStringLiteral("T")});
    for (std::size_t i = 0; i < system.size(); ++i)
        systemFields << system.text(i, "fieldname").toLower();
    const QHash<QString, int> textLimits = db_.textLimits(table);
    QHash<QString, QString> captions;
    const db::Rows rows = db_.query(
        QStringLiteral("Select fieldname, carditemname from voucheritems where vt_id=? and "
                       "cardsection=?"),
        {templateId_, isBody ? QStringLiteral("B") : QStringLiteral("T")});
    for (std::size_t i = 0; i < rows.size(); ++i)
        captions.insert(rows.text(i, "fieldname").toLower(), rows.text(i, "carditemname"));

    Table t;
    t.isBody = isBody;
    for (int i = 0; i < record.count(); ++i) {
        Column c;
        c.name = record.fieldName(i);
        c.lower = c.name.toLower();
        c.type = QMetaType::Type(record.field(i).metaType().id());
        const bool numeric = db::isNumericType(c.type);
        if (isBody ? body->writtenBySomethingElse(c.name) : WrittenBySomethingElse(c.name, false))
            c.kind = Kind::Skip;
        else if (!isBody && c.lower == QLatin1String("iautoid"))
            c.kind = Kind::HeaderKey;
        else if (systemFields.contains(c.lower))
            c.kind = Kind::System;
        else if (StoredFlag(c.name, {}, numeric))
            c.kind = Kind::Flag;
        else if (numeric)
            c.kind = Kind::Number;
        else if (isDate(c.type))
            c.kind = Kind::Date;
        // Every entry rule refuses a text that is no number; other columns have none.
        c.entryRule =
            isBody && body->lineEntryRules &&
            !entry::VoucherHelpers::CheckLineNumber(c.lower, QStringLiteral("x")).isEmpty();
        // Words the writer turns into stored numbers itself: any text is acceptable.
        c.displayFlag = StoredFlag(c.name, {}, numeric).has_value();
        c.wholeNumber = isWholeNumberType(c.type);
        c.limit = textLimits.value(c.lower, 0);
        const QString caption = captions.value(c.lower);
        c.shownName = caption.isEmpty() ? c.name : QStringLiteral("%1（%2）").arg(caption, c.name);
        t.columns.push_back(c);
    }
    return *tables_.insert(key, t);
}

std::vector<int> RowWriter::cellsOf(const Table& t, const RowSet& rows) {
    std::vector<int> cells;
    cells.reserve(t.columns.size());
    for (const Column& c : t.columns)
        cells.push_back(rows.columnIndex(c.lower));
    return cells;
}

QVariant RowWriter::storedValue(const Column& c, const QVariant& shown) const {
    if (c.kind == Kind::Flag)
        return *StoredFlag(c.name, shown, true);
    const QString text = shown.toString().trimmed();
    if (shown.isNull() || text.isEmpty())
        return {};
    if (c.kind == Kind::Number) {
        const auto number = entry::VoucherHelpers::ToNumber(shown);
        if (!number)
            throw db::DbError(QStringLiteral("字段%1的值不是数字：%2").arg(c.name, text));
        return *number;
    }
    return c.kind == Kind::Date ? QVariant(text) : QVariant(shown.toString());
}

void RowWriter::rowValues(const Table& t, const std::vector<int>& cells, const RowSet& rows,
                          int row, int mode, const QVariant& key, QStringList& columns,
                          db::Params& values) const {
    for (std::size_t i = 0; i < t.columns.size(); ++i) {
        const Column& c = t.columns[i];
        switch (c.kind) {
        case Kind::Skip:
            continue;
        case Kind::HeaderKey:
            if (mode == 0) {
                columns << c.name;
                values << key;
            }
            continue;
        case Kind::System:
            columns << c.name;
            values << (isDate(c.type) ? QVariant(login_.CurDate.toString(Qt::ISODate))
                                      : QVariant(login_.cUserName));
            continue;
        default:
            break;
        }
        const QVariant& shown = rows.cell(row, cells[i]);
        if (shown.isNull())
            continue; // not carried, or null: the table's default or stored value stands
        columns << c.name;
        values << storedValue(c, shown);
    }
}

QVariant RowWriter::WriteRow(const QString& table, const RowSet& rows, int row, int mode,
                             bool isBody, const QVariant& key, Outcome* outcome) {
    const BodyTable* body = isBody ? &BodyTable::lines() : nullptr;
    const Table& t = tableOf(table, body);
    QStringList columns;
    db::Params values;
    rowValues(t, cellsOf(t, rows), rows, row, mode, key, columns, values);
    *outcome = Outcome::Written;
    if (mode == 0) {
        QStringList marks;
        for (int i = 0; i < columns.size(); ++i)
            marks << QStringLiteral("?");
        return db_.insertReturning(QStringLiteral("insert into %1(%2) values(%3) RETURNING %4")
                                       .arg(table, columns.join(','), marks.join(','),
                                            isBody ? body->key : QStringLiteral("ID")),
                                   values);
    }
    QStringList sets;
    for (const QString& column : columns)
        sets << column + QStringLiteral("=?");
    values << key;
    QString where = isBody ? body->key + QStringLiteral("=?") : QStringLiteral("iAutoId=?");
    if (isBody) { // a line of another BOM is never changed through this card
        where += QStringLiteral(" and %1=?").arg(body->parentLink);
        values << rows.text(row, body->parentLink);
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

bool RowWriter::WriteLines(const BodyTable& body, RowSet& rows, const std::vector<int>& which,
                           const QVariant& headerNumber) {
    const Table& t = tableOf(body.table, &body);
    int keyCell = rows.columnIndex(body.key);
    if (keyCell < 0)
        keyCell = rows.addColumn(RowSetColumn{body.key});
    const std::vector<int> cells = cellsOf(t, rows);
    const int propCell = rows.columnIndex(QStringLiteral("editprop"));
    const int linkCell = rows.columnIndex(body.parentLink);
    // psid is the header's ID whoever writes the line; naming it spares the trigger a look-up.
    const bool withPsid = !body.headerNumber.isEmpty() && !headerNumber.isNull();
    const int maxValues = db_.dialect().valuesPerStatement();

    // Added rows go in runs of rows that carry the same columns, one statement per run, in
    // row order so that keys still grow with the card's order.
    QStringList runColumns;
    std::vector<int> runRows;
    std::vector<db::Params> runValues;
    auto flush = [&] {
        if (!runRows.empty())
            insertLines(body, runColumns, rows, runRows, runValues, keyCell);
        runRows.clear();
        runValues.clear();
    };
    // Modified rows likewise, each group's rows with distinct keys: a key named twice is
    // written twice, in row order, as one statement per row would.
    QStringList groupColumns;
    std::vector<db::Params> groupValues;
    QSet<QString> groupKeys;
    auto flushUpdates = [&] {
        const bool written =
            groupValues.empty() || updateLines(body, groupColumns, groupValues, headerNumber);
        groupValues.clear();
        groupKeys.clear();
        return written;
    };
    for (int row : which) {
        QStringList columns;
        db::Params values;
        if (rows.cell(row, propCell).toString() == QLatin1String("A")) {
            rowValues(t, cells, rows, row, 0, {}, columns, values);
            if (withPsid) {
                columns << body.headerNumber;
                values << headerNumber;
            }
            const int perRow = std::max<int>(1, int(columns.size()));
            if (columns != runColumns || int(runRows.size()) >= maxValues / perRow ||
                int(runRows.size()) >= kMaxRowsPerStatement) {
                flush();
                runColumns = columns;
            }
            runRows.push_back(row);
            runValues.push_back(std::move(values));
            continue;
        }
        const QVariant key = rows.cell(row, keyCell);
        rowValues(t, cells, rows, row, 1, key, columns, values);
        if (columns.isEmpty())
            continue; // nothing to change
        QStringList sets;
        db::Params bound{key, rows.cell(row, linkCell)};
        for (int i = 0; i < columns.size(); ++i) {
            // The row stays with the header its link names (the where clause).
            if (columns[i].compare(body.parentLink, Qt::CaseInsensitive) == 0)
                continue;
            sets << columns[i];
            bound << values[i];
        }
        if (sets.isEmpty() && !withPsid)
            continue; // nothing but the link, which stays
        const QString keyText = key.toString();
        if (sets != groupColumns || groupKeys.contains(keyText) ||
            int(groupValues.size()) >= kMaxRowsPerStatement ||
            int(groupValues.size() + 1) * int(bound.size()) > maxValues) {
            if (!flushUpdates())
                return false;
            groupColumns = sets;
        }
        groupKeys.insert(keyText);
        groupValues.push_back(std::move(bound));
    }
    if (!flushUpdates())
        return false;
    flush();
    return true;
}

bool RowWriter::updateLines(const BodyTable& body, const QStringList& columns,
                            const std::vector<db::Params>& values, const QVariant& headerNumber) {
    const QString& table = body.table;
    const bool withPsid = !body.headerNumber.isEmpty() && !headerNumber.isNull();
    if (values.size() == 1) { // the statement every single change reuses
        QStringList sets;
        for (const QString& column : columns)
            sets << column + QStringLiteral("=?");
        db::Params bound = values.front().mid(2);
        if (withPsid) {
            sets << body.headerNumber + QStringLiteral("=?");
            bound << headerNumber;
        }
        bound << values.front()[0] << values.front()[1];
        return db_.exec(QStringLiteral("Update %1 set %2 where %3=? and %4=?")
                            .arg(table, sets.join(','), body.key, body.parentLink),
                        bound) == 1;
    }
    // The first row names each value's type, the rows below take the same; the keys' names
    // differ from every column's, so that the link may be set too.
    auto sqlTypes = columnTypes_.find(table.toLower());
    if (sqlTypes == columnTypes_.end())
        sqlTypes = columnTypes_.insert(table.toLower(), db_.columnTypes(table));
    const db::Dialect& dialect = db_.dialect();
    QStringList names{QStringLiteral("row_key"), QStringLiteral("link_key")};
    QStringList typed{dialect.typedPlaceholder(sqlTypes->value(body.key.toLower())),
                      dialect.typedPlaceholder(sqlTypes->value(body.parentLink.toLower()))};
    QStringList sets;
    for (const QString& column : columns) {
        names << column;
        typed << dialect.typedPlaceholder(sqlTypes->value(column.toLower()));
        sets << column + QStringLiteral("=v.") + column;
    }
    if (withPsid)
        sets << body.headerNumber + QStringLiteral("=?");
    QStringList tuples{QStringLiteral("(") + typed.join(',') + QStringLiteral(")")};
    const QString plain = QStringLiteral("(") +
                          QStringList(names.size(), QStringLiteral("?")).join(',') +
                          QStringLiteral(")");
    db::Params bound;
    bound.reserve(qsizetype(values.size()) * names.size() + 1);
    for (const db::Params& row : values) {
        if (!bound.isEmpty())
            tuples << plain;
        bound += row;
    }
    if (withPsid)
        bound << headerNumber;
    const int changed =
        db_.exec(QStringLiteral("WITH v(%1) AS (VALUES %2) UPDATE %3 SET %4 FROM v WHERE "
                                "%3.%5=v.row_key AND %3.%6=v.link_key")
                     .arg(names.join(','), tuples.join(','), table, sets.join(','), body.key,
                          body.parentLink),
                 bound);
    // Fewer rows than listed: a row was deleted meanwhile or belongs to another header.
    return changed == int(values.size());
}

void RowWriter::insertLines(const BodyTable& body, const QStringList& columns, RowSet& rows,
                            const std::vector<int>& which, const std::vector<db::Params>& values,
                            int keyCell) {
    QStringList marks;
    for (int i = 0; i < columns.size(); ++i)
        marks << QStringLiteral("?");
    const QString tuple = QStringLiteral("(") + marks.join(',') + QStringLiteral(")");
    QStringList tuples;
    db::Params bound;
    for (const db::Params& row : values) {
        tuples << tuple;
        bound += row;
    }
    const db::Rows keys =
        db_.query(QStringLiteral("insert into %1(%2) values %3 RETURNING %4")
                      .arg(body.table, columns.join(','), tuples.join(','), body.key),
                  bound);
    if (keys.size() != which.size())
        throw db::DbError(QStringLiteral("写入后未返回主键"));
    // Neither database promises RETURNING's order, but keys are drawn in the order the rows
    // are inserted, which is the order they are listed.
    std::vector<qlonglong> ids;
    for (std::size_t i = 0; i < keys.size(); ++i)
        ids.push_back(keys.at(i).value(0).toLongLong());
    std::sort(ids.begin(), ids.end());
    for (std::size_t i = 0; i < which.size(); ++i)
        rows.setCell(which[i], keyCell, QVariant(ids[i]));
}

QString RowWriter::checkValue(const Column& c, const QVariant& value) const {
    if (c.entryRule) {
        const QString refusal = entry::VoucherHelpers::CheckLineNumber(c.lower, value);
        if (!refusal.isEmpty())
            return refusal;
    }
    if (value.isNull())
        return {};
    const QString text = value.toString();
    if (text.contains(QChar(0)))
        return c.shownName + QStringLiteral("含有非法字符！");
    if (c.displayFlag || text.trimmed().isEmpty())
        return {};
    if (db::isNumericType(c.type)) {
        const auto number = entry::VoucherHelpers::ToNumber(value);
        if (!number)
            return c.shownName + QStringLiteral("必须为数字！");
        if (c.wholeNumber && (*number != std::floor(*number) || std::abs(*number) > 9e15))
            return c.shownName + QStringLiteral("必须为整数！");
        return {};
    }
    if (c.limit > 0 && text.size() > c.limit)
        return c.shownName + QStringLiteral("不能超过%1个字符！").arg(c.limit);
    return {};
}

QString RowWriter::checkRow(const Table& t, const std::vector<int>& cells, const RowSet& rows,
                            int row) const {
    for (std::size_t i = 0; i < t.columns.size(); ++i) {
        const QString refusal = checkValue(t.columns[i], rows.cell(row, cells[i]));
        if (!refusal.isEmpty())
            return refusal;
    }
    return {};
}

QString RowWriter::CheckRow(const QString& table, const RowSet& rows, int row, bool isBody) {
    const Table& t = tableOf(table, isBody ? &BodyTable::lines() : nullptr);
    return checkRow(t, cellsOf(t, rows), rows, row);
}

QString RowWriter::CheckRows(const BodyTable& body, const RowSet& rows,
                             const std::vector<int>& which, int* failedRow) {
    const Table& t = tableOf(body.table, &body);
    const std::vector<int> cells = cellsOf(t, rows);
    for (int row : which) {
        const QString refusal = checkRow(t, cells, rows, row);
        if (!refusal.isEmpty()) {
            if (failedRow)
                *failedRow = row;
            return refusal;
        }
    }
    return {};
}

} // namespace bom::bomservice
