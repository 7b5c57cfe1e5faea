#pragma once

#include <QString>

namespace bom::card {

// The card's messages, captions and titles, in one place so a translation can be added later.
struct CardTexts {
    static QString title() { return QStringLiteral("BOM维护"); }
    static QString listTitle() { return QStringLiteral("物料清单"); }
    static QString summarised() { return QStringLiteral("进行业务操作前请先取消汇总!"); }
    static QString allLevelsQuestion() {
        return QStringLiteral("全阶复制会自动生成新的订单BOM，确实要进行全阶复制吗？"
                              "如选择是，请生成后及时修改版本号及其他信息！");
    }
    static QString sharedParent() { return QStringLiteral("该母件是公用件，是否继续？"); }
    static QString noAuxiliaryUnit(const QString& code) {
        return QStringLiteral("存货[") + code + QStringLiteral("]库存辅助计量单位不能为空！");
    }
    static QString noLines() { return QStringLiteral("表体记录为0！"); }
    static QString cancelQuestion() { return QStringLiteral("确实要放弃保存该张单据吗？"); }
    static QString eraseQuestion() { return QStringLiteral("确信要删除该单据吗？"); }
    static QString approvedNotErased() { return QStringLiteral("审核过的产品不可删除！"); }
    static QString deleteRowQuestion() { return QStringLiteral("确信要删除该行吗？"); }
    static QString chooseLine() { return QStringLiteral("请选择一条子件。"); }
    static QString noSubstitutes(const QString& code) {
        return QStringLiteral("子件[") + code + QStringLiteral("]的替代标示为否，不能编辑替代料。");
    }
    static QString noPicture() { return QStringLiteral("该存货没有图片"); }
    static QString noItem() { return QStringLiteral("存货中不存在该子件!"); }
    static QString noPrintRight() { return QStringLiteral("没有打印或预览权限"); }
    static QString nothingToPrint() { return QStringLiteral("没有数据，不能打印！"); }
    static QString nothingToPreview() { return QStringLiteral("没有数据，不能预览！"); }
    static QString saveEditQuestion() { return QStringLiteral("是否保存对当前单据的编辑？"); }
    static QString noTemplate() {
        return QStringLiteral("没有任何有权限的模板或对当前模板无修改权限！");
    }
    static QString displayTemplateLabel() { return QStringLiteral("显示模版："); }
    static QString printTemplateLabel() { return QStringLiteral("打印模版："); }
    static QString printSettingsNotSaved() { return QStringLiteral("打印设置保存失败！"); }
    static QString templateMissing() { return QStringLiteral("单据模板不存在。"); }

    // Lines of the change log of one edit.
    static QString logCreated(const QString& parent) {
        return QStringLiteral("新增物料清单 ") + parent;
    }
    static QString logDeleted() { return QStringLiteral("删除物料清单"); }
    static QString logHeader(const QString& caption, const QString& from, const QString& to) {
        return caption + QStringLiteral("：") + from + QStringLiteral(" → ") + to;
    }
    static QString logLineAdded(const QString& code) { return QStringLiteral("增加子件 ") + code; }
    static QString logLineRemoved(const QString& code) {
        return QStringLiteral("删除子件 ") + code;
    }
    static QString logLineChanged(const QString& code, const QString& change) {
        return QStringLiteral("子件 ") + code + QLatin1Char(' ') + change;
    }
};

} // namespace bom::card
