#include "SqlScript.h"

#include <QRegularExpression>

namespace bom::db {
namespace {

bool startsWord(const QString& s, int i, QLatin1String word) {
    if (i > 0 && (s[i - 1].isLetterOrNumber() || s[i - 1] == '_'))
        return false;
    if (s.mid(i, word.size()).compare(word, Qt::CaseInsensitive) != 0)
        return false;
    const int end = i + word.size();
    return end >= s.size() || !(s[end].isLetterOrNumber() || s[end] == '_');
}

bool isTriggerStatement(const QString& statement) {
    static const QRegularExpression re(QStringLiteral("^\\s*CREATE\\s+(TEMP\\s+)?TRIGGER"),
                                       QRegularExpression::CaseInsensitiveOption);
    return re.match(statement).hasMatch();
}

} // namespace

QStringList splitSqlScript(const QString& script) {
    QStringList statements;
    QString current;
    int blockDepth = 0; // BEGIN … END inside an SQLite trigger
    const int n = script.size();
    for (int i = 0; i < n; ++i) {
        const QChar c = script[i];
        if (c == '-' && i + 1 < n && script[i + 1] == '-') {
            while (i < n && script[i] != '\n')
                ++i;
            current += '\n';
            continue;
        }
        if (c == '\'') {
            int j = i + 1;
            while (j < n) {
                if (script[j] == '\'') {
                    if (j + 1 < n && script[j + 1] == '\'') {
                        j += 2; // doubled quote inside the text
                        continue;
                    }
                    break;
                }
                ++j;
            }
            current += script.mid(i, j - i + 1);
            i = j;
            continue;
        }
        if (c == '$' && i + 1 < n && script[i + 1] == '$') {
            const int close = script.indexOf(QLatin1String("$$"), i + 2);
            const int end = close < 0 ? n : close + 2;
            current += script.mid(i, end - i);
            i = end - 1;
            continue;
        }
        if (isTriggerStatement(current) && startsWord(script, i, QLatin1String("BEGIN")))
            ++blockDepth;
        else if (blockDepth > 0 && startsWord(script, i, QLatin1String("END")))
            --blockDepth;
        if (c == ';' && blockDepth == 0) {
            if (!current.trimmed().isEmpty())
                statements << current.trimmed();
            current.clear();
            continue;
        }
        current += c;
    }
    if (!current.trimmed().isEmpty())
        statements << current.trimmed();
    return statements;
}

} // namespace bom::db
