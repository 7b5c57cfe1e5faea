#pragma once

#include "ListView.h"
#include "entry/DisplayTerms.h"

#include <QString>
#include <optional>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::list {

// A toolbar button of the list window: its command key, caption, tip and group; a key with
// `menu` entries is a drop-down.
struct ToolbarKey {
    QString key;
    QString caption;
    QString tip;
    int group = 0;
    std::vector<ToolbarKey> menu;
};

// The commands of the BOM list: every toolbar key, shortcut and menu entry reaches
// ExecuteCommand, which runs the checks and either changes BOMs (approve, stop, delete …) in
// one transaction or hands over to another window.
class BomListCommands {
public:
    BomListCommands(entry::Session& session, ListView& view, ListHandover& handover);

    // `key` is compared without regard to case: "Add", "Modify", "Delete", "Auditing" …
    // False when the command was refused or declined, or changed no row (its message has been
    // shown); a database failure is shown too.
    bool ExecuteCommand(const QString& key);
    // The same, but a database failure throws db::DbError instead of being shown.
    bool RunCommand(const QString& key);

    // Each answers how many BOMs it changed.
    int AuditSelected(bool approve);
    int StopSelected();
    int EnableSelected();
    bool DeleteCurrent();
    bool CheckColorSize();
    void UpdateDecimalPlaces();

    const entry::DisplayTerms& terms() const { return terms_; }
    static const std::vector<ToolbarKey>& toolbarKeys();
    // The keys the parent list's context menu offers, from the toolbar's.
    static const QStringList& parentMenuKeys();
    // The command key of a keyboard shortcut (Qt key and modifiers), if it has one.
    static std::optional<QString> keyForShortcut(int key, Qt::KeyboardModifiers modifiers);

private:
    bool claimTask(const QString& code);
    bool modify();
    bool copy(ListHandover::CardMode mode);
    bool structure();  // the structure tools over the current BOM
    bool importFile(); // BOMs from a spreadsheet the planner picks
    bool deleteBom(const ListRow& row);
    bool deleteLine(const ListRow& line);
    // The line with its substitutes, in one transaction; false when it was gone already.
    bool removeLine(const ListRow& line, const QVariant& autoid);
    void writeDeletionLog(const ListRow& line);
    bool batch(const QString& key);
    bool colourSize(const QString& mode);
    bool headerExists(const QString& headerId);

    entry::Session& session_;
    ListView& view_;
    ListHandover& handover_;
    entry::DisplayTerms terms_;
};

} // namespace bom::list
