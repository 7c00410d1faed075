#include "NodeTest.h"

#include <algorithm>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) PLabelToValue::Run";
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr std::int64_t kHuge = std::int64_t{1} << 40;

const std::vector<IImage::CType>& Accepted() {
    static const std::vector<IImage::CType> types{IMAGE_GREY_F, IMAGE_GREY_32, IMAGE_GREY_16, IMAGE_GREY_8,
                                                  IMAGE_BINARY_FG};
    return types;
}

StFailure Exceeds(const char* label, const char* size) {
    return {kWhere,
            std::string("Error: maximum label from input '") + label + "' exceeds size of map image '" + size + "'."};
}

const StFailure kNegative{kWhere, "Error: negative label occures."};
const StFailure kNonFinite{kWhere, "Error: non-finite label occures (+inf, -inf, or nan)."};

/// A grey image of any type with the given numbers.
ImagePtr Numbers(const IImage::CType& type, const CSize& size, const std::vector<double>& numbers) {
    auto image = ZeroImage(type, size);
    const std::unique_ptr<IAccess> access(image->CreateAccess());
    auto number = numbers.begin();
    for (std::int64_t z = 0; z < size.z; ++z) {
        for (std::int64_t y = 0; y < size.y; ++y) {
            for (std::int64_t x = 0; x < size.x; ++x) {
                access->Set(x, y, z, 0, *number++);
            }
        }
    }
    return image;
}

TEST(LabelToValue, DescribesItself) {
    const auto setup = DescriptionOf("LabelToValue");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "LabelImage");
    EXPECT_EQ(setup->EntryString("name", ""), "LabelToValue");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PLabelToValue/index.html");
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
    EXPECT_EQ(MetaText(*setup, "inputs/1", "label"), "map image");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_FALSE(setup->Entry("inputs/1", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of the same type as the map image.");
    const std::string text = setup->EntryString("description", "").Text();
    EXPECT_EQ(text.find("BRIEF\nNode to change labels to a user-defined gray-value map.\n"), 0U);
    EXPECT_NE(text.find("INPUT 0\nInput label image of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, "
                        "or IMAGE_MONO_BINARY.\n"),
              std::string::npos);
    EXPECT_NE(text.find("INPUT 1\nInput map image of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, or "
                        "IMAGE_MONO_BINARY.\n"),
              std::string::npos);
    EXPECT_NE(text.find("NOTE\nmaximum greyvalue of the label image must not exceed the total size of the map "
                        "image.\n"),
              std::string::npos);
    EXPECT_NE(text.find("SEE ALSO\nLabelToColor: the corresponding color mapping\n"), std::string::npos);
}

TEST(LabelToValue, LooksUpAll25PairsOfTypes) {
    for (const auto& labelType : Accepted()) {
        for (const auto& mapType : Accepted()) {
            CNodeUnderTest node("LabelToValue");
            node.Input(0, Numbers(labelType, CSize(2, 3, 1), {0, 3, 1, 2, 2, 0}));
            node.Input(1, Numbers(mapType, CSize(4, 1, 1), {50, 60, 70, 80})).Run();
            EXPECT_TRUE(SameImage(*Numbers(mapType, CSize(2, 3, 1), {50, 80, 60, 70, 70, 50}), node.Output()))
                << labelType.ToString() << " " << mapType.ToString();
            node.Set("ignore_zero", true).Run();
            EXPECT_TRUE(SameImage(*Numbers(mapType, CSize(2, 3, 1), {0, 70, 50, 60, 60, 0}), node.Output()))
                << labelType.ToString() << " " << mapType.ToString();
        }
    }
}

TEST(LabelToValue, TakesTheMapInStorageOrder) {
    CNodeUnderTest node("LabelToValue");
    node.Input(0, Bytes(4, 1, {3, 2, 1, 0}));
    for (const CSize& size : {CSize(4, 1, 1), CSize(2, 2, 1), CSize(1, 2, 2)}) {
        node.Input(1, Numbers(IMAGE_GREY_8, size, {5, 6, 7, 8})).Run();
        EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{8, 7, 6, 5}));
    }
}

TEST(LabelToValue, KeepsTheBitsOfTheMap) {
    const std::vector<std::uint32_t> bits{0x7FA00001U, 0x80000000U, 0xFFC12345U};
    CNodeUnderTest node("LabelToValue");
    node.Input(0, Bytes(3, 1, {2, 0, 1})).Input(1, MakeImage(IMAGE_GREY_F, CSize(3, 1), bits)).Run();
    EXPECT_EQ(ElementsOf<std::uint32_t>(node.Output()),
              (std::vector<std::uint32_t>{0xFFC12345U, 0x7FA00001U, 0x80000000U}));
}

TEST(LabelToValue, CutsFractions) {
    CNodeUnderTest node("LabelToValue");
    node.Input(0, Floats(4, 1, {2.9F, 2.1F, 0.9F, -0.0F})).Input(1, Bytes(3, 1, {10, 11, 12})).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{12, 12, 10, 10}));
    node.Set("ignore_zero", true).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{11, 11, 0, 0}));
}

TEST(LabelToValue, BoundsLabelsByTheMap) {
    const struct {
        IImage::CType type;
        bool ignoreZero;
        double last; ///< the largest label that a map of three elements serves
        const char* beyond;
    } rows[] = {{IMAGE_GREY_8, false, 2, "3"},  {IMAGE_GREY_8, true, 3, "4"},  {IMAGE_GREY_16, false, 2, "3"},
                {IMAGE_GREY_32, true, 3, "4"},  {IMAGE_GREY_F, false, 2, "3"}, {IMAGE_GREY_F, true, 3, "4"},
                {IMAGE_BINARY_FG, true, 3, "4"}};
    for (const auto& row : rows) {
        CNodeUnderTest node("LabelToValue");
        node.Set("ignore_zero", row.ignoreZero).Input(1, Bytes(3, 1, {10, 11, 12}));
        node.Input(0, Numbers(row.type, CSize(1, 1), {row.last})).Run();
        EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{12}));
        node.Input(0, Numbers(row.type, CSize(1, 1), {row.last + 1}));
        EXPECT_EQ(node.Failure(), Exceeds(row.beyond, "3"));
    }
}

TEST(LabelToValue, BoundsLabelsBesideANegativeZero) {
    CNodeUnderTest node("LabelToValue");
    node.Input(0, Floats(3, 1, {-0.0F, 5, -0.0F})).Input(1, Bytes(3, 1, {10, 11, 12}));
    EXPECT_EQ(node.Failure(), Exceeds("5", "3"));
}

TEST(LabelToValue, NamesLargeLabels) {
    CNodeUnderTest node("LabelToValue");
    node.Input(1, Bytes(3, 1, {1, 2, 3})).Input(0, MakeImage<std::uint32_t>(IMAGE_GREY_32, CSize(1, 1), {4294967295U}));
    EXPECT_EQ(node.Failure(), Exceeds("4294967295", "3"));
    EXPECT_EQ(node.Input(0, Floats(1, 1, {1099511627776.0F})).Failure(), Exceeds("1099511627776", "3"));
    EXPECT_EQ(node.Input(0, Floats(1, 1, {1e30F})).Failure(), Exceeds("9223372036854775807", "3"));
}

TEST(LabelToValue, LetsTheFirstOffendingElementDecide) {
    CNodeUnderTest node("LabelToValue");
    node.Input(1, Bytes(3, 1, {1, 2, 3}));
    EXPECT_EQ(node.Input(0, Floats(2, 1, {-1, kNaN})).Failure(), kNegative);
    EXPECT_EQ(node.Input(0, Floats(2, 1, {kNaN, -1})).Failure(), kNonFinite);
    EXPECT_EQ(node.Input(0, Floats(2, 1, {kInfinity, -1})).Failure(), kNonFinite);
    EXPECT_EQ(node.Input(0, Floats(1, 1, {-kInfinity})).Failure(), kNegative);
    EXPECT_EQ(node.Input(0, Floats(1, 1, {-1e-45F})).Failure(), kNegative);
    EXPECT_EQ(node.Input(0, Floats(2, 1, {1.5F, kNaN})).Failure(), kNonFinite);
    EXPECT_EQ(node.Input(0, Floats(3, 1, {1.5F, -1, kNaN})).Failure(), kNegative) << "labels before it are passed over";
    EXPECT_EQ(node.Input(0, Floats(2, 1, {99, kNaN})).Failure(), kNonFinite) << "the bound comes last";
    EXPECT_EQ(node.Input(0, Floats(1, 1, {-kNaN})).Failure(), kNonFinite) << "a NaN isn't below zero";
}

TEST(LabelToValue, FindsAnOffenceInALaterBlock) {
    CNodeUnderTest node("LabelToValue");
    node.Input(1, Bytes(3, 1, {1, 2, 3}));
    std::vector<float> labels(100000, 1.0F);
    labels[10] = 7.0F;
    labels[70000] = kNaN;
    EXPECT_EQ(node.Input(0, Floats(100000, 1, labels)).Failure(), kNonFinite);
    labels[70000] = 9.0F;
    EXPECT_EQ(node.Input(0, Floats(100000, 1, labels)).Failure(), Exceeds("9", "3"));
}

TEST(LabelToValue, ServesEmptyImagesAndMaps) {
    CNodeUnderTest node("LabelToValue");
    node.Input(0, ZeroImage(IMAGE_GREY_F, CSize(0, kHuge, 1))).Input(1, ZeroImage(IMAGE_GREY_8, CSize(0, 3)));
    EXPECT_EQ(node.Failure(), Exceeds("0", "0"));
    EXPECT_EQ(node.Set("ignore_zero", true).Run().Output().Size(), CSize(0, kHuge, 1));
    for (const auto& type : Accepted()) {
        node.Input(0, ZeroImage(type, CSize(2, 1, 1))).Run();
        EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{0, 0})) << "an empty map is enough for zeros";
    }
    node.Set("ignore_zero", false).Input(0, ZeroImage(IMAGE_GREY_F, CSize(3, 0, 2))).Input(1, Bytes(1, 1, {9}));
    EXPECT_EQ(node.Run().Output().Size(), CSize(3, 0, 2));
}

TEST(LabelToValue, DropsAttributesAndReadsIgnoreZeroInNodeInit) {
    CNodeUnderTest node("LabelToValue");
    auto labels = Bytes(1, 1, {1});
    labels->Attributes().SetEntry("a", new CValueLong(1));
    auto map = Bytes(2, 1, {5, 6});
    map->Attributes().SetEntry("b", new CValueLong(1));
    node.Set("ignore_zero", true).Input(0, std::move(labels)).Input(1, std::move(map)).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{5}));
    EXPECT_TRUE(node.Output().Attributes().IsEmpty());
    EXPECT_EQ(BytesOf(node.Unset("ignore_zero").RunAgain().Output()), (std::vector<std::uint8_t>{5}));
    EXPECT_EQ(BytesOf(node.Run().Output()), (std::vector<std::uint8_t>{6}));
}

TEST(LabelToValue, FailsInItsOwnWordsInOrder) {
    CNodeUnderTest node("LabelToValue");
    const StFailure labelType{kWhere, "The first input label image is not of type IMAGE_GREY_F, IMAGE_GREY_8, "
                                      "IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_MONO_BINARY."};
    const StFailure mapType{kWhere, "The second input map image is not of type IMAGE_GREY_F, IMAGE_GREY_8, "
                                    "IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_MONO_BINARY."};
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "First input image is NULL"}));
    node.NullImage(0);
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "Second input image is NULL"}));
    node.NullImage(1);
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "First input image is not an image"}));
    node.Input(0, ZeroImage(IMAGE_RGB_8, CSize(1, 1)));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "Second input image is not an image"}));
    node.Input(1, ZeroImage(IMAGE_RGB_8, CSize(1, 1)));
    for (const auto& type : {IMAGE_GREY_64, IMAGE_GREY_D, IMAGE_BINARY_BG, IMAGE_RGB_8}) {
        EXPECT_EQ(node.Input(0, ZeroImage(type, CSize(1, 1))).Failure(), labelType);
    }
    node.Input(0, Floats(1, 1, {-1}));
    for (const auto& type : {IMAGE_GREY_64, IMAGE_GREY_D, IMAGE_BINARY_BG, IMAGE_RGB_8}) {
        EXPECT_EQ(node.Input(1, ZeroImage(type, CSize(1, 1))).Failure(), mapType);
    }
    node.Input(1, std::make_unique<CValueLong>(1)).NullImage(0);
    EXPECT_EQ(node.Failure().what, "the value must be a pointer to an image, but is an integer")
        << "both are unwrapped before either is tested";
}

TEST(LabelToValue, AgreesWithThePlainLoopOnRandomImages) {
    std::mt19937 random(18);
    for (int round = 0; round < 600; ++round) {
        const auto below = [&](std::size_t most) { return static_cast<std::size_t>(random() % most); };
        const IImage::CType labelType = Accepted()[below(5)];
        const bool ignoreZero = below(2) == 0;
        const std::size_t mapSize = below(300) + 1;
        const std::size_t count = below(20) == 0 ? 20000 + below(20) : below(200) + 1;
        const std::size_t most = std::min<std::size_t>(mapSize + (ignoreZero ? 1 : 0), 256);
        std::vector<std::uint16_t> map(mapSize);
        std::generate(map.begin(), map.end(), [&] { return static_cast<std::uint16_t>(random()); });
        std::vector<double> labels;
        std::vector<std::uint16_t> expected;
        for (std::size_t i = 0; i < count; ++i) {
            labels.push_back(i > 0 && below(3) != 0 ? labels.back() : static_cast<double>(below(most)));
            const auto label = static_cast<std::size_t>(labels.back());
            expected.push_back(!ignoreZero ? map[label] : label == 0 ? std::uint16_t{0} : map[label - 1]);
        }
        CNodeUnderTest node("LabelToValue");
        node.Set("ignore_zero", ignoreZero);
        node.Input(0, Numbers(labelType, CSize(static_cast<std::int64_t>(count), 1), labels));
        node.Input(1, MakeImage(IMAGE_GREY_16, CSize(static_cast<std::int64_t>(mapSize), 1), map)).Run();
        EXPECT_EQ(ElementsOf<std::uint16_t>(node.Output()), expected);
        const std::vector<std::uint8_t> byteMap(map.begin(), map.end());
        node.Input(1, Bytes(static_cast<std::int64_t>(mapSize), 1, byteMap)).Run();
        EXPECT_EQ(BytesOf(node.Output()), std::vector<std::uint8_t>(expected.begin(), expected.end()));
    }
}

} // namespace
} // namespace QUOR::test
