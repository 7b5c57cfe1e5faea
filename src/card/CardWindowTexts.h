#pragma once

#include <QString>

namespace bom::card {

// The texts of the card's windows and dialogs beyond those the command dispatcher shows.
struct CardWindowTexts {
    static QString maintain() { return QStringLiteral("维护"); } // after the card's title
    static QString attachments() { return QStringLiteral("附件"); }
    static QString soCodeTitle() { return QStringLiteral("全阶复制"); }
    static QString soCodePrompt() { return QStringLiteral("新版本（销售订单号）："); }
    static QString pictureTitle() { return QStringLiteral("存货图片"); }
    static QString pictureUnreadable() { return QStringLiteral("存货图片无法显示！"); }
    static QString inventoryTitle() { return QStringLiteral("存货档案"); }
    static QString historyTitle() { return QStringLiteral("修改日志"); }
    static QString findRowTitle() { return QStringLiteral("定位"); }
    static QString findRowPrompt() { return QStringLiteral("请输入要查找的内容："); }
    static QString notFound() { return QStringLiteral("没有找到符合条件的记录！"); }
    static QString outputTitle() { return QStringLiteral("输出文件"); }
    static QString workbookFilter() { return QStringLiteral("Excel 工作簿，可再导入 (*.xlsx)"); }
    static QString writeFailed() { return QStringLiteral("文件保存失败："); }
    static QString readFailed() { return QStringLiteral("文件读取失败："); }
    static QString openFailed() { return QStringLiteral("无法打开附件："); }
    static QString removeAttachment() { return QStringLiteral("确信要删除该附件吗？"); }
    static QString attachmentGone() { return QStringLiteral("该附件已被删除。"); }
    static QString help() {
        return QStringLiteral("F5 增加　F8 修改　F6 保存\n"
                              "Ctrl+I 增行　Ctrl+D 删行\n"
                              "Ctrl+P 打印　Ctrl+F4 退出");
    }
    static QString helpTitle() { return QStringLiteral("操作帮助"); }
    static QString saveLineFirst() { return QStringLiteral("新增的子件请先保存，再编辑替代料。"); }
};

} // namespace bom::card
