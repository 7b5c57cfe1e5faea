#pragma once

#include "db/SqlCondition.h"
#include "suite/ColumnSettings.h"

#include <QString>
#include <optional>
#include <vector>

namespace bom::list {

// One line of the list filter: a column of the list, an operator and the typed value.
struct FilterCondition {
    QString field;
    QString op; // one of ListFilter::operators()' sql forms: "=", "like", ">", "<", "<>"
    QString value;
};

// Turns the operator's filter lines into a condition on the parent list. Only column names from
// the list's column settings reach the SQL; every value is bound.
class ListFilter {
public:
    struct Operator {
        QString caption; // what the operator picks: "等于" …
        QString sql;
    };
    static const std::vector<Operator>& operators();

    // The lines joined with "and", in parentheses; an empty condition for no lines. Nothing
    // with `error` set for a field that is no column of `columns`, an unknown operator, or a
    // comparison without value.
    static std::optional<db::SqlCondition> build(const std::vector<FilterCondition>& conditions,
                                                 const std::vector<suite::ColumnSetting>& columns,
                                                 QString* error);
};

} // namespace bom::list
