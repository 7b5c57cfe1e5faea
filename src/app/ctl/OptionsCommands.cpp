#include "CardJson.h"
#include "Commands.h"
#include "CtlContext.h"
#include "options/clsOptVoucher.h"

#include <QJsonArray>

namespace bom::app {
namespace {

using bomservice::BomCard;

int runOptions(CtlContext& ctx) {
    const auto format = cardFormat(ctx); // options leave the words before positional reads them
    if (!format)
        return ExitUsage;
    const auto words = ctx.positional(1, 1);
    if (!words)
        return ExitUsage;
    if (const int status = ctx.startSession())
        return status;
    options::clsOptVoucher voucher(ctx.session());
    voucher.Autoid = words->first();
    if (!voucher.InitVoucher())
        return ctx.finish(ExitRefused);
    return printCard(ctx, {voucher.rstHead, voucher.rstBody}, *format);
}

int runOptionsSave(CtlContext& ctx) {
    const auto words = ctx.positional(2, 2);
    if (!words)
        return ExitUsage;
    QString error;
    auto card = cardFromFile(words->at(1), &error);
    if (!card)
        return ctx.fail(ExitUsage, error);
    if (const int status = ctx.startSession())
        return status;
    options::clsOptVoucher voucher(ctx.session());
    voucher.Autoid = words->first();
    // A file that marks no row is the whole list of the line's substitutes.
    if (!card->lines.hasEditMarks()) {
        if (!voucher.InitVoucher())
            return ctx.finish(ExitRefused);
        card->lines.markAgainst(voucher.rstBody, QStringLiteral("compsubid"));
    }
    if (!voucher.SaveVoucher(*card))
        return ctx.finish(ExitRefused, {{"result", voucher.sErr}});
    QJsonArray keys;
    for (int row : card->lines.allRows())
        keys.append(card->lines.value(row, QStringLiteral("compsubid")).toLongLong());
    ctx.printLine(voucher.Autoid);
    return ctx.finish(ExitOk, {{"autoid", voucher.Autoid.trimmed().toLongLong()},
                               {"qzts", card->header.value(0, QStringLiteral("qzts")).toLongLong()},
                               {"compsubid", keys}});
}

} // namespace

std::vector<Command> optionsCommands() {
    return {
        {"options", "options AUTOID [--format json|xml]   (the substitutes card of a line)",
         runOptions},
        {"options-save",
         "options-save AUTOID FILE   (FILE in the form of options; when rows carry editprop\n"
         "              A/M/D they are taken as marked, otherwise the file is the whole list:\n"
         "              rows without compsubid are added, changed rows modified, stored rows\n"
         "              missing from the file deleted)",
         runOptionsSave},
    };
}

} // namespace bom::app
