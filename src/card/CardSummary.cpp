#include "CardSummary.h"

#include "entry/VoucherHelpers.h"

#include <QHash>

namespace bom::card {
namespace {

const QString kCode = QStringLiteral("cpscode");
const QString kNumerator = QStringLiteral("ipsquantity");
const QString kDenominator = QStringLiteral("tdqtyd");

double numberOf(const QVariant& value) {
    return entry::VoucherHelpers::ToNumber(value).value_or(0.0);
}

} // namespace

CardSummary::CardSummary(const bomservice::RowSet& lines, const std::vector<int>& rows)
    : lines_(lines) {
    QHash<QString, std::size_t> groupOf;
    for (int row : rows) {
        const QString code = lines.text(row, kCode).trimmed();
        const auto found = groupOf.constFind(code);
        if (found != groupOf.constEnd()) {
            groups_[*found].push_back(row);
            continue;
        }
        groupOf.insert(code, groups_.size());
        groups_.push_back({row});
    }
}

bool CardSummary::isSummed(const QString& field) {
    const QString name = field.toLower();
    return name == kNumerator || name == kDenominator || name == QLatin1String("unitqty") ||
           name == QLatin1String("fbzwlcb");
}

double CardSummary::sum(const std::vector<int>& group, const QString& field) const {
    double total = 0;
    for (int row : group) {
        const double value = numberOf(lines_.value(row, field));
        if (field != kNumerator) {
            total += value;
            continue;
        }
        // A missing or zero denominator reads as 1: the line's numerator is then its quantity.
        const double denominator = numberOf(lines_.value(row, kDenominator));
        total += denominator > 0 ? value / denominator : value;
    }
    return total;
}

QVariant CardSummary::common(const std::vector<int>& group, const QString& field) const {
    const QVariant first = lines_.value(group.front(), field);
    for (int row : group)
        if (lines_.text(row, field) != first.toString())
            return {};
    return first;
}

QVariant CardSummary::value(int row, const QString& field) const {
    if (row < 0 || row >= rowCount())
        return {};
    const std::vector<int>& group = groups_[std::size_t(row)];
    const QString name = field.toLower();
    if (name == kDenominator)
        return 1.0;
    if (isSummed(name))
        return sum(group, name);
    return common(group, name);
}

} // namespace bom::card
