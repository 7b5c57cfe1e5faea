#pragma once

#include "db/Rows.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::bomservice {

// One component line as a text for the change record of a run (DescribeLine): pairs of
// caption, "=" and the value in double quotes, separated by one blank, in the order 子件编码,
// 子件名称, 存货代码, 规格型号, 版本号, 基本用量分子, 基本用量分母, 换算率, 损耗率, 标准单价,
// 存放仓库, 库管员, 用料车间, 插位1 … 插位3, then each free item and body user-defined item the
// account has named, under its name. Names come from the item, warehouse and department.
class LineDescriber {
public:
    explicit LineDescriber(entry::Session& session);

    // Reads, in one query per kind, the names of every item, warehouse and department that
    // `lines` (values in the order of `shape`'s columns, ProductStructures columns) name.
    void learn(const db::Rows& shape, const std::vector<const QVariantList*>& lines);
    // The text of one line; codes not learnt read with empty names.
    QString describe(const db::Rows& shape, const QVariantList& line) const;

private:
    struct Item {
        QString name;
        QString addCode;
        QString specification;
    };
    struct Shown {
        QString column;
        QString caption;
    };

    // Where each described column stands in a shape, found once per shape.
    const std::vector<int>& positions(const db::Rows& shape) const;

    entry::Session& session_;
    std::vector<Shown> named_; // free and user-defined items the account named
    mutable const db::Rows* shape_ = nullptr;
    mutable QStringList shapeColumns_;
    mutable std::vector<int> positions_;
    QHash<QString, Item> items_;
    QHash<QString, QString> warehouses_;
    QHash<QString, QString> departments_;
};

} // namespace bom::bomservice
