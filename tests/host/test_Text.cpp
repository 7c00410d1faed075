#include "Text.h"

#include "Errors.h"
#include "Printable.h"

#include <gtest/gtest.h>

namespace vessa {
namespace {

TEST(Text, EditDistanceCountsLetters) {
    EXPECT_EQ(EditDistance("", ""), 0U);
    EXPECT_EQ(EditDistance("", "abc"), 3U);
    EXPECT_EQ(EditDistance("abc", ""), 3U);
    EXPECT_EQ(EditDistance("flip_x", "flp_x"), 1U);
    EXPECT_EQ(EditDistance("flip_x", "flip_y"), 1U);
    EXPECT_EQ(EditDistance("kitten", "sitting"), 3U);
    EXPECT_EQ(EditDistance("FLIP", "flip"), 0U);
}

TEST(Text, NearestIsTheFirstOfTheNearest) {
    EXPECT_EQ(Nearest("flip_w", {"size", "flip_x", "flip_y"}), "flip_x");
    EXPECT_EQ(Nearest("SIZE", {"flip_x", "size"}), "size");
    EXPECT_EQ(Nearest("x", {}), "");
    EXPECT_EQ(NearestHint("x", {"y"}), ", the nearest one is 'y'");
    EXPECT_EQ(NearestHint("x", {}), "");
}

TEST(Text, ListsAreSplitAndJoined) {
    EXPECT_EQ(SplitList("A, B,C ,  D D"), (std::vector<std::string>{"A", "B", "C", "D D"}));
    EXPECT_TRUE(SplitList("").empty());
    EXPECT_EQ(Join({"a", "b", "c"}, ", "), "a, b, c");
    EXPECT_EQ(Join({}, ", "), "");
    EXPECT_EQ(Join({"a", "a"}, "/"), "a/a");
}

TEST(Text, ANameThatIsNoSlipHasNoNearest) {
    EXPECT_EQ(NearestHint(std::string(256, 'F'), {"Flip"}), ", the nearest one is 'Flip'");
    EXPECT_EQ(NearestHint(std::string(257, 'F'), {"Flip"}), "");
    EXPECT_EQ(NearestHint("Flup", {}), "");
}

TEST(Text, LongTextsKeepTheirEnds) {
    EXPECT_EQ(Shortened("0123456789abcdef", 16), "0123456789abcdef");
    EXPECT_EQ(Shortened("0123456789abcdefg", 16), "01234 ... cdefg");
    EXPECT_EQ(FailureLine(std::string(1999, 'a') + std::string(2001, 'b')),
              "vessa: " + std::string(1999, 'a') + std::string(2001, 'b') + "\n");
    EXPECT_EQ(FailureLine(std::string(2000, 'a') + std::string(2001, 'b')),
              "vessa: " + std::string(1997, 'a') + " ... " + std::string(1997, 'b') + "\n");
}

TEST(Text, OneLineHasSingleBlanks) {
    EXPECT_EQ(OneLine("  a\n\n b\t c \n"), "a b c");
    EXPECT_EQ(OneLine(" \n"), "");
}

TEST(Text, WrapFillsParagraphs) {
    EXPECT_EQ(Wrap("one two\nthree four", 0, 9), "one two\nthree\nfour\n");
    EXPECT_EQ(Wrap("one two\nthree four", 2, 80), "  one two three four\n");
    EXPECT_EQ(Wrap("\n\none\n\n\ntwo\n\n", 1, 80), " one\n\n two\n");
    EXPECT_EQ(Wrap("list:\n- a\n  more\n* b\nend", 0, 80), "list:\n- a\nmore\n* b end\n");
    EXPECT_EQ(Wrap("muchlongerthanwide a", 1, 5), " muchlongerthanwide\n a\n");
    EXPECT_EQ(Wrap("exact fit", 1, 10), " exact fit\n");
    EXPECT_EQ(Wrap("", 4, 80), "");
}

TEST(Text, EqualTextsHaveNoCase) {
    EXPECT_TRUE(EqualsAnyCase("", ""));
    EXPECT_TRUE(EqualsAnyCase("Flip_X2", "fLIP_x2"));
    EXPECT_FALSE(EqualsAnyCase("flip", "flop"));
    EXPECT_FALSE(EqualsAnyCase("flip", "flip_x"));
    EXPECT_FALSE(EqualsAnyCase("flip_x", "flip"));
    EXPECT_FALSE(EqualsAnyCase("x_flip", "flip"));
}

TEST(Text, EndingsHaveNoCase) {
    EXPECT_TRUE(EndsWithAnyCase("a.JSON", ".json"));
    EXPECT_TRUE(EndsWithAnyCase(".json", ".json"));
    EXPECT_FALSE(EndsWithAnyCase("json", ".json"));
    EXPECT_FALSE(EndsWithAnyCase("a.json2", ".json"));
}

} // namespace
} // namespace vessa
