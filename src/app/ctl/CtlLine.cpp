#include "CtlLine.h"

#include "Commands.h"

namespace bom::app {
namespace {

// Global options that take a value, and those that do not.
bool takesValue(const QString& word) {
    return word == QLatin1String("--db") || word == QLatin1String("--user") ||
           word == QLatin1String("--answer");
}
bool isGlobalFlag(const QString& word) {
    return word == QLatin1String("--json") || word == QLatin1String("--yes") ||
           word == QLatin1String("--no");
}

} // namespace

CtlLine splitCommandLine(QStringList words) {
    // Stops at the first word that is no global option: that is the command.
    QStringList leading;
    while (!words.isEmpty()) {
        const QString& word = words.first();
        const QString name = word.section(QLatin1Char('='), 0, 0);
        if (takesValue(word) && words.size() >= 2) {
            leading << words.takeFirst();
            leading << words.takeFirst();
        } else if (isGlobalFlag(word) || (word.contains(QLatin1Char('=')) && takesValue(name))) {
            leading << words.takeFirst();
        } else {
            break;
        }
    }
    CtlLine line;
    if (!words.isEmpty()) // with no command, the help is shown
        line.command = words.takeFirst();
    line.words = leading + words;
    return line;
}

GlobalOptions takeGlobalOptions(CtlArgs& args) {
    GlobalOptions global;
    global.json = args.flag(QStringLiteral("--json"));
    global.db = args.option(QStringLiteral("--db"));
    global.user = args.option(QStringLiteral("--user"));
    global.yes = args.flag(QStringLiteral("--yes"));
    global.no = args.flag(QStringLiteral("--no"));
    global.answer = args.option(QStringLiteral("--answer"));
    return global;
}

std::vector<Command> allCommands() {
    std::vector<Command> all = accountCommands();
    for (auto group :
         {bomCommands, cardCommands, cardToolCommands, listCommands, optionsCommands, batchCommands,
          printCommands, variantsCommands, structureCommands, spreadsheetCommands})
        for (const Command& c : group())
            all.push_back(c);
    return all;
}

const Command* findCommand(const std::vector<Command>& commands, const QString& name) {
    for (const Command& command : commands)
        if (name == QLatin1String(command.name))
            return &command;
    return nullptr;
}

std::optional<suite::Prompter::Answer> parseAnswer(const QString& word) {
    const QString w = word.trimmed().toLower();
    if (w == QLatin1String("yes") || w == QLatin1String("y"))
        return suite::Prompter::Answer::Yes;
    if (w == QLatin1String("no") || w == QLatin1String("n"))
        return suite::Prompter::Answer::No;
    if (w == QLatin1String("cancel") || w == QLatin1String("c"))
        return suite::Prompter::Answer::Cancel;
    return std::nullopt;
}

std::vector<suite::Prompter::Answer> parseAnswers(const QString& list) {
    std::vector<suite::Prompter::Answer> answers;
    for (const QString& word : list.split(QLatin1Char(','), Qt::SkipEmptyParts))
        if (const auto a = parseAnswer(word))
            answers.push_back(*a);
    return answers;
}

} // namespace bom::app
