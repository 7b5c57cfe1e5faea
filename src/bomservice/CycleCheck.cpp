#include "CycleCheck.h"

#include "db/BoundList.h"
#include "db/Database.h"
#include "suite/Prompter.h"

namespace bom::bomservice {

QSet<QString> CycleCheck::reachFrom(const QString& code) {
    // Starting from the item itself (one row) rather than from the lines that use it keeps
    // PostgreSQL's estimate of the recursion small: from the lines it guesses tens of thousands
    // of rows and compiles the query (JIT) on every run. UNION follows each item once however
    // many paths lead to it, so old looping data ends too.
    const db::Rows rows = db_.query(QStringLiteral("WITH RECURSIVE up(code) AS ("
                                                   " SELECT CAST(? AS VARCHAR(60))"
                                                   " UNION"
                                                   " SELECT s.cpspcode FROM ProductStructures s"
                                                   " JOIN up ON s.cpscode=up.code)"
                                                   " SELECT code FROM up"),
                                    {code});
    QSet<QString> reach;
    reach.reserve(int(rows.size()));
    for (std::size_t i = 0; i < rows.size(); ++i)
        reach.insert(rows.at(i).at(0).toString());
    return reach;
}

bool CycleCheck::isAbove(const QString& component, const QString& code,
                         const QSet<QString>& reach) {
    if (component != code)
        return reach.contains(component);
    // An item is above itself only in old looping data: when it uses something in its reach.
    const db::Rows lines = db_.query(
        QStringLiteral("select distinct cpscode from ProductStructures where cpspcode=?"), {code});
    for (std::size_t i = 0; i < lines.size(); ++i)
        if (reach.contains(lines.at(i).at(0).toString()))
            return true;
    return false;
}

QHash<QString, QStringList> CycleCheck::parentsOf(const QSet<QString>& codes) {
    // Bound lists, not a join on the recursion: PostgreSQL would plan the join to scan the
    // whole table. Only asked when there is a cycle to show.
    constexpr int kChunk = 500; // bound values per statement
    const QStringList all(codes.begin(), codes.end());
    QHash<QString, QStringList> parents;
    for (int start = 0; start < all.size(); start += kChunk) {
        const QStringList chunk = all.mid(start, kChunk);
        const db::Rows edges = db_.query(
            QStringLiteral("select distinct cpspcode, cpscode from ProductStructures "
                           "where cpscode in (%1)")
                .arg(QStringList(chunk.size(), QStringLiteral("?")).join(QLatin1Char(','))),
            db::Params(chunk.begin(), chunk.end()));
        for (std::size_t i = 0; i < edges.size(); ++i)
            parents[edges.at(i).at(1).toString()] << edges.at(i).at(0).toString();
    }
    for (QStringList& list : parents)
        list.sort();
    return parents;
}

QStringList CycleCheck::wayUp(const QString& from, const QString& component,
                              const QSet<QString>& reach) {
    const QHash<QString, QStringList> parents = parentsOf(reach);
    // The items that have `component` above them: only through these does a way lead on.
    QHash<QString, QStringList> children;
    for (auto it = parents.cbegin(); it != parents.cend(); ++it)
        for (const QString& parent : it.value())
            children[parent] << it.key();
    QSet<QString> leadsUp;
    QStringList frontier{component};
    while (!frontier.isEmpty()) {
        QStringList next;
        for (const QString& item : frontier)
            for (const QString& child : children.value(item))
                if (!leadsUp.contains(child)) {
                    leadsUp.insert(child);
                    next << child;
                }
        frontier = next;
    }
    // Taking the first parent that leads on is what the walk without a visited set reports
    // first; `seen` only ends old looping data, which that walk would never leave.
    std::vector<std::pair<QString, int>> stack{{from, 0}};
    QSet<QString> seen{from};
    while (!stack.empty()) {
        const QStringList options = parents.value(stack.back().first);
        if (stack.back().second >= options.size()) {
            stack.pop_back();
            continue;
        }
        const QString parent = options[stack.back().second++];
        if (parent == component) {
            QStringList way;
            for (std::size_t i = 1; i < stack.size(); ++i)
                way << stack[i].first;
            return way << component;
        }
        if (leadsUp.contains(parent) && !seen.contains(parent)) {
            seen.insert(parent);
            stack.emplace_back(parent, 0);
        }
    }
    return {component};
}

bool CycleCheck::report(const QString& parent, const QString& from, const QString& component,
                        const QSet<QString>& reach) {
    lastPath_ = QStringList{parent};
    if (from != parent)
        lastPath_ << from;
    lastPath_ << wayUp(from, component, reach);
    prompter_.ShowInfo(QStringLiteral("母件") + parent + QStringLiteral("与子件") + component +
                       QStringLiteral("循环!"));
    return false;
}

bool CycleCheck::CheckCycle(const BomCard& card) {
    lastPath_.clear();
    const QString parent = card.header.text(0, QStringLiteral("cpspcode"));
    const QSet<QString> reach = reachFrom(parent);
    for (int row : card.lines.notDeletedRows()) {
        const QString component = card.lines.text(row, QStringLiteral("cpscode"));
        if (isAbove(component, parent, reach))
            return report(parent, parent, component, reach);
    }
    return true;
}

bool CycleCheck::CheckCycleUp(const BomCard& card, const QString& componentCode,
                              const QString& currentCode) {
    lastPath_.clear();
    const QSet<QString> reach = reachFrom(currentCode);
    if (!isAbove(componentCode, currentCode, reach))
        return true;
    return report(card.header.text(0, QStringLiteral("cpspcode")), currentCode, componentCode,
                  reach);
}

QStringList CycleCheck::ParentsClosingCycle(const QString& componentCode,
                                            const QStringList& parentCodes) {
    if (parentCodes.isEmpty())
        return {};
    // Downwards from the component itself, as reachFrom goes upwards; UNION ends old loops.
    const db::SqlCondition sql =
        db::SqlCondition{QStringLiteral("WITH RECURSIVE down(code) AS ("
                                        " SELECT CAST(? AS VARCHAR(60))"
                                        " UNION"
                                        " SELECT s.cpscode FROM ProductStructures s"
                                        " JOIN down ON s.cpspcode=down.code)"
                                        " SELECT code FROM down WHERE "),
                         {componentCode}} +
        db::BoundList::in(db_.dialect(), QStringLiteral("code"), parentCodes);
    const db::Rows rows = db_.query(sql.sql, sql.params);
    QStringList out;
    for (std::size_t i = 0; i < rows.size(); ++i)
        out << rows.at(i).at(0).toString();
    out.sort(); // the same order on every database
    return out;
}

bool CycleCheck::HasDirectCycle(const QString& parentCode, const QString& componentCode) {
    if (db_.query(QStringLiteral("select CPSPCode from ProductStructure where CPSPCode=? LIMIT 1"),
                  {componentCode})
            .size() != 1)
        return false;
    return db_.query(QStringLiteral("select cPSCode from ProductStructures where cPSPCode=? and "
                                    "cPSCode=? LIMIT 1"),
                     {componentCode, parentCode})
               .size() == 1;
}

bool CycleCheck::CheckDirectCycle(const QString& parentCode, const QString& componentCode,
                                  const QString& parentTerm, const QString& componentTerm) {
    if (!HasDirectCycle(parentCode, componentCode))
        return true;
    lastPath_ = {parentCode, componentCode};
    prompter_.ShowInfo(QStringLiteral("该") + componentTerm + QStringLiteral("已经作为") +
                       parentTerm + QStringLiteral("，\r\n不可出现循环调用！"));
    return false;
}

} // namespace bom::bomservice
