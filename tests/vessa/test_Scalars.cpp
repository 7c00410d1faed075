#include "NodeTest.h"

#include <cmath>
#include <functional>
#include <limits>

namespace QUOR::test {
namespace {

/// One value of each kind, in the order of the kinds' numbers.
std::vector<std::unique_ptr<CValue>> OneOfEachKind() {
    std::vector<std::unique_ptr<CValue>> values;
    values.push_back(std::make_unique<CValueBool>(true));
    values.push_back(std::make_unique<CValueDouble>(2.5));
    values.push_back(std::make_unique<CValueLong>(7));
    values.push_back(std::make_unique<CValueMap>());
    values.push_back(std::make_unique<CValueString>(CString("text")));
    values.push_back(std::make_unique<CValueOwnedPointer<CImage>>());
    values.push_back(std::make_unique<CValueVector>());
    return values;
}

const std::vector<std::string>& KindNames() {
    static const std::vector<std::string> names{"a boolean", "a floating number", "an integer", "a map",
                                                "a text",    "a pointer",         "a vector"};
    return names;
}

TEST(Values, NumberTheirKinds) {
    const auto values = OneOfEachKind();
    for (std::size_t kind = 0; kind < values.size(); ++kind) {
        EXPECT_EQ(static_cast<std::size_t>(values[kind]->GenericType()), kind);
        EXPECT_EQ(KindName(values[kind]->GenericType()), KindNames()[kind]);
    }
    EXPECT_STREQ(KindName(static_cast<EnValType>(99)), "of no known kind");
}

TEST(Values, TellTheirClassAndThatOfTheirData) {
    EXPECT_EQ(CValueBool().Type(), *CValueBool::TypeId());
    EXPECT_EQ(CValueLong().Type(), *CValueLong::TypeId());
    EXPECT_EQ(CValueDouble().Type(), *CValueDouble::TypeId());
    EXPECT_EQ(CValueString().Type(), *CValueString::TypeId());
    EXPECT_EQ(CValueMap().Type(), *CValueMap::TypeId());
    EXPECT_EQ(CValueVector().Type(), *CValueVector::TypeId());
    EXPECT_EQ(*CValueBool::TypeId(), typeid(CValueBool));
    EXPECT_NE(*CValueLong::TypeId(), *CValueDouble::TypeId());
    EXPECT_EQ(CValueBool().ElementType(), typeid(bool));
    EXPECT_EQ(CValueLong().ElementType(), typeid(Long));
    EXPECT_EQ(CValueDouble().ElementType(), typeid(double));
    EXPECT_EQ(CValueString().ElementType(), typeid(CString));
    EXPECT_EQ(CValueMap().ElementType(), typeid(CValue));
    EXPECT_EQ(CValueVector().ElementType(), typeid(CValue));
}

TEST(Values, RefuseToBeUsedAsAnotherKind) {
    using Use = std::function<void(CValue&)>;
    const std::vector<std::pair<EnValType, Use>> uses{
        {EnValType::Bool, [](CValue& value) { value.Bool(); }},
        {EnValType::Bool, [](CValue& value) { std::as_const(value).Bool(); }},
        {EnValType::Long, [](CValue& value) { value.Long(); }},
        {EnValType::Long, [](CValue& value) { std::as_const(value).Long(); }},
        {EnValType::Map, [](CValue& value) { value.Map(); }},
        {EnValType::Map, [](CValue& value) { std::as_const(value).Map(); }},
        {EnValType::String, [](CValue& value) { value.String(); }},
        {EnValType::String, [](CValue& value) { std::as_const(value).String(); }},
        {EnValType::String, [](CValue& value) { value.SetString("text", CString::NPOS); }},
        {EnValType::Pointer, [](CValue& value) { value.Pointer(); }},
        {EnValType::Pointer, [](CValue& value) { std::as_const(value).Pointer(); }},
        {EnValType::Vector, [](CValue& value) { value.Vector(); }},
        {EnValType::Vector, [](CValue& value) { std::as_const(value).Vector(); }},
    };
    for (const auto& value : OneOfEachKind()) {
        for (const auto& [kind, use] : uses) {
            if (kind == value->GenericType()) {
                EXPECT_NO_THROW(use(*value)) << KindName(kind);
                continue;
            }
            const std::string& found = KindNames()[static_cast<std::size_t>(value->GenericType())];
            const std::string& wanted = KindNames()[static_cast<std::size_t>(kind)];
            const StFailure expected{"CValue", "the value is " + found + " and can't be used as " + wanted};
            EXPECT_EQ(FailureOf([&, &apply = use] { apply(*value); }), expected);
        }
    }
}

TEST(Values, OnlyAnIntegerIsReadAsAFloatingNumberToo) {
    for (const auto& value : OneOfEachKind()) {
        const CValue& constant = *value;
        if (constant.GenericType() == EnValType::Double) {
            EXPECT_EQ(constant.Double(), 2.5);
            EXPECT_EQ(value->Double(), 2.5);
        } else if (constant.GenericType() == EnValType::Long) {
            EXPECT_EQ(constant.Double(), 7.0);
            EXPECT_EQ(value->Double(), 7.0);
        } else {
            const std::string& found = KindNames()[static_cast<std::size_t>(constant.GenericType())];
            const StFailure expected{"CValue", "the value is " + found + " and can't be used as a floating number"};
            EXPECT_EQ(FailureOf([&] { static_cast<void>(constant.Double()); }), expected);
            EXPECT_EQ(FailureOf([&] { value->Double(); }), expected);
        }
    }
    CValueLong number(7);
    number.Double() = 2.5; // a copy
    EXPECT_EQ(number.Long(), 7);
    number.Long() = 8;
    EXPECT_EQ(number.Double(), 8.0);
}

TEST(Values, AreWrittenThroughTheirAccessors) {
    CValueBool flag;
    flag.Bool() = true;
    EXPECT_TRUE(std::as_const(flag).Bool());
    CValueLong number;
    number.Long() = -2147483647 - 1;
    EXPECT_EQ(std::as_const(number).Long(), std::numeric_limits<Long>::min());
    CValueDouble real;
    real.Double() = 0.1;
    EXPECT_EQ(std::as_const(real).Double(), 0.1);
    CValueString text;
    text.String() = CString("abc");
    EXPECT_EQ(std::as_const(text).String(), "abc");
}

TEST(Values, BeginAsZeroFalseOrEmpty) {
    EXPECT_FALSE(CValueBool().Bool());
    EXPECT_EQ(std::as_const(*std::make_unique<CValueLong>()).Long(), 0);
    EXPECT_EQ(std::as_const(*std::make_unique<CValueDouble>()).Double(), 0.0);
    EXPECT_TRUE(CValueString().String().IsEmpty());
    EXPECT_EQ(CValueMap().Size(), 0U);
    EXPECT_EQ(CValueVector().Size(), 0U);
}

TEST(Values, OfTextTakeBytesByLengthOrUpToTheEnd) {
    EXPECT_EQ(CValueString("abcdef", 3).String(), "abc");
    EXPECT_EQ(CValueString("abcdef", CString::NPOS).String(), "abcdef");
    EXPECT_EQ(CValueString("a\0b", 3).String().Length(), 3U);
    EXPECT_EQ(CValueString(nullptr, CString::NPOS).String(), "");
    CValueString text;
    text.SetString("xyz", 2);
    EXPECT_EQ(text.String(), "xy");
    text.SetString("xyz", CString::NPOS);
    EXPECT_EQ(text.String(), "xyz");
    text.SetString(nullptr, CString::NPOS);
    EXPECT_EQ(text.String(), "");
}

TEST(Values, GiveTheAddressOfTheirData) {
    CValueDouble number(3.5);
    EXPECT_EQ(*static_cast<double*>(number.VoidPointer()), 3.5);
    *static_cast<double*>(number.VoidPointer()) = 4.5;
    EXPECT_EQ(std::as_const(number).Double(), 4.5);
    for (const auto& value : OneOfEachKind()) {
        EXPECT_EQ(std::as_const(*value).VoidPointer(), value->VoidPointer());
        EXPECT_EQ(value->VoidPointer() == nullptr, value->GenericType() == EnValType::Pointer);
    }
}

TEST(Values, CloneIndependentlyWithTheirSideInformation) {
    for (const auto& value : OneOfEachKind()) {
        value->Meta().SetEntry("gui/order", new CValueLong(3));
        const std::unique_ptr<CValue> clone(value->Clone(EnTfOwnership::Copy));
        EXPECT_EQ(clone->Type(), value->Type());
        EXPECT_TRUE(clone->Equal(*value)) << KindName(value->GenericType());
        clone->Meta().SetEntry("gui/order", new CValueLong(4));
        EXPECT_EQ(value->Meta().EntryLong("gui/order"), 3);
        EXPECT_TRUE(clone->EqualData(*value));
        EXPECT_FALSE(clone->Equal(*value)) << KindName(value->GenericType());
    }
}

TEST(Values, CopyOnlyFromTheirOwnKind) {
    for (const auto& to : OneOfEachKind()) {
        to->Meta().SetEntry("key", new CValueLong(1));
        for (const auto& from : OneOfEachKind()) {
            if (to->GenericType() == from->GenericType()) {
                EXPECT_EQ(&to->Copy(*from, EnTfOwnership::Copy, false), to.get());
                EXPECT_EQ(to->Meta().EntryLong("key"), 1) << "without the side information of the source";
                continue;
            }
            const bool pointer = to->GenericType() == EnValType::Pointer;
            const std::string& found = KindNames()[static_cast<std::size_t>(from->GenericType())];
            const std::string& wanted = KindNames()[static_cast<std::size_t>(to->GenericType())];
            const StFailure expected =
                pointer ? StFailure{"CValuePointer", "can't take over a value as a pointer to an image"}
                        : StFailure{"CValue", "the value is " + found + " and can't be used as " + wanted};
            EXPECT_EQ(FailureOf([&] { to->Copy(*from, EnTfOwnership::Copy, true); }), expected);
            EXPECT_EQ(FailureOf([&] { to->Move(*from); }), expected);
            EXPECT_EQ(to->Meta().EntryLong("key"), 1) << "a failure has changed something";
        }
    }
}

TEST(Values, CopyTakesOverTheSideInformationWhenAsked) {
    CValueLong from(5);
    from.Meta().SetEntry("new", new CValueBool(true));
    CValueLong to(1);
    to.Meta().SetEntry("old", new CValueBool(true));
    to.Copy(from, EnTfOwnership::Copy, true);
    EXPECT_EQ(std::as_const(to).Long(), 5);
    EXPECT_TRUE(to.Meta().HasEntry("new"));
    EXPECT_FALSE(to.Meta().HasEntry("old"));
    to.Copy(CValueLong(6), EnTfOwnership::Copy, true);
    EXPECT_TRUE(to.Meta().IsEmpty());
    to.Copy(to, EnTfOwnership::Copy, true);
    EXPECT_EQ(std::as_const(to).Long(), 6);
}

TEST(Values, CopyFromTheirOwnSideInformation) {
    const auto copied = [](std::unique_ptr<CValue> value, CValue* inner) {
        value->Meta().SetEntry("inner", inner);
        const std::unique_ptr<CValue> expected(inner->Clone(EnTfOwnership::Copy));
        value->Copy(*inner, EnTfOwnership::Copy, true);
        return value->Equal(*expected);
    };
    EXPECT_TRUE(copied(std::make_unique<CValueBool>(false), new CValueBool(true)));
    EXPECT_TRUE(copied(std::make_unique<CValueLong>(1), new CValueLong(2)));
    EXPECT_TRUE(copied(std::make_unique<CValueDouble>(1.0), new CValueDouble(2.0)));
    EXPECT_TRUE(copied(std::make_unique<CValueString>(CString("a")), new CValueString(CString("b"))));
    EXPECT_TRUE(copied(std::make_unique<CValueMap>(), new CValueMap));
    EXPECT_TRUE(copied(std::make_unique<CValueVector>(), new CValueVector));
    EXPECT_TRUE(copied(std::make_unique<CValuePointer<CImage>>(), new CValuePointer<CImage>));
    EXPECT_TRUE(copied(std::make_unique<CValueOwnedPointer<CImage>>(), new CValueOwnedPointer<CImage>));
}

TEST(Values, MoveLeavesTheSourceEmpty) {
    CValueBool flag(true);
    CValueLong number(3);
    CValueDouble real(1.5);
    CValueString text(CString("abc"));
    number.Meta().SetEntry("key", new CValueBool(true));
    EXPECT_TRUE(CValueBool().Move(flag).Bool());
    CValueLong movedNumber;
    EXPECT_EQ(&movedNumber.Move(number), &movedNumber);
    EXPECT_EQ(std::as_const(movedNumber).Long(), 3);
    EXPECT_TRUE(movedNumber.Meta().HasEntry("key"));
    EXPECT_EQ(CValueDouble().Move(real).Double(), 1.5);
    EXPECT_EQ(CValueString().Move(text).String(), "abc");
    EXPECT_FALSE(flag.Bool());
    EXPECT_EQ(std::as_const(number).Long(), 0);
    EXPECT_TRUE(number.Meta().IsEmpty());
    EXPECT_EQ(std::as_const(real).Double(), 0.0);
    EXPECT_EQ(text.String(), "");
}

TEST(Values, MoveOntoThemselvesChangesNothing) {
    for (const auto& value : OneOfEachKind()) {
        value->Meta().SetEntry("key", new CValueBool(true));
        const std::unique_ptr<CValue> before(value->Clone(EnTfOwnership::Copy));
        value->Move(*value);
        EXPECT_TRUE(value->Equal(*before)) << KindName(value->GenericType());
    }
}

TEST(Values, AreEqualByKindAndData) {
    const auto values = OneOfEachKind();
    const auto twins = OneOfEachKind();
    for (std::size_t a = 0; a < values.size(); ++a) {
        for (std::size_t b = 0; b < twins.size(); ++b) {
            EXPECT_EQ(values[a]->EqualData(*twins[b]), a == b) << a << ' ' << b;
            EXPECT_EQ(values[a]->Equal(*twins[b]), a == b) << a << ' ' << b;
        }
    }
    EXPECT_FALSE(CValueBool(true).EqualData(CValueBool(false)));
    EXPECT_FALSE(CValueLong(1).EqualData(CValueLong(2)));
    EXPECT_FALSE(CValueLong(1).EqualData(CValueDouble(1.0))) << "kinds aren't converted";
    EXPECT_FALSE(CValueString(CString("a")).EqualData(CValueString(CString("A"))));
    EXPECT_TRUE(CValueDouble(0.0).EqualData(CValueDouble(-0.0)));
    EXPECT_FALSE(CValueDouble(std::nan("")).EqualData(CValueDouble(std::nan(""))));
}

TEST(Values, HaveSideInformationFromTheirFirstWrite) {
    CValueBool flag;
    EXPECT_TRUE(std::as_const(flag).Meta().IsEmpty());
    flag.Meta().SetEntry("gui/boolean", new CValueString(CString("togglebutton")));
    EXPECT_EQ(std::as_const(flag).Meta().EntryString("gui/boolean", ""), "togglebutton");
    CValueBool other;
    EXPECT_TRUE(std::as_const(other).Meta().IsEmpty()) << "it is each value's own";
    static_cast<void>(other.Meta()); // made, but empty
    EXPECT_TRUE(other.Equal(CValueBool()));
}

TEST(Values, ButPointersAreNoLinksAndValid) {
    for (const auto& value : OneOfEachKind()) {
        EXPECT_FALSE(value->IsLink());
        EXPECT_EQ(value->IsValid(), value->GenericType() != EnValType::Pointer);
    }
}

} // namespace
} // namespace QUOR::test
