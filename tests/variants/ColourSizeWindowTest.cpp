#include "list/ProductListWindow.h"
#include "support/ListWindowSession.h"
#include "support/WindowTest.h"
#include "variants/ColourSizeDialog.h"

#include <QPushButton>
#include <QTableWidget>

using namespace bom;

namespace {

const QString kShirt = QStringLiteral("{4CEC3297-B84C-5AAF-B02C-EAE3D62404CD}");

// The row of a list view whose first cell is `code`.
int rowOf(QTableWidget* list, const QString& code) {
    for (int row = 0; row < list->rowCount(); ++row)
        if (list->item(row, 0)->text() == code)
            return row;
    return -1;
}

// A planner's tick of a size for the colour made current first.
void tick(variants::ColourSizeDialog* dialog, const QString& colour, const QString& size) {
    dialog->colourList()->setCurrentCell(rowOf(dialog->colourList(), colour), 0);
    QTableWidgetItem* item = dialog->sizeList()->item(rowOf(dialog->sizeList(), size), 0);
    ASSERT_TRUE(item->flags() & Qt::ItemIsUserCheckable) << size.toStdString();
    item->setCheckState(item->checkState() == Qt::Checked ? Qt::Unchecked : Qt::Checked);
}

} // namespace

class ColourSizeWindowTest : public test::HandoverListWindowTest {
protected:
    void SetUp() override {
        HandoverListWindowTest::SetUp();
        ASSERT_TRUE(open());
    }
    // The list's command on the shirt, the window it opens handed to `use`.
    void onShirt(const char* command, const std::function<void(variants::ColourSizeDialog*)>& use) {
        list::ProductListWindow* list = window();
        list->setCurrentParentRow(parentRow(kShirt));
        bool opened = false;
        test::answerModals([&] { list->dispatch(QLatin1String(command)); },
                           [&](QWidget* modal) {
                               if (auto* dialog =
                                       qobject_cast<variants::ColourSizeDialog*>(modal)) {
                                   opened = true;
                                   use(dialog);
                               }
                           });
        EXPECT_TRUE(opened) << command;
    }
};

TEST_P(ColourSizeWindowTest, PlannerGeneratesSizesForColoursThenDeletesTwoPairs) {
    const int before = window()->parentTotal();
    onShirt("pCopy", [&](variants::ColourSizeDialog* dialog) {
        EXPECT_EQ(dialog->windowTitle(), QStringLiteral("批量增加"));
        QTableWidget* colours = dialog->colourList();
        // Red medium exists: ticked, and it stays so.
        colours->setCurrentCell(rowOf(colours, QStringLiteral("RED")), 0);
        const QTableWidgetItem* medium =
            dialog->sizeList()->item(rowOf(dialog->sizeList(), "M"), 0);
        EXPECT_EQ(medium->checkState(), Qt::Checked);
        EXPECT_FALSE(medium->flags() & Qt::ItemIsUserCheckable);
        tick(dialog, QStringLiteral("WHT"), QStringLiteral("S"));
        tick(dialog, QStringLiteral("WHT"), QStringLiteral("L"));
        test::clickButton(dialog, "Command3");                    // white's sizes for every colour
        tick(dialog, QStringLiteral("BLK"), QStringLiteral("L")); // black small only
        EXPECT_EQ(colours->item(rowOf(colours, QStringLiteral("RED")), 2)->text(),
                  QStringLiteral("M,L,S"));
        EXPECT_EQ(colours->item(rowOf(colours, QStringLiteral("BLK")), 2)->text(),
                  QStringLiteral("S"));
        test::clickButton(dialog, "Command5");
        test::clickButton(dialog, "Command6");
        EXPECT_FALSE(dialog->isVisible());
    });
    ASSERT_EQ(prompter.prompts().size(), 1u);
    EXPECT_EQ(prompter.prompts()[0].title, QStringLiteral("操作帮助"));
    // Grey, white and red small and large (blue large was there), blue and black small.
    EXPECT_EQ(window()->parentTotal(), before + 8);

    prompter.clear();
    onShirt("pDelete", [&](variants::ColourSizeDialog* dialog) {
        EXPECT_EQ(dialog->windowTitle(), QStringLiteral("批量删除"));
        test::clickButton(dialog, "Command2");
        dialog->colourList()->setCurrentCell(rowOf(dialog->colourList(), "GRY"), 0);
        EXPECT_FALSE(dialog->sizeList()->item(rowOf(dialog->sizeList(), "XL"), 0)->flags() &
                     Qt::ItemIsUserCheckable); // no BOM to delete
        tick(dialog, QStringLiteral("GRY"), QStringLiteral("S"));
        tick(dialog, QStringLiteral("RED"), QStringLiteral("M"));
        test::clickButton(dialog, "Command6");
    });
    EXPECT_EQ(prompter.texts(),
              QStringList{QStringLiteral(
                  "男式衬衫[颜色: RED,尺码:M,版本号:]已审核或为默认成本BOM，不可删除！")});
    EXPECT_EQ(window()->parentTotal(), before + 7);
}

BOM_INSTANTIATE_BACKENDS(ColourSizeWindowTest);
