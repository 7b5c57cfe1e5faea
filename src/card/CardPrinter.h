#pragma once

#include "TemplateLayout.h"
#include "bomservice/RowSet.h"

#include <QString>

class QIODevice;

namespace bom::entry {
class Session;
}

namespace bom::card {

// The card as a print template lays it out: an HTML document (title, header fields as
// caption and value, the lines as a table) for printing and preview, and CSV for output.
// Page numbers are added by whoever paginates the document.
class CardPrinter {
public:
    explicit CardPrinter(entry::Session& session) : session_(session) {}

    // The print template's fields; when it names none (or `printTemplateId` is 0), the visible
    // fields of the display template `displayTemplateId`. Keys and the row version are never
    // printed. Throws db::DbError.
    CardLayout layoutOf(int printTemplateId, int displayTemplateId);

    // Fields empty on the whole card are left out of the printed page (not of the CSV).
    static QString html(const QString& title, const bomservice::BomCard& card,
                        const CardLayout& layout);
    // UTF-8 with a byte-order mark so spreadsheet programs read Chinese; false with `error`
    // set when writing failed.
    static bool writeCsv(QIODevice& out, const bomservice::BomCard& card, const CardLayout& layout,
                         QString* error);

private:
    entry::Session& session_;
};

} // namespace bom::card
