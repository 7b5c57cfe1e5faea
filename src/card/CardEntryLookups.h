#pragma once

#include "entry/DisplayTerms.h"
#include "entry/EntryLookups.h"
#include "entry/ReferenceLookup.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <array>
#include <optional>

namespace bom::entry {
class Session;
}

namespace bom::card {

// The master data the card shares with the other entry checks.
using EntryItem = entry::EntryItem;
using EntryWarehouse = entry::EntryWarehouse;
using EntryCode = entry::EntryCode;
using UserDefinition = entry::UserDefinition;

struct EntryRouting {
    QVariant id;
    QString code;
    QString name;
    QString version;
};

struct EntryUnit {
    QString code;
    QString name;
    QVariant rate;
    int groupType = 0;
};

// The database questions of the card's entry checks, each narrowed to the operator's row rights
// where the master data has them. Nothing here writes; failures throw db::DbError.
class CardEntryLookups {
public:
    explicit CardEntryLookups(entry::Session& session);

    // Self-made or subcontracted, valid on the login date, by code, additional code or name.
    std::optional<EntryItem> parentItem(const QString& typed);
    // Valid on the login date and not a service item, by code, name or additional code.
    std::optional<EntryItem> componentItem(const QString& typed);
    // The item's default warehouse when the operator may use it.
    std::optional<EntryWarehouse> defaultWarehouse(const QString& itemCode);
    bool isTracked(const QString& itemCode);
    std::array<bool, 10> freeItemsUsed(const QString& itemCode);

    std::optional<EntryCode> endDepartment(const QString& typed);
    std::optional<EntryWarehouse> warehouse(const QString& typed);
    std::optional<int> warehouseProperty(const QString& code);
    std::optional<EntryCode> person(const QString& typed);
    std::optional<EntryCode> operation(const QString& typed);

    // A unit of the item's unit group, by code or name.
    std::optional<EntryUnit> unitOfItem(const QString& itemCode, const QString& typed);
    // The type of the group of a unit: 0 single, 1 fixed rate, 2 floating rate.
    int groupTypeOfUnit(const QString& unitCode);

    bool orderExists(const QString& order);
    // The first line (by line id) of `order` for `item`; nothing when it has none.
    std::optional<qlonglong> orderLineOfItem(const QString& order, const QString& item);
    bool orderLineExists(const QString& order, const QString& item, qlonglong lineId);

    // A routing of `parent` by code, id or name; a routing that leaves a free item open serves
    // every value of it.
    std::optional<EntryRouting> routing(const QString& typed, const QString& parent,
                                        const QStringList& freeItems);
    std::optional<EntryRouting> routingVersion(const QString& routCode, const QString& version);

    // Does `component`'s own BOM list `parent` already?
    bool usesDirectly(const QString& component, const QString& parent);

    // By class ("单据头", "单据体", "存货") and item ("自定义项1", "自由项1" …); read once per
    // class.
    std::optional<UserDefinition> definition(const QString& cls, const QString& item);
    bool definedValue(int definitionId, const QString& value);

    const entry::DisplayTerms& terms();

    // The card's own reference lists.
    entry::ReferenceQuery orderLines(const QString& parent, const QString& typed);
    entry::ReferenceQuery routings(const QString& parent, const QStringList& freeItems,
                                   const QString& typed);
    entry::ReferenceQuery routingVersions(const QString& routCode, const QString& typed);
    entry::ReferenceQuery unitsOfItem(const QString& itemCode, const QString& typed);

    entry::EntryLookups& master() { return master_; }

private:
    db::SqlCondition routingOf(const QString& parent, const QStringList& freeItems) const;

    entry::Session& session_;
    db::Database& db_;
    entry::EntryLookups master_;
    std::optional<entry::DisplayTerms> terms_;
};

} // namespace bom::card
