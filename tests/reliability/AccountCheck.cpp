#include "AccountCheck.h"

#include "db/Database.h"
#include "db/DbError.h"
#include "suite/LockService.h"
#include "suite/Login.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QHash>
#include <QRegularExpression>
#include <QThread>
#include <algorithm>

namespace bom::reliability {
namespace {

// A count that must be 0, and the sentence that says what it counts.
struct Rule {
    const char* sql;
    const char* fault;
};

const Rule kRules[] = {
    {"select count(*) from ProductStructures l where not exists (select 1 from ProductStructure h "
     "where h.iautoid=l.ipid)",
     "lines without their header"},
    {"select count(*) from ProductStructures l join ProductStructure h on h.iautoid=l.ipid where "
     "l.psid is null or l.psid<>h.ID or l.cpspcode is null or l.cpspcode<>h.cpspcode",
     "lines whose header ID or parent code is not their header's"},
    {"select count(*) from ProstruOpt o where not exists (select 1 from ProductStructures l where "
     "l.autoid=o.AutoID)",
     "substitutes without their line"},
    {"select count(*) from ProductStructures l where l.childguid is not null and not exists "
     "(select 1 from ProductStructure h where h.iautoid=l.childguid)",
     "lines linked to a BOM that is gone"},
    {"select count(*) from (select cpspcode, cpscode, sum(coalesce(ipsquantity,0)) as total from "
     "ProductStructures group by cpspcode, cpscode) t left join ProductStructuresEx x on "
     "x.cPSPCode=t.cpspcode and x.cPSCode=t.cpscode where x.cPSPCode is null or "
     "abs(coalesce(x.iPSQuantity,0)-t.total)>0.000001",
     "(parent, component) pairs whose quantity total is not the sum of their lines"},
    {"select count(*) from ProductStructuresEx x where not exists (select 1 from "
     "ProductStructures l where l.cpspcode=x.cPSPCode and l.cpscode=x.cPSCode)",
     "quantity totals of pairs no line has"},
    {"select count(*) from sys_bom_history e where e.irunid<>0 and not exists (select 1 from "
     "sys_bom_run r where r.id=e.irunid)",
     "history entries of runs that are not recorded"},
    // An import saves each BOM as a card save does: its history is the saves', not the run's.
    {"select count(*) from sys_bom_run r where not exists (select 1 from sys_bom_run_bom b where "
     "b.irunid=r.id) or (r.coperation<>'import' and not exists (select 1 from sys_bom_history e "
     "where e.irunid=r.id))",
     "runs without the BOMs they touched or without history"},
    {"select count(*) from sys_bom_run r where r.cstate='undone' and not exists (select 1 from "
     "sys_bom_history e where e.irunid=r.id and e.ckind in ('run-undo','delete'))",
     "undone runs whose undo left no history"},
    {"select count(*) from sys_bom_run_bom b join sys_bom_run r on r.id=b.irunid join "
     "ProductStructure h on h.iautoid=b.iautoid where r.cstate='done' and (b.iqzts is null or "
     "h.qzts<b.iqzts)",
     "BOMs whose row version is behind the one a run left them at"},
    {"select count(*) from sys_bom_history e where e.id=(select max(l.id) from sys_bom_history l "
     "where l.iautoid=e.iautoid) and ((e.ckind='delete' and exists (select 1 from "
     "ProductStructure h where h.iautoid=e.iautoid)) or (e.ckind='create' and not exists (select "
     "1 from ProductStructure h where h.iautoid=e.iautoid)))",
     "BOMs there although their history ends deleted, or gone although it ends created"},
};

QStringList sqliteIntegrity(db::Database& db) {
    QStringList faults;
    const db::Rows integrity = db.query(QStringLiteral("PRAGMA integrity_check"));
    for (std::size_t i = 0; i < integrity.size(); ++i)
        if (integrity.at(i).value(0).toString() != QLatin1String("ok"))
            faults
                << QStringLiteral("integrity_check: %1").arg(integrity.at(i).value(0).toString());
    if (!db.query(QStringLiteral("PRAGMA foreign_key_check")).empty())
        faults << QStringLiteral("foreign_key_check finds rows without their parent row");
    return faults;
}

QStringList tablesOf(db::Database& db) {
    const db::Rows rows = db.query(
        db.isPostgres()
            ? QStringLiteral("SELECT table_name FROM information_schema.tables WHERE "
                             "table_schema=current_schema() AND table_type='BASE TABLE'")
            : QStringLiteral("SELECT name FROM sqlite_master WHERE type='table' AND name NOT "
                             "LIKE 'sqlite_%'"));
    QStringList tables;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const QString name = rows.at(i).value(0).toString().toLower();
        if (name != QLatin1String("sys_lock") && name != QLatin1String("sys_lock_key"))
            tables << name;
    }
    tables.sort();
    return tables;
}

bool looksLikeGuid(const QString& text) {
    static const QRegularExpression guid(
        QStringLiteral("^\\{[0-9A-Fa-f]{8}(-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}\\}$"));
    return text.size() == 38 && guid.match(text).hasMatch();
}

// The program's GUIDs by the serial ID of their header, where one is known (a BOM there now or
// one a run keeps to put back): the same BOMs made by the same work get the same IDs in two
// accounts, but not the same GUIDs. Others stay as they are, as they came from elsewhere.
QHash<QString, QString> guidNumbers(db::Database& db) {
    QHash<QString, QString> numbers;
    for (const char* sql : {"select iautoid, ID from ProductStructure",
                            "select iautoid, ID from sys_bom_run_header"}) {
        const db::Rows rows = db.query(QLatin1String(sql));
        for (std::size_t i = 0; i < rows.size(); ++i)
            numbers.insert(rows.at(i).value(0).toString(),
                           QStringLiteral("#%1").arg(rows.at(i).value(1).toLongLong()));
    }
    return numbers;
}

QString cellText(const QVariant& value, const QHash<QString, QString>& guids) {
    if (value.isNull())
        return QStringLiteral("<null>");
    const QString text = value.toString();
    if (looksLikeGuid(text))
        return guids.value(text, text);
    return text;
}

// Columns that say when, or in which order entries of one statement were numbered (a run
// records its BOMs' history in the order of their GUIDs), not what the account holds.
bool incidental(const QString& table, const QString& column) {
    return column.compare(QLatin1String("dtime"), Qt::CaseInsensitive) == 0 ||
           (table == QLatin1String("sys_bom_history") &&
            column.compare(QLatin1String("id"), Qt::CaseInsensitive) == 0);
}

QByteArray tableDigest(db::Database& db, const QString& table,
                       const QHash<QString, QString>& guids) {
    // The name comes from the schema's own catalogue.
    const db::Rows rows = db.query(QStringLiteral("SELECT * FROM %1").arg(table));
    std::vector<int> kept;
    for (int c = 0; c < int(rows.columns().size()); ++c)
        if (!incidental(table, rows.columns().at(c)))
            kept.push_back(c);
    QStringList lines;
    lines.reserve(qsizetype(rows.size()));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        QStringList cells;
        for (int c : kept)
            cells << cellText(rows.at(i).value(c), guids);
        lines << cells.join(QChar(0x1f));
    }
    lines.sort();
    QCryptographicHash hash(QCryptographicHash::Sha1);
    for (const QString& line : lines) {
        hash.addData(line.toUtf8());
        hash.addData(QByteArrayView("\n"));
    }
    return QByteArray::number(lines.size()) + ':' + hash.result().toHex();
}

} // namespace

QStringList AccountCheck::faults(db::Database& db) {
    QStringList found = db.isPostgres() ? QStringList() : sqliteIntegrity(db);
    for (const Rule& rule : kRules) {
        const int count = db.scalar(QLatin1String(rule.sql)).toInt();
        if (count > 0)
            found << QStringLiteral("%1: %2").arg(count).arg(QLatin1String(rule.fault));
    }
    return found;
}

AccountCheck::Digest AccountCheck::digest(db::Database& db) {
    const QHash<QString, QString> guids = guidNumbers(db);
    Digest out;
    for (const QString& table : tablesOf(db))
        out.insert(table, tableDigest(db, table, guids));
    return out;
}

QStringList AccountCheck::differences(const Digest& a, const Digest& b) {
    QStringList tables;
    for (auto it = a.cbegin(); it != a.cend(); ++it)
        if (b.value(it.key()) != it.value())
            tables << QStringLiteral("%1 (%2 / %3 rows)")
                          .arg(it.key(), QString::fromLatin1(it.value().split(':').value(0)),
                               QString::fromLatin1(b.value(it.key()).split(':').value(0)));
    for (auto it = b.cbegin(); it != b.cend(); ++it)
        if (!a.contains(it.key()))
            tables << it.key();
    return tables;
}

double AccountCheck::functionLockWait(const QString& url, const QString& user) {
    const QString key = QStringLiteral("ProductStructure");
    QString error;
    auto login = suite::Login::SignIn(url, user, QString(), &error);
    if (!login)
        throw db::DbError(error);
    QElapsedTimer timer;
    timer.start();
    const double limit = suite::LockService::leaseSeconds() + 5.0;
    QString refusal;
    while (!login->locks().acquire(key, false, &refusal)) {
        if (timer.elapsed() / 1000.0 > limit)
            return -1;
        QThread::msleep(100);
    }
    login->locks().release(key);
    return timer.elapsed() / 1000.0;
}

} // namespace bom::reliability
