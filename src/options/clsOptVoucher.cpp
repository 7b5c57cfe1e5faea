#include "clsOptVoucher.h"

#include "OptVoucherControl.h"
#include "bomservice/BomAccess.h"
#include "bomservice/BomCardLoader.h"
#include "bomservice/BomHistory.h"
#include "bomservice/Guards.h"
#include "bomservice/RowWriter.h"
#include "bomservice/ServiceTexts.h"
#include "db/DbError.h"
#include "db/Transaction.h"
#include "db/TransactionRetry.h"
#include "entry/Session.h"
#include "entry/VoucherHelpers.h"
#include "suite/Prompter.h"

#include <QHash>
#include <QSet>

namespace bom::options {
namespace {

using bomservice::BodyTable;
using bomservice::BomCard;
using bomservice::RowSet;
using bomservice::ServiceTexts;

const QString kInvalid = QStringLiteral("单据录入不合法！");

// The substitutes of a line: each keyed by compsubid, hanging from the line's autoid.
const BodyTable& substitutes() {
    static const BodyTable table{QStringLiteral("ProstruOpt"),
                                 QStringLiteral("compsubid"),
                                 QStringLiteral("AutoID"),
                                 {},
                                 {},
                                 {QStringLiteral("AutoID")},
                                 false};
    return table;
}

// Substitutes in their order of use; rows without one last on both databases.
const QString kBodyOrder =
    QStringLiteral("case when sequence is null then 1 else 0 end, sequence, compsubid");

// Bound values per IN list; SQLite takes no more than 32,766 in one statement.
constexpr int kChunk = 500;

QString marks(qsizetype n) {
    return QStringList(n, QStringLiteral("?")).join(',');
}

std::optional<qlonglong> wholeNumber(const QVariant& value) {
    const auto number = entry::VoucherHelpers::ToNumber(value);
    if (!number || *number != qlonglong(*number))
        return std::nullopt;
    return qlonglong(*number);
}

// The item a row names: its code and ten free items, as text.
QStringList itemOf(const RowSet& rows, int row, const QString& codeColumn) {
    QStringList item{rows.text(row, codeColumn)};
    for (int n = 1; n <= 10; ++n)
        item << rows.text(row, QStringLiteral("cfree%1").arg(n));
    return item;
}

} // namespace

// The component line as stored: what its substitutes replace and whose they are. The card's
// header is only what the operator was shown.
struct clsOptVoucher::Line {
    qlonglong autoid = 0;
    QString headerId; // the BOM's iautoid
    QString parent;
    QStringList item; // cpscode and free items
    int templateId = 0;
};

clsOptVoucher::clsOptVoucher(entry::Session& session) : oLogin(session.gLogin), session_(session) {}

bool clsOptVoucher::refuse(const QString& reason, const QString& shown) {
    sErr = reason;
    errstr = shown;
    session_.prompter.info(shown, ServiceTexts::title(), 16);
    return false;
}

bool clsOptVoucher::InitVoucher() {
    sErr.clear();
    errstr.clear();
    bomservice::BomCardLoader loader(session_);
    const auto voucher = loader.LoadTemplate(sVouchType);
    if (!voucher) {
        sErr = QStringLiteral("单据模板不存在。");
        return false;
    }
    const QString headerId = bomservice::BomAccess(session_).HeaderOfLine(Autoid);
    auto gone = [&] {
        loader.reportGone();
        sErr = ServiceTexts::loadFailed();
        return false;
    };
    if (headerId.isEmpty())
        return gone();
    // Read before the rows: rows newer than their version can only make a save refused.
    const QVariant version = session_.gConn->scalar(
        QStringLiteral("select qzts from ProductStructure where iautoid=?"), {headerId});
    BomCard card = loader.readCard(*voucher, QStringLiteral("autoid"), QStringLiteral("autoid"),
                                   Autoid.trimmed().toLongLong(), QStringLiteral("'' as editprop"),
                                   kBodyOrder);
    if (card.header.rowCount() != 1 || version.isNull())
        return gone(); // deleted since the look-up
    card.header.setValue(0, QStringLiteral("qzts"), version);
    rstHead = card.header;
    rstBody = card.lines;
    eipid = headerId;
    bCheck = !rstHead.text(0, QStringLiteral("ccheck")).trimmed().isEmpty();
    return true;
}

bool clsOptVoucher::Load() {
    if (!InitVoucher())
        return false;
    if (objVoucher)
        objVoucher->setVoucherData({rstHead, rstBody});
    return true;
}

bool clsOptVoucher::Show() {
    if (!Load())
        return false;
    if (objVoucher)
        objVoucher->ShowCard();
    return true;
}

bool clsOptVoucher::SaveVoucher() {
    BomCard card = objVoucher ? objVoucher->getVoucherData() : BomCard{rstHead, rstBody};
    if (!SaveVoucher(card))
        return false;
    rstHead = card.header;
    rstBody = card.lines;
    if (objVoucher)
        objVoucher->setVoucherData(card);
    return true;
}

bool clsOptVoucher::SaveVoucher(BomCard& card) {
    sErr.clear();
    errstr.clear();
    db::Database& db = *session_.gConn;
    bomservice::BomCardLoader loader(session_);
    const auto voucher = loader.LoadTemplate(sVouchType);
    if (!voucher) {
        sErr = kInvalid;
        return false;
    }
    Line line;
    line.templateId = voucher->DEF_ID;
    line.autoid = Autoid.trimmed().toLongLong();
    line.headerId = bomservice::BomAccess(session_).HeaderOfLine(Autoid);
    const db::Rows stored =
        line.headerId.isEmpty()
            ? db::Rows()
            : db.query(QStringLiteral("select cpspcode, cpscode, cfree1, cfree2, cfree3, cfree4, "
                                      "cfree5, cfree6, cfree7, cfree8, cfree9, cfree10 from "
                                      "ProductStructures where autoid=?"),
                       {line.autoid});
    if (stored.empty())
        return refuse(ServiceTexts::saveFailed(), ServiceTexts::changedMeanwhile());
    line.parent = stored.text(0, "cpspcode");
    line.item << stored.text(0, "cpscode");
    for (int n = 1; n <= 10; ++n)
        line.item << stored.text(0, QStringLiteral("cfree%1").arg(n));

    if (!checkSubstitutes(card.lines, line))
        return false;
    if (!loader.CheckRequired(card, voucher->DEF_ID)) {
        sErr = kInvalid;
        return false;
    }
    // Values the table cannot hold are refused here, naming their field, not by the database.
    bomservice::RowWriter writer(db, *session_.gLogin, voucher->DEF_ID);
    QString refusal = writer.CheckRows(substitutes(), card.lines, card.lines.notDeletedRows());
    for (int row : card.lines.deletedRows()) {
        const QVariant key = card.lines.value(row, substitutes().key);
        if (refusal.isEmpty() && !key.toString().trimmed().isEmpty() && !wholeNumber(key))
            refusal = QStringLiteral("compsubid必须为整数！");
    }
    if (!refusal.isEmpty()) {
        session_.ShowInfo(refusal);
        sErr = kInvalid;
        return false;
    }
    if (!bomservice::BomGuards(session_).CheckNotApproved(line.headerId)) {
        sErr = kInvalid;
        return false;
    }
    // The header is the line's and comes with the version its BOM was loaded at.
    const QString named = card.header.text(0, QStringLiteral("autoid")).trimmed();
    if (card.header.rowCount() != 1 ||
        (!named.isEmpty() && wholeNumber(named) != std::optional<qlonglong>(line.autoid)))
        return refuse(ServiceTexts::saveFailed(), ServiceTexts::headerMissing());
    if (voucher->HaveBodyGrid && card.lines.columns().empty())
        return refuse(ServiceTexts::saveFailed(), ServiceTexts::bodyMissing());

    BomCard saved = card;
    try {
        const bool written = db::TransactionRetry::run(db, [&] {
            saved = card;
            db::Transaction tx(db);
            if (!writeCard(saved, line))
                return false;
            tx.commit();
            return true;
        });
        if (!written)
            return refuse(ServiceTexts::saveFailed(), ServiceTexts::changedMeanwhile());
    } catch (const db::DbError& e) {
        return refuse(ServiceTexts::saveFailed(), ServiceTexts::writeFailed(e.message()));
    }
    saved.lines.acceptEdits();
    card = saved;
    return true;
}

bool clsOptVoucher::checkSubstitutes(const RowSet& rows, const Line& line) {
    auto fail = [&](const QString& message) {
        session_.ShowInfo(message);
        sErr = kInvalid;
        return false;
    };
    // Rows as the card shows them: the deleted ones are gone, the rest count from 1.
    const std::vector<int> live = rows.notDeletedRows();
    const QString code = QStringLiteral("cinvcode");
    QHash<QStringList, int> seen;
    for (int row : live)
        ++seen[itemOf(rows, row, code)];
    for (int row : live)
        if (seen.value(itemOf(rows, row, code)) > 1)
            return fail(QStringLiteral("替代料编码（") + rows.text(row, code) +
                        QStringLiteral("）出现重复，请修改！"));
    for (std::size_t i = 0; i < live.size(); ++i)
        if (itemOf(rows, live[i], code) == line.item)
            return fail(
                QStringLiteral("第%1行保存时发生错误：替代件不可与被替代件相同！").arg(i + 1));
    if (!checkItems(rows, live))
        return false;
    for (int row : live)
        if (rows.text(row, code) == line.parent)
            return fail(QStringLiteral("替代料编码（") + rows.text(row, code) +
                        QStringLiteral("）与子件的母件相同，不可替代，请修改！"));
    return true;
}

bool clsOptVoucher::checkItems(const RowSet& rows, const std::vector<int>& live) {
    // Every code the card names is read at once, not row by row.
    QStringList codes;
    for (int row : live)
        codes << rows.text(row, QStringLiteral("cinvcode"));
    codes.removeDuplicates();
    QHash<QString, bool> purchased;
    for (qsizetype start = 0; start < codes.size(); start += kChunk) {
        const QStringList chunk = codes.mid(start, kChunk);
        const db::Rows found = session_.gConn->query(
            QStringLiteral("select cInvCode, COALESCE(bPurchase, 0) as bPurchase from Inventory "
                           "where cInvCode in (%1)")
                .arg(marks(chunk.size())),
            db::Params(chunk.cbegin(), chunk.cend()));
        for (std::size_t i = 0; i < found.size(); ++i)
            purchased.insert(found.text(i, "cInvCode"), found.value(i, "bPurchase").toInt() != 0);
    }
    for (std::size_t i = 0; i < live.size(); ++i) {
        const auto item = purchased.constFind(rows.text(live[i], QStringLiteral("cinvcode")));
        QString refusal;
        if (item == purchased.cend())
            refusal = QStringLiteral("替代件不存在！");
        else if (!*item)
            refusal = QStringLiteral("非采购件不可进行替代！");
        if (!refusal.isEmpty()) {
            session_.ShowInfo(QStringLiteral("第%1行保存时发生错误：").arg(i + 1) + refusal);
            sErr = kInvalid;
            return false;
        }
    }
    return true;
}

bool clsOptVoucher::claimRows(const RowSet& rows) {
    // Each row changed or deleted must still be the one loaded: taken for this save, version
    // moved on, or the save is refused.
    const BodyTable& table = substitutes();
    for (int row : rows.allRows()) {
        const QString prop = rows.editprop(row).trimmed();
        const QVariant key = rows.value(row, table.key);
        if (prop != QLatin1String("M") && prop != QLatin1String("D"))
            continue;
        if (prop == QLatin1String("D") && key.toString().trimmed().isEmpty())
            continue; // added and dropped before any save
        if (session_.gConn->exec(
                QStringLiteral("update ProstruOpt set qzts=qzts where compsubid=? and AutoID=? "
                               "and qzts=?"),
                {wholeNumber(key).value_or(-1), rows.value(row, table.parentLink),
                 wholeNumber(rows.value(row, QStringLiteral("qzts"))).value_or(-1)}) != 1)
            return false;
    }
    return true;
}

bool clsOptVoucher::writeCard(BomCard& card, const Line& line) {
    db::Database& db = *session_.gConn;
    const BodyTable& table = substitutes();
    RowSet& rows = card.lines;
    // Every row is this line's, whatever the card said.
    const int keyCell = rows.addColumn(bomservice::RowSetColumn{table.key});
    const int linkCell = rows.addColumn(bomservice::RowSetColumn{table.parentLink});
    for (int row = 0; row < rows.rowCount(); ++row) {
        rows.setCell(row, linkCell, line.autoid);
        if (const auto key = wholeNumber(rows.cell(row, keyCell)))
            rows.setCell(row, keyCell, *key);
    }
    // The BOM is still at the version the card was loaded at; its version moves on, so a BOM
    // card loaded before cannot save over these substitutes.
    if (!bomservice::BomGuards(session_).ClaimVersion(line.headerId,
                                                      card.header.value(0, QStringLiteral("qzts"))))
        return false;
    // The list deletes a line without touching its BOM's version.
    if (db.scalar(QStringLiteral("select ipid from ProductStructures where autoid=?"),
                  {line.autoid})
            .toString() != line.headerId)
        return false;
    if (!claimRows(rows))
        return false;
    const RowSet before = RowSet::fromRows(
        db.query(QStringLiteral("select * from ProstruOpt where AutoID=? order by compsubid"),
                 {line.autoid}));

    db::Params deleted;
    for (int row : rows.deletedRows())
        if (const auto key = wholeNumber(rows.cell(row, keyCell)))
            deleted << *key; // else added and dropped before any save
    // By each row's own key, and only among this line's substitutes.
    for (qsizetype start = 0; start < deleted.size(); start += kChunk) {
        const db::Params chunk = deleted.mid(start, kChunk);
        db.exec(QStringLiteral("delete from ProstruOpt where compsubid in (%1) and AutoID=?")
                    .arg(marks(chunk.size())),
                chunk + db::Params{line.autoid});
    }
    bomservice::RowWriter writer(db, *session_.gLogin, line.templateId);
    if (!writer.WriteLines(table, rows, rows.addedOrModifiedRows(), {}))
        return false; // a modified row is gone

    std::vector<bomservice::BomHistory::Change> changes;
    bomservice::BomHistory::diffRows(
        before, rows,
        {table, QStringLiteral("cinvcode"), bomservice::BomHistory::kOptionAdded,
         bomservice::BomHistory::kOptionRemoved, bomservice::BomHistory::kOptionChanged,
         QString::number(line.autoid) + QLatin1Char('/')},
        changes);
    bomservice::BomHistory(db).record(line.headerId, session_.gUserId, changes);

    // The versions the card is at now, for the next save.
    card.header.setValue(0, QStringLiteral("qzts"),
                         db.scalar(QStringLiteral("select qzts from ProductStructure where "
                                                  "iautoid=?"),
                                   {line.headerId}));
    QHash<qlonglong, QVariant> versions;
    const db::Rows now = db.query(
        QStringLiteral("select compsubid, qzts from ProstruOpt where AutoID=?"), {line.autoid});
    for (std::size_t i = 0; i < now.size(); ++i)
        versions.insert(now.value(i, "compsubid").toLongLong(), now.value(i, "qzts"));
    const int versionCell = rows.addColumn(bomservice::RowSetColumn{QStringLiteral("qzts")});
    for (int row : rows.notDeletedRows())
        rows.setCell(row, versionCell, versions.value(rows.cell(row, keyCell).toLongLong()));
    return true;
}

} // namespace bom::options
