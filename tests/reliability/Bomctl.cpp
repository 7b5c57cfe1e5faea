#include "Bomctl.h"

#include <QJsonDocument>

namespace bom::reliability {

QString Bomctl::Reply::shown() const {
    return QStringLiteral("status %1%2: %3 %4")
        .arg(status)
        .arg(killed ? QStringLiteral(" (killed)") : QString())
        .arg(messages.join(QStringLiteral(" | ")),
             QString::fromUtf8(QJsonDocument(result).toJson(QJsonDocument::Compact)))
        .left(2000);
}

QStringList Bomctl::arguments(const QStringList& args) const {
    return QStringList(args) << QStringLiteral("--db") << url_ << QStringLiteral("--user") << user_
                             << QStringLiteral("--json") << QStringLiteral("--yes");
}

Bomctl::Reply Bomctl::run(const QStringList& args, const QString& input) const {
    return parse(ChildProcess::run(program_, arguments(args), input));
}

Bomctl::Reply Bomctl::parse(const ChildProcess::Outcome& outcome) {
    Reply reply;
    reply.status = outcome.status;
    reply.killed = outcome.killed;
    reply.err = outcome.err;
    reply.seconds = outcome.seconds;
    for (const QByteArray& line : outcome.out.split('\n')) {
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        const QString type = object.value(QStringLiteral("type")).toString();
        if (type == QLatin1String("result"))
            reply.result = object;
        else if (type == QLatin1String("message") || type == QLatin1String("question"))
            reply.messages << object.value(QStringLiteral("text")).toString();
    }
    return reply;
}

} // namespace bom::reliability
