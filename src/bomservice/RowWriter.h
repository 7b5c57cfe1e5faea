#pragma once

#include "RowSet.h"

#include <QHash>
#include <QSqlRecord>
#include <QString>
#include <QVariant>

namespace bom::db {
class Database;
}
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

    // Why the row's values cannot be written to `table`, naming the field; empty when they
    // can. Numbers must be finite numbers (whole ones for integer columns), texts must fit
    // their column and hold no NUL character; numeric line cells follow their entry rules.
    QString CheckRow(const QString& table, const RowSet& rows, int row, bool isBody);

private:
    struct Table {
        QSqlRecord record;
        QStringList systemFields;         // lower case
        QHash<QString, int> textLimits;   // lower-case column -> characters
        QHash<QString, QString> captions; // lower-case column -> the template's caption
    };
    const Table& tableOf(const QString& table, bool isBody);
    QVariant storedValue(const QString& column, QMetaType::Type type, const QVariant& shown) const;
    QString checkValue(const Table& t, int field, const QVariant& value, bool isBody) const;

    db::Database& db_;
    const suite::Login& login_;
    int templateId_;
    QHash<QString, Table> tables_;
};

} // namespace bom::bomservice
