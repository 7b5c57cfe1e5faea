#include "SpreadsheetFile.h"

#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QSaveFile>
#include <QStringDecoder>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <minizip/unzip.h>
#include <xlsxwriter.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

namespace bom::entry {
namespace {

QString shortestNumber(double value) {
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

QString textOf(const QVariant& value) {
    if (value.isNull())
        return {};
    if (value.typeId() == QMetaType::Double)
        return shortestNumber(value.toDouble());
    return value.toString();
}

// A number format with `decimals` places: "0", "0.00" …
QByteArray numberFormat(int decimals) {
    return decimals <= 0 ? QByteArray("0") : QByteArray("0.") + QByteArray(decimals, '0');
}

// ---- XLSX writing ----

struct WorkbookCloser {
    void operator()(lxw_workbook* workbook) const {
        if (workbook)
            workbook_close(workbook);
    }
};

bool writeXlsx(const QString& path, const Sheet& sheet, QString* error) {
    const QByteArray file = QFile::encodeName(path);
    std::unique_ptr<lxw_workbook, WorkbookCloser> workbook(workbook_new(file.constData()));
    if (!workbook) {
        *error = QStringLiteral("无法创建文件：%1").arg(path);
        return false;
    }
    // Sheet names are at most 31 characters and may not hold []:*?/\ .
    QString title = sheet.title.left(31);
    for (const QChar bad : QStringLiteral("[]:*?/\\"))
        title.replace(bad, QLatin1Char(' '));
    const QByteArray name = title.trimmed().isEmpty() ? QByteArray() : title.toUtf8();
    lxw_worksheet* worksheet =
        workbook_add_worksheet(workbook.get(), name.isEmpty() ? nullptr : name.constData());
    lxw_format* heading = workbook_add_format(workbook.get());
    format_set_bold(heading);
    std::vector<lxw_format*> formats;
    std::vector<QByteArray> keep; // the format texts live until the workbook is closed
    for (std::size_t c = 0; c < sheet.columns.size(); ++c) {
        const SheetColumn& column = sheet.columns[c];
        lxw_format* format = nullptr;
        if (column.decimals >= 0) {
            keep.push_back(numberFormat(column.decimals));
            format = workbook_add_format(workbook.get());
            format_set_num_format(format, keep.back().constData());
        }
        formats.push_back(format);
        const QByteArray caption = column.caption.toUtf8();
        worksheet_write_string(worksheet, 0, lxw_col_t(c), caption.constData(), heading);
        // A Chinese character is about two widths of a Latin one.
        const double width = std::clamp(double(caption.size()) * 0.8 + 2, 8.0, 40.0);
        worksheet_set_column(worksheet, lxw_col_t(c), lxw_col_t(c), width, nullptr);
    }
    worksheet_freeze_panes(worksheet, 1, 0);
    for (std::size_t r = 0; r < sheet.rows.size(); ++r) {
        const QVariantList& row = sheet.rows[r];
        for (std::size_t c = 0; c < sheet.columns.size() && qsizetype(c) < row.size(); ++c) {
            const QVariant& value = row.at(qsizetype(c));
            if (value.isNull())
                continue;
            bool numeric = false;
            const double number = value.toDouble(&numeric);
            lxw_error result;
            if (sheet.columns[c].decimals >= 0 && numeric && std::isfinite(number)) {
                result = worksheet_write_number(worksheet, lxw_row_t(r + 1), lxw_col_t(c), number,
                                                formats[c]);
            } else {
                const QByteArray text = textOf(value).toUtf8();
                result = worksheet_write_string(worksheet, lxw_row_t(r + 1), lxw_col_t(c),
                                                text.constData(), nullptr);
            }
            if (result != LXW_NO_ERROR) {
                *error = QStringLiteral("写入第%1行第%2列失败：%3")
                             .arg(r + 2)
                             .arg(c + 1)
                             .arg(QString::fromUtf8(lxw_strerror(result)));
                return false;
            }
        }
    }
    const lxw_error closed = workbook_close(workbook.release());
    if (closed != LXW_NO_ERROR) {
        *error = QStringLiteral("保存文件失败：%1").arg(QString::fromUtf8(lxw_strerror(closed)));
        return false;
    }
    return true;
}

// ---- XLSX reading ----

// The files of an XLSX zip, each read whole and refused when it would unpack past what a
// sheet may hold (whatever its entry claims).
class ZipArchive {
public:
    explicit ZipArchive(const QString& path)
        : zip_(unzOpen64(QFile::encodeName(path).constData())) {}
    ~ZipArchive() {
        if (zip_)
            unzClose(zip_);
    }
    ZipArchive(const ZipArchive&) = delete;
    ZipArchive& operator=(const ZipArchive&) = delete;

    bool isOpen() const { return zip_ != nullptr; }
    bool has(const QString& name) {
        return unzLocateFile(zip_, name.toUtf8().constData(), 1) == UNZ_OK;
    }
    std::optional<QByteArray> read(const QString& name, QString* error) {
        if (!has(name)) {
            *error = QStringLiteral("XLSX文件缺少%1").arg(name);
            return std::nullopt;
        }
        unz_file_info64 info{};
        if (unzGetCurrentFileInfo64(zip_, &info, nullptr, 0, nullptr, 0, nullptr, 0) != UNZ_OK ||
            qint64(info.uncompressed_size) > SpreadsheetFile::kMaxBytes ||
            unzOpenCurrentFile(zip_) != UNZ_OK) {
            *error = QStringLiteral("XLSX文件中的%1过大或已损坏").arg(name);
            return std::nullopt;
        }
        QByteArray data;
        char buffer[65536];
        int got = 0;
        while ((got = unzReadCurrentFile(zip_, buffer, sizeof buffer)) > 0) {
            if (data.size() + got > SpreadsheetFile::kMaxBytes)
                break;
            data.append(buffer, got);
        }
        // A short or failed read, or a checksum that does not match, is a damaged file.
        const bool whole = got == 0;
        if (unzCloseCurrentFile(zip_) != UNZ_OK || !whole) {
            *error = QStringLiteral("XLSX文件中的%1过大或已损坏").arg(name);
            return std::nullopt;
        }
        return data;
    }

private:
    unzFile zip_;
};

bool xmlFailed(const QXmlStreamReader& xml, const QString& part, QString* error) {
    if (!xml.hasError())
        return false;
    *error = QStringLiteral("XLSX文件中的%1格式不正确：%2").arg(part, xml.errorString());
    return true;
}

// The zip path of the workbook's first sheet, through the workbook and its relationships.
QString firstSheetPath(ZipArchive& zip, QString* error) {
    const QString fallback = QStringLiteral("xl/worksheets/sheet1.xml");
    const auto workbook = zip.read(QStringLiteral("xl/workbook.xml"), error);
    if (!workbook)
        return {};
    QString relation;
    {
        QXmlStreamReader xml(*workbook);
        while (relation.isEmpty() && !xml.atEnd()) {
            xml.readNext();
            if (xml.isStartElement() && xml.name() == QLatin1String("sheet"))
                for (const QXmlStreamAttribute& a : xml.attributes())
                    if (a.name() == QLatin1String("id")) // r:id, the relationship's key
                        relation = a.value().toString();
        }
        if (xmlFailed(xml, QStringLiteral("workbook.xml"), error))
            return {};
    }
    const QString relationsPath = QStringLiteral("xl/_rels/workbook.xml.rels");
    if (relation.isEmpty() || !zip.has(relationsPath))
        return fallback;
    const auto relations = zip.read(relationsPath, error);
    if (!relations)
        return {};
    QXmlStreamReader xml(*relations);
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == QLatin1String("Relationship") &&
            xml.attributes().value(QLatin1String("Id")) == relation) {
            const QString target = xml.attributes().value(QLatin1String("Target")).toString();
            const QString path = target.startsWith(QLatin1Char('/'))
                                     ? target.mid(1)
                                     : QStringLiteral("xl/") + target;
            // An empty path is the caller's sign of failure: "/" must not pass without a reason.
            if (path.isEmpty())
                *error = QStringLiteral("XLSX文件中的workbook.xml.rels格式不正确：工作表路径为空");
            return path;
        }
    }
    if (xmlFailed(xml, QStringLiteral("workbook.xml.rels"), error))
        return {};
    return fallback;
}

// The text of the <t> elements inside the current element (a shared string or an inline
// one), leaving out phonetic runs.
QString runText(QXmlStreamReader& xml) {
    QString text;
    const QString element = xml.name().toString();
    int phonetic = 0;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement()) {
            if (xml.name() == QLatin1String("rPh"))
                ++phonetic;
            else if (xml.name() == QLatin1String("t") && phonetic == 0)
                text += xml.readElementText();
        } else if (xml.isEndElement()) {
            if (xml.name() == QLatin1String("rPh"))
                --phonetic;
            else if (xml.name() == element)
                break;
        }
    }
    return text;
}

std::optional<QStringList> sharedStrings(ZipArchive& zip, QString* error) {
    const QString path = QStringLiteral("xl/sharedStrings.xml");
    if (!zip.has(path))
        return QStringList();
    const auto data = zip.read(path, error);
    if (!data)
        return std::nullopt;
    QStringList strings;
    QXmlStreamReader xml(*data);
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == QLatin1String("si"))
            strings << runText(xml);
    }
    if (xmlFailed(xml, QStringLiteral("sharedStrings.xml"), error))
        return std::nullopt;
    return strings;
}

// "BC12" -> column 54 (from 0); -1 when the reference has no column letters.
int columnOf(QStringView reference) {
    int column = 0, letters = 0;
    for (const QChar c : reference) {
        if (c < QLatin1Char('A') || c > QLatin1Char('Z'))
            break;
        column = column * 26 + (c.unicode() - 'A' + 1);
        if (++letters > 3)
            return -1;
    }
    return letters == 0 ? -1 : column - 1;
}

// One cell's value as text: shared and inline strings, booleans, numbers in their shortest form.
QString cellValue(QXmlStreamReader& xml, const QString& type, const QStringList& shared, bool* ok) {
    QString value;
    bool inlineText = false;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == QLatin1String("v"))
            value = xml.readElementText();
        else if (xml.isStartElement() && xml.name() == QLatin1String("is")) {
            value = runText(xml);
            inlineText = true;
        } else if (xml.isEndElement() && xml.name() == QLatin1String("c"))
            break;
    }
    *ok = true;
    if (inlineText || type == QLatin1String("str") || type == QLatin1String("inlineStr"))
        return value;
    if (type == QLatin1String("s")) {
        const int index = value.toInt(ok);
        *ok = *ok && index >= 0 && index < shared.size();
        return *ok ? shared.at(index) : QString();
    }
    if (type == QLatin1String("b") || type == QLatin1String("e") || value.isEmpty())
        return value;
    const double number = value.toDouble(ok);
    return *ok ? shortestNumber(number) : QString();
}

std::optional<std::vector<QStringList>> readXlsx(const QString& path, QString* error) {
    ZipArchive zip(path);
    if (!zip.isOpen()) {
        *error = QStringLiteral("不是有效的XLSX文件：%1").arg(path);
        return std::nullopt;
    }
    const auto shared = sharedStrings(zip, error);
    if (!shared)
        return std::nullopt;
    const QString sheetPath = firstSheetPath(zip, error);
    if (sheetPath.isEmpty())
        return std::nullopt;
    const auto sheet = zip.read(sheetPath, error);
    if (!sheet)
        return std::nullopt;
    std::vector<QStringList> rows;
    QXmlStreamReader xml(*sheet);
    int nextColumn = 0;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement())
            continue;
        if (xml.name() == QLatin1String("row")) {
            bool numbered = false;
            const int number = xml.attributes().value(QLatin1String("r")).toInt(&numbered);
            const int wanted = numbered ? number : int(rows.size()) + 1;
            if (wanted < int(rows.size()) + 1 || wanted > SpreadsheetFile::kMaxRows) {
                *error =
                    QStringLiteral("XLSX文件的行号不正确或超过%1行").arg(SpreadsheetFile::kMaxRows);
                return std::nullopt;
            }
            rows.resize(std::size_t(wanted));
            nextColumn = 0;
        } else if (xml.name() == QLatin1String("c")) {
            if (rows.empty())
                rows.emplace_back();
            const int referenced = columnOf(xml.attributes().value(QLatin1String("r")));
            const int column = referenced >= 0 ? referenced : nextColumn;
            if (column >= SpreadsheetFile::kMaxColumns) {
                *error = QStringLiteral("XLSX文件超过%1列").arg(SpreadsheetFile::kMaxColumns);
                return std::nullopt;
            }
            const QString type = xml.attributes().value(QLatin1String("t")).toString();
            bool ok = false;
            const QString value = cellValue(xml, type, *shared, &ok);
            if (!ok) {
                *error = QStringLiteral("XLSX文件第%1行的单元格值不正确").arg(rows.size());
                return std::nullopt;
            }
            QStringList& row = rows.back();
            while (row.size() <= column)
                row << QString();
            row[column] = value;
            nextColumn = column + 1;
        }
    }
    if (xmlFailed(xml, sheetPath, error))
        return std::nullopt;
    return rows;
}

void dropEmptyTail(QStringList& row) {
    while (!row.isEmpty() && row.last().isEmpty())
        row.removeLast();
}

} // namespace

std::optional<SpreadsheetFile::Format> SpreadsheetFile::formatOf(const QString& path) {
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("xlsx"))
        return Format::Xlsx;
    if (suffix == QLatin1String("csv"))
        return Format::Csv;
    return std::nullopt;
}

QString SpreadsheetFile::csvField(const QString& text) {
    static const QString mustQuote = QStringLiteral(",\"\r\n");
    const bool quote =
        std::any_of(text.begin(), text.end(), [](QChar ch) { return mustQuote.contains(ch); });
    if (!quote)
        return text;
    QString inner = text;
    inner.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + inner + QLatin1Char('"');
}

QString SpreadsheetFile::csvLine(const QStringList& fields) {
    QStringList quoted;
    quoted.reserve(fields.size());
    for (const QString& field : fields)
        quoted << csvField(field);
    return quoted.join(QLatin1Char(',')) + QStringLiteral("\r\n");
}

bool SpreadsheetFile::writeCsvText(QIODevice& out, const QString& text, QString* error) {
    const QByteArray data = QByteArray("\xEF\xBB\xBF") + text.toUtf8();
    if (out.write(data) == data.size())
        return true;
    if (error)
        *error = out.errorString();
    return false;
}

bool SpreadsheetFile::writeCsv(QIODevice& out, const Sheet& sheet, QString* error) {
    QStringList captions;
    for (const SheetColumn& column : sheet.columns)
        captions << column.caption;
    QString text = csvLine(captions);
    for (const QVariantList& row : sheet.rows) {
        QStringList cells;
        for (std::size_t c = 0; c < sheet.columns.size(); ++c) {
            const QVariant value = row.value(qsizetype(c));
            bool numeric = false;
            const double number = value.toDouble(&numeric);
            const int decimals = sheet.columns[c].decimals;
            cells << (decimals >= 0 && numeric && !value.isNull()
                          ? QString::number(number, 'f', decimals)
                          : textOf(value));
        }
        text += csvLine(cells);
    }
    return writeCsvText(out, text, error);
}

bool SpreadsheetFile::write(QIODevice& out, const QString& fileName, const Sheet& sheet,
                            QString* error) {
    const auto format = formatOf(fileName);
    if (!format) {
        *error = QStringLiteral("只能输出为 .xlsx 或 .csv 文件：%1").arg(fileName);
        return false;
    }
    if (*format == Format::Csv)
        return writeCsv(out, sheet, error);
    // The XLSX writer only writes to a file of its own naming.
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("sheet.xlsx"));
    if (!dir.isValid() || !writeXlsx(path, sheet, error))
        return false;
    QFile written(path);
    if (!written.open(QIODevice::ReadOnly)) {
        *error = written.errorString();
        return false;
    }
    const QByteArray bytes = written.readAll();
    if (out.write(bytes) != bytes.size()) {
        *error = out.errorString();
        return false;
    }
    return true;
}

bool SpreadsheetFile::write(const QString& path, const Sheet& sheet, QString* error) {
    QSaveFile file(path);
    if (formatOf(path) && !file.open(QIODevice::WriteOnly)) {
        *error = QStringLiteral("无法创建文件：%1（%2）").arg(path, file.errorString());
        return false;
    }
    if (!write(file, path, sheet, error))
        return false;
    if (!file.commit()) {
        *error = QStringLiteral("保存文件失败：%1（%2）").arg(path, file.errorString());
        return false;
    }
    return true;
}

std::optional<std::vector<QStringList>> SpreadsheetFile::readCsv(const QByteArray& bytes,
                                                                 QString* error) {
    // Not QString::fromUtf8: it drops a leading byte-order mark itself, so a first cell that
    // begins with U+FEFF lost it to the removal below.
    QString text =
        QStringDecoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom).decode(bytes);
    if (text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);
    std::vector<QStringList> rows;
    QStringList row;
    QString field;
    bool quoted = false, inQuotes = false;
    auto endField = [&] {
        row << field;
        field.clear();
        quoted = false;
    };
    auto endRow = [&] {
        endField();
        dropEmptyTail(row);
        rows.push_back(row);
        row.clear();
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (inQuotes) {
            if (c == QLatin1Char('"') && i + 1 < text.size() &&
                text.at(i + 1) == QLatin1Char('"')) {
                field += c;
                ++i;
            } else if (c == QLatin1Char('"')) {
                inQuotes = false;
            } else {
                field += c;
            }
        } else if (c == QLatin1Char('"') && field.isEmpty() && !quoted) {
            inQuotes = quoted = true;
        } else if (c == QLatin1Char(',')) {
            endField();
        } else if (c == QLatin1Char('\r') || c == QLatin1Char('\n')) {
            if (c == QLatin1Char('\r') && i + 1 < text.size() &&
                text.at(i + 1) == QLatin1Char('\n'))
                ++i;
            endRow();
        } else {
            field += c;
        }
        if (int(rows.size()) > kMaxRows || row.size() > kMaxColumns) {
            *error = QStringLiteral("CSV文件超过%1行或%2列").arg(kMaxRows).arg(kMaxColumns);
            return std::nullopt;
        }
    }
    if (inQuotes) {
        *error = QStringLiteral("CSV文件的引号没有成对");
        return std::nullopt;
    }
    if (!field.isEmpty() || !row.isEmpty() || quoted)
        endRow();
    return rows;
}

std::optional<std::vector<QStringList>> SpreadsheetFile::read(const QString& path, QString* error) {
    const auto format = formatOf(path);
    if (!format) {
        *error = QStringLiteral("只能读取 .xlsx 或 .csv 文件：%1").arg(path);
        return std::nullopt;
    }
    const QFileInfo info(path);
    if (!info.isFile()) {
        *error = QStringLiteral("文件不存在：%1").arg(path);
        return std::nullopt;
    }
    if (info.size() > kMaxBytes) {
        *error = QStringLiteral("文件过大（超过%1MB）：%2").arg(kMaxBytes >> 20).arg(path);
        return std::nullopt;
    }
    std::optional<std::vector<QStringList>> rows;
    if (*format == Format::Xlsx) {
        rows = readXlsx(path, error);
    } else {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            *error = QStringLiteral("无法读取文件：%1（%2）").arg(path, file.errorString());
            return std::nullopt;
        }
        rows = readCsv(file.readAll(), error);
    }
    if (rows)
        for (QStringList& row : *rows)
            dropEmptyTail(row);
    return rows;
}

} // namespace bom::entry
