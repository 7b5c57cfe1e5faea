#pragma once

#include "ListView.h"
#include "db/SqlCondition.h"
#include "suite/ColumnSettings.h"

#include <QAbstractTableModel>
#include <QSet>
#include <functional>
#include <utility>
#include <vector>

namespace bom::list {

// The rows of a list, read a page at a time as the view scrolls: each page a short query of
// its own after the key of the last row before it, so a list of any size opens with its first
// page and no query stays open. Only the pages last used are held; the others keep their
// last row's key and are read again when they are needed, so memory stays flat however far
// the view scrolls. Column 0 is the selection mark ("selcol"); the other columns follow the
// column settings. Marks belong to the rows' keys, so reading a page again, or the list
// again, keeps them, those of rows not read yet included.
class PagedQueryModel : public QAbstractTableModel {
    Q_OBJECT
public:
    static constexpr int kPageSize = 200;
    static constexpr int kPagesKept = 10;

    // The query of at most `limit` rows after the row whose keyset columns are `lastKey`
    // (empty: from the start), in the list's order.
    using PageQuery = std::function<db::SqlCondition(const QVariantList& lastKey, int limit)>;

    // The marks of a list by row key: every row but `keys` when `all`, else only `keys`.
    struct Marks {
        bool all = false;
        QSet<QString> keys;
        bool operator==(const Marks&) const = default;
    };

    explicit PagedQueryModel(QObject* parent = nullptr);

    void setColumns(std::vector<suite::ColumnSetting> columns);
    const std::vector<suite::ColumnSetting>& columns() const { return columns_; }
    // The column that tells rows apart ("iautoid", "autoid"); without one, marks go with the rows.
    void setKeyColumn(const QString& name) { keyColumn_ = name.toLower(); }
    // Rows per page (for pages found from now on) and pages held at most.
    void setPaging(int pageSize, int pagesKept);
    int pageSize() const { return pageSize_; }

    // Reads every row of `sql` on `db` (a short list). False when the query failed; the error
    // has gone to onError. Rows whose keys were marked come in marked.
    bool open(db::Database& db, const db::SqlCondition& sql);
    // Reads the first page of a list whose pages `pages` gives, each row ending in `keyCount`
    // keyset columns (db::Keyset::keyColumn); later pages come as the view asks for them. The
    // first page holds `firstPage` rows when given (the rows the view shows), else a page.
    bool openPaged(db::Database& db, PageQuery pages, int keyCount, int firstPage = 0);
    // Drops the rows; the marks stay for the next open.
    void clear();
    // Finds every remaining page; false when reading failed.
    bool fetchAll();
    // Whether every page of the list has been found.
    bool readToEnd() const { return !more_; }
    // Rows held in memory now.
    int rowsHeld() const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    bool canFetchMore(const QModelIndex& parent = {}) const override;
    void fetchMore(const QModelIndex& parent = {}) override;

    // The model column showing field `name` (column settings may say "table.field"), or -1.
    int columnOf(const QString& name) const;
    // The setting behind model column `column` (1 …), or null for the selection column.
    const suite::ColumnSetting* settingOf(int column) const;
    QVariant value(int row, const QString& name) const;
    // The row's cells by lower-case name; its columns named as the query names them.
    ListRow listRow(int row) const;

    bool isSelected(int row) const;
    void setSelected(int row, bool selected);
    // Marks every row, those not read yet included.
    void setAllSelected(bool selected);
    // Whether rows still to be read may come in marked.
    bool marksNewRows() const { return more_ && (marks_.all || !marks_.keys.isEmpty()); }
    // The marked rows among those found so far.
    std::vector<int> selectedRows() const;
    Marks marks() const;
    // Sets the marks of the rows read and of those still to come.
    void setMarks(Marks marks);

    // Calls `visit` for each row from `from` on, in order, finding further pages as it goes,
    // until `visit` answers false or, when `limit` >= 0, no more pages are looked for once that
    // many rows are found. False when reading failed (reported through onError).
    bool forEachRow(const std::function<bool(int row)>& visit, int from = 0, int limit = -1);
    // The first row from `from` on that `match` accepts, as forEachRow looks; -1 when none.
    int findRow(const std::function<bool(int row)>& match, int from = 0, int limit = -1);

    // Where a failed query or read is reported.
    std::function<void(const QString&)> onError;
    // Told, a page at a time, how many rows from the top a long walk (fetchAll, forEachRow,
    // findRow) has got through, once it has gone past its first page.
    std::function<void(int rows)> onRowsRead;

private:
    struct Row {
        bool selected = false; // only without a key column
        QVariantList values;
    };
    struct Page {
        QVariantList lastKey; // where the next page starts
        int count = 0;        // the rows the model shows for it
        bool held = false;
        std::vector<Row> rows;
        quint64 used = 0;
    };

    // Runs the page query, telling the column names to `names` when given; throws db::DbError.
    std::vector<Row> query(const QVariantList& after, int limit,
                           QStringList* names = nullptr) const;
    // The row, its page read again when it was dropped; null when that failed.
    const Row* rowAt(int row) const;
    Row* rowAt(int row) { return const_cast<Row*>(std::as_const(*this).rowAt(row)); }
    int pageOf(int row) const;
    // Drops the least used pages but `keep` while more than pagesKept_ are held.
    void dropBeyond(int keep) const;
    void drop(int page) const;
    // Takes the rows of pages that came back shorter out of the model.
    void settleShortPages();
    // Appends the next page; false when reading failed.
    bool appendPage();
    void appendHeld(std::vector<Row> rows);
    // Told at once inside a walk; otherwise after the view's layout or painting is done.
    void report(const QString& error) const;
    // Resets the model around `read`, keeping the marks.
    void reset(const std::function<void()>& read);
    void setFields(const QStringList& names);
    QVariantList keyOf(const Row& row) const;
    QString markKey(const Row& row) const;
    bool marked(const Row& row) const;
    void mapColumns();
    int recordIndex(const QString& name) const;

    std::vector<suite::ColumnSetting> columns_;
    QStringList fieldNames_; // the query's column names as it gives them, keyset columns last
    QStringList fields_;     // the same, lower case
    int dataFields_ = 0;     // the fields before the keyset columns
    QStringList names_;      // the field of each model column after the selection column
    QString keyColumn_;
    int keyIndex_ = -1;
    Marks marks_; // by key; without a key column only `all`, for rows still to be read

    db::Database* db_ = nullptr;
    PageQuery pages_;
    int keyCount_ = 0;
    int pageSize_ = kPageSize;
    int pagesKept_ = kPagesKept;
    // Mutable: the view's reads bring dropped pages back and let others go.
    mutable std::vector<Page> book_;
    mutable std::vector<int> starts_; // first row of each page
    mutable int held_ = 0;            // pages held
    mutable quint64 clock_ = 0;
    mutable bool more_ = false;
    mutable bool broken_ = false; // a page could not be read again; told once
    mutable bool settling_ = false;
    int rows_ = 0;
    bool reading_ = false; // no page from the view comes in between
    bool walking_ = false;
};

} // namespace bom::list
