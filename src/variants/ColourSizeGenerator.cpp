#include "ColourSizeGenerator.h"

#include "ColourSizeTexts.h"
#include "bomservice/BomAccess.h"
#include "db/DbError.h"
#include "db/Transaction.h"
#include "db/TransactionRetry.h"
#include "entry/Session.h"
#include "suite/Prompter.h"

#include <QHash>
#include <algorithm>

namespace bom::variants {
namespace {

const QString kFreeItem = QStringLiteral("自由项");

} // namespace

ColourSizeGenerator::ColourSizeGenerator(entry::Session& session) : session_(session) {}

std::optional<ColourSizeGenerator::Mode> ColourSizeGenerator::modeOf(const QString& key) {
    if (key.compare(QLatin1String("pCopy"), Qt::CaseInsensitive) == 0)
        return Mode::Copy;
    if (key.compare(QLatin1String("pDelete"), Qt::CaseInsensitive) == 0)
        return Mode::Delete;
    return std::nullopt;
}

void ColourSizeGenerator::show(const QString& text, const QString& title, int style) {
    session_.prompter.info(text, title, style);
}

bool ColourSizeGenerator::Open(Mode mode, const QString& templateId) {
    mode_ = mode;
    templateId_ = templateId;
    databaseFailed_ = false;
    try {
        if (!readColumns()) {
            show(ColourSizeTexts::noColourSize(), ColourSizeTexts::gateTitle(), 0);
            return false;
        }
        if (!templateVisible()) {
            session_.ShowInfo(ColourSizeTexts::templateGone());
            return false;
        }
        readLists();
        return true;
    } catch (const db::DbError& e) {
        databaseFailed_ = true;
        show(ColourSizeTexts::failed(e.message()), ColourSizeTexts::title(), 16);
        return false;
    }
}

// The free items captioned 颜色 and 尺码 of the inventory class, as header columns.
bool ColourSizeGenerator::readColumns() {
    auto column = [this](const QString& caption, QString& name, int& id) {
        const db::Rows rows = session_.gConn->query(
            QStringLiteral("select cItem, cID from userdef where cClass=? and cItemName=? order "
                           "by cID"),
            {QStringLiteral("存货"), caption});
        if (rows.empty())
            return false;
        const QString item = rows.text(0, "citem");
        bool isNumber = false;
        const int number = item.mid(kFreeItem.size()).toInt(&isNumber);
        if (!item.startsWith(kFreeItem) || !isNumber || number < 1 || number > 10)
            return false;
        name = QStringLiteral("cfree%1").arg(number);
        id = rows.value(0, "cid").toInt();
        return true;
    };
    return column(QStringLiteral("颜色"), columns_.colour, colourId_) &&
           column(QStringLiteral("尺码"), columns_.size, sizeId_) &&
           columns_.colour != columns_.size;
}

bool ColourSizeGenerator::templateVisible() {
    db::Database& db = *session_.gConn;
    // Inside the run the template is held until it ends.
    const db::Rows row =
        db.query(QStringLiteral("select cpspcode from ProductStructure where iautoid=?") +
                     (db.transactionDepth() > 0 ? db.dialect().forShare() : QString()),
                 {templateId_});
    if (row.empty() || !bomservice::BomAccess(session_).MayTouch(templateId_))
        return false;
    parent_ = row.text(0, "cpspcode");
    parentName_ =
        db.scalar(QStringLiteral("select cInvName from Inventory where cInvCode=?"), {parent_})
            .toString();
    return true;
}

void ColourSizeGenerator::readLists() {
    db::Database& db = *session_.gConn;
    auto values = [&](int id) {
        const db::Rows rows = db.query(
            QStringLiteral("select f.cValue, d.cAlias from InventoryColorFree f left join "
                           "userdefine d on f.cID=d.cID where f.cValue=d.cValue and "
                           "f.cInvCode=? and f.cID=? order by COALESCE(d.cAlias,''), f.cValue"),
            {parent_, id});
        std::vector<FreeValue> out;
        for (std::size_t i = 0; i < rows.size(); ++i)
            out.push_back({rows.text(i, "cvalue"), rows.text(i, "calias")});
        return out;
    };
    sizes_ = values(sizeId_);
    colours_.clear();
    for (const FreeValue& colour : values(colourId_))
        colours_.push_back({colour, {}, {}});
    const db::Rows pairs = db.query(
        QStringLiteral("select distinct COALESCE(%1,''), COALESCE(%2,'') from ProductStructure "
                       "where cpspcode=?")
            .arg(columns_.colour, columns_.size),
        {parent_});
    QHash<QString, int> rowOf;
    for (std::size_t i = 0; i < colours_.size(); ++i)
        rowOf.insert(colours_[i].colour.code, int(i));
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const int row = rowOf.value(pairs.at(i).at(0).toString(), -1);
        if (row >= 0)
            colours_[std::size_t(row)].existing << pairs.at(i).at(1).toString();
    }
    for (ColourRow& row : colours_) {
        order(row.existing);
        row.chosen = row.existing;
    }
}

int ColourSizeGenerator::sizeIndex(const QString& size) const {
    const auto found = std::find_if(sizes_.begin(), sizes_.end(),
                                    [&](const FreeValue& value) { return value.code == size; });
    return found == sizes_.end() ? -1 : int(found - sizes_.begin());
}

// The size list's order; sizes outside it (BOMs made before it changed) after them by value.
void ColourSizeGenerator::order(QStringList& sizes) const {
    std::sort(sizes.begin(), sizes.end(), [this](const QString& a, const QString& b) {
        const int x = sizeIndex(a), y = sizeIndex(b);
        if (x < 0 || y < 0)
            return x == y ? a < b : x >= 0;
        return x < y;
    });
}

bool ColourSizeGenerator::isFixed(int colour, const QString& size) const {
    if (colour < 0 || std::size_t(colour) >= colours_.size())
        return true;
    const bool exists = colours_[std::size_t(colour)].existing.contains(size);
    return mode_ == Mode::Copy ? exists : !exists;
}

bool ColourSizeGenerator::isTicked(int colour, const QString& size) const {
    return colour >= 0 && std::size_t(colour) < colours_.size() &&
           colours_[std::size_t(colour)].chosen.contains(size);
}

bool ColourSizeGenerator::setTicked(int colour, const QString& size, bool ticked) {
    if (isFixed(colour, size))
        return isTicked(colour, size) == ticked;
    QStringList& chosen = colours_[std::size_t(colour)].chosen;
    chosen.removeAll(size);
    if (ticked) {
        chosen << size;
        order(chosen);
    }
    return true;
}

QString ColourSizeGenerator::chosenText(int colour) const {
    if (colour < 0 || std::size_t(colour) >= colours_.size())
        return {};
    return colours_[std::size_t(colour)].chosen.join(QLatin1Char(','));
}

void ColourSizeGenerator::TickAllSizes(int colour) {
    for (const FreeValue& size : sizes_)
        setTicked(colour, size.code, true);
}

void ColourSizeGenerator::ClearAll() {
    for (ColourRow& row : colours_)
        row.chosen = mode_ == Mode::Copy ? row.existing : QStringList();
}

void ColourSizeGenerator::ApplyToAllColours(int colour) {
    for (int other = 0; other < int(colours_.size()); ++other)
        if (other != colour)
            for (const FreeValue& size : sizes_)
                setTicked(other, size.code, isTicked(colour, size.code));
}

void ColourSizeGenerator::InvertSizes(int colour) {
    for (const FreeValue& size : sizes_)
        setTicked(colour, size.code, !isTicked(colour, size.code));
}

bool ColourSizeGenerator::ChooseExactly(const std::vector<VariantPair>& pairs) {
    std::vector<QStringList> chosen;
    for (const ColourRow& row : colours_)
        chosen.push_back(mode_ == Mode::Copy ? row.existing : QStringList());
    auto refuse = [this](const QString& text) {
        show(text, ColourSizeTexts::title(), 48);
        return false;
    };
    for (const VariantPair& pair : pairs) {
        const QString colour = pair.colour.trimmed(), size = pair.size.trimmed();
        const auto row = std::find_if(colours_.begin(), colours_.end(),
                                      [&](const ColourRow& r) { return r.colour.code == colour; });
        if (row == colours_.end())
            return refuse(ColourSizeTexts::unknownColour(colour, parent_));
        if (sizeIndex(size) < 0 && !row->existing.contains(size))
            return refuse(ColourSizeTexts::unknownSize(size, parent_));
        if (mode_ == Mode::Delete && !row->existing.contains(size))
            return refuse(ColourSizeTexts::noSuchPair(colour, size));
        QStringList& sizes = chosen[std::size_t(row - colours_.begin())];
        if (!sizes.contains(size))
            sizes << size;
    }
    for (std::size_t i = 0; i < colours_.size(); ++i) {
        colours_[i].chosen = chosen[i];
        order(colours_[i].chosen);
    }
    return true;
}

std::vector<VariantPair> ColourSizeGenerator::chosenPairs() const {
    std::vector<VariantPair> out;
    for (const ColourRow& row : colours_)
        for (const QString& size : row.chosen)
            out.push_back({row.colour.code, size});
    return out;
}

std::optional<ColourSizeGenerator::Result> ColourSizeGenerator::Run(const Progress& progress) {
    databaseFailed_ = false;
    db::Database& db = *session_.gConn;
    ColourSizeWriter::Outcome outcome;
    try {
        // The writer reads the template and the pairs there are inside the transaction, so an
        // attempt that collided with another session's is run again from the start.
        const bool written = db::TransactionRetry::run(db, [&] {
            db::Transaction tx(db);
            const QString setup = db.dialect().longTransactionSetup();
            if (!setup.isEmpty())
                db.exec(setup);
            ColourSizeWriter writer(session_, columns_);
            if (mode_ == Mode::Copy) {
                if (!templateVisible())
                    return false;
                outcome = writer.generate(templateId_, chosenPairs(), progress);
            } else {
                outcome = writer.remove(parent_, chosenPairs(), progress);
            }
            tx.commit();
            return true;
        });
        if (!written) {
            session_.ShowInfo(ColourSizeTexts::templateGone());
            return std::nullopt;
        }
    } catch (const ColourSizeWriter::Cancelled&) {
        Result cancelled;
        cancelled.cancelled = true;
        return cancelled;
    } catch (const db::DbError& e) {
        databaseFailed_ = true;
        show(ColourSizeTexts::failed(e.message()), ColourSizeTexts::title(), 16);
        return std::nullopt;
    }
    Result result{outcome.run, outcome.created, outcome.deleted, {}, false};
    QStringList report;
    for (const ColourSizeWriter::Kept& kept : outcome.kept) {
        result.kept << kept.headerId;
        report << ColourSizeTexts::kept(kept.itemName, kept.colour, kept.size, kept.salesOrder);
    }
    if (!report.isEmpty())
        show(report.join(QStringLiteral("\r\n")), ColourSizeTexts::reportTitle(),
             ColourSizeTexts::kReportStyle);
    return result;
}

} // namespace bom::variants
