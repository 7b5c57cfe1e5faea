#include "app/ctl/CtlLine.h"

#include <gtest/gtest.h>

using namespace bom;

// The line as scripts write it: global options before the command, in both spellings, end up
// behind it; a line of options alone has no command and keeps them.
TEST(CtlLineTest, GlobalOptionsBeforeTheCommandMoveBehindItAndNoneIsLost) {
    const app::CtlLine line = app::splitCommandLine(
        {"--db", "sqlite:a.db", "--json", "--user=demo", "list", "--where", "cpspcode=BK200"});
    ASSERT_TRUE(line.command);
    EXPECT_EQ(*line.command, QStringLiteral("list"));
    EXPECT_EQ(line.words, (QStringList{"--db", "sqlite:a.db", "--json", "--user=demo", "--where",
                                       "cpspcode=BK200"}));

    const app::CtlLine bare = app::splitCommandLine({"--db=", "--yes"});
    EXPECT_FALSE(bare.command);
    EXPECT_EQ(bare.words, (QStringList{"--db=", "--yes"}));

    // A value-taking option at the end has no value: it is the command word, refused later.
    const app::CtlLine dangling = app::splitCommandLine({"--user"});
    ASSERT_TRUE(dangling.command);
    EXPECT_EQ(*dangling.command, QStringLiteral("--user"));
}

TEST(CtlLineTest, AnswersAreReadInOrderInAnyCaseAndOtherWordsAreLeftOut) {
    using Answer = suite::Prompter::Answer;
    EXPECT_EQ(app::parseAnswers(QStringLiteral("Y,no,maybe,C,yes")),
              (std::vector<Answer>{Answer::Yes, Answer::No, Answer::Cancel, Answer::Yes}));
    EXPECT_FALSE(app::parseAnswer(QStringLiteral("")));
}
