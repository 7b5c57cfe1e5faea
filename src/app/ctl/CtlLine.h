#pragma once

#include "CtlArgs.h"
#include "suite/Prompter.h"

#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace bom::app {

// A bomctl command line before anything runs: the command's name (nothing when the line
// holds only global options, or nothing at all) and the other words, the global options
// given before the command moved behind it, so "bomctl --db X list" reads as
// "bomctl list --db X".
struct CtlLine {
    std::optional<QString> command;
    QStringList words;
};
CtlLine splitCommandLine(QStringList words);

// The options every command takes, taken out of the command's words.
struct GlobalOptions {
    bool json = false;
    std::optional<QString> db;
    std::optional<QString> user;
    bool yes = false;
    bool no = false;
    std::optional<QString> answer; // --answer a,b,… as given
};
GlobalOptions takeGlobalOptions(CtlArgs& args);

// An answer typed or given: yes/y, no/n, cancel/c in any case; nothing for anything else.
std::optional<suite::Prompter::Answer> parseAnswer(const QString& word);
// The answers of --answer in order, the words that are none left out.
std::vector<suite::Prompter::Answer> parseAnswers(const QString& list);

} // namespace bom::app
