#include "Identifier.h"

#include <QRegularExpression>

namespace bom::db {

bool isPlainIdentifier(const QString& name) {
    static const QRegularExpression re(
        QStringLiteral("^[A-Za-z_][A-Za-z0-9_]*(\\.[A-Za-z_][A-Za-z0-9_]*)?$"));
    return re.match(name).hasMatch();
}

QString matchName(const QStringList& known, const QString& name) {
    for (const QString& candidate : known)
        if (candidate.compare(name, Qt::CaseInsensitive) == 0)
            return candidate;
    return {};
}

} // namespace bom::db
