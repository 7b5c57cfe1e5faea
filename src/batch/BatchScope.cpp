#include "BatchScope.h"

namespace bom::batch {

QStringList BatchScope::splitBomList(const QString& selected) {
    QStringList out;
    for (const QString& element : selected.split(QLatin1Char(','))) {
        const QString quoted = element.trimmed();
        if (quoted.size() != 40)
            continue;
        const QString id = quoted.mid(1, 38);
        if (!out.contains(id))
            out << id;
    }
    return out;
}

entry::BomIdentity BatchScope::parseComponentKey(const QString& key) {
    const QStringList parts = key.split(QLatin1Char(','));
    entry::BomIdentity component{parts.value(0).trimmed(), parts.value(1).trimmed(), {}};
    for (int i = 0; i < 10; ++i)
        component.free[std::size_t(i)] = parts.value(2 + i).trimmed();
    return component;
}

QString BatchScope::componentKey(const entry::BomIdentity& component) {
    QStringList parts{component.code, component.salesOrder};
    for (const QString& free : component.free)
        parts << free;
    while (parts.size() > 1 && parts.last().isEmpty())
        parts.removeLast();
    return parts.join(QLatin1Char(','));
}

QString BatchScope::operationName(Operation operation) {
    switch (operation) {
    case Operation::Add:
        return QStringLiteral("batch-add");
    case Operation::Modify:
        return QStringLiteral("batch-modify");
    case Operation::Replace:
        return QStringLiteral("batch-replace");
    case Operation::Delete:
        return QStringLiteral("batch-delete");
    }
    return {};
}

QString BatchScope::changeKind(Operation operation) {
    switch (operation) {
    case Operation::Add:
        return QStringLiteral("A");
    case Operation::Delete:
        return QStringLiteral("D");
    default:
        return QStringLiteral("M");
    }
}

} // namespace bom::batch
