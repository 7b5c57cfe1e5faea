#include "CardJson.h"
#include "Commands.h"
#include "CtlContext.h"
#include "bomservice/BomCardLoader.h"
#include "bomservice/BomSaver.h"
#include "bomservice/BomValidator.h"
#include "bomservice/Guards.h"
#include "db/DbError.h"

#include <QFile>
#include <QJsonArray>

namespace bom::app {
namespace {

// The card file named by the one argument, in the form `bomctl show` prints ("-" reads
// standard input), with the session started; `status` says why there is none.
std::optional<bomservice::BomCard> cardForSession(CtlContext& ctx, int* status) {
    const auto words = ctx.positional(1, 1);
    if (!words) {
        *status = ExitUsage;
        return std::nullopt;
    }
    const QString path = words->first();
    QFile file;
    const bool opened = path == QLatin1String("-")
                            ? file.open(stdin, QIODevice::ReadOnly)
                            : (file.setFileName(path), file.open(QIODevice::ReadOnly));
    if (!opened) {
        *status = ctx.fail(ExitUsage, QStringLiteral("无法读取卡片文件：%1").arg(path));
        return std::nullopt;
    }
    QString error;
    auto card = cardFromJson(file.readAll(), &error);
    if (!card)
        *status = ctx.fail(ExitUsage, error);
    else if ((*status = ctx.startSession()))
        return std::nullopt;
    return card;
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
    if (!validator.ValidateBom(*card, modify ? bomservice::BomValidator::kModify : 0))
        return refused();
    const bool defaultCost =
        card->header.text(0, QStringLiteral("bmrcbbom")) == QStringLiteral("是");
    if (defaultCost &&
        !validator.ConfirmDefaultCostBom(card->header.text(0, QStringLiteral("cpspcode")),
                                         card->header.text(0, QStringLiteral("iautoid")))) {
        ctx.prompter().info(QStringLiteral("用户取消"), QStringLiteral("BOM维护"), 64);
        return refused();
    }
    const QString noRight = validator.CheckDepartmentRight(*card);
    if (!noRight.isEmpty()) {
        ctx.prompter().info(noRight, QStringLiteral("BOM维护"), 64);
        return refused();
    }
    ctx.printLine(QStringLiteral("校验通过"));
    return ctx.finish(ExitOk);
}

int runSave(CtlContext& ctx) {
    int status = ExitOk;
    auto card = cardForSession(ctx, &status);
    if (!card)
        return status;
    // A card that names its header is a modification; one without is new.
    const int mode = card->header.text(0, QStringLiteral("iautoid")).isEmpty() ? 0 : 1;
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
    bomservice::BomCardLoader loader(ctx.db(), ctx.prompter());
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
        {"save", "save FILE   (a header without iautoid is a new card)", runSave},
        {"card-delete", "card-delete IAUTOID [--qzts N]", runCardDelete},
    };
}

} // namespace bom::app
