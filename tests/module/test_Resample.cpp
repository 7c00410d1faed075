#include "NodeTest.h"
#include "OneNaN.h"

#include <cmath>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) Resample::Run";
constexpr const char* kMissingShift = "shift image X and/or Y is NULL\n only shift image Z is allowed to be NULL";
constexpr const char* kWrongShift = "shift X image is not of type IMAGE_GREY_F or IMAGE_GREY_8, ";
constexpr const char* kMixedShifts =
    "shift images have different types\n must be all IMAGE_GREY_F or all IMAGE_GREY_8, ";
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

using Row = std::vector<std::uint8_t>;
using FloatRow = std::vector<float>;

/// The position that a shift leads to, as it is told; any place outside for what 64 bits can't hold.
std::int64_t PlainPosition(std::int64_t position, double shift) {
    const double whole = std::floor(shift); // of a float or a byte, so that nothing is rounded
    return whole > -1e15 && whole < 1e15 ? position + static_cast<std::int64_t>(whole) : -1;
}

template <class T, class Shift>
std::vector<T> PlainResample(const CImage& image, const CImage* const (&shifts)[3], bool isBilinear, T background) {
    const std::vector<T> in = ElementsOf<T>(image);
    const CSize& size = image.Size();
    std::vector<Shift> fields[3];
    for (int axis = 0; axis < 3; ++axis) {
        fields[axis] = shifts[axis] == nullptr ? std::vector<Shift>(in.size()) : ElementsOf<Shift>(*shifts[axis]);
    }
    std::vector<T> out(in.size(), background);
    for (std::size_t i = 0; i < in.size(); ++i) {
        const auto number = static_cast<std::int64_t>(i);
        const std::int64_t x = PlainPosition(number % size.x, fields[0][i]);
        const std::int64_t y = PlainPosition(number / size.x % size.y, fields[1][i]);
        const std::int64_t z = PlainPosition(number / size.x / size.y, fields[2][i]);
        if (x < 0 || x >= size.x || y < 0 || y >= size.y || z < 0 || z >= size.z) {
            continue;
        }
        const auto at = [&](std::int64_t column, std::int64_t row) {
            return in[static_cast<std::size_t>((z * size.y + row) * size.x + column)];
        };
        out[i] = at(x, y);
        if (isBilinear) {
            const float sx = fields[0][i];
            const float sy = fields[1][i];
            const float fractionX = sx - std::floor(sx);
            const float fractionY = sy - std::floor(sy);
            const double fx = fractionX;
            const double fy = fractionY;
            const double a = at(x, y);
            double r = a;
            double b = a;
            double d = a;
            if (x < size.x - 1) {
                r = at(x + 1, y);
            }
            if (y < size.y - 1) {
                b = at(x, y + 1);
            }
            if (x < size.x - 1 && y < size.y - 1) {
                d = at(x + 1, y + 1);
            }
            const double gx = 1 - fx;
            out[i] = static_cast<T>((gx * a + fx * r) * (1 - fy) + (gx * b + fx * d) * fy);
        }
    }
    return out;
}

/// A node with a byte or float image and float shifts of its size; NaN in the tests' rows stays NaN.
struct StWarp {
    CNodeUnderTest node{"Resample"};

    StWarp(ImagePtr image, const FloatRow& shiftX, const FloatRow& shiftY) {
        const CSize size = image->Size();
        node.Input(0, std::move(image)).Set("bg_value", 200).Set("interpolation", "BILINEAR");
        node.Input(1, MakeImage<float>(IMAGE_GREY_F, size, shiftX));
        node.Input(2, MakeImage<float>(IMAGE_GREY_F, size, shiftY));
    }
    Row Bytes() { return BytesOf(node.Run().Output()); }
    FloatRow Floats() { return ElementsOf<float>(node.Run().Output()); }
};

/// A node whose inputs are of the given types and of 2 by 2 elements, without a z shift.
void PutInputs(CNodeUnderTest& node, const IImage::CType& data, const IImage::CType& x, const IImage::CType& y) {
    node.Input(0, ZeroImage(data, CSize(2, 2))).Input(1, ZeroImage(x, CSize(2, 2))).Input(2, ZeroImage(y, CSize(2, 2)));
}

TEST(Resample, DescribesItself) {
    const auto setup = DescriptionOf("Resample");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Resample");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PResample/index.html");
    EXPECT_FALSE(setup->HasEntry("keywords"));
    EXPECT_FALSE(setup->HasEntry("gui"));
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 2U);
    ASSERT_TRUE(setup->HasEntry("parameters/bg_value", EnValType::Double));
    EXPECT_EQ(setup->EntryDouble("parameters/bg_value", 1.0), 0.0);
    EXPECT_TRUE(
        MetaText(*setup, "parameters/bg_value", "desc").starts_with("The type of this parameter is of type double. "));
    ASSERT_TRUE(setup->HasEntry("parameters/interpolation", EnValType::String));
    EXPECT_EQ(setup->EntryString("parameters/interpolation", ""), "NONE");
    EXPECT_EQ(MetaText(*setup, "parameters/interpolation", "val/enValues"), "NONE, BILINEAR");
    EXPECT_TRUE(MetaText(*setup, "parameters/interpolation", "desc")
                    .starts_with("The type of this parameter is of type string. "));
    const std::vector<std::string> labels{"data", "shift X", "shift Y", "shift Z (optional)"};
    ASSERT_EQ(setup->Entry("inputs", true)->Map()->Size(), 4U);
    for (std::size_t slot = 0; slot < 4; ++slot) {
        const std::string entry = "inputs/" + std::to_string(slot);
        EXPECT_EQ(MetaText(*setup, entry, "label"), labels[slot]);
        EXPECT_FALSE(setup->Entry(CValue_Key(entry), true)->Meta().EntryBool("optional", true)) << slot;
        EXPECT_EQ(UnwrapPointer<CImage>(setup->Entry(CValue_Key(entry), true)), nullptr);
    }
    EXPECT_EQ(setup->Entry("outputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of type as the first input image.");
    EXPECT_FALSE(setup->Entry("outputs/0", true)->Meta().HasEntry("optional"));
}

TEST(Resample, DescriptionTextHoldsItsSectionsInOrder) {
    const std::string text = DescriptionOf("Resample")->EntryString("description", "").Text();
    std::size_t position = 0;
    for (const char* part :
         {"BRIEF\nResamples an image by using a pixelwise vector shift.\n\n", "\nINPUT 0\n", "\nINPUT 1\n",
          "\nINPUT 2\n", "\nINPUT 3\n", "\nOUTPUT 0\n", "\nPARAMETER bg_value\n", "\nPARAMETER interpolation\n"}) {
        const std::size_t found = text.find(part, position);
        ASSERT_NE(found, std::string::npos) << part;
        position = found;
    }
    EXPECT_EQ(text.find("KEYWORDS"), std::string::npos);
    EXPECT_EQ(text.find("SEE ALSO"), std::string::npos);
}

TEST(Resample, ShiftsByTheWholePart) {
    StWarp warp(Bytes(4, 2, {0, 1, 2, 3, 10, 11, 12, 13}), {1, 1.9F, -0.5F, 1, 3, -1, -2.1F, -3},
                {0, 0, 0.5F, 0, -1, -1, 0, -0.1F});
    warp.node.Set("interpolation", "NONE");
    EXPECT_EQ(warp.Bytes(), (Row{1, 2, 1, 200, 3, 0, 200, 0}));
}

TEST(Resample, WithoutShiftsCopiesEveryBit) {
    const std::vector<std::uint32_t> bits{0x7FA00001U, 0x80000000U, 0xFFC12345U, 0x00000001U};
    CNodeUnderTest node("Resample");
    node.Input(0, MakeImage<std::uint32_t>(IMAGE_GREY_F, CSize(2, 2), bits));
    node.Input(1, Floats(2, 2, {0, 0, 0, 0})).Input(2, Floats(2, 2, {0, 0, 0, 0})).Run();
    EXPECT_EQ(ElementsOf<std::uint32_t>(node.Output()), bits);
    // Bytes as shifts, in both modes.
    node.Input(1, Bytes(2, 2, {0, 0, 0, 0})).Input(2, Bytes(2, 2, {0, 0, 0, 0}));
    EXPECT_EQ(ElementsOf<std::uint32_t>(node.Run().Output()), bits);
    EXPECT_EQ(ElementsOf<std::uint32_t>(node.Set("interpolation", "BILINEAR").Run().Output()), bits);
}

TEST(Resample, MixesTheFourNeighbours) {
    StWarp warp(Floats(2, 2, {0, 100, 40, 300}), {0.25F, 0, 0, 0}, {0.5F, 0, 0, 0});
    // (0.75 * 0 + 0.25 * 100) * 0.5 + (0.75 * 40 + 0.25 * 300) * 0.5
    EXPECT_EQ(warp.Floats(), (FloatRow{65, 100, 40, 300}));
}

TEST(Resample, CutsTheMixOfBytes) {
    StWarp warp(Bytes(2, 2, {0, 3, 0, 3}), {0.5F, 0, 0.99F, 0}, {0.5F, 0, 0, 0});
    EXPECT_EQ(warp.Bytes(), (Row{1, 3, 2, 3})); // 1.5 and 2.97
}

TEST(Resample, TakesTheFirstNeighbourForThoseThatDoNotExist) {
    // In the last column the row below counts, in the last row the next column; the fourth neighbour never does.
    StWarp warp(Floats(2, 2, {0, 100, 40, 300}), {0, 0.5F, 0.5F, 0.5F}, {0, 0.5F, 0.5F, 0.5F});
    // (1, 0): (100 + 100) / 2 * 0.5 + (300 + 100) / 2 * 0.5; (0, 1): (40 + 300) / 2 * 0.5 + (40 + 40) / 2 * 0.5
    EXPECT_EQ(warp.Floats(), (FloatRow{0, 150, 105, 300}));
}

TEST(Resample, GivesNoMixWithTheBackground) {
    StWarp warp(Bytes(3, 1, {10, 20, 30}), {-0.5F, -0.5F, 0.5F}, {0, 0, 0});
    EXPECT_EQ(warp.Bytes(), (Row{200, 15, 30}));
}

TEST(Resample, TakesAFractionOfOneFromATinyNegativeShift) {
    // -1e-10 is rounded down to -1, and its fraction to 1 in single precision: the element itself.
    StWarp warp(Floats(2, 1, {10, 20}), {0, -1e-10F}, {0, 0});
    EXPECT_EQ(warp.Floats(), (FloatRow{10, 20}));
}

TEST(Resample, GivesBackgroundForShiftsThatNoIntegerHolds) {
    const FloatRow shifts{kNaN, kInfinity, -kInfinity, 1e30F, -1e30F, 9.2e18F, -9.2e18F, -9.3e18F};
    const FloatRow none(8);
    for (const char* mode : {"NONE", "BILINEAR"}) {
        StWarp alongX(Bytes(8, 1, {1, 2, 3, 4, 5, 6, 7, 8}), shifts, none);
        alongX.node.Set("interpolation", mode);
        EXPECT_EQ(alongX.Bytes(), Row(8, 200)) << mode;
        StWarp alongY(Bytes(8, 1, {1, 2, 3, 4, 5, 6, 7, 8}), none, shifts);
        alongY.node.Set("interpolation", mode);
        EXPECT_EQ(alongY.Bytes(), Row(8, 200)) << mode;
        StWarp alongZ(Bytes(8, 1, {1, 2, 3, 4, 5, 6, 7, 8}), none, none);
        alongZ.node.Set("interpolation", mode).Input(3, Floats(8, 1, shifts));
        EXPECT_EQ(alongZ.Bytes(), Row(8, 200)) << mode;
    }
}

TEST(Resample, ShiftsAlongZByTheWholePart) {
    CNodeUnderTest node("Resample");
    const CSize size(1, 1, 3);
    for (const char* mode : {"NONE", "BILINEAR"}) {
        node.Set("interpolation", mode).Set("bg_value", 9);
        node.Input(0, MakeImage<std::uint8_t>(IMAGE_GREY_8, size, {1, 2, 3}));
        node.Input(1, ZeroImage(IMAGE_GREY_F, size)).Input(2, ZeroImage(IMAGE_GREY_F, size));
        node.Input(3, MakeImage<float>(IMAGE_GREY_F, size, {1.9F, -0.5F, 1.0F}));
        EXPECT_EQ(BytesOf(node.Run().Output()), (Row{2, 1, 9})) << mode;
        EXPECT_EQ(BytesOf(node.NoInput(3).Run().Output()), (Row{1, 2, 3})) << mode;
    }
}

TEST(Resample, FindsNothingBesideASinglePlane) {
    StWarp warp(Bytes(2, 1, {1, 2}), {0, 0}, {0, 0});
    warp.node.Input(3, Floats(2, 1, {1, 1}));
    EXPECT_EQ(warp.Bytes(), (Row{200, 200}));
}

TEST(Resample, TakesShiftsOfBytesAsPositive) {
    CNodeUnderTest node("Resample");
    node.Input(0, Bytes(4, 1, {1, 2, 3, 4})).Input(1, Bytes(4, 1, {3, 255, 1, 1})).Input(2, Bytes(4, 1, {0, 0, 0, 0}));
    EXPECT_EQ(BytesOf(node.Set("bg_value", 7).Run().Output()), (Row{4, 7, 4, 7}));
    EXPECT_EQ(BytesOf(node.Set("interpolation", "BILINEAR").Run().Output()), (Row{4, 7, 4, 7}));
    node.Input(0, Floats(4, 1, {1.5F, 2, 3, 4.5F}));
    EXPECT_EQ(ElementsOf<float>(node.Run().Output()), (FloatRow{4.5F, 7, 4.5F, 7}));
    node.Input(3, Bytes(4, 1, {0, 0, 1, 0}));
    EXPECT_EQ(ElementsOf<float>(node.Run().Output()), (FloatRow{4.5F, 7, 7, 7}));
}

TEST(Resample, CutsTheBackgroundToTheElement) {
    const auto background = [](double value) {
        StWarp warp(Bytes(1, 1, {5}), {1}, {0});
        warp.node.Set("bg_value", value);
        return int{warp.Bytes()[0]};
    };
    EXPECT_EQ(background(3.9), 3);
    EXPECT_EQ(background(-1.5), 255);
    EXPECT_EQ(background(-1.0), 255);
    EXPECT_EQ(background(300.0), 44);
    EXPECT_EQ(background(std::nan("")), 0);
    StWarp warp(Floats(1, 1, {5}), {1}, {0});
    warp.node.Set("bg_value", 0.1);
    EXPECT_EQ(warp.Floats(), FloatRow{0.1F});
}

TEST(Resample, TakesTheBackgroundFromTheTwoKindsOfNumbersOnly) {
    StWarp warp(Bytes(1, 1, {5}), {1}, {0});
    warp.node.Set("bg_value", 8);
    EXPECT_EQ(warp.Bytes(), Row{8});
    warp.node.Set("bg_value", "9");
    EXPECT_EQ(warp.Bytes(), Row{8}) << "the field stays";
    warp.node.Set("bg_value", true);
    EXPECT_EQ(warp.Bytes(), Row{8}) << "the field stays";
    warp.node.Unset("bg_value");
    EXPECT_EQ(warp.Bytes(), Row{8}) << "the field stays";
    warp.node.Set("bg_value", 6.5);
    EXPECT_EQ(warp.Bytes(), Row{6});
}

TEST(Resample, ReadsTheModeInNodeInitAndFallsBackToNone) {
    StWarp warp(Bytes(2, 1, {0, 100}), {0.5F, 0}, {0, 0});
    EXPECT_EQ(warp.Bytes(), (Row{50, 100}));
    warp.node.Unset("interpolation").RunAgain();
    EXPECT_EQ(BytesOf(warp.node.Output()), (Row{50, 100}));
    EXPECT_EQ(warp.Bytes(), (Row{0, 100})) << "NONE";
    warp.node.Set("interpolation", "BILINEAR").Init();
    warp.node.Set("interpolation", 3);
    EXPECT_EQ(warp.Bytes(), (Row{0, 100})) << "NONE";
}

TEST(Resample, GivesZerosForAnUnknownMode) {
    for (const char* mode : {"bilinear", "BILINEAR ", "", "NON", "none"}) {
        StWarp warp(Bytes(2, 1, {1, 100}), {0.5F, 0}, {0, 0});
        warp.node.Set("interpolation", mode);
        EXPECT_EQ(warp.Bytes(), (Row{0, 0})) << mode;
        warp.node.Input(0, Floats(2, 1, {1, 2})).Input(1, Bytes(2, 1, {0, 0})).Input(2, Bytes(2, 1, {0, 0}));
        EXPECT_EQ(warp.Floats(), (FloatRow{0, 0})) << mode;
    }
}

TEST(Resample, RefusesMissingInputsInOrder) {
    CNodeUnderTest node("Resample");
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "first input image is NULL"}));
    EXPECT_EQ(node.NullImage(0).Failure(), (StFailure{kWhere, "first input image is NULL"}));
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(2, 2)));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, kMissingShift}));
    EXPECT_EQ(node.NullImage(1).Failure(), (StFailure{kWhere, kMissingShift}));
    // A wrong type of the first shift is found after the second has been missed.
    node.Input(1, ZeroImage(IMAGE_GREY_16, CSize(2, 2)));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, kMissingShift}));
    EXPECT_EQ(node.NullImage(2).Failure(), (StFailure{kWhere, kMissingShift}));
    node.Input(2, ZeroImage(IMAGE_GREY_16, CSize(2, 2))).NullImage(3);
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, kMissingShift}));
}

TEST(Resample, RefusesWrongTypesInOrder) {
    for (const auto& type : TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8})) {
        CNodeUnderTest node("Resample");
        node.Input(0, ZeroImage(type, CSize(2, 2)));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, "}));
        PutInputs(node, IMAGE_GREY_8, type, IMAGE_GREY_8);
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, kWrongShift}));
        PutInputs(node, IMAGE_GREY_8, IMAGE_GREY_8, type);
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, kMixedShifts}));
        PutInputs(node, IMAGE_GREY_8, IMAGE_GREY_8, IMAGE_GREY_8);
        EXPECT_EQ(node.Input(3, ZeroImage(type, CSize(5, 5))).Failure(), (StFailure{kWhere, kMixedShifts}));
    }
    CNodeUnderTest node("Resample");
    PutInputs(node, IMAGE_GREY_8, IMAGE_GREY_F, IMAGE_GREY_8);
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, kMixedShifts}));
}

TEST(Resample, RefusesOtherSizesInOrder) {
    for (const CSize& size : {CSize(3, 2), CSize(2, 3), CSize(2, 2, 2), CSize(0, 0)}) {
        CNodeUnderTest node("Resample");
        PutInputs(node, IMAGE_GREY_8, IMAGE_GREY_F, IMAGE_GREY_F);
        node.Input(3, ZeroImage(IMAGE_GREY_F, size));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image and shift Z image are not equal sizes"}));
        node.Input(2, ZeroImage(IMAGE_GREY_F, size));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image and shift Y image are not equal sizes"}));
        node.Input(1, ZeroImage(IMAGE_GREY_F, size));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image and shift X image are not equal sizes"}));
    }
}

TEST(Resample, RefusesAValueThatIsNoImageInTheWordsOfTheHost) {
    for (int slot = 0; slot < 4; ++slot) {
        CNodeUnderTest node("Resample");
        PutInputs(node, IMAGE_GREY_8, slot < 3 ? IMAGE_GREY_F : IMAGE_GREY_16, IMAGE_GREY_F);
        node.Input(slot, std::make_unique<CValueLong>(3));
        EXPECT_EQ(node.Failure().what, "the value must be a pointer to an image, but is an integer") << slot;
    }
}

TEST(Resample, ComparesExtentsWithoutTheDimensionCount) {
    CNodeUnderTest node("Resample");
    PutInputs(node, IMAGE_GREY_8, IMAGE_GREY_F, IMAGE_GREY_F);
    node.Input(1, ZeroImage(IMAGE_GREY_F, CSize(2, 2, 1)));
    EXPECT_EQ(node.Run().Output().Size(), CSize(2, 2));
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(2, 2, 1)));
    EXPECT_EQ(node.Run().Output().Size(), CSize(2, 2, 1));
}

TEST(Resample, ServesEmptyImagesOfAnyExtent) {
    constexpr std::int64_t huge = std::int64_t{1} << 40;
    for (const CSize& size : {CSize(0, 3, 2), CSize(3, 0, 2), CSize(3, 2, 0), CSize(0, huge, huge), CSize(0, 0)}) {
        for (const char* mode : {"NONE", "BILINEAR", "?"}) {
            CNodeUnderTest node("Resample");
            node.Set("interpolation", mode).Input(0, ZeroImage(IMAGE_GREY_8, size));
            node.Input(1, ZeroImage(IMAGE_GREY_F, size)).Input(2, ZeroImage(IMAGE_GREY_F, size)).Run();
            EXPECT_EQ(node.Output().Size(), size);
        }
    }
}

TEST(Resample, LeavesAttributesAndInputsAlone) {
    StWarp warp(Bytes(2, 1, {1, 100}), {0.5F, 0}, {0, 0});
    auto image = Bytes(2, 1, {1, 100});
    image->Attributes().SetEntry("Image/ContentType", new CValueString(CString("table")));
    warp.node.Input(0, std::move(image)).Run();
    EXPECT_TRUE(warp.node.Output().Attributes().IsEmpty());
    EXPECT_EQ(warp.node.Output().Type(), IMAGE_GREY_8);
    EXPECT_EQ(BytesOf(warp.node.InputImage(0)), (Row{1, 100}));
}

/// A shift image: small shifts mostly, so that blocks lie inside, with single wild ones among them.
ImagePtr RandomShifts(const IImage::CType& type, const CSize& size, int calm, std::mt19937& random) {
    auto image = RandomImage(type, size, random);
    const std::vector<float> wild{kNaN, kInfinity, -kInfinity, 1e30F, -3e9F, 2147483648.0F, -0.0F, 1e-40F, -1e-40F};
    if (type == IMAGE_GREY_F) {
        auto* shifts = static_cast<float*>(image->Buffer().Data());
        for (std::size_t i = 0; i < size.Elements(); ++i) {
            const bool isWild = random() % 1000 >= static_cast<unsigned>(calm);
            shifts[i] = isWild ? wild[random() % wild.size()] : static_cast<float>(random()) * 0x1p-30F - 1.5F;
        }
    } else {
        auto* shifts = static_cast<std::uint8_t*>(image->Buffer().Data());
        for (std::size_t i = 0; i < size.Elements(); ++i) {
            const bool isWild = random() % 1000 >= static_cast<unsigned>(calm);
            shifts[i] = static_cast<std::uint8_t>(isWild ? random() : random() % 3);
        }
    }
    return image;
}

TEST(Resample, MixesInTheOrderTold) {
    // The fourth neighbour nearly cancels the others, so that rounding errors are a part of what is left.
    constexpr std::int64_t planes = 3000;
    std::mt19937 random(20260408);
    std::uniform_real_distribution<float> element(-1.0F, 1.0F);
    std::uniform_real_distribution<float> fraction(0.25F, 0.75F);
    FloatRow image;
    FloatRow shiftX;
    FloatRow shiftY;
    for (std::int64_t z = 0; z < planes; ++z) {
        const float a = element(random);
        const float r = element(random);
        const float b = element(random);
        const float fx = fraction(random);
        const float fy = fraction(random);
        const float upper = (1 - fx) * a + fx * r;
        const float d = -(upper * (1 - fy) / fy + (1 - fx) * b) / fx;
        image.insert(image.end(), {a, r, b, d});
        shiftX.insert(shiftX.end(), {fx, 0, 0, 0});
        shiftY.insert(shiftY.end(), {fy, 0, 0, 0});
    }
    StWarp warp(MakeImage<float>(IMAGE_GREY_F, CSize(2, 2, planes), image), shiftX, shiftY);
    const FloatRow out = warp.Floats();
    const CImage* const shifts[3]{&warp.node.InputImage(1), &warp.node.InputImage(2), nullptr};
    EXPECT_EQ(out, (PlainResample<float, float>(warp.node.InputImage(0), shifts, true, 200.0F)));
}

TEST(Resample, AgreesWithThePlainLoop) {
    std::mt19937 random(20260405);
    for (int round = 0; round < 500; ++round) {
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
        const bool isWide = round % 4 == 0;
        const CSize size(extent(isWide ? 1100 : 60), extent(isWide ? 12 : 30), round % 3 == 0 ? extent(5) : 1);
        const auto data = random() % 2 == 0 ? IMAGE_GREY_8 : IMAGE_GREY_F;
        const auto type = random() % 2 == 0 ? IMAGE_GREY_8 : IMAGE_GREY_F;
        const bool isBilinear = random() % 2 == 0;
        const int calm = round % 5 == 0 ? 950 : 1000;
        CNodeUnderTest node("Resample");
        node.Set("interpolation", isBilinear ? "BILINEAR" : "NONE").Set("bg_value", 77.0);
        node.Input(0, RandomImage(data, size, random)).Input(1, RandomShifts(type, size, calm, random));
        node.Input(2, RandomShifts(type, size, calm, random));
        const bool hasZ = random() % 2 == 0;
        if (hasZ) {
            const bool isFlat = size.z == 1 && random() % 2 == 0;
            node.Input(3, isFlat ? ZeroImage(type, size) : RandomShifts(type, size, calm, random));
        }
        std::vector<std::vector<std::uint8_t>> before;
        for (int slot = 0; slot < 3; ++slot) {
            before.push_back(BytesOf(node.InputImage(slot)));
        }
        node.Run();
        for (int slot = 0; slot < 3; ++slot) {
            EXPECT_EQ(BytesOf(node.InputImage(slot)), before[static_cast<std::size_t>(slot)])
                << "the input has changed";
        }
        const CImage* const shifts[3]{&node.InputImage(1), &node.InputImage(2), hasZ ? &node.InputImage(3) : nullptr};
        const auto expect = [&]<class T>(T background) {
            const auto expected = type == IMAGE_GREY_8
                                      ? PlainResample<T, std::uint8_t>(node.InputImage(0), shifts, false, background)
                                      : PlainResample<T, float>(node.InputImage(0), shifts, isBilinear, background);
            const ImagePtr wanted = MakeImage<T>(data, size, expected);
            const bool isMixed = isBilinear && type == IMAGE_GREY_F; // what is only moved keeps the bits of every NaN
            EXPECT_TRUE(isMixed ? SameImage(*WithOneNaN(*wanted), *WithOneNaN(node.Output()))
                                : SameImage(*wanted, node.Output()))
                << data.ToString() << " by " << type.ToString() << " shifts";
        };
        data == IMAGE_GREY_8 ? expect(std::uint8_t{77}) : expect(77.0F);
    }
}

} // namespace
} // namespace QUOR::test
