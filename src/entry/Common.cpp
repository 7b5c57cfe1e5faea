#include "Common.h"

#include "Session.h"

namespace bom::entry {
namespace {

struct PrecisionSetting {
    const char* id;
    const char* name;
    int Session::*target;
    bool fallsBackToDefault;
};

const PrecisionSetting kPrecision[] = {
    {"19", "iStrsQuanDecDgt", &Session::gQuanDigits, true},
    {"42", "iNumDecDgt", &Session::gNumDigits, false},
    {"43", "iExchRateDecDgt", &Session::gRateDigits, false},
    {"21", "iBillPrice", &Session::gBillPriceDigits, false},
    {"20", "iStrsPriDecDgt", &Session::gPriceDigits, false},
};

} // namespace

QHash<QString, int> Common::CardDecimals(Session& session) {
    const db::Rows rows = session.gConn->query(
        QStringLiteral("select lower(fieldname) as name, max(NumPoint) as digits from voucheritems "
                       "where lower(cardnum)=? and NumPoint is not null group by lower(fieldname)"),
        {QStringLiteral("pp30")});
    QHash<QString, int> out;
    for (std::size_t i = 0; i < rows.size(); ++i)
        out.insert(rows.text(i, "name"), rows.value(i, "digits").toInt());
    return out;
}

void Common::LoadPrecision(Session& session) {
    const db::Rows rows = session.gClsCommon->OpenX(QStringLiteral(
        "select cID, cName, cValue, cDefault from AccInformation where cSysID='AA'"));
    for (const PrecisionSetting& setting : kPrecision) {
        QString value;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (rows.text(i, "cID") != QLatin1String(setting.id) ||
                rows.text(i, "cName") != QLatin1String(setting.name))
                continue;
            value = rows.text(i, "cValue").trimmed();
            if (value.isEmpty() && setting.fallsBackToDefault)
                value = rows.text(i, "cDefault").trimmed();
        }
        bool ok = false;
        const int digits = int(value.toDouble(&ok));
        session.*(setting.target) = ok ? digits : 2;
    }
}

namespace {

QString orderClause(const QString& order) {
    const QString trimmed = order.trimmed();
    return trimmed.isEmpty() ? QString()
                             : QStringLiteral(" Order by ") + trimmed + QStringLiteral(" ");
}

} // namespace

QString Common::GetOrderBy(Session& session, const QString& colInfo) {
    return orderClause(session.gColSet->getOrderString(colInfo));
}

void Common::ReplaceSelectList(QString& sql, const QString& selectList) {
    sql = sql.trimmed();
    const int from = sql.indexOf(QLatin1String(" from"), 0, Qt::CaseInsensitive);
    if (from >= 0)
        sql = QStringLiteral("Select ") + selectList + sql.mid(from);
}

RefColumns Common::GetRefColumns(Session& session, const QString& key) {
    RefColumns out;
    // One read of the settings serves the list, the order and the columns.
    out.colInfo = session.gColSet->getColInfo(key, 1);
    out.colSet = session.gColSet->GetColset(key, 1);
    out.selectList = suite::ColumnSettings::selectListOf(out.colSet).trimmed();
    out.orderBy = orderClause(suite::ColumnSettings::orderOf(out.colSet));
    return out;
}

} // namespace bom::entry
