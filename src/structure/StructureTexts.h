#pragma once

#include <QString>
#include <QStringList>

namespace bom::structure {

// The structure tools' captions, titles and messages, in one place.
struct StructureTexts {
    static QString title() { return QStringLiteral("产品结构"); }
    static QString explosionTitle() { return QStringLiteral("多阶展开"); }
    static QString summaryTitle() { return QStringLiteral("汇总展开"); }
    static QString whereUsedTitle() { return QStringLiteral("反查"); }
    static QString costTitle() { return QStringLiteral("成本卷算"); }
    static QString compareTitle() { return QStringLiteral("物料清单比较"); }

    // Columns of the explosion, in order: the names a script reads, then the captions shown.
    static QStringList explosionColumns() {
        return {"level",   "path",  "cinvcode", "cinvname", "cinvstd", "qty",
                "cum_qty", "cunit", "cwhcode",  "wiptype",  "cost",    "iautoid"};
    }
    static QStringList explosionCaptions() {
        return {QStringLiteral("层次"),     QStringLiteral("路径"),     QStringLiteral("子件编码"),
                QStringLiteral("子件名称"), QStringLiteral("规格型号"), QStringLiteral("单位用量"),
                QStringLiteral("累计用量"), QStringLiteral("计量单位"), QStringLiteral("仓库"),
                QStringLiteral("供应类型"), QStringLiteral("成本"),     QStringLiteral("子件BOM")};
    }
    static QStringList summaryColumns() {
        return {"cinvcode", "cinvname", "cinvstd", "qty", "cunit"};
    }
    static QStringList summaryCaptions() {
        return {QStringLiteral("子件编码"), QStringLiteral("子件名称"), QStringLiteral("规格型号"),
                QStringLiteral("总用量"), QStringLiteral("计量单位")};
    }
    static QStringList whereUsedColumns() {
        return {"level", "cpspcode", "cinvname", "csocode", "qty", "iautoid"};
    }
    static QStringList whereUsedCaptions() {
        return {QStringLiteral("层次"),   QStringLiteral("母件编码"), QStringLiteral("母件名称"),
                QStringLiteral("订单号"), QStringLiteral("单位用量"), QStringLiteral("物料清单")};
    }
    static QStringList costColumns() {
        return {"level", "cpspcode",        "cinvname",     "csocode", "material",
                "total", "stored_material", "stored_total", "differs", "iautoid"};
    }
    static QStringList costCaptions() {
        return {QStringLiteral("低阶码"),     QStringLiteral("母件编码"),
                QStringLiteral("母件名称"),   QStringLiteral("订单号"),
                QStringLiteral("材料成本"),   QStringLiteral("标准成本"),
                QStringLiteral("原材料成本"), QStringLiteral("原标准成本"),
                QStringLiteral("不同"),       QStringLiteral("物料清单")};
    }
    static QStringList compareColumns() { return {"path", "cinvcode", "change", "fields"}; }
    static QStringList compareCaptions() {
        return {QStringLiteral("路径"), QStringLiteral("子件编码"), QStringLiteral("差异"),
                QStringLiteral("不同的栏目")};
    }
    static QString added() { return QStringLiteral("新增"); }
    static QString removed() { return QStringLiteral("删除"); }
    static QString changed() { return QStringLiteral("修改"); }
    static QString yes() { return QStringLiteral("是"); }
    static QString loopMark() { return QStringLiteral("（循环）"); }

    // Messages.
    static QString noBom() { return QStringLiteral("没有找到该物料清单！"); }
    static QString noDefaultBom(const QString& code) {
        return QStringLiteral("存货%1没有默认物料清单（无订单号、自由项为空）。").arg(code);
    }
    static QString noItem(const QString& code) {
        return QStringLiteral("存货%1不存在！").arg(code);
    }
    static QString loops(const QStringList& paths) {
        return QStringLiteral("物料清单数据中存在循环，未继续展开：\r\n") +
               paths.join(QStringLiteral("\r\n"));
    }
    static QString nothingToWrite() { return QStringLiteral("计算的成本与已存的相同，无需写入。"); }
    static QString writeCostQuestion(int boms) {
        return QStringLiteral("将写入%1张物料清单的材料成本和标准成本，是否继续？").arg(boms);
    }
    static QString costWritten(int boms, qlonglong run) {
        return QStringLiteral("已写入%1张物料清单的成本（批量处理%2，可撤销）。")
            .arg(boms)
            .arg(run);
    }
    static QString costChangedMeanwhile() {
        return QStringLiteral("计算之后有物料清单被修改，请重新计算后再写入！");
    }
    static QString costApprovedSkipped(int boms) {
        return QStringLiteral("%1张已审核的物料清单未写入。").arg(boms);
    }
    static QString noHistoryAt() { return QStringLiteral("该物料清单在所选时间尚未建立！"); }
    static QString failed(const QString& why) { return QStringLiteral("操作失败：") + why; }
    static QString costOperation() { return QStringLiteral("cost"); }
};

} // namespace bom::structure
