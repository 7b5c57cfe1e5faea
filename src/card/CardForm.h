#pragma once

#include "bomservice/BomHistory.h"
#include "bomservice/BomTree.h"

#include <QMap>
#include <QString>
#include <optional>
#include <vector>

namespace bom::card {

// What the command dispatcher asks of the window around the card. The Qt window implements it
// with dialogs; the headless one (tests, bomctl) records what was asked and answers from a
// script.
class CardForm {
public:
    enum class PrintMode { Print, Preview, Output };

    virtual ~CardForm() = default;

    virtual void closeForm() = 0;   // EXIT: unload (the close guard runs)
    virtual void showFindRow() = 0; // ROWLOC
    virtual void help() = 0;
    // The toolbar's enabled buttons by key (lower case), after every command.
    virtual void setToolbarEnabled(const QMap<QString, bool>& enabled) = 0;
    virtual void showTree(const std::vector<bomservice::BomTreeNode>& nodes) = 0;
    virtual void SetCboVt(int templateId) = 0;
    // The new sales-order (version) code of a full-level copy; std::nullopt when cancelled.
    virtual std::optional<QString> askSoCode(const QString& suggested) = 0;
    // The item's picture (empty: the item has none; the dispatcher has said so already).
    virtual void showPicture(const QString& itemCode, const QByteArray& picture) = 0;
    // The item's master data, read only: captions and values in order.
    virtual void showInventoryCard(const QString& itemCode,
                                   const std::vector<std::pair<QString, QString>>& fields) = 0;
    virtual void showHistory(const QString& headerId,
                             const std::vector<bomservice::BomHistory::Entry>& entries) = 0;
    virtual void showAttachments(const QString& headerId) = 0;
    // STRUCTURE: the structure tools over the stored BOM shown.
    virtual void showStructure(const QString& headerId) = 0;
    // The card on display through the print template (CardPrinter lays it out): printed,
    // previewed, or exported as CSV.
    virtual void print(PrintMode mode, int printTemplateId) = 0;
};

} // namespace bom::card
