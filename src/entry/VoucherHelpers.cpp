#include "VoucherHelpers.h"

#include "BomIdentity.h"
#include "db/Database.h"

#include <cmath>

namespace bom::entry::VoucherHelpers {

bool TextToBool(const QVariant& value) {
    const QString text = value.toString().trimmed();
    if (text.isEmpty())
        return false;
    if (text.toUpper() == QLatin1String("TRUE") || text == QStringLiteral("是"))
        return true;
    bool ok = false;
    const double number = text.toDouble(&ok);
    return ok && number != 0;
}

std::optional<double> ToNumber(const QVariant& value) {
    bool ok = false;
    const double number = value.typeId() == QMetaType::QString
                              ? value.toString().trimmed().toDouble(&ok)
                              : value.toDouble(&ok);
    if (!ok || !std::isfinite(number))
        return std::nullopt;
    return number;
}

bool SameValue(const QVariant& a, const QVariant& b) {
    const auto x = ToNumber(a);
    const auto y = ToNumber(b);
    if (x && y)
        return *x == *y;
    return a.toString().trimmed() == b.toString().trimmed();
}

QString CheckLineNumber(const QString& field, const QVariant& value) {
    struct Rule {
        const char* field;
        const char* empty; // null: an empty cell is accepted
        const char* notNumber;
        const char* tooSmall;
        bool zeroAllowed;
    };
    static const Rule rules[] = {
        {"ipsquantity", "基本用量分子不可为空！", "基本用量分子必须为数字！",
         "基本用量分子必须大于0", false},
        {"tdqtyd", "基本用量分母不可为空！", "基本用量分母必须为数字！", "基本用量分母必须大于0",
         false},
        // Zero passes although the text speaks of "greater than": kept as the planners know it.
        {"iwasterate", nullptr, "必须填写数字！", "损耗率% 必须大于 0 !", true},
        {"unitqty", nullptr, "件数必须为数字！", "件数必须大于0", false},
        {"iprodchangrate", nullptr, "换算率必须为数字！", "换算率必须大于0", false},
        {"fbzdj", nullptr, "标准单价必须为数字！", "标准单价必须大于等于0", true},
    };
    const QString name = field.toLower();
    for (const Rule& rule : rules) {
        if (name != QLatin1String(rule.field))
            continue;
        if (value.isNull() || value.toString().trimmed().isEmpty())
            return rule.empty ? QString::fromUtf8(rule.empty) : QString();
        const auto number = ToNumber(value);
        if (!number)
            return QString::fromUtf8(rule.notNumber);
        if (*number < 0 || (*number == 0 && !rule.zeroAllowed))
            return QString::fromUtf8(rule.tooSmall);
        return {};
    }
    return {};
}

bool IsSharedBom(db::Database& db, const QString& headerId) {
    return db.scalar(QStringLiteral("select count(autoid) from productstructures where "
                                    "ChildGUID=?"),
                     {headerId})
               .toInt() >= 2;
}

bool HasSubstitutes(db::Database& db, const QVariant& lineAutoid) {
    return db.scalar(QStringLiteral("select count(autoid) from ProstruOpt where autoid=?"),
                     {lineAutoid})
               .toInt() > 0;
}

bool IsBomMissing(db::Database& db, const BomIdentity& identity) {
    const db::SqlCondition match = identity.matches(QStringLiteral("cpspcode"));
    return db
        .query(QStringLiteral("select iautoid from productstructure where ") + match.sql +
                   QStringLiteral(" LIMIT 1"),
               match.params)
        .empty();
}

bool IsFlaggedLineMissing(db::Database& db, const BomIdentity& identity) {
    const db::SqlCondition match = identity.matches(QStringLiteral("cpscode"));
    return db
        .query(QStringLiteral("select autoid from productstructures where ") + match.sql +
                   QStringLiteral(" and COALESCE(ReplaceFlag,0) = 1 LIMIT 1"),
               match.params)
        .empty();
}

bool IsUnitGroupType1(db::Database& db, const QString& itemCode) {
    if (itemCode.isEmpty())
        return false;
    return db.scalar(QStringLiteral("select iGroupType from Inventory where cinvcode=?"),
                     {itemCode})
               .toInt() == 1;
}

int GetToolbarStyle(db::Database& db, const QString& userId) {
    const QVariant value = db.scalar(
        QStringLiteral("select cvalue from sys_user_setting where cuserid=? and csection=? and "
                       "cname=?"),
        {userId, QStringLiteral("SOFTWARE\\Mervale\\WF\\Appearance"),
         QStringLiteral("Toolbar Style")});
    if (value.isNull())
        return 1;
    const QString text = value.toString();
    return !text.isEmpty() && text.startsWith(QLatin1Char('T')) ? 1 : 2;
}

} // namespace bom::entry::VoucherHelpers
