#include "LineDescriber.h"

#include "db/BoundList.h"
#include "db/Database.h"
#include "entry/EntryLookups.h"
#include "entry/Session.h"
#include "entry/VoucherHelpers.h"

#include <QSet>

namespace bom::bomservice {
namespace {

QString textOf(const QVariant& value) {
    if (value.isNull())
        return {};
    if (value.typeId() != QMetaType::QString)
        if (const auto number = entry::VoucherHelpers::ToNumber(value))
            return QString::number(*number, 'g', 15);
    return value.toString();
}

QVariant cell(const db::Rows& shape, const QVariantList& line, const QString& column) {
    const int at = shape.columnIndex(column);
    return at < 0 ? QVariant() : line.value(at);
}

} // namespace

LineDescriber::LineDescriber(entry::Session& session) : session_(session) {
    entry::EntryLookups lookups(session);
    for (int n = 1; n <= 10; ++n) {
        const auto defined =
            lookups.definition(QStringLiteral("存货"), QStringLiteral("自由项%1").arg(n));
        if (defined && defined->named)
            named_.push_back({QStringLiteral("cfree%1").arg(n), defined->caption});
    }
    for (int n = 1; n <= 16; ++n) {
        const auto defined =
            lookups.definition(QStringLiteral("单据体"), QStringLiteral("自定义项%1").arg(n));
        if (defined && defined->named)
            named_.push_back({QStringLiteral("cdefine%1").arg(21 + n), defined->caption});
    }
}

void LineDescriber::learn(const db::Rows& shape, const std::vector<const QVariantList*>& lines) {
    QSet<QString> items, warehouses, departments;
    const int item = shape.columnIndex(QStringLiteral("cpscode"));
    const int warehouse = shape.columnIndex(QStringLiteral("cwhcode"));
    const int department = shape.columnIndex(QStringLiteral("cdepcode"));
    for (const QVariantList* line : lines) {
        auto take = [&](int at, QSet<QString>& codes, auto& known) {
            const QString code = at < 0 ? QString() : line->value(at).toString();
            if (!code.isEmpty() && !known.contains(code))
                codes.insert(code);
        };
        take(item, items, items_);
        take(warehouse, warehouses, warehouses_);
        take(department, departments, departments_);
    }
    db::Database& db = *session_.gConn;
    auto read = [&](const QString& select, const QSet<QString>& codes, auto&& keep) {
        if (codes.isEmpty())
            return;
        const db::SqlCondition sql =
            db::sqlText(select) + db::BoundList::texts(db.dialect(), {codes.begin(), codes.end()});
        const db::Rows rows = db.query(sql.sql, sql.params);
        for (std::size_t i = 0; i < rows.size(); ++i)
            keep(rows, i);
    };
    read(QStringLiteral("select cInvCode, cInvName, cInvAddCode, cInvStd from Inventory where "
                        "cInvCode in "),
         items, [&](const db::Rows& rows, std::size_t i) {
             items_.insert(
                 rows.text(i, "cInvCode"),
                 {rows.text(i, "cInvName"), rows.text(i, "cInvAddCode"), rows.text(i, "cInvStd")});
         });
    read(QStringLiteral("select cWhCode, cWhName from Warehouse where cWhCode in "), warehouses,
         [&](const db::Rows& rows, std::size_t i) {
             warehouses_.insert(rows.text(i, "cWhCode"), rows.text(i, "cWhName"));
         });
    read(QStringLiteral("select cDepCode, cDepName from Department where cDepCode in "),
         departments, [&](const db::Rows& rows, std::size_t i) {
             departments_.insert(rows.text(i, "cDepCode"), rows.text(i, "cDepName"));
         });
}

QString LineDescriber::describe(const db::Rows& shape, const QVariantList& line) const {
    const QString code = cell(shape, line, QStringLiteral("cpscode")).toString();
    const Item item = items_.value(code);
    const std::pair<QString, QString> pairs[] = {
        {QStringLiteral("子件编码"), code},
        {QStringLiteral("子件名称"), item.name},
        {QStringLiteral("存货代码"), item.addCode},
        {QStringLiteral("规格型号"), item.specification},
        {QStringLiteral("版本号"), textOf(cell(shape, line, QStringLiteral("csocode")))},
        {QStringLiteral("基本用量分子"), textOf(cell(shape, line, QStringLiteral("ipsquantity")))},
        {QStringLiteral("基本用量分母"), textOf(cell(shape, line, QStringLiteral("tdqtyd")))},
        {QStringLiteral("换算率"), textOf(cell(shape, line, QStringLiteral("iprodchangrate")))},
        {QStringLiteral("损耗率"), textOf(cell(shape, line, QStringLiteral("iwasterate")))},
        {QStringLiteral("标准单价"), textOf(cell(shape, line, QStringLiteral("fbzdj")))},
        {QStringLiteral("存放仓库"),
         warehouses_.value(cell(shape, line, QStringLiteral("cwhcode")).toString())},
        {QStringLiteral("库管员"), textOf(cell(shape, line, QStringLiteral("cpersonname")))},
        {QStringLiteral("用料车间"),
         departments_.value(cell(shape, line, QStringLiteral("cdepcode")).toString())},
        {QStringLiteral("插位1"), textOf(cell(shape, line, QStringLiteral("cinsertfirst")))},
        {QStringLiteral("插位2"), textOf(cell(shape, line, QStringLiteral("cinsertsecond")))},
        {QStringLiteral("插位3"), textOf(cell(shape, line, QStringLiteral("cinsertthird")))},
    };
    QStringList out;
    for (const auto& [caption, value] : pairs)
        out << caption + QStringLiteral("=\"") + value + QLatin1Char('"');
    for (const Shown& shown : named_)
        out << shown.caption + QStringLiteral("=\"") + textOf(cell(shape, line, shown.column)) +
                   QLatin1Char('"');
    return out.join(QLatin1Char(' '));
}

} // namespace bom::bomservice
