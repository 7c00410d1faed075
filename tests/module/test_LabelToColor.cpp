#include "NodeTest.h"

#include <cmath>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) LabelToColor::Run";
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

using Planes = std::vector<std::uint8_t>;

Planes Painted(CNodeUnderTest& node) {
    EXPECT_EQ(node.Run().Output().Type(), IMAGE_RGB_8);
    return BytesOf(node.Output());
}

TEST(LabelToColor, DescribesItself) {
    const auto setup = DescriptionOf("LabelToColor");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "LabelImage");
    EXPECT_EQ(setup->EntryString("name", ""), "LabelToColor");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PLabelToColor/index.html");
    EXPECT_FALSE(setup->HasEntry("keywords"));
    EXPECT_FALSE(setup->HasEntry("gui"));
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 1U);
    EXPECT_TRUE(setup->HasEntry("parameters/ignore_zero", EnValType::Bool));
    EXPECT_FALSE(setup->EntryBool("parameters/ignore_zero", true));
    EXPECT_EQ(MetaText(*setup, "parameters/ignore_zero", "gui/boolean"), "togglebutton");
    EXPECT_EQ(MetaText(*setup, "parameters/ignore_zero", "desc")
                  .find("The type of this parameter is of type bool. defines whether zeros in the label image are\n"
                        "ignored (i.e. the corresponding output pixel is set to zero) or not."),
              0U);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "label image");
    EXPECT_EQ(MetaText(*setup, "inputs/1", "label"), "color map");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_TRUE(setup->Entry("inputs/1", true)->Meta().EntryBool("optional", false));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output label image of type IMAGE_RGB_8.");
    const std::string text = setup->EntryString("description", "").Text();
    EXPECT_EQ(text.find("BRIEF\nNode to change labels to a user-defined color map.\n\n"), 0U);
    EXPECT_NE(text.find("If the color map image\nis omitted a standard color map with six repeating basic colors is "
                        "used."),
              std::string::npos);
    EXPECT_NE(text.find("If the\nmap image is a color image every pixel specifies one color, otherwise every "
                        "consecutive\nthree pixels specify the color as an RGB triple."),
              std::string::npos);
    EXPECT_NE(text.find("should contain\nat least as many color values as the first image has labels"),
              std::string::npos);
    EXPECT_NE(text.find("\nSEE ALSO\nLabelToValue: the corresponding gray-value mapping\n"), std::string::npos);
}

TEST(LabelToColor, RepeatsSixColours) {
    const Planes expected{255, 0,   0,   255, 255, 0,   255, 0,   //
                          0,   255, 0,   255, 0,   255, 0,   255, //
                          0,   0,   255, 0,   255, 255, 0,   0};
    CNodeUnderTest node("LabelToColor");
    node.Input(0, Bytes(8, 1, {0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(Painted(node), expected);
    node.Input(0, Floats(8, 1, {0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(Painted(node), expected);
}

TEST(LabelToColor, LeavesZeroBlackAndStartsTheTableAtOne) {
    const Planes expected{0, 255, 0,   0,   255, 255, 0,   255, //
                          0, 0,   255, 0,   255, 0,   255, 0,   //
                          0, 0,   0,   255, 0,   255, 255, 0};
    CNodeUnderTest node("LabelToColor");
    node.Set("ignore_zero", true).Input(0, Bytes(8, 1, {0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(Painted(node), expected);
    node.Input(0, Floats(8, 1, {-0.0F, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(Painted(node), expected);
    EXPECT_EQ(Painted(node.Unset("ignore_zero"))[0], 255) << "an absent key stands for false";
}

TEST(LabelToColor, TakesTriplesOfAGreyMap) {
    CNodeUnderTest node("LabelToColor");
    node.Input(0, Bytes(3, 1, {0, 1, 2})).Input(1, Bytes(7, 1, {10, 11, 12, 20, 21, 22, 99}));
    EXPECT_EQ(Painted(node), (Planes{10, 20, 10, 11, 21, 11, 12, 22, 12})) << "the seventh element isn't read";
    node.Input(0, Floats(3, 1, {0, 1, 2}));
    EXPECT_EQ(Painted(node), (Planes{10, 20, 10, 11, 21, 11, 12, 22, 12}));
}

TEST(LabelToColor, CutsTheColoursOfAFloatMapToBytes) {
    CNodeUnderTest node("LabelToColor");
    node.Input(0, Bytes(2, 1, {0, 1})).Input(1, Floats(6, 1, {300.7F, -1.0F, 2.9F, kNaN, kInfinity, 1e20F}));
    EXPECT_EQ(Painted(node), (Planes{44, 0, 255, 0, 2, 0}));
    node.Input(0, Floats(2, 1, {0, 1}));
    EXPECT_EQ(Painted(node), (Planes{44, 0, 255, 0, 2, 0}));
}

TEST(LabelToColor, TakesTheFirstSliceOfAColourMap) {
    Planes map(3 * 30);
    for (std::size_t i = 0; i < map.size(); ++i) {
        map[i] = static_cast<std::uint8_t>(i);
    }
    CNodeUnderTest node("LabelToColor");
    node.Input(0, Bytes(3, 1, {0, 5, 6})).Input(1, MakeImage<std::uint8_t>(IMAGE_RGB_8, CSize(3, 2, 5), map));
    EXPECT_EQ(Painted(node), (Planes{0, 5, 0, 30, 35, 30, 60, 65, 60}));
    node.Input(0, Floats(3, 1, {0, 5, 6}));
    EXPECT_EQ(Painted(node), (Planes{0, 5, 0, 30, 35, 30, 60, 65, 60}));
}

TEST(LabelToColor, CutsFloatLabelsTo32Bits) {
    // A map of three colours that are told by their red.
    const std::vector<std::uint8_t> map{1, 0, 0, 2, 0, 0, 3, 0, 0};
    const auto red = [&](float label, bool ignoreZero) {
        CNodeUnderTest node("LabelToColor");
        node.Set("ignore_zero", ignoreZero).Input(0, Floats(1, 1, {label})).Input(1, Bytes(9, 1, map));
        return int{Painted(node)[0]};
    };
    EXPECT_EQ(red(2.9F, false), 3);
    EXPECT_EQ(red(-1, false), 3) << "a negative remainder counts from the end";
    EXPECT_EQ(red(-3, false), 1);
    EXPECT_EQ(red(-0.5F, false), 1);
    EXPECT_EQ(red(kNaN, false), 1);
    EXPECT_EQ(red(kInfinity, false), 1);
    EXPECT_EQ(red(-kInfinity, false), 1);
    EXPECT_EQ(red(3e9F, false), 2) << "-2147483648 mod 3 is -2";
    EXPECT_EQ(red(-3e9F, false), 2);
    EXPECT_EQ(red(0.5F, true), 3) << "label 0, which isn't the element 0";
    EXPECT_EQ(red(kNaN, true), 3);
    EXPECT_EQ(red(1, true), 1);
    EXPECT_EQ(red(3e9F, true), 1) << "-2147483649 mod 3 is 0";
}

TEST(LabelToColor, TakesANullValueAsNoMap) {
    CNodeUnderTest node("LabelToColor");
    node.Input(0, Bytes(1, 1, {0})).NoInput(1);
    EXPECT_EQ(Painted(node), (Planes{255, 0, 0}));
}

TEST(LabelToColor, NeedsAColourOnlyForWhatIsNotBlack) {
    const StFailure expected{kWhere, "the color map holds no color"};
    const auto noColours = [] {
        std::vector<ImagePtr> maps;
        maps.push_back(Bytes(2, 1, {1, 2}));
        maps.push_back(Floats(1, 1, {1}));
        maps.push_back(ZeroImage(IMAGE_GREY_8, CSize(0, 9)));
        maps.push_back(ZeroImage(IMAGE_GREY_8, CSize(9, 9, 0)));
        maps.push_back(ZeroImage(IMAGE_RGB_8, CSize(std::int64_t{1} << 40, std::int64_t{1} << 40, 0)));
        return maps;
    };
    for (std::size_t i = 0; i < noColours().size(); ++i) {
        CNodeUnderTest node("LabelToColor");
        node.Input(1, std::move(noColours()[i])).Input(0, Bytes(2, 1, {0, 0}));
        EXPECT_EQ(node.Failure(), expected);
        EXPECT_EQ(Painted(node.Set("ignore_zero", true)), Planes(6, 0));
        EXPECT_EQ(node.Input(0, Bytes(2, 1, {0, 1})).Failure(), expected);
        EXPECT_EQ(Painted(node.Input(0, Floats(2, 1, {0, -0.0F}))), Planes(6, 0));
        EXPECT_EQ(node.Input(0, Floats(2, 1, {0, 0.5F})).Failure(), expected);
        EXPECT_EQ(Painted(node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(0, 4)))), Planes());
    }
}

TEST(LabelToColor, KeepsTheSizeAndDropsAttributes) {
    CNodeUnderTest node("LabelToColor");
    auto image = Bytes(2, 1, {1, 1});
    image->Attributes().SetEntry("a", new CValueLong(5));
    node.Input(0, std::move(image)).Run();
    EXPECT_EQ(node.Output().Size(), CSize(2, 1));
    EXPECT_TRUE(node.Output().Attributes().IsEmpty());
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(2, 1, 3))).Run().Output().Size(), CSize(2, 1, 3));
    constexpr std::int64_t huge = std::int64_t{1} << 40;
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_F, CSize(0, huge, huge))).Run().Output().Size(), CSize(0, huge, huge));
}

TEST(LabelToColor, FailsInItsOwnWordsInOrder) {
    CNodeUnderTest node("LabelToColor");
    node.Input(1, ZeroImage(IMAGE_GREY_16, CSize(1, 1)));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image is NULL"}));
    EXPECT_EQ(node.NullImage(0).Failure(), (StFailure{kWhere, "input image is NULL"}));
    for (const auto& type : TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8})) {
        node.Input(0, ZeroImage(type, CSize(1, 1)));
        EXPECT_EQ(node.Failure(),
                  (StFailure{kWhere, "input(label) image is not of type IMAGE_GREY_F or IMAGE_GREY_8, "}));
    }
    node.Input(0, Bytes(1, 1, {1})).NullImage(1);
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image 1 is not an image"}));
    for (const auto& type : TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_RGB_8})) {
        node.Input(1, ZeroImage(type, CSize(3, 1)));
        EXPECT_EQ(node.Failure(),
                  (StFailure{kWhere, "map image is not of type IMAGE_GREY_F, IMAGE_GREY_8 or IMAGE_RGB_8"}));
    }
    node.Input(1, std::make_unique<CValueLong>(1));
    EXPECT_EQ(node.Failure().what, "the value must be a pointer to an image, but is an integer");
    node.Input(0, std::make_unique<CValueLong>(1));
    EXPECT_EQ(node.Failure().what, "the value must be a pointer to an image, but is an integer");
}

TEST(LabelToColor, AgreesWithThePlainLoopOnRandomImages) {
    std::mt19937 random(17);
    for (int round = 0; round < 400; ++round) {
        const auto below = [&](unsigned most) { return static_cast<unsigned>(random() % most); };
        const CSize size(below(50) + 1 + (below(40) == 0 ? 5000 : 0), below(6) + 1, below(3) + 1);
        const bool ignoreZero = below(2) == 0;
        const bool bytes = below(2) == 0;
        const auto colours = static_cast<std::int64_t>(below(9) + 1);
        std::vector<std::uint8_t> map;
        for (std::int64_t i = 0; i < 3 * colours; ++i) {
            map.push_back(static_cast<std::uint8_t>(below(256)));
        }
        CNodeUnderTest node("LabelToColor");
        node.Set("ignore_zero", ignoreZero).Input(1, Bytes(3 * colours, 1, map));
        std::vector<std::int64_t> labels;
        std::vector<std::uint8_t> byteLabels;
        std::vector<float> floatLabels;
        for (std::size_t i = 0; i < size.Volume(); ++i) {
            const bool same = i > 0 && below(3) != 0;
            labels.push_back(same ? labels.back() : static_cast<std::int64_t>(below(256)));
            byteLabels.push_back(static_cast<std::uint8_t>(labels.back()));
            floatLabels.push_back(static_cast<float>(labels.back()));
        }
        node.Input(0, bytes ? MakeImage(IMAGE_GREY_8, size, byteLabels) : MakeImage(IMAGE_GREY_F, size, floatLabels));
        Planes expected;
        for (std::size_t channel = 0; channel < 3; ++channel) {
            for (const std::int64_t label : labels) {
                const std::int64_t k = (label - (ignoreZero ? 1 : 0)) % colours;
                const bool black = ignoreZero && label == 0;
                expected.push_back(black ? std::uint8_t{0} : map[static_cast<std::size_t>(3 * k) + channel]);
            }
        }
        EXPECT_EQ(Painted(node), expected);
    }
}

} // namespace
} // namespace QUOR::test
