#pragma once

#include <QString>

namespace bom::batch {

// The batch editor's messages and captions, in one place so a translation can be added later.
struct BatchTexts {
    static QString title() { return QStringLiteral("批量处理"); }
    static QString caption(int operation) {
        switch (operation) {
        case 0:
            return QStringLiteral("批量增加");
        case 1:
            return QStringLiteral("批量修改");
        case 2:
            return QStringLiteral("批量替换");
        default:
            return {};
        }
    }

    // Editor checks.
    static QString noItem() {
        return QStringLiteral("该存货不存在或已停用或您无权使用，请重新录入!");
    }
    static QString noWarehouse() { return QStringLiteral("仓库不存在或无权使用，请重新录入!"); }
    static QString noPerson() { return QStringLiteral("人员不存在或无权使用，请重新录入!"); }
    static QString noDepartment() { return QStringLiteral("部门不存在或无权使用，请重新录入!"); }
    static QString notPositive() { return QStringLiteral("不能录入零或负值!"); }
    static QString negative() { return QStringLiteral("不能录入负值!"); }
    static QString wasteRange() { return QStringLiteral("损耗率范围是[0-100]!"); }
    static QString notADate() { return QStringLiteral("日期格式不正确,请重新录入!"); }
    static QString notANumber() { return QStringLiteral("输入数值为非法，请重新输入！"); }
    static QString badFreeItem(const QString& caption) {
        return caption + QStringLiteral("不合法,请重新录入！");
    }
    static QString trackedBackflush() {
        return QStringLiteral("存货为出库跟踪入库，不能设置为[入库倒冲]!");
    }
    static QString backflushNeedsSite() {
        return QStringLiteral("物料类型为[入库倒冲]只能输入现场仓或者委外仓!");
    }
    static QString otherNeedsOrdinary() {
        return QStringLiteral("物料类型为非[入库倒冲]只能输入普通仓库!");
    }
    static QString unknownEditor(const QString& column) {
        return QStringLiteral("批量处理没有[%1]这一项。").arg(column);
    }

    // Scope and save.
    static QString lineNotInScope() { return QStringLiteral("请在指定BOM范围内选择子件。"); }
    static QString itemAndWarehouseRequired() {
        return QStringLiteral("存货编码、存放仓库不能为空!");
    }
    static QString cycleWith() {
        return QStringLiteral("子件将与以下母件导致母子关系循环，不能保存:");
    }
    static QString componentStopped() { return QStringLiteral("子件已停用。"); }
    static QString madeNotSubstituted() { return QStringLiteral("半成品、成品应不能替代。"); }
    static QString numeratorRequired() { return QStringLiteral("基本用量分子不能为空或零！"); }
    static QString duplicate() { return QStringLiteral("BOM不能添加重复子件。"); }
    static QString onlyLine() {
        return QStringLiteral("所选择的BOM中，有子件唯一的母件，不能执行批量删除操作。");
    }
    static QString bothQuantities() {
        return QStringLiteral("用量分子分母必须同时修改，是否继续？");
    }
    static QString nothingToModify() { return QStringLiteral("请设置修改项目"); }
    static QString added() { return QStringLiteral("批量添加完毕！"); }
    static QString deleted() { return QStringLiteral("批量删除完毕！"); }
    static QString modified() { return QStringLiteral("批量修改完毕！"); }
    static QString replaced() { return QStringLiteral("批量替换完毕！"); }
    static QString failed(const QString& reason) {
        return QStringLiteral("批量处理失败，未做任何修改：") + reason;
    }

    // Why a selected BOM was left alone.
    static QString skipReason(const QString& reason) {
        if (reason == QLatin1String("duplicate"))
            return QStringLiteral("已有该子件");
        if (reason == QLatin1String("only-line"))
            return QStringLiteral("子件唯一");
        if (reason == QLatin1String("approved"))
            return QStringLiteral("已审核");
        if (reason == QLatin1String("no-line"))
            return QStringLiteral("没有该子件");
        return QStringLiteral("已被删除或无权操作");
    }
};

} // namespace bom::batch
