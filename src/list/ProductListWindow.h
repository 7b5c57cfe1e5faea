#pragma once

#include "entry/ListWindowHandle.h"

#include <QMainWindow>

namespace bom::list {

// The session's main window (FrmProductNew): titled with the account's term for BOMs, with
// the parent pane above the component pane. Closing it ends the session.
class ProductListWindow : public QMainWindow, public entry::ListWindowHandle {
    Q_OBJECT
public:
    explicit ProductListWindow(entry::Session& session);

    void show() override;
    void raise() override;
    void dispose() override { deleteLater(); }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    entry::Session& session_;
};

class ProductListWindowFactory : public entry::ListWindowFactory {
public:
    entry::ListWindowHandle* create(entry::Session& session) override {
        return new ProductListWindow(session);
    }
};

} // namespace bom::list
