#include "DisplayTerms.h"

#include "db/Database.h"

namespace bom::entry {

DisplayTerms DisplayTerms::load(db::Database& db) {
    DisplayTerms terms;
    const db::Rows rows =
        db.query(QStringLiteral("SELECT cDefault, cNewMenu FROM ca_MenuDef WHERE cDefault IN "
                                "(?,?,?) ORDER BY AutoId"),
                 {terms.title, terms.parent, terms.component});
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const QString term = rows.text(i, "cNewMenu").trimmed();
        if (term.isEmpty())
            continue;
        const QString key = rows.text(i, "cDefault");
        if (key == QStringLiteral("物料清单"))
            terms.title = term;
        else if (key == QStringLiteral("母件"))
            terms.parent = term;
        else if (key == QStringLiteral("子件"))
            terms.component = term;
    }
    return terms;
}

} // namespace bom::entry
