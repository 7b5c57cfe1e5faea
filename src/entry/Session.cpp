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
