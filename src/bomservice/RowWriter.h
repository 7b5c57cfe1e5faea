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
// session fields (template reference "system") take the login's date or name, and a new row's
// key comes back through RETURNING. Table columns are read once per writer.
class RowWriter {
public:
    enum class Outcome { Written, NoRowUpdated };

    RowWriter(db::Database& db, const suite::Login& login, int templateId)
        : db_(db), login_(login), templateId_(templateId) {}

    // mode 0 inserts, 1 updates the row keyed by `key` (header iautoid or line autoid).
    // A new header gets `key` as its iautoid and answers its ID; a new line answers its
    // autoid. Throws db::DbError; a value that is no number for a numeric column is one.
    QVariant WriteRow(const QString& table, const RowSet& rows, int row, int mode, bool isBody,
                      const QVariant& key, Outcome* outcome);

private:
    struct Table {
        QSqlRecord record;
        QStringList systemFields; // lower case
    };
    const Table& tableOf(const QString& table, bool isBody);
    QVariant storedValue(const QString& column, QMetaType::Type type, const QVariant& shown) const;

    db::Database& db_;
    const suite::Login& login_;
    int templateId_;
    QHash<QString, Table> tables_;
};

} // namespace bom::bomservice
