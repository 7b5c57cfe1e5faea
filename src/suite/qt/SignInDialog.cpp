#include "SignInDialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>

namespace bom::suite {

SignInDialog::SignInDialog(const QString& userId, const QString& message, QWidget* parent)
    : QDialog(parent), password_(new QLineEdit(this)) {
    setWindowTitle(QStringLiteral("登录"));
    password_->setEchoMode(QLineEdit::Password);
    auto* form = new QFormLayout(this);
    if (!message.isEmpty())
        form->addRow(new QLabel(message, this));
    form->addRow(QStringLiteral("操作员"), new QLabel(userId, this));
    form->addRow(QStringLiteral("密码"), password_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
}

QString SignInDialog::password() const {
    return password_->text();
}

} // namespace bom::suite
