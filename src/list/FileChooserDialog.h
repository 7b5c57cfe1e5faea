#pragma once

#include <QFileDialog>
#include <functional>

class QAbstractFileIconProvider;

namespace bom::entry {
class Session;
}

namespace bom::list {

// Every file dialog of the module. A file dialog lists folders, and the account's folder may be
// among them: whatever in this process opens and closes the account file, even only to read its
// first bytes, cancels every POSIX lock SQLite holds on it, and another process may then remove
// the write-ahead log under the open window. So the dialog is Qt's own, never the platform's,
// and its files get their type and icon from their names alone.
class FileChooserDialog : public QFileDialog {
    Q_OBJECT
public:
    FileChooserDialog(QWidget* parent, const QString& caption, const QString& directory,
                      const QStringList& nameFilters);

    // The name filters of the files the module writes.
    static QString xlsxFilter() { return QStringLiteral("Excel 工作簿 (*.xlsx)"); }
    static QString csvFilter() { return QStringLiteral("CSV 文件 (*.csv)"); }
    static QString pdfFilter() { return QStringLiteral("PDF 文件 (*.pdf)"); }

    // Asks where to save; "" when cancelled. `selectedFilter` gets the chosen name filter.
    static QString saveFileName(QWidget* parent, const QString& caption, const QString& file,
                                const QStringList& nameFilters, QString* selectedFilter = nullptr);

    // Asks where to write a file the module puts out, starting in the folder this operator last
    // wrote to on this account (else the documents). The account's own database files are
    // refused with a message. "" when cancelled or refused.
    static QString outputFileName(QWidget* parent, entry::Session& session, const QString& caption,
                                  const QString& name, const QStringList& nameFilters,
                                  QString* selectedFilter = nullptr);

    // Writes a file the operator chose, whole or not at all, and says where it went or why it
    // failed. `write` answers false with `error` set when it could not write.
    static bool writeOutput(entry::Session& session, const QString& path,
                            const std::function<bool(QIODevice& out, QString* error)>& write);

    // The icon provider that never opens a file.
    static QAbstractFileIconProvider* nameOnlyIcons();
    // Gives every file system model under `root` (file dialogs, the file name completer of the
    // print dialog) the name-only icon provider.
    static void guardFileModels(QObject* root);
    // From now on, every dialog Qt itself opens (the print preview's print and save dialogs)
    // is Qt's own and is guarded before it lists anything.
    static void guardApplication();
};

} // namespace bom::list
