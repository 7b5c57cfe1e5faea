#include "TemplateLayout.h"

#include "bomservice/BomCardLoader.h"
#include "entry/Format.h"
#include "entry/Session.h"
#include "entry/VoucherHelpers.h"

namespace bom::card {
namespace {

void place(CardLayout& layout, const QString& section, CardField field) {
    if (section.compare(QLatin1String("T"), Qt::CaseInsensitive) == 0)
        layout.header.push_back(std::move(field));
    else if (layout.hasBodyGrid)
        layout.body.push_back(std::move(field));
}

int decimalsOf(const QVariant& numPoint) {
    return numPoint.isNull() ? -1 : numPoint.toInt();
}

} // namespace

QString CardField::text(const QVariant& value) const {
    if (value.isNull())
        return {};
    const auto number = entry::VoucherHelpers::ToNumber(value);
    if (decimals >= 0 && number)
        return entry::FormatByDigits(*number, decimals);
    if (value.typeId() == QMetaType::Double)
        return QString::number(value.toDouble(), 'g', 15);
    return value.toString();
}

namespace {

const CardField* fieldNamed(const std::vector<CardField>& fields, const QString& name) {
    for (const CardField& field : fields)
        if (field.name.compare(name, Qt::CaseInsensitive) == 0)
            return &field;
    return nullptr;
}

} // namespace

const CardField* CardLayout::bodyField(const QString& name) const {
    return fieldNamed(body, name);
}

const CardField* CardLayout::headerField(const QString& name) const {
    return fieldNamed(header, name);
}

QString TemplateLayout::captionOf(const QString& field, const QString& formula,
                                  const QString& itemName) {
    if (!formula.trimmed().isEmpty())
        return formula.trimmed();
    if (!itemName.trimmed().isEmpty())
        return itemName.trimmed();
    const QString caption = bomservice::BomCardLoader(session_).fieldCaption(field);
    return caption.isEmpty() ? field : caption;
}

CardLayout TemplateLayout::read(const QString& sql, int templateId, bool hasBodyGrid) {
    const db::Rows rows = session_.gConn->query(sql, {templateId});
    CardLayout layout;
    layout.hasBodyGrid = hasBodyGrid;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const QString name = rows.text(i, "fieldname").toLower();
        place(layout, rows.text(i, "cardsection"),
              {name, captionOf(name, rows.text(i, "cardformula1"), rows.text(i, "carditemname")),
               rows.value(i, "iorder").toInt(), rows.value(i, "bshow").toInt() != 0,
               rows.value(i, "required").toInt() == 1, decimalsOf(rows.value(i, "NumPoint"))});
    }
    return layout;
}

CardLayout TemplateLayout::display(int templateId, bool hasBodyGrid) {
    return read(QStringLiteral("select fieldname, cardsection, carditemname, cardformula1, "
                               "\"isnull\" as required, NumPoint, iorder, bshow from "
                               "voucheritems where vt_id=? order by iorder, autoid"),
                templateId, hasBodyGrid);
}

// A print template has no formulas, order numbers or hidden fields: all it names is printed,
// in its own order.
CardLayout TemplateLayout::print(int templateId, bool hasBodyGrid) {
    return read(QStringLiteral("select fieldname, cardsection, carditemname, NULL as "
                               "cardformula1, 0 as required, NumPoint, autoid as iorder, 1 as "
                               "bshow from voucheritems_prn where vt_id=? order by autoid"),
                templateId, hasBodyGrid);
}

} // namespace bom::card
