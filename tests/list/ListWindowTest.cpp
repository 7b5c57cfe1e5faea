#include "db/Transaction.h"
#include "entry/IProduct.h"
#include "entry/SpreadsheetFile.h"
#include "list/BomList.h"
#include "list/ColumnSettingsDialog.h"
#include "list/FileChooserDialog.h"
#include "list/ListFilter.h"
#include "list/ListPrinter.h"
#include "list/PagedQueryModel.h"
#include "list/ProductListWindow.h"
#include "list/ReferenceDialog.h"
#include "suite/Account.h"
#include "suite/Login.h"
#include "suite/Prompter.h"
#include "suite/qt/QtPrompter.h"
#include "suite/qt/QtTranslations.h"
#include "support/ListWindowSession.h"
#include "support/TestAccount.h"
#include "support/WindowTest.h"

#include <QAction>
#include <QApplication>
#include <QBuffer>
#include <QDialog>
#include <QDir>
#include <QEventLoop>
#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPrintDialog>
#include <QPrinterInfo>
#include <QProgressDialog>
#include <QPushButton>
#include <QSettings>
#include <QSplitter>
#include <QTableView>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolBar>

#ifdef Q_OS_LINUX
#include <sys/stat.h>
#endif

using namespace bom;

namespace {

using test::modalOpenedBy;
using test::press;

void click(QTableView* view) {
    const QPointF at(view->viewport()->width() / 2.0, 2);
    QMouseEvent event(QEvent::MouseButtonPress, at, view->viewport()->mapToGlobal(at),
                      Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view->viewport(), &event);
}

} // namespace

class ListWindowTest : public test::DemoListWindowTest {
protected:
    void closeWindow() { ui.close(); }
    int locks() { return db->scalar(QStringLiteral("SELECT count(*) FROM sys_lock")).toInt(); }
    // The parent list's row of a BOM, by parent code and sales order ("" for none).
    int rowOf(list::ProductListWindow* w, const char* parent, const char* order = "") {
        list::PagedQueryModel& m = w->parentModel();
        m.fetchAll();
        for (int row = 0; row < m.rowCount(); ++row)
            if (m.value(row, QStringLiteral("cpspcode")).toString() == QLatin1String(parent) &&
                m.value(row, QStringLiteral("csocode")).toString() == QLatin1String(order))
                return row;
        return -1;
    }
    // The whole parent list in the window's order, in one query.
    db::Rows listed() {
        const db::SqlCondition sql =
            list::BomList(ui.product().session()).parentPage({}, {}, 1000000);
        return db->query(sql.sql, sql.params);
    }
    QStringList storedLines(const QString& headerId) {
        const db::Rows rows = db->query(
            QStringLiteral("SELECT cpscode FROM ProductStructures WHERE ipid=? ORDER BY autoid"),
            {headerId});
        QStringList codes;
        for (std::size_t i = 0; i < rows.size(); ++i)
            codes << rows.text(i, "cpscode");
        return codes;
    }
    static QStringList shownLines(list::ProductListWindow* w) {
        QStringList codes;
        for (int row = 0; row < w->componentModel().rowCount(); ++row)
            codes << w->componentModel().value(row, QStringLiteral("cpscode")).toString();
        return codes;
    }
};

TEST_P(ListWindowTest, ShortcutsGoToTheOneDispatcher) {
    list::ProductListWindow* w = open();
    ASSERT_TRUE(w);
    EXPECT_EQ(w->windowTitle(), QStringLiteral("物料清单"));
    QTableView* view = w->parentView();
    ASSERT_EQ(w->parentModel().rowCount(), 8);

    // F9 reloads and keeps the current BOM, though a new BOM now sorts in before it.
    const int frame = rowOf(w, "FR100");
    w->setCurrentParentRow(frame);
    db->exec(QStringLiteral("INSERT INTO ProductStructure(iautoid, cpspcode, csocode, cmemo) "
                            "VALUES (?, ?, ?, ?)"),
             {QStringLiteral("{00000000-0000-0000-0000-00000000AAAA}"), QStringLiteral("BK100"),
              QStringLiteral("SO-T"), QStringLiteral("x")});
    press(view, Qt::Key_F9);
    EXPECT_EQ(w->parentModel().rowCount(), 9);
    ASSERT_TRUE(w->currentParent());
    EXPECT_EQ(w->currentParent()->text(QStringLiteral("cpspcode")), QStringLiteral("FR100"));
    EXPECT_EQ(w->currentParent()->number, frame + 2);

    // F3 filters, Ctrl+F3 locates, P alone does nothing, Ctrl+P prints.
    EXPECT_EQ(modalOpenedBy([&] { press(view, Qt::Key_F3); }),
              QStringLiteral("bom::list::BomFilterDialog"));
    EXPECT_EQ(modalOpenedBy([&] { press(view, Qt::Key_F3, Qt::ControlModifier); }),
              QStringLiteral("QInputDialog"));
    EXPECT_EQ(modalOpenedBy([&] { press(view, Qt::Key_P); }), QString());
    // Without a printer, printing goes to a PDF file through the module's own file dialog.
    EXPECT_EQ(modalOpenedBy([&] { press(w, Qt::Key_P, Qt::ControlModifier); }),
              QPrinterInfo::availablePrinterNames().isEmpty()
                  ? QStringLiteral("bom::list::FileChooserDialog")
                  : QStringLiteral("QPrintDialog"));
    EXPECT_TRUE(prompter.prompts().empty());

    // Delete on an approved BOM is refused by the dispatcher's check.
    w->setCurrentParentRow(rowOf(w, "BK100"));
    press(view, Qt::Key_Delete);
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("审核过的产品不可删除！")});
    EXPECT_EQ(locks(), 1); // the task was given back, the function lock stays

    // F5 reaches the card, which is not there yet; F1 shows the keys.
    prompter.clear();
    press(view, Qt::Key_F5);
    press(w->componentView(), Qt::Key_F1);
    ASSERT_EQ(prompter.prompts().size(), 2u);
    EXPECT_EQ(prompter.prompts()[0].text, QStringLiteral("该功能将在后续版本提供。"));
    EXPECT_EQ(prompter.prompts()[1].title, QStringLiteral("操作帮助"));
}

TEST_P(ListWindowTest, ComponentListFollowsTheCurrentBomAndTheFilterStays) {
    list::ProductListWindow* w = open();
    ASSERT_TRUE(w);
    for (const auto& [parent, order] : {std::pair{"BK200", ""}, std::pair{"FR100", ""},
                                        std::pair{"BK200", "SO2026001-BK200-101"}}) {
        const int row = rowOf(w, parent, order);
        ASSERT_GE(row, 0) << parent;
        w->parentView()->setCurrentIndex(w->parentModel().index(row, 2));
        const QString id = w->parentModel().value(row, QStringLiteral("iautoid")).toString();
        EXPECT_EQ(shownLines(w), storedLines(id)) << parent << order;
        EXPECT_EQ(w->lineCount(), storedLines(id).size());
    }

    // The filter holds over F9; with no BOM left the lines are gone too.
    ASSERT_TRUE(w->applyFilter(
        {{QStringLiteral("cpspcode"), QStringLiteral("="), QStringLiteral("BK200")}}));
    press(w->parentView(), Qt::Key_F9);
    EXPECT_EQ(w->parentModel().rowCount(), 2);
    ASSERT_TRUE(w->applyFilter(
        {{QStringLiteral("cmemo"), QStringLiteral("like"), QStringLiteral("没有这样的备注")}}));
    EXPECT_EQ(w->parentModel().rowCount(), 0);
    EXPECT_FALSE(w->currentParent());
    EXPECT_EQ(w->componentModel().rowCount(), 0);
    // A refused filter is shown and the former one stays.
    EXPECT_FALSE(w->applyFilter(
        {{QStringLiteral("1=1 or cpspcode"), QStringLiteral("="), QStringLiteral("x")}}));
    EXPECT_EQ(prompter.prompts().size(), 1u);
    EXPECT_EQ(w->parentModel().rowCount(), 0);
    EXPECT_TRUE(w->applyFilter({}));
    EXPECT_EQ(w->parentModel().rowCount(), 8);

    // Clicked last, the component list takes Delete: the line is asked about, not the BOM.
    const int bike = rowOf(w, "BK200");
    w->setCurrentParentRow(bike);
    click(w->componentView());
    EXPECT_TRUE(w->componentListActive());
    w->componentView()->setCurrentIndex(w->componentModel().index(1, 0));
    const QString id = w->currentParent()->text(QStringLiteral("iautoid"));
    const QStringList before = storedLines(id);
    prompter.clear();
    press(w->componentView(), Qt::Key_Delete);
    ASSERT_EQ(prompter.prompts().size(), 1u);
    EXPECT_TRUE(prompter.prompts()[0].question);
    EXPECT_TRUE(
        prompter.prompts()[0].text.contains(QLatin1Char('\'') + before.at(1) + QLatin1Char('\'')));
    EXPECT_EQ(storedLines(id), before);
    // Answered Yes, the line goes, and the log names its columns as the lines' query does.
    const db::SqlCondition lineQuery = list::BomList(ui.product().session()).componentQuery(id);
    const QStringList named = db->query(lineQuery.sql, lineQuery.params).columns();
    EXPECT_EQ(w->currentLine()->columns, named);
    prompter.queueAnswer(suite::Prompter::Answer::Yes);
    press(w->componentView(), Qt::Key_Delete);
    EXPECT_EQ(storedLines(id).size(), before.size() - 1);
    const db::Rows pieces = db->query(QStringLiteral("SELECT cData FROM vouchlogs ORDER BY iNo"));
    QString log;
    for (std::size_t i = 0; i < pieces.size(); ++i)
        log += pieces.text(i, "cData");
    for (const QString& column : named)
        EXPECT_TRUE(log.contains(QStringLiteral(" %1=\"").arg(column))) << column.toStdString();
    click(w->parentView());
    EXPECT_FALSE(w->componentListActive());

    // Locate finds visible text, and the lines follow.
    const int row = w->findParentRow(QStringLiteral("车架总成"));
    ASSERT_EQ(row, rowOf(w, "FR100"));
    w->setCurrentParentRow(row);
    EXPECT_EQ(shownLines(w), storedLines(w->currentParent()->text(QStringLiteral("iautoid"))));
    EXPECT_EQ(w->findParentRow(QStringLiteral("{")), -1); // the key column is hidden
}

TEST_P(ListWindowTest, ColumnSettingsShowInTheList) {
    list::ProductListWindow* w = open();
    ASSERT_TRUE(w);
    const int memo = w->parentModel().columnOf(QStringLiteral("cmemo"));
    ASSERT_GT(memo, 0);
    EXPECT_FALSE(w->parentView()->isColumnHidden(memo));
    {
        list::ColumnSettingsDialog dialog(ui.product().session(), QStringLiteral("WLQDLBM"), w);
        auto* list = dialog.findChild<QListWidget*>();
        ASSERT_TRUE(list);
        const auto found = list->findItems(QStringLiteral("备注"), Qt::MatchExactly);
        ASSERT_EQ(found.size(), 1);
        found.first()->setCheckState(Qt::Unchecked);
        list->setCurrentRow(0);
        dialog.moveCurrent(1); // the key column after the parent code
        dialog.accept();
        EXPECT_TRUE(dialog.changed());
    }
    w->reload();
    EXPECT_TRUE(
        w->parentView()->isColumnHidden(w->parentModel().columnOf(QStringLiteral("cmemo"))));
    EXPECT_EQ(w->parentModel().columnOf(QStringLiteral("iautoid")), 2);
    EXPECT_EQ(w->parentModel().rowCount(), 8);
    {
        list::ColumnSettingsDialog dialog(ui.product().session(), QStringLiteral("WLQDLBM"), w);
        dialog.restoreDefault();
        EXPECT_TRUE(dialog.changed());
    }
    w->reload();
    EXPECT_FALSE(w->parentView()->isColumnHidden(memo));
    EXPECT_EQ(w->parentModel().columnOf(QStringLiteral("iautoid")), 1);
    EXPECT_TRUE(prompter.prompts().empty());
}

TEST_P(ListWindowTest, ClosingEndsTheSessionOnce) {
    list::ProductListWindow* w = open();
    ASSERT_TRUE(w);
    EXPECT_EQ(locks(), 1);
    QAction* exit = w->toolbar()->findChild<QAction*>(QStringLiteral("Exit"));
    ASSERT_TRUE(exit);
    exit->trigger();
    EXPECT_EQ(locks(), 0);
    EXPECT_EQ(ui.login().shutDownCount(), 1);
    EXPECT_FALSE(ui.product().session().running());
    w->close(); // a second close before the window is gone changes nothing
    EXPECT_EQ(ui.login().shutDownCount(), 1);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

TEST_P(ListWindowTest, ParentListReadsPageByPage) {
    suite::Account::generate(*db, {1000, 3, 5, 1});
    const int total = db->scalar(QStringLiteral("SELECT count(*) FROM ProductStructure")).toInt();
    ASSERT_GT(total, 1000);
    list::ProductListWindow* w = open();
    ASSERT_TRUE(w);
    list::PagedQueryModel& m = w->parentModel();
    QTableView* view = w->parentView();
    // The first page is the rows the view has room for, and fills it.
    const int first = m.rowCount();
    EXPECT_LT(first, list::PagedQueryModel::kPageSize);
    EXPECT_GE(view->rowAt(view->viewport()->height() - 1), 0);
    EXPECT_TRUE(m.canFetchMore());

    // It is the head of the whole query, in its order.
    const db::Rows all = listed();
    ASSERT_EQ(int(all.size()), total);
    for (int row : {0, 1, first - 1})
        EXPECT_EQ(m.value(row, QStringLiteral("iautoid")), all.value(row, "iautoid"));

    // Scrolling to the end reads the next page; so does fetchMore.
    view->scrollToBottom();
    QCoreApplication::processEvents();
    EXPECT_GE(m.rowCount(), first + list::PagedQueryModel::kPageSize);
    const int before = m.rowCount();
    m.fetchMore({});
    EXPECT_EQ(m.rowCount(), before + list::PagedQueryModel::kPageSize);
    EXPECT_EQ(m.value(before, QStringLiteral("iautoid")), all.value(before, "iautoid"));

    // Selecting all marks rows not read yet; the commands see every row.
    w->selectAll(true);
    const std::vector<list::ListRow> rows = w->parentRows();
    ASSERT_EQ(int(rows.size()), total);
    EXPECT_TRUE(rows.back().selected);
    EXPECT_EQ(rows.back().text(QStringLiteral("selcol")), QStringLiteral("Y"));
    EXPECT_FALSE(m.canFetchMore());
}

TEST_P(ListWindowTest, MarksCountAndRowNumbersHoldOverALongList) {
    suite::Account::generate(*db, {2500, 3, 5, 1});
    list::ProductListWindow* w = open();
    ASSERT_TRUE(w);
    list::PagedQueryModel& m = w->parentModel();
    const db::Rows all = listed();
    const int total = int(all.size());
    ASSERT_GT(total - m.rowCount(), list::ProductListWindow::kLongRead);
    QCoreApplication::processEvents(); // the status bar is filled once the list shows
    EXPECT_EQ(w->countLabel()->text(), QStringLiteral("共 %1 条记录").arg(total));
    EXPECT_EQ(w->filterLabel()->text(), QStringLiteral("未过滤"));

    // Far down the list every row number is the row's place in the query, and the numbers had
    // room for the last one from the first page on, so the columns never shift sideways.
    QTableView* view = w->parentView();
    QHeaderView* numbers = view->verticalHeader();
    const int width = numbers->width();
    for (int i = 0; i < 20 && m.rowCount() < 1200; ++i) {
        view->scrollToBottom();
        QCoreApplication::processEvents();
    }
    ASSERT_GE(m.rowCount(), 1200);
    EXPECT_EQ(numbers->width(), width);
    QFont bold = numbers->font();
    bold.setBold(true);
    EXPECT_LT(QFontMetrics(bold).horizontalAdvance(QString::number(total)), width);
    EXPECT_GT(view->rowAt(0), 4 * list::PagedQueryModel::kPageSize);
    for (int y = 0; view->rowAt(y) >= 0; y += numbers->defaultSectionSize()) {
        EXPECT_EQ(numbers->logicalIndexAt(y), view->rowAt(y));
        EXPECT_EQ(m.value(view->rowAt(y), QStringLiteral("iautoid")),
                  all.value(view->rowAt(y), "iautoid"));
    }
    w->setCurrentParentRow(view->rowAt(0));
    EXPECT_EQ(w->currentParent()->number, view->rowAt(0) + 1);

    // Marks on a first-page row and on one read only by scrolling outlive a refused command
    // and one handed over to a window still to come, though each reloads the list.
    const int nearRow = 3;
    const int farRow = m.rowCount() - 5;
    m.setSelected(nearRow, true);
    m.setSelected(farRow, true);
    const QStringList marked{all.text(nearRow, "iautoid"), all.text(farRow, "iautoid")};
    const auto markedIds = [&] {
        QStringList ids;
        for (const list::ListRow& row : w->parentRows())
            if (row.selected)
                ids << row.text(QStringLiteral("iautoid"));
        return ids;
    };
    w->setCurrentParentRow(m.findRow(
        [&](int row) { return !m.value(row, QStringLiteral("ccheck")).toString().isEmpty(); }));
    prompter.clear();
    w->dispatch(QStringLiteral("Modify"));
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("审核过的产品不可修改！")});
    EXPECT_LT(m.rowCount(), farRow); // reloaded, the far row not read again yet
    EXPECT_EQ(markedIds(), marked);
    w->dispatch(QStringLiteral("batchAdd"));
    EXPECT_EQ(prompter.texts().last(), QStringLiteral("该功能将在后续版本提供。"));
    EXPECT_EQ(markedIds(), marked);

    // Approving every row: the wait cursor and a progress dialog while the rows are read,
    // nothing of either afterwards, and the marks still on every row.
    w->dispatch(QStringLiteral("AllSelect"));
    w->setCurrentParentRow(0);
    w->dispatch(QStringLiteral("Refresh"));
    ASSERT_GT(total - m.rowCount(), list::ProductListWindow::kLongRead);
    int open = 0;
    for (std::size_t i = 0; i < all.size(); ++i)
        open += all.text(i, "ccheck").isEmpty();
    bool waited = false;
    bool progressed = false;
    QTimer probe;
    probe.setInterval(0);
    QObject::connect(&probe, &QTimer::timeout, [&] {
        if (const QCursor* cursor = QApplication::overrideCursor())
            waited = waited || cursor->shape() == Qt::WaitCursor;
        for (QProgressDialog* dialog : w->findChildren<QProgressDialog*>())
            progressed = progressed || dialog->isVisible();
    });
    probe.start();
    prompter.clear();
    w->dispatch(QStringLiteral("Auditing"));
    probe.stop();
    EXPECT_TRUE(waited);
    EXPECT_TRUE(progressed);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    EXPECT_TRUE(w->findChildren<QProgressDialog*>().isEmpty());
    EXPECT_EQ(prompter.texts(),
              QStringList{QStringLiteral("本次共审核 '%1' 条母件记录！").arg(open)});
    EXPECT_EQ(db->scalar(QStringLiteral("SELECT count(*) FROM ProductStructure WHERE "
                                        "COALESCE(ccheck,'')=''"))
                  .toInt(),
              0);
    EXPECT_EQ(markedIds().size(), total);

    // Another filter is another list: no marks, and the status bar says it is filtered.
    ASSERT_TRUE(w->applyFilter(
        {{QStringLiteral("cpspcode"), QStringLiteral("like"), QStringLiteral("G1-")}}));
    QCoreApplication::processEvents();
    ASSERT_TRUE(w->parentModel().fetchAll());
    const int filtered = w->parentModel().rowCount();
    EXPECT_GT(filtered, 0);
    EXPECT_EQ(w->countLabel()->text(), QStringLiteral("共 %1 条记录").arg(filtered));
    EXPECT_EQ(w->filterLabel()->text(), QStringLiteral("已过滤"));
    EXPECT_TRUE(markedIds().isEmpty());
}

TEST_P(ListWindowTest, FarScrollingHoldsAFewPagesAndShowsTheSameRowsAgain) {
    suite::Account::generate(*db, {2000, 3, 5, 1});
    list::ProductListWindow* w = open();
    ASSERT_TRUE(w);
    list::PagedQueryModel& m = w->parentModel();
    constexpr int kPage = 25;
    constexpr int kKept = 4;
    m.setPaging(kPage, kKept);
    w->reload();
    // Pages after the first, which holds the rows the view shows, hold kPage rows.
    const int first = m.rowCount();
    const auto start = [&](int page) { return page == 0 ? 0 : first + (page - 1) * kPage; };
    db::Rows all = listed();
    const int total = int(all.size());
    ASSERT_GT(total, 2000);
    QTableView* view = w->parentView();
    const int code = m.columnOf(QStringLiteral("cpspcode"));
    // The first row the view shows that is not the list's row at its place, marked as `marked`
    // says; empty when every shown row is.
    const auto misshown = [&](const QSet<QString>& marked) {
        const int step = view->verticalHeader()->defaultSectionSize();
        for (int y = 0; y < view->viewport()->height() && view->rowAt(y) >= 0; y += step) {
            const int row = view->rowAt(y);
            const QString id = all.text(row, "iautoid");
            const bool checked = m.index(row, 0).data(Qt::CheckStateRole).toInt() == Qt::Checked;
            if (row >= int(all.size()) || m.value(row, QStringLiteral("iautoid")) != id ||
                m.index(row, code).data().toString() != all.text(row, "cpspcode") ||
                checked != marked.contains(id))
                return QStringLiteral("row %1").arg(row);
        }
        return view->rowAt(0) < 0 ? QStringLiteral("no rows shown") : QString();
    };
    // The view paints what it shows, which reads the pages it needs, then what that set off.
    const auto settle = [&] {
        view->viewport()->repaint();
        QCoreApplication::processEvents();
    };

    // Down to the end: the rows found grow page by page, the rows held do not.
    QSet<QString> marked{all.text(3, "iautoid")};
    m.setSelected(3, true);
    int most = 0;
    for (int i = 0; i < 1000 && m.canFetchMore(); ++i) {
        view->scrollToBottom();
        settle();
        most = std::max(most, m.rowsHeld());
    }
    EXPECT_EQ(m.rowCount(), total);
    EXPECT_LE(most, kPage * kKept);
    EXPECT_EQ(misshown(marked), QString());
    const int far = view->rowAt(0);
    m.setSelected(far, true);
    marked << all.text(far, "iautoid");

    // Back at the top and in the middle, dropped pages come again with their marks.
    view->scrollToTop();
    settle();
    EXPECT_EQ(misshown(marked), QString());
    view->scrollTo(m.index(total / 2, code));
    settle();
    EXPECT_EQ(misshown(marked), QString());
    view->scrollTo(m.index(far, code));
    settle();
    EXPECT_EQ(misshown(marked), QString());
    EXPECT_LE(m.rowsHeld(), kPage * kKept);

    // The current BOM stays itself while the view is far from it; the commands get every row
    // once, in order, with the marks.
    w->setCurrentParentRow(total / 2);
    view->scrollToTop();
    settle();
    EXPECT_EQ(w->currentParent()->text(QStringLiteral("iautoid")), all.text(total / 2, "iautoid"));
    const std::vector<list::ListRow> rows = w->parentRows();
    ASSERT_EQ(int(rows.size()), total);
    QSet<QString> selected;
    for (int row = 0; row < total; ++row) {
        ASSERT_EQ(rows[row].text(QStringLiteral("iautoid")), all.text(row, "iautoid")) << row;
        if (rows[row].selected)
            selected << rows[row].text(QStringLiteral("iautoid"));
    }
    EXPECT_EQ(selected, marked);
    EXPECT_LE(m.rowsHeld(), kPage * kKept);

    // BOMs deleted elsewhere while the view was away from the first pages, the first of them
    // dropped (the one used longest ago), the next ones held: coming back, the list shows what
    // is left, every row once and in place (the pages held after one read again follow it),
    // and it ends sooner.
    for (int page : {0, 3, 2, 1}) {
        view->scrollTo(m.index(start(page), code), QAbstractItemView::PositionAtTop);
        settle();
    }
    view->scrollTo(m.index(start(total / 2 / kPage), code), QAbstractItemView::PositionAtTop);
    settle();
    for (const QString& id : {all.text(1, "iautoid"), all.text(start(1) + 2, "iautoid")}) {
        db::Transaction tx(*db);
        ASSERT_TRUE(db->exec(QStringLiteral("DELETE FROM ProductStructure WHERE iautoid=?"), {id}));
        tx.commit();
    }
    all = listed();
    ASSERT_EQ(int(all.size()), total - 2);
    view->scrollTo(m.index(start(1) - 3, code), QAbstractItemView::PositionAtTop);
    settle();
    EXPECT_EQ(misshown(marked), QString());
    for (int row = 0; row < m.rowCount(); row += first) {
        view->scrollTo(m.index(row, code), QAbstractItemView::PositionAtTop);
        settle();
        ASSERT_EQ(misshown(marked), QString()) << row;
    }
    settle();
    EXPECT_EQ(m.rowCount(), total - 2);
    EXPECT_TRUE(prompter.prompts().empty());
}

TEST_P(ListWindowTest, SizeSplitAndColumnWidthsAreKeptForEachOperator) {
    list::ProductListWindow* w = open();
    ASSERT_TRUE(w);
    const QSize fresh = w->size();
    const auto codeWidth = [](list::ProductListWindow* window) {
        return window->parentView()->columnWidth(
            window->parentModel().columnOf(QStringLiteral("cpspcode")));
    };
    const int setting = codeWidth(w);
    w->resize(fresh + QSize(83, -61));
    w->splitter()->setSizes({120, 300});
    const QList<int> split = w->splitter()->sizes();
    // As a drag on the heading does.
    w->parentView()->horizontalHeader()->resizeSection(
        w->parentModel().columnOf(QStringLiteral("cpspcode")), setting + 57);
    w->reload(); // the list's own loads keep what the operator set
    EXPECT_EQ(codeWidth(w), setting + 57);
    closeWindow();

    w = open();
    ASSERT_TRUE(w);
    EXPECT_EQ(w->size(), fresh + QSize(83, -61));
    EXPECT_EQ(w->splitter()->sizes(), split);
    EXPECT_EQ(codeWidth(w), setting + 57);
    closeWindow();

    w = open(QStringLiteral("wang")); // another operator of the demo account
    ASSERT_TRUE(w);
    EXPECT_EQ(w->size(), fresh);
    EXPECT_EQ(codeWidth(w), setting);
}

BOM_INSTANTIATE_BACKENDS(ListWindowTest);

// The logic behind the filter, printing and the reference window, without the list window.
class ListOutputTest : public test::BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        account->createDemo();
        s = std::make_unique<test::TestSession>(account->url(), QStringLiteral("demo"));
    }
    void TearDown() override {
        s.reset();
        BackendTest::TearDown();
    }
    std::vector<suite::ColumnSetting> parentColumns() {
        return s->session().gColSet->GetColset(QStringLiteral("WLQDLBM"));
    }
    // The parent codes + sales orders the filter lets through, sorted.
    QStringList filtered(const std::vector<list::FilterCondition>& conditions) {
        QString error;
        const auto condition = list::ListFilter::build(conditions, parentColumns(), &error);
        EXPECT_TRUE(condition) << error.toStdString();
        const db::SqlCondition sql = list::BomList(s->session()).parentQuery(*condition);
        const db::Rows rows = s->db().query(sql.sql, sql.params);
        QStringList out;
        for (std::size_t i = 0; i < rows.size(); ++i)
            out << rows.text(i, "cpspcode") + rows.text(i, "csocode");
        out.sort();
        return out;
    }
    std::unique_ptr<test::TestSession> s;
};

TEST_P(ListOutputTest, FilterBindsValuesAndRefusesUnknownFields) {
    QString error;
    const auto built = list::ListFilter::build(
        {{QStringLiteral("CPSPCODE"), QStringLiteral("="), QStringLiteral("BK200' or '1'='1")},
         {QStringLiteral("cmemo"), QStringLiteral("like"), QStringLiteral("50%")}},
        parentColumns(), &error);
    ASSERT_TRUE(built);
    EXPECT_FALSE(built->sql.contains(QStringLiteral("BK200")));
    EXPECT_EQ(built->params,
              (db::Params{QStringLiteral("BK200' or '1'='1"), QStringLiteral("%50\\%%")}));
    EXPECT_TRUE(filtered({{QStringLiteral("cpspcode"), QStringLiteral("="),
                           QStringLiteral("BK200' or '1'='1")}})
                    .isEmpty());

    EXPECT_EQ(
        filtered({{QStringLiteral("cpspcode"), QStringLiteral("="), QStringLiteral("BK200")}}),
        (QStringList{QStringLiteral("BK200"), QStringLiteral("BK200SO2026001-BK200-101")}));
    EXPECT_EQ(
        filtered({{QStringLiteral("cmemo"), QStringLiteral("like"), QStringLiteral("标准")},
                  {QStringLiteral("cpspcode"), QStringLiteral("<>"), QStringLiteral("BK100")}}),
        QStringList{QStringLiteral("BK200")});
    EXPECT_EQ(filtered({{QStringLiteral("cpspcode"), QStringLiteral(">"), QStringLiteral("GT")},
                        {QStringLiteral("cpspcode"), QStringLiteral("<"), QStringLiteral("WH")}})
                  .size(),
              2);
    // "%" is text, not a wildcard; an empty "等于" finds the empty cells.
    EXPECT_TRUE(filtered({{QStringLiteral("cmemo"), QStringLiteral("like"), QStringLiteral("%")}})
                    .isEmpty());
    EXPECT_EQ(filtered({{QStringLiteral("ccheck"), QStringLiteral("="), QString()}}).size(), 7);

    for (const list::FilterCondition& bad :
         {list::FilterCondition{QStringLiteral("cpspcode;drop table x"), QStringLiteral("="),
                                QStringLiteral("1")},
          list::FilterCondition{QStringLiteral("nosuchcolumn"), QStringLiteral("="),
                                QStringLiteral("1")},
          list::FilterCondition{QStringLiteral("cpspcode"), QStringLiteral("or 1=1 --"),
                                QStringLiteral("1")},
          list::FilterCondition{QStringLiteral("cpspcode"), QStringLiteral(">"), QString()}}) {
        error.clear();
        EXPECT_FALSE(list::ListFilter::build({bad}, parentColumns(), &error))
            << bad.field.toStdString();
        EXPECT_FALSE(error.isEmpty());
    }
}

TEST_P(ListOutputTest, PrintsBomsWithTheirLinesAndExportsCsv) {
    const db::SqlCondition sql = list::BomList(s->session()).parentQuery();
    const db::Rows rows = s->db().query(sql.sql, sql.params);
    std::vector<list::ListRow> boms;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows.text(i, "cpspcode") != QLatin1String("BK100") &&
            rows.text(i, "cpspcode") != QLatin1String("GT100"))
            continue;
        list::ListRow row;
        row.number = int(i) + 1;
        for (const QString& column : rows.columns())
            row.cells.insert(column.toLower(), rows.value(i, column));
        boms.push_back(row);
    }
    ASSERT_EQ(boms.size(), 3u);
    const QString html = list::ListPrinter(s->session(), {}).html(boms);
    for (const list::ListRow& bom : boms) {
        const db::Rows lines =
            s->db().query(QStringLiteral("SELECT cpscode FROM ProductStructures WHERE ipid=?"),
                          {bom.text(QStringLiteral("iautoid"))});
        ASSERT_FALSE(lines.empty());
        for (std::size_t i = 0; i < lines.size(); ++i)
            EXPECT_TRUE(html.contains(QStringLiteral("<td>") + lines.text(i, "cpscode") +
                                      QStringLiteral("</td>")))
                << lines.text(i, "cpscode").toStdString();
    }
    EXPECT_TRUE(html.contains(QStringLiteral("<td>BK100</td>")));
    EXPECT_TRUE(html.contains(QStringLiteral("城市车标准BOM")));
    EXPECT_EQ(html.count(QStringLiteral("page-break-before")), 2);
    EXPECT_FALSE(html.contains(QStringLiteral("{BDAD2A5E"))); // hidden columns stay out

    auto column = [](const char* field, const QString& caption, bool visible) {
        suite::ColumnSetting c;
        c.fieldName = QLatin1String(field);
        c.caption = caption;
        c.visible = visible;
        return c;
    };
    const std::vector<suite::ColumnSetting> columns{
        column("cpspcode", QStringLiteral("编码"), true),
        column("iautoid", QStringLiteral("键"), false),
        column("cmemo", QStringLiteral("备注"), true)};
    list::ListRow row;
    row.cells = {{QStringLiteral("cpspcode"), QStringLiteral("A,1")},
                 {QStringLiteral("iautoid"), QStringLiteral("k")},
                 {QStringLiteral("cmemo"), QStringLiteral("说\"明\"\n两行")}};
    list::ListRow plain;
    plain.cells = {{QStringLiteral("cpspcode"), QStringLiteral("B2")},
                   {QStringLiteral("cmemo"), QVariant()}};
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QString error;
    const list::ListPrinter printer(s->session(), {});
    ASSERT_TRUE(printer.write(buffer, QStringLiteral("l.csv"), columns, {row, plain}, &error));
    EXPECT_TRUE(buffer.data().startsWith("\xEF\xBB\xBF")); // spreadsheet programs need the mark
    EXPECT_EQ(QString::fromUtf8(buffer.data().mid(3)),
              QStringLiteral("编码,备注\r\n\"A,1\",\"说\"\"明\"\"\n两行\"\r\nB2,\r\n"));

    QBuffer closed; // not open: the failure is told, not swallowed
    EXPECT_FALSE(printer.write(closed, QStringLiteral("l.csv"), columns, {row}, &error));
    EXPECT_FALSE(error.isEmpty());
}

TEST_P(ListOutputTest, ReferenceDialogSearchesPagesAndPicks) {
    EXPECT_FALSE(list::ReferenceDialog::choose(s->session(), QStringLiteral("nofield"), {}));
    EXPECT_EQ(s->prompter.texts(), QStringList{QStringLiteral("没有设定参照！")});

    auto warehouses = entry::ReferenceLookup(s->session()).ShowRef(QStringLiteral("cWhCode"), {});
    ASSERT_TRUE(warehouses);
    list::ReferenceDialog dialog(
        s->session(), list::ReferenceDialog::byField(s->session(), QStringLiteral("cWhCode")),
        *warehouses, {});
    EXPECT_EQ(dialog.loadedRows(), 4);
    dialog.search(QStringLiteral("原料"));
    ASSERT_EQ(dialog.loadedRows(), 1);
    dialog.accept();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.code(), QStringLiteral("02"));
    EXPECT_EQ(dialog.name(), QStringLiteral("原料仓"));

    // Items come a page at a time; a class narrows them to its own.
    for (int i = 0; i < 120; ++i)
        s->db().exec(QStringLiteral("INSERT INTO Inventory(iId, cInvCode, cInvName, cInvCCode, "
                                    "bself, bService, bInvType) VALUES (?, ?, 'x', '03', 1, 0, 0)"),
                     {5000 + i, QStringLiteral("ZZ%1").arg(i, 3, 10, QLatin1Char('0'))});
    auto items = entry::ReferenceLookup(s->session()).ShowRef(QStringLiteral("cInvCode"), {});
    ASSERT_TRUE(items);
    list::ReferenceDialog itemDialog(
        s->session(), list::ReferenceDialog::byField(s->session(), QStringLiteral("cInvCode")),
        *items, {});
    EXPECT_EQ(itemDialog.loadedRows(), list::ReferenceDialog::kPageSize);
    EXPECT_TRUE(itemDialog.loadNextPage());
    EXPECT_EQ(itemDialog.loadedRows(), 2 * list::ReferenceDialog::kPageSize);
    itemDialog.selectClass(QStringLiteral("01"));
    EXPECT_EQ(itemDialog.loadedRows(), 3); // the three finished products
    EXPECT_TRUE(s->prompter.texts().size() == 1);
}

BOM_INSTANTIATE_BACKENDS(ListOutputTest);

// Qt's own buttons speak Chinese; Enter on a question that destroys something says No, and a
// box met during long work shows the ordinary cursor.
TEST(QtPrompterTest, ChineseButtonsAndSafeDefaults) {
    ASSERT_TRUE(suite::QtTranslations::install()) << "Debian package qt6-translations-l10n";
    suite::QtPrompter prompter;
    QString yes;
    bool arrow = false;
    const auto answer = [&](int style, int key) {
        QTimer timer;
        timer.setInterval(5);
        QObject::connect(&timer, &QTimer::timeout, [&] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box)
                return;
            timer.stop();
            yes = box->button(QMessageBox::Yes)->text();
            const QCursor* cursor = QApplication::overrideCursor();
            arrow = cursor && cursor->shape() == Qt::ArrowCursor;
            press(box, key);
        });
        timer.start();
        return prompter.ask(QStringLiteral("确信删除该子件编码为'X'的档案？"),
                            QStringLiteral("警告信息"), style);
    };
    using Answer = suite::Prompter::Answer;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    EXPECT_EQ(answer(52, Qt::Key_Return), Answer::No);
    EXPECT_TRUE(yes.contains(QStringLiteral("是"))) << yes.toStdString();
    EXPECT_TRUE(arrow);
    ASSERT_TRUE(QApplication::overrideCursor());
    EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    QApplication::restoreOverrideCursor();

    EXPECT_EQ(answer(4, Qt::Key_Return), Answer::Yes);
    EXPECT_EQ(answer(36, Qt::Key_Return), Answer::Yes);
    EXPECT_EQ(answer(4 + 256, Qt::Key_Return), Answer::No);
    EXPECT_EQ(answer(35, Qt::Key_Return), Answer::Yes);
    EXPECT_EQ(answer(35, Qt::Key_Escape), Answer::Cancel);
    EXPECT_EQ(answer(52, Qt::Key_Escape), Answer::No);
}

#ifdef Q_OS_LINUX
// The POSIX record locks this process holds on the file at `path`, as /proc/locks lists them.
QStringList locksHeldOn(const QString& path) {
    struct stat info;
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return {};
    QFile file(QStringLiteral("/proc/locks"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QString pid = QString::number(QCoreApplication::applicationPid());
    const QString inode = QStringLiteral(":%1").arg(quint64(info.st_ino));
    QStringList held;
    for (const QByteArray& line : file.readAll().split('\n')) {
        const QStringList f = QString::fromLatin1(line).simplified().split(QLatin1Char(' '));
        // "1: POSIX ADVISORY READ <pid> <maj:min:inode> <start> <end>"; waiters have "->".
        if (f.size() >= 8 && f[1] == QLatin1String("POSIX") && f[4] == pid && f[5].endsWith(inode))
            held << QString::fromLatin1(line);
    }
    return held;
}

// A SQLite account in a folder of its own, with the list window open on it.
class AccountFolderTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(folder.isValid());
        path = folder.filePath(QStringLiteral("factory.db"));
        url = QStringLiteral("sqlite:") + path;
        {
            auto db =
                suite::Account::create(url, QStringLiteral("demo"), QStringLiteral("演示操作员"));
            suite::Account::loadDemo(*db);
        }
        // Another process may work on the account while the window is open.
        const test::ProcessResult shared = bomctl(
            {QStringLiteral("setting"), QStringLiteral("function-lock"), QStringLiteral("shared")});
        ASSERT_EQ(shared.status, 0) << shared.err.toStdString();
        w = ui.open(url, QStringLiteral("demo"));
        ASSERT_TRUE(w);
    }
    test::ProcessResult bomctl(QStringList args) {
        args << QStringLiteral("--db") << url << QStringLiteral("--user") << QStringLiteral("demo");
        return test::runProgram(QStringLiteral(BOMCTL_PATH), args);
    }
    // Who approved `parent` (its sales-order-free BOM), as a fresh process reads the account.
    QString approverOnDisk(const char* parent) {
        const test::ProcessResult r = bomctl(
            {QStringLiteral("list"), QStringLiteral("--where"),
             QStringLiteral("cpspcode=") + QLatin1String(parent), QStringLiteral("--format"),
             QStringLiteral("csv"), QStringLiteral("--columns"), QStringLiteral("csocode,ccheck")});
        EXPECT_EQ(r.status, 0) << r.err.toStdString();
        for (const QString& line : r.out.split(QLatin1Char('\n')).mid(1)) {
            const QStringList cells = line.trimmed().split(QLatin1Char(','));
            if (cells.size() >= 2 && cells[0].isEmpty())
                return cells[1];
        }
        return QStringLiteral("<none>");
    }

    QTemporaryDir folder;
    QString path;
    QString url;
    test::ListWindowSession ui;
    suite::ScriptedPrompter& prompter = ui.prompter;
    list::ProductListWindow* w = nullptr;
};

// A file dialog that lists the account's folder must not cost the window its locks on the
// account: once they are gone, another process closing the account removes the write-ahead
// log under the window, and what the window commits next never reaches the file.
TEST_F(AccountFolderTest, BrowsingTheAccountFolderKeepsTheAccountSafe) {
    ASSERT_FALSE(locksHeldOn(path).isEmpty()) << "an open account holds a shared lock";

    // The export dialog is opened by the command, pointed at the account's folder and left
    // to list it completely (type and icon of every file), then cancelled.
    bool listed = false;
    QTimer timer;
    timer.setInterval(5);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        timer.stop();
        if (auto* model = dialog->findChild<QFileSystemModel*>()) {
            QEventLoop loop;
            QObject::connect(model, &QFileSystemModel::directoryLoaded, &loop,
                             [&](const QString& loaded) {
                                 if (QFileInfo(loaded) == QFileInfo(folder.path())) {
                                     listed = true;
                                     loop.quit();
                                 }
                             });
            QTimer::singleShot(60000, &loop, &QEventLoop::quit); // never hang the suite
            dialog->setDirectory(folder.path());
            loop.exec(); // the types of the listed files were taken as they arrived
            QCoreApplication::processEvents();
        }
        dialog->reject();
    });
    timer.start();
    w->dispatch(QStringLiteral("SaveFile"));
    ASSERT_TRUE(listed);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(locksHeldOn(path).isEmpty()) << "the dialog dropped the account's locks";

    // Another process opens and closes the account; the log stays, as the window is open.
    const test::ProcessResult listed2 = bomctl({QStringLiteral("list")});
    ASSERT_EQ(listed2.status, 0) << listed2.err.toStdString();
    EXPECT_TRUE(QFile::exists(path + QStringLiteral("-wal")));

    // An approval in the window is on disk for a fresh process, now and after closing.
    const int row = w->parentModel().findRow([&](int r) {
        return w->parentModel().value(r, QStringLiteral("cpspcode")) == QStringLiteral("FR100");
    });
    ASSERT_GE(row, 0);
    ASSERT_TRUE(w->parentModel().value(row, QStringLiteral("ccheck")).toString().isEmpty());
    w->parentModel().setSelected(row, true);
    w->dispatch(QStringLiteral("Auditing"));
    EXPECT_EQ(w->parentModel().rowCount(), 8);
    EXPECT_EQ(approverOnDisk("FR100"), QStringLiteral("演示操作员"));
    w->close();
    EXPECT_EQ(approverOnDisk("FR100"), QStringLiteral("演示操作员"));
}

// The export says where it wrote, and never writes over the account; dialogs Qt opens by
// itself (the print dialog's file name completer, the preview's save dialog) are guarded too.
TEST_F(AccountFolderTest, ExportsSayWhereAndSpareTheAccount) {
    const auto exportTo = [&](const QString& file, const QString& type = QString()) {
        QTimer timer;
        timer.setInterval(5);
        QObject::connect(&timer, &QTimer::timeout, [&] {
            QWidget* modal = QApplication::activeModalWidget();
            if (auto* box = qobject_cast<QMessageBox*>(modal)) // "replace it?"
                box->button(QMessageBox::Yes)->click();
            else if (auto* dialog = qobject_cast<QFileDialog*>(modal)) {
                if (!type.isEmpty())
                    dialog->selectNameFilter(type);
                dialog->selectFile(file);
                // Queued: accepting may ask in a box of its own, which this timer answers.
                QMetaObject::invokeMethod(dialog, &QDialog::accept, Qt::QueuedConnection);
            }
        });
        timer.start();
        prompter.clear();
        w->dispatch(QStringLiteral("SaveFile"));
    };
    const QString csv = folder.filePath(QStringLiteral("list.csv"));
    exportTo(csv);
    EXPECT_EQ(prompter.texts(),
              QStringList{QStringLiteral("已输出到：") + QDir::toNativeSeparators(csv)});
    QFile written(csv);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(written.readAll().count("\r\n"), 1 + 8); // heading and the eight BOMs
    // As a workbook, the default: the same rows.
    const QString xlsx = folder.filePath(QStringLiteral("list.xlsx"));
    exportTo(xlsx);
    QString error;
    const auto sheet = entry::SpreadsheetFile::read(xlsx, &error);
    ASSERT_TRUE(sheet) << error.toStdString();
    EXPECT_EQ(sheet->size(), 1u + 8u);
    // As PDF: the current BOM as it prints.
    const QString pdf = folder.filePath(QStringLiteral("bom.pdf"));
    exportTo(pdf, QStringLiteral("PDF 文件 (*.pdf)"));
    EXPECT_EQ(prompter.texts(),
              QStringList{QStringLiteral("已输出到：") + QDir::toNativeSeparators(pdf)});
    QFile printed(pdf);
    ASSERT_TRUE(printed.open(QIODevice::ReadOnly));
    EXPECT_TRUE(printed.read(5).startsWith("%PDF"));

    const QByteArray before = [&] {
        QFile account(path);
        return account.open(QIODevice::ReadOnly) ? account.read(100) : QByteArray();
    }();
    for (const QString& target : {path, path + QStringLiteral("-wal")}) {
        exportTo(target);
        EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("不能输出到账套数据库文件：") +
                                                QDir::toNativeSeparators(target)});
    }
    QFile account(path);
    ASSERT_TRUE(account.open(QIODevice::ReadOnly));
    EXPECT_EQ(account.read(100), before);
    account.close(); // (closing it here drops the locks; the window's work is done)

    QPrintDialog print;
    print.show();
    QFileDialog save;
    save.show();
    EXPECT_TRUE(QCoreApplication::testAttribute(Qt::AA_DontUseNativeDialogs));
    const auto models =
        print.findChildren<QFileSystemModel*>() + save.findChildren<QFileSystemModel*>();
    ASSERT_FALSE(models.isEmpty());
    for (QFileSystemModel* model : models)
        EXPECT_EQ(model->iconProvider(), list::FileChooserDialog::nameOnlyIcons());
}
#endif
