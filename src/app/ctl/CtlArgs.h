#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace bom::app {

// Command-line words after the command name: options are taken out by name, what remains
// are the positional arguments. Anything left that looks like an option is a usage error.
class CtlArgs {
public:
    explicit CtlArgs(QStringList words) : words_(std::move(words)) {}

    std::optional<QString> option(const QString& name); // "--name VALUE" or "--name=VALUE"
    QStringList options(const QString& name);           // every occurrence, in order
    bool flag(const QString& name);
    // Positional words; sets `error` when an unknown option remains.
    QStringList positional(QString* error) const;
    bool missingValue() const { return missingValue_; }
    const QString& missingName() const { return missingName_; }

private:
    QStringList words_;
    bool missingValue_ = false;
    QString missingName_;
};

} // namespace bom::app
