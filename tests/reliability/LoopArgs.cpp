#include "LoopArgs.h"

namespace bom::reliability {

std::optional<LoopArgs> LoopArgs::parse(const QStringList& words, const QStringList& valued,
                                        const QStringList& flagNames) {
    LoopArgs args;
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QString& word = words[i];
        if (valued.contains(word) && i + 1 < words.size())
            args.values.insert(word, words[++i]);
        else if (flagNames.contains(word))
            args.flags.insert(word);
        else if (args.backend.isEmpty() && !word.startsWith(QLatin1String("--")))
            args.backend = word;
        else
            return std::nullopt;
    }
    if (args.backend.isEmpty())
        return std::nullopt;
    return args;
}

int LoopArgs::number(const QString& option, int fallback) const {
    return values.contains(option) ? values.value(option).toInt() : fallback;
}

double LoopArgs::decimal(const QString& option, double fallback) const {
    return values.contains(option) ? values.value(option).toDouble() : fallback;
}

} // namespace bom::reliability
