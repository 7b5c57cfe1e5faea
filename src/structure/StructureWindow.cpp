#include "StructureWindow.h"

#include "CompareWindow.h"
#include "ExplosionModel.h"
#include "StructureTableView.h"
#include "StructureTexts.h"
#include "TableOutputDialog.h"
#include "WhereUsed.h"
#include "db/DbError.h"
#include "entry/Session.h"
#include "suite/Prompter.h"

#include <QHeaderView>
#include <QLabel>
#include <QPrinter>
#include <QSpinBox>
#include <QTabWidget>
#include <QToolBar>
#include <QTreeView>
#include <QVBoxLayout>

namespace bom::structure {

StructureWindow::StructureWindow(entry::Session& session, QString headerId, QWidget* parent)
    : QDialog(parent), session_(session), headerId_(std::move(headerId)) {
    setWindowTitle(StructureTexts::title());
    setWindowFlag(Qt::WindowMaximizeButtonHint);
    resize(1100, 680);
    auto* layout = new QVBoxLayout(this);
    buildToolbar();
    tabs_ = new QTabWidget(this);
    explosion_ = new QTreeView(tabs_);
    explosion_->setObjectName(QStringLiteral("explosion"));
    model_ = new ExplosionModel(explosion_);
    explosion_->setModel(model_);
    explosion_->setAlternatingRowColors(true);
    explosion_->setUniformRowHeights(true); // rows measured once, however many there are
    explosion_->header()->setStretchLastSection(false);
    tabs_->addTab(explosion_, StructureTexts::explosionTitle());
    summary_ = new StructureTableView(tabs_);
    tabs_->addTab(summary_, StructureTexts::summaryTitle());
    whereUsed_ = new StructureTableView(tabs_);
    tabs_->addTab(whereUsed_, StructureTexts::whereUsedTitle());
    costs_ = new StructureTableView(tabs_);
    tabs_->addTab(costs_, StructureTexts::costTitle());
    layout->addWidget(tabs_, 1);
    connect(tabs_, &QTabWidget::currentChanged, this, [this] { fill(tabs_->currentWidget()); });
}

StructureWindow::~StructureWindow() = default;

void StructureWindow::buildToolbar() {
    auto* toolbar = new QToolBar(this);
    toolbar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    layout()->addWidget(toolbar);
    toolbar->addWidget(new QLabel(QStringLiteral("层数："), toolbar));
    levels_ = new QSpinBox(toolbar);
    levels_->setRange(0, 99);
    levels_->setSpecialValueText(QStringLiteral("全部"));
    levels_->setValue(0);
    toolbar->addWidget(levels_);
    const std::pair<const char*, QString> actions[] = {
        {"Refresh", QStringLiteral("刷新")}, {"Print", QStringLiteral("打印")},
        {"Preview", QStringLiteral("预览")}, {"Export", QStringLiteral("导出")},
        {"Compare", QStringLiteral("比较")}, {"WriteCost", QStringLiteral("写入成本")},
        {"Exit", QStringLiteral("退出")}};
    for (const auto& [key, caption] : actions) {
        QAction* action = toolbar->addAction(caption);
        action->setObjectName(QLatin1String(key));
        const QString k = QLatin1String(key);
        connect(action, &QAction::triggered, this, [this, k] {
            if (k == QLatin1String("Refresh"))
                load();
            else if (k == QLatin1String("Print") || k == QLatin1String("Preview"))
                print(k == QLatin1String("Preview"));
            else if (k == QLatin1String("Export"))
                TableOutputDialog::exportTable(this, session_, shownTable());
            else if (k == QLatin1String("Compare"))
                compare();
            else if (k == QLatin1String("WriteCost"))
                writeCosts();
            else
                reject();
        });
    }
}

void StructureWindow::open(entry::Session& session, const QString& headerId, QWidget* parent) {
    StructureWindow window(session, headerId, parent);
    if (window.load())
        window.exec();
}

bool StructureWindow::load() {
    try {
        std::optional<ExplosionResult> result =
            Explosion(session_).Explode(headerId_, levels_->value());
        if (!result) {
            session_.prompter.info(StructureTexts::noBom(), StructureTexts::title(), 48);
            return false;
        }
        setWindowTitle(StructureTexts::title() + QStringLiteral(" - ") + result->topCode +
                       QLatin1Char(' ') + result->topName);
        summary_->setTable(Explosion::summaryTable(*result));
        item_ = result->topCode;
        QStringList loops;
        for (const QStringList& loop : result->loops)
            loops << loop.join(QStringLiteral(" → "));
        model_->setResult(std::move(*result));
        explosion_->expandToDepth(0);
        for (int column = 0; column < model_->columnCount(); ++column)
            explosion_->resizeColumnToContents(column);
        read_ = {explosion_, summary_};
        fill(tabs_->currentWidget());
        if (!loops.isEmpty())
            session_.prompter.info(StructureTexts::loops(loops), StructureTexts::title(), 48);
        return true;
    } catch (const db::DbError& e) {
        session_.prompter.info(StructureTexts::failed(e.message()), StructureTexts::title(), 16);
        return false;
    }
}

void StructureWindow::fill(QWidget* tab) {
    if (read_.contains(tab) || (tab != whereUsed_ && tab != costs_))
        return;
    try {
        if (tab == whereUsed_) {
            whereUsed_->setTable(WhereUsed::table(item_, WhereUsed(session_).Find(item_, 0)));
        } else {
            costRows_ = CostRollup(session_).Compute(headerId_);
            costs_->setTable(CostRollup::table(costRows_));
        }
        read_.insert(tab);
    } catch (const db::DbError& e) {
        session_.prompter.info(StructureTexts::failed(e.message()), StructureTexts::title(), 16);
    }
}

entry::ExportTable StructureWindow::shownTable() const {
    const QWidget* shown = tabs_->currentWidget();
    if (shown == explosion_)
        return Explosion::table(model_->result());
    return static_cast<const StructureTableView*>(shown)->table();
}

bool StructureWindow::exportTo(const QString& path) {
    return TableOutputDialog::exportTo(session_, path, shownTable());
}

void StructureWindow::print(bool preview) {
    TableOutputDialog::print(this, session_, printer_, shownTable(), preview);
}

void StructureWindow::compare() {
    CompareWindow window(session_, headerId_, this);
    window.exec();
}

bool StructureWindow::writeCosts() {
    tabs_->setCurrentWidget(costs_);
    fill(costs_);
    int differing = 0;
    for (const CostRow& row : costRows_)
        differing += row.differs && !row.approved ? 1 : 0;
    if (differing == 0) {
        session_.ShowInfo(StructureTexts::nothingToWrite());
        return false;
    }
    if (session_.prompter.ask(StructureTexts::writeCostQuestion(differing), StructureTexts::title(),
                              36) != suite::Prompter::Answer::Yes)
        return false;
    std::optional<CostRollup::Written> written;
    try {
        written = CostRollup(session_).Write(costRows_);
    } catch (const db::DbError& e) {
        session_.prompter.info(StructureTexts::failed(e.message()), StructureTexts::title(), 16);
    }
    if (written) {
        if (written->approved > 0)
            session_.ShowInfo(StructureTexts::costApprovedSkipped(written->approved));
        session_.ShowInfo(StructureTexts::costWritten(written->boms, written->run));
    }
    load();
    return written && written->boms > 0;
}

} // namespace bom::structure
