#include "OptEntryCheck.h"

#include "card/CardEntryLookups.h"
#include "card/CardEntryTexts.h"
#include "card/CardTexts.h"
#include "card/VoucherControl.h"
#include "db/DbError.h"
#include "entry/Session.h"
#include "entry/VoucherHelpers.h"
#include "suite/Prompter.h"

namespace bom::options {
namespace {

using Texts = card::CardEntryTexts;

const QString kItem = QStringLiteral("cinvcode");
const QString kNoSubstituteCode = QStringLiteral("替代料编码不能为空。");
const QString kNoSubstitute = QStringLiteral("存货中不存在该替代料!");

QString positiveNumber(const QString& value, const QString& caption) {
    const auto number = entry::VoucherHelpers::ToNumber(value);
    if (!number)
        return caption + QStringLiteral("必须为数字！");
    if (*number <= 0)
        return caption + QStringLiteral("必须大于0");
    return {};
}

} // namespace

OptEntryCheck::OptEntryCheck(entry::Session& session, card::VoucherControl& card)
    : session_(session), card_(card), lookups_(std::make_unique<card::CardEntryLookups>(session)) {}

OptEntryCheck::~OptEntryCheck() = default;

void OptEntryCheck::refuse(const QString& text) const {
    session_.prompter.info(text, card::CardTexts::title(), 64);
}

bool OptEntryCheck::headerEntry(const QString&, const QString&) {
    refuse(Texts::filledBySystem()); // the header is the component line, kept by the BOM card
    return false;
}

bool OptEntryCheck::bodyEntry(int row, const QString& field, const QString& value) {
    QString refusal;
    try {
        refusal = enter(row, field.trimmed().toLower(), value);
    } catch (const db::DbError& e) {
        session_.prompter.info(e.message(), card::CardTexts::title(), 16);
        return false;
    }
    if (!refusal.isEmpty())
        refuse(refusal);
    return refusal.isEmpty();
}

QString OptEntryCheck::enter(int row, const QString& field, const QString& value) {
    if (value.contains(QLatin1Char('\'')))
        return Texts::badCharacter();
    if (row < 0 || row >= card_.BodyRows())
        return card::CardTexts::chooseLine();
    if (!takesEntry(field, false))
        return Texts::filledBySystem();
    const QString typed = value.trimmed();
    if (field == kItem || field == QLatin1String("cinvname"))
        return enterItem(row, typed);
    if (field == QLatin1String("tdqtyn") || field == QLatin1String("tdqtyd")) {
        const QString refusal = positiveNumber(value, field == QLatin1String("tdqtyn")
                                                          ? QStringLiteral("替代用量分子")
                                                          : QStringLiteral("替代用量分母"));
        if (refusal.isEmpty())
            card_.setBodyText(row, field, typed);
        return refusal;
    }
    if (field == QLatin1String("sequence")) {
        bool whole = false;
        if (!typed.isEmpty() && (typed.toInt(&whole) < 0 || !whole))
            return Texts::notANumber();
        card_.setBodyText(row, field, typed);
        return {};
    }
    if (field == QLatin1String("cwhcode") || field == QLatin1String("cwhname")) {
        if (typed.isEmpty()) {
            card_.setBodyText(row, QStringLiteral("cwhcode"), QString());
            card_.setBodyText(row, QStringLiteral("cwhname"), QString());
            return {};
        }
        const auto warehouse = lookups_->warehouse(typed);
        if (!warehouse)
            return Texts::noWarehouse();
        card_.setBodyText(row, QStringLiteral("cwhcode"), warehouse->code);
        card_.setBodyText(row, QStringLiteral("cwhname"), warehouse->name);
        return {};
    }
    if (field == QLatin1String("cpersonname")) {
        const auto person = typed.isEmpty() ? std::optional<card::EntryCode>(card::EntryCode{})
                                            : lookups_->person(typed);
        if (!person)
            return Texts::noStorekeeper();
        card_.setBodyText(row, field, person->name);
        return {};
    }
    if (field == QLatin1String("ccaacomunitcode") || field == QLatin1String("ccaacomunitname")) {
        const QString item = card_.bodyText(row, kItem).trimmed();
        if (item.isEmpty())
            return Texts::itemFirst();
        const auto unit = typed.isEmpty() ? std::optional<card::EntryUnit>(card::EntryUnit{})
                                          : lookups_->unitOfItem(item, typed);
        if (!unit)
            return Texts::noAuxiliaryUnit();
        card_.setBodyText(row, QStringLiteral("ccaacomunitcode"), unit->code);
        card_.setBodyText(row, QStringLiteral("ccaacomunitname"), unit->name);
        return {};
    }
    card_.setBodyText(row, field, value);
    return {};
}

// A substitute item fills its name and specification, and a new row its quantities: those of
// the line it stands in for, its warehouse the item's default.
QString OptEntryCheck::enterItem(int row, const QString& typed) {
    if (typed.isEmpty())
        return kNoSubstituteCode;
    const auto item = lookups_->componentItem(typed);
    if (!item)
        return kNoSubstitute;
    const bool fresh = card_.bodyText(row, kItem).trimmed().isEmpty();
    card_.setBodyText(row, kItem, item->code);
    card_.setBodyText(row, QStringLiteral("cinvname"), item->name);
    card_.setBodyText(row, QStringLiteral("cinvstd"), item->specification);
    if (!fresh)
        return {};
    const auto byDefault = [&](const QString& field, const QString& value) {
        if (card_.bodyText(row, field).trimmed().isEmpty())
            card_.setBodyText(row, field, value);
    };
    byDefault(QStringLiteral("tdqtyn"), card_.headerText(QStringLiteral("ipsquantity")));
    byDefault(QStringLiteral("tdqtyd"), card_.headerText(QStringLiteral("tdqtyd")));
    byDefault(QStringLiteral("sequence"), QString::number(row + 1));
    if (const auto warehouse = lookups_->defaultWarehouse(item->code)) {
        byDefault(QStringLiteral("cwhcode"), warehouse->code);
        byDefault(QStringLiteral("cwhname"), warehouse->name);
    }
    return {};
}

bool OptEntryCheck::pickItems(int row, const QStringList& itemCodes) {
    int target = row;
    for (int i = 0; i < itemCodes.size(); ++i) {
        if (i > 0) {
            card_.AddLine();
            target = card_.BodyRows() - 1;
        }
        if (!bodyEntry(target, kItem, itemCodes[i])) {
            if (i > 0) // the row added for it goes again
                card_.DelLine(target);
            return false;
        }
    }
    return true;
}

bool OptEntryCheck::fillAllLines(const QString& field, const QString& value) {
    QStringList refusals;
    for (int row = 0; row < card_.BodyRows(); ++row) {
        QString refusal;
        try {
            refusal = enter(row, field, value);
        } catch (const db::DbError& e) {
            refusal = e.message();
        }
        if (!refusal.isEmpty())
            refusals << QStringLiteral("第%1行：%2").arg(row + 1).arg(refusal);
    }
    if (!refusals.isEmpty())
        refuse(refusals.join(QLatin1Char('\n')));
    return refusals.isEmpty();
}

std::optional<entry::ReferenceQuery> OptEntryCheck::reference(const QString& field, int row,
                                                              const QString& typedText) {
    const QString name = field.trimmed().toLower();
    try {
        if (name == QLatin1String("ccaacomunitcode") || name == QLatin1String("ccaacomunitname")) {
            const QString item = card_.bodyText(row, kItem).trimmed();
            if (item.isEmpty()) {
                refuse(Texts::itemFirst());
                return std::nullopt;
            }
            return lookups_->unitsOfItem(item, typedText);
        }
        const QString shared = picksItems(name) ? QStringLiteral("cpscode") : name;
        return entry::ReferenceLookup(session_).ShowRef(shared, typedText);
    } catch (const db::DbError& e) {
        session_.prompter.info(e.message(), card::CardTexts::title(), 16);
        return std::nullopt;
    }
}

bool OptEntryCheck::offersReference(const QString& field, bool header) const {
    static const QStringList fields{
        "cinvcode",        "cinvname", "cwhcode", "cwhname", "cpersonname", "ccaacomunitcode",
        "ccaacomunitname", "cfree1",   "cfree2",  "cfree3",  "cfree4",      "cfree5",
        "cfree6",          "cfree7",   "cfree8",  "cfree9",  "cfree10"};
    return !header && fields.contains(field.trimmed().toLower());
}

bool OptEntryCheck::takesEntry(const QString& field, bool header) const {
    static const QStringList system{"compsubid", "autoid", "cinvstd", "qzts", "editprop"};
    return !header && !system.contains(field.trimmed().toLower());
}

bool OptEntryCheck::picksItems(const QString& field) const {
    return field == kItem || field == QLatin1String("cinvname");
}

std::vector<std::pair<QString, QString>> OptEntryCheck::allLinesFields() const {
    return {{QStringLiteral("cwhcode"), QStringLiteral("批量输入仓库")}};
}

} // namespace bom::options
