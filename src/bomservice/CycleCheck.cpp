#include "CycleCheck.h"

#include "db/Database.h"
#include "suite/Prompter.h"

namespace bom::bomservice {

QHash<QString, QString> CycleCheck::ancestorsOf(const QString& code) {
    const db::Rows edges =
        db_.query(QStringLiteral("WITH RECURSIVE up(parent, child) AS ("
                                 " SELECT cpspcode, cpscode FROM ProductStructures WHERE cpscode=?"
                                 " UNION"
                                 " SELECT p.cpspcode, p.cpscode FROM ProductStructures p"
                                 " JOIN up ON p.cpscode = up.parent)"
                                 " SELECT parent, child FROM up"),
                  {code});
    // Breadth first from `code`, so each ancestor keeps a shortest way down to it.
    QHash<QString, QStringList> parentsOf;
    for (std::size_t i = 0; i < edges.size(); ++i)
        parentsOf[edges.text(i, "child")] << edges.text(i, "parent");
    QHash<QString, QString> via;
    QStringList frontier{code};
    while (!frontier.isEmpty()) {
        QStringList next;
        for (const QString& child : frontier)
            for (const QString& parent : parentsOf.value(child))
                if (!via.contains(parent)) { // `code` itself when old data loops back to it
                    via.insert(parent, child);
                    next << parent;
                }
        frontier = next;
    }
    return via;
}

bool CycleCheck::report(const QString& parent, const QString& component,
                        const QHash<QString, QString>& via) {
    lastPath_ = {component};
    for (QString step = via.value(component);
         !step.isEmpty() && step != parent && lastPath_.size() <= via.size();
         step = via.value(step))
        lastPath_.prepend(step);
    lastPath_.prepend(parent);
    prompter_.ShowInfo(QStringLiteral("母件") + parent + QStringLiteral("与子件") + component +
                       QStringLiteral("循环!"));
    return false;
}

bool CycleCheck::CheckCycle(const BomCard& card) {
    lastPath_.clear();
    const QString parent = card.header.text(0, QStringLiteral("cpspcode"));
    const QHash<QString, QString> above = ancestorsOf(parent);
    for (int row : card.lines.notDeletedRows()) {
        const QString component = card.lines.text(row, QStringLiteral("cpscode"));
        if (above.contains(component))
            return report(parent, component, above);
    }
    return true;
}

bool CycleCheck::CheckCycleUp(const BomCard& card, const QString& componentCode,
                              const QString& currentCode) {
    lastPath_.clear();
    const QHash<QString, QString> above = ancestorsOf(currentCode);
    if (!above.contains(componentCode))
        return true;
    return report(card.header.text(0, QStringLiteral("cpspcode")), componentCode, above);
}

bool CycleCheck::CheckDirectCycle(const QString& parentCode, const QString& componentCode,
                                  const QString& parentTerm, const QString& componentTerm) {
    if (db_.query(QStringLiteral("select CPSPCode from ProductStructure where CPSPCode=? LIMIT 1"),
                  {componentCode})
            .size() != 1)
        return true;
    if (db_.query(QStringLiteral("select cPSCode from ProductStructures where cPSPCode=? and "
                                 "cPSCode=? LIMIT 1"),
                  {componentCode, parentCode})
            .size() != 1)
        return true;
    lastPath_ = {parentCode, componentCode};
    prompter_.ShowInfo(QStringLiteral("该") + componentTerm + QStringLiteral("已经作为") +
                       parentTerm + QStringLiteral("，\r\n不可出现循环调用！"));
    return false;
}

} // namespace bom::bomservice
