#include "ColumnSettings.h"

#include "db/Database.h"
#include "db/DbError.h"
#include "db/Identifier.h"
#include "db/Transaction.h"

#include <algorithm>

namespace bom::suite {

ColumnSettings::ColumnSettings() = default;
ColumnSettings::~ColumnSettings() = default;

bool ColumnSettings::Init(const QString& url, const QString& userId, QString* error) {
    userId_ = userId;
    try {
        db_ = db::Database::open(url);
        return true;
    } catch (const db::DbError& e) {
        if (error)
            *error = e.message();
        return false;
    }
}

QString ColumnSettings::getColInfo(const QString& key, int) const {
    return key;
}

std::vector<ColumnSetting> ColumnSettings::GetColset(const QString& key, int) {
    const QString sql = QStringLiteral(
        "SELECT cfieldname, ccaption, bshow, iwidth, csort, isortorder FROM sys_column_setting "
        "WHERE ckey=? AND cuserid=? ORDER BY iorder");
    db::Rows rows = db_->query(sql, {key, userId_});
    if (rows.empty())
        rows = db_->query(sql, {key, QStringLiteral("")}); // the account default
    std::vector<ColumnSetting> columns;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        ColumnSetting c{rows.text(i, "cfieldname"),          rows.text(i, "ccaption"),
                        rows.value(i, "bshow").toInt() != 0, rows.value(i, "iwidth").toInt(),
                        rows.text(i, "csort").toLower(),     rows.value(i, "isortorder").toInt()};
        if (db::isPlainIdentifier(c.fieldName))
            columns.push_back(c);
    }
    return columns;
}

QString ColumnSettings::GetSqlString(const QString& colInfo) {
    return selectListOf(GetColset(colInfo));
}

QString ColumnSettings::getOrderString(const QString& colInfo) {
    return orderOf(GetColset(colInfo));
}

QString ColumnSettings::selectListOf(const std::vector<ColumnSetting>& columns) {
    QStringList names;
    for (const ColumnSetting& c : columns)
        names << c.fieldName;
    return names.join(',');
}

QString ColumnSettings::orderOf(const std::vector<ColumnSetting>& columns) {
    std::vector<ColumnSetting> sorted;
    for (const ColumnSetting& c : columns)
        if (c.sort == QLatin1String("asc") || c.sort == QLatin1String("desc"))
            sorted.push_back(c);
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return a.sortOrder < b.sortOrder; });
    QStringList parts;
    for (const ColumnSetting& c : sorted)
        parts << c.fieldName + ' ' + c.sort;
    return parts.join(',');
}

bool ColumnSettings::Save(const QString& key, const std::vector<ColumnSetting>& columns,
                          QString* error) {
    auto fail = [&](const QString& why) {
        if (error)
            *error = why;
        return false;
    };
    if (columns.empty())
        return fail(QStringLiteral("至少要保留一个栏目！"));
    for (const ColumnSetting& c : columns)
        if (!db::isPlainIdentifier(c.fieldName))
            return fail(QStringLiteral("栏目名称不合法：%1").arg(c.fieldName));
    try {
        db::Transaction tx(*db_);
        db_->exec(QStringLiteral("DELETE FROM sys_column_setting WHERE ckey=? AND cuserid=?"),
                  {key, userId_});
        int order = 0;
        for (const ColumnSetting& c : columns)
            db_->exec(QStringLiteral("INSERT INTO sys_column_setting(ckey, cuserid, iorder, "
                                     "cfieldname, ccaption, bshow, iwidth, csort, isortorder) "
                                     "VALUES (?,?,?,?,?,?,?,?,?)"),
                      {key, userId_, ++order, c.fieldName, c.caption, c.visible ? 1 : 0, c.width,
                       c.sort, c.sortOrder});
        tx.commit();
        return true;
    } catch (const db::DbError& e) {
        return fail(e.message());
    }
}

void ColumnSettings::Reset(const QString& key) {
    db_->exec(QStringLiteral("DELETE FROM sys_column_setting WHERE ckey=? AND cuserid=?"),
              {key, userId_});
}

} // namespace bom::suite
