#pragma once

#include "RowSet.h"

#include <QString>
#include <QStringList>
#include <QVariant>

namespace bom::entry {
class Session;
}

namespace bom::bomservice {

// What may happen to a stored BOM: approved and stopped BOMs are not changed, and a delete
// compares the row version the card was loaded with.
class BomGuards {
public:
    static constexpr const char* kCardNumber = "pp30";

    explicit BomGuards(entry::Session& session) : session_(session) {}

    bool CheckNotApproved(const QString& headerId); // "审核过的产品不可修改！"
    bool IsApproved(const QString& headerId);
    QString GetVoucherId(const QString& headerId);
    bool CheckNotStopped(const QString& headerId); // "停用的产品不可修改！"
    // Before a stored BOM goes into edit: the operator may touch it (else it is refused as one
    // deleted meanwhile), it is not approved and not stopped.
    bool CheckModifiable(const QString& headerId);
    // The first write of a transaction that changes a loaded BOM: takes the header row and
    // proves the BOM is still at the version `qzts` it was loaded at, moving the version on.
    // False when it was changed, deleted or never had that version.
    bool ClaimVersion(const QString& headerId, const QVariant& qzts);
    // Takes the header rows of the BOMs a transaction is about to change, before it changes
    // any, in the order of their IDs: transactions over several BOMs take them in one order, so
    // two never each hold a BOM the other waits for.
    void LockBoms(const QStringList& headerIds);

    // Deletes the card with its lines, substitutes and attachments in one transaction, unless
    // another session deleted or changed the BOM since the card's qzts was read.
    bool DeleteBom(const BomCard& card, const QString& cardNumber);
    // Removes a stored BOM with its lines, substitutes and attachments, clears what pointed at
    // it and recomputes its parent's totals, inside the caller's transaction. False when the
    // header was not there.
    bool RemoveStoredBom(const QString& headerId);
    // The same for many BOMs, each kind of row in one statement; their history entries name
    // `runId` (0: none). Answers the BOMs that were there and are gone now.
    QStringList RemoveStoredBoms(const QStringList& headerIds, qlonglong runId = 0);

    // The context row the attachment handling receives: appended to `document`. The plain
    // form refuses a card that still has attachments ("请先请删除单据附件！").
    bool BuildAttachmentRow(RowSet& document, const QString& headerId, const QString& redFlag);
    void BuildAttachmentRowClosed(RowSet& document, const QString& headerId,
                                  const QString& redFlag);

private:
    int appendAttachmentRow(RowSet& document, const QString& headerId, const QString& redFlag);

    entry::Session& session_;
};

} // namespace bom::bomservice
