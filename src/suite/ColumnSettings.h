#pragma once

#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

namespace bom::db {
class Database;
}

namespace bom::suite {

// One column of a list or reference, as an operator (or the account default) set it.
struct ColumnSetting {
    QString fieldName;
    QString caption;
    bool visible = true;
    int width = 100;
    QString sort; // "", "asc" or "desc"
    int sortOrder = 0;
};

// Column settings per key ("WLQDLBM", "InventoryRef" …): the operator's own when saved,
// else the account's default. Field names are plain identifiers, checked when read and saved.
class ColumnSettings {
public:
    ColumnSettings();
    ~ColumnSettings();
    bool Init(const QString& url, const QString& userId, QString* error = nullptr);

    // The colInfo handle the other calls take.
    QString getColInfo(const QString& key, int mode = 1) const;
    QString GetSqlString(const QString& colInfo);   // "a,b,c"
    QString getOrderString(const QString& colInfo); // "a asc,b desc" or ""
    std::vector<ColumnSetting> GetColset(const QString& key, int mode = 1);
    // The select list and order of settings already read.
    static QString selectListOf(const std::vector<ColumnSetting>& columns);
    static QString orderOf(const std::vector<ColumnSetting>& columns);

    // Saves the operator's own setting for `key` in one transaction; false with `error` set
    // for an empty list or a name that is no plain identifier.
    bool Save(const QString& key, const std::vector<ColumnSetting>& columns, QString* error);
    // Drops the operator's own setting so the default applies again.
    void Reset(const QString& key);

private:
    std::unique_ptr<db::Database> db_;
    QString userId_;
};

} // namespace bom::suite
