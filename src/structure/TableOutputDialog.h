#pragma once

#include "entry/TableExport.h"

#include <memory>

class QPrinter;
class QWidget;

namespace bom::entry {
class Session;
}

namespace bom::structure {

// 打印, 预览 and 导出 of a structure tool's table, through the module's own print and file
// dialogs: printed as an HTML page, exported through entry::TableExport.
class TableOutputDialog {
public:
    // Previews or prints; `printer` is made on first use and keeps the page set-up.
    static void print(QWidget* parent, entry::Session& session, std::unique_ptr<QPrinter>& printer,
                      const entry::ExportTable& table, bool preview);
    // Asks where, then writes; false when cancelled or refused (said why).
    static bool exportTable(QWidget* parent, entry::Session& session,
                            const entry::ExportTable& table);
    // Writes into `path` and says where it went or why it could not.
    static bool exportTo(entry::Session& session, const QString& path,
                         const entry::ExportTable& table);
};

} // namespace bom::structure
