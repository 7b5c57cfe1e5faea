#include "DbUrl.h"

#include <QUrl>

namespace bom::db {

std::optional<DbUrl> DbUrl::parse(const QString& text, QString* error) {
    auto fail = [&](const QString& why) -> std::optional<DbUrl> {
        if (error)
            *error = why;
        return std::nullopt;
    };
    const QString trimmed = text.trimmed();
    DbUrl url;
    url.text = trimmed;
    if (trimmed.startsWith(QLatin1String("sqlite:"))) {
        url.kind = Dialect::Kind::Sqlite;
        url.path = trimmed.mid(7);
        if (url.path.isEmpty())
            return fail(QStringLiteral("账套地址缺少文件路径：%1").arg(text));
        return url;
    }
    if (trimmed.startsWith(QLatin1String("postgresql://")) ||
        trimmed.startsWith(QLatin1String("postgres://"))) {
        const QUrl parsed(trimmed, QUrl::StrictMode);
        if (!parsed.isValid() || parsed.host().isEmpty())
            return fail(QStringLiteral("账套地址无效：%1").arg(text));
        url.kind = Dialect::Kind::Postgres;
        url.host = parsed.host();
        url.port = parsed.port(5432);
        url.user = parsed.userName();
        url.password = parsed.password();
        url.database = parsed.path().mid(1);
        if (url.database.isEmpty())
            return fail(QStringLiteral("账套地址缺少数据库名：%1").arg(text));
        return url;
    }
    return fail(QStringLiteral("账套地址应为 sqlite:路径 或 postgresql://用户@主机:端口/库名：%1")
                    .arg(text));
}

} // namespace bom::db
