#pragma once

#include "Explosion.h"

#include <QAbstractItemModel>
#include <vector>

namespace bom::structure {

// An explosion as a tree for a view: each row's children are the rows below it. The view asks
// only for the rows it shows, so a structure of any size opens at once and a branch costs
// something only when it is expanded.
class ExplosionModel : public QAbstractItemModel {
public:
    using QAbstractItemModel::QAbstractItemModel;

    void setResult(ExplosionResult result);
    const ExplosionResult& result() const { return result_; }
    // The explosion row an index shows; -1 for none.
    static int rowOf(const QModelIndex& index);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    const std::vector<int>& childrenOf(const QModelIndex& parent) const;

    ExplosionResult result_;
    std::vector<std::vector<int>> children_; // per row; the last entry: the top BOM's lines
    std::vector<int> place_;                 // each row's place among its siblings
};

} // namespace bom::structure
