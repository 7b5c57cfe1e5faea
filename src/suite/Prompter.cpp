#include "Prompter.h"

#include <QStringList>
#include <utility>

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

void PrompterRelay::info(const QString& text, const QString& title, int style) {
    if (collected_)
        collected_->push_back({text, title, style});
    else
        target_.info(text, title, style);
}

Prompter::Answer PrompterRelay::ask(const QString& text, const QString& title, int style) {
    return target_.ask(text, title, style);
}

PrompterRelay::Collecting::Collecting(PrompterRelay& relay)
    : relay_(relay), outer_(relay.collected_) {
    relay_.collected_ = &messages_;
}

PrompterRelay::Collecting::~Collecting() {
    relay_.collected_ = outer_;
}

std::vector<PrompterRelay::Message> PrompterRelay::Collecting::take() {
    return std::exchange(messages_, {});
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
