#include "CardEntryLookups.h"

#include "CardEntryTexts.h"
#include "bomservice/CycleCheck.h"
#include "entry/RowAuthFilter.h"
#include "entry/Session.h"
#include "suite/PublicService.h"

namespace bom::card {
namespace {

using db::sqlText;

// Adds the condition that `typed` matches the reference's columns.
db::SqlCondition matching(const QString& table, const QString& columns, const QString& typed) {
    const suite::MatchCondition match = suite::PublicService::CreateMatchStr(table, columns, typed);
    return db::SqlCondition{QStringLiteral(" and ") + match.sql, match.params};
}

} // namespace

CardEntryLookups::CardEntryLookups(entry::Session& session)
    : session_(session), db_(*session.gConn), master_(session) {}

std::optional<EntryItem> CardEntryLookups::parentItem(const QString& typed) {
    return master_.item(sqlText(QStringLiteral(" and Inventory.bInvType=0 and (Inventory.bself=1 "
                                               "or Inventory.bproxyforeign=1)")),
                        typed, QStringLiteral("cInvAddCode"));
}

std::optional<EntryItem> CardEntryLookups::componentItem(const QString& typed) {
    return master_.item({}, typed, QStringLiteral("cInvName"));
}

std::optional<EntryWarehouse> CardEntryLookups::defaultWarehouse(const QString& itemCode) {
    return master_.defaultWarehouse(itemCode);
}

bool CardEntryLookups::isTracked(const QString& itemCode) {
    return master_.isTracked(itemCode);
}

std::array<bool, 10> CardEntryLookups::freeItemsUsed(const QString& itemCode) {
    return master_.freeItemsUsed(itemCode);
}

std::optional<EntryCode> CardEntryLookups::endDepartment(const QString& typed) {
    return master_.department(typed, true);
}

std::optional<EntryWarehouse> CardEntryLookups::warehouse(const QString& typed) {
    return master_.warehouse(typed);
}

std::optional<int> CardEntryLookups::warehouseProperty(const QString& code) {
    return master_.warehouseProperty(code);
}

std::optional<EntryCode> CardEntryLookups::person(const QString& typed) {
    return master_.person(typed);
}

std::optional<EntryCode> CardEntryLookups::operation(const QString& typed) {
    return master_.operation(typed);
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
    return master_.definition(cls, item);
}

bool CardEntryLookups::definedValue(int definitionId, const QString& value) {
    return master_.definedValue(definitionId, value);
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
