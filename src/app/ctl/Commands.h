#pragma once

#include <QString>
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

} // namespace bom::app
