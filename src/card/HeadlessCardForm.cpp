#include "HeadlessCardForm.h"

namespace bom::card {

void HeadlessCardForm::showTree(const std::vector<bomservice::BomTreeNode>& nodes) {
    tree = nodes;
    ++treesShown;
}

std::optional<QString> HeadlessCardForm::askSoCode(const QString& suggested) {
    soCodesSuggested << suggested;
    if (soCodeAnswer && soCodeAnswer->isEmpty())
        return suggested;
    return soCodeAnswer;
}

void HeadlessCardForm::showPicture(const QString& itemCode, const QByteArray& bytes) {
    pictureItem = itemCode;
    picture = bytes;
}

void HeadlessCardForm::showInventoryCard(const QString& itemCode,
                                         const std::vector<std::pair<QString, QString>>& fields) {
    inventoryItem = itemCode;
    inventoryFields = fields;
}

void HeadlessCardForm::showHistory(const QString& headerId,
                                   const std::vector<bomservice::BomHistory::Entry>& entries) {
    historyOf = headerId;
    history = entries;
}

void HeadlessCardForm::print(PrintMode mode, int printTemplateId) {
    prints.push_back({mode, printTemplateId});
}

} // namespace bom::card
