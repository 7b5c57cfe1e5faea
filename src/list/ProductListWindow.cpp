#include "ProductListWindow.h"

#include "BomFilterDialog.h"
#include "BomList.h"
#include "BomListCommands.h"
#include "ColumnSettingsDialog.h"
#include "ListPrinter.h"
#include "PagedQueryModel.h"
#include "db/DbError.h"
#include "entry/Common.h"
#include "entry/Session.h"
#include "suite/qt/QtPrompter.h"

#include <QCloseEvent>
#include <QDir>
#include <QFileDialog>
#include <QGroupBox>
#include <QHeaderView>
#include <QInputDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QPageSetupDialog>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QSaveFile>
#include <QSplitter>
#include <QTableView>
#include <QTextDocument>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

namespace bom::list {
namespace {

const QString kNoData = QStringLiteral("没有可用数据！");

// Column settings with the table view's columns: 0 is the selection mark.
void applyColumns(QTableView* view, const PagedQueryModel& model) {
    view->setColumnWidth(0, 40);
    for (int column = 1; column < model.columnCount(); ++column) {
        const suite::ColumnSetting* setting = model.settingOf(column);
        view->setColumnHidden(column, setting && (!setting->visible || setting->width <= 0));
        if (setting && setting->width > 0)
            view->setColumnWidth(column, setting->width);
    }
}

} // namespace

void PendingWindowsHandover::pending() {
    session_.ShowInfo(QStringLiteral("该功能将在后续版本提供。"));
}

void PendingWindowsHandover::openCard(CardMode, const QString&) {
    pending();
}

void PendingWindowsHandover::openBatch(const QString&, const std::vector<ListRow>&,
                                       const std::vector<ListRow>&) {
    pending();
}

void PendingWindowsHandover::openColourSize(const QString&, const ListRow&) {
    pending();
}

ProductListWindow::ProductListWindow(entry::Session& session)
    : session_(session), handover_(session) {
    setAttribute(Qt::WA_DeleteOnClose, false);
    resize(1000, 680);

    toolbar_ = addToolBar(QStringLiteral("工具栏"));
    toolbar_->setMovable(false);
    toolbar_->setToolButtonStyle(Qt::ToolButtonTextOnly);
    buildToolbar();

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    caption_ = new QLabel(central);
    caption_->setAlignment(Qt::AlignCenter);
    QFont font = caption_->font();
    font.setPointSizeF(font.pointSizeF() * 1.6);
    font.setBold(true);
    caption_->setFont(font);
    layout->addWidget(caption_);

    auto* splitter = new QSplitter(Qt::Vertical, central);
    parentModel_ = new PagedQueryModel(this);
    componentModel_ = new PagedQueryModel(this);
    for (PagedQueryModel* model : {parentModel_, componentModel_})
        model->onError = [this](const QString& message) {
            if (!closed_)
                session_.ShowInfo(message);
        };
    parentPane_ = new QGroupBox(splitter);
    auto* parentLayout = new QVBoxLayout(parentPane_);
    parentView_ = makeView(parentModel_, parentPane_);
    parentView_->setSelectionMode(QAbstractItemView::SingleSelection);
    parentLayout->addWidget(parentView_);
    componentPane_ = new QGroupBox(splitter);
    auto* componentLayout = new QVBoxLayout(componentPane_);
    componentView_ = makeView(componentModel_, componentPane_);
    componentView_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    componentLayout->addWidget(componentView_);
    splitter->addWidget(parentPane_);
    splitter->addWidget(componentPane_);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 2);
    layout->addWidget(splitter, 1);
    setCentralWidget(central);

    connect(parentView_->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this] { loadLines(); });
}

ProductListWindow::~ProductListWindow() {
    // The cursors go before the connection they read from.
    parentModel_->clear();
    componentModel_->clear();
    reader_.reset();
    if (qtPrompter_)
        qtPrompter_->setParent(nullptr);
}

QTableView* ProductListWindow::makeView(PagedQueryModel* model, QWidget* parent) {
    auto* view = new QTableView(parent);
    view->setModel(model);
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setAlternatingRowColors(true);
    view->verticalHeader()->setDefaultSectionSize(view->fontMetrics().height() + 8);
    view->installEventFilter(this);
    view->viewport()->installEventFilter(this);
    return view;
}

void ProductListWindow::buildToolbar() {
    int group = -1;
    for (const ToolbarKey& key : BomListCommands::toolbarKeys()) {
        if (group >= 0 && key.group != group)
            toolbar_->addSeparator();
        group = key.group;
        if (key.menu.empty()) {
            QAction* action = toolbar_->addAction(key.caption);
            action->setObjectName(key.key);
            action->setToolTip(key.tip.isEmpty() ? key.caption : key.tip);
            connect(action, &QAction::triggered, this, [this, k = key.key] { dispatch(k); });
            continue;
        }
        auto* menu = new QMenu(this);
        for (const ToolbarKey& entry : key.menu) {
            QAction* action = menu->addAction(entry.caption);
            action->setObjectName(entry.key);
            connect(action, &QAction::triggered, this, [this, k = entry.key] { dispatch(k); });
        }
        auto* button = new QToolButton(toolbar_);
        button->setObjectName(key.key);
        button->setText(key.caption);
        button->setToolTip(key.tip.isEmpty() ? key.caption : key.tip);
        button->setMenu(menu);
        // "batchDo" is only the drop-down; a key with a command of its own runs it on a click.
        if (key.key.compare(QLatin1String("batchDo"), Qt::CaseInsensitive) == 0) {
            button->setPopupMode(QToolButton::InstantPopup);
        } else {
            button->setPopupMode(QToolButton::MenuButtonPopup);
            connect(button, &QToolButton::clicked, this, [this, k = key.key] { dispatch(k); });
        }
        toolbar_->addWidget(button);
    }
}

bool ProductListWindow::ensureCommands() {
    if (commands_)
        return true;
    try {
        commands_ = std::make_unique<BomListCommands>(session_, *this, handover_);
        return true;
    } catch (const db::DbError& e) {
        session_.ShowInfo(e.message());
        return false;
    }
}

void ProductListWindow::dispatch(const QString& key) {
    if (closed_ || !ensureCommands())
        return;
    try {
        commands_->ExecuteCommand(key);
    } catch (const db::DbError& e) {
        session_.ShowInfo(e.message());
    } catch (const std::exception& e) {
        session_.ShowInfo(QString::fromLocal8Bit(e.what()));
    }
}

void ProductListWindow::show() {
    if (!loaded_) {
        loaded_ = true;
        qtPrompter_ = dynamic_cast<suite::QtPrompter*>(&session_.prompter);
        if (qtPrompter_)
            qtPrompter_->setParent(this);
        try {
            if (session_.gClsCommon)
                entry::Common::LoadPrecision(session_);
            if (session_.gConn)
                terms_ = entry::DisplayTerms::load(*session_.gConn);
        } catch (const db::DbError& e) {
            session_.ShowInfo(e.message());
        }
        setWindowTitle(terms_.title);
        caption_->setText(terms_.title);
        parentPane_->setTitle(terms_.parent + QStringLiteral(":"));
        componentPane_->setTitle(terms_.component + QStringLiteral(":"));
        if (ensureCommands())
            commands_->UpdateDecimalPlaces();
        reload();
        parentView_->setFocus();
    }
    QMainWindow::show();
}

void ProductListWindow::raise() {
    QMainWindow::raise();
    activateWindow();
}

void ProductListWindow::close() {
    QMainWindow::close();
}

void ProductListWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    if (closed_)
        return;
    closed_ = true;
    parentModel_->clear();
    componentModel_->clear();
    reader_.reset();
    if (qtPrompter_)
        qtPrompter_->setParent(nullptr);
    qtPrompter_ = nullptr;
    runUnload();
}

bool ProductListWindow::handleKey(QKeyEvent* event) {
    const Qt::KeyboardModifiers modifiers =
        event->modifiers() &
        (Qt::ControlModifier | Qt::ShiftModifier | Qt::AltModifier | Qt::MetaModifier);
    const auto key = BomListCommands::keyForShortcut(event->key(), modifiers);
    if (!key)
        return false;
    // A held key runs its command once.
    if (!event->isAutoRepeat())
        dispatch(*key);
    return true;
}

void ProductListWindow::keyPressEvent(QKeyEvent* event) {
    if (!handleKey(event))
        QMainWindow::keyPressEvent(event);
}

bool ProductListWindow::eventFilter(QObject* watched, QEvent* event) {
    // Events arrive while the views are still being built.
    if (!parentView_ || !componentView_)
        return QMainWindow::eventFilter(watched, event);
    if (watched == parentView_->viewport() || watched == componentView_->viewport()) {
        if (event->type() == QEvent::MouseButtonPress)
            componentActive_ = watched == componentView_->viewport();
    } else if (watched == parentView_ || watched == componentView_) {
        if (event->type() == QEvent::FocusIn)
            componentActive_ = watched == componentView_;
        // The window's keys come before the list's own.
        if (event->type() == QEvent::KeyPress && handleKey(static_cast<QKeyEvent*>(event)))
            return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

db::Database* ProductListWindow::reader() {
    if (!reader_) {
        try {
            reader_ = db::Database::open(session_.gDbName);
            const QString setup = reader_->dialect().pagedReaderSetup();
            if (!setup.isEmpty())
                reader_->exec(setup);
        } catch (const db::DbError& e) {
            session_.ShowInfo(e.message());
        }
    }
    return reader_.get();
}

void ProductListWindow::loadParents() {
    try {
        parentModel_->setColumns(
            entry::Common::GetRefColumns(session_, QLatin1String(BomList::kParentColumns)).colSet);
        if (db::Database* db = reader())
            parentModel_->open(*db, BomList(session_).parentQuery(filter_));
        else
            parentModel_->clear();
        // A reset model forgets hidden columns, so they are set after it.
        applyColumns(parentView_, *parentModel_);
    } catch (const db::DbError& e) {
        parentModel_->clear();
        session_.ShowInfo(e.message());
    }
}

void ProductListWindow::loadLines() {
    if (closed_)
        return;
    ++lineLoads_;
    const auto parent = currentParent();
    try {
        componentModel_->setColumns(
            entry::Common::GetRefColumns(session_, QLatin1String(BomList::kComponentColumns))
                .colSet);
        // Lines are few: read whole, so nothing stays open on the shared connection.
        if (session_.gConn)
            componentModel_->open(*session_.gConn,
                                  BomList(session_).componentQuery(
                                      parent ? parent->text(QStringLiteral("iautoid")) : QString()),
                                  true);
        else
            componentModel_->clear();
        applyColumns(componentView_, *componentModel_);
    } catch (const db::DbError& e) {
        componentModel_->clear();
        session_.ShowInfo(e.message());
    }
}

void ProductListWindow::setCurrentParentRow(int row) {
    const int loads = lineLoads_;
    if (row >= 0 && row < parentModel_->rowCount()) {
        parentView_->setCurrentIndex(parentModel_->index(row, 0));
        parentView_->scrollTo(parentModel_->index(row, 0));
    } else {
        parentView_->setCurrentIndex({});
    }
    // A current row that did not change sends no signal, yet its lines are read again.
    if (lineLoads_ == loads)
        loadLines();
}

void ProductListWindow::reload() {
    if (closed_)
        return;
    const auto current = currentParent();
    const QString id = current ? current->text(QStringLiteral("iautoid")) : QString();
    const int oldRow = current ? current->number - 1 : 0;
    loadParents();
    int row = -1;
    if (!id.isEmpty())
        // Looks a page past the old position, not through a whole large list.
        row = parentModel_->findRow(
            [&](int r) {
                return parentModel_->value(r, QStringLiteral("iautoid")).toString() == id;
            },
            0, oldRow + 1 + PagedQueryModel::kPageSize);
    if (row < 0 && parentModel_->rowCount() > 0)
        row = std::clamp(oldRow, 0, parentModel_->rowCount() - 1);
    setCurrentParentRow(row);
}

void ProductListWindow::reloadLines() {
    const int row = componentView_->currentIndex().row();
    loadLines();
    if (componentModel_->rowCount() > 0)
        componentView_->setCurrentIndex(
            componentModel_->index(std::clamp(row, 0, componentModel_->rowCount() - 1), 0));
}

void ProductListWindow::selectAll(bool selected) {
    parentModel_->setAllSelected(selected);
}

std::vector<ListRow> ProductListWindow::parentRows() const {
    parentModel_->fetchAll();
    std::vector<ListRow> rows;
    rows.reserve(parentModel_->rowCount());
    for (int row = 0; row < parentModel_->rowCount(); ++row)
        rows.push_back(parentModel_->listRow(row));
    return rows;
}

std::optional<ListRow> ProductListWindow::currentParent() const {
    const QModelIndex index = parentView_->currentIndex();
    if (!index.isValid())
        return std::nullopt;
    return parentModel_->listRow(index.row());
}

std::optional<ListRow> ProductListWindow::currentLine() const {
    const QModelIndex index = componentView_->currentIndex();
    if (!index.isValid())
        return std::nullopt;
    return componentModel_->listRow(index.row());
}

int ProductListWindow::lineCount() const {
    return componentModel_->rowCount();
}

std::vector<ListRow> ProductListWindow::selectedLines() const {
    std::vector<ListRow> lines;
    for (int row : componentModel_->selectedRows())
        lines.push_back(componentModel_->listRow(row));
    if (!lines.empty())
        return lines;
    // Without marks, the lines highlighted in the list count as chosen.
    QModelIndexList rows = componentView_->selectionModel()->selectedRows();
    std::sort(rows.begin(), rows.end());
    for (const QModelIndex& index : rows)
        lines.push_back(componentModel_->listRow(index.row()));
    return lines;
}

bool ProductListWindow::applyFilter(const std::vector<FilterCondition>& conditions) {
    QString error;
    std::optional<db::SqlCondition> condition;
    try {
        condition = ListFilter::build(
            conditions,
            entry::Common::GetRefColumns(session_, QLatin1String(BomList::kParentColumns)).colSet,
            &error);
    } catch (const db::DbError& e) {
        error = e.message();
    }
    if (!condition) {
        session_.ShowInfo(error);
        return false;
    }
    filterConditions_ = conditions;
    filter_ = *condition;
    reload();
    return true;
}

void ProductListWindow::filter() {
    BomFilterDialog dialog(parentModel_->columns(), filterConditions_, this);
    if (dialog.exec() == QDialog::Accepted)
        applyFilter(dialog.conditions());
}

void ProductListWindow::columnSettings() {
    const QString key =
        QLatin1String(componentActive_ ? BomList::kComponentColumns : BomList::kParentColumns);
    ColumnSettingsDialog dialog(session_, key, this);
    dialog.exec();
    if (dialog.changed())
        reload();
}

int ProductListWindow::findParentRow(const QString& text) {
    std::vector<int> shown;
    for (int column = 1; column < parentModel_->columnCount(); ++column)
        if (!parentView_->isColumnHidden(column))
            shown.push_back(column);
    return parentModel_->findRow([&](int row) {
        for (int column : shown)
            if (parentModel_->index(row, column)
                    .data()
                    .toString()
                    .contains(text, Qt::CaseInsensitive))
                return true;
        return false;
    });
}

void ProductListWindow::locate() {
    bool ok = false;
    const QString text =
        QInputDialog::getText(this, QStringLiteral("定位"), QStringLiteral("请输入要查找的内容："),
                              QLineEdit::Normal, QString(), &ok)
            .trimmed();
    if (!ok || text.isEmpty() || closed_)
        return;
    const int row = findParentRow(text);
    if (row < 0) {
        session_.ShowInfo(QStringLiteral("没有找到符合条件的记录！"));
        return;
    }
    setCurrentParentRow(row);
}

void ProductListWindow::printSetup() {
    if (!printer_)
        printer_ = std::make_unique<QPrinter>(QPrinter::HighResolution);
    QPageSetupDialog dialog(printer_.get(), this);
    dialog.exec();
}

std::vector<ListRow> ProductListWindow::bomsToPrint() {
    if (parentModel_->marksNewRows())
        parentModel_->fetchAll();
    std::vector<ListRow> boms;
    for (int row : parentModel_->selectedRows())
        boms.push_back(parentModel_->listRow(row));
    if (boms.empty())
        if (const auto current = currentParent())
            boms.push_back(*current);
    return boms;
}

void ProductListWindow::print(bool preview) {
    const std::vector<ListRow> boms = bomsToPrint();
    if (boms.empty()) {
        session_.ShowInfo(kNoData);
        return;
    }
    QTextDocument document;
    try {
        document.setHtml(ListPrinter(session_, terms_).html(boms));
    } catch (const db::DbError& e) {
        session_.ShowInfo(e.message());
        return;
    }
    if (!printer_)
        printer_ = std::make_unique<QPrinter>(QPrinter::HighResolution);
    if (preview) {
        QPrintPreviewDialog dialog(printer_.get(), this);
        dialog.setWindowTitle(QStringLiteral("打印预览"));
        connect(&dialog, &QPrintPreviewDialog::paintRequested, this,
                [&document](QPrinter* printer) { document.print(printer); });
        dialog.exec();
        return;
    }
    QPrintDialog dialog(printer_.get(), this);
    dialog.setWindowTitle(QStringLiteral("打印"));
    if (dialog.exec() == QDialog::Accepted)
        document.print(printer_.get());
}

void ProductListWindow::exportList() {
    if (!parentModel_->fetchAll() || parentModel_->rowCount() == 0) {
        if (parentModel_->rowCount() == 0)
            session_.ShowInfo(kNoData);
        return;
    }
    const QString path =
        QFileDialog::getSaveFileName(this, QStringLiteral("输出文件"),
                                     QDir::home().filePath(terms_.title + QStringLiteral(".csv")),
                                     QStringLiteral("CSV 文件 (*.csv)"));
    if (path.isEmpty())
        return;
    std::vector<ListRow> rows;
    rows.reserve(parentModel_->rowCount());
    for (int row = 0; row < parentModel_->rowCount(); ++row)
        rows.push_back(parentModel_->listRow(row));
    QSaveFile file(path);
    QString error;
    if (!file.open(QIODevice::WriteOnly))
        error = file.errorString();
    else if (!ListPrinter::writeCsv(file, parentModel_->columns(), rows, &error))
        file.cancelWriting();
    else if (!file.commit())
        error = file.errorString();
    if (!error.isEmpty())
        session_.ShowInfo(QStringLiteral("文件保存失败：") + error);
}

void ProductListWindow::help() {
    session_.prompter.info(
        QStringLiteral("F5 增加　F7 修改　F8 复制　Del 删除\n"
                       "F3 过滤　Ctrl+F3 定位　F9 刷新\n"
                       "Ctrl+P 打印　F1 帮助\n"
                       "在“选择”栏勾选%1后，可以审核、弃审、停用、启用或批量操作。")
            .arg(terms_.parent),
        QStringLiteral("操作帮助"), 64);
}

} // namespace bom::list
