#pragma once

#include "Database.h"

#include <QString>

namespace bom::db {

// A piece of SQL with the values its placeholders bind, in order.
struct SqlCondition {
    QString sql;
    Params params;

    bool isEmpty() const { return sql.isEmpty(); }
    SqlCondition& operator+=(const SqlCondition& other) {
        sql += other.sql;
        params += other.params;
        return *this;
    }
};

inline SqlCondition operator+(SqlCondition a, const SqlCondition& b) {
    return a += b;
}

// SQL text that binds nothing.
inline SqlCondition sqlText(const QString& text) {
    return {text, {}};
}

} // namespace bom::db
