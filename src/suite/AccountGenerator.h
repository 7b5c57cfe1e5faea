#pragma once

#include "Account.h"

#include <QString>
#include <QStringList>
#include <random>
#include <vector>

namespace bom::suite {

// Builds a large, deterministic account for benchmarks: purchased items at the bottom and
// `depth` levels of made items above them, each made item with one BOM of `fanout` lines
// drawn from the level below (so sub-assemblies are shared) and from purchased items.
class AccountGenerator {
public:
    AccountGenerator(db::Database& db, Account::GenerateOptions options);
    void run();

private:
    struct Item {
        QString code;
        QString guid; // its BOM's header id, empty for purchased items
        int level = 0;
    };

    void planItems();
    void writeMasterData();
    void writeBoms();
    QString nextGuid();

    db::Database& db_;
    Account::GenerateOptions options_;
    std::mt19937_64 random_;
    std::vector<Item> items_;
    std::vector<std::vector<int>> byLevel_; // item indexes per level; 0 = purchased
};

} // namespace bom::suite
