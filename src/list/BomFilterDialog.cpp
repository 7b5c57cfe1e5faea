#include "BomFilterDialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace bom::list {

BomFilterDialog::BomFilterDialog(std::vector<suite::ColumnSetting> columns,
                                 const std::vector<FilterCondition>& current, QWidget* parent)
    : QDialog(parent), columns_(std::move(columns)) {
    setWindowTitle(QStringLiteral("过滤"));
    setObjectName(QLatin1String(kFilterKey));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("以下条件同时满足的记录才会列出："), this));
    linesLayout_ = new QVBoxLayout;
    layout->addLayout(linesLayout_);
    layout->addStretch();

    auto* tools = new QHBoxLayout;
    auto* add = new QPushButton(QStringLiteral("增加条件"), this);
    auto* clear = new QPushButton(QStringLiteral("清除条件"), this);
    connect(add, &QPushButton::clicked, this, [this] { addLine(); });
    connect(clear, &QPushButton::clicked, this, [this] {
        clearLines();
        addLine();
    });
    tools->addWidget(add);
    tools->addWidget(clear);
    tools->addStretch();
    layout->addLayout(tools);

    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(QStringLiteral("确定"), QDialogButtonBox::AcceptRole);
    buttons->addButton(QStringLiteral("取消"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);

    for (const FilterCondition& c : current)
        addLine(c);
    if (lines_.empty())
        addLine();
    resize(560, 260);
}

void BomFilterDialog::addLine(const FilterCondition& condition) {
    Line line;
    line.row = new QWidget(this);
    auto* layout = new QHBoxLayout(line.row);
    layout->setContentsMargins(0, 0, 0, 0);
    line.field = new QComboBox(line.row);
    line.field->addItem(QString(), QString()); // no field chosen: no condition
    for (const suite::ColumnSetting& c : columns_)
        line.field->addItem(c.caption.isEmpty() ? c.fieldName : c.caption, c.fieldName);
    line.op = new QComboBox(line.row);
    for (const ListFilter::Operator& op : ListFilter::operators())
        line.op->addItem(op.caption, op.sql);
    line.value = new QLineEdit(line.row);
    auto* remove = new QPushButton(QStringLiteral("删除"), line.row);
    layout->addWidget(line.field, 2);
    layout->addWidget(line.op, 1);
    layout->addWidget(line.value, 3);
    layout->addWidget(remove);

    if (!condition.field.isEmpty()) {
        for (int i = 0; i < line.field->count(); ++i)
            if (line.field->itemData(i).toString().compare(condition.field, Qt::CaseInsensitive) ==
                0)
                line.field->setCurrentIndex(i);
        line.op->setCurrentIndex(std::max(0, line.op->findData(condition.op)));
        line.value->setText(condition.value);
    }
    QWidget* row = line.row;
    connect(remove, &QPushButton::clicked, this, [this, row] { removeLine(row); });
    linesLayout_->addWidget(row);
    lines_.push_back(line);
}

void BomFilterDialog::removeLine(QWidget* row) {
    const auto found = std::find_if(lines_.begin(), lines_.end(),
                                    [&](const Line& line) { return line.row == row; });
    if (found == lines_.end())
        return;
    lines_.erase(found);
    row->deleteLater();
}

void BomFilterDialog::clearLines() {
    for (const Line& line : lines_)
        line.row->deleteLater();
    lines_.clear();
}

std::vector<FilterCondition> BomFilterDialog::conditions() const {
    std::vector<FilterCondition> out;
    for (const Line& line : lines_) {
        const QString field = line.field->currentData().toString();
        const QString op = line.op->currentData().toString();
        const QString value = line.value->text().trimmed();
        if (field.isEmpty())
            continue;
        out.push_back({field, op, value});
    }
    return out;
}

} // namespace bom::list
