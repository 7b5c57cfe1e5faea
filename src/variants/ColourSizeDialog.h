#pragma once

#include "ColourSizeGenerator.h"

#include <QDialog>
#include <optional>

class QTableWidget;
class QTableWidgetItem;

namespace bom::entry {
class Session;
}

namespace bom::variants {

// The colour/size window (FrmNewCS): the template's colours on the left with the sizes chosen
// for each, the sizes on the right ticked for the current colour; four selection commands,
// help, the run under a progress dialog whose Cancel rolls it back, and close. A written run
// closes the window, so the list behind shows what it did.
class ColourSizeDialog : public QDialog {
    Q_OBJECT
public:
    // The list's hand-over: the mode ("pCopy" or "pDelete") and the template BOM. True when a
    // run was written.
    static bool run(entry::Session& session, const QString& mode, const QString& templateId,
                    QWidget* parent);

    // `generator` has been opened.
    ColourSizeDialog(entry::Session& session, ColourSizeGenerator& generator,
                     QWidget* parent = nullptr);

    QTableWidget* colourList() const { return colours_; }
    QTableWidget* sizeList() const { return sizes_; }
    // Command6: the run; false when it failed or was cancelled (the window stays open).
    bool execute();
    const std::optional<ColourSizeGenerator::Result>& result() const { return result_; }

private:
    void fillColours();
    // The size list's ticks for the current colour; fixed ticks cannot be changed.
    void showSizes();
    void sizeTicked(QTableWidgetItem* item);
    // A selection command over the current colour, then every row shown anew.
    void select(void (ColourSizeGenerator::*command)(int));
    void tickAllSizes() { select(&ColourSizeGenerator::TickAllSizes); }
    void clearAll();
    void applyToAllColours() { select(&ColourSizeGenerator::ApplyToAllColours); }
    void invertSizes() { select(&ColourSizeGenerator::InvertSizes); }
    void help();
    void runClicked() { execute(); }
    bool deleting() const { return generator_.mode() == ColourSizeGenerator::Mode::Delete; }

    entry::Session& session_;
    ColourSizeGenerator& generator_;
    QTableWidget* colours_ = nullptr;
    QTableWidget* sizes_ = nullptr;
    bool showing_ = false;
    std::optional<ColourSizeGenerator::Result> result_;
};

} // namespace bom::variants
