// bomctl's command line up to where a command would run, on NUL-separated words: the global
// options before or after the command, the command looked up, the answers of --answer, each
// command's options as its usage names them, the positional words. Nothing is opened or run.
// Never a crash; no word is lost or made up by the split, and an option taken out is gone.
#include "ctl/Commands.h"
#include "ctl/CtlLine.h"

#include <QRegularExpression>
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

using namespace bom::app;

namespace {

// The options a command's usage names, each with how many values follow it ("--line N
// FIELD=VALUE": two; "--dry-run": none, a flag). Values are the words in capitals or choices
// ("table|csv|json").
std::vector<std::pair<QString, int>> usageOptions(const char* usage) {
    QString text = QString::fromUtf8(usage);
    text.replace(QRegularExpression(QStringLiteral("[\\[\\]()…]")), QStringLiteral(" "));
    const QStringList tokens =
        text.split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
    std::vector<std::pair<QString, int>> found;
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        if (!tokens[i].startsWith(QLatin1String("--")))
            continue;
        int arity = 0;
        while (i + 1 + arity < tokens.size()) {
            const QString& next = tokens[i + 1 + arity];
            const bool choices = next.contains(QLatin1Char('|')) && next.front().isLetter();
            if (next.startsWith(QLatin1String("--")) || !(next.front().isUpper() || choices))
                break;
            ++arity;
        }
        for (const QString& name : tokens[i].split(QLatin1Char('|'), Qt::SkipEmptyParts))
            if (name.startsWith(QLatin1String("--")) &&
                std::none_of(found.begin(), found.end(),
                             [&](const auto& known) { return known.first == name; }))
                found.emplace_back(name, arity);
    }
    return found;
}

// Aborts naming the line of the check that failed, for whoever triages the crash.
void check(bool holds, int line = __builtin_LINE()) {
    if (holds)
        return;
    std::fprintf(stderr, "fuzz_bomctl_args.cpp:%d: check failed\n", line);
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::vector<Command> commands = allCommands();
    // argv as a shell hands it over, each word read as bomctl reads it.
    QStringList words;
    if (size > 0)
        for (const QByteArray& word :
             QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size))
                 .split('\0'))
            words << QString::fromLocal8Bit(word);

    const CtlLine line = splitCommandLine(words);
    QStringList all = line.words;
    if (line.command)
        all.prepend(*line.command);
    QStringList given = words;
    all.sort();
    given.sort();
    check(all == given); // the split only moves words
    if (!line.command)
        return 0;

    const Command* command = findCommand(commands, *line.command);
    check(!command || *line.command == QLatin1String(command->name));

    CtlArgs args(line.words);
    const GlobalOptions global = takeGlobalOptions(args);
    if (global.answer)
        check(parseAnswers(*global.answer).size() <=
              std::size_t(global.answer->count(QLatin1Char(',')) + 1));
    for (const QString& word : args.words()) {
        for (const char* flag : {"--json", "--yes", "--no"})
            check(word != QLatin1String(flag));
        for (const char* option : {"--db", "--user", "--answer"})
            check(word != QLatin1String(option) &&
                  !word.startsWith(QString::fromLatin1(option) + QLatin1Char('=')));
    }

    if (command) {
        std::vector<std::pair<QString, int>> valued;
        QStringList flags;
        for (const auto& [name, arity] : usageOptions(command->usage)) {
            if (arity == 0)
                flags << name;
            else
                valued.emplace_back(name, arity);
        }
        for (const CtlArgs::Occurrence& o : args.occurrences(valued))
            for (const auto& [name, arity] : valued)
                if (name == o.name)
                    check(o.values.size() == arity);
        for (const QString& name : flags)
            args.flag(name);
        for (const QString& word : args.words()) {
            check(!flags.contains(word));
            for (const auto& option : valued)
                check(word != option.first);
        }
    }
    QString error;
    const QStringList positional = args.positional(&error);
    for (const QString& word : positional)
        check(!(word.startsWith(QLatin1String("--")) && word.size() > 2));
    check(error.isEmpty() || positional.isEmpty());
    return 0;
}
