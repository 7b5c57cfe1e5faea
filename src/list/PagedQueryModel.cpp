#include "PagedQueryModel.h"

#include "db/ValueTypes.h"

#include "db/DbError.h"

#include <QScopedValueRollback>
#include <QSqlError>
#include <QSqlRecord>
#include <climits>

namespace bom::list {
namespace {

QString errorText(const QSqlError& error) {
    QString text = error.databaseText().trimmed();
    if (text.isEmpty())
        text = error.driverText().trimmed();
    return text.isEmpty() ? error.text() : text;
}

// "Person.CPersonCode" reaches the result as "cpersoncode".
QString bareName(const QString& name) {
    return name.mid(name.lastIndexOf('.') + 1).toLower();
}

} // namespace

PagedQueryModel::PagedQueryModel(QObject* parent) : QAbstractTableModel(parent) {}

void PagedQueryModel::setColumns(std::vector<suite::ColumnSetting> columns) {
    beginResetModel();
    columns_ = std::move(columns);
    mapColumns();
    endResetModel();
}

void PagedQueryModel::mapColumns() {
    names_.clear();
    if (columns_.empty())
        names_ = fields_;
    for (const suite::ColumnSetting& c : columns_)
        names_ << bareName(c.fieldName);
}

bool PagedQueryModel::open(db::Database& db, const db::SqlCondition& sql, bool readAll) {
    const Marks kept = marks();
    beginResetModel();
    rows_.clear();
    query_ = QSqlQuery();
    fields_.clear();
    more_ = false;
    QString error;
    try {
        query_ = db.prepare(sql.sql);
        db.run(query_, sql.params);
        const QSqlRecord record = query_.record();
        for (int i = 0; i < record.count(); ++i)
            fields_ << record.fieldName(i).toLower();
        keyIndex_ = keyColumn_.isEmpty() ? -1 : int(fields_.indexOf(keyColumn_));
        // Without keys, only "every row" can be told again.
        marks_ = keyIndex_ < 0 ? Marks{kept.all, {}} : kept;
        more_ = true;
        rows_ = read(readAll ? INT_MAX : kPageSize);
    } catch (const db::DbError& e) {
        error = e.message();
        query_ = QSqlQuery();
        more_ = false;
    }
    mapColumns();
    endResetModel();
    if (!error.isEmpty() && onError)
        onError(error);
    return error.isEmpty();
}

void PagedQueryModel::clear() {
    const Marks kept = marks();
    beginResetModel();
    rows_.clear();
    query_ = QSqlQuery();
    more_ = false;
    marks_ = kept;
    endResetModel();
}

QString PagedQueryModel::keyOf(const Row& row) const {
    return keyIndex_ < 0 ? QString() : row.values.at(keyIndex_).toString();
}

bool PagedQueryModel::markedOnArrival(const QVariantList& values) const {
    if (keyIndex_ < 0)
        return marks_.all;
    return marks_.all != marks_.keys.contains(values.at(keyIndex_).toString());
}

std::vector<PagedQueryModel::Row> PagedQueryModel::read(int count) {
    std::vector<Row> batch;
    // Whoever is told of the progress may let the view paint, and a view that paints asks for
    // more rows: those must not come in between the rows of this read.
    const QScopedValueRollback<bool> reading(reading_, true);
    const bool tell = count > kPageSize && onRowsRead;
    while (more_ && int(batch.size()) < count) {
        if (tell && !batch.empty() && batch.size() % kPageSize == 0)
            onRowsRead(int(rows_.size() + batch.size()));
        if (!query_.next()) {
            more_ = false;
            const QSqlError error = query_.lastError();
            // Ends the statement so the connection holds no reader any more.
            query_.finish();
            if (error.isValid())
                throw db::DbError(errorText(error), query_.lastQuery());
            break;
        }
        Row row;
        row.values.reserve(fields_.size());
        for (int i = 0; i < fields_.size(); ++i)
            row.values << query_.value(i);
        row.selected = markedOnArrival(row.values);
        batch.push_back(std::move(row));
    }
    return batch;
}

bool PagedQueryModel::appendRows(int count, bool reportLater) {
    std::vector<Row> batch;
    QString error;
    try {
        batch = read(count);
    } catch (const db::DbError& e) {
        error = e.message();
    }
    if (!batch.empty()) {
        const int first = int(rows_.size());
        beginInsertRows({}, first, first + int(batch.size()) - 1);
        for (Row& row : batch)
            rows_.push_back(std::move(row));
        endInsertRows();
    }
    if (!error.isEmpty() && onError) {
        // A view fetches while it lays itself out; a message box must not open in there.
        if (reportLater)
            QMetaObject::invokeMethod(
                this, [this, error] { onError(error); }, Qt::QueuedConnection);
        else
            onError(error);
    }
    return error.isEmpty();
}

bool PagedQueryModel::fetchAll() {
    return !more_ || appendRows(INT_MAX, false);
}

int PagedQueryModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(rows_.size());
}

int PagedQueryModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : 1 + int(names_.size());
}

QVariant PagedQueryModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= int(rows_.size()))
        return {};
    const Row& row = rows_[index.row()];
    if (index.column() == 0)
        return role == Qt::CheckStateRole ? QVariant(row.selected ? Qt::Checked : Qt::Unchecked)
                                          : QVariant();
    const int i = recordIndex(names_.value(index.column() - 1));
    if (i < 0)
        return {};
    const QVariant& value = row.values.at(i);
    if (role == Qt::DisplayRole) {
        if (value.isNull())
            return QString();
        if (value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float)
            return QString::number(value.toDouble(), 'g', 15);
        return value.toString();
    }
    if (role == Qt::TextAlignmentRole && db::isNumericType(value.typeId()))
        return QVariant(Qt::AlignRight | Qt::AlignVCenter);
    return {};
}

bool PagedQueryModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || index.column() != 0 || role != Qt::CheckStateRole ||
        index.row() >= int(rows_.size()))
        return false;
    setSelected(index.row(), value.toInt() == Qt::Checked);
    return true;
}

Qt::ItemFlags PagedQueryModel::flags(const QModelIndex& index) const {
    if (!index.isValid())
        return Qt::NoItemFlags;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (index.column() == 0)
        flags |= Qt::ItemIsUserCheckable;
    return flags;
}

QVariant PagedQueryModel::headerData(int section, Qt::Orientation orientation, int role) const {
    // Row numbers line up by their last digit, however many digits they grow to.
    if (orientation == Qt::Vertical && role == Qt::TextAlignmentRole)
        return QVariant(Qt::AlignRight | Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    if (orientation == Qt::Vertical)
        return section + 1;
    if (section == 0)
        return QStringLiteral("选择");
    if (const suite::ColumnSetting* setting = settingOf(section))
        return setting->caption.isEmpty() ? setting->fieldName : setting->caption;
    return names_.value(section - 1);
}

bool PagedQueryModel::canFetchMore(const QModelIndex& parent) const {
    return !parent.isValid() && more_ && !reading_;
}

void PagedQueryModel::fetchMore(const QModelIndex& parent) {
    if (canFetchMore(parent))
        appendRows(kPageSize, true);
}

int PagedQueryModel::columnOf(const QString& name) const {
    const int i = names_.indexOf(bareName(name));
    return i < 0 ? -1 : i + 1;
}

const suite::ColumnSetting* PagedQueryModel::settingOf(int column) const {
    if (column < 1 || column > int(columns_.size()))
        return nullptr;
    return &columns_[column - 1];
}

int PagedQueryModel::recordIndex(const QString& name) const {
    return fields_.indexOf(bareName(name));
}

QVariant PagedQueryModel::value(int row, const QString& name) const {
    const int i = recordIndex(name);
    if (row < 0 || row >= int(rows_.size()) || i < 0)
        return {};
    return rows_[row].values.at(i);
}

ListRow PagedQueryModel::listRow(int row) const {
    ListRow out;
    if (row < 0 || row >= int(rows_.size()))
        return out;
    out.number = row + 1;
    out.selected = rows_[row].selected;
    out.columns = fields_;
    for (int i = 0; i < fields_.size(); ++i)
        out.cells.insert(fields_[i], rows_[row].values.at(i));
    out.cells.insert(QStringLiteral("selcol"), out.selected ? QStringLiteral("Y") : QString());
    return out;
}

bool PagedQueryModel::isSelected(int row) const {
    return row >= 0 && row < int(rows_.size()) && rows_[row].selected;
}

void PagedQueryModel::setSelected(int row, bool selected) {
    if (row < 0 || row >= int(rows_.size()) || rows_[row].selected == selected)
        return;
    rows_[row].selected = selected;
    emit dataChanged(index(row, 0), index(row, 0), {Qt::CheckStateRole});
}

void PagedQueryModel::setAllSelected(bool selected) {
    setMarks({selected, {}});
}

PagedQueryModel::Marks PagedQueryModel::marks() const {
    Marks out = marks_;
    if (keyIndex_ < 0)
        return {out.all, {}};
    for (const Row& row : rows_) {
        // A key in the set is an exception to `all`.
        if (row.selected != out.all)
            out.keys.insert(keyOf(row));
        else
            out.keys.remove(keyOf(row));
    }
    return out;
}

void PagedQueryModel::setMarks(Marks marks) {
    marks_ = std::move(marks);
    for (Row& row : rows_)
        row.selected = markedOnArrival(row.values);
    if (!rows_.empty())
        emit dataChanged(index(0, 0), index(int(rows_.size()) - 1, 0), {Qt::CheckStateRole});
}

std::vector<int> PagedQueryModel::selectedRows() const {
    std::vector<int> out;
    for (std::size_t i = 0; i < rows_.size(); ++i)
        if (rows_[i].selected)
            out.push_back(int(i));
    return out;
}

int PagedQueryModel::findRow(const std::function<bool(int)>& match, int from, int limit) {
    const int before = int(rows_.size());
    for (int row = std::max(from, 0);; ++row) {
        while (row >= int(rows_.size())) {
            if (!more_ || (limit >= 0 && int(rows_.size()) >= limit))
                return -1;
            if (!appendRows(kPageSize, false))
                return -1;
            if (onRowsRead && int(rows_.size()) - before > kPageSize)
                onRowsRead(int(rows_.size()));
        }
        if (match(row))
            return row;
    }
}

} // namespace bom::list
