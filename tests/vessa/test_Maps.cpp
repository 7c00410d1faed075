#include "NodeTest.h"

#include <iterator>
#include <limits>

namespace QUOR::test {
namespace {

/// Counts how often one of its kind is deleted.
struct StCounted {
    explicit StCounted(int& counter) : deletions(&counter) {}
    StCounted(const StCounted&) = delete;
    StCounted& operator=(const StCounted&) = delete;
    ~StCounted() { ++*deletions; }
    int* deletions;
};

CValue* Counted(int& deletions) { return new CValueOwnedPointer<StCounted>(new StCounted(deletions)); }

CValueString* Text(const char* text) { return new CValueString(CString(text)); }

std::vector<std::string> KeysOf(const CValueMap& map) {
    std::vector<std::string> keys;
    for (const CValue_Key& key : map.Keys()) {
        keys.push_back(key.ToString());
    }
    return keys;
}

TEST(Maps, KeepWhatTheyAreGiven) {
    CValueMap map;
    EXPECT_TRUE(map.IsEmpty());
    auto* value = new CValueLong(3);
    map.SetEntry("key", value);
    EXPECT_EQ(map.Entry("key", true), value);
    EXPECT_EQ(std::as_const(map).Entry("key", false), value);
    EXPECT_EQ(map.Size(), 1U);
    EXPECT_FALSE(map.IsEmpty());
    EXPECT_EQ(map.Map(), &map);
    EXPECT_EQ(std::as_const(map).Map(), &map);
    map.Clear();
    EXPECT_TRUE(map.IsEmpty());
    EXPECT_EQ(map.Size(), 0U);
}

TEST(Maps, GiveNullOrRaiseForAnAbsentEntry) {
    CValueMap map;
    map.SetEntry("text", Text("a"));
    for (const CValue_Key& key : {CValue_Key("key"), CValue_Key("text/key"), CValue_Key(0), CValue_Key()}) {
        EXPECT_EQ(map.Entry(key, false), nullptr);
        EXPECT_FALSE(map.HasEntry(key));
        const StFailure expected{"CValueMap", "there is no entry " + key.ToString()};
        EXPECT_EQ(FailureOf([&] { map.Entry(key, true); }), expected);
        EXPECT_EQ(FailureOf([&] { static_cast<void>(std::as_const(map).Entry(key, true)); }), expected);
    }
}

TEST(Maps, TellTheKindOfTheirEntries) {
    CValueMap map;
    map.SetEntry("offset_x", new CValueDouble(1.0));
    EXPECT_TRUE(map.HasEntry("offset_x", EnValType::Double));
    EXPECT_TRUE(map.HasEntry("offset_x", static_cast<EnValType>(1)));
    EXPECT_TRUE(map.HasEntry("offset_x", typeid(CValueDouble)));
    EXPECT_FALSE(map.HasEntry("offset_x", typeid(CValueLong)));
    map.SetEntry("offset_x", new CValueLong(1));
    EXPECT_FALSE(map.HasEntry("offset_x", EnValType::Double));
    EXPECT_TRUE(map.HasEntry("offset_x", EnValType::Long));
    EXPECT_FALSE(map.HasEntry("offset_y", EnValType::Long));
    EXPECT_FALSE(map.HasEntry("offset_y", typeid(CValueLong)));
}

TEST(Maps, FollowPathsThroughNestedMaps) {
    CValueMap map;
    map.SetEntry("gui/order/0", Text("flip_x"));
    map.SetEntry("gui/order/1", Text("flip_y"));
    EXPECT_EQ(map.Size(), 1U);
    EXPECT_EQ(map.Entry("gui", true)->GenericType(), EnValType::Map);
    EXPECT_EQ(map.Entry("gui/order", true)->Map()->Size(), 2U);
    EXPECT_EQ(map.EntryString("gui/order/1", ""), "flip_y");
    const CValueMap& nested = *map.Entry("gui", true)->Map();
    EXPECT_TRUE(nested.HasEntry("order/1"));
    EXPECT_FALSE(nested.HasEntry("gui/order/1")) << "a path begins at the map that is asked";
    EXPECT_FALSE(map.HasEntry("gui/order/2"));
    EXPECT_FALSE(map.HasEntry("gui/order/1/deeper"));
    EXPECT_TRUE(map.RemoveEntry("gui/order/0"));
    EXPECT_FALSE(map.RemoveEntry("gui/order/0"));
    EXPECT_EQ(KeysOf(*map.Entry("gui/order", true)->Map()), std::vector<std::string>{"'1'"});
}

TEST(Maps, ReadEveryPartOfAPathAsAKeyEvenAnEmptyOne) {
    CValueMap map;
    map.SetEntry("a//b", new CValueLong(1));
    map.SetEntry("/c", new CValueLong(2));
    map.SetEntry("d/", new CValueLong(3));
    EXPECT_EQ(map.EntryLong("a//b"), 1);
    EXPECT_EQ(map.Entry("a", true)->Map()->Entry("", true)->Map()->EntryLong("b"), 1);
    EXPECT_EQ(map.EntryLong("/c"), 2);
    EXPECT_EQ(map.Entry("d", true)->Map()->EntryLong(""), 3);
    EXPECT_EQ(KeysOf(map), (std::vector<std::string>{"''", "'a'", "'d'"}));
}

TEST(Maps, LeadNoPathThroughAnotherValueThanAMap) {
    CValueMap map;
    map.SetEntry("number", new CValueLong(1));
    map.SetEntry("list", new CValueVector);
    map.Entry("list", true)->Vector()->PushBack(new CValueLong(1));
    int deletions = 0;
    EXPECT_EQ(FailureOf([&] { map.SetEntry("number/key", Counted(deletions)); }),
              (StFailure{"CValueMap", "the path 'number/key' leads through an entry that is an integer"}));
    EXPECT_EQ(deletions, 1) << "the value belongs to the map, also on failure";
    EXPECT_EQ(FailureOf([&] { map.SetEntry("list/0", Counted(deletions)); }),
              (StFailure{"CValueMap", "the path 'list/0' leads through an entry that is a vector"}));
    EXPECT_EQ(deletions, 2);
    EXPECT_FALSE(map.HasEntry("list/0"));
    EXPECT_EQ(map.Detach("number/key"), nullptr);
    EXPECT_FALSE(map.RemoveEntry("list/0"));
    EXPECT_EQ(map.EntryLong("number"), 1);
}

TEST(Maps, TakeNoEntryWithoutAKey) {
    CValueMap map;
    int deletions = 0;
    EXPECT_EQ(FailureOf([&] { map.SetEntry(CValue_Key(), Counted(deletions)); }),
              (StFailure{"CValueMap", "an entry needs a key"}));
    EXPECT_EQ(deletions, 1);
    EXPECT_TRUE(map.IsEmpty());
}

TEST(Maps, FreeWhatIsReplacedRemovedOrCleared) {
    int deletions = 0;
    {
        CValueMap map;
        map.SetEntry("a", Counted(deletions));
        map.SetEntry("a", Counted(deletions));
        EXPECT_EQ(deletions, 1);
        EXPECT_TRUE(map.RemoveEntry("a"));
        EXPECT_EQ(deletions, 2);
        map.SetEntry("b/c", Counted(deletions));
        map.SetEntry("b", new CValueLong(1));
        EXPECT_EQ(deletions, 3);
        map.SetEntry("d", Counted(deletions));
        map.Clear();
        EXPECT_EQ(deletions, 4);
        map.SetEntry("e", Counted(deletions));
    }
    EXPECT_EQ(deletions, 5);
}

TEST(Maps, RemoveAnEntryThatIsSetToNull) {
    CValueMap map;
    int deletions = 0;
    map.SetEntry("a/b", Counted(deletions));
    map.SetEntry("a/b", nullptr);
    EXPECT_EQ(deletions, 1);
    EXPECT_TRUE(map.HasEntry("a"));
    EXPECT_FALSE(map.HasEntry("a/b"));
    map.SetEntry("absent", nullptr);
    map.SetEntry("absent/path", nullptr);
    EXPECT_EQ(KeysOf(map), std::vector<std::string>{"'a'"});
}

TEST(Maps, KeepAnEntryThatReplacesItself) {
    int deletions = 0;
    CValueMap map;
    CValue* value = Counted(deletions);
    map.SetEntry("a/b", value);
    map.SetEntry("a/b", value);
    EXPECT_EQ(deletions, 0);
    EXPECT_EQ(map.Entry("a/b", true), value);
}

TEST(Maps, HandOverWhatIsDetached) {
    CValueMap map;
    int deletions = 0;
    map.SetEntry("a/b", Counted(deletions));
    const std::unique_ptr<CValue> value(map.Detach("a/b"));
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(deletions, 0);
    EXPECT_FALSE(map.HasEntry("a/b"));
    EXPECT_EQ(map.Detach("a/b"), nullptr);
    EXPECT_EQ(map.Detach(CValue_Key()), nullptr);
}

TEST(Maps, WalkThroughTheirEntriesInTheOrderOfTheKeys) {
    CValueMap map;
    map.SetEntry("b", new CValueLong(4));
    map.SetEntry("a/x", new CValueLong(3));
    map.SetEntry(10, new CValueLong(2));
    map.SetEntry(9, new CValueLong(1));
    std::vector<std::string> keys;
    for (const auto& [key, value] : std::as_const(map)) {
        keys.push_back(key.ToString());
        EXPECT_EQ(map.Entry(key, true), value);
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"9", "10", "'a'", "'b'"}));
    EXPECT_EQ(KeysOf(map), keys);
    EXPECT_TRUE(CValueMap().Keys().empty());
    const CValueMap empty;
    EXPECT_TRUE(empty.begin() == empty.end());
}

TEST(Maps, HaveIteratorsThatGoBothWaysAndAreCopied) {
    CValueMap map;
    for (const char* key : {"a", "b", "c"}) {
        map.SetEntry(key, new CValueBool(true));
    }
    auto position = map.begin();
    const auto first = position++;
    EXPECT_EQ((*first).key, CValue_Key("a"));
    EXPECT_EQ((*position).key, CValue_Key("b"));
    EXPECT_EQ((*++position).key, CValue_Key("c"));
    EXPECT_EQ((*position--).key, CValue_Key("c"));
    EXPECT_EQ((*--position).key, CValue_Key("a"));
    EXPECT_TRUE(position == first);
    position = map.end();
    EXPECT_TRUE(position == map.end());
    EXPECT_EQ((*--position).key, CValue_Key("c"));
    EXPECT_EQ(std::distance(map.begin(), map.end()), 3);
}

TEST(Maps, FindEntriesByTheirData) {
    CValueMap map;
    map.SetEntry("a", Text("x"));
    map.SetEntry("b", new CValueLong(1));
    map.SetEntry("c", Text("x"));
    map.SetEntry("d/e", Text("y"));
    EXPECT_EQ(map.Find("x", CValue_Key()), CValue_Key("a"));
    EXPECT_EQ(map.Find("x", "a"), CValue_Key("c"));
    EXPECT_EQ(map.Find("x", "b"), CValue_Key("c"));
    EXPECT_TRUE(map.Find("x", "c").IsNone());
    EXPECT_TRUE(map.Find("y", CValue_Key()).IsNone()) << "nested maps aren't searched";
    EXPECT_EQ(map.Find(CValueLong(1), CValue_Key()), CValue_Key("b"));
    EXPECT_TRUE(map.Find(CValueDouble(1.0), CValue_Key()).IsNone());
    CValueMap nested;
    nested.SetEntry("e", Text("y"));
    EXPECT_EQ(map.Find(nested, CValue_Key()), CValue_Key("d"));
}

TEST(Maps, AreSubsetsOfMapsThatHoldAllTheirEntries) {
    CValueMap small;
    CValueMap large;
    EXPECT_TRUE(small.IsSubset(large));
    large.SetEntry("a", new CValueLong(1));
    large.SetEntry("b/c", new CValueLong(2));
    large.SetEntry("b/d", new CValueLong(3));
    EXPECT_TRUE(small.IsSubset(large));
    EXPECT_FALSE(large.IsSubset(small));
    small.SetEntry("b/c", new CValueLong(2));
    EXPECT_TRUE(small.IsSubset(large)) << "nested maps need to be subsets only";
    small.SetEntry("a", new CValueDouble(1.0));
    EXPECT_FALSE(small.IsSubset(large));
    small.SetEntry("a", new CValueMap);
    EXPECT_FALSE(small.IsSubset(large));
    EXPECT_TRUE(large.IsSubset(large));
}

TEST(Maps, AreEqualByKeysAndData) {
    CValueMap a;
    CValueMap b;
    a.SetEntry("x/y", new CValueLong(1));
    EXPECT_FALSE(a.EqualData(b));
    EXPECT_FALSE(b.EqualData(a));
    b.SetEntry("x/y", new CValueLong(1));
    EXPECT_TRUE(a.EqualData(b));
    b.SetEntry("x/y", new CValueLong(2));
    EXPECT_FALSE(a.EqualData(b));
    EXPECT_FALSE(a.EqualData(CValueVector()));
}

TEST(Maps, CopyAndMoveDeeply) {
    CValueMap from;
    from.SetEntry("a/b", new CValueLong(1));
    from.Entry("a/b", true)->Meta().SetEntry("desc", Text("one"));
    CValueMap to;
    to.SetEntry("old", new CValueLong(0));
    to.Copy(from, EnTfOwnership::Copy, true);
    EXPECT_TRUE(to.EqualData(from));
    EXPECT_EQ(to.Entry("a/b", true)->Meta().EntryString("desc", ""), "one");
    from.SetEntry("a/b", new CValueLong(2));
    EXPECT_EQ(to.EntryLong("a/b"), 1);
    to.Copy(to, EnTfOwnership::Copy, true);
    EXPECT_EQ(to.EntryLong("a/b"), 1);
    const CValue* moved = from.Entry("a/b", true);
    to.Move(from);
    EXPECT_EQ(to.Entry("a/b", true), moved);
    EXPECT_TRUE(from.IsEmpty());
}

TEST(Maps, CopyAndMoveFromTheirOwnEntries) {
    CValueMap map;
    map.SetEntry("a/b", new CValueLong(1));
    map.Copy(*map.Entry("a", true), EnTfOwnership::Copy, true);
    EXPECT_EQ(KeysOf(map), std::vector<std::string>{"'b'"});
    map.SetEntry("c/d", new CValueLong(2));
    map.Entry("c", true)->Meta().SetEntry("key", new CValueLong(3));
    map.Move(*map.Entry("c", true));
    EXPECT_EQ(KeysOf(map), std::vector<std::string>{"'d'"});
    EXPECT_EQ(map.Meta().EntryLong("key"), 3);
}

TEST(Maps, ReadNumbersOfAnyNumericKind) {
    CValueMap map;
    map.SetEntry("true", new CValueBool(true));
    map.SetEntry("false", new CValueBool(false));
    map.SetEntry("long", new CValueLong(-7));
    map.SetEntry("double", new CValueDouble(-2.9));
    EXPECT_EQ(map.EntryLong("true", 5), 1);
    EXPECT_EQ(map.EntryLong("false", 5), 0);
    EXPECT_EQ(map.EntryLong("long", 5), -7);
    EXPECT_EQ(map.EntryLong("double", 5), -2) << "truncated toward zero";
    EXPECT_EQ(map.EntryDouble("true", 5.0), 1.0);
    EXPECT_EQ(map.EntryDouble("false", 5.0), 0.0);
    EXPECT_EQ(map.EntryDouble("long", 5.0), -7.0);
    EXPECT_EQ(map.EntryDouble("double", 5.0), -2.9);
    EXPECT_TRUE(map.EntryBool("true", false));
    EXPECT_FALSE(map.EntryBool("false", true));
    EXPECT_TRUE(map.EntryBool("long", false));
    EXPECT_TRUE(map.EntryBool("double", false));
}

TEST(Maps, LimitFloatingNumbersToTheRangeOfIntegers) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr Long least = std::numeric_limits<Long>::min();
    constexpr Long most = std::numeric_limits<Long>::max();
    const std::vector<std::pair<double, Long>> rows{{infinity, most},
                                                    {1e300, most},
                                                    {2147483648.0, most},
                                                    {2147483647.5, most},
                                                    {2147483646.9, 2147483646},
                                                    {-infinity, least},
                                                    {-2147483649.0, least},
                                                    {-2147483648.5, least},
                                                    {-2147483647.5, -2147483647},
                                                    {0.9, 0},
                                                    {-0.9, 0},
                                                    {std::nan(""), 0}};
    for (const auto& [number, expected] : rows) {
        CValueMap map;
        map.SetEntry("number", new CValueDouble(number));
        EXPECT_EQ(map.EntryLong("number", 5), expected) << number;
        EXPECT_EQ(map.GetLong("number", 5, nullptr), expected) << number;
    }
    CValueMap map;
    map.SetEntry("nan", new CValueDouble(std::nan("")));
    EXPECT_TRUE(map.EntryBool("nan", false)) << "everything but 0 is true";
}

TEST(Maps, FallBackForAbsentEntriesAndOtherKinds) {
    CValueMap map;
    map.SetEntry("text", Text("1"));
    map.SetEntry("map", new CValueMap);
    for (const char* key : {"absent", "text", "map", "text/path"}) {
        EXPECT_EQ(map.EntryLong(key, -1), -1);
        EXPECT_EQ(map.EntryDouble(key, -1.5), -1.5);
        EXPECT_TRUE(map.EntryBool(key, true));
        EXPECT_EQ(map.EntryLong(key), 0);
        EXPECT_EQ(map.EntryDouble(key), 0.0);
        EXPECT_FALSE(map.EntryBool(key));
        EXPECT_EQ(map.GetLong(key, -1, nullptr), -1);
    }
    EXPECT_EQ(CValueMap().EntryLong("size_x", -1), -1);
}

TEST(Maps, TellWhetherANumberWasThere) {
    CValueMap map;
    map.SetEntry("number", new CValueDouble(3.5));
    map.SetEntry("text", Text("1"));
    EnErrType status = EnErrType::Absent;
    EXPECT_EQ(map.GetLong("number", 0, &status), 3);
    EXPECT_EQ(status, EnErrType::Ok);
    EXPECT_EQ(map.GetLong("text", 8, &status), 8);
    EXPECT_EQ(status, EnErrType::WrongKind);
    EXPECT_EQ(map.GetLong("absent", 9, &status), 9);
    EXPECT_EQ(status, EnErrType::Absent);
}

TEST(Maps, ReadAndWriteTexts) {
    CValueMap map;
    map.SetEntry("text", Text("abc"));
    map.SetEntry("number", new CValueLong(1));
    EXPECT_EQ(map.EntryString("text", "other"), "abc");
    EXPECT_EQ(map.EntryString("number", "other"), "other");
    EXPECT_EQ(map.EntryString("absent", "other"), "other");
    const CString fallback("kept");
    EXPECT_EQ(&std::as_const(map).EntryString("absent", fallback), &fallback);
    map.EntryString("text") = CString("new");
    EXPECT_EQ(map.EntryString("text", ""), "new");
    EXPECT_EQ(FailureOf([&] { map.EntryString("absent"); }), (StFailure{"CValueMap", "there is no entry 'absent'"}));
    EXPECT_EQ(FailureOf([&] { map.EntryString("number"); }),
              (StFailure{"CValue", "the value is an integer and can't be used as a text"}));
}

TEST(Maps, OfferTheClassesTheyAre) {
    CValueMap map;
    for (const char* name : {"CValueMap", "CValueContainerBase", "CValue", "IPluginObject", "IObject"}) {
        EXPECT_TRUE(map.TestInterface(name)) << name;
    }
    EXPECT_FALSE(map.TestInterface("CPNode"));
    map.SetInstance("first");
    EXPECT_EQ(map.Instance(), "first");
    map.SetInstance(nullptr);
    EXPECT_EQ(map.Instance(), "");
}

} // namespace
} // namespace QUOR::test
