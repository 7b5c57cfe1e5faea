#pragma once

#include "RowSet.h"

#include <QDateTime>
#include <QString>
#include <QVariant>
#include <optional>
#include <vector>

namespace bom::db {
class Database;
}

namespace bom::bomservice {

struct BodyTable;

// The account's change history of BOMs: who changed which BOM, line and field, when, from what
// to what. Saves and deletes record into it inside their own transaction; multi-BOM runs (batch,
// colour/size, import) record the same way under their run id.
class BomHistory {
public:
    // What one entry records; the kinds a script matches on.
    static constexpr const char* kCreated = "create";     // a new BOM (one entry)
    static constexpr const char* kHeader = "header";      // a header field changed
    static constexpr const char* kLineAdded = "line-add"; // a line added (one entry)
    static constexpr const char* kLineRemoved = "line-remove";
    static constexpr const char* kLineChanged = "line-change"; // a line's field changed
    static constexpr const char* kDeleted = "delete";          // the BOM deleted (one entry)
    // A line's substitutes: added, removed (the substitute's code as new or old value) or
    // changed field by field; their `line` is "<line autoid>/<compsubid>".
    static constexpr const char* kOptionAdded = "option-add";
    static constexpr const char* kOptionRemoved = "option-remove";
    static constexpr const char* kOptionChanged = "option-change";
    // A line a multi-BOM run added (A), deleted (D) or changed (M), and a run's change undone:
    // the old and new values are the line's descriptions (LineDescriber), one entry per line.
    static constexpr const char* kRunLineAdded = "batch-add";
    static constexpr const char* kRunLineDeleted = "batch-delete";
    static constexpr const char* kRunLineChanged = "batch-modify";
    static constexpr const char* kRunUndone = "run-undo";

    // Values as stored (flags as their numbers). A new BOM's entry carries its parent code as
    // the new value, a deleted one's as the old; an added line its component as the new value,
    // a removed one as the old.
    struct Change {
        QString kind;
        QString field; // lower case; empty for create, line-add, line-remove, delete
        QString oldValue;
        QString newValue;
        QString line; // the line's autoid as text; empty for the header
        // The whole line as it was (a JSON object of its columns), for an entry that removes
        // it or puts it back as something else; empty otherwise.
        QString row = {};
    };
    struct Entry {
        QDateTime time;
        QString user;
        Change change;
        qlonglong run = 0; // the multi-BOM run it was part of, 0 for none
    };
    // A change of one of several BOMs, for a run that records many at once.
    struct BomChange {
        QString headerId;
        Change change;
    };

    explicit BomHistory(db::Database& db) : db_(db) {}

    static QString timeText(const QDateTime& time); // as entries are stamped

    // Differences between a BOM as stored before (header and lines read from the tables,
    // std::nullopt for a new BOM) and the card as saved (its lines carrying their autoids).
    // Only columns of the stored tables count; keys, qzts and values the view merely shows do
    // not. Lines pair by autoid.
    static std::vector<Change> diff(const std::optional<BomCard>& stored, const BomCard& saved);

    // How the rows of one body table enter the history.
    struct RowKinds {
        const BodyTable& table;
        QString code; // the column an added or removed row is recorded by
        const char* added;
        const char* removed;
        const char* changed;
        QString linePrefix; // put before the row's key to make an entry's `line`
    };
    // The entries of the marked rows of `saved` (paired with `stored` by the table's key):
    // added, removed, and each changed field of a modified row.
    static void diffRows(const RowSet& stored, const RowSet& saved, const RowKinds& kinds,
                         std::vector<Change>& out);

    // The stored header and lines of a BOM, for diff; std::nullopt when it is not there.
    // `withLines` false: the header only, for a save that changes or removes no stored line.
    std::optional<BomCard> readStored(const QString& headerId, bool withLines = true);

    // Runs in the caller's transaction. `runId` 0: not part of a multi-BOM run.
    void record(const QString& headerId, const QString& userId, const std::vector<Change>& changes,
                qlonglong runId = 0);
    // Changes of many BOMs in as few statements as the database takes.
    void record(const std::vector<BomChange>& changes, const QString& userId, qlonglong runId);

    // The BOM's history, newest first.
    std::vector<Entry> read(const QString& headerId);

    // The BOM as it stood at `time`: the stored BOM with every later entry of its history
    // undone, newest first (header fields and line fields back to their old values, lines
    // added since dropped, lines removed since back as they were). std::nullopt when the BOM
    // is not there now or was made after `time`. Substitutes are not rebuilt.
    std::optional<BomCard> readAt(const QString& headerId, const QDateTime& time);

    // The removal of the stored line `autoid` as a card save records it; std::nullopt when the
    // line is not there. For a write that removes a line outside a card.
    std::optional<Change> lineRemoval(const QVariant& autoid);

    // A row as the history keeps it (Change::row).
    static QString rowText(const RowSet& rows, int row);

private:
    db::Database& db_;
};

} // namespace bom::bomservice
