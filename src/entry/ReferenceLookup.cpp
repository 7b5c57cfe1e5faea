#include "ReferenceLookup.h"

#include "Common.h"
#include "RowAuthFilter.h"
#include "Session.h"
#include "suite/PublicService.h"

#include <QRegularExpression>

namespace bom::entry {
namespace {

using db::sqlText;

struct ReferenceKind {
    QStringList fields; // lower case
    QString key;
    QString defaultColumns;
    QString table;
    QString from;    // the SQL after the select list, up to the conditions
    bool authorised; // whether the operator's row rights on `table` apply
};

const std::vector<ReferenceKind>& referenceKinds() {
    static const std::vector<ReferenceKind> kinds{
        {{"cinvcode", "cinvname"},
         "InventoryRef",
         "cInvCode,cInvName,cInvAddCode",
         "Inventory",
         " from Inventory left join ComputationUnit on ComputationUnit.cComUnitCode="
         "Inventory.cComunitCode left join ComputationGroup on ComputationGroup.cGroupCode = "
         "ComputationUnit.cGroupCode where bService=0 and (COALESCE(iPlanPolicy,0)=1 or "
         "COALESCE(iPlanPolicy,0)=0) and (bself=1 or bproxyforeign=1) and bInvType=0 and "
         "COALESCE(dEDate, ?) >= ? and ",
         true},
        // Components may be bought as well as made, and any plan policy.
        {{"cpscode"},
         "InventoryRef",
         "cInvCode,cInvName,cInvAddCode",
         "Inventory",
         " from Inventory left join ComputationUnit on ComputationUnit.cComUnitCode="
         "Inventory.cComunitCode left join ComputationGroup on ComputationGroup.cGroupCode = "
         "ComputationUnit.cGroupCode where bService=0 and bInvType=0 and "
         "COALESCE(dEDate, ?) >= ? and ",
         true},
        {{"cwhcode", "cwhname"},
         "WarehouseRef",
         "CWhCode,CWhName",
         "Warehouse",
         " from Warehouse where ",
         true},
        {{"cdepcode", "cdepname"},
         "DepartmentRef",
         "cDepCode,cDepName",
         "Department",
         " from Department where bDepEnd=1 and ",
         true},
        {{"cpersoncode", "cpersonname"},
         "PersonRef",
         "Person.CPersonCode,Person.CPersonName",
         "Person",
         " from Person left join Department on Person.cDepCode=Department.cDepCode where ",
         true},
        {{"cprocedureid", "cprocedurename"},
         "CA_PredfRef",
         "cProcedureId,cProcedureName",
         "CA_Predf",
         " from CA_Predf where ",
         false},
        {{"cid", "ctext"},
         "GL_bdigest",
         "cId,cText",
         "GL_bdigest",
         " from GL_bdigest where ",
         false},
        {{"routcode", "routname"},
         "PP_RoutMainRef_VRef",
         "routcode,routname",
         "PP_RoutMainRef_V",
         " from PP_RoutMainRef_V where ",
         false},
    };
    return kinds;
}

// cFree1 … cFree10 and a line's cdefine22 … cdefine37: the values the account keeps for that
// free item or user-defined item, by its class and item name in userdef.
std::optional<std::pair<QString, QString>> definedItemOf(const QString& field) {
    static const QRegularExpression free(QStringLiteral("^cfree([1-9]|10)$"));
    static const QRegularExpression line(QStringLiteral("^cdefine(2[2-9]|3[0-7])$"));
    if (const auto match = free.match(field); match.hasMatch())
        return std::make_pair(QStringLiteral("存货"),
                              QStringLiteral("自由项%1").arg(match.captured(1)));
    if (const auto match = line.match(field); match.hasMatch())
        return std::make_pair(QStringLiteral("单据体"),
                              QStringLiteral("自定义项%1").arg(match.captured(1).toInt() - 21));
    return std::nullopt;
}

} // namespace

db::Rows ReferenceQuery::page(db::Database& db, int pageIndex, int pageSize) const {
    db::Params params = select.params;
    params << pageSize << pageIndex * pageSize;
    return db.query(select.sql + orderBy + QStringLiteral(" LIMIT ? OFFSET ?"), params);
}

db::Rows ReferenceQuery::classes(db::Database& db) const {
    if (classTree.isEmpty())
        return {};
    return db.query(classTree.sql, classTree.params);
}

std::optional<ReferenceQuery> ReferenceLookup::ShowRef(const QString& fieldName,
                                                       const QString& typedText) {
    const QString field = fieldName.trimmed().toLower();
    const RowAuthFilter auth(session_);
    ReferenceQuery query;
    db::SqlCondition from;
    QString defaultColumns;
    if (const auto defined = definedItemOf(field)) {
        query.key = QStringLiteral("UserdefFreeRef");
        query.table = QStringLiteral("userdefine");
        defaultColumns = QStringLiteral("cValue,cAlias");
        from = {QStringLiteral(" from userdefine where cID =(select cID from userdef where "
                               "cClass=? and cItem=? LIMIT 1) and (1=1)"),
                {defined->first, defined->second}};
    } else {
        const auto& kinds = referenceKinds();
        const auto kind = std::find_if(kinds.begin(), kinds.end(), [&](const ReferenceKind& k) {
            return k.fields.contains(field);
        });
        if (kind == kinds.end()) {
            session_.ShowInfo(QStringLiteral("没有设定参照！"));
            return std::nullopt;
        }
        query.key = kind->key;
        query.table = kind->table;
        defaultColumns = kind->defaultColumns;
        from = sqlText(kind->from);
        if (kind->table == QLatin1String("Inventory")) {
            const QString day = session_.gLogin->CurDate.toString(QStringLiteral("yyyy-MM-dd")) +
                                QStringLiteral(" 00:00:00.000");
            from.params << day << day;
        }
        from += kind->authorised ? auth.referenceCondition(kind->table)
                                 : sqlText(QStringLiteral("(1=1)"));
        if (kind->table == QLatin1String("Inventory"))
            query.classTree = sqlText(QStringLiteral(
                "select cInvCCode,cInvCName,cEcoCode from InventoryClass order by cInvCCode asc"));
        if (kind->table == QLatin1String("Person"))
            query.classTree =
                sqlText(QStringLiteral("select cDepCode,cDepName from department where ")) +
                auth.referenceCondition(QStringLiteral("Department")) +
                sqlText(QStringLiteral(" order by cDepCode ASC"));
    }
    const RefColumns columns = Common::GetRefColumns(session_, query.key);
    const QString selectList = columns.selectList.isEmpty() ? defaultColumns : columns.selectList;
    const suite::MatchCondition match =
        suite::PublicService::CreateMatchStr(query.table, selectList, typedText);
    query.select = sqlText(QStringLiteral("select ") + selectList) + from +
                   db::SqlCondition{QStringLiteral(" and ") + match.sql, match.params};
    query.orderBy = columns.orderBy;
    last_ = query;
    return query;
}

} // namespace bom::entry
