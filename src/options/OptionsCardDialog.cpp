#include "OptionsCardDialog.h"

#include "card/CardTexts.h"
#include "card/VoucherView.h"
#include "db/DbError.h"
#include "entry/Session.h"
#include "suite/Prompter.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

namespace bom::options {

OptionsCardDialog::OptionsCardDialog(entry::Session& session, const QString& lineAutoid,
                                     QWidget* parent)
    : QDialog(parent), session_(session), document_(session), voucher_(session),
      check_(session, document_) {
    setWindowTitle(QStringLiteral("替代料"));
    voucher_.Autoid = lineAutoid;
    voucher_.objVoucher = this;
    auto* layout = new QVBoxLayout(this);
    auto* rows = new QHBoxLayout;
    const auto button = [&](const QString& caption, const QString& name, auto slot) {
        auto* b = new QPushButton(caption, this);
        b->setObjectName(name);
        b->setAutoDefault(false);
        connect(b, &QPushButton::clicked, this, slot);
        rows->addWidget(b);
        return b;
    };
    button(QStringLiteral("增行"), QStringLiteral("AddRow"), [this] { addRow(); });
    button(QStringLiteral("删行"), QStringLiteral("DelRow"), [this] { deleteRow(); });
    button(QStringLiteral("保存"), QStringLiteral("Save"), [this] { save(); });
    button(QStringLiteral("放弃"), QStringLiteral("Cancel"), [this] { cancelEdits(); });
    rows->addStretch(1);
    button(QStringLiteral("关闭"), QStringLiteral("Close"), [this] { reject(); });
    layout->addLayout(rows);
    view_ = new card::VoucherView(document_, this);
    view_->setEntryCheck(session_, check_);
    layout->addWidget(view_, 1);
    resize(900, 520);
}

OptionsCardDialog::~OptionsCardDialog() {
    delete view_; // it holds the document, which goes first
}

bool OptionsCardDialog::load() {
    try {
        const auto card = bomservice::BomCardLoader(session_).LoadTemplate(
            QLatin1String(clsOptVoucher::kCardNumber));
        if (!card ||
            !document_.applyTemplate(QLatin1String(clsOptVoucher::kCardNumber), card->DEF_ID))
            return false;
        view_->rebuild();
        if (!voucher_.Load())
            return false;
    } catch (const db::DbError& e) {
        session_.prompter.info(e.message(), card::CardTexts::title(), 16);
        return false;
    }
    versionLoaded_ = versionSaved_ = bomVersion();
    return true;
}

void OptionsCardDialog::setVoucherData(const bomservice::BomCard& card) {
    document_.setVoucherData(card);
    // Substitutes are edited here directly; what the BOM allows is the save's to say.
    document_.setVoucherStatus(1);
    document_.setEditStatus(1);
}

qlonglong OptionsCardDialog::bomVersion() const {
    return document_.headerText(QStringLiteral("qzts")).toLongLong();
}

bool OptionsCardDialog::edited() const {
    const bomservice::BomCard card = document_.getVoucherData();
    for (int row : card.lines.allRows())
        if (!card.lines.editprop(row).isEmpty())
            return true;
    return false;
}

bool OptionsCardDialog::save() {
    view_->commitEdits();
    bool saved = false;
    try {
        saved = voucher_.SaveVoucher();
    } catch (const db::DbError& e) {
        session_.prompter.info(e.message(), card::CardTexts::title(), 16);
    }
    if (saved)
        versionSaved_ = bomVersion();
    return saved;
}

void OptionsCardDialog::cancelEdits() {
    view_->commitEdits();
    if (!edited() ||
        session_.prompter.ask(card::CardTexts::cancelQuestion(), card::CardTexts::title(), 36) ==
            suite::Prompter::Answer::Yes) {
        try {
            voucher_.Load();
        } catch (const db::DbError& e) {
            session_.prompter.info(e.message(), card::CardTexts::title(), 16);
        }
    }
}

void OptionsCardDialog::addRow() {
    document_.AddLine();
}

void OptionsCardDialog::deleteRow() {
    const int row = document_.currentRow();
    if (row < 0) {
        session_.prompter.info(card::CardTexts::chooseLine(), card::CardTexts::title(), 0);
        return;
    }
    document_.DelLine(row);
}

void OptionsCardDialog::reject() {
    view_->commitEdits();
    if (edited() &&
        session_.prompter.ask(card::CardTexts::cancelQuestion(), card::CardTexts::title(), 36) !=
            suite::Prompter::Answer::Yes)
        return;
    QDialog::reject();
}

} // namespace bom::options
