#pragma once

#include "TestAccount.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

namespace bom::test {

// The last line bomctl printed with --json: its result.
inline QJsonObject lastJson(const QString& out) {
    const QStringList lines = out.trimmed().split('\n');
    return QJsonDocument::fromJson(lines.last().toUtf8()).object();
}

// bomctl as a script meets it: a demo account it made itself, then commands run on it as an
// operator. BOMCTL_PATH comes from the test target.
class BomctlDemoTest : public BackendTest {
protected:
    void SetUp() override {
        BackendTest::SetUp();
        const auto init =
            bomctl({QStringLiteral("init"), account->url(), QStringLiteral("--demo")});
        ASSERT_EQ(init.status, 0) << init.err.toStdString();
    }
    static ProcessResult bomctl(const QStringList& args, const QByteArray& input = {}) {
        return runProgram(QStringLiteral(BOMCTL_PATH), args, {}, input);
    }
    QStringList withAccount(const char* user, QStringList args) const {
        return args << QStringLiteral("--db") << account->url() << QStringLiteral("--user")
                    << QLatin1String(user);
    }
    ProcessResult as(const char* user, const QStringList& args, const QByteArray& input = {}) {
        return bomctl(withAccount(user, args), input);
    }
};

} // namespace bom::test
