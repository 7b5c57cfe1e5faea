#include "Rows.h"

namespace bom::db {

Rows::Rows(QStringList columns) : columns_(std::move(columns)) {
    for (int i = 0; i < columns_.size(); ++i)
        index_.insert(columns_[i].toLower(), i);
}

int Rows::columnIndex(const QString& name) const {
    return index_.value(name.toLower(), -1);
}

QVariant Rows::value(std::size_t row, const QString& column) const {
    const int i = columnIndex(column);
    if (i < 0 || row >= values_.size())
        return {};
    return values_[row].at(i);
}

QStringList Rows::asText() const {
    QStringList out;
    out.reserve(qsizetype(values_.size()));
    for (const QVariantList& row : values_) {
        QStringList cells;
        for (const QVariant& v : row)
            cells << (v.isNull()                        ? QStringLiteral("NULL")
                      : v.typeId() == QMetaType::Double ? QString::number(v.toDouble(), 'g', 17)
                                                        : v.toString());
        out << cells.join(QLatin1Char('|'));
    }
    return out;
}

} // namespace bom::db
