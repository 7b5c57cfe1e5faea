#include "BomSaver.h"

#include "BomAccess.h"
#include "BomCardLoader.h"
#include "BomHistory.h"
#include "BomValidator.h"
#include "Guards.h"
#include "LowLevelCodes.h"
#include "RowWriter.h"
#include "ServiceTexts.h"
#include "db/BoundList.h"
#include "db/DbError.h"
#include "db/Transaction.h"
#include "db/TransactionRetry.h"
#include "entry/BomIdentity.h"
#include "entry/BomVisibility.h"
#include "entry/Session.h"
#include "suite/AccountSettings.h"
#include "suite/Prompter.h"

#include <QUuid>
#include <utility>

namespace bom::bomservice {
namespace {

const QString kTitle = ServiceTexts::title();
const QString kSaveFailed = ServiceTexts::saveFailed();
const QString kChangedMeanwhile = ServiceTexts::changedMeanwhile();

// The header-against-line rule, bound to this header's identity: lines elsewhere whose
// component is this BOM's parent variant.
db::SqlCondition linesUsing(const BomCard& card) {
    entry::BomIdentity id{card.header.text(0, QStringLiteral("cpspcode")),
                          card.header.text(0, QStringLiteral("csocode")),
                          {}};
    for (int i = 0; i < 10; ++i)
        id.free[i] = card.header.text(0, QStringLiteral("cfree%1").arg(i + 1));
    return id.matches(QStringLiteral("cpscode"));
}

// Lines marked modified or deleted: only then does the history need the stored lines.
bool changesStoredLines(const BomCard& card) {
    for (int row : card.lines.allRows()) {
        const QString prop = card.lines.editprop(row);
        if (prop == QLatin1String("M") || prop == QLatin1String("D"))
            return true;
    }
    return false;
}

} // namespace

BomSaver::BomSaver(entry::Session& session) : session_(session) {}

bool BomSaver::SaveBom(BomCard& card, const QString& cardNumber, int mode, QString& resultText,
                       QString& errorText) {
    resultText.clear();
    errorText.clear();
    auto refuse = [&](const QString& result, const QString& shown) {
        resultText = result;
        errorText = shown;
        session_.prompter.info(shown, kTitle, 16);
        return false;
    };
    // A modification names the BOM and the version it was loaded at; one the operator may not
    // touch is refused exactly as one deleted meanwhile.
    if (mode == 1 &&
        (card.header.rowCount() != 1 ||
         card.header.text(0, QStringLiteral("qzts")).trimmed().isEmpty() ||
         !BomAccess(session_).MayTouch(card.header.text(0, QStringLiteral("iautoid")))))
        return refuse(kSaveFailed, kChangedMeanwhile);
    BomValidator validator(session_);
    if (!validator.ValidateBom(card, mode)) {
        resultText = QStringLiteral("单据录入不合法！");
        return false;
    }
    const QString headerId = card.header.text(0, QStringLiteral("iautoid"));
    if (card.header.text(0, QStringLiteral("bmrcbbom")) == QStringLiteral("是") &&
        !validator.ConfirmDefaultCostBom(card.header.text(0, QStringLiteral("cpspcode")),
                                         headerId)) {
        resultText = QStringLiteral("用户取消");
        return false;
    }
    if (card.header.rowCount() != 1)
        return refuse(kSaveFailed, ServiceTexts::headerMissing());
    card.header.setValue(0, QStringLiteral("ccheck"),
                         QStringLiteral("")); // a saved BOM is never approved
    const auto voucher = BomCardLoader(session_).findTemplate(cardNumber);
    if (!voucher) {
        resultText = QStringLiteral("单据录入不合法！");
        return false;
    }
    if (voucher->HaveBodyGrid && card.lines.columns().empty())
        return refuse(kSaveFailed, ServiceTexts::bodyMissing());

    BomCard saved = card;
    if (mode == 0) // every line of a new card is added, whatever it was marked
        for (int row : saved.lines.notDeletedRows())
            saved.lines.setEditprop(row, QStringLiteral("A"));
    RowWriter writer(*session_.gConn, *session_.gLogin, voucher->DEF_ID);
    const BomCard unsaved = saved;
    try {
        const bool written = db::TransactionRetry::run(*session_.gConn, [&] {
            saved = unsaved; // an attempt ended by a collision left its keys in the card
            db::Transaction tx(*session_.gConn);
            const QString setup = session_.gConn->dialect().longTransactionSetup();
            if (!setup.isEmpty())
                session_.gConn->exec(setup);
            if (!writeCard(saved, mode, writer, errorText))
                return false;
            tx.commit();
            return true;
        });
        if (!written) {
            resultText = kSaveFailed;
            if (!errorText.isEmpty())
                session_.prompter.info(errorText, kTitle, 16);
            return false;
        }
    } catch (const db::DbError& e) {
        return refuse(kSaveFailed, ServiceTexts::writeFailed(e.message()));
    }
    markSaved(saved);
    card = saved;
    return true;
}

bool BomSaver::writeCard(BomCard& card, int mode, RowWriter& writer, QString& errorText) {
    db::Database& db = *session_.gConn;
    if (mode == 1 &&
        !BomGuards(session_).ClaimVersion(card.header.text(0, QStringLiteral("iautoid")),
                                          card.header.value(0, QStringLiteral("qzts")))) {
        errorText = kChangedMeanwhile;
        return false;
    }
    const QString parent = card.header.text(0, QStringLiteral("cpspcode"));
    QString headerId = card.header.text(0, QStringLiteral("iautoid"));
    // The BOM as it was, for its history: read after the claim, it is the version replaced.
    BomHistory history(db);
    const std::optional<BomCard> stored =
        mode == 1 ? history.readStored(headerId, changesStoredLines(card))
                  : std::optional<BomCard>();
    if (mode == 1 && !stored) {
        errorText = kChangedMeanwhile;
        return false;
    }
    // A modification may move the BOM to another parent: both parents' totals change.
    QStringList parents{parent};
    if (stored)
        parents << stored->header.text(0, QStringLiteral("cpspcode"));
    deleteLines(card, headerId);
    if (card.header.text(0, QStringLiteral("bmrcbbom")) == QStringLiteral("是"))
        db.exec(QStringLiteral("update productstructure set bmrcbbom=0 where cpspcode=?"),
                {parent});
    SaveParentDepartment(parent, card.header.text(0, QStringLiteral("cdepcode")));

    if (mode == 0)
        headerId = QUuid::createUuid().toString(QUuid::WithBraces).toUpper();
    RowWriter::Outcome outcome;
    const QVariant written = writer.WriteRow(QStringLiteral("ProductStructure"), card.header, 0,
                                             mode, false, headerId, &outcome);
    if (outcome == RowWriter::Outcome::NoRowUpdated) {
        errorText = kChangedMeanwhile;
        return false;
    }
    card.header.setValue(0, QStringLiteral("iautoid"), headerId);
    card.header.setValue(0, QStringLiteral("ID"),
                         mode == 0 ? written
                                   : db.scalar(QStringLiteral("select ID from productstructure "
                                                              "where iautoid=?"),
                                               {headerId}));
    UpdateChildLinks(card, headerId);
    SetLineKeys(card, headerId);
    if (!writeLines(card, writer)) {
        errorText = kChangedMeanwhile; // a modified line was deleted by someone else
        return false;
    }
    LinkLineChildren(headerId);
    LinkSalesOrder(headerId, card.header.text(0, QStringLiteral("csocode")));
    LinesChanged(parents);
    if (!BomValidator(session_).CheckLineDuplicatesInDb(headerId))
        return false; // the rule has shown its message
    db.exec(QStringLiteral("delete from ProstruOpt where autoid in (select autoid from "
                           "productstructures where ipid=? and replaceflag=0)"),
            {headerId});
    history.record(headerId, session_.gUserId, BomHistory::diff(stored, card), run_);
    entry::BomVisibility(db).RefreshBoms({headerId});
    MarkStructureChanged();
    card.header.setValue(0, QStringLiteral("qzts"),
                         db.scalar(QStringLiteral("select qzts from productstructure where "
                                                  "iautoid=?"),
                                   {headerId}));
    return true;
}

void BomSaver::deleteLines(const BomCard& card, const QString& headerId) {
    db::Database& db = *session_.gConn;
    db::Params ids;
    for (int row : card.lines.deletedRows()) {
        const QVariant autoid = card.lines.value(row, QStringLiteral("autoid"));
        if (!autoid.isNull()) // else added and removed again before any save
            ids << autoid.toLongLong();
    }
    // Only lines of this BOM: a card never reaches into another one.
    constexpr int kChunk = 500;
    for (qsizetype start = 0; start < ids.size(); start += kChunk) {
        const db::Params chunk = ids.mid(start, kChunk);
        QStringList marks;
        for (qsizetype i = 0; i < chunk.size(); ++i)
            marks << QStringLiteral("?");
        const QString in = marks.join(',');
        db.exec(QStringLiteral("Delete from ProstruOpt where autoid in (select autoid from "
                               "ProductStructures where autoid in (%1) and ipid=?)")
                    .arg(in),
                chunk + db::Params{headerId});
        db.exec(
            QStringLiteral("Delete from ProductStructures where autoid in (%1) and ipid=?").arg(in),
            chunk + db::Params{headerId});
    }
}

void BomSaver::UpdateChildLinks(const BomCard& card, const QString& headerId) {
    db::Database& db = *session_.gConn;
    // Lines that pointed here for an identity this BOM no longer has lose the link; lines
    // whose component is this BOM's parent variant get it.
    const db::SqlCondition uses = linesUsing(card);
    db.exec(QStringLiteral("update ProductStructures set childguid=NULL where childguid=? and "
                           "not (") +
                uses.sql + QStringLiteral(")"),
            db::Params{headerId} + uses.params);
    db.exec(QStringLiteral("update ProductStructures set childguid=? where ") + uses.sql,
            db::Params{headerId} + uses.params);
}

void BomSaver::LinkLinesTo(const QStringList& headerIds) {
    db::Database& db = *session_.gConn;
    if (headerIds.isEmpty())
        return;
    const db::SqlCondition headers =
        db::BoundList::in(db.dialect(), QStringLiteral("h.iautoid"), headerIds);
    const db::SqlCondition matching =
        db::sqlText(QStringLiteral("from ProductStructure h where ")) + headers +
        db::sqlText(QStringLiteral(" and ") +
                    entry::BomIdentity::headerMatchesLine(QStringLiteral("h"),
                                                          QStringLiteral("ProductStructures")));
    // Only lines of the headers' parent items can match: the component index finds them.
    const db::SqlCondition link =
        db::sqlText(QStringLiteral("update ProductStructures set childguid=(select "
                                   "min(h.iautoid) ")) +
        matching +
        db::sqlText(QStringLiteral(") where cpscode in (select h.cpspcode from ProductStructure h "
                                   "where ")) +
        headers + db::sqlText(QStringLiteral(") and exists (select 1 ")) + matching +
        db::sqlText(QStringLiteral(")"));
    db.exec(link.sql, link.params);
}

void BomSaver::SaveParentDepartment(const QString& parentCode, const QString& depCode) {
    db::Database& db = *session_.gConn;
    const QString department = depCode.isNull() ? QStringLiteral("") : depCode;
    if (db.exec(QStringLiteral("Update ProductStructureEx set cDepCode=? where cPSPCode=?"),
                {department, parentCode}) == 0)
        db.exec(QStringLiteral("insert into ProductStructureEx(cpspcode,cdepcode) values(?,?)"),
                {parentCode, department});
}

void BomSaver::LinesChanged(const QStringList& parentCodes, const QStringList& componentCodes,
                            LineChange change) {
    if (deferring_) { // what many saves defer is the whole of their parents' lines
        deferredParents_ << parentCodes;
        return;
    }
    LowLevelCodes levels(*session_.gConn);
    const bool structure = change == LineChange::Structure;
    if (componentCodes.isEmpty()) {
        saveQuantityTotals(parentCodes);
        if (structure)
            levels.Update(parentCodes);
    } else {
        saveQuantityTotals(parentCodes, componentCodes);
        if (structure)
            levels.Update(parentCodes, componentCodes);
    }
}

void BomSaver::finishDeferred() {
    deferring_ = false;
    deferredParents_.removeDuplicates();
    LinesChanged(std::exchange(deferredParents_, {}));
    deferring_ = true;
}

void BomSaver::saveQuantityTotals(const QStringList& parentCodes) {
    db::Database& db = *session_.gConn;
    QStringList parents = parentCodes;
    parents.removeDuplicates();
    parents.removeAll(QString());
    if (parents.isEmpty())
        return;
    holdTotals(parents);
    const db::SqlCondition gone =
        db::sqlText(QStringLiteral("delete from ProductStructuresEx where ")) +
        db::BoundList::in(db.dialect(), QStringLiteral("cPSPCode"), parents);
    db.exec(gone.sql, gone.params);
    const db::SqlCondition sums =
        db::sqlText(QStringLiteral("insert into ProductStructuresEx(cPSPCode,cPSCode,iPSQuantity) "
                                   "select cpspcode, cpscode, SUM(COALESCE(ipsquantity,0)) from "
                                   "ProductStructures where ")) +
        db::BoundList::in(db.dialect(), QStringLiteral("cpspcode"), parents) +
        db::sqlText(QStringLiteral(" group by cpspcode, cpscode"));
    db.exec(sums.sql, sums.params);
}

void BomSaver::saveQuantityTotals(const QStringList& parentCodes,
                                  const QStringList& componentCodes) {
    db::Database& db = *session_.gConn;
    if (parentCodes.isEmpty() || componentCodes.isEmpty())
        return;
    holdTotals(parentCodes);
    const db::SqlCondition pairs =
        db::BoundList::in(db.dialect(), QStringLiteral("cpspcode"), parentCodes) +
        db::sqlText(QStringLiteral(" and ")) +
        db::BoundList::in(db.dialect(), QStringLiteral("cpscode"), componentCodes);
    const db::SqlCondition gone =
        db::sqlText(QStringLiteral("delete from ProductStructuresEx where ")) + pairs;
    db.exec(gone.sql, gone.params);
    const db::SqlCondition sums =
        db::sqlText(QStringLiteral("insert into ProductStructuresEx(cPSPCode,cPSCode,iPSQuantity) "
                                   "select cpspcode, cpscode, SUM(COALESCE(ipsquantity,0)) from "
                                   "ProductStructures where ")) +
        pairs + db::sqlText(QStringLiteral(" group by cpspcode, cpscode"));
    db.exec(sums.sql, sums.params);
}

void BomSaver::holdTotals(const QStringList& parentCodes) {
    // Totals are sums over every BOM of a parent: two transactions that work them out at once
    // would each miss the other's lines, so they take turns per parent.
    session_.gConn->holdKeys(QStringLiteral("quantity-totals"), parentCodes);
}

void BomSaver::MarkStructureChanged() {
    suite::AccountSettings(*session_.gConn)
        .set(suite::AccountSettings::kProduction, suite::AccountSettings::kStructureChanged);
}

void BomSaver::SetLineKeys(BomCard& card, const QString& headerId) {
    if (card.lines.rowCount() == 0)
        return;
    const QString parent = card.header.text(0, QStringLiteral("cpspcode"));
    const int ipid = card.lines.addColumn(RowSetColumn{QStringLiteral("ipid")});
    const int parentCell = card.lines.addColumn(RowSetColumn{QStringLiteral("cpspcode")});
    for (int row = 0; row < card.lines.rowCount(); ++row) {
        card.lines.setCell(row, ipid, headerId);
        card.lines.setCell(row, parentCell, parent);
    }
}

bool BomSaver::writeLines(BomCard& card, RowWriter& writer) {
    db::Database& db = *session_.gConn;
    const std::vector<int> rows = card.lines.addedOrModifiedRows();
    if (!writer.WriteLines(BodyTable::lines(), card.lines, rows,
                           card.header.value(0, QStringLiteral("ID"))))
        return false;
    const int autoidCell = card.lines.columnIndex(QStringLiteral("autoid"));
    const int flag = card.lines.columnIndex(QStringLiteral("replaceflag"));
    for (int row : rows) {
        // A copied line brings the substitutes of the line it was copied from, in their order.
        const QVariant autoid = card.lines.cell(row, autoidCell);
        const QVariant source = card.lines.oldautoid(row);
        if (!source.toString().isEmpty() && source.toLongLong() != autoid.toLongLong() &&
            card.lines.cell(row, flag).toString() == QStringLiteral("是")) {
            db.exec(QStringLiteral("delete from ProstruOpt where autoid=?"), {autoid});
            db.exec(
                QStringLiteral(
                    "insert into ProstruOpt (cInvCode,cFree1,cFree2,cFree3,cFree4,cFree5,cFree6,"
                    "cFree7,cFree8,cFree9,cFree10,cbatch,cWhcode,cPersonName,Sequence,tdQtyN,"
                    "tdQtyD,AutoID,ccaacomunitcode) select cInvCode,cFree1,cFree2,cFree3,cFree4,"
                    "cFree5,cFree6,cFree7,cFree8,cFree9,cFree10,cbatch,cWhcode,cPersonName,"
                    "Sequence,tdQtyN,tdQtyD,?,ccaacomunitcode from ProstruOpt where autoid=? order "
                    "by "
                    "compsubid"),
                {autoid, source});
        }
    }
    return true;
}

void BomSaver::LinkLineChildren(const QString& headerId) {
    session_.gConn->exec(
        QStringLiteral("update ProductStructures set childguid=(select h.iautoid from "
                       "ProductStructure h where ") +
            entry::BomIdentity::headerMatchesLine(QStringLiteral("h"),
                                                  QStringLiteral("ProductStructures")) +
            QStringLiteral(" LIMIT 1) where ipid=?"),
        {headerId});
}

void BomSaver::LinkSalesOrder(const QString& headerId, const QString& salesOrder) {
    const QStringList parts = salesOrder.split(QLatin1Char('-'));
    if (parts.size() != 3 || parts[2].toDouble() <= 0)
        return;
    session_.gConn->exec(
        QStringLiteral("update so_sodetails set cbomsocode=?, bomid=? where autoid=? and "
                       "cinvcode=? and id in (select id from so_somain where csocode=?)"),
        {salesOrder, headerId, parts[2].toLongLong(), parts[1], parts[0]});
}

void BomSaver::markSaved(BomCard& card) {
    card.lines.acceptEdits();
    for (int row = 0; row < card.lines.rowCount(); ++row)
        card.lines.setValue(row, QStringLiteral("oldautoid"),
                            card.lines.value(row, QStringLiteral("autoid")));
}

} // namespace bom::bomservice
