#include "BomCardLoader.h"

#include "BomAccess.h"
#include "ServiceTexts.h"
#include "db/Database.h"
#include "db/Identifier.h"
#include "entry/Session.h"
#include "suite/Prompter.h"

#include <QRegularExpression>

namespace bom::bomservice {
namespace {

const QString kTitle = ServiceTexts::title();

// Keys are assigned by the save and the row version by the database.
bool isExemptFromRequired(const QString& field) {
    const QString upper = field.toUpper();
    return upper == QLatin1String("IAUTOID") || upper == QLatin1String("AUTOID") ||
           upper == QLatin1String("QZTS") || upper == QLatin1String("COMPSUBID");
}

bool isEmptyValue(const QVariant& value) {
    return value.isNull() || value.toString().trimmed().isEmpty();
}

// The header must have the value; in the body, every line that is not being deleted.
bool isMissing(const RowSet& rows, const QString& field, bool isHeader) {
    if (isHeader)
        return rows.rowCount() == 0 || isEmptyValue(rows.value(0, field));
    for (int row : rows.notDeletedRows())
        if (isEmptyValue(rows.value(row, field)))
            return true;
    return false;
}

} // namespace

BomCardLoader::BomCardLoader(entry::Session& session)
    : session_(session), db_(*session.gConn), prompter_(session.prompter) {}

void BomCardLoader::fail(const QString& message) {
    prompter_.info(message, kTitle, 48);
}

std::optional<VoucherTemplate> BomCardLoader::LoadTemplate(const QString& cardNumber) {
    auto card = findTemplate(cardNumber);
    if (!card)
        fail(QStringLiteral("单据模板不存在。"));
    return card;
}

std::optional<VoucherTemplate> BomCardLoader::findTemplate(const QString& cardNumber) {
    const db::Rows rows = db_.query(
        QStringLiteral("Select * from vouchers where lower(cardnumber)=lower(?)"), {cardNumber});
    if (rows.empty())
        return std::nullopt;
    VoucherTemplate card{rows.text(0, "cardnumber"), rows.text(0, "BTTblName"),
                         rows.text(0, "BWTblName"),  rows.text(0, "BTQName"),
                         rows.text(0, "BWQName"),    rows.value(0, "HaveBodyGrid").toInt() != 0,
                         rows.text(0, "cCardName"),  rows.value(0, "DEF_ID").toInt()};
    // These names are spliced into queries: they must name relations of this schema.
    QStringList names{card.BTTblName, card.BTQName};
    if (card.HaveBodyGrid)
        names << card.BWTblName << card.BWQName;
    for (const QString& name : names)
        if (!db::isPlainIdentifier(name) || !db_.relationExists(name))
            return std::nullopt;
    return card;
}

std::vector<TemplateChoice> BomCardLoader::ListTemplates(const QString& cardNumber) {
    const db::Rows rows =
        db_.query(QStringLiteral(
                      "Select vt_name,vt_id from VoucherTemplates WHERE "
                      "(lower(VT_CardNumber) = lower(?)) AND (VT_TemplateMode = 0) ORDER BY vt_id"),
                  {cardNumber});
    std::vector<TemplateChoice> out;
    for (std::size_t i = 0; i < rows.size(); ++i)
        out.push_back({rows.text(i, "vt_name"), rows.value(i, "vt_id").toInt()});
    return out;
}

std::optional<TemplateChoice> BomCardLoader::templateById(int templateId) {
    const db::Rows rows =
        db_.query(QStringLiteral("Select vt_name,vt_id from VoucherTemplates WHERE (VT_id = ?) AND "
                                 "(VT_TemplateMode = 0)"),
                  {templateId});
    if (rows.empty())
        return std::nullopt;
    return TemplateChoice{rows.text(0, "vt_name"), rows.value(0, "vt_id").toInt()};
}

QString BomCardLoader::columnList(const QString& view) {
    return db_.query(QStringLiteral("Select * from %1 where 1=2").arg(view)).columns().join(',');
}

BomCard BomCardLoader::NewCard(const VoucherTemplate& card) {
    BomCard out;
    out.header =
        RowSet::fromRows(db_.query(QStringLiteral("Select * from %1 where 1=2").arg(card.BTQName)));
    if (card.HaveBodyGrid) {
        out.lines = RowSet::fromRows(db_.query(
            QStringLiteral("Select %1,autoid as oldautoid,'' as editprop from %2 where 1=2")
                .arg(columnList(card.BWQName), card.BWQName)));
    }
    return out;
}

std::optional<BomCard> BomCardLoader::LoadBom(const VoucherTemplate& card,
                                              const QString& headerId) {
    if (!BomAccess(session_).MayTouch(headerId)) {
        reportGone();
        return std::nullopt;
    }
    return readCard(card, QStringLiteral("iautoid"), QStringLiteral("ipid"), headerId,
                    QStringLiteral("autoid as oldautoid,'' as editprop"), QStringLiteral("autoid"));
}

BomCard BomCardLoader::readCard(const VoucherTemplate& card, const QString& headerKey,
                                const QString& bodyKey, const QVariant& id,
                                const QString& bodyExtra, const QString& bodyOrder) {
    BomCard out;
    out.header =
        RowSet::fromRows(db_.query(QStringLiteral("Select %1 from %2 where %3=?")
                                       .arg(columnList(card.BTQName), card.BTQName, headerKey),
                                   {id}));
    if (card.HaveBodyGrid)
        out.lines = RowSet::fromRows(db_.query(
            QStringLiteral("Select %1,%2 from %3 where %4=? order by %5")
                .arg(columnList(card.BWQName), bodyExtra, card.BWQName, bodyKey, bodyOrder),
            {id}));
    return out;
}

void BomCardLoader::reportGone() {
    fail(ServiceTexts::loadFailed());
}

bool BomCardLoader::CheckRequired(const BomCard& card, int templateId) {
    const struct {
        const char* section;
        const RowSet* rows;
    } sections[] = {{"T", &card.header}, {"B", &card.lines}};
    for (const auto& section : sections) {
        const db::Rows required = db_.query(
            QStringLiteral("Select fieldname, carditemname, cardformula1 from voucheritems where "
                           "vt_id=? and cardsection=? and \"isnull\"=1 order by iorder"),
            {templateId, QLatin1String(section.section)});
        for (std::size_t i = 0; i < required.size(); ++i) {
            const QString field = required.text(i, "fieldname");
            if (isExemptFromRequired(field))
                continue;
            if (!isMissing(*section.rows, field, section.rows == &card.header))
                continue;
            QString caption = required.text(i, "cardformula1").trimmed();
            if (caption.isEmpty())
                caption = required.text(i, "carditemname");
            fail(caption + QStringLiteral("为必填项！"));
            return false;
        }
    }
    return true;
}

QString BomCardLoader::fieldCaption(const QString& fieldName) {
    static const QRegularExpression re(QStringLiteral("^(CFREE|CDEFINE|CINVDEFINE)(\\d+)$"));
    const auto match = re.match(fieldName.toUpper());
    if (!match.hasMatch())
        return {};
    const QString stored = db_.scalar(QStringLiteral("select cardformula1 from voucheritems where "
                                                     "cardnum='001' and COALESCE(cardformula1,'')"
                                                     "<>'' and lower(fieldname)=lower(?)"),
                                      {fieldName})
                               .toString();
    if (!stored.isEmpty())
        return stored;
    const QString kind = match.captured(1);
    const int n = match.captured(2).toInt();
    if (kind == QLatin1String("CFREE") && n >= 1 && n <= 10)
        return QStringLiteral("自由项%1").arg(n);
    if (kind == QLatin1String("CINVDEFINE") && n >= 1 && n <= 16)
        return QStringLiteral("存货自定义项%1").arg(n);
    if (kind == QLatin1String("CDEFINE") && n >= 1 && n <= 16)
        return QStringLiteral("表头自定义项%1").arg(n);
    if (kind == QLatin1String("CDEFINE") && n >= 22 && n <= 37)
        return QStringLiteral("表体自定义项%1").arg(n - 21);
    return {};
}

} // namespace bom::bomservice
