#pragma once

#include <QDialog>

class QTableWidget;

namespace bom::entry {
class Session;
}

namespace bom::batch {

// 撤销批量操作: the runs over many BOMs, newest first; 撤销 puts every BOM of the chosen run
// back as it was, after a question, unless one of them changed since (those are named).
class BatchRunsDialog : public QDialog {
    Q_OBJECT
public:
    explicit BatchRunsDialog(entry::Session& session, QWidget* parent = nullptr);

    QTableWidget* runs() const { return runs_; }
    // Re-reads the runs; false when they could not be read (its message shown).
    bool reload();
    // Undoes the run of the current row; true when it was undone.
    bool undoCurrent();
    // Whether any run was undone while the window was open.
    bool undoneAny() const { return undoneAny_; }

private:
    entry::Session& session_;
    QTableWidget* runs_ = nullptr;
    bool undoneAny_ = false;
};

} // namespace bom::batch
