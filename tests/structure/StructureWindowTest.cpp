#include "structure/StructureWindow.h"
#include "app/WindowHandover.h"
#include "card/VoucherSetWindow.h"
#include "entry/SpreadsheetFile.h"
#include "list/PagedQueryModel.h"
#include "list/ProductListWindow.h"
#include "structure/CompareWindow.h"
#include "structure/ExplosionModel.h"
#include "structure/StructureTableView.h"
#include "support/ListWindowSession.h"
#include "support/WindowTest.h"

#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QTemporaryDir>
#include <QTreeView>
#include <algorithm>

using namespace bom;
using Answer = suite::Prompter::Answer;

namespace {

const QString kBk200 = QStringLiteral("{5C9F1F2A-2360-54E5-BEFF-918716664B59}");

} // namespace

class StructureWindowTest : public test::HandoverListWindowTest {
protected:
    void SetUp() override {
        HandoverListWindowTest::SetUp();
        ASSERT_TRUE(open());
    }
};

// The parent list's context menu opens the structure: its tree, its export, its cost write and
// a comparison; the card's 结构 opens it too.
TEST_P(StructureWindowTest, ListAndCardOpenTheStructureWhichExportsWritesCostsAndCompares) {
    list::ProductListWindow* list = window();
    const int bike = parentRow(kBk200);
    ASSERT_GE(bike, 0);
    list->setCurrentParentRow(bike);
    const std::unique_ptr<QMenu> menu(list->parentMenu());
    auto* open = menu->findChild<QAction*>(QStringLiteral("Structure"));
    ASSERT_TRUE(open);

    QTemporaryDir folder;
    const QString xlsx = folder.filePath(QStringLiteral("结构.xlsx"));
    QStringList top, wheel, differences;
    test::answerModals(
        [&] { open->trigger(); },
        [&](QWidget* modal) {
            auto* shown = qobject_cast<structure::StructureWindow*>(modal);
            if (!shown)
                return;
            const structure::ExplosionModel* model = shown->explosionModel();
            for (int row = 0; row < model->rowCount(); ++row) {
                const QModelIndex at = model->index(row, 1);
                top << at.data().toString();
                if (at.data().toString() == QLatin1String("WH100"))
                    for (int below = 0; below < model->rowCount(at.siblingAtColumn(0)); ++below)
                        wheel << model->index(below, 1, at.siblingAtColumn(0)).data().toString();
            }
            EXPECT_TRUE(shown->exportTo(xlsx));
            // The cost tab is worked out when it is first shown, not with the tree.
            EXPECT_EQ(shown->costTable()->rowCount(), 0);
            shown->tabs()->setCurrentWidget(shown->costTable());
            EXPECT_GT(shown->costTable()->rowCount(), 0);

            prompter.queueAnswer(Answer::Yes);
            EXPECT_TRUE(shown->writeCosts());

            structure::CompareWindow compare(session(), kBk200, shown);
            compare.other()->setText(QStringLiteral("BK100"));
            ASSERT_TRUE(compare.compare());
            for (int row = 0; row < compare.differences()->rowCount(); ++row)
                differences << compare.differences()->item(row, 0)->text() + QLatin1Char(':') +
                                   compare.differences()->item(row, 2)->text();
            EXPECT_TRUE(compare.cost()->text().startsWith(QStringLiteral("标准成本：")));
            shown->reject();
        });
    EXPECT_EQ(top, QStringList({"FR100", "WH100", "FK100", "SD100", "BR100"}));
    EXPECT_FALSE(wheel.isEmpty());
    // The workbook holds the tree as the tab showed it, every level, numbers as numbers.
    QString error;
    const auto sheet = entry::SpreadsheetFile::read(xlsx, &error);
    ASSERT_TRUE(sheet) << error.toStdString();
    ASSERT_GT(sheet->size(), 5u);
    EXPECT_EQ(sheet->front().mid(0, 3), QStringList({"层次", "路径", "子件编码"}));
    const auto wheelRow = std::find_if(sheet->begin(), sheet->end(), [&](const QStringList& row) {
        return row.value(1) == QStringLiteral("BK200/WH100/") + wheel.value(0);
    });
    ASSERT_NE(wheelRow, sheet->end());
    EXPECT_EQ(wheelRow->value(0), QStringLiteral("2"));
    bool numeric = false;
    EXPECT_GT(wheelRow->value(6).toDouble(&numeric), 0);
    EXPECT_TRUE(numeric) << wheelRow->value(6).toStdString();
    // The costs stand written, as one run.
    EXPECT_TRUE(prompter.texts().last().startsWith(QStringLiteral("已写入")));
    EXPECT_EQ(db->scalar(QStringLiteral("select count(*) from sys_bom_run where coperation=?"),
                         {QStringLiteral("cost")})
                  .toInt(),
              1);
    EXPECT_FALSE(
        db->scalar(QStringLiteral("select fbzcb from ProductStructure where iautoid=?"), {kBk200})
            .isNull());
    // The city bike has no fork and a chain, and one brake.
    EXPECT_TRUE(differences.contains(QStringLiteral("FK100:删除")));
    EXPECT_TRUE(differences.contains(QStringLiteral("CH100:新增")));
    EXPECT_TRUE(differences.contains(QStringLiteral("BR100:修改")));

    QString fromCard;
    test::answerModals([&] { list->browse(bike); },
                       [&](QWidget* modal) {
                           auto* card = qobject_cast<card::VoucherSetWindow*>(modal);
                           if (!card)
                               return;
                           auto* button = card->findChild<QAction*>(QStringLiteral("Structure"));
                           ASSERT_TRUE(button && button->isEnabled());
                           // A window opened over a modal one is answered by a watch of its own.
                           test::answerModals(
                               [&] { button->trigger(); },
                               [&](QWidget* over) {
                                   if (auto* shown =
                                           qobject_cast<structure::StructureWindow*>(over)) {
                                       fromCard = shown->windowTitle();
                                       shown->reject();
                                   }
                               });
                           card->reject();
                       });
    EXPECT_EQ(fromCard, QStringLiteral("产品结构 - BK200 山地自行车"));
}

BOM_INSTANTIATE_BACKENDS(StructureWindowTest);
