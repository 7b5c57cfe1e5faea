#pragma once

#include "suite/ColumnSettings.h"

#include <QDialog>
#include <vector>

class QListWidget;

namespace bom::entry {
class Session;
}

namespace bom::list {

// The operator's columns of one list ("栏目设置"): which are shown and in what order. OK saves
// them as the operator's own setting; "恢复默认" returns to the account's default.
class ColumnSettingsDialog : public QDialog {
    Q_OBJECT
public:
    ColumnSettingsDialog(entry::Session& session, const QString& key, QWidget* parent = nullptr);

    // Whether the stored setting changed (saved or reset), so the list must be reloaded.
    bool changed() const { return changed_; }
    // The columns as the dialog shows them now.
    std::vector<suite::ColumnSetting> columns() const;

    void accept() override;
    void moveCurrent(int by);
    void restoreDefault();

private:
    void load();

    entry::Session& session_;
    QString key_;
    std::vector<suite::ColumnSetting> loaded_;
    QListWidget* list_ = nullptr;
    bool changed_ = false;
};

} // namespace bom::list
