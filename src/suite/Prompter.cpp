#include "Prompter.h"

#include <QStringList>

namespace bom::suite {

QString Prompter::answerName(Answer answer) {
    switch (answer) {
    case Answer::Ok:
        return QStringLiteral("ok");
    case Answer::Yes:
        return QStringLiteral("yes");
    case Answer::No:
        return QStringLiteral("no");
    case Answer::Cancel:
        return QStringLiteral("cancel");
    }
    return {};
}

void ScriptedPrompter::info(const QString& text, const QString& title, int style) {
    prompts_.push_back({false, text, title, style, Answer::Ok});
    shown(prompts_.back());
}

Prompter::Answer ScriptedPrompter::ask(const QString& text, const QString& title, int style) {
    Answer answer = fallback_.value_or(declined(style));
    if (!answers_.empty()) {
        answer = answers_.front();
        answers_.pop_front();
    }
    prompts_.push_back({true, text, title, style, answer});
    shown(prompts_.back());
    return answer;
}

QStringList ScriptedPrompter::texts() const {
    QStringList out;
    for (const Prompt& p : prompts_)
        out << p.text;
    return out;
}

} // namespace bom::suite
