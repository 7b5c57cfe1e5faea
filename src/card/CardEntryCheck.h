#pragma once

#include "CardEntry.h"
#include "entry/ReferenceLookup.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::card {

class VoucherControl;
class CardEntryLookups;

// Why a value was refused: the message box it shows (none when the operator declined a
// question, which is reason enough).
struct EntryRefusal {
    QString text;
    QString title;
    int style = 64;
};

// The check every value typed or picked into a card in edit passes before the card takes it,
// keyed by field name. A refused value shows its message and leaves the card as it was; an
// accepted one is written together with the fields that follow from it (names, units,
// defaults, the auxiliary figures, the total standard cost). Nothing is written to the
// database. The window, bomctl edit and the batch fill of lines all go through here.
class CardEntryCheck : public CardEntry {
public:
    CardEntryCheck(entry::Session& session, VoucherControl& card);
    ~CardEntryCheck() override;

    // A header field; false when refused (its message shown).
    bool headerEntry(const QString& field, const QString& value) override;
    // A body cell of shown line `row` (from 0); false when refused (its message shown).
    bool bodyEntry(int row, const QString& field, const QString& value) override;
    // Items picked from the item reference into the component cell of line `row`: the first
    // fills that line, each further one a new line added after the last. Each pick passes the
    // component's checks and the one-level cycle check first; false at the first refused one
    // (its message shown; the lines filled before it stay).
    bool pickItems(int row, const QStringList& itemCodes) override;
    // The department or the warehouse of every line at once ("cdepcode" or "cwhcode"): each
    // line passes the cell check; the lines refused keep their value and their refusals are
    // shown together in one message. False when any line was refused.
    bool fillAllLines(const QString& field, const QString& value) override;

    // The same checks without showing anything: what was refused, or nothing when accepted
    // (and written). Turning a saved line's substitutes off still asks its question.
    std::optional<EntryRefusal> checkHeader(const QString& field, const QString& value);
    std::optional<EntryRefusal> checkBody(int row, const QString& field, const QString& value);

    // The reference list offered for a field (a header field when `row` is -1): the session's
    // references by field name, and the card's own ones: the parent's sales orders, its
    // routings and their versions, the units of the line item's unit group. Nothing, with its
    // message shown, when there is none or it needs an earlier entry first ("请先输入母件编码",
    // "必须先输入存货！" …).
    std::optional<entry::ReferenceQuery> reference(const QString& field, int row,
                                                   const QString& typedText) override;

    // Whether the operator may enter a field at all: keys, versions, the approval, the stop flag
    // and what the item or the lines fill are the system's ("该项由系统填写，不能修改！").
    bool takesEntry(const QString& field, bool header) const override;
    // Whether a field offers a reference list to pick from (a header field when `header`).
    bool offersReference(const QString& field, bool header) const override;
    bool picksItems(const QString& field) const override;
    std::vector<std::pair<QString, QString>> allLinesFields() const override;

    // The header's total standard cost from its labour and overhead and the lines' material
    // costs (empty values count as 0).
    void recomputeTotalCost();

private:
    using Refusal = std::optional<EntryRefusal>;
    class Edit; // values an entry writes, held back until every check has passed
    // An item picked or typed into a line, with what its line takes from elsewhere.
    struct Choice;

    void show(const EntryRefusal& refusal) const;
    // The quote refused before any rule; a database failure refuses too, with its text.
    Refusal guarded(const QString& value, const std::function<Refusal()>& rule);

    Refusal headerRule(const QString& field, const QString& value);
    Refusal parentRule(Edit& edit, const QString& value);
    Refusal departmentRule(Edit& edit, const QString& value);
    Refusal salesOrderRule(Edit& edit, const QString& value);
    Refusal routingRule(Edit& edit, const QString& value);
    Refusal routingVersionRule(Edit& edit, const QString& value);
    Refusal costRule(Edit& edit, const QString& field, const QString& value);

    Refusal bodyRule(int row, const QString& field, const QString& value);
    Refusal componentRule(Edit& edit, const QString& value);
    Refusal auxiliaryUnitRule(Edit& edit, const QString& value);
    Refusal warehouseRule(Edit& edit, const QString& value);
    Refusal codeRule(Edit& edit, const QString& field, const QString& value);
    Refusal quantityRule(Edit& edit, const QString& field, const QString& value);
    Refusal pieceRule(Edit& edit, const QString& value);
    Refusal supplyTypeRule(Edit& edit, const QString& value);
    Refusal substituteFlagRule(Edit& edit, const QString& value);

    Refusal freeItemRule(Edit& edit, int number, const QString& itemCode, const QString& value);
    Refusal userDefinedRule(Edit& edit, const QString& field, const QString& cls, int number,
                            const QString& value);
    Refusal definedValueRule(const QString& cls, const QString& item, const QString& value);

    // The component checks before a line takes an item: empty, no parent, the parent itself,
    // unknown.
    Refusal choose(const QString& typed, Choice& choice);
    enum class Fill { NamesOnly, KeepingEntries, Anew };
    void fillLine(Edit& edit, const Choice& choice, Fill fill);
    void recomputeUnitQty(Edit& edit, int groupType);
    void recomputeMaterialCost(Edit& edit);

    entry::Session& session_;
    VoucherControl& card_;
    std::unique_ptr<CardEntryLookups> lookups_;
};

} // namespace bom::card
