#include "FileChooserDialog.h"

#include "db/DbUrl.h"
#include "entry/Session.h"

#include <QAbstractFileIconProvider>
#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QIcon>
#include <QMimeDatabase>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSettings>
#include <QStandardPaths>
#include <memory>

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

const QString kExportFolder = QStringLiteral("exportFolder");

QString accountPath(const entry::Session& session) {
    const auto url = db::DbUrl::parse(session.gDbName);
    if (!url || url->kind != db::Dialect::Kind::Sqlite || url->isMemory())
        return {};
    return QFileInfo(url->path).absoluteFilePath();
}

bool isAccountFile(const QString& account, const QString& path) {
    if (account.isEmpty())
        return false;
    const QFileInfo target(path);
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
        const QFileInfo file(account + QLatin1String(suffix));
        if (target.absoluteFilePath() == file.absoluteFilePath() ||
            (target.exists() && file.exists() &&
             target.canonicalFilePath() == file.canonicalFilePath()))
            return true;
    }
    return false;
}

std::unique_ptr<QSettings> outputSettings(const entry::Session& session) {
    auto settings =
        std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
                                    QStringLiteral("bom"), QStringLiteral("FileChooserDialog"));
    settings->beginGroup(session.settingsGroup());
    return settings;
}

// The folder of the last output, else the operator's documents; never the account's own
// folder, which holds nothing to put out.
QString outputFolder(const entry::Session& session, const QString& account) {
    const QString accountFolder = account.isEmpty() ? QString() : QFileInfo(account).absolutePath();
    const auto usable = [&](const QString& folder) {
        return !folder.isEmpty() && QFileInfo(folder).isDir() &&
               QFileInfo(folder).absoluteFilePath() != accountFolder;
    };
    const QString last = outputSettings(session)->value(kExportFolder).toString();
    if (usable(last))
        return last;
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (usable(documents))
        return documents;
    return usable(QDir::homePath()) ? QDir::homePath() : QDir::tempPath();
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

QString FileChooserDialog::outputFileName(QWidget* parent, entry::Session& session,
                                          const QString& caption, const QString& name,
                                          const QStringList& nameFilters, QString* selectedFilter) {
    const QString account = accountPath(session);
    const QString path =
        saveFileName(parent, caption, QDir(outputFolder(session, account)).filePath(name),
                     nameFilters, selectedFilter);
    if (path.isEmpty())
        return {};
    if (isAccountFile(account, path)) {
        session.ShowInfo(QStringLiteral("不能输出到账套数据库文件：") +
                         QDir::toNativeSeparators(path));
        return {};
    }
    outputSettings(session)->setValue(kExportFolder, QFileInfo(path).absolutePath());
    return path;
}

bool FileChooserDialog::writeOutput(entry::Session& session, const QString& path,
                                    const std::function<bool(QIODevice&, QString*)>& write) {
    QSaveFile file(path);
    QString error;
    if (!file.open(QIODevice::WriteOnly))
        error = file.errorString();
    else if (!write(file, &error)) {
        file.cancelWriting();
        if (error.isEmpty())
            error = file.errorString();
    } else if (!file.commit())
        error = file.errorString();
    if (!error.isEmpty()) {
        session.ShowInfo(QStringLiteral("文件保存失败：") + error);
        return false;
    }
    session.ShowInfo(QStringLiteral("已输出到：") + QDir::toNativeSeparators(path));
    return true;
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
