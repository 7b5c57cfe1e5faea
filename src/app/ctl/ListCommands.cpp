#include "Commands.h"
#include "CtlContext.h"
#include "bomservice/BomAccess.h"
#include "db/DbError.h"
#include "list/BomList.h"
#include "list/BomListCommands.h"

#include <functional>

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
    void openBatchRuns() override {}
    void openStructure(const QString&) override {}
};

std::vector<ListRow> rowsOf(db::Database& db, const db::SqlCondition& sql) {
    std::vector<ListRow> rows = list::BomList::listRows(db.query(sql.sql, sql.params));
    for (ListRow& row : rows)
        row.selected = true; // what bomctl names is what it acts on
    return rows;
}

// The named BOMs among those the operator's list shows. A name it cannot see is refused as
// one that does not exist, and nothing is done.
bool selectBoms(CtlContext& ctx, const QStringList& ids, NamedSelection& selection) {
    const bomservice::BomAccess access(ctx.session());
    const list::BomList bomList(ctx.session());
    for (const QString& id : ids) {
        const auto rows =
            access.MayTouch(id)
                ? rowsOf(ctx.db(), bomList.parentQuery({QStringLiteral("iautoid = ?"), {id}}))
                : std::vector<ListRow>();
        if (rows.empty()) {
            ctx.bomGone({{"iautoid", id}});
            return false;
        }
        ListRow row = rows.front();
        row.number = int(selection.parents.size()) + 1;
        selection.parents.push_back(row);
    }
    return true;
}

// Runs `run` over the BOMs named as arguments (between `min` and `max` of them, -1: any
// number); answers the exit status `run` gives.
int withNamedBoms(CtlContext& ctx, int min, int max,
                  const std::function<int(list::BomListCommands&)>& run) {
    const auto words = ctx.positional(min, max);
    if (!words)
        return ExitUsage;
    if (const int status = ctx.startSession())
        return status;
    NamedSelection selection;
    if (!selectBoms(ctx, *words, selection))
        return ExitRefused;
    list::BomListCommands commands(ctx.session(), selection, selection);
    return run(commands);
}

// A command over the BOMs named as arguments; refused when it changed none of them.
int runOnSelection(CtlContext& ctx, int (*command)(list::BomListCommands&)) {
    return withNamedBoms(ctx, 0, -1, [&](list::BomListCommands& commands) {
        const int changed = command(commands);
        return ctx.finish(changed > 0 ? ExitOk : ExitRefused, {{"changed", changed}});
    });
}

int runApprove(CtlContext& ctx) {
    return runOnSelection(ctx, [](list::BomListCommands& c) { return c.AuditSelected(true); });
}
int runUnapprove(CtlContext& ctx) {
    return runOnSelection(ctx, [](list::BomListCommands& c) { return c.AuditSelected(false); });
}
int runStop(CtlContext& ctx) {
    return runOnSelection(ctx, [](list::BomListCommands& c) { return c.StopSelected(); });
}
int runEnable(CtlContext& ctx) {
    return runOnSelection(ctx, [](list::BomListCommands& c) { return c.EnableSelected(); });
}

int runDelete(CtlContext& ctx) {
    return withNamedBoms(ctx, 1, 1, [&](list::BomListCommands& commands) {
        return ctx.finish(commands.RunCommand(QStringLiteral("Delete")) ? ExitOk : ExitRefused);
    });
}

int runDeleteLine(CtlContext& ctx) {
    const auto words = ctx.positional(1, 1);
    if (!words)
        return ExitUsage;
    if (const int status = ctx.startSession())
        return status;
    const QString& autoid = words->first();
    // A line of a BOM the operator cannot see is as unknown as a line that is not there.
    auto noLine = [&] {
        return ctx.fail(ExitRefused, QStringLiteral("没有找到子件行 %1").arg(autoid));
    };
    const QString headerId = bomservice::BomAccess(ctx.session()).HeaderOfLine(autoid);
    if (headerId.isEmpty())
        return noLine();
    NamedSelection selection;
    if (!selectBoms(ctx, {headerId}, selection))
        return ExitRefused;
    const list::BomList bomList(ctx.session());
    const auto lines = rowsOf(ctx.db(), bomList.componentQuery(headerId));
    for (const ListRow& line : lines)
        if (line.text(QStringLiteral("autoid")) == autoid.trimmed())
            selection.line = line;
    selection.linesOfBom = int(lines.size());
    if (!selection.line)
        return noLine();
    list::BomListCommands commands(ctx.session(), selection, selection);
    return ctx.finish(commands.RunCommand(QStringLiteral("Delete")) ? ExitOk : ExitRefused);
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
