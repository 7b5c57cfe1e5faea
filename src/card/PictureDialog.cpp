#include "PictureDialog.h"

#include "CardWindowTexts.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QScrollArea>
#include <QVBoxLayout>

namespace bom::card {

PictureDialog::PictureDialog(const QString& itemCode, const QPixmap& picture, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(CardWindowTexts::pictureTitle() + QStringLiteral(" - ") + itemCode);
    auto* layout = new QVBoxLayout(this);
    picture_ = new QLabel(this);
    picture_->setPixmap(picture);
    picture_->setAlignment(Qt::AlignCenter);
    // A large picture scrolls rather than growing the dialog past the screen.
    auto* scroll = new QScrollArea(this);
    scroll->setWidget(picture_);
    scroll->setWidgetResizable(true);
    layout->addWidget(scroll, 1);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    resize(std::min(picture.width() + 60, 900), std::min(picture.height() + 90, 700));
}

} // namespace bom::card
