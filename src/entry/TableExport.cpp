#include "TableExport.h"

#include "Session.h"
#include "SpreadsheetFile.h"

#include <QIODevice>

namespace bom::entry {

Sheet TableExport::sheet(const ExportTable& table, const Session& session) {
    auto decimalsOf = [&](std::size_t column) {
        switch (column < table.kinds.size() ? table.kinds[column] : ExportTable::Kind::Text) {
        case ExportTable::Kind::Count:
            return 0;
        case ExportTable::Kind::Quantity:
            return session.gQuanDigits;
        case ExportTable::Kind::Amount:
            return session.gPriceDigits;
        case ExportTable::Kind::Text:
            break;
        }
        return -1;
    };
    Sheet sheet;
    sheet.title = table.title;
    for (qsizetype c = 0; c < table.captions.size(); ++c)
        sheet.columns.push_back({QString(), table.captions.at(c), decimalsOf(std::size_t(c))});
    sheet.rows.reserve(table.rows.size());
    for (const QStringList& row : table.rows) {
        QVariantList cells;
        cells.reserve(row.size());
        for (qsizetype c = 0; c < row.size(); ++c) {
            bool numeric = false;
            const double number = row.at(c).toDouble(&numeric);
            // A cell that is not a number (a marked loop, a blank) stays the text shown.
            cells << (numeric && decimalsOf(std::size_t(c)) >= 0 ? QVariant(number)
                                                                 : QVariant(row.at(c)));
        }
        sheet.rows.push_back(std::move(cells));
    }
    return sheet;
}

bool TableExport::write(QIODevice& out, const QString& fileName, const ExportTable& table,
                        const Session& session, QString* error) {
    return SpreadsheetFile::write(out, fileName, sheet(table, session), error);
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
