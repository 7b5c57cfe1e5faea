#include "BomImporter.h"

#include "bomservice/BomAccess.h"
#include "bomservice/BomCardLoader.h"
#include "bomservice/BomHistory.h"
#include "bomservice/BomRuns.h"
#include "bomservice/BomSaver.h"
#include "bomservice/BomValidator.h"
#include "bomservice/Guards.h"
#include "card/CardDocument.h"
#include "card/CardEntryCheck.h"
#include "card/TemplateLayout.h"
#include "card/clsVoucher.h"
#include "db/BoundList.h"
#include "db/Database.h"
#include "db/DbError.h"
#include "db/Transaction.h"
#include "entry/BomIdentity.h"
#include "entry/Session.h"
#include "entry/VoucherHelpers.h"

#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <algorithm>

namespace bom::structure {
namespace {

using bomservice::BomCard;
using Collecting = suite::PrompterRelay::Collecting;

const QString kCardNumber = QLatin1String(card::clsVoucher::kCardNumber);
const QString kAutoid = QStringLiteral("autoid");
const QString kComponent = QStringLiteral("cpscode");

// The header fields that make a BOM's identity, entered first: the rest depend on them.
QStringList identityFields() {
    QStringList out{QStringLiteral("cpspcode"), QStringLiteral("csocode")};
    for (int n = 1; n <= 10; ++n)
        out << QStringLiteral("cfree%1").arg(n);
    return out;
}

QString joined(const std::vector<suite::PrompterRelay::Message>& messages) {
    QStringList texts;
    for (const auto& m : messages)
        texts << m.text;
    return texts.join(QLatin1Char('\n'));
}

QStringList columnsOf(const bomservice::RowSet& rows) {
    QStringList out;
    for (const auto& column : rows.columns())
        out << column.name.toLower();
    return out;
}

} // namespace

struct BomImporter::Group {
    entry::BomIdentity identity;
    std::vector<int> rows; // indexes into the file's rows, heading excluded
    int firstRow = 0;      // as the spreadsheet numbers it
    std::optional<BomCard> stored;
    BomCard card;
    int mode = 0; // 0 new, 1 a change of the stored one
};

BomImporter::BomImporter(entry::Session& session) : session_(session) {}

ImportResult BomImporter::Import(const QString& path, bool preview) {
    return run(path, [preview](const ImportResult&) { return !preview; });
}

ImportResult BomImporter::Import(const std::vector<QStringList>& rows, bool preview) {
    return run(rows, [preview](const ImportResult&) { return !preview; });
}

ImportResult BomImporter::run(const QString& path, const GoOn& goOn) {
    description_ = QFileInfo(path).fileName();
    QString error;
    const auto rows = entry::SpreadsheetFile::read(path, &error);
    if (!rows) {
        ImportResult result;
        result.refused.push_back({0, QString(), error});
        return result;
    }
    return run(*rows, goOn);
}

ImportResult BomImporter::run(const std::vector<QStringList>& rows, const GoOn& goOn) {
    ImportResult result;
    if (rows.empty() || !readHeading(rows.front(), result))
        return result;
    rows_ = &rows;
    if (description_.isEmpty())
        description_ = QStringLiteral("%1 行").arg(rows.size() - 1);
    std::vector<Group> found = groups(rows, result);
    try {
        for (Group& group : found)
            prepare(group, result);
        if (!result.refused.empty())
            return result;
        // A stored BOM the file leaves as it is is not saved again: no new version, no run.
        // Compared as the save's history would compare it, with the stored values as stored.
        bomservice::BomHistory history(*session_.gConn);
        std::erase_if(found, [&](const Group& group) {
            const QString id = group.card.header.text(0, QStringLiteral("iautoid"));
            const bool same =
                group.mode == 1 &&
                bomservice::BomHistory::diff(history.readStored(id), group.card).empty();
            if (same)
                result.unchanged << id;
            return same;
        });
        if (found.empty())
            return result;
        for (const Group& group : found)
            result.boms.push_back(imported(group));
        if (!goOn(result))
            return result;
        result.written = write(found, result);
    } catch (const db::DbError& e) {
        result.refused.push_back({0, QString(), e.message()});
        result.written = false;
    }
    return result;
}

// The heading names fields of the card: "header.<field>" for the header, bare for a line.
bool BomImporter::readHeading(const QStringList& heading, ImportResult& result) {
    // Every BOM of the file is laid out by the same template: read once.
    bomservice::BomCardLoader loader(session_);
    voucher_ = loader.LoadTemplate(kCardNumber);
    if (voucher_)
        layout_ = card::TemplateLayout(session_).display(voucher_->DEF_ID, voucher_->HaveBodyGrid);
    if (!voucher_ || (layout_.header.empty() && layout_.body.empty())) {
        result.refused.push_back({1, QString(), QStringLiteral("单据模板不存在。")});
        return false;
    }
    const BomCard shape = loader.NewCard(*voucher_);
    const QStringList headerColumns = columnsOf(shape.header);
    const QStringList lineColumns = columnsOf(shape.lines);
    const QString prefix = QLatin1String(kHeaderPrefix);
    QSet<QString> seen;
    headerFields_.clear();
    lineFields_.clear();
    for (const QString& cell : heading) {
        const QString name = cell.trimmed().toLower();
        const bool header = name.startsWith(prefix);
        const QString field = header ? name.mid(prefix.size()) : name;
        auto refuse = [&](const QString& message) { result.refused.push_back({1, cell, message}); };
        if (name.isEmpty())
            refuse(QStringLiteral("标题行不能有空列"));
        else if (seen.contains(name))
            refuse(QStringLiteral("字段重复：%1").arg(cell));
        else if (!(header ? headerColumns : lineColumns).contains(field) ||
                 field == QLatin1String("editprop") || field == QLatin1String("oldautoid"))
            refuse(QStringLiteral("不是物料清单的字段：%1").arg(cell));
        seen.insert(name);
        headerFields_ << (header ? field : QString());
        lineFields_ << (header ? QString() : field);
    }
    if (!headerFields_.contains(QStringLiteral("cpspcode")))
        result.refused.push_back({1, prefix + QStringLiteral("cpspcode"),
                                  QStringLiteral("缺少母件编码字段 header.cpspcode")});
    return result.refused.empty();
}

std::vector<BomImporter::Group> BomImporter::groups(const std::vector<QStringList>& rows,
                                                    ImportResult& result) {
    const QString prefix = QLatin1String(kHeaderPrefix);
    std::vector<Group> out;
    QHash<QString, std::size_t> byKey;
    for (std::size_t i = 1; i < rows.size(); ++i) {
        const QStringList& row = rows[i];
        const int number = int(i) + 1;
        if (std::all_of(row.begin(), row.end(),
                        [](const QString& c) { return c.trimmed().isEmpty(); }))
            continue;
        auto cell = [&](const QString& field) {
            const int at = int(headerFields_.indexOf(field));
            return at < 0 ? QString() : row.value(at).trimmed();
        };
        entry::BomIdentity identity{
            cell(QStringLiteral("cpspcode")), cell(QStringLiteral("csocode")), {}};
        for (int n = 1; n <= 10; ++n)
            identity.free[std::size_t(n - 1)] = cell(QStringLiteral("cfree%1").arg(n));
        if (identity.code.isEmpty()) {
            result.refused.push_back(
                {number, prefix + QStringLiteral("cpspcode"), QStringLiteral("母件编码不能为空")});
            continue;
        }
        QStringList keyParts{identity.code, identity.salesOrder};
        for (const QString& free : identity.free)
            keyParts << free;
        const QString key = keyParts.join(QChar(0x1F));
        auto known = byKey.constFind(key);
        if (known == byKey.cend()) {
            known = byKey.insert(key, out.size());
            out.push_back({identity, {}, number, std::nullopt, {}, 0});
        }
        Group& group = out[*known];
        // Header fields are repeated on every line of a BOM and must agree.
        if (!group.rows.empty()) {
            const QStringList& first = rows[std::size_t(group.rows.front())];
            for (qsizetype c = 0; c < headerFields_.size(); ++c)
                if (!headerFields_[c].isEmpty() &&
                    !entry::VoucherHelpers::SameValue(first.value(c), row.value(c)))
                    result.refused.push_back(
                        {number, prefix + headerFields_[c],
                         QStringLiteral("同一物料清单各行的表头必须相同（与第%1行不同）")
                             .arg(group.firstRow)});
        }
        group.rows.push_back(int(i));
    }
    return out;
}

// The card the group's rows make, through the card's entry checks: the stored BOM of that
// identity changed to them, else a new one. Every refusal is kept with its row and field.
bool BomImporter::prepare(Group& group, ImportResult& result) {
    const std::size_t before = result.refused.size();
    Collecting collecting(session_.relay);
    Entering entering{group, result, collecting, nullptr, nullptr};
    bomservice::BomCardLoader loader(session_);
    card::CardDocument document(session_);
    document.useTemplate(*voucher_, layout_, voucher_->DEF_ID);
    const QString storedId = bomservice::BomAccess(session_).BomOfIdentity(group.identity);
    if (!storedId.isEmpty()) {
        if (!bomservice::BomGuards(session_).CheckModifiable(storedId) ||
            !(group.stored = loader.LoadBom(*voucher_, storedId))) {
            entering.refuse(group.firstRow, QString(), QString());
            return false;
        }
        group.mode = 1;
        document.setVoucherData(*group.stored);
    } else {
        document.AddNew();
    }
    document.setVoucherStatus(1);
    document.setEditStatus(1);
    card::CardEntryCheck check(session_, document);
    entering.document = &document;
    entering.check = &check;
    // Lines mean nothing under a parent the card would not take.
    if (enterHeader(entering))
        enterLines(entering);
    if (result.refused.size() != before)
        return false;
    group.card = document.getVoucherData();
    bomservice::BomValidator validator(session_);
    const QString noRight = validator.CheckDepartmentRight(group.card);
    if (!noRight.isEmpty()) {
        entering.refuse(group.firstRow, QString(), noRight);
        return false;
    }
    if (!validator.ValidateBom(group.card, group.mode)) {
        entering.refuse(group.firstRow, QString(), QString());
        return false;
    }
    return true;
}

// A refusal with its row and field; without a text, the messages the check showed.
void BomImporter::Entering::refuse(int row, const QString& field, const QString& text) {
    const QString shown = text.isEmpty() ? joined(collecting.take()) : text;
    result.refused.push_back({row, field, shown});
}

// The fields of one row of the file that the operator changed: those whose value differs from
// `baseline` (the card as it was before this row's entries), leaving out a name where its
// code is in the file (the code fills it) and, on a new line, what follows from a field the
// file gives (the auxiliary quantity, the material cost).
QStringList BomImporter::changedFields(const QStringList& fields, const QStringList& cells,
                                       const QHash<QString, QString>& baseline, bool header,
                                       bool fresh) const {
    static const QHash<QString, QString> headerNames{
        {"cinvname", "cpspcode"}, {"cdepname", "cdepcode"}, {"routname", "routcode"}};
    static const QHash<QString, QString> lineNames{
        {"cinvname", "cpscode"}, {"ccaacomunitname", "ccaacomunitcode"}, {"cwhname", "cwhcode"}};
    static const QHash<QString, QString> derived{
        {"unitqty", "ipsquantity"}, {"fbzwlcb", "fbzdj"}, {"fbzcb", "fbzrgcb"}};
    const QHash<QString, QString>& names = header ? headerNames : lineNames;
    QStringList out;
    for (qsizetype c = 0; c < fields.size(); ++c) {
        const QString& field = fields[c];
        if (field.isEmpty() || field == kAutoid ||
            entry::VoucherHelpers::SameValue(baseline.value(field), cells.value(c)))
            continue;
        if (names.contains(field) && fields.contains(names.value(field)))
            continue;
        if (fresh && derived.contains(field) && fields.contains(derived.value(field)))
            continue;
        out << field;
    }
    return out;
}

// False when the parent itself was refused.
bool BomImporter::enterHeader(Entering& e) {
    card::CardDocument& document = *e.document;
    const QStringList& first = (*rows_)[std::size_t(e.group.rows.front())];
    QHash<QString, QString> baseline;
    for (const QString& field : headerFields_)
        if (!field.isEmpty())
            baseline.insert(field, document.headerText(field));
    const QStringList changed =
        changedFields(headerFields_, first, baseline, true, e.group.mode == 0);
    // The identity first: what the rest is checked against depends on it.
    QStringList order;
    for (const QString& field : identityFields())
        if (changed.contains(field))
            order << field;
    for (const QString& field : changed)
        if (!order.contains(field))
            order << field;
    bool parentTaken = true;
    for (const QString& field : order) {
        if (!e.check->takesEntry(field, true))
            continue; // what the system fills follows from the rest
        const QString value = first.value(headerFields_.indexOf(field));
        if (const auto no = e.check->checkHeader(field, value)) {
            e.refuse(e.group.firstRow, QLatin1String(kHeaderPrefix) + field, no->text);
            parentTaken = parentTaken && field != QLatin1String("cpspcode");
        }
    }
    return parentTaken;
}

// The lines: a stored one by its autoid, any other added with its item first; stored lines the
// file leaves out are deleted.
void BomImporter::enterLines(Entering& e) {
    card::CardDocument& document = *e.document;
    QHash<QString, int> storedRows;
    for (int row = 0; row < document.BodyRows(); ++row)
        storedRows.insert(document.bodyText(row, kAutoid), row);
    const int stored = document.BodyRows();
    QSet<int> kept;
    const int autoidAt = int(lineFields_.indexOf(kAutoid));
    const int itemAt = int(lineFields_.indexOf(kComponent));
    for (int index : e.group.rows) {
        const QStringList& cells = (*rows_)[std::size_t(index)];
        const int number = index + 1;
        const QString autoid = autoidAt < 0 ? QString() : cells.value(autoidAt).trimmed();
        int row = autoid.isEmpty() ? -1 : storedRows.value(autoid, -1);
        const bool fresh = row < 0;
        if (fresh) {
            const QString item = itemAt < 0 ? QString() : cells.value(itemAt).trimmed();
            if (item.isEmpty()) {
                e.refuse(number, kComponent, QStringLiteral("子件编码不能为空"));
                continue;
            }
            document.AddLine();
            row = document.BodyRows() - 1;
            document.setCurrentRow(row);
            // The item fills the line; its other fields mean nothing without it.
            if (const auto no = e.check->checkBody(row, kComponent, item)) {
                e.refuse(number, kComponent, no->text);
                continue;
            }
        }
        kept.insert(row);
        document.setCurrentRow(row);
        QHash<QString, QString> baseline;
        for (const QString& field : lineFields_)
            if (!field.isEmpty())
                baseline.insert(field, document.bodyText(row, field));
        for (const QString& field : changedFields(lineFields_, cells, baseline, false, fresh))
            if (!e.check->takesEntry(field, false))
                continue; // what the system fills follows from the rest
            else if (const auto no =
                         e.check->checkBody(row, field, cells.value(lineFields_.indexOf(field))))
                e.refuse(number, field, no->text);
    }
    // From the last, so the rows before keep their place.
    for (int row = stored - 1; row >= 0; --row)
        if (!kept.contains(row))
            document.DelLine(row);
}

ImportedBom BomImporter::imported(const Group& group) {
    return {group.identity.code,
            group.identity.salesOrder,
            QStringList(group.identity.free.begin(), group.identity.free.end()),
            group.card.header.text(0, QStringLiteral("iautoid")),
            group.mode == 0,
            group.firstRow,
            int(group.card.lines.notDeletedRows().size())};
}

// The stored BOM of an identity the operator may see; empty when there is none.

// Every BOM saved in one transaction, recorded as a run so that it can be undone.
bool BomImporter::write(std::vector<Group>& groups, ImportResult& result) {
    db::Database& db = *session_.gConn;
    Collecting collecting(session_.relay);
    db::Transaction tx(db);
    const QString setup = db.dialect().longTransactionSetup();
    if (!setup.isEmpty())
        db.exec(setup);
    bomservice::BomRuns runs(session_);
    const qlonglong run = runs.Begin(QStringLiteral("import"), description_);
    QStringList changed;
    for (const Group& group : groups)
        if (group.mode == 1)
            changed << group.card.header.text(0, QStringLiteral("iautoid"));
    if (!changed.isEmpty()) {
        runs.Touched(run, changed, QStringLiteral("M"));
        const db::SqlCondition headers =
            db::BoundList::in(db.dialect(), QStringLiteral("iautoid"), changed);
        const db::SqlCondition lines =
            db::BoundList::in(db.dialect(), QStringLiteral("ipid"), changed);
        runs.KeepHeaders(run, headers);
        runs.KeepLines(run, lines);
        runs.KeepOptions(run, db::sqlText(QStringLiteral("AutoID in (select autoid from "
                                                         "ProductStructures where ")) +
                                  lines + db::sqlText(QStringLiteral(")")));
    }
    QStringList created;
    bomservice::BomSaver saver(session_);
    saver.deferDerived();
    saver.partOfRun(run);
    for (Group& group : groups) {
        QString shown, error;
        if (!saver.SaveBom(group.card, kCardNumber, group.mode, shown, error)) {
            const QString messages = joined(collecting.take());
            result.refused.push_back(
                {group.firstRow, QString(), messages.isEmpty() ? shown : messages});
            return false;
        }
        if (group.mode == 0)
            created << group.card.header.text(0, QStringLiteral("iautoid"));
    }
    saver.finishDeferred();
    result.boms.clear();
    for (const Group& group : groups)
        result.boms.push_back(imported(group));
    if (!changed.isEmpty()) // the lines the changed BOMs did not have before
        runs.Created(run, db::sqlText(QStringLiteral("select ipid, autoid from ProductStructures "
                                                     "where ")) +
                              db::BoundList::in(db.dialect(), QStringLiteral("ipid"), changed) +
                              db::SqlCondition{QStringLiteral(" and autoid not in (select autoid "
                                                              "from sys_bom_run_line where "
                                                              "irunid=?)"),
                                               {run}});
    if (!created.isEmpty()) {
        runs.Touched(run, created, QStringLiteral("C"));
        runs.Created(run, db::sqlText(QStringLiteral("select iautoid, CAST(NULL AS BIGINT) from "
                                                     "ProductStructure where ")) +
                              db::BoundList::in(db.dialect(), QStringLiteral("iautoid"), created));
    }
    runs.Finish(run);
    tx.commit();
    result.run = run;
    return true;
}

entry::Sheet BomImporter::cardSheet(const BomCard& card, const card::CardLayout& layout) {
    entry::Sheet sheet;
    sheet.title = card.header.text(0, QStringLiteral("cpspcode"));
    std::vector<int> headerColumns, lineColumns;
    auto add = [&](const bomservice::RowSet& rows, bool header, std::vector<int>& taken) {
        for (std::size_t c = 0; c < rows.columns().size(); ++c) {
            const QString name = rows.columns()[c].name.toLower();
            if (name == QLatin1String("editprop") || name == QLatin1String("oldautoid"))
                continue;
            const card::CardField* field =
                header ? layout.headerField(name) : layout.bodyField(name);
            const QString shown = header ? QLatin1String(kHeaderPrefix) + name : name;
            sheet.columns.push_back({shown, shown, field ? field->decimals : -1});
            taken.push_back(int(c));
        }
    };
    add(card.header, true, headerColumns);
    add(card.lines, false, lineColumns);
    QVariantList header;
    for (int c : headerColumns)
        header << (card.header.rowCount() ? card.header.cell(0, c) : QVariant());
    const std::vector<int> lines = card.lines.notDeletedRows();
    if (lines.empty())
        sheet.rows.push_back(header + QVariantList(qsizetype(lineColumns.size())));
    for (int row : lines) {
        QVariantList cells = header;
        for (int c : lineColumns)
            cells << card.lines.cell(row, c);
        sheet.rows.push_back(cells);
    }
    return sheet;
}

QString ImportRefusal::text() const {
    if (row <= 0) // the file or the database, not a row
        return message;
    return field.isEmpty() ? QStringLiteral("第%1行：%2").arg(row).arg(message)
                           : QStringLiteral("第%1行 %2：%3").arg(row).arg(field, message);
}

QString BomImporter::nothingToImport(const ImportResult& result) {
    return result.unchanged.isEmpty()
               ? QStringLiteral("文件中没有物料清单。")
               : QStringLiteral("文件中的%1个物料清单与已存的相同，没有要导入的内容。")
                     .arg(result.unchanged.size());
}

bool BomImporter::ImportAsked(const QString& path) {
    static const QString title = QStringLiteral("导入物料清单");
    auto report = [&](const std::vector<ImportRefusal>& refused) {
        // The first refusals in full; a file with hundreds of bad rows says how many more.
        constexpr std::size_t shown = 20;
        QStringList lines{
            QStringLiteral("以下%1行未通过检查，没有导入任何物料清单：").arg(refused.size())};
        for (std::size_t i = 0; i < std::min(shown, refused.size()); ++i)
            lines << refused[i].text();
        if (refused.size() > shown)
            lines << QStringLiteral("……另有%1行").arg(refused.size() - shown);
        session_.prompter.info(lines.join(QLatin1Char('\n')), title, 48);
    };
    // One pass: what the checks found decides whether to ask, the answer whether to write.
    const ImportResult done = run(path, [&](const ImportResult& checked) {
        const auto created = std::count_if(checked.boms.begin(), checked.boms.end(),
                                           [](const ImportedBom& b) { return b.created; });
        return session_.prompter.ask(
                   QStringLiteral("将导入%1个物料清单（新增%2个，修改%3个），是否继续？")
                       .arg(checked.boms.size())
                       .arg(created)
                       .arg(qsizetype(checked.boms.size()) - created),
                   title, 4 + 32) == suite::Prompter::Answer::Yes;
    });
    if (!done.refused.empty()) {
        report(done.refused);
        return false;
    }
    if (done.boms.empty()) {
        session_.prompter.info(nothingToImport(done), title, 48);
        return false;
    }
    if (!done.written)
        return false; // the planner said no
    session_.prompter.info(QStringLiteral("已导入%1个物料清单（第%2号批量操作，可撤销）。")
                               .arg(done.boms.size())
                               .arg(done.run),
                           title, 64);
    return true;
}

} // namespace bom::structure
