#pragma once

#include "CtlArgs.h"
#include "entry/HeadlessSession.h"
#include "suite/Prompter.h"

#include <QJsonObject>
#include <memory>

namespace bom::app {

// Exit statuses every command keeps.
enum Exit { ExitOk = 0, ExitRefused = 1, ExitUsage = 2, ExitDatabase = 3 };

// Prints what the module would show: JSON lines with --json, else "[title] text" on stderr.
// Questions are answered from --yes/--no/--answer, then from the terminal, else declined.
class ConsolePrompter : public suite::ScriptedPrompter {
public:
    ConsolePrompter(bool json, bool interactive) : json_(json), interactive_(interactive) {}
    Answer ask(const QString& text, const QString& title, int style) override;
    void setScripted(bool scripted) { scripted_ = scripted; }

protected:
    void shown(const Prompt& prompt) override;

private:
    bool json_;
    bool interactive_;
    bool scripted_ = false;
};

// One bomctl run: global options, output, and (for every command but init) the session.
class CtlContext {
public:
    CtlContext(const QString& command, CtlArgs args);
    ~CtlContext();

    const QString& command() const { return command_; }
    // --db / BOM_DB and --user / BOM_USER, taken out of the words at start.
    const QString& dbUrl() const { return dbUrl_; }
    const QString& userId() const { return userId_; }
    const std::optional<QString>& userOption() const { return userOption_; }
    CtlArgs& args() { return args_; }
    bool json() const { return json_; }
    suite::Prompter& prompter() { return *prompter_; }

    // Starts the session as the window would; answers an exit status other than ExitOk when
    // it could not (the reason has been printed).
    int startSession();
    entry::Session& session() { return headless_->session(); }
    db::Database& db() { return *session().gConn; }

    // A named BOM that is gone, or that the operator's list does not show: the list's
    // "当前选中的…已被删除！", refused. The two are told apart nowhere.
    int bomGone(const QJsonObject& fields = {});
    int usage(const QString& message);
    int fail(int status, const QString& message, const QString& title = QStringLiteral("bomctl"));
    // Prints the closing result object in --json mode (with `fields`); nothing otherwise.
    int finish(int status, const QJsonObject& fields = {});
    void printLine(const QString& text); // a line of command output (stdout, text mode)

    // A --json result too long to hold: written on its one line as its items arrive, so memory
    // stays flat however many rows a list has. A failure met on the way goes into it as
    // "error" (no other line may break into it).
    void beginStreamedResult(const QJsonObject& fields, const QString& arrayName);
    void streamResultItem(const QJsonObject& item);
    int finishStreamedResult(int status, const QString& error = {});
    bool streamingResult() const { return streamedItems_ >= 0; }

    // The positional words after the global options, or a usage error already reported.
    std::optional<QStringList> positional(int min, int max);

private:
    QString command_;
    CtlArgs args_;
    bool json_ = false;
    QString dbUrl_;
    QString userId_;
    std::optional<QString> userOption_;
    std::unique_ptr<ConsolePrompter> prompter_;
    std::unique_ptr<entry::HeadlessSession> headless_;
    int streamedItems_ = -1; // -1: no streamed result open
};

} // namespace bom::app
