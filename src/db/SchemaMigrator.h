#pragma once

namespace bom::db {

class Database;

// Brings an account database to the newest schema. Migrations are numbered scripts embedded
// as resources (:/schema/common/NNN_*.sql, then :/schema/<dialect>/NNN_*.sql for the same
// number); each number is applied in its own transaction and recorded in schema_version.
class SchemaMigrator {
public:
    // Answers the number of migrations applied (0 when already current).
    static int migrate(Database& db);
    static int currentVersion(Database& db);
    static int latestVersion();
};

} // namespace bom::db
