#include "InventoryCardDialog.h"

#include "CardWindowTexts.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QScrollArea>
#include <QVBoxLayout>

namespace bom::card {

InventoryCardDialog::InventoryCardDialog(const QString& itemCode,
                                         const std::vector<std::pair<QString, QString>>& fields,
                                         QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(CardWindowTexts::inventoryTitle() + QStringLiteral(" - ") + itemCode);
    auto* layout = new QVBoxLayout(this);
    auto* form = new QWidget(this);
    auto* rows = new QFormLayout(form);
    for (const auto& [caption, value] : fields) {
        auto* edit = new QLineEdit(value, form);
        edit->setReadOnly(true);
        edit->setCursorPosition(0);
        rows->addRow(caption, edit);
    }
    auto* scroll = new QScrollArea(this);
    scroll->setWidget(form);
    scroll->setWidgetResizable(true);
    layout->addWidget(scroll, 1);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    resize(420, 480);
}

} // namespace bom::card
