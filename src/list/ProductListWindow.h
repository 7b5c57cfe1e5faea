#pragma once

#include "ListFilter.h"
#include "ListView.h"
#include "PendingWindowsHandover.h"
#include "db/SqlCondition.h"
#include "entry/DisplayTerms.h"
#include "entry/ListWindowHandle.h"

#include <QHash>
#include <QMainWindow>
#include <functional>
#include <memory>
#include <vector>

class QGroupBox;
class QLabel;
class QMenu;
class QPrinter;
class QProgressDialog;
class QSettings;
class QSplitter;
class QTableView;
class QToolBar;

namespace bom::entry {
class Session;
}
namespace bom::suite {
class QtPrompter;
}

namespace bom::list {

class BomListCommands;
class PagedQueryModel;

// The session's main window (FrmProductNew): titled with the account's term for BOMs, with the
// parent list above the lines of its current BOM. Every toolbar button and shortcut goes to the
// one command dispatcher; closing the window ends the session. Its size, the split between the
// lists and their column widths are kept for each operator of each account.
class ProductListWindow : public QMainWindow, public entry::ListWindowHandle, public ListView {
    Q_OBJECT
public:
    // Reading at least this many rows at once shows a progress dialog.
    static constexpr int kLongRead = 2000;

    explicit ProductListWindow(entry::Session& session);
    ~ProductListWindow() override;

    // ListWindowHandle
    void show() override;
    void raise() override;
    void dispose() override { deleteLater(); }

    // ListView
    std::vector<ListRow> parentRows() const override;
    std::optional<ListRow> currentParent() const override;
    bool componentListActive() const override { return componentActive_; }
    std::optional<ListRow> currentLine() const override;
    int lineCount() const override;
    std::vector<ListRow> selectedLines() const override;
    void reload() override;
    void reloadLines() override;
    void selectAll(bool selected) override;
    void filter() override;
    void filterSettings() override { filter(); }
    void columnSettings() override;
    void locate() override;
    void printSetup() override;
    void print(bool preview) override;
    void exportList() override;
    QString chooseImportFile() override;
    void help() override;
    void close() override;

    // The windows the list's commands open (the card, the batch and colour/size editors);
    // until set, handing over says the window is still to come.
    void setHandover(std::unique_ptr<ListHandover> handover);
    // Runs one command key, as a toolbar button or a shortcut does.
    void dispatch(const QString& key);
    // Shows the BOM of a parent row in the card, then reloads the list (a double-click).
    void browse(int row);
    // Sets the current BOM (a row of the parent list) and shows its lines.
    void setCurrentParentRow(int row);
    const db::SqlCondition& filterCondition() const { return filter_; }
    // The rows of the parent list's query (not only those read so far), as the status bar
    // tells them; counted once per load, when first needed.
    int parentTotal();
    // Filters the parent list by `conditions`; false (shown) when they are refused.
    bool applyFilter(const std::vector<FilterCondition>& conditions);
    // The first parent row from the top whose shown cells contain `text`, or -1.
    int findParentRow(const QString& text);

    PagedQueryModel& parentModel() { return *parentModel_; }
    PagedQueryModel& componentModel() { return *componentModel_; }
    QTableView* parentView() { return parentView_; }
    // The parent list's context menu (the caller owns it).
    QMenu* parentMenu();
    QTableView* componentView() { return componentView_; }
    QToolBar* toolbar() { return toolbar_; }
    QSplitter* splitter() { return splitter_; }
    QLabel* countLabel() { return countLabel_; }
    QLabel* filterLabel() { return filterLabel_; }
    // Where this operator's window settings are kept, by account and operator.
    QString settingsGroup() const;

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    class Busy;
    using Widths = QHash<QString, int>;

    void buildToolbar();
    void showParentMenu(const QPoint& at);
    QTableView* makeView(PagedQueryModel* model, QWidget* parent, Widths* widths);
    void applyColumns(QTableView* view, const PagedQueryModel& model, const Widths& widths);
    void fitRowNumbers();
    void updateStatus();
    void rowsRead(int rows);
    std::unique_ptr<QSettings> settings() const;
    void restoreLayout();
    void saveLayout();
    QString chooseOutput(const QString& caption, const QString& name, const QStringList& filters,
                         QString* filter);
    bool writePdf(const QString& path, const std::vector<ListRow>& boms);
    QString printHtml(const std::vector<ListRow>& boms);
    bool ensureCommands();
    bool handleKey(QKeyEvent* event);
    void loadParents();
    void loadLines();
    db::Database* reader();
    std::vector<ListRow> bomsToPrint();

    entry::Session& session_;
    std::unique_ptr<ListHandover> handover_;
    std::unique_ptr<BomListCommands> commands_;
    entry::DisplayTerms terms_;
    // The parent list reads its pages through its own connection: the view asks for them at any
    // time, and they must never run inside a command's transaction.
    std::unique_ptr<db::Database> reader_;
    std::unique_ptr<QPrinter> printer_;
    suite::QtPrompter* qtPrompter_ = nullptr;

    PagedQueryModel* parentModel_ = nullptr;
    PagedQueryModel* componentModel_ = nullptr;
    QTableView* parentView_ = nullptr;
    QTableView* componentView_ = nullptr;
    QGroupBox* parentPane_ = nullptr;
    QGroupBox* componentPane_ = nullptr;
    QLabel* caption_ = nullptr;
    QToolBar* toolbar_ = nullptr;
    QSplitter* splitter_ = nullptr;
    QLabel* countLabel_ = nullptr;
    QLabel* filterLabel_ = nullptr;
    mutable std::unique_ptr<QProgressDialog> progress_;
    mutable int busy_ = 0;

    // Column widths the operator set, by field; they win over the account's column settings.
    Widths parentWidths_;
    Widths componentWidths_;
    bool applyingColumns_ = false;

    std::vector<FilterCondition> filterConditions_;
    db::SqlCondition filter_;
    int parentTotal_ = -1;
    bool statusPending_ = false;
    QString linesOf_; // the BOM whose lines are shown
    int lineLoads_ = 0;
    bool componentActive_ = false;
    bool loaded_ = false;
    bool closed_ = false;
};

class ProductListWindowFactory : public entry::ListWindowFactory {
public:
    // Makes the hand-over of each window made; none: the windows still to come say so.
    using HandoverMaker =
        std::function<std::unique_ptr<ListHandover>(entry::Session&, ProductListWindow&)>;
    explicit ProductListWindowFactory(HandoverMaker handover = {})
        : handover_(std::move(handover)) {}

    entry::ListWindowHandle* create(entry::Session& session) override {
        auto* window = new ProductListWindow(session);
        if (handover_)
            window->setHandover(handover_(session, *window));
        return window;
    }

private:
    HandoverMaker handover_;
};

} // namespace bom::list
