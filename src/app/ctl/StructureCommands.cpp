#include "Commands.h"
#include "CtlContext.h"
#include "RowPrinter.h"
#include "bomservice/BomAccess.h"
#include "entry/Session.h"
#include "structure/BomCompare.h"
#include "structure/CostRollup.h"
#include "structure/Explosion.h"
#include "structure/StructureRules.h"
#include "structure/StructureTexts.h"
#include "structure/WhereUsed.h"

#include <QJsonArray>

namespace bom::app {
namespace {

using structure::StructureRules;
using structure::StructureTexts;

// What a command over levels names: --levels N (a whole number from 1, or all: 0) and its one
// word, after `skip` words of the command's own (export names what it exports first).
// std::nullopt: a usage error, reported.
struct Named {
    int levels = 0;
    QString word;
};
std::optional<Named> namedWithLevels(CtlContext& ctx, int skip) {
    const QString text =
        ctx.args().option(QStringLiteral("--levels")).value_or(QStringLiteral("all"));
    bool ok = text == QLatin1String("all");
    const int levels = ok ? 0 : text.toInt(&ok);
    if (!ok || (levels < 1 && text != QLatin1String("all"))) {
        ctx.usage(QStringLiteral("--levels 应为不小于1的整数或 all：%1").arg(text));
        return std::nullopt;
    }
    const auto words = ctx.positional(1 + skip, 1 + skip);
    if (!words)
        return std::nullopt;
    return Named{levels, words->at(skip)};
}

// The session, and the BOM a word names (its id, or an item code for its default BOM): empty
// with `status` set when there is none the operator may see (reported).
QString namedBom(CtlContext& ctx, const QString& word, int& status) {
    status = ctx.startSession();
    if (status != ExitOk)
        return {};
    const QString id = bomservice::BomAccess(ctx.session()).BomNamed(word);
    if (id.isEmpty())
        status = ctx.bomGone();
    return id;
}

QString indented(int level, const QStringList& shown) {
    return QString(level * 2, QLatin1Char(' ')) + shown.join(QLatin1Char('\t'));
}

// The explosion the words name, std::nullopt with `status` set when there is none (reported).
std::optional<structure::ExplosionResult> explosionNamed(CtlContext& ctx, int skip, int& status,
                                                         QString* id = nullptr) {
    const auto named = namedWithLevels(ctx, skip);
    if (!named) {
        status = ExitUsage;
        return std::nullopt;
    }
    const QString bom = namedBom(ctx, named->word, status);
    if (bom.isEmpty())
        return std::nullopt;
    auto result = structure::Explosion(ctx.session()).Explode(bom, named->levels);
    if (!result)
        status = ctx.bomGone();
    if (id)
        *id = bom;
    return result;
}

int runExplode(CtlContext& ctx) {
    const bool summary = ctx.args().flag(QStringLiteral("--summary"));
    int status = ExitOk;
    QString id;
    const auto result = explosionNamed(ctx, 0, status, &id);
    if (!result)
        return status;
    QJsonArray rows;
    if (summary) {
        for (const structure::SummaryRow& row : structure::Explosion::Summarise(*result)) {
            ctx.printLine(
                QStringList{row.cinvcode, row.cinvname, StructureRules::text(row.qty), row.cunit}
                    .join(QLatin1Char('\t')));
            rows.append(QJsonObject{{"cinvcode", row.cinvcode},
                                    {"cinvname", row.cinvname},
                                    {"qty", row.qty},
                                    {"cunit", row.cunit},
                                    {"cost", row.cost}});
        }
    } else {
        for (std::size_t i = 0; i < result->rows.size(); ++i) {
            const structure::ExplosionRow& row = result->rows[i];
            const structure::ExplosionLine& line = result->lineOf(row);
            ctx.printLine(indented(row.level - 1,
                                   {line.cinvcode, line.cinvname, StructureRules::text(line.qty),
                                    StructureRules::text(row.cumQty)}));
            rows.append(QJsonObject{{"level", row.level},
                                    {"path", result->path(i)},
                                    {"cinvcode", line.cinvcode},
                                    {"cinvname", line.cinvname},
                                    {"qty", line.qty},
                                    {"cum_qty", row.cumQty},
                                    {"iautoid", line.iautoid},
                                    {"autoid", line.autoid},
                                    {"cost", row.cost}});
        }
    }
    QJsonArray loops;
    QStringList shownLoops;
    for (const QStringList& loop : result->loops) {
        loops.append(QJsonArray::fromStringList(loop));
        shownLoops << loop.join(QStringLiteral(" → "));
    }
    if (!shownLoops.isEmpty())
        ctx.session().ShowInfo(StructureTexts::loops(shownLoops));
    return ctx.finish(ExitOk, {{"iautoid", id},
                               {"rows", rows},
                               {"loops", loops},
                               {"material", result->material()},
                               {"total", result->total()}});
}

// Where the item the words name is used, std::nullopt with `status` set when it does not exist
// (reported).
std::optional<std::pair<QString, std::vector<structure::WhereUsedRow>>>
whereUsedNamed(CtlContext& ctx, int skip, int& status) {
    const auto named = namedWithLevels(ctx, skip);
    if (!named) {
        status = ExitUsage;
        return std::nullopt;
    }
    if ((status = ctx.startSession()))
        return std::nullopt;
    const QString item = named->word.trimmed();
    if (ctx.db()
            .query(QStringLiteral("select cInvCode from Inventory where cInvCode=?"), {item})
            .empty()) {
        ctx.session().ShowInfo(StructureTexts::noItem(item));
        status = ctx.finish(ExitRefused);
        return std::nullopt;
    }
    return std::pair{item, structure::WhereUsed(ctx.session()).Find(item, named->levels)};
}

int runWhereUsed(CtlContext& ctx) {
    int status = ExitOk;
    const auto found = whereUsedNamed(ctx, 0, status);
    if (!found)
        return status;
    QJsonArray rows;
    for (const structure::WhereUsedRow& row : found->second) {
        ctx.printLine(indented(row.level - 1, {row.cpspcode, row.cinvname, row.csocode,
                                               StructureRules::text(row.qty)}));
        rows.append(QJsonObject{{"level", row.level},
                                {"cpspcode", row.cpspcode},
                                {"iautoid", row.iautoid},
                                {"csocode", row.csocode},
                                {"qty", row.qty}});
    }
    return ctx.finish(ExitOk, {{"rows", rows}});
}

int runCost(CtlContext& ctx) {
    const bool all = ctx.args().flag(QStringLiteral("--all"));
    const bool write = ctx.args().flag(QStringLiteral("--write"));
    const auto words = ctx.positional(all ? 0 : 1, all ? 0 : 1);
    if (!words)
        return ExitUsage;
    QString id;
    if (all) {
        if (const int status = ctx.startSession())
            return status;
    } else {
        int status = ExitOk;
        id = namedBom(ctx, words->first(), status);
        if (id.isEmpty())
            return status;
    }
    structure::CostRollup rollup(ctx.session());
    const std::vector<structure::CostRow> rows = all ? rollup.ComputeAll() : rollup.Compute(id);
    QJsonArray out;
    for (const structure::CostRow& row : rows) {
        ctx.printLine(
            QStringList{row.iautoid, row.cpspcode, row.csocode, StructureRules::text(row.material),
                        StructureRules::text(row.total), StructureRules::figure(row.storedMaterial),
                        StructureRules::figure(row.storedTotal)}
                .join(QLatin1Char('\t')));
        out.append(QJsonObject{{"iautoid", row.iautoid},
                               {"cpspcode", row.cpspcode},
                               {"csocode", row.csocode},
                               {"level", row.level},
                               {"material", row.material},
                               {"total", row.total},
                               {"stored_material", RowPrinter::toJson(row.storedMaterial)},
                               {"stored_total", RowPrinter::toJson(row.storedTotal)},
                               {"differs", row.differs},
                               {"approved", row.approved}});
    }
    QJsonObject result{{"rows", out}};
    if (!write)
        return ctx.finish(ExitOk, result);
    const auto written = rollup.Write(rows);
    if (!written)
        return ctx.finish(ExitRefused, result);
    if (written->approved > 0)
        ctx.session().ShowInfo(StructureTexts::costApprovedSkipped(written->approved));
    if (written->boms == 0) {
        ctx.session().ShowInfo(StructureTexts::nothingToWrite());
        return ctx.finish(ExitRefused, result);
    }
    ctx.session().ShowInfo(StructureTexts::costWritten(written->boms, written->run));
    result.insert("run", written->run);
    result.insert("written", written->boms);
    return ctx.finish(ExitOk, result);
}

// "BOM" or "BOM@TIME" (the BOM as it stood then): std::nullopt when the time is not one.
std::optional<std::pair<QString, std::optional<QDateTime>>> sideOf(const QString& word) {
    const qsizetype at = word.lastIndexOf(QLatin1Char('@'));
    if (at < 0)
        return std::pair{word, std::optional<QDateTime>()};
    const QString text = word.mid(at + 1).trimmed();
    QDateTime time = QDateTime::fromString(text, Qt::ISODate);
    if (!time.isValid())
        time = QDateTime::fromString(text, QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    if (!time.isValid())
        return std::nullopt;
    return std::pair{word.left(at), std::optional<QDateTime>(time)};
}

// The comparison the words name, std::nullopt with `status` set when a side is not there
// (reported).
std::optional<structure::CompareResult> comparisonNamed(CtlContext& ctx, int skip, int& status) {
    const bool exploded = ctx.args().flag(QStringLiteral("--exploded"));
    const auto words = ctx.positional(2 + skip, 2 + skip);
    if (!words) {
        status = ExitUsage;
        return std::nullopt;
    }
    const auto first = sideOf(words->at(skip));
    const auto second = sideOf(words->at(skip + 1));
    if (!first || !second) {
        status = ctx.usage(QStringLiteral("时间应为 yyyy-MM-ddTHH:mm:ss"));
        return std::nullopt;
    }
    if ((status = ctx.startSession()))
        return std::nullopt;
    structure::BomCompare compare(ctx.session());
    const auto a = compare.Load(first->first, first->second);
    const auto b = a ? compare.Load(second->first, second->second) : std::nullopt;
    if (!a || !b) {
        status = ctx.finish(ExitRefused);
        return std::nullopt;
    }
    return compare.Compare(*a, *b, exploded);
}

int runCompare(CtlContext& ctx) {
    int status = ExitOk;
    const auto compared = comparisonNamed(ctx, 0, status);
    if (!compared)
        return status;
    const structure::CompareResult& result = *compared;
    QJsonArray diff;
    for (const structure::CompareDiff& d : result.diff) {
        QJsonObject fields;
        QStringList shown;
        for (const structure::CompareDiff::Field& f : d.fields) {
            fields.insert(f.name, QJsonArray{RowPrinter::toJson(f.a), RowPrinter::toJson(f.b)});
            shown << QStringLiteral("%1=%2→%3").arg(f.name, f.a.toString(), f.b.toString());
        }
        const QString change = structure::BomCompare::changeName(d.change);
        ctx.printLine(QStringList{change, d.path, shown.join(QLatin1Char(' '))}.join('\t'));
        diff.append(QJsonObject{
            {"cinvcode", d.cinvcode}, {"path", d.path}, {"change", change}, {"fields", fields}});
    }
    ctx.printLine(
        QStringLiteral("cost\t%1\t%2")
            .arg(StructureRules::text(result.totalA), StructureRules::text(result.totalB)));
    return ctx.finish(ExitOk,
                      {{"diff", diff},
                       {"cost", QJsonObject{{"material_a", result.materialA},
                                            {"material_b", result.materialB},
                                            {"total_a", result.totalA},
                                            {"total_b", result.totalB},
                                            {"difference", result.totalB - result.totalA}}}});
}

} // namespace

std::optional<entry::ExportTable> structureTable(CtlContext& ctx, const QString& what,
                                                 int& status) {
    status = ExitOk;
    if (what == QLatin1String("explode")) {
        const auto result = explosionNamed(ctx, 1, status);
        if (!result)
            return std::nullopt;
        return ctx.args().flag(QStringLiteral("--summary"))
                   ? structure::Explosion::summaryTable(*result)
                   : structure::Explosion::table(*result);
    }
    if (what == QLatin1String("where-used")) {
        const auto found = whereUsedNamed(ctx, 1, status);
        return found ? std::optional(structure::WhereUsed::table(found->first, found->second))
                     : std::nullopt;
    }
    if (what == QLatin1String("compare")) {
        const auto result = comparisonNamed(ctx, 1, status);
        return result ? std::optional(
                            structure::BomCompare::table(*result, StructureTexts::compareTitle()))
                      : std::nullopt;
    }
    status = ExitUsage;
    return std::nullopt;
}

std::vector<Command> structureCommands() {
    return {
        {"explode",
         "explode CODE|IAUTOID [--levels N] [--summary]   (every component at every level,\n"
         "              quantities per parent and per top unit; CODE: the item's default BOM)",
         runExplode},
        {"where-used",
         "where-used CODE [--levels N]   (every BOM that uses the item, up to the top)",
         runWhereUsed},
        {"cost",
         "cost CODE|IAUTOID|--all [--write]   (standard costs rolled up from the leaves, beside\n"
         "              those stored; --write stores them as a run that batch undo takes back)",
         runCost},
        {"compare",
         "compare A B [--exploded]   (two BOMs side by side; A or B as ID@yyyy-MM-ddTHH:mm:ss is\n"
         "              the BOM as it stood then)",
         runCompare},
    };
}

} // namespace bom::app
