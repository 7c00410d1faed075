#include "Markup.h"

#include <gtest/gtest.h>
#include <ostream>

namespace vessa {
namespace {

/// The parts with the letter of their sort before them.
std::string Parts(std::string_view source) {
    std::string all;
    for (const StMarkupPart& part : MarkupParts(source)) {
        all += part.sort == StMarkupPart::EnSort::Text       ? "T["
               : part.sort == StMarkupPart::EnSort::Argument ? "A["
                                                             : "F[";
        all += part.text + "]";
    }
    return all;
}

TEST(Markup, ArgumentsAreSingleWords) {
    EXPECT_EQ(Parts("set to \\a X, by"), "T[set to ]A[X]T[, by]");
    EXPECT_EQ(Parts("is \\a 0.0. Then"), "T[is ]A[0.0]T[. Then]");
    EXPECT_EQ(Parts("(\\a -1)"), "T[(]A[-1]T[)]");
    EXPECT_EQ(Parts("\\a one\n\\a two"), "A[one]T[\n]A[two]");
    EXPECT_EQ(Parts("to \\a NO CHANGE."), "T[to ]A[NO]T[ CHANGE.]");
    EXPECT_EQ(Parts("\\a , x"), "T[, x]");
    EXPECT_EQ(Parts("x\\a "), "T[x]");
}

TEST(Markup, FormulasKeepTheirTex) {
    EXPECT_EQ(Parts("where \\f$n\\f$ slices"), "T[where ]F[n]T[ slices]");
    EXPECT_EQ(Parts("\\f$\\frac{a}{b}\\f$"), "F[\\frac{a}{b}]");
    EXPECT_EQ(Parts("open \\f$n"), "T[open n]");
    EXPECT_EQ(Parts("\\f$\\f$x"), "T[x]");
}

TEST(Markup, OtherBackslashesAreText) {
    EXPECT_EQ(Parts("one \\\ntwo"), "T[one \ntwo]");
    EXPECT_EQ(Parts("end\\"), "T[end]");
    EXPECT_EQ(Parts("\\alpha C:\\x"), "T[\\alpha C:\\x]");
    EXPECT_EQ(Parts(""), "");
}

TEST(Markup, PlainTextHasNoMarks) {
    EXPECT_EQ(CMarkup("set to \\a X, by").Plain(), "set to X, by");
    EXPECT_EQ(CMarkup("where \\f$n\\f$ slices").Plain(), "where n slices");
    EXPECT_EQ(CMarkup("one \\\ntwo").Plain(), "one \ntwo");
    EXPECT_EQ(CMarkup("\\f$\\frac{a}{b}\\f$ \\alpha C:\\x").Plain(), "\\frac{a}{b} \\alpha C:\\x");
    EXPECT_EQ(CMarkup(" a\n\n \\a b ").Line(), "a b");
    EXPECT_EQ(CMarkup("\\a b").Source(), "\\a b");
}

} // namespace
} // namespace vessa
