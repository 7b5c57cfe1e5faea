#include "Commands.h"
#include "CtlContext.h"
#include "ListQuery.h"
#include "bomservice/BomAccess.h"
#include "bomservice/BomCardLoader.h"
#include "card/CardDocument.h"
#include "card/clsVoucher.h"
#include "db/DbError.h"
#include "entry/Common.h"
#include "entry/Session.h"
#include "entry/SpreadsheetFile.h"
#include "structure/BomImporter.h"

#include <QJsonArray>

namespace bom::app {
namespace {

// The file named by --xlsx or --csv (exactly one of them); empty with a usage error reported.
QString outputFile(CtlContext& ctx) {
    const auto xlsx = ctx.args().option(QStringLiteral("--xlsx"));
    const auto csv = ctx.args().option(QStringLiteral("--csv"));
    if (xlsx.has_value() == csv.has_value()) {
        ctx.usage(QStringLiteral("export 需要 --xlsx FILE 或 --csv FILE 之一"));
        return {};
    }
    const QString path = xlsx.value_or(csv.value_or(QString()));
    const auto format = entry::SpreadsheetFile::formatOf(path);
    if (path.isEmpty() || !format ||
        *format !=
            (xlsx ? entry::SpreadsheetFile::Format::Xlsx : entry::SpreadsheetFile::Format::Csv)) {
        ctx.usage(QStringLiteral("%1 需要以 .%2 结尾的文件名：%3")
                      .arg(xlsx ? QStringLiteral("--xlsx") : QStringLiteral("--csv"),
                           xlsx ? QStringLiteral("xlsx") : QStringLiteral("csv"), path));
        return {};
    }
    return path;
}

int writeSheet(CtlContext& ctx, const QString& path, const entry::Sheet& sheet) {
    QString error;
    if (!entry::SpreadsheetFile::write(path, sheet, &error))
        return ctx.fail(ExitRefused, error);
    ctx.printLine(QStringLiteral("已输出到：%1（%2行）").arg(path).arg(sheet.rows.size()));
    return ctx.finish(ExitOk, {{"file", path}, {"rows", qint64(sheet.rows.size())}});
}

// The list as `list` prints it, with the captions the list window shows.
int exportList(CtlContext& ctx, const QString& path) {
    int status = ExitOk;
    const auto query = listQuery(ctx, 1, &status);
    if (!query)
        return status;
    entry::Session& session = ctx.session();
    QHash<QString, QString> captions;
    if (session.gColSet)
        for (const auto& column : session.gColSet->GetColset(QStringLiteral("WLQDLBM")))
            captions.insert(column.fieldName.toLower(), column.caption);
    entry::Sheet sheet;
    sheet.title = QStringLiteral("物料清单");
    try {
        const QHash<QString, int> decimals = entry::Common::CardDecimals(session);
        for (const QString& column : query->columns)
            sheet.columns.push_back({column, captions.value(column.toLower(), column),
                                     decimals.value(column.toLower(), -1)});
        ctx.db().stream(
            query->sql.sql, query->sql.params, [](const QStringList&) {},
            [&](QVariantList&& row) { sheet.rows.push_back(std::move(row)); });
    } catch (const db::DbError& e) {
        return ctx.fail(ExitDatabase, e.message());
    }
    return writeSheet(ctx, path, sheet);
}

// A card in the layout import reads back: export, edit, import is a round trip.
int exportCard(CtlContext& ctx, const QString& path) {
    const auto words = ctx.positional(2, 2);
    if (!words)
        return ExitUsage;
    if (const int status = ctx.startSession())
        return status;
    try {
        const QString id = words->at(1);
        if (!bomservice::BomAccess(ctx.session()).MayTouch(id))
            return ctx.bomGone();
        bomservice::BomCardLoader loader(ctx.session());
        const auto voucher = loader.LoadTemplate(QLatin1String(card::clsVoucher::kCardNumber));
        const auto card = voucher ? loader.LoadBom(*voucher, id) : std::nullopt;
        card::CardDocument document(ctx.session());
        if (!card ||
            !document.applyTemplate(QLatin1String(card::clsVoucher::kCardNumber), voucher->DEF_ID))
            return ctx.finish(ExitRefused);
        return writeSheet(ctx, path, structure::BomImporter::cardSheet(*card, document.layout()));
    } catch (const db::DbError& e) {
        return ctx.fail(ExitDatabase, e.message());
    }
}

int runExport(CtlContext& ctx) {
    const QString path = outputFile(ctx);
    if (path.isEmpty())
        return ExitUsage;
    const QString what = ctx.args().words().value(0);
    if (what == QLatin1String("list"))
        return exportList(ctx, path);
    if (what == QLatin1String("card"))
        return exportCard(ctx, path);
    if (what == QLatin1String("explode") || what == QLatin1String("where-used") ||
        what == QLatin1String("compare")) {
        int status = ExitOk;
        const auto table = structureTable(ctx, what, status);
        return table ? writeSheet(ctx, path, entry::TableExport::sheet(*table, ctx.session()))
                     : status;
    }
    return ctx.usage(
        QStringLiteral("export 的内容应为 list、card、explode、where-used 或 compare：%1")
            .arg(what));
}

int runImport(CtlContext& ctx) {
    const bool preview = ctx.args().flag(QStringLiteral("--dry-run"));
    const auto words = ctx.positional(1, 1);
    if (!words)
        return ExitUsage;
    if (!entry::SpreadsheetFile::formatOf(words->first()))
        return ctx.usage(QStringLiteral("只能导入 .xlsx 或 .csv 文件：%1").arg(words->first()));
    if (const int status = ctx.startSession())
        return status;
    const structure::ImportResult result =
        structure::BomImporter(ctx.session()).Import(words->first(), preview);
    QJsonArray refused, boms;
    for (const structure::ImportRefusal& r : result.refused) {
        refused.append(QJsonObject{{"row", r.row}, {"field", r.field}, {"message", r.message}});
        ctx.printLine(r.text());
    }
    for (const structure::ImportedBom& b : result.boms)
        boms.append(QJsonObject{{"iautoid", b.headerId},
                                {"cpspcode", b.parent},
                                {"csocode", b.salesOrder},
                                {"created", b.created},
                                {"row", b.firstRow},
                                {"lines", b.lines}});
    const bool nothing = result.refused.empty() && result.boms.empty();
    if (nothing)
        ctx.session().ShowInfo(structure::BomImporter::nothingToImport(result));
    else if (result.refused.empty())
        ctx.printLine(preview ? QStringLiteral("校验通过，未写入（--dry-run）")
                              : QStringLiteral("已导入%1个物料清单").arg(result.boms.size()));
    const bool ok = result.refused.empty() && !nothing;
    return ctx.finish(ok ? ExitOk : ExitRefused,
                      {{"refused", refused},
                       {"boms", boms},
                       {"unchanged", QJsonArray::fromStringList(result.unchanged)},
                       {"written", result.written},
                       {"run", result.run}});
}

} // namespace

std::vector<Command> spreadsheetCommands() {
    return {
        {"export",
         "export list [--where FIELD=VALUE …] [--columns A,B,…] | card IAUTOID |\n"
         "              explode CODE|IAUTOID [--levels N] [--summary] | where-used CODE\n"
         "              [--levels N] | compare A B [--exploded]   --xlsx FILE | --csv FILE\n"
         "              (a card in the layout import reads; the others as their commands answer)",
         runExport},
        {"import",
         "import FILE [--dry-run]   (BOMs from .xlsx or .csv in the layout export card writes:\n"
         "              header fields as header.FIELD on every row, one row per line; all or\n"
         "              nothing, every refused row reported; exit 1 when nothing would change)",
         runImport},
    };
}

} // namespace bom::app
