#pragma once

#include "RightsStore.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <memory>

namespace bom::db {
class Database;
}

namespace bom::suite {

// The operator's row rights on Inventory, Department, Person and Warehouse. Scopes are read at
// Init; granted codes are looked up when asked, since a list may hold many thousand items.
class RowAuth {
public:
    RowAuth();
    ~RowAuth();

    // False with `error` set when the account cannot be read.
    bool Init(const QString& url, const QString& userId, QString* error = nullptr);

    // The suite's text form: "" all rights, "1=2" none, else a comma list (quoted codes, or
    // bare iId for Inventory). For display and compatibility only: SQL asks the rights table.
    QString GetAuthString(const QString& table) const;
    RightsStore::Scope scope(const QString& table) const;
    // Record-level right: may the operator use the record with this code (the item code for
    // Inventory)?
    bool HasRecordRight(const QString& table, const QString& code) const;

private:
    std::unique_ptr<db::Database> db_;
    QString userId_;
    QHash<QString, RightsStore::Scope> scopes_; // by kind
};

} // namespace bom::suite
