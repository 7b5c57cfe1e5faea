#include "RowPrinter.h"

#include "CtlContext.h"
#include "entry/SpreadsheetFile.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <cstdio>

namespace bom::app {
namespace {

QJsonObject toObject(const QStringList& columns, const QVariantList& values) {
    QJsonObject object;
    for (int i = 0; i < columns.size(); ++i)
        object.insert(columns[i].toLower(), RowPrinter::toJson(values.value(i)));
    return object;
}

} // namespace

std::optional<RowPrinter::Format> RowPrinter::parseFormat(const QString& text) {
    if (text == QLatin1String("table"))
        return Format::Table;
    if (text == QLatin1String("csv"))
        return Format::Csv;
    if (text == QLatin1String("json"))
        return Format::Json;
    return std::nullopt;
}

QJsonValue RowPrinter::toJson(const QVariant& value) {
    if (value.isNull())
        return QJsonValue::Null;
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        return QJsonValue(value.toLongLong());
    case QMetaType::Double:
    case QMetaType::Float:
        return QJsonValue(value.toDouble());
    case QMetaType::Bool:
        return QJsonValue(value.toBool());
    default:
        return QJsonValue(value.toString());
    }
}

void RowPrinter::write(const QString& text) {
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

void RowPrinter::begin(const QStringList& columns) {
    columns_ = columns;
    if (ctx_.json()) {
        QStringList names; // named as the rows' fields are
        for (const QString& column : columns)
            names << column.toLower();
        QJsonObject fields = resultFields_;
        fields.insert("columns", QJsonArray::fromStringList(names));
        ctx_.beginStreamedResult(fields, QStringLiteral("rows"));
        return;
    }
    if (format_ == Format::Table)
        write(columns.join('\t') + '\n');
    else if (format_ == Format::Csv)
        write(columns.join(',') + '\n');
    else
        write(QStringLiteral("["));
}

void RowPrinter::row(const QVariantList& values) {
    if (ctx_.json()) {
        ctx_.streamResultItem(toObject(columns_, values));
        return;
    }
    QStringList fields;
    switch (format_) {
    case Format::Table:
        for (const QVariant& v : values)
            fields << v.toString();
        write(fields.join('\t') + '\n');
        break;
    case Format::Csv:
        for (const QVariant& v : values)
            fields << entry::SpreadsheetFile::csvField(v.toString());
        write(fields.join(',') + '\n');
        break;
    case Format::Json:
        write((count_ ? QStringLiteral(",\n") : QStringLiteral("\n")) +
              QString::fromUtf8(
                  QJsonDocument(toObject(columns_, values)).toJson(QJsonDocument::Compact)));
        break;
    }
    // The first page reaches a reader at once, later ones in larger blocks.
    if (++count_ == 50 || count_ % 1000 == 0)
        std::fflush(stdout);
}

int RowPrinter::end(int status) {
    if (ctx_.streamingResult())
        return ctx_.finishStreamedResult(status);
    if (!ctx_.json() && format_ == Format::Json)
        write(QStringLiteral("\n]\n"));
    std::fflush(stdout);
    return ctx_.finish(status, resultFields_);
}

int RowPrinter::fail(const QString& message) {
    if (ctx_.streamingResult())
        return ctx_.finishStreamedResult(ExitDatabase, message);
    std::fflush(stdout);
    return ctx_.fail(ExitDatabase, message);
}

} // namespace bom::app
