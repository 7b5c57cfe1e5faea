#include "AttachmentsDialog.h"

#include "CardTexts.h"
#include "CardWindowTexts.h"
#include "bomservice/CardAttachments.h"
#include "db/DbError.h"
#include "entry/Session.h"
#include "list/FileChooserDialog.h"
#include "suite/Prompter.h"

#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QListWidget>
#include <QLocale>
#include <QPushButton>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUrl>
#include <QVBoxLayout>

namespace bom::card {
namespace {

const QString kAllFiles = QStringLiteral("所有文件 (*)");

} // namespace

AttachmentsDialog::AttachmentsDialog(entry::Session& session, const QString& headerId,
                                     QWidget* parent)
    : QDialog(parent), session_(session), headerId_(headerId) {
    setWindowTitle(CardWindowTexts::attachments());
    auto* layout = new QHBoxLayout(this);
    files_ = new QListWidget(this);
    layout->addWidget(files_, 1);
    auto* buttons = new QDialogButtonBox(Qt::Vertical, this);
    auto* add = buttons->addButton(QStringLiteral("添加"), QDialogButtonBox::ActionRole);
    open_ = buttons->addButton(QStringLiteral("打开"), QDialogButtonBox::ActionRole);
    saveAs_ = buttons->addButton(QStringLiteral("另存为"), QDialogButtonBox::ActionRole);
    remove_ = buttons->addButton(QStringLiteral("删除"), QDialogButtonBox::ActionRole);
    buttons->addButton(QDialogButtonBox::Close);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    connect(add, &QPushButton::clicked, this, [this] {
        list::FileChooserDialog dialog(
            this, QStringLiteral("添加附件"),
            QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation), {kAllFiles});
        dialog.setAcceptMode(QFileDialog::AcceptOpen);
        dialog.setFileMode(QFileDialog::ExistingFiles);
        if (dialog.exec() == QDialog::Accepted)
            addFiles(dialog.selectedFiles());
    });
    connect(open_, &QPushButton::clicked, this, [this] { openCurrent(); });
    connect(saveAs_, &QPushButton::clicked, this, [this] {
        const QString path = list::FileChooserDialog::outputFileName(
            this, session_, QStringLiteral("另存为"), currentName(), {kAllFiles});
        if (!path.isEmpty())
            saveCurrentAs(path);
    });
    connect(remove_, &QPushButton::clicked, this, [this] { removeCurrent(); });
    connect(files_, &QListWidget::currentRowChanged, this, [this](int row) {
        for (QPushButton* button : {open_, saveAs_, remove_})
            button->setEnabled(row >= 0);
    });
    connect(files_, &QListWidget::itemDoubleClicked, this, [this] { openCurrent(); });
    reload();
    resize(520, 320);
}

void AttachmentsDialog::failed(const QString& message) {
    session_.prompter.info(message, CardTexts::title(), 16);
}

void AttachmentsDialog::reload() {
    const qlonglong current = currentId();
    files_->clear();
    try {
        for (const auto& file : bomservice::CardAttachments(session_).list(headerId_)) {
            auto* item = new QListWidgetItem(
                QStringLiteral("%1  (%2)").arg(file.name, QLocale().formattedDataSize(file.size)),
                files_);
            item->setData(Qt::UserRole, file.id);
            item->setData(Qt::UserRole + 1, file.name);
            if (file.id == current)
                files_->setCurrentItem(item);
        }
    } catch (const db::DbError& e) {
        failed(e.message());
    }
    if (!files_->currentItem() && files_->count() > 0)
        files_->setCurrentRow(0);
    for (QPushButton* button : {open_, saveAs_, remove_})
        button->setEnabled(files_->currentItem() != nullptr);
}

qlonglong AttachmentsDialog::currentId() const {
    const QListWidgetItem* item = files_->currentItem();
    return item ? item->data(Qt::UserRole).toLongLong() : 0;
}

QString AttachmentsDialog::currentName() const {
    const QListWidgetItem* item = files_->currentItem();
    return item ? item->data(Qt::UserRole + 1).toString() : QString();
}

bool AttachmentsDialog::addFiles(const QStringList& paths) {
    bool added = false;
    for (const QString& path : paths) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            failed(CardWindowTexts::readFailed() + QDir::toNativeSeparators(path) +
                   QStringLiteral("\n") + file.errorString());
            break;
        }
        try {
            bomservice::CardAttachments(session_).add(headerId_, QFileInfo(path).fileName(),
                                                      file.readAll());
            added = true;
        } catch (const db::DbError& e) {
            failed(e.message());
            break;
        }
    }
    reload();
    return added;
}

bool AttachmentsDialog::openCurrent() {
    const qlonglong id = currentId();
    if (id == 0)
        return false;
    try {
        const QByteArray content = bomservice::CardAttachments(session_).content(id);
        // A copy of its own per attachment, named as attached, for the program that opens it.
        const QString folder = QDir(QStandardPaths::writableLocation(QStandardPaths::TempLocation))
                                   .filePath(QStringLiteral("bom-attachments/%1").arg(id));
        const QString path = QDir(folder).filePath(currentName());
        QSaveFile file(path);
        if (!QDir().mkpath(folder) || !file.open(QIODevice::WriteOnly) ||
            file.write(content) != content.size() || !file.commit()) {
            failed(CardWindowTexts::writeFailed() + QDir::toNativeSeparators(path));
            return false;
        }
        if (!QDesktopServices::openUrl(QUrl::fromLocalFile(path))) {
            failed(CardWindowTexts::openFailed() + QDir::toNativeSeparators(path));
            return false;
        }
        return true;
    } catch (const db::DbError& e) {
        failed(e.message());
        return false;
    }
}

bool AttachmentsDialog::saveCurrentAs(const QString& path) {
    const qlonglong id = currentId();
    if (id == 0)
        return false;
    try {
        const QByteArray content = bomservice::CardAttachments(session_).content(id);
        return list::FileChooserDialog::writeOutput(session_, path, [&](QIODevice& out, QString*) {
            return out.write(content) == content.size();
        });
    } catch (const db::DbError& e) {
        failed(e.message());
        return false;
    }
}

bool AttachmentsDialog::removeCurrent() {
    const qlonglong id = currentId();
    if (id == 0 || session_.prompter.ask(CardWindowTexts::removeAttachment(), CardTexts::title(),
                                         36) != suite::Prompter::Answer::Yes)
        return false;
    bool removed = false;
    try {
        removed = bomservice::CardAttachments(session_).remove(id);
        if (!removed)
            session_.ShowInfo(CardWindowTexts::attachmentGone());
    } catch (const db::DbError& e) {
        failed(e.message());
    }
    reload();
    return removed;
}

} // namespace bom::card
