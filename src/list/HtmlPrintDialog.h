#pragma once

#include <QString>
#include <functional>

class QPrinter;
class QWidget;

namespace bom::entry {
class Session;
}

namespace bom::list {

// Prints, previews and writes as PDF a document the module lays out as HTML, through Qt's own
// print dialogs guarded like every file dialog of the module. Pages are numbered at the foot.
class HtmlPrintDialog {
public:
    // The document for the output; "" when there is none (its message shown).
    using Html = std::function<QString()>;

    static void preview(QWidget* parent, QPrinter& printer, const Html& html);
    // Through the print dialog; with no printer installed, into a PDF file the operator names
    // (`pdfName` suggested), saying where it went.
    static void print(QWidget* parent, entry::Session& session, QPrinter& printer,
                      const QString& pdfName, const Html& html);
    // False with its message shown. `layout` gives the page set-up when there is one.
    static bool writePdf(entry::Session& session, const QString& path, const QString& html,
                         const QPrinter* layout);
};

} // namespace bom::list
