#include "Html.h"

#include "DocText.h"
#include "MathMl.h"

#include <gtest/gtest.h>

namespace vessa {
namespace {

TEST(Html, TextsAreEscaped) {
    EXPECT_EQ(Escaped("a < b && \"c\" > 'd'"), "a &lt; b &amp;&amp; &quot;c&quot; &gt; 'd'");
    EXPECT_EQ(Escaped("\xc3\xa4"), "\xc3\xa4");
    EXPECT_EQ(Code("<k>"), "<code>&lt;k&gt;</code>");
}

TEST(Html, ElementsTakeAttributesAsTextsAndContentAsHtml) {
    EXPECT_EQ(Tag("br"), "<br>");
    EXPECT_EQ(Tag("img", {{"alt", "a \"b\""}, {"width", "3"}}), "<img alt=\"a &quot;b&quot;\" width=\"3\">");
    EXPECT_EQ(Element("p", "<b>x</b>"), "<p><b>x</b></p>");
    EXPECT_EQ(Element("a", {{"href", "x?a&b"}}, "y"), "<a href=\"x?a&amp;b\">y</a>");
    EXPECT_EQ(ElementLine("p", "x"), "<p>x</p>\n");
    EXPECT_EQ(ElementBlock("ul", {{"class", "c"}}, "<li>x</li>\n"), "<ul class=\"c\">\n<li>x</li>\n</ul>\n");
}

TEST(Html, LinksAreRelativeAndEncoded) {
    EXPECT_EQ(LinkBetween("index.html", "a/b.html"), "a/b.html");
    EXPECT_EQ(LinkBetween("a/b/index.html", "index.html"), "../../index.html");
    EXPECT_EQ(LinkBetween("a/b/index.html", "a/c/d.png"), "../c/d.png");
    EXPECT_EQ(LinkBetween("index.html", "a b/c#d?%.html"), "a%20b/c%23d%3F%25.html");
    EXPECT_EQ(LinkBetween("index.html", "\xc3\xa4.html"), "%C3%A4.html");
}

TEST(Html, AnchorsHaveNoBlanks) {
    EXPECT_EQ(Anchor("slice-wise"), "slice-wise");
    EXPECT_EQ(Anchor("a b/c.d"), "a_b_c_d");
}

TEST(MathMl, LettersNumbersAndOperators) {
    EXPECT_EQ(MathMl("n"), "<math><mi>n</mi></math>");
    EXPECT_EQ(MathMl("2.5x < y"), "<math><mn>2.5</mn><mi>x</mi><mo>&lt;</mo><mi>y</mi></math>");
    EXPECT_EQ(MathMl(""), "<math></math>");
}

TEST(MathMl, IndicesAndExponents) {
    EXPECT_EQ(MathMl("k_1"), "<math><msub><mi>k</mi><mn>1</mn></msub></math>");
    EXPECT_EQ(MathMl("x^{10 n}"), "<math><msup><mi>x</mi><mrow><mn>10</mn><mi>n</mi></mrow></msup></math>");
    EXPECT_EQ(MathMl("x_i^2"), "<math><msubsup><mi>x</mi><mi>i</mi><mn>2</mn></msubsup></math>");
}

TEST(MathMl, Commands) {
    EXPECT_EQ(MathMl("\\frac{a}{b+1}"), "<math><mfrac><mrow><mi>a</mi></mrow>"
                                        "<mrow><mi>b</mi><mo>+</mo><mn>1</mn></mrow></mfrac></math>");
    EXPECT_EQ(MathMl("\\frac12"), "<math><mfrac><mn>12</mn><mrow></mrow></mfrac></math>");
    EXPECT_EQ(MathMl("\\sqrt{\\alpha}"), "<math><msqrt><mrow><mi>\u03b1</mi></mrow></msqrt></math>");
    EXPECT_EQ(MathMl("a \\le b"), "<math><mi>a</mi><mo>\u2264</mo><mi>b</mi></math>");
    EXPECT_EQ(MathMl("\\unheard"), "<math><mtext>unheard</mtext></math>");
}

TEST(MathMl, OddTexIsTakenAsItCan) {
    EXPECT_EQ(MathMl("{a"), "<math><mrow><mi>a</mi></mrow></math>");
    EXPECT_EQ(MathMl("a}b"), "<math><mi>a</mi><mo>}</mo><mi>b</mi></math>");
    EXPECT_EQ(MathMl("x_"), "<math><msub><mi>x</mi><mrow></mrow></msub></math>");
    EXPECT_EQ(MathMl("\\"), "<math><mo>\\</mo></math>");
    const std::string deep = MathMl(std::string(100000, '{'));
    EXPECT_EQ(deep.substr(0, 18), "<math><mrow><mrow>");
    EXPECT_NE(deep.find("<mrow><mo>{</mo><mo>{</mo>"), std::string::npos);
    EXPECT_NE(MathMl(std::string(300000, '_')).size(), 0U);
}

TEST(DocText, MarksBecomeElements) {
    EXPECT_EQ(LineHtml(CMarkup("set to \\a a<b,\nwith \\f$n\\f$ & more")),
              "set to <em>a&lt;b</em>, with <math><mi>n</mi></math> &amp; more");
}

TEST(DocText, BlankLinesPartParagraphs) {
    EXPECT_EQ(ParagraphsHtml(CMarkup("\n\none\ntwo \\\n\n\nthree\n"), {}), "<p>one\ntwo </p>\n<p>three</p>\n");
    EXPECT_EQ(ParagraphsHtml(CMarkup(" \n"), {}), "");
}

TEST(DocText, ItemsBeginLines) {
    EXPECT_EQ(ParagraphsHtml(CMarkup("list:\n- one\n  more\n* two\nAll end."), {}),
              "<p>list:<br>\n- one\nmore<br>\n* two<br>\nAll end.</p>\n");
    EXPECT_EQ(ParagraphsHtml(CMarkup("Modes:\nMAX: most\nMIN, least\nMAXIMAL too\nEnd."), {"MAX", "MIN"}),
              "<p>Modes:<br>\nMAX: most<br>\nMIN, least<br>\nMAXIMAL too<br>\nEnd.</p>\n");
    EXPECT_EQ(ParagraphsHtml(CMarkup("one\nTwo"), {}), "<p>one\nTwo</p>\n");
}

} // namespace
} // namespace vessa
