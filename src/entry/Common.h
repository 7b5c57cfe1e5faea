#pragma once

#include "suite/ColumnSettings.h"

#include <QString>
#include <vector>

namespace bom::entry {

class Session;

// The column settings a list or reference is queried with.
struct RefColumns {
    QString colInfo;
    QString selectList; // "a,b,c"
    QString orderBy;    // " Order by a asc " or ""
    std::vector<suite::ColumnSetting> colSet;
};

// Lookups every window of the session shares.
class Common {
public:
    // Fills the session's decimal digits from the account settings; a missing or empty
    // setting gives 2 (quantities first try the setting's default).
    static void LoadPrecision(Session& session);
    // The account's decimal places for a numeric BOM field (quantities, the auxiliary quantity,
    // rates, prices and costs), as the card templates are kept; -1 for any other field.
    static int DecimalsOf(const Session& session, const QString& field);
    static QString GetOrderBy(Session& session, const QString& colInfo);
    // Replaces what stands before the first " from" of `sql` with "Select " + the list.
    static void ReplaceSelectList(QString& sql, const QString& selectList);
    static RefColumns GetRefColumns(Session& session, const QString& key);
};

} // namespace bom::entry
