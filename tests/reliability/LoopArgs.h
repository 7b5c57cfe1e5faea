#pragma once

#include <QHash>
#include <QSet>
#include <QStringList>
#include <optional>

namespace bom::reliability {

// A loop's command line: one backend word, options that take a value (`--kills 50`) and flags
// (`--verbose`). Anything else, or an option without its value, makes the line unusable.
struct LoopArgs {
    QString backend;
    QHash<QString, QString> values;
    QSet<QString> flags;

    static std::optional<LoopArgs> parse(const QStringList& words, const QStringList& valued,
                                         const QStringList& flagNames);

    int number(const QString& option, int fallback) const;
    double decimal(const QString& option, double fallback) const;
};

} // namespace bom::reliability
