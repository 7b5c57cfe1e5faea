#pragma once

#include <QDialog>

class QDialogButtonBox;
class QLineEdit;

namespace bom::card {

// Asks for the sales-order (version) code the copies of a full-level copy take; OK needs one.
class SoCodeDialog : public QDialog {
    Q_OBJECT
public:
    SoCodeDialog(const QString& suggested, QWidget* parent = nullptr);
    QString code() const;
    QLineEdit* edit() const { return edit_; }

private:
    QLineEdit* edit_;
    QDialogButtonBox* buttons_;
};

} // namespace bom::card
