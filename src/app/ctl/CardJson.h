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
// The card in the file at `path` ("-": standard input); empty with `error` set when it cannot
// be read or is no card. A card file is never allowed to exhaust memory.
std::optional<bomservice::BomCard> cardFromFile(const QString& path, QString* error);

class CtlContext;
enum class CardFormat { Json, Xml };
// The --format a card is printed in (json when not given); a usage error already reported
// when it names another.
std::optional<CardFormat> cardFormat(CtlContext& ctx);
// Prints a card as show does, in --json mode as the result's "card" (or "xml"). Answers the
// exit status.
int printCard(CtlContext& ctx, const bomservice::BomCard& card, CardFormat format);

} // namespace bom::app
