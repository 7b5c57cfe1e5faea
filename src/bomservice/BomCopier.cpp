#include "BomCopier.h"

#include "BomAccess.h"
#include "BomCardLoader.h"
#include "BomSaver.h"
#include "BomTree.h"
#include "BomValidator.h"
#include "ServiceTexts.h"
#include "db/DbError.h"
#include "db/Transaction.h"
#include "entry/Session.h"
#include "suite/Prompter.h"

#include <QSet>

namespace bom::bomservice {
namespace {

const QString kCard = QStringLiteral("PP30");

} // namespace

QString BomCopier::suggestSoCode(const QString& headerId) {
    db::Database& db = *session_.gConn;
    if (!BomAccess(session_).MayTouch(headerId))
        return {};
    const db::Rows source =
        db.query(QStringLiteral("select cpspcode, csocode from ProductStructure where iautoid=?"),
                 {headerId});
    const QString parent = source.text(0, "cpspcode");
    const QString code = source.text(0, "csocode").trimmed();
    QSet<QString> used;
    const db::Rows codes = db.query(
        QStringLiteral("select COALESCE(csocode,'') as csocode from ProductStructure where "
                       "cpspcode=?"),
        {parent});
    for (std::size_t i = 0; i < codes.size(); ++i)
        used.insert(codes.text(i, "csocode").trimmed());
    // Never three parts with a line number last, so a suggestion never links a sales order line.
    const QString base = code.isEmpty() ? parent : code;
    for (int n = 1;; ++n) {
        const QString candidate =
            QStringLiteral("%1-V%2").arg(base).arg(n, 2, 10, QLatin1Char('0'));
        if (!used.contains(candidate))
            return candidate;
    }
}

std::optional<BomCopier::Result> BomCopier::CopySingle(const QString& headerId,
                                                       const QString& soCode) {
    try {
        const auto voucher = BomCardLoader(session_).LoadTemplate(kCard);
        auto card = voucher ? copyOf(*voucher, headerId, soCode, {}) : std::nullopt;
        if (!card || !save(*card))
            return std::nullopt;
        const QString id = card->header.text(0, QStringLiteral("iautoid"));
        return Result{id, {id}};
    } catch (const db::DbError& e) {
        return failed(e);
    }
}

std::optional<BomCopier::Result> BomCopier::CopyAllLayer(const QString& headerId,
                                                         const QString& soCode) {
    try {
        const auto voucher = BomCardLoader(session_).LoadTemplate(kCard);
        if (!voucher)
            return std::nullopt;
        db::Transaction tx(*session_.gConn);
        QStringList boms = BomTree(session_).reachableBoms(headerId);
        if (boms.isEmpty())
            boms << headerId; // gone or hidden: its load says so
        const QSet<QString> copied(boms.begin(), boms.end());
        std::vector<BomCard> copies;
        for (const QString& id : boms) {
            auto card = copyOf(*voucher, id, soCode, copied);
            if (!card)
                return std::nullopt;
            copies.push_back(std::move(*card));
        }
        // Deepest first: the top, saved last, is the copy a sales order line links to.
        for (auto it = copies.rbegin(); it != copies.rend(); ++it) {
            if (!save(*it))
                return std::nullopt;
            if (afterEachCopy)
                afterEachCopy(it->header.text(0, QStringLiteral("iautoid")));
        }
        Result result;
        for (const BomCard& card : copies)
            result.created << card.header.text(0, QStringLiteral("iautoid"));
        result.topId = result.created.first();
        tx.commit();
        return result;
    } catch (const db::DbError& e) {
        return failed(e);
    }
}

std::optional<BomCard> BomCopier::copyOf(const VoucherTemplate& voucher, const QString& headerId,
                                         const QString& soCode, const QSet<QString>& copied) {
    auto card = BomCardLoader(session_).LoadBom(voucher, headerId);
    if (!card)
        return std::nullopt;
    RowSet& header = card->header;
    header.setValue(0, QStringLiteral("iautoid"), QString());
    for (const char* key : {"id", "qzts"})
        header.setValue(0, QLatin1String(key), QVariant());
    header.setValue(0, QStringLiteral("csocode"), soCode);
    header.setValue(0, QStringLiteral("ccheck"), QString());
    header.setValue(0, QStringLiteral("bmrcbbom"), QStringLiteral("否"));
    RowSet& lines = card->lines;
    for (int row : lines.allRows()) {
        // A line whose sub-BOM is copied too names that copy: same component, new order.
        if (copied.contains(lines.text(row, QStringLiteral("childguid"))))
            lines.setValue(row, QStringLiteral("csocode"), soCode);
        for (const char* key : {"autoid", "childguid"})
            lines.setValue(row, QLatin1String(key), QVariant());
        lines.setEditprop(row, QStringLiteral("A")); // oldautoid brings its substitutes
    }
    return card;
}

bool BomCopier::save(BomCard& card) {
    // What the card checks before it hands a copy to the save.
    const QString noRight = BomValidator(session_).CheckDepartmentRight(card);
    if (!noRight.isEmpty()) {
        session_.ShowInfo(noRight);
        return false;
    }
    QString result;
    QString error;
    return BomSaver(session_).SaveBom(card, kCard, 0, result, error);
}

std::optional<BomCopier::Result> BomCopier::failed(const db::DbError& error) {
    session_.prompter.info(QStringLiteral("复制失败！\n") + error.message(), ServiceTexts::title(),
                           16);
    return std::nullopt;
}

} // namespace bom::bomservice
