#pragma once

#include "TemplateLayout.h"
#include "bomservice/BomHistory.h"

#include <QDialog>
#include <vector>

class QTableWidget;

namespace bom::card {

// The change history of one BOM, newest first: when, who, what kind of change, which field,
// from what to what, on which line. Fields are named by the card's captions where it has them.
class HistoryDialog : public QDialog {
    Q_OBJECT
public:
    HistoryDialog(const std::vector<bomservice::BomHistory::Entry>& entries,
                  const CardLayout& layout, QWidget* parent = nullptr);
    QTableWidget* table() const { return table_; }

    // The kind of a change as the operator reads it.
    static QString kindText(const QString& kind);

private:
    QTableWidget* table_;
};

} // namespace bom::card
