#include "NodeTest.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <sstream>

namespace QUOR::test {
namespace {

using Limits = std::numeric_limits<double>;

TEST(Strings, AreMadeFromTexts) {
    EXPECT_STREQ(CString().Str(), "");
    EXPECT_TRUE(CString().IsEmpty());
    EXPECT_STREQ(CString("abc").Str(), "abc");
    EXPECT_STREQ(CString(static_cast<const char*>(nullptr)).Str(), "");
    EXPECT_EQ(CString(std::string("a\0b", 3)).Length(), 3U);
    EXPECT_EQ(CString("abcdef", 2), "ab");
    EXPECT_EQ(CString("abcdef", CString::NPOS), "abcdef");
    EXPECT_EQ(CString(nullptr, 3), "");
    const CString text("abc");
    const char* converted = text;
    EXPECT_EQ(converted, text.Str());
    EXPECT_EQ(text.Text(), "abc");
    std::ostringstream stream;
    stream << text << '!';
    EXPECT_EQ(stream.str(), "abc!");
}

TEST(Strings, AreComparedByteByByte) {
    const CString text("abc");
    EXPECT_TRUE(text.Equal("abc", 3));
    EXPECT_TRUE(text.Equal("abcdef", 3));
    EXPECT_FALSE(text.Equal("abc", 2));
    EXPECT_TRUE(text.Equal("abc"));
    EXPECT_TRUE(text.Equal("abc", CString::NPOS));
    EXPECT_FALSE(text.Equal("ABC"));
    EXPECT_FALSE(text.Equal(nullptr));
    EXPECT_TRUE(CString().Equal(nullptr));
    EXPECT_TRUE(text == CString("abc"));
    EXPECT_TRUE(text != CString("abd"));
    EXPECT_TRUE(text < CString("abd"));
    EXPECT_TRUE(CString("B") < CString("a"));
}

TEST(Strings, FillPlaceholdersInTheOrderOfTheirNumbers) {
    EXPECT_EQ(CString("sizes are %1 and %2").Arg("3").Arg("4"), "sizes are 3 and 4");
    EXPECT_EQ(CString("%2 before %1").Arg("a").Arg("b"), "b before a");
    EXPECT_EQ(CString("%3 %7 %5").Arg("a").Arg("b").Arg("c"), "a c b");
    EXPECT_EQ(CString("%1%1 and %2%1").Arg("a").Arg("b"), "aa and ba");
    EXPECT_EQ(CString("%1").Arg("a").Arg("b"), "a") << "an argument too many changes nothing";
    EXPECT_EQ(CString("none").Arg("a"), "none");
    EXPECT_EQ(CString("%1 %2").Arg("a"), "a %2") << "an argument too few leaves its placeholder";
}

TEST(Strings, ReadTwoDigitsAsOneNumber) {
    EXPECT_EQ(CString("%10 %9").Arg("nine").Arg("ten"), "ten nine");
    EXPECT_EQ(CString("%01 %2").Arg("one").Arg("two"), "one two");
    EXPECT_EQ(CString("%123").Arg("x"), "x3");
    EXPECT_EQ(CString("%0 %00 % %% %a %").Arg("x"), "%0 %00 % %% %a %");
    EXPECT_EQ(CString("100%1").Arg("x"), "100x");
}

TEST(Strings, SearchNoPlaceholdersInWhatTheyWereGiven) {
    EXPECT_EQ(CString("%1 %2").Arg("%2").Arg("b"), "%2 b");
    EXPECT_EQ(CString("%1 %2 %1").Arg("%1%2%3").Arg("%1"), "%1%2%3 %1 %1%2%3");
    EXPECT_EQ(CString("%1").Arg("%1").Arg("b"), "%1");
    EXPECT_EQ(CString("%2%1%3").Arg("%").Arg("1").Arg("2"), "1%2");
    EXPECT_EQ(CString("%1%2").Arg("").Arg("b"), "b");
    EXPECT_EQ(CString("%1%21").Arg("%").Arg("x"), "%x") << "%21 is one placeholder";
}

TEST(Strings, TakeTextsAndNumbersAsArguments) {
    EXPECT_EQ(CString("<%1>").Arg(static_cast<const char*>(nullptr)), "<>");
    EXPECT_EQ(CString("<%1>").Arg(std::string("text")), "<text>");
    EXPECT_EQ(CString("%1").Arg(std::numeric_limits<Long>::min(), 0), "-2147483648");
    EXPECT_EQ(CString("%1").Arg(std::numeric_limits<long long>::max(), 0), "9223372036854775807");
    EXPECT_EQ(CString("%1").Arg(0LL, 0), "0");
}

TEST(Strings, WriteFloatingNumbersWithSixDigitsAsAStreamDoes) {
    const std::vector<std::pair<double, const char*>> rows{{0.0, "0"},
                                                           {-0.0, "-0"},
                                                           {1.0, "1"},
                                                           {0.1, "0.1"},
                                                           {1.0 / 3.0, "0.333333"},
                                                           {123456.0, "123456"},
                                                           {1234567.0, "1.23457e+06"},
                                                           {0.0001, "0.0001"},
                                                           {0.00001, "1e-05"},
                                                           {-1e300, "-1e+300"},
                                                           {Limits::denorm_min(), "4.94066e-324"},
                                                           {Limits::infinity(), "inf"},
                                                           {-Limits::infinity(), "-inf"},
                                                           {Limits::quiet_NaN(), "nan"}};
    for (const auto& [number, expected] : rows) {
        EXPECT_EQ(CString("%1").Arg(number, 0), expected);
        std::ostringstream stream;
        stream << number;
        EXPECT_EQ(CString("%1").Arg(number, 0).Text(), stream.str());
    }
}

TEST(Strings, FillNumbersWithBlanksUpToTheWidth) {
    EXPECT_EQ(CString("<%1>").Arg(Long{42}, 5), "<   42>");
    EXPECT_EQ(CString("<%1>").Arg(-42LL, 5), "<  -42>");
    EXPECT_EQ(CString("<%1>").Arg(1.5, 6), "<   1.5>");
    EXPECT_EQ(CString("<%1>").Arg(Long{12345}, 3), "<12345>");
    EXPECT_EQ(CString("<%1>").Arg(Long{1}, -3), "<1>");
}

TEST(Strings, PrintByFormat) {
    CString text("old %1");
    EXPECT_EQ(&text.Printf("%d|%5.2f|%s|%%", 7, 1.5, "x"), &text);
    EXPECT_EQ(text, "7| 1.50|x|%");
    EXPECT_EQ(CString().Printf("%s", std::string(5000, 'a').c_str()).Length(), 5000U);
    text.Printf("%s%s", text.Str(), text.Str());
    EXPECT_EQ(text, "7| 1.50|x|%7| 1.50|x|%") << "the own text may be an argument";
    text.Arg("x").Printf("%s", "%1");
    EXPECT_EQ(text.Arg("y"), "y") << "what was filled in before the new text counts no more";
    EXPECT_EQ(text.Printf("%s", ""), "");
}

class UnwrapEnvVars : public testing::Test {
protected:
    UnwrapEnvVars() {
        ::setenv("VESSA_TEST_DIR", "/opt/here", 1);
        ::setenv("VESSA_TEST_EMPTY", "", 1);
        ::setenv("VESSA_TEST_PERCENT", "%VESSA_TEST_DIR%", 1);
        ::unsetenv("VESSA_TEST_UNSET");
    }
};

TEST_F(UnwrapEnvVars, PutsInTheValuesOfVariables) {
    EXPECT_EQ(CStringTools::UnwrapEnvVars("%VESSA_TEST_DIR%/doc"), "/opt/here/doc");
    EXPECT_EQ(CStringTools::UnwrapEnvVars("a%VESSA_TEST_DIR%b%VESSA_TEST_DIR%"), "a/opt/hereb/opt/here");
    EXPECT_EQ(CStringTools::UnwrapEnvVars("<%VESSA_TEST_EMPTY%>"), "<>");
    EXPECT_EQ(CStringTools::UnwrapEnvVars("%VESSA_TEST_PERCENT%"), "%VESSA_TEST_DIR%") << "values aren't searched";
    EXPECT_EQ(CStringTools::UnwrapEnvVars("%vessa_test_dir%"), "%vessa_test_dir%") << "names are case-sensitive";
}

TEST_F(UnwrapEnvVars, LeavesWhatNamesNoVariable) {
    for (const char* text : {"", "plain", "100%", "%", "%%", "%%%", "%VESSA_TEST_UNSET%/x", "50% of %VESSA_TEST_DIR"}) {
        EXPECT_EQ(CStringTools::UnwrapEnvVars(text), text);
    }
    EXPECT_EQ(CStringTools::UnwrapEnvVars(nullptr), "");
}

TEST_F(UnwrapEnvVars, ReadsAPercentSignThatClosesNothingAsAnOpeningOne) {
    EXPECT_EQ(CStringTools::UnwrapEnvVars("100% of %VESSA_TEST_DIR%"), "100% of /opt/here");
    EXPECT_EQ(CStringTools::UnwrapEnvVars("%VESSA_TEST_UNSET%VESSA_TEST_DIR%"), "%VESSA_TEST_UNSET/opt/here");
    EXPECT_EQ(CStringTools::UnwrapEnvVars("%%VESSA_TEST_DIR%%"), "%/opt/here%");
    EXPECT_EQ(CStringTools::UnwrapEnvVars("%VESSA_TEST_DIR%%VESSA_TEST_DIR%"), "/opt/here/opt/here");
}

} // namespace
} // namespace QUOR::test
