#include "CardJson.h"
#include "Commands.h"
#include "CtlContext.h"
#include "ListQuery.h"
#include "RowPrinter.h"
#include "bomservice/BomAccess.h"
#include "bomservice/BomCardLoader.h"
#include "db/DbError.h"
#include "entry/ReferenceLookup.h"
#include "list/BomList.h"

#include <QJsonObject>
#include <cstdio>

namespace bom::app {
namespace {

std::optional<RowPrinter::Format> formatOption(CtlContext& ctx, const char* fallback) {
    const QString text =
        ctx.args().option(QStringLiteral("--format")).value_or(QLatin1String(fallback));
    const auto format = RowPrinter::parseFormat(text);
    if (!format)
        ctx.usage(QStringLiteral("--format 应为 table、csv 或 json：%1").arg(text));
    return format;
}

// Streams a query's rows through the printer, in --json mode into the result itself.
int printQuery(CtlContext& ctx, RowPrinter::Format format, const db::SqlCondition& sql) {
    RowPrinter printer(ctx, format);
    try {
        ctx.db().stream(
            sql.sql, sql.params, [&](const QStringList& columns) { printer.begin(columns); },
            [&](QVariantList&& values) { printer.row(values); });
        return printer.end(ExitOk);
    } catch (const db::DbError& e) {
        return printer.fail(e.message());
    }
}

int runList(CtlContext& ctx) {
    const auto format = formatOption(ctx, "table");
    if (!format)
        return ExitUsage;
    int status = ExitOk;
    const auto query = listQuery(ctx, 0, &status);
    return query ? printQuery(ctx, *format, query->sql) : status;
}

int runLines(CtlContext& ctx) {
    const auto format = formatOption(ctx, "table");
    const auto words = ctx.positional(1, 1);
    if (!format || !words)
        return ExitUsage;
    if (const int status = ctx.startSession())
        return status;
    if (!bomservice::BomAccess(ctx.session()).MayTouch(words->first()))
        return ctx.bomGone();
    return printQuery(ctx, *format, list::BomList(ctx.session()).componentQuery(words->first()));
}

int runShow(CtlContext& ctx) {
    const auto format = cardFormat(ctx); // options leave the words before positional reads them
    if (!format)
        return ExitUsage;
    const auto words = ctx.positional(1, 1);
    if (!words)
        return ExitUsage;
    if (const int status = ctx.startSession())
        return status;
    try {
        if (!bomservice::BomAccess(ctx.session()).MayTouch(words->first()))
            return ctx.bomGone();
        bomservice::BomCardLoader loader(ctx.session());
        const auto card = loader.LoadTemplate(QStringLiteral("PP30"));
        const auto loaded = card ? loader.LoadBom(*card, words->first()) : std::nullopt;
        if (!loaded)
            return ctx.finish(ExitRefused);
        return printCard(ctx, *loaded, *format);
    } catch (const db::DbError& e) {
        return ctx.fail(ExitDatabase, e.message());
    }
}

int runRef(CtlContext& ctx) {
    const auto format = formatOption(ctx, "table");
    const auto page = ctx.args().option(QStringLiteral("--page")).value_or(QStringLiteral("1"));
    const auto words = ctx.positional(1, 2);
    if (!format || !words)
        return ExitUsage;
    bool ok = false;
    const int pageNumber = page.toInt(&ok);
    if (!ok || pageNumber < 1)
        return ctx.usage(QStringLiteral("--page 需要正整数：%1").arg(page));
    if (const int status = ctx.startSession())
        return status;
    try {
        entry::ReferenceLookup lookup(ctx.session());
        const auto query = lookup.ShowRef(words->at(0), words->value(1));
        if (!query)
            return ctx.finish(ExitRefused);
        const db::Rows rows = query->page(ctx.db(), pageNumber - 1, 50);
        RowPrinter printer(ctx, *format, {{"page", pageNumber}});
        printer.begin(rows.columns());
        for (std::size_t i = 0; i < rows.size(); ++i)
            printer.row(rows.at(i));
        return printer.end(ExitOk);
    } catch (const db::DbError& e) {
        return ctx.fail(ExitDatabase, e.message());
    }
}

} // namespace

std::optional<ListQuery> listQuery(CtlContext& ctx, int positional, int* status) {
    const QStringList wheres = ctx.args().options(QStringLiteral("--where"));
    const auto columnsOption = ctx.args().option(QStringLiteral("--columns"));
    *status = ExitUsage;
    if (!ctx.positional(positional, positional))
        return std::nullopt;
    for (const QString& where : wheres)
        if (where.indexOf('=') <= 0) {
            ctx.usage(QStringLiteral("--where 应为 字段=值：%1").arg(where));
            return std::nullopt;
        }
    if (columnsOption && columnsOption->split(',', Qt::SkipEmptyParts).isEmpty()) {
        ctx.usage(QStringLiteral("--columns 需要字段名：%1").arg(*columnsOption));
        return std::nullopt;
    }
    if ((*status = ctx.startSession()))
        return std::nullopt;
    *status = ExitUsage;
    const list::BomList list(ctx.session());
    QString error;
    const auto columns =
        list.viewColumns(columnsOption ? columnsOption->split(',', Qt::SkipEmptyParts)
                                       : list::BomList::fixedParentColumns(),
                         &error);
    if (!columns) {
        ctx.usage(error);
        return std::nullopt;
    }
    db::SqlCondition filter;
    for (const QString& where : wheres) {
        const int eq = where.indexOf('=');
        const auto condition = list.fieldFilter(where.left(eq), where.mid(eq + 1), &error);
        if (!condition) {
            ctx.usage(error);
            return std::nullopt;
        }
        filter += db::sqlText(filter.isEmpty() ? QString() : QStringLiteral(" and ")) + *condition;
    }
    *status = ExitOk;
    return ListQuery{*columns, list.fixedParentQuery(*columns, filter)};
}

std::vector<Command> bomCommands() {
    return {
        {"list", "list [--where FIELD=VALUE …] [--columns A,B,…] [--format table|csv|json]",
         runList},
        {"lines", "lines IAUTOID [--format table|csv|json]", runLines},
        {"show", "show IAUTOID [--format json|xml]", runShow},
        {"ref", "ref FIELD [TEXT] [--page N] [--format table|csv|json]", runRef},
    };
}

} // namespace bom::app
