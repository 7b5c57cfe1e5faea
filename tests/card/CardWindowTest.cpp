#include "bomservice/CardAttachments.h"
#include "card/AttachmentsDialog.h"
#include "card/CardHandover.h"
#include "card/HistoryDialog.h"
#include "card/ListOrderNavigator.h"
#include "card/VoucherSetWindow.h"
#include "card/VoucherView.h"
#include "entry/IProduct.h"
#include "list/PagedQueryModel.h"
#include "list/ProductListWindow.h"
#include "options/OptionsCardDialog.h"
#include "structure/BomImporter.h"
#include "suite/Login.h"
#include "support/ListWindowSession.h"
#include "support/TestAccount.h"
#include "support/WindowTest.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QSettings>
#include <QSplitter>
#include <QSplitterHandle>
#include <QTableView>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QToolBar>
#include <QTreeWidget>

using namespace bom;
using test::press;
using Answer = suite::Prompter::Answer;

namespace {

const QString kMountainBike = QStringLiteral("{5C9F1F2A-2360-54E5-BEFF-918716664B59}"); // BK200
const QString kFrame = QStringLiteral("{68A4B30F-4353-573A-8925-97479D304B80}");        // FR100

void mouse(QWidget* target, QEvent::Type type, const QPoint& at, Qt::MouseButtons buttons) {
    QMouseEvent event(type, at, target->mapToGlobal(at), Qt::LeftButton, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &event);
}

void click(QTreeWidget* tree, QTreeWidgetItem* item) {
    const QPoint at = tree->visualItemRect(item).center();
    mouse(tree->viewport(), QEvent::MouseButtonPress, at, Qt::LeftButton);
    mouse(tree->viewport(), QEvent::MouseButtonRelease, at, Qt::NoButton);
}

// As the operator drags the handle between tree and card by `by` pixels.
void drag(QSplitter* splitter, int by) {
    QSplitterHandle* handle = splitter->handle(1);
    mouse(handle, QEvent::MouseButtonPress, {1, 1}, Qt::LeftButton);
    mouse(handle, QEvent::MouseMove, {1 + by, 1}, Qt::LeftButton);
    mouse(handle, QEvent::MouseButtonRelease, {1 + by, 1}, Qt::NoButton);
}

QSettings treeSetting() {
    return QSettings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("BOM"));
}

// What a cell editor commits when the operator types into a card's grid.
void type(card::VoucherView* view, card::CardDocument& document, int row, const QString& field,
          const QString& text) {
    QAbstractItemModel* body = view->body()->model();
    int column = 0;
    for (const card::CardField& shown : document.layout().body) {
        if (!shown.visible)
            continue;
        if (shown.name == field) {
            EXPECT_TRUE(body->setData(body->index(row, column), text));
            return;
        }
        ++column;
    }
    ADD_FAILURE() << "no column " << field.toStdString();
}

void type(card::VoucherSetWindow& w, int row, const QString& field, const QString& text) {
    type(w.view(), w.document(), row, field, text);
}

} // namespace

class CardWindowTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        db = account->createDemo();
        s = std::make_unique<test::TestSession>(account->url(), QStringLiteral("demo"));
        navigator = std::make_unique<card::ListOrderNavigator>(s->session());
    }
    void TearDown() override {
        navigator.reset();
        s.reset();
        db.reset();
        BackendTest::TearDown();
    }
    std::unique_ptr<card::VoucherSetWindow> open(const QString& id = kMountainBike) {
        auto w = std::make_unique<card::VoucherSetWindow>(s->session(), *navigator);
        w->show();
        EXPECT_TRUE(w->LoadCard(id)) << s->prompter.texts().join('|').toStdString();
        return w;
    }
    suite::ScriptedPrompter& prompter() { return s->prompter; }

    std::unique_ptr<db::Database> db;
    std::unique_ptr<test::TestSession> s;
    std::unique_ptr<card::ListOrderNavigator> navigator;
};

TEST_P(CardWindowTest, ToolbarTitlesAndTemplatesAsTheCardDefinesThem) {
    card::VoucherSetWindow fresh(s->session(), *navigator);
    EXPECT_FALSE(fresh.button(QStringLiteral("Cancel"))->isEnabled());

    auto w = open();
    QStringList keys, captions;
    for (QAction* action : w->toolbar()->actions()) {
        keys << action->objectName();
        captions << (action->isSeparator() ? QStringLiteral("|") : action->text());
    }
    EXPECT_EQ(keys.join(','), QStringLiteral("Print,Preview,Output,tbl1,Add,Modify,Erase,tlbOpt,"
                                             "Copy,Save,Cancel,AddRow,DelRow,Picture,cInvcode,"
                                             "tbl2,Appedix,RowLoc,Log,Structure,Paint,ToFirst,"
                                             "ToPrevious,"
                                             "ToNext,ToLast,Help,Exit"));
    EXPECT_EQ(captions.join(' '),
              QStringLiteral("打印 预览 输出 | 增加 修改 删除 替代 复制 保存 放弃 "
                             "增行 删行 图片 存货 | 附件 定位 日志 结构 刷新 首张 上张 "
                             "下张 末张 帮助 退出"));
    EXPECT_EQ(w->windowTitle(), QStringLiteral("物料清单维护"));
    EXPECT_EQ(w->titleLabel()->text(), QStringLiteral("物料清单"));
    EXPECT_EQ(w->templateCombo()->currentText(), QStringLiteral("物料清单显示模版(1)"));
    EXPECT_EQ(w->toolbarTemplateId(), QStringLiteral("1"));
    EXPECT_EQ(w->printTemplateCombo()->currentText(), QStringLiteral("物料清单打印模版"));
    EXPECT_EQ(w->view()->palette().color(QPalette::Window), QColor(0xE8, 0xE8, 0xE8));
    // The card's header and lines as stored.
    EXPECT_EQ(w->view()->headerEdit(QStringLiteral("cpspcode"))->text(), QStringLiteral("BK200"));
    EXPECT_EQ(w->view()->body()->model()->rowCount(), w->document().BodyRows());
    EXPECT_GT(w->document().BodyRows(), 0);
    EXPECT_TRUE(prompter().prompts().empty()) << prompter().texts().join('|').toStdString();
}

TEST_P(CardWindowTest, KeysActOnlyThroughEnabledButtons) {
    auto w = open();
    QTableView* body = w->view()->body();
    const int lines = w->document().BodyRows();
    // Browsing: Save is disabled, so F6 does nothing; Add wants F5 without Shift.
    press(body, Qt::Key_F6);
    press(body, Qt::Key_F5, Qt::ShiftModifier);
    press(body, Qt::Key_I, Qt::ControlModifier); // add row, only while editing
    EXPECT_EQ(w->document().VoucherStatus(), 0);
    EXPECT_EQ(w->document().BodyRows(), lines);
    EXPECT_TRUE(prompter().prompts().empty()) << prompter().texts().join('|').toStdString();

    // F8 modifies; then Ctrl+I adds a line and Ctrl+D asks before deleting one.
    press(body, Qt::Key_F8);
    ASSERT_EQ(w->document().VoucherStatus(), 1) << prompter().texts().join('|').toStdString();
    EXPECT_TRUE(w->editable());
    EXPECT_TRUE(w->button(QStringLiteral("Save"))->isEnabled());
    press(w->view()->headerEdit(QStringLiteral("cpspcode")), Qt::Key_I, Qt::ControlModifier);
    EXPECT_EQ(w->document().BodyRows(), lines + 1);
    EXPECT_EQ(body->currentIndex().row(), lines); // the new line is the current one
    prompter().queueAnswer(Answer::No);
    press(body, Qt::Key_D, Qt::ControlModifier | Qt::ShiftModifier); // not Ctrl+D
    press(body, Qt::Key_D, Qt::ControlModifier);
    EXPECT_EQ(prompter().texts(), QStringList{QStringLiteral("确信要删除该行吗？")});
    EXPECT_EQ(w->document().BodyRows(), lines + 1);
    press(body, Qt::Key_F5); // Add is disabled while editing
    EXPECT_EQ(w->document().headerText(QStringLiteral("cpspcode")), QStringLiteral("BK200"));

    // Closing asks to save the edit: Cancel keeps the card open, No closes it.
    prompter().clear();
    prompter().queueAnswer(Answer::Cancel);
    press(body, Qt::Key_F4, Qt::ControlModifier);
    EXPECT_TRUE(w->isVisible());
    prompter().queueAnswer(Answer::No);
    press(body, Qt::Key_Escape);
    EXPECT_FALSE(w->isVisible());
    EXPECT_EQ(prompter().texts(), QStringList(2, QStringLiteral("是否保存对当前单据的编辑？")));
}

TEST_P(CardWindowTest, RefusedEntryKeepsItsOldValueAndTheFocus) {
    auto w = open();
    QTableView* body = w->view()->body();
    press(body, Qt::Key_F8);
    ASSERT_EQ(w->document().VoucherStatus(), 1) << prompter().texts().join('|').toStdString();
    w->activateWindow();
    QApplication::setActiveWindow(w.get());

    // A cell: the quantity 0 is refused, the cell keeps its value and is open again.
    int column = -1;
    for (const card::CardField& shown : w->document().layout().body)
        if (shown.visible && (++column, shown.name == QLatin1String("ipsquantity")))
            break;
    const QModelIndex cell = body->model()->index(1, column);
    const QString before = w->document().bodyText(1, QStringLiteral("ipsquantity"));
    body->setCurrentIndex(cell);
    body->edit(cell);
    auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    ASSERT_TRUE(editor);
    editor->setText(QStringLiteral("0"));
    prompter().clear();
    press(editor, Qt::Key_Return);
    for (int i = 0; i < 5; ++i) // the editor opens again once the old one has closed
        QCoreApplication::processEvents();
    EXPECT_EQ(prompter().texts(), QStringList{QStringLiteral("基本用量分子必须大于0")});
    EXPECT_EQ(w->document().bodyText(1, QStringLiteral("ipsquantity")), before);
    EXPECT_EQ(body->currentIndex(), cell);
    auto* reopened = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    ASSERT_TRUE(reopened);
    EXPECT_TRUE(body->viewport()->isAncestorOf(reopened)); // the cell's editor, open again
    EXPECT_EQ(reopened->text(), before);
    press(reopened, Qt::Key_Escape);

    // A header field: a negative standard wage rate is refused the same way.
    QLineEdit* rate = w->view()->headerEdit(QStringLiteral("fbzgzl"));
    ASSERT_TRUE(rate);
    rate->setFocus();
    rate->setText(QStringLiteral("-1"));
    prompter().clear();
    emit rate->editingFinished();
    EXPECT_EQ(prompter().texts(), QStringList{QStringLiteral("标准工资率必须大于等于0！")});
    EXPECT_TRUE(rate->text().isEmpty()); // an empty figure shows empty on every database
    EXPECT_TRUE(w->document().headerText(QStringLiteral("fbzgzl")).isEmpty());
    EXPECT_EQ(QApplication::focusWidget(), rate);
    // An accepted one is taken.
    rate->setText(QStringLiteral("12"));
    emit rate->editingFinished();
    EXPECT_EQ(w->document().headerText(QStringLiteral("fbzgzl")).toDouble(), 12);
}

TEST_P(CardWindowTest, SubstitutesCardSavesAndTheCardStillSavesAfterIt) {
    auto w = open(kFrame);
    prompter().queueAnswer(Answer::Yes);  // the frame is a shared part: modify it all the same
    press(w->view()->body(), Qt::Key_F8); // the BOM card in edit while its substitutes change
    ASSERT_EQ(w->document().VoucherStatus(), 1) << prompter().texts().join('|').toStdString();
    int tube = -1;
    for (int row = 0; row < w->document().BodyRows(); ++row)
        if (w->document().bodyText(row, QStringLiteral("cpscode")) == QLatin1String("TU100"))
            tube = row;
    ASSERT_GE(tube, 0);
    w->document().setCurrentRow(tube);
    ASSERT_TRUE(w->button(QStringLiteral("tlbOpt"))->isEnabled());
    const QString line = w->document().bodyText(tube, QStringLiteral("autoid"));

    bool opened = false;
    test::answerModals(
        [&] { w->buttonClick(QStringLiteral("tlbOpt")); },
        [&](QWidget* modal) {
            auto* d = qobject_cast<options::OptionsCardDialog*>(modal);
            if (!d)
                return;
            opened = true;
            // The line above, read only; its one stored substitute below.
            EXPECT_EQ(d->document().headerText(QStringLiteral("cpscode")), QStringLiteral("TU100"));
            EXPECT_TRUE(d->view()->headerEdit(QStringLiteral("cpscode"))->isReadOnly());
            ASSERT_EQ(d->document().BodyRows(), 1);
            d->addRow();
            type(d->view(), d->document(), 1, QStringLiteral("cinvcode"), QStringLiteral("SP100"));
            EXPECT_EQ(d->document().bodyText(1, QStringLiteral("cinvname")),
                      QStringLiteral("辐条"));
            EXPECT_TRUE(d->save()) << prompter().texts().join('|').toStdString();
            d->accept();
        });
    ASSERT_TRUE(opened);
    EXPECT_EQ(db->scalar(QStringLiteral("SELECT count(*) FROM ProstruOpt WHERE AutoID=?"),
                         {line.toLongLong()})
                  .toInt(),
              2);
    // The card took the version the substitutes' save moved on to, so its own save is no
    // lost update.
    prompter().clear();
    press(w->view()->body(), Qt::Key_F6);
    EXPECT_EQ(w->document().VoucherStatus(), 0) << prompter().texts().join('|').toStdString();
}

TEST_P(CardWindowTest, TreeRootStaysAndOtherNodesOpenTheirBom) {
    auto w = open();
    QTreeWidget* tree = w->tree();
    ASSERT_EQ(tree->topLevelItemCount(), 1);
    QTreeWidgetItem* root = tree->topLevelItem(0);
    EXPECT_EQ(root->text(0), QStringLiteral("BK200 山地自行车"));
    QTreeWidgetItem* frame = nullptr;
    QTreeWidgetItem* other = nullptr;
    for (int i = 0; i < root->childCount(); ++i)
        (root->child(i)->text(0).startsWith(QLatin1String("FR100")) ? frame : other) =
            root->child(i);
    ASSERT_TRUE(frame && other);
    EXPECT_EQ(tree->currentItem(), root);

    click(tree, root);
    EXPECT_EQ(w->voucher().state.sbomid, kMountainBike);
    click(tree, frame);
    EXPECT_EQ(w->voucher().state.sbomid, kFrame);
    EXPECT_EQ(w->view()->headerEdit(QStringLiteral("cpspcode"))->text(), QStringLiteral("FR100"));
    EXPECT_EQ(tree->currentItem(), frame);
    EXPECT_TRUE(prompter().prompts().empty()) << prompter().texts().join('|').toStdString();

    // Leaving a card in edit asks first; Cancel stays on it. (The frame is a shared part.)
    prompter().queueAnswer(Answer::Yes);
    w->buttonClick(QStringLiteral("Modify"));
    ASSERT_EQ(w->document().editStatus(), 1) << prompter().texts().join('|').toStdString();
    prompter().clear();
    click(tree, root);
    EXPECT_TRUE(prompter().prompts().empty());
    prompter().queueAnswer(Answer::Cancel);
    click(tree, other);
    EXPECT_EQ(prompter().texts(), QStringList{QStringLiteral("是否保存对当前单据的编辑？")});
    EXPECT_EQ(w->voucher().state.sbomid, kFrame);
    EXPECT_EQ(tree->currentItem(), frame);
    EXPECT_EQ(w->document().editStatus(), 1);
}

TEST_P(CardWindowTest, TreeWidthIsKeptForTheNextCard) {
    treeSetting().remove(QStringLiteral("Vouch/lw"));
    int dragged = 0;
    {
        auto w = open();
        const double dpi = w->screen()->logicalDotsPerInchX();
        EXPECT_EQ(w->splitter()->sizes().value(0),
                  card::VoucherSetWindow::twipsToPixels(3300, dpi));
        drag(w->splitter(), 40);
        dragged = w->splitter()->sizes().value(0);
        EXPECT_EQ(dragged, card::VoucherSetWindow::twipsToPixels(3300, dpi) + 40);
        EXPECT_EQ(treeSetting().value(QStringLiteral("Vouch/lw")).toInt(),
                  card::VoucherSetWindow::pixelsToTwips(dragged, dpi));
    }
    auto w = open(kFrame);
    EXPECT_EQ(w->splitter()->sizes().value(0), dragged);
}

TEST_P(CardWindowTest, AttachmentsHistoryAndOutputOfTheCard) {
    bomservice::CardAttachments files(s->session());
    files.add(kMountainBike, QStringLiteral("图纸.txt"), "drawing");
    files.add(kMountainBike, QStringLiteral("工艺.txt"), "routing");
    auto w = open();
    QAction* attachments = w->button(QStringLiteral("Appedix"));
    EXPECT_EQ(attachments->text(), QStringLiteral("附件(2)"));
    int listed = -1;
    test::answerModals([&] { w->buttonClick(QStringLiteral("Appedix")); },
                       [&](QWidget* modal) {
                           auto* dialog = qobject_cast<card::AttachmentsDialog*>(modal);
                           ASSERT_TRUE(dialog);
                           listed = dialog->files()->count();
                           prompter().queueAnswer(Answer::Yes);
                           EXPECT_TRUE(dialog->removeCurrent());
                           dialog->reject();
                       });
    EXPECT_EQ(listed, 2);
    EXPECT_EQ(files.count(kMountainBike), 1);
    EXPECT_EQ(attachments->text(), QStringLiteral("附件(1)"));
    EXPECT_EQ(prompter().texts(), QStringList{QStringLiteral("确信要删除该附件吗？")});

    // Output: the card as CSV where the operator chose, heading and lines included.
    QTemporaryDir folder;
    const auto output = [&](const QString& file) {
        prompter().clear();
        test::answerModals([&] { w->buttonClick(QStringLiteral("Output")); },
                           [&](QWidget* modal) {
                               auto* dialog = qobject_cast<QFileDialog*>(modal);
                               ASSERT_TRUE(dialog);
                               dialog->selectFile(file);
                               QMetaObject::invokeMethod(dialog, &QDialog::accept,
                                                         Qt::QueuedConnection);
                           });
        EXPECT_EQ(prompter().texts(),
                  QStringList{QStringLiteral("已输出到：") + QDir::toNativeSeparators(file)});
    };
    // As a workbook: the layout an import reads back, so importing it unchanged changes nothing.
    const QString xlsx = folder.filePath(QStringLiteral("card.xlsx"));
    output(xlsx);
    const auto again = structure::BomImporter(s->session()).Import(xlsx, true);
    EXPECT_TRUE(again.refused.empty()) << again.refused.front().text().toStdString();
    EXPECT_TRUE(again.boms.empty());
    EXPECT_EQ(again.unchanged, QStringList{w->document().headerText(QStringLiteral("iautoid"))});
    const QString csv = folder.filePath(QStringLiteral("card.csv"));
    output(csv);
    QFile written(csv);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(written.readAll());
    EXPECT_TRUE(text.contains(QLatin1String("BK200")));
    EXPECT_TRUE(text.contains(w->document().bodyText(0, QStringLiteral("cpscode"))));

    // The history newest first, in words.
    const QDateTime at(QDate(2026, 3, 1), QTime(9, 0));
    using bomservice::BomHistory;
    const card::HistoryDialog history(
        {{at, QStringLiteral("demo"), {BomHistory::kCreated, {}, {}, {}, {}}},
         {at.addSecs(60),
          QStringLiteral("wang"),
          {BomHistory::kLineChanged, QStringLiteral("ipsquantity"), QStringLiteral("1"),
           QStringLiteral("2"), QStringLiteral("17")}}},
        w->document().layout());
    QTableWidget* table = history.table();
    ASSERT_EQ(table->rowCount(), 2);
    EXPECT_EQ(table->item(0, 1)->text(), QStringLiteral("wang"));
    EXPECT_EQ(table->item(0, 2)->text(), QStringLiteral("表体修改"));
    EXPECT_EQ(table->item(0, 3)->text(), QStringLiteral("基本用量分子")); // the card's caption
    EXPECT_EQ(table->item(0, 5)->text(), QStringLiteral("2"));
    EXPECT_EQ(table->item(1, 2)->text(), QStringLiteral("新增"));
}

BOM_INSTANTIATE_BACKENDS(CardWindowTest);

// The list opens the card over itself and reloads when it closes.
class CardHandoverTest : public test::DemoListWindowTest {
protected:
    CardHandoverTest()
        : DemoListWindowTest(list::ProductListWindowFactory{
              [](entry::Session& session, list::ProductListWindow& w) {
                  return std::make_unique<card::CardHandover>(session, &w,
                                                              [&w] { return w.filterCondition(); });
              }}) {}
    void SetUp() override {
        DemoListWindowTest::SetUp();
        ASSERT_TRUE(open());
    }
};

TEST_P(CardHandoverTest, AddedCardIsSavedAndTheListComesBackOnItsRow) {
    list::ProductListWindow* list = window();
    ASSERT_TRUE(list);
    list::PagedQueryModel& model = list->parentModel();
    model.fetchAll();
    const int rows = model.rowCount();
    int frameRow = -1;
    for (int row = 0; row < model.rowCount(); ++row)
        if (model.value(row, QStringLiteral("iautoid")).toString() == kFrame)
            frameRow = row;
    ASSERT_GE(frameRow, 0);
    list->setCurrentParentRow(frameRow);
    // A card the test leaves in edit closes without its edit.
    prompter.setFallbackAnswer(Answer::No);
    // A made item without a BOM yet, for the new card's parent.
    db->exec(QStringLiteral("INSERT INTO Inventory(iId, cInvCode, cInvName, cComunitCode, "
                            "cGroupCode, bself) VALUES (900, 'BK300', '折叠自行车', 'SET', "
                            "'G00', 1)"));

    QString opened;
    test::answerModals([&] { press(list->parentView(), Qt::Key_F5); },
                       [&](QWidget* modal) {
                           auto* w = qobject_cast<card::VoucherSetWindow*>(modal);
                           if (!w)
                               return;
                           opened = w->windowTitle();
                           EXPECT_EQ(w->document().VoucherStatus(), 1);
                           QLineEdit* parent = w->view()->headerEdit(QStringLiteral("cpspcode"));
                           parent->setText(QStringLiteral("BK300"));
                           emit parent->editingFinished();
                           press(w->view()->body(), Qt::Key_I, Qt::ControlModifier);
                           type(*w, 0, QStringLiteral("cpscode"), QStringLiteral("RM100"));
                           type(*w, 0, QStringLiteral("ipsquantity"), QStringLiteral("2"));
                           type(*w, 0, QStringLiteral("tdqtyd"), QStringLiteral("1"));
                           press(w->view()->body(), Qt::Key_F6);
                           EXPECT_EQ(w->document().VoucherStatus(), 0)
                               << prompter.texts().join('|').toStdString();
                           press(w->view()->body(), Qt::Key_F4, Qt::ControlModifier);
                       });
    EXPECT_EQ(opened, QStringLiteral("物料清单维护"));
    EXPECT_EQ(db->scalar(QStringLiteral("SELECT count(*) FROM ProductStructures s JOIN "
                                        "ProductStructure p ON p.iautoid=s.ipid WHERE "
                                        "p.cpspcode='BK300' AND s.cpscode='RM100'"))
                  .toInt(),
              1);
    // Reloaded with the new BOM, on the BOM it was on.
    model.fetchAll();
    EXPECT_EQ(model.rowCount(), rows + 1);
    bool listed = false;
    for (int row = 0; row < model.rowCount(); ++row)
        listed |= model.value(row, QStringLiteral("cpspcode")).toString() == QLatin1String("BK300");
    EXPECT_TRUE(listed);
    ASSERT_TRUE(list->currentParent());
    EXPECT_EQ(list->currentParent()->text(QStringLiteral("iautoid")), kFrame);
}

TEST_P(CardHandoverTest, DoubleClickShowsTheBomAndModifyEditsIt) {
    list::ProductListWindow* list = window();
    ASSERT_TRUE(list);
    list::PagedQueryModel& model = list->parentModel();
    model.fetchAll();
    int bike = -1;
    for (int row = 0; row < model.rowCount(); ++row)
        if (model.value(row, QStringLiteral("iautoid")).toString() == kMountainBike)
            bike = row;
    ASSERT_GE(bike, 0);
    list->setCurrentParentRow(bike);
    prompter.setFallbackAnswer(Answer::No);

    QTableView* view = list->parentView();
    const QPoint cell = view->visualRect(model.index(bike, 2)).center();
    std::vector<std::pair<int, int>> states; // VoucherStatus, iVoucherState of each card
    const auto note = [&](QWidget* modal) {
        if (auto* w = qobject_cast<card::VoucherSetWindow*>(modal)) {
            EXPECT_EQ(w->voucher().state.sbomid, kMountainBike);
            states.emplace_back(w->document().VoucherStatus(), w->voucher().state.iVoucherState);
            w->close();
        }
    };
    // Press, release, then the double-click itself, as the platform sends them.
    test::answerModals(
        [&] {
            mouse(view->viewport(), QEvent::MouseButtonPress, cell, Qt::LeftButton);
            mouse(view->viewport(), QEvent::MouseButtonRelease, cell, Qt::NoButton);
            mouse(view->viewport(), QEvent::MouseButtonDblClick, cell, Qt::LeftButton);
        },
        note);
    test::answerModals([&] { press(view, Qt::Key_F7); }, note);
    EXPECT_EQ(states, (std::vector<std::pair<int, int>>{{0, 0}, {1, 1}}));
    // The edit left unsaved; no task is kept after either card.
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("是否保存对当前单据的编辑？")});
    EXPECT_EQ(db->scalar(QStringLiteral("SELECT count(*) FROM sys_lock WHERE ckey LIKE 'task:%'"))
                  .toInt(),
              0);
}

BOM_INSTANTIATE_BACKENDS(CardHandoverTest);
