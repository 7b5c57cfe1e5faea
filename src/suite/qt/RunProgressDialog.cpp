#include "RunProgressDialog.h"

#include <QCoreApplication>

namespace bom::suite {

RunProgressDialog::RunProgressDialog(const QString& text, const QString& cancel, QWidget* parent)
    : QProgressDialog(text, cancel, 0, 1, parent) {
    setWindowModality(Qt::WindowModal);
    setMinimumDuration(500);
    setAutoReset(false);
}

std::function<bool(int, int)> RunProgressDialog::callback() {
    return [this](int done, int total) {
        setMaximum(total);
        setValue(done);
        QCoreApplication::processEvents();
        const bool goOn = !wasCanceled();
        // The run's own messages follow its last step: the dialog must not stand over them.
        if (goOn && done >= total)
            reset();
        return goOn;
    };
}

} // namespace bom::suite
