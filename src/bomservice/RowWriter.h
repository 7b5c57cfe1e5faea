#pragma once

#include "RowSet.h"
#include "db/Database.h"

#include <QHash>
#include <QSqlRecord>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <optional>
#include <vector>

namespace bom::suite {
class Login;
}

namespace bom::bomservice {

// How the rows of a body table hang from their header row. The writer, the save and the
// history read a table's keys from here instead of assuming the component lines'.
struct BodyTable {
    QString table;
    QString key;                 // made by the database, read back through RETURNING
    QString parentLink;          // names the header row: an update matches it and never moves a row
    QString headerNumber;        // the header's number kept beside the link; empty: none
    QStringList setBySave;       // columns the save fills by itself, never from the card
    QStringList fromHeader;      // columns a row copies from its header (the link among them)
    bool lineEntryRules = false; // numeric cells follow the component line's entry rules

    // The BOM's component lines: autoid under the header's iautoid (ipid), its ID as psid.
    static const BodyTable& lines();
    // Keys, row versions and what the save sets: never an operator's edit.
    bool writtenBySomethingElse(const QString& column) const;
};

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
    // only while it still belongs to the header named in the row's ipid). `isBody`: a line of
    // BodyTable::lines(). A new header gets
    // `key` as its iautoid and answers its ID; a new line answers its autoid. Throws
    // db::DbError; run CheckRow first so that bad values never reach the database.
    QVariant WriteRow(const QString& table, const RowSet& rows, int row, int mode, bool isBody,
                      const QVariant& key, Outcome* outcome);

    // The rows `rows` of one header in `body`, as WriteRow would write them one by one: "A"
    // rows are inserted in row order and get their new key in the row, "M" rows update the row
    // of that key under the header their parent link names. Neighbouring rows carrying the same
    // columns share one statement. `headerNumber` is the header's number, which every row keeps
    // where the table has a column for it. False when a modified row is gone; rows sharing its
    // statement are written all the same, so the caller rolls back.
    bool WriteLines(const BodyTable& body, RowSet& rows, const std::vector<int>& which,
                    const QVariant& headerNumber);

    // Why the row's values cannot be written to `table`, naming the field; empty when they
    // can. Numbers must be finite numbers (whole ones for integer columns), texts must fit
    // their column and hold no NUL character; numeric line cells follow their entry rules.
    QString CheckRow(const QString& table, const RowSet& rows, int row, bool isBody);
    // The same for each of `which` of a body table in order: the first refusal, its row in
    // `failedRow`.
    QString CheckRows(const BodyTable& body, const RowSet& rows, const std::vector<int>& which,
                      int* failedRow = nullptr);

    // Columns of the BOM header or of its lines the database keeps by itself: keys, links the
    // save sets separately, row versions.
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
    // `body` null: the header table.
    const Table& tableOf(const QString& table, const BodyTable* body);
    // For each table column, its column in `rows` (-1 when the rows do not carry it).
    static std::vector<int> cellsOf(const Table& t, const RowSet& rows);
    QVariant storedValue(const Column& c, const QVariant& shown) const;
    QString checkValue(const Column& c, const QVariant& value) const;
    QString checkRow(const Table& t, const std::vector<int>& cells, const RowSet& rows,
                     int row) const;
    // Columns and values the row writes, as WriteRow chooses them.
    void rowValues(const Table& t, const std::vector<int>& cells, const RowSet& rows, int row,
                   int mode, const QVariant& key, QStringList& columns, db::Params& values) const;
    void insertLines(const BodyTable& body, const QStringList& columns, RowSet& rows,
                     const std::vector<int>& which, const std::vector<db::Params>& values,
                     int keyCell);
    // Modified rows carrying the same `columns`: each of `values` holds a row's key and parent
    // link, then its values. False when fewer rows were changed than given.
    bool updateLines(const BodyTable& body, const QStringList& columns,
                     const std::vector<db::Params>& values, const QVariant& headerNumber);

    db::Database& db_;
    const suite::Login& login_;
    int templateId_;
    QHash<QString, Table> tables_;
    QHash<QString, QHash<QString, QString>> columnTypes_; // by lower-case table name
};

} // namespace bom::bomservice
