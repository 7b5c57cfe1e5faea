#pragma once

#include "BatchPlan.h"

#include <QDialog>

class QTableWidget;

namespace bom::batch {

// What a batch run would do, shown before it is run: every line it would add, change or
// delete with the cells before and after and its BOM's material cost before and after, then
// the BOMs it would leave alone and why. Nothing is written.
class BatchPreviewDialog : public QDialog {
    Q_OBJECT
public:
    explicit BatchPreviewDialog(const BatchPlan& plan, QWidget* parent = nullptr);

    QTableWidget* changes() const { return changes_; }
    QTableWidget* skipped() const { return skipped_; }

private:
    void fillChanges(const BatchPlan& plan);
    void fillSkipped(const BatchPlan& plan);

    QTableWidget* changes_ = nullptr;
    QTableWidget* skipped_ = nullptr;
};

} // namespace bom::batch
