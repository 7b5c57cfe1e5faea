#include "QtTranslations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>

namespace bom::suite {

bool QtTranslations::install() {
    QCoreApplication* app = QCoreApplication::instance();
    if (!app)
        return false;
    static const char* const kDone = "bomQtTranslations";
    if (app->property(kDone).isValid())
        return app->property(kDone).toBool();
    const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    bool loaded = false;
    // qtbase holds the dialogs and buttons; qt_ gathers the other modules where it exists.
    for (const char* name : {"qtbase_zh_CN", "qt_zh_CN"}) {
        auto* translator = new QTranslator(app);
        if (translator->load(QLatin1String(name), folder) &&
            QCoreApplication::installTranslator(translator)) {
            loaded = true;
        } else {
            delete translator;
        }
    }
    if (!loaded)
        qWarning("Qt's Chinese translations are not installed in %s (Debian package "
                 "qt6-translations-l10n); Qt's own dialogs stay in English.",
                 qPrintable(folder));
    app->setProperty(kDone, loaded);
    return loaded;
}

} // namespace bom::suite
