#include "CtlContext.h"

#include "CtlLine.h"

#include "db/DbError.h"
#include "entry/Common.h"
#include "entry/DisplayTerms.h"
#include "entry/Session.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>
#include <cstdio>
#include <unistd.h>

namespace bom::app {
namespace {

void writeBytes(const QByteArray& bytes) {
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

QByteArray compact(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

void writeJson(const QJsonObject& object) {
    writeBytes(compact(object) + '\n');
    std::fflush(stdout);
}

void writeErr(const QString& text) {
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fputc('\n', stderr);
}

} // namespace

suite::Prompter::Answer ConsolePrompter::ask(const QString& text, const QString& title, int style) {
    if (scripted_ || !interactive_)
        return ScriptedPrompter::ask(text, title, style);
    writeErr(
        QStringLiteral("[%1] %2 (%3)")
            .arg(title, text, isThreeWay(style) ? QStringLiteral("y/n/c") : QStringLiteral("y/n")));
    QTextStream in(stdin);
    const auto answer = parseAnswer(in.readLine());
    queueAnswer(answer.value_or(declined(style)));
    return ScriptedPrompter::ask(text, title, style);
}

void ConsolePrompter::shown(const Prompt& prompt) {
    if (json_) {
        QJsonObject o{{"type", prompt.question ? "question" : "message"},
                      {"title", prompt.title},
                      {"text", prompt.text},
                      {"style", prompt.style}};
        if (prompt.question)
            o.insert("answer", answerName(prompt.answer));
        writeJson(o);
    } else if (!prompt.question || scripted_ || !interactive_) {
        writeErr(
            QStringLiteral("[%1] %2").arg(prompt.title, prompt.text) +
            (prompt.question ? QStringLiteral(" -> ") + answerName(prompt.answer) : QString()));
    }
}

CtlContext::CtlContext(const QString& command, CtlArgs args)
    : command_(command), args_(std::move(args)) {
    const GlobalOptions global = takeGlobalOptions(args_);
    json_ = global.json;
    dbUrl_ = global.db.value_or(qEnvironmentVariable("BOM_DB"));
    userOption_ = global.user;
    userId_ = userOption_.value_or(qEnvironmentVariable("BOM_USER"));
    prompter_ = std::make_unique<ConsolePrompter>(json_, isatty(STDIN_FILENO) != 0);
    if (global.yes || global.no || global.answer) {
        prompter_->setScripted(true);
        if (global.answer)
            for (const suite::Prompter::Answer a : parseAnswers(*global.answer))
                prompter_->queueAnswer(a);
        if (global.yes || global.no)
            prompter_->setFallbackAnswer(global.yes ? suite::Prompter::Answer::Yes
                                                    : suite::Prompter::Answer::No);
    }
}

CtlContext::~CtlContext() = default;

std::optional<QStringList> CtlContext::positional(int min, int max) {
    if (args_.missingValue()) {
        usage(QStringLiteral("选项 %1 缺少取值").arg(args_.missingName()));
        return std::nullopt;
    }
    QString error;
    QStringList words = args_.positional(&error);
    if (!error.isEmpty()) {
        usage(error);
        return std::nullopt;
    }
    if (words.size() < min || (max >= 0 && words.size() > max)) {
        usage(QStringLiteral("参数个数不对"));
        return std::nullopt;
    }
    return words;
}

int CtlContext::startSession() {
    if (dbUrl_.isEmpty())
        return usage(QStringLiteral("需要账套：--db URL 或环境变量 BOM_DB"));
    if (userId_.isEmpty())
        return usage(QStringLiteral("需要操作员：--user ID 或环境变量 BOM_USER"));
    headless_ = std::make_unique<entry::HeadlessSession>(*prompter_);
    QString error;
    switch (headless_->start(dbUrl_, userId_, qEnvironmentVariable("BOM_PASSWORD"), &error)) {
    case entry::HeadlessSession::Outcome::Running:
        break;
    case entry::HeadlessSession::Outcome::SignInRefused:
        return fail(ExitRefused, error, QStringLiteral("登录"));
    case entry::HeadlessSession::Outcome::Unreachable:
        return error.isEmpty() ? finish(ExitDatabase)
                               : fail(ExitDatabase, error, QStringLiteral("登录"));
    case entry::HeadlessSession::Outcome::Refused:
        // The window would just not open; a shell user is told why.
        if (prompter_->prompts().empty())
            prompter_->ShowInfo(
                QStringLiteral("操作员[%1]没有“物料清单”功能的权限！").arg(userId_));
        return finish(ExitRefused);
    }
    try {
        entry::Common::LoadPrecision(session());
    } catch (const db::DbError& e) {
        return fail(ExitDatabase, e.message());
    }
    return ExitOk;
}

int CtlContext::bomGone(const QJsonObject& fields) {
    session().ShowInfo(QStringLiteral("当前选中的") + entry::DisplayTerms::load(db()).parent +
                       QStringLiteral("已被删除！"));
    return finish(ExitRefused, fields);
}

int CtlContext::usage(const QString& message) {
    return fail(ExitUsage, message + QStringLiteral("\n用法见 bomctl help"),
                QStringLiteral("用法"));
}

int CtlContext::fail(int status, const QString& message, const QString& title) {
    prompter_->info(message, title, 16);
    return finish(status);
}

int CtlContext::finish(int status, const QJsonObject& fields) {
    if (json_) {
        QJsonObject result = fields;
        result.insert("type", "result");
        result.insert("ok", status == ExitOk);
        result.insert("status", status);
        writeJson(result);
    }
    return status;
}

void CtlContext::printLine(const QString& text) {
    if (json_)
        return;
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fputc('\n', stdout);
}

void CtlContext::beginStreamedResult(const QJsonObject& fields, const QString& arrayName) {
    QByteArray head = compact(fields);
    head.chop(1); // the closing brace comes with finishStreamedResult
    if (!fields.isEmpty())
        head += ',';
    const QByteArray name = QJsonDocument(QJsonArray{arrayName}).toJson(QJsonDocument::Compact);
    writeBytes(head + name.mid(1).chopped(1) + ":[");
    streamedItems_ = 0;
}

void CtlContext::streamResultItem(const QJsonObject& item) {
    writeBytes((streamedItems_++ ? QByteArray(",") : QByteArray()) + compact(item));
    // The first page reaches a reader at once, later ones in larger blocks.
    if (streamedItems_ == 50 || streamedItems_ % 1000 == 0)
        std::fflush(stdout);
}

int CtlContext::finishStreamedResult(int status, const QString& error) {
    QJsonObject tail{{"type", "result"}, {"ok", status == ExitOk}, {"status", status}};
    if (!error.isEmpty())
        tail.insert("error", error);
    writeBytes("]," + compact(tail).mid(1) + '\n');
    std::fflush(stdout);
    streamedItems_ = -1;
    return status;
}

} // namespace bom::app
