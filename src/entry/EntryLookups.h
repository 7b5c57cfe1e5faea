#pragma once

#include "db/SqlCondition.h"

#include <QHash>
#include <QString>
#include <QVariant>
#include <array>
#include <optional>

namespace bom::entry {

class Session;

// An item as a card line or a batch editor takes it.
struct EntryItem {
    QString code;
    QString name;
    QString specification;
    QString addCode;
    QString mainUnitName;
    QString auxUnitCode; // the item's default auxiliary unit, empty when it has none
    QString auxUnitName;
    QVariant auxRate;
    int auxGroupType = 0; // of the auxiliary unit's group
    int planPolicy = 0;
    bool tracked = false;
    std::array<bool, 10> usesFree{};
    std::array<QVariant, 16> defines; // cinvdefine1 … cinvdefine16
    QVariant referenceCost;           // null when the item has none
};

struct EntryWarehouse {
    QString code;
    QString name;
    int property = 0; // 0 ordinary, 1 site, 2 outsourcing
    QString keeper;   // the storekeeper's name, empty when it has none
    bool isSite() const { return property == 1 || property == 2; }
};

struct EntryCode {
    QString code;
    QString name;
};

// A user-defined item or free item as userdef defines it.
struct UserDefinition {
    int id = 0;
    QString item; // "自由项1", "自定义项1" …
    QString caption;
    bool named = false; // the account gave it a name of its own
    QString type;       // "文本", "数值", "日期" …
    int length = 0;
    bool checked = false; // values must be among its userdefine rows
};

// The master-data questions every entry check shares (the card's fields and cells, the batch
// editors), each narrowed to the operator's row rights where the master data has them.
// Nothing here writes; failures throw db::DbError.
class EntryLookups {
public:
    explicit EntryLookups(Session& session);

    // Valid on the login date and not a service item, matched by code, additional code or
    // name under `kind` (extra conditions on Inventory); a code wins, then `preferred`.
    std::optional<EntryItem> item(const db::SqlCondition& kind, const QString& typed,
                                  const QString& preferred);
    // The item's default warehouse when the operator may use it.
    std::optional<EntryWarehouse> defaultWarehouse(const QString& itemCode);
    bool isTracked(const QString& itemCode);
    std::array<bool, 10> freeItemsUsed(const QString& itemCode);

    // Any department, or only an end (leaf) one, by code or name.
    std::optional<EntryCode> department(const QString& typed, bool endOnly);
    std::optional<EntryWarehouse> warehouse(const QString& typed);
    std::optional<int> warehouseProperty(const QString& code);
    std::optional<EntryCode> person(const QString& typed);
    std::optional<EntryCode> operation(const QString& typed);

    // By class ("单据头", "单据体", "存货") and item ("自定义项1", "自由项1" …); read once per
    // class.
    std::optional<UserDefinition> definition(const QString& cls, const QString& item);
    bool definedValue(int definitionId, const QString& value);

    // A value of an item userdef defines: of its type, within its length and, when the
    // definition says so, one of its listed values. An item without a definition takes any text.
    enum class DefinedValue { Accepted, NotANumber, NotADate, TooLong, NotListed };
    DefinedValue checkDefinedValue(const QString& cls, const QString& item, const QString& value);

    QString loginDay() const; // "yyyy-MM-dd 00:00:00.000"

private:
    // "select code, name from <from> (code=typed or name=typed)" under the rights on `table`.
    std::optional<EntryCode> codeAndName(const QString& from, const QString& code,
                                         const QString& name, const QString& table,
                                         const QString& typed);
    db::SqlCondition rights(const QString& table) const;

    Session& session_;
    db::Database& db_;
    QHash<QString, QHash<QString, UserDefinition>> definitions_; // class -> item -> definition
};

} // namespace bom::entry
