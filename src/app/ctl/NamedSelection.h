#pragma once

#include "db/SqlCondition.h"
#include "list/ListView.h"

#include <QStringList>
#include <functional>
#include <optional>
#include <vector>

namespace bom::app {

class CtlContext;

// The BOMs named on the command line as the list would show them, all selected; for a line
// command, that line as the current one of an active component list. The colour/size editor
// the list opens is handed to `colourSize`; bomctl opens no other window.
class NamedSelection : public list::ListView, public list::ListHandover {
public:
    std::vector<list::ListRow> parents;
    std::optional<list::ListRow> line;
    int linesOfBom = 0;
    std::function<void(const QString& mode, const list::ListRow& parent)> colourSize;

    std::vector<list::ListRow> parentRows() const override { return parents; }
    std::optional<list::ListRow> currentParent() const override {
        return parents.empty() ? std::nullopt : std::optional<list::ListRow>(parents.front());
    }
    bool componentListActive() const override { return line.has_value(); }
    std::optional<list::ListRow> currentLine() const override { return line; }
    int lineCount() const override { return linesOfBom; }
    std::vector<list::ListRow> selectedLines() const override { return {}; }
    void reload() override {}
    void reloadLines() override {}
    void selectAll(bool) override {}
    void openCard(CardMode, const QString&) override {}
    void openBatch(const QString&, const std::vector<list::ListRow>&,
                   const std::vector<list::ListRow>&) override {}
    void openColourSize(const QString& mode, const list::ListRow& parent) override {
        if (colourSize)
            colourSize(mode, parent);
    }
    void openBatchRuns() override {}
    void openStructure(const QString&) override {}

    // The list rows `sql` answers, all selected.
    static std::vector<list::ListRow> rowsOf(db::Database& db, const db::SqlCondition& sql);
    // The named BOMs among those the operator's list shows. A name he cannot see is refused as
    // one that does not exist (the result printed), and nothing is selected after it.
    bool select(CtlContext& ctx, const QStringList& ids);
};

} // namespace bom::app
