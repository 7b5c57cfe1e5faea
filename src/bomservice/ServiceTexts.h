#pragma once

#include <QString>

namespace bom::bomservice {

// Texts the BOM service shows from more than one place.
struct ServiceTexts {
    static QString title() { return QStringLiteral("BOM维护"); }
    // A loaded card whose BOM was changed, deleted or hidden since.
    static QString changedMeanwhile() {
        return QStringLiteral("该单据已被其他人更新或删除，请放弃后刷新！");
    }
    // A save that wrote nothing, and what it shows when the database refused a write.
    static QString saveFailed() { return QStringLiteral("保存失败！"); }
    static QString writeFailed() {
        return QStringLiteral("保存失败，\r\n请重试，\r\n或检查数据格式！");
    }
    // The same with what the database said, so the cause is not lost.
    static QString writeFailed(const QString& reason) {
        return reason.isEmpty() ? writeFailed() : writeFailed() + QStringLiteral("\r\n") + reason;
    }
    // A card whose header or body did not come with it.
    static QString headerMissing() { return QStringLiteral("前台传来的表头数据有误，不能保存!"); }
    static QString bodyMissing() { return QStringLiteral("前台传来的表体数据有误，不能保存!"); }
    static QString loadFailed() { return QStringLiteral("单据加载失败，请刷新后重试！"); }
};

} // namespace bom::bomservice
