#include "BomRuns.h"

#include "BomAccess.h"
#include "BomHistory.h"
#include "BomSaver.h"
#include "Guards.h"
#include "LineDescriber.h"
#include "db/BoundList.h"
#include "db/Database.h"
#include "db/DbError.h"
#include "db/Transaction.h"
#include "db/TransactionRetry.h"
#include "entry/BomIdentity.h"
#include "entry/BomVisibility.h"
#include "entry/Format.h"
#include "entry/Session.h"
#include "suite/Prompter.h"

#include <QHash>
#include <QSet>

namespace bom::bomservice {
namespace {

const QString kTimeFormat = QStringLiteral("yyyy-MM-dd HH:mm:ss");
// A bound run id in a select list: PostgreSQL would take an untyped one for text.
const QString kRunParam = QStringLiteral("CAST(? AS BIGINT)");

QDateTime timeOf(const QVariant& value) {
    if (value.typeId() == QMetaType::QDateTime)
        return value.toDateTime();
    return QDateTime::fromString(value.toString(), kTimeFormat);
}

// Rows of (header id, version before, version after) as BOM versions.
std::vector<BomRuns::BomVersion> versionsOf(db::Database& db, const QString& sql, qlonglong run) {
    const db::Rows rows = db.query(sql, {run});
    std::vector<BomRuns::BomVersion> out;
    out.reserve(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i)
        out.push_back({rows.at(i).at(0).toString(), rows.at(i).at(1), rows.at(i).at(2)});
    return out;
}

QStringList texts(const db::Rows& rows, int column) {
    QStringList out;
    for (std::size_t i = 0; i < rows.size(); ++i)
        out << rows.at(i).at(column).toString();
    return out;
}

} // namespace

BomRuns::BomRuns(entry::Session& session) : session_(session) {}

qlonglong BomRuns::Begin(const QString& operation, const QString& description) {
    return session_.gConn
        ->insertReturning(QStringLiteral("insert into sys_bom_run(cuserid, dtime, coperation, "
                                         "cstate, cdescription) values (?,?,?,?,?) returning id"),
                          {session_.gUserId, QDateTime::currentDateTime().toString(kTimeFormat),
                           operation, QLatin1String(kDone), description})
        .toLongLong();
}

QStringList BomRuns::copiedColumns(const QString& table, const QString& copy) {
    db::Database& db = *session_.gConn;
    const QStringList live = db.columnsOf(table);
    QSet<QString> kept;
    for (const QString& column : db.columnsOf(copy))
        kept.insert(column.toLower());
    for (const QString& column : live)
        if (!kept.contains(column.toLower()))
            throw db::DbError(QStringLiteral("运行记录表 %1 缺少列 %2").arg(copy, column));
    return live;
}

void BomRuns::keep(const QString& table, const QString& copy, qlonglong run,
                   const db::SqlCondition& where) {
    const QString columns = copiedColumns(table, copy).join(QLatin1Char(','));
    const db::SqlCondition sql =
        db::SqlCondition{QStringLiteral("insert into %1(irunid, %2) select %4, %2 from %3 where ")
                             .arg(copy, columns, table, kRunParam),
                         {run}} +
        where;
    session_.gConn->exec(sql.sql, sql.params);
}

void BomRuns::KeepLines(qlonglong run, const db::SqlCondition& where) {
    keep(QStringLiteral("ProductStructures"), QStringLiteral("sys_bom_run_line"), run, where);
}

void BomRuns::KeepOptions(qlonglong run, const db::SqlCondition& where) {
    keep(QStringLiteral("ProstruOpt"), QStringLiteral("sys_bom_run_option"), run, where);
}

void BomRuns::KeepHeaders(qlonglong run, const db::SqlCondition& where) {
    keep(QStringLiteral("ProductStructure"), QStringLiteral("sys_bom_run_header"), run, where);
}

void BomRuns::Created(qlonglong run, const db::SqlCondition& select) {
    const db::SqlCondition sql =
        db::SqlCondition{QStringLiteral("insert into sys_bom_run_created(irunid, iautoid, autoid) "
                                        "select CAST(? AS BIGINT), made.* from ("),
                         {run}} +
        select + db::sqlText(QStringLiteral(") made"));
    session_.gConn->exec(sql.sql, sql.params);
}

void BomRuns::Touched(qlonglong run, const QStringList& headerIds, const QString& kind) {
    db::Database& db = *session_.gConn;
    const db::SqlCondition sql =
        db::SqlCondition{QStringLiteral("insert into sys_bom_run_bom(irunid, iautoid, ckind, "
                                        "iqztsbefore) select CAST(? AS BIGINT), ids.v, ?, h.qzts "
                                        "from "),
                         {run, kind}} +
        db::BoundList::texts(db.dialect(), headerIds) +
        db::sqlText(QStringLiteral(" ids left join ProductStructure h on h.iautoid=ids.v"));
    db.exec(sql.sql, sql.params);
}

void BomRuns::Finish(qlonglong run) {
    session_.gConn->exec(
        QStringLiteral("update sys_bom_run_bom set iqzts=(select h.qzts from ProductStructure h "
                       "where h.iautoid=sys_bom_run_bom.iautoid) where irunid=?"),
        {run});
}

void BomRuns::Bumped(qlonglong run, const QStringList& headerIds, const QString& kind) {
    db::Database& db = *session_.gConn;
    const db::SqlCondition ids =
        db::BoundList::in(db.dialect(), QStringLiteral("iautoid"), headerIds);
    const db::SqlCondition bump =
        db::sqlText(QStringLiteral("update ProductStructure set qzts=qzts+1 where ")) + ids;
    db.exec(bump.sql, bump.params);
    const db::SqlCondition record =
        db::SqlCondition{QStringLiteral("insert into sys_bom_run_bom(irunid, iautoid, ckind, "
                                        "iqztsbefore, iqzts) select CAST(? AS BIGINT), iautoid, "
                                        "?, qzts-1, qzts from ProductStructure where "),
                         {run, kind}} +
        ids;
    db.exec(record.sql, record.params);
}

std::vector<BomRuns::BomVersion> BomRuns::Versions(qlonglong run) {
    return versionsOf(*session_.gConn,
                      QStringLiteral("select iautoid, iqztsbefore, iqzts from sys_bom_run_bom "
                                     "where irunid=? order by iautoid"),
                      run);
}

std::vector<BomRuns::Run> BomRuns::List() {
    const db::Rows rows = session_.gConn->query(
        QStringLiteral("select r.id, r.cuserid, r.dtime, r.coperation, r.cstate, r.cdescription, "
                       "(select count(*) from sys_bom_run_bom b where b.irunid=r.id) as boms "
                       "from sys_bom_run r order by r.id desc"));
    std::vector<Run> out;
    out.reserve(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i)
        out.push_back({rows.value(i, "id").toLongLong(), rows.text(i, "cuserid"),
                       timeOf(rows.value(i, "dtime")), rows.text(i, "coperation"),
                       rows.text(i, "cstate"), rows.text(i, "cdescription"),
                       rows.value(i, "boms").toInt()});
    return out;
}

bool BomRuns::refuse(const QString& text, const QString& title) {
    session_.prompter.info(text, title, 48);
    return false;
}

bool BomRuns::Undo(qlonglong run, const QString& title) {
    refused_.clear();
    undone_.clear();
    db::Database& db = *session_.gConn;
    const QString name = QString::number(run);
    // Everything the undo decides on is read again inside its transaction, so an attempt that
    // collided with another session's may simply be run again.
    return db::TransactionRetry::run(db, [&] {
        refused_.clear();
        undone_.clear();
        db::Transaction tx(db);
        const QString setup = db.dialect().longTransactionSetup();
        if (!setup.isEmpty())
            db.exec(setup);
        // Taking the run first: a second undo of it waits here, then finds it undone.
        if (db.exec(QStringLiteral("update sys_bom_run set cstate=? where id=? and cstate=?"),
                    {QLatin1String(kUndone), run, QLatin1String(kDone)}) != 1)
            return refuse(
                db.query(QStringLiteral("select 1 from sys_bom_run where id=?"), {run}).empty()
                    ? QStringLiteral("没有编号为%1的批量处理记录。").arg(name)
                    : QStringLiteral("批量处理%1已经撤销过了。").arg(name),
                title);
        const db::Rows touched = db.query(
            QStringLiteral("select b.iautoid, b.iqzts, h.qzts, h.cpspcode from sys_bom_run_bom b "
                           "left join ProductStructure h on h.iautoid=b.iautoid where "
                           "b.irunid=? order by h.cpspcode, b.iautoid"),
            {run});
        QStringList existing;
        for (std::size_t i = 0; i < touched.size(); ++i)
            if (!touched.value(i, "qzts").isNull())
                existing << touched.text(i, "iautoid");
        const QSet<QString> mayTouch = BomAccess(session_).Touchable(existing);
        QStringList changed, hidden;
        for (std::size_t i = 0; i < touched.size(); ++i) {
            const QVariant left = touched.value(i, "iqzts");
            const QVariant now = touched.value(i, "qzts");
            const QString shown =
                (touched.text(i, "cpspcode") + QLatin1Char(' ') + touched.text(i, "iautoid"))
                    .trimmed();
            if (left.isNull() != now.isNull() ||
                (!now.isNull() && left.toLongLong() != now.toLongLong()))
                changed << shown;
            else if (!now.isNull() && !mayTouch.contains(touched.text(i, "iautoid")))
                hidden << shown;
        }
        // Refused with the BOMs named after `text`, kept for the caller.
        auto refuseBoms = [&](const QStringList& boms, const QString& text) {
            refused_ = boms;
            return refuse(text + boms.join(QStringLiteral("\r\n")), title);
        };
        const QString changedSince =
            QStringLiteral("以下物料清单在批量处理%1之后已被修改，不能撤销：\r\n").arg(name);
        if (!changed.isEmpty())
            return refuseBoms(changed, changedSince);
        if (!hidden.isEmpty())
            return refuseBoms(
                hidden,
                QStringLiteral("以下物料清单您无权修改，不能撤销批量处理%1：\r\n").arg(name));
        // A whole BOM the run removed cannot come back once another BOM has its identity.
        const QStringList remade = remadeBoms(run);
        if (!remade.isEmpty())
            return refuseBoms(
                remade,
                QStringLiteral("以下物料清单在批量处理%1之后已重新建立，不能撤销：\r\n").arg(name));
        // The versions read above are claimed in the same statement that moves them on, so a
        // save that slipped in between is caught here.
        const int claimed =
            db.exec(QStringLiteral("update ProductStructure set qzts=qzts where iautoid in (select "
                                   "iautoid from sys_bom_run_bom where irunid=?) and qzts=(select "
                                   "b.iqzts from sys_bom_run_bom b where b.irunid=? and "
                                   "b.iautoid=ProductStructure.iautoid)"),
                    {run, run});
        if (claimed != existing.size())
            return refuseBoms(existing, changedSince);
        recordUndo(run);
        restore(run);
        undone_ =
            versionsOf(db,
                       QStringLiteral("select b.iautoid, b.iqzts, h.qzts from sys_bom_run_bom "
                                      "b left join ProductStructure h on "
                                      "h.iautoid=b.iautoid where b.irunid=? order by "
                                      "b.iautoid"),
                       run);
        // An earlier run that had left these BOMs as this one found them may be undone next.
        db.exec(QStringLiteral("update sys_bom_run_bom set iqzts=(select h.qzts from "
                               "ProductStructure h where h.iautoid=sys_bom_run_bom.iautoid) "
                               "where iautoid in (select iautoid from sys_bom_run_bom where "
                               "irunid=?) and irunid<>? and exists (select 1 from sys_bom_run r "
                               "where "
                               "r.id=sys_bom_run_bom.irunid and r.cstate=?) and exists (select "
                               "1 from sys_bom_run_bom b where b.irunid=? and "
                               "b.iautoid=sys_bom_run_bom.iautoid and "
                               "b.iqztsbefore=sys_bom_run_bom.iqzts)"),
                {run, run, QLatin1String(kDone), run});
        entry::BomVisibility(db).RefreshBoms(texts(touched, 0));
        BomSaver(session_).MarkStructureChanged();
        tx.commit();
        return true;
    });
}

QStringList BomRuns::remadeBoms(qlonglong run) {
    const db::Rows rows = session_.gConn->query(
        QStringLiteral("select x.cpspcode, x.iautoid from sys_bom_run_header x join "
                       "ProductStructure h on ") +
            entry::BomIdentity::headersMatch(QStringLiteral("h"), QStringLiteral("x")) +
            QStringLiteral(" and h.iautoid<>x.iautoid where x.irunid=? order by x.cpspcode, "
                           "x.iautoid"),
        {run});
    QStringList out;
    for (std::size_t i = 0; i < rows.size(); ++i)
        out << rows.text(i, "cpspcode") + QLatin1Char(' ') + rows.text(i, "iautoid");
    return out;
}

void BomRuns::recordUndo(qlonglong run) {
    db::Database& db = *session_.gConn;
    // Each line the run made or changed, as it is now and as undo puts it back.
    const db::Rows now = db.query(
        QStringLiteral("select * from ProductStructures where autoid in (select autoid from "
                       "sys_bom_run_created where irunid=? and autoid is not null union select "
                       "autoid from sys_bom_run_line where irunid=?) order by autoid"),
        {run, run});
    const db::Rows before = db.query(
        QStringLiteral("select * from sys_bom_run_line where irunid=? order by autoid"), {run});
    LineDescriber describer(session_);
    std::vector<const QVariantList*> all;
    for (std::size_t i = 0; i < now.size(); ++i)
        all.push_back(&now.at(i));
    describer.learn(now, all);
    all.clear();
    for (std::size_t i = 0; i < before.size(); ++i)
        all.push_back(&before.at(i));
    describer.learn(before, all);

    struct Pair {
        QString headerId;
        QString was;
        QString back;
        QString row; // the line as it is now, whole
    };
    QHash<qlonglong, Pair> byLine;
    QList<qlonglong> order;
    const RowSet nowRows = RowSet::fromRows(now);
    auto take = [&](const db::Rows& rows, bool current) {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const qlonglong line = rows.value(i, "autoid").toLongLong();
            if (!byLine.contains(line))
                order << line;
            Pair& pair = byLine[line];
            pair.headerId = rows.text(i, "ipid");
            (current ? pair.was : pair.back) = describer.describe(rows, rows.at(i));
            if (current)
                pair.row = BomHistory::rowText(nowRows, int(i));
        }
    };
    take(now, true);
    take(before, false);
    std::vector<BomHistory::BomChange> changes;
    for (qlonglong line : order) {
        const Pair& pair = byLine[line];
        changes.push_back({pair.headerId,
                           {QLatin1String(BomHistory::kRunUndone), QString(), pair.was, pair.back,
                            QString::number(line), pair.row}});
    }
    recordHeadersUndone(run, changes);
    BomHistory(db).record(changes, session_.gUserId, run);
}

void BomRuns::recordHeadersUndone(qlonglong run, std::vector<BomHistory::BomChange>& changes) {
    db::Database& db = *session_.gConn;
    const db::Rows back =
        db.query(QStringLiteral("select * from sys_bom_run_header where irunid=?"), {run});
    if (back.empty())
        return;
    const db::Rows now =
        db.query(QStringLiteral("select * from ProductStructure where iautoid in (select iautoid "
                                "from sys_bom_run_header where irunid=?)"),
                 {run});
    QHash<QString, std::size_t> nowAt;
    for (std::size_t i = 0; i < now.size(); ++i)
        nowAt.insert(now.text(i, "iautoid"), i);
    // Each header field the undo puts back, as it is now and as it was.
    for (std::size_t i = 0; i < back.size(); ++i) {
        const QString id = back.text(i, "iautoid");
        const auto found = nowAt.constFind(id);
        if (found == nowAt.constEnd())
            continue;
        for (const QString& column : now.columns()) {
            const QString field = column.toLower();
            if (field == QLatin1String("qzts") || field == QLatin1String("id"))
                continue;
            const QString was = entry::StoredText(now.value(*found, column));
            const QString before = entry::StoredText(back.value(i, column));
            if (was != before)
                changes.push_back(
                    {id, {QLatin1String(BomHistory::kRunUndone), field, was, before, QString()}});
        }
    }
}

void BomRuns::restore(qlonglong run) {
    db::Database& db = *session_.gConn;
    // The (parent, component) pairs of every line the run made, changed or removed, as the
    // lines are now and as they were, for the quantity totals.
    const db::Rows pairs = db.query(
        QStringLiteral("select cpspcode, cpscode from sys_bom_run_line where irunid=? union "
                       "select cpspcode, cpscode from ProductStructures where autoid in (select "
                       "autoid from sys_bom_run_line where irunid=?) or autoid in (select autoid "
                       "from sys_bom_run_created where irunid=? and autoid is not null) or ipid "
                       "in (select iautoid from sys_bom_run_created where irunid=? and autoid is "
                       "null)"),
        {run, run, run, run});
    QStringList parents, components;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        parents << pairs.text(i, "cpspcode");
        components << pairs.text(i, "cpscode");
    }
    parents.removeDuplicates();
    components.removeDuplicates();
    // What the run made goes: its lines with their substitutes, and whole BOMs it created.
    db.exec(QStringLiteral("delete from ProstruOpt where AutoID in (select autoid from "
                           "sys_bom_run_created where irunid=? and autoid is not null)"),
            {run});
    db.exec(QStringLiteral("delete from ProductStructures where autoid in (select autoid from "
                           "sys_bom_run_created where irunid=? and autoid is not null)"),
            {run});
    const db::Rows made = db.query(
        QStringLiteral("select iautoid from sys_bom_run_created where irunid=? and autoid is null"),
        {run});
    BomGuards(session_).RemoveStoredBoms(texts(made, 0), run);

    // What it changed or removed comes back as it was. A header keeps its row version moving
    // on past what the run left, so a card loaded since cannot write over the undone BOM.
    const QStringList headerColumns =
        copiedColumns(QStringLiteral("ProductStructure"), QStringLiteral("sys_bom_run_header"));
    QStringList headerValues;
    for (const QString& column : headerColumns)
        headerValues << (column.compare(QLatin1String("qzts"), Qt::CaseInsensitive) == 0
                             ? QStringLiteral("COALESCE(b.iqzts, x.qzts) + 1")
                             : QStringLiteral("x.") + column);
    db.exec(QStringLiteral("delete from ProductStructure where iautoid in (select iautoid from "
                           "sys_bom_run_header where irunid=?)"),
            {run});
    db.exec(QStringLiteral("insert into ProductStructure(%1) select %2 from sys_bom_run_header x "
                           "left join sys_bom_run_bom b on b.irunid=x.irunid and "
                           "b.iautoid=x.iautoid where x.irunid=?")
                .arg(headerColumns.join(QLatin1Char(',')), headerValues.join(QLatin1Char(','))),
            {run});
    // Lines elsewhere that lost their link when a whole BOM went get it back.
    BomSaver(session_).LinkLinesTo(texts(
        db.query(QStringLiteral("select iautoid from sys_bom_run_header where irunid=?"), {run}),
        0));
    struct Copy {
        const char* table;
        const char* copy;
        const char* key;
    };
    for (const Copy& c : {Copy{"ProductStructures", "sys_bom_run_line", "autoid"},
                          Copy{"ProstruOpt", "sys_bom_run_option", "compsubid"}}) {
        const QString table = QLatin1String(c.table), copy = QLatin1String(c.copy);
        const QString columns = copiedColumns(table, copy).join(QLatin1Char(','));
        db.exec(QStringLiteral("delete from %1 where %2 in (select %2 from %3 where irunid=?)")
                    .arg(table, QLatin1String(c.key), copy),
                {run});
        db.exec(QStringLiteral("insert into %1(%2) select %2 from %3 where irunid=?")
                    .arg(table, columns, copy),
                {run});
    }

    // The totals are sums of the lines: worked out again for every pair the lines touched
    // before and after, which gives them back as they were when nothing else moved them.
    BomSaver(session_).LinesChanged(parents, components);
}

} // namespace bom::bomservice
