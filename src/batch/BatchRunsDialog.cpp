#include "BatchRunsDialog.h"

#include "BatchTexts.h"
#include "bomservice/BomRuns.h"
#include "db/DbError.h"
#include "entry/Session.h"
#include "suite/Prompter.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace bom::batch {

BatchRunsDialog::BatchRunsDialog(entry::Session& session, QWidget* parent)
    : QDialog(parent), session_(session) {
    setWindowTitle(BatchTexts::runsTitle());
    auto* layout = new QVBoxLayout(this);
    runs_ = new QTableWidget(0, int(BatchTexts::runsColumns().size()), this);
    runs_->setHorizontalHeaderLabels(BatchTexts::runsColumns());
    runs_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    runs_->setSelectionBehavior(QAbstractItemView::SelectRows);
    runs_->setSelectionMode(QAbstractItemView::SingleSelection);
    runs_->verticalHeader()->setVisible(false);
    runs_->horizontalHeader()->setStretchLastSection(true);
    layout->addWidget(runs_, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    auto* undo = new QPushButton(BatchTexts::undoButton(), this);
    undo->setObjectName(QStringLiteral("cmdUndo"));
    connect(undo, &QPushButton::clicked, this, [this] { undoCurrent(); });
    buttons->addWidget(undo);
    auto* close = new QPushButton(BatchTexts::closeButton(), this);
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    buttons->addWidget(close);
    layout->addLayout(buttons);
    reload();
    resize(900, 420);
}

bool BatchRunsDialog::reload() {
    std::vector<bomservice::BomRuns::Run> runs;
    try {
        runs = bomservice::BomRuns(session_).List();
    } catch (const db::DbError& e) {
        session_.prompter.info(BatchTexts::failed(e.message()), BatchTexts::title(), 16);
        return false;
    }
    runs_->setRowCount(int(runs.size()));
    int row = 0;
    for (const auto& run : runs) {
        const QStringList cells{QString::number(run.id),
                                run.time.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")),
                                run.user,
                                BatchTexts::operationCaption(run.operation),
                                BatchTexts::runState(run.state),
                                QString::number(run.boms),
                                run.description};
        for (int column = 0; column < cells.size(); ++column) {
            auto* item = new QTableWidgetItem(cells.at(column));
            item->setData(Qt::UserRole, run.id);
            runs_->setItem(row, column, item);
        }
        ++row;
    }
    // The description takes what is left.
    for (int column = 0; column + 1 < runs_->columnCount(); ++column)
        runs_->resizeColumnToContents(column);
    return true;
}

bool BatchRunsDialog::undoCurrent() {
    const QTableWidgetItem* item = runs_->item(runs_->currentRow(), 0);
    if (!item) {
        session_.prompter.info(BatchTexts::chooseRun(), BatchTexts::title(), 64);
        return false;
    }
    const qlonglong run = item->data(Qt::UserRole).toLongLong();
    if (session_.prompter.ask(BatchTexts::undoQuestion(run), BatchTexts::title(), 36) !=
        suite::Prompter::Answer::Yes)
        return false;
    bool undone = false;
    try {
        undone = bomservice::BomRuns(session_).Undo(run, BatchTexts::title());
    } catch (const db::DbError& e) {
        session_.prompter.info(BatchTexts::failed(e.message()), BatchTexts::title(), 16);
    }
    if (undone) {
        undoneAny_ = true;
        session_.prompter.info(BatchTexts::undone(run), BatchTexts::title(), 64);
    }
    reload();
    return undone;
}

} // namespace bom::batch
