#include "NodeTest.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <type_traits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) Append";
constexpr const char* kWrongTypeA =
    "image A type is not IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_64, nor "
    "IMAGE_MONO_BINARY";
constexpr const char* kWrongTypeB =
    "image B type is not IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_64, nor "
    "IMAGE_MONO_BINARY";
constexpr const char* kDifferentTypes =
    "images have different types, change input types or toggle parameter 'upcast' to true";
constexpr const char* kWrongAxis = "parameter 'along' must be one of X, Y, or Z.";
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

const std::vector<IImage::CType>& AcceptedTypes() {
    static const std::vector<IImage::CType> types{IMAGE_GREY_F,  IMAGE_GREY_8,  IMAGE_GREY_16,
                                                  IMAGE_GREY_32, IMAGE_GREY_64, IMAGE_BINARY_FG};
    return types;
}

/// Calls `work` with an element of the C++ type that the accepted image type holds.
template <class Work> auto WithElement(const IImage::CType& type, Work&& work) {
    if (type == IMAGE_GREY_F) {
        return work(float{});
    }
    switch (type.pixelBytes) {
    case 1:
        return work(std::uint8_t{});
    case 2:
        return work(std::uint16_t{});
    case 4:
        return work(std::uint32_t{});
    default:
        return work(std::uint64_t{});
    }
}

/// An image of one row with a single type's elements.
template <class T> ImagePtr Row(const IImage::CType& type, const std::vector<T>& elements) {
    return MakeImage<T>(type, CSize(static_cast<std::int64_t>(elements.size()), 1), elements);
}

TEST(Append, DescribesItself) {
    const auto setup = DescriptionOf("Append");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Append");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PAppend/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "append|combine|join|attach|side");
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 3U);
    ASSERT_TRUE(setup->HasEntry("parameters/along", EnValType::String));
    EXPECT_EQ(setup->EntryString("parameters/along", ""), "X");
    EXPECT_EQ(MetaText(*setup, "parameters/along", "val/enValues"), "X, Y, Z");
    EXPECT_EQ(MetaText(*setup, "parameters/along", "desc").find("The type of this parameter is of type string. "), 0U);
    ASSERT_TRUE(setup->HasEntry("parameters/background_value", EnValType::Double));
    EXPECT_EQ(setup->EntryDouble("parameters/background_value", 1.0), 0.0);
    EXPECT_EQ(MetaText(*setup, "parameters/background_value", "desc")
                  .find("The type of this parameter is of type double. Pixel gray value for additional space."),
              0U);
    ASSERT_TRUE(setup->HasEntry("parameters/upcast", EnValType::Bool));
    EXPECT_FALSE(setup->EntryBool("parameters/upcast", true));
    EXPECT_EQ(MetaText(*setup, "parameters/upcast", "gui/boolean"), "togglebutton");
    const std::string upcast = MetaText(*setup, "parameters/upcast", "desc");
    EXPECT_EQ(upcast.find("The type of this parameter is of type bool. "), 0U);
    EXPECT_NE(upcast.find("the wider type of both input image types"), std::string::npos);
    EXPECT_EQ(setup->Entry("gui/order", true)->Map()->Size(), 3U);
    EXPECT_EQ(setup->EntryString("gui/order/0", ""), "along");
    EXPECT_EQ(setup->EntryString("gui/order/1", ""), "background_value");
    EXPECT_EQ(setup->EntryString("gui/order/2", ""), "upcast");
}

TEST(Append, DescribesItsPortsAndText) {
    const auto setup = DescriptionOf("Append");
    EXPECT_EQ(setup->Entry("inputs", true)->Map()->Size(), 2U);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "First input image of type IMAGE_GREY_F, IMAGE_GREY_8,\n"
                                                     "IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_MONO_BINARY.");
    EXPECT_EQ(MetaText(*setup, "inputs/1", "label"), "Second input image of the type IMAGE_GREY_F, IMAGE_GREY_8,\n"
                                                     "IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_MONO_BINARY.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_FALSE(setup->Entry("inputs/1", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(setup->Entry("outputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"),
              "Output image with the same type as the first input image if upcast is FALSE,\n"
              "or wider type of both input image types.");
    const std::string text = setup->EntryString("description", "").Text();
    EXPECT_EQ(text.find("BRIEF\nCombines two images by appending one to the other.\n\n"), 0U);
    EXPECT_NE(text.find("If the images do not have equal size, the two dimensions of the append border\n"
                        "of the smaller image are extended to the maximal size."),
              std::string::npos);
    EXPECT_NE(text.find("\nKEYWORDS\nappend, combine, join, attach, side\n\nSEE ALSO\n"
                        "Replicate, ReplicateRow, ReplicateColumn\n"),
              std::string::npos);
}

TEST(Append, PlacesTheSecondImageBehindTheFirstAlongEachAxis) {
    // The first image is coded as 0, 1, 10, 11, 100, ...; the second one's elements are 200 and up, 9 is background.
    const auto second = [](const CSize& size) {
        std::vector<std::uint8_t> elements(size.Volume());
        for (std::size_t i = 0; i < elements.size(); ++i) {
            elements[i] = static_cast<std::uint8_t>(200 + i);
        }
        return MakeImage<std::uint8_t>(IMAGE_GREY_8, size, elements);
    };
    struct StRow {
        const char* along;
        CSize firstSize;
        CSize secondSize;
        CSize size;
        std::vector<std::uint8_t> elements;
    };
    const std::vector<StRow> rows{
        {"X", CSize(2, 1), CSize(1, 3), CSize(3, 3, 1), {0, 1, 200, 9, 9, 201, 9, 9, 202}},
        {"X", CSize(1, 3), CSize(2, 1), CSize(3, 3, 1), {0, 200, 201, 10, 9, 9, 20, 9, 9}},
        {"Y", CSize(2, 1), CSize(1, 2), CSize(2, 3, 1), {0, 1, 200, 9, 201, 9}},
        {"Y", CSize(1, 2), CSize(3, 1), CSize(3, 3, 1), {0, 9, 9, 10, 9, 9, 200, 201, 202}},
        {"Y", CSize(2, 1), CSize(2, 2), CSize(2, 3, 1), {0, 1, 200, 201, 202, 203}},
        {"Y", CSize(2, 1, 2), CSize(2, 1, 1), CSize(2, 2, 2), {0, 1, 200, 201, 100, 101, 9, 9}},
        {"Z", CSize(1, 2), CSize(2, 1), CSize(2, 2, 2), {0, 9, 10, 9, 200, 201, 9, 9}},
        {"Z", CSize(2, 2), CSize(1, 1, 2), CSize(2, 2, 3), {0, 1, 10, 11, 200, 9, 9, 9, 201, 9, 9, 9}},
        {"Z", CSize(2, 1), CSize(2, 2), CSize(2, 2, 2), {0, 1, 9, 9, 200, 201, 202, 203}},
        {"Z", CSize(1, 2), CSize(1, 2), CSize(1, 2, 2), {0, 10, 200, 201}},
    };
    for (const StRow& row : rows) {
        CNodeUnderTest node("Append");
        node.Set("along", row.along).Set("background_value", 9.0);
        node.Input(0, CodedImage(IMAGE_GREY_8, row.firstSize)).Input(1, second(row.secondSize)).Run();
        EXPECT_EQ(node.Output().Size(), row.size) << row.along;
        EXPECT_EQ(node.Output().Size().dim, 3);
        EXPECT_EQ(BytesOf(node.Output()), row.elements) << row.along << " " << row.firstSize.ToString();
    }
}

TEST(Append, FillsWhatIsLeftBesideTheSmallerImage) {
    CNodeUnderTest node("Append");
    node.Set("background_value", 77.0);
    node.Input(0, CodedImage(IMAGE_GREY_8, CSize(4, 2))).Input(1, CodedImage(IMAGE_GREY_8, CSize(3, 5))).Run();
    EXPECT_EQ(node.Output().Size(), CSize(7, 5, 1));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{
                                          0,  1,  2,  3,  0,  1,  2,  //
                                          10, 11, 12, 13, 10, 11, 12, //
                                          77, 77, 77, 77, 20, 21, 22, //
                                          77, 77, 77, 77, 30, 31, 32, //
                                          77, 77, 77, 77, 40, 41, 42, //
                                      }));
}

TEST(Append, UpcastChoosesTheWiderType) {
    // Rows and columns: binary, 8, 16, 32, 64, float.
    const std::vector<IImage::CType> types{IMAGE_BINARY_FG, IMAGE_GREY_8,  IMAGE_GREY_16,
                                           IMAGE_GREY_32,   IMAGE_GREY_64, IMAGE_GREY_F};
    for (std::size_t a = 0; a < types.size(); ++a) {
        for (std::size_t b = 0; b < types.size(); ++b) {
            CNodeUnderTest node("Append");
            node.Set("upcast", true);
            auto first = CodedImage(types[a], CSize(2, 1));
            first->Attributes().SetEntry("key", new CValueLong(1));
            auto second = CodedImage(types[b], CSize(2, 2));
            second->Attributes().SetEntry("key", new CValueLong(1));
            node.Input(0, std::move(first)).Input(1, std::move(second)).Run();
            EXPECT_EQ(node.Output().Type(), types[std::max(a, b)]);
            EXPECT_TRUE(node.Output().Attributes().IsEmpty());
            const std::unique_ptr<const IAccess> access(node.Output().CreateAccess());
            EXPECT_EQ(access->Get(1, 0, 0, 0), 1.0);
            EXPECT_EQ(access->Get(1, 1, 0, 0), 0.0);
            EXPECT_EQ(access->Get(3, 0, 0, 0), 1.0);
            EXPECT_EQ(access->Get(3, 1, 0, 0), 11.0);
        }
    }
}

TEST(Append, KeepsBinaryBytesUnscaledAndItsBackgroundUnreduced) {
    CNodeUnderTest node("Append");
    node.Set("background_value", 7.0);
    node.Input(0, MakeImage<std::uint8_t>(IMAGE_BINARY_FG, CSize(1, 2), {255, 3}));
    node.Input(1, MakeImage<std::uint8_t>(IMAGE_BINARY_FG, CSize(1, 1), {1})).Run();
    EXPECT_EQ(node.Output().Type(), IMAGE_BINARY_FG);
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{255, 1, 3, 7}));
    node.Set("upcast", true).Input(1, MakeImage<std::uint16_t>(IMAGE_GREY_16, CSize(1, 1), {1000})).Run();
    EXPECT_EQ(ElementsOf<std::uint16_t>(node.Output()), (std::vector<std::uint16_t>{255, 1000, 3, 7}));
}

TEST(Append, Rounds32BitsToTheNearestFloat) {
    const std::vector<std::uint32_t> in{16777217U, 16777219U, 2147483776U, 2147483777U, 4294967295U, 0U};
    CNodeUnderTest node("Append");
    node.Set("upcast", true).Input(0, Row(IMAGE_GREY_32, in)).Input(1, Row<float>(IMAGE_GREY_F, {0.5F})).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()),
              (std::vector<float>{16777216.0F, 16777220.0F, 2147483648.0F, 2147483904.0F, 4294967296.0F, 0.0F, 0.5F}));
}

TEST(Append, Rounds64BitsTwiceWhereTheTopBitIsSet) {
    const std::vector<std::uint64_t> in{
        0U,
        16777217U,
        9223372036854775807U,  // 2^63 - 1
        9223372036854775808U,  // 2^63
        9223372586610589697U,  // 2^63 + 2^39 + 1: rounded once it would be 2^63 + 2^40
        9223373136366403584U,  // 2^63 + 2^40, which a float holds
        18446744073709551615U, // 2^64 - 1
        18446743523953737728U, // 2^64 - 2^39: a tie
    };
    const std::vector<float> expected{0.0F, 0x1p24F, 0x1p63F, 0x1p63F, 0x1p63F, 0x1.000002p63F, 0x1p64F, 0x1p64F};
    for (const int slot : {0, 1}) {
        CNodeUnderTest node("Append");
        node.Set("upcast", true).Set("along", "X");
        node.Input(slot, Row(IMAGE_GREY_64, in)).Input(1 - slot, Row<float>(IMAGE_GREY_F, {})).Run();
        EXPECT_EQ(ElementsOf<float>(node.Output()), expected);
    }
}

TEST(Append, KeepsTheBitsOfEveryFloat) {
    const std::vector<std::uint32_t> bits{0x7FA00001U, 0x80000000U, 0xFFC12345U};
    CNodeUnderTest node("Append");
    node.Input(0, Row(IMAGE_GREY_F, bits)).Input(1, Row(IMAGE_GREY_F, bits)).Run();
    EXPECT_EQ(
        ElementsOf<std::uint32_t>(node.Output()),
        (std::vector<std::uint32_t>{0x7FA00001U, 0x80000000U, 0xFFC12345U, 0x7FA00001U, 0x80000000U, 0xFFC12345U}));
}

/// The only background element of an image of a type.
template <class T> T Background(const IImage::CType& type, double value) {
    CNodeUnderTest node("Append");
    node.Set("background_value", value).Input(0, ZeroImage(type, CSize(1, 1))).Input(1, ZeroImage(type, CSize(1, 2)));
    return ElementsOf<T>(node.Run().Output()).at(2);
}

TEST(Append, TurnsTheBackgroundIntoAnIntegerByItsLowBits) {
    constexpr double two31 = 2147483648.0;
    constexpr double two63 = 9223372036854775808.0;
    constexpr std::uint64_t top = 9223372036854775808U;
    struct StRow {
        double value;
        std::uint8_t as8;
        std::uint16_t as16;
        std::uint32_t as32;
        std::uint64_t as64;
    };
    const std::vector<StRow> rows{
        {-1.0, 255, 65535, 4294967295U, 18446744073709551615U},
        {-0.9, 0, 0, 0, 0},
        {300.7, 44, 300, 300, 300},
        {65536.5, 0, 0, 65536, 65536},
        {two31 - 1.0, 255, 65535, 2147483647U, 2147483647U},
        {two31 + 5.0, 0, 0, 2147483653U, 2147483653U},
        {-two31 - 5.0, 0, 0, 2147483643U, 18446744071562067963U},
        {4294967297.0, 0, 0, 1, 4294967297U},
        {two63, 0, 0, 0, top},
        {10000000000000000000.0, 0, 0, 0, 10000000000000000000U},
        {2.0 * two63, 0, 0, 0, top},
        {-two63, 0, 0, 0, top},
        {-1.5 * two63, 0, 0, 0, top},
        {kNaN, 0, 0, 0, top},
    };
    for (const StRow& row : rows) {
        EXPECT_EQ(Background<std::uint8_t>(IMAGE_GREY_8, row.value), row.as8) << row.value;
        EXPECT_EQ(Background<std::uint8_t>(IMAGE_BINARY_FG, row.value), row.as8) << row.value;
        EXPECT_EQ(Background<std::uint16_t>(IMAGE_GREY_16, row.value), row.as16) << row.value;
        EXPECT_EQ(Background<std::uint32_t>(IMAGE_GREY_32, row.value), row.as32) << row.value;
        EXPECT_EQ(Background<std::uint64_t>(IMAGE_GREY_64, row.value), row.as64) << row.value;
    }
}

TEST(Append, RoundsTheBackgroundToSinglePrecision) {
    EXPECT_EQ(Background<float>(IMAGE_GREY_F, 0.1), 0.1F);
    EXPECT_EQ(Background<float>(IMAGE_GREY_F, 16777217.0), 16777216.0F);
    EXPECT_EQ(Background<float>(IMAGE_GREY_F, 1e300), std::numeric_limits<float>::infinity());
    EXPECT_EQ(Background<std::uint32_t>(IMAGE_GREY_F, -0.0), 0x80000000U);
    EXPECT_TRUE(std::isnan(Background<float>(IMAGE_GREY_F, kNaN)));
}

TEST(Append, TheBackgroundHasTheTypeOfTheResult) {
    CNodeUnderTest node("Append");
    node.Set("upcast", true).Set("background_value", -1.0);
    node.Input(0, Row<std::uint8_t>(IMAGE_GREY_8, {5}));
    node.Input(1, MakeImage<std::uint32_t>(IMAGE_GREY_32, CSize(1, 2), {6, 7})).Run();
    EXPECT_EQ(ElementsOf<std::uint32_t>(node.Output()), (std::vector<std::uint32_t>{5, 6, 4294967295U, 7}));
}

TEST(Append, ChecksBothInputsStepByStep) {
    const auto number = [] { return std::make_unique<CValueLong>(3); };
    const auto grey = [] { return Bytes(1, 1, {1}); };
    CNodeUnderTest node("Append");
    node.Set("along", "W");
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image 0 is NULL"}));
    EXPECT_EQ(node.Input(0, number()).Failure(), (StFailure{kWhere, "input image 1 is NULL"}));
    EXPECT_EQ(node.Input(1, number()).Failure(), (StFailure{kWhere, "input 0 is not an image"}));
    EXPECT_EQ(node.NullImage(0).Failure(), (StFailure{kWhere, "input 1 is not an image"}));
    EXPECT_EQ(node.NullImage(1).Failure(), (StFailure{kWhere, "input image 0 is NULL"}));
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_RGB_8, CSize(1, 1))).Failure(),
              (StFailure{kWhere, "input image 1 is NULL"}));
    EXPECT_EQ(node.Input(1, ZeroImage(IMAGE_RGB_8, CSize(1, 1))).Failure(), (StFailure{kWhere, kWrongTypeA}));
    EXPECT_EQ(node.Input(0, grey()).Failure(), (StFailure{kWhere, kWrongTypeB}));
    EXPECT_EQ(node.Input(1, ZeroImage(IMAGE_GREY_16, CSize(1, 1))).Failure(), (StFailure{kWhere, kDifferentTypes}));
    EXPECT_EQ(node.Input(1, grey()).Failure(), (StFailure{kWhere, kWrongAxis}));
    EXPECT_EQ(node.Set("along", "Z").Run().Output().Size(), CSize(1, 1, 2));
}

TEST(Append, RefusesOtherTypes) {
    for (const auto& type : {IMAGE_GREY_D, IMAGE_BINARY_BG, IMAGE_RGB_8}) {
        CNodeUnderTest node("Append");
        node.Set("upcast", true).Input(0, ZeroImage(type, CSize(1, 1))).Input(1, Bytes(1, 1, {1}));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, kWrongTypeA})) << type.ToString();
        node.Input(0, Bytes(1, 1, {1})).Input(1, ZeroImage(type, CSize(1, 1)));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, kWrongTypeB})) << type.ToString();
    }
}

TEST(Append, RefusesDifferentTypesWithoutUpcast) {
    CNodeUnderTest node("Append");
    node.Input(0, Bytes(1, 1, {1})).Input(1, ZeroImage(IMAGE_BINARY_FG, CSize(1, 1)));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, kDifferentTypes}));
    EXPECT_EQ(node.Set("upcast", true).Run().Output().Type(), IMAGE_GREY_8);
}

TEST(Append, RefusesOtherAxes) {
    for (const char* along : {"x", "XY", "", " X", "X "}) {
        CNodeUnderTest node("Append");
        node.Set("along", along).Input(0, Bytes(1, 1, {1})).Input(1, Bytes(1, 1, {1}));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, kWrongAxis})) << along;
    }
}

TEST(Append, RunReadsUpcastAndInitTheOthers) {
    CNodeUnderTest node("Append");
    node.Set("along", "Y").Set("background_value", 3.0).Set("upcast", true);
    node.Input(0, Bytes(1, 1, {1})).Input(1, Bytes(2, 1, {2, 4})).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{1, 3, 2, 4}));
    node.Unset("along").Unset("background_value").RunAgain();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{1, 3, 2, 4})) << "only NodeInit reads these";
    node.Input(1, MakeImage<std::uint16_t>(IMAGE_GREY_16, CSize(2, 1), {2, 4})).RunAgain();
    EXPECT_EQ(ElementsOf<std::uint16_t>(node.Output()), (std::vector<std::uint16_t>{1, 3, 2, 4}));
    node.Unset("upcast");
    EXPECT_EQ(FailureOf([&] { node.RunAgain(); }), (StFailure{kWhere, kDifferentTypes}));
    node.Set("upcast", 1).Run();
    EXPECT_EQ(ElementsOf<std::uint16_t>(node.Output()), (std::vector<std::uint16_t>{1, 2, 4})) << "defaults are back";
}

TEST(Append, TakesABackgroundOfOtherKindsAsTheHostConvertsThem) {
    CNodeUnderTest node("Append");
    node.Input(0, Bytes(1, 1, {1})).Input(1, Bytes(1, 2, {2, 3}));
    EXPECT_EQ(BytesOf(node.Set("background_value", -2).Run().Output()), (std::vector<std::uint8_t>{1, 2, 254, 3}));
    EXPECT_EQ(BytesOf(node.Set("background_value", true).Run().Output()), (std::vector<std::uint8_t>{1, 2, 1, 3}));
    EXPECT_EQ(BytesOf(node.Set("background_value", "9").Run().Output()), (std::vector<std::uint8_t>{1, 2, 0, 3}));
}

TEST(Append, ServesEmptyImages) {
    constexpr std::int64_t huge = std::int64_t{1} << 61;
    struct StRow {
        const char* along;
        CSize first;
        CSize second;
        CSize size;
        std::vector<std::uint8_t> elements;
    };
    const std::vector<StRow> rows{
        {"X", CSize(0, 1), CSize(2, 1), CSize(2, 1, 1), {0, 1}},
        {"X", CSize(2, 1), CSize(0, 1), CSize(2, 1, 1), {0, 1}},
        {"X", CSize(0, 2), CSize(2, 1), CSize(2, 2, 1), {0, 1, 9, 9}},
        {"X", CSize(1, 0), CSize(2, 1), CSize(3, 1, 1), {9, 0, 1}},
        {"Y", CSize(2, 0), CSize(2, 1), CSize(2, 1, 1), {0, 1}},
        {"Z", CSize(2, 1, 0), CSize(2, 1), CSize(2, 1, 1), {0, 1}},
        {"Z", CSize(0, 0, 1), CSize(2, 1), CSize(2, 1, 2), {9, 9, 0, 1}},
        {"Y", CSize(0, 0, 0), CSize(0, 0, 0), CSize(0, 0, 0), {}},
        {"Y", CSize(0, huge, huge), CSize(0, huge, 1), CSize(0, 2 * huge, huge), {}},
        {"Z", CSize(huge, huge, 0), CSize(huge, huge, 0), CSize(huge, huge, 0), {}},
    };
    for (const StRow& row : rows) {
        const auto image = [](const CSize& size) {
            return size.x < 9 && size.y < 9 ? CodedImage(IMAGE_GREY_8, size) : ZeroImage(IMAGE_GREY_8, size);
        };
        CNodeUnderTest node("Append");
        node.Set("along", row.along).Set("background_value", 9.0);
        node.Input(0, image(row.first)).Input(1, image(row.second)).Run();
        EXPECT_EQ(node.Output().Size(), row.size) << row.along << " " << row.first.ToString();
        EXPECT_EQ(BytesOf(node.Output()), row.elements) << row.along << " " << row.first.ToString();
    }
}

TEST(Append, RefusesExtentsBeyond64BitsInTheWordsOfTheImage) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    CNodeUnderTest node("Append");
    node.Set("along", "Y");
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(0, most, 1))).Input(1, ZeroImage(IMAGE_GREY_8, CSize(0, 1, 1)));
    EXPECT_EQ(node.Failure().where, "CImage");
}

/// An element of the result type: the conversions as they are told.
template <class R, class T> R PlainConvert(T element) {
    if constexpr (std::is_same_v<T, std::uint64_t> && std::is_same_v<R, float>) {
        const auto asSigned = static_cast<float>(std::bit_cast<std::int64_t>(element));
        return (element & (std::uint64_t{1} << 63)) != 0 ? asSigned + 18446744073709551616.0F : asSigned;
    } else {
        return static_cast<R>(element);
    }
}

template <class R> std::vector<R> PlainElements(const CImage& image) {
    return WithElement(image.Type(), [&]<class T>(T) {
        if constexpr (std::is_same_v<T, R>) {
            return ElementsOf<T>(image); // the bits, also those of a NaN
        } else {
            std::vector<R> converted;
            for (const T element : ElementsOf<T>(image)) {
                converted.push_back(PlainConvert<R>(element));
            }
            return converted;
        }
    });
}

/// Fills the whole result and copies both images over it, as it is told.
template <class R>
std::vector<R> PlainAppend(const CImage& a, const CImage& b, char along, R background, const CSize& size) {
    std::vector<R> out(size.Volume(), background);
    const auto copy = [&](const CImage& image, std::int64_t ox, std::int64_t oy, std::int64_t oz) {
        const auto in = PlainElements<R>(image);
        std::size_t i = 0;
        for (std::int64_t z = 0; z < image.Size().z; ++z) {
            for (std::int64_t y = 0; y < image.Size().y; ++y) {
                for (std::int64_t x = 0; x < image.Size().x; ++x) {
                    out[static_cast<std::size_t>(x + ox + size.x * (y + oy + size.y * (z + oz)))] = in[i++];
                }
            }
        }
    };
    copy(a, 0, 0, 0);
    copy(b, along == 'X' ? a.Size().x : 0, along == 'Y' ? a.Size().y : 0, along == 'Z' ? a.Size().z : 0);
    return out;
}

TEST(Append, AgreesWithThePlainLoopOnRandomImages) {
    std::mt19937 random(41);
    for (int round = 0; round < 720; ++round) {
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most); };
        const auto pair = static_cast<std::size_t>(round) % 36;
        const IImage::CType typeA = AcceptedTypes()[pair / 6];
        const IImage::CType typeB = AcceptedTypes()[pair % 6];
        const bool isLarge = round % 72 < 36; // rows of several pages of memory
        const auto randomSize = [&] { return CSize(extent(isLarge ? 300 : 60), extent(isLarge ? 90 : 8), extent(6)); };
        const CSize sizeA = randomSize();
        CSize sizeB = randomSize();
        sizeB.x = random() % 2 == 0 ? sizeA.x : sizeB.x; // equal extents hang together
        sizeB.y = random() % 2 == 0 ? sizeA.y : sizeB.y;
        const char along = "XYZ"[random() % 3];
        CNodeUnderTest node("Append");
        node.Set("along", std::string(1, along).c_str()).Set("background_value", 77.0).Set("upcast", true);
        node.Input(0, RandomImage(typeA, sizeA, random)).Input(1, RandomImage(typeB, sizeB, random));
        const auto beforeA = BytesOf(node.InputImage(0));
        const auto beforeB = BytesOf(node.InputImage(1));
        node.Run();
        EXPECT_EQ(BytesOf(node.InputImage(0)), beforeA) << "the input has changed";
        EXPECT_EQ(BytesOf(node.InputImage(1)), beforeB) << "the input has changed";
        const CSize size(along == 'X' ? sizeA.x + sizeB.x : std::max(sizeA.x, sizeB.x),
                         along == 'Y' ? sizeA.y + sizeB.y : std::max(sizeA.y, sizeB.y),
                         along == 'Z' ? sizeA.z + sizeB.z : std::max(sizeA.z, sizeB.z));
        ASSERT_EQ(node.Output().Size(), size);
        const auto expected = WithElement(node.Output().Type(), [&]<class R>(R) {
            return MakeImage<R>(node.Output().Type(), size,
                                PlainAppend<R>(node.InputImage(0), node.InputImage(1), along, R{77}, size));
        });
        ASSERT_TRUE(SameImage(*expected, node.Output()))
            << typeA.ToString() << " and " << typeB.ToString() << " along " << along;
    }
}

} // namespace
} // namespace QUOR::test
