#pragma once

namespace bom::db {

class Database;

// Rolls back on scope exit unless commit() ran, so an exception or an early return never
// leaves half a write behind. Nested transactions become savepoints.
class Transaction {
public:
    explicit Transaction(Database& db);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void commit();

private:
    Database& db_;
    bool done_ = false;
};

} // namespace bom::db
