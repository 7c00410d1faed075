#include "ParameterValue.h"

#include "Errors.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace vessa {
namespace {

using namespace QUOR;

/// The kind and the value as a text, or what is wrong with it.
template <class Work> std::string Shown(const Work& work) {
    try {
        const std::unique_ptr<CValue> value = work();
        return std::string(KindWord(value->GenericType())) + " " + FormatValue(*value);
    } catch (const CUseError& failure) {
        return failure.what();
    }
}

std::string Parsed(EnValType kind, const std::string& text) {
    return Shown([&] { return ParseValue(kind, text); });
}

std::string Guessed(const std::string& text) {
    return Shown([&] { return GuessValue(text); });
}

TEST(ParameterValue, Bools) {
    EXPECT_EQ(Parsed(EnValType::Bool, "true"), "bool true");
    EXPECT_EQ(Parsed(EnValType::Bool, "false"), "bool false");
    for (const std::string text : {"", "1", "True", "yes", "false "}) {
        EXPECT_EQ(Parsed(EnValType::Bool, text), "'" + text + "' is no bool: true or false");
    }
}

TEST(ParameterValue, Longs) {
    EXPECT_EQ(Parsed(EnValType::Long, "0"), "long 0");
    EXPECT_EQ(Parsed(EnValType::Long, "-5"), "long -5");
    EXPECT_EQ(Parsed(EnValType::Long, "+5"), "long 5");
    EXPECT_EQ(Parsed(EnValType::Long, "2147483647"), "long 2147483647");
    EXPECT_EQ(Parsed(EnValType::Long, "-2147483648"), "long -2147483648");
    for (const std::string text : {"2147483648", "-2147483649", "99999999999999999999"}) {
        EXPECT_EQ(Parsed(EnValType::Long, text),
                  "'" + text + "' is out of range: a whole number from -2147483648 to 2147483647");
    }
    for (const std::string text : {"", "2.5", "3.0", "1e3", "0x10", "5 ", " 5", "--5", "+-5", "five", "2147483648x"}) {
        EXPECT_EQ(Parsed(EnValType::Long, text),
                  "'" + text + "' is no long: a whole number from -2147483648 to 2147483647");
    }
}

TEST(ParameterValue, Doubles) {
    EXPECT_EQ(Parsed(EnValType::Double, "3"), "double 3");
    EXPECT_EQ(Parsed(EnValType::Double, "-.5"), "double -0.5");
    EXPECT_EQ(Parsed(EnValType::Double, "+1e-3"), "double 0.001");
    EXPECT_EQ(Parsed(EnValType::Double, "0.1"), "double 0.1");
    EXPECT_EQ(Parsed(EnValType::Double, "3000000000"), "double 3e+09");
    EXPECT_EQ(Parsed(EnValType::Double, "-inf"), "double -inf");
    EXPECT_TRUE(std::isnan(ParseValue(EnValType::Double, "nan")->Double()));
    EXPECT_TRUE(std::signbit(ParseValue(EnValType::Double, "-0")->Double()));
    EXPECT_EQ(Parsed(EnValType::Double, "1e999"), "'1e999' is out of range: a number such as 3, -0.5 or 1e-3");
    for (const std::string text : {"", "1,5", "1.5x", "half", " 1"}) {
        EXPECT_EQ(Parsed(EnValType::Double, text), "'" + text + "' is no double: a number such as 3, -0.5 or 1e-3");
    }
}

TEST(ParameterValue, Strings) {
    EXPECT_EQ(Parsed(EnValType::String, "-5"), "string -5");
    EXPECT_EQ(Parsed(EnValType::String, ""), "string \"\"");
}

TEST(ParameterValue, OtherKindsHaveNoText) {
    EXPECT_EQ(Parsed(EnValType::Map, "{}"), "a map can't be given as a text");
    EXPECT_EQ(FormatValue(CValueMap()), "a map");
}

TEST(ParameterValue, AllowedTextsAreCheckedToTheLetter) {
    StParameter parameter;
    parameter.standard = std::make_shared<CValueString>(CString("X"));
    parameter.allowed = {"X", "Y Z"};
    const auto parsed = [&](const std::string& text) { return Shown([&] { return ParseValue(parameter, text); }); };
    EXPECT_EQ(parsed("Y Z"), "string Y Z");
    EXPECT_EQ(parsed("x"), "'x' is not allowed: one of X, Y Z");
    EXPECT_EQ(parsed(""), "'' is not allowed: one of X, Y Z");
}

TEST(ParameterValue, AValueShowsItsKind) {
    EXPECT_EQ(Guessed("true"), "bool true");
    EXPECT_EQ(Guessed("false"), "bool false");
    EXPECT_EQ(Guessed("-3"), "long -3");
    EXPECT_EQ(Guessed("2.5"), "double 2.5");
    EXPECT_EQ(Guessed("3.0"), "double 3");
    EXPECT_EQ(Guessed("1e3"), "double 1000");
    EXPECT_EQ(Guessed("True"), "string True");
    EXPECT_EQ(Guessed("nan"), "string nan");
    EXPECT_EQ(Guessed("inf"), "string inf");
    EXPECT_EQ(Guessed("1.5x"), "string 1.5x");
    EXPECT_EQ(Guessed(""), "string \"\"");
    EXPECT_EQ(Guessed("3000000000"), "'3000000000' is out of range: a whole number from -2147483648 to 2147483647");
}

TEST(ParameterValue, KindsAreNamed) {
    for (const EnValType kind : {EnValType::Bool, EnValType::Long, EnValType::Double, EnValType::String}) {
        EXPECT_EQ(KindOf(KindWord(kind)), kind);
    }
    EXPECT_FALSE(KindOf("map"));
    EXPECT_FALSE(KindOf("Long"));
}

TEST(ParameterValue, NumbersAreShownInTheShortestForm) {
    EXPECT_EQ(FormatValue(CValueDouble(0.0)), "0");
    EXPECT_EQ(FormatValue(CValueDouble(-0.1)), "-0.1");
    EXPECT_EQ(FormatValue(CValueDouble(std::numeric_limits<double>::lowest())), "-1.7976931348623157e+308");
    EXPECT_EQ(FormatValue(CValueDouble(-2.2250738585072014e-308)), "-2.2250738585072014e-308");
}

std::string SizeError(const std::string& text) {
    try {
        return "the size " + std::to_string(ParseByteSize(text));
    } catch (const CUseError& failure) {
        return failure.what();
    }
}

TEST(ParameterValue, SizesHaveUnits) {
    const std::vector<std::pair<const char*, std::uint64_t>> sizes{
        {"0", 0},
        {"1", 1},
        {"007", 7},
        {"18446744073709551615", 18446744073709551615U},
        {"1K", 1024},
        {"1KiB", 1024},
        {"512M", 536870912},
        {"512MiB", 536870912},
        {"4G", 4294967296},
        {"1.5GiB", 1610612736},
        {"0.25T", 274877906944},
        {"2T", 2199023255552},
        {"0.1K", 102},           // 102.4
        {"3.9999999999K", 4095}, // a part of a byte is dropped
        {"0.99999999999999999999999T", 1099511627775},
        {"16777215.99999999999999999999T", 18446744073709551615U},
    };
    for (const auto& [text, bytes] : sizes) {
        EXPECT_EQ(ParseByteSize(text), bytes) << text;
    }
}

TEST(ParameterValue, WhatIsNoSizeIsRefused) {
    for (const char* text : {"",   "K",  "x",   "-1", "+1",  "1.5",   "1.", "1.G",  ".5G", "1e9", "1 G",  " 1",
                             "1 ", "1g", "1MB", "1B", "1Gi", "1GiBs", "1P", "0x10", "inf", "nan", "1,5G", "1.5.5G"}) {
        EXPECT_EQ(SizeError(text), "'" + std::string(text) +
                                       "' is no size: a number of bytes, or one of K, M, G or T as in 512M or 1.5GiB, "
                                       "where K is 1024 bytes and each next one 1024 times as much");
    }
    for (const char* text : {"18446744073709551616", "18014398509481984K", "16777216T", "99999999999999999999999G"}) {
        EXPECT_EQ(SizeError(text), "'" + std::string(text) + "' is out of range: a size of less than 2^64 bytes");
    }
}

} // namespace
} // namespace vessa
