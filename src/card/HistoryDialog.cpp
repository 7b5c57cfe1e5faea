#include "HistoryDialog.h"

#include "CardWindowTexts.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QTableWidget>
#include <QVBoxLayout>
#include <algorithm>

namespace bom::card {

using bomservice::BomHistory;

QString HistoryDialog::kindText(const QString& kind) {
    static const std::pair<const char*, const char*> kNames[] = {
        {BomHistory::kCreated, "新增"},
        {BomHistory::kHeader, "表头修改"},
        {BomHistory::kLineAdded, "增行"},
        {BomHistory::kLineRemoved, "删行"},
        {BomHistory::kLineChanged, "表体修改"},
        {BomHistory::kDeleted, "删除"},
        {BomHistory::kOptionAdded, "增加替代料"},
        {BomHistory::kOptionRemoved, "删除替代料"},
        {BomHistory::kOptionChanged, "修改替代料"},
        {BomHistory::kRunLineAdded, "批量增加"},
        {BomHistory::kRunLineDeleted, "批量删除"},
        {BomHistory::kRunLineChanged, "批量修改"},
        {BomHistory::kRunUndone, "撤销批量处理"}};
    for (const auto& [key, name] : kNames)
        if (kind == QLatin1String(key))
            return QString::fromUtf8(name);
    return kind;
}

namespace {

QString fieldCaption(const BomHistory::Change& change, const CardLayout& layout) {
    const bool header = change.kind == QLatin1String(BomHistory::kHeader);
    const CardField* field =
        header ? layout.headerField(change.field) : layout.bodyField(change.field);
    return field ? field->caption : change.field;
}

} // namespace

HistoryDialog::HistoryDialog(const std::vector<BomHistory::Entry>& entries, const CardLayout& card,
                             QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(CardWindowTexts::historyTitle());
    auto* layout = new QVBoxLayout(this);
    const QStringList captions{QStringLiteral("时间"), QStringLiteral("操作员"),
                               QStringLiteral("类型"), QStringLiteral("字段"),
                               QStringLiteral("原值"), QStringLiteral("新值"),
                               QStringLiteral("行")};
    table_ = new QTableWidget(int(entries.size()), int(captions.size()), this);
    table_->setHorizontalHeaderLabels(captions);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->verticalHeader()->hide();
    // Newest first, whatever order they came in; changes of one save keep their order.
    std::vector<const BomHistory::Entry*> sorted;
    for (const BomHistory::Entry& entry : entries)
        sorted.push_back(&entry);
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto* a, const auto* b) { return a->time > b->time; });
    for (int row = 0; row < int(sorted.size()); ++row) {
        const BomHistory::Entry& e = *sorted[std::size_t(row)];
        const QStringList cells{
            e.time.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")),
            e.user,
            kindText(e.change.kind),
            fieldCaption(e.change, card),
            e.change.oldValue,
            e.change.newValue,
            e.change.line};
        for (int column = 0; column < cells.size(); ++column)
            table_->setItem(row, column, new QTableWidgetItem(cells[column]));
    }
    table_->resizeColumnsToContents();
    layout->addWidget(table_, 1);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    resize(760, 420);
}

} // namespace bom::card
