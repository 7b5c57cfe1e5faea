#pragma once

#include "suite/ColumnSettings.h"

#include <QHash>
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
    // The decimal places of each numeric field of the BOM card, by lower-case name, as its
    // templates keep them (the list keeps them at the account's precision).
    static QHash<QString, int> CardDecimals(Session& session);
    static QString GetOrderBy(Session& session, const QString& colInfo);
    // Replaces what stands before the first " from" of `sql` with "Select " + the list.
    static void ReplaceSelectList(QString& sql, const QString& selectList);
    static RefColumns GetRefColumns(Session& session, const QString& key);
};

} // namespace bom::entry
