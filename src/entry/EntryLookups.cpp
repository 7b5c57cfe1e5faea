#include "EntryLookups.h"

#include "RowAuthFilter.h"
#include "Session.h"
#include "VoucherHelpers.h"

#include <QDate>

namespace bom::entry {
namespace {

using db::sqlText;

QString freeFlagColumns() {
    QStringList columns;
    for (int n = 1; n <= 10; ++n)
        columns << QStringLiteral("COALESCE(Inventory.bFree%1,0) as bfree%1").arg(n);
    return columns.join(QLatin1Char(','));
}

QString defineColumns() {
    QStringList columns;
    for (int n = 1; n <= 16; ++n)
        columns << QStringLiteral("Inventory.cInvDefine%1").arg(n);
    return columns.join(QLatin1Char(','));
}

std::array<bool, 10> freeFlagsOf(const db::Rows& rows) {
    std::array<bool, 10> flags{};
    for (int n = 1; n <= 10; ++n)
        flags[std::size_t(n - 1)] = rows.value(0, QStringLiteral("bfree%1").arg(n)).toInt() != 0;
    return flags;
}

// Warehouses with their property and storekeeper, for a condition on Warehouse.
const QString kWarehouseSelect = QStringLiteral(
    "select Warehouse.cWhCode, Warehouse.cWhName, COALESCE(Warehouse.iWhProperty,0) as "
    "iwhproperty, Person.cPersonName as keeper from Warehouse left join Person on "
    "Person.cPersonCode=Warehouse.cWhPerson ");

std::optional<EntryWarehouse> warehouseOf(const db::Rows& rows) {
    if (rows.empty())
        return std::nullopt;
    return EntryWarehouse{rows.text(0, "cWhCode"), rows.text(0, "cWhName"),
                          rows.value(0, "iwhproperty").toInt(), rows.text(0, "keeper")};
}

} // namespace

EntryLookups::EntryLookups(Session& session) : session_(session), db_(*session.gConn) {}

QString EntryLookups::loginDay() const {
    return session_.gLogin->CurDate.toString(QStringLiteral("yyyy-MM-dd")) +
           QStringLiteral(" 00:00:00.000");
}

db::SqlCondition EntryLookups::rights(const QString& table) const {
    return sqlText(QStringLiteral(" and ")) + RowAuthFilter(session_).referenceCondition(table);
}

std::optional<EntryItem> EntryLookups::item(const db::SqlCondition& kind, const QString& typed,
                                            const QString& preferred) {
    const QString day = loginDay();
    db::SqlCondition sql{
        QStringLiteral(
            "select Inventory.cInvCode, Inventory.cInvName, Inventory.cInvStd, "
            "Inventory.cInvAddCode, MUnit.cComUnitName as munitname, "
            "Inventory.cAssComUnitCode as aunitcode, AUnit.cComUnitName as aunitname, "
            "AUnit.iChangRate as aunitrate, COALESCE(AGroup.iGroupType,0) as agrouptype, "
            "COALESCE(Inventory.iPlanPolicy,0) as "
            "iplanpolicy, COALESCE(Inventory.btrack,0) as btrack, Inventory.iInvRCost, ") +
            freeFlagColumns() + QLatin1Char(',') + defineColumns() +
            QStringLiteral(" from Inventory left join ComputationUnit MUnit on "
                           "MUnit.cComUnitCode=Inventory.cComunitCode left join ComputationUnit "
                           "AUnit on AUnit.cComUnitCode=Inventory.cAssComUnitCode left join "
                           "ComputationGroup AGroup on AGroup.cGroupCode=AUnit.cGroupCode where "
                           "Inventory.bService=0 and COALESCE(Inventory.dEDate, ?) >= ? and "
                           "(Inventory.cInvCode=? or Inventory.cInvAddCode=? or "
                           "Inventory.cInvName=?)"),
        {day, day, typed, typed, typed}};
    sql += kind;
    sql += rights(QStringLiteral("Inventory"));
    // A code wins over the other matches, then the match the caller names second.
    sql += db::SqlCondition{
        QStringLiteral(" order by case when Inventory.cInvCode=? then 0 when Inventory.%1=? then 1 "
                       "else 2 end, Inventory.cInvCode LIMIT 1")
            .arg(preferred),
        {typed, typed}};
    const db::Rows rows = db_.query(sql.sql, sql.params);
    if (rows.empty())
        return std::nullopt;
    EntryItem item;
    item.code = rows.text(0, "cInvCode");
    item.name = rows.text(0, "cInvName");
    item.specification = rows.text(0, "cInvStd");
    item.addCode = rows.text(0, "cInvAddCode");
    item.mainUnitName = rows.text(0, "munitname");
    item.auxUnitCode = rows.text(0, "aunitcode");
    item.auxUnitName = rows.text(0, "aunitname");
    item.auxRate = rows.value(0, "aunitrate");
    item.auxGroupType = rows.value(0, "agrouptype").toInt();
    item.planPolicy = rows.value(0, "iplanpolicy").toInt();
    item.tracked = rows.value(0, "btrack").toInt() != 0;
    item.usesFree = freeFlagsOf(rows);
    for (int n = 1; n <= 16; ++n)
        item.defines[std::size_t(n - 1)] = rows.value(0, QStringLiteral("cInvDefine%1").arg(n));
    item.referenceCost = rows.value(0, "iInvRCost");
    return item;
}

std::optional<EntryWarehouse> EntryLookups::defaultWarehouse(const QString& itemCode) {
    const db::SqlCondition sql =
        db::SqlCondition{kWarehouseSelect +
                             QStringLiteral("inner join Inventory on "
                                            "Inventory.cDefWareHouse=Warehouse.cWhCode where "
                                            "Inventory.cInvCode=?"),
                         {itemCode}} +
        rights(QStringLiteral("Warehouse"));
    return warehouseOf(db_.query(sql.sql, sql.params));
}

bool EntryLookups::isTracked(const QString& itemCode) {
    return !db_.query(QStringLiteral("select cInvCode from Inventory where COALESCE(btrack,0)<>0 "
                                     "and cInvCode=?"),
                      {itemCode})
                .empty();
}

std::array<bool, 10> EntryLookups::freeItemsUsed(const QString& itemCode) {
    const db::Rows rows = db_.query(QStringLiteral("select ") + freeFlagColumns() +
                                        QStringLiteral(" from Inventory where cInvCode=?"),
                                    {itemCode});
    return rows.empty() ? std::array<bool, 10>{} : freeFlagsOf(rows);
}

std::optional<EntryCode> EntryLookups::codeAndName(const QString& from, const QString& code,
                                                   const QString& name, const QString& table,
                                                   const QString& typed) {
    db::SqlCondition query{
        QStringLiteral("select %1, %2 from %3 (%1=? or %2=?)").arg(code, name, from),
        {typed, typed}};
    if (!table.isEmpty())
        query += rights(table);
    // A code wins over a name that happens to read the same.
    query += db::SqlCondition{
        QStringLiteral(" order by case when %1=? then 0 else 1 end, %1 LIMIT 1").arg(code),
        {typed}};
    const db::Rows rows = db_.query(query.sql, query.params);
    if (rows.empty())
        return std::nullopt;
    return EntryCode{rows.at(0).at(0).toString(), rows.at(0).at(1).toString()};
}

std::optional<EntryCode> EntryLookups::department(const QString& typed, bool endOnly) {
    return codeAndName(endOnly ? QStringLiteral("Department where bDepEnd=1 and")
                               : QStringLiteral("Department where"),
                       QStringLiteral("cDepCode"), QStringLiteral("cDepName"),
                       QStringLiteral("Department"), typed);
}

std::optional<EntryWarehouse> EntryLookups::warehouse(const QString& typed) {
    const db::SqlCondition sql =
        db::SqlCondition{kWarehouseSelect + QStringLiteral("where (Warehouse.cWhCode=? or "
                                                           "Warehouse.cWhName=?)"),
                         {typed, typed}} +
        rights(QStringLiteral("Warehouse")) +
        db::SqlCondition{QStringLiteral(" order by case when Warehouse.cWhCode=? then 0 else 1 "
                                        "end, Warehouse.cWhCode LIMIT 1"),
                         {typed}};
    return warehouseOf(db_.query(sql.sql, sql.params));
}

std::optional<int> EntryLookups::warehouseProperty(const QString& code) {
    const db::Rows rows = db_.query(
        QStringLiteral("select COALESCE(iwhproperty,0) from Warehouse where cwhcode=?"), {code});
    if (rows.empty())
        return std::nullopt;
    return rows.at(0).at(0).toInt();
}

std::optional<EntryCode> EntryLookups::person(const QString& typed) {
    return codeAndName(QStringLiteral("Person where"), QStringLiteral("cPersonCode"),
                       QStringLiteral("cPersonName"), QStringLiteral("Person"), typed);
}

std::optional<EntryCode> EntryLookups::operation(const QString& typed) {
    return codeAndName(QStringLiteral("CA_Predf where"), QStringLiteral("cProcedureId"),
                       QStringLiteral("cProcedureName"), QString(), typed);
}

std::optional<UserDefinition> EntryLookups::definition(const QString& cls, const QString& item) {
    auto known = definitions_.find(cls);
    if (known == definitions_.end()) {
        const db::Rows rows = db_.query(
            QStringLiteral("select cID, cItem, cItemName, cType, COALESCE(iLength,0) as ilength, "
                           "COALESCE(bArchive,0) as barchive, COALESCE(bcheckval,0) as "
                           "bcheckval from userdef where cClass=?"),
            {cls});
        QHash<QString, UserDefinition> byItem;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const QString name = rows.text(i, "cItemName").trimmed();
            byItem.insert(rows.text(i, "cItem"),
                          {rows.value(i, "cID").toInt(), rows.text(i, "cItem"),
                           name.isEmpty() ? rows.text(i, "cItem") : name, !name.isEmpty(),
                           rows.text(i, "cType").trimmed(), rows.value(i, "ilength").toInt(),
                           rows.value(i, "barchive").toInt() != 0 ||
                               rows.value(i, "bcheckval").toInt() != 0});
        }
        known = definitions_.insert(cls, byItem);
    }
    const auto found = known->find(item);
    if (found == known->end())
        return std::nullopt;
    return *found;
}

bool EntryLookups::definedValue(int definitionId, const QString& value) {
    return !db_.query(QStringLiteral("select cValue from userdefine where cID=? and cValue=?"),
                      {definitionId, value})
                .empty();
}

EntryLookups::DefinedValue EntryLookups::checkDefinedValue(const QString& cls, const QString& item,
                                                           const QString& value) {
    const std::optional<UserDefinition> defined = definition(cls, item);
    if (!defined)
        return DefinedValue::Accepted;
    if (defined->type == QStringLiteral("数值") && !VoucherHelpers::ToNumber(value))
        return DefinedValue::NotANumber;
    if (defined->type == QStringLiteral("日期") && !QDate::fromString(value, Qt::ISODate).isValid())
        return DefinedValue::NotADate;
    if (defined->length > 0 && value.size() > defined->length)
        return DefinedValue::TooLong;
    if (defined->checked && !definedValue(defined->id, value))
        return DefinedValue::NotListed;
    return DefinedValue::Accepted;
}

} // namespace bom::entry
