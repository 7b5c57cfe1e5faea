#pragma once

#include <QByteArray>
#include <QString>
#include <optional>
#include <utility>
#include <vector>

namespace bom::db {
class Database;
}

namespace bom::card {

// An item's master data as the card shows it, read only: captions and values in order, and
// its picture. Database errors throw db::DbError.
class ItemCard {
public:
    using Fields = std::vector<std::pair<QString, QString>>;

    explicit ItemCard(db::Database& db) : db_(db) {}

    // std::nullopt when the item is not in the inventory.
    std::optional<Fields> fields(const QString& itemCode);
    // Empty when the item has none.
    QByteArray picture(const QString& itemCode);

private:
    db::Database& db_;
};

} // namespace bom::card
