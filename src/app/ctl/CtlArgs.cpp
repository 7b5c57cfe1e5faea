#include "CtlArgs.h"

#include <algorithm>

namespace bom::app {

std::optional<QString> CtlArgs::option(const QString& name) {
    const QStringList all = options(name);
    if (all.isEmpty())
        return std::nullopt;
    return all.last();
}

QStringList CtlArgs::options(const QString& name) {
    QStringList values;
    const QString prefix = name + QLatin1Char('=');
    for (int i = 0; i < words_.size();) {
        if (words_[i] == name) {
            if (i + 1 >= words_.size()) {
                missingValue_ = true;
                missingName_ = name;
                words_.removeAt(i);
                continue;
            }
            values << words_[i + 1];
            words_.remove(i, 2);
        } else if (words_[i].startsWith(prefix)) {
            values << words_[i].mid(prefix.size());
            words_.removeAt(i);
        } else {
            ++i;
        }
    }
    return values;
}

std::vector<CtlArgs::Occurrence>
CtlArgs::occurrences(const std::vector<std::pair<QString, int>>& arities) {
    std::vector<Occurrence> found;
    for (int i = 0; i < words_.size();) {
        const auto arity = std::find_if(arities.begin(), arities.end(),
                                        [&](const auto& a) { return a.first == words_[i]; });
        if (arity == arities.end()) {
            ++i;
            continue;
        }
        if (i + arity->second >= words_.size()) {
            missingValue_ = true;
            missingName_ = arity->first;
            words_.remove(i, words_.size() - i);
            break;
        }
        found.push_back({arity->first, words_.mid(i + 1, arity->second)});
        words_.remove(i, arity->second + 1);
    }
    return found;
}

bool CtlArgs::flag(const QString& name) {
    const qsizetype removed = words_.removeAll(name);
    return removed > 0;
}

QStringList CtlArgs::positional(QString* error) const {
    QStringList out;
    for (const QString& word : words_) {
        if (word.startsWith(QLatin1String("--")) && word.size() > 2) {
            if (error)
                *error = QStringLiteral("未知选项：%1").arg(word);
            return {};
        }
        out << word;
    }
    return out;
}

} // namespace bom::app
