#include "NodeTest.h"

#include <limits>

namespace QUOR::test {
namespace {

CValueString* Text(const char* text) { return new CValueString(CString(text)); }

/// The numbers of a vector; -1 stands for an empty slot.
std::vector<Long> NumbersOf(const CValueVector& vector) {
    std::vector<Long> numbers;
    for (int index = 0; index < static_cast<int>(vector.Size()); ++index) {
        numbers.push_back(vector.HasEntry(index) ? vector.EntryLong(index) : -1);
    }
    return numbers;
}

void Fill(CValueVector& vector, const std::vector<Long>& numbers) {
    for (const Long number : numbers) {
        vector.PushBack(new CValueLong(number));
    }
}

TEST(Vectors, KeepWhatTheyAreGivenInOrder) {
    CValueVector vector;
    Fill(vector, {5, 6});
    vector.SetEntry(1, new CValueLong(7));
    vector.SetEntry(2LL, new CValueLong(8));
    EXPECT_EQ(NumbersOf(vector), (std::vector<Long>{5, 7, 8}));
    EXPECT_EQ(vector.Vector(), &vector);
    EXPECT_EQ(std::as_const(vector).Vector(), &vector);
    EXPECT_TRUE(vector.HasEntry(1, EnValType::Long));
    EXPECT_FALSE(vector.HasEntry(1, EnValType::Double));
    EXPECT_TRUE(vector.HasEntry(1, typeid(CValueLong)));
    EXPECT_FALSE(vector.HasEntry(1, typeid(CValueDouble)));
    EXPECT_FALSE(vector.HasEntry(3));
    EXPECT_FALSE(vector.HasEntry(3, EnValType::Long));
    EXPECT_FALSE(vector.HasEntry(3, typeid(CValueLong)));
    EXPECT_FALSE(vector.HasEntry(-1));
    EXPECT_FALSE(vector.HasEntry("1"));
}

TEST(Vectors, GrowWithEmptySlots) {
    CValueVector vector;
    vector.SetEntry(2, new CValueLong(3));
    vector.PushBack(nullptr);
    EXPECT_EQ(NumbersOf(vector), (std::vector<Long>{-1, -1, 3, -1}));
    EXPECT_EQ(vector.Size(), 4U);
    EXPECT_EQ(vector.Entry(0, true), nullptr) << "the slot is there";
    EXPECT_EQ(vector.EntryLong(0, 9), 9);
    vector.SetEntry(2, nullptr);
    EXPECT_EQ(vector.Entry(2, true), nullptr);
    EXPECT_EQ(vector.Size(), 4U);
    EXPECT_EQ(FailureOf([&] { vector.EntryString(0); }),
              (StFailure{"CValueContainerBase::EntryString", "the slot 0 is empty"}));
}

TEST(Vectors, GiveNullOrRaiseForAnAbsentSlot) {
    CValueVector vector;
    Fill(vector, {1, 2});
    for (const CValue_Key& key : {CValue_Key(2), CValue_Key(-1), CValue_Key("0"), CValue_Key()}) {
        EXPECT_EQ(vector.Entry(key, false), nullptr);
        EXPECT_EQ(FailureOf([&] { vector.Entry(key, true); }),
                  (StFailure{"CValueVector", "there is no entry " + key.ToString() + ", the vector has 2"}));
    }
}

TEST(Vectors, TakeNoOtherKeysThanIndices) {
    CValueVector vector;
    for (const CValue_Key& key : {CValue_Key(-1), CValue_Key("0"), CValue_Key(), CValue_Key(2147483647)}) {
        EXPECT_EQ(FailureOf([&] { vector.SetEntry(key, new CValueLong(1)); }),
                  (StFailure{"CValueVector", "the key " + key.ToString() + " is no index from 0 to 2147483646"}));
    }
    EXPECT_EQ(vector.Size(), 0U);
}

TEST(Vectors, KeepAnEntryThatReplacesItself) {
    CValueVector vector;
    auto* value = new CValueLong(4);
    vector.PushBack(value);
    vector.SetEntry(0, value);
    EXPECT_EQ(vector.Entry(0, true), value);
    EXPECT_EQ(vector.EntryLong(0), 4);
}

TEST(Vectors, MoveLaterEntriesUpWhenOneIsRemoved) {
    CValueVector vector;
    Fill(vector, {1, 2, 3});
    EXPECT_TRUE(vector.RemoveEntry(1));
    EXPECT_EQ(NumbersOf(vector), (std::vector<Long>{1, 3}));
    EXPECT_FALSE(vector.RemoveEntry(2));
    EXPECT_FALSE(vector.RemoveEntry("0"));
    const std::unique_ptr<CValue> first(vector.Detach(0));
    EXPECT_EQ(std::as_const(*first).Long(), 1);
    EXPECT_EQ(NumbersOf(vector), std::vector<Long>{3});
    EXPECT_EQ(vector.Detach(1), nullptr);
    vector.SetEntry(0, nullptr);
    EXPECT_EQ(vector.Detach(0), nullptr);
    EXPECT_EQ(vector.Size(), 0U) << "an empty slot is removed as well";
}

TEST(Vectors, FindEntriesByTheirData) {
    CValueVector vector;
    vector.PushBack(Text("x"));
    vector.PushBack(nullptr);
    vector.PushBack(Text("x"));
    EXPECT_EQ(vector.Find("x", CValue_Key()), CValue_Key(0));
    EXPECT_EQ(vector.Find("x", 0), CValue_Key(2));
    EXPECT_TRUE(vector.Find("x", 2).IsNone());
    EXPECT_TRUE(vector.Find("x", std::numeric_limits<long long>::max()).IsNone());
    EXPECT_EQ(vector.Find("x", -5), CValue_Key(0));
    EXPECT_TRUE(vector.Find(CValueLong(1), CValue_Key()).IsNone());
    EXPECT_EQ(vector.Find(CValueString(CString("x")), 1), CValue_Key(2));
}

TEST(Vectors, AreEqualByTheirSlots) {
    CValueVector a;
    CValueVector b;
    EXPECT_TRUE(a.EqualData(b));
    Fill(a, {1});
    EXPECT_FALSE(a.EqualData(b));
    EXPECT_FALSE(b.EqualData(a));
    Fill(b, {1});
    EXPECT_TRUE(a.EqualData(b));
    a.PushBack(nullptr);
    b.PushBack(nullptr);
    EXPECT_TRUE(a.EqualData(b)) << "empty slots are equal";
    b.SetEntry(1, new CValueLong(2));
    EXPECT_FALSE(a.EqualData(b));
    EXPECT_FALSE(a.EqualData(CValueMap()));
}

TEST(Vectors, CopyAndMoveDeeply) {
    CValueVector from;
    Fill(from, {1});
    from.PushBack(nullptr);
    CValueVector to;
    Fill(to, {7, 8, 9});
    to.Copy(from, EnTfOwnership::Copy, true);
    EXPECT_EQ(NumbersOf(to), (std::vector<Long>{1, -1}));
    EXPECT_NE(to.Entry(0, true), from.Entry(0, true));
    to.Copy(to, EnTfOwnership::Copy, true);
    EXPECT_EQ(NumbersOf(to), (std::vector<Long>{1, -1}));
    const CValue* moved = from.Entry(0, true);
    to.Move(from);
    EXPECT_EQ(to.Entry(0, true), moved);
    EXPECT_EQ(from.Size(), 0U);
}

TEST(Vectors, CopyAndMoveFromTheirOwnEntries) {
    CValueVector vector;
    vector.PushBack(new CValueVector);
    Fill(*vector.Entry(0, true)->Vector(), {1, 2});
    vector.Copy(*vector.Entry(0, true), EnTfOwnership::Copy, true);
    EXPECT_EQ(NumbersOf(vector), (std::vector<Long>{1, 2}));
    vector.SetEntry(0, new CValueVector);
    Fill(*vector.Entry(0, true)->Vector(), {3, 4, 5});
    vector.Move(*vector.Entry(0, true));
    EXPECT_EQ(NumbersOf(vector), (std::vector<Long>{3, 4, 5}));
}

} // namespace
} // namespace QUOR::test
