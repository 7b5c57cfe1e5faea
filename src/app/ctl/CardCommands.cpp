#include "CardJson.h"
#include "Commands.h"
#include "CtlContext.h"
#include "bomservice/BomCardLoader.h"
#include "bomservice/BomSaver.h"
#include "bomservice/BomValidator.h"
#include "bomservice/Guards.h"
#include "db/DbError.h"
#include "entry/Session.h"

#include <QJsonArray>

namespace bom::app {
namespace {

using bomservice::BomCard;

// The card file named by the one argument, in the form `bomctl show` prints ("-" reads
// standard input), with the session started; `status` says why there is none.
std::optional<BomCard> cardForSession(CtlContext& ctx, int* status) {
    const auto words = ctx.positional(1, 1);
    if (!words) {
        *status = ExitUsage;
        return std::nullopt;
    }
    QString error;
    auto card = cardFromFile(words->first(), &error);
    if (!card)
        *status = ctx.fail(ExitUsage, error);
    else if ((*status = ctx.startSession()))
        return std::nullopt;
    return card;
}

// A card that names its header is a modification; one without is new.
int modeOf(const BomCard& card) {
    return card.header.text(0, QStringLiteral("iautoid")).trimmed().isEmpty() ? 0 : 1;
}

// What the card window checks before it hands a card to the save: a stored BOM must be open to
// modification, and the operator must have the entry right on every department the card names.
bool passesCardChecks(CtlContext& ctx, const BomCard& card, int mode) {
    if (mode == 1 && !bomservice::BomGuards(ctx.session())
                          .CheckModifiable(card.header.text(0, QStringLiteral("iautoid"))))
        return false;
    const QString noRight = bomservice::BomValidator(ctx.session()).CheckDepartmentRight(card);
    if (noRight.isEmpty())
        return true;
    ctx.session().ShowInfo(noRight);
    return false;
}

// A file that marks no line is the whole card: lines without autoid are added, lines that
// differ from the stored ones modified, stored lines missing from the file deleted.
bool markAgainstStored(CtlContext& ctx, BomCard& card) {
    bomservice::BomCardLoader loader(ctx.session());
    const auto voucher = loader.LoadTemplate(QStringLiteral("PP30"));
    const auto stored =
        voucher ? loader.LoadBom(*voucher, card.header.text(0, QStringLiteral("iautoid")))
                : std::nullopt;
    if (!stored)
        return false;
    card.lines.markAgainst(stored->lines, QStringLiteral("autoid"));
    return true;
}

int runValidate(CtlContext& ctx) {
    const bool modify = ctx.args().flag(QStringLiteral("--modify"));
    int status = ExitOk;
    auto card = cardForSession(ctx, &status);
    if (!card)
        return status;
    bomservice::BomValidator validator(ctx.session());
    auto refused = [&] {
        const QStringList path = validator.cycles().lastPath();
        return ctx.finish(ExitRefused,
                          path.isEmpty()
                              ? QJsonObject()
                              : QJsonObject{{"cycle_path", QJsonArray::fromStringList(path)}});
    };
    const int mode = modify ? bomservice::BomValidator::kModify : 0;
    if (!passesCardChecks(ctx, *card, mode) || !validator.ValidateBom(*card, mode))
        return refused();
    if (card->header.text(0, QStringLiteral("bmrcbbom")) == QStringLiteral("是") &&
        !validator.ConfirmDefaultCostBom(card->header.text(0, QStringLiteral("cpspcode")),
                                         card->header.text(0, QStringLiteral("iautoid"))))
        return refused(); // declined: nothing more is said, as the card says nothing more
    ctx.printLine(QStringLiteral("校验通过"));
    return ctx.finish(ExitOk);
}

int runSave(CtlContext& ctx) {
    int status = ExitOk;
    auto card = cardForSession(ctx, &status);
    if (!card)
        return status;
    const int mode = modeOf(*card);
    if (!passesCardChecks(ctx, *card, mode) ||
        (mode == 1 && !card->lines.hasEditMarks() && !markAgainstStored(ctx, *card)))
        return ctx.finish(ExitRefused);
    QString result;
    QString error;
    if (!bomservice::BomSaver(ctx.session())
             .SaveBom(*card, QStringLiteral("PP30"), mode, result, error))
        return ctx.finish(ExitRefused, {{"result", result}});
    const QString id = card->header.text(0, QStringLiteral("iautoid"));
    ctx.printLine(id);
    return ctx.finish(
        ExitOk,
        {{"iautoid", id}, {"qzts", card->header.value(0, QStringLiteral("qzts")).toLongLong()}});
}

int runCardDelete(CtlContext& ctx) {
    const auto version = ctx.args().option(QStringLiteral("--qzts"));
    const auto words = ctx.positional(1, 1);
    if (!words)
        return ExitUsage;
    bool ok = true;
    const qlonglong qzts = version ? version->toLongLong(&ok) : 0;
    if (!ok)
        return ctx.usage(QStringLiteral("--qzts 需要整数：%1").arg(*version));
    if (const int status = ctx.startSession())
        return status;
    bomservice::BomCardLoader loader(ctx.session());
    const auto voucher = loader.LoadTemplate(QStringLiteral("PP30"));
    auto card = voucher ? loader.LoadBom(*voucher, words->first()) : std::nullopt;
    if (!card)
        return ctx.finish(ExitRefused);
    bomservice::BomGuards guards(ctx.session());
    if (guards.IsApproved(words->first())) {
        ctx.session().ShowInfo(QStringLiteral("审核过的产品不可删除！"));
        return ctx.finish(ExitRefused);
    }
    if (version) // the version the caller read the card at
        card->header.setValue(0, QStringLiteral("qzts"), qzts);
    if (!guards.DeleteBom(*card, QStringLiteral("PP30")))
        return ctx.finish(ExitRefused);
    ctx.printLine(QStringLiteral("已删除 %1").arg(words->first()));
    return ctx.finish(ExitOk, {{"iautoid", words->first()}});
}

} // namespace

std::vector<Command> cardCommands() {
    return {
        {"validate", "validate FILE [--modify]   (FILE in the form of show; - reads stdin)",
         runValidate},
        {"save",
         "save FILE   (a header without iautoid is a new card; when lines carry editprop\n"
         "              A/M/D they are taken as marked, otherwise the file is the whole card:\n"
         "              lines without autoid are added, changed lines modified, stored lines\n"
         "              missing from the file deleted)",
         runSave},
        {"card-delete", "card-delete IAUTOID [--qzts N]", runCardDelete},
    };
}

} // namespace bom::app
