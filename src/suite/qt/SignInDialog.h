#pragma once

#include <QDialog>

class QLineEdit;

namespace bom::suite {

// Asks an operator whose account has a password for it.
class SignInDialog : public QDialog {
    Q_OBJECT
public:
    SignInDialog(const QString& userId, const QString& message, QWidget* parent = nullptr);
    QString password() const;

private:
    QLineEdit* password_;
};

} // namespace bom::suite
