#include "NamedSelection.h"

#include "CtlContext.h"
#include "bomservice/BomAccess.h"
#include "list/BomList.h"

namespace bom::app {

std::vector<list::ListRow> NamedSelection::rowsOf(db::Database& db, const db::SqlCondition& sql) {
    std::vector<list::ListRow> rows = list::BomList::listRows(db.query(sql.sql, sql.params));
    for (list::ListRow& row : rows)
        row.selected = true; // what bomctl names is what it acts on
    return rows;
}

bool NamedSelection::select(CtlContext& ctx, const QStringList& ids) {
    const bomservice::BomAccess access(ctx.session());
    const list::BomList bomList(ctx.session());
    for (const QString& id : ids) {
        const auto rows =
            access.MayTouch(id)
                ? rowsOf(ctx.db(), bomList.parentQuery({QStringLiteral("iautoid = ?"), {id}}))
                : std::vector<list::ListRow>();
        if (rows.empty()) {
            ctx.bomGone({{"iautoid", id}});
            return false;
        }
        list::ListRow row = rows.front();
        row.number = int(parents.size()) + 1;
        parents.push_back(row);
    }
    return true;
}

} // namespace bom::app
