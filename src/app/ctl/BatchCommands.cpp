#include "Commands.h"
#include "CtlContext.h"
#include "batch/BatchEditor.h"
#include "batch/BatchTexts.h"
#include "bomservice/BomRuns.h"
#include "db/DbError.h"
#include "entry/Session.h"
#include "list/BomList.h"

#include <QJsonArray>

namespace bom::app {
namespace {

using batch::BatchEditor;
using batch::Operation;

const QString kTimeFormat = QStringLiteral("yyyy-MM-dd HH:mm:ss");

std::optional<Operation> operationOf(const QString& verb) {
    if (verb == QLatin1String("add"))
        return Operation::Add;
    if (verb == QLatin1String("modify"))
        return Operation::Modify;
    if (verb == QLatin1String("replace"))
        return Operation::Replace;
    if (verb == QLatin1String("delete"))
        return Operation::Delete;
    return std::nullopt;
}

QJsonValue jsonOf(const QVariant& value) {
    if (value.isNull())
        return QJsonValue::Null;
    switch (value.typeId()) {
    case QMetaType::Double:
    case QMetaType::Int:
    case QMetaType::LongLong:
        return value.toDouble();
    default:
        return value.toString();
    }
}

QJsonObject lineOf(const batch::BatchPlan& plan, const QVariantList& line) {
    QJsonObject out;
    if (line.isEmpty())
        return out;
    for (const QString& column : plan.shownColumns())
        out.insert(column, jsonOf(line.value(plan.lines.columnIndex(column))));
    return out;
}

QJsonArray versionsOf(const std::vector<bomservice::BomRuns::BomVersion>& versions) {
    auto version = [](const QVariant& v) {
        return v.isNull() ? QJsonValue(QJsonValue::Null) : QJsonValue(v.toLongLong());
    };
    QJsonArray out;
    for (const auto& v : versions)
        out.append(QJsonObject{
            {"iautoid", v.headerId}, {"before", version(v.before)}, {"after", version(v.after)}});
    return out;
}

QJsonArray skippedOf(CtlContext& ctx, const std::vector<batch::BatchSkip>& skipped) {
    QJsonArray out;
    for (const batch::BatchSkip& skip : skipped) {
        ctx.printLine(
            QStringLiteral("skipped\t%1\t%2\t%3")
                .arg(skip.headerId, skip.reason, batch::BatchTexts::skipReason(skip.reason)));
        out.append(QJsonObject{{"iautoid", skip.headerId}, {"reason", skip.reason}});
    }
    return out;
}

// The BOMs named by --boms, or those the operator's list shows for the --where filters.
std::optional<QStringList> selectedBoms(CtlContext& ctx, const QStringList& boms,
                                        const QStringList& wheres) {
    QStringList ids;
    for (const QString& list : boms)
        for (const QString& id : list.split(QLatin1Char(','), Qt::SkipEmptyParts))
            ids << id.trimmed();
    if (wheres.isEmpty())
        return ids;
    const list::BomList bomList(ctx.session());
    db::SqlCondition filter;
    QString error;
    for (const QString& where : wheres) {
        const int eq = int(where.indexOf(QLatin1Char('=')));
        const auto condition = bomList.fieldFilter(where.left(eq), where.mid(eq + 1), &error);
        if (!condition) {
            ctx.usage(error);
            return std::nullopt;
        }
        filter += db::sqlText(filter.isEmpty() ? QString() : QStringLiteral(" and ")) + *condition;
    }
    const db::SqlCondition sql = bomList.fixedParentQuery({QStringLiteral("iautoid")}, filter);
    const db::Rows rows = ctx.db().query(sql.sql, sql.params);
    for (std::size_t i = 0; i < rows.size(); ++i)
        ids << rows.text(i, "iautoid");
    return ids;
}

int runBatchOperation(CtlContext& ctx, Operation operation) {
    CtlArgs& args = ctx.args();
    const QStringList boms = args.options(QStringLiteral("--boms"));
    const QStringList wheres = args.options(QStringLiteral("--where"));
    const auto component = args.option(QStringLiteral("--component"));
    const auto multiplier = args.option(QStringLiteral("--multiplier"));
    const bool clear = args.flag(QStringLiteral("--clear-substitutes"));
    const bool dryRun = args.flag(QStringLiteral("--dry-run"));
    const auto sets = args.occurrences({{QStringLiteral("--set"), 1}});
    if (!ctx.positional(1, 1))
        return ExitUsage;
    if (boms.isEmpty() && wheres.isEmpty())
        return ctx.usage(QStringLiteral("需要 --boms ID[,ID…] 或 --where 字段=值"));
    for (const QString& where : wheres)
        if (where.indexOf(QLatin1Char('=')) <= 0)
            return ctx.usage(QStringLiteral("--where 应为 字段=值：%1").arg(where));
    if ((operation == Operation::Add) == component.has_value())
        return ctx.usage(operation == Operation::Add
                             ? QStringLiteral("add 的子件用 --set cpscode=编码 给出")
                             : QStringLiteral("需要 --component 编码[,销售订单[,自由项1,…]]"));
    if (operation != Operation::Replace && (multiplier || clear))
        return ctx.usage(QStringLiteral("--multiplier 和 --clear-substitutes 只用于 replace"));
    if (operation == Operation::Delete && !sets.empty())
        return ctx.usage(QStringLiteral("delete 不取 --set"));
    for (const auto& set : sets) {
        const QString& pair = set.values.first();
        const int eq = int(pair.indexOf(QLatin1Char('=')));
        if (eq <= 0 || !batch::BatchFields::isField(pair.left(eq).trimmed().toLower()))
            return ctx.usage(QStringLiteral("--set 应为 字段=值，字段为：%1")
                                 .arg(batch::BatchFields::names().join(QLatin1Char(','))));
    }
    if (const int status = ctx.startSession())
        return status;
    try {
        const auto ids = selectedBoms(ctx, boms, wheres);
        if (!ids)
            return ExitUsage;
        BatchEditor editor(ctx.session());
        if (!editor.InitBatch(operation, *ids,
                              batch::BatchScope::parseComponentKey(component.value_or(QString()))))
            return ctx.finish(editor.failedOnDatabase() ? ExitDatabase : ExitRefused);
        // Editors in the order given, each through its check as if typed and left.
        for (const auto& set : sets) {
            const QString& pair = set.values.first();
            const int eq = int(pair.indexOf(QLatin1Char('=')));
            if (!editor.EnterValue(pair.left(eq), pair.mid(eq + 1)))
                return ctx.finish(ExitRefused);
        }
        if (multiplier && !editor.EnterValue(QStringLiteral("multiplier"), *multiplier))
            return ctx.finish(ExitRefused);
        if (clear)
            editor.EnterValue(QStringLiteral("clearsubstitutes"), QStringLiteral("是"));

        if (dryRun) {
            const auto plan = editor.Preview();
            if (!plan)
                return ctx.finish(editor.failedOnDatabase() ? ExitDatabase : ExitRefused);
            QJsonArray preview;
            for (const batch::BatchChange& change : plan->changes) {
                ctx.printLine(QStringLiteral("%1\t%2\t%3 -> %4")
                                  .arg(change.headerId, change.parent)
                                  .arg(change.costBefore)
                                  .arg(change.costAfter));
                preview.append(QJsonObject{{"iautoid", change.headerId},
                                           {"cpspcode", change.parent},
                                           {"before", lineOf(*plan, plan->beforeRow(change))},
                                           {"after", lineOf(*plan, change.after)},
                                           {"cost_before", change.costBefore},
                                           {"cost_after", change.costAfter}});
            }
            const QJsonArray skipped = skippedOf(ctx, plan->skipped);
            return ctx.finish(plan->empty() ? ExitRefused : ExitOk,
                              {{"run", 0},
                               {"changed", QJsonArray::fromStringList(plan->changedBoms())},
                               {"skipped", skipped},
                               {"preview", preview}});
        }
        const auto result = editor.Save();
        if (!result)
            return ctx.finish(editor.failedOnDatabase() ? ExitDatabase : ExitRefused);
        if (result->run)
            ctx.printLine(QStringLiteral("run\t%1").arg(result->run));
        for (const QString& id : result->changed)
            ctx.printLine(QStringLiteral("changed\t%1").arg(id));
        const QJsonArray skipped = skippedOf(ctx, result->skipped);
        return ctx.finish(result->changed.isEmpty() ? ExitRefused : ExitOk,
                          {{"run", result->run},
                           {"changed", QJsonArray::fromStringList(result->changed)},
                           {"versions", versionsOf(result->versions)},
                           {"skipped", skipped}});
    } catch (const db::DbError& e) {
        return ctx.fail(ExitDatabase, e.message());
    }
}

int runRuns(CtlContext& ctx) {
    if (!ctx.positional(1, 1))
        return ExitUsage;
    if (const int status = ctx.startSession())
        return status;
    QJsonArray runs;
    for (const auto& run : bomservice::BomRuns(ctx.session()).List()) {
        const QString time = run.time.toString(kTimeFormat);
        ctx.printLine(QStringList{QString::number(run.id), time, run.user, run.operation, run.state,
                                  QString::number(run.boms), run.description}
                          .join(QLatin1Char('\t')));
        runs.append(QJsonObject{{"id", run.id},
                                {"time", time},
                                {"user", run.user},
                                {"operation", run.operation},
                                {"state", run.state},
                                {"boms", run.boms},
                                {"description", run.description}});
    }
    return ctx.finish(ExitOk, {{"runs", runs}});
}

int runUndo(CtlContext& ctx) {
    const auto words = ctx.positional(2, 2);
    if (!words)
        return ExitUsage;
    bool number = false;
    const qlonglong run = words->at(1).toLongLong(&number);
    if (!number)
        return ctx.usage(QStringLiteral("undo 需要批量处理的编号：%1").arg(words->at(1)));
    if (const int status = ctx.startSession())
        return status;
    try {
        bomservice::BomRuns runs(ctx.session());
        const bool undone = runs.Undo(run, batch::BatchTexts::title());
        return ctx.finish(undone ? ExitOk : ExitRefused,
                          {{"run", run},
                           {"refused", QJsonArray::fromStringList(runs.refusedBoms())},
                           {"versions", versionsOf(runs.undoneVersions())}});
    } catch (const db::DbError& e) {
        return ctx.fail(ExitDatabase, e.message());
    }
}

int runBatch(CtlContext& ctx) {
    // The verb comes first; what else the command takes depends on it.
    const QString verb = ctx.args().words().value(0);
    if (verb == QLatin1String("runs"))
        return runRuns(ctx);
    if (verb == QLatin1String("undo"))
        return runUndo(ctx);
    if (const auto operation = operationOf(verb))
        return runBatchOperation(ctx, *operation);
    return ctx.usage(QStringLiteral("batch 之后应为 add、modify、replace、delete、runs 或 undo"));
}

} // namespace

std::vector<Command> batchCommands() {
    return {
        {"batch",
         "batch add|modify|replace|delete (--boms ID[,ID…] | --where FIELD=VALUE …)\n"
         "              [--component CODE[,SALESORDER[,FREE1,…,FREE10]]] [--set FIELD=VALUE …]\n"
         "              [--multiplier N] [--clear-substitutes] [--dry-run]\n"
         "  bomctl batch runs | batch undo RUN   (one component line over many BOMs; undo puts\n"
         "              back every BOM of a run unless one changed since)",
         runBatch},
    };
}

} // namespace bom::app
