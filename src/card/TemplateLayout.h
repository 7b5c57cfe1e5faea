#pragma once

#include <QString>
#include <QVariant>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::card {

// One field of a card template as the view lays it out.
struct CardField {
    QString name;    // lower case, the view's column
    QString caption; // cardformula1, else carditemname, else the free-item caption, else name
    int order = 0;
    bool visible = true;
    bool required = false;
    int decimals = -1; // NumPoint; -1 when not a number

    // A value as the card shows it: a number with the field's decimals.
    QString text(const QVariant& value) const;
};

struct CardLayout {
    std::vector<CardField> header; // in display order
    std::vector<CardField> body;
    bool hasBodyGrid = true;

    const CardField* bodyField(const QString& name) const;
    const CardField* headerField(const QString& name) const;
};

// Reads the layout of a card from the account's template tables. Database errors throw
// db::DbError.
class TemplateLayout {
public:
    explicit TemplateLayout(entry::Session& session) : session_(session) {}

    // A display template's fields (voucheritems) by iorder.
    CardLayout display(int templateId, bool hasBodyGrid);
    // A print template's fields (voucheritems_prn) in the template's order; empty when the
    // template names none.
    CardLayout print(int templateId, bool hasBodyGrid);

private:
    QString captionOf(const QString& field, const QString& formula, const QString& itemName);
    // Both kinds of template answer the same columns, so one reader lays them out.
    CardLayout read(const QString& sql, int templateId, bool hasBodyGrid);

    entry::Session& session_;
};

} // namespace bom::card
