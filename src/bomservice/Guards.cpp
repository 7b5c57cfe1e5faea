#include "Guards.h"

#include "BomAccess.h"
#include "BomCardLoader.h"
#include "BomHistory.h"
#include "BomSaver.h"
#include "BomValidator.h"
#include "ServiceTexts.h"
#include "db/BoundList.h"
#include "db/DbError.h"
#include "db/Transaction.h"
#include "db/TransactionRetry.h"
#include "entry/BomVisibility.h"
#include "entry/Session.h"
#include "entry/VoucherHelpers.h"
#include "suite/Prompter.h"

namespace bom::bomservice {
namespace {

const QString kTitle = ServiceTexts::title();

} // namespace

bool BomGuards::IsApproved(const QString& headerId) {
    return !session_.gConn
                ->scalar(
                    QStringLiteral("select COALESCE(ccheck,'') as ccheck from productstructure "
                                   "where iautoid=?"),
                    {headerId})
                .toString()
                .isEmpty();
}

bool BomGuards::CheckNotApproved(const QString& headerId) {
    if (!IsApproved(headerId))
        return true;
    session_.ShowInfo(QStringLiteral("审核过的产品不可修改！"));
    return false;
}

QString BomGuards::GetVoucherId(const QString& headerId) {
    return session_.gConn
        ->scalar(QStringLiteral("select ID from productstructure where iautoid=?"), {headerId})
        .toString();
}

bool BomGuards::CheckNotStopped(const QString& headerId) {
    if (session_.gConn
            ->scalar(QStringLiteral("select COALESCE(bStopFlag,0) as bStopFlag from "
                                    "productstructure where iautoid=?"),
                     {headerId})
            .toInt() == 0)
        return true;
    session_.ShowInfo(QStringLiteral("停用的产品不可修改！"));
    return false;
}

bool BomGuards::CheckModifiable(const QString& headerId) {
    if (!BomAccess(session_).MayTouch(headerId)) {
        session_.prompter.info(ServiceTexts::changedMeanwhile(), kTitle, 16);
        return false;
    }
    return CheckNotApproved(headerId) && CheckNotStopped(headerId);
}

bool BomGuards::ClaimVersion(const QString& headerId, const QVariant& qzts) {
    return session_.gConn->exec(
               QStringLiteral("update productstructure set qzts=qzts where iautoid=? and qzts=?"),
               {headerId, qlonglong(entry::VoucherHelpers::ToNumber(qzts).value_or(-1))}) == 1;
}

void BomGuards::LockBoms(const QStringList& headerIds) {
    db::Database& db = *session_.gConn;
    if (headerIds.isEmpty() || db.dialect().forUpdate().isEmpty())
        return;
    const db::SqlCondition sql =
        db::sqlText(QStringLiteral("select ID from ProductStructure where ")) +
        db::BoundList::in(db.dialect(), QStringLiteral("iautoid"), headerIds) +
        db::sqlText(QStringLiteral(" order by ID") + db.dialect().forUpdate());
    db.query(sql.sql, sql.params);
}

bool BomGuards::DeleteBom(const BomCard& card, const QString& cardNumber) {
    if (!BomValidator(session_).CheckBeforeModify(card))
        return false;
    db::Database& db = *session_.gConn;
    auto refuse = [&](const QString& message) {
        session_.prompter.info(message, kTitle, 16);
        return false;
    };
    const QVariant id = card.header.value(0, QStringLiteral("ID"));
    const QString headerId = card.header.text(0, QStringLiteral("iautoid"));
    try {
        const auto voucher = BomCardLoader(session_).findTemplate(cardNumber);
        if (!voucher)
            return refuse(QStringLiteral("删除失败，请放弃后刷新！"));
        // The refusal is worked out inside the transaction and shown after it has ended.
        const QString refusal = db::TransactionRetry::run(db, [&] {
            db::Transaction tx(db);
            const db::Rows version =
                db.query(QStringLiteral("select qzts from %1 where id=?").arg(voucher->BTTblName) +
                             db.dialect().forUpdate(),
                         {id});
            if (version.empty() || !BomAccess(session_).MayTouch(headerId))
                return QStringLiteral("本单据已被其他人删除，请刷新！");
            if (version.value(0, "qzts").toLongLong() !=
                card.header.value(0, QStringLiteral("qzts")).toLongLong())
                return QStringLiteral("本单据已被其他人更新，请刷新后再试！");
            if (!RemoveStoredBom(headerId))
                return QStringLiteral("删除失败，请放弃后刷新！");
            tx.commit();
            return QString();
        });
        return refusal.isEmpty() || refuse(refusal);
    } catch (const db::DbError&) {
        return refuse(QStringLiteral("删除失败，请放弃后刷新！"));
    }
}

bool BomGuards::RemoveStoredBom(const QString& headerId) {
    return !RemoveStoredBoms({headerId}).isEmpty();
}

QStringList BomGuards::RemoveStoredBoms(const QStringList& headerIds, qlonglong runId) {
    db::Database& db = *session_.gConn;
    if (headerIds.isEmpty())
        return {};
    const db::Dialect& dialect = db.dialect();
    auto run = [&](const QString& sql, const db::SqlCondition& where) {
        const db::SqlCondition statement = db::sqlText(sql) + where;
        return db.exec(statement.sql, statement.params);
    };
    const db::SqlCondition headers =
        db::sqlText(QStringLiteral("select iautoid, ID, cpspcode from ProductStructure where ")) +
        db::BoundList::in(dialect, QStringLiteral("iautoid"), headerIds);
    const db::Rows found = db.query(headers.sql, headers.params);
    if (found.empty())
        return {};
    QStringList removed, parents;
    QList<qlonglong> voucherIds;
    for (std::size_t i = 0; i < found.size(); ++i) {
        removed << found.text(i, "iautoid");
        parents << found.text(i, "cpspcode");
        voucherIds << found.value(i, "ID").toLongLong();
    }
    const db::SqlCondition lines = db::BoundList::in(dialect, QStringLiteral("ipid"), removed);
    run(QStringLiteral("delete from ProstruOpt where autoid in (select autoid from "
                       "ProductStructures where "),
        lines + db::sqlText(QStringLiteral(")")));
    run(QStringLiteral("delete from ProductStructures where "), lines);
    run(QStringLiteral("delete from ProductStructure where "),
        db::BoundList::in(dialect, QStringLiteral("iautoid"), removed));
    // Nothing may keep pointing at the BOMs that are gone.
    run(QStringLiteral("update ProductStructures set childguid=NULL where "),
        db::BoundList::in(dialect, QStringLiteral("childguid"), removed));
    run(QStringLiteral("update so_sodetails set cbomsocode=NULL, bomid=NULL where "),
        db::BoundList::in(dialect, QStringLiteral("bomid"), removed));
    run(QStringLiteral("delete from sys_attachment where "),
        db::SqlCondition{QStringLiteral("lower(ccardnum)=? and "), {QLatin1String(kCardNumber)}} +
            db::BoundList::in(dialect, QStringLiteral("ivoucherid"), voucherIds));
    BomSaver(session_).LinesChanged(parents);
    entry::BomVisibility(db).RefreshBoms(removed);
    std::vector<BomHistory::BomChange> changes;
    changes.reserve(std::size_t(removed.size()));
    for (qsizetype i = 0; i < removed.size(); ++i)
        changes.push_back({removed.at(i), {BomHistory::kDeleted, {}, parents.at(i), {}, {}}});
    BomHistory(db).record(changes, session_.gUserId, runId);
    return removed;
}

int BomGuards::appendAttachmentRow(RowSet& document, const QString& headerId,
                                   const QString& redFlag) {
    const int row = document.appendRow();
    document.setValue(row, QStringLiteral("strcardnum"), QLatin1String(kCardNumber));
    document.setValue(row, QStringLiteral("ikeyid"), GetVoucherId(headerId));
    document.setValue(row, QStringLiteral("bredflag"), redFlag);
    return row;
}

bool BomGuards::BuildAttachmentRow(RowSet& document, const QString& headerId,
                                   const QString& redFlag) {
    const int attached = session_.gConn
                             ->scalar(QStringLiteral("select count(*) from sys_attachment where "
                                                     "lower(ccardnum)=? and ivoucherid=?"),
                                      {QLatin1String(kCardNumber), GetVoucherId(headerId)})
                             .toInt();
    if (attached > 0) {
        session_.ShowInfo(QStringLiteral("请先请删除单据附件！"));
        return false;
    }
    appendAttachmentRow(document, headerId, redFlag);
    return true;
}

void BomGuards::BuildAttachmentRowClosed(RowSet& document, const QString& headerId,
                                         const QString& redFlag) {
    const int row = appendAttachmentRow(document, headerId, redFlag);
    document.setValue(row, QStringLiteral("bclosecard"), IsApproved(headerId));
}

} // namespace bom::bomservice
