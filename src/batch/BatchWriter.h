#pragma once

#include "BatchPlan.h"

#include <QHash>
#include <functional>

namespace bom::entry {
class Session;
}

namespace bom::batch {

class BatchFields;

// Writes a plan inside the caller's transaction, set-based: per block of BOMs one statement
// per kind of write (lines added, the lines' rows as they were, substitutes dropped, lines
// changed), then the row versions, quantity totals, run record, history and visibility of all
// changed BOMs at once.
class BatchWriter {
public:
    // Called after each block with the BOMs done and their total; false cancels the run.
    using Progress = std::function<bool(int done, int total)>;
    // Thrown when the progress callback asked to stop; the caller's transaction rolls back.
    struct Cancelled {};

    static constexpr int kBlock = 1000; // BOMs per block

    BatchWriter(entry::Session& session, BatchFields& fields)
        : session_(session), fields_(fields) {}

    // The run's id in the run record.
    qlonglong write(const BatchPlan& plan, const QString& description, const Progress& progress);

private:
    void insertLines(const BatchPlan& plan, const std::vector<const BatchChange*>& block,
                     qlonglong run);
    void updateLines(const BatchPlan& plan, const std::vector<const BatchChange*>& block,
                     qlonglong run);
    void deleteLines(const BatchPlan& plan, const std::vector<const BatchChange*>& block,
                     qlonglong run);
    void recordHistory(const BatchPlan& plan, qlonglong run);
    QStringList components(const BatchPlan& plan) const;

    entry::Session& session_;
    BatchFields& fields_;
    QHash<QString, QString> addedLines_; // the autoid of the line added to each BOM
};

} // namespace bom::batch
