#pragma once

#include <QString>
#include <QVariant>
#include <optional>

namespace bom::db {
class Database;
}

namespace bom::entry {

struct BomIdentity;

// Small questions the card, the list and the BOM service share. Each runs at most one query;
// a database failure throws db::DbError for the caller to report.
namespace VoucherHelpers {

// "true" (any case), "是" or a non-zero number are true; blank, "0", "否" and other text false.
bool TextToBool(const QVariant& value);
// A finite number, from a number or its text; nothing for blank text, words, NaN or infinity.
std::optional<double> ToNumber(const QVariant& value);
// Two cell values as an operator reads them: equal numbers when both are numbers ("2" and 2.0),
// else the same text but for blanks around it.
bool SameValue(const QVariant& a, const QVariant& b);
// How much of a component one unit of its parent takes: numerator ÷ denominator × (1 + waste
// rate %). The denominator is not 0: the card refuses one, stored data reads it as 1.
inline double QuantityPer(double numerator, double denominator, double wasteRate) {
    return numerator / denominator * (1 + wasteRate / 100);
}
// The entry rule of a numeric component-line cell (numerator, denominator, waste rate, pieces,
// conversion rate, standard price): the refusal, or empty when the value passes or the field
// has no such rule.
QString CheckLineNumber(const QString& field, const QVariant& value);
// Is the BOM the child BOM of two or more lines?
bool IsSharedBom(db::Database& db, const QString& headerId);
bool HasSubstitutes(db::Database& db, const QVariant& lineAutoid);
bool IsBomMissing(db::Database& db, const BomIdentity& identity);
// No component line of that identity carries the substitute flag.
bool IsFlaggedLineMissing(db::Database& db, const BomIdentity& identity);
// Do the item's units convert at a fixed rate?
bool IsUnitGroupType1(db::Database& db, const QString& itemCode);
// 1 or 2: the operator's toolbar look, from the per-user setting "Toolbar Style" under
// "SOFTWARE\Mervale\WF\Appearance" (a value starting with "T" is 1, any other 2, none 1).
int GetToolbarStyle(db::Database& db, const QString& userId);

} // namespace VoucherHelpers
} // namespace bom::entry
