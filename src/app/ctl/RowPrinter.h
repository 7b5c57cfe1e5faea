#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QStringList>
#include <QVariant>

namespace bom::app {

class CtlContext;

// Prints rows as they come, in the --format asked for (table, csv or json); in --json mode
// they stream into the result object's "rows" field, beside its "columns" and the fields given.
class RowPrinter {
public:
    enum class Format { Table, Csv, Json };
    static std::optional<Format> parseFormat(const QString& text);
    static QJsonValue toJson(const QVariant& value);

    RowPrinter(CtlContext& ctx, Format format, QJsonObject resultFields = {})
        : ctx_(ctx), format_(format), resultFields_(std::move(resultFields)) {}
    void begin(const QStringList& columns);
    void row(const QVariantList& values);
    // Ends the output and the command with `status`; fail() ends it with a database failure.
    int end(int status);
    int fail(const QString& message);

private:
    void write(const QString& text);

    CtlContext& ctx_;
    Format format_;
    QJsonObject resultFields_;
    QStringList columns_;
    int count_ = 0;
};

} // namespace bom::app
