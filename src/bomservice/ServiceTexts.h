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
};

} // namespace bom::bomservice
