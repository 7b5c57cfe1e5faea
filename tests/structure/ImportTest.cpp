#include "bomservice/BomCardLoader.h"
#include "bomservice/BomHistory.h"
#include "bomservice/BomRuns.h"
#include "bomservice/LowLevelCodes.h"
#include "card/CardDocument.h"
#include "structure/BomImporter.h"
#include "support/DemoSessionTest.h"

#include <QTemporaryDir>

using namespace bom;
using structure::BomImporter;
using structure::ImportRefusal;

namespace {

const QString kBk200 = QStringLiteral("{5C9F1F2A-2360-54E5-BEFF-918716664B59}");

} // namespace

namespace bom::structure {
void PrintTo(const ImportRefusal& r, std::ostream* out) {
    *out << r.row << ' ' << r.field.toStdString() << ' ' << r.message.toStdString();
}
} // namespace bom::structure

class ImportTest : public test::DemoSessionTest {
protected:
    // A card exported to XLSX and read back, as a planner's file arrives.
    std::vector<QStringList> exported(const QString& id) {
        bomservice::BomCardLoader loader(s());
        const auto voucher = loader.LoadTemplate(QStringLiteral("PP30"));
        const auto card = loader.LoadBom(*voucher, id);
        card::CardDocument document(s());
        EXPECT_TRUE(document.applyTemplate(QStringLiteral("PP30"), voucher->DEF_ID));
        const QString path = dir.filePath(QStringLiteral("card.xlsx"));
        QString error;
        EXPECT_TRUE(entry::SpreadsheetFile::write(
            path, BomImporter::cardSheet(*card, document.layout()), &error));
        return *entry::SpreadsheetFile::read(path, &error);
    }
    static int column(const std::vector<QStringList>& rows, const char* name) {
        return int(rows.front().indexOf(QLatin1String(name)));
    }
    // Every row an import may touch, as exact text, versions aside.
    QStringList state() {
        QStringList out;
        for (const char* sql :
             {"select * from ProductStructures order by autoid",
              "select * from ProstruOpt order by compsubid",
              "select * from ProductStructuresEx order by cPSPCode, cPSCode",
              "select iautoid, cpspcode, csocode, cfree1, cfree2, cmemo, fbzcb from "
              "ProductStructure order by iautoid"})
            out << db().query(QLatin1String(sql)).asText();
        return out;
    }
    QStringList lines(const QString& id) {
        return db()
            .query(QStringLiteral("select cpscode, ipsquantity from ProductStructures "
                                  "where ipid=? order by cpscode"),
                   {id})
            .asText();
    }

    QTemporaryDir dir;
};

TEST_P(ImportTest, AnEditedExportChangesAddsAndDeletesLinesAndUndoPutsItBack) {
    std::vector<QStringList> rows = exported(kBk200);
    const int qty = column(rows, "ipsquantity"), item = column(rows, "cpscode"),
              autoid = column(rows, "autoid");
    ASSERT_GE(column(rows, "header.cpspcode"), 0);
    QStringList added;
    for (std::size_t i = 1; i < rows.size(); ++i) {
        if (rows[i][item] == QLatin1String("FR100"))
            rows[i][qty] = QStringLiteral("3");
        if (rows[i][item] == QLatin1String("SD100")) {
            added = rows[i];
            added[autoid].clear();
            added[item] = QStringLiteral("TY101");
            added[qty] = QStringLiteral("2");
        }
    }
    rows.erase(std::remove_if(rows.begin(), rows.end(),
                              [&](const QStringList& r) { return r.value(item) == "BR100"; }),
               rows.end());
    rows.push_back(added);
    const QStringList before = state();

    const auto preview = BomImporter(s()).Import(rows, true);
    EXPECT_TRUE(preview.refused.empty());
    ASSERT_EQ(preview.boms.size(), 1u);
    EXPECT_FALSE(preview.boms[0].created);
    EXPECT_EQ(preview.boms[0].lines, 5);
    EXPECT_FALSE(preview.written);
    EXPECT_EQ(state(), before);

    const auto result = BomImporter(s()).Import(rows, false);
    ASSERT_TRUE(result.refused.empty()) << result.refused.front().message.toStdString();
    EXPECT_TRUE(result.written);
    EXPECT_EQ(lines(kBk200), (QStringList{"FK100|1", "FR100|3", "SD100|1", "TY101|2", "WH100|2"}));
    // The card's history names the import as the run that made the change.
    const auto history = bomservice::BomHistory(db()).read(kBk200);
    ASSERT_FALSE(history.empty());
    EXPECT_EQ(history.front().run, result.run);
    // The levels the import kept are those a full rebuild finds.
    const QString levels = QStringLiteral("select cinvcode, ilevel from bom_llc order by cinvcode");
    const QStringList kept = db().query(levels).asText();
    bomservice::LowLevelCodes(db()).Rebuild();
    EXPECT_EQ(kept, db().query(levels).asText());
    EXPECT_TRUE(kept.join(',').contains(QStringLiteral("TY101|")));

    ASSERT_TRUE(bomservice::BomRuns(s()).Undo(result.run, QStringLiteral("导入")));
    EXPECT_EQ(state(), before);
}

TEST_P(ImportTest, AnyRefusedRowWritesNothingAndEveryRefusalIsReportedWithItsRow) {
    std::vector<QStringList> rows = exported(kBk200);
    const int qty = column(rows, "ipsquantity"), item = column(rows, "cpscode"),
              autoid = column(rows, "autoid"), memo = column(rows, "header.cmemo");
    rows[1][qty] = QStringLiteral("0");           // row 2
    rows[2][memo] = QStringLiteral("另一个备注"); // row 3: header differs within the BOM
    QStringList unknown = rows[3];                // row 7: an item nobody has
    unknown[autoid].clear();
    unknown[item] = QStringLiteral("NOPE");
    rows.push_back(unknown);
    const QStringList before = state();
    const auto result = BomImporter(s()).Import(rows, false);
    EXPECT_FALSE(result.written);
    ASSERT_EQ(result.refused.size(), 3u);
    EXPECT_EQ(result.refused[0].row, 3);
    EXPECT_EQ(result.refused[0].field, QStringLiteral("header.cmemo"));
    EXPECT_EQ(result.refused[1], (ImportRefusal{2, "ipsquantity", result.refused[1].message}));
    EXPECT_FALSE(result.refused[1].message.isEmpty());
    EXPECT_EQ(result.refused[2], (ImportRefusal{7, "cpscode", "存货中不存在该子件!"}));
    EXPECT_EQ(state(), before);

    // A heading that names no field of the card stops the import at row 1.
    std::vector<QStringList> wrong{{"header.cpspcode", "cpscode", "colour"},
                                   {"GT100", "TH100", "x"}};
    const auto refused = BomImporter(s()).Import(wrong, false);
    ASSERT_EQ(refused.refused.size(), 1u);
    EXPECT_EQ(refused.refused[0].row, 1);
    EXPECT_EQ(refused.refused[0].field, QStringLiteral("colour"));
}

TEST_P(ImportTest, RowsOfANewIdentityMakeANewBomThatUndoRemoves) {
    const std::vector<QStringList> rows{
        {"header.cpspcode", "header.cfree1", "header.cfree2", "cpscode", "ipsquantity", "tdqtyd"},
        {"GT100", "BLK", "S", "TH100", "1", "1"},
        {"GT100", "BLK", "S", "BT100", "8", "1"}};
    const QStringList before = state();
    const auto result = BomImporter(s()).Import(rows, false);
    ASSERT_TRUE(result.refused.empty()) << result.refused.front().message.toStdString();
    ASSERT_EQ(result.boms.size(), 1u);
    EXPECT_TRUE(result.boms[0].created);
    EXPECT_EQ(lines(result.boms[0].headerId), (QStringList{"BT100|8", "TH100|1"}));
    ASSERT_TRUE(bomservice::BomRuns(s()).Undo(result.run, QStringLiteral("导入")));
    EXPECT_EQ(state(), before);
}

TEST_P(ImportTest, ThePlannersWayReportsRefusalsAsksFirstAndWritesOnlyOnYes) {
    std::vector<QStringList> rows = exported(kBk200);
    const int qty = column(rows, "ipsquantity");
    const QString path = dir.filePath(QStringLiteral("edited.csv"));
    auto save = [&] {
        entry::Sheet sheet;
        for (const QString& name : rows.front())
            sheet.columns.push_back({name, name, -1});
        for (std::size_t i = 1; i < rows.size(); ++i)
            sheet.rows.push_back(QVariantList(rows[i].begin(), rows[i].end()));
        QString error;
        ASSERT_TRUE(entry::SpreadsheetFile::write(path, sheet, &error)) << error.toStdString();
    };
    const QStringList before = state();

    // As exported: nothing to do, and nothing done (no new version, no run).
    save();
    EXPECT_FALSE(BomImporter(s()).ImportAsked(path));
    EXPECT_EQ(session->prompter.texts(),
              QStringList{QStringLiteral("文件中的1个物料清单与已存的相同，没有要导入的内容。")});
    EXPECT_EQ(state(), before);

    rows[1][qty] = QStringLiteral("0");
    save();
    session->prompter.clear();
    EXPECT_FALSE(BomImporter(s()).ImportAsked(path));
    ASSERT_EQ(session->prompter.texts().size(), 1);
    EXPECT_TRUE(session->prompter.texts().last().startsWith(
        QStringLiteral("以下1行未通过检查，没有导入任何物料清单：\n第2行 ipsquantity：")));

    rows[1][qty] = QStringLiteral("4");
    save();
    session->prompter.queueAnswer(suite::Prompter::Answer::No);
    EXPECT_FALSE(BomImporter(s()).ImportAsked(path));
    EXPECT_EQ(session->prompter.texts().last(),
              QStringLiteral("将导入1个物料清单（新增0个，修改1个），是否继续？"));
    EXPECT_EQ(state(), before);

    session->prompter.queueAnswer(suite::Prompter::Answer::Yes);
    EXPECT_TRUE(BomImporter(s()).ImportAsked(path));
    EXPECT_TRUE(session->prompter.texts().last().startsWith(QStringLiteral("已导入1个物料清单")));
    EXPECT_NE(state(), before);
}

BOM_INSTANTIATE_BACKENDS(ImportTest);
