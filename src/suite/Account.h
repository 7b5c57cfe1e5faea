#pragma once

#include <QString>
#include <functional>
#include <memory>

namespace bom::db {
class Database;
}

namespace bom::suite {

// Creating an account: schema, configuration, the first operator, and optionally the demo
// factory or a generated data set for benchmarks.
class Account {
public:
    struct GenerateOptions {
        int boms = 0;
        int depth = 3;
        int fanout = 10;
        quint32 seed = 1;
        // 0: made items per level double towards the top and draw sub-assemblies from the whole
        // level below. S > 0: every level holds boms/depth items (the top takes the rest), cut
        // into product families of `family` items per level; each BOM draws S sub-assemblies
        // from its family one level down, so each is used by S parents on average and the
        // paths up from a low sub-assembly multiply while its ancestors stay in its family.
        int share = 0;
        int family = 50;
    };

    // Creates the account at `url` with operator `userId` holding every right. Refuses an
    // existing account. Throws db::DbError.
    static std::unique_ptr<db::Database> create(const QString& url, const QString& userId,
                                                const QString& userName);
    static bool exists(db::Database& db);
    static void loadDemo(db::Database& db);
    static void generate(db::Database& db, const GenerateOptions& options);

    // Runs a resource script (schema dialect tokens allowed) in the caller's transaction.
    static void runScript(db::Database& db, const QString& resourcePath);
    static void addOperator(db::Database& db, const QString& userId, const QString& userName,
                            const QString& password);
};

} // namespace bom::suite
