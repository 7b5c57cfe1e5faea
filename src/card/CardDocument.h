#pragma once

#include "TemplateLayout.h"
#include "VoucherControl.h"
#include "bomservice/BomCardLoader.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::card {

class CardSummary;

// The UI-free card: the template's layout, the BOM card being shown or edited and its state.
// The Qt view draws it and writes the operator's entries into it; tests drive it directly.
class CardDocument : public VoucherControl {
public:
    explicit CardDocument(entry::Session& session);
    ~CardDocument() override;

    // Lays the card out by a display template of the card number ("PP30"); false when the
    // template has no fields (its message shown).
    bool applyTemplate(const QString& cardNumber, int templateId);
    // The same with a template and layout read already (many cards laid out alike).
    void useTemplate(bomservice::VoucherTemplate voucher, CardLayout layout, int templateId);
    const CardLayout& layout() const { return layout_; }
    int templateId() const { return templateId_; }

    // Called after every change of data or state, so a view redraws.
    std::function<void()> onChanged;

    // VoucherControl
    int VoucherStatus() const override { return status_; }
    void setVoucherStatus(int status) override;
    int editStatus() const override { return edit_; }
    void setEditStatus(int status) override;
    QString headerText(const QString& field) const override;
    void setHeaderText(const QString& field, const QString& value) override;
    QString bodyText(int row, const QString& field) const override;
    void setBodyText(int row, const QString& field, const QString& value) override;
    int BodyRows() const override;
    QStringList bodyFields() const override;
    bool bodyFieldVisible(const QString& field) const override;
    int BodyMaxRows() const override { return maxRows_; }
    void setBodyMaxRows(int rows) override;
    void AddLine() override;
    void DelLine(int row) override;
    int currentRow() const override { return current_; }
    void setCurrentRow(int row) override;
    void AddNew() override;
    bomservice::BomCard getVoucherData() const override { return card_; }
    void setVoucherData(const bomservice::BomCard& card) override;
    bool IsAggregateStatus() const override { return aggregate_; }
    void setAggregateStatus(bool aggregate) override;
    int ProtectUnload2() override;
    QString getChangeLog() const override;

    // The rows the body shows: the lines, or, summarised, one row per component with summed
    // quantities (see CardSummary).
    int shownRows() const;
    QString shownText(int row, const QString& field) const;

private:
    int lineOf(int row) const; // the row set's row of a line; -1 when there is none
    void reindex();
    QString textOf(const QVariant& value, const QString& field) const;
    bomservice::BomCard withoutBlankLines() const;
    void changed();

    entry::Session& session_;
    CardLayout layout_;
    std::optional<bomservice::VoucherTemplate> template_;
    int templateId_ = 0;
    bomservice::BomCard card_;
    int status_ = 0;
    int edit_ = 0;
    int current_ = -1;
    int maxRows_ = 0; // 0: no limit
    bool aggregate_ = false;
    std::vector<int> live_;                        // rows of the lines not marked deleted
    mutable std::unique_ptr<CardSummary> summary_; // made when the summarised view is read
};

} // namespace bom::card
