#pragma once

#include "CostRollup.h"
#include "entry/TableExport.h"

#include <QDialog>
#include <QSet>
#include <memory>

class QPrinter;
class QSpinBox;
class QTabWidget;
class QTreeView;

namespace bom::entry {
class Session;
}

namespace bom::structure {

class ExplosionModel;
class StructureTableView;

// 产品结构 of one BOM: the explosion as an expandable tree (展开), its leaves summed (汇总),
// where its parent item is used (反查) and the costs of it and every BOM below it (成本), with
// 打印, 预览 and 导出 of the tab shown, 比较 with another BOM or its own past, and 写入成本.
class StructureWindow : public QDialog {
    Q_OBJECT
public:
    StructureWindow(entry::Session& session, QString headerId, QWidget* parent = nullptr);
    ~StructureWindow() override;

    // Opens the window over `parent` for the BOM, unless it cannot be shown (said why).
    static void open(entry::Session& session, const QString& headerId, QWidget* parent);

    // Reads the explosion again, down to the levels set; false when the BOM is gone or hidden
    // (said). A loop in stored data is reported with its path. Where-used and costs are read
    // when their tab is first shown after it.
    bool load();
    // The tab shown as a table: what 打印, 预览 and 导出 put out.
    entry::ExportTable shownTable() const;
    // 导出's work once the file is named: the shown tab through TableExport.
    bool exportTo(const QString& path);
    // 写入成本: after a question, the worked out costs that differ, as one run that can be undone.
    bool writeCosts();

    QTabWidget* tabs() const { return tabs_; }
    QTreeView* explosionView() const { return explosion_; }
    ExplosionModel* explosionModel() const { return model_; }
    StructureTableView* summaryTable() const { return summary_; }
    StructureTableView* whereUsedTable() const { return whereUsed_; }
    StructureTableView* costTable() const { return costs_; }
    QSpinBox* levels() const { return levels_; }

private:
    void buildToolbar();
    // Reads the where-used or cost tab if it has not been since the last load.
    void fill(QWidget* tab);
    void compare();
    void print(bool preview);

    entry::Session& session_;
    QString headerId_;
    QTabWidget* tabs_ = nullptr;
    QTreeView* explosion_ = nullptr;
    ExplosionModel* model_ = nullptr;
    StructureTableView* summary_ = nullptr;
    StructureTableView* whereUsed_ = nullptr;
    StructureTableView* costs_ = nullptr;
    QSpinBox* levels_ = nullptr;
    std::vector<CostRow> costRows_;
    QString item_;        // the top's item, for where-used
    QSet<QWidget*> read_; // the tabs read since the last load
    std::unique_ptr<QPrinter> printer_;
};

} // namespace bom::structure
