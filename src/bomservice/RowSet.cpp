#include "RowSet.h"

#include "entry/VoucherHelpers.h"

#include <QDate>
#include <QDateTime>
#include <QLocale>
#include <QSet>
#include <QXmlStreamReader>
#include <algorithm>
#include <cmath>

namespace bom::bomservice {

namespace {

const QString kSchemaNs = QStringLiteral("uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882");
const QString kTypeNs = QStringLiteral("uuid:C2F41010-65B3-11d1-A29F-00AA00C14882");
const QString kRowsetNs = QStringLiteral("urn:schemas-microsoft-com:rowset");
const QString kRowNs = QStringLiteral("#RowsetSchema");

const QString kDateTimeFormat = QStringLiteral("yyyy-MM-dd'T'HH:mm:ss");

// How a column's values are held in memory and written as text.
enum class Kind { Text, Int, Long, Real, Bool, DateTime };

struct TypeInfo {
    const char* name;
    Kind kind;
    int maxLength; // what ADO states for the fixed-length types
    int precision;
};

// The dt:type names ADO writes. Unknown names are kept as text so that nothing is lost.
const TypeInfo kTypes[] = {
    {"string", Kind::Text, 0, 0},
    {"i1", Kind::Int, 1, 3},
    {"ui1", Kind::Int, 1, 3},
    {"i2", Kind::Int, 2, 5},
    {"ui2", Kind::Int, 2, 5},
    {"i4", Kind::Int, 4, 10},
    {"int", Kind::Int, 4, 10},
    {"ui4", Kind::Long, 4, 10},
    {"i8", Kind::Long, 8, 19},
    {"ui8", Kind::Long, 8, 20},
    {"r4", Kind::Real, 4, 7},
    {"float", Kind::Real, 8, 15},
    {"r8", Kind::Real, 8, 15},
    {"number", Kind::Real, 19, 28},
    {"fixed.14.4", Kind::Real, 8, 19},
    {"boolean", Kind::Bool, 2, 0},
    {"dateTime", Kind::DateTime, 16, 23},
};

const TypeInfo* findType(const QString& name) {
    for (const TypeInfo& type : kTypes)
        if (name.compare(QLatin1String(type.name), Qt::CaseInsensitive) == 0)
            return &type;
    return nullptr;
}

Kind kindOf(const QString& type) {
    const TypeInfo* info = findType(type);
    return info ? info->kind : Kind::Text;
}

// Known names in ADO's spelling, so "DATETIME" and "dateTime" make the same column.
QString canonicalType(const QString& type) {
    if (type.isEmpty())
        return QStringLiteral("string");
    const TypeInfo* info = findType(type);
    return info ? QLatin1String(info->name) : type;
}

QString typeFor(const QMetaType& type) {
    switch (type.id()) {
    case QMetaType::Int:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
        return QStringLiteral("i4");
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return QStringLiteral("i8");
    case QMetaType::Float:
    case QMetaType::Double:
        return QStringLiteral("float");
    case QMetaType::Bool:
        return QStringLiteral("boolean");
    case QMetaType::QDate:
    case QMetaType::QDateTime:
        return QStringLiteral("dateTime");
    default:
        return QStringLiteral("string");
    }
}

bool isText(const QVariant& value) {
    return value.typeId() == QMetaType::QString;
}

std::optional<bool> parseBool(QStringView text) {
    const QStringView t = text.trimmed();
    if (t.compare(u"true", Qt::CaseInsensitive) == 0 || t == u"1" || t == u"-1")
        return true;
    if (t.compare(u"false", Qt::CaseInsensitive) == 0 || t == u"0")
        return false;
    return std::nullopt;
}

QDateTime parseDateTime(const QString& text) {
    return QDateTime::fromString(text.trimmed(), Qt::ISODate);
}

// The shortest text that reads back as the same double, without exponents for everyday sizes.
QString realText(double value) {
    if (value == 0)
        return QStringLiteral("0");
    const double magnitude = std::fabs(value);
    const char format = magnitude >= 1e-5 && magnitude < 1e16 ? 'f' : 'g';
    return QString::number(value, format, QLocale::FloatingPointShortest);
}

// The text a non-null value is written as in a column of `kind`. A value that does not fit
// the kind is written as it stands, so that reading it back refuses it instead of changing it.
QString valueText(const QVariant& value, Kind kind) {
    bool ok = false;
    switch (kind) {
    case Kind::Int:
    case Kind::Long: {
        qlonglong n = 0;
        if (isText(value)) {
            n = value.toString().trimmed().toLongLong(&ok);
        } else if (value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float) {
            const double d = value.toDouble();
            ok = std::trunc(d) == d && std::fabs(d) < 9.2e18;
            n = qlonglong(d);
        } else {
            n = value.toLongLong(&ok);
        }
        return ok ? QString::number(n) : value.toString();
    }
    case Kind::Real: {
        const double d =
            isText(value) ? value.toString().trimmed().toDouble(&ok) : value.toDouble(&ok);
        return ok ? realText(d) : value.toString();
    }
    case Kind::Bool: {
        std::optional<bool> b;
        if (value.typeId() == QMetaType::Bool)
            b = value.toBool();
        else
            b = parseBool(value.toString());
        if (!b)
            return value.toString();
        return *b ? QStringLiteral("True") : QStringLiteral("False");
    }
    case Kind::DateTime: {
        QDateTime dt;
        if (value.typeId() == QMetaType::QDateTime)
            dt = value.toDateTime();
        else if (value.typeId() == QMetaType::QDate)
            dt = value.toDate().startOfDay();
        else if (isText(value))
            dt = parseDateTime(value.toString());
        return dt.isValid() ? dt.toString(kDateTimeFormat) : value.toString();
    }
    case Kind::Text:
        break;
    }
    return value.toString();
}

// Attribute text back to the column's kind; empty when it does not convert. An empty
// attribute stays an empty string whatever the kind, as it was before it was written.
std::optional<QVariant> parseValue(const QString& text, Kind kind) {
    if (text.isEmpty())
        return QVariant(QStringLiteral(""));
    bool ok = false;
    switch (kind) {
    case Kind::Int: {
        const int n = text.trimmed().toInt(&ok);
        return ok ? std::optional<QVariant>(n) : std::nullopt;
    }
    case Kind::Long: {
        const qlonglong n = text.trimmed().toLongLong(&ok);
        return ok ? std::optional<QVariant>(n) : std::nullopt;
    }
    case Kind::Real: {
        const double d = text.trimmed().toDouble(&ok);
        return ok ? std::optional<QVariant>(d) : std::nullopt;
    }
    case Kind::Bool: {
        const std::optional<bool> b = parseBool(text);
        return b ? std::optional<QVariant>(*b) : std::nullopt;
    }
    case Kind::DateTime: {
        const QDateTime dt = parseDateTime(text);
        return dt.isValid() ? std::optional<QVariant>(dt) : std::nullopt;
    }
    case Kind::Text:
        break;
    }
    return QVariant(text);
}

bool sameValue(const QVariant& a, const QVariant& b, Kind kind) {
    if (a.isNull() || b.isNull())
        return a.isNull() == b.isNull();
    return valueText(a, kind) == valueText(b, kind);
}

// Single-quoted attribute text. Characters XML 1.0 cannot carry become references that a
// reader refuses, rather than being dropped without a word.
QString escaped(const QString& text) {
    QString out;
    out.reserve(text.size());
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '&':
            out += QLatin1String("&amp;");
            break;
        case '<':
            out += QLatin1String("&lt;");
            break;
        case '>':
            out += QLatin1String("&gt;");
            break;
        case '\'':
            out += QLatin1String("&apos;");
            break;
        default:
            if (c.unicode() < 0x20)
                out += QStringLiteral("&#%1;").arg(c.unicode());
            else
                out += c;
        }
    }
    return out;
}

// XML 1.0 name characters, without the colon (it would make a prefix).
bool isNameStart(char16_t c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_' ||
           (c >= 0xC0 && c <= 0xD6) || (c >= 0xD8 && c <= 0xF6) || (c >= 0xF8 && c <= 0x2FF) ||
           (c >= 0x370 && c <= 0x37D) || (c >= 0x37F && c <= 0x1FFF) || c == 0x200C ||
           c == 0x200D || (c >= 0x2070 && c <= 0x218F) || (c >= 0x2C00 && c <= 0x2FEF) ||
           (c >= 0x3001 && c <= 0xD7FF) || (c >= 0xF900 && c <= 0xFDCF) ||
           (c >= 0xFDF0 && c <= 0xFFFD);
}

bool isNameChar(char16_t c) {
    return isNameStart(c) || (c >= u'0' && c <= u'9') || c == u'-' || c == u'.' || c == 0xB7 ||
           (c >= 0x300 && c <= 0x36F) || c == 0x203F || c == 0x2040;
}

// Names starting "xml" are reserved; "xmlns" would even declare a namespace.
bool isXmlName(const QString& name) {
    if (name.isEmpty() || !isNameStart(name[0].unicode()) ||
        name.startsWith(QLatin1String("xml"), Qt::CaseInsensitive))
        return false;
    return std::all_of(name.begin(), name.end(), [](QChar c) { return isNameChar(c.unicode()); });
}

// Attribute names for the columns: the name itself, or for a name XML cannot carry a
// stand-in "cN" with the real name in rs:name, as ADO does.
QStringList attributeNames(const std::vector<RowSetColumn>& columns) {
    QSet<QString> taken;
    for (const RowSetColumn& column : columns)
        if (isXmlName(column.name))
            taken.insert(column.name);
    QStringList names;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (isXmlName(columns[i].name)) {
            names << columns[i].name;
            continue;
        }
        QString name = QStringLiteral("c%1").arg(i);
        while (taken.contains(name))
            name += u'_';
        taken.insert(name);
        names << name;
    }
    return names;
}

QString shortened(const QString& text) {
    return text.size() > 40 ? text.left(40) + QStringLiteral("...") : text;
}

struct ParsedColumn {
    RowSetColumn column;
    QString attribute; // the name z:row uses, lower case
    int number = 0;    // rs:number, 0 when absent
};

struct ParsedRow {
    qint64 line = 0;
    QXmlStreamAttributes attributes;
};

class XmlParser {
public:
    explicit XmlParser(const QString& xml) : reader_(xml) {}

    std::optional<RowSet> parse(QString* error) {
        std::optional<RowSet> result;
        if (parseDocument())
            result = build();
        if (!result && error)
            *error = error_;
        return result;
    }

private:
    bool parseDocument() {
        if (!reader_.readNextStartElement())
            return reader_.hasError() ? broken() : fail(QStringLiteral("no root element"));
        if (reader_.name() != u"xml" || !reader_.namespaceUri().isEmpty())
            return fail(QStringLiteral("root element is <%1>, expected <xml>")
                            .arg(reader_.qualifiedName()));
        bool seenSchema = false;
        bool seenData = false;
        while (reader_.readNextStartElement()) {
            if (is(kSchemaNs, u"Schema")) {
                if (seenSchema)
                    return fail(QStringLiteral("a second s:Schema"));
                seenSchema = true;
                if (!parseSchema())
                    return false;
            } else if (is(kRowsetNs, u"data")) {
                if (seenData)
                    return fail(QStringLiteral("a second rs:data"));
                seenData = true;
                if (!parseData())
                    return false;
            } else {
                reader_.skipCurrentElement();
            }
        }
        // Whatever follows must still be well-formed.
        while (!reader_.atEnd() && !reader_.hasError())
            reader_.readNext();
        if (reader_.hasError())
            return broken();
        if (!seenSchema)
            return fail(QStringLiteral("no s:Schema element (namespace %1)").arg(kSchemaNs));
        if (!seenData)
            return fail(QStringLiteral("no rs:data element (namespace %1)").arg(kRowsetNs));
        return true;
    }

    bool is(const QString& ns, QStringView name) const {
        return reader_.namespaceUri() == ns && reader_.name() == name;
    }

    bool fail(const QString& what) { return failAt(reader_.lineNumber(), what); }

    bool failAt(qint64 line, const QString& what) {
        error_ = QStringLiteral("ADO XML, line %1: %2").arg(line).arg(what);
        return false;
    }

    // The reader's own complaint about the text.
    bool broken() {
        error_ = QStringLiteral("not well-formed XML, line %1 column %2: %3")
                     .arg(reader_.lineNumber())
                     .arg(reader_.columnNumber())
                     .arg(reader_.errorString());
        return false;
    }

    // Reads the rest of an element; false when the document breaks off inside it.
    bool skip() {
        reader_.skipCurrentElement();
        return !reader_.hasError() || broken();
    }

    bool parseSchema() {
        bool seenElementType = false;
        while (reader_.readNextStartElement()) {
            if (is(kSchemaNs, u"ElementType")) {
                if (seenElementType)
                    return fail(QStringLiteral("a second s:ElementType; nested rows are not "
                                               "supported"));
                seenElementType = true;
                if (!parseElementType())
                    return false;
            } else if (!skip()) {
                return false;
            }
        }
        if (reader_.hasError())
            return broken();
        if (!seenElementType)
            return fail(QStringLiteral("s:Schema has no s:ElementType"));
        return true;
    }

    bool parseElementType() {
        while (reader_.readNextStartElement()) {
            if (is(kSchemaNs, u"AttributeType")) {
                if (!parseAttributeType())
                    return false;
            } else if (!skip()) {
                return false;
            }
        }
        if (reader_.hasError())
            return broken();
        // rs:number states the order; without it on every column, document order stands.
        const bool numbered = std::all_of(columns_.begin(), columns_.end(),
                                          [](const ParsedColumn& c) { return c.number > 0; });
        if (numbered)
            std::stable_sort(
                columns_.begin(), columns_.end(),
                [](const ParsedColumn& a, const ParsedColumn& b) { return a.number < b.number; });
        return true;
    }

    bool parseAttributeType() {
        const QXmlStreamAttributes attributes = reader_.attributes();
        ParsedColumn parsed;
        parsed.attribute = attributes.value(QString(), QStringLiteral("name")).toString().toLower();
        if (parsed.attribute.isEmpty())
            return fail(QStringLiteral("s:AttributeType without a name"));
        parsed.column.name =
            attributes.hasAttribute(kRowsetNs, QStringLiteral("name"))
                ? attributes.value(kRowsetNs, QStringLiteral("name")).toString().toLower()
                : parsed.attribute;
        const QString label = QStringLiteral("column '%1'").arg(parsed.column.name);

        if (attributes.hasAttribute(kRowsetNs, QStringLiteral("number"))) {
            const QStringView text = attributes.value(kRowsetNs, QStringLiteral("number"));
            bool ok = false;
            parsed.number = text.trimmed().toInt(&ok);
            if (!ok || parsed.number <= 0)
                return fail(QStringLiteral("%1: rs:number '%2' is not a positive whole number")
                                .arg(label, shortened(text.toString())));
            for (const ParsedColumn& other : columns_)
                if (other.number == parsed.number)
                    return fail(QStringLiteral("%1: rs:number %2 is also column '%3'")
                                    .arg(label)
                                    .arg(parsed.number)
                                    .arg(other.column.name));
        }
        // ADO states rs:nullable only for the columns that are.
        parsed.column.nullable = false;
        if (attributes.hasAttribute(kRowsetNs, QStringLiteral("nullable"))) {
            const QStringView text = attributes.value(kRowsetNs, QStringLiteral("nullable"));
            const std::optional<bool> nullable = parseBool(text);
            if (!nullable)
                return fail(QStringLiteral("%1: rs:nullable '%2' is not true or false")
                                .arg(label, shortened(text.toString())));
            parsed.column.nullable = *nullable;
        }
        for (const ParsedColumn& other : columns_) {
            if (other.column.name == parsed.column.name)
                return fail(QStringLiteral("%1 is declared twice").arg(label));
            if (other.attribute == parsed.attribute)
                return fail(
                    QStringLiteral("attribute name '%1' is declared twice").arg(parsed.attribute));
        }

        // The type may sit on the AttributeType itself or, as ADO writes it, on s:datatype.
        QString type = attributes.value(kTypeNs, QStringLiteral("type")).toString();
        QString maxLength = attributes.value(kTypeNs, QStringLiteral("maxLength")).toString();
        while (reader_.readNextStartElement()) {
            if (is(kSchemaNs, u"datatype")) {
                const QXmlStreamAttributes dt = reader_.attributes();
                if (dt.hasAttribute(kTypeNs, QStringLiteral("type")))
                    type = dt.value(kTypeNs, QStringLiteral("type")).toString();
                if (dt.hasAttribute(kTypeNs, QStringLiteral("maxLength")))
                    maxLength = dt.value(kTypeNs, QStringLiteral("maxLength")).toString();
            }
            if (!skip())
                return false;
        }
        if (reader_.hasError())
            return broken();
        parsed.column.type = canonicalType(type.trimmed());
        // Fixed-length types have a length given by the type; only text keeps its own.
        if (kindOf(parsed.column.type) == Kind::Text && !maxLength.isEmpty()) {
            bool ok = false;
            parsed.column.maxLength = maxLength.trimmed().toInt(&ok);
            if (!ok || parsed.column.maxLength < 0)
                return fail(QStringLiteral("%1: dt:maxLength '%2' is not a whole number")
                                .arg(label, shortened(maxLength)));
        }
        columns_.push_back(parsed);
        return true;
    }

    bool parseData() {
        while (reader_.readNextStartElement()) {
            if (is(kRowNs, u"row")) {
                if (!parseRow())
                    return false;
            } else if (is(kRowsetNs, u"insert")) {
                while (reader_.readNextStartElement()) {
                    if (!is(kRowNs, u"row"))
                        return fail(QStringLiteral("<%1> inside rs:insert, expected z:row")
                                        .arg(reader_.qualifiedName()));
                    if (!parseRow())
                        return false;
                }
            } else {
                // rs:update and rs:delete carry pending changes this row set has no place for.
                return fail(QStringLiteral("<%1> inside rs:data is not supported")
                                .arg(reader_.qualifiedName()));
            }
        }
        if (reader_.hasError())
            return broken();
        return true;
    }

    // Rows are kept as text until the whole schema is known.
    bool parseRow() {
        ParsedRow row;
        row.line = reader_.lineNumber();
        row.attributes = reader_.attributes();
        if (reader_.readNextStartElement())
            return fail(QStringLiteral("<%1> inside z:row; rows carry only attributes")
                            .arg(reader_.qualifiedName()));
        if (reader_.hasError())
            return broken();
        rows_.push_back(std::move(row));
        return true;
    }

    std::optional<RowSet> build() {
        std::vector<RowSetColumn> columns;
        QHash<QString, int> byAttribute;
        for (const ParsedColumn& parsed : columns_) {
            byAttribute.insert(parsed.attribute, int(columns.size()));
            columns.push_back(parsed.column);
        }
        RowSet result(columns);
        for (const ParsedRow& row : rows_) {
            const int r = result.appendRow();
            QSet<int> seen;
            for (const QXmlStreamAttribute& attribute : row.attributes) {
                const QString name = attribute.qualifiedName().toString();
                const int column =
                    attribute.namespaceUri().isEmpty() ? byAttribute.value(name.toLower(), -1) : -1;
                if (column < 0) {
                    failAt(row.line, QStringLiteral("attribute '%1' of z:row names no column of "
                                                    "the schema")
                                         .arg(name));
                    return std::nullopt;
                }
                if (seen.contains(column)) {
                    failAt(
                        row.line,
                        QStringLiteral("z:row gives column '%1' twice").arg(columns[column].name));
                    return std::nullopt;
                }
                seen.insert(column);
                const QString text = attribute.value().toString();
                const std::optional<QVariant> value =
                    parseValue(text, kindOf(columns[column].type));
                if (!value) {
                    failAt(row.line,
                           QStringLiteral("value '%1' of column '%2' is not a valid %3")
                               .arg(shortened(text), columns[column].name, columns[column].type));
                    return std::nullopt;
                }
                result.setValue(r, columns[column].name, *value);
            }
        }
        return result;
    }

    QXmlStreamReader reader_;
    QString error_;
    std::vector<ParsedColumn> columns_;
    std::vector<ParsedRow> rows_;
};

} // namespace

RowSet::RowSet(std::vector<RowSetColumn> columns) {
    for (const RowSetColumn& column : columns)
        addColumn(column);
}

RowSet RowSet::fromRows(const db::Rows& rows) {
    RowSet result;
    const QStringList& names = rows.columns();
    std::vector<int> target;
    for (int c = 0; c < names.size(); ++c) {
        // The first value that is there says the type; a null the driver typed will do
        // when there is none.
        QMetaType type;
        for (std::size_t r = 0; r < rows.size(); ++r) {
            const QVariant value = rows.at(r).value(c);
            if (!value.isNull()) {
                type = value.metaType();
                break;
            }
            if (!type.isValid())
                type = value.metaType();
        }
        RowSetColumn column;
        column.name = names[c];
        column.type = typeFor(type);
        target.push_back(result.addColumn(column));
    }
    for (std::size_t r = 0; r < rows.size(); ++r) {
        const int row = result.appendRow();
        const QVariantList& values = rows.at(r);
        for (int c = 0; c < names.size() && c < values.size(); ++c)
            result.rows_[row][target[c]] = values[c];
    }
    return result;
}

int RowSet::columnIndex(const QString& name) const {
    return index_.value(name.toLower(), -1);
}

int RowSet::addColumn(const RowSetColumn& column) {
    const QString name = column.name.toLower();
    const int existing = index_.value(name, -1);
    if (existing >= 0)
        return existing;
    RowSetColumn added = column;
    added.name = name;
    added.type = canonicalType(column.type);
    columns_.push_back(added);
    const int index = int(columns_.size()) - 1;
    index_.insert(name, index);
    for (std::vector<QVariant>& row : rows_)
        row.resize(columns_.size());
    return index;
}

int RowSet::appendRow() {
    rows_.emplace_back(columns_.size());
    return rowCount() - 1;
}

void RowSet::removeRow(int row) {
    if (row >= 0 && row < rowCount())
        rows_.erase(rows_.begin() + row);
}

QVariant RowSet::value(int row, const QString& column) const {
    const int c = columnIndex(column);
    if (c < 0 || row < 0 || row >= rowCount())
        return {};
    return rows_[row][c];
}

void RowSet::setValue(int row, const QString& column, const QVariant& value) {
    if (row < 0 || row >= rowCount())
        return;
    int c = columnIndex(column);
    if (c < 0)
        c = addColumn(RowSetColumn{column});
    rows_[row][c] = value;
}

std::vector<int> RowSet::allRows() const {
    std::vector<int> rows(rows_.size());
    for (int r = 0; r < rowCount(); ++r)
        rows[r] = r;
    return rows;
}

namespace {

// Rows whose trimmed editprop passes `keep`, in order; one look-up of the column for all.
template <typename Keep> std::vector<int> rowsWhere(const RowSet& rows, Keep keep) {
    std::vector<int> out;
    const int prop = rows.columnIndex(QStringLiteral("editprop"));
    for (int r = 0; r < rows.rowCount(); ++r)
        if (keep(rows.cell(r, prop).toString().trimmed()))
            out.push_back(r);
    return out;
}

} // namespace

std::vector<int> RowSet::deletedRows() const {
    return rowsWhere(*this, [](const QString& prop) { return prop == u"D"; });
}

std::vector<int> RowSet::addedOrModifiedRows() const {
    return rowsWhere(*this, [](const QString& prop) { return prop == u"A" || prop == u"M"; });
}

std::vector<int> RowSet::notDeletedRows() const {
    return rowsWhere(*this, [](const QString& prop) { return prop != u"D"; });
}

bool RowSet::hasEditMarks() const {
    const int prop = columnIndex(QStringLiteral("editprop"));
    for (int r = 0; r < rowCount(); ++r)
        if (!cell(r, prop).toString().trimmed().isEmpty())
            return true;
    return false;
}

void RowSet::markAgainst(const RowSet& stored, const QString& key) {
    const int storedKey = stored.columnIndex(key);
    QHash<qlonglong, int> storedRow;
    for (int row = 0; row < stored.rowCount(); ++row)
        storedRow.insert(stored.cell(row, storedKey).toLongLong(), row);
    addColumn(RowSetColumn{QStringLiteral("editprop")}); // before any loop over the columns
    const int mine = rowCount();
    for (int row = 0; row < mine; ++row) {
        const QVariant id = value(row, key);
        if (id.toString().trimmed().isEmpty()) {
            setEditprop(row, QStringLiteral("A"));
            continue;
        }
        const auto found = storedRow.find(id.toLongLong());
        if (found == storedRow.end()) {
            setEditprop(row, QStringLiteral("M"));
            continue;
        }
        const int before = *found;
        storedRow.erase(found);
        for (const RowSetColumn& column : columns_)
            if (column.name != QLatin1String("editprop") && stored.hasColumn(column.name) &&
                !entry::VoucherHelpers::SameValue(value(row, column.name),
                                                  stored.value(before, column.name))) {
                setEditprop(row, QStringLiteral("M"));
                break;
            }
    }
    // In stored order, whatever order the hash keeps.
    std::vector<int> missing(storedRow.cbegin(), storedRow.cend());
    std::sort(missing.begin(), missing.end());
    for (int before : missing) {
        const int row = appendRow();
        for (const RowSetColumn& column : stored.columns())
            setValue(row, column.name, stored.value(before, column.name));
        setEditprop(row, QStringLiteral("D"));
    }
}

void RowSet::acceptEdits() {
    for (int row = rowCount() - 1; row >= 0; --row) {
        if (editprop(row) == QLatin1String("D"))
            removeRow(row);
        else
            setEditprop(row, QStringLiteral(""));
    }
}

QString RowSet::toXml() const {
    const QStringList names = attributeNames(columns_);
    QString xml;
    xml += QStringLiteral("<xml xmlns:s='%1'\n\txmlns:dt='%2'\n\txmlns:rs='%3'\n\txmlns:z='%4'>\n")
               .arg(kSchemaNs, kTypeNs, kRowsetNs, kRowNs);
    xml += QStringLiteral("<s:Schema id='RowsetSchema'>\n"
                          "\t<s:ElementType name='row' content='eltOnly' rs:updatable='true'>\n");
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        const RowSetColumn& column = columns_[i];
        xml += QStringLiteral("\t\t<s:AttributeType name='%1'").arg(escaped(names[int(i)]));
        if (names[int(i)] != column.name)
            xml += QStringLiteral(" rs:name='%1'").arg(escaped(column.name));
        xml += QStringLiteral(" rs:number='%1'").arg(i + 1);
        if (column.nullable)
            xml += QStringLiteral(" rs:nullable='true'");
        xml += QStringLiteral(" rs:writeunknown='true'>\n");
        xml += QStringLiteral("\t\t\t<s:datatype dt:type='%1'").arg(escaped(column.type));
        const TypeInfo* info = findType(column.type);
        if (info && info->kind != Kind::Text) {
            xml += QStringLiteral(" dt:maxLength='%1'").arg(info->maxLength);
            if (info->precision > 0)
                xml += QStringLiteral(" rs:precision='%1'").arg(info->precision);
            xml += QStringLiteral(" rs:fixedlength='true'");
        } else if (column.maxLength > 0) {
            xml += QStringLiteral(" dt:maxLength='%1'").arg(column.maxLength);
        }
        xml += QStringLiteral("/>\n\t\t</s:AttributeType>\n");
    }
    xml += QStringLiteral("\t\t<s:extends type='rs:rowbase'/>\n"
                          "\t</s:ElementType>\n"
                          "</s:Schema>\n"
                          "<rs:data>\n");
    for (const std::vector<QVariant>& row : rows_) {
        xml += QStringLiteral("\t<z:row");
        for (std::size_t c = 0; c < columns_.size(); ++c) {
            if (row[c].isNull())
                continue;
            xml += QStringLiteral(" %1='%2'")
                       .arg(names[int(c)], escaped(valueText(row[c], kindOf(columns_[c].type))));
        }
        xml += QStringLiteral("/>\n");
    }
    xml += QStringLiteral("</rs:data>\n</xml>\n");
    return xml;
}

std::optional<RowSet> RowSet::fromXml(const QString& xml, QString* error) {
    return XmlParser(xml).parse(error);
}

bool RowSet::operator==(const RowSet& other) const {
    if (columns_.size() != other.columns_.size() || rows_.size() != other.rows_.size())
        return false;
    for (std::size_t c = 0; c < columns_.size(); ++c)
        if (columns_[c].name != other.columns_[c].name ||
            columns_[c].type != other.columns_[c].type)
            return false;
    for (std::size_t r = 0; r < rows_.size(); ++r)
        for (std::size_t c = 0; c < columns_.size(); ++c)
            if (!sameValue(rows_[r][c], other.rows_[r][c], kindOf(columns_[c].type)))
                return false;
    return true;
}

} // namespace bom::bomservice
