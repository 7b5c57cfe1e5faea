#include "Arithmetic.h"

#include "Format.h"

#include <cmath>

namespace bom::entry {
namespace {

// Recursive descent over expression := term (('+'|'-') term)*, term := factor (('*'|'/')
// factor)*, factor := ('+'|'-') factor | number | '(' expression ')'.
class Parser {
public:
    explicit Parser(const QString& text) : text_(text) {}

    std::optional<double> parse() {
        const auto value = expression();
        skipSpace();
        if (!value || at_ != text_.size() || !std::isfinite(*value))
            return std::nullopt;
        return value;
    }

private:
    void skipSpace() {
        while (at_ < text_.size() && text_.at(at_).isSpace())
            ++at_;
    }
    bool take(QChar c) {
        skipSpace();
        if (at_ < text_.size() && text_.at(at_) == c) {
            ++at_;
            return true;
        }
        return false;
    }
    std::optional<double> expression() {
        auto value = term();
        while (value) {
            if (take(QLatin1Char('+'))) {
                const auto rhs = term();
                value = rhs ? std::optional(*value + *rhs) : std::nullopt;
            } else if (take(QLatin1Char('-'))) {
                const auto rhs = term();
                value = rhs ? std::optional(*value - *rhs) : std::nullopt;
            } else {
                break;
            }
        }
        return value;
    }
    std::optional<double> term() {
        auto value = factor();
        while (value) {
            if (take(QLatin1Char('*'))) {
                const auto rhs = factor();
                value = rhs ? std::optional(*value * *rhs) : std::nullopt;
            } else if (take(QLatin1Char('/'))) {
                const auto rhs = factor();
                value = rhs && *rhs != 0 ? std::optional(*value / *rhs) : std::nullopt;
            } else {
                break;
            }
        }
        return value;
    }
    std::optional<double> factor() {
        if (take(QLatin1Char('-'))) {
            const auto value = factor();
            return value ? std::optional(-*value) : std::nullopt;
        }
        if (take(QLatin1Char('+')))
            return factor();
        if (take(QLatin1Char('('))) {
            const auto value = expression();
            return value && take(QLatin1Char(')')) ? value : std::nullopt;
        }
        return number();
    }
    std::optional<double> number() {
        skipSpace();
        const qsizetype start = at_;
        while (at_ < text_.size() && (text_.at(at_).isDigit() || text_.at(at_) == '.'))
            ++at_;
        // An exponent belongs to the number: 1e3, 2.5E-2.
        if (at_ > start && at_ < text_.size() && (text_.at(at_) == 'e' || text_.at(at_) == 'E')) {
            qsizetype end = at_ + 1;
            if (end < text_.size() && (text_.at(end) == '+' || text_.at(end) == '-'))
                ++end;
            if (end < text_.size() && text_.at(end).isDigit()) {
                at_ = end;
                while (at_ < text_.size() && text_.at(at_).isDigit())
                    ++at_;
            }
        }
        bool ok = false;
        const double value = text_.mid(start, at_ - start).toDouble(&ok);
        return ok ? std::optional(value) : std::nullopt;
    }

    const QString& text_;
    qsizetype at_ = 0;
};

} // namespace

std::optional<double> EvaluateArithmetic(const QString& text) {
    if (text.trimmed().isEmpty())
        return std::nullopt;
    return Parser(text).parse();
}

QString FormatCalculated(double value, int digits) {
    // Too large or too small for fixed places: shown as the calculator gives it.
    const QString plain = QString::number(value, 'g', 15);
    if (plain.contains(QLatin1Char('e'), Qt::CaseInsensitive))
        return plain;
    return FormatByDigits(value, digits);
}

} // namespace bom::entry
