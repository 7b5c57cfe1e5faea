#include "ProductListWindow.h"

#include "BomFilterDialog.h"
#include "BomList.h"
#include "BomListCommands.h"
#include "ColumnSettingsDialog.h"
#include "FileChooserDialog.h"
#include "HtmlPrintDialog.h"
#include "ListPrinter.h"
#include "PagedQueryModel.h"
#include "db/DbError.h"
#include "entry/Common.h"
#include "entry/Session.h"
#include "suite/qt/QtPrompter.h"
#include "suite/qt/QtTranslations.h"

#include <QApplication>
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
#include <QPrinter>
#include <QProgressDialog>
#include <QScopedValueRollback>
#include <QSettings>
#include <QSplitter>
#include <QStandardPaths>
#include <QStatusBar>
#include <QStyleOptionHeader>
#include <QTableView>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

namespace bom::list {
namespace {

const QString kNoData = QStringLiteral("没有可用数据！");
const QString kSelectionColumn = QStringLiteral("selcol");

QString fieldOf(const PagedQueryModel& model, int column) {
    if (column == 0)
        return kSelectionColumn;
    const suite::ColumnSetting* setting = model.settingOf(column);
    return setting ? setting->fieldName.toLower() : QString();
}

QVariantMap toMap(const QHash<QString, int>& widths) {
    QVariantMap map;
    for (auto it = widths.begin(); it != widths.end(); ++it)
        map.insert(it.key(), it.value());
    return map;
}

QHash<QString, int> fromMap(const QVariantMap& map) {
    QHash<QString, int> widths;
    for (auto it = map.begin(); it != map.end(); ++it)
        if (it.value().toInt() > 0)
            widths.insert(it.key(), it.value().toInt());
    return widths;
}

} // namespace

// Long work: the wait cursor while it lasts, and a progress dialog once many rows are read
// (ProductListWindow::rowsRead). Scopes nest; the outermost one ends both.
class ProductListWindow::Busy {
public:
    explicit Busy(const ProductListWindow& window) : window_(window) {
        if (window_.busy_++ == 0)
            QApplication::setOverrideCursor(Qt::WaitCursor);
    }
    ~Busy() {
        if (--window_.busy_ > 0)
            return;
        window_.progress_.reset();
        QApplication::restoreOverrideCursor();
    }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

private:
    const ProductListWindow& window_;
};

ProductListWindow::ProductListWindow(entry::Session& session)
    : session_(session), handover_(std::make_unique<PendingWindowsHandover>(session)) {
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
    splitter_ = splitter;
    splitter->setObjectName(QStringLiteral("lists"));
    parentModel_ = new PagedQueryModel(this);
    componentModel_ = new PagedQueryModel(this);
    for (PagedQueryModel* model : {parentModel_, componentModel_})
        model->onError = [this](const QString& message) {
            if (!closed_)
                session_.ShowInfo(message);
        };
    // Marks belong to BOMs and lines, so a reload after a command keeps them.
    parentModel_->setKeyColumn(QStringLiteral("iautoid"));
    componentModel_->setKeyColumn(QStringLiteral("autoid"));
    parentModel_->onRowsRead = [this](int rows) { rowsRead(rows); };
    parentPane_ = new QGroupBox(splitter);
    auto* parentLayout = new QVBoxLayout(parentPane_);
    parentView_ = makeView(parentModel_, parentPane_, &parentWidths_);
    parentView_->setSelectionMode(QAbstractItemView::SingleSelection);
    parentLayout->addWidget(parentView_);
    componentPane_ = new QGroupBox(splitter);
    auto* componentLayout = new QVBoxLayout(componentPane_);
    componentView_ = makeView(componentModel_, componentPane_, &componentWidths_);
    componentView_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    componentLayout->addWidget(componentView_);
    splitter->addWidget(parentPane_);
    splitter->addWidget(componentPane_);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 2);
    layout->addWidget(splitter, 1);
    setCentralWidget(central);

    countLabel_ = new QLabel(this);
    filterLabel_ = new QLabel(this);
    statusBar()->addPermanentWidget(filterLabel_);
    statusBar()->addPermanentWidget(countLabel_);

    connect(parentView_->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this] { loadLines(); });
    // A right-click makes the row current and offers the commands over one BOM.
    parentView_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(parentView_, &QTableView::customContextMenuRequested, this,
            [this](const QPoint& at) { showParentMenu(at); });
    // The selection column takes its own clicks; elsewhere a double-click opens the BOM.
    connect(parentView_, &QTableView::doubleClicked, this, [this](const QModelIndex& index) {
        if (index.column() > 0)
            browse(index.row());
    });
}

ProductListWindow::~ProductListWindow() {
    // The lists go before the connection they read from.
    parentModel_->clear();
    componentModel_->clear();
    reader_.reset();
    if (qtPrompter_)
        qtPrompter_->setParent(nullptr);
}

QTableView* ProductListWindow::makeView(PagedQueryModel* model, QWidget* parent, Widths* widths) {
    auto* view = new QTableView(parent);
    view->setModel(model);
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setAlternatingRowColors(true);
    view->verticalHeader()->setDefaultSectionSize(view->fontMetrics().height() + 8);
    view->installEventFilter(this);
    view->viewport()->installEventFilter(this);
    connect(view->horizontalHeader(), &QHeaderView::sectionResized, this,
            [this, model, widths](int column, int, int size) {
                // Only what the operator drags is kept, not what the settings apply.
                const QString field = fieldOf(*model, column);
                if (!applyingColumns_ && size > 0 && !field.isEmpty())
                    widths->insert(field, size);
            });
    return view;
}

void ProductListWindow::applyColumns(QTableView* view, const PagedQueryModel& model,
                                     const Widths& widths) {
    // A reset model forgets hidden columns and widths, so they are set after each load.
    const QScopedValueRollback<bool> applying(applyingColumns_, true);
    view->setColumnWidth(0, widths.value(kSelectionColumn, 40));
    for (int column = 1; column < model.columnCount(); ++column) {
        const suite::ColumnSetting* setting = model.settingOf(column);
        view->setColumnHidden(column, setting && (!setting->visible || setting->width <= 0));
        const int width = widths.value(fieldOf(model, column), setting ? setting->width : 0);
        if (width > 0)
            view->setColumnWidth(column, width);
    }
}

void ProductListWindow::fitRowNumbers() {
    // Wide enough from the start for the last row's number, so the list does not shift
    // sideways as pages come in and the numbers grow a digit.
    QHeaderView* header = parentView_->verticalHeader();
    QStyleOptionHeader option;
    option.initFrom(header);
    option.orientation = Qt::Vertical;
    option.text = QString::number(std::max(parentTotal(), parentModel_->rowCount()));
    QFont bold = header->font();
    bold.setBold(true); // the current row's number
    option.fontMetrics = QFontMetrics(bold);
    const QSize size =
        header->style()->sizeFromContents(QStyle::CT_HeaderSection, &option, QSize(), header);
    header->setMinimumWidth(size.width());
}

int ProductListWindow::parentTotal() {
    if (parentTotal_ >= 0)
        return parentTotal_;
    parentTotal_ = parentModel_->rowCount();
    if (parentModel_->readToEnd() || !session_.gConn || closed_)
        return parentTotal_;
    try {
        parentTotal_ = BomList(session_).parentCount(filter_);
    } catch (const db::DbError& e) {
        session_.ShowInfo(e.message());
    }
    return parentTotal_;
}

void ProductListWindow::updateStatus() {
    statusPending_ = false;
    if (closed_)
        return;
    countLabel_->setText(QStringLiteral("共 %1 条记录").arg(parentTotal()));
    filterLabel_->setText(filter_.sql.isEmpty() ? QStringLiteral("未过滤")
                                                : QStringLiteral("已过滤"));
    fitRowNumbers();
}

void ProductListWindow::rowsRead(int rows) {
    if (busy_ == 0)
        return;
    if (!progress_) {
        // The rows still to go, and the page just read.
        if (parentTotal() - rows + parentModel_->pageSize() < kLongRead)
            return;
        progress_ =
            std::make_unique<QProgressDialog>(QStringLiteral("正在读取%1列表……").arg(terms_.title),
                                              QString(), 0, parentTotal(), this);
        progress_->setWindowTitle(terms_.title);
        progress_->setWindowModality(Qt::WindowModal);
        progress_->setMinimumDuration(0);
        progress_->setAutoClose(false);
        progress_->setAutoReset(false);
    }
    // A modal progress dialog lets the window paint while it waits; a hundred steps do.
    const int value = std::min(rows, progress_->maximum());
    if (value - progress_->value() >= progress_->maximum() / 100 || value == progress_->maximum())
        progress_->setValue(value);
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

QMenu* ProductListWindow::parentMenu() {
    auto* menu = new QMenu(this);
    for (const ToolbarKey& key : BomListCommands::toolbarKeys())
        if (BomListCommands::parentMenuKeys().contains(key.key)) {
            QAction* action = menu->addAction(key.caption);
            action->setObjectName(key.key);
            connect(action, &QAction::triggered, this, [this, k = key.key] { dispatch(k); });
        }
    return menu;
}

void ProductListWindow::showParentMenu(const QPoint& at) {
    const QModelIndex index = parentView_->indexAt(at);
    if (closed_ || !index.isValid())
        return;
    setCurrentParentRow(index.row());
    QMenu* menu = parentMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(parentView_->viewport()->mapToGlobal(at));
}

bool ProductListWindow::ensureCommands() {
    if (commands_)
        return true;
    try {
        commands_ = std::make_unique<BomListCommands>(session_, *this, *handover_);
        return true;
    } catch (const db::DbError& e) {
        session_.ShowInfo(e.message());
        return false;
    }
}

void ProductListWindow::setHandover(std::unique_ptr<ListHandover> handover) {
    commands_.reset(); // they hold the hand-over they were made with
    handover_ = std::move(handover);
}

void ProductListWindow::browse(int row) {
    if (closed_ || row < 0 || row >= parentModel_->rowCount())
        return;
    const QString id = parentModel_->value(row, QStringLiteral("iautoid")).toString();
    if (id.isEmpty())
        return;
    handover_->openCard(ListHandover::CardMode::Browse, id);
    reload();
}

void ProductListWindow::dispatch(const QString& key) {
    if (closed_ || !ensureCommands())
        return;
    // Commands over the marked BOMs may read and change many rows before the list comes back;
    // those that open a dialog first stay without the wait cursor.
    static const QStringList kRowWork{QStringLiteral("auditing"),  QStringLiteral("disaudit"),
                                      QStringLiteral("stopuse"),   QStringLiteral("use"),
                                      QStringLiteral("allselect"), QStringLiteral("allcancel"),
                                      QStringLiteral("refresh")};
    std::optional<Busy> busy;
    if (kRowWork.contains(key.toLower()))
        busy.emplace(*this);
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
        // Wherever the module is hosted: Qt's own dialogs in Chinese, and none that reads the
        // files of the folders it lists.
        suite::QtTranslations::install();
        FileChooserDialog::guardApplication();
        qtPrompter_ = dynamic_cast<suite::QtPrompter*>(&session_.relay.target());
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
        restoreLayout();
        // Shown first, so that the list's first page is the rows its view has room for.
        QMainWindow::show();
        reload();
        parentView_->setFocus();
        return;
    }
    QMainWindow::show();
}

QString ProductListWindow::settingsGroup() const {
    return session_.settingsGroup();
}

std::unique_ptr<QSettings> ProductListWindow::settings() const {
    auto settings =
        std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
                                    QStringLiteral("bom"), QStringLiteral("ProductListWindow"));
    settings->beginGroup(settingsGroup());
    return settings;
}

void ProductListWindow::restoreLayout() {
    const auto s = settings();
    restoreGeometry(s->value(QStringLiteral("geometry")).toByteArray());
    splitter_->restoreState(s->value(QStringLiteral("splitter")).toByteArray());
    parentWidths_ = fromMap(s->value(QStringLiteral("parentColumns")).toMap());
    componentWidths_ = fromMap(s->value(QStringLiteral("componentColumns")).toMap());
}

void ProductListWindow::saveLayout() {
    const auto s = settings();
    s->setValue(QStringLiteral("geometry"), saveGeometry());
    s->setValue(QStringLiteral("splitter"), splitter_->saveState());
    s->setValue(QStringLiteral("parentColumns"), toMap(parentWidths_));
    s->setValue(QStringLiteral("componentColumns"), toMap(componentWidths_));
    s->sync();
    if (s->status() != QSettings::NoError)
        qWarning("window settings not saved to %s", qPrintable(s->fileName()));
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
    if (loaded_)
        saveLayout();
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
            reader_ = db::Database::openPagedReader(session_.gDbName);
        } catch (const db::DbError& e) {
            session_.ShowInfo(e.message());
        }
    }
    return reader_.get();
}

void ProductListWindow::loadParents() {
    try {
        // One read of the settings serves the columns and the pages.
        const BomList::ParentPages pages = BomList(session_).parentPages(filter_);
        parentModel_->setColumns(pages.columns());
        if (db::Database* db = reader()) {
            // The first page only as many rows as the view shows: on a restricted operator's
            // list each row may cost a look-up through many hidden BOMs.
            const int shown = parentView_->viewport()->height() /
                                  std::max(1, parentView_->verticalHeader()->defaultSectionSize()) +
                              2;
            parentModel_->openPaged(
                *db,
                [pages](const QVariantList& after, int limit) { return pages.page(after, limit); },
                pages.keyCount(), parentView_->isVisible() ? shown : 0);
        } else
            parentModel_->clear();
        applyColumns(parentView_, *parentModel_, parentWidths_);
    } catch (const db::DbError& e) {
        parentModel_->clear();
        session_.ShowInfo(e.message());
    }
    // The count waits until the list has been shown.
    parentTotal_ = -1;
    if (!statusPending_) {
        statusPending_ = true;
        QTimer::singleShot(0, this, &ProductListWindow::updateStatus);
    }
}

void ProductListWindow::loadLines() {
    if (closed_)
        return;
    ++lineLoads_;
    const auto parent = currentParent();
    const QString id = parent ? parent->text(QStringLiteral("iautoid")) : QString();
    // Marked lines stay marked while their BOM is shown again, not into another BOM.
    if (id != linesOf_)
        componentModel_->setMarks({});
    linesOf_ = id;
    try {
        const entry::RefColumns columns =
            entry::Common::GetRefColumns(session_, QLatin1String(BomList::kComponentColumns));
        componentModel_->setColumns(columns.colSet);
        // Lines are few: read whole.
        if (session_.gConn)
            componentModel_->open(*session_.gConn, BomList::componentQuery(columns, id));
        else
            componentModel_->clear();
        applyColumns(componentView_, *componentModel_, componentWidths_);
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
    const Busy busy(*this);
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
            0, oldRow + 1 + parentModel_->pageSize());
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
    const Busy busy(*this);
    std::vector<ListRow> rows;
    parentModel_->forEachRow([&](int row) {
        rows.push_back(parentModel_->listRow(row));
        return true;
    });
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
    // Another filter is another list: its marks start afresh.
    parentModel_->setMarks({});
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
    const Busy busy(*this);
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
    std::vector<ListRow> boms;
    const PagedQueryModel::Marks marks = parentModel_->marks();
    if (marks.all || !marks.keys.isEmpty()) {
        const Busy busy(*this);
        // Rows still to be read only when some of them may be marked.
        const int limit = parentModel_->marksNewRows() ? -1 : parentModel_->rowCount();
        parentModel_->forEachRow(
            [&](int row) {
                if (parentModel_->isSelected(row))
                    boms.push_back(parentModel_->listRow(row));
                return true;
            },
            0, limit);
    }
    if (boms.empty())
        if (const auto current = currentParent())
            boms.push_back(*current);
    return boms;
}

QString ProductListWindow::printHtml(const std::vector<ListRow>& boms) {
    if (boms.empty()) {
        session_.ShowInfo(kNoData);
        return {};
    }
    try {
        return ListPrinter(session_, terms_).html(boms);
    } catch (const db::DbError& e) {
        session_.ShowInfo(e.message());
        return {};
    }
}

void ProductListWindow::print(bool preview) {
    const std::vector<ListRow> boms = bomsToPrint();
    if (boms.empty()) {
        session_.ShowInfo(kNoData);
        return;
    }
    if (!printer_)
        printer_ = std::make_unique<QPrinter>(QPrinter::HighResolution);
    const auto html = [&] { return printHtml(boms); };
    if (preview)
        HtmlPrintDialog::preview(this, *printer_, html);
    else
        HtmlPrintDialog::print(this, session_, *printer_, terms_.title + QStringLiteral(".pdf"),
                               html);
}

QString ProductListWindow::chooseOutput(const QString& caption, const QString& name,
                                        const QStringList& filters, QString* filter) {
    return FileChooserDialog::outputFileName(this, session_, caption, name, filters, filter);
}

bool ProductListWindow::writePdf(const QString& path, const std::vector<ListRow>& boms) {
    const QString html = printHtml(boms);
    return !html.isEmpty() && HtmlPrintDialog::writePdf(session_, path, html, printer_.get());
}

void ProductListWindow::exportList() {
    std::vector<ListRow> rows;
    {
        const Busy busy(*this);
        if (!parentModel_->forEachRow([&](int row) {
                rows.push_back(parentModel_->listRow(row));
                return true;
            }))
            return;
    }
    if (rows.empty()) {
        session_.ShowInfo(kNoData);
        return;
    }
    // The list as a workbook or CSV, or the marked (else the current) BOMs as they print, as
    // PDF.
    QString filter = FileChooserDialog::xlsxFilter();
    const QString path =
        chooseOutput(QStringLiteral("输出文件"), terms_.title + QStringLiteral(".xlsx"),
                     {FileChooserDialog::xlsxFilter(), FileChooserDialog::csvFilter(),
                      FileChooserDialog::pdfFilter()},
                     &filter);
    if (path.isEmpty())
        return;
    if (filter == FileChooserDialog::pdfFilter()) {
        if (writePdf(path, bomsToPrint()))
            session_.ShowInfo(QStringLiteral("已输出到：") + QDir::toNativeSeparators(path));
        return;
    }
    FileChooserDialog::writeOutput(session_, path, [&](QIODevice& out, QString* error) {
        return ListPrinter(session_, terms_).write(out, path, parentModel_->columns(), rows, error);
    });
}

QString ProductListWindow::chooseImportFile() {
    FileChooserDialog dialog(this, QStringLiteral("导入物料清单"),
                             QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation),
                             {QStringLiteral("电子表格 (*.xlsx *.csv)"),
                              FileChooserDialog::xlsxFilter(), FileChooserDialog::csvFilter()});
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(QFileDialog::ExistingFile);
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString();
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
