#include "HeadlessSession.h"

#include "suite/Prompter.h"

namespace bom::entry {

HeadlessSession::Outcome HeadlessSession::start(const QString& url, const QString& userId,
                                                const QString& password, QString* error) {
    end();
    QString why;
    suite::Login::Failure failure = suite::Login::Failure::None;
    login_ = suite::Login::SignIn(url, userId, password, &why, &failure);
    if (!login_) {
        if (error)
            *error = why;
        return failure == suite::Login::Failure::Database ? Outcome::Unreachable
                                                          : Outcome::SignInRefused;
    }
    product_ = std::make_unique<IProduct>(prompter_, windows_);
    product_->Show(login_.get());
    Session& s = product_->session();
    if (s.running() && s.gConn)
        return Outcome::Running;
    if (!s.gClsCommon || !s.gClsCommon->Status() || s.running())
        return Outcome::Unreachable;
    return Outcome::Refused;
}

void HeadlessSession::end() {
    if (product_ && product_->session().running() && windows_.last)
        windows_.last->close();
    product_.reset();
    login_.reset();
}

} // namespace bom::entry
