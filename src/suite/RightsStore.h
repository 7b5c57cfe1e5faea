#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <optional>

namespace bom::db {
class Database;
}

namespace bom::suite {

// Operators' rights, by kind: row rights on inventory, department, person and warehouse,
// function rights (function and task codes) and the voucher templates he may use. Each operator
// and kind has a scope; a List scope allows exactly the codes granted. An operator without a
// scope row is unrestricted for row kinds and templates and has no function right.
class RightsStore {
public:
    enum class Scope { All, None, List };

    explicit RightsStore(db::Database& db) : db_(db) {}

    static const QStringList& kinds();
    static bool isRowKind(const QString& kind);
    // The master table whose codes a row kind restricts ("Inventory" …), empty for functions.
    static QString tableOf(const QString& kind);
    static std::optional<QString> kindOfTable(const QString& table);

    Scope scope(const QString& userId, const QString& kind);
    QStringList codes(const QString& userId, const QString& kind);
    bool hasCodes(const QString& userId, const QString& kind);
    // Counts up with every change of the operator's rights (0 before the first).
    qlonglong version(const QString& userId);
    // The operator's row scopes by kind, as they act: a list whose every code was revoked
    // grants nothing, the same as no right at all.
    QHash<QString, Scope> effectiveRowScopes(const QString& userId);
    bool allows(const QString& userId, const QString& kind, const QString& code);

    // Writers run in the caller's transaction.
    void setScope(const QString& userId, const QString& kind, Scope scope);
    void grant(const QString& userId, const QString& kind, const QStringList& codes);
    void revoke(const QString& userId, const QString& kind, const QStringList& codes);
    // Codes among `codes` that name nothing in the kind's master table.
    QStringList unknownCodes(const QString& kind, const QStringList& codes);

    static QString scopeName(Scope scope);

private:
    void bumpVersion(const QString& userId);

    db::Database& db_;
};

} // namespace bom::suite
