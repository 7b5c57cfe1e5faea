#include "CardJson.h"
#include "Commands.h"
#include "CtlContext.h"
#include "bomservice/BomCardLoader.h"
#include "bomservice/BomSaver.h"
#include "bomservice/BomValidator.h"
#include "bomservice/Guards.h"
#include "card/CardDocument.h"
#include "card/CardEntryCheck.h"
#include "card/clsVoucher.h"
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

// One entry of `edit`: a header field, a cell of line `row` (from 0), or an item on a new line.
struct CardEntry {
    enum class Kind { Header, Line, AddLine } kind;
    int row = -1;
    QString field;
    QString value;
};

std::optional<std::pair<QString, QString>> fieldAssignment(const QString& text) {
    const int eq = text.indexOf(QLatin1Char('='));
    if (eq <= 0)
        return std::nullopt;
    return std::make_pair(text.left(eq).trimmed().toLower(), text.mid(eq + 1));
}

// The entries in the order given; std::nullopt with the usage error reported.
std::optional<std::vector<CardEntry>> cardEntries(CtlContext& ctx) {
    std::vector<CardEntry> entries;
    const auto given = ctx.args().occurrences({{QStringLiteral("--header"), 1},
                                               {QStringLiteral("--line"), 2},
                                               {QStringLiteral("--add-line"), 1}});
    for (const CtlArgs::Occurrence& option : given) {
        if (option.name == QLatin1String("--add-line")) {
            entries.push_back({CardEntry::Kind::AddLine, -1, {}, option.values[0].trimmed()});
            continue;
        }
        const auto assignment = fieldAssignment(option.values.last());
        if (!assignment) {
            ctx.usage(QStringLiteral("%1 应为 字段=值：%2").arg(option.name, option.values.last()));
            return std::nullopt;
        }
        if (option.name == QLatin1String("--header")) {
            entries.push_back({CardEntry::Kind::Header, -1, assignment->first, assignment->second});
            continue;
        }
        bool ok = false;
        const int line = option.values[0].toInt(&ok);
        if (!ok || line < 1) {
            ctx.usage(QStringLiteral("--line 需要从 1 起的行号：%1").arg(option.values[0]));
            return std::nullopt;
        }
        entries.push_back({CardEntry::Kind::Line, line - 1, assignment->first, assignment->second});
    }
    return entries;
}

// Applies one entry through the card's checks; false when refused (its message shown) or
// when the line does not exist.
bool applyEntry(CtlContext& ctx, card::CardDocument& document, card::CardEntryCheck& check,
                const CardEntry& entry) {
    switch (entry.kind) {
    case CardEntry::Kind::Header:
        return check.headerEntry(entry.field, entry.value);
    case CardEntry::Kind::Line:
        if (entry.row >= document.BodyRows()) {
            ctx.session().ShowInfo(QStringLiteral("卡片没有第%1行。").arg(entry.row + 1));
            return false;
        }
        document.setCurrentRow(entry.row);
        return check.bodyEntry(entry.row, entry.field, entry.value);
    case CardEntry::Kind::AddLine:
        document.AddLine();
        if (check.pickItems(document.BodyRows() - 1, {entry.value}))
            return true;
        document.DelLine(document.BodyRows() - 1);
        return false;
    }
    return false;
}

// The card file with entries applied as the window's checks take them; nothing is written.
int runEdit(CtlContext& ctx) {
    const auto entries = cardEntries(ctx);
    if (!entries)
        return ExitUsage;
    int status = ExitOk;
    const auto card = cardForSession(ctx, &status);
    if (!card)
        return status;
    try {
        card::CardDocument document(ctx.session());
        bomservice::BomCardLoader loader(ctx.session());
        const auto voucher = loader.LoadTemplate(QLatin1String(card::clsVoucher::kCardNumber));
        if (!voucher ||
            !document.applyTemplate(QLatin1String(card::clsVoucher::kCardNumber), voucher->DEF_ID))
            return ctx.finish(ExitRefused);
        document.setVoucherData(*card);
        document.setVoucherStatus(1);
        document.setEditStatus(1);
        card::CardEntryCheck check(ctx.session(), document);
        for (const CardEntry& entry : *entries)
            if (!applyEntry(ctx, document, check, entry))
                return ctx.finish(ExitRefused);
        return printCard(ctx, document.getVoucherData(), CardFormat::Json);
    } catch (const db::DbError& e) {
        return ctx.fail(ExitDatabase, e.message());
    }
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
        {"edit",
         "edit FILE [--header FIELD=VALUE]… [--line N FIELD=VALUE]… [--add-line ITEM]…\n"
         "              (applies the entries in order through the card's entry checks and\n"
         "              prints the card; N counts lines from 1; nothing is written: save does)",
         runEdit},
        {"card-delete", "card-delete IAUTOID [--qzts N]", runCardDelete},
    };
}

} // namespace bom::app
