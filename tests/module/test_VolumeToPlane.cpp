#include "NodeTest.h"

#include <cmath>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) VolumeToPlane::Run";

/// The tiling as it is told, element by element.
template <class T> std::vector<T> PlainTiling(const CImage& volume, std::int64_t perRow, T background) {
    const std::vector<T> in = ElementsOf<T>(volume);
    const CSize& size = volume.Size();
    const std::int64_t tileRows = (size.z + perRow - 1) / perRow;
    std::vector<T> out(static_cast<std::size_t>(perRow * size.x * size.y * tileRows), background);
    for (std::int64_t z = 0; z < size.z; ++z) {
        for (std::int64_t y = 0; y < size.y; ++y) {
            for (std::int64_t x = 0; x < size.x; ++x) {
                const std::int64_t column = z % perRow * size.x + x;
                const std::int64_t row = z / perRow * size.y + y;
                out[static_cast<std::size_t>(column + perRow * size.x * row)] =
                    in[static_cast<std::size_t>(x + size.x * (y + size.y * z))];
            }
        }
    }
    return out;
}

TEST(VolumeToPlane, DescribesItself) {
    const auto setup = DescriptionOf("VolumeToPlane");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "VolumeToPlane");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PVolumeToPlane/index.html");
    EXPECT_FALSE(setup->HasEntry("keywords"));
    EXPECT_FALSE(setup->HasEntry("gui"));
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 2U);
    EXPECT_TRUE(setup->HasEntry("parameters/slices_x", EnValType::Long));
    EXPECT_EQ(setup->EntryLong("parameters/slices_x"), 1);
    EXPECT_TRUE(setup->HasEntry("parameters/background_value", EnValType::Double));
    EXPECT_EQ(setup->EntryDouble("parameters/background_value", 1.0), 0.0);
    EXPECT_EQ(MetaText(*setup, "parameters/slices_x", "desc"),
              "The type of this parameter is of type long. Number of slices in x-direction.\n"
              "By default, it is set to 1 ans all slices sre arranged in y-direction.\n");
    EXPECT_EQ(MetaText(*setup, "parameters/background_value", "desc")
                  .find("The type of this parameter is of type double. Pixel gray value for additional space."),
              0U);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "3d input image of type IMAGE_GREY_F or IMAGE_GREY_8.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"),
              "2d output image of the same type as the input image, containing the re-arranged data.");
    EXPECT_EQ(
        setup->EntryString("description", "")
            .Text()
            .find("BRIEF\nNode to re-arrange 3d image data into a  2d image, where \\f$n\\f$ slices are arranged\n"
                  "next to each other and \\f$n\\f$ is given by parameter slices_x.\n"),
        0U);
}

TEST(VolumeToPlane, StacksSlicesWithOneTileARow) {
    CNodeUnderTest node("VolumeToPlane");
    node.Set("background_value", 9.0).Input(0, CodedImage(IMAGE_GREY_8, CSize(2, 2, 2))).Run();
    EXPECT_EQ(node.Output().Size(), CSize(2, 4, 1));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{0, 1, 10, 11, 100, 101, 110, 111}));
}

TEST(VolumeToPlane, FillsTheLastTileRowWithBackground) {
    CNodeUnderTest node("VolumeToPlane");
    node.Set("slices_x", 3).Set("background_value", 300.7);
    node.Input(0, MakeImage<std::uint8_t>(IMAGE_GREY_8, CSize(1, 2, 5), {1, 2, 11, 12, 21, 22, 31, 32, 41, 42})).Run();
    EXPECT_EQ(node.Output().Size(), CSize(3, 4, 1));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{1, 11, 21,  //
                                                                 2, 12, 22,  //
                                                                 31, 41, 44, //
                                                                 32, 42, 44}));
}

TEST(VolumeToPlane, LeavesTilesBeyondTheSlicesToTheBackground) {
    CNodeUnderTest node("VolumeToPlane");
    node.Set("slices_x", 2).Set("background_value", -1.0).Input(0, Bytes(2, 1, {5, 6})).Run();
    EXPECT_EQ(node.Output().Size(), CSize(4, 1, 1));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{5, 6, 255, 255}));
    node.Set("slices_x", 3).Input(0, MakeImage<float>(IMAGE_GREY_F, CSize(1, 1, 2), {5.5F, 6.5F})).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{5.5F, 6.5F, -1.0F}));
}

TEST(VolumeToPlane, CutsTheBackgroundOfEachType) {
    const struct {
        double background;
        std::uint8_t byte;
    } rows[] = {{2.9, 2},
                {-1.9, 255},
                {256.0, 0},
                {3e9, 0},
                {std::numeric_limits<double>::quiet_NaN(), 0},
                {std::numeric_limits<double>::infinity(), 0},
                {-2147483648.5, 0}};
    for (const auto& row : rows) {
        CNodeUnderTest node("VolumeToPlane");
        node.Set("slices_x", 2).Set("background_value", row.background).Input(0, Bytes(1, 1, {7})).Run();
        EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{7, row.byte})) << row.background;
    }
    CNodeUnderTest node("VolumeToPlane");
    node.Set("slices_x", 2).Set("background_value", 0.1).Input(0, Floats(1, 1, {7})).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{7.0F, 0.1F}));
}

TEST(VolumeToPlane, KeepsSlicesXButNotTheBackgroundWithoutItsKey) {
    CNodeUnderTest node("VolumeToPlane");
    node.Set("slices_x", 2).Set("background_value", 9).Input(0, Bytes(1, 1, {7})).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{7, 9}));
    node.Unset("slices_x").Unset("background_value").Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{7, 0}));
}

TEST(VolumeToPlane, KeepsAFailingSlicesX) {
    CNodeUnderTest node("VolumeToPlane");
    node.Set("slices_x", 0).Input(0, Bytes(1, 1, {7}));
    EXPECT_EQ(node.Failure().what, "The parameter slices_x can NOT be zero or a negative number.");
    node.Unset("slices_x");
    EXPECT_EQ(node.Failure().what, "The parameter slices_x can NOT be zero or a negative number.");
}

TEST(VolumeToPlane, FailsInItsOwnWordsInOrder) {
    CNodeUnderTest node("VolumeToPlane");
    node.Set("slices_x", -1);
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image is NULL"}));
    EXPECT_EQ(node.NullImage(0).Failure(), (StFailure{kWhere, "input image is NULL"}));
    for (const auto& type : TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8})) {
        node.Input(0, ZeroImage(type, CSize(2, 2)));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, "}));
    }
    node.Input(0, std::make_unique<CValueLong>(1));
    EXPECT_EQ(node.Failure().what, "the value must be a pointer to an image, but is an integer");
}

TEST(VolumeToPlane, RecordsThePlaceOfARefusedSlicesX) {
    for (const int slices : {0, -1, std::numeric_limits<int>::min()}) {
        CNodeUnderTest node("VolumeToPlane");
        node.Set("slices_x", slices).Input(0, Bytes(1, 1, {7}));
        try {
            node.Run();
            FAIL() << "nothing was raised";
        } catch (const CException& failure) {
            EXPECT_STREQ(failure.What(), "The parameter slices_x can NOT be zero or a negative number.");
            const StExLocation* location = failure.Location();
            ASSERT_NE(location, nullptr);
            EXPECT_STREQ(location->file, "src/alg/plugalg_manipulation/src/PVolumeToPlane");
            EXPECT_STREQ(location->function, "void __cdecl QUOR::CPVolumeToPlane::Run(void)");
            EXPECT_EQ(location->line, 87);
            EXPECT_EQ(location->object, nullptr);
        }
    }
}

TEST(VolumeToPlane, ServesEmptyImages) {
    constexpr std::int64_t huge = std::int64_t{1} << 40;
    const struct {
        CSize in;
        CSize out;
    } rows[] = {{CSize(2, 3, 0), CSize(4, 0, 1)},
                {CSize(0, 3, 5), CSize(0, 9, 1)},
                {CSize(2, 0, 5), CSize(4, 0, 1)},
                {CSize(huge, 0, huge), CSize(2 * huge, 0, 1)}};
    for (const auto& row : rows) {
        CNodeUnderTest node("VolumeToPlane");
        node.Set("slices_x", 2).Input(0, ZeroImage(IMAGE_GREY_F, row.in)).Run();
        EXPECT_EQ(node.Output().Size(), row.out);
    }
}

TEST(VolumeToPlane, RefusesExtentsBeyond64BitsInTheWordsOfTheImage) {
    // Empty images, whose other extents can be any.
    for (const CSize& size : {CSize(std::int64_t{1} << 62, 0, 4), CSize(0, std::int64_t{1} << 62, 4)}) {
        CNodeUnderTest node("VolumeToPlane");
        node.Set("slices_x", 2).Input(0, ZeroImage(IMAGE_GREY_8, size));
        EXPECT_EQ(node.Failure().where, "CImage") << size.ToString();
    }
}

TEST(VolumeToPlane, DropsAttributes) {
    CNodeUnderTest node("VolumeToPlane");
    auto image = Bytes(1, 1, {1});
    image->Attributes().SetEntry("a", new CValueLong(1));
    EXPECT_TRUE(node.Input(0, std::move(image)).Run().Output().Attributes().IsEmpty());
}

TEST(VolumeToPlane, AgreesWithThePlainLoopOnRandomVolumes) {
    std::mt19937 random(11);
    for (int round = 0; round < 300; ++round) {
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
        const CSize size(extent(20), extent(9), extent(9));
        const auto perRow = static_cast<int>(extent(12));
        const bool bytes = random() % 2 == 0;
        CNodeUnderTest node("VolumeToPlane");
        node.Set("slices_x", perRow).Set("background_value", 77.5);
        node.Input(0, RandomImage(bytes ? IMAGE_GREY_8 : IMAGE_GREY_F, size, random)).Run();
        if (bytes) {
            EXPECT_EQ(BytesOf(node.Output()), PlainTiling<std::uint8_t>(node.InputImage(0), perRow, 77));
        } else {
            std::uint32_t background = 0;
            const float number = 77.5F;
            std::memcpy(&background, &number, sizeof(number));
            EXPECT_EQ(ElementsOf<std::uint32_t>(node.Output()),
                      PlainTiling<std::uint32_t>(node.InputImage(0), perRow, background));
        }
    }
}

} // namespace
} // namespace QUOR::test
