#include "WindowTest.h"

#include <QApplication>
#include <QDialog>
#include <QKeyEvent>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

namespace bom::test {
namespace {

class GuiEnvironment : public ::testing::Environment {
public:
    void SetUp() override { ensureGuiApplication(); }
};
[[maybe_unused]] const auto* const gui = ::testing::AddGlobalTestEnvironment(new GuiEnvironment);

} // namespace

void ensureGuiApplication() {
    if (QCoreApplication::instance())
        return;
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "window_tests";
    static char* argv[] = {name, nullptr};
    new QApplication(argc, argv);
    static QTemporaryDir settings;
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settings.path());
}

void answerModals(const std::function<void()>& action,
                  const std::function<void(QWidget* modal)>& respond) {
    QList<QPointer<QWidget>> seen;
    QTimer timer;
    timer.setInterval(5);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal)
            return;
        if (!seen.contains(modal)) {
            seen.append(modal);
            respond(modal);
            return;
        }
        // Answered, yet still open.
        if (auto* dialog = qobject_cast<QDialog*>(modal))
            dialog->reject();
        else
            modal->close();
    });
    timer.start();
    action();
}

QString modalOpenedBy(const std::function<void()>& action) {
    QString opened;
    answerModals(action, [&](QWidget* modal) {
        if (opened.isEmpty())
            opened = QString::fromLatin1(modal->metaObject()->className());
        if (auto* dialog = qobject_cast<QDialog*>(modal))
            dialog->reject();
        else
            modal->close();
    });
    return opened;
}

void press(QWidget* target, int key, Qt::KeyboardModifiers modifiers) {
    QKeyEvent event(QEvent::KeyPress, key, modifiers);
    QCoreApplication::sendEvent(target, &event);
}

void clickButton(QWidget* parent, const char* button) {
    auto* found = parent->findChild<QPushButton*>(QLatin1String(button));
    ASSERT_TRUE(found) << button;
    found->click();
}

} // namespace bom::test
