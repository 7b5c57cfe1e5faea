#include "Commands.h"
#include "CtlContext.h"
#include "NamedSelection.h"
#include "bomservice/BomAccess.h"
#include "db/DbError.h"
#include "list/BomList.h"
#include "list/BomListCommands.h"

#include <functional>

namespace bom::app {
namespace {

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
    if (!selection.select(ctx, *words))
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
    if (!selection.select(ctx, {headerId}))
        return ExitRefused;
    const list::BomList bomList(ctx.session());
    const auto lines = NamedSelection::rowsOf(ctx.db(), bomList.componentQuery(headerId));
    for (const list::ListRow& line : lines)
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
