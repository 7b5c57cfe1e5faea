#pragma once

#include "db/SqlCondition.h"

#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace bom::entry {
class Session;
struct BomIdentity;
} // namespace bom::entry

namespace bom::bomservice {

// The one answer to "may this operator touch this BOM": it exists and his list would show it.
// Every command that names a BOM or a line asks here, so a BOM his row rights hide behaves
// everywhere as a BOM that does not exist.
class BomAccess {
public:
    explicit BomAccess(entry::Session& session) : session_(session) {}

    bool MayTouch(const QString& headerId) const;
    // The same question for many BOMs in one query: those of `headerIds` he may touch.
    QSet<QString> Touchable(const QStringList& headerIds) const;
    // The header id of the line when its BOM may be touched; empty when the line is gone or
    // its BOM is hidden.
    QString HeaderOfLine(const QVariant& autoid) const;
    // The BOM a planner names: a BOM id, or an item code for the item's default BOM (no sales
    // order, empty free items). Empty when there is none he may touch.
    QString BomNamed(const QString& idOrCode) const;
    // The BOM of this identity (parent, sales order, free items) he may touch; empty when none.
    QString BomOfIdentity(const entry::BomIdentity& identity) const;
    // Appended to a WHERE over ProductStructure `header`: his list shows that BOM. Empty when
    // his rights are unrestricted.
    db::SqlCondition VisibleOnly(const QString& header) const;

private:
    entry::Session& session_;
};

} // namespace bom::bomservice
