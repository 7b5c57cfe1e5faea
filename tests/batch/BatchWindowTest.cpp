#include "batch/BatchDialog.h"
#include "batch/BatchPreviewDialog.h"
#include "batch/BatchRunsDialog.h"
#include "entry/Format.h"
#include "list/PagedQueryModel.h"
#include "list/ProductListWindow.h"
#include "list/ReferenceDialog.h"
#include "support/ListWindowSession.h"
#include "support/WindowTest.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>

using namespace bom;
using Answer = suite::Prompter::Answer;

namespace {

const QString kBk200 = QStringLiteral("{5C9F1F2A-2360-54E5-BEFF-918716664B59}");
const QString kBk200Order = QStringLiteral("{090D4316-FD7F-5F3D-AD91-F241FEFD8DF6}");

// Typed into an editor and left, as a planner does.
void type(QLineEdit* edit, const QString& text) {
    ASSERT_TRUE(edit);
    edit->setText(text);
    edit->setModified(true);
    emit edit->editingFinished();
}

} // namespace

class BatchWindowTest : public test::HandoverListWindowTest {
protected:
    void SetUp() override {
        HandoverListWindowTest::SetUp();
        ASSERT_TRUE(open());
    }
    QStringList wasteRates(const QString& component) {
        const db::Rows rows = db->query(QStringLiteral("SELECT COALESCE(iwasterate,0) FROM "
                                                       "ProductStructures WHERE cpscode=? AND "
                                                       "ipid IN (?,?) ORDER BY ipid"),
                                        {component, kBk200, kBk200Order});
        QStringList out;
        for (std::size_t i = 0; i < rows.size(); ++i)
            out << QString::number(rows.at(i).at(0).toDouble());
        return out;
    }
};

// The list hands the marked BOMs and the chosen line to the editor; the run is then undone
// from the list's runs window.
TEST_P(BatchWindowTest, ListHandsOverTheLineAndUndoesTheRunFromItsRunsWindow) {
    list::ProductListWindow* list = window();
    const int bike = parentRow(kBk200), order = parentRow(kBk200Order);
    ASSERT_GE(bike, 0);
    ASSERT_GE(order, 0);
    list->parentModel().setSelected(bike, true);
    list->parentModel().setSelected(order, true);
    list->setCurrentParentRow(bike);
    list::PagedQueryModel& lines = list->componentModel();
    for (int row = 0; row < lines.rowCount(); ++row)
        lines.setSelected(row, lines.value(row, QStringLiteral("cpscode")).toString() ==
                                   QLatin1String("SD100"));

    QString caption, currentLine;
    test::answerModals(
        [&] { list->dispatch(QStringLiteral("batchEdit")); },
        [&](QWidget* modal) {
            auto* dialog = qobject_cast<batch::BatchDialog*>(modal);
            if (!dialog)
                return;
            caption = dialog->windowTitle();
            currentLine = dialog->findChild<QLabel*>(QStringLiteral("currentLine"))->text();
            // The line as it stands is a hint only: modify writes what is typed.
            EXPECT_EQ(dialog->lineEditor(QStringLiteral("cwhcode"))->text(), QString());
            EXPECT_EQ(dialog->lineEditor(QStringLiteral("cwhcode"))->placeholderText(),
                      QStringLiteral("02"));
            test::clickButton(dialog, "cmdSave");
            EXPECT_TRUE(dialog->isVisible()); // nothing set: it stays open
            type(dialog->lineEditor(QStringLiteral("iwasterate")), QStringLiteral("5"));
            test::clickButton(dialog, "cmdSave");
        });
    EXPECT_EQ(caption, QStringLiteral("SD100--批量修改"));
    EXPECT_TRUE(currentLine.contains(QStringLiteral("子件编码=\"SD100\"")))
        << currentLine.toStdString();
    EXPECT_EQ(prompter.texts(),
              (QStringList{QStringLiteral("请设置修改项目"), QStringLiteral("批量修改完毕！")}));
    EXPECT_EQ(wasteRates(QStringLiteral("SD100")), (QStringList{"5", "5"}));
    // The list came back with its ticks.
    EXPECT_TRUE(list->parentModel().isSelected(parentRow(kBk200)));
    EXPECT_TRUE(list->parentModel().isSelected(parentRow(kBk200Order)));

    prompter.clear();
    prompter.queueAnswer(Answer::Yes);
    int runs = 0;
    test::answerModals([&] { list->dispatch(QStringLiteral("batchUndo")); },
                       [&](QWidget* modal) {
                           auto* dialog = qobject_cast<batch::BatchRunsDialog*>(modal);
                           if (!dialog)
                               return;
                           runs = dialog->runs()->rowCount();
                           dialog->runs()->setCurrentCell(0, 0);
                           EXPECT_TRUE(dialog->undoCurrent());
                           EXPECT_EQ(dialog->runs()->item(0, 4)->text(), QStringLiteral("已撤销"));
                           dialog->reject();
                       });
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(prompter.texts(), (QStringList{QStringLiteral("确实要撤销第1号批量操作吗？"),
                                             QStringLiteral("第1号批量操作已撤销！")}));
    EXPECT_EQ(wasteRates(QStringLiteral("SD100")), (QStringList{"0", "0"}));
}

// Each editor is checked as it is left; browse and calculator values go through the same
// check; the preview shows the run without writing it, and the save writes exactly that.
TEST_P(BatchWindowTest, EditorsCheckOnLeavingAndPreviewShowsWhatTheSaveWrites) {
    batch::BatchEditor editor(session());
    ASSERT_TRUE(editor.InitBatch(batch::Operation::Add, {kBk200, kBk200Order}, {}));
    batch::BatchDialog dialog(session(), editor, window());
    dialog.show();
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("批量增加"));
    EXPECT_EQ(dialog.lineEditor(QStringLiteral("multiplier")), nullptr); // replace only

    QLineEdit* warehouse = dialog.lineEditor(QStringLiteral("cwhcode"));
    type(warehouse, QStringLiteral("99"));
    EXPECT_EQ(prompter.texts().value(0), QStringLiteral("仓库不存在或无权使用，请重新录入!"));
    EXPECT_EQ(prompter.prompts().at(0).title, QStringLiteral("批量处理"));
    EXPECT_EQ(warehouse->text(), QString());

    type(dialog.lineEditor(QStringLiteral("cpscode")), QStringLiteral("RM100"));
    EXPECT_NE(warehouse->text(), QString()); // the item's default warehouse
    EXPECT_NE(dialog.choiceEditor(QStringLiteral("wiptype"))->currentText(), QString());
    EXPECT_TRUE(dialog.findChild<QLabel*>(QStringLiteral("itemInfo"))
                    ->text()
                    .contains(QStringLiteral("轮辋")));

    // The calculator drop-down: a sum, formatted to the account's places, then checked.
    auto* sum = dialog.findChild<QLineEdit*>(QStringLiteral("ipsquantitySum"));
    ASSERT_TRUE(sum);
    sum->setText(QStringLiteral("3*(1+1)/4"));
    emit sum->returnPressed();
    EXPECT_EQ(dialog.lineEditor(QStringLiteral("ipsquantity"))->text(),
              entry::FormatByDigits(1.5, session().gQuanDigits));
    sum->setText(QStringLiteral("1-1"));
    emit sum->returnPressed();
    EXPECT_EQ(prompter.texts().last(), QStringLiteral("不能录入零或负值!"));
    EXPECT_EQ(dialog.lineEditor(QStringLiteral("ipsquantity"))->text(), QString());
    type(dialog.lineEditor(QStringLiteral("ipsquantity")), QStringLiteral("2"));

    // The sales-order browse offers the orders the selected parents have BOMs for.
    int offered = 0;
    test::answerModals([&] { test::clickButton(&dialog, "csocodeBrw"); },
                       [&](QWidget* modal) {
                           if (auto* r = qobject_cast<list::ReferenceDialog*>(modal)) {
                               offered = r->loadedRows();
                               r->findChild<QTableWidget*>()->setCurrentCell(0, 0);
                               r->accept();
                           }
                       });
    EXPECT_EQ(offered, 1);
    EXPECT_EQ(dialog.lineEditor(QStringLiteral("csocode"))->text(),
              QStringLiteral("SO2026001-BK200-101"));

    const auto lines = [&] {
        return db
            ->scalar(QStringLiteral("SELECT count(*) FROM ProductStructures WHERE "
                                    "cpscode='RM100' AND ipid IN (?,?)"),
                     {kBk200, kBk200Order})
            .toInt();
    };
    int previewed = -1;
    QString after;
    test::answerModals([&] { EXPECT_TRUE(dialog.preview()); },
                       [&](QWidget* modal) {
                           if (auto* p = qobject_cast<batch::BatchPreviewDialog*>(modal)) {
                               previewed = p->changes()->rowCount();
                               after = p->changes()->item(0, 6)->text();
                               p->reject();
                           }
                       });
    EXPECT_EQ(previewed, 2);
    EXPECT_TRUE(after.contains(QStringLiteral("子件编码=RM100"))) << after.toStdString();
    EXPECT_TRUE(after.contains(QStringLiteral("基本用量分子=2"))) << after.toStdString();
    EXPECT_EQ(lines(), 0);

    EXPECT_TRUE(dialog.save());
    ASSERT_TRUE(dialog.result());
    EXPECT_EQ(dialog.result()->changed, (QStringList{kBk200, kBk200Order}));
    EXPECT_EQ(lines(), 2);
    EXPECT_EQ(prompter.texts().last(), QStringLiteral("批量添加完毕！"));
    EXPECT_FALSE(dialog.isVisible());
}

BOM_INSTANTIATE_BACKENDS(BatchWindowTest);
