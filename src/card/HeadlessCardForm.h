#pragma once

#include "CardForm.h"

#include <QByteArray>
#include <QString>
#include <optional>
#include <utility>
#include <vector>

namespace bom::card {

// A card form without a window: it records what the dispatcher asked of it and answers the
// new sales-order code of a copy from a preset value (tests and bomctl).
class HeadlessCardForm : public CardForm {
public:
    struct PrintCall {
        PrintMode mode;
        int printTemplateId = 0;
    };

    // The answer to askSoCode; std::nullopt cancels, an empty text takes the suggestion.
    std::optional<QString> soCodeAnswer = QString();

    void closeForm() override { ++closes; }
    void showFindRow() override { ++findRows; }
    void help() override { ++helps; }
    void setToolbarEnabled(const QMap<QString, bool>& enabled) override { toolbar = enabled; }
    void showTree(const std::vector<bomservice::BomTreeNode>& nodes) override;
    void SetCboVt(int templateId) override { selectedTemplates.push_back(templateId); }
    std::optional<QString> askSoCode(const QString& suggested) override;
    void showPicture(const QString& itemCode, const QByteArray& picture) override;
    void showInventoryCard(const QString& itemCode,
                           const std::vector<std::pair<QString, QString>>& fields) override;
    void showHistory(const QString& headerId,
                     const std::vector<bomservice::BomHistory::Entry>& entries) override;
    void showAttachments(const QString& headerId) override { attachmentsShown << headerId; }
    void showStructure(const QString& headerId) override { structuresShown << headerId; }
    void print(PrintMode mode, int printTemplateId) override;

    int closes = 0;
    int findRows = 0;
    int helps = 0;
    QMap<QString, bool> toolbar;
    std::vector<bomservice::BomTreeNode> tree; // the last tree shown
    int treesShown = 0;
    std::vector<int> selectedTemplates;
    QStringList soCodesSuggested;
    QString pictureItem;
    QByteArray picture;
    QString inventoryItem;
    std::vector<std::pair<QString, QString>> inventoryFields;
    QString historyOf;
    std::vector<bomservice::BomHistory::Entry> history;
    QStringList attachmentsShown;
    QStringList structuresShown;
    std::vector<PrintCall> prints;
};

} // namespace bom::card
