#include "RowAuth.h"

#include "db/Database.h"
#include "db/DbError.h"

namespace bom::suite {

RowAuth::RowAuth() = default;
RowAuth::~RowAuth() = default;

bool RowAuth::Init(const QString& url, const QString& userId, QString* error) {
    scopes_.clear();
    userId_ = userId;
    try {
        db_ = db::Database::open(url);
        scopes_ = RightsStore(*db_).effectiveRowScopes(userId);
        return true;
    } catch (const db::DbError& e) {
        if (error)
            *error = e.message();
        return false;
    }
}

RightsStore::Scope RowAuth::scope(const QString& table) const {
    const auto kind = RightsStore::kindOfTable(table);
    return kind ? scopes_.value(*kind, RightsStore::Scope::All) : RightsStore::Scope::All;
}

QString RowAuth::GetAuthString(const QString& table) const {
    const RightsStore::Scope s = scope(table);
    if (s == RightsStore::Scope::All)
        return {};
    if (s == RightsStore::Scope::None)
        return QStringLiteral("1=2");
    const QString kind = *RightsStore::kindOfTable(table);
    QStringList items;
    if (kind == QLatin1String("inventory")) {
        const db::Rows ids = db_->query(
            QStringLiteral("SELECT i.iId FROM Inventory i JOIN sys_right r ON r.ccode=i.cInvCode "
                           "WHERE r.cuserid=? AND r.ckind='inventory' ORDER BY i.iId"),
            {userId_});
        for (std::size_t i = 0; i < ids.size(); ++i)
            items << ids.text(i, "iId");
    } else {
        for (QString code : RightsStore(*db_).codes(userId_, kind))
            items << QLatin1Char('\'') + code.replace('\'', QLatin1String("''")) +
                         QLatin1Char('\'');
    }
    return items.isEmpty() ? QStringLiteral("1=2") : items.join(',');
}

bool RowAuth::HasRecordRight(const QString& table, const QString& code) const {
    const auto kind = RightsStore::kindOfTable(table);
    return !kind || RightsStore(*db_).allows(userId_, *kind, code);
}

} // namespace bom::suite
