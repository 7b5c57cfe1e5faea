#include "BatchFields.h"

#include "BatchTexts.h"
#include "db/DbError.h"
#include "entry/Session.h"
#include "entry/VoucherHelpers.h"

#include <QSet>

namespace bom::batch {
namespace {

const QString kBackflush = QStringLiteral("入库倒冲");
const QString kNormalIssue = QStringLiteral("正常领料");
const QString kYes = QStringLiteral("是");

// The number of "cdefine22" … "cdefine37" or "cfree1" … "cfree10"; nothing for other names.
std::optional<int> numbered(const QString& name, const char* prefix, int low, int high) {
    if (!name.startsWith(QLatin1String(prefix)))
        return std::nullopt;
    bool ok = false;
    const int n = name.mid(int(qstrlen(prefix))).toInt(&ok);
    if (!ok || n < low || n > high)
        return std::nullopt;
    return n;
}

} // namespace

BatchFields::BatchFields(entry::Session& session) : session_(session), lookups_(session) {}

const QStringList& BatchFields::names() {
    static const QStringList all = [] {
        QStringList out{QStringLiteral("cpscode"),        QStringLiteral("ccaacomunitcode"),
                        QStringLiteral("iprodchangrate"), QStringLiteral("cwhcode"),
                        QStringLiteral("cpersonname"),    QStringLiteral("cdepcode"),
                        QStringLiteral("ipsquantity"),    QStringLiteral("tdqtyd"),
                        QStringLiteral("iwasterate"),     QStringLiteral("fbzdj"),
                        QStringLiteral("fbzwlcb"),        QStringLiteral("wiptype"),
                        QStringLiteral("replaceflag"),    QStringLiteral("csocode")};
        for (int n = 1; n <= 10; ++n)
            out << QStringLiteral("cfree%1").arg(n);
        for (int n = 22; n <= 37; ++n)
            out << QStringLiteral("cdefine%1").arg(n);
        out << QStringLiteral("cinsertfirst") << QStringLiteral("cinsertsecond")
            << QStringLiteral("cinsertthird") << QStringLiteral("multiplier")
            << QStringLiteral("clearsubstitutes");
        return out;
    }();
    return all;
}

bool BatchFields::isField(const QString& name) {
    return names().contains(name);
}

bool BatchFields::isNumeric(const QString& name) {
    static const QSet<QString> numeric{
        QStringLiteral("ipsquantity"), QStringLiteral("tdqtyd"),
        QStringLiteral("iwasterate"),  QStringLiteral("fbzdj"),
        QStringLiteral("fbzwlcb"),     QStringLiteral("iprodchangrate"),
        QStringLiteral("multiplier"),  QStringLiteral("cdefine26"),
        QStringLiteral("cdefine27"),   QStringLiteral("cdefine34"),
        QStringLiteral("cdefine35")};
    return numeric.contains(name);
}

int BatchFields::decimals(const QString& name) const {
    if (name == QLatin1String("fbzdj") || name == QLatin1String("fbzwlcb"))
        return session_.gPriceDigits;
    if (name == QLatin1String("iprodchangrate") || name == QLatin1String("iwasterate"))
        return session_.gRateDigits;
    return session_.gQuanDigits;
}

std::optional<double> BatchFields::number(const QString& name) const {
    return entry::VoucherHelpers::ToNumber(values_.value(name));
}

QVariant BatchFields::stored(const QString& name) const {
    const QString value = values_.value(name).trimmed();
    if (value.isEmpty())
        return QVariant();
    if (isNumeric(name))
        if (const auto n = number(name))
            return *n;
    return value;
}

int BatchFields::wipType() const {
    const QString type = values_.value(QStringLiteral("wiptype"));
    return type == kBackflush ? 1 : type == kNormalIssue ? 3 : 0;
}

int BatchFields::replaceFlag() const {
    return values_.value(QStringLiteral("replaceflag")) == kYes ? 1 : 0;
}

bool BatchFields::clearSubstitutes() const {
    return values_.value(QStringLiteral("clearsubstitutes")) == kYes;
}

void BatchFields::setCurrentItem(const QString& code) {
    const auto found = lookups_.item({QStringLiteral(" and Inventory.cInvCode=?"), {code}}, code,
                                     QStringLiteral("cInvName"));
    item_ = found;
    if (!item_ && !code.isEmpty()) { // a component no longer valid keeps its code at least
        item_ = entry::EntryItem{};
        item_->code = code;
        item_->tracked = lookups_.isTracked(code);
    }
}

std::vector<entry::UserDefinition> BatchFields::freeItems() {
    std::vector<entry::UserDefinition> out;
    for (int n = 1; n <= 10; ++n)
        if (const auto d =
                lookups_.definition(QStringLiteral("存货"), QStringLiteral("自由项%1").arg(n)))
            out.push_back(*d);
    return out;
}

std::vector<entry::UserDefinition> BatchFields::userDefined() {
    std::vector<entry::UserDefinition> out;
    for (int n = 1; n <= 16; ++n)
        if (const auto d =
                lookups_.definition(QStringLiteral("单据体"), QStringLiteral("自定义项%1").arg(n)))
            out.push_back(*d);
    return out;
}

std::optional<BatchRefusal> BatchFields::enter(const QString& name, const QString& value) {
    if (!isField(name))
        return BatchRefusal{BatchTexts::unknownEditor(name), 48};
    if (value.trimmed().isEmpty()) {
        values_.remove(name);
        if (name == QLatin1String("cpscode"))
            item_.reset();
        if (name == QLatin1String("cwhcode"))
            warehouseProperty_.reset();
        return std::nullopt;
    }
    try {
        return check(name, value.trimmed());
    } catch (const db::DbError& e) {
        return BatchRefusal{e.message(), 16};
    }
}

void BatchFields::takeWarehouse(const entry::EntryWarehouse& warehouse) {
    values_.insert(QStringLiteral("cwhcode"), warehouse.code);
    warehouseProperty_ = warehouse.property;
    // The supply type follows the warehouse: an ordinary one issues normally.
    values_.insert(QStringLiteral("wiptype"), warehouse.property == 0 ? kNormalIssue : kBackflush);
}

void BatchFields::takeItem(const entry::EntryItem& item) {
    item_ = item;
    values_.insert(QStringLiteral("cpscode"), item.code);
    if (!item.auxUnitCode.isEmpty()) {
        values_.insert(QStringLiteral("ccaacomunitcode"), item.auxUnitCode);
        values_.insert(QStringLiteral("iprodchangrate"), item.auxRate.toString());
    } else {
        values_.remove(QStringLiteral("ccaacomunitcode"));
        values_.remove(QStringLiteral("iprodchangrate"));
    }
    if (const auto warehouse = lookups_.defaultWarehouse(item.code)) {
        takeWarehouse(*warehouse);
        if (!warehouse->keeper.isEmpty())
            values_.insert(QStringLiteral("cpersonname"), warehouse->keeper);
    }
}

std::optional<BatchRefusal> BatchFields::check(const QString& name, const QString& value) {
    using Verdict = entry::EntryLookups::DefinedValue;
    if (name == QLatin1String("cpscode")) {
        const auto item = lookups_.item(
            {QStringLiteral(" and Inventory.bInvType=0 and Inventory.cInvCode=?"), {value}}, value,
            QStringLiteral("cInvName"));
        if (!item)
            return BatchRefusal{BatchTexts::noItem()};
        takeItem(*item);
        return std::nullopt;
    }
    if (name == QLatin1String("cwhcode")) {
        const auto warehouse = lookups_.warehouse(value);
        if (!warehouse)
            return BatchRefusal{BatchTexts::noWarehouse()};
        takeWarehouse(*warehouse);
        return std::nullopt;
    }
    if (name == QLatin1String("cpersonname")) {
        const auto person = lookups_.person(value);
        if (!person)
            return BatchRefusal{BatchTexts::noPerson()};
        values_.insert(name, person->name);
        return std::nullopt;
    }
    if (name == QLatin1String("cdepcode")) {
        const auto department = lookups_.department(value, false);
        if (!department)
            return BatchRefusal{BatchTexts::noDepartment()};
        values_.insert(name, department->code);
        return std::nullopt;
    }
    if (name == QLatin1String("wiptype")) {
        if (auto refusal = supplyTypeRule(value))
            return refusal;
        values_.insert(name, value);
        return std::nullopt;
    }
    if (const auto n = numbered(name, "cfree", 1, 10)) {
        const QString item = QStringLiteral("自由项%1").arg(*n);
        if (lookups_.checkDefinedValue(QStringLiteral("存货"), item, value) != Verdict::Accepted) {
            const auto defined = lookups_.definition(QStringLiteral("存货"), item);
            return BatchRefusal{BatchTexts::badFreeItem(defined ? defined->caption : item), 16};
        }
        values_.insert(name, value);
        return std::nullopt;
    }
    if (isNumeric(name)) {
        const auto n = entry::VoucherHelpers::ToNumber(value);
        if (!n)
            return BatchRefusal{BatchTexts::notANumber()};
        if ((name == QLatin1String("ipsquantity") || name == QLatin1String("tdqtyd") ||
             name == QLatin1String("multiplier") || name == QLatin1String("iprodchangrate")) &&
            *n <= 0)
            return BatchRefusal{BatchTexts::notPositive()};
        if (name == QLatin1String("fbzdj") && *n < 0)
            return BatchRefusal{BatchTexts::negative()};
        if (name == QLatin1String("iwasterate") && (*n < 0 || *n > 100))
            return BatchRefusal{BatchTexts::wasteRange()};
    }
    if (const auto n = numbered(name, "cdefine", 22, 37)) {
        const QString item = QStringLiteral("自定义项%1").arg(*n - 21);
        switch (lookups_.checkDefinedValue(QStringLiteral("单据体"), item, value)) {
        case Verdict::Accepted:
            break;
        case Verdict::NotADate:
            return BatchRefusal{BatchTexts::notADate(), 16};
        case Verdict::NotANumber:
            return BatchRefusal{BatchTexts::notANumber()};
        default: {
            const auto defined = lookups_.definition(QStringLiteral("单据体"), item);
            return BatchRefusal{BatchTexts::badFreeItem(defined ? defined->caption : item), 16};
        }
        }
    }
    values_.insert(name, value);
    return std::nullopt;
}

// Checked when the supply type is left, against the component's tracking and the property of
// the warehouse entered.
std::optional<BatchRefusal> BatchFields::supplyTypeRule(const QString& type) {
    const bool backflush = type == kBackflush;
    if (backflush && item_ && item_->tracked)
        return BatchRefusal{BatchTexts::trackedBackflush()};
    if (warehouseProperty_) {
        const bool site = *warehouseProperty_ == 1 || *warehouseProperty_ == 2;
        if (backflush && !site)
            return BatchRefusal{BatchTexts::backflushNeedsSite()};
        if (!backflush && *warehouseProperty_ != 0)
            return BatchRefusal{BatchTexts::otherNeedsOrdinary()};
    }
    return std::nullopt;
}

} // namespace bom::batch
