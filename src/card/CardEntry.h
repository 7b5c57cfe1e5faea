#pragma once

#include "entry/ReferenceLookup.h"

#include <QString>
#include <QStringList>
#include <optional>

namespace bom::card {

// What a card view asks of the checks its entries pass: every value typed or picked goes
// through here, which refuses it (its message shown, the card unchanged) or takes it with the
// fields that follow from it. The BOM card and the substitutes card each have their own.
class CardEntry {
public:
    virtual ~CardEntry() = default;

    virtual bool headerEntry(const QString& field, const QString& value) = 0;
    virtual bool bodyEntry(int row, const QString& field, const QString& value) = 0;
    // Items picked into the item cell of `row`; each further one fills a new row.
    virtual bool pickItems(int row, const QStringList& itemCodes) = 0;
    // One value into every row's `field`.
    virtual bool fillAllLines(const QString& field, const QString& value) = 0;
    // The reference list a field offers (a header field when `row` is -1); nothing, with its
    // message shown, when there is none or it needs an earlier entry.
    virtual std::optional<entry::ReferenceQuery> reference(const QString& field, int row,
                                                           const QString& typedText) = 0;

    virtual bool offersReference(const QString& field, bool header) const = 0;
    virtual bool takesEntry(const QString& field, bool header) const = 0;
    // The body column several items may be picked into at once.
    virtual bool picksItems(const QString& field) const = 0;
    // The body columns the lines' menu fills into every line, with the menu's captions.
    virtual std::vector<std::pair<QString, QString>> allLinesFields() const = 0;
};

} // namespace bom::card
