#include "ConnectionService.h"

#include "db/DbError.h"
#include "db/Identifier.h"
#include "db/Transaction.h"
#include "db/TransactionRetry.h"

#include <QXmlStreamReader>
#include <utility>
#include <vector>

namespace bom::suite {
namespace {

// Elements of a change set that carry options rather than column values.
bool isOptionElement(const QString& name) {
    return name.startsWith(QLatin1String("Opt"), Qt::CaseInsensitive);
}

struct Change {
    std::vector<std::pair<QString, QString>> values; // first is the key
};

bool parseChanges(const QString& xml, const QString& table, std::vector<Change>& changes,
                  QString& errorText) {
    QXmlStreamReader reader(xml);
    if (reader.readNextStartElement() && reader.name() == QLatin1String("data")) {
        while (reader.readNextStartElement()) {
            if (reader.name().toString().compare(table, Qt::CaseInsensitive) != 0) {
                reader.skipCurrentElement();
                continue;
            }
            Change change;
            while (reader.readNextStartElement()) {
                const QString name = reader.name().toString();
                const QString value = reader.readElementText();
                if (!isOptionElement(name))
                    change.values.emplace_back(name, value);
            }
            changes.push_back(std::move(change));
        }
    } else if (!reader.hasError()) {
        reader.raiseError(QStringLiteral("缺少data元素"));
    }
    if (reader.hasError()) {
        errorText = QStringLiteral("数据格式错误：%1").arg(reader.errorString());
        return false;
    }
    return true;
}

// Every change as one UPDATE, in one transaction; false with `errorText` set when the set names
// a column the table does not have (nothing is written then).
bool applyChanges(db::Database& db, const std::vector<Change>& changes, const QStringList& columns,
                  const QString& table, QString& errorText) {
    db::Transaction tx(db);
    for (const Change& change : changes) {
        if (change.values.size() < 2)
            continue;
        QStringList sets;
        db::Params params;
        for (std::size_t i = 1; i < change.values.size(); ++i) {
            const QString column = db::matchName(columns, change.values[i].first);
            if (column.isEmpty()) {
                errorText = QStringLiteral("字段%1不存在！").arg(change.values[i].first);
                return false;
            }
            sets << column + QStringLiteral("=?");
            const QString& value = change.values[i].second;
            params << (value.isEmpty() ? QVariant() : QVariant(value));
        }
        const QString key = db::matchName(columns, change.values[0].first);
        if (key.isEmpty()) {
            errorText = QStringLiteral("字段%1不存在！").arg(change.values[0].first);
            return false;
        }
        params << change.values[0].second;
        db.exec(QStringLiteral("UPDATE %1 SET %2 WHERE %3=?").arg(table, sets.join(','), key),
                params);
    }
    tx.commit();
    return true;
}

} // namespace

void ConnectionService::Init(const QString& url) {
    db_.reset();
    try {
        db_ = db::Database::open(url);
    } catch (const db::DbError& e) {
        lastError_ = e.message();
    }
}

db::Rows ConnectionService::OpenX(const QString& sql, const db::Params& params) {
    return db_->query(sql, params);
}

bool ConnectionService::Modify(const QString& xml, const QString& table, QString& errorText) {
    std::vector<Change> changes;
    if (!parseChanges(xml, table, changes, errorText))
        return false;
    try {
        const QStringList columns = db_->columnsOf(table);
        if (columns.isEmpty()) {
            errorText = QStringLiteral("表%1不存在！").arg(table);
            return false;
        }
        return db::TransactionRetry::run(
            *db_, [&] { return applyChanges(*db_, changes, columns, table, errorText); });
    } catch (const db::DbError& e) {
        errorText = e.message();
        return false;
    }
}

bool ConnectionService::Delete(const QString& table, const QString& keyColumn,
                               const QVariant& keyValue, QString& errorText) {
    try {
        const QString column = db::matchName(db_->columnsOf(table), keyColumn);
        if (column.isEmpty()) {
            errorText = QStringLiteral("表%1没有字段%2！").arg(table, keyColumn);
            return false;
        }
        db::TransactionRetry::run(*db_, [&] {
            db::Transaction tx(*db_);
            db_->exec(QStringLiteral("DELETE FROM %1 WHERE %2=?").arg(table, column), {keyValue});
            tx.commit();
        });
        return true;
    } catch (const db::DbError& e) {
        errorText = e.message();
        return false;
    }
}

} // namespace bom::suite
