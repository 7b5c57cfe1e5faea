#include "RowAuth.h"

#include "db/Database.h"
#include "db/DbError.h"

namespace bom::suite {

bool RowAuth::Init(const QString& url, const QString& userId, QString* error) {
    byKind_.clear();
    try {
        auto db = db::Database::open(url);
        RightsStore store(*db);
        for (const QString& kind : RightsStore::kinds()) {
            if (!RightsStore::isRowKind(kind))
                continue;
            Rights rights;
            rights.scope = store.scope(userId, kind);
            if (rights.scope == RightsStore::Scope::List)
                rights.codes = store.codes(userId, kind);
            if (kind == QLatin1String("inventory") && rights.scope == RightsStore::Scope::List) {
                const db::Rows ids = db->query(
                    QStringLiteral("SELECT i.iId FROM Inventory i JOIN sys_right r ON "
                                   "r.ccode=i.cInvCode WHERE r.cuserid=? AND r.ckind='inventory' "
                                   "ORDER BY i.iId"),
                    {userId});
                for (std::size_t i = 0; i < ids.size(); ++i)
                    rights.ids << ids.text(i, "iId");
            }
            byKind_.insert(kind, rights);
        }
        return true;
    } catch (const db::DbError& e) {
        if (error)
            *error = e.message();
        return false;
    }
}

const RowAuth::Rights& RowAuth::rights(const QString& table) const {
    const auto kind = RightsStore::kindOfTable(table);
    const auto found = kind ? byKind_.find(*kind) : byKind_.end();
    return found == byKind_.end() ? unrestricted_ : *found;
}

QString RowAuth::GetAuthString(const QString& table) const {
    const Rights& r = rights(table);
    if (r.scope == RightsStore::Scope::All)
        return {};
    if (r.scope == RightsStore::Scope::None)
        return QStringLiteral("1=2");
    if (RightsStore::kindOfTable(table) == QLatin1String("inventory"))
        return r.ids.isEmpty() ? QStringLiteral("1=2") : r.ids.join(',');
    QStringList quoted;
    for (QString code : r.codes)
        quoted << QLatin1Char('\'') + code.replace('\'', QLatin1String("''")) + QLatin1Char('\'');
    return quoted.isEmpty() ? QStringLiteral("1=2") : quoted.join(',');
}

bool RowAuth::HasRecordRight(const QString& table, const QString& code) const {
    const Rights& r = rights(table);
    switch (r.scope) {
    case RightsStore::Scope::All:
        return true;
    case RightsStore::Scope::None:
        return false;
    case RightsStore::Scope::List:
        break;
    }
    return r.codes.contains(code);
}

} // namespace bom::suite
