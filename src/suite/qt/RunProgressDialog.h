#pragma once

#include <QProgressDialog>
#include <functional>

namespace bom::suite {

// The progress of a long run over many BOMs, with a Cancel button; it shows only when the run
// takes a while. The run reports through callback(), whose answer is false once Cancel was
// pressed, so the run can stop and roll back; its last step closes the dialog.
class RunProgressDialog : public QProgressDialog {
public:
    RunProgressDialog(const QString& text, const QString& cancel, QWidget* parent);

    // (done, total) -> whether to go on.
    std::function<bool(int, int)> callback();
};

} // namespace bom::suite
