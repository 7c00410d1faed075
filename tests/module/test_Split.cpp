#include "NodeTest.h"

#include <algorithm>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) Split";
constexpr const char* kWrongType =
    "input image type is not IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, nor IMAGE_MONO_BINARY";
constexpr const char* kWrongAxis = "parameter 'along' must be one of 'X', 'Y', or 'Z'.";
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(Split, DescribesItself) {
    const auto setup = DescriptionOf("Split");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Split");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PSplit/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "split|divide|half|halve|partition");
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 2U);
    ASSERT_TRUE(setup->HasEntry("parameters/along", EnValType::String));
    EXPECT_EQ(setup->EntryString("parameters/along", ""), "X");
    EXPECT_EQ(MetaText(*setup, "parameters/along", "val/enValues"), "X, Y, Z");
    EXPECT_EQ(MetaText(*setup, "parameters/along", "desc").find("The type of this parameter is of type string. "), 0U);
    ASSERT_TRUE(setup->HasEntry("parameters/split_ratio", EnValType::Double));
    EXPECT_EQ(setup->EntryDouble("parameters/split_ratio", 0.0), 0.5);
    EXPECT_EQ(MetaText(*setup, "parameters/split_ratio", "desc").find("The type of this parameter is of type double. "),
              0U);
    EXPECT_EQ(setup->Entry("gui/order", true)->Map()->Size(), 2U);
    EXPECT_EQ(setup->EntryString("gui/order/0", ""), "along");
    EXPECT_EQ(setup->EntryString("gui/order/1", ""), "split_ratio");
    EXPECT_EQ(setup->Entry("inputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image of type IMAGE_GREY_F, IMAGE_GREY_8,\n"
                                                     "IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_MONO_BINARY.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(setup->Entry("outputs", true)->Map()->Size(), 2U);
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "First output image of the same type as the input image.");
    EXPECT_EQ(MetaText(*setup, "outputs/1", "label"), "Second output image of the same type as the input image.");
    const std::string text = setup->EntryString("description", "").Text();
    EXPECT_EQ(text.find("BRIEF\nSplit an image into two parts along one of the axes.\n\n"), 0U);
    std::string oneLine = text;
    std::replace(oneLine.begin(), oneLine.end(), '\n', ' ');
    EXPECT_NE(oneLine.find("contains all the remaining data of the input image"), std::string::npos);
}

TEST(Split, CutsEachAxisByItself) {
    struct StRow {
        const char* along;
        CSize firstSize;
        std::vector<std::uint8_t> first;
        CSize secondSize;
        std::vector<std::uint8_t> second;
    };
    const std::vector<StRow> rows{
        {"X", CSize(1, 2, 2), {0, 10, 100, 110}, CSize(2, 2, 2), {1, 2, 11, 12, 101, 102, 111, 112}},
        {"Y", CSize(3, 1, 2), {0, 1, 2, 100, 101, 102}, CSize(3, 1, 2), {10, 11, 12, 110, 111, 112}},
        {"Z", CSize(3, 2, 1), {0, 1, 2, 10, 11, 12}, CSize(3, 2, 1), {100, 101, 102, 110, 111, 112}},
    };
    for (const StRow& row : rows) {
        CNodeUnderTest node("Split");
        node.Set("along", row.along).Input(0, CodedImage(IMAGE_GREY_8, CSize(3, 2, 2))).Run();
        EXPECT_EQ(node.Output(0).Size(), row.firstSize) << row.along;
        EXPECT_EQ(BytesOf(node.Output(0)), row.first) << row.along;
        EXPECT_EQ(node.Output(1).Size(), row.secondSize) << row.along;
        EXPECT_EQ(BytesOf(node.Output(1)), row.second) << row.along;
    }
}

TEST(Split, CutsInSinglePrecision) {
    struct StRow {
        std::int64_t extent;
        double ratio;
        std::int64_t first;
    };
    const std::vector<StRow> rows{
        {7, 0.5, 3}, // the odd element goes to the second output
        {1, 0.5, 0},
        {10, 0.05, 0},
        {10, 0.99, 9},
        {10, 0.7, 7},                    // the product of doubles would be cut to 6: the single 0.7 is a little less
        {100, 0.29, 29},                 // 28.9999992 rounded to single precision; 28 in doubles
        {16777217, 0.9999999, 16777214}, // the extent counts as 16777216
        {33554438, 0.5, 16777220},       // 33554440, after a tie, in place of 33554438
    };
    for (const StRow& row : rows) {
        CNodeUnderTest node("Split");
        node.Set("along", "Z").Set("split_ratio", row.ratio);
        node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(0, 1, row.extent))).Run();
        EXPECT_EQ(node.Output(0).Size(), CSize(0, 1, row.first)) << row.ratio << " of " << row.extent;
        EXPECT_EQ(node.Output(1).Size(), CSize(0, 1, row.extent - row.first)) << row.ratio << " of " << row.extent;
    }
}

TEST(Split, AnEmptyFirstPartLeavesAllToTheSecond) {
    CNodeUnderTest node("Split");
    node.Input(0, Bytes(1, 3, {1, 2, 3})).Run();
    EXPECT_EQ(node.Output(0).Size(), CSize(0, 3, 1));
    EXPECT_EQ(node.Output(1).Size(), CSize(1, 3, 1));
    EXPECT_EQ(BytesOf(node.Output(1)), (std::vector<std::uint8_t>{1, 2, 3}));
}

TEST(Split, AcceptsItsTypesAndDropsAttributes) {
    for (const auto& type : {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG}) {
        CNodeUnderTest node("Split");
        auto image = CodedImage(type, CSize(2, 2));
        image->Attributes().SetEntry("key", new CValueLong(1));
        node.Input(0, std::move(image)).Run();
        for (int slot = 0; slot < 2; ++slot) {
            const CImage& part = node.Output(slot);
            EXPECT_EQ(part.Type(), type);
            EXPECT_EQ(part.Size(), CSize(1, 2, 1)) << "three extents";
            EXPECT_TRUE(part.Attributes().IsEmpty());
            const std::unique_ptr<const IAccess> access(part.CreateAccess());
            EXPECT_EQ(access->Get(0, 0, 0, 0), slot) << type.ToString();
            EXPECT_EQ(access->Get(0, 1, 0, 0), 10 + slot) << type.ToString();
        }
    }
}

TEST(Split, InitRefusesRatiosOutsideTheOpenInterval) {
    struct StRow {
        double ratio;
        const char* text;
    };
    const std::vector<StRow> rows{
        {0.0, "0"},      {1.0, "1"},    {0.99999999, "1"},  {1e-60, "0"}, {-0.25, "-0.25"}, {1.23456789, "1.23457"},
        {1e10, "1e+10"}, {kNaN, "nan"}, {kInfinity, "inf"}, {-0.0, "-0"},
    };
    for (const StRow& row : rows) {
        CNodeUnderTest node("Split");
        node.Set("split_ratio", row.ratio);
        const StFailure expected{kWhere, std::string("split_ratio of ") + row.text +
                                             " is not a reasonable value. Please give a value from (0,1)"};
        EXPECT_EQ(FailureOf([&] { node.Init(); }), expected);
    }
}

TEST(Split, TakesRatiosOfOtherKindsAsTheHostConvertsThem) {
    CNodeUnderTest node("Split");
    node.Input(0, Bytes(4, 1, {1, 2, 3, 4}));
    EXPECT_EQ(node.Set("split_ratio", 0).Failure().what,
              "split_ratio of 0 is not a reasonable value. Please give a value from (0,1)");
    CNodeUnderTest other("Split");
    other.Set("split_ratio", "0.25").Input(0, Bytes(4, 1, {1, 2, 3, 4})).Run();
    EXPECT_EQ(other.Output(0).Size().x, 2) << "a text leaves the field as it was";
}

TEST(Split, AbsentParametersKeepTheFields) {
    CNodeUnderTest node("Split");
    node.Set("along", "Y").Set("split_ratio", 0.25).Input(0, Bytes(1, 4, {1, 2, 3, 4})).Run();
    EXPECT_EQ(node.Output(0).Size(), CSize(1, 1, 1));
    node.Unset("along").Unset("split_ratio").Run();
    EXPECT_EQ(node.Output(0).Size(), CSize(1, 1, 1));
    EXPECT_EQ(BytesOf(node.Output(1)), (std::vector<std::uint8_t>{2, 3, 4}));
}

TEST(Split, ARefusedRatioStaysInTheField) {
    const std::string refused = "split_ratio of 1.5 is not a reasonable value. Please give a value from (0,1)";
    CNodeUnderTest node("Split");
    node.Set("split_ratio", 1.5).Input(0, Bytes(4, 1, {1, 2, 3, 4}));
    EXPECT_EQ(node.Failure().what, refused);
    EXPECT_EQ(node.Unset("split_ratio").Failure().what, refused);
}

TEST(Split, RunWithARefusedRatioFailsInTheWordsOfTheImageOrCutsAtAnEnd) {
    const auto runAfter = [](double ratio, CNodeUnderTest& node) {
        node.Set("split_ratio", ratio).Input(0, Bytes(4, 1, {1, 2, 3, 4}));
        static_cast<void>(FailureOf([&] { node.Init(); }));
    };
    for (const double ratio : {1.5, -1.0, kNaN, kInfinity, -kInfinity, 1e30}) {
        CNodeUnderTest node("Split");
        runAfter(ratio, node);
        EXPECT_EQ(FailureOf([&] { node.RunAgain(); }).where, "CImage") << ratio;
        EXPECT_FALSE(node.HasOutput(0));
        EXPECT_FALSE(node.HasOutput(1));
    }
    CNodeUnderTest whole("Split");
    runAfter(1.0, whole);
    EXPECT_EQ(whole.RunAgain().Output(0).Size(), CSize(4, 1, 1));
    EXPECT_EQ(whole.Output(1).Size(), CSize(0, 1, 1));
}

TEST(Split, RefusesBadInputs) {
    CNodeUnderTest node("Split");
    const StFailure missing{kWhere, "input image is NULL"};
    const StFailure noImage{kWhere, "input 0 is not an image"};
    const StFailure wrongType{kWhere, kWrongType};
    EXPECT_EQ(node.Failure(), missing);
    EXPECT_EQ(node.NullImage(0).Failure(), missing);
    EXPECT_EQ(node.Input(0, std::make_unique<CValueLong>(3)).Failure(), noImage);
    for (const auto& type : TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG})) {
        EXPECT_EQ(node.Input(0, ZeroImage(type, CSize(2, 2))).Failure(), wrongType) << type.ToString();
    }
}

TEST(Split, RefusesOtherAxesAfterTheType) {
    for (const char* along : {"x", "XY", "", " X", "W"}) {
        CNodeUnderTest node("Split");
        node.Set("along", along);
        EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_RGB_8, CSize(2, 2))).Failure(), (StFailure{kWhere, kWrongType}));
        EXPECT_EQ(node.Input(0, Bytes(2, 1, {1, 2})).Failure(), (StFailure{kWhere, kWrongAxis})) << along;
    }
}

TEST(Split, ServesEmptyImagesOfAnyExtent) {
    constexpr std::int64_t huge = std::int64_t{1} << 62;
    struct StRow {
        CSize size;
        const char* along;
        CSize first;
        CSize second;
    };
    const std::vector<StRow> rows{
        {CSize(0, 3, 2), "X", CSize(0, 3, 2), CSize(0, 3, 2)},
        {CSize(0, 3, 2), "Y", CSize(0, 1, 2), CSize(0, 2, 2)},
        {CSize(0, huge, huge), "Y", CSize(0, huge / 2, huge), CSize(0, huge / 2, huge)},
        {CSize(huge, huge, 0), "Z", CSize(huge, huge, 0), CSize(huge, huge, 0)},
    };
    for (const StRow& row : rows) {
        CNodeUnderTest node("Split");
        node.Set("along", row.along).Input(0, ZeroImage(IMAGE_GREY_16, row.size)).Run();
        EXPECT_EQ(node.Output(0).Size(), row.first);
        EXPECT_EQ(node.Output(1).Size(), row.second);
    }
}

/// The bytes of the elements of an image in a cuboid, element by element.
std::vector<std::uint8_t> PlainPart(const CImage& image, const CBox& box) {
    const std::vector<std::uint8_t> in = BytesOf(image);
    const CSize& size = image.Size();
    const std::int64_t bytes = image.Type().pixelBytes;
    std::vector<std::uint8_t> out;
    for (std::int64_t z = box.first.z; z < box.second.z; ++z) {
        for (std::int64_t y = box.first.y; y < box.second.y; ++y) {
            for (std::int64_t x = box.first.x; x < box.second.x; ++x) {
                for (std::int64_t byte = 0; byte < bytes; ++byte) {
                    out.push_back(in[static_cast<std::size_t>((x + size.x * (y + size.y * z)) * bytes + byte)]);
                }
            }
        }
    }
    return out;
}

TEST(Split, AgreesWithThePlainLoopOnRandomImages) {
    std::mt19937 random(44);
    const std::vector<IImage::CType> types{IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG};
    for (int round = 0; round < 300; ++round) {
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
        const bool isLarge = round % 3 == 0; // rows of several pages of memory
        const CSize size(extent(isLarge ? 700 : 60), extent(isLarge ? 90 : 9), extent(6));
        const char along = "XYZ"[random() % 3];
        const float ratio = static_cast<float>(random() % 999 + 1) / 1000.0F;
        CNodeUnderTest node("Split");
        node.Set("along", std::string(1, along).c_str()).Set("split_ratio", double{ratio});
        node.Input(0, RandomImage(types[random() % types.size()], size, random));
        const auto before = BytesOf(node.InputImage(0));
        node.Run();
        EXPECT_EQ(BytesOf(node.InputImage(0)), before) << "the input has changed";
        const auto cut = [&](std::int64_t whole) {
            return static_cast<std::int64_t>(static_cast<float>(whole) * ratio);
        };
        const CBox first(0, 0, 0, along == 'X' ? cut(size.x) : size.x, along == 'Y' ? cut(size.y) : size.y,
                         along == 'Z' ? cut(size.z) : size.z);
        const CBox second(along == 'X' ? cut(size.x) : 0, along == 'Y' ? cut(size.y) : 0,
                          along == 'Z' ? cut(size.z) : 0, size.x, size.y, size.z);
        ASSERT_EQ(BytesOf(node.Output(0)), PlainPart(node.InputImage(0), first));
        ASSERT_EQ(BytesOf(node.Output(1)), PlainPart(node.InputImage(0), second));
    }
}

} // namespace
} // namespace QUOR::test
