#pragma once

#include <QString>
#include <Qt>
#include <functional>
#include <gtest/gtest.h>

class QWidget;

namespace bom::test {

// A QApplication on the offscreen platform (unless another is asked for), made before any
// account makes a plain QCoreApplication; what the windows remember goes to a temporary folder.
void ensureGuiApplication();

// Registered by every window test program: the QApplication comes before any account makes a
// plain QCoreApplication.
class GuiEnvironment : public ::testing::Environment {
public:
    void SetUp() override { ensureGuiApplication(); }
};

// Runs `action` and names the first modal dialog it opened (closing it again), or "".
QString modalOpenedBy(const std::function<void()>& action);

// Runs `action`; every modal window it opens is handed to `respond` (once each), which deals
// with it; a modal `respond` leaves open is rejected.
void answerModals(const std::function<void()>& action,
                  const std::function<void(QWidget* modal)>& respond);

void press(QWidget* target, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

} // namespace bom::test
