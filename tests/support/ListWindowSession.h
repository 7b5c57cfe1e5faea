#pragma once

#include "entry/IProduct.h"
#include "list/ProductListWindow.h"
#include "suite/Login.h"
#include "suite/Prompter.h"
#include "support/TestAccount.h"

#include <memory>

namespace bom::test {

// The list window as the program opens it (sign-in, then IProduct::Show) with a scripted
// prompter, closed again so no window outlives its session.
class ListWindowSession {
public:
    explicit ListWindowSession(
        list::ProductListWindowFactory windows = list::ProductListWindowFactory())
        : windows_(std::move(windows)) {}
    ~ListWindowSession() { close(); }

    // Signs `user` in on `url` and opens the window; nullptr (with a test failure) when the
    // sign-in is refused.
    list::ProductListWindow* open(const QString& url, const QString& user);
    list::ProductListWindow* window() const;
    void close();

    suite::ScriptedPrompter prompter;
    entry::IProduct& product() { return *product_; }
    suite::Login& login() { return *login_; }

private:
    list::ProductListWindowFactory windows_;
    std::unique_ptr<suite::Login> login_;
    std::unique_ptr<entry::IProduct> product_;
};

// A demo account on each backend with the list window's session over it, closed before the
// account goes.
class DemoListWindowTest : public BackendTest {
protected:
    explicit DemoListWindowTest(
        list::ProductListWindowFactory windows = list::ProductListWindowFactory())
        : ui(std::move(windows)) {}
    void SetUp() override {
        BackendTest::SetUp();
        db = account->createDemo();
    }
    void TearDown() override {
        ui.close();
        db.reset();
        BackendTest::TearDown();
    }
    list::ProductListWindow* open(const QString& user = QStringLiteral("demo")) {
        return ui.open(account->url(), user);
    }
    list::ProductListWindow* window() { return ui.window(); }
    entry::Session& session() { return ui.product().session(); }
    // The row of the parent list that shows BOM `id` (read to its end), or -1.
    int parentRow(const QString& id);

    std::unique_ptr<db::Database> db;
    ListWindowSession ui;
    suite::ScriptedPrompter& prompter = ui.prompter;
};

// The same with what the program's list opens over itself: the card, batch, colour/size and
// structure windows.
class HandoverListWindowTest : public DemoListWindowTest {
protected:
    HandoverListWindowTest();
};

} // namespace bom::test
