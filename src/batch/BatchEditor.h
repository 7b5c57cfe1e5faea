#pragma once

#include "BatchFields.h"
#include "BatchPlan.h"
#include "BatchScope.h"
#include "BatchWriter.h"

#include "bomservice/BomRuns.h"
#include "entry/ReferenceLookup.h"

#include <QString>
#include <QStringList>
#include <memory>
#include <optional>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::batch {

// The batch editor's logic (frmBatch): one component line added to, changed in, put in place
// of another in, or deleted from many BOMs at once. A window drives it as the form runs: the
// scope in (InitBatch), each editor value through its check as it is left (CheckValue /
// EnterValue), then Preview to see what a save would do, or Save. Every question and message
// goes through the session's prompter under the title "批量处理". A save is one transaction
// with a run record, so it can be undone (bomservice::BomRuns).
class BatchEditor {
public:
    using Progress = BatchWriter::Progress;
    struct Result {
        qlonglong run = 0; // 0: nothing was written
        QStringList changed;
        // Each changed BOM's row version before the run and the one the run left.
        std::vector<bomservice::BomRuns::BomVersion> versions;
        std::vector<BatchSkip> skipped;
        bool cancelled = false;
    };

    explicit BatchEditor(entry::Session& session);
    ~BatchEditor();

    // Operation code 0 add, 1 modify, 2 replace, 3 delete; the list's selected BOM list
    // (quoted ids joined by ","); the component key "code,sales order,free 1,…,free 10" (empty
    // for add). Modify refuses ("请在指定BOM范围内选择子件。") when no selected BOM has the line.
    // Delete needs no editors: Save follows at once.
    bool InitBatch(int operation, const QString& selectedBoms, const QString& componentKey);
    bool InitBatch(Operation operation, const QStringList& boms,
                   const entry::BomIdentity& component);

    // The identity of a stored component line (the list hands over the line's key); nothing
    // when it is gone.
    static std::optional<entry::BomIdentity> LineIdentity(db::Database& db, qlonglong autoid);

    const BatchScope& scope() const { return scope_; }
    // "批量增加" …; with a component, its key string and "--" before it.
    QString caption() const;
    // The component line before the change (modify, replace, delete), as the run record
    // describes lines; empty when no selected BOM has it.
    const QString& lineDescription() const { return lineDescription_; }
    // Modify: the line found for the component in the selected BOMs, to show in the editors.
    const db::Rows& currentLine() const { return currentLine_; }
    std::vector<entry::UserDefinition> freeItems() { return fields_->freeItems(); }
    std::vector<entry::UserDefinition> userDefined() { return fields_->userDefined(); }

    // An editor value by its column name (BatchFields), checked as when the editor is left:
    // the refusal's text, empty when it was taken.
    QString CheckValue(const QString& name, const QString& value);
    // The same with the refusal shown (title "批量处理") and the editor cleared.
    bool EnterValue(const QString& name, const QString& value);
    QString value(const QString& name) const { return fields_->text(name); }
    BatchFields& fields() { return *fields_; }

    // The list a browse button opens for an editor: the session's reference of that column,
    // and for csocode the sales orders the selected BOMs' parents have BOMs for ("版本号").
    // Nothing, its message shown, when the editor has none.
    std::optional<entry::ReferenceQuery> reference(const QString& name, const QString& typed);

    // The save's checks for the operation, in their order, with their questions and messages;
    // false when one stopped the save.
    bool CheckSave();
    // What a save would do now, without writing: the checks first (nothing when one stops).
    std::optional<BatchPlan> Preview();
    // The save: the checks, then the run in one transaction and its messages. Nothing when a
    // check stopped it or the run failed (its message shown); a cancelled run wrote nothing.
    std::optional<Result> Save(const Progress& progress = {});
    // Whether the last check, preview or save stopped on a database failure (its message
    // shown) rather than on a rule.
    bool failedOnDatabase() const { return databaseFailed_; }

private:
    bool checkComponent(bool numerator);
    bool checkStoppedAndMade(const entry::BomIdentity& component);
    entry::BomIdentity newComponent() const;
    QString description() const;
    void show(const QString& text, int style);

    entry::Session& session_;
    BatchScope scope_;
    std::unique_ptr<BatchFields> fields_;
    QString componentKey_;
    bool databaseFailed_ = false;
    QString lineDescription_;
    db::Rows currentLine_;
};

} // namespace bom::batch
