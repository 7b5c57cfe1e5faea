#pragma once

#include "entry/TableExport.h"

#include <QTableWidget>

namespace bom::structure {

// A table of the structure tools as it is shown, printed and exported: it keeps the table it
// shows, so its output is exactly what the planner sees.
class StructureTableView : public QTableWidget {
    Q_OBJECT
public:
    explicit StructureTableView(QWidget* parent = nullptr);

    void setTable(entry::ExportTable table);
    const entry::ExportTable& table() const { return table_; }
    void setRowColour(int row, const QColor& colour);

private:
    entry::ExportTable table_;
};

} // namespace bom::structure
