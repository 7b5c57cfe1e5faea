#pragma once

#include "ListView.h"
#include "entry/DisplayTerms.h"
#include "suite/ColumnSettings.h"

#include <QString>
#include <vector>

class QIODevice;

namespace bom::entry {
class Session;
}

namespace bom::list {

// What the list prints and exports: BOMs as an HTML document (header cells and lines, one
// page each) and the list as a spreadsheet. The window only hands the result to a printer or a
// file.
class ListPrinter {
public:
    ListPrinter(entry::Session& session, entry::DisplayTerms terms)
        : session_(session), terms_(std::move(terms)) {}

    // Each BOM's visible header cells ("WLQDLBM") and its lines ("WLQDLBZ"), read from the
    // account. Throws db::DbError.
    QString html(const std::vector<ListRow>& boms);

    // The rows' visible columns with their captions as a heading, as XLSX or CSV by the file
    // name's extension, numbers with the account's decimals. False with `error` set when
    // writing failed.
    bool write(QIODevice& out, const QString& fileName,
               const std::vector<suite::ColumnSetting>& columns, const std::vector<ListRow>& rows,
               QString* error) const;

private:
    entry::Session& session_;
    entry::DisplayTerms terms_;
};

} // namespace bom::list
