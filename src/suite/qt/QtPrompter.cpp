#include "QtPrompter.h"

#include <QApplication>
#include <QMessageBox>

namespace bom::suite {
namespace {

QMessageBox::Icon iconOf(int style) {
    switch (style & 0xF0) {
    case 16:
        return QMessageBox::Critical;
    case 32:
        return QMessageBox::Question;
    case 48:
        return QMessageBox::Warning;
    case 64:
        return QMessageBox::Information;
    default:
        return QMessageBox::NoIcon;
    }
}

// A box waits for the operator, so the busy cursor of the work around it gives way meanwhile.
int run(QMessageBox& box) {
    const bool busy = QApplication::overrideCursor() != nullptr;
    if (busy)
        QApplication::setOverrideCursor(Qt::ArrowCursor);
    const int answer = box.exec();
    if (busy)
        QApplication::restoreOverrideCursor();
    return answer;
}

} // namespace

void QtPrompter::info(const QString& text, const QString& title, int style) {
    QMessageBox box(iconOf(style), title, text, QMessageBox::Ok, parent_);
    run(box);
}

QMessageBox::StandardButton QtPrompter::defaultButton(int style) {
    // The suite's numbers name the default button (256 the second, 512 the third); a question
    // with the exclamation mark asks before something is destroyed and defaults to No.
    const bool threeWay = isThreeWay(style);
    if (style & 512)
        return threeWay ? QMessageBox::Cancel : QMessageBox::No;
    if ((style & 256) || (style & 0xF0) == 48)
        return QMessageBox::No;
    return QMessageBox::Yes;
}

Prompter::Answer QtPrompter::ask(const QString& text, const QString& title, int style) {
    QMessageBox::StandardButtons buttons = QMessageBox::Yes | QMessageBox::No;
    if (isThreeWay(style))
        buttons |= QMessageBox::Cancel;
    QMessageBox box(iconOf(style), title, text, buttons, parent_);
    box.setDefaultButton(defaultButton(style));
    box.setEscapeButton(isThreeWay(style) ? QMessageBox::Cancel : QMessageBox::No);
    switch (run(box)) {
    case QMessageBox::Yes:
        return Answer::Yes;
    case QMessageBox::Cancel:
        return Answer::Cancel;
    default:
        return Answer::No;
    }
}

} // namespace bom::suite
