#include "MemoryLimit.h"
#include "NodeTest.h"

#include <algorithm>
#include <new>

namespace QUOR::test {
namespace {

constexpr std::size_t kLarge = std::size_t{5} << 20; // kept when it is freed

/// What the limit says of a buffer, "" if it is made.
std::string RefusalOf(std::size_t bytes) {
    try {
        const CBuffer buffer(bytes);
        return "";
    } catch (const CImageMemoryLimit& failure) {
        return failure.what();
    }
}

TEST(MemoryLimit, IsNoneAtFirst) {
    EXPECT_EQ(ImageMemoryLimit(), kNoImageMemoryLimit);
    EXPECT_EQ(kNoImageMemoryLimit, std::numeric_limits<std::size_t>::max());
    EXPECT_EQ(ImageMemoryInUse(), 0U);
}

TEST(MemoryLimit, CountsTheBytesOfLiveBlocks) {
    {
        CBuffer small(100);
        EXPECT_EQ(ImageMemoryInUse(), 100U);
        const CBuffer copy(small);
        EXPECT_EQ(ImageMemoryInUse(), 200U);
        const CBuffer moved(std::move(small));
        EXPECT_EQ(ImageMemoryInUse(), 200U);
        CBuffer large(kLarge);
        EXPECT_EQ(ImageMemoryInUse(), 200U + kLarge);
        large = CBuffer(7);
        EXPECT_EQ(ImageMemoryInUse(), 207U) << "the large block is kept, but no image's";
        large = copy;
        EXPECT_EQ(ImageMemoryInUse(), 300U);
        const CBuffer none(0);
        const ImagePtr image = ZeroImage(IMAGE_RGB_8, CSize(10, 2, 2));
        EXPECT_EQ(ImageMemoryInUse(), 420U);
    }
    EXPECT_EQ(ImageMemoryInUse(), 0U);
}

TEST(MemoryLimit, CountsTablesOfZeros) {
    const CRoomForImages room(1000);
    auto* zeros = static_cast<const unsigned char*>(AllocateZeros(600));
    EXPECT_EQ(ImageMemoryInUse(), 600U);
    EXPECT_TRUE(std::all_of(zeros, zeros + 600, [](unsigned char byte) { return byte == 0; }));
    EXPECT_THROW(AllocateZeros(401), CImageMemoryLimit);
    FreeZeros(const_cast<unsigned char*>(zeros), 600);
    EXPECT_EQ(ImageMemoryInUse(), 0U);
    SetImageMemoryLimit(kNoImageMemoryLimit);
    EXPECT_THROW(AllocateZeros(std::size_t{1} << 62), std::bad_alloc);
    EXPECT_EQ(ImageMemoryInUse(), 0U);
}

TEST(MemoryLimit, IsReachedButNotPassed) {
    SetImageMemoryLimit(1000);
    EXPECT_EQ(ImageMemoryLimit(), 1000U);
    {
        const CBuffer first(600);
        EXPECT_EQ(RefusalOf(401),
                  "an image of 401 bytes would take the images beyond the limit of 1000 bytes (600 in use)");
        const CBuffer rest(400);
        EXPECT_EQ(RefusalOf(1),
                  "an image of 1 bytes would take the images beyond the limit of 1000 bytes (1000 in use)");
        EXPECT_EQ(RefusalOf(0), "") << "an empty image takes no memory";
        SetImageMemoryLimit(500);
        EXPECT_EQ(RefusalOf(1),
                  "an image of 1 bytes would take the images beyond the limit of 500 bytes (1000 in use)");
    }
    EXPECT_EQ(RefusalOf(500), "") << "freed memory is there again";
    EXPECT_EQ(ImageMemoryInUse(), 0U);
    SetImageMemoryLimit(kNoImageMemoryLimit);
    EXPECT_EQ(RefusalOf(kLarge), "");
}

TEST(MemoryLimit, SumsDontOverflow) {
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
    const CBuffer some(100);
    const CRoomForImages room(1000);
    EXPECT_EQ(RefusalOf(most), "an image of 18446744073709551615 bytes would take the images beyond the limit of 1100 "
                               "bytes (100 in use)");
    SetImageMemoryLimit(most - 1);
    EXPECT_EQ(RefusalOf(most - 1), "an image of 18446744073709551614 bytes would take the images beyond the limit of "
                                   "18446744073709551614 bytes (100 in use)");
    EXPECT_THROW(const CBuffer buffer(most / 2), std::bad_alloc) << "within the limit, but not to be had";
    EXPECT_EQ(ImageMemoryInUse(), 100U);
}

TEST(MemoryLimit, IsOutOfMemoryToThoseWhoDontKnowIt) {
    const CRoomForImages room(10);
    EXPECT_THROW(ZeroImage(IMAGE_GREY_8, CSize(11, 1)), std::bad_alloc);
}

TEST(MemoryLimit, LeavesAnImageThatCantBeResized) {
    const ImagePtr image = CodedImage(IMAGE_GREY_8, CSize(4, 3));
    const ImagePtr before = std::make_unique<CImage>(*image);
    const CRoomForImages room(20);
    EXPECT_THROW(image->Resize(CSize(7, 3), CSize(0, 0, 0)), CImageMemoryLimit);
    EXPECT_TRUE(SameImage(*before, *image));
    image->Resize(CSize(5, 4), CSize(0, 0, 0));
    EXPECT_EQ(image->Size(), CSize(5, 4));
}

} // namespace
} // namespace QUOR::test
