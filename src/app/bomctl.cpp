// bomctl: the BOM module's services from a shell, one session per command.
#include "ctl/Commands.h"
#include "ctl/CtlContext.h"
#include "ctl/CtlLine.h"
#include "db/DbError.h"
#include "list/BomList.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <cstdio>
#include <memory>

using namespace bom::app;

namespace {

void printHelp(const std::vector<Command>& commands) {
    std::puts("bomctl COMMAND [ARGS] [--db URL] [--user ID] [--json] [--yes|--no|--answer a,b,…]");
    std::puts("The global options may stand before or after the command.");
    std::puts("URL: sqlite:PATH or postgresql://user@host:port/db (or BOM_DB); ID or BOM_USER;");
    std::puts("password from BOM_PASSWORD. Exit: 0 done, 1 refused (also when a command over");
    std::puts("several BOMs changed none), 2 usage, 3 database.\n");
    for (const Command& c : commands)
        std::printf("  bomctl %s\n", c.usage);
    std::printf("\nlist prints these columns in this order, whatever the window shows:\n  %s\n",
                qPrintable(bom::list::BomList::fixedParentColumns().join(',')));
    std::puts("--columns names other columns of the header view pp_q_bomtreet; --where takes");
    std::puts("the same names. Rows come by parent code, then free items 1 and 2.");
    std::puts("\nWith --json each message or question is one object (type, title, text, style,");
    std::puts("answer) and the last line is the result (type \"result\", ok, status) with:");
    std::puts("  list, lines, ref: columns, rows (ref: page; a failure met while listing: error)");
    std::puts("  show: card, or xml with --format xml    save: iautoid, qzts (refused: result)");
    std::puts("  validate: cycle_path when a cycle was found    card-delete: iautoid");
    std::puts("  options: card, or xml with --format xml");
    std::puts("  options-save: autoid, qzts (the BOM's version), compsubid (refused: result)");
    std::puts("  approve, unapprove, stop, enable: changed (how many BOMs changed)");
    std::puts("  copy: iautoid (the copy asked for), created (every copy, top first)");
    std::puts("  history: rows (time, user, kind, field, old, new, line, run; newest first)");
    std::puts(
        "  batch: run, changed, versions (iautoid, before, after), skipped (iautoid, reason);");
    std::puts("    --dry-run: preview too (iautoid, cpspcode, before, after, cost_before,");
    std::puts("    cost_after)    batch runs: runs    batch undo: run, refused, versions");
    std::puts("  variants: iautoid, cpspcode, colours (code, alias, sizes that have BOMs), sizes");
    std::puts("    (code, alias); --generate/--delete: run, created, deleted, kept");
    std::puts("  tree: nodes (level, iautoid, cpspcode, csocode; in display order)");
    std::puts("  print: pdf, pages, template");
    std::puts("  explode: iautoid, rows (level, path, cinvcode, cinvname, qty, cum_qty, iautoid,");
    std::puts("    autoid, cost; in display order; qty per unit of the row's parent, cum_qty per");
    std::puts(
        "    unit of the top, iautoid the row's own BOM or \"\"), loops (each a path of codes),");
    std::puts("    material, total; --summary: rows (cinvcode, cinvname, qty, cunit, cost)");
    std::puts(
        "  where-used: rows (level, cpspcode, iautoid, csocode, qty: of the item per unit of");
    std::puts("    that BOM's parent)");
    std::puts("  cost: rows (iautoid, cpspcode, csocode, level, material, total, stored_material,");
    std::puts("    stored_total, differs, approved); --write: run, written");
    std::puts(
        "  compare: diff (cinvcode, path, change added|removed|changed, fields {name:[a,b]}),");
    std::puts("    cost (material_a, material_b, total_a, total_b, difference)");
    std::puts("  export: file, rows    import: refused (row, field, message), boms (iautoid,");
    std::puts("    cpspcode, csocode, created, row, lines), unchanged (iautoid of stored BOMs the");
    std::puts("    file holds as they are), written, run (undo it with batch undo)");
}

// Commands that render need fonts and paint devices; without a display they render offscreen.
std::unique_ptr<QCoreApplication> makeApplication(int& argc, char** argv, bool gui) {
    if (!gui)
        return std::make_unique<QCoreApplication>(argc, argv);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    return std::make_unique<QGuiApplication>(argc, argv);
}

} // namespace

int main(int argc, char** argv) {
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words << QString::fromLocal8Bit(argv[i]);
    const CtlLine line = splitCommandLine(words);
    const auto commands = allCommands();
    const Command* found = line.command ? findCommand(commands, *line.command) : nullptr;
    const auto app = makeApplication(argc, argv, found && found->needsGui);
    QCoreApplication::setApplicationName(QStringLiteral("bomctl"));
    if (!line.command || *line.command == QLatin1String("help") ||
        *line.command == QLatin1String("--help")) {
        printHelp(commands);
        return line.command ? ExitOk : ExitUsage;
    }
    CtlContext ctx(*line.command, CtlArgs(line.words));
    if (!found)
        return ctx.usage(QStringLiteral("未知命令：%1").arg(*line.command));
    try {
        return found->run(ctx);
    } catch (const bom::db::DbError& e) {
        // A command that did not expect the failure still ends with its status.
        return ctx.fail(ExitDatabase, e.message());
    }
}
