#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::variants {

// One colour and one size of the parent item.
struct VariantPair {
    QString colour;
    QString size;
};

// The header columns of the account's colour and size free items ("cfree1" … "cfree10").
struct FreeItemColumns {
    QString colour;
    QString size;
};

// Writes a colour/size run inside the caller's transaction, set-based: per block of BOMs one
// statement for the headers, one for their lines and one for the lines' substitutes (or, when
// deleting, one per kind of row kept and removed), then the run record, child links, quantity
// totals, history and visibility of all of them at once.
class ColourSizeWriter {
public:
    // Called after each block with the BOMs done and their total; false cancels the run.
    using Progress = std::function<bool(int done, int total)>;
    // Thrown when the progress callback asked to stop; the caller's transaction rolls back.
    struct Cancelled {};

    // A BOM a deletion leaves alone: approved or the default cost BOM of its parent.
    struct Kept {
        QString headerId;
        QString itemName;
        QString colour;
        QString size;
        QString salesOrder;
    };
    struct Outcome {
        qlonglong run = 0; // 0: nothing was written
        QStringList created;
        QStringList deleted;
        std::vector<Kept> kept;
    };

    static constexpr int kLinesPerBlock = 10000;
    static constexpr const char* kGenerate = "variants-generate";
    static constexpr const char* kDelete = "variants-delete";

    ColourSizeWriter(entry::Session& session, FreeItemColumns columns)
        : session_(session), columns_(std::move(columns)) {}

    // A new BOM per pair that the parent has none of yet (pairs named twice count once),
    // copied from the template with new keys.
    Outcome generate(const QString& templateId, const std::vector<VariantPair>& pairs,
                     const Progress& progress);
    // Every BOM of the parent in one of the pairs that the operator may touch: approved and
    // default-cost BOMs are kept, the others go with their lines and substitutes.
    Outcome remove(const QString& parent, const std::vector<VariantPair>& pairs,
                   const Progress& progress);

private:
    using Block = std::vector<std::pair<QString, VariantPair>>; // new header id and its pair
    // The template's lines in order, and those with substitutes by their component identity.
    struct TemplateLines {
        QList<qlonglong> autoids;
        QHash<QStringList, QList<qlonglong>> withOptions;
    };
    TemplateLines templateLines(const QString& templateId);
    void insertHeaders(const QString& templateId, const Block& block);
    // The lines of every header of the block, in the template's order, and each template
    // line's substitutes on its match.
    void insertLines(const TemplateLines& lines, const QStringList& headerIds);
    void recordCreated(qlonglong run, const QString& parent, const QStringList& created);
    void removeBlock(qlonglong run, const QStringList& headerIds);
    // The run's description: the parent and the pairs it made or removed.
    static QString describe(const QString& parent, const std::vector<VariantPair>& pairs);
    std::vector<VariantPair> freshPairs(const QString& parent,
                                        const std::vector<VariantPair>& pairs);

    entry::Session& session_;
    FreeItemColumns columns_;
};

} // namespace bom::variants
