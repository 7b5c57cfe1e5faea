#include "BoundRows.h"

#include "Dialect.h"

#include <QLocale>
#include <cmath>

namespace bom::db {
namespace {

void appendText(QString& out, const QString& text) {
    out += QLatin1Char('"');
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '"':
            out += QStringLiteral("\\\"");
            break;
        case '\\':
            out += QStringLiteral("\\\\");
            break;
        default:
            if (c.unicode() < 0x20)
                out += QStringLiteral("\\u%1").arg(int(c.unicode()), 4, 16, QLatin1Char('0'));
            else
                out += c;
        }
    }
    out += QLatin1Char('"');
}

void appendValue(QString& out, const QVariant& value) {
    if (value.isNull()) {
        out += QStringLiteral("null");
        return;
    }
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Bool:
        // Digits written out: a JSON number read through a double rounds keys past 2^53.
        out += QString::number(value.toLongLong());
        break;
    case QMetaType::Double:
    case QMetaType::Float: {
        const double number = value.toDouble();
        out += std::isfinite(number) ? QString::number(number, 'g', QLocale::FloatingPointShortest)
                                     : QStringLiteral("null");
        break;
    }
    default:
        appendText(out, value.toString());
    }
}

} // namespace

QString BoundRows::json(const std::vector<QVariantList>& rows) {
    QString out;
    out.reserve(int(rows.size()) * 64);
    out += QLatin1Char('[');
    for (std::size_t r = 0; r < rows.size(); ++r) {
        if (r > 0)
            out += QLatin1Char(',');
        out += QLatin1Char('[');
        for (qsizetype c = 0; c < rows[r].size(); ++c) {
            if (c > 0)
                out += QLatin1Char(',');
            appendValue(out, rows[r].at(c));
        }
        out += QLatin1Char(']');
    }
    out += QLatin1Char(']');
    return out;
}

SqlCondition BoundRows::table(const Dialect& dialect, const QStringList& types,
                              const std::vector<QVariantList>& rows) {
    return {dialect.rowElements(types), {json(rows)}};
}

} // namespace bom::db
