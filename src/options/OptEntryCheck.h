#pragma once

#include "card/CardEntry.h"

#include <memory>

namespace bom::entry {
class Session;
}

namespace bom::card {
class CardEntryLookups;
class VoucherControl;
} // namespace bom::card

namespace bom::options {

// The entry checks of the substitutes card: its header is the component line and takes no
// entries; a substitute row takes an item (filling its name), free items, a warehouse, a
// storekeeper, a sequence and positive quantities. The quote refusal comes first, as on the
// BOM card. The save's own checks (duplicates, the replaced item, purchased items, the parent)
// run when it saves.
class OptEntryCheck : public card::CardEntry {
public:
    OptEntryCheck(entry::Session& session, card::VoucherControl& card);
    ~OptEntryCheck() override;

    bool headerEntry(const QString& field, const QString& value) override;
    bool bodyEntry(int row, const QString& field, const QString& value) override;
    bool pickItems(int row, const QStringList& itemCodes) override;
    bool fillAllLines(const QString& field, const QString& value) override;
    std::optional<entry::ReferenceQuery> reference(const QString& field, int row,
                                                   const QString& typedText) override;
    bool offersReference(const QString& field, bool header) const override;
    bool takesEntry(const QString& field, bool header) const override;
    bool picksItems(const QString& field) const override;
    std::vector<std::pair<QString, QString>> allLinesFields() const override;

private:
    // The refusal of a value for a row's field, or empty when it was taken.
    QString enter(int row, const QString& field, const QString& value);
    QString enterItem(int row, const QString& value);
    void refuse(const QString& text) const;

    entry::Session& session_;
    card::VoucherControl& card_;
    std::unique_ptr<card::CardEntryLookups> lookups_;
};

} // namespace bom::options
