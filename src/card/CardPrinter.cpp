#include "CardPrinter.h"

#include "bomservice/BomCardLoader.h"
#include "clsVoucher.h"
#include "entry/Session.h"
#include "entry/SpreadsheetFile.h"

#include <QIODevice>
#include <QStringList>
#include <algorithm>

namespace bom::card {
namespace {

bool printable(const CardField& field) {
    return field.visible && field.name != QLatin1String("iautoid") &&
           field.name != QLatin1String("autoid") && field.name != QLatin1String("qzts");
}

std::vector<CardField> printableOf(const std::vector<CardField>& fields) {
    std::vector<CardField> out;
    for (const CardField& field : fields)
        if (printable(field))
            out.push_back(field);
    return out;
}

QString cell(const char* tag, const QString& text) {
    return QStringLiteral("<%1>%2</%1>").arg(QLatin1String(tag), text.toHtmlEscaped());
}

// The fields with a value somewhere on the card: a page of blank free items and user-defined
// fields says nothing and squeezes the columns that do.
std::vector<CardField> filledOf(const std::vector<CardField>& fields,
                                const bomservice::RowSet& rows, const std::vector<int>& shown) {
    std::vector<CardField> out;
    for (const CardField& field : fields)
        if (std::any_of(shown.begin(), shown.end(), [&](int row) {
                return !field.text(rows.value(row, field.name)).trimmed().isEmpty();
            }))
            out.push_back(field);
    return out;
}

} // namespace

CardLayout CardPrinter::layoutOf(int printTemplateId, int displayTemplateId) {
    const auto voucher =
        bomservice::BomCardLoader(session_).findTemplate(QLatin1String(clsVoucher::kCardNumber));
    const bool grid = !voucher || voucher->HaveBodyGrid;
    TemplateLayout templates(session_);
    CardLayout layout =
        printTemplateId > 0 ? templates.print(printTemplateId, grid) : CardLayout{{}, {}, grid};
    if (layout.header.empty() && layout.body.empty())
        layout = templates.display(displayTemplateId, grid);
    layout.header = printableOf(layout.header);
    layout.body = printableOf(layout.body);
    return layout;
}

QString CardPrinter::html(const QString& title, const bomservice::BomCard& card,
                          const CardLayout& layout) {
    QString out = QStringLiteral("<html><head><meta charset=\"utf-8\"><style>"
                                 "table { border-collapse: collapse; }"
                                 "th, td { border: 1px solid #808080; padding: 2px 4px; }"
                                 "th { background-color: #e8e8e8; text-align: left; }"
                                 "</style></head><body><h2 align=\"center\">") +
                  title.toHtmlEscaped() +
                  QStringLiteral("</h2><table width=\"100%\" cellspacing=\"0\">");
    const std::vector<int> lines = card.lines.notDeletedRows();
    const std::vector<CardField> header = card.header.rowCount()
                                              ? filledOf(layout.header, card.header, {0})
                                              : std::vector<CardField>();
    const std::vector<CardField> body = filledOf(layout.body, card.lines, lines);
    // Header fields two to a row, each as caption and value.
    for (std::size_t i = 0; i < header.size(); ++i) {
        const CardField& field = header[i];
        out += (i % 2 == 0 ? QStringLiteral("<tr>") : QString()) + cell("th", field.caption) +
               cell("td", field.text(card.header.value(0, field.name))) +
               (i % 2 == 1 || i + 1 == header.size() ? QStringLiteral("</tr>") : QString());
    }
    out += QStringLiteral("</table>");
    if (layout.hasBodyGrid && !body.empty()) {
        out += QStringLiteral("<p></p><table width=\"100%\" cellspacing=\"0\"><tr>");
        for (const CardField& field : body)
            out += cell("th", field.caption);
        out += QStringLiteral("</tr>");
        for (int row : lines) {
            out += QStringLiteral("<tr>");
            for (const CardField& field : body)
                out += cell("td", field.text(card.lines.value(row, field.name)));
            out += QStringLiteral("</tr>");
        }
        out += QStringLiteral("</table>");
    }
    return out + QStringLiteral("</body></html>");
}

bool CardPrinter::writeCsv(QIODevice& out, const bomservice::BomCard& card,
                           const CardLayout& layout, QString* error) {
    QString text;
    for (const CardField& field : layout.header)
        text += entry::SpreadsheetFile::csvLine(
            {field.caption, field.text(card.header.value(0, field.name))});
    if (layout.hasBodyGrid && !layout.body.empty()) {
        QStringList captions;
        for (const CardField& field : layout.body)
            captions << field.caption;
        text += QStringLiteral("\r\n") + entry::SpreadsheetFile::csvLine(captions);
        for (int row : card.lines.notDeletedRows()) {
            QStringList values;
            for (const CardField& field : layout.body)
                values << field.text(card.lines.value(row, field.name));
            text += entry::SpreadsheetFile::csvLine(values);
        }
    }
    return entry::SpreadsheetFile::writeCsvText(out, text, error);
}

} // namespace bom::card
