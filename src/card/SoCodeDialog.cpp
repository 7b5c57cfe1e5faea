#include "SoCodeDialog.h"

#include "CardWindowTexts.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>

namespace bom::card {

SoCodeDialog::SoCodeDialog(const QString& suggested, QWidget* parent) : QDialog(parent) {
    setWindowTitle(CardWindowTexts::soCodeTitle());
    auto* layout = new QFormLayout(this);
    edit_ = new QLineEdit(suggested, this);
    edit_->selectAll();
    layout->addRow(CardWindowTexts::soCodePrompt(), edit_);
    buttons_ = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addRow(buttons_);
    connect(buttons_, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons_, &QDialogButtonBox::rejected, this, &QDialog::reject);
    const auto allow = [this] {
        buttons_->button(QDialogButtonBox::Ok)->setEnabled(!code().isEmpty());
    };
    connect(edit_, &QLineEdit::textChanged, this, allow);
    allow();
}

QString SoCodeDialog::code() const {
    return edit_->text().trimmed();
}

} // namespace bom::card
