#include "PagedQueryModel.h"

#include "db/DbError.h"
#include "db/Keyset.h"
#include "db/ValueTypes.h"
#include "entry/Format.h"

#include <QScopedValueRollback>
#include <algorithm>

namespace bom::list {
namespace {

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

void PagedQueryModel::setPaging(int pageSize, int pagesKept) {
    pageSize_ = std::max(pageSize, 1);
    // The view shows rows of at least two pages at a page boundary.
    pagesKept_ = std::max(pagesKept, 2);
}

void PagedQueryModel::mapColumns() {
    names_.clear();
    if (columns_.empty())
        names_ = fields_.mid(0, dataFields_);
    for (const suite::ColumnSetting& c : columns_)
        names_ << bareName(c.fieldName);
}

void PagedQueryModel::setFields(const QStringList& names) {
    fieldNames_ = names;
    fields_.clear();
    for (const QString& name : names)
        fields_ << name.toLower();
    dataFields_ = std::max(0, int(fields_.size()) - keyCount_);
    keyIndex_ = keyColumn_.isEmpty() ? -1 : int(fields_.indexOf(keyColumn_));
}

void PagedQueryModel::reset(const std::function<void()>& read) {
    const Marks kept = marks_;
    beginResetModel();
    book_.clear();
    starts_.clear();
    rows_ = 0;
    held_ = 0;
    more_ = false;
    broken_ = false;
    fieldNames_.clear();
    fields_.clear();
    dataFields_ = 0;
    keyIndex_ = -1;
    QString error;
    try {
        read();
    } catch (const db::DbError& e) {
        error = e.message();
        book_.clear();
        starts_.clear();
        rows_ = 0;
        held_ = 0;
        more_ = false;
        pages_ = nullptr;
    }
    // Without keys, only "every row" can be told again.
    marks_ = keyIndex_ < 0 ? Marks{kept.all, {}} : kept;
    for (Page& page : book_)
        for (Row& row : page.rows)
            row.selected = marks_.all;
    mapColumns();
    endResetModel();
    if (!error.isEmpty() && onError)
        onError(error);
}

bool PagedQueryModel::open(db::Database& db, const db::SqlCondition& sql) {
    bool ok = true;
    reset([&] {
        ok = false;
        db_ = &db;
        pages_ = nullptr;
        keyCount_ = 0;
        QStringList names;
        std::vector<Row> rows;
        db.stream(
            sql.sql, sql.params, [&](const QStringList& columns) { names = columns; },
            [&](QVariantList&& values) {
                rows.push_back({false, std::move(values)});
            });
        setFields(names);
        // Held whole: there is no query to read a dropped page again.
        for (std::size_t first = 0; first < rows.size(); first += pageSize_) {
            const auto end = rows.begin() + std::min(rows.size(), first + pageSize_);
            appendHeld(
                {std::make_move_iterator(rows.begin() + first), std::make_move_iterator(end)});
        }
        ok = true;
    });
    return ok;
}

bool PagedQueryModel::openPaged(db::Database& db, PageQuery pages, int keyCount, int firstPage) {
    bool ok = true;
    reset([&] {
        ok = false;
        db_ = &db;
        pages_ = std::move(pages);
        keyCount_ = keyCount;
        const int limit = firstPage > 0 ? std::min(firstPage, pageSize_) : pageSize_;
        QStringList names;
        std::vector<Row> rows = query({}, limit, &names);
        setFields(names);
        more_ = int(rows.size()) == limit;
        if (!rows.empty())
            appendHeld(std::move(rows));
        ok = true;
    });
    return ok;
}

void PagedQueryModel::clear() {
    reset([this] {
        db_ = nullptr;
        pages_ = nullptr;
    });
}

std::vector<PagedQueryModel::Row> PagedQueryModel::query(const QVariantList& after, int limit,
                                                         QStringList* names) const {
    const db::SqlCondition sql = pages_(after, limit);
    std::vector<Row> rows;
    rows.reserve(limit);
    db_->stream(
        sql.sql, sql.params,
        [&](const QStringList& columns) {
            if (names)
                *names = columns;
        },
        [&](QVariantList&& values) {
            rows.push_back({marks_.all, std::move(values)});
        });
    return rows;
}

QVariantList PagedQueryModel::keyOf(const Row& row) const {
    return row.values.mid(dataFields_, keyCount_);
}

QString PagedQueryModel::markKey(const Row& row) const {
    return keyIndex_ < 0 ? QString() : row.values.at(keyIndex_).toString();
}

bool PagedQueryModel::marked(const Row& row) const {
    if (keyIndex_ < 0)
        return row.selected;
    return marks_.all != marks_.keys.contains(markKey(row));
}

void PagedQueryModel::appendHeld(std::vector<Row> rows) {
    const int count = int(rows.size());
    Page page;
    page.lastKey = keyOf(rows.back());
    page.count = count;
    page.held = true;
    page.rows = std::move(rows);
    page.used = ++clock_;
    starts_.push_back(rows_);
    book_.push_back(std::move(page));
    rows_ += count;
    ++held_;
}

bool PagedQueryModel::appendPage() {
    std::vector<Row> rows;
    try {
        const QScopedValueRollback<bool> reading(reading_, true);
        rows = query(book_.empty() ? QVariantList() : book_.back().lastKey, pageSize_);
    } catch (const db::DbError& e) {
        more_ = false;
        report(e.message());
        return false;
    }
    if (int(rows.size()) < pageSize_)
        more_ = false;
    if (rows.empty())
        return true;
    beginInsertRows({}, rows_, rows_ + int(rows.size()) - 1);
    appendHeld(std::move(rows));
    endInsertRows();
    dropBeyond(int(book_.size()) - 1);
    return true;
}

void PagedQueryModel::report(const QString& error) const {
    if (!onError)
        return;
    if (walking_) {
        onError(error);
        return;
    }
    // A view reads while it lays itself out or paints; a message box must not open in there.
    QMetaObject::invokeMethod(
        const_cast<PagedQueryModel*>(this), [this, error] { onError(error); },
        Qt::QueuedConnection);
}

int PagedQueryModel::pageOf(int row) const {
    // Pages left empty share their start with the next page; the last of equals has the row.
    return int(std::upper_bound(starts_.begin(), starts_.end(), row) - starts_.begin()) - 1;
}

const PagedQueryModel::Row* PagedQueryModel::rowAt(int row) const {
    if (row < 0 || row >= rows_)
        return nullptr;
    const int p = pageOf(row);
    Page& page = book_[p];
    if (!page.held) {
        if (broken_ || !db_ || !pages_)
            return nullptr;
        try {
            // Exactly the rows the page had when nothing changed since: as many after the
            // same key.
            page.rows = query(p == 0 ? QVariantList() : book_[p - 1].lastKey, page.count);
        } catch (const db::DbError& e) {
            broken_ = true;
            report(e.message());
            return nullptr;
        }
        page.held = true;
        ++held_;
        if (!page.rows.empty()) {
            const QVariantList last = keyOf(page.rows.back());
            // The list changed meanwhile: the pages after follow on from this page's new end,
            // so those held are read again rather than shown twice or skipped at the seam.
            if (last != page.lastKey) {
                page.lastKey = last;
                for (int q = p + 1; q < int(book_.size()); ++q)
                    drop(q);
                if (p + 1 == int(book_.size()))
                    more_ = true;
            }
        }
        if (int(page.rows.size()) < page.count && !settling_) {
            settling_ = true;
            QMetaObject::invokeMethod(
                const_cast<PagedQueryModel*>(this),
                [this] { const_cast<PagedQueryModel*>(this)->settleShortPages(); },
                Qt::QueuedConnection);
        }
    }
    page.used = ++clock_;
    dropBeyond(p);
    const int i = row - starts_[p];
    return i < int(page.rows.size()) ? &page.rows[i] : nullptr;
}

void PagedQueryModel::dropBeyond(int keep) const {
    if (!pages_)
        return; // nothing could read a dropped page again
    while (held_ > pagesKept_) {
        int oldest = -1;
        for (int p = 0; p < int(book_.size()); ++p)
            if (book_[p].held && p != keep && (oldest < 0 || book_[p].used < book_[oldest].used))
                oldest = p;
        if (oldest < 0)
            return;
        drop(oldest);
    }
}

void PagedQueryModel::drop(int p) const {
    Page& page = book_[p];
    if (!page.held)
        return;
    std::vector<Row>().swap(page.rows);
    page.held = false;
    --held_;
}

void PagedQueryModel::settleShortPages() {
    settling_ = false;
    for (int p = 0; p < int(book_.size()); ++p) {
        Page& page = book_[p];
        const int have = int(page.rows.size());
        if (!page.held || have >= page.count)
            continue;
        const int gone = page.count - have;
        beginRemoveRows({}, starts_[p] + have, starts_[p] + page.count - 1);
        page.count = have;
        rows_ -= gone;
        for (std::size_t q = p + 1; q < starts_.size(); ++q)
            starts_[q] -= gone;
        endRemoveRows();
    }
}

int PagedQueryModel::rowsHeld() const {
    int held = 0;
    for (const Page& page : book_)
        held += int(page.rows.size());
    return held;
}

bool PagedQueryModel::fetchAll() {
    const QScopedValueRollback<bool> walking(walking_, true);
    const int before = rows_;
    while (more_ && pages_) {
        if (!appendPage())
            return false;
        if (onRowsRead && rows_ - before > pageSize_)
            onRowsRead(rows_);
    }
    return true;
}

bool PagedQueryModel::forEachRow(const std::function<bool(int)>& visit, int from, int limit) {
    const QScopedValueRollback<bool> walking(walking_, true);
    const QScopedValueRollback<bool> reading(reading_, true);
    from = std::max(from, 0);
    for (int row = from;;) {
        while (row >= rows_) {
            if (!more_ || !pages_ || (limit >= 0 && rows_ >= limit))
                return true;
            if (!appendPage())
                return false;
        }
        if (onRowsRead && row > from && (row - from) % pageSize_ == 0)
            onRowsRead(row);
        if (!rowAt(row)) {
            if (broken_)
                return false;
            settleShortPages(); // the row was in a page that came back shorter
            continue;
        }
        if (!visit(row))
            return true;
        ++row;
    }
}

int PagedQueryModel::findRow(const std::function<bool(int)>& match, int from, int limit) {
    int found = -1;
    forEachRow(
        [&](int row) {
            if (!match(row))
                return true;
            found = row;
            return false;
        },
        from, limit);
    return found;
}

int PagedQueryModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : rows_;
}

int PagedQueryModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : 1 + int(names_.size());
}

QVariant PagedQueryModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rows_)
        return {};
    if (role != Qt::DisplayRole && role != Qt::CheckStateRole && role != Qt::TextAlignmentRole)
        return {};
    const Row* row = rowAt(index.row());
    if (!row)
        return {};
    if (index.column() == 0)
        return role == Qt::CheckStateRole ? QVariant(marked(*row) ? Qt::Checked : Qt::Unchecked)
                                          : QVariant();
    const int i = recordIndex(names_.value(index.column() - 1));
    if (i < 0)
        return {};
    const QVariant& value = row->values.at(i);
    if (role == Qt::DisplayRole)
        return entry::StoredText(value);
    if (role == Qt::TextAlignmentRole && db::isNumericType(value.typeId()))
        return QVariant(Qt::AlignRight | Qt::AlignVCenter);
    return {};
}

bool PagedQueryModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || index.column() != 0 || role != Qt::CheckStateRole ||
        index.row() >= rows_)
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
    return !parent.isValid() && more_ && pages_ && !reading_;
}

void PagedQueryModel::fetchMore(const QModelIndex& parent) {
    if (canFetchMore(parent))
        appendPage();
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
    const int i = int(fields_.indexOf(bareName(name)));
    return i < dataFields_ ? i : -1;
}

QVariant PagedQueryModel::value(int row, const QString& name) const {
    const int i = recordIndex(name);
    const Row* r = i < 0 ? nullptr : rowAt(row);
    return r ? r->values.at(i) : QVariant();
}

ListRow PagedQueryModel::listRow(int row) const {
    ListRow out;
    const Row* r = rowAt(row);
    if (!r)
        return out;
    out.number = row + 1;
    out.selected = marked(*r);
    out.columns = fieldNames_.mid(0, dataFields_);
    for (int i = 0; i < dataFields_; ++i)
        out.cells.insert(fields_[i], r->values.at(i));
    out.cells.insert(QStringLiteral("selcol"), out.selected ? QStringLiteral("Y") : QString());
    return out;
}

bool PagedQueryModel::isSelected(int row) const {
    const Row* r = rowAt(row);
    return r && marked(*r);
}

void PagedQueryModel::setSelected(int row, bool selected) {
    Row* r = rowAt(row);
    if (!r || marked(*r) == selected)
        return;
    if (keyIndex_ < 0) {
        r->selected = selected;
    } else if (selected != marks_.all) { // a key in the set is an exception to `all`
        marks_.keys.insert(markKey(*r));
    } else {
        marks_.keys.remove(markKey(*r));
    }
    emit dataChanged(index(row, 0), index(row, 0), {Qt::CheckStateRole});
}

void PagedQueryModel::setAllSelected(bool selected) {
    setMarks({selected, {}});
}

PagedQueryModel::Marks PagedQueryModel::marks() const {
    return keyIndex_ < 0 ? Marks{marks_.all, {}} : marks_;
}

void PagedQueryModel::setMarks(Marks marks) {
    marks_ = std::move(marks);
    if (keyIndex_ < 0) {
        marks_.keys.clear();
        for (Page& page : book_)
            for (Row& row : page.rows)
                row.selected = marks_.all;
    }
    if (rows_ > 0)
        emit dataChanged(index(0, 0), index(rows_ - 1, 0), {Qt::CheckStateRole});
}

std::vector<int> PagedQueryModel::selectedRows() const {
    std::vector<int> out;
    if (keyIndex_ >= 0 && !marks_.all && marks_.keys.isEmpty())
        return out;
    for (int row = 0; row < rows_; ++row)
        if (isSelected(row))
            out.push_back(row);
    return out;
}

} // namespace bom::list
