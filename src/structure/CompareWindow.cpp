#include "CompareWindow.h"

#include "StructureRules.h"
#include "StructureTableView.h"
#include "StructureTexts.h"
#include "TableOutputDialog.h"
#include "db/DbError.h"
#include "entry/Session.h"
#include "suite/Prompter.h"

#include <QCheckBox>
#include <QDateTimeEdit>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPrinter>
#include <QPushButton>
#include <QVBoxLayout>

namespace bom::structure {
namespace {

QColor colourOf(CompareDiff::Change change) {
    switch (change) {
    case CompareDiff::Change::Added:
        return QColor(0xD8, 0xF0, 0xD8);
    case CompareDiff::Change::Removed:
        return QColor(0xF6, 0xD6, 0xD6);
    case CompareDiff::Change::Changed:
        break;
    }
    return QColor(0xFF, 0xF3, 0xC4);
}

} // namespace

CompareWindow::CompareWindow(entry::Session& session, QString firstBom, QWidget* parent)
    : QDialog(parent), session_(session), firstBom_(std::move(firstBom)) {
    setWindowTitle(StructureTexts::compareTitle());
    resize(1000, 600);
    auto* layout = new QVBoxLayout(this);
    auto* form = new QHBoxLayout;
    form->addWidget(new QLabel(QStringLiteral("比较对象（编码或物料清单）："), this));
    other_ = new QLineEdit(this);
    other_->setObjectName(QStringLiteral("other"));
    form->addWidget(other_, 1);
    past_ = new QCheckBox(QStringLiteral("与本清单历史比较，时间："), this);
    form->addWidget(past_);
    at_ = new QDateTimeEdit(QDateTime::currentDateTime(), this);
    at_->setDisplayFormat(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    at_->setCalendarPopup(true);
    at_->setEnabled(false);
    form->addWidget(at_);
    connect(past_, &QCheckBox::toggled, this, [this](bool on) {
        at_->setEnabled(on);
        other_->setEnabled(!on);
    });
    exploded_ = new QCheckBox(QStringLiteral("多阶"), this);
    form->addWidget(exploded_);
    layout->addLayout(form);

    table_ = new StructureTableView(this);
    layout->addWidget(table_, 1);
    cost_ = new QLabel(this);
    layout->addWidget(cost_);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    const std::pair<const char*, QString> actions[] = {{"cmdCompare", QStringLiteral("比较")},
                                                       {"cmdPrint", QStringLiteral("打印")},
                                                       {"cmdPreview", QStringLiteral("预览")},
                                                       {"cmdExport", QStringLiteral("导出")},
                                                       {"cmdClose", QStringLiteral("退出")}};
    for (const auto& [name, caption] : actions) {
        auto* button = new QPushButton(caption, this);
        button->setObjectName(QLatin1String(name));
        buttons->addWidget(button);
        const QString key = QLatin1String(name);
        connect(button, &QPushButton::clicked, this, [this, key] {
            if (key == QLatin1String("cmdCompare"))
                compare();
            else if (key == QLatin1String("cmdPrint") || key == QLatin1String("cmdPreview"))
                print(key == QLatin1String("cmdPreview"));
            else if (key == QLatin1String("cmdExport"))
                TableOutputDialog::exportTable(this, session_, shownTable());
            else
                reject();
        });
    }
    layout->addLayout(buttons);
}

CompareWindow::~CompareWindow() = default;

bool CompareWindow::compare() {
    try {
        BomCompare comparing(session_);
        const auto first = comparing.Load(firstBom_);
        const auto second = !first               ? std::nullopt
                            : past_->isChecked() ? comparing.Load(firstBom_, at_->dateTime())
                                                 : comparing.Load(other_->text());
        if (!first || !second)
            return false;
        const CompareResult result = comparing.Compare(*first, *second, exploded_->isChecked());
        const QString secondName =
            past_->isChecked() ? at_->dateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))
                               : other_->text().trimmed();
        table_->setTable(
            BomCompare::table(result, StructureTexts::compareTitle() + QLatin1Char(' ') +
                                          first->header.text(0, QStringLiteral("cpspcode")) +
                                          QStringLiteral(" / ") + secondName));
        for (std::size_t row = 0; row < result.diff.size(); ++row)
            table_->setRowColour(int(row), colourOf(result.diff[row].change));
        cost_->setText(QStringLiteral("标准成本：%1 → %2，差额 %3")
                           .arg(StructureRules::text(result.totalA),
                                StructureRules::text(result.totalB),
                                StructureRules::text(result.totalB - result.totalA)));
        return true;
    } catch (const db::DbError& e) {
        session_.prompter.info(StructureTexts::failed(e.message()), StructureTexts::compareTitle(),
                               16);
        return false;
    }
}

entry::ExportTable CompareWindow::shownTable() const {
    return table_->table();
}

bool CompareWindow::exportTo(const QString& path) {
    return TableOutputDialog::exportTo(session_, path, shownTable());
}

void CompareWindow::print(bool preview) {
    TableOutputDialog::print(this, session_, printer_, shownTable(), preview);
}

} // namespace bom::structure
