#include "Commands.h"
#include "CtlContext.h"
#include "bomservice/BomAccess.h"
#include "bomservice/BomCopier.h"
#include "bomservice/BomHistory.h"
#include "bomservice/BomTree.h"
#include "entry/Session.h"

#include <QJsonArray>

namespace bom::app {
namespace {

const QString kTimeFormat = QStringLiteral("yyyy-MM-dd HH:mm:ss");

// The session of a command over the one BOM `headerId`: ExitOk when it runs and the operator's
// list shows the BOM, else the status already reported.
int startOnBom(CtlContext& ctx, const QString& headerId) {
    if (const int status = ctx.startSession())
        return status;
    if (!bomservice::BomAccess(ctx.session()).MayTouch(headerId))
        return ctx.bomGone();
    return ExitOk;
}

int runCopy(CtlContext& ctx) {
    const auto soCode = ctx.args().option(QStringLiteral("--socode"));
    const QString levels =
        ctx.args().option(QStringLiteral("--levels")).value_or(QStringLiteral("one"));
    const auto words = ctx.positional(1, 1);
    if (!words)
        return ExitUsage;
    if (!soCode)
        return ctx.usage(QStringLiteral("需要 --socode CODE"));
    if (levels != QLatin1String("one") && levels != QLatin1String("all"))
        return ctx.usage(QStringLiteral("--levels 应为 one 或 all：%1").arg(levels));
    if (const int status = startOnBom(ctx, words->first()))
        return status;
    bomservice::BomCopier copier(ctx.session());
    const auto result = levels == QLatin1String("all")
                            ? copier.CopyAllLayer(words->first(), *soCode)
                            : copier.CopySingle(words->first(), *soCode);
    if (!result)
        return ctx.finish(ExitRefused);
    for (const QString& id : result->created)
        ctx.printLine(id);
    return ctx.finish(ExitOk, {{"iautoid", result->topId},
                               {"created", QJsonArray::fromStringList(result->created)}});
}

int runHistory(CtlContext& ctx) {
    const auto words = ctx.positional(1, 1);
    if (!words)
        return ExitUsage;
    if (const int status = startOnBom(ctx, words->first()))
        return status;
    QJsonArray rows;
    for (const auto& entry : bomservice::BomHistory(ctx.db()).read(words->first())) {
        const auto& c = entry.change;
        const QString time = entry.time.toString(kTimeFormat);
        ctx.printLine(QStringList{time, entry.user, c.kind, c.line, c.field, c.oldValue, c.newValue,
                                  entry.run ? QString::number(entry.run) : QString()}
                          .join(QLatin1Char('\t')));
        rows.append(QJsonObject{{"time", time},
                                {"user", entry.user},
                                {"kind", c.kind},
                                {"field", c.field},
                                {"old", c.oldValue},
                                {"new", c.newValue},
                                {"line", c.line},
                                {"run", entry.run}});
    }
    return ctx.finish(ExitOk, {{"rows", rows}});
}

int runTree(CtlContext& ctx) {
    const auto words = ctx.positional(1, 1);
    if (!words)
        return ExitUsage;
    if (const int status = startOnBom(ctx, words->first()))
        return status;
    QJsonArray nodes;
    for (const auto& node : bomservice::BomTree(ctx.session()).InitTreeByCode(words->first())) {
        QStringList shown{node.cpspcode, node.cinvname, node.csocode};
        shown.removeAll(QString());
        ctx.printLine(QString(node.level * 2, QLatin1Char(' ')) + shown.join(QLatin1Char(' ')));
        nodes.append(QJsonObject{{"level", node.level},
                                 {"iautoid", node.iautoid},
                                 {"cpspcode", node.cpspcode},
                                 {"csocode", node.csocode}});
    }
    return ctx.finish(ExitOk, {{"nodes", nodes}});
}

} // namespace

std::vector<Command> cardToolCommands() {
    return {
        {"copy",
         "copy IAUTOID --socode CODE [--levels one|all]   (one: the BOM as a new card under\n"
         "              CODE; all: it and every BOM below it, in one transaction)",
         runCopy},
        {"history", "history IAUTOID   (the BOM's change history, newest first)", runHistory},
        {"tree", "tree IAUTOID   (the BOM and the BOMs of its components, level by level)",
         runTree},
    };
}

} // namespace bom::app
