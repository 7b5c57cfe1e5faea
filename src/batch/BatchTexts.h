#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

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

    static QString salesOrderCaption() { return QStringLiteral("版本号"); }

    // Scope and save.
    static QString lineGone() { return QStringLiteral("所选子件已被删除，请刷新后重试！"); }
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

    // The form's captions.
    static QString editorCaption(const QString& name) {
        static const QHash<QString, QString> captions{
            {QStringLiteral("cpscode"), QStringLiteral("子件编码")},
            {QStringLiteral("csocode"), QStringLiteral("版本号")},
            {QStringLiteral("cwhcode"), QStringLiteral("存放仓库")},
            {QStringLiteral("cpersonname"), QStringLiteral("库管员")},
            {QStringLiteral("cdepcode"), QStringLiteral("用料车间")},
            {QStringLiteral("ipsquantity"), QStringLiteral("基本用量分子")},
            {QStringLiteral("tdqtyd"), QStringLiteral("基本用量分母")},
            {QStringLiteral("multiplier"), QStringLiteral("用量倍数")},
            {QStringLiteral("ccaacomunitcode"), QStringLiteral("辅助计量单位")},
            {QStringLiteral("iprodchangrate"), QStringLiteral("换算率")},
            {QStringLiteral("fbzdj"), QStringLiteral("标准单价")},
            {QStringLiteral("fbzwlcb"), QStringLiteral("标准材料成本")},
            {QStringLiteral("iwasterate"), QStringLiteral("损耗率%")},
            {QStringLiteral("wiptype"), QStringLiteral("供应类型")},
            {QStringLiteral("replaceflag"), QStringLiteral("替代标识")},
            {QStringLiteral("clearsubstitutes"), QStringLiteral("清除原替代料")},
            {QStringLiteral("cinsertfirst"), QStringLiteral("插位1")},
            {QStringLiteral("cinsertsecond"), QStringLiteral("插位2")},
            {QStringLiteral("cinsertthird"), QStringLiteral("插位3")},
            {QStringLiteral("autoid"), QStringLiteral("子件行号")},
            {QStringLiteral("unitqty"), QStringLiteral("辅助基本用量")},
            {QStringLiteral("childguid"), QStringLiteral("子件BOM")}};
        const auto known = captions.constFind(name);
        if (known != captions.cend())
            return *known;
        if (name.startsWith(QLatin1String("cfree")))
            return QStringLiteral("自由项") + name.mid(5);
        if (name.startsWith(QLatin1String("cdefine")))
            return QStringLiteral("表体自定义项%1").arg(name.mid(7).toInt() - 21);
        return name;
    }
    static QString currentLine() { return QStringLiteral("原子件："); }
    static QString previewButton() { return QStringLiteral("预览"); }
    static QString saveButton() { return QStringLiteral("保存"); }
    static QString quitButton() { return QStringLiteral("退出"); }
    static QString calculator() { return QStringLiteral("计算器（输入算式后回车）"); }
    static QString running() { return QStringLiteral("正在批量处理…"); }
    static QString cancelButton() { return QStringLiteral("取消"); }
    static QString cancelled() { return QStringLiteral("批量处理已取消，未做任何修改。"); }
    static QString previewTitle() { return QStringLiteral("批量处理预览"); }
    static QString previewSummary(int changed, int skipped) {
        return QStringLiteral("将修改%1个BOM，跳过%2个BOM。未做任何修改。")
            .arg(changed)
            .arg(skipped);
    }
    static QStringList previewColumns() {
        return {QStringLiteral("BOM"),          QStringLiteral("母件编码"),
                QStringLiteral("操作"),         QStringLiteral("材料成本(前)"),
                QStringLiteral("材料成本(后)"), QStringLiteral("修改前"),
                QStringLiteral("修改后")};
    }
    static QStringList skippedColumns() {
        return {QStringLiteral("跳过的BOM"), QStringLiteral("原因")};
    }
    // A run's operation as the runs window names it.
    static QString operationCaption(const QString& operation) {
        static const QHash<QString, QString> captions{
            {QStringLiteral("batch-add"), QStringLiteral("批量增加")},
            {QStringLiteral("batch-modify"), QStringLiteral("批量修改")},
            {QStringLiteral("batch-replace"), QStringLiteral("批量替换")},
            {QStringLiteral("batch-delete"), QStringLiteral("批量删除")},
            {QStringLiteral("variants-generate"), QStringLiteral("颜色尺码批增")},
            {QStringLiteral("variants-delete"), QStringLiteral("颜色尺码批删")},
            {QStringLiteral("cost"), QStringLiteral("写入成本")},
            {QStringLiteral("import"), QStringLiteral("导入")}};
        return captions.value(operation, operation);
    }
    static QString changeKind(const QString& kind) {
        if (kind == QLatin1String("A"))
            return QStringLiteral("增加");
        if (kind == QLatin1String("D"))
            return QStringLiteral("删除");
        return QStringLiteral("修改");
    }

    // The runs window.
    static QString runsTitle() { return QStringLiteral("撤销批量操作"); }
    static QStringList runsColumns() {
        return {QStringLiteral("编号"), QStringLiteral("时间"), QStringLiteral("操作员"),
                QStringLiteral("操作"), QStringLiteral("状态"), QStringLiteral("BOM数"),
                QStringLiteral("说明")};
    }
    static QString undoButton() { return QStringLiteral("撤销"); }
    static QString closeButton() { return QStringLiteral("关闭"); }
    static QString undoQuestion(qlonglong run) {
        return QStringLiteral("确实要撤销第%1号批量操作吗？").arg(run);
    }
    static QString chooseRun() { return QStringLiteral("请选择要撤销的批量操作！"); }
    static QString undone(qlonglong run) {
        return QStringLiteral("第%1号批量操作已撤销！").arg(run);
    }
    static QString runState(const QString& state) {
        return state == QLatin1String("undone") ? QStringLiteral("已撤销")
                                                : QStringLiteral("已完成");
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
