#pragma once

#include <QString>
#include <QStringList>

namespace bom::db {

// True for a plain SQL name (letters, digits, '_', optionally one "table." prefix): the only
// form of column names that settings and templates may splice into a select list.
bool isPlainIdentifier(const QString& name);

// Finds `name` among `known` ignoring case; empty when absent.
QString matchName(const QStringList& known, const QString& name);

} // namespace bom::db
