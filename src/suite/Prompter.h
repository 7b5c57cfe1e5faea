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

// Passes every prompt on to the prompter it was made with, except while a Collecting scope
// lives: then messages are kept instead of shown, so that work checking many rows at once can
// report every refusal together (questions still reach the operator).
class PrompterRelay : public Prompter {
public:
    struct Message {
        QString text;
        QString title;
        int style = 0;
    };
    explicit PrompterRelay(Prompter& target) : target_(target) {}
    void info(const QString& text, const QString& title, int style) override;
    Answer ask(const QString& text, const QString& title, int style) override;
    // The prompter that shows what is not collected.
    Prompter& target() const { return target_; }

    class Collecting {
    public:
        explicit Collecting(PrompterRelay& relay);
        ~Collecting();
        Collecting(const Collecting&) = delete;
        Collecting& operator=(const Collecting&) = delete;
        // The messages kept since the scope began or since the last take.
        std::vector<Message> take();

    private:
        PrompterRelay& relay_;
        std::vector<Message>* outer_;
        std::vector<Message> messages_;
    };

private:
    Prompter& target_;
    std::vector<Message>* collected_ = nullptr;
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
