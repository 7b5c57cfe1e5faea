#include "CardDocument.h"

#include "CardSummary.h"
#include "CardTexts.h"
#include "bomservice/BomHistory.h"
#include "db/DbError.h"
#include "entry/Session.h"
#include "entry/VoucherHelpers.h"
#include "suite/Prompter.h"

#include <algorithm>

namespace bom::card {
namespace {

using bomservice::BomCard;
using bomservice::BomHistory;

const QString kAutoid = QStringLiteral("autoid");

QString captionOf(const std::vector<CardField>& fields, const QString& name) {
    for (const CardField& field : fields)
        if (field.name.compare(name, Qt::CaseInsensitive) == 0)
            return field.caption;
    return name;
}

// The component of a line named in a change.
QString componentOf(const QString& line, const BomCard& card) {
    for (int row = 0; row < card.lines.rowCount(); ++row)
        if (card.lines.text(row, kAutoid) == line)
            return card.lines.text(row, QStringLiteral("cpscode"));
    return line;
}

} // namespace

CardDocument::CardDocument(entry::Session& session) : session_(session) {}

CardDocument::~CardDocument() = default;

bool CardDocument::applyTemplate(const QString& cardNumber, int templateId) {
    try {
        bomservice::BomCardLoader loader(session_);
        auto voucher = loader.LoadTemplate(cardNumber);
        if (!voucher)
            return false;
        CardLayout layout = TemplateLayout(session_).display(templateId, voucher->HaveBodyGrid);
        if (layout.header.empty() && layout.body.empty()) {
            session_.prompter.info(CardTexts::templateMissing(), CardTexts::title(), 48);
            return false;
        }
        useTemplate(std::move(*voucher), std::move(layout), templateId);
    } catch (const db::DbError& e) {
        session_.prompter.info(e.message(), CardTexts::title(), 16);
        return false;
    }
    return true;
}

void CardDocument::useTemplate(bomservice::VoucherTemplate voucher, CardLayout layout,
                               int templateId) {
    template_ = std::move(voucher);
    layout_ = std::move(layout);
    templateId_ = templateId;
    changed();
}

void CardDocument::changed() {
    summary_.reset();
    if (onChanged)
        onChanged();
}

void CardDocument::reindex() {
    live_ = card_.lines.notDeletedRows();
    current_ = std::min(current_, int(live_.size()) - 1);
}

int CardDocument::lineOf(int row) const {
    return row >= 0 && row < int(live_.size()) ? live_[std::size_t(row)] : -1;
}

void CardDocument::setVoucherStatus(int status) {
    status_ = status;
    changed();
}

void CardDocument::setEditStatus(int status) {
    edit_ = status;
    changed();
}

QString CardDocument::headerText(const QString& field) const {
    return card_.header.rowCount() == 0 ? QString() : card_.header.text(0, field);
}

void CardDocument::setHeaderText(const QString& field, const QString& value) {
    if (card_.header.rowCount() == 0)
        card_.header.appendRow();
    card_.header.setValue(0, field, value);
    changed();
}

QString CardDocument::bodyText(int row, const QString& field) const {
    const int line = lineOf(row);
    return line < 0 ? QString() : card_.lines.text(line, field);
}

void CardDocument::setBodyText(int row, const QString& field, const QString& value) {
    const int line = lineOf(row);
    if (line < 0)
        return;
    const QVariant before = card_.lines.value(line, field);
    if (!before.isNull() && before.toString() == value)
        return;
    card_.lines.setValue(line, field, value);
    // A stored line is written again only when one of its values really changed.
    if (card_.lines.editprop(line).isEmpty() && !entry::VoucherHelpers::SameValue(before, value))
        card_.lines.setEditprop(line, QStringLiteral("M"));
    changed();
}

int CardDocument::BodyRows() const {
    return int(live_.size());
}

QStringList CardDocument::bodyFields() const {
    QStringList names;
    if (layout_.body.empty()) {
        for (const auto& column : card_.lines.columns())
            names << column.name;
        return names;
    }
    for (const CardField& field : layout_.body)
        names << field.name;
    return names;
}

bool CardDocument::bodyFieldVisible(const QString& field) const {
    const CardField* found = layout_.bodyField(field);
    return found ? found->visible : layout_.body.empty();
}

void CardDocument::setBodyMaxRows(int rows) {
    maxRows_ = rows;
    changed();
}

void CardDocument::AddLine() {
    if (!layout_.hasBodyGrid || (maxRows_ > 0 && BodyRows() >= maxRows_))
        return;
    const int row = card_.lines.appendRow();
    card_.lines.setEditprop(row, QStringLiteral("A"));
    reindex();
    current_ = BodyRows() - 1;
    changed();
}

void CardDocument::DelLine(int row) {
    const int line = lineOf(row);
    if (line < 0)
        return;
    if (card_.lines.editprop(line) == QLatin1String("A"))
        card_.lines.removeRow(line); // never stored: nothing to delete
    else
        card_.lines.setEditprop(line, QStringLiteral("D"));
    reindex();
    changed();
}

void CardDocument::setCurrentRow(int row) {
    current_ = std::clamp(row, -1, BodyRows() - 1);
    changed();
}

void CardDocument::AddNew() {
    BomCard card = template_ ? bomservice::BomCardLoader(session_).NewCard(*template_) : BomCard{};
    if (card.header.rowCount() == 0)
        card.header.appendRow();
    aggregate_ = false;
    setVoucherData(card);
}

void CardDocument::setVoucherData(const BomCard& card) {
    card_ = card;
    reindex();
    current_ = BodyRows() > 0 ? 0 : -1;
    changed();
}

void CardDocument::setAggregateStatus(bool aggregate) {
    aggregate_ = aggregate;
    changed();
}

BomCard CardDocument::withoutBlankLines() const {
    BomCard out = card_;
    for (int row = BodyRows() - 1; row >= 0; --row)
        if (isBlankLine(row))
            out.lines.removeRow(lineOf(row));
    return out;
}

int CardDocument::ProtectUnload2() {
    if (status_ == 0)
        return 2;
    try {
        // Blank lines are the save's to drop, not entries left incomplete.
        return bomservice::BomCardLoader(session_).CheckRequired(withoutBlankLines(), templateId_)
                   ? 2
                   : 0;
    } catch (const db::DbError& e) {
        session_.prompter.info(e.message(), CardTexts::title(), 16);
        return 0;
    }
}

QString CardDocument::getChangeLog() const {
    // Against the version stored now, which is the one the card was loaded at until it is saved.
    const QString id = headerText(QStringLiteral("iautoid")).trimmed();
    const std::optional<BomCard> stored =
        id.isEmpty() ? std::nullopt : BomHistory(*session_.gConn).readStored(id);
    QStringList out;
    for (const BomHistory::Change& change : BomHistory::diff(stored, card_)) {
        if (change.kind == QLatin1String(BomHistory::kCreated))
            out << CardTexts::logCreated(change.newValue);
        else if (change.kind == QLatin1String(BomHistory::kDeleted))
            out << CardTexts::logDeleted();
        else if (change.kind == QLatin1String(BomHistory::kHeader))
            out << CardTexts::logHeader(captionOf(layout_.header, change.field), change.oldValue,
                                        change.newValue);
        else if (change.kind == QLatin1String(BomHistory::kLineAdded))
            out << CardTexts::logLineAdded(change.newValue);
        else if (change.kind == QLatin1String(BomHistory::kLineRemoved))
            out << CardTexts::logLineRemoved(change.oldValue);
        else
            out << CardTexts::logLineChanged(
                componentOf(change.line, card_),
                CardTexts::logHeader(captionOf(layout_.body, change.field), change.oldValue,
                                     change.newValue));
    }
    return out.join(QLatin1Char('\n'));
}

QString CardDocument::textOf(const QVariant& value, const QString& field) const {
    const CardField* shown = layout_.bodyField(field);
    return shown ? shown->text(value) : CardField{}.text(value);
}

int CardDocument::shownRows() const {
    if (!aggregate_)
        return BodyRows();
    if (!summary_)
        summary_ = std::make_unique<CardSummary>(card_.lines, live_);
    return summary_->rowCount();
}

QString CardDocument::shownText(int row, const QString& field) const {
    if (!aggregate_) {
        const int line = lineOf(row);
        return line < 0 ? QString() : textOf(card_.lines.value(line, field), field);
    }
    if (!summary_)
        summary_ = std::make_unique<CardSummary>(card_.lines, live_);
    return textOf(summary_->value(row, field), field);
}

} // namespace bom::card
