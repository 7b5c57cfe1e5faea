#pragma once

#include "ColourSizeWriter.h"

#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::variants {

// One colour or size the parent item comes in: its value and its alias.
struct FreeValue {
    QString code;
    QString alias;
};

// A row of the colour list: the colour, its sizes that have a BOM already, and the sizes the
// run acts on ("已选尺码"), in the size list's order.
struct ColourRow {
    FreeValue colour;
    QStringList existing;
    QStringList chosen;
};

// The colour/size window's logic (FrmNewCS): from a template BOM, one BOM per colour and size
// made (copy mode, "pCopy") or removed (delete mode, "pDelete"). Open reads the colours and
// sizes of the template's parent item and marks the pairs that have BOMs; the window ticks
// sizes per colour through the choice calls; Run writes the run in one transaction with a run
// record, so it can be undone (bomservice::BomRuns). Messages go through the session's
// prompter.
class ColourSizeGenerator {
public:
    enum class Mode { Copy, Delete };
    using Progress = ColourSizeWriter::Progress;
    struct Result {
        qlonglong run = 0; // 0: nothing was written
        QStringList created;
        QStringList deleted;
        QStringList kept; // BOMs a deletion left alone
        bool cancelled = false;
    };

    explicit ColourSizeGenerator(entry::Session& session);

    // "pCopy" or "pDelete", in any case.
    static std::optional<Mode> modeOf(const QString& key);

    // False, its message shown, when the account lacks the colour or size free item, or the
    // template is gone or hidden from the operator ("当前选中的已被删除!").
    bool Open(Mode mode, const QString& templateId);

    Mode mode() const { return mode_; }
    const QString& templateId() const { return templateId_; }
    const QString& parentCode() const { return parent_; }
    const QString& parentName() const { return parentName_; }
    const FreeItemColumns& columns() const { return columns_; }
    const std::vector<ColourRow>& colours() const { return colours_; }
    const std::vector<FreeValue>& sizes() const { return sizes_; }

    // Whether a size of a colour keeps its tick: copying, a pair that has a BOM stays ticked
    // (it is skipped anyway); deleting, only pairs that have a BOM may be ticked.
    bool isFixed(int colour, const QString& size) const;
    bool isTicked(int colour, const QString& size) const;
    // False when the tick is fixed.
    bool setTicked(int colour, const QString& size, bool ticked);
    // The row's "已选尺码": its chosen sizes joined by ",".
    QString chosenText(int colour) const;

    // The four selection commands: every size of one colour ticked; every colour's choice
    // cleared; one colour's sizes given to every colour; one colour's ticks turned over. Fixed
    // ticks stay as they are.
    void TickAllSizes(int colour);
    void ClearAll();
    void ApplyToAllColours(int colour);
    void InvertSizes(int colour);

    // Exactly these pairs chosen, as if ticked one by one (bomctl). Refused, its message shown
    // and the choice unchanged, when a colour or size is not the item's, or, deleting, a pair
    // has no BOM.
    bool ChooseExactly(const std::vector<VariantPair>& pairs);
    // Every chosen pair: colours in list order, each with its sizes in order.
    std::vector<VariantPair> chosenPairs() const;

    // The run over the chosen pairs in one transaction. Nothing when it failed (its message
    // shown); a cancelled run wrote nothing. A deletion shows what it kept at the end.
    std::optional<Result> Run(const Progress& progress = {});
    bool failedOnDatabase() const { return databaseFailed_; }

private:
    bool readColumns();
    void readLists();
    bool templateVisible();
    int sizeIndex(const QString& size) const;
    void order(QStringList& sizes) const;
    void show(const QString& text, const QString& title, int style);

    entry::Session& session_;
    Mode mode_ = Mode::Copy;
    QString templateId_;
    QString parent_;
    QString parentName_;
    FreeItemColumns columns_;
    int colourId_ = 0;
    int sizeId_ = 0;
    std::vector<ColourRow> colours_;
    std::vector<FreeValue> sizes_;
    bool databaseFailed_ = false;
};

} // namespace bom::variants
