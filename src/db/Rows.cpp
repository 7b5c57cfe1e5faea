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

} // namespace bom::db
