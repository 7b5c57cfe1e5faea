#pragma once

#include "entry/BomIdentity.h"

#include <QString>
#include <QStringList>

namespace bom::batch {

// The operation codes the list hands over.
enum class Operation { Add = 0, Modify = 1, Replace = 2, Delete = 3 };

// What one batch run works on: the operation, the selected BOMs and, but for add, the
// component line chosen in the list.
struct BatchScope {
    Operation operation = Operation::Add;
    QStringList boms; // header iautoid values, each once, in the order selected
    entry::BomIdentity component;

    // The list's selected BOM list: quoted ids joined by ","; only elements of exactly 40
    // characters (an id with its two quotes) count, so stray empty entries are ignored.
    static QStringList splitBomList(const QString& selected);
    // "code,sales order,free 1,…,free 10", each value trimmed; empty for add.
    static entry::BomIdentity parseComponentKey(const QString& key);
    static QString componentKey(const entry::BomIdentity& component);
    // The run's name in the run record ("batch-add" …).
    static QString operationName(Operation operation);
    // What the operation does to a BOM's line in the change record: A added, D deleted,
    // M modified.
    static QString changeKind(Operation operation);
};

} // namespace bom::batch
