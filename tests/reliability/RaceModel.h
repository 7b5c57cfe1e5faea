#pragma once

#include "Bomctl.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <vector>

namespace bom::db {
class Database;
}

namespace bom::reliability {

// What the race loop follows of a BOM: "cmemo", "q:<component>" (the component's quantity; a
// key with a null value: no such line), "bstopflag", "ccheck" (empty when not approved).
using Cells = QMap<QString, QVariant>;

// What an accepted operation did to one BOM. A versioned one (save, batch run, undo) moved the
// BOM from row version `before` to `after`; an undo of run `undoes` put back what that run
// wrote. An unversioned one (a list command) wrote its cells without telling the version.
struct Effect {
    QString bom;
    qlonglong before = -1;
    qlonglong after = -1;
    Cells cells;
    qlonglong undoes = 0;
};

// One operation an operator ran, with what bomctl answered.
struct RaceOp {
    int id = 0;
    int operatorNo = 0;
    QString kind; // save, modify, add, delete, undo, stop, enable, approve, unapprove
    QString command;
    double start = 0; // seconds since the race began
    double end = 0;
    Bomctl::Reply reply;
    bool accepted = false;
    qlonglong run = 0; // the batch run it made
    std::vector<Effect> effects;
    // Set when it went wrong beyond a documented refusal.
    QString fault;
};

// The BOMs as the race loop follows them, read from the account.
QMap<QString, Cells> readBoms(db::Database& db, const QStringList& boms,
                              QMap<QString, qlonglong>* versions);

// Replays the accepted operations against the state the race began from and compares with the
// state it ended in. Answers every lost or misplaced write, one sentence each.
class RaceCheck {
public:
    RaceCheck(const QMap<QString, Cells>& start, const std::vector<RaceOp>& ops)
        : start_(start), ops_(ops) {}

    QStringList lostWrites(const QMap<QString, Cells>& end,
                           const QMap<QString, qlonglong>& versions);

private:
    struct Step {
        const RaceOp* op;
        const Effect* effect;
    };
    QStringList versionedFaults(const QString& bom, Cells& state, qlonglong finalVersion);
    QStringList unversionedFaults(const QString& bom, const QString& cell, const QVariant& final);
    const Effect* effectOfRun(qlonglong run, const QString& bom) const;

    const QMap<QString, Cells>& start_;
    const std::vector<RaceOp>& ops_;
};

} // namespace bom::reliability
