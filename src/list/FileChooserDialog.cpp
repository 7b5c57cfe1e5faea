#include "FileChooserDialog.h"

#include <QAbstractFileIconProvider>
#include <QApplication>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QIcon>
#include <QMimeDatabase>
#include <QRegularExpression>

namespace bom::list {
namespace {

// Type and icon of a file from its name only. Qt's own providers ask the MIME database, which
// reads a file whose name does not settle its type (a ".db" file, a "-wal" file), and the
// platform theme's, which may do the same.
class NameOnlyIconProvider final : public QAbstractFileIconProvider {
public:
    using QAbstractFileIconProvider::icon;

    QIcon icon(const QFileInfo& info) const override {
        if (!info.isFile())
            return icon(info.isDir() ? Folder : File);
        const QIcon themed = QIcon::fromTheme(mimeOf(info).iconName());
        return themed.isNull() ? icon(File) : themed;
    }

    QString type(const QFileInfo& info) const override {
        // Folders, drives and links are told apart without reading anything.
        if (!info.isFile())
            return QAbstractFileIconProvider::type(info);
        const QMimeType mime = mimeOf(info);
        return mime.comment().isEmpty() ? mime.name() : mime.comment();
    }

private:
    QMimeType mimeOf(const QFileInfo& info) const {
        return mimes_.mimeTypeForFile(info.fileName(), QMimeDatabase::MatchExtension);
    }
    QMimeDatabase mimes_;
};

class DialogGuard final : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        // A dialog's model lists its folder once the event loop runs again; a window being
        // shown is guarded before that.
        if (event->type() == QEvent::Show && watched->isWidgetType() &&
            static_cast<QWidget*>(watched)->isWindow())
            FileChooserDialog::guardFileModels(watched);
        return QObject::eventFilter(watched, event);
    }
};

// "CSV 文件 (*.csv)" → "csv".
QString suffixOf(const QString& nameFilter) {
    static const QRegularExpression pattern(QStringLiteral("\\*\\.(\\w+)"));
    return pattern.match(nameFilter).captured(1);
}

} // namespace

FileChooserDialog::FileChooserDialog(QWidget* parent, const QString& caption,
                                     const QString& directory, const QStringList& nameFilters)
    : QFileDialog(parent, caption) {
    // Before anything is listed: Qt's own dialog, with the provider that opens nothing.
    setOption(QFileDialog::DontUseNativeDialog, true);
    setIconProvider(nameOnlyIcons());
    guardFileModels(this);
    setNameFilters(nameFilters);
    setDefaultSuffix(suffixOf(nameFilters.value(0)));
    connect(this, &QFileDialog::filterSelected, this,
            [this](const QString& filter) { setDefaultSuffix(suffixOf(filter)); });
    setDirectory(directory);
}

QString FileChooserDialog::saveFileName(QWidget* parent, const QString& caption,
                                        const QString& file, const QStringList& nameFilters,
                                        QString* selectedFilter) {
    guardApplication(); // in a host that did not, before the first dialog is made
    const QFileInfo info(file);
    FileChooserDialog dialog(parent, caption, info.absolutePath(), nameFilters);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    if (selectedFilter && nameFilters.contains(*selectedFilter)) {
        dialog.selectNameFilter(*selectedFilter);
        dialog.setDefaultSuffix(suffixOf(*selectedFilter));
    }
    dialog.selectFile(info.fileName());
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    if (selectedFilter)
        *selectedFilter = dialog.selectedNameFilter();
    return dialog.selectedFiles().constFirst();
}

QAbstractFileIconProvider* FileChooserDialog::nameOnlyIcons() {
    static NameOnlyIconProvider provider;
    return &provider;
}

void FileChooserDialog::guardFileModels(QObject* root) {
    if (!root)
        return;
    QAbstractFileIconProvider* provider = nameOnlyIcons();
    if (auto* dialog = qobject_cast<QFileDialog*>(root);
        dialog && dialog->iconProvider() != provider)
        dialog->setIconProvider(provider);
    for (QFileSystemModel* model : root->findChildren<QFileSystemModel*>())
        if (model->iconProvider() != provider)
            model->setIconProvider(provider);
}

void FileChooserDialog::guardApplication() {
    QCoreApplication* app = QCoreApplication::instance();
    static const char* const kGuarded = "bomFileDialogsGuarded";
    if (!app || app->property(kGuarded).toBool())
        return;
    app->setProperty(kGuarded, true);
    // A platform dialog lists folders with the platform's own file type detection, which reads
    // files; Qt's dialogs are guarded instead.
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs, true);
    app->installEventFilter(new DialogGuard(app));
}

} // namespace bom::list
