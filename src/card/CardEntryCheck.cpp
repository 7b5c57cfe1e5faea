#include "CardEntryCheck.h"

#include "CardEntryLookups.h"
#include "CardEntryTexts.h"
#include "CardTexts.h"
#include "VoucherControl.h"
#include "bomservice/UnitQty.h"
#include "db/DbError.h"
#include "entry/BomIdentity.h"
#include "entry/Format.h"
#include "entry/Session.h"
#include "entry/VoucherHelpers.h"
#include "suite/Prompter.h"

#include <QRegularExpression>

namespace bom::card {
namespace {

using Texts = CardEntryTexts;
using entry::VoucherHelpers::ToNumber;

const QString kYes = QStringLiteral("是");
const QString kNo = QStringLiteral("否");
const QString kBackflush = QStringLiteral("入库倒冲");
const QString kNormalIssue = QStringLiteral("正常领料");

EntryRefusal refuse(const QString& text, int style = 64) {
    return {text, CardTexts::title(), style};
}

// The refusals that ask for an earlier entry, titled "提示".
EntryRefusal remind(const QString& text) {
    return {text, Texts::promptTitle(), 64};
}

// The number N of a field named prefix + N within [first, last].
std::optional<int> numbered(const QString& field, const char* prefix, int first, int last) {
    const QString start = QLatin1String(prefix);
    if (!field.startsWith(start))
        return std::nullopt;
    bool ok = false;
    const int n = field.mid(start.size()).toInt(&ok);
    if (!ok || n < first || n > last)
        return std::nullopt;
    return n;
}

struct CostFigure {
    const char* field;
    bool zeroAllowed;
    QString (*refusal)();
};

const CostFigure kCostFigures[] = {
    {"ifinishexch", false, &Texts::yieldRate}, {"fbzgs", true, &Texts::standardHours},
    {"fbzgzl", true, &Texts::wageRate},        {"fbzrgcb", true, &Texts::labourCost},
    {"fbzfyl", true, &Texts::overheadRate},    {"fbzzfy", true, &Texts::overhead},
    {"fqmzcpwlcb", true, &Texts::wipMaterial}, {"fqmzcprgcb", true, &Texts::wipLabour},
    {"fqmzcpzzfy", true, &Texts::wipOverhead},
};

const CostFigure* costFigure(const QString& field) {
    for (const CostFigure& figure : kCostFigures)
        if (field == QLatin1String(figure.field))
            return &figure;
    return nullptr;
}

// Line fields whose change moves the line's material cost and so the header's total.
bool movesCost(const QString& field) {
    static const QStringList fields{"cpscode",    "cinvname", "ipsquantity", "tdqtyd",
                                    "iwasterate", "fbzdj",    "fbzwlcb",     "unitqty"};
    return fields.contains(field);
}

} // namespace

class CardEntryCheck::Edit {
public:
    Edit(VoucherControl& card, int row) : card_(card), row_(row) {}

    QString text(const QString& field) const {
        for (auto it = writes_.rbegin(); it != writes_.rend(); ++it)
            if (it->first == field)
                return it->second;
        return row_ < 0 ? card_.headerText(field) : card_.bodyText(row_, field);
    }
    QString code(const QString& field) const { return text(field).trimmed(); }
    std::optional<double> number(const QString& field) const { return ToNumber(text(field)); }
    void set(const QString& field, const QString& value) { writes_.emplace_back(field, value); }
    // Empties a field that holds something.
    void clear(const QString& field) {
        if (!text(field).isEmpty())
            set(field, QString());
    }
    void apply() {
        for (const auto& [field, value] : writes_) {
            if (row_ < 0)
                card_.setHeaderText(field, value);
            else
                card_.setBodyText(row_, field, value);
        }
        writes_.clear();
    }

private:
    VoucherControl& card_;
    int row_;
    std::vector<std::pair<QString, QString>> writes_;
};

struct CardEntryCheck::Choice {
    EntryItem item;
    std::optional<EntryWarehouse> warehouse; // the default one the line may take
};

CardEntryCheck::CardEntryCheck(entry::Session& session, VoucherControl& card)
    : session_(session), card_(card), lookups_(std::make_unique<CardEntryLookups>(session)) {}

CardEntryCheck::~CardEntryCheck() = default;

void CardEntryCheck::show(const EntryRefusal& refusal) const {
    if (!refusal.text.isEmpty()) // a declined question has said all there is
        session_.prompter.info(refusal.text, refusal.title, refusal.style);
}

CardEntryCheck::Refusal CardEntryCheck::guarded(const QString& value,
                                                const std::function<Refusal()>& rule) {
    if (value.contains(QLatin1Char('\'')))
        return refuse(Texts::badCharacter());
    try {
        return rule();
    } catch (const db::DbError& e) {
        return refuse(e.message(), 16);
    }
}

bool CardEntryCheck::headerEntry(const QString& field, const QString& value) {
    const Refusal refusal = checkHeader(field, value);
    if (refusal)
        show(*refusal);
    return !refusal;
}

bool CardEntryCheck::bodyEntry(int row, const QString& field, const QString& value) {
    const Refusal refusal = checkBody(row, field, value);
    if (refusal)
        show(*refusal);
    return !refusal;
}

std::optional<EntryRefusal> CardEntryCheck::checkHeader(const QString& field,
                                                        const QString& value) {
    return guarded(value, [&]() -> Refusal {
        if (!takesEntry(field, true))
            return refuse(Texts::filledBySystem());
        return headerRule(field.trimmed().toLower(), value);
    });
}

std::optional<EntryRefusal> CardEntryCheck::checkBody(int row, const QString& field,
                                                      const QString& value) {
    return guarded(value, [&]() -> Refusal {
        if (row < 0 || row >= card_.BodyRows())
            return refuse(CardTexts::chooseLine());
        if (!takesEntry(field, false))
            return refuse(Texts::filledBySystem());
        return bodyRule(row, field.trimmed().toLower(), value);
    });
}

// Header.

CardEntryCheck::Refusal CardEntryCheck::headerRule(const QString& field, const QString& value) {
    Edit edit(card_, -1);
    Refusal refusal;
    bool costs = false;
    if (field == QLatin1String("bexpand") || field == QLatin1String("bmrcbbom")) {
        if (value != kYes && value != kNo)
            return refuse(Texts::wrongEntry());
        edit.set(field, value);
    } else if (field == QLatin1String("cpspcode") || field == QLatin1String("cinvname")) {
        refusal = parentRule(edit, value);
    } else if (field == QLatin1String("cdepcode") || field == QLatin1String("cdepname")) {
        refusal = departmentRule(edit, value);
    } else if (field == QLatin1String("csocode")) {
        refusal = salesOrderRule(edit, value);
    } else if (field == QLatin1String("routcode") || field == QLatin1String("routname")) {
        refusal = routingRule(edit, value);
    } else if (field == QLatin1String("croutsocode")) {
        refusal = routingVersionRule(edit, value);
    } else if (costFigure(field) || field == QLatin1String("fbzwlcb") ||
               field == QLatin1String("fbzcb")) {
        refusal = costRule(edit, field, value);
        costs = true;
    } else if (const auto n = numbered(field, "cfree", 1, 10)) {
        const QString parent = edit.code(QStringLiteral("cpspcode"));
        if (!value.trimmed().isEmpty() && parent.isEmpty())
            return remind(Texts::parentFirst());
        refusal = freeItemRule(edit, *n, parent, value);
    } else if (const auto d = numbered(field, "cdefine", 1, 16)) {
        refusal = userDefinedRule(edit, field, QStringLiteral("单据头"), *d, value);
    } else {
        edit.set(field, value);
    }
    if (refusal)
        return refusal;
    edit.apply();
    if (costs)
        recomputeTotalCost();
    return std::nullopt;
}

CardEntryCheck::Refusal CardEntryCheck::parentRule(Edit& edit, const QString& value) {
    const QString typed = value.trimmed();
    const QString before = edit.code(QStringLiteral("cpspcode"));
    std::optional<EntryItem> item;
    if (!typed.isEmpty()) {
        item = lookups_->parentItem(typed);
        if (!item)
            return refuse(Texts::noParentItem(value));
        if (item->planPolicy == 2)
            return refuse(Texts::ropParent(item->code));
        for (int row = 0; row < card_.BodyRows(); ++row)
            if (card_.bodyText(row, QStringLiteral("cpscode")).trimmed() == item->code)
                return refuse(Texts::parentIsComponent());
    }
    edit.set(QStringLiteral("cpspcode"), item ? item->code : QString());
    edit.set(QStringLiteral("cinvname"), item ? item->name : QString());
    edit.set(QStringLiteral("cinvstd"), item ? item->specification : QString());
    for (int n = 1; n <= 10; ++n)
        if (!item || !item->usesFree[std::size_t(n - 1)])
            edit.clear(QStringLiteral("cfree%1").arg(n));
    // The sales order line and the routing belonged to the item before.
    if (!item || item->code != before)
        for (const char* field : {"csocode", "routid", "routcode", "routname", "croutsocode"})
            edit.clear(QLatin1String(field));
    return std::nullopt;
}

CardEntryCheck::Refusal CardEntryCheck::departmentRule(Edit& edit, const QString& value) {
    std::optional<EntryCode> department;
    if (!value.trimmed().isEmpty()) {
        department = lookups_->endDepartment(value.trimmed());
        if (!department)
            return refuse(Texts::noDepartment());
    }
    edit.set(QStringLiteral("cdepcode"), department ? department->code : QString());
    edit.set(QStringLiteral("cdepname"), department ? department->name : QString());
    return std::nullopt;
}

// An order BOM names one line of a sales order as order-item-line. A typed order code takes
// the order's first line of the parent; a typed line key must be a line of the parent; any
// other text is a version code of the parent's own.
CardEntryCheck::Refusal CardEntryCheck::salesOrderRule(Edit& edit, const QString& value) {
    const QString typed = value.trimmed();
    if (typed.isEmpty()) {
        edit.set(QStringLiteral("csocode"), QString());
        return std::nullopt;
    }
    const QString parent = edit.code(QStringLiteral("cpspcode"));
    if (parent.isEmpty())
        return remind(Texts::parentFirst());
    const auto noLine = [&](const QString& order) {
        return refuse(Texts::noOrderLine(order, lookups_->terms().parent, parent));
    };
    if (lookups_->orderExists(typed)) {
        const auto line = lookups_->orderLineOfItem(typed, parent);
        if (!line)
            return noLine(typed);
        edit.set(QStringLiteral("csocode"),
                 QStringLiteral("%1-%2-%3").arg(typed, parent).arg(*line));
        return std::nullopt;
    }
    const QStringList parts = typed.split(QLatin1Char('-'));
    bool numeric = false;
    const qlonglong lineId = parts.size() == 3 ? parts[2].toLongLong(&numeric) : 0;
    if (numeric && lineId > 0 &&
        (parts[1] != parent || !lookups_->orderLineExists(parts[0], parts[1], lineId)))
        return noLine(parts[0]);
    edit.set(QStringLiteral("csocode"), typed);
    return std::nullopt;
}

CardEntryCheck::Refusal CardEntryCheck::routingRule(Edit& edit, const QString& value) {
    const QString typed = value.trimmed();
    std::optional<EntryRouting> routing;
    if (!typed.isEmpty()) {
        const QString parent = edit.code(QStringLiteral("cpspcode"));
        if (parent.isEmpty())
            return remind(Texts::parentFirst());
        QStringList freeItems;
        for (int n = 1; n <= 10; ++n)
            freeItems << edit.code(QStringLiteral("cfree%1").arg(n));
        routing = lookups_->routing(typed, parent, freeItems);
        if (!routing)
            return refuse(Texts::noRouting());
    }
    edit.set(QStringLiteral("routid"), routing ? routing->id.toString() : QString());
    edit.set(QStringLiteral("routcode"), routing ? routing->code : QString());
    edit.set(QStringLiteral("routname"), routing ? routing->name : QString());
    edit.set(QStringLiteral("croutsocode"), routing ? routing->version : QString());
    return std::nullopt;
}

CardEntryCheck::Refusal CardEntryCheck::routingVersionRule(Edit& edit, const QString& value) {
    const QString typed = value.trimmed();
    const QString routCode = edit.code(QStringLiteral("routcode"));
    if (routCode.isEmpty()) {
        if (!typed.isEmpty())
            return remind(Texts::routingFirst());
        edit.set(QStringLiteral("croutsocode"), QString());
        return std::nullopt;
    }
    // Each version is a routing of its own: the card follows the one chosen.
    const auto version = lookups_->routingVersion(routCode, typed);
    if (!version)
        return refuse(Texts::noRoutingVersion());
    edit.set(QStringLiteral("routid"), version->id.toString());
    edit.set(QStringLiteral("routname"), version->name);
    edit.set(QStringLiteral("croutsocode"), version->version);
    return std::nullopt;
}

CardEntryCheck::Refusal CardEntryCheck::costRule(Edit& edit, const QString& field,
                                                 const QString& value) {
    if (!value.trimmed().isEmpty()) {
        const auto number = ToNumber(value);
        if (!number)
            return refuse(Texts::notANumber());
        if (const CostFigure* figure = costFigure(field))
            if (*number < 0 || (*number == 0 && !figure->zeroAllowed))
                return remind(figure->refusal());
    }
    edit.set(field, value);
    return std::nullopt;
}

// Free items and user-defined items of the header and the lines.

CardEntryCheck::Refusal CardEntryCheck::freeItemRule(Edit& edit, int number,
                                                     const QString& itemCode,
                                                     const QString& value) {
    const QString field = QStringLiteral("cfree%1").arg(number);
    if (value.trimmed().isEmpty()) {
        edit.set(field, value);
        return std::nullopt;
    }
    const QString item = QStringLiteral("自由项%1").arg(number);
    if (!lookups_->freeItemsUsed(itemCode)[std::size_t(number - 1)]) {
        std::optional<UserDefinition> definition;
        try {
            definition = lookups_->definition(QStringLiteral("存货"), item);
        } catch (const db::DbError&) {
            return refuse(Texts::userDefinitionsUnread(), 16);
        }
        return refuse(Texts::freeItemUnused(definition ? definition->caption : item));
    }
    if (Refusal refusal = definedValueRule(QStringLiteral("存货"), item, value.trimmed()))
        return refusal;
    edit.set(field, value.trimmed());
    return std::nullopt;
}

CardEntryCheck::Refusal CardEntryCheck::userDefinedRule(Edit& edit, const QString& field,
                                                        const QString& cls, int number,
                                                        const QString& value) {
    if (!value.trimmed().isEmpty())
        if (Refusal refusal =
                definedValueRule(cls, QStringLiteral("自定义项%1").arg(number), value.trimmed()))
            return refusal;
    edit.set(field, value.trimmed());
    return std::nullopt;
}

// A value of an item userdef defines, by the rule every entry check shares.
CardEntryCheck::Refusal CardEntryCheck::definedValueRule(const QString& cls, const QString& item,
                                                         const QString& value) {
    using Verdict = entry::EntryLookups::DefinedValue;
    Verdict verdict = Verdict::Accepted;
    try {
        verdict = lookups_->master().checkDefinedValue(cls, item, value);
    } catch (const db::DbError&) {
        return refuse(Texts::userDefinitionsUnread(), 16);
    }
    switch (verdict) {
    case Verdict::Accepted:
        return std::nullopt;
    case Verdict::NotANumber:
        return refuse(Texts::notANumber());
    default:
        return refuse(Texts::userValueRefused());
    }
}

// Lines.

CardEntryCheck::Refusal CardEntryCheck::bodyRule(int row, const QString& field,
                                                 const QString& value) {
    Edit edit(card_, row);
    Refusal refusal;
    if (field == QLatin1String("cpscode") || field == QLatin1String("cinvname")) {
        refusal = componentRule(edit, value);
    } else if (field == QLatin1String("ccaacomunitcode") ||
               field == QLatin1String("ccaacomunitname")) {
        refusal = auxiliaryUnitRule(edit, value);
    } else if (field == QLatin1String("cwhcode") || field == QLatin1String("cwhname")) {
        refusal = warehouseRule(edit, value);
    } else if (field == QLatin1String("cdepcode") || field == QLatin1String("usedept") ||
               field == QLatin1String("cpersonname") || field == QLatin1String("cprocedurename")) {
        refusal = codeRule(edit, field, value);
    } else if (field == QLatin1String("iwasterate") || field == QLatin1String("tdqtyd") ||
               field == QLatin1String("ipsquantity") || field == QLatin1String("iprodchangrate") ||
               field == QLatin1String("fbzdj")) {
        refusal = quantityRule(edit, field, value);
    } else if (field == QLatin1String("unitqty")) {
        refusal = pieceRule(edit, value);
    } else if (field == QLatin1String("replaceflag")) {
        refusal = substituteFlagRule(edit, value);
    } else if (field == QLatin1String("wiptype")) {
        refusal = supplyTypeRule(edit, value);
    } else if (field == QLatin1String("fbzwlcb")) {
        if (!value.trimmed().isEmpty() && !ToNumber(value))
            return refuse(Texts::notANumber());
        edit.set(field, value);
    } else if (const auto n = numbered(field, "cfree", 1, 10)) {
        const QString component = edit.code(QStringLiteral("cpscode"));
        if (!value.trimmed().isEmpty() && component.isEmpty())
            return refuse(Texts::itemFirst());
        refusal = freeItemRule(edit, *n, component, value);
    } else if (const auto d = numbered(field, "cdefine", 22, 37)) {
        refusal = userDefinedRule(edit, field, QStringLiteral("单据体"), *d - 21, value);
    } else {
        edit.set(field, value);
    }
    if (refusal)
        return refusal;
    edit.apply();
    if (movesCost(field))
        recomputeTotalCost();
    return std::nullopt;
}

CardEntryCheck::Refusal CardEntryCheck::choose(const QString& typed, Choice& choice) {
    const QString code = typed.trimmed();
    const QString parent = card_.headerText(QStringLiteral("cpspcode")).trimmed();
    if (code.isEmpty())
        return refuse(Texts::componentEmpty());
    if (parent.isEmpty())
        return refuse(Texts::parentEmpty());
    if (code == parent)
        return refuse(Texts::parentIsComponent());
    auto item = lookups_->componentItem(code);
    if (!item)
        return refuse(CardTexts::noItem());
    if (item->code == parent)
        return refuse(Texts::parentIsComponent());
    choice.item = std::move(*item);
    choice.warehouse = lookups_->defaultWarehouse(choice.item.code);
    // A tracked item may not be issued from a site or outsourcing warehouse.
    if (choice.warehouse && choice.warehouse->isSite() && choice.item.tracked)
        choice.warehouse.reset();
    return std::nullopt;
}

CardEntryCheck::Refusal CardEntryCheck::componentRule(Edit& edit, const QString& value) {
    Choice choice;
    if (Refusal refusal = choose(value, choice))
        return refusal;
    // The same item typed again only refreshes its names: the line keeps what was entered.
    if (edit.code(QStringLiteral("cpscode")) == choice.item.code) {
        fillLine(edit, choice, Fill::NamesOnly);
        return std::nullopt;
    }
    // A line that keeps its warehouse keeps it only as the new item allows.
    if (!choice.warehouse && choice.item.tracked) {
        const QString warehouse = edit.code(QStringLiteral("cwhcode"));
        if (!warehouse.isEmpty() && lookups_->warehouseProperty(warehouse).value_or(0) != 0)
            return refuse(Texts::trackedOnSite());
        if (warehouse.isEmpty() && edit.text(QStringLiteral("wiptype")) == kBackflush)
            return refuse(Texts::trackedBackflush());
    }
    fillLine(edit, choice, Fill::KeepingEntries);
    return std::nullopt;
}

// What a line takes from its item: names and units always; then its price, default warehouse
// with the supply type that goes with it and the figures that follow. A picked item fills the
// line anew; a typed one keeps the quantities, flags and sales order already entered.
void CardEntryCheck::fillLine(Edit& edit, const Choice& choice, Fill fill) {
    const EntryItem& item = choice.item;
    edit.set(QStringLiteral("cpscode"), item.code);
    edit.set(QStringLiteral("cinvname"), item.name);
    edit.set(QStringLiteral("cinvstd"), item.specification);
    edit.set(QStringLiteral("cinvaddcode"), item.addCode);
    edit.set(QStringLiteral("ccomunitname"), item.mainUnitName);
    const QStringList fields = card_.bodyFields();
    for (int n = 1; n <= 16; ++n) {
        const QString field = QStringLiteral("cinvdefine%1").arg(n);
        if (fields.contains(field, Qt::CaseInsensitive))
            edit.set(field, item.defines[std::size_t(n - 1)].toString());
    }
    if (fill == Fill::NamesOnly)
        return;

    edit.set(QStringLiteral("ccaacomunitcode"), item.auxUnitCode);
    edit.set(QStringLiteral("ccaacomunitname"), item.auxUnitName);
    edit.set(QStringLiteral("iprodchangrate"),
             item.auxUnitCode.isEmpty() ? QString() : item.auxRate.toString());
    edit.clear(QStringLiteral("unitqty"));
    for (int n = 1; n <= 10; ++n)
        if (!item.usesFree[std::size_t(n - 1)])
            edit.clear(QStringLiteral("cfree%1").arg(n));
    const auto byDefault = [&](const char* field, const QString& value) {
        if (fill == Fill::Anew || edit.text(QLatin1String(field)).trimmed().isEmpty())
            edit.set(QLatin1String(field), value);
    };
    byDefault("csocode", card_.headerText(QStringLiteral("csocode")));
    byDefault("ipsquantity", QStringLiteral("1"));
    byDefault("tdqtyd", QStringLiteral("1"));
    byDefault("replaceflag", kNo);
    edit.set(QStringLiteral("fbzdj"),
             item.referenceCost.isNull() ? QString() : item.referenceCost.toString());
    if (choice.warehouse) {
        edit.set(QStringLiteral("cwhcode"), choice.warehouse->code);
        edit.set(QStringLiteral("cwhname"), choice.warehouse->name);
        edit.set(QStringLiteral("wiptype"), choice.warehouse->isSite() ? kBackflush : kNormalIssue);
    } else {
        if (fill == Fill::Anew) {
            edit.set(QStringLiteral("cwhcode"), QString());
            edit.set(QStringLiteral("cwhname"), QString());
        }
        byDefault("wiptype", kNormalIssue);
    }
    recomputeUnitQty(edit, item.auxGroupType);
    recomputeMaterialCost(edit);
}

CardEntryCheck::Refusal CardEntryCheck::auxiliaryUnitRule(Edit& edit, const QString& value) {
    const QString item = edit.code(QStringLiteral("cpscode"));
    if (item.isEmpty())
        return refuse(Texts::itemFirst());
    if (value.trimmed().isEmpty()) {
        for (const char* field :
             {"ccaacomunitcode", "ccaacomunitname", "iprodchangrate", "unitqty"})
            edit.clear(QLatin1String(field));
        return std::nullopt;
    }
    const auto unit = lookups_->unitOfItem(item, value.trimmed());
    if (!unit)
        return refuse(Texts::noAuxiliaryUnit());
    edit.set(QStringLiteral("ccaacomunitcode"), unit->code);
    edit.set(QStringLiteral("ccaacomunitname"), unit->name);
    edit.set(QStringLiteral("iprodchangrate"), unit->rate.toString());
    recomputeUnitQty(edit, unit->groupType);
    return std::nullopt;
}

CardEntryCheck::Refusal CardEntryCheck::warehouseRule(Edit& edit, const QString& value) {
    if (value.trimmed().isEmpty()) {
        edit.clear(QStringLiteral("cwhcode"));
        edit.clear(QStringLiteral("cwhname"));
        return std::nullopt;
    }
    const auto warehouse = lookups_->warehouse(value.trimmed());
    if (!warehouse)
        return refuse(Texts::noWarehouse());
    const QString component = edit.code(QStringLiteral("cpscode"));
    if (warehouse->isSite() && !component.isEmpty() && lookups_->isTracked(component))
        return refuse(Texts::trackedOnSite());
    edit.set(QStringLiteral("cwhcode"), warehouse->code);
    edit.set(QStringLiteral("cwhname"), warehouse->name);
    // The supply type goes with the kind of warehouse (see the supply type's rule).
    edit.set(QStringLiteral("wiptype"), warehouse->isSite() ? kBackflush : kNormalIssue);
    return std::nullopt;
}

// Workshop, storekeeper and operation: a code or name of the master data; the line keeps the
// code and name of the workshop and the name of the other two.
CardEntryCheck::Refusal CardEntryCheck::codeRule(Edit& edit, const QString& field,
                                                 const QString& value) {
    const bool workshop = field == QLatin1String("cdepcode") || field == QLatin1String("usedept");
    const QString typed = value.trimmed();
    std::optional<EntryCode> found;
    if (!typed.isEmpty()) {
        if (workshop)
            found = lookups_->endDepartment(typed);
        else if (field == QLatin1String("cpersonname"))
            found = lookups_->person(typed);
        else
            found = lookups_->operation(typed);
        if (!found)
            return refuse(workshop                                ? Texts::noWorkshop()
                          : field == QLatin1String("cpersonname") ? Texts::noStorekeeper()
                                                                  : Texts::noOperation());
    }
    if (workshop) {
        edit.set(QStringLiteral("cdepcode"), found ? found->code : QString());
        edit.set(QStringLiteral("usedept"), found ? found->name : QString());
    } else {
        edit.set(field, found ? found->name : QString());
    }
    return std::nullopt;
}

// Numerator, denominator, conversion rate, waste rate and price: the line's number rules, then
// the figures that follow from them.
CardEntryCheck::Refusal CardEntryCheck::quantityRule(Edit& edit, const QString& field,
                                                     const QString& value) {
    const QString refusal = entry::VoucherHelpers::CheckLineNumber(field, value);
    if (!refusal.isEmpty())
        return refuse(refusal);
    edit.set(field, value.trimmed());
    if (field == QLatin1String("ipsquantity") || field == QLatin1String("tdqtyd") ||
        field == QLatin1String("iprodchangrate")) {
        const QString unit = edit.code(QStringLiteral("ccaacomunitcode"));
        recomputeUnitQty(edit, unit.isEmpty() ? 0 : lookups_->groupTypeOfUnit(unit));
    }
    recomputeMaterialCost(edit);
    return std::nullopt;
}

// Pieces in the auxiliary unit: a fixed rate gives the numerator back, a floating one the rate.
CardEntryCheck::Refusal CardEntryCheck::pieceRule(Edit& edit, const QString& value) {
    const QString refusal =
        entry::VoucherHelpers::CheckLineNumber(QStringLiteral("unitqty"), value);
    if (!refusal.isEmpty())
        return refuse(refusal);
    edit.set(QStringLiteral("unitqty"), value.trimmed());
    if (value.trimmed().isEmpty())
        return std::nullopt;
    const double pieces = *ToNumber(value);
    const QString unit = edit.code(QStringLiteral("ccaacomunitcode"));
    const int groupType = unit.isEmpty() ? 0 : lookups_->groupTypeOfUnit(unit);
    const double denominator = edit.number(QStringLiteral("tdqtyd")).value_or(0);
    if (groupType == 1) {
        const double rate = edit.number(QStringLiteral("iprodchangrate")).value_or(0);
        if (rate > 0 && denominator > 0) {
            const QString numerator =
                entry::FormatByDigits(pieces * rate * denominator, session_.gQuanDigits);
            const QString tooSmall =
                entry::VoucherHelpers::CheckLineNumber(QStringLiteral("ipsquantity"), numerator);
            if (!tooSmall.isEmpty())
                return refuse(tooSmall);
            edit.set(QStringLiteral("ipsquantity"), numerator);
        }
    } else if (groupType == 2) {
        const auto numerator = edit.number(QStringLiteral("ipsquantity"));
        if (numerator && denominator > 0) {
            const QString rate =
                entry::FormatByDigits(*numerator / denominator / pieces, session_.gRateDigits);
            const QString tooSmall =
                entry::VoucherHelpers::CheckLineNumber(QStringLiteral("iprodchangrate"), rate);
            if (!tooSmall.isEmpty())
                return refuse(tooSmall);
            edit.set(QStringLiteral("iprodchangrate"), rate);
        }
    }
    recomputeMaterialCost(edit);
    return std::nullopt;
}

// Units converting at a rate (fixed 1, floating 2) show the numerator in pieces of the
// auxiliary unit; the service's own arithmetic and rounding.
void CardEntryCheck::recomputeUnitQty(Edit& edit, int groupType) {
    if (groupType != 1 && groupType != 2)
        return;
    const auto unitQty = bomservice::UnitQtyOf(
        edit.number(QStringLiteral("ipsquantity")).value_or(0),
        edit.number(QStringLiteral("tdqtyd")).value_or(0),
        edit.number(QStringLiteral("iprodchangrate")).value_or(0), session_.gNumDigits);
    if (unitQty)
        edit.set(QStringLiteral("unitqty"), entry::FormatByDigits(*unitQty, session_.gNumDigits));
}

// Price × numerator ÷ denominator × (1 + waste%): empty without a price.
void CardEntryCheck::recomputeMaterialCost(Edit& edit) {
    const auto price = edit.number(QStringLiteral("fbzdj"));
    const double denominator = edit.number(QStringLiteral("tdqtyd")).value_or(0);
    if (!price) {
        edit.clear(QStringLiteral("fbzwlcb"));
        return;
    }
    if (denominator == 0)
        return;
    const double cost =
        *price * entry::VoucherHelpers::QuantityPer(
                     edit.number(QStringLiteral("ipsquantity")).value_or(0), denominator,
                     edit.number(QStringLiteral("iwasterate")).value_or(0));
    edit.set(QStringLiteral("fbzwlcb"), entry::FormatByDigits(cost, session_.gPriceDigits));
}

CardEntryCheck::Refusal CardEntryCheck::supplyTypeRule(Edit& edit, const QString& value) {
    if (value != kBackflush && value != kNormalIssue)
        return refuse(Texts::wrongEntry());
    const bool backflush = value == kBackflush;
    const QString warehouse = edit.code(QStringLiteral("cwhcode"));
    if (!warehouse.isEmpty()) {
        const bool site = lookups_->warehouseProperty(warehouse).value_or(0) != 0;
        if (backflush && !site)
            return refuse(Texts::backflushNeedsSite());
        if (!backflush && site)
            return refuse(Texts::otherNeedsOrdinary());
    }
    const QString component = edit.code(QStringLiteral("cpscode"));
    if (backflush && !component.isEmpty() && lookups_->isTracked(component))
        return refuse(Texts::trackedBackflush());
    edit.set(QStringLiteral("wiptype"), value);
    return std::nullopt;
}

// Turning substitutes off drops a saved line's substitutes with the save, so it is asked
// first; a made component (one with a BOM of its own for the line's order and free items) is
// never substituted.
CardEntryCheck::Refusal CardEntryCheck::substituteFlagRule(Edit& edit, const QString& value) {
    if (value != kYes && value != kNo)
        return refuse(Texts::wrongEntry());
    if (value == kNo) {
        const QString line = edit.code(QStringLiteral("autoid"));
        if (edit.text(QStringLiteral("replaceflag")) != kNo && !line.isEmpty() &&
            entry::VoucherHelpers::HasSubstitutes(*session_.gConn, line) &&
            session_.prompter.ask(Texts::dropSubstitutes(), CardTexts::title(), 36) !=
                suite::Prompter::Answer::Yes)
            return EntryRefusal{}; // declined: nothing more to say
    } else {
        entry::BomIdentity component;
        component.code = edit.code(QStringLiteral("cpscode"));
        component.salesOrder = edit.code(QStringLiteral("csocode"));
        for (int n = 1; n <= 10; ++n)
            component.free[std::size_t(n - 1)] = edit.code(QStringLiteral("cfree%1").arg(n));
        if (!component.code.isEmpty() &&
            !entry::VoucherHelpers::IsBomMissing(*session_.gConn, component))
            return refuse(Texts::madeNotSubstituted());
    }
    edit.set(QStringLiteral("replaceflag"), value);
    return std::nullopt;
}

// Picks, all lines, references, the total.

bool CardEntryCheck::pickItems(int row, const QStringList& itemCodes) {
    if (row < 0 || row >= card_.BodyRows()) {
        show(refuse(CardTexts::chooseLine()));
        return false;
    }
    int target = row;
    for (int i = 0; i < int(itemCodes.size()); ++i) {
        Choice choice;
        const Refusal refusal = guarded(itemCodes[i], [&]() -> Refusal {
            if (Refusal basic = choose(itemCodes[i], choice))
                return basic;
            const QString parent = card_.headerText(QStringLiteral("cpspcode")).trimmed();
            if (lookups_->usesDirectly(choice.item.code, parent))
                return refuse(Texts::directCycle(lookups_->terms().component, choice.item.code,
                                                 lookups_->terms().parent, parent));
            return std::nullopt;
        });
        if (refusal) {
            show(*refusal);
            return false;
        }
        if (i > 0) {
            // Room for one more line, as adding a line by hand makes.
            if (card_.BodyMaxRows() > 0 && card_.BodyRows() >= card_.BodyMaxRows())
                card_.setBodyMaxRows(card_.BodyRows() + 1);
            const int before = card_.BodyRows();
            card_.AddLine();
            if (card_.BodyRows() == before) {
                show(refuse(CardTexts::chooseLine()));
                return false;
            }
            target = card_.BodyRows() - 1;
        }
        Edit edit(card_, target);
        fillLine(edit, choice, Fill::Anew);
        edit.apply();
        recomputeTotalCost();
    }
    return true;
}

bool CardEntryCheck::fillAllLines(const QString& field, const QString& value) {
    if (value.contains(QLatin1Char('\''))) {
        show(refuse(Texts::badCharacter()));
        return false;
    }
    QStringList refused;
    int style = 64;
    for (int row = 0; row < card_.BodyRows(); ++row) {
        // A line without a component is no line yet: the save drops it.
        if (card_.bodyText(row, QStringLiteral("cpscode")).trimmed().isEmpty())
            continue;
        if (const Refusal refusal = checkBody(row, field, value)) {
            if (refused.isEmpty())
                style = refusal->style;
            refused << Texts::lineRefusal(row + 1, refusal->text);
        }
    }
    if (refused.isEmpty())
        return true;
    show(refuse(refused.join(QLatin1Char('\n')), style));
    return false;
}

std::optional<entry::ReferenceQuery> CardEntryCheck::reference(const QString& field, int row,
                                                               const QString& typedText) {
    const QString name = field.trimmed().toLower();
    QString shared = name; // the session's reference of the same field
    try {
        if (row < 0) {
            const QString parent = card_.headerText(QStringLiteral("cpspcode")).trimmed();
            const bool routing =
                name == QLatin1String("routcode") || name == QLatin1String("routname");
            if ((name == QLatin1String("csocode") || routing) && parent.isEmpty()) {
                show(remind(Texts::parentFirst()));
                return std::nullopt;
            }
            if (name == QLatin1String("csocode"))
                return lookups_->orderLines(parent, typedText);
            if (routing) {
                QStringList freeItems;
                for (int n = 1; n <= 10; ++n)
                    freeItems << card_.headerText(QStringLiteral("cfree%1").arg(n)).trimmed();
                return lookups_->routings(parent, freeItems, typedText);
            }
            if (name == QLatin1String("croutsocode")) {
                const QString routCode = card_.headerText(QStringLiteral("routcode")).trimmed();
                if (routCode.isEmpty()) {
                    show(remind(Texts::routingFirst()));
                    return std::nullopt;
                }
                return lookups_->routingVersions(routCode, typedText);
            }
            if (name == QLatin1String("cpspcode") || name == QLatin1String("cinvname"))
                shared = QStringLiteral("cinvcode");
        } else {
            if (name == QLatin1String("ccaacomunitcode") ||
                name == QLatin1String("ccaacomunitname")) {
                const QString item = card_.bodyText(row, QStringLiteral("cpscode")).trimmed();
                if (item.isEmpty()) {
                    show(refuse(Texts::itemFirst()));
                    return std::nullopt;
                }
                return lookups_->unitsOfItem(item, typedText);
            }
            if (name == QLatin1String("cpscode") || name == QLatin1String("cinvname"))
                shared = QStringLiteral("cpscode");
            else if (name == QLatin1String("usedept"))
                shared = QStringLiteral("cdepname");
        }
        return entry::ReferenceLookup(session_).ShowRef(shared, typedText);
    } catch (const db::DbError& e) {
        show(refuse(e.message(), 16));
        return std::nullopt;
    }
}

bool CardEntryCheck::takesEntry(const QString& field, bool header) const {
    // Keys, versions, approval, the stop flag and what follows from the item or the lines.
    static const QStringList headerFields{"iautoid",   "id",      "qzts",  "ccheck",
                                          "bstopflag", "cinvstd", "fbzcb", "ivtid"};
    static const QStringList bodyFields{"autoid",       "ipid",      "psid",
                                        "editprop",     "cinvstd",   "cinvaddcode",
                                        "ccomunitname", "childguid", "cpspcode"};
    return !(header ? headerFields : bodyFields).contains(field.trimmed().toLower());
}

bool CardEntryCheck::picksItems(const QString& field) const {
    return field == QLatin1String("cpscode") || field == QLatin1String("cinvname");
}

std::vector<std::pair<QString, QString>> CardEntryCheck::allLinesFields() const {
    return {{QStringLiteral("cdepcode"), QStringLiteral("批量输入用料车间")},
            {QStringLiteral("cwhcode"), QStringLiteral("批量输入仓库")}};
}

bool CardEntryCheck::offersReference(const QString& field, bool header) const {
    static const QStringList headerFields{"cpspcode", "cinvname", "csocode",  "cdepcode",
                                          "cdepname", "routcode", "routname", "croutsocode"};
    static const QStringList bodyFields{
        "cpscode", "cinvname", "ccaacomunitcode", "ccaacomunitname", "cwhcode",
        "cwhname", "cdepcode", "usedept",         "cpersonname",     "cprocedurename"};
    const QString name = field.trimmed().toLower();
    static const QRegularExpression freeItem(QStringLiteral("^cfree([1-9]|10)$"));
    return (header ? headerFields : bodyFields).contains(name) || freeItem.match(name).hasMatch();
}

void CardEntryCheck::recomputeTotalCost() {
    const auto figure = [](const QString& text) { return ToNumber(text).value_or(0); };
    double total = figure(card_.headerText(QStringLiteral("fbzzfy"))) +
                   figure(card_.headerText(QStringLiteral("fbzrgcb")));
    for (int row = 0; row < card_.BodyRows(); ++row)
        total += figure(card_.bodyText(row, QStringLiteral("fbzwlcb")));
    card_.setHeaderText(QStringLiteral("fbzcb"),
                        entry::FormatByDigits(total, session_.gPriceDigits));
}

} // namespace bom::card
