#include "NodeTest.h"

#include <cmath>
#include <limits>
#include <new>

namespace QUOR::test {
namespace {

const CSize kNoExtra(0, 0, 0);

/// Colour elements whose channels lie together.
const IImage::CType kPixels("PIXELS", 3, 2, true, 77);

TEST(Types, HaveTheFieldsOfTheirTable) {
    struct StRow {
        IImage::CType type;
        const char* name;
        int channels;
        int channelBytes;
        int pixelBytes;
        int kind;
    };
    const std::vector<StRow> rows{
        {IMAGE_BINARY_FG, "IMAGE_BINARY_FG", 1, 1, 1, 2}, {IMAGE_BINARY_BG, "IMAGE_BINARY_BG", 1, 1, 1, 3},
        {IMAGE_GREY_8, "IMAGE_GREY_8", 1, 1, 1, 5},       {IMAGE_GREY_16, "IMAGE_GREY_16", 1, 2, 2, 6},
        {IMAGE_GREY_32, "IMAGE_GREY_32", 1, 4, 4, 7},     {IMAGE_GREY_F, "IMAGE_GREY_F", 1, 4, 4, 8},
        {IMAGE_GREY_D, "IMAGE_GREY_D", 1, 8, 8, 9},       {IMAGE_GREY_64, "IMAGE_GREY_64", 1, 8, 8, 19},
        {IMAGE_RGB_8, "IMAGE_RGB_8", 3, 1, 3, 32},
    };
    for (const StRow& row : rows) {
        EXPECT_STREQ(row.type.ToString(), row.name);
        EXPECT_EQ(row.type.channels, row.channels) << row.name;
        EXPECT_EQ(row.type.channelBytes, row.channelBytes) << row.name;
        EXPECT_EQ(row.type.pixelBytes, row.pixelBytes) << row.name;
        EXPECT_EQ(row.type.kind, row.kind) << row.name;
        EXPECT_FALSE(row.type.interleaved) << row.name;
    }
    for (std::size_t a = 0; a < rows.size(); ++a) {
        for (std::size_t b = 0; b < rows.size(); ++b) {
            EXPECT_EQ(rows[a].type == rows[b].type, a == b);
            EXPECT_EQ(rows[a].type != rows[b].type, a != b);
        }
    }
}

TEST(Types, AreEqualByTheirFieldsWhateverTheirNames) {
    EXPECT_TRUE(IImage::CType("OTHER", 1, 1, false, 5) == IMAGE_GREY_8);
    EXPECT_TRUE(IImage::CType("IMAGE_GREY_8", 1, 1, true, 5) != IMAGE_GREY_8);
    EXPECT_TRUE(IImage::CType("IMAGE_GREY_8", 2, 1, false, 5) != IMAGE_GREY_8);
    EXPECT_EQ(kPixels.pixelBytes, 6);
    EXPECT_STREQ(kPixels.ToString(), "PIXELS");
}

TEST(Images, HoldOneBlockOfTheirSize) {
    for (const IImage::CType& type : AllTypes()) {
        const CImage image(type, CSize(5, 3, 2), kNoExtra);
        EXPECT_EQ(image.Type(), type);
        EXPECT_EQ(image.Size(), CSize(5, 3, 2));
        EXPECT_EQ(image.Buffer().Size(), 30U * type.pixelBytes);
        EXPECT_TRUE(image.Attributes().IsEmpty());
    }
    EXPECT_EQ(CImage(kPixels, CSize(5, 3), kNoExtra).Buffer().Size(), 90U);
    EXPECT_EQ(CImage(IMAGE_GREY_8, CSize(5, 3), kNoExtra).Size().dim, 2);
}

TEST(Images, AreEmptyWithAnExtentOfZero) {
    constexpr std::int64_t huge = std::int64_t{1} << 62;
    for (const CSize& size :
         {CSize(0, 0, 0), CSize(0, 5), CSize(5, 0, 3), CSize(0, huge, huge), CSize(huge, huge, 0)}) {
        const CImage image(IMAGE_GREY_D, size, kNoExtra);
        EXPECT_EQ(image.Size(), size);
        EXPECT_EQ(image.Buffer().Size(), 0U);
        EXPECT_EQ(image.Buffer().Data(), nullptr);
        CImage copy(image);
        EXPECT_EQ(copy.Buffer().Set(1).Size(), 0U);
        EXPECT_EQ(copy.Size(), size);
    }
}

TEST(Images, RefuseExtentsThatNoImageHas) {
    constexpr std::int64_t huge = std::int64_t{1} << 62;
    const auto failure = [](const IImage::CType& type, const CSize& size) {
        return FailureOf([&] { CImage(type, size, kNoExtra); });
    };
    const std::string negative = "an image can't have the negative extents ";
    EXPECT_EQ(failure(IMAGE_GREY_8, CSize(-1, 5)), (StFailure{"CImage", negative + "(-1, 5)"}));
    EXPECT_EQ(failure(IMAGE_GREY_8, CSize(5, -2, 3)), (StFailure{"CImage", negative + "(5, -2, 3)"}));
    EXPECT_EQ(failure(IMAGE_GREY_8, CSize(0, 0, -3)), (StFailure{"CImage", negative + "(0, 0, -3)"}));
    EXPECT_EQ(failure(IMAGE_GREY_8, CSize(std::numeric_limits<std::int64_t>::min(), -1)),
              (StFailure{"CImage", negative + "(-9223372036854775808, -1)"}));
    EXPECT_EQ(failure(IMAGE_GREY_8, CSize(huge, 2)),
              (StFailure{"CImage", "an image of the extents (4611686018427387904, 2) is too large"}));
    EXPECT_EQ(failure(IMAGE_GREY_16, CSize(huge, 1, 1)),
              (StFailure{"CImage", "an image of the extents (4611686018427387904, 1, 1) is too large"}));
    EXPECT_EQ(failure(IMAGE_GREY_8, CSize(huge, huge, huge)).where, "CImage");
}

TEST(Images, RefuseElementsOfMoreBytesThanAreCounted) {
    const IImage::CType widest("WIDEST", 32767, 2, true, 99);
    EXPECT_EQ(CImage(widest, CSize(2, 1), kNoExtra).Buffer().Size(), 131068);
    const IImage::CType tooWide("TOO_WIDE", 32769, 2, true, 99); // 65538 bytes, of which 2 would be counted
    const StFailure expected{"CImage", "an element of the type TOO_WIDE has more than 65535 bytes"};
    EXPECT_EQ(FailureOf([&] { CImage(tooWide, CSize(2, 1), kNoExtra); }), expected);
    EXPECT_EQ(CImage(tooWide, CSize(2, 0), kNoExtra).Buffer().Size(), 0);
    CImage image(IMAGE_GREY_16, CSize(2, 1), kNoExtra);
    EXPECT_EQ(FailureOf([&] { image.Retype(tooWide); }), expected);
    EXPECT_EQ(image.Type(), IMAGE_GREY_16);
}

TEST(Images, RaiseBadAllocForMemoryThatCannotBeHad) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    EXPECT_THROW(CImage(IMAGE_GREY_8, CSize(most, 1), kNoExtra), std::bad_alloc);
    EXPECT_THROW(CImage(IMAGE_GREY_8, CSize(most / 4, 1), kNoExtra), std::bad_alloc);
}

TEST(Images, CopyElementsAndAttributesIndependently) {
    CImage image(*Bytes(2, 1, {1, 2}));
    image.Attributes().SetEntry("Image/x-name", new CValueString(CString("length")));
    CImage copy(image);
    EXPECT_TRUE(SameImage(image, copy));
    EXPECT_NE(copy.Buffer().Data(), image.Buffer().Data());
    EXPECT_EQ(copy.Attributes().EntryString("Image/x-name", ""), "length");
    copy.Buffer().Set(9);
    copy.Attributes().Clear();
    EXPECT_EQ(BytesOf(image), (std::vector<std::uint8_t>{1, 2}));
    EXPECT_TRUE(image.Attributes().HasEntry("Image/x-name"));
}

TEST(Images, ResizeKeepsTypeAndAttributes) {
    CImage image(IMAGE_GREY_16, CSize(4, 3), kNoExtra);
    image.Attributes().SetEntry("key", new CValueLong(1));
    const void* block = image.Buffer().Data();
    EXPECT_EQ(&image.Resize(CSize(3, 4, 1), kNoExtra), &image);
    EXPECT_EQ(image.Size(), CSize(3, 4, 1));
    EXPECT_EQ(image.Buffer().Data(), block) << "as many bytes as before";
    image.Resize(CSize(5, 5), kNoExtra);
    EXPECT_EQ(image.Buffer().Size(), 50U);
    EXPECT_EQ(image.Type(), IMAGE_GREY_16);
    EXPECT_EQ(image.Attributes().EntryLong("key"), 1);
    image.Resize(CSize(0, 0, 0), kNoExtra);
    EXPECT_EQ(image.Buffer().Size(), 0U);
}

TEST(Images, StayAsTheyAreWhenResizeFails) {
    CImage image(*Bytes(2, 1, {1, 2}));
    EXPECT_EQ(FailureOf([&] { image.Resize(CSize(-4, 1), kNoExtra); }),
              (StFailure{"CImage", "an image can't have the negative extents (-4, 1)"}));
    EXPECT_THROW(image.Resize(CSize(std::numeric_limits<std::int64_t>::max(), 1), kNoExtra), std::bad_alloc);
    EXPECT_TRUE(SameImage(*Bytes(2, 1, {1, 2}), image));
}

TEST(Images, CloneWithOrWithoutAttributesOrElements) {
    CImage image(*Bytes(3, 1, {1, 2, 3}));
    image.Attributes().SetEntry("key", new CValueLong(1));
    const auto clone = [&](IImage::EnCloningStrategy strategy) { return ImagePtr(image.Clone(strategy)); };
    const ImagePtr everything = clone(IImage::EnCloningStrategy::Everything);
    EXPECT_TRUE(SameImage(image, *everything));
    EXPECT_TRUE(everything->Attributes().HasEntry("key"));
    const ImagePtr elements = clone(IImage::EnCloningStrategy::WithoutAttributes);
    EXPECT_TRUE(SameImage(image, *elements));
    EXPECT_TRUE(elements->Attributes().IsEmpty());
    const ImagePtr shape = clone(IImage::EnCloningStrategy::Shape);
    EXPECT_EQ(shape->Type(), image.Type());
    EXPECT_EQ(shape->Size(), image.Size());
    EXPECT_TRUE(shape->Attributes().IsEmpty());
}

TEST(Images, RetypeReadsTheSameBitsAnew) {
    CImage image(*Floats(1, 1, {1.0F}));
    image.Retype(IMAGE_GREY_32);
    EXPECT_EQ(image.Type(), IMAGE_GREY_32);
    EXPECT_EQ(ElementsOf<std::uint32_t>(image), std::vector<std::uint32_t>{0x3F800000U});
    EXPECT_EQ(FailureOf([&] { image.Retype(IMAGE_GREY_D); }),
              (StFailure{"CImage::Retype", "elements of type IMAGE_GREY_32 can't be read as IMAGE_GREY_D"}));
    EXPECT_EQ(image.Type(), IMAGE_GREY_32);
}

TEST(Access, ReadsAndWritesElementsOfEveryType) {
    for (const IImage::CType& type : AllTypes()) {
        CImage image(type, CSize(3, 2, 2), kNoExtra);
        image.Buffer().Set(0);
        const std::unique_ptr<IAccess> access(image.CreateAccess());
        for (int channel = 0; channel < type.channels; ++channel) {
            access->Set(2, 1, 1, channel, 10.0 + channel);
            access->Set(0, 1, 0, channel, 20.0 + channel);
        }
        const std::unique_ptr<const IAccess> reading(std::as_const(image).CreateAccess());
        for (int channel = 0; channel < type.channels; ++channel) {
            EXPECT_EQ(reading->Get(2, 1, 1, channel), 10.0 + channel) << type.ToString();
            EXPECT_EQ(reading->Get(0, 1, 0, channel), 20.0 + channel) << type.ToString();
            EXPECT_EQ(reading->Get(1, 1, 0, channel), 0.0) << type.ToString();
        }
    }
}

TEST(Access, FollowsTheLayoutOfTheBlock) {
    CImage planes(IMAGE_RGB_8, CSize(2, 1), kNoExtra);
    CImage pixels(kPixels, CSize(2, 1), kNoExtra);
    for (CImage* image : {&planes, &pixels}) {
        const std::unique_ptr<IAccess> access(image->CreateAccess());
        for (int channel = 0; channel < 3; ++channel) {
            access->Set(0, 0, 0, channel, channel + 1);
            access->Set(1, 0, 0, channel, channel + 11);
        }
        EXPECT_EQ(access->Get(1, 0, 0, 2), 13.0);
    }
    EXPECT_EQ(ElementsOf<std::uint8_t>(planes), (std::vector<std::uint8_t>{1, 11, 2, 12, 3, 13}));
    EXPECT_EQ(ElementsOf<std::uint16_t>(pixels), (std::vector<std::uint16_t>{1, 2, 3, 11, 12, 13}));
}

TEST(Access, LimitsNumbersToTheRangeOfIntegers) {
    const std::vector<std::pair<double, std::uint8_t>> rows{{254.9, 254}, {255.0, 255}, {255.9, 255},
                                                            {256.0, 255}, {1e300, 255}, {-0.5, 0},
                                                            {-1.0, 0},    {-1e300, 0},  {std::nan(""), 0}};
    for (const auto& [number, expected] : rows) {
        CImage image(IMAGE_GREY_8, CSize(1, 1), kNoExtra);
        const std::unique_ptr<IAccess> access(image.CreateAccess());
        access->Set(0, 0, 0, 0, number);
        EXPECT_EQ(ElementsOf<std::uint8_t>(image).front(), expected) << number;
    }
    CImage wide(IMAGE_GREY_64, CSize(1, 1), kNoExtra);
    const std::unique_ptr<IAccess> access(wide.CreateAccess());
    access->Set(0, 0, 0, 0, 18446744073709551616.0);
    EXPECT_EQ(ElementsOf<std::uint64_t>(wide).front(), std::numeric_limits<std::uint64_t>::max());
}

TEST(Access, RaisesOutsideTheImageIfChecked) {
    CImage image(IMAGE_RGB_8, CSize(3, 2), kNoExtra);
    const std::unique_ptr<IAccess> access(image.CreateAccess(true));
    EXPECT_EQ(FailureOf([&] { static_cast<void>(access->Get(3, 0, 0, 0)); }),
              (StFailure{"IAccess", "element (3, 0, 0) of channel 0 lies outside an image of the extents (3, 2)"}));
    EXPECT_EQ(FailureOf([&] { access->Set(0, 0, 0, 3, 1.0); }),
              (StFailure{"IAccess", "element (0, 0, 0) of channel 3 lies outside an image of the extents (3, 2)"}));
    struct StPlace {
        std::int64_t x, y, z;
        int channel;
    };
    for (const StPlace& place : {StPlace{-1, 0, 0, 0}, StPlace{0, -1, 0, 0}, StPlace{0, 2, 0, 0}, StPlace{0, 0, -1, 0},
                                 StPlace{0, 0, 1, 0}, StPlace{0, 0, 0, -1}}) {
        EXPECT_EQ(FailureOf([&] { static_cast<void>(access->Get(place.x, place.y, place.z, place.channel)); }).where,
                  "IAccess");
    }
    const std::unique_ptr<const IAccess> constant(std::as_const(image).CreateAccess());
    EXPECT_THROW(static_cast<void>(constant->Get(3, 0, 0, 0)), CException) << "checked by default";
}

TEST(Access, IsThereWithoutChecksToo) {
    CImage image(*Bytes(2, 2, {1, 2, 3, 4}));
    const std::unique_ptr<IAccess> access(image.CreateAccess(false));
    access->Set(1, 1, 0, 0, 9.0);
    const std::unique_ptr<const IAccess> reading(std::as_const(image).CreateAccess(false));
    EXPECT_EQ(reading->Get(1, 1, 0, 0), 9.0);
    EXPECT_EQ(reading->Get(0, 1, 0, 0), 3.0);
}

TEST(Access, RefusesSamplesOfOddWidth) {
    const IImage::CType odd("ODD", 1, 3, false, 78);
    CImage image(odd, CSize(2, 1), kNoExtra);
    EXPECT_EQ(FailureOf([&] { delete image.CreateAccess(); }),
              (StFailure{"CImage::CreateAccess", "samples of type ODD can't be accessed"}));
}

} // namespace
} // namespace QUOR::test
