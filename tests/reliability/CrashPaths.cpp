#include "CrashPaths.h"

#include "db/Database.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>
#include <algorithm>

namespace bom::reliability {
namespace {

const QString kWarehouse = QStringLiteral("02");

QString number(int value) {
    return QString::number(value);
}

QStringList idsWhere(CrashContext& ctx, const QString& condition) {
    QStringList ids;
    auto db = ctx.open();
    QStringList marks;
    db::Params params;
    for (const QString& id : ctx.workingBoms) {
        marks << QStringLiteral("?");
        params << id;
    }
    const db::Rows rows =
        db->query(QStringLiteral("select iautoid from ProductStructure where iautoid in (%1) and "
                                 "%2 order by iautoid")
                      .arg(marks.join(QLatin1Char(',')), condition),
                  params);
    for (std::size_t i = 0; i < rows.size(); ++i)
        ids << rows.at(i).value(0).toString();
    return ids;
}

// A card save: a big card loses half its lines and has the rest changed, a small one gets
// sixteen lines added through the card's entry checks, the header memo changes either way.
std::optional<Invocation> prepareSave(CrashContext& ctx) {
    const QStringList boms = idsWhere(ctx, QStringLiteral("1=1"));
    if (boms.isEmpty())
        return std::nullopt;
    const QString id = boms.at(ctx.below(int(boms.size())));
    const auto shown = ctx.result({QStringLiteral("show"), id});
    if (!shown)
        return std::nullopt;
    QJsonObject card = shown->value(QStringLiteral("card")).toObject();
    QJsonArray lines = card.value(QStringLiteral("lines")).toArray();
    const QString memo = QStringLiteral("crash %1").arg(ctx.cycle);
    if (lines.size() > 20) {
        for (int i = 0; i < lines.size(); ++i) {
            QJsonObject line = lines.at(i).toObject();
            const bool drop = ctx.below(2) == 0;
            line.insert(QStringLiteral("editprop"),
                        drop ? QStringLiteral("D") : QStringLiteral("M"));
            if (!drop)
                line.insert(QStringLiteral("ipsquantity"), 1 + ctx.below(9));
            lines.replace(i, line);
        }
        card.insert(QStringLiteral("lines"), lines);
        QJsonObject header = card.value(QStringLiteral("header")).toObject();
        header.insert(QStringLiteral("cmemo"), memo);
        card.insert(QStringLiteral("header"), header);
        return Invocation{{QStringLiteral("save"), ctx.write(QStringLiteral("card.json"), card)}};
    }
    QSet<QString> present;
    for (const QJsonValue& line : lines)
        present.insert(line.toObject().value(QStringLiteral("cpscode")).toString());
    QStringList edit{QStringLiteral("edit"), ctx.write(QStringLiteral("shown.json"), card),
                     QStringLiteral("--header"), QStringLiteral("cmemo=") + memo};
    for (int i = 0; i < lines.size(); ++i)
        edit << QStringLiteral("--line") << number(i + 1)
             << QStringLiteral("ipsquantity=%1").arg(1 + ctx.below(9));
    int added = 0;
    for (const QString& item : ctx.sample(ctx.purchased, 40))
        if (!present.contains(item) && added++ < 16)
            edit << QStringLiteral("--add-line") << item;
    const auto edited = ctx.result(edit);
    if (!edited)
        return std::nullopt;
    return Invocation{
        {QStringLiteral("save"),
         ctx.write(QStringLiteral("card.json"), edited->value(QStringLiteral("card")).toObject())}};
}

// One of the list's commands over selected BOMs.
std::optional<Invocation> prepareListCommand(CrashContext& ctx) {
    const int kind = ctx.below(6);
    auto over = [&](const char* command, const QString& condition) -> std::optional<Invocation> {
        const QStringList ids = ctx.sample(idsWhere(ctx, condition), 40);
        if (ids.isEmpty())
            return std::nullopt;
        return Invocation{QStringList{QLatin1String(command)} + ids};
    };
    switch (kind) {
    case 0:
        return over("approve", QStringLiteral("coalesce(ccheck,'')=''"));
    case 1:
        return over("unapprove", QStringLiteral("coalesce(ccheck,'')<>''"));
    case 2:
        return over("stop", QStringLiteral("bstopflag=0"));
    case 3:
        return over("enable", QStringLiteral("bstopflag=1"));
    case 4: {
        const QStringList ids =
            ctx.sample(idsWhere(ctx, QStringLiteral("coalesce(ccheck,'')=''")), 1);
        if (ids.isEmpty())
            return std::nullopt;
        return Invocation{{QStringLiteral("delete"), ids.first()}};
    }
    default: {
        auto db = ctx.open();
        const QStringList ids = ctx.sample(idsWhere(ctx, QStringLiteral("1=1")), 1);
        if (ids.isEmpty())
            return std::nullopt;
        const db::Rows lines = db->query(
            QStringLiteral("select autoid from ProductStructures where ipid=? order by autoid"),
            {ids.first()});
        if (lines.size() < 2)
            return std::nullopt;
        return Invocation{
            {QStringLiteral("delete-line"),
             lines.at(std::size_t(ctx.below(int(lines.size())))).value(0).toString()}};
    }
    }
}

// A batch run of one of the four operations over sixty BOMs, with two components that come
// and go.
QStringList batchArguments(CrashContext& ctx) {
    const QString x = ctx.purchased.value(0), y = ctx.purchased.value(1);
    const bool onX = ctx.below(2) == 0;
    const QString from = onX ? x : y, to = onX ? y : x;
    QStringList args{QStringLiteral("batch"), QString(), QStringLiteral("--boms"),
                     ctx.sample(ctx.workingBoms, 60).join(QLatin1Char(','))};
    auto set = [&](const QString& field, const QString& value) {
        args << QStringLiteral("--set") << field + QLatin1Char('=') + value;
    };
    const QString quantity = QString::number(1 + ctx.below(9));
    switch (ctx.below(4)) {
    case 0:
        args[1] = QStringLiteral("add");
        set(QStringLiteral("cpscode"), from);
        set(QStringLiteral("cwhcode"), kWarehouse);
        set(QStringLiteral("ipsquantity"), quantity);
        break;
    case 1:
        args[1] = QStringLiteral("modify");
        args << QStringLiteral("--component") << from;
        set(QStringLiteral("ipsquantity"), quantity);
        set(QStringLiteral("tdqtyd"), QStringLiteral("1"));
        break;
    case 2:
        args[1] = QStringLiteral("replace");
        args << QStringLiteral("--component") << from;
        set(QStringLiteral("cpscode"), to);
        set(QStringLiteral("cwhcode"), kWarehouse);
        break;
    default:
        args[1] = QStringLiteral("delete");
        args << QStringLiteral("--component") << from;
        break;
    }
    return args;
}

std::optional<Invocation> prepareBatch(CrashContext& ctx) {
    return Invocation{batchArguments(ctx)};
}

// The undo of the newest run not undone yet; every other cycle makes a new run first.
std::optional<Invocation> prepareUndo(CrashContext& ctx) {
    if (ctx.cycle % 2 == 0)
        ctx.apply(batchArguments(ctx)); // refused when it fits no BOM: then an older run
    const auto runs = ctx.result({QStringLiteral("batch"), QStringLiteral("runs")});
    if (!runs)
        return std::nullopt;
    for (const QJsonValue& run : runs->value(QStringLiteral("runs")).toArray())
        if (run.toObject().value(QStringLiteral("state")).toString() == QLatin1String("done"))
            return Invocation{{QStringLiteral("batch"), QStringLiteral("undo"),
                               number(run.toObject().value(QStringLiteral("id")).toInt())}};
    return std::nullopt;
}

// The demo shirt's colour/size BOMs: every missing pair made from its red M BOM, or, once
// made, deleted again.
std::optional<Invocation> prepareVariants(CrashContext& ctx) {
    const QString shirt =
        ctx.open()
            ->scalar(QStringLiteral("select iautoid from ProductStructure where cpspcode='GT100' "
                                    "and cfree1='RED' and cfree2='M'"))
            .toString();
    const auto shown = ctx.result({QStringLiteral("variants"), shirt});
    if (!shown)
        return std::nullopt;
    QStringList existing, missing;
    const QJsonArray sizes = shown->value(QStringLiteral("sizes")).toArray();
    for (const QJsonValue& colour : shown->value(QStringLiteral("colours")).toArray()) {
        const QString code = colour.toObject().value(QStringLiteral("code")).toString();
        const QJsonArray made = colour.toObject().value(QStringLiteral("sizes")).toArray();
        for (const QJsonValue& size : sizes) {
            const QString pair =
                code + QLatin1Char(':') + size.toObject().value(QStringLiteral("code")).toString();
            (made.contains(size.toObject().value(QStringLiteral("code"))) ? existing : missing)
                << pair;
        }
    }
    existing.removeAll(QStringLiteral("RED:M"));
    existing.removeAll(QStringLiteral("BLU:L"));
    if (!existing.isEmpty())
        return Invocation{{QStringLiteral("variants"), shirt, QStringLiteral("--delete"),
                           existing.join(QLatin1Char(','))}};
    return Invocation{{QStringLiteral("variants"), shirt, QStringLiteral("--generate"),
                       missing.join(QLatin1Char(','))}};
}

// The substitutes of the demo frame's tube line as a whole list: half of a long list dropped
// and the rest changed, or ten substitutes added to a short one.
std::optional<Invocation> prepareOptions(CrashContext& ctx) {
    const QString line =
        ctx.open()
            ->scalar(QStringLiteral("select min(autoid) from ProductStructures where "
                                    "replaceflag=1 and cpscode='TU100'"))
            .toString();
    const auto shown = ctx.result({QStringLiteral("options"), line});
    if (!shown)
        return std::nullopt;
    QJsonObject card = shown->value(QStringLiteral("card")).toObject();
    const QJsonArray rows = card.value(QStringLiteral("lines")).toArray();
    QJsonArray kept;
    if (rows.size() > 12) {
        for (const QJsonValue& row : rows) {
            if (ctx.below(2) == 0)
                continue;
            QJsonObject changed = row.toObject();
            changed.insert(QStringLiteral("tdqtyn"), 1 + ctx.below(9));
            kept.append(changed);
        }
    } else {
        QSet<QString> present;
        for (const QJsonValue& row : rows) {
            kept.append(row);
            present.insert(row.toObject().value(QStringLiteral("cinvcode")).toString());
        }
        int added = 0;
        for (const QString& item : ctx.sample(ctx.purchased, 30)) {
            if (present.contains(item) || added++ >= 10)
                continue;
            kept.append(QJsonObject{{QStringLiteral("cinvcode"), item},
                                    {QStringLiteral("cwhcode"), kWarehouse},
                                    {QStringLiteral("tdqtyn"), 1 + ctx.below(9)},
                                    {QStringLiteral("tdqtyd"), 1},
                                    {QStringLiteral("sequence"), int(kept.size()) + 1}});
        }
    }
    card.insert(QStringLiteral("lines"), kept);
    return Invocation{
        {QStringLiteral("options-save"), line, ctx.write(QStringLiteral("options.json"), card)}};
}

// A spreadsheet import of eight cards as export wrote them, every quantity and memo changed:
// new values for existing BOMs, all written or none.
std::optional<Invocation> prepareImport(CrashContext& ctx) {
    const QStringList ids = ctx.sample(idsWhere(ctx, QStringLiteral("coalesce(ccheck,'')=''")), 8);
    QStringList columns;
    QStringList rows;
    for (const QString& id : ids) {
        const QString part = ctx.file(QStringLiteral("part.csv"));
        if (!ctx.result({QStringLiteral("export"), QStringLiteral("card"), id,
                         QStringLiteral("--csv"), part}))
            continue;
        QFile in(part);
        if (!in.open(QIODevice::ReadOnly))
            continue;
        QStringList lines = QString::fromUtf8(in.readAll()).split(QLatin1Char('\n'));
        if (lines.isEmpty())
            continue;
        const QString head = lines.takeFirst().remove(QChar(0xFEFF)).trimmed();
        if (columns.isEmpty())
            columns = head.split(QLatin1Char(','));
        for (const QString& line : lines)
            if (!line.trimmed().isEmpty())
                rows << line.trimmed();
    }
    const qsizetype quantity = columns.indexOf(QStringLiteral("ipsquantity"));
    const qsizetype memo = columns.indexOf(QStringLiteral("header.cmemo"));
    if (rows.isEmpty() || quantity < 0 || memo < 0)
        return std::nullopt;
    QStringList out{columns.join(QLatin1Char(','))};
    for (const QString& row : rows) {
        // Quoted cells (a comma inside a value) are left as they are.
        QStringList cells = row.split(QLatin1Char(','));
        if (row.contains(QLatin1Char('"')) || cells.size() != columns.size()) {
            out << row;
            continue;
        }
        cells[quantity] = number(1 + ctx.below(9));
        cells[memo] = QStringLiteral("import %1").arg(ctx.cycle);
        out << cells.join(QLatin1Char(','));
    }
    QFile file(ctx.file(QStringLiteral("import.csv")));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(out.join(QLatin1Char('\n')).toUtf8()) < 0)
        return std::nullopt;
    return Invocation{{QStringLiteral("import"), file.fileName()}};
}

} // namespace

CrashContext::CrashContext(const Bomctl& bomctl, std::mt19937& random, const QString& folder)
    : bomctl(bomctl), random(random), folder_(folder) {}

std::unique_ptr<db::Database> CrashContext::open() const {
    return db::Database::open(bomctl.url());
}

QString CrashContext::file(const QString& name) const {
    return QDir(folder_).filePath(name);
}

int CrashContext::below(int n) {
    return n <= 1 ? 0 : std::uniform_int_distribution<int>(0, n - 1)(random);
}

QStringList CrashContext::sample(const QStringList& from, int count) {
    QStringList all = from;
    std::shuffle(all.begin(), all.end(), random);
    return all.mid(0, count);
}

std::optional<QJsonObject> CrashContext::result(const QStringList& args) const {
    const Bomctl::Reply reply = bomctl.run(args);
    if (!reply.ok())
        return std::nullopt;
    return reply.result;
}

std::optional<QJsonObject> CrashContext::apply(const QStringList& args) const {
    if (reference)
        reference->run(args);
    return result(args);
}

QString CrashContext::write(const QString& name, const QJsonObject& object) const {
    QFile out(file(name));
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return {};
    out.write(QJsonDocument(object).toJson(QJsonDocument::Compact));
    return out.fileName();
}

const std::vector<CrashPath>& crashPaths() {
    // A new path is one entry: its name, what it runs, and how a cycle prepares its command.
    static const std::vector<CrashPath> paths{
        {"save", "bomctl save FILE (lines added, changed, deleted)", prepareSave},
        {"list", "bomctl approve|unapprove|stop|enable|delete|delete-line", prepareListCommand},
        {"batch", "bomctl batch add|modify|replace|delete over 60 BOMs", prepareBatch},
        {"undo", "bomctl batch undo RUN", prepareUndo},
        {"variants", "bomctl variants ID --generate|--delete (23 pairs)", prepareVariants},
        {"options", "bomctl options-save AUTOID FILE", prepareOptions},
        {"import", "bomctl import FILE (eight cards, every quantity changed)", prepareImport},
    };
    return paths;
}

} // namespace bom::reliability
