#include "HtmlPrintDialog.h"

#include "FileChooserDialog.h"
#include "entry/Session.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QPrinterInfo>
#include <QTextDocument>

namespace bom::list {

void HtmlPrintDialog::preview(QWidget* parent, QPrinter& printer, const Html& html) {
    const QString text = html();
    if (text.isEmpty())
        return;
    // Not paginated itself, so QTextDocument::print numbers the pages.
    QTextDocument document;
    document.setHtml(text);
    QPrintPreviewDialog dialog(&printer, parent);
    dialog.setWindowTitle(QStringLiteral("打印预览"));
    FileChooserDialog::guardFileModels(&dialog);
    QObject::connect(&dialog, &QPrintPreviewDialog::paintRequested, &dialog,
                     [&document](QPrinter* target) { document.print(target); });
    dialog.exec();
}

void HtmlPrintDialog::print(QWidget* parent, entry::Session& session, QPrinter& printer,
                            const QString& pdfName, const Html& html) {
    if (QPrinterInfo::availablePrinterNames().isEmpty()) {
        QString filter = FileChooserDialog::pdfFilter();
        const QString path =
            FileChooserDialog::outputFileName(parent, session, QStringLiteral("打印到文件"),
                                              pdfName, {FileChooserDialog::pdfFilter()}, &filter);
        if (path.isEmpty())
            return;
        const QString text = html();
        if (!text.isEmpty() && writePdf(session, path, text, &printer))
            session.ShowInfo(QStringLiteral("已输出到：") + QDir::toNativeSeparators(path));
        return;
    }
    const QString text = html();
    if (text.isEmpty())
        return;
    QTextDocument document;
    document.setHtml(text);
    QPrintDialog dialog(&printer, parent);
    dialog.setWindowTitle(QStringLiteral("打印"));
    // Output to a file goes through "输出", whose dialog reads no file it lists.
    dialog.setOption(QAbstractPrintDialog::PrintToFile, false);
    FileChooserDialog::guardFileModels(&dialog);
    if (dialog.exec() == QDialog::Accepted)
        document.print(&printer);
}

bool HtmlPrintDialog::writePdf(entry::Session& session, const QString& path, const QString& html,
                               const QPrinter* layout) {
    // The printer tells nothing when it cannot write, so the file is tried first.
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        session.ShowInfo(QStringLiteral("文件保存失败：") + file.errorString());
        return false;
    }
    file.close();
    QTextDocument document;
    document.setHtml(html);
    QPrinter pdf(QPrinter::HighResolution);
    pdf.setOutputFormat(QPrinter::PdfFormat);
    pdf.setOutputFileName(path);
    if (layout)
        pdf.setPageLayout(layout->pageLayout());
    document.print(&pdf);
    if (QFileInfo(path).size() == 0) {
        session.ShowInfo(QStringLiteral("文件保存失败：") + QDir::toNativeSeparators(path));
        return false;
    }
    return true;
}

} // namespace bom::list
