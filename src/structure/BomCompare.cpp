#include "BomCompare.h"

#include "StructureRules.h"
#include "StructureTexts.h"

#include "bomservice/BomAccess.h"
#include "bomservice/BomHistory.h"
#include "entry/Session.h"

#include <QHash>
#include <QSet>
#include <algorithm>
#include <cmath>

namespace bom::structure {
namespace {

using Change = CompareDiff::Change;

// Each row's way down from the top: the lines' identities, so two lines of one item with other
// sales orders or free items stay apart.
std::vector<QString> keysOf(const ExplosionResult& result) {
    std::vector<QString> keys;
    keys.reserve(result.rows.size());
    QHash<QString, int> seen;
    for (const ExplosionRow& row : result.rows) {
        const ExplosionLine& line = result.lineOf(row);
        QString key = row.parent < 0 ? QString() : keys[std::size_t(row.parent)] + QLatin1Char('/');
        key += line.variant.isEmpty()
                   ? line.cinvcode
                   : line.cinvcode + QLatin1Char('[') + line.variant + QLatin1Char(']');
        // Old data may hold one identity twice in a BOM: the second keeps its own place.
        if (const int n = seen[key]++; n > 0)
            key += QStringLiteral("#%1").arg(n + 1);
        keys.push_back(key);
    }
    return keys;
}

std::vector<CompareDiff::Field> fieldsOf(const ExplosionResult& result, std::size_t at,
                                         bool exploded) {
    const ExplosionRow& row = result.rows[at];
    const ExplosionLine& line = result.lineOf(row);
    std::vector<CompareDiff::Field> fields{{QStringLiteral("qty"), line.qty, {}},
                                           {QStringLiteral("ipsquantity"), line.numerator, {}},
                                           {QStringLiteral("tdqtyd"), line.denominator, {}},
                                           {QStringLiteral("iwasterate"), line.wasteRate, {}},
                                           {QStringLiteral("cwhcode"), line.cwhcode, {}},
                                           {QStringLiteral("wiptype"), line.wiptype, {}},
                                           {QStringLiteral("fbzdj"), line.price, {}},
                                           {QStringLiteral("cost"), row.cost, {}}};
    if (exploded)
        fields.push_back({QStringLiteral("cum_qty"), row.cumQty, {}});
    return fields;
}

bool same(const QVariant& a, const QVariant& b) {
    const bool numbers = a.typeId() == QMetaType::Double || b.typeId() == QMetaType::Double;
    if (!numbers || a.isNull() || b.isNull())
        return a.toString() == b.toString();
    return std::abs(a.toDouble() - b.toDouble()) <=
           1e-9 * std::max({1.0, std::abs(a.toDouble()), std::abs(b.toDouble())});
}

QString valueText(const QVariant& value) {
    return value.typeId() == QMetaType::Double ? StructureRules::text(value.toDouble())
                                               : value.toString();
}

} // namespace

CompareResult BomCompare::Compare(const bomservice::BomCard& a, const bomservice::BomCard& b,
                                  bool exploded) {
    Explosion explosion(session_);
    const ExplosionResult first = explosion.Explode(a, 0);
    const ExplosionResult second = explosion.Explode(b, 0);
    CompareResult result{{}, first.material(), second.material(), first.total(), second.total()};
    const std::vector<QString> firstKeys = keysOf(first);
    const std::vector<QString> secondKeys = keysOf(second);
    QHash<QString, std::size_t> inSecond;
    for (std::size_t i = 0; i < second.rows.size(); ++i)
        if (exploded || second.rows[i].level == 1)
            inSecond.insert(secondKeys[i], i);
    QSet<QString> paired;
    for (std::size_t i = 0; i < first.rows.size(); ++i) {
        const ExplosionRow& row = first.rows[i];
        if (!exploded && row.level != 1)
            continue;
        const auto other = inSecond.constFind(firstKeys[i]);
        if (other == inSecond.constEnd()) {
            result.diff.push_back({firstKeys[i], first.lineOf(row).cinvcode, Change::Removed, {}});
            continue;
        }
        paired.insert(firstKeys[i]);
        const std::vector<CompareDiff::Field> fields = fieldsOf(first, i, exploded);
        const std::vector<CompareDiff::Field> theirs = fieldsOf(second, *other, exploded);
        std::vector<CompareDiff::Field> differing;
        for (std::size_t f = 0; f < fields.size(); ++f)
            if (!same(fields[f].a, theirs[f].a))
                differing.push_back({fields[f].name, fields[f].a, theirs[f].a});
        if (!differing.empty())
            result.diff.push_back(
                {firstKeys[i], first.lineOf(row).cinvcode, Change::Changed, differing});
    }
    for (std::size_t i = 0; i < second.rows.size(); ++i)
        if ((exploded || second.rows[i].level == 1) && !paired.contains(secondKeys[i]))
            result.diff.push_back(
                {secondKeys[i], second.lineOf(second.rows[i]).cinvcode, Change::Added, {}});
    return result;
}

std::optional<bomservice::BomCard> BomCompare::Load(const QString& named,
                                                    const std::optional<QDateTime>& at) {
    const QString id = bomservice::BomAccess(session_).BomNamed(named);
    bomservice::BomHistory history(*session_.gConn);
    const std::optional<bomservice::BomCard> card = id.isEmpty() ? std::nullopt
                                                    : at         ? history.readAt(id, *at)
                                                                 : history.readStored(id);
    if (!card)
        session_.ShowInfo(id.isEmpty() ? StructureTexts::noBom() : StructureTexts::noHistoryAt());
    return card;
}

QString BomCompare::changeName(Change change) {
    switch (change) {
    case Change::Added:
        return QStringLiteral("added");
    case Change::Removed:
        return QStringLiteral("removed");
    case Change::Changed:
        break;
    }
    return QStringLiteral("changed");
}

entry::ExportTable BomCompare::table(const CompareResult& result, const QString& title) {
    entry::ExportTable table{title, StructureTexts::compareCaptions(), {}, {}};
    for (const CompareDiff& diff : result.diff) {
        QStringList fields;
        for (const CompareDiff::Field& field : diff.fields)
            fields << QStringLiteral("%1: %2 → %3")
                          .arg(field.name, valueText(field.a), valueText(field.b));
        const QString change = diff.change == Change::Added     ? StructureTexts::added()
                               : diff.change == Change::Removed ? StructureTexts::removed()
                                                                : StructureTexts::changed();
        table.rows.push_back({diff.path, diff.cinvcode, change, fields.join(QStringLiteral("; "))});
    }
    table.rows.push_back(
        {QString(), QString(), StructureTexts::costTitle(),
         QStringLiteral("fbzcb: %1 → %2")
             .arg(StructureRules::text(result.totalA), StructureRules::text(result.totalB))});
    return table;
}

} // namespace bom::structure
