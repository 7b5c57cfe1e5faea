#pragma once

#include "BomHistory.h"
#include "db/SqlCondition.h"

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <optional>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::bomservice {

// The record of runs over many BOMs (batch component runs; colour/size runs that make or
// remove whole BOMs): what each changed, kept so that it can be undone. A run writes its
// record inside its own transaction: the BOMs it touches and the rows it will change or remove
// before it does (Touched, Keep…), the rows it made (Created), and last the row versions it
// left the BOMs at (Finish, or Bumped for BOMs whose lines alone changed). Undo puts every
// touched BOM back as it was, unless one of them changed since; the quantity totals of what it
// put back are worked out again from the lines.
class BomRuns {
public:
    struct Run {
        qlonglong id = 0;
        QString user;
        QDateTime time;
        QString operation;
        QString state; // kDone or kUndone
        QString description;
        int boms = 0;
    };
    // A BOM's row version before a run (or an undo) and the one it left it at; null where there
    // was or is no BOM.
    struct BomVersion {
        QString headerId;
        QVariant before;
        QVariant after;
    };
    static constexpr const char* kDone = "done";
    static constexpr const char* kUndone = "undone";

    explicit BomRuns(entry::Session& session);

    qlonglong Begin(const QString& operation, const QString& description);
    // Rows of ProductStructures, ProstruOpt or ProductStructure matched by `where` (over the
    // table, unaliased), as they are now.
    void KeepLines(qlonglong run, const db::SqlCondition& where);
    void KeepOptions(qlonglong run, const db::SqlCondition& where);
    void KeepHeaders(qlonglong run, const db::SqlCondition& where);
    // What the run made: `select` answers, per row, a header id and a line's autoid (null for
    // a whole BOM).
    void Created(qlonglong run, const db::SqlCondition& select);
    // BOMs the run touches, with what it does to them (A, D, M for a line; C, X for a whole
    // BOM), before it writes to them (a BOM it creates: after).
    void Touched(qlonglong run, const QStringList& headerIds, const QString& kind);
    // After the run's last write: the row versions it left its BOMs at, which undo compares.
    void Finish(qlonglong run);
    // BOMs whose lines the run changed, once it has: their row versions move on (a card
    // loaded before the run cannot be saved over it), recorded before and after with `kind`.
    // Touched and Finish in one, for BOMs that are there before and after.
    void Bumped(qlonglong run, const QStringList& headerIds, const QString& kind);

    // The versions the run's record holds for its BOMs, by BOM. Read in the run's transaction,
    // they are the ones it left; an undo of a later run moves them on.
    std::vector<BomVersion> Versions(qlonglong run);

    // Newest first.
    std::vector<Run> List();

    // Puts every BOM the run touched back as it was, in one transaction, with their history,
    // and marks the run undone. Refused (false, its message shown under `title`, nothing
    // undone) when the run is unknown or undone already, when a BOM it touched changed since
    // or the operator may not touch it: those BOMs are named, and kept in refusedBoms().
    bool Undo(qlonglong run, const QString& title);
    const QStringList& refusedBoms() const { return refused_; }
    // After an undo: each BOM's version as the run had left it and the one the undo left.
    const std::vector<BomVersion>& undoneVersions() const { return undone_; }

private:
    void keep(const QString& table, const QString& copy, qlonglong run,
              const db::SqlCondition& where);
    // The columns a copy restores: every column of the live table, which the copy must have.
    QStringList copiedColumns(const QString& table, const QString& copy);
    bool refuse(const QString& text, const QString& title);
    // Headers the run removed whose identity another BOM has taken since ("parent id").
    QStringList remadeBoms(qlonglong run);
    void restore(qlonglong run);
    void recordUndo(qlonglong run);
    // The header fields the undo puts back, added to `changes`.
    void recordHeadersUndone(qlonglong run, std::vector<BomHistory::BomChange>& changes);

    entry::Session& session_;
    QStringList refused_;
    std::vector<BomVersion> undone_;
};

} // namespace bom::bomservice
