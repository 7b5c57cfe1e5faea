#include "StructureTableView.h"

#include <QHeaderView>

namespace bom::structure {

StructureTableView::StructureTableView(QWidget* parent) : QTableWidget(parent) {
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setAlternatingRowColors(true);
    verticalHeader()->setVisible(false);
    horizontalHeader()->setStretchLastSection(true);
}

void StructureTableView::setTable(entry::ExportTable table) {
    table_ = std::move(table);
    clear();
    setColumnCount(int(table_.captions.size()));
    setHorizontalHeaderLabels(table_.captions);
    setRowCount(int(table_.rows.size()));
    for (int row = 0; row < rowCount(); ++row)
        for (int column = 0; column < columnCount(); ++column)
            setItem(row, column, new QTableWidgetItem(table_.rows[std::size_t(row)].value(column)));
    resizeColumnsToContents();
}

void StructureTableView::setRowColour(int row, const QColor& colour) {
    for (int column = 0; column < columnCount(); ++column)
        if (QTableWidgetItem* cell = item(row, column))
            cell->setBackground(colour);
}

} // namespace bom::structure
