// bomctl: the BOM module's services from a shell, one session per command.
#include "ctl/Commands.h"
#include "ctl/CtlContext.h"
#include "db/DbError.h"

#include <QCoreApplication>
#include <cstdio>

using namespace bom::app;

namespace {

std::vector<Command> allCommands() {
    std::vector<Command> all = accountCommands();
    for (auto group : {bomCommands, cardCommands, listCommands})
        for (const Command& c : group())
            all.push_back(c);
    return all;
}

void printHelp(const std::vector<Command>& commands) {
    std::puts("bomctl COMMAND [ARGS] [--db URL] [--user ID] [--json] [--yes|--no|--answer a,b,…]");
    std::puts("URL: sqlite:PATH or postgresql://user@host:port/db (or BOM_DB); ID or BOM_USER;");
    std::puts("password from BOM_PASSWORD. Exit: 0 done, 1 refused, 2 usage, 3 database.\n");
    for (const Command& c : commands)
        std::printf("  bomctl %s\n", c.usage);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("bomctl"));
    QStringList words = app.arguments().mid(1);
    const auto commands = allCommands();
    if (words.isEmpty() || words.first() == QLatin1String("help") ||
        words.first() == QLatin1String("--help")) {
        printHelp(commands);
        return words.isEmpty() ? ExitUsage : ExitOk;
    }
    const QString name = words.takeFirst();
    for (const Command& command : commands)
        if (name == QLatin1String(command.name)) {
            CtlContext ctx(name, CtlArgs(words));
            try {
                return command.run(ctx);
            } catch (const bom::db::DbError& e) {
                // A command that did not expect the failure still ends with its status.
                return ctx.fail(ExitDatabase, e.message());
            }
        }
    CtlContext ctx(name, CtlArgs(words));
    return ctx.usage(QStringLiteral("未知命令：%1").arg(name));
}
