#include "QtPrompter.h"

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

} // namespace

void QtPrompter::info(const QString& text, const QString& title, int style) {
    QMessageBox box(iconOf(style), title, text, QMessageBox::Ok, parent_);
    box.exec();
}

Prompter::Answer QtPrompter::ask(const QString& text, const QString& title, int style) {
    QMessageBox::StandardButtons buttons = QMessageBox::Yes | QMessageBox::No;
    if (isThreeWay(style))
        buttons |= QMessageBox::Cancel;
    QMessageBox box(iconOf(style), title, text, buttons, parent_);
    switch (box.exec()) {
    case QMessageBox::Yes:
        return Answer::Yes;
    case QMessageBox::Cancel:
        return Answer::Cancel;
    default:
        return Answer::No;
    }
}

} // namespace bom::suite
