#include "Keyset.h"

#include <QStringList>
#include <algorithm>

namespace bom::db {

QString Keyset::expression(const Key& key) const {
    return QStringLiteral("COALESCE(%1,%2)")
        .arg(key.column, key.numeric ? QLatin1String("0") : QLatin1String("''"));
}

QString Keyset::selectList() const {
    QStringList parts;
    for (std::size_t i = 0; i < keys_.size(); ++i)
        parts << expression(keys_[i]) + QStringLiteral(" as ") + keyColumn(int(i));
    return parts.join(',');
}

QString Keyset::orderBy() const {
    QStringList parts;
    for (const Key& key : keys_)
        parts << expression(key) +
                     (key.descending ? QStringLiteral(" desc") : QStringLiteral(" asc"));
    return QStringLiteral(" order by ") + parts.join(',');
}

Keyset Keyset::reversed() const {
    std::vector<Key> keys = keys_;
    for (Key& key : keys)
        key.descending = !key.descending;
    return Keyset(std::move(keys));
}

SqlCondition Keyset::after(const QVariantList& lastKey) const {
    if (lastKey.isEmpty())
        return {};
    const bool sameWay = std::all_of(keys_.begin(), keys_.end(), [&](const Key& k) {
        return k.descending == keys_.front().descending;
    });
    SqlCondition out;
    if (sameWay) { // one row comparison, which an index over the keys answers as a range
        QStringList columns, marks;
        for (const Key& key : keys_) {
            columns << expression(key);
            marks << QStringLiteral("?");
        }
        out.sql = QStringLiteral(" and ((%1) %2 (%3))")
                      .arg(columns.join(','),
                           keys_.front().descending ? QLatin1String("<") : QLatin1String(">"),
                           marks.join(','));
        out.params = lastKey;
        return out;
    }
    // Mixed directions: equal on the keys before, past the last row on this one.
    QStringList alternatives;
    for (std::size_t i = 0; i < keys_.size(); ++i) {
        QStringList parts;
        for (std::size_t j = 0; j < i; ++j) {
            parts << expression(keys_[j]) + QStringLiteral("=?");
            out.params << lastKey.value(int(j));
        }
        parts << expression(keys_[i]) +
                     (keys_[i].descending ? QStringLiteral("<?") : QStringLiteral(">?"));
        out.params << lastKey.value(int(i));
        alternatives << QStringLiteral("(") + parts.join(QStringLiteral(" and ")) +
                            QStringLiteral(")");
    }
    out.sql =
        QStringLiteral(" and (") + alternatives.join(QStringLiteral(" or ")) + QStringLiteral(")");
    return out;
}

} // namespace bom::db
