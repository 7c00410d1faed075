#include "NodeTest.h"

#include <array>
#include <cmath>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) Pad";
const StFailure kMissing{kWhere, "input image is NULL"};
const StFailure kNoImage{kWhere, "input 0 is not an image"};
const StFailure kWrongType{kWhere, "first input image is not of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, "
                                   "IMAGE_GREY_32, nor IMAGE_MONO_BINARY."};

using Grid = std::vector<std::uint8_t>;

constexpr std::array<const char*, 6> kKeys{"pad_left", "pad_right", "pad_top", "pad_bottom", "pad_front", "pad_back"};

using Margins = std::array<int, 6>; // in the order of the keys

std::vector<IImage::CType> AcceptedTypes() {
    return TypesWithout({IMAGE_GREY_64, IMAGE_GREY_D, IMAGE_BINARY_BG, IMAGE_RGB_8});
}

void SetMargins(CNodeUnderTest& node, const Margins& margins) {
    for (std::size_t side = 0; side < kKeys.size(); ++side) {
        node.Set(kKeys[side], margins[side]);
    }
}

/// A node that has padded the image.
struct StPadded {
    StPadded(ImagePtr image, const Margins& margins, double value = 9.0) : node("Pad") {
        SetMargins(node, margins);
        node.Set("value", value).Input(0, std::move(image)).Run();
    }
    const CImage& Image() const { return node.Output(); }
    const CSize& Size() const { return Image().Size(); }

    CNodeUnderTest node;
};

TEST(Pad, DescribesItself) {
    const auto setup = DescriptionOf("Pad");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Pad");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PPad/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "pad|embed|enlarge|add border|add edges");

    const std::vector<std::string> meanings{
        "long. below x: number of columns added to the left of the image.",
        "long. above x: number of columns added to the right of the image.",
        "long. below y: number of rows added at the top of the image.",
        "long. above y: number of rows added at the bottom of the image.",
        "long. below z: number of slices added at the front of the image.",
        "long. above z: number of slices added at the back of the image.",
        "double. (long or double) pixel value for the added rows and columns.",
    };
    ASSERT_EQ(setup->Entry("parameters", true)->Map()->Size(), meanings.size());
    ASSERT_EQ(setup->Entry("gui/order", true)->Map()->Size(), meanings.size());
    for (std::size_t number = 0; number < meanings.size(); ++number) {
        const std::string key = number < kKeys.size() ? kKeys[number] : "value";
        const std::string entry = "parameters/" + key;
        EXPECT_EQ(setup->EntryString(CValue_Key("gui/order/" + std::to_string(number)), "").Text(), key);
        ASSERT_TRUE(setup->HasEntry(CValue_Key(entry), key == "value" ? EnValType::Double : EnValType::Long)) << entry;
        EXPECT_EQ(setup->EntryDouble(CValue_Key(entry), 7.0), 0.0) << entry;
        EXPECT_TRUE(
            MetaText(*setup, entry, "desc").starts_with("The type of this parameter is of type " + meanings[number]))
            << entry;
    }

    ASSERT_EQ(setup->Entry("inputs", true)->Map()->Size(), 1U);
    ASSERT_EQ(setup->Entry("outputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(UnwrapPointer<CImage>(setup->Entry("inputs/0", true)), nullptr);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"),
              "Input image of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_MONO_BINARY.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(UnwrapPointer<CImage>(setup->Entry("outputs/0", true)), nullptr);
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Padded output image of the same type as the input image.");
    EXPECT_FALSE(setup->Entry("outputs/0", true)->Meta().HasEntry("optional"));
}

TEST(Pad, DescriptionTextHoldsItsSectionsInOrder) {
    const std::string text = DescriptionOf("Pad")->EntryString("description", "").Text();
    EXPECT_TRUE(text.starts_with("BRIEF\nEnlarge an image by padding it with constant pixels on the image edges.\n\n"));
    std::size_t position = 0;
    for (const char* header :
         {"\nINPUT 0\n", "\nOUTPUT 0\n", "\nPARAMETER pad_left\n", "\nPARAMETER pad_right\n", "\nPARAMETER pad_top\n",
          "\nPARAMETER pad_bottom\n", "\nPARAMETER pad_front\n", "\nPARAMETER pad_back\n", "\nPARAMETER value\n",
          "\nNOTE\nThe parameter \\a pad_top here refers to padding in the y-direction below y=0.\n",
          "\nKEYWORDS\npad, embed, enlarge, add border, add edges"}) {
        const std::size_t found = text.find(header, position);
        ASSERT_NE(found, std::string::npos) << header;
        position = found;
    }
}

TEST(Pad, GivesEachSideItsMargin) {
    const StPadded padded(MakeImage<std::uint8_t>(IMAGE_GREY_8, CSize(2, 1, 2), {1, 2, 3, 4}), {1, 2, 0, 1, 1, 0});
    EXPECT_EQ(padded.Size(), CSize(5, 2, 3));
    EXPECT_EQ(BytesOf(padded.Image()), (Grid{
                                           9, 9, 9, 9, 9, //
                                           9, 9, 9, 9, 9, //
                                           9, 1, 2, 9, 9, //
                                           9, 9, 9, 9, 9, //
                                           9, 3, 4, 9, 9, //
                                           9, 9, 9, 9, 9, //
                                       }));
}

TEST(Pad, AddsOnOneSideOnly) {
    const auto padded = [](std::size_t side) {
        Margins margins{};
        margins[side] = 1;
        const StPadded result(MakeImage<std::uint8_t>(IMAGE_GREY_8, CSize(1, 1), {1}), margins);
        return std::make_pair(result.Size().ToString(), BytesOf(result.Image()));
    };
    EXPECT_EQ(padded(0), std::make_pair(std::string("(2, 1, 1)"), Grid{9, 1}));
    EXPECT_EQ(padded(1), std::make_pair(std::string("(2, 1, 1)"), Grid{1, 9}));
    EXPECT_EQ(padded(2), std::make_pair(std::string("(1, 2, 1)"), Grid{9, 1}));
    EXPECT_EQ(padded(3), std::make_pair(std::string("(1, 2, 1)"), Grid{1, 9}));
    EXPECT_EQ(padded(4), std::make_pair(std::string("(1, 1, 2)"), Grid{9, 1}));
    EXPECT_EQ(padded(5), std::make_pair(std::string("(1, 1, 2)"), Grid{1, 9}));
}

TEST(Pad, CopiesWithoutMarginsAndCountsAs3d) {
    for (const auto& type : AcceptedTypes()) {
        auto image = CodedImage(type, CSize(3, 2));
        image->Attributes().SetEntry("Image/ContentType", new CValueString(CString("table")));
        CNodeUnderTest node("Pad");
        node.Input(0, std::move(image)).Run();
        EXPECT_TRUE(SameImage(*CodedImage(type, CSize(3, 2, 1)), node.Output()));
        EXPECT_TRUE(node.Output().Attributes().IsEmpty());
    }
}

TEST(Pad, PutsAPlaneBetweenSlices) {
    const StPadded padded(Bytes(2, 1, {1, 2}), {0, 0, 0, 0, 1, 1});
    EXPECT_EQ(padded.Size(), CSize(2, 1, 3));
    EXPECT_EQ(BytesOf(padded.Image()), (Grid{9, 9, 1, 2, 9, 9}));
}

TEST(Pad, NeverCrops) {
    const StPadded padded(ZeroImage(IMAGE_GREY_8, CSize(10, 1)), {-3, 2, -1, -1, std::numeric_limits<int>::min(), 0});
    EXPECT_EQ(padded.Size(), CSize(12, 1, 1));
    EXPECT_EQ(BytesOf(padded.Image()), (Grid{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9, 9}));
}

// Fields keep what an absent parameter doesn't set, a negative margin as the 0 that it counts as.
TEST(Pad, AbsentParametersKeepTheFields) {
    CNodeUnderTest node("Pad");
    node.Input(0, Bytes(1, 1, {1}));
    node.Set("pad_left", 2).Set("pad_right", -5).Set("value", 7.0).Run();
    EXPECT_EQ(BytesOf(node.Output()), (Grid{7, 7, 1}));
    node.Unset("pad_left").Unset("pad_right").Unset("value").Run();
    EXPECT_EQ(BytesOf(node.Output()), (Grid{7, 7, 1}));
    EXPECT_EQ(BytesOf(node.Set("pad_left", 1).Run().Output()), (Grid{7, 1}));
    EXPECT_EQ(BytesOf(node.Set("pad_left", "3").Run().Output()), (Grid{7, 1})) << "a text is no number";
    EXPECT_EQ(BytesOf(node.Set("value", 8).Run().Output()), (Grid{8, 1}));
}

TEST(Pad, OnlyNodeInitReadsParameters) {
    CNodeUnderTest node("Pad");
    node.Input(0, Bytes(1, 1, {1})).Run();
    node.Set("pad_left", 1).Set("value", 7).RunAgain();
    EXPECT_EQ(BytesOf(node.Output()), Grid{1});
    EXPECT_EQ(BytesOf(node.Run().Output()), (Grid{7, 1}));
}

TEST(Pad, TakesMarginsOfOtherKindsAsTheHostConvertsThem) {
    CNodeUnderTest node("Pad");
    node.Input(0, Bytes(1, 1, {1}));
    EXPECT_EQ(node.Set("pad_left", 2.9).Run().Output().Size(), CSize(3, 1, 1));
    EXPECT_EQ(node.Set("pad_left", true).Run().Output().Size(), CSize(2, 1, 1));
}

TEST(Pad, TakesTheFillAsADoubleOrALong) {
    CNodeUnderTest node("Pad");
    node.Set("pad_left", 1).Input(0, Bytes(1, 1, {1}));
    EXPECT_EQ(BytesOf(node.Run().Output()), (Grid{0, 1}));
    EXPECT_EQ(BytesOf(node.Set("value", 5.9).Run().Output()), (Grid{5, 1}));
    EXPECT_EQ(BytesOf(node.Set("value", "6").Run().Output()), (Grid{5, 1})) << "other kinds leave it as it was";
    EXPECT_EQ(BytesOf(node.Set("value", true).Run().Output()), (Grid{5, 1}));
    EXPECT_EQ(BytesOf(node.Set("value", 6).Run().Output()), (Grid{6, 1}));
}

/// The first element of a padded image of one zero.
template <class T> T FillOf(const IImage::CType& type, double value) {
    return ElementsOf<T>(StPadded(ZeroImage(type, CSize(1, 1)), {1, 0, 0, 0, 0, 0}, value).Image()).front();
}

TEST(Pad, ConvertsTheFillByTheType) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const struct {
        double value;
        std::uint8_t byte;
        std::uint16_t word;
        std::uint32_t dword;
        float real;
    } rows[] = {
        {2.9, 2, 2, 2, 2.9F},
        {-2.9, 254, 65534, 4294967294U, -2.9F},
        {300.0, 44, 300, 300, 300.0F},
        {-1.0, 255, 65535, 4294967295U, -1.0F},
        {-0.0, 0, 0, 0, -0.0F},
        {70000.0, 112, 4464, 70000, 70000.0F},
        // 8 and 16 bits are cut from 32, 32 bits from 64.
        {2147483647.5, 255, 65535, 2147483647U, 2147483648.0F},
        {2147483649.0, 0, 0, 2147483649U, 2147483648.0F},
        {4294967297.0, 0, 0, 1, 4294967296.0F},
        {-4294967297.0, 0, 0, 4294967295U, -4294967296.0F},
        {1e300, 0, 0, 0, std::numeric_limits<float>::infinity()},
        {-infinity, 0, 0, 0, -std::numeric_limits<float>::infinity()},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(FillOf<std::uint8_t>(IMAGE_GREY_8, row.value), row.byte) << row.value;
        EXPECT_EQ(FillOf<std::uint8_t>(IMAGE_BINARY_FG, row.value), row.byte) << row.value;
        EXPECT_EQ(FillOf<std::uint16_t>(IMAGE_GREY_16, row.value), row.word) << row.value;
        EXPECT_EQ(FillOf<std::uint32_t>(IMAGE_GREY_32, row.value), row.dword) << row.value;
        EXPECT_EQ(FillOf<float>(IMAGE_GREY_F, row.value), row.real) << row.value;
        EXPECT_EQ(std::signbit(FillOf<float>(IMAGE_GREY_F, row.value)), std::signbit(row.real)) << row.value;
    }
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(FillOf<std::uint8_t>(IMAGE_GREY_8, nan), 0);
    EXPECT_EQ(FillOf<std::uint32_t>(IMAGE_GREY_32, nan), 0U);
    EXPECT_TRUE(std::isnan(FillOf<float>(IMAGE_GREY_F, nan)));
}

TEST(Pad, RefusesOtherTypes) {
    for (const auto& type : {IMAGE_GREY_64, IMAGE_GREY_D, IMAGE_BINARY_BG, IMAGE_RGB_8}) {
        CNodeUnderTest node("Pad");
        EXPECT_EQ(node.Input(0, ZeroImage(type, CSize(2, 2))).Failure(), kWrongType) << type.ToString();
    }
}

TEST(Pad, FailsInTheOrderOfItsChecks) {
    CNodeUnderTest node("Pad");
    EXPECT_EQ(node.Failure(), kMissing);
    EXPECT_EQ(node.NullImage(0).Failure(), kMissing);
    EXPECT_EQ(node.Input(0, std::make_unique<CValueLong>(3)).Failure(), kNoImage);
}

// Extents are summed up in 32 bits.
TEST(Pad, LeavesExtentsBelowZeroToTheImage) {
    constexpr int most = std::numeric_limits<int>::max();
    CNodeUnderTest node("Pad");
    SetMargins(node, {most, 0, 0, 0, 0, 0});
    const StFailure negative{"CImage", "an image can't have the negative extents (-2147483648, 1, 1)"};
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(1, 1))).Failure(), negative);
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_D, CSize(1, 1))).Failure(), negative) << "the image comes first";
    node.Set("pad_right", most);
    const StFailure minusOne{"CImage", "an image can't have the negative extents (-1, 1, 1)"};
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(1, 1))).Failure(), minusOne);
    EXPECT_TRUE(node.Set("pad_left", 1).Set("pad_right", 1).Run().HasOutput()) << "a failure changes nothing";
}

TEST(Pad, FillsACanvasThatWrapsAround) {
    constexpr int most = std::numeric_limits<int>::max();
    const StPadded wrapped(Bytes(5, 1, {1, 2, 3, 4, 5}), {most, most, 0, 1, 0, 0});
    EXPECT_EQ(wrapped.Size(), CSize(3, 2, 1));
    EXPECT_EQ(BytesOf(wrapped.Image()), Grid(6, 9)) << "the image would lie far to the right";
    const StPadded deep(ZeroImage(IMAGE_GREY_8, CSize(1, 1, 3)), {1, 0, 0, 0, most, most});
    EXPECT_EQ(deep.Size(), CSize(2, 1, 1));
    EXPECT_EQ(BytesOf(deep.Image()), Grid(2, 9));
}

TEST(Pad, ServesImagesWithoutElements) {
    constexpr std::int64_t huge = std::int64_t{1} << 61;
    const struct {
        CSize in;
        Margins margins;
        CSize out;
    } rows[] = {
        {CSize(0, 0), {2, 0, 0, 0, 0, 0}, CSize(2, 0, 1)},
        {CSize(3, 0, 2), {2, 0, 0, 0, 0, 0}, CSize(5, 0, 2)},
        {CSize(3, 2, 0), {2, 0, 0, 1, 0, 0}, CSize(5, 3, 0)},
        {CSize(0, 3, 2), {}, CSize(0, 3, 2)},
        {CSize(0, 2, 1), {2, 0, 0, 0, 0, 0}, CSize(2, 2, 1)},
        {CSize(2, 2, 0), {0, 0, 0, 0, 1, 0}, CSize(2, 2, 1)},
        {CSize(0, 0, 0), {1, 0, 0, 1, 0, 1}, CSize(1, 1, 1)},
        {CSize(huge + 3, 0, huge + 2), {1, 0, 0, 0, 0, 0}, CSize(4, 0, 2)},
        {CSize(huge + 3, 0, huge + 2), {1, 0, 1, 0, 0, 0}, CSize(4, 1, 2)},
        {CSize(0, 2147483647, 2147483647), {}, CSize(0, 2147483647, 2147483647)},
    };
    for (const auto& row : rows) {
        const StPadded padded(ZeroImage(IMAGE_GREY_8, row.in), row.margins);
        EXPECT_EQ(padded.Size(), row.out) << row.in.ToString() << " gives " << padded.Size().ToString();
        EXPECT_EQ(BytesOf(padded.Image()), Grid(row.out.Volume(), 9));
    }
}

/// The canvas by the rules, element by element.
template <class T> std::vector<T> PlainPad(const CImage& image, const Margins& margins, T fill) {
    const std::vector<T> in = ElementsOf<T>(image);
    const CSize& size = image.Size();
    std::vector<T> out;
    for (std::int64_t z = 0; z < margins[4] + size.z + margins[5]; ++z) {
        for (std::int64_t y = 0; y < margins[2] + size.y + margins[3]; ++y) {
            for (std::int64_t x = 0; x < margins[0] + size.x + margins[1]; ++x) {
                const std::int64_t sx = x - margins[0];
                const std::int64_t sy = y - margins[2];
                const std::int64_t sz = z - margins[4];
                const bool inside = sx >= 0 && sx < size.x && sy >= 0 && sy < size.y && sz >= 0 && sz < size.z;
                out.push_back(inside ? in[static_cast<std::size_t>(sx + size.x * (sy + size.y * sz))] : fill);
            }
        }
    }
    return out;
}

TEST(Pad, AgreesWithThePlainLoopOnRandomImages) {
    std::mt19937 random(20260407);
    const auto types = AcceptedTypes();
    for (int round = 0; round < 400; ++round) {
        const auto extent = [&] { return static_cast<std::int64_t>(random() % 15 + 1); };
        const CSize size = random() % 2 == 0 ? CSize(extent(), extent()) : CSize(extent(), extent(), extent());
        Margins margins{};
        for (int& margin : margins) {
            margin = random() % 3 == 0 ? 0 : static_cast<int>(random() % 7);
        }
        const IImage::CType type = types[random() % types.size()];
        auto image = RandomImage(type, size, random);
        const CImage before(*image);
        const StPadded padded(std::move(image), margins, -2.0);
        EXPECT_TRUE(SameImage(before, padded.node.InputImage(0))) << "the input has changed";
        const auto expect = [&]<class T>(T fill) {
            EXPECT_EQ(ElementsOf<T>(padded.Image()), PlainPad<T>(before, margins, fill));
        };
        if (type == IMAGE_GREY_F) {
            expect(std::uint32_t{0xC0000000U}); // the bits of -2.0
        } else if (type == IMAGE_GREY_32) {
            expect(std::uint32_t{0xFFFFFFFEU});
        } else if (type == IMAGE_GREY_16) {
            expect(std::uint16_t{0xFFFE});
        } else {
            expect(std::uint8_t{0xFE});
        }
    }
}

TEST(Pad, PlacesRowsOfAnyLength) {
    // About one cache line, four of them and a page, with margins from none to some lines between the rows.
    std::mt19937 random(20261124);
    const auto expect = [&]<class T>(const IImage::CType& type, double value, T fill) {
        for (const int bytes : {63, 64, 65, 127, 128, 255, 256, 257, 300, 512, 4095, 4096, 4097}) {
            for (const Margins& margins :
                 {Margins{0, 0, 1, 1, 0, 0}, Margins{1, 0, 0, 0, 1, 0}, Margins{0, 17, 2, 0, 0, 0},
                  Margins{31, 33, 1, 2, 0, 1}, Margins{0, 150, 0, 0, 0, 0}}) {
                const CSize size(bytes / static_cast<int>(sizeof(T)) + bytes % 2, 5, 2);
                const StPadded padded(RandomImage(type, size, random), margins, value);
                EXPECT_EQ(ElementsOf<T>(padded.Image()), PlainPad<T>(padded.node.InputImage(0), margins, fill))
                    << type.ToString() << " " << bytes;
            }
        }
    };
    expect(IMAGE_GREY_F, -0.0, std::uint32_t{0x80000000U});
    expect(IMAGE_GREY_32, 7.0, std::uint32_t{7});
    expect(IMAGE_GREY_16, 300.0, std::uint16_t{300});
    expect(IMAGE_GREY_8, 9.0, std::uint8_t{9});
}

} // namespace
} // namespace QUOR::test
