#include "TableOutputDialog.h"

#include "list/FileChooserDialog.h"
#include "list/HtmlPrintDialog.h"

#include <QPrinter>
#include <QRegularExpression>

namespace bom::structure {
namespace {

// What a printed page and a file are called: the table's title without what a file name may
// not hold.
QString fileStem(const entry::ExportTable& table) {
    QString name = table.title.trimmed();
    name.replace(QRegularExpression(QStringLiteral("[\\\\/:*?\"<>|]")), QStringLiteral("_"));
    return name.isEmpty() ? QStringLiteral("结构") : name;
}

} // namespace

void TableOutputDialog::print(QWidget* parent, entry::Session& session,
                              std::unique_ptr<QPrinter>& printer, const entry::ExportTable& table,
                              bool preview) {
    if (!printer)
        printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
    const auto html = [&] { return entry::TableExport::html(table); };
    if (preview)
        list::HtmlPrintDialog::preview(parent, *printer, html);
    else
        list::HtmlPrintDialog::print(parent, session, *printer,
                                     fileStem(table) + QStringLiteral(".pdf"), html);
}

bool TableOutputDialog::exportTable(QWidget* parent, entry::Session& session,
                                    const entry::ExportTable& table) {
    const QString path = list::FileChooserDialog::outputFileName(
        parent, session, QStringLiteral("导出"), fileStem(table) + QStringLiteral(".xlsx"),
        {list::FileChooserDialog::xlsxFilter(), list::FileChooserDialog::csvFilter()});
    return !path.isEmpty() && exportTo(session, path, table);
}

bool TableOutputDialog::exportTo(entry::Session& session, const QString& path,
                                 const entry::ExportTable& table) {
    return list::FileChooserDialog::writeOutput(session, path, [&](QIODevice& out, QString* error) {
        return entry::TableExport::write(out, path, table, session, error);
    });
}

} // namespace bom::structure
