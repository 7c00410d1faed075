#include "NodeTest.h"

namespace QUOR::test {
namespace {

/// Counts its deletions; copies count too.
struct StCounted {
    explicit StCounted(int& counter, int content = 0) : deletions(&counter), number(content) {}
    StCounted(const StCounted&) = default;
    StCounted& operator=(const StCounted&) = delete;
    ~StCounted() { ++*deletions; }
    int* deletions;
    int number;
};

/// A class of which no copies can be made.
struct StSingle {
    StSingle() = default;
    StSingle(const StSingle&) = delete;
    StSingle& operator=(const StSingle&) = delete;
    ~StSingle() = default;
};

using Borrowed = CValuePointer<StCounted>;
using Owned = CValueOwnedPointer<StCounted>;

int NumberIn(const CValue& value) { return UnwrapPointer<StCounted>(&value)->number; }

TEST(Pointers, TellTheirClassesAndTheirObject) {
    CImage image(IMAGE_GREY_8, CSize(1, 1), CSize(0, 0, 0));
    CValuePointer<CImage> borrowed(&image, 1);
    EXPECT_EQ(borrowed.GenericType(), EnValType::Pointer);
    EXPECT_EQ(borrowed.Type(), *CValuePointer<CImage>::TypeId());
    EXPECT_EQ(borrowed.ElementType(), typeid(CImage));
    EXPECT_EQ(borrowed.Pointer(), &borrowed);
    EXPECT_EQ(std::as_const(borrowed).Pointer(), &borrowed);
    EXPECT_EQ(borrowed.Void(), &image);
    EXPECT_EQ(std::as_const(borrowed).Void(), &image);
    EXPECT_EQ(borrowed.VoidPointer(), &image);
    EXPECT_EQ(std::as_const(borrowed).VoidPointer(), &image);
    EXPECT_EQ(borrowed.Count(), 1U);
    EXPECT_TRUE(borrowed.IsLink());
    EXPECT_TRUE(borrowed.IsValid());
    const CValueOwnedPointer<CImage> empty(nullptr, 1);
    EXPECT_EQ(empty.Type(), *CValueOwnedPointer<CImage>::TypeId());
    EXPECT_NE(empty.Type(), *CValuePointer<CImage>::TypeId());
    EXPECT_EQ(empty.ElementType(), typeid(CImage));
    EXPECT_FALSE(empty.IsLink());
    EXPECT_FALSE(empty.IsValid());
}

TEST(Pointers, FreeWhatTheyOwnOnce) {
    int deletions = 0;
    { const Owned owned(new StCounted(deletions), 1); }
    EXPECT_EQ(deletions, 1);
    {
        StCounted object(deletions);
        const Borrowed borrowed(&object);
        EXPECT_EQ(deletions, 1);
    }
    EXPECT_EQ(deletions, 2);
    { const CValueOwnedPointer<std::string> several(new std::string[3], 3); }
}

TEST(Pointers, CloneAsOwnersOfACopyOrAsBorrowers) {
    int deletions = 0;
    Owned owned(new StCounted(deletions, 7));
    owned.Meta().SetEntry("label", new CValueString(CString("object")));
    {
        const std::unique_ptr<CValue> copy(owned.Clone(EnTfOwnership::Copy));
        EXPECT_EQ(copy->Type(), typeid(Owned));
        EXPECT_NE(copy->VoidPointer(), owned.Void());
        EXPECT_EQ(NumberIn(*copy), 7);
        EXPECT_EQ(copy->Meta().EntryString("label", ""), "object");
        const std::unique_ptr<CValue> link(owned.Clone(EnTfOwnership::Link));
        EXPECT_EQ(link->Type(), typeid(Borrowed));
        EXPECT_TRUE(link->IsLink());
        EXPECT_EQ(link->VoidPointer(), owned.Void());
        EXPECT_EQ(link->Meta().EntryString("label", ""), "object");
        const std::unique_ptr<CValue> fromLink(link->Clone(EnTfOwnership::Copy));
        EXPECT_FALSE(fromLink->IsLink());
        const std::unique_ptr<CValue> nonOwned(owned.CloneNonOwned());
        EXPECT_EQ(nonOwned->VoidPointer(), owned.Void());
        EXPECT_TRUE(nonOwned->IsLink());
    }
    EXPECT_EQ(deletions, 2) << "the two copies";
    const std::unique_ptr<CValue> none(CValueOwnedPointer<CImage>().Clone(EnTfOwnership::Copy));
    EXPECT_FALSE(none->IsValid());
}

TEST(Pointers, CopyIntoAnOwnerCopiesTheObjectWhateverTheMode) {
    int deletions = 0;
    for (const EnTfOwnership mode : {EnTfOwnership::Copy, EnTfOwnership::Link}) {
        deletions = 0;
        StCounted object(deletions, 8);
        Owned owned(new StCounted(deletions, 1));
        owned.Copy(Borrowed(&object), mode, true);
        EXPECT_EQ(deletions, 1) << "the earlier object";
        EXPECT_EQ(NumberIn(owned), 8);
        EXPECT_NE(owned.Void(), &object);
        owned.Copy(owned, mode, true);
        EXPECT_EQ(NumberIn(owned), 8);
    }
}

TEST(Pointers, CopyIntoABorrowerBorrows) {
    int deletions = 0;
    const Owned owned(new StCounted(deletions, 9));
    Borrowed borrowed;
    EXPECT_FALSE(borrowed.IsLink()) << "there is nothing to borrow";
    borrowed.Copy(owned, EnTfOwnership::Copy, true);
    EXPECT_EQ(borrowed.Void(), owned.Void());
    EXPECT_EQ(deletions, 0);
}

TEST(Pointers, CopyTheirSideInformationOnlyIfAsked) {
    int deletions = 0;
    StCounted object(deletions);
    Borrowed labelled(&object);
    labelled.Meta().SetEntry("label", new CValueString(CString("object")));
    Borrowed borrowed;
    borrowed.Copy(labelled, EnTfOwnership::Copy, false);
    EXPECT_EQ(borrowed.Void(), &object);
    EXPECT_FALSE(borrowed.Meta().HasEntry("label"));
    borrowed.Copy(labelled, EnTfOwnership::Copy, true);
    EXPECT_EQ(borrowed.Meta().EntryString("label", ""), "object");
}

TEST(Pointers, MoveTheObjectBetweenOwners) {
    int deletions = 0;
    Owned from(new StCounted(deletions, 3));
    const void* object = from.Void();
    Owned to(new StCounted(deletions, 4));
    to.Move(from);
    EXPECT_EQ(deletions, 1);
    EXPECT_EQ(to.Void(), object);
    EXPECT_FALSE(from.IsValid());
    Borrowed borrowed(UnwrapPointer<StCounted>(&to));
    EXPECT_EQ(FailureOf([&] { to.Move(borrowed); }).where, "CValuePointer") << "what is borrowed can't be owned";
    EXPECT_EQ(to.Void(), object);
}

TEST(Pointers, MoveALinkOutOfABorrowerButNotOutOfAnOwner) {
    int deletions = 0;
    Owned owned(new StCounted(deletions));
    Borrowed first;
    first.Move(owned);
    EXPECT_EQ(first.Void(), owned.Void());
    EXPECT_TRUE(owned.IsValid());
    Borrowed second;
    second.Move(first);
    EXPECT_EQ(second.Void(), owned.Void());
    EXPECT_FALSE(first.IsValid());
    second.Move(second);
    EXPECT_EQ(second.Void(), owned.Void()) << "nothing to do";
}

TEST(Pointers, MoveFromAValueInsideTheirOwnObject) {
    auto outer = std::make_unique<CImage>(IMAGE_GREY_8, CSize(1, 1), CSize(0, 0, 0));
    outer->Attributes().SetEntry("inner", new CValueOwnedPointer<CImage>(Bytes(2, 1, {1, 2}).release()));
    CValue* inner = outer->Attributes().Entry("inner", true);
    CValueOwnedPointer<CImage> owned(outer.release());
    owned.Move(*inner);
    EXPECT_EQ(BytesOf(*UnwrapPointer<CImage>(&owned)), (std::vector<std::uint8_t>{1, 2}));
}

TEST(Pointers, CannotCopyObjectsWithoutCopiesNorSeveralObjects) {
    CValueOwnedPointer<StSingle> single(new StSingle);
    EXPECT_EQ(FailureOf([&] { delete single.Clone(EnTfOwnership::Copy); }).where, "CValuePointer");
    const std::unique_ptr<CValue> link(single.Clone(EnTfOwnership::Link));
    EXPECT_EQ(link->VoidPointer(), single.Void());
    const CValueOwnedPointer<std::string> several(new std::string[2], 2);
    EXPECT_EQ(FailureOf([&] { delete several.Clone(EnTfOwnership::Copy); }).where, "CValuePointer");
}

TEST(Pointers, AreEqualIfTheyPointToTheSameObject) {
    CImage a(IMAGE_GREY_8, CSize(1, 1), CSize(0, 0, 0));
    const CImage b(a);
    const CValuePointer<CImage> toA(&a);
    EXPECT_TRUE(toA.EqualData(CValuePointer<CImage>(&a)));
    EXPECT_FALSE(toA.EqualData(CValueOwnedPointer<CImage>(new CImage(b))));
    EXPECT_FALSE(toA.EqualData(CValuePointer<CImage>()));
    EXPECT_TRUE(CValuePointer<CImage>().EqualData(CValueOwnedPointer<CImage>()));
    EXPECT_FALSE(CValuePointer<CImage>().EqualData(CValuePointer<std::string>()));
    EXPECT_FALSE(toA.EqualData(CValueLong(1)));
}

TEST(UnwrapPointer, GivesTheImageOrNull) {
    CValueOwnedPointer<CImage> value(Bytes(1, 1, {5}).release());
    EXPECT_EQ(UnwrapPointer<CImage>(&value), value.Void());
    EXPECT_EQ(UnwrapPointer<CImage>(&std::as_const(value)), value.Void());
    CValueOwnedPointer<CImage> empty(nullptr, 1);
    EXPECT_EQ(UnwrapPointer<CImage>(&empty), nullptr);
    EXPECT_EQ(UnwrapPointer<CImage>(static_cast<CValue*>(nullptr)), nullptr);
    EXPECT_EQ(UnwrapPointer<CImage>(static_cast<const CValue*>(nullptr)), nullptr);
}

TEST(UnwrapPointer, RaisesWithItsPlaceForAnotherValue) {
    struct StRow {
        std::unique_ptr<CValue> value;
        const char* found;
    };
    std::vector<StRow> rows;
    rows.push_back({std::make_unique<CValueBool>(), "a boolean"});
    rows.push_back({std::make_unique<CValueDouble>(), "a floating number"});
    rows.push_back({std::make_unique<CValueLong>(), "an integer"});
    rows.push_back({std::make_unique<CValueMap>(), "a map"});
    rows.push_back({std::make_unique<CValueString>(), "a text"});
    rows.push_back({std::make_unique<CValueOwnedPointer<std::string>>(), "a pointer"});
    rows.push_back({std::make_unique<CValueVector>(), "a vector"});
    for (const StRow& row : rows) {
        const auto failsAtLine = [&](int line, bool constant, auto* value) {
            try {
                UnwrapPointer<CImage>(value);
                ADD_FAILURE() << "nothing was raised for " << row.found;
            } catch (const CException& failure) {
                EXPECT_EQ(failure.What(), std::string("the value must be a pointer to an image, but is ") + row.found);
                EXPECT_EQ(failure.Detail(), nullptr);
                ASSERT_NE(failure.Location(), nullptr);
                EXPECT_EQ(failure.Location()->line, line);
                EXPECT_STREQ(failure.Location()->file, "include/Value/ValuePointer.h");
                EXPECT_EQ(failure.Location()->object, nullptr);
                const std::string signature = failure.Location()->function;
                EXPECT_NE(signature.find("UnwrapPointer("), std::string::npos) << signature;
                EXPECT_EQ(signature.find("(const ") != std::string::npos, constant) << signature;
                EXPECT_STREQ(failure.Where(), failure.Location()->function);
                // "Apr 13 2026-09:50:12"
                EXPECT_EQ(std::string(failure.Location()->buildStamp).size(), 20U);
                EXPECT_EQ(failure.Location()->buildStamp[11], '-');
            }
        };
        failsAtLine(727, false, row.value.get());
        failsAtLine(744, true, static_cast<const CValue*>(row.value.get()));
    }
}

TEST(UnwrapPointer, TellsThatAValueIsMissing) {
    const StExLocation location("stamp", "file", "function", 1, nullptr);
    EXPECT_EQ(FailureOf([&] { CValuePointerBase::CheckTypeAndRaiseException(location, nullptr, typeid(CImage)); }),
              (StFailure{"function", "the value must be a pointer to an image, but is missing"}));
    const CValueOwnedPointer<CImage> image;
    EXPECT_NO_THROW(CValuePointerBase::CheckTypeAndRaiseException(location, &image, typeid(CImage)));
}

} // namespace
} // namespace QUOR::test
