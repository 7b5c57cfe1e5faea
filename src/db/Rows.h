#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <memory>
#include <vector>

namespace bom::db {

// The result of a query: column names as the database gave them and the rows' values.
// Column look-up ignores case, as the suite's SQL does.
class Rows {
public:
    Rows() = default;
    explicit Rows(QStringList columns);

    const QStringList& columns() const { return columns_; }
    int columnIndex(const QString& name) const; // -1 when absent
    std::size_t size() const { return values_.size(); }
    bool empty() const { return values_.empty(); }

    void append(QVariantList row) { values_.push_back(std::move(row)); }
    const QVariantList& at(std::size_t row) const { return values_.at(row); }
    QVariant value(std::size_t row, const QString& column) const;
    QString text(std::size_t row, const QString& column) const {
        return value(row, column).toString();
    }
    // Each row as one text, its values joined by "|": NULL as "NULL", numbers exactly. What
    // two ways of writing the same rows are compared by.
    QStringList asText() const;

private:
    QStringList columns_;
    QHash<QString, int> index_; // lower-case name -> position
    std::vector<QVariantList> values_;
};

} // namespace bom::db
