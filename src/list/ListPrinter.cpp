#include "ListPrinter.h"

#include "BomList.h"
#include "db/DbError.h"
#include "entry/Common.h"
#include "entry/Format.h"
#include "entry/Session.h"
#include "entry/SpreadsheetFile.h"
#include "entry/TableExport.h"

#include <QIODevice>

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
    QString out;
    bool first = true;
    for (const ListRow& bom : boms) {
        out += first ? QStringLiteral("<h2>")
                     : QStringLiteral("<h2 style=\"page-break-before: always\">");
        out += terms_.title.toHtmlEscaped() + QStringLiteral("</h2>");
        first = false;

        out += QStringLiteral("<table width=\"100%\" cellspacing=\"0\">");
        for (const suite::ColumnSetting& c : header)
            out += QStringLiteral("<tr>") + cell(QStringLiteral("th"), caption(c)) +
                   cell(QStringLiteral("td"),
                        entry::StoredText(bom.cells.value(bareName(c.fieldName)))) +
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
                out += cell(QStringLiteral("td"),
                            entry::StoredText(lines.value(i, bareName(c.fieldName))));
            out += QStringLiteral("</tr>");
        }
        out += QStringLiteral("</table>");
    }
    return entry::TableExport::htmlDocument(out);
}

bool ListPrinter::write(QIODevice& out, const QString& fileName,
                        const std::vector<suite::ColumnSetting>& columns,
                        const std::vector<ListRow>& rows, QString* error) const {
    const auto shown = visible(columns);
    entry::Sheet sheet;
    sheet.title = terms_.title;
    QHash<QString, int> decimals;
    try {
        decimals = entry::Common::CardDecimals(session_);
    } catch (const db::DbError& e) {
        *error = e.message();
        return false;
    }
    for (const suite::ColumnSetting& c : shown) {
        const QString name = bareName(c.fieldName);
        sheet.columns.push_back({name, caption(c), decimals.value(name.toLower(), -1)});
    }
    sheet.rows.reserve(rows.size());
    for (const ListRow& row : rows) {
        QVariantList cells;
        for (const entry::SheetColumn& column : sheet.columns)
            cells << row.cells.value(column.name);
        sheet.rows.push_back(std::move(cells));
    }
    return entry::SpreadsheetFile::write(out, fileName, sheet, error);
}

} // namespace bom::list
