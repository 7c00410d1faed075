#include "NodeTest.h"

#include <type_traits>

namespace QUOR::test {
namespace {

static_assert(std::is_nothrow_copy_constructible_v<CException>, "an exception that is thrown is copied");
static_assert(std::is_base_of_v<IVectorizable, CException>);

class CObject : public IObject {};

TEST(Exceptions, TellWhereAndWhat) {
    const CException failure("Emplace", "input 0 is NULL", nullptr);
    EXPECT_STREQ(failure.Where(), "Emplace");
    EXPECT_STREQ(failure.What(), "input 0 is NULL");
    EXPECT_EQ(failure.Detail(), nullptr);
    EXPECT_EQ(failure.Location(), nullptr);
    EXPECT_STREQ(failure.FormattedWhat(), "Emplace: input 0 is NULL");
    EXPECT_STREQ(CException("a", "b", "more").Detail(), "more");
    EXPECT_STREQ(CException("a", "b", "more").FormattedWhat(), "a: b");
    EXPECT_STREQ(CException(nullptr, nullptr, nullptr).FormattedWhat(), ": ");
}

TEST(Exceptions, KeepTextsThatTheyWereGiven) {
    std::string where("Tag");
    std::string what("text");
    const CException failure(where.c_str(), what.c_str(), what.c_str());
    where = "gone";
    what = "gone";
    EXPECT_STREQ(failure.FormattedWhat(), "Tag: text");
    EXPECT_STREQ(failure.Detail(), "text");
}

TEST(Exceptions, KeepTheirPlace) {
    const CObject object;
    std::string file("src/file.cpp");
    const CException failure(StExLocation("Apr 13 2026-09:50:12", file.c_str(), "void Run()", 17, &object), "what");
    file = "gone";
    EXPECT_STREQ(failure.Where(), "void Run()");
    EXPECT_STREQ(failure.What(), "what");
    EXPECT_EQ(failure.Detail(), nullptr);
    EXPECT_STREQ(failure.FormattedWhat(), "void Run(): what");
    ASSERT_NE(failure.Location(), nullptr);
    EXPECT_STREQ(failure.Location()->buildStamp, "Apr 13 2026-09:50:12");
    EXPECT_STREQ(failure.Location()->file, "src/file.cpp");
    EXPECT_STREQ(failure.Location()->function, "void Run()");
    EXPECT_EQ(failure.Location()->line, 17);
    EXPECT_EQ(failure.Location()->object, &object);
}

TEST(Exceptions, LiveOnInTheirCopies) {
    auto original = std::make_unique<CException>(StExLocation("stamp", "file", "function", 3, nullptr), "what");
    const CException copy(*original);
    CException assigned("other", "text", nullptr);
    assigned = *original;
    original.reset();
    EXPECT_STREQ(copy.FormattedWhat(), "function: what");
    EXPECT_STREQ(assigned.Location()->file, "file");
    EXPECT_EQ(assigned.Location()->line, 3);
}

TEST(Exceptions, AreCaughtAsThemselvesAndAsTheirBase) {
    EXPECT_THROW(throw CException("a", "b", nullptr), CException);
    try {
        throw CException("a", "b", nullptr);
    } catch (const IVectorizable& failure) {
        const std::unique_ptr<CValueVector> state(failure.Vectorize());
        EXPECT_EQ(state->Entry(1, true)->String(), "b");
    }
}

TEST(Exceptions, AreWrittenToAVectorAndReadBack) {
    const auto readBack = [](const CException& failure) {
        const std::unique_ptr<CValueVector> state(failure.Vectorize());
        CException other("x", "y", "z");
        other.Devectorize(state.get());
        return other;
    };
    const CException plain = readBack(CException("where", "what", nullptr));
    EXPECT_STREQ(plain.FormattedWhat(), "where: what");
    EXPECT_EQ(plain.Detail(), nullptr);
    EXPECT_EQ(plain.Location(), nullptr);
    EXPECT_STREQ(readBack(CException("where", "what", "")).Detail(), "");
    const CException placed = readBack(CException(StExLocation("stamp", "file", "function", 9, nullptr), "what"));
    EXPECT_STREQ(placed.Where(), "function");
    ASSERT_NE(placed.Location(), nullptr);
    EXPECT_STREQ(placed.Location()->buildStamp, "stamp");
    EXPECT_STREQ(placed.Location()->file, "file");
    EXPECT_EQ(placed.Location()->line, 9);
}

TEST(Exceptions, RefuseAStateOfAnotherForm) {
    CException failure("where", "what", "detail");
    const StFailure expected{"CException::Devectorize", "the state must be a vector of 3 or 7 entries"};
    EXPECT_EQ(FailureOf([&] { failure.Devectorize(nullptr); }), expected);
    CValueVector state;
    state.PushBack(nullptr);
    EXPECT_EQ(FailureOf([&] { failure.Devectorize(&state); }), expected);
    state.PushBack(nullptr);
    state.PushBack(new CValueLong(1));
    EXPECT_EQ(FailureOf([&] { failure.Devectorize(&state); }),
              (StFailure{"CValue", "the value is an integer and can't be used as a text"}));
    CValueVector placed;
    for (const char* text : {"where", "what", "detail", "stamp", "file", "function", "12"}) {
        placed.PushBack(new CValueString(text));
    }
    EXPECT_EQ(FailureOf([&] { failure.Devectorize(&placed); }),
              (StFailure{"CException::Devectorize", "entry 6 of the state, the line, must be a long"}));
    EXPECT_STREQ(failure.FormattedWhat(), "where: what");
    EXPECT_STREQ(failure.Detail(), "detail");
}

TEST(Exceptions, KeepTheirTextsWhenTheyAreMoved) {
    CException failure("where", "what", "detail");
    const CException moved(std::move(failure));
    EXPECT_STREQ(moved.FormattedWhat(), "where: what");
    EXPECT_STREQ(failure.FormattedWhat(), "where: what"); // NOLINT(bugprone-use-after-move): that is what is tested
}

} // namespace
} // namespace QUOR::test
