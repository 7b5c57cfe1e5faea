#pragma once

#include <QDialog>
#include <utility>
#include <vector>

namespace bom::card {

// An item's master data, read only: each caption beside its value.
class InventoryCardDialog : public QDialog {
    Q_OBJECT
public:
    InventoryCardDialog(const QString& itemCode,
                        const std::vector<std::pair<QString, QString>>& fields,
                        QWidget* parent = nullptr);
};

} // namespace bom::card
