#include "Commands.h"
#include "CtlContext.h"
#include "NamedSelection.h"
#include "db/DbError.h"
#include "list/BomListCommands.h"
#include "variants/ColourSizeGenerator.h"

#include <QJsonArray>

namespace bom::app {
namespace {

using variants::ColourSizeGenerator;
using variants::VariantPair;

// "COLOUR:SIZE[,COLOUR:SIZE…]"; nothing when one of them is not of that form.
std::optional<std::vector<VariantPair>> pairsOf(const QString& text) {
    std::vector<VariantPair> out;
    for (const QString& item : text.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const QStringList parts = item.split(QLatin1Char(':'));
        if (parts.size() != 2 || parts.at(0).trimmed().isEmpty() || parts.at(1).trimmed().isEmpty())
            return std::nullopt;
        out.push_back({parts.at(0).trimmed(), parts.at(1).trimmed()});
    }
    if (out.empty())
        return std::nullopt;
    return out;
}

int failedStatus(const ColourSizeGenerator& generator) {
    return generator.failedOnDatabase() ? ExitDatabase : ExitRefused;
}

// What the window shows on opening: the colours with the sizes that have BOMs, and the sizes.
int listVariants(CtlContext& ctx, list::BomListCommands& commands, const QString& id) {
    if (!commands.CheckColorSize())
        return ctx.finish(ExitRefused);
    ColourSizeGenerator generator(ctx.session());
    if (!generator.Open(ColourSizeGenerator::Mode::Copy, id))
        return ctx.finish(failedStatus(generator));
    QJsonArray colours, sizes;
    for (const variants::ColourRow& row : generator.colours()) {
        ctx.printLine(QStringList{QStringLiteral("colour"), row.colour.code, row.colour.alias,
                                  row.existing.join(QLatin1Char(','))}
                          .join(QLatin1Char('\t')));
        colours.append(QJsonObject{{"code", row.colour.code},
                                   {"alias", row.colour.alias},
                                   {"sizes", QJsonArray::fromStringList(row.existing)}});
    }
    for (const variants::FreeValue& size : generator.sizes()) {
        ctx.printLine(QStringList{QStringLiteral("size"), size.code, size.alias}.join('\t'));
        sizes.append(QJsonObject{{"code", size.code}, {"alias", size.alias}});
    }
    return ctx.finish(ExitOk, {{"iautoid", id},
                               {"cpspcode", generator.parentCode()},
                               {"colours", colours},
                               {"sizes", sizes}});
}

QJsonArray printed(CtlContext& ctx, const char* kind, const QStringList& ids) {
    for (const QString& id : ids)
        ctx.printLine(QLatin1String(kind) + QLatin1Char('\t') + id);
    return QJsonArray::fromStringList(ids);
}

// The window's run for exactly `pairs`, opened as the list opens it (its gate first).
int runPairs(CtlContext& ctx, NamedSelection& selection, list::BomListCommands& commands,
             const QString& mode, const std::vector<VariantPair>& pairs) {
    int status = ExitRefused;
    QJsonObject fields;
    selection.colourSize = [&](const QString& key, const list::ListRow& parent) {
        ColourSizeGenerator generator(ctx.session());
        const auto which = ColourSizeGenerator::modeOf(key);
        if (!which || !generator.Open(*which, parent.text(QStringLiteral("iautoid"))) ||
            !generator.ChooseExactly(pairs)) {
            status = failedStatus(generator);
            return;
        }
        const auto result = generator.Run();
        if (!result) {
            status = failedStatus(generator);
            return;
        }
        if (result->run)
            ctx.printLine(QStringLiteral("run\t%1").arg(result->run));
        fields = {{"run", result->run},
                  {"created", printed(ctx, "created", result->created)},
                  {"deleted", printed(ctx, "deleted", result->deleted)},
                  {"kept", printed(ctx, "kept", result->kept)}};
        status = result->run ? ExitOk : ExitRefused;
    };
    commands.RunCommand(mode);
    return ctx.finish(status, fields);
}

int runVariants(CtlContext& ctx) {
    CtlArgs& args = ctx.args();
    const auto generate = args.option(QStringLiteral("--generate"));
    const auto remove = args.option(QStringLiteral("--delete"));
    const auto words = ctx.positional(1, 1);
    if (!words)
        return ExitUsage;
    if (generate && remove)
        return ctx.usage(QStringLiteral("--generate 和 --delete 只能用其中一个"));
    std::optional<std::vector<VariantPair>> pairs;
    if (generate || remove) {
        pairs = pairsOf(generate ? *generate : *remove);
        if (!pairs)
            return ctx.usage(QStringLiteral("颜色尺码应为 颜色:尺码[,颜色:尺码…]：%1")
                                 .arg(generate ? *generate : *remove));
    }
    if (const int status = ctx.startSession())
        return status;
    try {
        NamedSelection selection;
        if (!selection.select(ctx, *words))
            return ExitRefused;
        list::BomListCommands commands(ctx.session(), selection, selection);
        if (!pairs)
            return listVariants(ctx, commands, words->first());
        return runPairs(ctx, selection, commands,
                        generate ? QStringLiteral("pCopy") : QStringLiteral("pDelete"), *pairs);
    } catch (const db::DbError& e) {
        return ctx.fail(ExitDatabase, e.message());
    }
}

} // namespace

std::vector<Command> variantsCommands() {
    return {
        {"variants",
         "variants IAUTOID [--generate COLOUR:SIZE[,…] | --delete COLOUR:SIZE[,…]]\n"
         "              (the colours and sizes of the BOM's parent and the pairs that have BOMs;\n"
         "              one BOM per new pair made from this one, or those of the pairs deleted)",
         runVariants},
    };
}

} // namespace bom::app
