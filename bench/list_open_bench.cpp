// The BOM list window on a generated account (100,000 BOMs, or the count given), offscreen, for
// the unrestricted "demo" and the restricted "planner" (every made item and half of the
// purchased ones): Show (sign-in done before), which brings the first page of both lists; the
// status bar's count; each further page as the view scrolls down to page 50 (or the end of his
// list); the first page again once the view has scrolled far (dropped, read again).
// The first page is the rows the view has room for. Baseline: every header of the list read
// through one query, as the window read it before, and for the count the count over that query.
// Floor: the page's own query alone, same connection kind. Memory: resident set after the first
// page and after scrolling 300 pages, beside the same rows held as the window held every row it
// read before. Usage: list_open_bench [URL] [BOMS]   (default sqlite:/tmp/bom-bench.db, 100000)
#include "BenchAccount.h"
#include "db/Transaction.h"
#include "entry/IProduct.h"
#include "list/BomList.h"
#include "list/PagedQueryModel.h"
#include "list/ProductListWindow.h"
#include "suite/Login.h"
#include "suite/Prompter.h"
#include "suite/RightsStore.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTableView>
#include <cstdio>

using namespace bom;

namespace {

constexpr int kPage = list::PagedQueryModel::kPageSize;
constexpr int kFarPage = 50;
constexpr int kMemoryPages = 300;

double residentMb() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
    return 0;
}

void settle() {
    QCoreApplication::processEvents();
}

// The list window, telling how long its own part of Show took: after the session has started
// and taken its locks, the first page of both lists.
class TimedWindow : public list::ProductListWindow {
public:
    using ProductListWindow::ProductListWindow;
    void show() override {
        QElapsedTimer timer;
        timer.start();
        ProductListWindow::show();
        if (ownShow < 0)
            ownShow = timer.nsecsElapsed() / 1e6;
    }
    double ownShow = -1;
};

class TimedWindows : public entry::ListWindowFactory {
public:
    entry::ListWindowHandle* create(entry::Session& session) override {
        return new TimedWindow(session);
    }
};

// One signed-in operator with the list window, closed again at the end.
class OpenWindow {
public:
    OpenWindow(const QString& url, const QString& user) {
        QString error;
        login_ = suite::Login::SignIn(url, user, QString(), &error);
        if (!login_) {
            std::fprintf(stderr, "sign-in refused: %s\n", qPrintable(error));
            std::exit(1);
        }
        product_ = std::make_unique<entry::IProduct>(prompter_, windows_);
    }
    ~OpenWindow() {
        if (product_->session().running())
            window()->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    double show() {
        const double ms = bench::measure(1, [&] { product_->Show(login_.get()); }).front();
        if (!product_->session().running()) {
            std::fprintf(stderr, "session refused: %s\n", qPrintable(prompter_.texts().join(' ')));
            std::exit(1);
        }
        return ms;
    }
    list::ProductListWindow* window() {
        return dynamic_cast<list::ProductListWindow*>(product_->session().gListForm);
    }
    double windowShow() { return dynamic_cast<TimedWindow*>(window())->ownShow; }
    entry::Session& session() { return product_->session(); }
    list::PagedQueryModel& model() { return window()->parentModel(); }
    // Scrolls to the end of what was found, which finds the next page; false at the list's end.
    bool scrollOnePage(double* ms = nullptr) {
        if (!model().canFetchMore())
            return false;
        QElapsedTimer timer;
        timer.start();
        window()->parentView()->scrollToBottom();
        settle();
        if (ms)
            *ms = timer.nsecsElapsed() / 1e6;
        return true;
    }

private:
    suite::ScriptedPrompter prompter_;
    TimedWindows windows_;
    std::unique_ptr<suite::Login> login_;
    std::unique_ptr<entry::IProduct> product_;
};

// Every header of the list through one query, read to the end.
void readWholeList(db::Database& db, const db::SqlCondition& sql) {
    QSqlQuery q = db.prepare(sql.sql);
    db.run(q, sql.params);
    while (q.next()) {
    }
}

// The key of the last row of page `page` (1 …) of the list, found by walking there.
QVariantList keyBefore(db::Database& db, const list::BomList::ParentPages& pages, int page) {
    QVariantList key;
    for (int i = 1; i < page; ++i) {
        const db::SqlCondition sql = pages.page(key, kPage);
        const db::Rows rows = db.query(sql.sql, sql.params);
        if (rows.empty())
            break;
        key.clear();
        for (int k = 0; k < pages.keyCount(); ++k)
            key << rows.value(rows.size() - 1, db::Keyset::keyColumn(k));
    }
    return key;
}

void measureOperator(const QString& url, const QString& user, const QString& size) {
    const QString who = user == QLatin1String("demo") ? QStringLiteral("unrestricted")
                                                      : QStringLiteral("restricted");
    std::vector<double> opens, windowShows, wholeReads, counts, oldCounts, firstPages;
    int firstRows = 0; // the rows the view has room for
    for (int run = 0; run < 10; ++run) {
        OpenWindow open(url, user);
        opens.push_back(open.show());
        windowShows.push_back(open.windowShow());
        firstRows = open.model().rowCount();
        settle();
        entry::Session& s = open.session();
        const list::BomList list(s);
        const db::SqlCondition whole = list.parentQuery();
        wholeReads.push_back(bench::measure(1, [&] { readWholeList(*s.gConn, whole); }).front());
        counts.push_back(bench::measure(1, [&] { list.parentCount(); }).front());
        oldCounts.push_back(
            bench::measure(1, [&] {
                s.gConn->scalar(QStringLiteral("select count(*) from (%1) listed").arg(whole.sql),
                                whole.params);
            }).front());
        const list::BomList::ParentPages pages = list.parentPages();
        firstPages.push_back(bench::measure(1, [&] {
                                 const db::SqlCondition first = pages.page({}, firstRows);
                                 s.gConn->query(first.sql, first.params);
                             }).front());
    }
    std::sort(opens.begin(), opens.end());
    std::sort(windowShows.begin(), windowShows.end());
    std::sort(wholeReads.begin(), wholeReads.end());
    std::sort(counts.begin(), counts.end());
    std::sort(oldCounts.begin(), oldCounts.end());
    std::sort(firstPages.begin(), firstPages.end());
    bench::printRow(QStringLiteral("list window open (Show), %1, %2").arg(who, size), opens,
                    wholeReads, firstPages);
    bench::printRow(QStringLiteral("list window's part of Show (first %1 rows), %2, %3")
                        .arg(firstRows)
                        .arg(who, size),
                    windowShows, wholeReads, firstPages);
    bench::printRow(QStringLiteral("list status count, %1, %2").arg(who, size), counts, oldCounts);

    // Each page as the view scrolls down to it, then back to the top and down again, the
    // pages between dropped and read again.
    std::vector<double> nextPages, again, farPage;
    int reached = 0;
    for (int run = 0; run < 3; ++run) {
        OpenWindow open(url, user);
        open.show();
        settle();
        double ms = 0;
        int page = 1;
        while (page < kFarPage && open.scrollOnePage(&ms)) {
            nextPages.push_back(ms);
            ++page;
        }
        list::PagedQueryModel& model = open.model();
        reached = (model.rowCount() + kPage - 1) / kPage;
        QTableView* view = open.window()->parentView();
        const int code = model.columnOf(QStringLiteral("cpspcode"));
        for (int i = 0; i < 5; ++i) {
            // Pages enough far down that the first ones are dropped.
            for (int p = std::max(1, reached - list::PagedQueryModel::kPagesKept); p < reached;
                 ++p) {
                view->scrollTo(model.index(p * kPage, code), QAbstractItemView::PositionAtTop);
                settle();
            }
            again.push_back(bench::measure(1, [&] {
                                view->scrollToTop();
                                settle();
                            }).front());
        }
        if (run == 0) {
            entry::Session& s = open.session();
            const list::BomList::ParentPages pages = list::BomList(s).parentPages();
            const QVariantList key = keyBefore(*s.gConn, pages, reached);
            farPage = bench::measure(20, [&] {
                const db::SqlCondition sql = pages.page(key, kPage);
                s.gConn->query(sql.sql, sql.params);
            });
        }
    }
    std::sort(nextPages.begin(), nextPages.end());
    std::sort(again.begin(), again.end());
    bench::printRow(QStringLiteral("list next page in the window (to page %1), %2, %3")
                        .arg(reached)
                        .arg(who, size),
                    nextPages, wholeReads, farPage);
    bench::printRow(QStringLiteral("list first page again after scrolling, %1, %2").arg(who, size),
                    again, wholeReads, firstPages);
}

void measureMemory(const QString& url, const QString& size) {
    OpenWindow open(url, QStringLiteral("demo"));
    open.show();
    settle();
    const double first = residentMb();
    int pages = 1;
    while (pages < kMemoryPages && open.scrollOnePage())
        ++pages;
    const double far = residentMb();
    const int rows = open.model().rowCount();
    const int held = open.model().rowsHeld();
    // The rows found so far held as the window held every row it read before.
    std::vector<QVariantList> kept;
    kept.reserve(rows);
    const db::SqlCondition sql = list::BomList(open.session()).parentQuery();
    open.session().gConn->stream(
        sql.sql, sql.params, [](const QStringList&) {},
        [&](QVariantList&& values) {
            if (int(kept.size()) < rows)
                kept.push_back(std::move(values));
        });
    const double heldBefore = residentMb();
    std::printf("memory: list window over %s BOMs: resident %.0f MB after the first page, "
                "%.0f MB after scrolling %d pages (%d rows found, %d held); the same rows held "
                "as before: %.0f MB\n",
                qPrintable(size), first, far, pages, rows, held, heldBefore);
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const auto [url, size] = bench::listAccount(argc, argv);
    {
        // His visible BOMs are worked out at his first sign-in, not in the figures.
        suite::ScriptedPrompter prompter;
        bench::signIn(url, QStringLiteral("planner"), prompter);
    }
    measureMemory(url, size);
    for (const QString& user : {QStringLiteral("demo"), QStringLiteral("planner")})
        measureOperator(url, user, size);
    return 0;
}
