#pragma once

#include <QString>
#include <QStringList>

namespace bom::variants {

// The colour/size window's messages and captions, in one place so a translation can be added
// later.
struct ColourSizeTexts {
    // Opening.
    static QString noColourSize() {
        return QStringLiteral("服装版帐套必须设置颜色和尺码自由项才可以操作！");
    }
    static QString gateTitle() { return QStringLiteral("物料清单"); }
    static QString templateGone() { return QStringLiteral("当前选中的已被删除!"); }

    // What a deletion kept, one line per BOM, shown together at the end.
    static QString kept(const QString& itemName, const QString& colour, const QString& size,
                        const QString& salesOrder) {
        return itemName + QStringLiteral("[颜色: ") + colour + QStringLiteral(",") +
               QStringLiteral("尺码:") + size + QStringLiteral(",") + QStringLiteral("版本号:") +
               salesOrder + QStringLiteral("]已审核或为默认成本BOM，不可删除！");
    }
    static QString reportTitle() { return QStringLiteral("提示"); }
    static constexpr int kReportStyle = 16;

    // Choosing pairs by name (bomctl), refused as the window would not let them be ticked.
    static QString unknownColour(const QString& colour, const QString& parent) {
        return QStringLiteral("颜色%1不是%2的颜色。").arg(colour, parent);
    }
    static QString unknownSize(const QString& size, const QString& parent) {
        return QStringLiteral("尺码%1不是%2的尺码。").arg(size, parent);
    }
    static QString noSuchPair(const QString& colour, const QString& size) {
        return QStringLiteral("颜色%1尺码%2没有物料清单，不能删除。").arg(colour, size);
    }

    // The run.
    static QString title() { return QStringLiteral("颜色尺码"); }
    static QString running(bool deleting) {
        return deleting ? QStringLiteral("正在删除物料清单…") : QStringLiteral("正在生成物料清单…");
    }
    static QString cancelButton() { return QStringLiteral("取消"); }
    static QString cancelled() { return QStringLiteral("已取消，未做任何修改。"); }
    static QString failed(const QString& reason) {
        return QStringLiteral("颜色尺码处理失败，未做任何修改：") + reason;
    }

    // The window (FrmNewCS).
    static QString caption(bool deleting) {
        return deleting ? QStringLiteral("批量删除") : QStringLiteral("批量增加");
    }
    static QString templateLine(const QString& parentTerm, const QString& code,
                                const QString& name) {
        return parentTerm + QStringLiteral("：") + code + QLatin1Char(' ') + name;
    }
    static QStringList colourColumns() {
        return {QStringLiteral("颜色代码"), QStringLiteral("颜色名称"), QStringLiteral("已选尺码")};
    }
    static QStringList sizeColumns() {
        return {QStringLiteral("尺码代码"), QStringLiteral("尺码名称")};
    }
    static QString tickAllSizes() { return QStringLiteral("全选尺码"); }
    static QString clearAll() { return QStringLiteral("全部清除"); }
    static QString applyToAllColours() { return QStringLiteral("应用到所有颜色"); }
    static QString invertSizes() { return QStringLiteral("反选尺码"); }
    static QString helpButton() { return QStringLiteral("帮助"); }
    static QString runButton(bool deleting) {
        return deleting ? QStringLiteral("删除") : QStringLiteral("生成");
    }
    static QString closeButton() { return QStringLiteral("关闭"); }
    static QString helpTitle() { return QStringLiteral("操作帮助"); }
    static QString help(bool deleting) {
        return QStringLiteral("在左边选中一个颜色，在右边勾选它的尺码；已选尺码列出该颜色要") +
               (deleting ? QStringLiteral("删除") : QStringLiteral("生成")) +
               QStringLiteral("的尺码。\n"
                              "全选尺码：勾选当前颜色的全部尺码。\n"
                              "全部清除：清除所有颜色的已选尺码。\n"
                              "应用到所有颜色：所有颜色都选当前颜色所选的尺码。\n"
                              "反选尺码：当前颜色的尺码勾选的取消，未勾选的勾选。\n") +
               (deleting
                    ? QStringLiteral("只有已有物料清单的颜色尺码可以勾选；已审核或为默认成本BOM的"
                                     "不会删除，最后一并列出。")
                    : QStringLiteral("已有物料清单的颜色尺码总是勾选着，不会重复生成。"));
    }
};

} // namespace bom::variants
