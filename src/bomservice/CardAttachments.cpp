#include "CardAttachments.h"

#include "BomAccess.h"
#include "Guards.h"
#include "db/Transaction.h"
#include "entry/Session.h"

namespace bom::bomservice {
namespace {

const QString kCardNumber = QLatin1String(BomGuards::kCardNumber);

} // namespace

QVariant CardAttachments::voucherIdOf(const QString& headerId) {
    if (!BomAccess(session_).MayTouch(headerId))
        return {};
    return BomGuards(session_).GetVoucherId(headerId).toLongLong();
}

bool CardAttachments::mayTouchFile(qlonglong id) {
    const QString headerId =
        session_.gConn
            ->scalar(QStringLiteral("select h.iautoid from sys_attachment a join ProductStructure "
                                    "h on h.ID=a.ivoucherid where a.iattachid=? and "
                                    "lower(a.ccardnum)=?"),
                     {id, kCardNumber})
            .toString();
    return BomAccess(session_).MayTouch(headerId);
}

std::vector<CardAttachments::File> CardAttachments::list(const QString& headerId) {
    const QVariant voucherId = voucherIdOf(headerId);
    if (voucherId.isNull())
        return {};
    const db::Rows rows = session_.gConn->query(
        QStringLiteral("select iattachid, cfilename, COALESCE(length(bcontent),0) as isize from "
                       "sys_attachment where lower(ccardnum)=? and ivoucherid=? order by "
                       "iattachid"),
        {kCardNumber, voucherId});
    std::vector<File> files;
    for (std::size_t i = 0; i < rows.size(); ++i)
        files.push_back({rows.value(i, "iattachid").toLongLong(), rows.text(i, "cfilename"),
                         rows.value(i, "isize").toLongLong()});
    return files;
}

int CardAttachments::count(const QString& headerId) {
    const QVariant voucherId = voucherIdOf(headerId);
    if (voucherId.isNull())
        return 0;
    return session_.gConn
        ->scalar(QStringLiteral("select count(*) from sys_attachment where lower(ccardnum)=? and "
                                "ivoucherid=?"),
                 {kCardNumber, voucherId})
        .toInt();
}

qlonglong CardAttachments::add(const QString& headerId, const QString& fileName,
                               const QByteArray& content) {
    db::Database& db = *session_.gConn;
    db::Transaction tx(db);
    const QVariant voucherId = voucherIdOf(headerId);
    if (voucherId.isNull())
        return 0;
    // An empty file is kept as an empty one, not as a missing content.
    const QByteArray bytes = content.isNull() ? QByteArray("") : content;
    const qlonglong id =
        db.insertReturning(QStringLiteral("insert into sys_attachment(ccardnum, ivoucherid, "
                                          "cfilename, bcontent) values (?,?,?,?) RETURNING "
                                          "iattachid"),
                           {kCardNumber, voucherId, fileName, bytes})
            .toLongLong();
    tx.commit();
    return id;
}

QByteArray CardAttachments::content(qlonglong id) {
    if (!mayTouchFile(id))
        return {};
    return session_.gConn
        ->scalar(QStringLiteral("select bcontent from sys_attachment where iattachid=?"), {id})
        .toByteArray();
}

bool CardAttachments::remove(qlonglong id) {
    db::Database& db = *session_.gConn;
    db::Transaction tx(db);
    if (!mayTouchFile(id))
        return false;
    const bool removed =
        db.exec(QStringLiteral("delete from sys_attachment where iattachid=?"), {id}) == 1;
    tx.commit();
    return removed;
}

} // namespace bom::bomservice
