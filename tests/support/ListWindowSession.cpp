#include "ListWindowSession.h"

#include "app/WindowHandover.h"
#include "list/PagedQueryModel.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

namespace bom::test {

list::ProductListWindow* ListWindowSession::open(const QString& url, const QString& user) {
    QString error;
    login_ = suite::Login::SignIn(url, user, QString(), &error);
    EXPECT_TRUE(login_) << error.toStdString();
    if (!login_)
        return nullptr;
    product_ = std::make_unique<entry::IProduct>(prompter, windows_);
    product_->Show(login_.get());
    return window();
}

list::ProductListWindow* ListWindowSession::window() const {
    return product_ ? dynamic_cast<list::ProductListWindow*>(product_->session().gListForm)
                    : nullptr;
}

void ListWindowSession::close() {
    if (product_ && product_->session().running())
        window()->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    product_.reset();
    login_.reset();
}

int DemoListWindowTest::parentRow(const QString& id) {
    list::PagedQueryModel& model = window()->parentModel();
    model.fetchAll();
    for (int row = 0; row < model.rowCount(); ++row)
        if (model.value(row, QStringLiteral("iautoid")).toString() == id)
            return row;
    return -1;
}

HandoverListWindowTest::HandoverListWindowTest()
    : DemoListWindowTest(list::ProductListWindowFactory{
          [](entry::Session& session, list::ProductListWindow& window) {
              return std::make_unique<app::WindowHandover>(session, &window);
          }}) {}

} // namespace bom::test
