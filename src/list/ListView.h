#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <optional>
#include <vector>

namespace bom::list {

// One row of the parent or the component list: its 1-based position, its cells by
// lower-case column name, and the names of the list's columns in list order.
struct ListRow {
    int number = 0;
    bool selected = false; // the selection column ("selcol" = "Y")
    QHash<QString, QVariant> cells;
    QStringList columns;

    QString text(const QString& column) const { return cells.value(column.toLower()).toString(); }
};

// What the list commands need of the list window. The window implements it with its two
// lists; bomctl with the BOMs named on its command line.
class ListView {
public:
    virtual ~ListView() = default;

    virtual std::vector<ListRow> parentRows() const = 0; // every row, in list order
    virtual std::optional<ListRow> currentParent() const = 0;
    virtual bool componentListActive() const = 0;
    virtual std::optional<ListRow> currentLine() const = 0;
    virtual int lineCount() const = 0; // lines of the current BOM
    virtual std::vector<ListRow> selectedLines() const = 0;

    // Reload both lists (keeping the filter and the position), or the lines alone.
    virtual void reload() = 0;
    virtual void reloadLines() = 0;
    virtual void selectAll(bool selected) = 0;

    // Window-only work: filter, column and print settings, printing, export, locate, help and
    // closing. A view without a window does nothing here.
    virtual void filter() {}
    virtual void filterSettings() {}
    virtual void columnSettings() {}
    virtual void locate() {}
    virtual void printSetup() {}
    virtual void print(bool /*preview*/) {}
    virtual void exportList() {}
    // The spreadsheet to import BOMs from; "" when the planner chose none.
    virtual QString chooseImportFile() { return {}; }
    virtual void help() {}
    virtual void close() {}
};

// The windows the list hands over to once its own checks have passed: the BOM card, the batch
// editor, its runs, the colour/size editor and the structure tools.
class ListHandover {
public:
    // Browse: a stored BOM shown as it is (a double-click in the list).
    enum class CardMode {
        Add = 0,
        Modify = 1,
        Copy = 2,
        CopyAllLevels = 3,
        CopySingle = 4,
        Browse = 5
    };
    virtual ~ListHandover() = default;
    virtual void openCard(CardMode mode, const QString& headerId) = 0;
    virtual void openBatch(const QString& operation, const std::vector<ListRow>& parents,
                           const std::vector<ListRow>& lines) = 0;
    virtual void openColourSize(const QString& mode, const ListRow& parent) = 0;
    // The record of runs over many BOMs, to undo one.
    virtual void openBatchRuns() = 0;
    // The structure tools (explosion, where-used, costs, compare) over one BOM.
    virtual void openStructure(const QString& headerId) = 0;
};

} // namespace bom::list
