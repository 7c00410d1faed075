// Sheets so large that places in them don't fit into 32 bits. Input and output take 2 GiB each.

#include "NodeTest.h"

namespace QUOR::test {
namespace {

TEST(LargeSheets, PlacesOfTilesWrapAroundIn32Bits) {
    constexpr std::int64_t width = 65536;
    constexpr std::int64_t slices = 32769;
    auto image = std::make_unique<CImage>(IMAGE_GREY_8, CSize(width, 1, slices), CSize(0, 0, 0));
    auto* elements = static_cast<std::uint8_t*>(image->Buffer().Set(0).Data());
    elements[0] = 1;
    elements[width] = 2;
    elements[width * slices - width - 1] = 3; // the last of slice 32767
    elements[width * slices - width] = 4;     // the first of slice 32768
    CNodeUnderTest node("VolumeToPlane");
    node.Set("slices_x", static_cast<int>(slices)).Set("background_value", 7.0).Input(0, std::move(image)).Run();
    const CImage& sheet = node.Output();
    EXPECT_EQ(sheet.Size(), CSize(2147549184, 1, 1));
    const auto* out = static_cast<const std::uint8_t*>(sheet.Buffer().Data());
    EXPECT_EQ(out[0], 1);
    EXPECT_EQ(out[1], 0);
    EXPECT_EQ(out[65536], 2);
    EXPECT_EQ(out[2147483647], 3);
    // Tile 32768 belongs to column 2^31, which is -2^31 in 32 bits: it lies outside, and its place stays empty.
    EXPECT_EQ(out[2147483648], 7);
    EXPECT_EQ(out[2147549183], 7);
}

} // namespace
} // namespace QUOR::test
