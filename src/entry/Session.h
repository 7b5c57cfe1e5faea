#pragma once

#include "db/Database.h"
#include "suite/ColumnSettings.h"
#include "suite/ConnectionService.h"
#include "suite/Login.h"
#include "suite/Prompter.h"
#include "suite/PublicService.h"
#include "suite/RowAuth.h"

#include <QString>
#include <array>
#include <memory>
#include <optional>

namespace bom::entry {

class ListWindowHandle;

// The state one running BOM session shares between its windows and services.
class Session {
public:
    explicit Session(suite::Prompter& shown) : relay(shown), prompter(relay) {}

    // Every message and question of the session goes through `prompter`, which passes it on
    // to the prompter the session was made with (see PrompterRelay::Collecting).
    suite::PrompterRelay relay;
    suite::Prompter& prompter;

    suite::Login* gLogin = nullptr; // owned by the host
    std::unique_ptr<suite::ConnectionService> gClsCommon;
    std::unique_ptr<suite::ColumnSettings> gColSet;
    std::unique_ptr<suite::RowAuth> gRowAuth;
    std::unique_ptr<suite::PublicService> gPub;
    std::unique_ptr<db::Database> gConn;
    QString gDbName;
    QString gUserId;
    QString gUserName;
    ListWindowHandle* gListForm = nullptr;

    // The operator's row-right conditions on the reference tables, in the suite's text form.
    // Made from gRowAuth on first use: listing every granted item is the dearest step of a
    // restricted operator's start, and no statement of the module reads them.
    const QString& gAuthInventory() { return authText(AuthTable::Inventory); }
    const QString& gAuthDepartment() { return authText(AuthTable::Department); }
    const QString& gAuthPerson() { return authText(AuthTable::Person); }
    const QString& gAuthWarehouse() { return authText(AuthTable::Warehouse); }
    // Forgets the texts, so that they follow the current gRowAuth.
    void resetAuthTexts() { authTexts_.fill(std::nullopt); }

    int gQuanDigits = 2;
    int gNumDigits = 2;
    int gRateDigits = 2;
    int gBillPriceDigits = 2;
    int gPriceDigits = 2;

    // (Re)opens gConn on the account; false when the account cannot be reached.
    bool OpenConnection();
    bool running() const { return gListForm != nullptr; }

    void ShowInfo(const QString& text);
    // Where the windows keep what this operator set on this account (the account by a digest
    // of its address, which may hold a password).
    QString settingsGroup() const;

    static constexpr const char* kFunctionKey = "ProductStructure";

private:
    enum class AuthTable { Inventory, Department, Person, Warehouse };
    const QString& authText(AuthTable table);
    std::array<std::optional<QString>, 4> authTexts_;
};

} // namespace bom::entry
