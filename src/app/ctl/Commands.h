#pragma once

#include <QString>
#include <vector>

namespace bom::app {

class CtlContext;

struct Command {
    const char* name;
    const char* usage;
    int (*run)(CtlContext&);
};

// Every command group registers its commands here.
std::vector<Command> accountCommands();
std::vector<Command> bomCommands();
std::vector<Command> cardCommands();
std::vector<Command> cardToolCommands();
std::vector<Command> listCommands();

} // namespace bom::app
