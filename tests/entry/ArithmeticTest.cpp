#include "entry/Arithmetic.h"

#include <gtest/gtest.h>

using bom::entry::EvaluateArithmetic;
using bom::entry::FormatCalculated;

// The calculator drop-down: precedence, signs, exponents; what is no sum gives nothing.
TEST(ArithmeticTest, WorksOutSumsAndRefusesWhatIsNone) {
    EXPECT_EQ(EvaluateArithmetic(QStringLiteral(" 2 + 3*4 ")), 14.0);
    EXPECT_EQ(EvaluateArithmetic(QStringLiteral("(2+3)*4/-2")), -10.0);
    EXPECT_EQ(EvaluateArithmetic(QStringLiteral("1.5e2-+1")), 149.0);
    EXPECT_EQ(EvaluateArithmetic(QStringLiteral("--3")), 3.0);
    for (const char* bad : {"", "1/0", "2*", "(1+2", "1+2)", "abc", "1..2", "3 4", "1e"})
        EXPECT_EQ(EvaluateArithmetic(QString::fromLatin1(bad)), std::nullopt) << bad;

    EXPECT_EQ(FormatCalculated(1.005, 2), QStringLiteral("1.00"));
    EXPECT_EQ(FormatCalculated(2.5, 0), QStringLiteral("3"));
    EXPECT_EQ(FormatCalculated(1e20, 2), QStringLiteral("1e+20"));
}
