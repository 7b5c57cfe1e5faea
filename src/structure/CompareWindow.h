#pragma once

#include "BomCompare.h"

#include <QDialog>
#include <memory>

class QCheckBox;
class QDateTimeEdit;
class QLabel;
class QLineEdit;
class QPrinter;

namespace bom::entry {
class Session;
}

namespace bom::structure {

class StructureTableView;

// 物料清单比较: one BOM beside another (named by its code or id) or beside itself as it stood
// at a time of its history, single-level or through every level; lines only in one coloured
// as added or removed, changed ones with the fields that differ, and the cost difference.
// 打印, 预览 and 导出 put out the differences as shown.
class CompareWindow : public QDialog {
    Q_OBJECT
public:
    CompareWindow(entry::Session& session, QString firstBom, QWidget* parent = nullptr);
    ~CompareWindow() override;

    // Compares with what the form names; false when a BOM cannot be shown (said).
    bool compare();
    entry::ExportTable shownTable() const;
    bool exportTo(const QString& path); // 导出's work once the file is named

    QLineEdit* other() const { return other_; }
    QCheckBox* past() const { return past_; }
    QDateTimeEdit* at() const { return at_; }
    QCheckBox* exploded() const { return exploded_; }
    StructureTableView* differences() const { return table_; }
    QLabel* cost() const { return cost_; }

private:
    void print(bool preview);

    entry::Session& session_;
    QString firstBom_;
    QLineEdit* other_ = nullptr;
    QCheckBox* past_ = nullptr;
    QDateTimeEdit* at_ = nullptr;
    QCheckBox* exploded_ = nullptr;
    StructureTableView* table_ = nullptr;
    QLabel* cost_ = nullptr;
    std::unique_ptr<QPrinter> printer_;
};

} // namespace bom::structure
