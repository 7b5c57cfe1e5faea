#pragma once

#include "Account.h"

#include <QString>
#include <QStringList>
#include <random>
#include <vector>

namespace bom::suite {

// Builds a large, deterministic account for benchmarks: purchased items at the bottom and
// `depth` levels of made items above them, each made item with one BOM of `fanout` lines
// drawn from the level below (so sub-assemblies are shared) and from purchased items; with
// `share`, in product families (see Account::GenerateOptions).
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
    // Every item's deepest level (bom_llc), from the BOMs written.
    void writeLowLevelCodes();
    // The components of the BOM of the `position`-th item of `level`.
    std::vector<int> pickAnywhere(int level);
    std::vector<int> pickInFamily(int level, std::size_t position);
    QString nextGuid();

    db::Database& db_;
    Account::GenerateOptions options_;
    std::mt19937_64 random_;
    std::vector<Item> items_;
    std::vector<std::vector<int>> byLevel_; // item indexes per level; 0 = purchased
    std::vector<std::pair<int, int>> uses_; // (parent, component) of every line, lowest level first
};

} // namespace bom::suite
