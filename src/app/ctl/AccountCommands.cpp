#include "Commands.h"
#include "CtlContext.h"
#include "db/DbError.h"
#include "db/Transaction.h"
#include "suite/Account.h"
#include "suite/PublicService.h"
#include "suite/RightsStore.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QTextStream>
#include <cstdio>

namespace bom::app {
namespace {

using suite::RightsStore;

std::optional<int> intOption(CtlContext& ctx, const QString& name, int fallback, int min) {
    const auto text = ctx.args().option(name);
    if (!text)
        return fallback;
    bool ok = false;
    const int value = text->toInt(&ok);
    if (!ok || value < min) {
        ctx.usage(QStringLiteral("%1 需要不小于 %2 的整数：%3").arg(name).arg(min).arg(*text));
        return std::nullopt;
    }
    return value;
}

int runInit(CtlContext& ctx) {
    const bool demo = ctx.args().flag(QStringLiteral("--demo"));
    const auto generate = ctx.args().option(QStringLiteral("--generate"));
    // init names the account's first operator; BOM_USER does not apply here.
    const QString user = ctx.userOption().value_or(QStringLiteral("demo"));
    suite::Account::GenerateOptions options;
    const auto depth = intOption(ctx, QStringLiteral("--depth"), 3, 1);
    const auto fanout = intOption(ctx, QStringLiteral("--fanout"), 10, 1);
    const auto seed = intOption(ctx, QStringLiteral("--seed"), 1, 0);
    const auto share = intOption(ctx, QStringLiteral("--share"), 0, 0);
    const auto family = intOption(ctx, QStringLiteral("--family"), 50, 1);
    if (!depth || !fanout || !seed || !share || !family)
        return ExitUsage;
    const auto words = ctx.positional(1, 1);
    if (!words)
        return ExitUsage;
    if (demo && generate)
        return ctx.usage(QStringLiteral("--demo 与 --generate 只能选一个"));
    if (generate) {
        bool ok = false;
        options.boms = generate->toInt(&ok);
        if (!ok || options.boms < 1)
            return ctx.usage(QStringLiteral("--generate 需要正整数：%1").arg(*generate));
    }
    options.depth = *depth;
    options.fanout = *fanout;
    options.seed = quint32(*seed);
    options.share = *share;
    options.family = *family;
    QElapsedTimer timer;
    timer.start();
    try {
        auto db = suite::Account::create(
            words->first(), user,
            user == QLatin1String("demo") ? QStringLiteral("演示操作员") : user);
        if (demo)
            suite::Account::loadDemo(*db);
        if (options.boms > 0)
            suite::Account::generate(*db, options);
    } catch (const db::DbError& e) {
        const bool exists = e.message().startsWith(QStringLiteral("账套已存在"));
        return ctx.fail(exists ? ExitRefused : ExitDatabase, e.message());
    }
    const double seconds = timer.elapsed() / 1000.0;
    ctx.printLine(
        QStringLiteral("账套已建立：%1（%2 秒）").arg(words->first()).arg(seconds, 0, 'f', 1));
    return ctx.finish(ExitOk, {{"url", words->first()}, {"user", user}, {"seconds", seconds}});
}

// Runs `write` in one transaction on the session's connection; a database error exits 3.
template <typename Write> int writeInTransaction(CtlContext& ctx, Write write) {
    try {
        db::Transaction tx(ctx.db());
        const int status = write();
        if (status == ExitOk)
            tx.commit();
        return status;
    } catch (const db::DbError& e) {
        return ctx.fail(ExitDatabase, e.message());
    }
}

bool operatorExists(CtlContext& ctx, const QString& id) {
    return ctx.db()
               .scalar(QStringLiteral("SELECT count(*) FROM sys_operator WHERE cuserid=?"), {id})
               .toInt() > 0;
}

int runOperator(CtlContext& ctx) {
    const bool askPassword = ctx.args().flag(QStringLiteral("--password"));
    const auto words = ctx.positional(1, 3);
    if (!words)
        return ExitUsage;
    if (const int status = ctx.startSession())
        return status;
    const QString verb = words->at(0);
    if (verb == QLatin1String("list") && words->size() == 1) {
        const db::Rows rows = ctx.db().query(
            QStringLiteral("SELECT cuserid, cusername FROM sys_operator ORDER BY cuserid"));
        QJsonArray out;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            ctx.printLine(rows.text(i, "cuserid") + '\t' + rows.text(i, "cusername"));
            out.append(
                QJsonObject{{"id", rows.text(i, "cuserid")}, {"name", rows.text(i, "cusername")}});
        }
        return ctx.finish(ExitOk, {{"rows", out}});
    }
    if (verb == QLatin1String("add") && words->size() == 3) {
        const QString id = words->at(1).trimmed();
        const QString name = words->at(2).trimmed();
        if (id.isEmpty() || id.size() > 20 || name.isEmpty() || name.size() > 60)
            return ctx.fail(ExitRefused,
                            QStringLiteral("操作员编码（1–20 字）和名称（1–60 字）不能为空！"));
        QString password;
        if (askPassword)
            password = QTextStream(stdin).readLine();
        return writeInTransaction(ctx, [&] {
            if (operatorExists(ctx, id))
                return ctx.fail(ExitRefused, QStringLiteral("操作员[%1]已存在！").arg(id));
            suite::Account::addOperator(ctx.db(), id, name, password);
            ctx.printLine(QStringLiteral("已增加操作员 %1").arg(id));
            return ctx.finish(ExitOk, {{"id", id}});
        });
    }
    if (verb == QLatin1String("remove") && words->size() == 2) {
        const QString id = words->at(1);
        if (id == ctx.session().gUserId)
            return ctx.fail(ExitRefused, QStringLiteral("不能删除当前登录的操作员！"));
        return writeInTransaction(ctx, [&] {
            if (!operatorExists(ctx, id))
                return ctx.fail(ExitRefused, QStringLiteral("操作员[%1]不存在！").arg(id));
            ctx.db().exec(QStringLiteral("DELETE FROM sys_operator WHERE cuserid=?"), {id});
            ctx.printLine(QStringLiteral("已删除操作员 %1").arg(id));
            return ctx.finish(ExitOk, {{"id", id}});
        });
    }
    return ctx.usage(QStringLiteral("operator list | add ID NAME [--password] | remove ID"));
}

int showRights(CtlContext& ctx, const QString& id, const QStringList& kinds) {
    RightsStore store(ctx.db());
    QJsonArray out;
    for (const QString& kind : kinds) {
        const auto scope = store.scope(id, kind);
        const QStringList codes = store.codes(id, kind);
        ctx.printLine(
            QStringLiteral("%1\t%2\t%3").arg(kind, RightsStore::scopeName(scope), codes.join(' ')));
        out.append(QJsonObject{{"kind", kind},
                               {"scope", RightsStore::scopeName(scope)},
                               {"codes", QJsonArray::fromStringList(codes)}});
    }
    return ctx.finish(ExitOk, {{"rows", out}});
}

int runRights(CtlContext& ctx) {
    const bool all = ctx.args().flag(QStringLiteral("--all"));
    const bool none = ctx.args().flag(QStringLiteral("--none"));
    const auto words = ctx.positional(2, -1);
    if (!words)
        return ExitUsage;
    const QString verb = words->at(0);
    const QString id = words->at(1);
    const QStringList kinds = words->size() > 2 ? QStringList{words->at(2)} : RightsStore::kinds();
    const QStringList codes = words->mid(3);
    if (!RightsStore::kinds().contains(kinds.first()))
        return ctx.usage(QStringLiteral("KIND 应为 %1").arg(RightsStore::kinds().join('|')));
    if (all && none)
        return ctx.usage(QStringLiteral("--all 与 --none 只能选一个"));
    if (const int status = ctx.startSession())
        return status;
    if (!operatorExists(ctx, id))
        return ctx.fail(ExitRefused, QStringLiteral("操作员[%1]不存在！").arg(id));
    if (verb == QLatin1String("show"))
        return showRights(ctx, id, kinds);
    const bool grant = verb == QLatin1String("grant");
    if ((!grant && verb != QLatin1String("revoke")) || words->size() < 3)
        return ctx.usage(
            QStringLiteral("rights show ID [KIND] | grant|revoke ID KIND [CODE…] [--all|--none]"));
    if (codes.isEmpty() && !all && !none)
        return ctx.usage(QStringLiteral("请给出编码，或 --all / --none"));
    RightsStore store(ctx.db());
    return writeInTransaction(ctx, [&] {
        const QString kind = kinds.first();
        if (all || none) {
            store.setScope(id, kind, all ? RightsStore::Scope::All : RightsStore::Scope::None);
        } else if (grant) {
            const QStringList unknown = store.unknownCodes(kind, codes);
            if (!unknown.isEmpty())
                return ctx.fail(ExitRefused,
                                QStringLiteral("编码不存在：%1").arg(unknown.join(' ')));
            store.grant(id, kind, codes);
        } else {
            if (store.scope(id, kind) != RightsStore::Scope::List)
                return ctx.fail(ExitRefused, QStringLiteral("操作员[%1]的%2权限不是按编码授权，"
                                                            "请用 --all 或 --none 设置。")
                                                 .arg(id, kind));
            store.revoke(id, kind, codes);
        }
        return showRights(ctx, id, {kind});
    });
}

int runSetting(CtlContext& ctx) {
    const auto words = ctx.positional(2, 2);
    if (!words)
        return ExitUsage;
    const QString mode = words->at(1);
    if (words->at(0) != QLatin1String("function-lock") ||
        (mode != QLatin1String("shared") && mode != QLatin1String("exclusive")))
        return ctx.usage(QStringLiteral("setting function-lock shared|exclusive"));
    if (const int status = ctx.startSession())
        return status;
    return writeInTransaction(ctx, [&] {
        suite::PublicService::setFunctionLockShared(ctx.db(), mode == QLatin1String("shared"));
        ctx.printLine(QStringLiteral("function-lock = %1").arg(mode));
        return ctx.finish(ExitOk, {{"function_lock", mode}});
    });
}

} // namespace

std::vector<Command> accountCommands() {
    return {
        {"init",
         "init URL [--demo | --generate N [--depth D] [--fanout F] [--seed S] [--share P "
         "[--family W]]] [--user ID]",
         runInit},
        {"operator", "operator list | add ID NAME [--password] | remove ID", runOperator},
        {"rights", "rights show|grant|revoke ID KIND [CODE…] [--all|--none]", runRights},
        {"setting", "setting function-lock shared|exclusive", runSetting},
    };
}

} // namespace bom::app
