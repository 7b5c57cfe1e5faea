#pragma once

#include <QString>
#include <functional>
#include <memory>

namespace bom::entry {

class Session;

// What the session needs of its main window. The desktop program gives a Qt window; bomctl
// and tests give a headless one. Closing it runs `onUnload` once.
class ListWindowHandle {
public:
    virtual ~ListWindowHandle() = default;
    virtual void setFuncText(const QString& text) { funcText_ = text; }
    const QString& funcText() const { return funcText_; }
    virtual void show() = 0;
    virtual void raise() = 0;
    // Lets the window go once the session has ended; a Qt window defers its deletion.
    virtual void dispose() { delete this; }

    std::function<void()> onUnload;

protected:
    // Runs the unload once; the handler may dispose of this window, so nothing of it is
    // touched afterwards.
    void runUnload() {
        auto handler = std::move(onUnload);
        onUnload = nullptr;
        if (handler)
            handler();
    }

private:
    QString funcText_;
};

class ListWindowFactory {
public:
    virtual ~ListWindowFactory() = default;
    virtual ListWindowHandle* create(Session& session) = 0;
};

// A window that never appears: bomctl's sessions and headless tests.
class HeadlessListWindow : public ListWindowHandle {
public:
    void show() override { ++shown; }
    void raise() override { ++raised; }
    // Ends the session as closing a real window would.
    void close() { runUnload(); }
    int shown = 0;
    int raised = 0;
};

class HeadlessListWindowFactory : public ListWindowFactory {
public:
    ListWindowHandle* create(Session&) override {
        last = new HeadlessListWindow;
        return last;
    }
    HeadlessListWindow* last = nullptr;
};

} // namespace bom::entry
