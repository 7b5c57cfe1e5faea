#pragma once

#include "ListView.h"
#include "db/SqlCondition.h"
#include "suite/ColumnSettings.h"

#include <QAbstractTableModel>
#include <QSqlQuery>
#include <functional>
#include <vector>

namespace bom::list {

// The rows of one list query, read page by page from a forward-only cursor as the view scrolls,
// so a list of any size opens with its first page. Column 0 is the selection mark ("selcol");
// the other columns follow the column settings.
class PagedQueryModel : public QAbstractTableModel {
    Q_OBJECT
public:
    static constexpr int kPageSize = 200;

    explicit PagedQueryModel(QObject* parent = nullptr);

    void setColumns(std::vector<suite::ColumnSetting> columns);
    const std::vector<suite::ColumnSetting>& columns() const { return columns_; }

    // Runs `sql` on `db` and reads the first page (all rows when `readAll`). The cursor stays
    // open on `db` until the next open() or clear(). False when the query failed; the error has
    // gone to onError.
    bool open(db::Database& db, const db::SqlCondition& sql, bool readAll = false);
    // Drops the rows and closes the cursor.
    void clear();
    // Reads every remaining row; false when reading failed.
    bool fetchAll();

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
    // Whether rows still to be read come in marked (after setAllSelected(true)).
    bool marksNewRows() const { return newRowsSelected_; }
    std::vector<int> selectedRows() const;

    // The first row from `from` on that `match` accepts, reading further pages while none has
    // been found and fewer than `limit` rows are read (-1: no limit); -1 when there is none.
    int findRow(const std::function<bool(int row)>& match, int from = 0, int limit = -1);

    // Where a failed query or read is reported.
    std::function<void(const QString&)> onError;

private:
    struct Row {
        bool selected = false;
        QVariantList values;
    };
    // Reads up to `count` rows from the cursor; throws db::DbError when reading fails.
    std::vector<Row> read(int count);
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
    bool newRowsSelected_ = false;
};

} // namespace bom::list
