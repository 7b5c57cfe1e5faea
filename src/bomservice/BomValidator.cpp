#include "BomValidator.h"

#include "BomCardLoader.h"
#include "RowWriter.h"

#include "entry/BomIdentity.h"
#include "entry/Session.h"
#include "entry/VoucherHelpers.h"
#include "suite/Prompter.h"

#include <QSet>

namespace bom::bomservice {
namespace {

const QStringList& identityColumns() {
    static const QStringList columns = [] {
        QStringList c{QStringLiteral("cpscode"), QStringLiteral("csocode")};
        for (int i = 1; i <= 10; ++i)
            c << QStringLiteral("cfree%1").arg(i);
        return c;
    }();
    return columns;
}

// The identity a row names: `codeColumn` plus its sales order and free items.
entry::BomIdentity identityOf(const RowSet& rows, int row, const QString& codeColumn) {
    entry::BomIdentity id{
        rows.text(row, codeColumn), rows.text(row, QStringLiteral("csocode")), {}};
    for (int i = 0; i < 10; ++i)
        id.free[i] = rows.text(row, QStringLiteral("cfree%1").arg(i + 1));
    return id.trimmed();
}

// Bound values per IN list; SQLite takes no more than 32,766 in one statement.
constexpr int kChunk = 500;

QString marks(int n) {
    QStringList out;
    for (int i = 0; i < n; ++i)
        out << QStringLiteral("?");
    return out.join(',');
}

} // namespace

BomValidator::BomValidator(entry::Session& session)
    : session_(session), cycles_(*session.gConn, session.prompter) {}

bool BomValidator::fail(const QString& message) {
    session_.ShowInfo(message);
    return false;
}

bool BomValidator::ValidateBom(BomCard& card, int mode) {
    const std::vector<int> lines = card.lines.notDeletedRows();
    if (lines.empty())
        return fail(QStringLiteral("一个母件至少要包括一个子件！"));
    if (card.header.rowCount() == 0)
        return fail(QStringLiteral("信息不完整！"));
    if (!CheckValues(card) || !CheckNoLineIsTheParent(card))
        return false;
    if (!CheckLineDuplicates(card) || !CheckBomExists(card) || !CheckCycle(card))
        return false;
    // Every item the card names is read at once, not line by line.
    QStringList codes{rowItemCode(card.header, 0)};
    for (int row : lines)
        codes << rowItemCode(card.lines, row);
    const ItemFreeItems items = itemsOf(codes);
    if (!checkRowInfo(card.header, 0, items))
        return false;
    for (int row : lines)
        if (!checkRowInfo(card.lines, row, items))
            return false; // quantities passed their entry rules with the values
    const QString parent = card.header.text(0, QStringLiteral("cpspcode"));
    int parentCell = card.lines.columnIndex(QStringLiteral("cpspcode"));
    for (int row = 0; row < card.lines.rowCount(); ++row) {
        if (card.lines.cell(row, parentCell).toString() == parent)
            continue;
        if (parentCell < 0)
            parentCell = card.lines.addColumn(RowSetColumn{QStringLiteral("cpspcode")});
        card.lines.setCell(row, parentCell, parent);
    }
    if (mode == kModify && !CheckBeforeModify(card))
        return false;
    return CheckSubstituteFlags(card);
}

bool BomValidator::CheckValues(const BomCard& card) {
    const auto voucher = BomCardLoader(session_).findTemplate(QStringLiteral("PP30"));
    RowWriter writer(*session_.gConn, *session_.gLogin, voucher ? voucher->DEF_ID : 0);
    QString refusal =
        writer.CheckRow(QStringLiteral("ProductStructure"), card.header, 0, /*isBody=*/false);
    if (!refusal.isEmpty())
        return fail(refusal);
    // Lines in row order: a live line's values, a deleted line's autoid (the only value a
    // deletion uses).
    const int prop = card.lines.columnIndex(QStringLiteral("editprop"));
    const int autoidCell = card.lines.columnIndex(QStringLiteral("autoid"));
    std::vector<int> live;
    int badDeletion = -1;
    for (int row = 0; row < card.lines.rowCount(); ++row) {
        if (card.lines.cell(row, prop).toString() != QLatin1String("D")) {
            live.push_back(row);
        } else if (const QVariant& autoid = card.lines.cell(row, autoidCell);
                   badDeletion < 0 && !autoid.isNull() &&
                   !entry::VoucherHelpers::ToNumber(autoid)) {
            badDeletion = row;
        }
    }
    int failedRow = -1;
    refusal = writer.CheckRows(BodyTable::lines(), card.lines, live, &failedRow);
    if (badDeletion >= 0 && (refusal.isEmpty() || badDeletion < failedRow))
        refusal = QStringLiteral("autoid必须为数字！");
    return refusal.isEmpty() || fail(refusal);
}

bool BomValidator::CheckNoLineIsTheParent(const BomCard& card) {
    const QString parent = card.header.text(0, QStringLiteral("cpspcode")).trimmed();
    if (parent.isEmpty())
        return true;
    const int component = card.lines.columnIndex(QStringLiteral("cpscode"));
    for (int row : card.lines.notDeletedRows())
        if (card.lines.cell(row, component).toString().trimmed() == parent)
            return fail(QStringLiteral("母件不可与子件相同！"));
    return true;
}

bool BomValidator::CheckLineDuplicates(const BomCard& card) {
    // Two lines are the same when all twelve values read as the same text. The line reported
    // is the first that has a later twin, as a pairwise comparison in row order finds it.
    const std::vector<int> rows = card.lines.notDeletedRows();
    std::vector<int> cells;
    for (const QString& column : identityColumns())
        cells.push_back(card.lines.columnIndex(column));
    std::vector<QStringList> keys;
    keys.reserve(rows.size());
    QHash<QStringList, int> count;
    count.reserve(qsizetype(rows.size()));
    for (int row : rows) {
        QStringList key;
        key.reserve(qsizetype(cells.size()));
        for (int cell : cells)
            key << card.lines.cell(row, cell).toString();
        ++count[key];
        keys.push_back(std::move(key));
    }
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (count.value(keys[i]) > 1)
            return fail(QStringLiteral("子件编码（") + keys[i].first() +
                        QStringLiteral("）出现重复，请修改！"));
    return true;
}

bool BomValidator::CheckBomExists(const BomCard& card) {
    const db::SqlCondition match =
        identityOf(card.header, 0, QStringLiteral("cpspcode")).matches(QStringLiteral("cpspcode"));
    const db::Rows found = session_.gConn->query(
        QStringLiteral("select iautoid from ProductStructure where ") + match.sql, match.params);
    const QString own = card.header.text(0, QStringLiteral("iautoid"));
    for (std::size_t i = 0; i < found.size(); ++i)
        if (found.text(i, "iautoid") != own)
            return fail(QStringLiteral("该母件+版本号已经存在！"));
    return true;
}

QString BomValidator::rowItemCode(const RowSet& rows, int row) {
    // A row without a component (the header, or a line whose component is null) names its
    // parent item instead.
    const QVariant component = rows.value(row, QStringLiteral("cpscode"));
    return component.isNull() ? rows.text(row, QStringLiteral("cpspcode")) : component.toString();
}

BomValidator::ItemFreeItems BomValidator::itemsOf(const QStringList& codes) {
    QStringList wanted = codes;
    wanted.removeAll(QString());
    wanted.removeDuplicates();
    ItemFreeItems items;
    for (qsizetype start = 0; start < wanted.size(); start += kChunk) {
        const QStringList chunk = wanted.mid(start, kChunk);
        const db::Rows found = session_.gConn->query(
            QStringLiteral("select cinvcode,bFree1,bFree2,bFree3,bFree4,bFree5,bFree6,bFree7,"
                           "bFree8,bFree9,bFree10 from inventory where cinvcode in (%1)")
                .arg(marks(int(chunk.size()))),
            db::Params(chunk.begin(), chunk.end()));
        for (std::size_t i = 0; i < found.size(); ++i) {
            std::array<bool, 10> uses{};
            for (int n = 0; n < 10; ++n)
                uses[std::size_t(n)] = found.at(i).at(n + 1).toInt() != 0;
            items.insert(found.at(i).at(0).toString(), uses);
        }
    }
    return items;
}

bool BomValidator::CheckRowInfo(const RowSet& rows, int row) {
    return checkRowInfo(rows, row, itemsOf({rowItemCode(rows, row)}));
}

bool BomValidator::checkRowInfo(const RowSet& rows, int row, const ItemFreeItems& items) {
    const QString code = rowItemCode(rows, row);
    if (code.isEmpty())
        return fail(QStringLiteral("信息不完整！"));
    const auto item = items.find(code);
    if (item == items.end())
        return fail(QStringLiteral("存货") + code + QStringLiteral("不存在，请检查！"));
    for (int n = 1; n <= 10; ++n) {
        const bool filled = !rows.text(row, QStringLiteral("cfree%1").arg(n)).isEmpty();
        if (!filled || (*item)[std::size_t(n - 1)])
            continue;
        const QString caption =
            session_.gConn
                ->scalar(QStringLiteral("select COALESCE(cItemName,cItem) from userdef where "
                                        "cItem=?"),
                         {QStringLiteral("自由项%1").arg(n)})
                .toString();
        return fail(QStringLiteral("不允许设置") +
                    (caption.isEmpty() ? QStringLiteral("自由项%1").arg(n) : caption) +
                    QStringLiteral("，请检查！"));
    }
    return true;
}

bool BomValidator::CheckSubstituteFlags(const BomCard& card) {
    db::Database& db = *session_.gConn;
    if (!entry::VoucherHelpers::IsFlaggedLineMissing(
            db, identityOf(card.header, 0, QStringLiteral("cpspcode"))))
        return fail(QStringLiteral("替代标示为[是]的物料不能为半成品或成品！"));
    // Flagged lines, numbered among the live ones from 1.
    std::vector<std::pair<int, entry::BomIdentity>> flagged;
    const int flag = card.lines.columnIndex(QStringLiteral("replaceflag"));
    int number = 0;
    for (int row : card.lines.notDeletedRows()) {
        ++number;
        if (card.lines.cell(row, flag).toString() == QStringLiteral("是"))
            flagged.emplace_back(number, identityOf(card.lines, row, QStringLiteral("cpscode")));
    }
    if (flagged.empty())
        return true;
    // The BOMs of every flagged component at once, matched as the identity rule matches
    // (a missing sales order or free item is empty text).
    auto keyOf = [](const entry::BomIdentity& id) {
        QStringList key{id.code, id.salesOrder};
        for (const QString& free : id.free)
            key << free;
        return key;
    };
    QStringList codes;
    for (const auto& line : flagged)
        codes << line.second.code;
    codes.removeDuplicates();
    QSet<QStringList> boms;
    QString columns = QStringLiteral("cpspcode, COALESCE(csocode,'')");
    for (int i = 1; i <= 10; ++i)
        columns += QStringLiteral(", COALESCE(cfree%1,'')").arg(i);
    for (qsizetype start = 0; start < codes.size(); start += kChunk) {
        const QStringList chunk = codes.mid(start, kChunk);
        const db::Rows found =
            db.query(QStringLiteral("select %1 from productstructure where cpspcode in (%2)")
                         .arg(columns, marks(int(chunk.size()))),
                     db::Params(chunk.begin(), chunk.end()));
        for (std::size_t i = 0; i < found.size(); ++i) {
            QStringList key;
            for (const QVariant& value : found.at(i))
                key << value.toString();
            boms.insert(key);
        }
    }
    for (const auto& [row, component] : flagged)
        if (boms.contains(keyOf(component)))
            return fail(QStringLiteral("行[%1]物料[%2]为半成品或成品，替代标示不能为[是]。")
                            .arg(row)
                            .arg(component.code));
    return true;
}

bool BomValidator::ConfirmDefaultCostBom(const QString& parentCode, const QString& headerId) {
    db::SqlCondition sql{QStringLiteral("select 1 from productstructure where cpspcode = ? and "
                                        "COALESCE(bmrcbbom,0)=1"),
                         {parentCode}};
    if (!headerId.isEmpty())
        sql += db::SqlCondition{QStringLiteral(" and COALESCE(iautoid,'')<>?"), {headerId}};
    if (session_.gConn->query(sql.sql + QStringLiteral(" LIMIT 1"), sql.params).empty())
        return true;
    return session_.prompter.ask(QStringLiteral("已经存在默认成本BOM,若继续保存,系统将自动将此BOM"
                                                "设置为默认成本BOM,是否继续?"),
                                 QStringLiteral("物料清单"), 4) == suite::Prompter::Answer::Yes;
}

bool BomValidator::CheckLineDuplicatesInDb(const QString& headerId) {
    const db::Rows duplicates = session_.gConn->query(
        QStringLiteral("select cPSCode, count(*) from ProductStructures Where iPId=? group by "
                       "cPSCode, COALESCE(csocode,''), COALESCE(cFree1,''), COALESCE(cFree2,''), "
                       "COALESCE(cFree3,''), COALESCE(cFree4,''), COALESCE(cFree5,''), "
                       "COALESCE(cFree6,''), COALESCE(cFree7,''), COALESCE(cFree8,''), "
                       "COALESCE(cFree9,''), COALESCE(cFree10,'') having count(cPSCode) > 1"),
        {headerId});
    if (duplicates.empty())
        return true;
    return fail(QStringLiteral("子件编码（") + duplicates.text(0, "cPSCode") +
                QStringLiteral("）出现重复，请修改！"));
}

QString BomValidator::departmentName(const QString& code) {
    return session_.gConn
        ->scalar(QStringLiteral("select cDepName from Department where cDepCode=?"), {code})
        .toString();
}

QString BomValidator::CheckDepartmentRight(const BomCard& card) {
    const suite::RowAuth& auth = *session_.gRowAuth;
    auto refuse = [&](const QString& code, const QString& shownName) -> QString {
        if (code.isEmpty() || auth.HasRecordRight(QStringLiteral("Department"), code))
            return {};
        const QString name = shownName.isEmpty() ? departmentName(code) : shownName;
        return QStringLiteral("没有 ") + name + QStringLiteral(" 部门录入权限");
    };
    QString refusal = refuse(card.header.text(0, QStringLiteral("cdepcode")),
                             card.header.text(0, QStringLiteral("cdepname")));
    for (int row : card.lines.notDeletedRows()) {
        if (!refusal.isEmpty())
            break;
        refusal = refuse(card.lines.text(row, QStringLiteral("cdepcode")),
                         card.lines.text(row, QStringLiteral("usedept")));
    }
    return refusal;
}

} // namespace bom::bomservice
