#pragma once

#include "db/Database.h"

#include <QString>
#include <memory>

namespace bom::suite {

// The suite's database-connection service: queries and the two generic writes the list
// commands send (an XML change set, a delete by key), each in one transaction.
class ConnectionService {
public:
    void Init(const QString& url);
    bool Status() const { return db_ != nullptr; }
    const QString& lastError() const { return lastError_; }

    db::Rows OpenX(const QString& sql, const db::Params& params = {});
    // `xml` is <data><Table><KeyColumn>key</KeyColumn><Column>value</Column>…</Table>…</data>;
    // every element updates the row with that key. Unknown columns refuse the whole set.
    bool Modify(const QString& xml, const QString& table, QString& errorText);
    bool Delete(const QString& table, const QString& keyColumn, const QVariant& keyValue,
                QString& errorText);

    db::Database& database() { return *db_; }

private:
    std::unique_ptr<db::Database> db_;
    QString lastError_;
};

} // namespace bom::suite
