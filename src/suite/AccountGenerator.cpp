#include "AccountGenerator.h"

#include "AccountSettings.h"

#include "db/Database.h"
#include "db/Transaction.h"

#include <QHash>
#include <QUuid>
#include <algorithm>
#include <map>

namespace bom::suite {

AccountGenerator::AccountGenerator(db::Database& db, Account::GenerateOptions options)
    : db_(db), options_(options), random_(options.seed) {
    options_.depth = std::max(1, options_.depth);
    options_.fanout = std::max(1, options_.fanout);
    options_.share = std::max(0, options_.share);
    options_.family = std::max(1, options_.family);
}

QString AccountGenerator::nextGuid() {
    const quint64 hi = random_();
    const quint64 lo = random_();
    const QUuid id(quint32(hi >> 32), quint16(hi >> 16), quint16(hi), quint8(lo >> 56),
                   quint8(lo >> 48), quint8(lo >> 40), quint8(lo >> 32), quint8(lo >> 24),
                   quint8(lo >> 16), quint8(lo >> 8), quint8(lo));
    return id.toString(QUuid::WithBraces).toUpper();
}

void AccountGenerator::planItems() {
    byLevel_.assign(options_.depth + 1, {});
    std::vector<int> counts(options_.depth + 1, 0);
    if (options_.share > 0) {
        const int perLevel = std::max(1, options_.boms / options_.depth);
        int assigned = 0;
        for (int level = 1; level < options_.depth; ++level) {
            counts[level] = std::min(perLevel, options_.boms - assigned);
            assigned += counts[level];
        }
        counts[options_.depth] = options_.boms - assigned;
    } else {
        // Made items per level grow towards the top (level `depth` holds the finished goods).
        double weightSum = 0;
        for (int level = 1; level <= options_.depth; ++level)
            weightSum += double(1 << std::min(level, 20));
        int assigned = 0;
        for (int level = options_.depth; level >= 1; --level) {
            int count = level == 1
                            ? options_.boms - assigned
                            : int(options_.boms * double(1 << std::min(level, 20)) / weightSum);
            counts[level] = std::max(0, std::min(count, options_.boms - assigned));
            assigned += counts[level];
        }
    }
    for (int level = options_.depth; level >= 1; --level)
        for (int i = 0; i < counts[level]; ++i) {
            byLevel_[level].push_back(int(items_.size()));
            items_.push_back({QStringLiteral("G%1-%2").arg(level).arg(i + 1, 6, 10, QChar('0')),
                              nextGuid(), level});
        }
    const int purchased = std::max(options_.fanout * 10, options_.boms / 5);
    for (int i = 0; i < purchased; ++i) {
        byLevel_[0].push_back(int(items_.size()));
        items_.push_back({QStringLiteral("P-%1").arg(i + 1, 6, 10, QChar('0')), QString(), 0});
    }
}

std::vector<int> AccountGenerator::pickAnywhere(int level) {
    const std::vector<int>& below = byLevel_[level - 1];
    const std::vector<int>& purchased = byLevel_[0];
    std::vector<int> chosen;
    for (int n = 0; int(chosen.size()) < options_.fanout && n < options_.fanout * 4; ++n) {
        const std::vector<int>& pool = (n % 2 == 0 && !below.empty()) ? below : purchased;
        const int pick =
            pool[std::uniform_int_distribution<std::size_t>(0, pool.size() - 1)(random_)];
        if (std::find(chosen.begin(), chosen.end(), pick) == chosen.end())
            chosen.push_back(pick);
    }
    return chosen;
}

std::vector<int> AccountGenerator::pickInFamily(int level, std::size_t position) {
    std::vector<int> chosen;
    const std::vector<int>& below = byLevel_[level - 1];
    if (level > 1 && !below.empty()) {
        const std::size_t width = std::size_t(options_.family);
        // The top level may hold a few more items than the others: they join the last family.
        const std::size_t first = std::min(position / width, (below.size() - 1) / width) * width;
        std::vector<int> family(below.begin() + std::ptrdiff_t(first),
                                below.begin() +
                                    std::ptrdiff_t(std::min(first + width, below.size())));
        const std::size_t take =
            std::min({std::size_t(options_.share), std::size_t(options_.fanout), family.size()});
        for (std::size_t k = 0; k < take; ++k) {
            std::swap(
                family[k],
                family[std::uniform_int_distribution<std::size_t>(k, family.size() - 1)(random_)]);
            chosen.push_back(family[k]);
        }
    }
    const std::vector<int>& purchased = byLevel_[0];
    for (int n = 0; int(chosen.size()) < options_.fanout && n < options_.fanout * 4; ++n) {
        const int pick =
            purchased[std::uniform_int_distribution<std::size_t>(0, purchased.size() - 1)(random_)];
        if (std::find(chosen.begin(), chosen.end(), pick) == chosen.end())
            chosen.push_back(pick);
    }
    return chosen;
}

void AccountGenerator::writeMasterData() {
    db_.exec(QStringLiteral("INSERT INTO ComputationGroup(cGroupCode, cGroupName, iGroupType) "
                            "VALUES ('GEN','生成数据',0) ON CONFLICT DO NOTHING"));
    db_.exec(QStringLiteral("INSERT INTO ComputationUnit(cComUnitCode, cComUnitName, cGroupCode, "
                            "bMainUnit, iChangRate) VALUES ('GEN','个','GEN',1,1) "
                            "ON CONFLICT DO NOTHING"));
    const int firstId =
        db_.scalar(QStringLiteral("SELECT COALESCE(MAX(iId),0) FROM Inventory")).toInt() + 1;
    QSqlQuery insert = db_.prepare(QStringLiteral(
        "INSERT INTO Inventory(iId, cInvCode, cInvName, cComunitCode, cGroupCode, iGroupType, "
        "bself, bPurchase, iPlanPolicy) VALUES (?,?,?,'GEN','GEN',0,?,?,1)"));
    for (std::size_t i = 0; i < items_.size(); ++i) {
        const Item& item = items_[i];
        const bool made = item.level > 0;
        db_.run(insert, {firstId + int(i), item.code,
                         (made ? QStringLiteral("生成件 ") : QStringLiteral("生成料 ")) + item.code,
                         made ? 1 : 0, made ? 0 : 1});
    }
}

void AccountGenerator::writeBoms() {
    QSqlQuery header = db_.prepare(QStringLiteral(
        "INSERT INTO ProductStructure(iautoid, cpspcode, bexpand, bStopFlag, bmrcbbom) "
        "VALUES (?,?,1,0,1) RETURNING ID"));
    QSqlQuery line = db_.prepare(QStringLiteral(
        "INSERT INTO ProductStructures(ipid, psid, cpspcode, cpscode, ipsquantity, tdqtyd, "
        "iwasterate, WIPType, ReplaceFlag, childguid) VALUES (?,?,?,?,?,1,0,3,0,?)"));
    std::map<std::pair<QString, QString>, double> totals;
    std::uniform_int_distribution<int> quantity(1, 9);
    for (int level = 1; level <= options_.depth; ++level) {
        for (std::size_t position = 0; position < byLevel_[level].size(); ++position) {
            const Item& parent = items_[byLevel_[level][position]];
            db_.run(header, {parent.guid, parent.code});
            header.next();
            const qint64 id = header.value(0).toLongLong();
            header.finish();
            const std::vector<int> chosen =
                options_.share > 0 ? pickInFamily(level, position) : pickAnywhere(level);
            for (int componentIndex : chosen) {
                uses_.emplace_back(byLevel_[level][position], componentIndex);
                const Item& component = items_[componentIndex];
                const double qty = quantity(random_);
                db_.run(line, {parent.guid, id, parent.code, component.code, qty,
                               component.guid.isEmpty() ? QVariant() : QVariant(component.guid)});
                totals[{parent.code, component.code}] += qty;
            }
        }
    }
    QSqlQuery total = db_.prepare(QStringLiteral(
        "INSERT INTO ProductStructuresEx(cPSPCode, cPSCode, iPSQuantity) VALUES (?,?,?)"));
    for (const auto& [pair, sum] : totals)
        db_.run(total, {pair.first, pair.second, sum});
}

void AccountGenerator::writeLowLevelCodes() {
    // Taken top level first, so each parent's level is final before its components take
    // theirs from it: one more than the deepest parent's, that parent first by code.
    std::vector<int> level(items_.size(), 0);
    std::vector<int> via(items_.size(), -1);
    for (auto use = uses_.rbegin(); use != uses_.rend(); ++use) {
        const auto [parent, component] = *use;
        const int below = level[std::size_t(parent)] + 1;
        int& at = level[std::size_t(component)];
        int& by = via[std::size_t(component)];
        if (below > at ||
            (below == at && items_[std::size_t(parent)].code < items_[std::size_t(by)].code)) {
            at = below;
            by = parent;
        }
    }
    QSqlQuery insert =
        db_.prepare(QStringLiteral("INSERT INTO bom_llc(cinvcode, ilevel, cvia) VALUES (?,?,?)"));
    for (std::size_t i = 0; i < items_.size(); ++i)
        if (via[i] >= 0)
            db_.run(insert, {items_[i].code, level[i], items_[std::size_t(via[i])].code});
    AccountSettings(db_).set(AccountSettings::kProduction, AccountSettings::kLowLevelCodesCurrent);
}

void AccountGenerator::run() {
    planItems();
    db::Transaction tx(db_);
    writeMasterData();
    writeBoms();
    writeLowLevelCodes();
    tx.commit();
}

} // namespace bom::suite
