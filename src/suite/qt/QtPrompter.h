#pragma once

#include "suite/Prompter.h"

#include <QMessageBox>

class QWidget;

namespace bom::suite {

// Message boxes of the desktop program.
class QtPrompter : public Prompter {
public:
    void info(const QString& text, const QString& title, int style) override;
    Answer ask(const QString& text, const QString& title, int style) override;
    void setParent(QWidget* parent) { parent_ = parent; }
    QWidget* parent() const { return parent_; }

    // The button Enter presses for a question of `style`.
    static QMessageBox::StandardButton defaultButton(int style);

private:
    QWidget* parent_ = nullptr;
};

} // namespace bom::suite
