#pragma once

#include "db/Rows.h"

#include <QHash>
#include <QString>
#include <QVariant>
#include <optional>
#include <vector>

namespace bom::bomservice {

// One column of a row set, as the ADO persisted XML schema describes it.
struct RowSetColumn {
    QString name;            // lower case, as the XML attributes are
    QString type = "string"; // dt:type: string, i4, i8, float, number, boolean, dateTime
    int maxLength = 0;       // strings only; 0 = not stated
    bool nullable = true;
};

// Rows of named values that travel between the card, the service and bomctl. Body rows carry
// "editprop" ("A" added, "M" modified, "D" deleted, "" unchanged) and "oldautoid" (the row's
// autoid when loaded) as ordinary columns. Column names ignore case.
class RowSet {
public:
    RowSet() = default;
    explicit RowSet(std::vector<RowSetColumn> columns);
    // The columns and rows of a query; types follow the values' kinds.
    static RowSet fromRows(const db::Rows& rows);

    const std::vector<RowSetColumn>& columns() const { return columns_; }
    int columnIndex(const QString& name) const; // -1 when absent
    bool hasColumn(const QString& name) const { return columnIndex(name) >= 0; }
    // Adds the column (no-op when present) and answers its index.
    int addColumn(const RowSetColumn& column);

    int rowCount() const { return int(rows_.size()); }
    int appendRow(); // an empty row (all values null); answers its index
    void removeRow(int row);

    // Null for an unknown column or row.
    QVariant value(int row, const QString& column) const;
    // "" for a null value: the PostgreSQL driver's typed null number would read as "0".
    QString text(int row, const QString& column) const {
        const QVariant v = value(row, column);
        return v.isNull() ? QString() : v.toString();
    }
    // Adds the column when absent.
    void setValue(int row, const QString& column, const QVariant& value);
    // By column index (from columnIndex), for loops over many rows: null for -1.
    const QVariant& cell(int row, int column) const {
        static const QVariant none;
        return column < 0 ? none : rows_[std::size_t(row)][std::size_t(column)];
    }
    void setCell(int row, int column, const QVariant& value) {
        rows_[std::size_t(row)][std::size_t(column)] = value;
    }

    QString editprop(int row) const { return text(row, QStringLiteral("editprop")); }
    void setEditprop(int row, const QString& prop) {
        setValue(row, QStringLiteral("editprop"), prop);
    }
    QVariant oldautoid(int row) const { return value(row, QStringLiteral("oldautoid")); }

    // The selections the service makes, in row order.
    std::vector<int> allRows() const;
    std::vector<int> deletedRows() const;         // editprop "D"
    std::vector<int> addedOrModifiedRows() const; // editprop "A" or "M"
    std::vector<int> notDeletedRows() const;      // editprop not "D"

    // Whether any row carries an edit mark.
    bool hasEditMarks() const;
    // Marks rows that came without marks as the edit of `stored` that they are, pairing rows
    // by the `key` column: rows without a key are added, rows that differ from their stored row
    // modified, stored rows missing here appended as deleted. A keyed row that is not among the
    // stored is marked modified, so that the save reports it gone.
    void markAgainst(const RowSet& stored, const QString& key);
    // After a save: deleted rows dropped, the others unmarked.
    void acceptEdits();

    // ADO persisted XML: an xml root with the s, dt, rs and z namespaces, an s:Schema and
    // rs:data holding one z:row per row, attributes in lower case, nulls left out.
    QString toXml() const;
    // Empty with `error` set when the text is not such a document.
    static std::optional<RowSet> fromXml(const QString& xml, QString* error);

    bool operator==(const RowSet& other) const;

private:
    std::vector<RowSetColumn> columns_;
    QHash<QString, int> index_; // lower-case name -> position in columns_
    std::vector<std::vector<QVariant>> rows_;
};

// A BOM card: the header row set (one row) and the body row set (the lines).
struct BomCard {
    RowSet header;
    RowSet lines;
};

} // namespace bom::bomservice
