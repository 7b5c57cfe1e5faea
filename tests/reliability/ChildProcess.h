#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <chrono>
#include <sys/types.h>

namespace bom::reliability {

// A program run as a child process that can be killed outright (SIGKILL, as a crash or a
// pulled plug would end it). Its standard output and error go to files of their own, so a
// child that prints much never blocks on a full pipe; standard input is the file named, or
// /dev/null. Safe to use from several threads at once.
class ChildProcess {
public:
    struct Outcome {
        int status = -1;     // exit status; -1 when it ended by a signal
        bool killed = false; // ended by SIGKILL before it finished
        QByteArray out;
        QByteArray err;
        double seconds = 0;
    };

    ChildProcess(const QString& program, const QStringList& args, const QString& input = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Waits until it has ended (at most `limit`; then it is killed and reported killed).
    Outcome wait(std::chrono::milliseconds limit = std::chrono::minutes(10));
    // Waits up to `delay`; kills it if it is still running then. Either way it has ended when
    // this returns.
    Outcome killAfter(std::chrono::microseconds delay);

    // Runs a program to its end.
    static Outcome run(const QString& program, const QStringList& args, const QString& input = {});

private:
    bool reap(bool block); // true when it has ended
    Outcome outcome();

    pid_t pid_ = -1;
    int rawStatus_ = 0;
    QString outPath_;
    QString errPath_;
    std::chrono::steady_clock::time_point started_;
    std::chrono::steady_clock::time_point ended_;
};

} // namespace bom::reliability
