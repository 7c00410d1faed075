#include "NodeTest.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) ComposeImage::Run";
constexpr const char* kWrongFirst = "first input image is not of type IMAGE_RGB_8 or IMAGE_GREY_F or IMAGE_GREY_8, ";
constexpr const char* kWrongSecond = "second input image is not of type IMAGE_RGB_8 or IMAGE_GREY_F or IMAGE_GREY_8, ";
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr float kNaNF = std::numeric_limits<float>::quiet_NaN();

/// The bytes of a row of `width` elements that count from `first` on.
ImagePtr Ramp(int width, int first) {
    std::vector<std::uint8_t> elements;
    for (int x = 0; x < width; ++x) {
        elements.push_back(static_cast<std::uint8_t>(first + x));
    }
    return Bytes(width, 1, elements);
}

TEST(ComposeImage, DescribesItself) {
    const auto setup = DescriptionOf("ComposeImage");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "ComposeImage");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PComposeImage/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "(none)");
    EXPECT_FALSE(setup->HasEntry("gui"));
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 8U);
    struct StRow {
        const char* key;
        EnValType kind;
        const char* word;
        const char* values;
    };
    const std::vector<StRow> rows{
        {"shift_x", EnValType::Long, "long", "(none)"},
        {"shift_y", EnValType::Long, "long", "(none)"},
        {"mode_x", EnValType::String, "string", "LEFT, RIGHT, APPEND, CENTER"},
        {"mode_y", EnValType::String, "string", "TOP, BOTTOM, APPEND, CENTER"},
        {"mode_compose", EnValType::String, "string", "MEAN, MAX, MIN, FIRST, SECOND"},
        {"bg_value", EnValType::Double, "double", "(none)"},
        {"ignore_zero", EnValType::Bool, "bool", "(none)"},
        {"parallelization", EnValType::String, "string", "NO PARALLELIZATION, PARALLELIZATION WITH OPENMP"},
    };
    for (const StRow& row : rows) {
        const std::string entry = std::string("parameters/") + row.key;
        ASSERT_TRUE(setup->HasEntry(CValue_Key(entry), row.kind)) << row.key;
        EXPECT_EQ(MetaText(*setup, entry, "val/enValues"), row.values) << row.key;
        EXPECT_EQ(MetaText(*setup, entry, "gui/boolean"), "(none)") << row.key;
        EXPECT_EQ(MetaText(*setup, entry, "desc")
                      .find(std::string("The type of this parameter is of type ") + row.word + ". "),
                  0U)
            << row.key;
    }
    EXPECT_EQ(setup->EntryLong("parameters/shift_x", 1), 0);
    EXPECT_EQ(setup->EntryLong("parameters/shift_y", 1), 0);
    EXPECT_EQ(setup->EntryString("parameters/mode_x", ""), "LEFT");
    EXPECT_EQ(setup->EntryString("parameters/mode_y", ""), "TOP");
    EXPECT_EQ(setup->EntryString("parameters/mode_compose", ""), "MEAN");
    EXPECT_EQ(setup->EntryDouble("parameters/bg_value", 1.0), 0.0);
    EXPECT_FALSE(setup->EntryBool("parameters/ignore_zero", true));
    EXPECT_EQ(setup->EntryString("parameters/parallelization", ""), "NO PARALLELIZATION");
    EXPECT_NE(MetaText(*setup, "parameters/bg_value", "desc")
                  .find("If\nthe input image is of type IMAGE_RGB_8 the background value will be used\n"
                        "for all channels."),
              std::string::npos);
    EXPECT_NE(MetaText(*setup, "parameters/ignore_zero", "desc")
                  .find("This parameter is used in the \\a FIRST and \\a SECOND mode."),
              std::string::npos);
}

TEST(ComposeImage, DescribesItsPortsAndText) {
    const auto setup = DescriptionOf("ComposeImage");
    EXPECT_EQ(setup->Entry("inputs", true)->Map()->Size(), 2U);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image of type IMAGE_GREY_F, IMAGE_GREY_8 or IMAGE_RGB_8.");
    EXPECT_EQ(MetaText(*setup, "inputs/1", "label"), "Second input image of the same type as the first input image.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_FALSE(setup->Entry("inputs/1", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(setup->Entry("outputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of the same type as the first input image.");
    const std::string text = setup->EntryString("description", "").Text();
    EXPECT_EQ(text.find("BRIEF\nComposes two images\n\n"), 0U);
    EXPECT_NE(text.find("Those positions\nwhere only one input image is available are filled with the input values\n"
                        "of that respective image. The remaining pixels are filled with a given value."),
              std::string::npos);
}

TEST(ComposeImage, PublishesItsFieldsAsDefaults) {
    CNodeUnderTest node("ComposeImage");
    node.Set("shift_x", -3.9).Set("shift_y", 7).Set("mode_x", "RIGHT").Set("mode_y", "BOTTOM");
    node.Set("mode_compose", "MAX").Set("bg_value", 2.5).Set("ignore_zero", true).Set("parallelization", "odd");
    node.Init();
    CValueMap setup;
    node.Node().GetPluginSetup(setup);
    ASSERT_TRUE(setup.HasEntry("parameters/shift_x", EnValType::Long));
    EXPECT_EQ(setup.EntryLong("parameters/shift_x", 0), -3);
    EXPECT_EQ(setup.EntryLong("parameters/shift_y", 0), 7);
    EXPECT_EQ(setup.EntryString("parameters/mode_x", ""), "RIGHT");
    EXPECT_EQ(setup.EntryString("parameters/mode_y", ""), "BOTTOM");
    EXPECT_EQ(setup.EntryString("parameters/mode_compose", ""), "MAX");
    EXPECT_EQ(setup.EntryDouble("parameters/bg_value", 0.0), 2.5);
    EXPECT_TRUE(setup.EntryBool("parameters/ignore_zero", false));
    EXPECT_EQ(setup.EntryString("parameters/parallelization", ""), "odd");
    node.Set("shift_x", kNaN).Init();
    CValueMap far;
    node.Node().GetPluginSetup(far);
    EXPECT_EQ(far.EntryLong("parameters/shift_x", 0), -2147483647 - 1);
}

TEST(ComposeImage, AlignsAlongX) {
    // The first image counts from 1, the second from 101; SECOND wins, 0 is background.
    struct StRow {
        const char* mode;
        int shift;
        int firstWidth;
        int secondWidth;
        std::vector<std::uint8_t> canvas;
    };
    const std::vector<StRow> rows{
        {"LEFT", 0, 3, 2, {101, 102, 3}},
        {"LEFT", 1, 3, 2, {101, 102, 2, 3}},
        {"LEFT", -2, 3, 2, {1, 2, 101, 102}},
        {"LEFT", 4, 2, 2, {101, 102, 0, 0, 1, 2}},
        {"LEFT", -3, 2, 1, {1, 2, 0, 101}},
        {"RIGHT", 0, 10, 4, {1, 2, 3, 4, 5, 6, 101, 102, 103, 104}},
        {"RIGHT", 0, 1, 3, {101, 102, 103}},
        {"RIGHT", 1, 1, 3, {101, 102, 103, 1}},
        {"APPEND", 0, 5, 3, {101, 102, 103, 1, 2, 3, 4, 5}},
        {"APPEND", -1, 2, 3, {101, 102, 103, 2}},
        {"CENTER", 0, 1, 4, {101, 102, 103, 104}},
        {"CENTER", 0, 4, 1, {1, 2, 101, 4}},          // -3 halves give -2
        {"CENTER", 2, 1, 4, {101, 102, 103, 104, 1}}, // 3 halves give 2
        {"CENTER", -3, 1, 4, {1, 101, 102, 103, 104}},
        {"right", 0, 3, 1, {101, 2, 3}}, // any other text aligns the left edges
        {"", 0, 3, 1, {101, 2, 3}},
        {"BOTTOM", 0, 3, 1, {101, 2, 3}},
    };
    for (const StRow& row : rows) {
        CNodeUnderTest node("ComposeImage");
        node.Set("mode_x", row.mode).Set("shift_x", row.shift).Set("mode_compose", "SECOND");
        node.Input(0, Ramp(row.firstWidth, 1)).Input(1, Ramp(row.secondWidth, 101)).Run();
        EXPECT_EQ(BytesOf(node.Output()), row.canvas) << row.mode << " " << row.shift;
        EXPECT_EQ(node.Output().Size(), CSize(static_cast<std::int64_t>(row.canvas.size()), 1, 1));
    }
}

TEST(ComposeImage, AlignsAlongY) {
    struct StRow {
        const char* mode;
        int shift;
        std::vector<std::uint8_t> canvas;
    };
    // A column of 1, 2, 3, 4 and a column of the single element 101.
    const std::vector<StRow> rows{
        {"TOP", 0, {101, 2, 3, 4}},    {"TOP", -2, {1, 2, 101, 4}},      {"BOTTOM", 0, {1, 2, 3, 101}},
        {"CENTER", 0, {1, 2, 101, 4}}, {"APPEND", 0, {101, 1, 2, 3, 4}}, {"APPEND", 1, {101, 9, 1, 2, 3, 4}},
        {"RIGHT", 0, {101, 2, 3, 4}},  {"LEFT", 1, {101, 1, 2, 3, 4}},
    };
    for (const StRow& row : rows) {
        CNodeUnderTest node("ComposeImage");
        node.Set("mode_y", row.mode).Set("shift_y", row.shift).Set("mode_compose", "SECOND").Set("bg_value", 9.0);
        node.Input(0, Bytes(1, 4, {1, 2, 3, 4})).Input(1, Bytes(1, 1, {101})).Run();
        EXPECT_EQ(BytesOf(node.Output()), row.canvas) << row.mode << " " << row.shift;
        EXPECT_EQ(node.Output().Size(), CSize(1, static_cast<std::int64_t>(row.canvas.size()), 1));
    }
}

TEST(ComposeImage, HalvesTheDifferenceInSinglePrecision) {
    // 33554438 counts as 33554440; the empty rows take no memory.
    CNodeUnderTest node("ComposeImage");
    node.Set("mode_x", "CENTER");
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(0, 0))).Input(1, ZeroImage(IMAGE_GREY_8, CSize(33554438, 0))).Run();
    EXPECT_EQ(node.Output().Size(), CSize(33554438, 0, 1));
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(33554438, 0))).Input(1, ZeroImage(IMAGE_GREY_8, CSize(0, 0))).Run();
    EXPECT_EQ(node.Output().Size(), CSize(33554438, 0, 1)) << "sx is -16777220, inside the first image";
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(33554438, 0))).Input(1, ZeroImage(IMAGE_GREY_8, CSize(0, 0)));
    node.Set("shift_x", -16777218).Run();
    EXPECT_EQ(node.Output().Size(), CSize(33554438, 0, 1)) << "sx is -33554438";
    node.Set("shift_x", -16777219).Run();
    EXPECT_EQ(node.Output().Size(), CSize(33554439, 0, 1)) << "sx is -33554439";
}

TEST(ComposeImage, FillsAroundImagesThatMeetAtACorner) {
    CNodeUnderTest node("ComposeImage");
    node.Set("shift_x", 1).Set("shift_y", -1).Set("bg_value", 9.0);
    node.Input(0, Bytes(2, 2, {10, 20, 30, 40})).Input(1, Bytes(2, 2, {2, 4, 6, 8})).Run();
    EXPECT_EQ(node.Output().Size(), CSize(3, 3, 1));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{9, 10, 20, 2, 17, 40, 6, 8, 9}));
}

TEST(ComposeImage, MixesBytesByEachRule) {
    const std::vector<std::uint8_t> a{255, 0, 7, 9, 0, 255};
    const std::vector<std::uint8_t> b{254, 5, 0, 12, 0, 255};
    struct StRow {
        const char* mode;
        bool ignoreZero;
        std::vector<std::uint8_t> mixed;
    };
    const std::vector<StRow> rows{
        {"MEAN", false, {254, 2, 3, 10, 0, 255}},   {"MEAN", true, {254, 2, 3, 10, 0, 255}},
        {"mean?", false, {254, 2, 3, 10, 0, 255}},  {"max", false, {254, 2, 3, 10, 0, 255}},
        {"MAX", false, {255, 5, 7, 12, 0, 255}},    {"MAX", true, {255, 5, 7, 12, 0, 255}},
        {"MIN", false, {254, 0, 0, 9, 0, 255}},     {"MIN", true, {254, 0, 0, 9, 0, 255}},
        {"FIRST", false, {255, 0, 7, 9, 0, 255}},   {"FIRST", true, {255, 5, 7, 9, 0, 255}},
        {"SECOND", false, {254, 5, 0, 12, 0, 255}}, {"SECOND", true, {254, 5, 7, 12, 0, 255}},
    };
    for (const StRow& row : rows) {
        CNodeUnderTest node("ComposeImage");
        node.Set("mode_compose", row.mode).Set("ignore_zero", row.ignoreZero);
        node.Input(0, Bytes(6, 1, a)).Input(1, Bytes(6, 1, b)).Run();
        EXPECT_EQ(BytesOf(node.Output()), row.mixed) << row.mode << " " << row.ignoreZero;
    }
}

TEST(ComposeImage, MixesFloatsByEachRule) {
    // NaNs with bits of their own tell which one came through.
    const auto nanA = std::bit_cast<float>(0x7FC00001U);
    const auto nanB = std::bit_cast<float>(0x7FC00002U);
    const std::vector<float> a{1.5F, nanA, 2.0F, 0.0F, -0.0F, 3e38F};
    const std::vector<float> b{2.0F, 1.0F, nanB, -0.0F, 4.0F, 3e38F};
    constexpr float infinity = std::numeric_limits<float>::infinity();
    struct StRow {
        const char* mode;
        bool ignoreZero;
        std::vector<float> mixed;
    };
    const std::vector<StRow> rows{
        {"MAX", false, {2.0F, nanA, 2.0F, 0.0F, 4.0F, 3e38F}},
        {"MIN", true, {1.5F, nanA, 2.0F, 0.0F, -0.0F, 3e38F}},
        {"FIRST", false, {1.5F, nanA, 2.0F, 0.0F, -0.0F, 3e38F}},
        {"FIRST", true, {1.5F, nanA, 2.0F, -0.0F, 4.0F, 3e38F}},
        {"SECOND", false, {2.0F, 1.0F, nanB, -0.0F, 4.0F, 3e38F}},
        {"SECOND", true, {2.0F, 1.0F, nanB, 0.0F, 4.0F, 3e38F}},
        {"MEAN", false, {1.75F, kNaNF, kNaNF, 0.0F, 2.0F, infinity}},
    };
    for (const StRow& row : rows) {
        CNodeUnderTest node("ComposeImage");
        node.Set("mode_compose", row.mode).Set("ignore_zero", row.ignoreZero);
        node.Input(0, Floats(6, 1, a)).Input(1, Floats(6, 1, b)).Run();
        const auto mixed = ElementsOf<float>(node.Output());
        for (std::size_t i = 0; i < mixed.size(); ++i) {
            if (std::isnan(row.mixed[i]) && std::string(row.mode) == "MEAN") {
                EXPECT_TRUE(std::isnan(mixed[i])) << i;
            } else {
                EXPECT_EQ(std::bit_cast<std::uint32_t>(mixed[i]), std::bit_cast<std::uint32_t>(row.mixed[i]))
                    << row.mode << " " << row.ignoreZero << " " << i;
            }
        }
    }
}

TEST(ComposeImage, TheMeanKeepsTheBitsOfItsFirstNaN) {
    const auto bits = [](std::uint32_t pattern) { return std::bit_cast<float>(pattern); };
    for (const int width : {1, 3, 8, 33}) { // alone and among vectors of any width
        const auto row = [&](std::uint32_t pattern) {
            return Floats(width, 1, std::vector<float>(static_cast<std::size_t>(width), bits(pattern)));
        };
        const auto mean = [&](std::uint32_t first, std::uint32_t second) {
            CNodeUnderTest node("ComposeImage");
            node.Input(0, row(first)).Input(1, row(second)).Run();
            const auto elements = ElementsOf<std::uint32_t>(node.Output());
            EXPECT_EQ(elements, std::vector<std::uint32_t>(elements.size(), elements.at(0)));
            return elements.at(0);
        };
        EXPECT_EQ(mean(0x7FC00001, 0xFFC00002), 0x7FC00001U);
        EXPECT_EQ(mean(0xFFC00002, 0x7FC00001), 0xFFC00002U);
        EXPECT_EQ(mean(0x7FC00001, 0x3F800000), 0x7FC00001U);
        EXPECT_EQ(mean(0x3F800000, 0x7FC00002), 0x7FC00002U);
    }
}

TEST(ComposeImage, TakesTheBackgroundByItsLowBitsOrInSinglePrecision) {
    struct StRow {
        double value;
        int byte;
        float number;
    };
    for (const StRow& row : std::vector<StRow>{{-1.9, 255, -1.9F},
                                               {300.7, 44, 300.7F},
                                               {2147483647.0, 255, 2147483648.0F},
                                               {2147483648.0, 0, 2147483648.0F},
                                               {-1e300, 0, -std::numeric_limits<float>::infinity()},
                                               {0.1, 0, 0.1F}}) {
        CNodeUnderTest node("ComposeImage");
        node.Set("shift_x", 2).Set("bg_value", row.value);
        node.Input(0, Bytes(1, 1, {1})).Input(1, Bytes(1, 1, {2})).Run();
        EXPECT_EQ(int{BytesOf(node.Output()).at(1)}, row.byte) << row.value;
        node.Input(0, Floats(1, 1, {1})).Input(1, Floats(1, 1, {2})).Run();
        EXPECT_EQ(ElementsOf<float>(node.Output()).at(1), row.number) << row.value;
    }
    CNodeUnderTest node("ComposeImage");
    node.Set("shift_x", 2).Set("bg_value", kNaN).Input(0, Bytes(1, 1, {1})).Input(1, Bytes(1, 1, {2})).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{2, 0, 1}));
}

TEST(ComposeImage, MixesTheFirstSliceOfEachColourPlane) {
    // Two slices of 2 x 1 in the first image, one in the second.
    CNodeUnderTest node("ComposeImage");
    node.Set("mode_compose", "FIRST").Set("shift_x", 1).Set("bg_value", 9.0).Set("shift_y", 1);
    node.Input(0, MakeImage<std::uint8_t>(IMAGE_RGB_8, CSize(2, 1, 2), {1, 2, 91, 92, 3, 4, 93, 94, 5, 6, 95, 96}));
    node.Input(1, MakeImage<std::uint8_t>(IMAGE_RGB_8, CSize(1, 1), {11, 12, 13})).Run();
    EXPECT_EQ(node.Output().Type(), IMAGE_RGB_8);
    EXPECT_EQ(node.Output().Size(), CSize(3, 2, 1));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{11, 9, 9, 9, 1, 2, //
                                                                 12, 9, 9, 9, 3, 4, //
                                                                 13, 9, 9, 9, 5, 6}));
}

TEST(ComposeImage, TakesOnlyTheFirstSliceAndDropsAttributes) {
    CNodeUnderTest node("ComposeImage");
    auto first = CodedImage(IMAGE_GREY_8, CSize(2, 1, 3));
    first->Attributes().SetEntry("key", new CValueLong(1));
    node.Input(0, std::move(first)).Input(1, CodedImage(IMAGE_GREY_8, CSize(1, 2, 2))).Run();
    EXPECT_EQ(node.Output().Size(), CSize(2, 2, 1));
    EXPECT_EQ(node.Output().Size().dim, 3);
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{0, 1, 10, 0}));
    EXPECT_TRUE(node.Output().Attributes().IsEmpty());
}

TEST(ComposeImage, RemembersANegativeShift) {
    CNodeUnderTest node("ComposeImage");
    node.Set("mode_compose", "FIRST").Input(0, Ramp(6, 1)).Input(1, Ramp(8, 101));
    node.Set("shift_x", -4).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{1, 2, 3, 4, 5, 6, 103, 104, 105, 106, 107, 108}));
    node.Set("shift_x", 0).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{0, 0, 0, 0, 1, 2, 3, 4}));
    node.Set("shift_x", 3).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{0, 0, 0, 0, 101, 102, 103, 1, 2}));
    node.Set("shift_x", -1).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{1, 2, 3, 4, 5, 6, 106, 107, 108}));
    node.Set("shift_x", 0).Set("mode_x", "RIGHT").Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{0, 101, 102, 1, 2, 3, 4, 5}));
}

TEST(ComposeImage, RemembersEachAxisByItself) {
    CNodeUnderTest node("ComposeImage");
    node.Set("mode_compose", "FIRST").Set("bg_value", 9.0).Set("shift_y", -1);
    node.Input(0, Bytes(1, 2, {1, 2})).Input(1, Bytes(1, 2, {101, 102})).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{1, 2, 102}));
    node.Set("shift_y", 0).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{9, 1}));
}

TEST(ComposeImage, RemembersANegativeShiftOfARunThatFailed) {
    CNodeUnderTest node("ComposeImage");
    const auto colour = [] { return MakeImage<std::uint8_t>(IMAGE_RGB_8, CSize(1, 1), {1, 2, 3}); };
    node.Set("shift_x", -1).Set("parallelization", "PARALLELIZATION WITH OPENMP");
    node.Input(0, colour()).Input(1, colour());
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "Please build the plugin with OpenMP"}));
    node.Set("shift_x", 0).Set("bg_value", 9.0).Input(0, Ramp(2, 1)).Input(1, Ramp(2, 1)).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{9, 1}));

    // A failed check of the inputs comes before the placement.
    CNodeUnderTest other("ComposeImage");
    other.Set("shift_x", -1).Input(0, Ramp(2, 1)).Input(1, ZeroImage(IMAGE_GREY_F, CSize(2, 1)));
    EXPECT_EQ(other.Failure(), (StFailure{kWhere, "input images are of different type"}));
    other.Set("shift_x", 0).Input(1, Ramp(2, 1)).Run();
    EXPECT_EQ(BytesOf(other.Output()), (std::vector<std::uint8_t>{1, 2}));
}

TEST(ComposeImage, ShiftsBeyond64BitsFailInTheWordsOfTheImage) {
    for (const double shift : {kNaN, 1e30, -1e30, -std::numeric_limits<double>::infinity(), -9223372036854775808.0}) {
        for (const char* mode : {"LEFT", "RIGHT", "APPEND", "CENTER"}) {
            CNodeUnderTest node("ComposeImage");
            node.Set("shift_x", shift).Set("mode_x", mode).Set("bg_value", 9.0);
            node.Input(0, Ramp(5, 1)).Input(1, Ramp(2, 1));
            EXPECT_EQ(node.Failure().where, "CImage") << shift << " " << mode;
            node.Set("shift_x", 0).Set("mode_x", "LEFT").Run();
            EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{9, 9, 9, 9, 9}))
                << "both images are too far away";
            node.Set("shift_x", 3).Run();
            EXPECT_EQ(BytesOf(node.Output()), std::vector<std::uint8_t>(8, 9));
        }
    }
}

TEST(ComposeImage, CanvasesBeyond64BitsFailInTheWordsOfTheImage) {
    constexpr double far = 9223372036854774784.0; // the greatest double below 2^63
    constexpr std::int64_t huge = std::int64_t{1} << 62;
    CNodeUnderTest node("ComposeImage");
    node.Set("shift_y", far).Input(0, ZeroImage(IMAGE_GREY_8, CSize(0, huge))).Input(1, Ramp(1, 1));
    EXPECT_EQ(node.Failure().where, "CImage");
    node.Set("mode_y", "APPEND").Input(0, ZeroImage(IMAGE_GREY_8, CSize(0, 0)));
    node.Input(1, ZeroImage(IMAGE_GREY_8, CSize(0, huge)));
    EXPECT_EQ(node.Failure().where, "CImage") << "the shift itself is too far";
    node.Set("mode_y", "TOP").Set("shift_y", -far).Input(1, ZeroImage(IMAGE_GREY_8, CSize(0, 2048)));
    EXPECT_EQ(node.Failure().where, "CImage");
    CNodeUnderTest large("ComposeImage");
    large.Set("shift_y", far)
        .Input(0, ZeroImage(IMAGE_GREY_F, CSize(1, 1)))
        .Input(1, ZeroImage(IMAGE_GREY_F, CSize(1, 1)));
    EXPECT_EQ(large.Failure().where, "CImage") << "64 bits hold the extent, but not the bytes";
}

TEST(ComposeImage, TakesShiftsAsIntegersOrDoubles) {
    const auto canvas = [](CNodeUnderTest& node) { return node.Run().Output().Size().x; };
    CNodeUnderTest node("ComposeImage");
    node.Input(0, Ramp(1, 1)).Input(1, Ramp(1, 1));
    EXPECT_EQ(canvas(node.Set("shift_x", 3)), 4);
    EXPECT_EQ(canvas(node.Set("shift_x", 2.99)), 3) << "cut toward zero";
    EXPECT_EQ(canvas(node.Set("shift_x", -2.99)), 3) << "cut toward zero";
    EXPECT_EQ(canvas(node.Set("shift_x", true)), 3) << "a boolean leaves the field";
    EXPECT_EQ(canvas(node.Set("shift_x", "5")), 3) << "a text leaves the field";
    EXPECT_EQ(canvas(node.Unset("shift_x")), 3) << "so does an absent key";
    EXPECT_EQ(canvas(node.Set("shift_x", -0.99)), 1);
}

TEST(ComposeImage, AbsentAndOddParametersKeepTheFields) {
    CNodeUnderTest node("ComposeImage");
    node.Set("mode_x", "APPEND").Set("mode_y", "BOTTOM").Set("mode_compose", "MAX");
    node.Set("bg_value", 9).Set("ignore_zero", true).Set("shift_y", 1).Set("parallelization", "odd");
    node.Input(0, Ramp(1, 1)).Input(1, Ramp(1, 2)).Run();
    const std::vector<std::uint8_t> canvas{2, 9, 9, 1};
    EXPECT_EQ(BytesOf(node.Output()), canvas);
    for (const char* key : {"mode_x", "mode_y", "mode_compose", "bg_value", "ignore_zero", "shift_y"}) {
        node.Unset(key);
    }
    EXPECT_EQ(BytesOf(node.Run().Output()), canvas);
    node.Set("bg_value", "3").Set("mode_x", 4).Set("mode_y", 1.0);
    EXPECT_EQ(BytesOf(node.Run().Output()), canvas);
    node.Set("bg_value", true);
    EXPECT_EQ(BytesOf(node.Run().Output()), canvas);
}

TEST(ComposeImage, OnlyInitReadsParameters) {
    CNodeUnderTest node("ComposeImage");
    node.Input(0, Ramp(1, 1)).Input(1, Ramp(1, 4)).Run();
    node.Set("mode_compose", "MAX").Set("shift_x", 5).RunAgain();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{2}));
}

TEST(ComposeImage, ChecksInputsStepByStep) {
    const auto number = [] { return std::make_unique<CValueLong>(3); };
    const StFailure missing{kWhere, "input image is NULL"};
    CNodeUnderTest node("ComposeImage");
    EXPECT_EQ(node.Failure(), missing);
    EXPECT_EQ(node.Input(0, number()).Failure(), missing) << "the second input is looked for first";
    EXPECT_EQ(node.Input(1, number()).Failure().what, "the value must be a pointer to an image, but is an integer");
    EXPECT_EQ(node.NullImage(0).NullImage(1).Failure(), missing);
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_16, CSize(1, 1))).Failure(), missing);
    EXPECT_EQ(node.Input(1, ZeroImage(IMAGE_GREY_16, CSize(1, 1))).Failure(), (StFailure{kWhere, kWrongFirst}));
    EXPECT_EQ(node.Input(0, Ramp(1, 1)).Failure(), (StFailure{kWhere, kWrongSecond}));
    EXPECT_EQ(node.Input(1, ZeroImage(IMAGE_RGB_8, CSize(1, 1))).Failure(),
              (StFailure{kWhere, "input images are of different type"}));
}

TEST(ComposeImage, RefusesOtherTypes) {
    for (const auto& type : TypesWithout({IMAGE_RGB_8, IMAGE_GREY_F, IMAGE_GREY_8})) {
        CNodeUnderTest node("ComposeImage");
        node.Input(0, ZeroImage(type, CSize(1, 1))).Input(1, Ramp(1, 1));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, kWrongFirst})) << type.ToString();
        node.Input(0, Ramp(1, 1)).Input(1, ZeroImage(type, CSize(1, 1)));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, kWrongSecond})) << type.ToString();
    }
}

TEST(ComposeImage, ParallelColoursFailOnceTheResultIsMade) {
    const StFailure expected{kWhere, "Please build the plugin with OpenMP"};
    CNodeUnderTest node("ComposeImage");
    node.Set("parallelization", "PARALLELIZATION WITH OPENMP");
    node.Input(0, ZeroImage(IMAGE_RGB_8, CSize(2, 2))).Input(1, ZeroImage(IMAGE_RGB_8, CSize(2, 2)));
    EXPECT_EQ(node.Failure(), expected);
    node.Input(0, ZeroImage(IMAGE_RGB_8, CSize(0, 0))).Input(1, ZeroImage(IMAGE_RGB_8, CSize(0, 0)));
    EXPECT_EQ(node.Failure(), expected) << "also for an empty result";
    EXPECT_EQ(node.Set("shift_x", 1e30).Failure().where, "CImage") << "making the result fails first";
}

TEST(ComposeImage, OtherTextsAndGreyImagesAreNotParallel) {
    CNodeUnderTest node("ComposeImage");
    node.Set("parallelization", "PARALLELIZATION WITH OPENMP").Input(0, Ramp(1, 4)).Input(1, Ramp(1, 2));
    EXPECT_EQ(BytesOf(node.Run().Output()), (std::vector<std::uint8_t>{3}));
    node.Set("parallelization", "parallelization with openmp");
    node.Input(0, ZeroImage(IMAGE_RGB_8, CSize(1, 1))).Input(1, ZeroImage(IMAGE_RGB_8, CSize(1, 1)));
    EXPECT_EQ(node.Run().Output().Size(), CSize(1, 1, 1));
}

TEST(ComposeImage, ServesEmptyImages) {
    constexpr std::int64_t huge = std::int64_t{1} << 40;
    struct StRow {
        CSize first;
        CSize size;
        std::vector<std::uint8_t> canvas;
    };
    const std::vector<StRow> rows{
        {CSize(0, 0), CSize(2, 1, 1), {5, 6}},
        {CSize(3, 0), CSize(3, 1, 1), {5, 6, 9}},
        {CSize(0, 2), CSize(2, 2, 1), {5, 6, 9, 9}},
        {CSize(3, 1, 0), CSize(3, 1, 1), {5, 6, 9}}, // a plane without slices covers nothing
    };
    for (const auto& type : {IMAGE_GREY_8, IMAGE_RGB_8}) {
        for (const StRow& row : rows) {
            std::vector<std::uint8_t> elements{5, 6};
            std::vector<std::uint8_t> canvas = row.canvas;
            for (int channel = 1; channel < type.channels; ++channel) {
                elements.insert(elements.end(), {5, 6});
                canvas.insert(canvas.end(), row.canvas.begin(), row.canvas.end());
            }
            CNodeUnderTest node("ComposeImage");
            node.Set("bg_value", 9.0).Input(0, ZeroImage(type, row.first));
            node.Input(1, MakeImage(type, CSize(2, 1), elements)).Run();
            EXPECT_EQ(node.Output().Size(), row.size) << row.first.ToString();
            EXPECT_EQ(BytesOf(node.Output()), canvas) << row.first.ToString();
        }
    }
    CNodeUnderTest node("ComposeImage");
    node.Input(0, ZeroImage(IMAGE_GREY_F, CSize(0, huge))).Input(1, ZeroImage(IMAGE_GREY_F, CSize(0, 1))).Run();
    EXPECT_EQ(node.Output().Size(), CSize(0, huge, 1));
}

/// The composition as it is told, position by position, with the offsets that outlive a run.
struct StPlainCompose {
    std::int64_t secondX = 0;
    std::int64_t secondY = 0;

    static std::int64_t Shift(const std::string& mode, int shift, std::int64_t first, std::int64_t second) {
        if (mode == "CENTER") {
            const std::int64_t difference = second - first;
            return shift + (difference >= 0 ? (difference + 1) / 2 : (difference - 1) / 2);
        }
        if (mode == "RIGHT" || mode == "BOTTOM") {
            return shift + second - first;
        }
        return mode == "APPEND" ? shift + second : shift;
    }

    static float Mix(const std::string& mode, bool ignoreZero, float a, float b, bool bytes) {
        if (mode == "MAX") {
            return b > a ? b : a;
        }
        if (mode == "MIN") {
            return a > b ? b : a;
        }
        if (mode == "FIRST") {
            return ignoreZero && a == 0.0F ? b : a;
        }
        if (mode == "SECOND") {
            return ignoreZero && b == 0.0F ? a : b;
        }
        const float mean = (a + b) * 0.5F;
        return bytes ? std::trunc(mean) : mean;
    }

    template <class T>
    ImagePtr Compose(const CImage& first, const CImage& second, std::int64_t sx, std::int64_t sy,
                     const std::string& mode, bool ignoreZero, T background) {
        const CSize& a = first.Size();
        const CSize& b = second.Size();
        const CSize size(std::max(b.x, sx + a.x) - std::min<std::int64_t>(sx, 0),
                         std::max(b.y, sy + a.y) - std::min<std::int64_t>(sy, 0), 1);
        secondX = sx < 0 ? sx : secondX;
        secondY = sy < 0 ? sy : secondY;
        const auto inA = ElementsOf<T>(first);
        const auto inB = ElementsOf<T>(second);
        std::vector<T> out;
        for (std::size_t channel = 0; channel < first.Type().channels; ++channel) {
            for (std::int64_t y = 0; y < size.y; ++y) {
                for (std::int64_t x = 0; x < size.x; ++x) {
                    const std::int64_t bx = x + secondX;
                    const std::int64_t by = y + secondY;
                    const bool isA = bx - sx >= 0 && bx - sx < a.x && by - sy >= 0 && by - sy < a.y;
                    const bool isB = bx >= 0 && bx < b.x && by >= 0 && by < b.y;
                    const auto atA = channel * a.Volume() + static_cast<std::size_t>((by - sy) * a.x + bx - sx);
                    const auto atB = channel * b.Volume() + static_cast<std::size_t>(by * b.x + bx);
                    if (isA && isB) {
                        out.push_back(static_cast<T>(Mix(mode, ignoreZero, static_cast<float>(inA[atA]),
                                                         static_cast<float>(inB[atB]), sizeof(T) == 1)));
                    } else {
                        out.push_back(isA ? inA[atA] : isB ? inB[atB] : background);
                    }
                }
            }
        }
        return MakeImage<T>(first.Type(), size, out);
    }
};

/// Random elements, among them special ones; NaNs all have one pattern, so that a mean of two is told.
ImagePtr RandomElements(const IImage::CType& type, const CSize& size, std::mt19937& random) {
    if (type != IMAGE_GREY_F) {
        auto image = RandomImage(type, size, random);
        auto* bytes = static_cast<std::uint8_t*>(image->Buffer().Data());
        for (std::size_t i = 0; i < image->Buffer().Size(); ++i) {
            bytes[i] = random() % 4 == 0 ? std::uint8_t{0} : bytes[i];
        }
        return image;
    }
    const std::vector<float> special{0.0F, -0.0F, kNaNF, 1e-45F, 3e38F, -3e38F, std::numeric_limits<float>::infinity()};
    std::vector<float> elements(size.Volume());
    for (float& element : elements) {
        const auto chosen = random() % 16;
        element = chosen < special.size() ? special[chosen] : static_cast<float>(random() % 2000) / 7.0F - 100.0F;
    }
    return MakeImage<float>(type, size, elements);
}

TEST(ComposeImage, AgreesWithThePlainLoopOnRandomImages) {
    std::mt19937 random(42);
    const auto pick = [&](std::initializer_list<const char*> texts) { return texts.begin()[random() % texts.size()]; };
    for (int round = 0; round < 200; ++round) {
        CNodeUnderTest node("ComposeImage");
        StPlainCompose plain;
        for (int run = 0; run < 4; ++run) {
            const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
            const IImage::CType type =
                std::vector<IImage::CType>{IMAGE_GREY_8, IMAGE_GREY_F, IMAGE_RGB_8}[random() % 3];
            const CSize a(extent(90), extent(9), extent(3));
            CSize b(extent(90), extent(9), extent(3));
            b.x = random() % 3 == 0 ? a.x : b.x;
            const auto shift = [&](int most) {
                return random() % 2 == 0 ? 0 : static_cast<int>(random() % 50) % most - most / 2;
            };
            const int shiftX = shift(40);
            const int shiftY = shift(9);
            const std::string modeX = pick({"LEFT", "RIGHT", "APPEND", "CENTER", "left"});
            const std::string modeY = pick({"TOP", "BOTTOM", "APPEND", "CENTER", ""});
            const std::string mode = pick({"MEAN", "MAX", "MIN", "FIRST", "SECOND", "none"});
            const bool ignoreZero = random() % 2 == 0;
            node.Set("shift_x", shiftX).Set("shift_y", double{0.5} * (shiftY < 0 ? -1 : 1) + shiftY);
            node.Set("mode_x", modeX.c_str()).Set("mode_y", modeY.c_str()).Set("mode_compose", mode.c_str());
            node.Set("ignore_zero", ignoreZero).Set("bg_value", 200.0);
            node.Input(0, RandomElements(type, a, random)).Input(1, RandomElements(type, b, random));
            const auto beforeA = BytesOf(node.InputImage(0));
            const auto beforeB = BytesOf(node.InputImage(1));
            node.Run();
            EXPECT_EQ(BytesOf(node.InputImage(0)), beforeA) << "the input has changed";
            EXPECT_EQ(BytesOf(node.InputImage(1)), beforeB) << "the input has changed";
            const std::int64_t sx = StPlainCompose::Shift(modeX, shiftX, a.x, b.x);
            const std::int64_t sy = StPlainCompose::Shift(modeY, shiftY, a.y, b.y);
            const CImage& first = node.InputImage(0);
            const CImage& second = node.InputImage(1);
            const ImagePtr expected = type == IMAGE_GREY_F
                                          ? plain.Compose<float>(first, second, sx, sy, mode, ignoreZero, 200.0F)
                                          : plain.Compose<std::uint8_t>(first, second, sx, sy, mode, ignoreZero, 200);
            ASSERT_TRUE(SameImage(*expected, node.Output()))
                << type.ToString() << " " << mode << " " << modeX << " " << shiftX << " " << modeY << " " << shiftY;
        }
    }
}

} // namespace
} // namespace QUOR::test
