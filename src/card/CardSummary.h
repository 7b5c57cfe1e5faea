#pragma once

#include "bomservice/RowSet.h"

#include <QString>
#include <QVariant>
#include <vector>

namespace bom::card {

// The lines summarised: one row per component code, in the order each code first appears.
// Summed are the quantities of a line: the base quantity per unit of the parent (numerator
// over denominator, so lines with different denominators add up; shown over a denominator of
// 1), the auxiliary quantity (unitqty) and the material cost (fbzwlcb). Any other field shows
// its value where every line of the component agrees, else nothing.
class CardSummary {
public:
    CardSummary(const bomservice::RowSet& lines, const std::vector<int>& rows);

    int rowCount() const { return int(groups_.size()); }
    QVariant value(int row, const QString& field) const;

    static bool isSummed(const QString& field);

private:
    double sum(const std::vector<int>& group, const QString& field) const;
    QVariant common(const std::vector<int>& group, const QString& field) const;

    const bomservice::RowSet& lines_;
    std::vector<std::vector<int>> groups_; // rows of the lines, by component
};

} // namespace bom::card
