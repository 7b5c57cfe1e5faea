#include "CardJson.h"
#include "Commands.h"
#include "CtlContext.h"
#include "bomservice/BomValidator.h"
#include "db/DbError.h"

#include <QFile>
#include <QJsonArray>

namespace bom::app {
namespace {

// Reads a card file in the form `bomctl show` prints; "-" is standard input.
std::optional<bomservice::BomCard> readCard(CtlContext& ctx, const QString& path, int* status) {
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
    return card;
}

int runValidate(CtlContext& ctx) {
    const bool modify = ctx.args().flag(QStringLiteral("--modify"));
    const auto words = ctx.positional(1, 1);
    if (!words)
        return ExitUsage;
    int status = ExitOk;
    auto card = readCard(ctx, words->first(), &status);
    if (!card)
        return status;
    if ((status = ctx.startSession()))
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

} // namespace

std::vector<Command> cardCommands() {
    return {
        {"validate", "validate FILE [--modify]   (FILE in the form of show; - reads stdin)",
         runValidate},
    };
}

} // namespace bom::app
