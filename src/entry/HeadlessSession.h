#pragma once

#include "IProduct.h"
#include "ListWindowHandle.h"
#include "suite/Login.h"

#include <memory>

namespace bom::entry {

// A session without a window, as bomctl, the tests and the benchmarks run one: sign in, start
// as the window would (function lock included), and end when this object goes.
class HeadlessSession {
public:
    enum class Outcome { Running, SignInRefused, Refused, Unreachable };

    explicit HeadlessSession(suite::Prompter& prompter) : prompter_(prompter) {}
    ~HeadlessSession() { end(); }
    HeadlessSession(const HeadlessSession&) = delete;
    HeadlessSession& operator=(const HeadlessSession&) = delete;

    // Refusals have been shown through the prompter, except a refused sign-in, whose reason
    // is in `error`.
    Outcome start(const QString& url, const QString& userId, const QString& password,
                  QString* error = nullptr);
    void end();

    Session& session() { return product_->session(); }
    db::Database& db() { return *session().gConn; }

private:
    suite::Prompter& prompter_;
    std::unique_ptr<suite::Login> login_;
    HeadlessListWindowFactory windows_;
    std::unique_ptr<IProduct> product_;
};

} // namespace bom::entry
