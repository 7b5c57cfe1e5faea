#include "BatchPreviewDialog.h"

#include "BatchTexts.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QSplitter>
#include <QTableWidget>
#include <QVBoxLayout>

namespace bom::batch {
namespace {

QTableWidget* table(const QStringList& columns, int rows, QWidget* parent) {
    auto* t = new QTableWidget(rows, int(columns.size()), parent);
    t->setHorizontalHeaderLabels(columns);
    t->setEditTriggers(QAbstractItemView::NoEditTriggers);
    t->setSelectionBehavior(QAbstractItemView::SelectRows);
    t->verticalHeader()->setVisible(false);
    t->horizontalHeader()->setStretchLastSection(true);
    return t;
}

QString cellText(const QVariant& value) {
    return value.isNull() ? QString() : value.toString();
}

} // namespace

BatchPreviewDialog::BatchPreviewDialog(const BatchPlan& plan, QWidget* parent) : QDialog(parent) {
    setWindowTitle(BatchTexts::previewTitle());
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(
        BatchTexts::previewSummary(int(plan.changedBoms().size()), int(plan.skipped.size())),
        this));
    auto* splitter = new QSplitter(Qt::Vertical, this);
    changes_ = table(BatchTexts::previewColumns(), int(plan.changes.size()), splitter);
    changes_->setObjectName(QStringLiteral("changes"));
    skipped_ = table(BatchTexts::skippedColumns(), int(plan.skipped.size()), splitter);
    skipped_->setObjectName(QStringLiteral("skipped"));
    splitter->setStretchFactor(0, 3);
    layout->addWidget(splitter, 1);
    fillChanges(plan);
    fillSkipped(plan);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    resize(1000, 600);
}

// One row per line, its altered cells as "caption=value" before and after.
void BatchPreviewDialog::fillChanges(const BatchPlan& plan) {
    const QString kind = BatchTexts::changeKind(BatchScope::changeKind(plan.operation));
    int row = 0;
    for (const BatchChange& change : plan.changes) {
        QStringList before, after;
        for (const BatchCellChange& cell : plan.differences(change)) {
            const QString caption = BatchTexts::editorCaption(cell.column) + QLatin1Char('=');
            if (change.before >= 0)
                before << caption + cellText(cell.before);
            if (!change.after.isEmpty())
                after << caption + cellText(cell.after);
        }
        const QStringList cells{change.headerId,
                                change.parent,
                                kind,
                                QString::number(change.costBefore),
                                QString::number(change.costAfter),
                                before.join(QLatin1Char('\n')),
                                after.join(QLatin1Char('\n'))};
        for (int column = 0; column < cells.size(); ++column)
            changes_->setItem(row, column, new QTableWidgetItem(cells.at(column)));
        ++row;
    }
    // One altered cell a line, so before and after read side by side.
    changes_->resizeColumnsToContents();
    changes_->resizeRowsToContents();
}

void BatchPreviewDialog::fillSkipped(const BatchPlan& plan) {
    int row = 0;
    for (const BatchSkip& skip : plan.skipped) {
        skipped_->setItem(row, 0, new QTableWidgetItem(skip.headerId));
        skipped_->setItem(row, 1, new QTableWidgetItem(BatchTexts::skipReason(skip.reason)));
        ++row;
    }
}

} // namespace bom::batch
