#pragma once

#include "entry/TableExport.h"

#include <QString>
#include <optional>
#include <vector>

namespace bom::app {

class CtlContext;

struct Command {
    const char* name;
    const char* usage;
    int (*run)(CtlContext&);
    bool needsGui = false; // renders with QtGui (fonts, PDF): runs in a QGuiApplication
};

// Every command group registers its commands here.
std::vector<Command> accountCommands();
std::vector<Command> batchCommands();
std::vector<Command> bomCommands();
std::vector<Command> cardCommands();
std::vector<Command> cardToolCommands();
std::vector<Command> listCommands();
std::vector<Command> optionsCommands();
std::vector<Command> printCommands();
std::vector<Command> spreadsheetCommands();
std::vector<Command> structureCommands();
std::vector<Command> variantsCommands();

// Every command bomctl knows, and the one of that name (nullptr: none).
std::vector<Command> allCommands();
const Command* findCommand(const std::vector<Command>& commands, const QString& name);

// The table `export explode|where-used|compare ARGS…` writes, worked out as the command of that
// name does; std::nullopt with `status` set (and reported) when there is none.
std::optional<entry::ExportTable> structureTable(CtlContext& ctx, const QString& what, int& status);

} // namespace bom::app
