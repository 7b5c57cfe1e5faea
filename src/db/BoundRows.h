#pragma once

#include "SqlCondition.h"

#include <QStringList>
#include <QVariantList>
#include <vector>

namespace bom::db {

class Dialect;

// Rows of values, as many as there are, as one bound value (a JSON array of arrays) read back
// in SQL as a derived table with the columns c0, c1, …: many rows that differ reach SQL in one
// statement with one placeholder, where a VALUES list would bind every value on its own.
class BoundRows {
public:
    // `types`: each column's SQL type as a cast names it (Database::columnTypes), by position.
    static SqlCondition table(const Dialect& dialect, const QStringList& types,
                              const std::vector<QVariantList>& rows);
    // The JSON text that carries the rows: numbers exactly, texts escaped, NULL as null.
    static QString json(const std::vector<QVariantList>& rows);
};

} // namespace bom::db
