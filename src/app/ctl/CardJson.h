#pragma once

#include "bomservice/RowSet.h"

#include <QJsonObject>
#include <optional>

namespace bom::app {

// The card as bomctl prints and reads it: {"header":{field:value,…},"lines":[{…},…]} with
// lower-case field names.
QJsonObject cardToJson(const bomservice::BomCard& card);
// Empty with `error` set when the text is not such an object.
std::optional<bomservice::BomCard> cardFromJson(const QByteArray& text, QString* error);

} // namespace bom::app
