#include "ValueView.h"

#include "NodeTest.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace vessa {
namespace {

using namespace QUOR;
using QUOR::test::ElementsOf;
using QUOR::test::ImagePtr;
using QUOR::test::MakeImage;

using Pixels = std::vector<std::uint8_t>;

StValueView View(const ImagePtr& image) { return ViewOf(CValuePointer<CImage>(image.get())); }

/// Every `step`th pixel of a row of the picture, from its middle on: one for each enlarged element.
Pixels Row(const StValueView& view, std::int64_t row, std::int64_t step) {
    const Pixels all = ElementsOf<std::uint8_t>(*view.picture);
    Pixels pixels;
    for (std::int64_t x = step / 2; x < view.picture->Size().x; x += step) {
        pixels.push_back(all[static_cast<std::size_t>(x + row * view.picture->Size().x)]);
    }
    return pixels;
}

TEST(ValueView, BytesStayAndSmallImagesGrow) {
    const StValueView view = View(QUOR::test::Bytes(2, 2, {1, 2, 3, 4}));
    EXPECT_EQ(view.facts, "2x2, IMAGE_GREY_8");
    EXPECT_EQ(view.reading, "");
    EXPECT_EQ(view.picture->Type(), IMAGE_GREY_8);
    EXPECT_EQ(view.picture->Size(), CSize(256, 256));
    EXPECT_EQ(Row(view, 0, 128), (Pixels{1, 2}));
    EXPECT_EQ(Row(view, 127, 128), (Pixels{1, 2}));
    EXPECT_EQ(Row(view, 128, 128), (Pixels{3, 4}));
    EXPECT_EQ(Row(view, 255, 128), (Pixels{3, 4}));
}

TEST(ValueView, LargeImagesKeepTheirSize) {
    const StValueView view = View(QUOR::test::CodedImage(IMAGE_GREY_8, CSize(200, 100)));
    EXPECT_EQ(view.picture->Size(), CSize(200, 100));
    EXPECT_EQ(Row(view, 2, 40), (Pixels{40, 80, 120, 160, 200}));
    EXPECT_TRUE(view.table.empty());
}

TEST(ValueView, BinaryIsBlackAndWhite) {
    const StValueView view = View(MakeImage<std::uint8_t>(IMAGE_BINARY_FG, CSize(4, 1), {0, 1, 7, 0}));
    EXPECT_EQ(Row(view, 0, 64), (Pixels{0, 255, 255, 0}));
}

TEST(ValueView, FloatsAreScaledToTheirRange) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    const StValueView view = View(QUOR::test::Floats(8, 1, {-1.0F, 0.5F, 1.5F, nan, inf, -inf, 0.25F, -0.5F}));
    EXPECT_EQ(view.reading, "-1 (black) to 1.5 (white)");
    EXPECT_EQ(Row(view, 0, 32), (Pixels{0, 153, 255, 0, 255, 0, 128, 51}));
    EXPECT_EQ(View(QUOR::test::Floats(2, 1, {3.0F, 3.0F})).reading, "all 3");
    EXPECT_EQ(View(QUOR::test::Floats(2, 1, {nan, inf})).reading, "no finite number");
}

TEST(ValueView, WideIntegersAreScaledToo) {
    const StValueView view = View(MakeImage<std::uint16_t>(IMAGE_GREY_16, CSize(2, 1), {0, 65535}));
    EXPECT_EQ(view.reading, "0 (black) to 65535 (white)");
    EXPECT_EQ(Row(view, 0, 128), (Pixels{0, 255}));
    EXPECT_EQ(View(MakeImage<std::uint32_t>(IMAGE_GREY_32, CSize(2, 1), {7, 4000000000U})).reading,
              "7 (black) to 4e+09 (white)");
    EXPECT_EQ(View(MakeImage<std::uint64_t>(IMAGE_GREY_64, CSize(2, 1), {1, 3})).reading, "1 (black) to 3 (white)");
    EXPECT_EQ(View(MakeImage<double>(IMAGE_GREY_D, CSize(2, 1), {0.5, 0.75})).reading, "0.5 (black) to 0.75 (white)");
}

/// A float image of 8 by 8 with the values in turn.
StValueView Turns(const std::vector<float>& values) {
    std::vector<float> elements;
    for (std::size_t index = 0; index < 64; ++index) {
        elements.push_back(values[index % values.size()]);
    }
    return View(QUOR::test::Floats(8, 8, elements));
}

TEST(ValueView, LabelsGetColours) {
    const StValueView view = Turns({0, 1, 2, 2});
    EXPECT_EQ(view.reading, "a colour for each value from 0 (black) to 2");
    EXPECT_EQ(view.picture->Type(), IMAGE_RGB_8);
    EXPECT_EQ(Row(view, 0, 32), (Pixels{0, 76, 159, 159, 0, 76, 159, 159})) << "of red";
    EXPECT_EQ(Turns({0, 1, 2, 40}).reading, "0 (black) to 40 (white)") << "of large gaps";
    EXPECT_EQ(Turns({0, 1, 2.5F, 3}).reading, "0 (black) to 3 (white)") << "of fractions";
    EXPECT_EQ(Turns({-1, 0, 1, 2}).reading, "-1 (black) to 2 (white)") << "of signs";
    EXPECT_EQ(Turns({0, 1, 2, 3, 4}).reading, "0 (black) to 4 (white)") << "of few elements each";
    EXPECT_EQ(Turns({0, 1}).reading, "0 (black) to 1 (white)") << "of a mask";
}

TEST(ValueView, SlicesStandSideBySide) {
    const StValueView view = View(QUOR::test::CodedImage(IMAGE_GREY_8, CSize(2, 2, 3)));
    EXPECT_EQ(view.facts, "2x2x3, IMAGE_GREY_8");
    EXPECT_EQ(view.reading, "slices row by row");
    // Two columns of slices with a gap of one element: 5 by 5 elements, each enlarged 51 times.
    EXPECT_EQ(view.picture->Size(), CSize(255, 255));
    EXPECT_EQ(Row(view, 0, 51), (Pixels{0, 1, 128, 100, 101}));
    EXPECT_EQ(Row(view, 51, 51), (Pixels{10, 11, 128, 110, 111}));
    EXPECT_EQ(Row(view, 102, 51), (Pixels{128, 128, 128, 128, 128}));
    EXPECT_EQ(Row(view, 153, 51), (Pixels{200, 201, 128, 128, 128}));
}

TEST(ValueView, LinesAreStripsAndNumbers) {
    std::vector<float> elements(300);
    for (std::size_t index = 0; index < elements.size(); ++index) {
        elements[index] = 0.5F * static_cast<float>(index);
    }
    const StValueView row = View(QUOR::test::Floats(300, 1, elements));
    EXPECT_EQ(row.picture->Size(), CSize(256, 24));
    EXPECT_EQ(row.reading, "the first 256 elements, 0 (black) to 149.5 (white)");
    EXPECT_EQ(row.table, (std::vector<std::vector<std::string>>{{"0", "0.5", "1", "1.5", "2", "2.5", "…"}}));
    const StValueView column = View(QUOR::test::Floats(1, 300, elements));
    EXPECT_EQ(column.picture->Size(), CSize(24, 256));
    ASSERT_EQ(column.table.size(), 13U);
    EXPECT_EQ(column.table[11], (std::vector<std::string>{"5.5"}));
    EXPECT_EQ(column.table[12], (std::vector<std::string>{"…"}));
}

TEST(ValueView, TablesHaveNumbers) {
    const StValueView view = View(QUOR::test::Floats(3, 2, {1, 2.25, 3, 1e9F, -5, 0}));
    EXPECT_EQ(view.table, (std::vector<std::vector<std::string>>{{"1", "2.25", "3"}, {"1e+09", "-5", "0"}}));
    const std::vector<std::uint8_t> colours(12, 9);
    EXPECT_TRUE(View(MakeImage<std::uint8_t>(IMAGE_RGB_8, CSize(4, 1), colours)).table.empty());
}

TEST(ValueView, ColoursKeepTheirPlanes) {
    const StValueView view = View(MakeImage<std::uint8_t>(IMAGE_RGB_8, CSize(2, 1), {1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(view.picture->Type(), IMAGE_RGB_8);
    EXPECT_EQ(view.picture->Size(), CSize(256, 128));
    const Pixels pixels = ElementsOf<std::uint8_t>(*view.picture);
    const std::size_t plane = 256 * 128;
    EXPECT_EQ((Pixels{pixels[0], pixels[plane], pixels[2 * plane]}), (Pixels{1, 3, 5}));
    EXPECT_EQ((Pixels{pixels[255], pixels[plane + 255], pixels[2 * plane + 255]}), (Pixels{2, 4, 6}));
}

TEST(ValueView, ImagesWithoutElementsHaveNoPicture) {
    const StValueView view = View(std::make_unique<CImage>(IMAGE_GREY_8, CSize(0, 3), CSize(0, 0, 0)));
    EXPECT_EQ(view.facts, "0x3, IMAGE_GREY_8");
    EXPECT_EQ(view.picture, nullptr);
}

TEST(ValueView, MapsAreJson) {
    CValueMap map;
    map.SetEntry("size_x", new CValueLong(3));
    const StValueView view = ViewOf(map);
    EXPECT_EQ(view.facts, "map");
    EXPECT_EQ(view.json, "{\n  \"size_x\": 3\n}");
    EXPECT_EQ(view.picture, nullptr);
}

} // namespace
} // namespace vessa
