#include "ExplosionModel.h"

#include "StructureRules.h"
#include "StructureTexts.h"

namespace bom::structure {
namespace {

// The columns shown, as positions in StructureTexts::explosionCaptions().
constexpr int kShown[] = {0, 2, 3, 4, 5, 6, 7, 8, 9, 10};
constexpr int kColumns = int(std::size(kShown));

} // namespace

void ExplosionModel::setResult(ExplosionResult result) {
    beginResetModel();
    result_ = std::move(result);
    children_.assign(result_.rows.size() + 1, {});
    place_.assign(result_.rows.size(), 0);
    for (std::size_t i = 0; i < result_.rows.size(); ++i) {
        const int parent = result_.rows[i].parent;
        std::vector<int>& siblings =
            children_[parent < 0 ? result_.rows.size() : std::size_t(parent)];
        place_[i] = int(siblings.size());
        siblings.push_back(int(i));
    }
    endResetModel();
}

int ExplosionModel::rowOf(const QModelIndex& index) {
    return index.isValid() ? int(index.internalId()) : -1;
}

const std::vector<int>& ExplosionModel::childrenOf(const QModelIndex& parent) const {
    return children_[parent.isValid() ? std::size_t(parent.internalId()) : children_.size() - 1];
}

QModelIndex ExplosionModel::index(int row, int column, const QModelIndex& parent) const {
    if (children_.empty() || column < 0 || column >= kColumns || row < 0)
        return {};
    const std::vector<int>& under = childrenOf(parent);
    if (row >= int(under.size()))
        return {};
    return createIndex(row, column, quintptr(under[std::size_t(row)]));
}

QModelIndex ExplosionModel::parent(const QModelIndex& child) const {
    if (!child.isValid())
        return {};
    const int above = result_.rows[child.internalId()].parent;
    return above < 0 ? QModelIndex() : createIndex(place_[std::size_t(above)], 0, quintptr(above));
}

int ExplosionModel::rowCount(const QModelIndex& parent) const {
    if (children_.empty() || parent.column() > 0)
        return 0;
    return int(childrenOf(parent).size());
}

int ExplosionModel::columnCount(const QModelIndex&) const {
    return kColumns;
}

QVariant ExplosionModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid())
        return {};
    const ExplosionRow& row = result_.rows[index.internalId()];
    const ExplosionLine& line = result_.lineOf(row);
    const int shown = kShown[index.column()];
    const bool number = shown == 0 || shown == 5 || shown == 6 || shown == 10;
    if (role == Qt::TextAlignmentRole && number)
        return int(Qt::AlignRight | Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    switch (shown) {
    case 0:
        return row.level;
    case 2:
        return line.cinvcode;
    case 3:
        return row.below == ExplosionRow::Below::Loop ? line.cinvname + StructureTexts::loopMark()
                                                      : line.cinvname;
    case 4:
        return line.cinvstd;
    case 5:
        return StructureRules::text(line.qty);
    case 6:
        return StructureRules::text(row.cumQty);
    case 7:
        return line.cunit;
    case 8:
        return (line.cwhcode + QLatin1Char(' ') + line.cwhname).trimmed();
    case 9:
        return line.wiptype;
    default:
        return StructureRules::text(row.cost);
    }
}

QVariant ExplosionModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 ||
        section >= kColumns)
        return {};
    return StructureTexts::explosionCaptions().value(kShown[section]);
}

} // namespace bom::structure
