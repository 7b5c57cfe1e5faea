#pragma once

#include "ChildProcess.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace bom::reliability {

// bomctl as the loops call it: on one account as one operator, --json, every question
// answered yes.
class Bomctl {
public:
    struct Reply {
        int status = -1;
        bool killed = false;
        QJsonObject result;   // the closing result line (empty when there was none)
        QStringList messages; // the texts of every message and question shown, in order
        QByteArray err;
        double seconds = 0;

        bool ok() const { return status == 0; }
        // What it printed, for a report.
        QString shown() const;
    };

    Bomctl(const QString& program, const QString& url, const QString& user)
        : program_(program), url_(url), user_(user) {}

    const QString& url() const { return url_; }
    // The full argument list for `args`.
    QStringList arguments(const QStringList& args) const;
    Reply run(const QStringList& args, const QString& input = {}) const;
    // The same command on another account.
    Bomctl on(const QString& url) const { return Bomctl(program_, url, user_); }
    const QString& program() const { return program_; }

    static Reply parse(const ChildProcess::Outcome& outcome);
    // The program a loop drives: `built`, or a copy named by BOM_CTL_PROGRAM, so that a long
    // run goes on while the tree is rebuilt.
    static QString chosen(const QString& built) {
        return qEnvironmentVariable("BOM_CTL_PROGRAM", built);
    }

private:
    QString program_;
    QString url_;
    QString user_;
};

} // namespace bom::reliability
