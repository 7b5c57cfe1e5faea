#pragma once

#include "ListFilter.h"

#include <QDialog>
#include <vector>

class QComboBox;
class QLineEdit;
class QVBoxLayout;

namespace bom::list {

// The filter of the parent list ("过滤"): lines of field, operator and value, joined with
// "and". The fields are the list's columns; ListFilter turns the lines into the condition.
class BomFilterDialog : public QDialog {
    Q_OBJECT
public:
    static constexpr const char* kFilterKey = "FilterSet";

    BomFilterDialog(std::vector<suite::ColumnSetting> columns,
                    const std::vector<FilterCondition>& current, QWidget* parent = nullptr);

    // The lines as entered; a line without field is left out.
    std::vector<FilterCondition> conditions() const;
    void addLine(const FilterCondition& condition = {});
    void clearLines();

private:
    struct Line {
        QWidget* row = nullptr;
        QComboBox* field = nullptr;
        QComboBox* op = nullptr;
        QLineEdit* value = nullptr;
    };
    void removeLine(QWidget* row);

    std::vector<suite::ColumnSetting> columns_;
    std::vector<Line> lines_;
    QVBoxLayout* linesLayout_ = nullptr;
};

} // namespace bom::list
