#include "ColumnSettingsDialog.h"

#include "db/DbError.h"
#include "entry/Session.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace bom::list {

ColumnSettingsDialog::ColumnSettingsDialog(entry::Session& session, const QString& key,
                                           QWidget* parent)
    : QDialog(parent), session_(session), key_(key) {
    setWindowTitle(QStringLiteral("栏目设置"));
    auto* layout = new QVBoxLayout(this);
    auto* body = new QHBoxLayout;
    list_ = new QListWidget(this);
    body->addWidget(list_, 1);
    auto* side = new QVBoxLayout;
    auto* up = new QPushButton(QStringLiteral("上移"), this);
    auto* down = new QPushButton(QStringLiteral("下移"), this);
    auto* reset = new QPushButton(QStringLiteral("恢复默认"), this);
    connect(up, &QPushButton::clicked, this, [this] { moveCurrent(-1); });
    connect(down, &QPushButton::clicked, this, [this] { moveCurrent(1); });
    connect(reset, &QPushButton::clicked, this, &ColumnSettingsDialog::restoreDefault);
    side->addWidget(up);
    side->addWidget(down);
    side->addStretch();
    side->addWidget(reset);
    body->addLayout(side);
    layout->addLayout(body);

    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(QStringLiteral("确定"), QDialogButtonBox::AcceptRole);
    buttons->addButton(QStringLiteral("取消"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &ColumnSettingsDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    load();
    resize(360, 420);
}

void ColumnSettingsDialog::load() {
    list_->clear();
    loaded_.clear();
    try {
        loaded_ = session_.gColSet->GetColset(key_);
    } catch (const db::DbError& e) {
        session_.ShowInfo(e.message());
    }
    for (std::size_t i = 0; i < loaded_.size(); ++i) {
        const suite::ColumnSetting& c = loaded_[i];
        auto* item = new QListWidgetItem(c.caption.isEmpty() ? c.fieldName : c.caption, list_);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(c.visible ? Qt::Checked : Qt::Unchecked);
        item->setData(Qt::UserRole, int(i));
    }
    if (list_->count() > 0)
        list_->setCurrentRow(0);
}

std::vector<suite::ColumnSetting> ColumnSettingsDialog::columns() const {
    std::vector<suite::ColumnSetting> out;
    for (int row = 0; row < list_->count(); ++row) {
        const QListWidgetItem* item = list_->item(row);
        suite::ColumnSetting c = loaded_.at(item->data(Qt::UserRole).toInt());
        c.visible = item->checkState() == Qt::Checked;
        out.push_back(c);
    }
    return out;
}

void ColumnSettingsDialog::moveCurrent(int by) {
    const int row = list_->currentRow();
    const int to = row + by;
    if (row < 0 || to < 0 || to >= list_->count())
        return;
    QListWidgetItem* item = list_->takeItem(row);
    list_->insertItem(to, item);
    list_->setCurrentRow(to);
}

void ColumnSettingsDialog::restoreDefault() {
    try {
        session_.gColSet->Reset(key_);
        changed_ = true;
    } catch (const db::DbError& e) {
        session_.ShowInfo(e.message());
    }
    load();
}

void ColumnSettingsDialog::accept() {
    QString error;
    if (!session_.gColSet->Save(key_, columns(), &error)) {
        session_.ShowInfo(error);
        return;
    }
    changed_ = true;
    QDialog::accept();
}

} // namespace bom::list
