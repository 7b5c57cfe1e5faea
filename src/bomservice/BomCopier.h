#pragma once

#include "RowSet.h"

#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

namespace bom::db {
class DbError;
}
namespace bom::entry {
class Session;
}

namespace bom::bomservice {

struct VoucherTemplate;

// Copies of a stored BOM under a new sales-order (version) code. Copies are unapproved, not
// the default-cost BOM, and carry their substitutes. Refusals are shown through the Prompter.
class BomCopier {
public:
    struct Result {
        QString topId;       // the copy of the BOM asked for
        QStringList created; // every new iautoid, top first
    };

    explicit BomCopier(entry::Session& session) : session_(session) {}

    // A code no BOM of this parent uses yet, to prefill the question for the new code.
    QString suggestSoCode(const QString& headerId);

    // One level: the BOM's card saved as a new card under `soCode` through the whole save
    // (its checks and messages apply).
    std::optional<Result> CopySingle(const QString& headerId, const QString& soCode);

    // Every level, in one transaction: the BOM and every BOM below it (followed through the
    // lines' childguid), a shared sub-assembly copied once, each copied line pointing at the
    // copy of its sub-BOM. Any failure leaves nothing.
    std::optional<Result> CopyAllLayer(const QString& headerId, const QString& soCode);

    // Called after each BOM copied inside CopyAllLayer's transaction (tests inject failures by
    // throwing from it).
    std::function<void(const QString& newId)> afterEachCopy;

private:
    // The stored card as a new card under `soCode`: unapproved, not the default cost BOM, every
    // line added and bringing its substitutes; lines whose sub-BOM is in `copied` take the new
    // code too, so that they name its copy. Empty when the BOM is gone or hidden (said so).
    std::optional<BomCard> copyOf(const VoucherTemplate& voucher, const QString& headerId,
                                  const QString& soCode, const QSet<QString>& copied);
    bool save(BomCard& card);
    std::optional<Result> failed(const db::DbError& error);

    entry::Session& session_;
};

} // namespace bom::bomservice
