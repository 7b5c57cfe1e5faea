#pragma once

#include "SqlCondition.h"

#include <QString>
#include <QVariantList>
#include <vector>

namespace bom::db {

// An order for reading a list page by page: each page starts after the sort key of the last
// row of the page before, so reading page 1,000 costs what page 1 costs and no row is read
// twice or skipped when rows are added or removed between pages. The keys are expressions over
// the listed relation; the last must tell every row apart (a primary key). Nulls sort as the
// empty text or zero, the same on every database.
class Keyset {
public:
    struct Key {
        QString column;
        bool descending = false;
        bool numeric = false;
    };

    explicit Keyset(std::vector<Key> keys) : keys_(std::move(keys)) {}

    const std::vector<Key>& keys() const { return keys_; }
    // The key columns as select-list entries named "keyset_0" …, read back by lastKeyOf.
    QString selectList() const;
    // " order by …" over the keys.
    QString orderBy() const;
    // " and (…)" for the rows after `lastKey`; empty for the first page.
    SqlCondition after(const QVariantList& lastKey) const;
    static QString keyColumn(int index) { return QStringLiteral("keyset_%1").arg(index); }
    // The same order read backwards: its after() gives the rows before a key, nearest first,
    // and its first page is the last rows.
    Keyset reversed() const;

private:
    QString expression(const Key& key) const;
    std::vector<Key> keys_;
};

} // namespace bom::db
