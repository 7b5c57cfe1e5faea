#pragma once

#include "db/SqlCondition.h"

#include <QStringList>
#include <optional>

namespace bom::app {

class CtlContext;

// The list as bomctl list reads it: its columns and its query.
struct ListQuery {
    QStringList columns;
    db::SqlCondition sql;
};

// The query --where and --columns ask for, after exactly `positional` words (the session
// started); nothing with `status` set (a usage error or a refused session, already reported).
std::optional<ListQuery> listQuery(CtlContext& ctx, int positional, int* status);

} // namespace bom::app
