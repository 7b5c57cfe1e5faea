#pragma once

#include "entry/EntryLookups.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <optional>

namespace bom::entry {
class Session;
}

namespace bom::batch {

// Why an editor value was refused: the text and the box style (title "批量处理").
struct BatchRefusal {
    QString text;
    int style = 48;
};

// The batch editor's values, by the line column each writes (lower case): cpscode (the new
// component for add and replace), ccaacomunitcode, iprodchangrate, cwhcode, cpersonname,
// cdepcode, ipsquantity, tdqtyd, iwasterate, fbzdj, fbzwlcb, wiptype ("入库倒冲", "正常领料" or
// another type), replaceflag ("是" or not), csocode, cfree1 … cfree10, cdefine22 … cdefine37,
// cinsertfirst … cinsertthird; and two that write no column: multiplier (replace scales the
// quantity by it) and clearsubstitutes ("是": replace drops the old component's substitutes).
// Each value passes its editor's check when it is entered; an accepted value is kept as the
// line stores it (a code, the storekeeper's name, a number's text) with what follows from it.
class BatchFields {
public:
    explicit BatchFields(entry::Session& session);

    static const QStringList& names();
    static bool isField(const QString& name);
    // Editors of numbers, which offer the calculator drop-down.
    static bool isNumeric(const QString& name);
    // The account's decimal places for the value of a numeric editor.
    int decimals(const QString& name) const;

    // The check of the editor `name` when it is left: the refusal, or nothing when the value
    // was taken. An empty value clears the editor.
    std::optional<BatchRefusal> enter(const QString& name, const QString& value);
    // Sets a value without its check (the waste rate normalised, both quantities cleared).
    void set(const QString& name, const QString& value) { values_.insert(name, value); }
    void clear(const QString& name) { values_.remove(name); }

    QString text(const QString& name) const { return values_.value(name); }
    bool has(const QString& name) const { return !values_.value(name).isEmpty(); }
    std::optional<double> number(const QString& name) const;
    // As the line stores it: NULL for an empty text, the number for a numeric column.
    QVariant stored(const QString& name) const;
    int wipType() const;     // 1 入库倒冲, 3 正常领料, 0 any other type
    int replaceFlag() const; // 1 for "是"
    bool clearSubstitutes() const;

    // The item of the component editor, and whether it is tracked from issue to receipt.
    const std::optional<entry::EntryItem>& item() const { return item_; }
    // The component whose line modify changes: its tracking flag decides the supply type.
    void setCurrentItem(const QString& code);

    // The free items and body user-defined items the account defines, in editor order.
    std::vector<entry::UserDefinition> freeItems();
    std::vector<entry::UserDefinition> userDefined();

    entry::EntryLookups& lookups() { return lookups_; }

private:
    std::optional<BatchRefusal> check(const QString& name, const QString& value);
    std::optional<BatchRefusal> supplyTypeRule(const QString& type);
    void takeItem(const entry::EntryItem& item);
    void takeWarehouse(const entry::EntryWarehouse& warehouse);

    entry::Session& session_;
    entry::EntryLookups lookups_;
    QHash<QString, QString> values_;
    std::optional<entry::EntryItem> item_;
    std::optional<int> warehouseProperty_;
};

} // namespace bom::batch
