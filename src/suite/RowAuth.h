#pragma once

#include "RightsStore.h"

#include <QHash>
#include <QString>
#include <QStringList>

namespace bom::suite {

// The operator's row rights on Inventory, Department, Person and Warehouse, read once at Init.
class RowAuth {
public:
    struct Rights {
        RightsStore::Scope scope = RightsStore::Scope::All;
        QStringList codes; // item codes for Inventory; department, person, warehouse codes
        QStringList ids;   // Inventory only: the allowed items' iId
    };

    // False with `error` set when the account cannot be read.
    bool Init(const QString& url, const QString& userId, QString* error = nullptr);

    // The suite's text form: "" all rights, "1=2" none, else a comma list (quoted codes, or
    // bare iId for Inventory). Only for display and compatibility: SQL binds `rights()` instead.
    QString GetAuthString(const QString& table) const;
    const Rights& rights(const QString& table) const;
    // Record-level right: may the operator use the record with this code (ids for Inventory
    // are not accepted; pass the item code)?
    bool HasRecordRight(const QString& table, const QString& code) const;

private:
    QHash<QString, Rights> byKind_;
    Rights unrestricted_;
};

} // namespace bom::suite
