#pragma once

#include "Session.h"

namespace bom::entry {

class ListWindowFactory;

// The module's entry: Show starts a session on a signed-in Login and opens the list window;
// closing that window ends the session.
class IProduct {
public:
    IProduct(suite::Prompter& prompter, ListWindowFactory& windows);
    ~IProduct();

    void Show(suite::Login* oLogin);
    Session& session() { return session_; }

    // Closing the list window runs both of these, the window's own first.
    void ListWindowUnload();
    void FrmUnload();

private:
    void LoadAuthStrings();
    void releaseFunctionLock();

    Session session_;
    ListWindowFactory& windows_;
};

} // namespace bom::entry
