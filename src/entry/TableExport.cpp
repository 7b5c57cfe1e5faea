#include "TableExport.h"

#include <QIODevice>
#include <algorithm>

namespace bom::entry {

QString TableExport::csvField(const QString& text) {
    static const QString mustQuote = QStringLiteral(",\"\r\n");
    const bool quote =
        std::any_of(text.begin(), text.end(), [](QChar ch) { return mustQuote.contains(ch); });
    if (!quote)
        return text;
    QString inner = text;
    inner.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + inner + QLatin1Char('"');
}

QString TableExport::csvLine(const QStringList& fields) {
    QStringList quoted;
    quoted.reserve(fields.size());
    for (const QString& field : fields)
        quoted << csvField(field);
    return quoted.join(QLatin1Char(',')) + QStringLiteral("\r\n");
}

bool TableExport::writeCsvText(QIODevice& out, const QString& text, QString* error) {
    const QByteArray data = QByteArray("\xEF\xBB\xBF") + text.toUtf8();
    if (out.write(data) == data.size())
        return true;
    if (error)
        *error = out.errorString();
    return false;
}

bool TableExport::write(QIODevice& out, const ExportTable& table, Format, QString* error) {
    QString text = csvLine(table.captions);
    for (const QStringList& row : table.rows)
        text += csvLine(row);
    return writeCsvText(out, text, error);
}

QString TableExport::html(const ExportTable& table) {
    auto cells = [](const char* tag, const QStringList& texts) {
        QString out = QStringLiteral("<tr>");
        for (const QString& text : texts)
            out += QStringLiteral("<%1>%2</%1>").arg(QLatin1String(tag), text.toHtmlEscaped());
        return out + QStringLiteral("</tr>");
    };
    QString out = QStringLiteral("<h2>") + table.title.toHtmlEscaped() +
                  QStringLiteral("</h2><table width=\"100%\" cellspacing=\"0\">") +
                  cells("th", table.captions);
    for (const QStringList& row : table.rows)
        out += cells("td", row);
    return htmlDocument(out + QStringLiteral("</table>"));
}

QString TableExport::htmlDocument(const QString& body) {
    return QStringLiteral("<html><head><meta charset=\"utf-8\"><style>"
                          "table { border-collapse: collapse; }"
                          "th, td { border: 1px solid #808080; padding: 2px 4px; }"
                          "th { background-color: #e8e8e8; }"
                          "</style></head><body>") +
           body + QStringLiteral("</body></html>");
}

} // namespace bom::entry
