#pragma once

#include <QDialog>

class QListWidget;
class QPushButton;

namespace bom::entry {
class Session;
}

namespace bom::card {

// The files attached to one BOM card: add, open, save as and remove them. Every failure is
// shown; the list is read again after each change.
class AttachmentsDialog : public QDialog {
    Q_OBJECT
public:
    AttachmentsDialog(entry::Session& session, const QString& headerId, QWidget* parent = nullptr);

    QListWidget* files() const { return files_; }
    // Each answers whether it did its work.
    bool addFiles(const QStringList& paths);
    bool openCurrent();
    bool saveCurrentAs(const QString& path); // says where it went
    bool removeCurrent();

private:
    void reload();
    qlonglong currentId() const;
    QString currentName() const;
    void failed(const QString& message);

    entry::Session& session_;
    QString headerId_;
    QListWidget* files_;
    QPushButton* open_;
    QPushButton* saveAs_;
    QPushButton* remove_;
};

} // namespace bom::card
