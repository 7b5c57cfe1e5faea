#pragma once

#include "RowSet.h"

#include <QString>
#include <QStringList>

namespace bom::entry {
class Session;
}

namespace bom::bomservice {

class RowWriter;

// Saves one BOM card in one transaction: validation, deleted lines, header, lines, the links
// to child BOMs and to the sales order line, the quantity totals, and the structure-changed
// flag. On success the card holds its new keys, so a second save is a modification.
class BomSaver {
public:
    explicit BomSaver(entry::Session& session);

    // mode 0 new card, 1 modified card. A modification writes only over the version its card
    // was loaded at (header qzts): a BOM changed, deleted or hidden since is refused with
    // nothing written. False with `resultText` the short reason and `errorText` what was shown
    // (messages shown already are not repeated).
    bool SaveBom(BomCard& card, const QString& cardNumber, int mode, QString& resultText,
                 QString& errorText);
    // What a write to lines of these parents moves, worked out again from the stored lines: the
    // quantity totals per (parent, component), so they always equal the sum over every BOM of
    // the pair (only the pairs of `componentCodes` when given), and, unless only quantities
    // changed, the low-level codes. A few statements however many parents there are.
    enum class LineChange { Structure, QuantitiesOnly };
    void LinesChanged(const QStringList& parentCodes, const QStringList& componentCodes = {},
                      LineChange change = LineChange::Structure);
    // For a run that saves many cards in one transaction: what LinesChanged works out is left
    // to `finishDeferred`, once for every parent the saves touched.
    void deferDerived() { deferring_ = true; }
    void finishDeferred();
    // Saves that are part of a run file their history under it, so a card's LOG names the run.
    void partOfRun(qlonglong run) { run_ = run; }

    // Each runs inside the save's transaction.
    void UpdateChildLinks(const BomCard& card, const QString& headerId);
    // Lines anywhere whose component is one of these stored BOMs (the header-against-line
    // rule) name it as their child BOM: what many BOMs made or put back at once need.
    void LinkLinesTo(const QStringList& headerIds);
    void SaveParentDepartment(const QString& parentCode, const QString& depCode);
    // Tells the rest of the suite that product structures changed (bStruChange).
    void MarkStructureChanged();
    void SetLineKeys(BomCard& card, const QString& headerId);
    void LinkLineChildren(const QString& headerId);
    void LinkSalesOrder(const QString& headerId, const QString& salesOrder);

private:
    bool deferring_ = false;
    qlonglong run_ = 0;
    QStringList deferredParents_;
    bool writeCard(BomCard& card, int mode, RowWriter& writer, QString& errorText);
    void saveQuantityTotals(const QStringList& parentCodes);
    void saveQuantityTotals(const QStringList& parentCodes, const QStringList& componentCodes);
    void deleteLines(const BomCard& card, const QString& headerId);
    bool writeLines(BomCard& card, RowWriter& writer); // false: a modified line is gone
    void markSaved(BomCard& card);
    void holdTotals(const QStringList& parentCodes);

    entry::Session& session_;
};

} // namespace bom::bomservice
