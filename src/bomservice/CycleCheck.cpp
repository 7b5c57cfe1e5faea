#include "CycleCheck.h"

#include "db/Database.h"
#include "suite/Prompter.h"

namespace bom::bomservice {

QHash<QString, QString> CycleCheck::ancestorsOf(const QString& code) {
    // Breadth first, one query per level over the whole frontier, so each ancestor is read once
    // however many paths lead to it, keeps a shortest way down, and old looping data ends.
    constexpr int kChunk = 500; // bound values per statement
    QHash<QString, QString> via;
    QStringList frontier{code};
    while (!frontier.isEmpty()) {
        QStringList next;
        for (int start = 0; start < frontier.size(); start += kChunk) {
            const QStringList chunk = frontier.mid(start, kChunk);
            QStringList marks;
            db::Params params;
            for (const QString& child : chunk) {
                marks << QStringLiteral("?");
                params << child;
            }
            const db::Rows edges =
                db_.query(QStringLiteral("select distinct cpspcode, cpscode from ProductStructures "
                                         "where cpscode in (%1)")
                              .arg(marks.join(',')),
                          params);
            for (std::size_t i = 0; i < edges.size(); ++i) {
                const QString parent = edges.text(i, "cpspcode");
                if (!via.contains(parent)) { // `code` itself when old data loops back to it
                    via.insert(parent, edges.text(i, "cpscode"));
                    next << parent;
                }
            }
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
