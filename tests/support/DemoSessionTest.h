#pragma once

#include "bomservice/RowSet.h"
#include "support/TestAccount.h"

namespace bom::test {

// A demo account on each backend with the operator demo signed in; the function lock is shared,
// so a second operator may sign in beside him.
class DemoSessionTest : public BackendTest {
protected:
    void SetUp() override;
    void TearDown() override;

    db::Database& db() { return session->db(); }
    entry::Session& s() { return session->session(); }
    // The demo BOM of `parent` for `salesOrder` (none: the standard one) without free items.
    QString idOf(const char* parent, const char* salesOrder = nullptr);
    bomservice::BomCard load(const QString& id);
    // Through the whole save; `mode` 0 new, 1 modified.
    bool save(bomservice::BomCard& card, int mode = 1);
    // A line of one `component` per unit, marked added.
    static void addLine(bomservice::BomCard& card, const QString& component);

    std::unique_ptr<TestSession> session;
};

} // namespace bom::test
