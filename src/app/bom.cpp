// bom: the desktop host. Opens an account and starts the BOM module's session on it.
#include "WindowHandover.h"
#include "db/DbError.h"
#include "entry/IProduct.h"
#include "list/FileChooserDialog.h"
#include "list/ProductListWindow.h"
#include "suite/Account.h"
#include "suite/Login.h"
#include "suite/qt/QtPrompter.h"
#include "suite/qt/QtTranslations.h"
#include "suite/qt/SignInDialog.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QMessageBox>
#include <QStandardPaths>
#include <cstdio>

using namespace bom;

namespace {

bool hasDisplay() {
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

// The demo account in the user's data folder (not among the documents a planner exports to),
// made on first use.
QString demoAccountUrl(QString* error) {
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QDir().mkpath(folder);
    const QString path = QDir(folder).filePath(QStringLiteral("demo.db"));
    const QString url = QStringLiteral("sqlite:") + path;
    if (QFileInfo::exists(path))
        return url;
    try {
        auto db = suite::Account::create(url, QStringLiteral("demo"), QStringLiteral("演示操作员"));
        suite::Account::loadDemo(*db);
    } catch (const db::DbError& e) {
        *error = e.message();
        QFile::remove(path);
        return {};
    }
    return url;
}

std::unique_ptr<suite::Login> signIn(const QString& url, const QString& user, int* status) {
    QString error;
    QString password;
    for (;;) {
        suite::Login::Failure failure = suite::Login::Failure::None;
        auto login = suite::Login::SignIn(url, user, password, &error, &failure);
        if (login)
            return login;
        if (failure != suite::Login::Failure::WrongPassword) {
            QMessageBox::critical(nullptr, QStringLiteral("登录"), error);
            *status = failure == suite::Login::Failure::Database ? 3 : 1;
            return nullptr;
        }
        suite::SignInDialog dialog(user, password.isEmpty() ? QString() : error);
        if (dialog.exec() != QDialog::Accepted) {
            *status = 1;
            return nullptr;
        }
        password = dialog.password();
    }
}

} // namespace

int main(int argc, char** argv) {
    if (!hasDisplay()) {
        // The path that works as printed: bomctl is built beside bom, not put on the PATH.
        QString self = QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget();
        if (self.isEmpty())
            self = QString::fromLocal8Bit(argv[0]);
        const QString bomctl = QFileInfo(self).absoluteDir().filePath(QStringLiteral("bomctl"));
        const QString text =
            QStringLiteral("bom 需要图形显示（没有 DISPLAY）。\n"
                           "可在虚拟显示中运行：xvfb-run bash scripts/run-demo.sh\n"
                           "或用 bomctl，例如：\n"
                           "  %1 init sqlite:/tmp/demo.db --demo\n"
                           "  %1 list --db sqlite:/tmp/demo.db --user demo\n")
                .arg(bomctl);
        std::fputs(text.toLocal8Bit().constData(), stderr);
        return 2;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("bom"));
    // Before the first dialog: Qt's own texts in Chinese, and file dialogs that never open the
    // files they list (the account among them).
    suite::QtTranslations::install();
    list::FileChooserDialog::guardApplication();
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOption({QStringLiteral("db"), QStringLiteral("账套地址"), QStringLiteral("URL")});
    parser.addOption({QStringLiteral("user"), QStringLiteral("操作员"), QStringLiteral("ID"),
                      QStringLiteral("demo")});
    parser.process(app);

    QString url = parser.value(QStringLiteral("db"));
    if (url.isEmpty()) {
        QString error;
        url = demoAccountUrl(&error);
        if (url.isEmpty()) {
            QMessageBox::critical(nullptr, QStringLiteral("演示账套"), error);
            return 3;
        }
    }
    int status = 0;
    auto login = signIn(url, parser.value(QStringLiteral("user")), &status);
    if (!login)
        return status;

    suite::QtPrompter prompter;
    // The list opens the card (moving through the BOMs it shows) and its other windows over
    // itself.
    list::ProductListWindowFactory windows([](entry::Session& session, list::ProductListWindow& w) {
        return std::make_unique<app::WindowHandover>(session, &w,
                                                     [&w] { return w.filterCondition(); });
    });
    entry::IProduct product(prompter, windows);
    product.Show(login.get());
    if (!product.session().running())
        return 1;
    return app.exec();
}
