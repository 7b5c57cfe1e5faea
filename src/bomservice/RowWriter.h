#pragma once

#include "RowSet.h"
#include "db/Database.h"

#include <QHash>
#include <QSqlRecord>
#include <QString>
#include <QVariant>
#include <optional>
#include <vector>

namespace bom::suite {
class Login;
}

namespace bom::bomservice {

// Writes one row of a card to its table: display values become stored ones, empty values NULL,
// null cells are left to the table (a new row takes the column's default, a modified row keeps
// its stored value), session fields (template reference "system") take the login's date or
// name, and a new row's key comes back through RETURNING. Table columns are read once per
// writer.
class RowWriter {
public:
    enum class Outcome { Written, NoRowUpdated };

    RowWriter(db::Database& db, const suite::Login& login, int templateId)
        : db_(db), login_(login), templateId_(templateId) {}

    // mode 0 inserts, 1 updates the row keyed by `key` (header iautoid or line autoid; a line
    // only while it still belongs to the header named in the row's ipid). A new header gets
    // `key` as its iautoid and answers its ID; a new line answers its autoid. Throws
    // db::DbError; run CheckRow first so that bad values never reach the database.
    QVariant WriteRow(const QString& table, const RowSet& rows, int row, int mode, bool isBody,
                      const QVariant& key, Outcome* outcome);

    // The lines `rows` of one header, as WriteRow would write them one by one: "A" rows are
    // inserted in row order and get their new autoid in the row, "M" rows update the line
    // `autoid` of the header in their ipid. Neighbouring rows carrying the same columns share
    // one statement. `headerNumber` is the header's ID, which every line keeps as psid. False
    // when a modified line is gone; lines sharing its statement are written all the same, so
    // the caller rolls back.
    bool WriteLines(const QString& table, RowSet& rows, const std::vector<int>& which,
                    const QVariant& headerNumber);

    // Why the row's values cannot be written to `table`, naming the field; empty when they
    // can. Numbers must be finite numbers (whole ones for integer columns), texts must fit
    // their column and hold no NUL character; numeric line cells follow their entry rules.
    QString CheckRow(const QString& table, const RowSet& rows, int row, bool isBody);
    // The same for each of `which` in order: the first refusal, its row in `failedRow`.
    QString CheckRows(const QString& table, const RowSet& rows, const std::vector<int>& which,
                      bool isBody, int* failedRow = nullptr);

    // Columns the database keeps by itself: keys, links the save sets separately, row versions.
    static bool WrittenBySomethingElse(const QString& column, bool isBody);
    // The number stored for a flag the card shows as a word ("是"/"否", the supply type's
    // names); nothing when the column is no such flag. `numeric`: the column holds numbers.
    static std::optional<int> StoredFlag(const QString& column, const QVariant& shown,
                                         bool numeric);

private:
    // How a column's display value becomes the stored one.
    enum class Kind { Skip, HeaderKey, System, Flag, Number, Date, Text };
    struct Column {
        QString name; // as the table spells it
        QString lower;
        QMetaType::Type type = QMetaType::UnknownType;
        Kind kind = Kind::Text;
        bool entryRule = false;   // a numeric line cell with rules of its own
        bool displayFlag = false; // any text is acceptable
        bool wholeNumber = false;
        int limit = 0;     // characters; 0 none
        QString shownName; // "caption（column）", or the column
    };
    struct Table {
        std::vector<Column> columns;
        bool isBody = false;
    };
    const Table& tableOf(const QString& table, bool isBody);
    // For each table column, its column in `rows` (-1 when the rows do not carry it).
    static std::vector<int> cellsOf(const Table& t, const RowSet& rows);
    QVariant storedValue(const Column& c, const QVariant& shown) const;
    QString checkValue(const Column& c, const QVariant& value) const;
    QString checkRow(const Table& t, const std::vector<int>& cells, const RowSet& rows,
                     int row) const;
    // Columns and values the row writes, as WriteRow chooses them.
    void rowValues(const Table& t, const std::vector<int>& cells, const RowSet& rows, int row,
                   int mode, const QVariant& key, QStringList& columns, db::Params& values) const;
    void insertLines(const QString& table, const QStringList& columns, RowSet& rows,
                     const std::vector<int>& which, const std::vector<db::Params>& values,
                     int autoidCell);
    // Modified lines carrying the same `columns`: each of `values` holds a line's autoid and
    // ipid, then its values. False when fewer lines were changed than given.
    bool updateLines(const QString& table, const QStringList& columns,
                     const std::vector<db::Params>& values, const QVariant& headerNumber);

    db::Database& db_;
    const suite::Login& login_;
    int templateId_;
    QHash<QString, Table> tables_;
    QHash<QString, QHash<QString, QString>> columnTypes_; // by lower-case table name
};

} // namespace bom::bomservice
