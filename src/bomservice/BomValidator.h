#pragma once

#include "CycleCheck.h"
#include "RowSet.h"

#include <QHash>
#include <QString>
#include <array>

namespace bom::entry {
class Session;
}

namespace bom::bomservice {

// The checks a card passes before it is written. Each failing check shows its message through
// the session's Prompter and answers false; a database error throws db::DbError so the caller
// reports it as such and writes nothing.
class BomValidator {
public:
    static constexpr int kModify = 1;

    explicit BomValidator(entry::Session& session);

    // Rules 1–9 in order, stopping at the first failure. Copies the parent code into the lines.
    // Before any query sees the card's values they are checked against their columns, and no
    // line may name the parent itself.
    bool ValidateBom(BomCard& card, int mode);

    // Numbers that are numbers, texts that fit, no NUL, the numeric line cells' entry rules.
    bool CheckValues(const BomCard& card);
    bool CheckNoLineIsTheParent(const BomCard& card); // "母件不可与子件相同！"

    bool CheckLineDuplicates(const BomCard& card);
    bool CheckBomExists(const BomCard& card);
    bool CheckCycle(const BomCard& card) { return cycles_.CheckCycle(card); }
    // Free items the row's item does not use are refused.
    bool CheckRowInfo(const RowSet& rows, int row);
    bool CheckBeforeModify(const BomCard&) { return true; }
    bool CheckSubstituteFlags(const BomCard& card);

    // Asked when the card is the default cost BOM and another BOM of the parent already is;
    // false when the operator declines.
    bool ConfirmDefaultCostBom(const QString& parentCode, const QString& headerId);
    // After the lines are written, inside the save's transaction.
    bool CheckLineDuplicatesInDb(const QString& headerId);
    // Empty when the operator may enter every department the card names, else the refusal.
    QString CheckDepartmentRight(const BomCard& card);

    CycleCheck& cycles() { return cycles_; }

private:
    // Per item code: whether it uses free items 1 … 10; codes not in inventory are absent.
    using ItemFreeItems = QHash<QString, std::array<bool, 10>>;
    ItemFreeItems itemsOf(const QStringList& codes);
    static QString rowItemCode(const RowSet& rows, int row);
    bool checkRowInfo(const RowSet& rows, int row, const ItemFreeItems& items);
    bool fail(const QString& message);
    QString departmentName(const QString& code);

    entry::Session& session_;
    CycleCheck cycles_;
};

} // namespace bom::bomservice
