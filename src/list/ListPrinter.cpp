#include "ListPrinter.h"

#include "BomList.h"
#include "entry/Common.h"
#include "entry/Session.h"

#include <QIODevice>
#include <algorithm>
#include <functional>

namespace bom::list {
namespace {

std::vector<suite::ColumnSetting> visible(const std::vector<suite::ColumnSetting>& columns) {
    std::vector<suite::ColumnSetting> out;
    for (const suite::ColumnSetting& c : columns)
        if (c.visible)
            out.push_back(c);
    return out;
}

QString bareName(const QString& name) {
    return name.mid(name.lastIndexOf('.') + 1).toLower();
}

QString cellText(const QVariant& value) {
    if (value.isNull())
        return {};
    if (value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float)
        return QString::number(value.toDouble(), 'g', 15);
    return value.toString();
}

QString caption(const suite::ColumnSetting& c) {
    return c.caption.isEmpty() ? c.fieldName : c.caption;
}

QString cell(const QString& tag, const QString& text) {
    return QStringLiteral("<%1>%2</%1>").arg(tag, text.toHtmlEscaped());
}

} // namespace

QString ListPrinter::html(const std::vector<ListRow>& boms) {
    const auto header = visible(
        entry::Common::GetRefColumns(session_, QLatin1String(BomList::kParentColumns)).colSet);
    const auto lineColumns = visible(
        entry::Common::GetRefColumns(session_, QLatin1String(BomList::kComponentColumns)).colSet);
    const BomList list(session_);
    QString out = QStringLiteral("<html><head><meta charset=\"utf-8\"><style>"
                                 "table { border-collapse: collapse; }"
                                 "th, td { border: 1px solid #808080; padding: 2px 4px; }"
                                 "th { background-color: #e8e8e8; }"
                                 "</style></head><body>");
    bool first = true;
    for (const ListRow& bom : boms) {
        out += first ? QStringLiteral("<h2>")
                     : QStringLiteral("<h2 style=\"page-break-before: always\">");
        out += terms_.title.toHtmlEscaped() + QStringLiteral("</h2>");
        first = false;

        out += QStringLiteral("<table width=\"100%\" cellspacing=\"0\">");
        for (const suite::ColumnSetting& c : header)
            out += QStringLiteral("<tr>") + cell(QStringLiteral("th"), caption(c)) +
                   cell(QStringLiteral("td"), cellText(bom.cells.value(bareName(c.fieldName)))) +
                   QStringLiteral("</tr>");
        out += QStringLiteral("</table>");

        const db::SqlCondition sql = list.componentQuery(bom.text(QStringLiteral("iautoid")));
        const db::Rows lines = session_.gConn->query(sql.sql, sql.params);
        out += QStringLiteral("<h3>") + (terms_.component + QStringLiteral(":")).toHtmlEscaped() +
               QStringLiteral("</h3><table width=\"100%\" cellspacing=\"0\"><tr>");
        for (const suite::ColumnSetting& c : lineColumns)
            out += cell(QStringLiteral("th"), caption(c));
        out += QStringLiteral("</tr>");
        for (std::size_t i = 0; i < lines.size(); ++i) {
            out += QStringLiteral("<tr>");
            for (const suite::ColumnSetting& c : lineColumns)
                out += cell(QStringLiteral("td"), cellText(lines.value(i, bareName(c.fieldName))));
            out += QStringLiteral("</tr>");
        }
        out += QStringLiteral("</table>");
    }
    return out + QStringLiteral("</body></html>");
}

QString ListPrinter::csvField(const QString& text) {
    static const QString mustQuote = QStringLiteral(",\"\r\n");
    const bool quote =
        std::any_of(text.begin(), text.end(), [](QChar ch) { return mustQuote.contains(ch); });
    if (!quote)
        return text;
    QString inner = text;
    inner.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + inner + QLatin1Char('"');
}

bool ListPrinter::writeCsv(QIODevice& out, const std::vector<suite::ColumnSetting>& columns,
                           const std::vector<ListRow>& rows, QString* error) {
    const auto shown = visible(columns);
    auto line = [&](const std::function<QString(const suite::ColumnSetting&)>& text) {
        QStringList fields;
        for (const suite::ColumnSetting& c : shown)
            fields << csvField(text(c));
        return (fields.join(QLatin1Char(',')) + QStringLiteral("\r\n")).toUtf8();
    };
    QByteArray data("\xEF\xBB\xBF");
    data += line(caption);
    for (const ListRow& row : rows)
        data += line([&](const suite::ColumnSetting& c) {
            return cellText(row.cells.value(bareName(c.fieldName)));
        });
    if (out.write(data) != data.size()) {
        if (error)
            *error = out.errorString();
        return false;
    }
    return true;
}

} // namespace bom::list
