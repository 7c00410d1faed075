#include "NodeTest.h"

#include <limits>

namespace QUOR::test {
namespace {

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

std::vector<std::uint8_t> RectOf(const CImage& source, const CRect& region) {
    CImage destination(source.Type(), CSize(region.second.x - region.first.x, region.second.y - region.first.y),
                       CSize(0, 0, 0));
    CImageExtraction::Rect(destination, source, region);
    return BytesOf(destination);
}

std::vector<std::uint8_t> BoxOf(const CImage& source, const CBox& region) {
    const CPos& first = region.first;
    const CPos& second = region.second;
    CImage destination(source.Type(), CSize(second.x - first.x, second.y - first.y, second.z - first.z),
                       CSize(0, 0, 0));
    CImageExtraction::Box(source, destination, region);
    return BytesOf(destination);
}

TEST(Extraction, CopiesARectangle) {
    const ImagePtr source = CodedImage(IMAGE_GREY_8, CSize(5, 4));
    EXPECT_EQ(RectOf(*source, CRect(1, 2, 4, 4)), (std::vector<std::uint8_t>{21, 22, 23, 31, 32, 33}));
    EXPECT_EQ(RectOf(*source, CRect(4, 0, 5, 1)), std::vector<std::uint8_t>{4});
    EXPECT_EQ(RectOf(*source, CRect(0, 0, 5, 4)), BytesOf(*source));
}

TEST(Extraction, TakesARectangleFromTheFirstSlice) {
    const ImagePtr source = CodedImage(IMAGE_GREY_8, CSize(3, 2, 2));
    EXPECT_EQ(RectOf(*source, CRect(1, 0, 3, 2)), (std::vector<std::uint8_t>{1, 2, 11, 12}));
}

/// An image of another class than the host library's own.
class CForeignImage : public IImage {
public:
    const IAccess* CreateAccess() const override { return nullptr; }
    const IAccess* CreateAccess(bool /*checked*/) const override { return nullptr; }
    IAccess* CreateAccess() override { return nullptr; }
    IAccess* CreateAccess(bool /*checked*/) override { return nullptr; }
    CImage* Clone(EnCloningStrategy /*strategy*/) const override { return nullptr; }
    const CValueMap& Attributes() const override { return m_image.Attributes(); }
    CValueMap& Attributes() override { return m_image.Attributes(); }
    const CType& Type() const override { return m_image.Type(); }
    const CSize& Size() const override { return m_image.Size(); }
    CImage& Resize(const CSize& size, const CSize& extra) override { return m_image.Resize(size, extra); }
    void Retype(const CType& type) override { m_image.Retype(type); }

private:
    CImage m_image{IMAGE_GREY_8, CSize(2, 1), CSize(0, 0, 0)};
};

TEST(Extraction, RefusesImagesOfOtherClasses) {
    CForeignImage foreign;
    CImage image(IMAGE_GREY_8, CSize(2, 1), CSize(0, 0, 0));
    const std::string words = "only images of the class CImage can be extracted";
    EXPECT_EQ(FailureOf([&] { CImageExtraction::Rect(image, foreign, CRect(0, 0, 2, 1)); }).what, words);
    EXPECT_EQ(FailureOf([&] { CImageExtraction::Rect(foreign, image, CRect(0, 0, 2, 1)); }).what, words);
    EXPECT_EQ(FailureOf([&] { CImageExtraction::Box(image, foreign, CBox(0, 0, 0, 2, 1, 1)); }).what, words);
    EXPECT_EQ(FailureOf([&] { CImageExtraction::Box(foreign, image, CBox(0, 0, 0, 2, 1, 1)); }).what, words);
}

TEST(Extraction, CopiesABox) {
    const ImagePtr source = CodedImage(IMAGE_GREY_8, CSize(3, 3, 3));
    EXPECT_EQ(BoxOf(*source, CBox(1, 0, 1, 3, 2, 3)),
              (std::vector<std::uint8_t>{101, 102, 111, 112, 201, 202, 211, 212}));
    EXPECT_EQ(BoxOf(*source, CBox(0, 0, 0, 3, 3, 3)), BytesOf(*source));
}

TEST(Extraction, CopiesEveryTypeInItsWidth) {
    for (const IImage::CType& type : TypesWithout({IMAGE_RGB_8})) {
        const ImagePtr source = CodedImage(type, CSize(3, 2, 2));
        CImage destination(type, CSize(2, 1, 2), CSize(0, 0, 0));
        CImageExtraction::Box(*source, destination, CBox(1, 1, 0, 3, 2, 2));
        const std::unique_ptr<const IAccess> access(std::as_const(destination).CreateAccess());
        EXPECT_EQ(access->Get(0, 0, 0, 0), 11.0) << type.ToString();
        EXPECT_EQ(access->Get(1, 0, 0, 0), 12.0) << type.ToString();
        EXPECT_EQ(access->Get(0, 0, 1, 0), 111.0) << type.ToString();
        EXPECT_EQ(access->Get(1, 0, 1, 0), 112.0) << type.ToString();
    }
}

TEST(Extraction, CopiesEveryPlaneOfAColourImage) {
    const ImagePtr source =
        MakeImage<std::uint8_t>(IMAGE_RGB_8, CSize(2, 2), {1, 2, 3, 4, 11, 12, 13, 14, 21, 22, 23, 24});
    EXPECT_EQ(RectOf(*source, CRect(1, 0, 2, 2)), (std::vector<std::uint8_t>{2, 4, 12, 14, 22, 24}));
    const IImage::CType pixels("PIXELS", 3, 1, true, 77);
    const ImagePtr together = MakeImage<std::uint8_t>(pixels, CSize(2, 2), {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    EXPECT_EQ(RectOf(*together, CRect(1, 0, 2, 2)), (std::vector<std::uint8_t>{4, 5, 6, 10, 11, 12}));
}

TEST(Extraction, LeavesAttributesAlone) {
    ImagePtr source = CodedImage(IMAGE_GREY_8, CSize(2, 1));
    source->Attributes().SetEntry("key", new CValueLong(1));
    CImage destination(IMAGE_GREY_8, CSize(1, 1), CSize(0, 0, 0));
    CImageExtraction::Rect(destination, *source, CRect(0, 0, 1, 1));
    EXPECT_TRUE(destination.Attributes().IsEmpty());
}

TEST(Extraction, ServesEmptyRegionsWhereverTheyLie) {
    const ImagePtr source = CodedImage(IMAGE_GREY_8, CSize(3, 2, 2));
    EXPECT_TRUE(RectOf(*source, CRect(1, 1, 1, 2)).empty());
    EXPECT_TRUE(RectOf(*source, CRect(3, 2, 3, 2)).empty());
    EXPECT_TRUE(RectOf(*source, CRect(-7, 50, 7, 50)).empty());
    EXPECT_TRUE(BoxOf(*source, CBox(0, 0, 9, 3, 2, 9)).empty());
    const CImage nothing(IMAGE_GREY_8, CSize(0, 0, 0), CSize(0, 0, 0));
    EXPECT_TRUE(BoxOf(nothing, CBox(0, 0, 0, 0, 0, 0)).empty());
}

TEST(Extraction, RefusesRegionsThatLeaveTheSource) {
    const ImagePtr source = CodedImage(IMAGE_GREY_8, CSize(3, 2, 2));
    CImage destination(IMAGE_GREY_8, CSize(1, 1), CSize(0, 0, 0));
    const auto rect = [&](const CRect& region) {
        return FailureOf([&] { CImageExtraction::Rect(destination, *source, region); });
    };
    const auto box = [&](const CBox& region) {
        return FailureOf([&] { CImageExtraction::Box(*source, destination, region); });
    };
    EXPECT_EQ(rect(CRect(-1, 0, 1, 2)), (StFailure{"CImageExtraction::Rect", "the region (-1, 0, 0)->(1, 2, 1) leaves "
                                                                             "the image of size (3, 2, 2)"}));
    EXPECT_EQ(box(CBox(0, 0, 0, 3, 2, 3)), (StFailure{"CImageExtraction::Box", "the region (0, 0, 0)->(3, 2, 3) leaves "
                                                                               "the image of size (3, 2, 2)"}));
    for (const CRect& region : {CRect(2, 0, 4, 1), CRect(0, -1, 1, 1), CRect(0, 1, 1, 3), CRect(2, 0, 1, 1),
                                CRect(1, 1, 1, 0), CRect(kLeast, 0, kMost, 1), CRect(kMost, 0, kLeast, 1)}) {
        EXPECT_EQ(rect(region).where, "CImageExtraction::Rect");
    }
    for (const CBox& region : {CBox(0, 0, -1, 1, 1, 1), CBox(0, 0, 1, 1, 1, 0), CBox(0, 0, 2, 1, 1, 3)}) {
        EXPECT_EQ(box(region).where, "CImageExtraction::Box");
    }
    const CImage planes(IMAGE_GREY_8, CSize(3, 2, 0), CSize(0, 0, 0));
    EXPECT_EQ(FailureOf([&] { CImageExtraction::Rect(destination, planes, CRect(0, 0, 1, 1)); }).where,
              "CImageExtraction::Rect")
        << "there is no first slice";
}

TEST(Extraction, RefusesAnEmptyRegionThatNoDestinationCanHave) {
    const ImagePtr source = CodedImage(IMAGE_GREY_8, CSize(3, 2));
    CImage destination(IMAGE_GREY_8, CSize(0, 0), CSize(0, 0, 0));
    const StFailure expected{"CImageExtraction::Rect", "the destination has the size (0, 0), the region (-1, 0, 1)"};
    EXPECT_EQ(FailureOf([&] { CImageExtraction::Rect(destination, *source, CRect(kLeast, 0, kMost, 0)); }), expected)
        << "the width is beyond 64 bits";
}

TEST(Extraction, RefusesADestinationThatDoesNotMatch) {
    const ImagePtr source = CodedImage(IMAGE_GREY_8, CSize(3, 2, 2));
    CImage other(IMAGE_GREY_16, CSize(1, 1), CSize(0, 0, 0));
    EXPECT_EQ(FailureOf([&] { CImageExtraction::Rect(other, *source, CRect(0, 0, 1, 1)); }),
              (StFailure{"CImageExtraction::Rect", "the destination is of type IMAGE_GREY_16, the source of type "
                                                   "IMAGE_GREY_8"}));
    for (const CSize& size : {CSize(1, 2, 1), CSize(2, 1, 1), CSize(2, 2, 2)}) {
        CImage destination(IMAGE_GREY_8, size, CSize(0, 0, 0));
        EXPECT_EQ(FailureOf([&] { CImageExtraction::Rect(destination, *source, CRect(0, 0, 2, 2)); }),
                  (StFailure{"CImageExtraction::Rect",
                             "the destination has the size " + size.ToString() + ", the region (2, 2, 1)"}));
    }
    CImage flat(IMAGE_GREY_8, CSize(2, 2), CSize(0, 0, 0));
    EXPECT_EQ(FailureOf([&] { CImageExtraction::Box(*source, flat, CBox(0, 0, 0, 2, 2, 2)); }),
              (StFailure{"CImageExtraction::Box", "the destination has the size (2, 2), the region (2, 2, 2)"}));
    EXPECT_NO_THROW(CImageExtraction::Box(*source, flat, CBox(0, 0, 1, 2, 2, 2))) << "the dimension count is free";
    EXPECT_EQ(BytesOf(flat), (std::vector<std::uint8_t>{100, 101, 110, 111}));
}

} // namespace
} // namespace QUOR::test
