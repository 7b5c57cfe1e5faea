#pragma once

#include "ListView.h"
#include "db/SqlCondition.h"
#include "suite/ColumnSettings.h"

#include <QAbstractTableModel>
#include <QSet>
#include <QSqlQuery>
#include <functional>
#include <vector>

namespace bom::list {

// The rows of one list query, read page by page from a forward-only cursor as the view scrolls,
// so a list of any size opens with its first page. Column 0 is the selection mark ("selcol");
// the other columns follow the column settings. Marks belong to the rows' keys, so reading the
// query again keeps them, those of rows not read yet included.
class PagedQueryModel : public QAbstractTableModel {
    Q_OBJECT
public:
    static constexpr int kPageSize = 200;

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

    // Runs `sql` on `db` and reads the first page (all rows when `readAll`); rows whose keys
    // were marked come in marked. The cursor stays open on `db` until the next open() or
    // clear(). False when the query failed; the error has gone to onError.
    bool open(db::Database& db, const db::SqlCondition& sql, bool readAll = false);
    // Drops the rows and closes the cursor; the marks stay for the next open().
    void clear();
    // Reads every remaining row; false when reading failed.
    bool fetchAll();
    // Whether every row of the query has been read.
    bool readToEnd() const { return !more_; }

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
    ListRow listRow(int row) const;

    bool isSelected(int row) const;
    void setSelected(int row, bool selected);
    // Marks every row, those not read yet included.
    void setAllSelected(bool selected);
    // Whether rows still to be read may come in marked.
    bool marksNewRows() const { return more_ && (marks_.all || !marks_.keys.isEmpty()); }
    std::vector<int> selectedRows() const;
    Marks marks() const;
    // Sets the marks of the rows read and of those still to come.
    void setMarks(Marks marks);

    // The first row from `from` on that `match` accepts, reading further pages while none has
    // been found and fewer than `limit` rows are read (-1: no limit); -1 when there is none.
    int findRow(const std::function<bool(int row)>& match, int from = 0, int limit = -1);

    // Where a failed query or read is reported.
    std::function<void(const QString&)> onError;
    // Told the number of rows read so far, a page at a time, while more than a page is read at
    // once (fetchAll, findRow).
    std::function<void(int rows)> onRowsRead;

private:
    struct Row {
        bool selected = false;
        QVariantList values;
    };
    // Reads up to `count` rows from the cursor; throws db::DbError when reading fails.
    std::vector<Row> read(int count);
    bool markedOnArrival(const QVariantList& values) const;
    QString keyOf(const Row& row) const;
    // Appends up to `count` rows; false when reading failed (reported through onError).
    bool appendRows(int count, bool reportLater);
    void mapColumns();
    int recordIndex(const QString& name) const;

    std::vector<suite::ColumnSetting> columns_;
    QStringList fields_; // the query's column names, lower case
    QStringList names_;  // the field of each model column after the selection column
    std::vector<Row> rows_;
    QSqlQuery query_;
    bool more_ = false;
    bool reading_ = false;
    QString keyColumn_;
    int keyIndex_ = -1;
    // For rows still to be read; read rows carry their own mark.
    Marks marks_;
};

} // namespace bom::list
