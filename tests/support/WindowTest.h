#pragma once

#include <QString>
#include <Qt>
#include <functional>

class QWidget;

namespace bom::test {

// A QApplication on the offscreen platform (unless another is asked for), made before any
// account makes a plain QCoreApplication; what the windows remember goes to a temporary folder.
// Every window test binary has it made before its first test.
void ensureGuiApplication();

// Runs `action` and names the first modal dialog it opened (closing it again), or "".
QString modalOpenedBy(const std::function<void()>& action);

// Runs `action`; every modal window it opens is handed to `respond` (once each), which deals
// with it; a modal `respond` leaves open is rejected.
void answerModals(const std::function<void()>& action,
                  const std::function<void(QWidget* modal)>& respond);

void press(QWidget* target, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

// Clicks the push button named `button` among `parent`'s children; a test failure if none.
void clickButton(QWidget* parent, const char* button);

} // namespace bom::test
