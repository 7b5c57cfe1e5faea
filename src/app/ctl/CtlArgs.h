#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <utility>
#include <vector>

namespace bom::app {

// Command-line words after the command name: options are taken out by name, what remains
// are the positional arguments. Anything left that looks like an option is a usage error.
class CtlArgs {
public:
    explicit CtlArgs(QStringList words) : words_(std::move(words)) {}

    std::optional<QString> option(const QString& name); // "--name VALUE" or "--name=VALUE"
    QStringList options(const QString& name);           // every occurrence, in order
    bool flag(const QString& name);
    // Every occurrence of several options, in the order given on the line, each with its
    // `arity` values ("--line 2 FIELD=VALUE" has two). A missing value sets missingValue().
    struct Occurrence {
        QString name;
        QStringList values;
    };
    std::vector<Occurrence> occurrences(const std::vector<std::pair<QString, int>>& arities);
    // Positional words; sets `error` when an unknown option remains.
    QStringList positional(QString* error) const;
    // The words not taken out yet, in order.
    const QStringList& words() const { return words_; }
    bool missingValue() const { return missingValue_; }
    const QString& missingName() const { return missingName_; }

private:
    QStringList words_;
    bool missingValue_ = false;
    QString missingName_;
};

} // namespace bom::app
