#include "BomValidator.h"

#include "BomCardLoader.h"
#include "RowWriter.h"

#include "entry/BomIdentity.h"
#include "entry/Session.h"
#include "entry/VoucherHelpers.h"
#include "suite/Prompter.h"

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
    if (!CheckRowInfo(card.header, 0))
        return false;
    for (int row : lines)
        if (!CheckRowInfo(card.lines, row))
            return false; // quantities passed their entry rules with the values
    const QString parent = card.header.text(0, QStringLiteral("cpspcode"));
    for (int row : card.lines.allRows())
        if (card.lines.text(row, QStringLiteral("cpspcode")) != parent)
            card.lines.setValue(row, QStringLiteral("cpspcode"), parent);
    if (mode == kModify && !CheckBeforeModify(card))
        return false;
    return CheckSubstituteFlags(card);
}

bool BomValidator::CheckValues(const BomCard& card) {
    const auto voucher = BomCardLoader(session_).findTemplate(QStringLiteral("PP30"));
    RowWriter writer(*session_.gConn, *session_.gLogin, voucher ? voucher->DEF_ID : 0);
    QString refusal =
        writer.CheckRow(QStringLiteral("ProductStructure"), card.header, 0, /*isBody=*/false);
    for (int row : card.lines.allRows()) {
        if (!refusal.isEmpty())
            break;
        if (card.lines.editprop(row) != QLatin1String("D"))
            refusal = writer.CheckRow(QStringLiteral("ProductStructures"), card.lines, row,
                                      /*isBody=*/true);
        else if (const QVariant autoid = card.lines.value(row, QStringLiteral("autoid"));
                 !autoid.isNull() && !entry::VoucherHelpers::ToNumber(autoid))
            refusal = QStringLiteral("autoid必须为数字！"); // the only value a deletion uses
    }
    return refusal.isEmpty() || fail(refusal);
}

bool BomValidator::CheckNoLineIsTheParent(const BomCard& card) {
    const QString parent = card.header.text(0, QStringLiteral("cpspcode")).trimmed();
    for (int row : card.lines.notDeletedRows())
        if (!parent.isEmpty() &&
            card.lines.text(row, QStringLiteral("cpscode")).trimmed() == parent)
            return fail(QStringLiteral("母件不可与子件相同！"));
    return true;
}

bool BomValidator::CheckLineDuplicates(const BomCard& card) {
    const std::vector<int> rows = card.lines.notDeletedRows();
    for (std::size_t i = 0; i < rows.size(); ++i)
        for (std::size_t j = i + 1; j < rows.size(); ++j) {
            const bool same = std::all_of(
                identityColumns().begin(), identityColumns().end(), [&](const QString& column) {
                    return card.lines.text(rows[i], column) == card.lines.text(rows[j], column);
                });
            if (same)
                return fail(QStringLiteral("子件编码（") +
                            card.lines.text(rows[i], QStringLiteral("cpscode")) +
                            QStringLiteral("）出现重复，请修改！"));
        }
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

bool BomValidator::CheckRowInfo(const RowSet& rows, int row) {
    // A row without a component (the header, or a line whose component is null) names its
    // parent item instead.
    const QVariant component = rows.value(row, QStringLiteral("cpscode"));
    const QString code =
        component.isNull() ? rows.text(row, QStringLiteral("cpspcode")) : component.toString();
    if (code.isEmpty())
        return fail(QStringLiteral("信息不完整！"));
    const db::Rows item = session_.gConn->query(
        QStringLiteral("select bFree1,bFree2,bFree3,bFree4,bFree5,bFree6,bFree7,bFree8,bFree9,"
                       "bFree10 from inventory where cinvcode=?"),
        {code});
    if (item.empty())
        return fail(QStringLiteral("存货") + code + QStringLiteral("不存在，请检查！"));
    for (int n = 1; n <= 10; ++n) {
        const bool filled = !rows.text(row, QStringLiteral("cfree%1").arg(n)).isEmpty();
        if (!filled || item.value(0, QStringLiteral("bFree%1").arg(n)).toInt() != 0)
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
    int number = 0;
    for (int row : card.lines.notDeletedRows()) {
        ++number;
        if (card.lines.text(row, QStringLiteral("replaceflag")) != QStringLiteral("是"))
            continue;
        const entry::BomIdentity component = identityOf(card.lines, row, QStringLiteral("cpscode"));
        if (!entry::VoucherHelpers::IsBomMissing(db, component))
            return fail(QStringLiteral("行[%1]物料[%2]为半成品或成品，替代标示不能为[是]。")
                            .arg(number)
                            .arg(component.code));
    }
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
