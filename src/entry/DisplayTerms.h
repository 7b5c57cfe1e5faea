#pragma once

#include <QString>

namespace bom::db {
class Database;
}

namespace bom::entry {

// The account's words for BOM, parent and component (menu definitions), with the defaults
// "物料清单", "母件", "子件" when the account has none.
struct DisplayTerms {
    QString title = QStringLiteral("物料清单");
    QString parent = QStringLiteral("母件");
    QString component = QStringLiteral("子件");

    static DisplayTerms load(db::Database& db);
};

} // namespace bom::entry
