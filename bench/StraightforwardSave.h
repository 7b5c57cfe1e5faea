#pragma once

// The baseline of the save and validation benchmarks: a card saved the straightforward way.

#include "bomservice/BomAccess.h"
#include "bomservice/BomCardLoader.h"
#include "bomservice/CycleCheck.h"
#include "bomservice/RowWriter.h"
#include "db/Transaction.h"
#include "db/ValueTypes.h"
#include "entry/BomIdentity.h"
#include "entry/Session.h"
#include "entry/VoucherHelpers.h"
#include "suite/Login.h"

#include <QSqlField>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QUuid>

namespace bom::bench {

// The straightforward save: the same checks and writes as BomSaver, each statement prepared
// afresh (on PostgreSQL: prepare, execute, deallocate), one per check and per line.
class StraightforwardSave {
public:
    explicit StraightforwardSave(entry::Session& session)
        : session_(session), db_(*session.gConn) {}

    bool save(bomservice::BomCard& card, int mode) {
        if (mode == 1 && !bomservice::BomAccess(session_).MayTouch(text(card.header, 0, "iautoid")))
            return false;
        if (!validate(card))
            return false;
        card.header.setValue(0, QStringLiteral("ccheck"), QStringLiteral(""));
        const auto voucher =
            bomservice::BomCardLoader(session_).findTemplate(QStringLiteral("PP30"));
        if (!voucher)
            return false;
        bomservice::RowSet& lines = card.lines;
        const QString parent = text(card.header, 0, "cpspcode");
        QString headerId = text(card.header, 0, "iautoid");
        db::Transaction tx(db_);
        const QString setup = db_.dialect().longTransactionSetup();
        if (!setup.isEmpty())
            run(setup);
        QStringList parents{parent};
        if (mode == 1) {
            if (exec("update productstructure set qzts=qzts where iautoid=? and qzts=?",
                     {headerId, card.header.value(0, QStringLiteral("qzts")).toLongLong()}) != 1)
                return false;
            parents << first("select cpspcode from productstructure where iautoid=?", {headerId})
                           .toString();
        }
        for (int row : lines.deletedRows()) {
            const QVariant autoid = lines.value(row, QStringLiteral("autoid"));
            exec("Delete from ProstruOpt where autoid in (select autoid from ProductStructures "
                 "where autoid=? and ipid=?)",
                 {autoid.toLongLong(), headerId});
            exec("Delete from ProductStructures where autoid=? and ipid=?",
                 {autoid.toLongLong(), headerId});
        }
        if (exec("Update ProductStructureEx set cDepCode=? where cPSPCode=?",
                 {QStringLiteral(""), parent}) == 0)
            exec("insert into ProductStructureEx(cpspcode,cdepcode) values(?,?)",
                 {parent, QStringLiteral("")});
        const QSqlRecord headerTable = db_.recordOf(QStringLiteral("ProductStructure"));
        const QSqlRecord lineTable = db_.recordOf(QStringLiteral("ProductStructures"));
        QVariant number;
        if (mode == 0) {
            headerId = QUuid::createUuid().toString(QUuid::WithBraces).toUpper();
            auto [columns, values] = rowValues(headerTable, card.header, 0, false);
            columns.prepend(QStringLiteral("iautoid"));
            values.prepend(headerId);
            number = first(QStringLiteral("insert into ProductStructure(%1) values(%2) "
                                          "RETURNING ID")
                               .arg(columns.join(','), marks(columns.size())),
                           values);
        } else {
            auto [columns, values] = rowValues(headerTable, card.header, 0, false);
            values << headerId;
            exec(QStringLiteral("Update ProductStructure set %1=? where iAutoId=?")
                     .arg(columns.join(QStringLiteral("=?,"))),
                 values);
            number = first("select ID from productstructure where iautoid=?", {headerId});
        }
        card.header.setValue(0, QStringLiteral("iautoid"), headerId);
        card.header.setValue(0, QStringLiteral("ID"), number);
        linkUsers(card, headerId);
        for (int row : lines.allRows()) {
            lines.setValue(row, QStringLiteral("ipid"), headerId);
            lines.setValue(row, QStringLiteral("cpspcode"), parent);
        }
        for (int row : lines.addedOrModifiedRows()) {
            auto [columns, values] = rowValues(lineTable, lines, row, true);
            if (lines.editprop(row) == QLatin1String("A")) {
                exec(QStringLiteral("insert into ProductStructures(%1) values(%2)")
                         .arg(columns.join(','), marks(columns.size())),
                     values);
                lines.setValue(row, QStringLiteral("autoid"),
                               first("select max(autoid) from ProductStructures", {}));
            } else {
                values << lines.value(row, QStringLiteral("autoid")) << headerId;
                if (exec(QStringLiteral("Update ProductStructures set %1=? where autoid=? and "
                                        "ipid=?")
                             .arg(columns.join(QStringLiteral("=?,"))),
                         values) == 0)
                    return false;
            }
            exec(QStringLiteral("update ProductStructures set childguid=(select h.iautoid from "
                                "ProductStructure h where ") +
                     entry::BomIdentity::headerMatchesLine(QStringLiteral("h"),
                                                           QStringLiteral("ProductStructures")) +
                     QStringLiteral(" LIMIT 1) where autoid=?"),
                 {lines.value(row, QStringLiteral("autoid"))});
        }
        for (const QString& p : parents) {
            exec("delete from ProductStructuresEx where cPSPCode=?", {p});
            exec("insert into ProductStructuresEx(cPSPCode,cPSCode,iPSQuantity) select cpspcode, "
                 "cpscode, SUM(COALESCE(ipsquantity,0)) from ProductStructures where cpspcode=? "
                 "group by cpspcode, cpscode",
                 {p});
        }
        if (first("select cPSCode from ProductStructures Where iPId=? group by cPSCode, "
                  "COALESCE(csocode,''), COALESCE(cFree1,''), COALESCE(cFree2,''), "
                  "COALESCE(cFree3,''), COALESCE(cFree4,''), COALESCE(cFree5,''), "
                  "COALESCE(cFree6,''), COALESCE(cFree7,''), COALESCE(cFree8,''), "
                  "COALESCE(cFree9,''), COALESCE(cFree10,'') having count(cPSCode) > 1",
                  {headerId})
                .isValid())
            return false;
        exec("delete from ProstruOpt where autoid in (select autoid from productstructures where "
             "ipid=? and replaceflag=0)",
             {headerId});
        run(QStringLiteral("update accinformation set cValue='1' where csysid='pp' and "
                           "cname='bStruChange'"));
        card.header.setValue(
            0, QStringLiteral("qzts"),
            first("select qzts from productstructure where iautoid=?", {headerId}));
        tx.commit();
        for (int row : lines.allRows())
            lines.setEditprop(row, QStringLiteral(""));
        return true;
    }

    // The checks alone (rules in the save's order, the first failure ends them).
    bool validate(bomservice::BomCard& card) {
        bomservice::RowSet& lines = card.lines;
        const std::vector<int> live = lines.notDeletedRows();
        if (live.empty())
            return false;
        const auto voucher =
            bomservice::BomCardLoader(session_).findTemplate(QStringLiteral("PP30"));
        bomservice::RowWriter writer(db_, *session_.gLogin, voucher ? voucher->DEF_ID : 0);
        if (!writer.CheckRow(QStringLiteral("ProductStructure"), card.header, 0, false).isEmpty())
            return false;
        for (int row : live)
            if (!writer.CheckRow(QStringLiteral("ProductStructures"), lines, row, true).isEmpty())
                return false;
        const QString parent = text(card.header, 0, "cpspcode");
        for (int row : live)
            if (text(lines, row, "cpscode").trimmed() == parent)
                return false;
        static const char* const identity[] = {"cpscode", "csocode", "cfree1", "cfree2",
                                               "cfree3",  "cfree4",  "cfree5", "cfree6",
                                               "cfree7",  "cfree8",  "cfree9", "cfree10"};
        for (std::size_t i = 0; i < live.size(); ++i)
            for (std::size_t j = i + 1; j < live.size(); ++j) {
                bool same = true;
                for (const char* column : identity)
                    same = same && text(lines, live[i], column) == text(lines, live[j], column);
                if (same)
                    return false;
            }
        const db::SqlCondition own = identityOf(card.header, 0, "cpspcode").matches("cpspcode");
        const QVariant found = first(
            QStringLiteral("select iautoid from ProductStructure where ") + own.sql, own.params);
        if (found.isValid() && found.toString() != text(card.header, 0, "iautoid"))
            return false;
        if (!bomservice::CycleCheck(db_, session_.prompter).CheckCycle(card))
            return false;
        if (!itemKnown(card.header, 0))
            return false;
        for (int row : live)
            if (!itemKnown(lines, row))
                return false;
        for (int row : lines.allRows())
            lines.setValue(row, QStringLiteral("cpspcode"), parent);
        const db::SqlCondition flagged =
            identityOf(card.header, 0, "cpspcode").matches(QStringLiteral("cpscode"));
        if (first(QStringLiteral("select autoid from productstructures where ") + flagged.sql +
                      QStringLiteral(" and COALESCE(ReplaceFlag,0) = 1 LIMIT 1"),
                  flagged.params)
                .isValid())
            return false;
        for (int row : live) {
            if (text(lines, row, "replaceflag") != QStringLiteral("是"))
                continue;
            const db::SqlCondition bom = identityOf(lines, row, "cpscode").matches("cpspcode");
            if (first(QStringLiteral("select iautoid from productstructure where ") + bom.sql +
                          QStringLiteral(" LIMIT 1"),
                      bom.params)
                    .isValid())
                return false;
        }
        return true;
    }

private:
    // The line's item and the free items it may carry, one query per row.
    bool itemKnown(const bomservice::RowSet& rows, int row) {
        const QVariant component = rows.value(row, QStringLiteral("cpscode"));
        const QString code =
            component.isNull() ? text(rows, row, "cpspcode") : component.toString();
        QSqlQuery item = statement("select bFree1,bFree2,bFree3,bFree4,bFree5,bFree6,bFree7,"
                                   "bFree8,bFree9,bFree10 from inventory where cinvcode=?",
                                   {code});
        if (!item.next())
            return false;
        for (int n = 1; n <= 10; ++n)
            if (!text(rows, row, QStringLiteral("cfree%1").arg(n).toLatin1()).isEmpty() &&
                item.value(n - 1).toInt() == 0)
                return false;
        return true;
    }

    void linkUsers(const bomservice::BomCard& card, const QString& headerId) {
        const db::SqlCondition uses =
            identityOf(card.header, 0, "cpspcode").matches(QStringLiteral("cpscode"));
        exec(QStringLiteral("update ProductStructures set childguid=NULL where childguid=? and "
                            "not (") +
                 uses.sql + QStringLiteral(")"),
             db::Params{headerId} + uses.params);
        exec(QStringLiteral("update ProductStructures set childguid=? where ") + uses.sql,
             db::Params{headerId} + uses.params);
    }

    // What RowWriter writes for a carried, non-null cell.
    static std::pair<QStringList, db::Params>
    rowValues(const QSqlRecord& table, const bomservice::RowSet& rows, int row, bool isBody) {
        QStringList columns;
        db::Params values;
        for (int i = 0; i < table.count(); ++i) {
            const QString column = table.fieldName(i);
            const QString upper = column.toUpper();
            if (upper == "PUBQZTS" || upper == "AUTOID" || upper == "QZTS" || upper == "PSID" ||
                upper == "COMPSUBID" || upper == "IAUTOID" ||
                upper == (isBody ? QLatin1String("CHILDGUID") : QLatin1String("ID")))
                continue;
            const QVariant shown = rows.value(row, column);
            if (shown.isNull())
                continue;
            const auto type = table.field(i).metaType().id();
            const QString t = shown.toString().trimmed();
            QVariant stored;
            if (upper == "REPLACEFLAG" || upper == "BSTOPFLAG" || upper == "BMRCBBOM")
                stored = t == QStringLiteral("是") ? 1 : 0;
            else if (upper == "WIPTYPE")
                stored = t == QStringLiteral("入库倒冲")   ? 1
                         : t == QStringLiteral("正常领料") ? 3
                                                           : 0;
            else if (db::isNumericType(type) && upper.startsWith('B'))
                stored = entry::VoucherHelpers::TextToBool(shown) ? 1 : 0;
            else if (!t.isEmpty())
                stored = db::isNumericType(type)
                             ? QVariant(*entry::VoucherHelpers::ToNumber(shown))
                             : QVariant(type == QMetaType::QDate || type == QMetaType::QDateTime
                                            ? t
                                            : shown.toString());
            columns << column;
            values << stored;
        }
        return {columns, values};
    }

    static entry::BomIdentity identityOf(const bomservice::RowSet& rows, int row,
                                         const char* code) {
        entry::BomIdentity id{text(rows, row, code), text(rows, row, "csocode"), {}};
        for (int i = 0; i < 10; ++i)
            id.free[std::size_t(i)] = rows.text(row, QStringLiteral("cfree%1").arg(i + 1));
        return id.trimmed();
    }
    static QString text(const bomservice::RowSet& rows, int row, const char* column) {
        return rows.text(row, QLatin1String(column));
    }
    static QString marks(qsizetype n) {
        QStringList out;
        for (qsizetype i = 0; i < n; ++i)
            out << QStringLiteral("?");
        return out.join(',');
    }

    QSqlQuery statement(const QString& sql, const db::Params& params) {
        QSqlQuery query = db_.prepare(sql);
        db_.run(query, params);
        return query;
    }
    int exec(const QString& sql, const db::Params& params) {
        return statement(sql, params).numRowsAffected();
    }
    QVariant first(const QString& sql, const db::Params& params) {
        QSqlQuery query = statement(sql, params);
        return query.next() ? query.value(0) : QVariant();
    }
    void run(const QString& sql) { db_.exec(sql); }

    entry::Session& session_;
    db::Database& db_;
};

} // namespace bom::bench
