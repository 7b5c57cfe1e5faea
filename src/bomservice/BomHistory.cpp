#include "BomHistory.h"

#include "RowWriter.h"
#include "db/BoundList.h"
#include "db/BoundRows.h"
#include "db/Database.h"
#include "db/DbError.h"
#include "entry/VoucherHelpers.h"

#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>

namespace bom::bomservice {
namespace {

const QString kTimeFormat = QStringLiteral("yyyy-MM-dd HH:mm:ss");

// Keys, row versions and what the save copies or links by itself are never an operator's edit;
// what a row copies from its header follows the header. `rows` null: the header.
bool isBookkeeping(const QString& column, const BodyTable* rows) {
    if (!rows)
        return RowWriter::WrittenBySomethingElse(column, false) ||
               column == QLatin1String("iautoid");
    return rows->writtenBySomethingElse(column) ||
           rows->fromHeader.contains(column, Qt::CaseInsensitive);
}

// A column both row sets carry, looked up once for all rows.
struct Compared {
    QString name;
    int stored = -1;
    int saved = -1;
    bool numbers = false; // the stored column holds numbers
    bool flag = false;    // shown as a word, stored as a number
};

std::vector<Compared> comparedColumns(const RowSet& stored, const RowSet& saved,
                                      const BodyTable* rows) {
    std::vector<Compared> out;
    for (const RowSetColumn& column : stored.columns()) {
        const int shown = saved.columnIndex(column.name);
        if (shown < 0 || isBookkeeping(column.name, rows))
            continue;
        const bool numbers =
            column.type != QLatin1String("string") && column.type != QLatin1String("dateTime");
        // Every b… column of the BOM tables is a flag, though a driver may type one holding
        // only nulls as text.
        const bool flag = RowWriter::StoredFlag(column.name, {}, true).has_value();
        out.push_back({column.name, stored.columnIndex(column.name), shown, numbers || flag, flag});
    }
    return out;
}

bool isBlank(const QVariant& value) {
    if (value.isNull())
        return true;
    return value.typeId() == QMetaType::QString && value.toString().trimmed().isEmpty();
}

bool sameValue(const QVariant& stored, const QVariant& saved, bool numeric) {
    if (isBlank(stored) || isBlank(saved))
        return isBlank(stored) && isBlank(saved);
    if (numeric) { // 1 and 1.0 are one number
        const auto a = entry::VoucherHelpers::ToNumber(stored);
        const auto b = entry::VoucherHelpers::ToNumber(saved);
        if (a && b)
            return *a == *b;
    }
    return stored.toString() == saved.toString();
}

QString valueText(const QVariant& value, bool numeric) {
    if (isBlank(value))
        return {};
    if (numeric)
        if (const auto number = entry::VoucherHelpers::ToNumber(value))
            return QString::number(*number, 'g', 15);
    return value.toString();
}

// The fields of one saved row that differ from the stored row; cells the card does not carry
// (null) are left as stored by the save, so they are no change either.
void compareRow(const std::vector<Compared>& columns, const RowSet& stored, int storedRow,
                const RowSet& saved, int savedRow, const QString& kind, const QString& line,
                std::vector<BomHistory::Change>& out) {
    for (const Compared& c : columns) {
        const QVariant& shown = saved.cell(savedRow, c.saved);
        if (shown.isNull())
            continue;
        const QVariant& before = stored.cell(storedRow, c.stored);
        const QVariant after =
            c.flag ? QVariant(*RowWriter::StoredFlag(c.name, shown, true)) : shown;
        if (!sameValue(before, after, c.numbers))
            out.push_back(
                {kind, c.name, valueText(before, c.numbers), valueText(after, c.numbers), line});
    }
}

QDateTime timeOf(const QVariant& value) {
    if (value.typeId() == QMetaType::QDateTime)
        return value.toDateTime();
    return QDateTime::fromString(value.toString(), kTimeFormat);
}

int lineRow(const RowSet& lines, const QString& autoid) {
    const int key = lines.columnIndex(QStringLiteral("autoid"));
    for (int row = 0; row < lines.rowCount(); ++row)
        if (lines.cell(row, key).toString() == autoid)
            return row;
    return -1;
}

// The line `autoid` of `lines`, appended when it is not there.
int lineToPut(RowSet& lines, const QString& autoid) {
    const int row = lineRow(lines, autoid);
    return row >= 0 ? row : lines.appendRow();
}

void dropLine(RowSet& lines, const QString& autoid) {
    const int row = lineRow(lines, autoid);
    if (row >= 0)
        lines.removeRow(row);
}

void putLine(RowSet& lines, const QString& autoid, const QString& rowText) {
    const QJsonObject values = QJsonDocument::fromJson(rowText.toUtf8()).object();
    const int row = lineToPut(lines, autoid);
    for (auto it = values.begin(); it != values.end(); ++it)
        lines.setValue(row, it.key(), it.value().toVariant());
}

void putLine(RowSet& lines, const QString& autoid, const db::Rows& kept, std::size_t at) {
    const int row = lineToPut(lines, autoid);
    for (int c = 0; c < kept.columns().size(); ++c)
        if (kept.columns()[c].compare(QLatin1String("irunid"), Qt::CaseInsensitive) != 0)
            lines.setValue(row, kept.columns()[c], kept.at(at).at(c));
}

// The rows in order of their autoid, as a stored card is read.
RowSet byAutoid(const RowSet& lines) {
    const int key = lines.columnIndex(QStringLiteral("autoid"));
    std::vector<int> order = lines.allRows();
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        return lines.cell(a, key).toLongLong() < lines.cell(b, key).toLongLong();
    });
    RowSet sorted(lines.columns());
    for (int from : order) {
        const int row = sorted.appendRow();
        for (int c = 0; c < int(lines.columns().size()); ++c)
            sorted.setCell(row, c, lines.cell(from, c));
    }
    return sorted;
}

} // namespace

QString BomHistory::timeText(const QDateTime& time) {
    return time.toString(kTimeFormat);
}

QString BomHistory::rowText(const RowSet& rows, int row) {
    QJsonObject values;
    for (std::size_t c = 0; c < rows.columns().size(); ++c)
        values.insert(rows.columns()[c].name, QJsonValue::fromVariant(rows.cell(row, int(c))));
    return QString::fromUtf8(QJsonDocument(values).toJson(QJsonDocument::Compact));
}

std::optional<BomHistory::Change> BomHistory::lineRemoval(const QVariant& autoid) {
    const RowSet line = RowSet::fromRows(
        db_.query(QStringLiteral("select * from ProductStructures where autoid=?"), {autoid}));
    if (line.rowCount() == 0)
        return std::nullopt;
    return Change{kLineRemoved,
                  {},
                  line.text(0, QStringLiteral("cpscode")),
                  {},
                  line.text(0, QStringLiteral("autoid")),
                  rowText(line, 0)};
}

std::optional<BomCard> BomHistory::readAt(const QString& headerId, const QDateTime& time) {
    std::optional<BomCard> card = readStored(headerId);
    if (!card)
        return std::nullopt;
    const QString at = db_.dialect().typedPlaceholder(
        db_.columnTypes(QStringLiteral("sys_bom_history")).value(QStringLiteral("dtime")));
    const db::Rows later = db_.query(
        QStringLiteral("select ckind, cfield, cold, cline, crow, irunid from sys_bom_history "
                       "where iautoid=? and dtime>%1 order by id desc")
            .arg(at),
        {headerId, timeText(time)});
    // The lines as the runs among them kept them, before they changed or deleted them.
    QList<qlonglong> runs;
    for (std::size_t i = 0; i < later.size(); ++i)
        if (const qlonglong run = later.value(i, "irunid").toLongLong(); run != 0)
            runs << run;
    db::Rows kept;
    QHash<QString, std::size_t> keptAt; // "run/autoid"
    if (!runs.isEmpty()) {
        const db::SqlCondition sql =
            db::SqlCondition{QStringLiteral("select * from sys_bom_run_line where ipid=? and "),
                             {headerId}} +
            db::BoundList::in(db_.dialect(), QStringLiteral("irunid"), runs);
        kept = db_.query(sql.sql, sql.params);
        for (std::size_t i = 0; i < kept.size(); ++i)
            keptAt.insert(kept.text(i, "irunid") + QLatin1Char('/') + kept.text(i, "autoid"), i);
    }
    RowSet& lines = card->lines;
    for (std::size_t i = 0; i < later.size(); ++i) {
        const QString kind = later.text(i, "ckind");
        const QString field = later.text(i, "cfield");
        const QString old = later.text(i, "cold");
        const QString line = later.text(i, "cline");
        const QString row = later.text(i, "crow");
        const QVariant oldValue = old.isEmpty() ? QVariant() : QVariant(old);
        if (kind == QLatin1String(kCreated))
            return std::nullopt; // not made yet at that time
        if (kind == QLatin1String(kHeader) ||
            (kind == QLatin1String(kRunUndone) && line.isEmpty() && !field.isEmpty())) {
            card->header.setValue(0, field, oldValue);
        } else if (kind == QLatin1String(kLineChanged)) {
            const int at = lineRow(lines, line);
            if (at >= 0)
                lines.setValue(at, field, oldValue);
        } else if (kind == QLatin1String(kLineAdded) || kind == QLatin1String(kRunLineAdded)) {
            dropLine(lines, line);
        } else if (kind == QLatin1String(kLineRemoved) || kind == QLatin1String(kRunUndone)) {
            if (!row.isEmpty()) {
                putLine(lines, line, row);
            } else if (kind == QLatin1String(kRunUndone)) {
                dropLine(lines, line); // the undo brought it back: it was not there before
            } else { // history from before whole lines were kept: the component alone
                const int at = lineToPut(lines, line);
                lines.setValue(at, QStringLiteral("autoid"), line.toLongLong());
                lines.setValue(at, QStringLiteral("cpscode"), old);
            }
        } else if (kind == QLatin1String(kRunLineChanged) ||
                   kind == QLatin1String(kRunLineDeleted)) {
            const auto found = keptAt.constFind(later.text(i, "irunid") + QLatin1Char('/') + line);
            if (found != keptAt.constEnd())
                putLine(lines, line, kept, *found);
        }
    }
    lines = byAutoid(lines);
    return card;
}

std::vector<BomHistory::Change> BomHistory::diff(const std::optional<BomCard>& stored,
                                                 const BomCard& saved) {
    const QString parent = saved.header.text(0, QStringLiteral("cpspcode"));
    if (!stored)
        return {{kCreated, {}, {}, parent, {}}};
    std::vector<Change> out;
    compareRow(comparedColumns(stored->header, saved.header, nullptr), stored->header, 0,
               saved.header, 0, kHeader, {}, out);
    diffRows(
        stored->lines, saved.lines,
        {BodyTable::lines(), QStringLiteral("cpscode"), kLineAdded, kLineRemoved, kLineChanged, {}},
        out);
    return out;
}

void BomHistory::diffRows(const RowSet& stored, const RowSet& saved, const RowKinds& kinds,
                          std::vector<Change>& out) {
    const std::vector<Compared> columns = comparedColumns(stored, saved, &kinds.table);
    QHash<qlonglong, int> storedRow;
    const int storedKey = stored.columnIndex(kinds.table.key);
    for (int row : stored.allRows())
        storedRow.insert(stored.cell(row, storedKey).toLongLong(), row);
    const int key = saved.columnIndex(kinds.table.key);
    const int mark = saved.columnIndex(QStringLiteral("editprop"));
    const int code = saved.columnIndex(kinds.code);
    for (int row : saved.allRows()) {
        const QVariant& id = saved.cell(row, key);
        const QString line = id.toString().isEmpty() ? QString() : kinds.linePrefix + id.toString();
        const QString prop = saved.cell(row, mark).toString();
        const auto before =
            id.toString().isEmpty() ? storedRow.end() : storedRow.find(id.toLongLong());
        const QString item = saved.cell(row, code).toString();
        if (prop == QLatin1String("D")) {
            if (before != storedRow.end()) // else added and dropped before any save
                out.push_back({kinds.removed, {}, item, {}, line, rowText(stored, *before)});
        } else if (prop == QLatin1String("A")) {
            out.push_back({kinds.added, {}, {}, item, line});
        } else if (prop == QLatin1String("M") && before != storedRow.end()) {
            compareRow(columns, stored, *before, saved, row, kinds.changed, line, out);
        } // unmarked rows were not written
    }
}

std::optional<BomCard> BomHistory::readStored(const QString& headerId, bool withLines) {
    const db::Rows header =
        db_.query(QStringLiteral("select * from ProductStructure where iautoid=?"), {headerId});
    if (header.empty())
        return std::nullopt;
    BomCard card;
    card.header = RowSet::fromRows(header);
    if (withLines)
        card.lines = RowSet::fromRows(db_.query(
            QStringLiteral("select * from ProductStructures where ipid=? order by autoid"),
            {headerId}));
    return card;
}

void BomHistory::record(const QString& headerId, const QString& userId,
                        const std::vector<Change>& changes, qlonglong runId) {
    std::vector<BomChange> many;
    many.reserve(changes.size());
    for (const Change& change : changes)
        many.push_back({headerId, change});
    record(many, userId, runId);
}

void BomHistory::record(const std::vector<BomChange>& changes, const QString& userId,
                        qlonglong runId) {
    if (changes.empty())
        return;
    if (db_.transactionDepth() == 0) // history only ever joins the write it describes
        throw db::DbError(QStringLiteral("修改记录只能在保存的事务中写入"));
    const QString now = timeText(QDateTime::currentDateTime());
    const QHash<QString, QString> types = db_.columnTypes(QStringLiteral("sys_bom_history"));
    const db::Dialect& dialect = db_.dialect();
    const QStringList rowTypes{
        types.value(QStringLiteral("iautoid")), types.value(QStringLiteral("cline")),
        types.value(QStringLiteral("ckind")),   types.value(QStringLiteral("cfield")),
        types.value(QStringLiteral("cold")),    types.value(QStringLiteral("cnew")),
        types.value(QStringLiteral("crow"))};
    const QString insert =
        QStringLiteral("insert into sys_bom_history(dtime, cuserid, iautoid, cline, ckind, "
                       "cfield, cold, cnew, crow, irunid) select %1, %2, c0, c1, c2, c3, c4, c5, "
                       "c6, %3 from ")
            .arg(dialect.typedPlaceholder(types.value(QStringLiteral("dtime"))),
                 dialect.typedPlaceholder(types.value(QStringLiteral("cuserid"))),
                 dialect.typedPlaceholder(types.value(QStringLiteral("irunid"))));
    // The entries travel as rows of one bound value, a few thousand to a statement.
    constexpr std::size_t kPerStatement = 2000;
    for (std::size_t start = 0; start < changes.size(); start += kPerStatement) {
        const std::size_t end = std::min(changes.size(), start + kPerStatement);
        std::vector<QVariantList> rows;
        rows.reserve(end - start);
        for (std::size_t i = start; i < end; ++i) {
            const Change& c = changes[i].change;
            rows.push_back({changes[i].headerId, c.line, c.kind, c.field, c.oldValue, c.newValue,
                            c.row.isEmpty() ? QVariant() : QVariant(c.row)});
        }
        const db::SqlCondition sql = db::SqlCondition{insert, {now, userId, runId}} +
                                     db::BoundRows::table(dialect, rowTypes, rows) +
                                     db::sqlText(QStringLiteral(" x"));
        db_.exec(sql.sql, sql.params);
    }
}

std::vector<BomHistory::Entry> BomHistory::read(const QString& headerId) {
    const db::Rows rows = db_.query(
        QStringLiteral("select dtime, cuserid, cline, ckind, cfield, cold, cnew, crow, irunid "
                       "from sys_bom_history where iautoid=? order by id desc"),
        {headerId});
    std::vector<Entry> out;
    out.reserve(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i)
        out.push_back({timeOf(rows.value(i, "dtime")),
                       rows.text(i, "cuserid"),
                       {rows.text(i, "ckind"), rows.text(i, "cfield"), rows.text(i, "cold"),
                        rows.text(i, "cnew"), rows.text(i, "cline"), rows.text(i, "crow")},
                       rows.value(i, "irunid").toLongLong()});
    return out;
}

} // namespace bom::bomservice
