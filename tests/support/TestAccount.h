#pragma once

#include "db/Database.h"

#include <QString>
#include <gtest/gtest.h>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

// Failed comparisons of texts print the text, not its bytes.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace bom::test {

// The database kinds every database test runs on: SQLite always, PostgreSQL when
// BOM_TEST_PG_URL names a server.
std::vector<std::string> backends();

// A throwaway account address on one backend: a temporary SQLite file, or a new PostgreSQL
// database that is dropped again at the end.
class TestAccount {
public:
    explicit TestAccount(const std::string& backend);
    ~TestAccount();
    TestAccount(const TestAccount&) = delete;
    TestAccount& operator=(const TestAccount&) = delete;

    const QString& url() const { return url_; }
    // Creates the account (schema, configuration, operator "demo") with the demo data.
    std::unique_ptr<db::Database> createDemo();

private:
    std::string backend_;
    QString url_;
    QString path_;     // SQLite
    QString database_; // PostgreSQL
};

// Base of tests parameterised over the backends.
class BackendTest : public ::testing::TestWithParam<std::string> {
protected:
    void SetUp() override { account = std::make_unique<TestAccount>(GetParam()); }
    void TearDown() override { account.reset(); }
    std::unique_ptr<TestAccount> account;
};

// Runs a program, answers its exit status and what it printed on stdout and stderr.
struct ProcessResult {
    int status = -1;
    QString out;
    QString err;
};
ProcessResult runProgram(const QString& program, const QStringList& args,
                         const QStringList& extraEnv = {}, const QByteArray& input = {});

} // namespace bom::test

#define BOM_INSTANTIATE_BACKENDS(Suite)                                                            \
    INSTANTIATE_TEST_SUITE_P(Backends, Suite, ::testing::ValuesIn(::bom::test::backends()),        \
                             [](const auto& info) { return info.param; })

#include "entry/HeadlessSession.h"
#include "suite/Prompter.h"

namespace bom::test {

// A running headless session of one operator on a test account.
class TestSession {
public:
    TestSession(const QString& url, const QString& userId);
    entry::Session& session() { return headless_.session(); }
    db::Database& db() { return headless_.db(); }
    suite::ScriptedPrompter prompter;

private:
    entry::HeadlessSession headless_{prompter};
};

} // namespace bom::test
