#pragma once

#include <QString>
#include <optional>

namespace bom::entry {

// The calculator drop-down of a numeric editor: what the operator typed there ("2*3.5/(1+1)",
// "-4", "1e3") worked out with + - * / and parentheses. Nothing for text that is no
// expression or divides by zero.
std::optional<double> EvaluateArithmetic(const QString& text);

// A calculated value as the editor takes it: the account's decimal places for that kind of
// value ("0.00" for 2); a value only exponent form can show is left in it.
QString FormatCalculated(double value, int digits);

} // namespace bom::entry
