#include "CardJson.h"

#include "CtlContext.h"
#include "RowPrinter.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

namespace bom::app {
namespace {

QJsonObject rowObject(const bomservice::RowSet& rows, int row) {
    QJsonObject object;
    for (const auto& column : rows.columns())
        object.insert(column.name.toLower(), RowPrinter::toJson(rows.value(row, column.name)));
    return object;
}

QVariant fromJson(const QJsonValue& value) {
    switch (value.type()) {
    case QJsonValue::String:
        return value.toString();
    case QJsonValue::Double:
        return value.toDouble();
    case QJsonValue::Bool:
        return value.toBool();
    default:
        return {};
    }
}

// Objects or arrays as field values have no place in a card.
bool appendRow(bomservice::RowSet& rows, const QJsonObject& object, QString* error) {
    const int row = rows.appendRow();
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (it.value().isObject() || it.value().isArray()) {
            *error = QStringLiteral("字段“%1”的值不能是对象或数组").arg(it.key());
            return false;
        }
        rows.setValue(row, it.key().toLower(), fromJson(it.value()));
    }
    return true;
}

// Every field the objects name as a column, in one order: JSON keeps no order of keys, so
// what a card reads as must not hang on which line names a field first, or in which case.
void addColumns(bomservice::RowSet& rows, const std::vector<QJsonObject>& objects) {
    QStringList names;
    for (const QJsonObject& object : objects)
        for (const QString& key : object.keys())
            names << key.toLower();
    names.sort();
    names.removeDuplicates();
    for (const QString& name : names)
        rows.addColumn(bomservice::RowSetColumn{name});
}

constexpr qint64 kMaxCardFile = 64 * 1024 * 1024;

} // namespace

QJsonObject cardToJson(const bomservice::BomCard& card) {
    QJsonArray lines;
    for (int row : card.lines.allRows())
        lines.append(rowObject(card.lines, row));
    return {{"header", card.header.rowCount() ? rowObject(card.header, 0) : QJsonObject()},
            {"lines", lines}};
}

std::optional<bomservice::BomCard> cardFromJson(const QByteArray& text, QString* error) {
    QJsonParseError parse;
    const QJsonDocument document = QJsonDocument::fromJson(text, &parse);
    if (parse.error != QJsonParseError::NoError) {
        *error = QStringLiteral("卡片文件不是合法的 JSON（第 %1 个字符）：%2")
                     .arg(parse.offset)
                     .arg(parse.errorString());
        return std::nullopt;
    }
    const QJsonObject root = document.object();
    if (!document.isObject() || !root.value("header").isObject() ||
        !root.value("lines").isArray()) {
        *error = QStringLiteral("卡片文件应为 {\"header\":{…},\"lines\":[…]}");
        return std::nullopt;
    }
    std::vector<QJsonObject> lines;
    for (const QJsonValue& line : root.value("lines").toArray()) {
        if (!line.isObject()) {
            *error = QStringLiteral("lines 的每一项都应是对象");
            return std::nullopt;
        }
        lines.push_back(line.toObject());
    }
    bomservice::BomCard card;
    const QJsonObject header = root.value("header").toObject();
    addColumns(card.header, {header});
    addColumns(card.lines, lines);
    if (!appendRow(card.header, header, error))
        return std::nullopt;
    for (const QJsonObject& line : lines)
        if (!appendRow(card.lines, line, error))
            return std::nullopt;
    return card;
}

std::optional<bomservice::BomCard> cardFromFile(const QString& path, QString* error) {
    QFile file;
    const bool opened = path == QLatin1String("-")
                            ? file.open(stdin, QIODevice::ReadOnly)
                            : (file.setFileName(path), file.open(QIODevice::ReadOnly));
    if (!opened) {
        *error = QStringLiteral("无法读取卡片文件：%1").arg(path);
        return std::nullopt;
    }
    const QByteArray bytes = file.read(kMaxCardFile + 1);
    if (bytes.size() > kMaxCardFile) {
        *error = QStringLiteral("卡片文件超过 64 MiB，不予读取：%1").arg(path);
        return std::nullopt;
    }
    return cardFromJson(bytes, error);
}

std::optional<CardFormat> cardFormat(CtlContext& ctx) {
    const QString format =
        ctx.args().option(QStringLiteral("--format")).value_or(QStringLiteral("json"));
    if (format == QLatin1String("json"))
        return CardFormat::Json;
    if (format == QLatin1String("xml"))
        return CardFormat::Xml;
    ctx.usage(QStringLiteral("--format 应为 json 或 xml：%1").arg(format));
    return std::nullopt;
}

int printCard(CtlContext& ctx, const bomservice::BomCard& card, CardFormat format) {
    if (format == CardFormat::Xml) {
        const QString xml = card.header.toXml() + QLatin1Char('\n') + card.lines.toXml();
        ctx.printLine(xml);
        return ctx.finish(ExitOk, {{"xml", xml}});
    }
    if (ctx.json())
        return ctx.finish(ExitOk, {{"card", cardToJson(card)}});
    ctx.printLine(QString::fromUtf8(QJsonDocument(cardToJson(card)).toJson()));
    return ctx.finish(ExitOk);
}

} // namespace bom::app
