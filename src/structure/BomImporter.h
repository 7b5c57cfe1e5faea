#pragma once

#include "bomservice/BomCardLoader.h"
#include "bomservice/RowSet.h"
#include "card/TemplateLayout.h"
#include "entry/SpreadsheetFile.h"
#include "suite/Prompter.h"

#include <QHash>

#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

namespace bom::entry {
class Session;
struct BomIdentity;
} // namespace bom::entry

namespace bom::card {
class CardDocument;
class CardEntryCheck;
} // namespace bom::card

namespace bom::structure {

// A row of the file an import refused, the field it stopped at (empty for the whole BOM) and
// why, in the words the card would have shown.
struct ImportRefusal {
    int row = 0; // as the spreadsheet numbers it: the heading is row 1
    QString field;
    QString message;

    bool operator==(const ImportRefusal&) const = default;
    // "第3行 ipsquantity：…" as a planner reads it; a refusal of the file or the database
    // (row 0) is its message alone.
    QString text() const;
};

// A BOM the import made or changed.
struct ImportedBom {
    QString parent;
    QString salesOrder;
    QStringList free; // the ten free items
    QString headerId; // the stored one for a change; a new one's once written
    bool created = false;
    int firstRow = 0;
    int lines = 0;
};

struct ImportResult {
    std::vector<ImportRefusal> refused;
    std::vector<ImportedBom> boms; // those made or changed
    QStringList unchanged;         // stored BOMs the file holds as they are: left alone
    bool written = false;          // false for a preview, and whenever anything was refused
    qlonglong run = 0;             // the run record of a written import, for undo
};

// BOMs from a spreadsheet in the layout a card exports to (cardSheet): a heading of field names
// as bomctl show prints them, the header's prefixed "header.", then one row per line. Rows
// with the same parent identity (header.cpspcode, header.csocode, header.cfree1 … cfree10)
// make one BOM: a stored one of that identity is changed to what the file holds (lines keyed
// by autoid kept and changed, the others added, stored lines missing from the file deleted),
// else a new one is made. Every value passes the card's entry checks, every BOM the save's
// checks and rights; any refusal stops the import with every refused row reported and nothing
// written. A written import is one transaction and a run of the run record.
class BomImporter {
public:
    explicit BomImporter(entry::Session& session);

    // `preview`: everything checked, nothing written.
    ImportResult Import(const QString& path, bool preview);
    // The planner's way: checked first, every refusal reported (nothing written), else asked
    // whether to go on, written and told. True when written.
    bool ImportAsked(const QString& path);
    // What a file with no BOM to make or change is told.
    static QString nothingToImport(const ImportResult& result);
    ImportResult Import(const std::vector<QStringList>& rows, bool preview);

    // A card in the import layout: header fields repeated on every line (one row when it has
    // no line), numbers with the decimals the card shows them with.
    static entry::Sheet cardSheet(const bomservice::BomCard& card, const card::CardLayout& layout);

    static constexpr const char* kHeaderPrefix = "header.";

private:
    struct Group;
    // One group's entries under way: its card, the check, and where refusals go.
    struct Entering {
        Group& group;
        ImportResult& result;
        suite::PrompterRelay::Collecting& collecting;
        card::CardDocument* document;
        card::CardEntryCheck* check;
        void refuse(int row, const QString& field, const QString& text);
    };
    // Checks everything, then writes when `goOn` says so for what the checks found.
    using GoOn = std::function<bool(const ImportResult& checked)>;
    ImportResult run(const QString& path, const GoOn& goOn);
    ImportResult run(const std::vector<QStringList>& rows, const GoOn& goOn);
    bool readHeading(const QStringList& heading, ImportResult& result);
    std::vector<Group> groups(const std::vector<QStringList>& rows, ImportResult& result);
    bool prepare(Group& group, ImportResult& result);
    bool enterHeader(Entering& entering);
    void enterLines(Entering& entering);
    QStringList changedFields(const QStringList& fields, const QStringList& cells,
                              const QHash<QString, QString>& baseline, bool header,
                              bool fresh) const;
    bool write(std::vector<Group>& groups, ImportResult& result);
    static ImportedBom imported(const Group& group);

    entry::Session& session_;
    const std::vector<QStringList>* rows_ = nullptr; // the file's rows while one is imported
    QString description_;
    QStringList headerFields_; // by column of the file; empty where a line field stands
    QStringList lineFields_;
    std::optional<bomservice::VoucherTemplate> voucher_; // the card's template and its layout
    card::CardLayout layout_;
};

} // namespace bom::structure
