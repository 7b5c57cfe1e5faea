#pragma once

#include <QString>
#include <deque>
#include <optional>
#include <vector>

namespace bom::suite {

// Every message box and question of the module goes through a Prompter. Styles are the
// suite's numbers: 0, 16, 48, 64 are OK boxes; 4, 36, 52 Yes/No; 35 Yes/No/Cancel.
class Prompter {
public:
    enum class Answer { Ok, Yes, No, Cancel };

    virtual ~Prompter() = default;
    virtual void info(const QString& text, const QString& title, int style) = 0;
    virtual Answer ask(const QString& text, const QString& title, int style) = 0;

    void ShowInfo(const QString& text) { info(text, QStringLiteral("提示信息"), 64); }

    static bool isThreeWay(int style) { return (style & 0x0F) == 3; }
    static bool isQuestion(int style) { return (style & 0x0F) == 3 || (style & 0x0F) == 4; }
    // What a question gets when nobody is there to answer it.
    static Answer declined(int style) { return isThreeWay(style) ? Answer::Cancel : Answer::No; }
    static QString answerName(Answer answer);
};

// Records every prompt and answers questions from a queue; an empty queue declines.
// Used by tests and by bomctl.
class ScriptedPrompter : public Prompter {
public:
    struct Prompt {
        bool question = false;
        QString text;
        QString title;
        int style = 0;
        Answer answer = Answer::Ok;
    };

    void queueAnswer(Answer answer) { answers_.push_back(answer); }
    // What a question gets once the queue is empty (declined when unset).
    void setFallbackAnswer(std::optional<Answer> answer) { fallback_ = answer; }
    void info(const QString& text, const QString& title, int style) override;
    Answer ask(const QString& text, const QString& title, int style) override;

    const std::vector<Prompt>& prompts() const { return prompts_; }
    QStringList texts() const;
    void clear() { prompts_.clear(); }

protected:
    // Hook for a subclass that shows what was recorded (bomctl prints it).
    virtual void shown(const Prompt&) {}

private:
    std::deque<Answer> answers_;
    std::optional<Answer> fallback_;
    std::vector<Prompt> prompts_;
};

} // namespace bom::suite
