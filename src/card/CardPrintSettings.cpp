#include "CardPrintSettings.h"

#include "CardTexts.h"
#include "db/DbError.h"
#include "db/Transaction.h"
#include "entry/Session.h"
#include "suite/Prompter.h"

#include <QHash>

namespace bom::card {
namespace {

const QString kDisplay = QStringLiteral("DisplayTemplate");
const QString kPrint = QStringLiteral("PrintTemplate");
const QString kPrinter = QStringLiteral("Printer");
const QString kPaper = QStringLiteral("Paper");
const QString kLandscape = QStringLiteral("Landscape");
const QString kMargin = QStringLiteral("MarginMm");

} // namespace

PrintSettings CardPrintSettings::load() {
    const db::Rows rows = session_.gConn->query(
        QStringLiteral("select cname, cvalue from sys_user_setting where cuserid=? and csection=?"),
        {session_.gUserId, QLatin1String(kSection)});
    QHash<QString, QString> stored;
    for (std::size_t i = 0; i < rows.size(); ++i)
        stored.insert(rows.text(i, "cname"), rows.text(i, "cvalue"));
    PrintSettings out;
    out.displayTemplateId = stored.value(kDisplay, QStringLiteral("0")).toInt();
    out.printTemplateId = stored.value(kPrint, QStringLiteral("0")).toInt();
    out.printer = stored.value(kPrinter);
    out.paper = stored.value(kPaper, out.paper);
    out.landscape = stored.value(kLandscape) == QLatin1String("1");
    bool number = false;
    const double margin = stored.value(kMargin).toDouble(&number);
    if (number && margin >= 0)
        out.marginMm = margin;
    return out;
}

void CardPrintSettings::write(const QString& name, const QString& value) {
    db::Database& db = *session_.gConn;
    const db::Params key{session_.gUserId, QLatin1String(kSection), name};
    if (db.exec(QStringLiteral("update sys_user_setting set cvalue=? where cuserid=? and "
                               "csection=? and cname=?"),
                db::Params{value} + key) == 0)
        db.exec(QStringLiteral("insert into sys_user_setting(cuserid, csection, cname, cvalue) "
                               "values (?,?,?,?)"),
                key + db::Params{value});
}

bool CardPrintSettings::save(const PrintSettings& settings) {
    try {
        db::Transaction tx(*session_.gConn);
        write(kDisplay, QString::number(settings.displayTemplateId));
        write(kPrint, QString::number(settings.printTemplateId));
        write(kPrinter, settings.printer);
        write(kPaper, settings.paper);
        write(kLandscape, settings.landscape ? QStringLiteral("1") : QStringLiteral("0"));
        write(kMargin, QString::number(settings.marginMm));
        tx.commit();
        return true;
    } catch (const db::DbError&) {
        session_.prompter.info(CardTexts::printSettingsNotSaved(), CardTexts::title(), 16);
        return false;
    }
}

} // namespace bom::card
