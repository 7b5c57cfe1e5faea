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
    // "<select> where <column> in <codes>".
    auto read = [&](const QString& select, const QString& column, const QSet<QString>& codes,
                    auto&& keep) {
        if (codes.isEmpty())
            return;
        const db::SqlCondition sql =
            db::sqlText(select + QStringLiteral(" where ")) +
            db::BoundList::in(db.dialect(), column, QStringList(codes.begin(), codes.end()));
        const db::Rows rows = db.query(sql.sql, sql.params);
        for (std::size_t i = 0; i < rows.size(); ++i)
            keep(rows, i);
    };
    read(QStringLiteral("select cInvCode, cInvName, cInvAddCode, cInvStd from Inventory"),
         QStringLiteral("cInvCode"), items, [&](const db::Rows& rows, std::size_t i) {
             items_.insert(
                 rows.text(i, "cInvCode"),
                 {rows.text(i, "cInvName"), rows.text(i, "cInvAddCode"), rows.text(i, "cInvStd")});
         });
    read(QStringLiteral("select cWhCode, cWhName from Warehouse"), QStringLiteral("cWhCode"),
         warehouses, [&](const db::Rows& rows, std::size_t i) {
             warehouses_.insert(rows.text(i, "cWhCode"), rows.text(i, "cWhName"));
         });
    read(QStringLiteral("select cDepCode, cDepName from Department"), QStringLiteral("cDepCode"),
         departments, [&](const db::Rows& rows, std::size_t i) {
             departments_.insert(rows.text(i, "cDepCode"), rows.text(i, "cDepName"));
         });
}

namespace {

// The described columns in their order; the named free and user-defined items follow.
const char* const kDescribed[] = {"cpscode",        "csocode",    "ipsquantity",  "tdqtyd",
                                  "iprodchangrate", "iwasterate", "fbzdj",        "cwhcode",
                                  "cpersonname",    "cdepcode",   "cinsertfirst", "cinsertsecond",
                                  "cinsertthird"};

} // namespace

const std::vector<int>& LineDescriber::positions(const db::Rows& shape) const {
    if (shape_ != &shape || shapeColumns_ != shape.columns()) {
        shape_ = &shape;
        shapeColumns_ = shape.columns();
        positions_.clear();
        for (const char* column : kDescribed)
            positions_.push_back(shape.columnIndex(QLatin1String(column)));
        for (const Shown& shown : named_)
            positions_.push_back(shape.columnIndex(shown.column));
    }
    return positions_;
}

QString LineDescriber::describe(const db::Rows& shape, const QVariantList& line) const {
    const std::vector<int>& at = positions(shape);
    auto value = [&](std::size_t i) { return at[i] < 0 ? QVariant() : line.value(at[i]); };
    const QString code = value(0).toString();
    const Item item = items_.value(code);
    const std::pair<QString, QString> pairs[] = {
        {QStringLiteral("子件编码"), code},
        {QStringLiteral("子件名称"), item.name},
        {QStringLiteral("存货代码"), item.addCode},
        {QStringLiteral("规格型号"), item.specification},
        {QStringLiteral("版本号"), textOf(value(1))},
        {QStringLiteral("基本用量分子"), textOf(value(2))},
        {QStringLiteral("基本用量分母"), textOf(value(3))},
        {QStringLiteral("换算率"), textOf(value(4))},
        {QStringLiteral("损耗率"), textOf(value(5))},
        {QStringLiteral("标准单价"), textOf(value(6))},
        {QStringLiteral("存放仓库"), warehouses_.value(value(7).toString())},
        {QStringLiteral("库管员"), textOf(value(8))},
        {QStringLiteral("用料车间"), departments_.value(value(9).toString())},
        {QStringLiteral("插位1"), textOf(value(10))},
        {QStringLiteral("插位2"), textOf(value(11))},
        {QStringLiteral("插位3"), textOf(value(12))},
    };
    QString out;
    out.reserve(400);
    auto add = [&](const QString& caption, const QString& text) {
        if (!out.isEmpty())
            out += QLatin1Char(' ');
        out += caption + QStringLiteral("=\"") + text + QLatin1Char('"');
    };
    for (const auto& [caption, text] : pairs)
        add(caption, text);
    for (std::size_t i = 0; i < named_.size(); ++i)
        add(named_[i].caption, textOf(value(std::size(kDescribed) + i)));
    return out;
}

} // namespace bom::bomservice
