#include "VoucherSetWindow.h"

#include "AttachmentsDialog.h"
#include "CardEntryCheck.h"
#include "CardPrinter.h"
#include "CardTemplates.h"
#include "CardTexts.h"
#include "CardWindowTexts.h"
#include "HistoryDialog.h"
#include "InventoryCardDialog.h"
#include "PictureDialog.h"
#include "SoCodeDialog.h"
#include "VoucherView.h"
#include "bomservice/CardAttachments.h"
#include "db/DbError.h"
#include "entry/Session.h"
#include "entry/SpreadsheetFile.h"
#include "list/FileChooserDialog.h"
#include "list/HtmlPrintDialog.h"
#include "options/OptionsCardDialog.h"
#include "structure/BomImporter.h"
#include "structure/StructureWindow.h"
#include "suite/qt/QtPrompter.h"

#include <QAction>
#include <QCloseEvent>
#include <QComboBox>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QPixmap>
#include <QPrinter>
#include <QScreen>
#include <QSettings>
#include <QSplitter>
#include <QToolBar>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <cmath>

namespace bom::card {
namespace {

const QColor kCardColour(0xE8, 0xE8, 0xE8);
constexpr int kTagRole = Qt::UserRole;
constexpr int kIdRole = Qt::UserRole + 1;

QString title() {
    return CardTexts::title();
}

QString cardNumber() {
    return QLatin1String(clsVoucher::kCardNumber);
}

// The paper a print setting names ("A4"), or A4.
QPageSize paperOf(const QString& key) {
    for (int id = 0; id <= int(QPageSize::LastPageSize); ++id) {
        const auto size = QPageSize::PageSizeId(id);
        if (QPageSize::key(size) == key)
            return QPageSize(size);
    }
    return QPageSize(QPageSize::A4);
}

// The operator's setting of the tree's width, where the card has always kept it.
std::unique_ptr<QSettings> treeSettings() {
    auto settings = std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
                                                QStringLiteral("BOM"));
    settings->beginGroup(QStringLiteral("Vouch"));
    return settings;
}

} // namespace

const std::vector<VoucherSetWindow::Button>& VoucherSetWindow::buttons() {
    using M = Qt::KeyboardModifier;
    static const std::vector<Button> kButtons{
        {QStringLiteral("Print"), QStringLiteral("打印"), Qt::Key_P, M::ControlModifier},
        {QStringLiteral("Preview"), QStringLiteral("预览")},
        {QStringLiteral("Output"), QStringLiteral("输出")},
        {QStringLiteral("tbl1"), QString()},
        {QStringLiteral("Add"), QStringLiteral("增加"), Qt::Key_F5},
        {QStringLiteral("Modify"), QStringLiteral("修改"), Qt::Key_F8},
        {QStringLiteral("Erase"), QStringLiteral("删除")},
        {QStringLiteral("tlbOpt"), QStringLiteral("替代")},
        {QStringLiteral("Copy"), QStringLiteral("复制")},
        {QStringLiteral("Save"), QStringLiteral("保存"), Qt::Key_F6},
        {QStringLiteral("Cancel"), QStringLiteral("放弃")},
        {QStringLiteral("AddRow"), QStringLiteral("增行"), Qt::Key_I, M::ControlModifier},
        {QStringLiteral("DelRow"), QStringLiteral("删行"), Qt::Key_D, M::ControlModifier},
        {QStringLiteral("Picture"), QStringLiteral("图片")},
        {QStringLiteral("cInvcode"), QStringLiteral("存货")},
        {QStringLiteral("tbl2"), QString()},
        {QStringLiteral("Appedix"), QStringLiteral("附件")},
        {QStringLiteral("RowLoc"), QStringLiteral("定位")},
        {QStringLiteral("Log"), QStringLiteral("日志")},
        {QStringLiteral("Structure"), QStringLiteral("结构")},
        {QStringLiteral("Paint"), QStringLiteral("刷新")},
        {QStringLiteral("ToFirst"), QStringLiteral("首张")},
        {QStringLiteral("ToPrevious"), QStringLiteral("上张")},
        {QStringLiteral("ToNext"), QStringLiteral("下张")},
        {QStringLiteral("ToLast"), QStringLiteral("末张")},
        {QStringLiteral("Help"), QStringLiteral("帮助")},
        {QStringLiteral("Exit"), QStringLiteral("退出"), Qt::Key_F4, M::ControlModifier},
    };
    return kButtons;
}

VoucherSetWindow::VoucherSetWindow(entry::Session& session, CardNavigator& navigator,
                                   QWidget* parent)
    : QDialog(parent), session_(session), document_(session) {
    setWindowFlag(Qt::WindowMaximizeButtonHint);
    resize(1100, 700);
    // The card's messages stand over the card while it is open.
    qtPrompter_ = dynamic_cast<suite::QtPrompter*>(&session_.relay.target());
    if (qtPrompter_) {
        prompterParent_ = qtPrompter_->parent();
        qtPrompter_->setParent(this);
    }
    try {
        if (session_.gConn)
            terms_ = entry::DisplayTerms::load(*session_.gConn);
    } catch (const db::DbError& e) {
        session_.prompter.info(e.message(), title(), 16);
    }
    entryCheck_ = std::make_unique<CardEntryCheck>(session_, document_);
    voucher_ = std::make_unique<clsVoucher>(session_, document_, *this, navigator);
    // The substitutes' own card comes with the options subsystem.
    voucher_->openOptionsCard = [this](const QString& line, QString& error) {
        return openSubstitutes(line, error);
    };
    try {
        if (session_.gConn)
            printSettings_ = CardPrintSettings(session_).load();
    } catch (const db::DbError& e) {
        session_.prompter.info(e.message(), title(), 16);
    }

    auto* layout = new QVBoxLayout(this);
    toolbar_ = new QToolBar(this);
    toolbar_->setToolButtonStyle(Qt::ToolButtonTextOnly);
    layout->addWidget(toolbar_);
    // The template combos beside the card's title, where a long toolbar never hides them.
    auto* heading = new QHBoxLayout;
    templateCombo_ = new QComboBox(this);
    templateCombo_->setObjectName(QStringLiteral("CboVtId"));
    templateCombo_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    printCombo_ = new QComboBox(this);
    printCombo_->setObjectName(QStringLiteral("CboPrn"));
    printCombo_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    title_ = new QLabel(this);
    title_->setAlignment(Qt::AlignCenter);
    QFont font = title_->font();
    font.setPointSizeF(font.pointSizeF() * 1.6);
    font.setBold(true);
    title_->setFont(font);
    heading->addWidget(new QLabel(CardTexts::displayTemplateLabel(), this));
    heading->addWidget(templateCombo_);
    heading->addWidget(title_, 1);
    heading->addWidget(new QLabel(CardTexts::printTemplateLabel(), this));
    heading->addWidget(printCombo_);
    layout->addLayout(heading);

    splitter_ = new QSplitter(Qt::Horizontal, this);
    tree_ = new QTreeWidget(splitter_);
    tree_->setHeaderHidden(true);
    view_ = new VoucherView(document_, splitter_);
    view_->setEntryCheck(session_, *entryCheck_);
    view_->setAutoFillBackground(true);
    QPalette palette = view_->palette();
    palette.setColor(QPalette::Window, kCardColour);
    view_->setPalette(palette);
    splitter_->addWidget(tree_);
    splitter_->addWidget(view_);
    splitter_->setStretchFactor(1, 1);
    layout->addWidget(splitter_, 1);

    document_.setEditStatus(0);
    fillTemplates();
    buildToolbar();
    placeSplitter();
    connect(templateCombo_, &QComboBox::activated, this, [this](int i) { templateChosen(i); });
    connect(printCombo_, &QComboBox::activated, this, [this](int i) { printTemplateChosen(i); });
    connect(splitter_, &QSplitter::splitterMoved, this, [this] { saveSplitter(); });
    connect(tree_, &QTreeWidget::itemClicked, this,
            [this](QTreeWidgetItem* item) { treeClicked(item); });
    // The substitutes button follows the current line's flag, the picture the current item.
    connect(view_, &VoucherView::shown, this,
            [this] { setToolbarEnabled(voucher_->enabledButtons()); });

    if (const auto& card = voucher_->voucherTemplate())
        title_->setText(card->cCardName);
    setWindowTitle(terms_.title + CardWindowTexts::maintain());
    setToolbarEnabled(voucher_->enabledButtons());
    updateAttachmentCount();
    filterKeys();
}

VoucherSetWindow::~VoucherSetWindow() {
    // The view holds the document and its check, which go before the window's children do.
    delete view_;
    if (qtPrompter_)
        qtPrompter_->setParent(prompterParent_);
}

void VoucherSetWindow::buildToolbar() {
    const auto& card = voucher_->voucherTemplate();
    const bool bodyGrid = card && card->HaveBodyGrid;
    for (const Button& b : buttons()) {
        if (b.caption.isEmpty()) {
            toolbar_->addSeparator()->setObjectName(b.key);
            continue;
        }
        // Lines can be added and deleted only on a card with lines.
        if (!bodyGrid && (b.key == QLatin1String("AddRow") || b.key == QLatin1String("DelRow")))
            continue;
        QAction* action = toolbar_->addAction(b.caption);
        action->setObjectName(b.key);
        if (b.shortcut)
            action->setToolTip(b.caption + QStringLiteral("(") +
                               QKeySequence(b.shortcut | b.modifiers).toString() +
                               QStringLiteral(")"));
        connect(action, &QAction::triggered, this, [this, k = b.key] { buttonClick(k); });
    }
    button(QStringLiteral("Cancel"))->setEnabled(false);
}

void VoucherSetWindow::fillTemplates() {
    TemplateCombo display, print;
    try {
        CardTemplates templates(session_);
        display =
            templates.fill(cardNumber(), CardTemplates::kDisplay,
                           printSettings_.displayTemplateId > 0 ? printSettings_.displayTemplateId
                                                                : voucher_->state.templateId);
        print = templates.fill(cardNumber(), CardTemplates::kPrint, printSettings_.printTemplateId);
    } catch (const db::DbError& e) {
        session_.prompter.info(e.message(), title(), 16);
    }
    // The toolbar's combo names each template with its id, which the commands are given.
    for (int i = 0; i < int(display.entries.size()); ++i)
        templateCombo_->addItem(display.toolbarText(i), display.entries[std::size_t(i)].id);
    templateCombo_->setCurrentIndex(display.selected);
    templateCombo_->setToolTip(display.toolTip);
    for (const bomservice::TemplateChoice& entry : print.entries)
        printCombo_->addItem(entry.name, entry.id);
    printCombo_->setCurrentIndex(print.selected);
    printCombo_->setToolTip(print.toolTip);
    voucher_->state.printTemplateId = print.selectedId().value_or(0);
    if (display.selected >= 0)
        templateChosen(display.selected);
}

void VoucherSetWindow::templateChosen(int index) {
    if (index < 0)
        return;
    const int id = templateCombo_->itemData(index).toInt();
    templateCombo_->setToolTip(templateCombo_->itemText(index));
    if (!document_.applyTemplate(cardNumber(), id))
        return;
    voucher_->state.templateId = id;
    view_->rebuild();
    filterKeys();
    if (printSettings_.displayTemplateId != id && isVisible()) {
        printSettings_.displayTemplateId = id;
        savePrintSettings();
    }
}

void VoucherSetWindow::printTemplateChosen(int index) {
    if (index < 0)
        return;
    const int id = printCombo_->itemData(index).toInt();
    printCombo_->setToolTip(printCombo_->itemText(index));
    voucher_->state.printTemplateId = id;
    if (printSettings_.printTemplateId != id) {
        printSettings_.printTemplateId = id;
        savePrintSettings();
    }
}

void VoucherSetWindow::savePrintSettings() {
    try {
        CardPrintSettings(session_).save(printSettings_);
    } catch (const db::DbError& e) {
        session_.prompter.info(e.message(), title(), 16);
    }
}

QAction* VoucherSetWindow::button(const QString& key) const {
    for (QAction* action : toolbar_->actions())
        if (!action->isSeparator() && action->objectName().compare(key, Qt::CaseInsensitive) == 0)
            return action;
    return nullptr;
}

double VoucherSetWindow::dpi() const {
    const QScreen* s = screen();
    return s ? s->logicalDotsPerInchX() : 96.0;
}

void VoucherSetWindow::placeSplitter() {
    const int twips = treeSettings()->value(QStringLiteral("lw"), kDefaultTreeWidth).toInt();
    const int width = twipsToPixels(twips > 0 ? twips : kDefaultTreeWidth, dpi());
    splitter_->setSizes({width, std::max(1, this->width() - width)});
}

void VoucherSetWindow::saveSplitter() {
    const auto settings = treeSettings();
    settings->setValue(QStringLiteral("lw"), pixelsToTwips(splitter_->sizes().value(0), dpi()));
    settings->sync();
    if (settings->status() != QSettings::NoError)
        session_.prompter.info(QStringLiteral("设置保存失败：") + settings->fileName(), title(),
                               48);
}

void VoucherSetWindow::filterKeys() {
    // The window's keys come before those of the fields, the grid and the tree.
    for (QWidget* child : findChildren<QWidget*>())
        child->installEventFilter(this);
}

bool VoucherSetWindow::handleKey(QKeyEvent* event) {
    const Qt::KeyboardModifiers modifiers =
        event->modifiers() &
        (Qt::ControlModifier | Qt::ShiftModifier | Qt::AltModifier | Qt::MetaModifier);
    for (const Button& b : buttons()) {
        if (!b.shortcut || event->key() != b.shortcut || modifiers != b.modifiers)
            continue;
        QAction* action = button(b.key);
        if (!action || !action->isEnabled() || !action->isVisible())
            return false;
        // A held key runs its command once.
        if (!event->isAutoRepeat())
            buttonClick(b.key);
        return true;
    }
    return false;
}

void VoucherSetWindow::keyPressEvent(QKeyEvent* event) {
    if (!handleKey(event))
        QDialog::keyPressEvent(event);
}

bool VoucherSetWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress && watched->isWidgetType() &&
        static_cast<QWidget*>(watched)->window() == this &&
        handleKey(static_cast<QKeyEvent*>(event)))
        return true;
    return QDialog::eventFilter(watched, event);
}

QString VoucherSetWindow::toolbarTemplateId() const {
    if (!templateCombo_ || !templateCombo_->isVisible())
        return {};
    const QString text = templateCombo_->currentText().trimmed();
    const qsizetype open = text.indexOf(QLatin1Char('('));
    const qsizetype close = text.indexOf(QLatin1Char(')'));
    if (text.isEmpty() || open < 0 || close <= open)
        return {};
    return text.mid(open + 1, close - open - 1);
}

bool VoucherSetWindow::LoadCard(const QString& headerId) {
    const bool loaded = voucher_->LoadCard(headerId);
    afterCommand();
    return loaded;
}

bool VoucherSetWindow::ExecuteCommand(const QString& key, const QString& extra) {
    const bool done = voucher_->ExecuteCommand(key, extra);
    // A removed line no longer counts in the total standard cost.
    if (done && key.compare(QLatin1String("DELROW"), Qt::CaseInsensitive) == 0)
        entryCheck_->recomputeTotalCost();
    afterCommand();
    return done;
}

void VoucherSetWindow::buttonClick(const QString& key) {
    view_->commitEdits();
    const QString k = key.toUpper();
    if (k == QLatin1String("EXIT")) {
        close();
        return;
    }
    // Deleted rows in the list of changed rows are the dispatcher's to mark, once confirmed.
    if (k == QLatin1String("MODIFY"))
        editable_ = true;
    else if (k == QLatin1String("SAVE") || k == QLatin1String("CANCEL")) {
        editable_ = false;
        voucher_->state.rowChanges.clear();
    }
    ExecuteCommand(key, toolbarTemplateId());
}

void VoucherSetWindow::afterCommand() {
    if (closing_)
        return;
    selectShownNode();
    updateAttachmentCount();
}

void VoucherSetWindow::closeForm() {
    close();
}

void VoucherSetWindow::reject() {
    close();
}

void VoucherSetWindow::closeEvent(QCloseEvent* event) {
    if (closing_) {
        event->accept();
        return;
    }
    view_->commitEdits();
    if (!voucher_->QueryUnload()) {
        afterCommand();
        event->ignore();
        return;
    }
    closing_ = true;
    event->accept();
}

void VoucherSetWindow::showFindRow() {
    bool ok = false;
    const QString text =
        QInputDialog::getText(this, CardWindowTexts::findRowTitle(),
                              CardWindowTexts::findRowPrompt(), QLineEdit::Normal, QString(), &ok)
            .trimmed();
    if (!ok || text.isEmpty())
        return;
    // From the line after the current one, round to the top.
    int row = view_->findRow(text, document_.currentRow() + 1);
    if (row < 0)
        row = view_->findRow(text);
    if (row < 0)
        session_.ShowInfo(CardWindowTexts::notFound());
    else
        document_.setCurrentRow(row);
}

void VoucherSetWindow::help() {
    session_.prompter.info(CardWindowTexts::help(), CardWindowTexts::helpTitle(), 64);
}

void VoucherSetWindow::setToolbarEnabled(const QMap<QString, bool>& enabled) {
    for (auto it = enabled.begin(); it != enabled.end(); ++it)
        if (QAction* action = button(it.key()))
            action->setEnabled(it.value());
}

void VoucherSetWindow::showTree(const std::vector<bomservice::BomTreeNode>& nodes) {
    tree_->clear();
    std::vector<QTreeWidgetItem*> items;
    items.reserve(nodes.size());
    for (const bomservice::BomTreeNode& node : nodes) {
        QStringList label{node.cpspcode, node.cinvname, node.csocode};
        label.removeAll(QString());
        const QStringList text{label.join(QLatin1Char(' '))};
        auto* item = node.parent >= 0 && std::size_t(node.parent) < items.size()
                         ? new QTreeWidgetItem(items[std::size_t(node.parent)], text)
                         : new QTreeWidgetItem(tree_, text);
        item->setData(0, kTagRole, clsVoucher::treeTag(node));
        item->setData(0, kIdRole, node.iautoid);
        items.push_back(item);
    }
    tree_->expandAll();
    selectShownNode();
}

void VoucherSetWindow::treeClicked(QTreeWidgetItem* item) {
    if (!item)
        return;
    voucher_->TreeClick(item->data(0, kTagRole).toString());
    // The node of the card shown, whether the click moved to another or not.
    afterCommand();
}

void VoucherSetWindow::selectShownNode() {
    const QString id = voucher_->state.sbomid;
    const QSignalBlocker blocker(tree_);
    for (QTreeWidgetItemIterator it(tree_); *it; ++it)
        if (!id.isEmpty() && (*it)->data(0, kIdRole).toString() == id) {
            tree_->setCurrentItem(*it);
            return;
        }
    tree_->setCurrentItem(nullptr);
}

void VoucherSetWindow::updateAttachmentCount() {
    QAction* action = button(QStringLiteral("Appedix"));
    if (!action)
        return;
    int count = 0;
    const QString id = voucher_->state.sbomid;
    try {
        if (!id.isEmpty())
            count = bomservice::CardAttachments(session_).count(id);
    } catch (const db::DbError& e) {
        session_.prompter.info(e.message(), title(), 16);
    }
    action->setText(count > 0 ? CardWindowTexts::attachments() + QStringLiteral("(%1)").arg(count)
                              : CardWindowTexts::attachments());
}

void VoucherSetWindow::SetCboVt(int templateId) {
    const int index = templateCombo_->findData(templateId);
    if (index >= 0 && index != templateCombo_->currentIndex()) {
        const QSignalBlocker blocker(templateCombo_);
        templateCombo_->setCurrentIndex(index);
        templateCombo_->setToolTip(templateCombo_->currentText());
    }
}

std::optional<QString> VoucherSetWindow::askSoCode(const QString& suggested) {
    SoCodeDialog dialog(suggested, this);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.code();
}

void VoucherSetWindow::showPicture(const QString& itemCode, const QByteArray& picture) {
    if (picture.isEmpty())
        return;
    QPixmap pixmap;
    if (!pixmap.loadFromData(picture)) {
        session_.prompter.info(CardWindowTexts::pictureUnreadable(), title(), 48);
        return;
    }
    PictureDialog dialog(itemCode, pixmap, this);
    dialog.exec();
}

void VoucherSetWindow::showInventoryCard(const QString& itemCode,
                                         const std::vector<std::pair<QString, QString>>& fields) {
    InventoryCardDialog dialog(itemCode, fields, this);
    dialog.exec();
}

void VoucherSetWindow::showHistory(const QString&,
                                   const std::vector<bomservice::BomHistory::Entry>& entries) {
    HistoryDialog dialog(entries, document_.layout(), this);
    dialog.exec();
}

void VoucherSetWindow::showStructure(const QString& headerId) {
    structure::StructureWindow::open(session_, headerId, this);
}

bool VoucherSetWindow::openSubstitutes(const QString& lineAutoid, QString& error) {
    if (lineAutoid.trimmed().isEmpty()) {
        error = CardWindowTexts::saveLineFirst();
        return false;
    }
    options::OptionsCardDialog dialog(session_, lineAutoid, this);
    if (!dialog.load())
        return false; // said already
    dialog.exec();
    // The substitutes' save moved the BOM's version on; a card loaded at the version they were
    // loaded at is still the BOM as stored, so it takes the new one and saves over it later.
    if (dialog.versionSaved() != dialog.versionLoaded() &&
        document_.headerText(QStringLiteral("qzts")).toLongLong() == dialog.versionLoaded())
        document_.setHeaderText(QStringLiteral("qzts"), QString::number(dialog.versionSaved()));
    return true;
}

void VoucherSetWindow::showAttachments(const QString& headerId) {
    AttachmentsDialog dialog(session_, headerId, this);
    dialog.exec();
    updateAttachmentCount();
}

QPrinter& VoucherSetWindow::printer() {
    if (printer_)
        return *printer_;
    // As the operator last set it up, wherever he signs in.
    printer_ = std::make_unique<QPrinter>(QPrinter::HighResolution);
    if (!printSettings_.printer.isEmpty())
        printer_->setPrinterName(printSettings_.printer);
    printer_->setPageSize(paperOf(printSettings_.paper));
    printer_->setPageOrientation(printSettings_.landscape ? QPageLayout::Landscape
                                                          : QPageLayout::Portrait);
    const double margin = printSettings_.marginMm;
    printer_->setPageMargins(QMarginsF(margin, margin, margin, margin), QPageLayout::Millimeter);
    return *printer_;
}

void VoucherSetWindow::print(PrintMode mode, int printTemplateId) {
    const bomservice::BomCard card = document_.getVoucherData();
    CardLayout layout;
    try {
        layout = CardPrinter(session_).layoutOf(printTemplateId, voucher_->state.templateId);
    } catch (const db::DbError& e) {
        session_.prompter.info(e.message(), title(), 16);
        return;
    }
    if (mode == PrintMode::Output) {
        output(card, layout);
        return;
    }
    const QString heading = title_->text();
    const auto html = [&] { return CardPrinter::html(heading, card, layout); };
    QPrinter& target = printer();
    if (mode == PrintMode::Preview)
        list::HtmlPrintDialog::preview(this, target, html);
    else
        list::HtmlPrintDialog::print(this, session_, target,
                                     voucher_->state.sParentCode + QStringLiteral(".pdf"), html);
    // What the operator chose in the dialogs is his setting from now on.
    PrintSettings chosen = printSettings_;
    chosen.printer = target.outputFormat() == QPrinter::NativeFormat ? target.printerName()
                                                                     : printSettings_.printer;
    chosen.paper = target.pageLayout().pageSize().key();
    chosen.landscape = target.pageLayout().orientation() == QPageLayout::Landscape;
    chosen.marginMm =
        std::round(target.pageLayout().margins(QPageLayout::Millimeter).left() * 10) / 10;
    if (!(chosen == printSettings_)) {
        printSettings_ = chosen;
        savePrintSettings();
    }
}

void VoucherSetWindow::output(const bomservice::BomCard& card, const CardLayout& printLayout) {
    // A workbook in the layout an import reads back (edit it and import it again), or the card
    // as it prints, as CSV.
    QString filter = CardWindowTexts::workbookFilter();
    const QString path = list::FileChooserDialog::outputFileName(
        this, session_, CardWindowTexts::outputTitle(),
        voucher_->state.sParentCode + QStringLiteral(".xlsx"),
        {filter, list::FileChooserDialog::csvFilter()}, &filter);
    if (path.isEmpty())
        return;
    list::FileChooserDialog::writeOutput(session_, path, [&](QIODevice& out, QString* error) {
        if (entry::SpreadsheetFile::formatOf(path) == entry::SpreadsheetFile::Format::Xlsx)
            return entry::SpreadsheetFile::write(
                out, path, structure::BomImporter::cardSheet(card, document_.layout()), error);
        return CardPrinter::writeCsv(out, card, printLayout, error);
    });
}

} // namespace bom::card
