#include "NodeTest.h"

#include <algorithm>

namespace QUOR::test {
namespace {

TEST(Keys, AreANumberATextOrNothing) {
    const CValue_Key none;
    EXPECT_TRUE(none.IsNone());
    EXPECT_FALSE(none.IsIndex());
    EXPECT_FALSE(none.IsText());
    const CValue_Key number(-3);
    EXPECT_TRUE(number.IsIndex());
    EXPECT_FALSE(number.IsNone());
    EXPECT_EQ(number.Index(), -3);
    EXPECT_EQ(number.Text(), "");
    const CValue_Key text("0");
    EXPECT_TRUE(text.IsText());
    EXPECT_EQ(text.Text(), "0");
    EXPECT_EQ(text.Index(), 0);
    EXPECT_EQ(CValue_Key(1LL << 40).Index(), 1LL << 40);
    EXPECT_TRUE(CValue_Key(static_cast<const char*>(nullptr)).IsNone());
    EXPECT_TRUE(CValue_Key("").IsText());
    EXPECT_EQ(CValue_Key(std::string("a\0b", 3)).Text().size(), 3U);
}

TEST(Keys, ArePathsIfTheirTextHasASlash) {
    EXPECT_TRUE(CValue_Key("gui/order").IsPath());
    EXPECT_TRUE(CValue_Key("/").IsPath());
    EXPECT_TRUE(CValue_Key(std::string("\0/", 2)).IsPath());
    EXPECT_FALSE(CValue_Key("").IsPath());
    EXPECT_FALSE(CValue_Key("gui\\order").IsPath());
    EXPECT_FALSE(CValue_Key(3).IsPath());
    EXPECT_FALSE(CValue_Key(static_cast<const char*>(nullptr)).IsPath());
    EXPECT_FALSE(CValue_Key().IsPath());
}

TEST(Keys, AreEqualByKindAndContent) {
    EXPECT_EQ(CValue_Key(0), CValue_Key(0LL));
    EXPECT_NE(CValue_Key(0), CValue_Key("0"));
    EXPECT_NE(CValue_Key(0), CValue_Key());
    EXPECT_NE(CValue_Key(""), CValue_Key());
    EXPECT_EQ(CValue_Key("a"), CValue_Key(std::string("a")));
}

TEST(Keys, OrderNumbersByValueBeforeTextsByBytes) {
    std::vector<CValue_Key> keys{"b", "", 10, "a/b", "B", 9, -1, "a"};
    std::sort(keys.begin(), keys.end());
    EXPECT_EQ(keys, (std::vector<CValue_Key>{-1, 9, 10, "", "B", "a", "a/b", "b"}));
}

TEST(Keys, AreWrittenInMessages) {
    EXPECT_EQ(CValue_Key().ToString(), "(no key)");
    EXPECT_EQ(CValue_Key(-12).ToString(), "-12");
    EXPECT_EQ(CValue_Key("gui/order").ToString(), "'gui/order'");
}

} // namespace
} // namespace QUOR::test
