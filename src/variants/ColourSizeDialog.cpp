#include "ColourSizeDialog.h"

#include "ColourSizeTexts.h"
#include "entry/DisplayTerms.h"
#include "entry/Session.h"
#include "suite/Prompter.h"
#include "suite/qt/RunProgressDialog.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QShortcut>
#include <QTableWidget>
#include <QVBoxLayout>

namespace bom::variants {
namespace {

QTableWidget* listView(const QString& name, const QStringList& columns, QWidget* parent) {
    auto* table = new QTableWidget(0, int(columns.size()), parent);
    table->setObjectName(name);
    table->setHorizontalHeaderLabels(columns);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->verticalHeader()->setVisible(false);
    // Codes and names as wide as they are; the last column takes the rest.
    for (int column = 0; column + 1 < columns.size(); ++column)
        table->horizontalHeader()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
    table->horizontalHeader()->setStretchLastSection(true);
    return table;
}

QTableWidgetItem* cell(const QString& text) {
    auto* item = new QTableWidgetItem(text);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
    return item;
}

} // namespace

bool ColourSizeDialog::run(entry::Session& session, const QString& mode, const QString& templateId,
                           QWidget* parent) {
    const auto which = ColourSizeGenerator::modeOf(mode);
    if (!which)
        return false;
    ColourSizeGenerator generator(session);
    if (!generator.Open(*which, templateId))
        return false;
    ColourSizeDialog dialog(session, generator, parent);
    dialog.exec();
    return dialog.result() && dialog.result()->run != 0;
}

ColourSizeDialog::ColourSizeDialog(entry::Session& session, ColourSizeGenerator& generator,
                                   QWidget* parent)
    : QDialog(parent), session_(session), generator_(generator) {
    setObjectName(QStringLiteral("FrmNewCS"));
    setWindowTitle(ColourSizeTexts::caption(deleting()));
    auto* layout = new QVBoxLayout(this);
    auto* parentLine =
        new QLabel(ColourSizeTexts::templateLine(entry::DisplayTerms::load(*session_.gConn).parent,
                                                 generator_.parentCode(), generator_.parentName()),
                   this);
    parentLine->setObjectName(QStringLiteral("templateLine"));
    layout->addWidget(parentLine);

    auto* lists = new QHBoxLayout;
    colours_ = listView(QStringLiteral("colourList"), ColourSizeTexts::colourColumns(), this);
    sizes_ = listView(QStringLiteral("sizeList"), ColourSizeTexts::sizeColumns(), this);
    lists->addWidget(colours_, 3);
    lists->addWidget(sizes_, 2);
    layout->addLayout(lists, 1);

    auto* buttons = new QHBoxLayout;
    layout->addLayout(buttons);
    const auto add = [&](const char* name, const QString& caption,
                         void (ColourSizeDialog::*slot)()) {
        auto* button = new QPushButton(caption, this);
        button->setObjectName(QLatin1String(name));
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, slot);
        buttons->addWidget(button);
    };
    add("Command1", ColourSizeTexts::tickAllSizes(), &ColourSizeDialog::tickAllSizes);
    add("Command2", ColourSizeTexts::clearAll(), &ColourSizeDialog::clearAll);
    add("Command3", ColourSizeTexts::applyToAllColours(), &ColourSizeDialog::applyToAllColours);
    add("Command4", ColourSizeTexts::invertSizes(), &ColourSizeDialog::invertSizes);
    buttons->addStretch(1);
    add("Command5", ColourSizeTexts::helpButton(), &ColourSizeDialog::help);
    add("Command6", ColourSizeTexts::runButton(deleting()), &ColourSizeDialog::runClicked);
    add("Command7", ColourSizeTexts::closeButton(), &ColourSizeDialog::reject);
    connect(new QShortcut(QKeySequence(Qt::Key_F1), this), &QShortcut::activated, this,
            &ColourSizeDialog::help);

    connect(colours_, &QTableWidget::currentCellChanged, this, [this] { showSizes(); });
    connect(sizes_, &QTableWidget::itemChanged, this, &ColourSizeDialog::sizeTicked);
    fillColours();
    if (colours_->rowCount() > 0)
        colours_->setCurrentCell(0, 0);
    showSizes();
    resize(780, 480);
}

void ColourSizeDialog::fillColours() {
    const auto& rows = generator_.colours();
    colours_->setRowCount(int(rows.size()));
    for (int row = 0; row < int(rows.size()); ++row) {
        const ColourRow& colour = rows[std::size_t(row)];
        colours_->setItem(row, 0, cell(colour.colour.code));
        colours_->setItem(row, 1, cell(colour.colour.alias));
        colours_->setItem(row, 2, cell(generator_.chosenText(row)));
    }
}

void ColourSizeDialog::showSizes() {
    const QScopedValueRollback<bool> guard(showing_, true);
    const int colour = colours_->currentRow();
    const auto& values = generator_.sizes();
    sizes_->setRowCount(int(values.size()));
    for (int row = 0; row < int(values.size()); ++row) {
        const FreeValue& size = values[std::size_t(row)];
        auto* tick = cell(size.code);
        const bool fixed = colour < 0 || generator_.isFixed(colour, size.code);
        tick->setFlags(fixed ? Qt::ItemIsSelectable
                             : Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        tick->setCheckState(generator_.isTicked(colour, size.code) ? Qt::Checked : Qt::Unchecked);
        sizes_->setItem(row, 0, tick);
        sizes_->setItem(row, 1, cell(size.alias));
    }
}

void ColourSizeDialog::sizeTicked(QTableWidgetItem* item) {
    if (showing_ || item->column() != 0)
        return;
    const int colour = colours_->currentRow();
    generator_.setTicked(colour, item->text(), item->checkState() == Qt::Checked);
    if (QTableWidgetItem* chosen = colours_->item(colour, 2))
        chosen->setText(generator_.chosenText(colour));
}

void ColourSizeDialog::select(void (ColourSizeGenerator::*command)(int)) {
    const int colour = colours_->currentRow();
    if (colour < 0)
        return;
    (generator_.*command)(colour);
    fillColours();
    showSizes();
}

void ColourSizeDialog::clearAll() {
    generator_.ClearAll();
    fillColours();
    showSizes();
}

void ColourSizeDialog::help() {
    session_.prompter.info(ColourSizeTexts::help(deleting()), ColourSizeTexts::helpTitle(), 64);
}

bool ColourSizeDialog::execute() {
    suite::RunProgressDialog progress(ColourSizeTexts::running(deleting()),
                                      ColourSizeTexts::cancelButton(), this);
    const auto result = generator_.Run(progress.callback());
    progress.reset();
    if (!result) {
        // A template gone meanwhile leaves nothing to do here; a failed run may be tried again.
        if (!generator_.failedOnDatabase())
            reject();
        return false;
    }
    if (result->cancelled) {
        session_.prompter.info(ColourSizeTexts::cancelled(), ColourSizeTexts::title(), 64);
        return false;
    }
    result_ = result;
    accept();
    return true;
}

} // namespace bom::variants
