#pragma once

#include <QString>

namespace bom::card {

// The messages of the card's entry checks, in one place so a translation can be added later.
struct CardEntryTexts {
    static QString promptTitle() { return QStringLiteral("提示"); }

    static QString badCharacter() { return QStringLiteral("请输入合法字符！"); }
    static QString notANumber() { return QStringLiteral("输入数值为非法，请重新输入！"); }
    static QString wrongEntry() { return QStringLiteral("输入错误！"); }
    static QString dropSubstitutes() {
        return QStringLiteral("将替换属性改成否系统将自动清除相应的替换件，是否继续？");
    }
    static QString madeNotSubstituted() { return QStringLiteral("半成品、成品应不能替代。"); }
    static QString filledBySystem() { return QStringLiteral("该项由系统填写，不能修改！"); }
    static QString userDefinitionsUnread() { return QStringLiteral("初始化自定义项组件失败！"); }
    static QString userValueRefused() { return QStringLiteral("合法性检查失败！"); }
    // A free item the item does not use (the save refuses it with the same words).
    static QString freeItemUnused(const QString& caption) {
        return QStringLiteral("不允许设置") + caption + QStringLiteral("，请检查！");
    }

    // Header.
    static QString noParentItem(const QString& typed) {
        return QStringLiteral("存货档案中不存在该产品") + typed +
               QStringLiteral("名称或编码或者该存货不具有生产/委外属性，或者该存货已停用，"
                              "也可能是当前用户没有使用该存货的权限！");
    }
    static QString ropParent(const QString& code) {
        return QStringLiteral("存货档案中产品[") + code +
               QStringLiteral("]是ROP件，不允许作为母件！");
    }
    static QString parentIsComponent() { return QStringLiteral("母件不可与子件相同！"); }
    static QString noDepartment() {
        return QStringLiteral("没有该部门编码或名称或非末节部门编码和名称！");
    }
    static QString parentFirst() { return QStringLiteral("请先输入母件编码"); }
    static QString noOrderLine(const QString& order, const QString& parentTerm,
                               const QString& parent) {
        return QStringLiteral("销售订单[") + order + QStringLiteral("]中没有") + parentTerm +
               QStringLiteral("[") + parent + QStringLiteral("]的订单行！");
    }
    static QString noRouting() { return QStringLiteral("没有该工艺路线"); }
    static QString routingFirst() { return QStringLiteral("请先输入工艺路线编码"); }
    static QString noRoutingVersion() { return QStringLiteral("该工艺路线没有该版本号"); }

    // Lines.
    static QString componentEmpty() { return QStringLiteral("子件编码不能为空。"); }
    static QString parentEmpty() { return QStringLiteral("母件不能为空！"); }
    static QString directCycle(const QString& componentTerm, const QString& component,
                               const QString& parentTerm, const QString& parent) {
        return componentTerm + QStringLiteral("[") + component + QStringLiteral("]的BOM中已含") +
               parentTerm + QStringLiteral("[") + parent + QStringLiteral("]，不可出现循环调用！");
    }
    static QString itemFirst() { return QStringLiteral("必须先输入存货！"); }
    static QString noAuxiliaryUnit() { return QStringLiteral("没有该辅助计量单位编码或名称！"); }
    static QString noWarehouse() { return QStringLiteral("没有该仓库编码或名称！"); }
    static QString trackedOnSite() {
        return QStringLiteral("存货为出库跟踪入库，不能设置为[现场仓或委外仓]。");
    }
    static QString noWorkshop() { return QStringLiteral("没有该用料车间编码或名称或非末节！"); }
    static QString noStorekeeper() { return QStringLiteral("没有该库管员编码或名称！"); }
    static QString noOperation() { return QStringLiteral("没有该用工序编码或名称！"); }
    static QString backflushNeedsSite() {
        return QStringLiteral("物料类型为[入库倒冲]只能输入现场仓或者委外仓。");
    }
    static QString otherNeedsOrdinary() {
        return QStringLiteral("物料类型为非[入库倒冲]只能输入普通仓库。");
    }
    static QString trackedBackflush() {
        return QStringLiteral("存货为出库跟踪入库，不能设置为[入库倒冲]。");
    }
    // fillAllLines: one line of the joined refusal.
    static QString lineRefusal(int lineNumber, const QString& text) {
        return QStringLiteral("第%1行：").arg(lineNumber) + text;
    }

    // Cost figures of the header, with the least value each takes.
    static QString yieldRate() { return QStringLiteral("成品率必须大于0！"); }
    static QString standardHours() { return QStringLiteral("标准工时必须大于等于0！"); }
    static QString wageRate() { return QStringLiteral("标准工资率必须大于等于0！"); }
    static QString labourCost() { return QStringLiteral("标准人工成本必须大于等于0！"); }
    static QString overheadRate() { return QStringLiteral("标准费用率必须大于等于0！"); }
    static QString overhead() { return QStringLiteral("标准制造费用必须大于等于0！"); }
    static QString wipMaterial() { return QStringLiteral("期末在产品物料成本必须大于等于0！"); }
    static QString wipLabour() { return QStringLiteral("期末在产品人工成本必须大于等于0！"); }
    static QString wipOverhead() { return QStringLiteral("期末在产品制造费用必须大于等于0！"); }

    // Captions of the card's own references.
    static QString orderColumns() { return QStringLiteral("销售订单号,销售订单行号,存货编码"); }
    static QString unitColumns() {
        return QStringLiteral("计量单位编码,计量单位名称,计量单位组,组类别,是否主计量,换算率");
    }
    static QString groupTypeName(int type) {
        return type == 0   ? QStringLiteral("无换算率")
               : type == 1 ? QStringLiteral("固定换算率")
                           : QStringLiteral("浮动换算率");
    }
};

} // namespace bom::card
