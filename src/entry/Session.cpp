#include "Session.h"

#include "db/DbError.h"
#include "suite/Prompter.h"

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

} // namespace bom::entry
