#pragma once

#include <QString>

namespace bom::db {
class Database;
}

namespace bom::suite {

// The account's own settings (AccInformation), each named by its system and name.
class AccountSettings {
public:
    // The production module's flags.
    static inline const QString kProduction = QStringLiteral("pp");
    static inline const QString kStructureChanged = QStringLiteral("bStruChange");
    static inline const QString kLowLevelCodesCurrent = QStringLiteral("bLowLevelCodes");

    explicit AccountSettings(db::Database& db) : db_(db) {}

    QString value(const QString& system, const QString& name);
    // Whether the flag reads "1".
    bool isSet(const QString& system, const QString& name) {
        return value(system, name) == QLatin1String("1");
    }
    // Sets the flag to "1"; true when this call changed it (false when it was set already), so
    // that of two sessions only one goes on to do what the flag stands for.
    bool set(const QString& system, const QString& name);

private:
    db::Database& db_;
};

} // namespace bom::suite
