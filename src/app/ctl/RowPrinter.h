#pragma once

#include <QJsonArray>
#include <QJsonValue>
#include <QStringList>
#include <QVariant>

namespace bom::app {

class CtlContext;

// Prints rows as they come, in the --format asked for (table, csv or json); in --json mode
// they are kept for the result object's "rows" field instead.
class RowPrinter {
public:
    enum class Format { Table, Csv, Json };
    static std::optional<Format> parseFormat(const QString& text);
    static QJsonValue toJson(const QVariant& value);

    RowPrinter(CtlContext& ctx, Format format) : ctx_(ctx), format_(format) {}
    void begin(const QStringList& columns);
    void row(const QVariantList& values);
    QJsonArray finish(); // the rows kept for --json mode
    const QStringList& columns() const { return columns_; }

private:
    void write(const QString& text);

    CtlContext& ctx_;
    Format format_;
    QStringList columns_;
    QJsonArray kept_;
    int count_ = 0;
};

} // namespace bom::app
