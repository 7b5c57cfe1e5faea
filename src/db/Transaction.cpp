#include "Transaction.h"

#include "Database.h"
#include "DbError.h"

namespace bom::db {

Transaction::Transaction(Database& db) : db_(db) {
    db_.begin();
}

Transaction::~Transaction() {
    if (done_)
        return;
    try {
        db_.rollback();
    } catch (const DbError&) {
        // The connection is gone; the server has already dropped the transaction.
    }
}

void Transaction::commit() {
    db_.commit();
    done_ = true;
}

} // namespace bom::db
