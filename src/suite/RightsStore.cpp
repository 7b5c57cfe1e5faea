#include "RightsStore.h"

#include "db/Database.h"

namespace bom::suite {
namespace {

struct KindInfo {
    const char* kind;
    const char* table;
    const char* codeColumn;   // the code the rights list holds
    bool row;                 // restricts which rows of the table an operator sees
    RightsStore::Scope unset; // the scope of an operator without a scope row
};

using Scope = RightsStore::Scope;

// Voucher templates ("DJMB") are no row kind: they decide which card layouts an operator may
// choose, never which BOMs he sees; an operator never restricted may use every template.
const KindInfo kKinds[] = {
    {"inventory", "Inventory", "cInvCode", true, Scope::All},
    {"department", "Department", "cDepCode", true, Scope::All},
    {"person", "Person", "cPersonCode", true, Scope::All},
    {"warehouse", "Warehouse", "cWhCode", true, Scope::All},
    {"function", "sys_function", "cfunccode", false, Scope::None},
    {"template", "VoucherTemplates", "VT_id", false, Scope::All},
};

const KindInfo* infoOf(const QString& kind) {
    for (const KindInfo& info : kKinds)
        if (kind == QLatin1String(info.kind))
            return &info;
    return nullptr;
}

} // namespace

const QStringList& RightsStore::kinds() {
    static const QStringList all = [] {
        QStringList names;
        for (const KindInfo& info : kKinds)
            names << QLatin1String(info.kind);
        return names;
    }();
    return all;
}

bool RightsStore::isRowKind(const QString& kind) {
    const KindInfo* info = infoOf(kind);
    return info && info->row;
}

QString RightsStore::tableOf(const QString& kind) {
    const KindInfo* info = infoOf(kind);
    return info && isRowKind(kind) ? QLatin1String(info->table) : QString();
}

std::optional<QString> RightsStore::kindOfTable(const QString& table) {
    for (const KindInfo& info : kKinds)
        if (isRowKind(QLatin1String(info.kind)) &&
            table.compare(QLatin1String(info.table), Qt::CaseInsensitive) == 0)
            return QString::fromLatin1(info.kind);
    return std::nullopt;
}

QString RightsStore::scopeName(Scope scope) {
    switch (scope) {
    case Scope::All:
        return QStringLiteral("all");
    case Scope::None:
        return QStringLiteral("none");
    case Scope::List:
        return QStringLiteral("list");
    }
    return {};
}

RightsStore::Scope RightsStore::scope(const QString& userId, const QString& kind) {
    const QString stored =
        db_.scalar(QStringLiteral("SELECT cscope FROM sys_right_scope WHERE cuserid=? AND ckind=?"),
                   {userId, kind})
            .toString();
    if (stored == QLatin1String("list"))
        return Scope::List;
    if (stored == QLatin1String("none"))
        return Scope::None;
    if (stored == QLatin1String("all"))
        return Scope::All;
    const KindInfo* info = infoOf(kind);
    return info ? info->unset : Scope::None;
}

QStringList RightsStore::codes(const QString& userId, const QString& kind) {
    const db::Rows rows = db_.query(
        QStringLiteral("SELECT ccode FROM sys_right WHERE cuserid=? AND ckind=? ORDER BY ccode"),
        {userId, kind});
    QStringList out;
    for (std::size_t i = 0; i < rows.size(); ++i)
        out << rows.text(i, "ccode");
    return out;
}

bool RightsStore::hasCodes(const QString& userId, const QString& kind) {
    return !db_.query(QStringLiteral("SELECT 1 FROM sys_right WHERE cuserid=? AND ckind=? LIMIT 1"),
                      {userId, kind})
                .empty();
}

qlonglong RightsStore::version(const QString& userId) {
    return db_
        .scalar(QStringLiteral("SELECT iversion FROM sys_right_version WHERE cuserid=?"), {userId})
        .toLongLong();
}

void RightsStore::bumpVersion(const QString& userId) {
    if (db_.exec(QStringLiteral("UPDATE sys_right_version SET iversion=iversion+1 WHERE cuserid=?"),
                 {userId}) == 0)
        db_.exec(QStringLiteral("INSERT INTO sys_right_version(cuserid, iversion) VALUES (?, 1)"),
                 {userId});
}

QHash<QString, RightsStore::Scope> RightsStore::effectiveRowScopes(const QString& userId) {
    QHash<QString, Scope> scopes;
    for (const QString& kind : kinds()) {
        if (!isRowKind(kind))
            continue;
        Scope s = scope(userId, kind);
        if (s == Scope::List && !hasCodes(userId, kind))
            s = Scope::None;
        scopes.insert(kind, s);
    }
    return scopes;
}

bool RightsStore::allows(const QString& userId, const QString& kind, const QString& code) {
    switch (scope(userId, kind)) {
    case Scope::All:
        return true;
    case Scope::None:
        return false;
    case Scope::List:
        break;
    }
    return db_.scalar(QStringLiteral("SELECT count(*) FROM sys_right WHERE cuserid=? AND ckind=? "
                                     "AND ccode=?"),
                      {userId, kind, code})
               .toInt() > 0;
}

void RightsStore::setScope(const QString& userId, const QString& kind, Scope scope) {
    db_.exec(QStringLiteral("DELETE FROM sys_right_scope WHERE cuserid=? AND ckind=?"),
             {userId, kind});
    db_.exec(QStringLiteral("INSERT INTO sys_right_scope(cuserid, ckind, cscope) VALUES (?,?,?)"),
             {userId, kind, scopeName(scope)});
    if (scope != Scope::List)
        db_.exec(QStringLiteral("DELETE FROM sys_right WHERE cuserid=? AND ckind=?"),
                 {userId, kind});
    bumpVersion(userId);
}

void RightsStore::grant(const QString& userId, const QString& kind, const QStringList& codes) {
    if (scope(userId, kind) != Scope::List)
        setScope(userId, kind, Scope::List);
    for (const QString& code : codes)
        db_.exec(QStringLiteral("INSERT INTO sys_right(cuserid, ckind, ccode) VALUES (?,?,?) "
                                "ON CONFLICT DO NOTHING"),
                 {userId, kind, code});
    bumpVersion(userId);
}

void RightsStore::revoke(const QString& userId, const QString& kind, const QStringList& codes) {
    for (const QString& code : codes)
        db_.exec(QStringLiteral("DELETE FROM sys_right WHERE cuserid=? AND ckind=? AND ccode=?"),
                 {userId, kind, code});
    bumpVersion(userId);
}

QStringList RightsStore::unknownCodes(const QString& kind, const QStringList& codes) {
    const KindInfo* info = infoOf(kind);
    QStringList unknown;
    if (!info)
        return codes;
    // Table and column come from the fixed list above, never from input.
    const QString sql = QStringLiteral("SELECT count(*) FROM %1 WHERE %2=?")
                            .arg(QLatin1String(info->table), QLatin1String(info->codeColumn));
    for (const QString& code : codes)
        if (db_.scalar(sql, {code}).toInt() == 0)
            unknown << code;
    return unknown;
}

} // namespace bom::suite
