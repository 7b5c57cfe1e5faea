#include "CardEntryLookups.h"

#include "CardEntryTexts.h"
#include "bomservice/CycleCheck.h"
#include "entry/RowAuthFilter.h"
#include "entry/Session.h"
#include "suite/PublicService.h"

namespace bom::card {
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

// Adds the condition that `typed` matches the reference's columns.
db::SqlCondition matching(const QString& table, const QString& columns, const QString& typed) {
    const suite::MatchCondition match = suite::PublicService::CreateMatchStr(table, columns, typed);
    return db::SqlCondition{QStringLiteral(" and ") + match.sql, match.params};
}

} // namespace

CardEntryLookups::CardEntryLookups(entry::Session& session)
    : session_(session), db_(*session.gConn) {}

QString CardEntryLookups::loginDay() const {
    return session_.gLogin->CurDate.toString(QStringLiteral("yyyy-MM-dd")) +
           QStringLiteral(" 00:00:00.000");
}

db::SqlCondition CardEntryLookups::rights(const QString& table) const {
    return sqlText(QStringLiteral(" and ")) +
           entry::RowAuthFilter(session_).referenceCondition(table);
}

std::optional<EntryItem> CardEntryLookups::item(const db::SqlCondition& kind, const QString& typed,
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
    // A code wins over the other matches, then the match the card names second.
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

std::optional<EntryItem> CardEntryLookups::parentItem(const QString& typed) {
    return item(sqlText(QStringLiteral(" and Inventory.bInvType=0 and (Inventory.bself=1 or "
                                       "Inventory.bproxyforeign=1)")),
                typed, QStringLiteral("cInvAddCode"));
}

std::optional<EntryItem> CardEntryLookups::componentItem(const QString& typed) {
    return item({}, typed, QStringLiteral("cInvName"));
}

std::optional<EntryWarehouse> CardEntryLookups::defaultWarehouse(const QString& itemCode) {
    const db::SqlCondition sql =
        db::SqlCondition{QStringLiteral("select Warehouse.cWhCode, Warehouse.cWhName, "
                                        "COALESCE(Warehouse.iWhProperty,0) as iwhproperty from "
                                        "Inventory inner join Warehouse on "
                                        "Inventory.cDefWareHouse=Warehouse.cWhCode where "
                                        "Inventory.cInvCode=?"),
                         {itemCode}} +
        rights(QStringLiteral("Warehouse"));
    const db::Rows rows = db_.query(sql.sql, sql.params);
    if (rows.empty())
        return std::nullopt;
    return EntryWarehouse{rows.text(0, "cWhCode"), rows.text(0, "cWhName"),
                          rows.value(0, "iwhproperty").toInt()};
}

bool CardEntryLookups::isTracked(const QString& itemCode) {
    return !db_.query(QStringLiteral("select cInvCode from Inventory where COALESCE(btrack,0)<>0 "
                                     "and cInvCode=?"),
                      {itemCode})
                .empty();
}

std::array<bool, 10> CardEntryLookups::freeItemsUsed(const QString& itemCode) {
    const db::Rows rows = db_.query(QStringLiteral("select ") + freeFlagColumns() +
                                        QStringLiteral(" from Inventory where cInvCode=?"),
                                    {itemCode});
    return rows.empty() ? std::array<bool, 10>{} : freeFlagsOf(rows);
}

std::optional<EntryCode> CardEntryLookups::codeAndName(const QString& from, const QString& code,
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

std::optional<EntryCode> CardEntryLookups::endDepartment(const QString& typed) {
    return codeAndName(QStringLiteral("Department where bDepEnd=1 and"), QStringLiteral("cDepCode"),
                       QStringLiteral("cDepName"), QStringLiteral("Department"), typed);
}

std::optional<EntryWarehouse> CardEntryLookups::warehouse(const QString& typed) {
    const db::SqlCondition sql =
        db::SqlCondition{QStringLiteral("select cWhCode, cWhName, COALESCE(iwhproperty,0) as "
                                        "iwhproperty from Warehouse where (cWhCode=? or "
                                        "cWhName=?)"),
                         {typed, typed}} +
        rights(QStringLiteral("Warehouse")) +
        db::SqlCondition{QStringLiteral(" order by case when cWhCode=? then 0 else 1 end, cWhCode "
                                        "LIMIT 1"),
                         {typed}};
    const db::Rows rows = db_.query(sql.sql, sql.params);
    if (rows.empty())
        return std::nullopt;
    return EntryWarehouse{rows.text(0, "cWhCode"), rows.text(0, "cWhName"),
                          rows.value(0, "iwhproperty").toInt()};
}

std::optional<int> CardEntryLookups::warehouseProperty(const QString& code) {
    const db::Rows rows = db_.query(
        QStringLiteral("select COALESCE(iwhproperty,0) from Warehouse where cwhcode=?"), {code});
    if (rows.empty())
        return std::nullopt;
    return rows.at(0).at(0).toInt();
}

std::optional<EntryCode> CardEntryLookups::person(const QString& typed) {
    return codeAndName(QStringLiteral("Person where"), QStringLiteral("cPersonCode"),
                       QStringLiteral("cPersonName"), QStringLiteral("Person"), typed);
}

std::optional<EntryCode> CardEntryLookups::operation(const QString& typed) {
    return codeAndName(QStringLiteral("CA_Predf where"), QStringLiteral("cProcedureId"),
                       QStringLiteral("cProcedureName"), QString(), typed);
}

std::optional<EntryUnit> CardEntryLookups::unitOfItem(const QString& itemCode,
                                                      const QString& typed) {
    const db::Rows rows = db_.query(
        QStringLiteral("select u.cComUnitCode, u.cComUnitName, u.iChangRate, "
                       "COALESCE(g.iGroupType,0) as igrouptype from ComputationUnit u inner join "
                       "ComputationGroup g on g.cGroupCode=u.cGroupCode inner join Inventory i on "
                       "i.cGroupCode=u.cGroupCode where i.cInvCode=? and (u.cComUnitCode=? or "
                       "u.cComUnitName=?) order by case when u.cComUnitCode=? then 0 else 1 end "
                       "LIMIT 1"),
        {itemCode, typed, typed, typed});
    if (rows.empty())
        return std::nullopt;
    return EntryUnit{rows.text(0, "cComUnitCode"), rows.text(0, "cComUnitName"),
                     rows.value(0, "iChangRate"), rows.value(0, "igrouptype").toInt()};
}

int CardEntryLookups::groupTypeOfUnit(const QString& unitCode) {
    return db_
        .scalar(QStringLiteral("select COALESCE(ComputationGroup.iGroupType,0) from "
                               "ComputationUnit left join ComputationGroup on "
                               "ComputationUnit.cGroupCode=ComputationGroup.cGroupCode where "
                               "ComputationUnit.cComUnitCode=? LIMIT 1"),
                {unitCode})
        .toInt();
}

bool CardEntryLookups::orderExists(const QString& order) {
    return !db_.query(QStringLiteral("select id from so_somain where csocode=?"), {order}).empty();
}

std::optional<qlonglong> CardEntryLookups::orderLineOfItem(const QString& order,
                                                           const QString& item) {
    const db::Rows rows = db_.query(
        QStringLiteral("select so_sodetails.autoid from so_sodetails inner join so_somain on "
                       "so_sodetails.id=so_somain.id where so_somain.csocode=? and "
                       "so_sodetails.cinvcode=? order by so_sodetails.autoid LIMIT 1"),
        {order, item});
    if (rows.empty())
        return std::nullopt;
    return rows.at(0).at(0).toLongLong();
}

bool CardEntryLookups::orderLineExists(const QString& order, const QString& item,
                                       qlonglong lineId) {
    return !db_.query(QStringLiteral("select so_sodetails.autoid from so_sodetails inner join "
                                     "so_somain on so_sodetails.id=so_somain.id where "
                                     "so_somain.csocode=? and so_sodetails.cinvcode=? and "
                                     "so_sodetails.autoid=?"),
                      {order, item, lineId})
                .empty();
}

db::SqlCondition CardEntryLookups::routingOf(const QString& parent,
                                             const QStringList& freeItems) const {
    db::SqlCondition sql{QStringLiteral("cInvCode=?"), {parent}};
    for (int n = 1; n <= 10; ++n)
        sql +=
            db::SqlCondition{QStringLiteral(" and (COALESCE(cFree%1,'')='' or cFree%1=?)").arg(n),
                             {freeItems.value(n - 1)}};
    return sql;
}

std::optional<EntryRouting> CardEntryLookups::routing(const QString& typed, const QString& parent,
                                                      const QStringList& freeItems) {
    const db::SqlCondition sql =
        db::SqlCondition{QStringLiteral("select routid, routcode, routname, cRoutSoCode from "
                                        "PP_RoutMainRef_V where (routcode=? or CAST(routid AS "
                                        "VARCHAR(20))=? or routname=?) and "),
                         {typed, typed, typed}} +
        routingOf(parent, freeItems) +
        db::SqlCondition{QStringLiteral(" order by case when routcode=? then 0 else 1 end, routid "
                                        "LIMIT 1"),
                         {typed}};
    const db::Rows rows = db_.query(sql.sql, sql.params);
    if (rows.empty())
        return std::nullopt;
    return EntryRouting{rows.value(0, "routid"), rows.text(0, "routcode"), rows.text(0, "routname"),
                        rows.text(0, "cRoutSoCode")};
}

std::optional<EntryRouting> CardEntryLookups::routingVersion(const QString& routCode,
                                                             const QString& version) {
    const db::Rows rows =
        db_.query(QStringLiteral("select routid, routcode, routname, cRoutSoCode from "
                                 "PP_RoutMainRef_V where (routcode=? and "
                                 "COALESCE(cRoutSoCode,'')=?) order by routid LIMIT 1"),
                  {routCode, version});
    if (rows.empty())
        return std::nullopt;
    return EntryRouting{rows.value(0, "routid"), rows.text(0, "routcode"), rows.text(0, "routname"),
                        rows.text(0, "cRoutSoCode")};
}

bool CardEntryLookups::usesDirectly(const QString& component, const QString& parent) {
    return bomservice::CycleCheck(db_, session_.prompter).HasDirectCycle(parent, component);
}

std::optional<UserDefinition> CardEntryLookups::definition(const QString& cls,
                                                           const QString& item) {
    auto known = definitions_.find(cls);
    if (known == definitions_.end()) {
        const db::Rows rows = db_.query(
            QStringLiteral("select cID, cItem, COALESCE(cItemName,cItem) as caption, cType, "
                           "COALESCE(iLength,0) as ilength, COALESCE(bArchive,0) as barchive, "
                           "COALESCE(bcheckval,0) as bcheckval from userdef where cClass=?"),
            {cls});
        QHash<QString, UserDefinition> byItem;
        for (std::size_t i = 0; i < rows.size(); ++i)
            byItem.insert(rows.text(i, "cItem"),
                          {rows.value(i, "cID").toInt(), rows.text(i, "caption"),
                           rows.text(i, "cType").trimmed(), rows.value(i, "ilength").toInt(),
                           rows.value(i, "barchive").toInt() != 0 ||
                               rows.value(i, "bcheckval").toInt() != 0});
        known = definitions_.insert(cls, byItem);
    }
    const auto found = known->find(item);
    if (found == known->end())
        return std::nullopt;
    return *found;
}

bool CardEntryLookups::definedValue(int definitionId, const QString& value) {
    return !db_.query(QStringLiteral("select cValue from userdefine where cID=? and cValue=?"),
                      {definitionId, value})
                .empty();
}

const entry::DisplayTerms& CardEntryLookups::terms() {
    if (!terms_)
        terms_ = entry::DisplayTerms::load(db_);
    return *terms_;
}

entry::ReferenceQuery CardEntryLookups::orderLines(const QString& parent, const QString& typed) {
    const QStringList captions = CardEntryTexts::orderColumns().split(QLatin1Char(','));
    entry::ReferenceQuery query;
    query.key = QStringLiteral("PP_SoLineRef");
    query.table = QStringLiteral("so_sodetails");
    query.select =
        db::SqlCondition{QStringLiteral("select so_somain.csocode as \"%1\", so_sodetails.autoid "
                                        "as \"%2\", so_sodetails.cinvcode as \"%3\" from "
                                        "so_sodetails inner join so_somain on "
                                        "so_sodetails.id=so_somain.id where "
                                        "so_sodetails.cinvcode=?")
                             .arg(captions.value(0), captions.value(1), captions.value(2)),
                         {parent}} +
        matching(query.table, QStringLiteral("so_somain.csocode,so_sodetails.autoid"), typed);
    query.orderBy = QStringLiteral(" order by so_somain.csocode, so_sodetails.autoid");
    return query;
}

entry::ReferenceQuery CardEntryLookups::routings(const QString& parent,
                                                 const QStringList& freeItems,
                                                 const QString& typed) {
    entry::ReferenceQuery query;
    query.key = QStringLiteral("PP_RoutMainRef_VRef");
    query.table = QStringLiteral("PP_RoutMainRef_V");
    query.select = sqlText(QStringLiteral("select routcode, routname, croutsocode, routid from "
                                          "PP_RoutMainRef_V where ")) +
                   routingOf(parent, freeItems) +
                   matching(query.table, QStringLiteral("routcode,routname,croutsocode"), typed);
    query.orderBy = QStringLiteral(" order by routcode, croutsocode, routid");
    return query;
}

entry::ReferenceQuery CardEntryLookups::routingVersions(const QString& routCode,
                                                        const QString& typed) {
    entry::ReferenceQuery query;
    query.key = QStringLiteral("PP_RoutVersionRef");
    query.table = QStringLiteral("PP_RoutMainRef_V");
    query.select = db::SqlCondition{QStringLiteral("select croutsocode, routname, routcode from "
                                                   "PP_RoutMainRef_V where routcode=?"),
                                    {routCode}} +
                   matching(query.table, QStringLiteral("croutsocode"), typed);
    query.orderBy = QStringLiteral(" order by croutsocode, routid");
    return query;
}

entry::ReferenceQuery CardEntryLookups::unitsOfItem(const QString& itemCode, const QString& typed) {
    const QStringList captions = CardEntryTexts::unitColumns().split(QLatin1Char(','));
    entry::ReferenceQuery query;
    query.key = QStringLiteral("PP_AuxUnitRef");
    query.table = QStringLiteral("ComputationUnit");
    query.select =
        db::SqlCondition{
            QStringLiteral("select u.cComUnitCode as \"%1\", u.cComUnitName as \"%2\", "
                           "g.cGroupName as \"%3\", case COALESCE(g.iGroupType,0) when 0 then ? "
                           "when 1 then ? else ? end as \"%4\", case when u.bMainUnit=1 then ? "
                           "else ? end as \"%5\", u.iChangRate as \"%6\" from ComputationUnit u "
                           "inner join ComputationGroup g on g.cGroupCode=u.cGroupCode inner join "
                           "Inventory i on i.cGroupCode=u.cGroupCode where i.cInvCode=?")
                .arg(captions.value(0), captions.value(1), captions.value(2), captions.value(3),
                     captions.value(4), captions.value(5)),
            {CardEntryTexts::groupTypeName(0), CardEntryTexts::groupTypeName(1),
             CardEntryTexts::groupTypeName(2), QStringLiteral("是"), QStringLiteral("否"),
             itemCode}} +
        matching(query.table, QStringLiteral("u.cComUnitCode,u.cComUnitName"), typed);
    query.orderBy = QStringLiteral(" order by u.bMainUnit desc, u.cComUnitCode");
    return query;
}

} // namespace bom::card
