#include "bomservice/CycleCheck.h"
#include "db/Transaction.h"
#include "suite/Account.h"
#include "support/TestAccount.h"

#include <random>

using namespace bom;

namespace {

// The documented check written out plainly: per line, a depth-first walk up the stored BOMs
// with no visited set, taking each item's parents in code order.
class ReferenceWalk {
public:
    explicit ReferenceWalk(db::Database& db) {
        const db::Rows edges =
            db.query(QStringLiteral("select distinct cpspcode, cpscode from ProductStructures"));
        for (std::size_t i = 0; i < edges.size(); ++i)
            parents_[edges.text(i, QStringLiteral("cpscode"))]
                << edges.text(i, QStringLiteral("cpspcode"));
        for (QStringList& list : parents_)
            list.sort();
    }
    // The way from `current` up to `component`, without `current`; empty when there is none.
    QStringList up(const QString& component, const QString& current) const {
        for (const QString& parent : parents_.value(current)) {
            if (parent == component)
                return {component};
            const QStringList way = up(component, parent);
            if (!way.isEmpty())
                return QStringList{parent} + way;
        }
        return {};
    }
    // The path P … C of the first line that closes a cycle; empty when none does.
    QStringList check(const QString& parent, const QStringList& components) const {
        for (const QString& component : components) {
            const QStringList way = up(component, parent);
            if (!way.isEmpty())
                return QStringList{parent} + way;
        }
        return {};
    }

private:
    QHash<QString, QStringList> parents_;
};

QString made(int level, int number) {
    return QStringLiteral("G%1-%2").arg(level).arg(number, 6, 10, QChar('0'));
}

} // namespace

class CycleTest : public test::BackendTest {
protected:
    // Six levels of 40 items in families of 8; every sub-assembly has 3 parents on average.
    static constexpr int kDepth = 6, kPerLevel = 40, kFamily = 8;

    void SetUp() override {
        BackendTest::SetUp();
        db = suite::Account::create(account->url(), QStringLiteral("demo"), QStringLiteral("d"));
        suite::Account::GenerateOptions shape{kDepth * kPerLevel, kDepth, 5, 5};
        shape.share = 3;
        shape.family = kFamily;
        suite::Account::generate(*db, shape);
    }
    void TearDown() override {
        db.reset();
        BackendTest::TearDown();
    }
    // A second BOM of `parent` for a sales order or a colour, using `component`.
    void addVariant(const QString& parent, const QString& salesOrder, const QString& colour,
                    const QString& component) {
        const QString id = QStringLiteral("{V-%1-%2}").arg(parent, component);
        db->exec(QStringLiteral("INSERT INTO ProductStructure(iautoid, cpspcode, csocode, cfree1) "
                                "VALUES (?, ?, ?, ?)"),
                 {id, parent, salesOrder.isEmpty() ? QVariant() : QVariant(salesOrder),
                  colour.isEmpty() ? QVariant() : QVariant(colour)});
        db->exec(QStringLiteral("INSERT INTO ProductStructures(ipid, cpspcode, cpscode, "
                                "ipsquantity) VALUES (?, ?, ?, 1)"),
                 {id, parent, component});
        variantEdges.append({component, parent});
    }
    std::unique_ptr<db::Database> db;
    QList<std::pair<QString, QString>> variantEdges; // (child, parent) only a variant has
};

TEST_P(CycleTest, RandomCardsGetTheVerdictAndPathOfTheDocumentedWalk) {
    {
        // Variants reach across families and skip levels: some cycles close only through them.
        db::Transaction tx(*db);
        addVariant(made(4, 3), QStringLiteral("SO-1"), QString(), made(2, 20));
        addVariant(made(5, 12), QString(), QStringLiteral("红"), made(2, 35));
        addVariant(made(3, 30), QStringLiteral("SO-2"), QStringLiteral("蓝"), made(1, 4));
        addVariant(made(6, 40), QString(), QStringLiteral("白"), made(3, 9));
        tx.commit();
    }
    const ReferenceWalk reference(*db);
    suite::ScriptedPrompter prompter;
    bomservice::CycleCheck cycles(*db, prompter);

    std::mt19937 random(20260);
    auto pick = [&](int low, int high) {
        return std::uniform_int_distribution<>(low, high)(random);
    };
    int clean = 0, cycling = 0, severalLevelsUp = 0, throughVariants = 0;
    auto compare = [&](const QString& parent, const QStringList& components) {
        bomservice::BomCard card;
        card.header.setValue(card.header.appendRow(), QStringLiteral("cpspcode"), parent);
        for (const QString& component : components)
            card.lines.setValue(card.lines.appendRow(), QStringLiteral("cpscode"), component);
        prompter.clear();
        const bool ok = cycles.CheckCycle(card);
        const QStringList expected = reference.check(parent, components);
        EXPECT_EQ(ok, expected.isEmpty()) << parent.toStdString();
        if (ok) {
            ++clean;
            EXPECT_TRUE(prompter.texts().isEmpty());
            return card;
        }
        ++cycling;
        EXPECT_EQ(cycles.lastPath(), expected);
        EXPECT_EQ(prompter.texts(),
                  QStringList{QStringLiteral("母件") + parent + QStringLiteral("与子件") +
                              expected.last() + QStringLiteral("循环!")});
        severalLevelsUp += expected.size() >= 4;
        for (int i = 1; i < expected.size(); ++i)
            if (variantEdges.contains({expected[i - 1], expected[i]})) {
                ++throughVariants;
                break;
            }
        return card;
    };

    for (int n = 0; n < 120; ++n) {
        const int level = pick(1, kDepth - 1);
        const int number = pick(1, kPerLevel);
        const int family = (number - 1) / kFamily;
        const QString parent = made(level, number);
        QStringList components{
            made(pick(level + 1, kDepth), family * kFamily + pick(1, kFamily)), // same family
            made(pick(1, kDepth), pick(1, kPerLevel)),                          // anywhere
            QStringLiteral("P-%1").arg(pick(1, 50), 6, 10, QChar('0'))};
        if (pick(0, 9) == 0)
            components << parent;
        std::shuffle(components.begin(), components.end(), random);
        const bomservice::BomCard card = compare(parent, components);

        // One step of the search on its own: from a component of the card upward.
        const QString from = components.first();
        const QString target = made(pick(1, kDepth), pick(1, kPerLevel));
        const QStringList way = reference.up(target, from);
        EXPECT_EQ(cycles.CheckCycleUp(card, target, from), way.isEmpty());
        if (!way.isEmpty()) {
            EXPECT_EQ(cycles.lastPath(), QStringList{parent} +
                                             (from == parent ? QStringList() : QStringList{from}) +
                                             way);
        }
    }
    // Below each variant's component, the items of the variant parent's family, which only
    // the variant links to it.
    for (const auto& [child, parent] : variantEdges) {
        QStringList components;
        const int family = (parent.section('-', 1).toInt() - 1) / kFamily;
        for (int level = 2; level <= kDepth; ++level)
            for (int i = 1; i <= kFamily; ++i)
                components << made(level, family * kFamily + i);
        std::shuffle(components.begin(), components.end(), random);
        const int before = throughVariants;
        compare(child, components);
        EXPECT_EQ(throughVariants, before + 1) << child.toStdString();
    }
    // The scenarios above happened, not just clean cards.
    EXPECT_GT(clean, 10);
    EXPECT_GT(cycling, 30);
    EXPECT_GT(severalLevelsUp, 10);
}

BOM_INSTANTIATE_BACKENDS(CycleTest);
