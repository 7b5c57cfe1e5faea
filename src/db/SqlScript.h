#pragma once

#include <QString>
#include <QStringList>

namespace bom::db {

// Splits a schema script into statements at top-level semicolons, keeping quoted text,
// comments, $$-bodies and trigger BEGIN … END blocks whole.
QStringList splitSqlScript(const QString& script);

} // namespace bom::db
