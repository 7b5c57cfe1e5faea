#include "ChildProcess.h"

#include <QFile>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace bom::reliability {
namespace {

QString scratchFile(const char* kind) {
    QByteArray pattern = QByteArray("/tmp/bom-child-") + kind + "-XXXXXX";
    const int fd = ::mkstemp(pattern.data());
    if (fd < 0)
        throw std::runtime_error("cannot make a scratch file");
    ::close(fd);
    return QString::fromLocal8Bit(pattern);
}

QByteArray readAndRemove(const QString& path) {
    QFile file(path);
    QByteArray bytes;
    if (file.open(QIODevice::ReadOnly))
        bytes = file.readAll();
    file.remove();
    return bytes;
}

} // namespace

ChildProcess::ChildProcess(const QString& program, const QStringList& args, const QString& input)
    : outPath_(scratchFile("out")), errPath_(scratchFile("err")) {
    std::vector<QByteArray> words{program.toLocal8Bit()};
    for (const QString& arg : args)
        words.push_back(arg.toLocal8Bit());
    std::vector<char*> argv;
    for (QByteArray& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    const QByteArray in = input.isEmpty() ? QByteArray("/dev/null") : input.toLocal8Bit();
    const QByteArray out = outPath_.toLocal8Bit(), err = errPath_.toLocal8Bit();
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, in.constData(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, out.constData(), O_WRONLY | O_TRUNC, 0);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, err.constData(), O_WRONLY | O_TRUNC, 0);
    started_ = std::chrono::steady_clock::now();
    const int failed = posix_spawn(&pid_, argv[0], &files, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    if (failed != 0) {
        pid_ = -1;
        throw std::runtime_error("cannot start " + program.toStdString());
    }
}

ChildProcess::~ChildProcess() {
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        reap(true);
    }
    QFile::remove(outPath_);
    QFile::remove(errPath_);
}

bool ChildProcess::reap(bool block) {
    if (pid_ <= 0)
        return true;
    pid_t done;
    do
        done = ::waitpid(pid_, &rawStatus_, block ? 0 : WNOHANG);
    while (done < 0 && errno == EINTR);
    if (done == 0)
        return false;
    ended_ = std::chrono::steady_clock::now();
    pid_ = -1;
    return true;
}

ChildProcess::Outcome ChildProcess::outcome() {
    Outcome o;
    // A child that ended on its own just before the kill counts as ended, not killed.
    o.killed = WIFSIGNALED(rawStatus_) && WTERMSIG(rawStatus_) == SIGKILL;
    o.status = WIFEXITED(rawStatus_) ? WEXITSTATUS(rawStatus_) : -1;
    o.out = readAndRemove(outPath_);
    o.err = readAndRemove(errPath_);
    o.seconds = std::chrono::duration<double>(ended_ - started_).count();
    return o;
}

ChildProcess::Outcome ChildProcess::wait(std::chrono::milliseconds limit) {
    return killAfter(limit);
}

ChildProcess::Outcome ChildProcess::killAfter(std::chrono::microseconds delay) {
    const auto deadline = started_ + delay;
    // Short naps: a kill should land close to its moment, and an early end is seen at once.
    while (!reap(false)) {
        if (std::chrono::steady_clock::now() >= deadline) {
            ::kill(pid_, SIGKILL);
            reap(true);
            return outcome();
        }
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
    return outcome();
}

ChildProcess::Outcome ChildProcess::run(const QString& program, const QStringList& args,
                                        const QString& input) {
    return ChildProcess(program, args, input).wait();
}

} // namespace bom::reliability
