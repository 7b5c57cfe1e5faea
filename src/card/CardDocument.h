#pragma once

#include "VoucherControl.h"

#include <functional>
#include <optional>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::card {

// One field of a card template as the view lays it out.
struct CardField {
    QString name;    // lower case, the view's column
    QString caption; // cardformula1, else carditemname, else the free-item caption, else name
    int order = 0;
    bool visible = true;
    bool required = false;
    int decimals = -1; // NumPoint; -1 when not a number
};

struct CardLayout {
    std::vector<CardField> header; // in display order
    std::vector<CardField> body;
    bool hasBodyGrid = true;
};

// The UI-free card: the template's layout, the BOM card being shown or edited and its state.
// The Qt view draws it and writes the operator's entries into it; tests drive it directly.
class CardDocument : public VoucherControl {
public:
    explicit CardDocument(entry::Session& session);

    // Lays the card out by a display template of the card number ("PP30"); false when the
    // template has no fields (its message shown).
    bool applyTemplate(const QString& cardNumber, int templateId);
    const CardLayout& layout() const { return layout_; }

    // Called after every change of data or state, so a view redraws.
    std::function<void()> onChanged;

    // VoucherControl
    int VoucherStatus() const override;
    void setVoucherStatus(int status) override;
    int editStatus() const override;
    void setEditStatus(int status) override;
    QString headerText(const QString& field) const override;
    void setHeaderText(const QString& field, const QString& value) override;
    QString bodyText(int row, const QString& field) const override;
    void setBodyText(int row, const QString& field, const QString& value) override;
    int BodyRows() const override;
    QStringList bodyFields() const override;
    bool bodyFieldVisible(const QString& field) const override;
    int BodyMaxRows() const override;
    void setBodyMaxRows(int rows) override;
    void AddLine() override;
    void DelLine(int row) override;
    int currentRow() const override;
    void setCurrentRow(int row) override;
    void AddNew() override;
    bomservice::BomCard getVoucherData() const override;
    void setVoucherData(const bomservice::BomCard& card) override;
    bool IsAggregateStatus() const override;
    void setAggregateStatus(bool aggregate) override;
    int ProtectUnload2() override;
    QString getChangeLog() const override;

    // The rows the body shows: the lines, or, summarised, one row per component with summed
    // quantities.
    int shownRows() const;
    QString shownText(int row, const QString& field) const;

private:
    entry::Session& session_;
    CardLayout layout_;
};

} // namespace bom::card
