#pragma once

#include <QDialog>

class QLabel;

namespace bom::card {

// The picture of an item, as its master data holds it.
class PictureDialog : public QDialog {
    Q_OBJECT
public:
    PictureDialog(const QString& itemCode, const QPixmap& picture, QWidget* parent = nullptr);
    QLabel* picture() const { return picture_; }

private:
    QLabel* picture_;
};

} // namespace bom::card
