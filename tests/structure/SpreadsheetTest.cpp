#include "entry/SpreadsheetFile.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using bom::entry::Sheet;
using bom::entry::SpreadsheetFile;

namespace {

// Texts that break naive writers and readers: separators, quotes, line breaks, Chinese, a
// leading zero that must stay text, numbers with and without decimals, an empty cell.
Sheet awkwardSheet() {
    Sheet sheet;
    sheet.title = QStringLiteral("物料清单[1]");
    sheet.columns = {{"code", "子件编码", -1}, {"qty", "基本用量分子", 2}, {"memo", "备注", -1}};
    sheet.rows = {
        {QStringLiteral("007"), 2.5, QStringLiteral("a,b \"quoted\"\nnext line")},
        {QStringLiteral("螺丝"), 3.0, QVariant()},
        {QStringLiteral("x"), QVariant(), QStringLiteral("末尾")},
    };
    return sheet;
}

std::vector<QStringList> expectedRows(bool xlsx) {
    // XLSX keeps numbers as numbers; CSV writes them with the column's decimals.
    return {{"子件编码", "基本用量分子", "备注"},
            {"007", xlsx ? "2.5" : "2.50", "a,b \"quoted\"\nnext line"},
            {"螺丝", xlsx ? "3" : "3.00"},
            {"x", "", "末尾"}};
}

} // namespace

TEST(SpreadsheetTest, WrittenSheetsReadBackEqualInBothFormats) {
    QTemporaryDir dir;
    for (const char* name : {"t.xlsx", "t.csv"}) {
        const QString path = dir.filePath(QLatin1String(name));
        QString error;
        ASSERT_TRUE(SpreadsheetFile::write(path, awkwardSheet(), &error)) << error.toStdString();
        const auto rows = SpreadsheetFile::read(path, &error);
        ASSERT_TRUE(rows) << error.toStdString();
        EXPECT_EQ(*rows, expectedRows(path.endsWith(QLatin1String("xlsx")))) << name;
    }
}

TEST(SpreadsheetTest, DamagedOrForeignFilesAreRefusedWithAReason) {
    QTemporaryDir dir;
    auto refusal = [&](const QString& name, const QByteArray& bytes) {
        QFile file(dir.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        file.close();
        QString error;
        EXPECT_FALSE(SpreadsheetFile::read(file.fileName(), &error)) << name.toStdString();
        EXPECT_FALSE(error.isEmpty()) << name.toStdString();
        return error;
    };
    EXPECT_TRUE(
        refusal(QStringLiteral("a.xlsx"), "not a zip at all").contains(QStringLiteral("XLSX")));
    EXPECT_TRUE(
        refusal(QStringLiteral("b.csv"), "\"open quote,1\r\n").contains(QStringLiteral("引号")));
    // A workbook cut short: its zip no longer holds together.
    const QString whole = dir.filePath(QStringLiteral("whole.xlsx"));
    QString error;
    ASSERT_TRUE(SpreadsheetFile::write(whole, awkwardSheet(), &error));
    QFile file(whole);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    refusal(QStringLiteral("cut.xlsx"), file.readAll().chopped(200));
    EXPECT_FALSE(SpreadsheetFile::read(dir.filePath(QStringLiteral("missing.csv")), &error));
    EXPECT_FALSE(
        SpreadsheetFile::write(dir.filePath(QStringLiteral("a.txt")), awkwardSheet(), &error));
    EXPECT_TRUE(error.contains(QStringLiteral(".xlsx")));
}
