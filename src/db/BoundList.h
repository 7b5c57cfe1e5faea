#pragma once

#include "SqlCondition.h"

#include <QList>
#include <QStringList>

namespace bom::db {

class Dialect;

// A list of keys of any length as one bound value, for "column IN <list>" or a join: the
// statement stays one statement with one placeholder however many BOMs a run selects.
class BoundList {
public:
    static SqlCondition texts(const Dialect& dialect, const QStringList& values);
    static SqlCondition numbers(const Dialect& dialect, const QList<qlonglong>& values);
    // "<column> IN <list>".
    static SqlCondition in(const Dialect& dialect, const QString& column,
                           const QStringList& values);
    static SqlCondition in(const Dialect& dialect, const QString& column,
                           const QList<qlonglong>& values);
};

} // namespace bom::db
