#include "Session.h"

#include "db/DbError.h"
#include "suite/Prompter.h"

#include <QCryptographicHash>

namespace bom::entry {

bool Session::OpenConnection() {
    gConn.reset();
    if (!gLogin)
        return false;
    try {
        // The dialect's session set-up gives every statement the 120-second time-out.
        gConn = db::Database::open(gLogin->QzDbName);
        return true;
    } catch (const db::DbError&) {
        return false;
    }
}

const QString& Session::authText(AuthTable table) {
    std::optional<QString>& text = authTexts_[std::size_t(table)];
    if (text)
        return *text;
    struct Form {
        const char* table;
        const char* all;
        const char* prefix;
        const char* suffix;
    };
    // The suite's exact texts, blanks included.
    static const Form forms[] = {
        {"Inventory", "(1=1) ", " (Inventory.iId in (", ") )"},
        {"Department", "(1=1)", "(Department.cDepCode in  (", "))"},
        {"Person", "(1=1)", "(Person.CPersonCode in (", "))"},
        {"Warehouse", "(1=1)", "(Warehouse.CWhCode in (", "))"},
    };
    const Form& form = forms[std::size_t(table)];
    const QString granted =
        gRowAuth ? gRowAuth->GetAuthString(QLatin1String(form.table)) : QString();
    if (granted == QLatin1String("1=2"))
        text = QStringLiteral("(1=2)");
    else if (granted.isEmpty())
        text = QLatin1String(form.all);
    else
        text = QLatin1String(form.prefix) + granted + QLatin1String(form.suffix);
    return *text;
}

void Session::ShowInfo(const QString& text) {
    prompter.ShowInfo(text);
}

QString Session::settingsGroup() const {
    const QByteArray account =
        QCryptographicHash::hash(gDbName.toUtf8(), QCryptographicHash::Sha1).toHex();
    return QStringLiteral("accounts/%1/%2")
        .arg(QString::fromLatin1(account.left(16)),
             QString::fromUtf8(gUserId.toUtf8().toPercentEncoding()));
}

} // namespace bom::entry
