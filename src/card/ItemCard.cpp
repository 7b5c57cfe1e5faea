#include "ItemCard.h"

#include "db/Database.h"
#include "entry/VoucherHelpers.h"

namespace bom::card {
namespace {

struct Shown {
    const char* column; // as the query below names it
    const char* caption;
    bool flag; // shown as "是" / "否"
};

const Shown kShown[] = {
    {"cinvcode", "存货编码", false},
    {"cinvname", "存货名称", false},
    {"cinvaddcode", "存货代码", false},
    {"cinvstd", "规格型号", false},
    {"cinvcname", "存货分类", false},
    {"cunitname", "主计量单位", false},
    {"cgroupname", "计量单位组", false},
    {"cwhname", "默认仓库", false},
    {"bself", "自制", true},
    {"bproxyforeign", "委外", true},
    {"bpurchase", "外购", true},
    {"btrack", "出库跟踪入库", true},
    {"dedate", "停用日期", false},
};

} // namespace

std::optional<ItemCard::Fields> ItemCard::fields(const QString& itemCode) {
    const db::Rows rows = db_.query(
        QStringLiteral(
            "select i.cInvCode as cinvcode, i.cInvName as cinvname, i.cInvAddCode as cinvaddcode, "
            "i.cInvStd as cinvstd, c.cInvCName as cinvcname, u.cComUnitName as cunitname, "
            "g.cGroupName as cgroupname, w.cWhName as cwhname, i.bself, i.bproxyforeign, "
            "i.bPurchase as bpurchase, i.btrack, i.dEDate as dedate from Inventory i "
            "left join InventoryClass c on c.cInvCCode=i.cInvCCode "
            "left join ComputationUnit u on u.cComUnitCode=i.cComunitCode "
            "left join ComputationGroup g on g.cGroupCode=i.cGroupCode "
            "left join Warehouse w on w.cWhCode=i.cDefWareHouse where i.cInvCode=?"),
        {itemCode});
    if (rows.empty())
        return std::nullopt;
    Fields out;
    for (const Shown& shown : kShown) {
        const QVariant value = rows.value(0, QLatin1String(shown.column));
        out.emplace_back(QString::fromUtf8(shown.caption),
                         shown.flag
                             ? (entry::VoucherHelpers::TextToBool(value) ? QStringLiteral("是")
                                                                         : QStringLiteral("否"))
                             : value.toString());
    }
    return out;
}

QByteArray ItemCard::picture(const QString& itemCode) {
    return db_
        .scalar(QStringLiteral("select InvPicture from Inventory where cInvCode=?"), {itemCode})
        .toByteArray();
}

} // namespace bom::card
