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

int Common::DecimalsOf(const Session& session, const QString& field) {
    const QString name = field.trimmed().toLower();
    static const QStringList quantities{"ipsquantity", "tdqtyd", "tdqtyn",
                                        "iwasterate",  "qty",    "cum_qty"};
    if (quantities.contains(name))
        return session.gQuanDigits;
    if (name == QLatin1String("unitqty"))
        return session.gNumDigits;
    if (name == QLatin1String("iprodchangrate"))
        return session.gRateDigits;
    if (name.startsWith(QLatin1String("fbz")) || name.startsWith(QLatin1String("fqmz")) ||
        name == QLatin1String("material") || name == QLatin1String("total") ||
        name.startsWith(QLatin1String("stored_")) || name.startsWith(QLatin1String("cost")))
        return session.gPriceDigits;
    return -1;
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
