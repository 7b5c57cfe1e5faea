#include "Commands.h"
#include "CtlContext.h"
#include "db/DbError.h"
#include "list/BomList.h"
#include "list/BomListCommands.h"

namespace bom::app {
namespace {

using list::ListRow;

// The BOMs named on the command line as the list would show them, all selected; for a line
// command, that line as the current one of an active component list.
class NamedSelection : public list::ListView, public list::ListHandover {
public:
    std::vector<ListRow> parents;
    std::optional<ListRow> line;
    int linesOfBom = 0;

    std::vector<ListRow> parentRows() const override { return parents; }
    std::optional<ListRow> currentParent() const override {
        return parents.empty() ? std::nullopt : std::optional<ListRow>(parents.front());
    }
    bool componentListActive() const override { return line.has_value(); }
    std::optional<ListRow> currentLine() const override { return line; }
    int lineCount() const override { return linesOfBom; }
    std::vector<ListRow> selectedLines() const override { return {}; }
    void reload() override {}
    void reloadLines() override {}
    void selectAll(bool) override {}
    // bomctl offers no command that opens another window.
    void openCard(CardMode, const QString&) override {}
    void openBatch(const QString&, const std::vector<ListRow>&,
                   const std::vector<ListRow>&) override {}
    void openColourSize(const QString&, const ListRow&) override {}
};

std::vector<ListRow> rowsOf(db::Database& db, const db::SqlCondition& sql) {
    std::vector<ListRow> rows = list::BomList::listRows(db.query(sql.sql, sql.params));
    for (ListRow& row : rows)
        row.selected = true; // what bomctl names is what it acts on
    return rows;
}

// The named BOMs among those the operator's list shows; names it cannot see are refused.
bool selectBoms(CtlContext& ctx, const QStringList& ids, NamedSelection& selection) {
    const list::BomList bomList(ctx.session());
    for (const QString& id : ids) {
        const auto rows =
            rowsOf(ctx.db(), bomList.parentQuery({QStringLiteral("iautoid = ?"), {id}}));
        if (rows.empty()) {
            ctx.fail(ExitRefused, QStringLiteral("没有找到物料清单 %1，或无权查看").arg(id));
            return false;
        }
        ListRow row = rows.front();
        row.number = int(selection.parents.size()) + 1;
        selection.parents.push_back(row);
    }
    return true;
}

// One list command over the BOMs named as arguments.
int runOnSelection(CtlContext& ctx, const QString& key, int minIds, int maxIds) {
    const auto words = ctx.positional(minIds, maxIds);
    if (!words)
        return ExitUsage;
    if (const int status = ctx.startSession())
        return status;
    NamedSelection selection;
    if (!selectBoms(ctx, *words, selection))
        return ExitRefused;
    list::BomListCommands commands(ctx.session(), selection, selection);
    return ctx.finish(commands.ExecuteCommand(key) ? ExitOk : ExitRefused);
}

int runApprove(CtlContext& ctx) {
    return runOnSelection(ctx, QStringLiteral("Auditing"), 0, -1);
}
int runUnapprove(CtlContext& ctx) {
    return runOnSelection(ctx, QStringLiteral("DisAudit"), 0, -1);
}
int runStop(CtlContext& ctx) {
    return runOnSelection(ctx, QStringLiteral("StopUse"), 0, -1);
}
int runEnable(CtlContext& ctx) {
    return runOnSelection(ctx, QStringLiteral("Use"), 0, -1);
}
int runDelete(CtlContext& ctx) {
    return runOnSelection(ctx, QStringLiteral("Delete"), 1, 1);
}

int runDeleteLine(CtlContext& ctx) {
    const auto words = ctx.positional(1, 1);
    if (!words)
        return ExitUsage;
    if (const int status = ctx.startSession())
        return status;
    const QString headerId =
        ctx.db()
            .scalar(QStringLiteral("select ipid from ProductStructures where autoid=?"),
                    {words->first()})
            .toString();
    NamedSelection selection;
    if (headerId.isEmpty()) {
        return ctx.fail(ExitRefused, QStringLiteral("没有找到子件行 %1").arg(words->first()));
    }
    if (!selectBoms(ctx, {headerId}, selection))
        return ExitRefused;
    const list::BomList bomList(ctx.session());
    const auto lines = rowsOf(ctx.db(), bomList.componentQuery(headerId));
    for (const ListRow& line : lines)
        if (line.text(QStringLiteral("autoid")) == words->first())
            selection.line = line;
    selection.linesOfBom = int(lines.size());
    if (!selection.line)
        return ctx.fail(ExitRefused, QStringLiteral("没有找到子件行 %1").arg(words->first()));
    list::BomListCommands commands(ctx.session(), selection, selection);
    return ctx.finish(commands.ExecuteCommand(QStringLiteral("Delete")) ? ExitOk : ExitRefused);
}

} // namespace

std::vector<Command> listCommands() {
    return {
        {"approve", "approve IAUTOID…", runApprove},
        {"unapprove", "unapprove IAUTOID…", runUnapprove},
        {"stop", "stop IAUTOID…", runStop},
        {"enable", "enable IAUTOID…", runEnable},
        {"delete", "delete IAUTOID   (the BOM with its lines)", runDelete},
        {"delete-line", "delete-line AUTOID", runDeleteLine},
    };
}

} // namespace bom::app
