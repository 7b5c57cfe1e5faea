#include "ListFilter.h"

#include "suite/PublicService.h"

#include "db/Identifier.h"

#include <QStringList>

namespace bom::list {
namespace {

QString escapeLike(QString text) {
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    text.replace(QLatin1Char('%'), QLatin1String("\\%"));
    text.replace(QLatin1Char('_'), QLatin1String("\\_"));
    return text;
}

} // namespace

const std::vector<ListFilter::Operator>& ListFilter::operators() {
    static const std::vector<Operator> ops{
        {QStringLiteral("等于"), QStringLiteral("=")},
        {QStringLiteral("包含"), QStringLiteral("like")},
        {QStringLiteral("大于"), QStringLiteral(">")},
        {QStringLiteral("小于"), QStringLiteral("<")},
        {QStringLiteral("不等于"), QStringLiteral("<>")},
    };
    return ops;
}

std::optional<db::SqlCondition> ListFilter::build(const std::vector<FilterCondition>& conditions,
                                                  const std::vector<suite::ColumnSetting>& columns,
                                                  QString* error) {
    auto fail = [&](const QString& why) -> std::optional<db::SqlCondition> {
        if (error)
            *error = why;
        return std::nullopt;
    };
    QStringList known;
    for (const suite::ColumnSetting& c : columns)
        if (db::isPlainIdentifier(c.fieldName))
            known << c.fieldName;
    QStringList parts;
    db::Params params;
    for (const FilterCondition& c : conditions) {
        const QString column = db::matchName(known, c.field.trimmed());
        if (column.isEmpty())
            return fail(QStringLiteral("列表没有字段“%1”！").arg(c.field));
        const QString op = c.op.trimmed().toLower();
        const auto found = std::find_if(operators().begin(), operators().end(),
                                        [&](const Operator& o) { return o.sql == op; });
        if (found == operators().end())
            return fail(QStringLiteral("不支持的条件“%1”！").arg(c.op));
        // Compared as text, so one form serves text and number columns in both databases.
        const QString asText = QStringLiteral("CAST(%1 AS TEXT)").arg(column);
        if (c.value.size() > suite::PublicService::kMatchLength)
            return fail(QStringLiteral("条件“%1”的值过长（最多%2个字）！")
                            .arg(c.field)
                            .arg(suite::PublicService::kMatchLength));
        if (op == QLatin1String("like")) {
            if (c.value.isEmpty())
                continue; // contains nothing: every row
            parts << asText + QStringLiteral(" like ? ESCAPE '\\'");
            params << QStringLiteral("%") + escapeLike(c.value) + QStringLiteral("%");
        } else if (c.value.isEmpty() && op == QLatin1String("=")) {
            parts << QStringLiteral("(%1 IS NULL OR %2 = '')").arg(column, asText);
        } else if (c.value.isEmpty() && op == QLatin1String("<>")) {
            parts << QStringLiteral("(%1 IS NOT NULL AND %2 <> '')").arg(column, asText);
        } else if (c.value.isEmpty()) {
            return fail(QStringLiteral("条件“%1 %2”没有输入值！").arg(c.field, found->caption));
        } else {
            parts << column + QLatin1Char(' ') + op + QStringLiteral(" ?");
            params << c.value;
        }
    }
    if (parts.isEmpty())
        return db::SqlCondition{};
    return db::SqlCondition{
        QStringLiteral("(") + parts.join(QStringLiteral(" and ")) + QStringLiteral(")"), params};
}

} // namespace bom::list
