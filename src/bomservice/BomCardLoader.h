#pragma once

#include "RowSet.h"

#include <QString>
#include <optional>
#include <vector>

namespace bom::db {
class Database;
}
namespace bom::entry {
class Session;
}
namespace bom::suite {
class Prompter;
}

namespace bom::bomservice {

// A card as the account's template tables define it.
struct VoucherTemplate {
    QString cardNumber;
    QString BTTblName; // header table
    QString BWTblName; // body table
    QString BTQName;   // header view
    QString BWQName;   // body view
    bool HaveBodyGrid = true;
    QString cCardName;
    int DEF_ID = 0;
};

struct TemplateChoice {
    QString name;
    int id = 0;
};

// Reads card templates and loads BOM cards into row sets for the session's operator. Failures
// are shown through the Prompter with the card's title "BOM维护"; database errors throw
// db::DbError.
class BomCardLoader {
public:
    explicit BomCardLoader(entry::Session& session);

    // "单据模板不存在。" when the card has no template, or names a table or view the schema
    // does not define.
    std::optional<VoucherTemplate> LoadTemplate(const QString& cardNumber);
    // The same without a message, for callers that report the failure their own way.
    std::optional<VoucherTemplate> findTemplate(const QString& cardNumber);
    std::vector<TemplateChoice> ListTemplates(const QString& cardNumber);
    std::optional<TemplateChoice> templateById(int templateId);

    // Empty header and body with the views' columns.
    BomCard NewCard(const VoucherTemplate& card);
    // "单据加载失败，请刷新后重试！" when the BOM is gone or hidden from the operator. Lines start
    // unchanged, with their autoid as oldautoid.
    std::optional<BomCard> LoadBom(const VoucherTemplate& card, const QString& headerId);
    // The rows of a card read by one key: the header view where `headerKey` equals `id`, the
    // body view where `bodyKey` does, with the `bodyExtra` columns added, in `bodyOrder`.
    // Keys, extra columns and order are the caller's SQL text, never a value.
    BomCard readCard(const VoucherTemplate& card, const QString& headerKey, const QString& bodyKey,
                     const QVariant& id, const QString& bodyExtra, const QString& bodyOrder);
    // What a card whose BOM is gone or hidden says: "单据加载失败，请刷新后重试！".
    void reportGone();

    // The first required field left empty is reported as its caption + "为必填项！".
    bool CheckRequired(const BomCard& card, int templateId);
    // The display name of a free item or user-defined field, with its fixed fall-back; other
    // fields answer empty.
    QString fieldCaption(const QString& fieldName);

private:
    QString columnList(const QString& view);
    void fail(const QString& message);

    entry::Session& session_;
    db::Database& db_;
    suite::Prompter& prompter_;
};

} // namespace bom::bomservice
