#include "NodeTest.h"

#include <cmath>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) Scale::Run";
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Cut toward zero; the most negative integer for what 64 bits can't hold.
std::int64_t Truncated(double number) {
    constexpr double limit = 9223372036854775808.0;
    return number >= -limit && number < limit ? static_cast<std::int64_t>(number)
                                              : std::numeric_limits<std::int64_t>::min();
}

/// The source of a position as it is told; below 0 or past the extent outside.
std::int64_t PlainSource(std::int64_t position, std::int64_t extent, double factor) {
    const std::int64_t offset = Truncated((1.0 - factor) * static_cast<double>(extent / 2));
    const auto difference =
        static_cast<std::int64_t>(static_cast<std::uint64_t>(position) - static_cast<std::uint64_t>(offset));
    return Truncated(static_cast<double>(difference) / factor);
}

template <class T> std::vector<T> PlainScale(const CImage& image, double fx, double fy, double fz, T background) {
    const std::vector<T> in = ElementsOf<T>(image);
    const CSize& size = image.Size();
    std::vector<T> out(in.size(), background);
    if (fx == 0.0 || fy == 0.0 || fz == 0.0) {
        return out;
    }
    std::size_t element = 0;
    for (std::int64_t z = 0; z < size.z; ++z) {
        for (std::int64_t y = 0; y < size.y; ++y) {
            for (std::int64_t x = 0; x < size.x; ++x, ++element) {
                const std::int64_t sx = PlainSource(x, size.x, fx);
                const std::int64_t sy = PlainSource(y, size.y, fy);
                const std::int64_t sz = PlainSource(z, size.z, fz);
                if (sx >= 0 && sx < size.x && sy >= 0 && sy < size.y && sz >= 0 && sz < size.z) {
                    out[element] = in[static_cast<std::size_t>(sx + size.x * (sy + size.y * sz))];
                }
            }
        }
    }
    return out;
}

/// A row of 0, 1, 2, ... scaled along x; the background is 255.
std::vector<std::uint8_t> ScaledRow(std::size_t width, double factor) {
    std::vector<std::uint8_t> row(width);
    for (std::size_t x = 0; x < width; ++x) {
        row[x] = static_cast<std::uint8_t>(x);
    }
    CNodeUnderTest node("Scale");
    node.Set("scale_x", factor).Set("bg_value", 255);
    return BytesOf(node.Input(0, Bytes(static_cast<std::int64_t>(width), 1, row)).Run().Output());
}

using Row = std::vector<std::uint8_t>;

TEST(Scale, DescribesItself) {
    const auto setup = DescriptionOf("Scale");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Scale");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PScale/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "scale|upscale|downscale|resize|flip|mirror");
    EXPECT_FALSE(setup->HasEntry("gui"));
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 4U);
    for (const std::string axis : {"x", "y", "z"}) {
        const std::string entry = "parameters/scale_" + axis;
        ASSERT_TRUE(setup->HasEntry(CValue_Key(entry), EnValType::Double));
        EXPECT_EQ(setup->EntryDouble(CValue_Key(entry), 0.0), 1.0);
        const std::string start = "The type of this parameter is of type double. factor used for the scaling in " +
                                  axis + "-direction, negative for flipping.";
        EXPECT_EQ(MetaText(*setup, entry, "desc").substr(0, start.size()), start);
    }
    ASSERT_TRUE(setup->HasEntry("parameters/bg_value", EnValType::Double));
    EXPECT_EQ(setup->EntryDouble("parameters/bg_value", 1.0), 0.0);
    EXPECT_TRUE(MetaText(*setup, "parameters/bg_value", "desc")
                    .starts_with("The type of this parameter is of type "
                                 "double. "));
    EXPECT_EQ(setup->Entry("inputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(setup->Entry("outputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image of type IMAGE_GREY_F or IMAGE_GREY_8.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of the same type and size as the input image.");
    EXPECT_FALSE(setup->Entry("outputs/0", true)->Meta().HasEntry("optional"));
    EXPECT_EQ(UnwrapPointer<CImage>(setup->Entry("inputs/0", true)), nullptr);
    EXPECT_EQ(UnwrapPointer<CImage>(setup->Entry("outputs/0", true)), nullptr);
}

TEST(Scale, DescriptionTextHoldsItsSectionsInOrder) {
    const std::string text = DescriptionOf("Scale")->EntryString("description", "").Text();
    std::size_t position = 0;
    for (const char* part :
         {"BRIEF\nScale/flip an image\n\n", "Use negative scaling values\nto flip/mirror image in the given direction.",
          "\nINPUT 0\n", "\nOUTPUT 0\n", "\nPARAMETER scale_x\n", "\nPARAMETER scale_y\n", "\nPARAMETER scale_z\n",
          "\nPARAMETER bg_value\n", "\nNOTE\nimage size is not changed\n",
          "\nNOTE\nif one scaling factor is zero, the result will be filled with \\a bg_value\n",
          "\nKEYWORDS\nscale, upscale, downscale, resize, flip, mirror\n", "\nSEE ALSO\n", "Resize", "Shrink"}) {
        const std::size_t found = text.find(part, position);
        ASSERT_NE(found, std::string::npos) << part;
        position = found;
    }
}

TEST(Scale, EnlargesAboutTheElementAtHalfTheWidth) {
    EXPECT_EQ(ScaledRow(5, 2.0), (Row{1, 1, 2, 2, 3}));    // offset -2: (x + 2) / 2
    EXPECT_EQ(ScaledRow(6, 2.0), (Row{1, 2, 2, 3, 3, 4})); // offset -3: (x + 3) / 2
    const Row wide = ScaledRow(100, 2.0);
    EXPECT_EQ(wide.front(), 25);
    EXPECT_EQ(wide.back(), 74);
}

TEST(Scale, ShrinksAndFillsTheRest) {
    EXPECT_EQ(ScaledRow(4, 0.5), (Row{255, 0, 2, 255})); // offset 1: (x - 1) / 0.5
    const Row wide = ScaledRow(100, 0.5);
    EXPECT_EQ(wide[24], 255);
    EXPECT_EQ(wide[25], 0);
    EXPECT_EQ(wide[74], 98);
    EXPECT_EQ(wide[75], 255);
}

TEST(Scale, CutsOffsetAndQuotientTowardZero) {
    EXPECT_EQ(ScaledRow(6, 2.5), (Row{1, 2, 2, 2, 3, 3}));   // offset -4.5, cut to -4: (x + 4) / 2.5
    EXPECT_EQ(ScaledRow(6, 0.7), (Row{0, 1, 2, 4, 5, 255})); // offset 0.9, cut to 0: x / 0.7
    EXPECT_EQ(ScaledRow(3, -0.6), (Row{1, 0, 255}));         // offset 1.6, cut to 1: (x - 1) / -0.6
}

TEST(Scale, MirrorsAboutTheSameElement) {
    EXPECT_EQ(ScaledRow(5, -1.0), (Row{4, 3, 2, 1, 0}));      // offset 4
    EXPECT_EQ(ScaledRow(6, -1.0), (Row{255, 5, 4, 3, 2, 1})); // offset 6: the first column has no source
}

TEST(Scale, KeepsASinglePlaneUnderEveryFactorButZeroAndNaN) {
    for (const double factor : {1.0, 2.0, -1.0, 0.5, -3.0, kInfinity, -kInfinity}) {
        CNodeUnderTest node("Scale");
        node.Set("scale_z", factor).Set("bg_value", 9).Input(0, Bytes(2, 1, {3, 4})).Run();
        EXPECT_EQ(BytesOf(node.Output()), (Row{3, 4})) << factor;
    }
    CNodeUnderTest node("Scale");
    node.Set("scale_z", kNaN).Set("bg_value", 9).Input(0, Bytes(2, 1, {3, 4})).Run();
    EXPECT_EQ(BytesOf(node.Output()), (Row{9, 9}));
}

TEST(Scale, ScalesEveryAxis) {
    const auto scaled = [](const char* key) {
        CNodeUnderTest node("Scale");
        const Row in{0,   1,   2,   10,  11,  12,  20,  21,  22,  100, 101, 102, 110, 111,
                     112, 120, 121, 122, 200, 201, 202, 210, 211, 212, 220, 221, 222};
        node.Set(key, -1.0).Input(0, MakeImage<std::uint8_t>(IMAGE_GREY_8, CSize(3, 3, 3), in)).Run();
        const Row out = BytesOf(node.Output());
        return Row{out[0], out[1], out[3], out[9]};
    };
    EXPECT_EQ(scaled("scale_x"), (Row{2, 1, 12, 102}));
    EXPECT_EQ(scaled("scale_y"), (Row{20, 21, 10, 120}));
    EXPECT_EQ(scaled("scale_z"), (Row{200, 201, 210, 100}));
}

TEST(Scale, AnyFactorOfZeroGivesBackground) {
    for (const char* key : {"scale_x", "scale_y", "scale_z"}) {
        for (const double zero : {0.0, -0.0}) {
            CNodeUnderTest node("Scale");
            node.Set(key, zero).Set("bg_value", 7.0).Input(0, Bytes(2, 2, {1, 2, 3, 4})).Run();
            EXPECT_EQ(BytesOf(node.Output()), (Row{7, 7, 7, 7})) << key;
        }
    }
}

TEST(Scale, TakesFactorsThatAreNoFiniteNumber) {
    EXPECT_EQ(ScaledRow(3, kNaN), (Row{255, 255, 255}));
    EXPECT_EQ(ScaledRow(3, kInfinity), (Row{0, 0, 0})); // every quotient is a zero
    EXPECT_EQ(ScaledRow(3, -kInfinity), (Row{0, 0, 0}));
    EXPECT_EQ(ScaledRow(3, 1e300), (Row{0, 0, 0}));
    EXPECT_EQ(ScaledRow(3, 1e-300), (Row{255, 0, 255})); // offset 0, or 1 * 1 cut: x = 1 is the centre
}

TEST(Scale, CutsTheBackgroundToTheElement) {
    const auto background = [](double value) {
        CNodeUnderTest node("Scale");
        node.Set("scale_x", 0.0).Set("bg_value", value).Input(0, Bytes(1, 1, {5}));
        return int{BytesOf(node.Run().Output())[0]};
    };
    EXPECT_EQ(background(-1.0), 255);
    EXPECT_EQ(background(300.0), 44);
    EXPECT_EQ(background(3.9), 3);
    EXPECT_EQ(background(-1.5), 255);
    EXPECT_EQ(background(1e10), 0);
    EXPECT_EQ(background(kNaN), 0);
    CNodeUnderTest node("Scale");
    node.Set("scale_y", 0.0).Set("bg_value", 0.1).Input(0, Floats(1, 1, {5.0F})).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), std::vector<float>{0.1F});
}

TEST(Scale, TakesTheBackgroundFromTheTwoKindsOfNumbersOnly) {
    CNodeUnderTest node("Scale");
    node.Set("scale_x", 0.0).Input(0, Bytes(1, 1, {5}));
    EXPECT_EQ(BytesOf(node.Set("bg_value", 8).Run().Output()), Row{8});
    EXPECT_EQ(BytesOf(node.Set("bg_value", "9").Run().Output()), Row{8}) << "the field stays";
    EXPECT_EQ(BytesOf(node.Set("bg_value", true).Run().Output()), Row{8}) << "the field stays";
    EXPECT_EQ(BytesOf(node.Unset("bg_value").Run().Output()), Row{8}) << "the field stays";
    EXPECT_EQ(BytesOf(node.Set("bg_value", 6.5).Run().Output()), Row{6});
}

TEST(Scale, TakesFactorsAsTheHostConvertsThem) {
    CNodeUnderTest node("Scale");
    node.Input(0, Bytes(3, 1, {1, 2, 3}));
    EXPECT_EQ(BytesOf(node.Set("scale_x", -1).Run().Output()), (Row{3, 2, 1}));
    EXPECT_EQ(BytesOf(node.Set("scale_x", "2").Run().Output()), (Row{1, 2, 3}));
    EXPECT_EQ(BytesOf(node.Set("scale_x", false).Run().Output()), (Row{0, 0, 0}));
    EXPECT_EQ(BytesOf(node.Unset("scale_x").Run().Output()), (Row{1, 2, 3})) << "an absent factor is 1 again";
}

TEST(Scale, RunsOnceIfTold) {
    CNodeUnderTest node("Scale");
    node.Set("run_once", true).Input(0, Bytes(1, 1, {1})).Run();
    EXPECT_TRUE(node.HasOutput());
    EXPECT_FALSE(node.RunAgain().HasOutput()) << "done";
    EXPECT_FALSE(node.NoInput(0).RunAgain().HasOutput()) << "done: the input isn't looked at";
    node.Input(0, Bytes(1, 1, {2}));
    EXPECT_TRUE(node.Run().HasOutput()) << "NodeInit begins anew";
    EXPECT_TRUE(node.Unset("run_once").Run().HasOutput());
    EXPECT_TRUE(node.RunAgain().HasOutput());
}

TEST(Scale, AFailedRunIsNotDone) {
    CNodeUnderTest node("Scale");
    node.Set("run_once", true).Failure();
    EXPECT_TRUE(node.Input(0, Bytes(1, 1, {2})).RunAgain().HasOutput());
}

TEST(Scale, RefusesWrongInputs) {
    CNodeUnderTest node("Scale");
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image is NULL"}));
    EXPECT_EQ(node.Input(0, std::make_unique<CValueLong>(3)).Failure(), (StFailure{kWhere, "input 0 is not an image"}));
    EXPECT_EQ(node.NullImage(0).Failure(), (StFailure{kWhere, "input image is NULL"}));
    for (const auto& type : TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8})) {
        EXPECT_EQ(node.Input(0, ZeroImage(type, CSize(2, 2))).Failure(),
                  (StFailure{kWhere, "input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, "}));
    }
}

TEST(Scale, KeepsSizeAndBitsButNoAttributes) {
    const std::vector<std::uint32_t> bits{0x7FA00001U, 0x80000000U, 0xFFC12345U, 0x00000001U};
    auto image = MakeImage<std::uint32_t>(IMAGE_GREY_F, CSize(4, 1), bits);
    image->Attributes().SetEntry("Image/ContentType", new CValueString(CString("table")));
    CNodeUnderTest node("Scale");
    node.Input(0, std::move(image)).Run();
    EXPECT_EQ(ElementsOf<std::uint32_t>(node.Output()), bits);
    EXPECT_EQ(node.Output().Size(), CSize(4, 1));
    EXPECT_TRUE(node.Output().Attributes().IsEmpty());
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(4, 3, 1))).Run().Output().Size(), CSize(4, 3, 1));
    EXPECT_EQ(node.Output().Type(), IMAGE_GREY_8);
}

TEST(Scale, ServesEmptyImagesOfAnyExtent) {
    constexpr std::int64_t huge = std::int64_t{1} << 40;
    for (const CSize& size : {CSize(0, 3, 2), CSize(3, 0, 2), CSize(3, 2, 0), CSize(0, huge, huge), CSize(0, 0)}) {
        for (const double factor : {2.0, 0.0}) {
            CNodeUnderTest node("Scale");
            node.Set("scale_x", factor).Input(0, ZeroImage(IMAGE_GREY_F, size)).Run();
            EXPECT_EQ(node.Output().Size(), size);
        }
    }
}

TEST(Scale, AgreesWithThePlainLoop) {
    std::mt19937 random(20260404);
    const std::vector<double> special{1.0,  -1.0,  2.0,    0.5,     -2.0,   kNaN,    kInfinity, -kInfinity,
                                      1e19, -1e19, 1e-310, 1.5e18,  9.3e18, -9.3e18, 1e300,     -1e-300,
                                      0.0,  1e16,  -1e16,  1.00001, 7.2e15, 4.6e18,  1.8e19,    9.2e18};
    std::uniform_real_distribution<double> usual(-4.0, 4.0);
    const auto factor = [&] { return random() % 3 == 0 ? special[random() % special.size()] : usual(random); };
    for (int round = 0; round < 600; ++round) {
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
        const CSize size(extent(round % 10 == 0 ? 5000 : 40), extent(9), extent(5));
        const double fx = factor();
        const double fy = factor();
        const double fz = factor();
        CNodeUnderTest node("Scale");
        node.Set("scale_x", fx).Set("scale_y", fy).Set("scale_z", fz).Set("bg_value", 77.0);
        const bool isByte = random() % 2 == 0;
        node.Input(0, RandomImage(isByte ? IMAGE_GREY_8 : IMAGE_GREY_F, size, random));
        const auto before = BytesOf(node.InputImage(0));
        node.Run();
        EXPECT_EQ(BytesOf(node.InputImage(0)), before) << "the input has changed";
        const auto what = size.ToString() + " by " + std::to_string(fx) + " " + std::to_string(fy);
        if (isByte) {
            EXPECT_EQ(BytesOf(node.Output()), PlainScale<std::uint8_t>(node.InputImage(0), fx, fy, fz, 77)) << what;
        } else {
            const std::uint32_t background = 0x429A0000U; // 77 as a float
            EXPECT_EQ(ElementsOf<std::uint32_t>(node.Output()),
                      PlainScale<std::uint32_t>(node.InputImage(0), fx, fy, fz, background))
                << what;
        }
    }
}

} // namespace
} // namespace QUOR::test
