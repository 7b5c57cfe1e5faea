#pragma once

#include "Database.h"
#include "DbError.h"

namespace bom::db {

// Work that PostgreSQL may end because it collided with another transaction (a serialization
// failure or a deadlock) is run again, up to kAttempts in all, after a short random pause; the
// last failure goes up to the caller. `attempt` opens and commits its own Transaction and reads
// again, inside it, everything it decides on (a row version, a plan under its locks), so a
// second attempt decides on what is there by then. Inside an outer transaction nothing is run
// again: the collision ended the outer one as well, and the failure goes to whoever opened it.
class TransactionRetry {
public:
    static constexpr int kAttempts = 5;

    template <typename Attempt> static auto run(Database& db, Attempt&& attempt) {
        for (int done = 1;; ++done) {
            try {
                return attempt();
            } catch (const DbError& e) {
                if (!e.collided() || done >= kAttempts || db.transactionDepth() > 0)
                    throw;
                pauseAfter(done);
            }
        }
    }

    // Attempts run again in this process so far (the load benchmark reports them).
    static qint64 retries();

private:
    static void pauseAfter(int attempts);
};

} // namespace bom::db
