#pragma once

#include "BatchEditor.h"

#include <QDialog>
#include <QHash>
#include <optional>

class QComboBox;
class QGridLayout;
class QLabel;
class QLineEdit;
class QPushButton;

namespace bom::entry {
class Session;
}

namespace bom::batch {

// The batch editor's window (frmBatch): one editor per line column the operation writes, each
// checked by BatchEditor as it is left (a refusal shows why, clears the editor and keeps the
// focus), browse buttons for the reference lists, a calculator drop-down on numeric editors,
// 预览 to see what the run would do, 保存 to run it under a progress dialog whose Cancel rolls
// it back, 退出 to leave without writing.
class BatchDialog : public QDialog {
    Q_OBJECT
public:
    // The list's hand-over: the operation ("batchadd", "batchedit", "batchrepl", "batchdel"),
    // the selected BOMs and the chosen component line (none for add). Delete runs at once
    // without a form. True when a run was written.
    static bool run(entry::Session& session, const QString& operation, const QStringList& boms,
                    const entry::BomIdentity& component, QWidget* parent);

    // `editor` has been through InitBatch.
    BatchDialog(entry::Session& session, BatchEditor& editor, QWidget* parent = nullptr);

    // The editor of a column (BatchFields names), a line edit or a combo box; null when the
    // operation has none.
    QLineEdit* lineEditor(const QString& name) const;
    QComboBox* choiceEditor(const QString& name) const;

    // 预览: the plan in a window; false when a check stopped it.
    bool preview();
    // 保存: the run; the form closes after a written run and stays open otherwise.
    bool save();
    const std::optional<BatchEditor::Result>& result() const { return result_; }

private:
    void buildEditors();
    void addRow(const QString& name, const QString& caption, QWidget* editor,
                QPushButton* button = nullptr);
    void addText(const QString& name, const QString& caption, bool browse);
    void addChoice(const QString& name, const QString& caption, const QStringList& choices);
    void addReadOnly(const QString& name, const QString& caption);
    QPushButton* browseButton(const QString& name);
    QPushButton* calculatorButton(const QString& name);
    // An editor left: its value through the check; refused, it is cleared and keeps focus.
    void leave(const QString& name);
    void browse(const QString& name);
    // Every editor shows what the editor logic holds now (an item brings its warehouse …).
    void refresh();
    void showItem();

    entry::Session& session_;
    BatchEditor& editor_;
    QGridLayout* grid_ = nullptr;
    QHash<QString, QLineEdit*> texts_;
    QHash<QString, QComboBox*> choices_;
    QLabel* item_ = nullptr;
    bool checking_ = false;
    std::optional<BatchEditor::Result> result_;
};

} // namespace bom::batch
