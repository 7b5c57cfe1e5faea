#include "ProductListWindow.h"

#include "db/DbError.h"
#include "entry/DisplayTerms.h"
#include "entry/Session.h"

#include <QCloseEvent>
#include <QGroupBox>
#include <QSplitter>
#include <QTableWidget>
#include <QVBoxLayout>

namespace bom::list {
namespace {

QGroupBox* pane(const QString& caption, QWidget* parent) {
    auto* box = new QGroupBox(caption, parent);
    auto* layout = new QVBoxLayout(box);
    layout->addWidget(new QTableWidget(box));
    return box;
}

} // namespace

ProductListWindow::ProductListWindow(entry::Session& session) : session_(session) {
    setAttribute(Qt::WA_DeleteOnClose, false);
    resize(1000, 680);
}

void ProductListWindow::show() {
    entry::DisplayTerms terms;
    try {
        if (session_.gConn)
            terms = entry::DisplayTerms::load(*session_.gConn);
    } catch (const db::DbError& e) {
        session_.ShowInfo(e.message());
    }
    setWindowTitle(terms.title);
    auto* splitter = new QSplitter(Qt::Vertical, this);
    splitter->addWidget(pane(terms.parent + QStringLiteral(":"), splitter));
    splitter->addWidget(pane(terms.component + QStringLiteral(":"), splitter));
    setCentralWidget(splitter);
    QMainWindow::show();
}

void ProductListWindow::raise() {
    QMainWindow::raise();
    activateWindow();
}

void ProductListWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    runUnload();
}

} // namespace bom::list
