// Test helper: signs in, takes the function lock as a session would, says so, and waits to be
// killed, so that tests can leave a lock behind a crashed holder.
#include "suite/Login.h"
#include "suite/PublicService.h"

#include <QCoreApplication>
#include <QThread>
#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc < 3)
        return 2;
    QString error;
    auto login = bom::suite::Login::SignIn(QString::fromLocal8Bit(argv[1]),
                                           QString::fromLocal8Bit(argv[2]), QString(), &error);
    if (!login) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 3;
    }
    QString refusal;
    const bool shared = bom::suite::PublicService::functionLockShared(login->connection());
    if (!login->locks().acquire(QStringLiteral("ProductStructure"), shared, &refusal)) {
        std::fprintf(stderr, "%s\n", qPrintable(refusal));
        return 1;
    }
    std::puts("held");
    std::fflush(stdout);
    QThread::sleep(600);
    return 0;
}
