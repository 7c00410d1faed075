#include "FileTest.h"

#include "JsonValue.h"

#include <cmath>
#include <limits>

namespace vessa::test {
namespace {

using JsonValue = FileTest;
using QUOR::CValueBool;
using QUOR::CValueDouble;
using QUOR::CValueLong;
using QUOR::CValueString;
using QUOR::CValueVector;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::string Text(const CValueMap& map) { return JsonFromMap(map, "x.json"); }

/// The map of a text; fails the test and gives an empty one for a text that isn't valid.
std::unique_ptr<CValueMap> Parse(const std::string& text) {
    try {
        return MapFromJson(text, "x.json");
    } catch (const CFileError& failure) {
        ADD_FAILURE() << failure.what();
        return std::make_unique<CValueMap>();
    }
}

std::string ParseError(const std::string& text) {
    try {
        MapFromJson(text, "x.json");
        return "";
    } catch (const CFileError& failure) {
        return failure.what();
    }
}

std::string TextError(const CValueMap& map) {
    try {
        Text(map);
        return "";
    } catch (const CFileError& failure) {
        return failure.what();
    }
}

TEST_F(JsonValue, KindsAreWrittenSoThatTheyComeBack) {
    CValueMap map;
    map.SetEntry("bool", new CValueBool(true));
    map.SetEntry("long", new CValueLong(-5));
    map.SetEntry("double", new CValueDouble(2.0));
    map.SetEntry("text", new CValueString("a\"b\n"));
    map.SetEntry("map/inner", new CValueMap);
    auto* vector = new CValueVector;
    map.SetEntry("vector", vector);
    vector->SetEntry(2, new CValueLong(7));
    EXPECT_EQ(Text(map), R"({"bool":true,"double":2.0,"long":-5,"map":{"inner":{}},)"
                         R"("text":"a\"b\n","vector":[null,null,7]})");
    EXPECT_TRUE(Parse(Text(map))->Equal(map));
}

TEST_F(JsonValue, NumbersComeBackBitForBit) {
    std::mt19937_64 random(1);
    std::vector<double> numbers{0.0,
                                -0.0,
                                1.0,
                                -3.0,
                                0.1,
                                1e22,
                                1e300,
                                5e-324,
                                -2.2250738585072014e-308,
                                1e15,
                                1e16,
                                123456789,
                                std::numeric_limits<double>::max(),
                                1e-300,
                                1e17,
                                4294967296.0};
    for (int i = 0; i < 2000; ++i) {
        const auto number = std::bit_cast<double>(random());
        numbers.push_back(std::isfinite(number) ? number : 1.5);
    }
    for (const double number : numbers) {
        CValueMap map;
        map.SetEntry("a", new CValueDouble(number));
        const auto back = Parse(Text(map));
        ASSERT_TRUE(back->HasEntry("a", EnValType::Double)) << Text(map);
        EXPECT_EQ(std::bit_cast<std::uint64_t>(back->EntryDouble("a")), std::bit_cast<std::uint64_t>(number));
    }
    for (const QUOR::Long number :
         {0, 1, -1, std::numeric_limits<QUOR::Long>::max(), std::numeric_limits<QUOR::Long>::min()}) {
        CValueMap map;
        map.SetEntry("a", new CValueLong(number));
        const auto back = Parse(Text(map));
        ASSERT_TRUE(back->HasEntry("a", EnValType::Long));
        EXPECT_EQ(back->EntryLong("a"), number);
    }
}

TEST_F(JsonValue, NumbersThatArentFiniteHaveAForm) {
    CValueMap map;
    map.SetEntry("a", new CValueDouble(kInfinity));
    map.SetEntry("b", new CValueDouble(-kInfinity));
    map.SetEntry("c", new CValueDouble(std::nan("")));
    EXPECT_EQ(Text(map), R"({"a":{"$double":"inf"},"b":{"$double":"-inf"},"c":{"$double":"nan"}})");
    const auto back = Parse(Text(map));
    EXPECT_EQ(back->EntryDouble("a"), kInfinity);
    EXPECT_EQ(back->EntryDouble("b"), -kInfinity);
    ASSERT_TRUE(back->HasEntry("c", EnValType::Double));
    EXPECT_TRUE(std::isnan(back->EntryDouble("c")));
}

TEST_F(JsonValue, KeysComeBackAsTheyWere) {
    CValueMap map;
    long long number = 0;
    for (const char* key :
         {"", "plain", "$", "$$", "$double", "$int:3", "$$int:3", "a$b", "\xc3\xa4", "0", "-1", "a b"}) {
        map.SetEntry(key, new CValueLong(static_cast<QUOR::Long>(number++)));
    }
    for (const long long key :
         {0LL, 3LL, -3LL, std::numeric_limits<long long>::min(), std::numeric_limits<long long>::max()}) {
        map.SetEntry(key, new CValueLong(static_cast<QUOR::Long>(number++)));
    }
    EXPECT_TRUE(Parse(Text(map))->Equal(map)) << Text(map);
    CValueMap two;
    two.SetEntry("$a", new CValueLong(1));
    two.SetEntry(3, new CValueLong(2));
    EXPECT_EQ(Text(two), R"({"$$a":1,"$int:3":2})");
}

TEST_F(JsonValue, TextsComeBackAsTheyWere) {
    for (const std::string& text : {std::string(), std::string("a\0b", 3), std::string("\xf0\x9f\x98\x80\x7f\x1f\t"),
                                    std::string("\\u0041\"/")}) {
        CValueMap map;
        map.SetEntry("a", new CValueString(text.data(), text.size()));
        EXPECT_EQ(Parse(Text(map))->EntryString("a", "").Text(), text);
    }
}

TEST_F(JsonValue, ReadsTheKindFromTheForm) {
    const auto map = Parse(R"( {"a": 1, "b": 1.0, "c": 1e2, "d": 1E2, "e": -0, "f": [[], {}, null, "x", false]} )");
    EXPECT_TRUE(map->HasEntry("a", EnValType::Long));
    EXPECT_TRUE(map->HasEntry("b", EnValType::Double));
    EXPECT_TRUE(map->HasEntry("c", EnValType::Double));
    EXPECT_EQ(map->EntryDouble("d"), 100.0);
    EXPECT_TRUE(map->HasEntry("e", EnValType::Long));
    const CValueVector& vector = *map->Entry("f", true)->Vector();
    EXPECT_EQ(vector.Size(), 5U);
    EXPECT_TRUE(vector.HasEntry(0, EnValType::Vector));
    EXPECT_TRUE(vector.HasEntry(1, EnValType::Map));
    EXPECT_EQ(vector.Entry(2, false), nullptr);
    EXPECT_TRUE(vector.HasEntry(3, EnValType::String));
    EXPECT_TRUE(vector.HasEntry(4, EnValType::Bool));
}

TEST_F(JsonValue, RefusesWhatNoMapHolds) {
    const std::string top = "x.json: the JSON is no object: a map is needed";
    for (const char* text : {"[]", "1", "\"a\"", "null", "true", "1.5", "{\"$double\": \"nan\"}"}) {
        EXPECT_EQ(ParseError(text), top) << text;
    }
    const std::string range = ", which doesn't fit 32 bits: a floating number has a '.' or an exponent";
    EXPECT_EQ(ParseError(R"({"a": {"b": 2147483648}})"), "x.json: the entry a/b is the integer 2147483648" + range);
    EXPECT_EQ(ParseError(R"({"a": [1, -2147483649]})"), "x.json: the entry a/1 is the integer -2147483649" + range);
    EXPECT_EQ(ParseError(R"({"a": 123456789012345678901})"),
              "x.json: the entry a is the integer 123456789012345678901" + range);
    EXPECT_EQ(ParseError(R"({"a": 18446744073709551615})"),
              "x.json: the entry a is the integer 18446744073709551615" + range);
    EXPECT_EQ(ParseError(R"({"a": null})"),
              "x.json: the entry a is null, which stands for an empty slot of a vector only");
    EXPECT_EQ(ParseError(R"({"a": {"b": 1, "b": 2}})"), "x.json: the entry a/b stands twice in its map");
    EXPECT_EQ(ParseError(R"({"a/b": 1})"),
              "x.json: the entry a/b has a key with '/', which would be a path through maps");
    EXPECT_EQ(ParseError(R"({"ä\n": null})"),
              "x.json: the entry \\xc3\\xa4\\x0a is null, which stands for an empty slot of a vector only");
    const std::string form =
        " has an unknown form: \"$double\", \"$int:N\", \"$schema\" and keys with \"$$\" are known";
    for (const char* key : {"$", "$a", "$int", "$int:", "$int:x", "$int:01", "$int:1 ", "$int:+1", "$int:-0",
                            "$int:9223372036854775808", "$doubles", "$schemas", "$Schema"}) {
        EXPECT_EQ(ParseError(std::string("{\"") + key + "\": 1}"), std::string("x.json: the entry ") + key + form);
    }
    const std::string number =
        "x.json: the entry a/$double is no number: \"$double\" stands alone, with \"nan\", \"inf\" or \"-inf\"";
    for (const char* inner : {R"({"$double": "NaN"})", R"({"$double": 1})", R"({"$double": []})", R"({"$double": {}})",
                              R"({"b": 1, "$double": "nan"})", R"({"$double": "nan", "b": 1})",
                              R"({"$double": "nan", "$double": "nan"})", R"({"$double": null})"}) {
        const std::string error = ParseError(std::string("{\"a\": ") + inner + "}");
        EXPECT_TRUE(error.starts_with("x.json: the entry a")) << inner << " " << error;
        EXPECT_NE(error.find(" is n"), std::string::npos) << inner << " " << error;
    }
    EXPECT_EQ(ParseError(R"({"a": {"$double": "NaN"}})"), number);
}

TEST_F(JsonValue, NamesThePlaceOfABrokenText) {
    EXPECT_EQ(ParseError("{\n  \"a\": nul\n}"),
              "x.json: no valid JSON in line 2, column 11: syntax error while parsing value - invalid literal; last "
              "read: '\"a\": nul<U+000A>'");
    EXPECT_EQ(ParseError(""),
              "x.json: no valid JSON in line 1, column 1: syntax error while parsing value - unexpected "
              "end of input; expected '[', '{', or a literal");
    for (const char* text : {"{", "{}x", "{\"a\": 1,}", "{'a': 1}", "{\"a\": NaN}", "{\"a\": 01}", "{\"a\": \"\xff\"}",
                             "{\"a\": \"\\ud800\"}", "{\"a\": 1e999}", "{\"a\": \"\n\"}", "{} {}"}) {
        EXPECT_TRUE(ParseError(text).starts_with("x.json: no valid JSON in line 1, column ")) << ParseError(text);
        EXPECT_EQ(ParseError(text).find_first_of("\n\xff"), std::string::npos);
    }
    EXPECT_NE(ParseError("{\"a\": 1e999}").find("number overflow"), std::string::npos);
}

TEST_F(JsonValue, NestingHasALimit) {
    CValueMap map;
    std::string path = "a";
    for (std::size_t level = 2; level < kMostLevels; ++level) {
        path += "/a";
    }
    map.SetEntry(CValue_Key(path), new CValueMap); // the map itself is the first level
    EXPECT_TRUE(Parse(Text(map))->Equal(map));
    const std::string tooDeep = "x.json: maps and vectors are nested deeper than 64 levels";
    map.SetEntry(CValue_Key(path + "/a"), new CValueVector);
    EXPECT_EQ(TextError(map), tooDeep);
    map.SetEntry(CValue_Key(path + "/a"), new CValueDouble(0.5));
    EXPECT_TRUE(Parse(Text(map))->Equal(map));
    map.SetEntry(CValue_Key(path + "/a"), new CValueDouble(kInfinity)); // written as a map
    EXPECT_EQ(TextError(map), tooDeep);
    const auto nested = [](std::size_t vectors) {
        return "{\"a\":" + std::string(vectors, '[') + std::string(vectors, ']') + "}";
    };
    EXPECT_EQ(ParseError(nested(kMostLevels - 1)), "");
    EXPECT_EQ(ParseError(nested(kMostLevels)), tooDeep);
    const std::string deep = "{\"a\":" + std::string(1000000, '[');
    EXPECT_EQ(ParseError(deep), tooDeep);
}

TEST_F(JsonValue, RefusesValuesThatJsonLacks) {
    CValueMap map;
    auto* vector = new CValueVector;
    map.SetEntry("a/b", vector);
    vector->PushBack(new CValueBool(true));
    vector->PushBack(new QUOR::CValueOwnedPointer<CImage>(nullptr));
    EXPECT_EQ(TextError(map), "x.json: the entry a/b/1 is a pointer: JSON holds booleans, numbers, texts, maps and "
                              "vectors");
    CValueMap text;
    text.SetEntry("a", new CValueString("\xff"));
    EXPECT_EQ(TextError(text), "x.json: the entry a is a text that isn't UTF-8");
    CValueMap key;
    key.SetEntry("\xff", new CValueLong(1));
    EXPECT_EQ(TextError(key), "x.json: the entry \\xff has a key that isn't UTF-8");
    CValueMap meta;
    meta.SetEntry("a", new CValueLong(1));
    meta.Entry("a", true)->Meta().SetEntry("b", new CValueLong(1));
    EXPECT_EQ(TextError(meta), "x.json: the entry a has side information (Meta), which JSON can't hold");
    CValueMap top;
    top.Meta().SetEntry("b", new CValueLong(1));
    EXPECT_EQ(TextError(top), "x.json: the map has side information (Meta), which JSON can't hold");
}

TEST_F(JsonValue, ASchemaIsAPlainKey) {
    CValueMap map;
    map.SetEntry("$schema", new CValueString("graph.schema.json"));
    EXPECT_EQ(Text(map), R"({"$schema":"graph.schema.json"})");
    EXPECT_TRUE(MapFromJson(Text(map), "x.json")->Equal(map));
    EXPECT_TRUE(MapFromJson(R"({"$$schema":"graph.schema.json"})", "x.json")->Equal(map)) << "the other spelling";
    CValueMap longer;
    longer.SetEntry("$$schema", new QUOR::CValueLong(1));
    longer.SetEntry("$schema", new QUOR::CValueLong(2));
    EXPECT_EQ(Text(longer), R"({"$$$schema":1,"$schema":2})");
    EXPECT_TRUE(MapFromJson(Text(longer), "x.json")->Equal(longer));
    EXPECT_EQ(ParseError(R"({"$schema":1,"$$schema":2})"), "x.json: the entry $$schema stands twice in its map");
}

TEST_F(JsonValue, FilesAreIndented) {
    CValueMap map;
    map.SetEntry("b/c", new CValueDouble(0.5));
    map.SetEntry("a", new CValueString("\xc3\xa4"));
    WriteValue(Path("a.json"), map);
    EXPECT_EQ(Get("a.json"), "{\n  \"a\": \"\xc3\xa4\",\n  \"b\": {\n    \"c\": 0.5\n  }\n}\n");
    EXPECT_TRUE(ReadValue(Path("a.json"), {})->Equal(map));
    WriteValue(Path("b.json"), CValueMap());
    EXPECT_EQ(Get("b.json"), "{}\n");
}

TEST_F(JsonValue, FilesAreLimited) {
    Put("a.json", "{\"a\":1}");
    const std::size_t values = 160 + 1; // the number, and the key's letter
    {
        const CRoomForImages room(values);
        EXPECT_EQ(ReadError("a.json"), "");
    }
    {
        const CRoomForImages room(values - 1);
        EXPECT_EQ(ReadError("a.json"), "a.json: its values take more than the 160 bytes that images may take: "
                                       "--max-memory raises the limit");
    }
    const CRoomForImages room(6);
    EXPECT_EQ(ReadError("a.json"),
              "a.json: it has 7 bytes, more than the 6 that images may take: --max-memory raises the limit");
    EXPECT_EQ(ReadErrorAs("a.json", QUOR::IMAGE_GREY_8), "a.json: a map can't be read as IMAGE_GREY_8");
}

TEST_F(JsonValue, EveryPrefixIsRefused) {
    const std::string text = R"({"a": [1, 2.5, null, {"$double": "nan"}], "$int:3": "\u00e4\n", "b": {"c": true}})";
    EXPECT_EQ(ParseError(text), "");
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_NE(ParseError(text.substr(0, length)), "") << length;
    }
    for (std::size_t place = 0; place < text.size(); ++place) {
        for (int byte = 0; byte < 256; ++byte) {
            std::string changed = text;
            changed[place] = static_cast<char>(byte);
            EXPECT_EQ(ParseError(changed).find('\n'), std::string::npos);
        }
    }
}

} // namespace
} // namespace vessa::test
