#include "NodeTest.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) Shrink::Run";
const std::vector<std::string> kModes{"SKIP", "MAX", "MAXFAST", "MIN", "MINFAST", "MEDIAN", "AVERAGE"};

/// The rules as they are told, element by element, with the table of offsets and the neighbour mask.
template <class T> class CPlainShrink {
public:
    CPlainShrink(const CImage& image, const std::string& mode)
        : m_in(ElementsOf<T>(image)), m_size(image.Size()), m_mode(mode) {}

    std::vector<T> Elements() const {
        std::vector<T> out;
        for (std::int64_t z = 0; z < m_size.z; z += 2) {
            for (std::int64_t y = 0; y < m_size.y; y += 2) {
                for (std::int64_t x = 0; x < m_size.x; x += 2) {
                    out.push_back(ElementAt(x, y, z));
                }
            }
        }
        return out;
    }

private:
    T ElementAt(std::int64_t x, std::int64_t y, std::int64_t z) const {
        const std::int64_t w = m_size.x;
        const std::int64_t h = m_size.y;
        const std::array<std::int64_t, 8> offsets{0, 1, w, w + 1, w * h, w * h + 1, (h + 1) * w, (h + 1) * w + 1};
        const unsigned mask = (x + 1 < w ? 1U : 0U) + (y + 1 < h ? 2U : 0U) + (z + 1 < m_size.z ? 4U : 0U);
        const auto sample = [&](unsigned index) {
            return m_in[static_cast<std::size_t>(x + w * (y + h * z) + offsets[index])];
        };
        const bool fast = m_mode == "MAXFAST" || m_mode == "MINFAST";
        if (fast && (mask & 3U) != 3U) {
            return T{};
        }
        std::vector<T> samples;
        for (unsigned index = 0; index < (fast || m_mode == "MEDIAN" ? 4U : 8U); ++index) {
            samples.push_back(sample(mask & index));
        }
        return m_mode == "SKIP" ? samples[0] : Formed(samples);
    }

    T Formed(std::vector<T> samples) const {
        if (m_mode == "MEDIAN") {
            std::stable_sort(samples.begin(), samples.end());
            return Mean({samples[1], samples[2]});
        }
        if (m_mode == "AVERAGE") {
            std::swap(samples[0], samples[1]);
            return Mean(samples);
        }
        T best = samples[0];
        for (const T candidate : samples) {
            const bool better = m_mode.starts_with("MAX") ? candidate > best : candidate < best;
            best = better ? candidate : best;
        }
        return best;
    }

    static T Mean(const std::vector<T>& samples) {
        using Wide = std::conditional_t<std::is_same_v<T, float>, float, double>;
        Wide sum = static_cast<Wide>(samples[0]);
        for (std::size_t index = 1; index < samples.size(); ++index) {
            sum += static_cast<Wide>(samples[index]);
        }
        return static_cast<T>(sum * (Wide{1} / static_cast<Wide>(samples.size())));
    }

    std::vector<T> m_in;
    CSize m_size;
    std::string m_mode;
};

std::vector<std::uint8_t> ShrunkBytes(const char* mode, const CSize& size, const std::vector<std::uint8_t>& in) {
    CNodeUnderTest node("Shrink");
    node.Set("mode", mode).Input(0, MakeImage<std::uint8_t>(IMAGE_GREY_8, size, in)).Run();
    return BytesOf(node.Output());
}

std::vector<std::uint32_t> BitsOf(const std::vector<float>& numbers) {
    std::vector<std::uint32_t> bits;
    std::transform(numbers.begin(), numbers.end(), std::back_inserter(bits),
                   [](float number) { return std::bit_cast<std::uint32_t>(number); });
    return bits;
}

/// The bits of what a single block of a plane becomes.
std::uint32_t ShrunkBlock(const char* mode, const std::vector<float>& block) {
    CNodeUnderTest node("Shrink");
    node.Set("mode", mode).Input(0, Floats(2, 2, block)).Run();
    return ElementsOf<std::uint32_t>(node.Output()).at(0);
}

using Row = std::vector<std::uint8_t>;

TEST(Shrink, DescribesItself) {
    const auto setup = DescriptionOf("Shrink");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Shrink");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PShrink/index.html");
    EXPECT_FALSE(setup->HasEntry("keywords"));
    EXPECT_FALSE(setup->HasEntry("gui"));
    ASSERT_TRUE(setup->HasEntry("parameters/mode", EnValType::String));
    EXPECT_EQ(setup->EntryString("parameters/mode", ""), "SKIP");
    EXPECT_EQ(MetaText(*setup, "parameters/mode", "val/enValues"), "SKIP, MAX, MAXFAST, MIN, MINFAST, MEDIAN, AVERAGE");
    EXPECT_TRUE(
        MetaText(*setup, "parameters/mode", "desc").starts_with("The type of this parameter is of type string. "));
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 1U) << "run_once is read, but not declared";
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image of type IMAGE_GREY_F or IMAGE_GREY_8.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of the same type as the input image.");
    EXPECT_EQ(setup->Entry("inputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(setup->Entry("outputs", true)->Map()->Size(), 1U);
}

TEST(Shrink, OffersThePresentMode) {
    CNodeUnderTest node("Shrink");
    const auto offered = [&] {
        CValueMap setup;
        node.Node().GetPluginSetup(setup);
        return setup.EntryString("parameters/mode", "").Text();
    };
    node.Set("mode", "MEDIAN");
    EXPECT_EQ(offered(), "SKIP");
    node.Init();
    EXPECT_EQ(offered(), "MEDIAN");
}

TEST(Shrink, DescriptionTextHoldsItsSectionsInOrder) {
    const std::string text = DescriptionOf("Shrink")->EntryString("description", "").Text();
    std::size_t position = 0;
    for (const char* part : {"BRIEF\nNode to shrink an image by a factor two in all dimensions.\n", "\nINPUT 0\n",
                             "\nOUTPUT 0\n", "\nPARAMETER mode\n",
                             "\nSEE ALSO\nResize a scaled image resize.\n"
                             "Scale: a centered image resize, keeping the original image dimensions."}) {
        const std::size_t found = text.find(part, position);
        ASSERT_NE(found, std::string::npos) << part;
        position = found;
    }
    EXPECT_EQ(text.find("KEYWORDS"), std::string::npos);
}

TEST(Shrink, FormsAnOddPlaneByEachMode) {
    const CSize size(3, 3);
    const Row in{40, 10, 7, //
                 20, 31, 3, //
                 9,  5,  1};
    EXPECT_EQ(ShrunkBytes("SKIP", size, in), (Row{40, 7, 9, 1}));
    EXPECT_EQ(ShrunkBytes("MAX", size, in), (Row{40, 7, 9, 1}));
    EXPECT_EQ(ShrunkBytes("MIN", size, in), (Row{10, 3, 5, 1}));
    EXPECT_EQ(ShrunkBytes("MAXFAST", size, in), (Row{40, 0, 0, 0}));
    EXPECT_EQ(ShrunkBytes("MINFAST", size, in), (Row{10, 0, 0, 0}));
    EXPECT_EQ(ShrunkBytes("MEDIAN", size, in), (Row{25, 5, 7, 1}));  // (20 + 31) / 2, (3 + 7) / 2, (5 + 9) / 2
    EXPECT_EQ(ShrunkBytes("AVERAGE", size, in), (Row{25, 5, 7, 1})); // 101 / 4, (7 + 3) / 2, (9 + 5) / 2
}

TEST(Shrink, FormsAVolumeByEachMode) {
    const CSize size(2, 2, 3);
    const Row in{50, 60, 70, 80, 10, 20, 30, 240, 1, 2, 3, 4};
    EXPECT_EQ(ShrunkBytes("SKIP", size, in), (Row{50, 1}));
    EXPECT_EQ(ShrunkBytes("MAX", size, in), (Row{240, 4}));
    EXPECT_EQ(ShrunkBytes("MIN", size, in), (Row{10, 1}));
    EXPECT_EQ(ShrunkBytes("MAXFAST", size, in), (Row{80, 4})) << "odd planes take no part";
    EXPECT_EQ(ShrunkBytes("MINFAST", size, in), (Row{50, 1}));
    EXPECT_EQ(ShrunkBytes("MEDIAN", size, in), (Row{65, 2}));
    EXPECT_EQ(ShrunkBytes("AVERAGE", size, in), (Row{70, 2})); // 560 / 8, 2.5
}

TEST(Shrink, LeavesNothingOfARecycledBlockAtOddEdges) {
    for (const char* mode : {"MAXFAST", "MINFAST"}) {
        for (int round = 0; round < 3; ++round) {
            CNodeUnderTest node("Shrink");
            node.Set("mode", mode).Input(0, Bytes(3, 1, {255, 255, 255})).Run();
            EXPECT_EQ(BytesOf(node.Output()), (Row{0, 0})) << "no row of blocks is whole";
            node.Input(0, Bytes(1, 2, {255, 255})).Run();
            EXPECT_EQ(BytesOf(node.Output()), (Row{0}));
            node.Input(0, Bytes(3, 3, Row(9, 255))).Run();
            EXPECT_EQ(BytesOf(node.Output()), (Row{255, 0, 0, 0}));
        }
    }
}

TEST(Shrink, KeepsASingleElement) {
    for (const char* mode : {"SKIP", "MAX", "MIN", "MEDIAN", "AVERAGE"}) {
        EXPECT_EQ(ShrunkBytes(mode, CSize(1, 1), {201}), (Row{201})) << mode;
    }
}

TEST(Shrink, CutsMeansOfBytesAndKeepsThoseOfFloats) {
    EXPECT_EQ(ShrunkBytes("AVERAGE", CSize(2, 2), {1, 1, 1, 1}), (Row{1}));
    EXPECT_EQ(ShrunkBytes("AVERAGE", CSize(2, 2), {1, 2, 2, 2}), (Row{1}));
    EXPECT_EQ(ShrunkBytes("AVERAGE", CSize(2, 2), {255, 255, 255, 255}), (Row{255}));
    EXPECT_EQ(ShrunkBytes("MEDIAN", CSize(2, 2), {1, 2, 3, 100}), (Row{2}));
    EXPECT_EQ(ShrunkBlock("MEDIAN", {100.0F, 3.0F, 1.0F, 2.0F}), std::bit_cast<std::uint32_t>(2.5F));
    EXPECT_EQ(ShrunkBlock("AVERAGE", {1.0F, 2.0F, 2.0F, 2.0F}), std::bit_cast<std::uint32_t>(1.75F));
}

TEST(Shrink, AddsFloatsInTheirOrder) {
    // 2^24 + 1 is 2^24 in single precision: each 1 that meets the large number is lost, those before it are not.
    constexpr float large = 16777216.0F;
    EXPECT_EQ(ShrunkBlock("AVERAGE", {1.0F, 1.0F, large, 1.0F}), std::bit_cast<std::uint32_t>(4194304.5F))
        << "1 + 1 + 2^24 (+ 1) (+ 1) (+ 1) + 2^24 (+ 1) = 2^25 + 4 after rounding";
    CNodeUnderTest node("Shrink");
    node.Set("mode", "AVERAGE");
    node.Input(0, MakeImage<float>(IMAGE_GREY_F, CSize(2, 2, 2), {large, 1, 1, 1, 1, 1, 1, -large})).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{0.0F})) << "each 1 is lost";
    node.Input(0, MakeImage<float>(IMAGE_GREY_F, CSize(2, 2, 2), {1, 1, 1, 1, 1, 1, large, -large})).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{0.75F}));
}

TEST(Shrink, TheFirstSampleStandsUntilALaterOneIsStrictlyBetter) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::uint32_t nanBits = std::bit_cast<std::uint32_t>(nan);
    const std::uint32_t minusZero = 0x80000000U;
    for (const char* mode : {"MAX", "MAXFAST"}) {
        EXPECT_EQ(ShrunkBlock(mode, {nan, 1.0F, 2.0F, 3.0F}), nanBits) << mode;
        EXPECT_EQ(ShrunkBlock(mode, {1.0F, nan, 2.0F, nan}), std::bit_cast<std::uint32_t>(2.0F)) << mode;
        EXPECT_EQ(ShrunkBlock(mode, {-0.0F, 0.0F, -1.0F, 0.0F}), minusZero) << mode;
        EXPECT_EQ(ShrunkBlock(mode, {-1.0F, 0.0F, -0.0F, -0.0F}), 0U) << mode;
    }
    for (const char* mode : {"MIN", "MINFAST"}) {
        EXPECT_EQ(ShrunkBlock(mode, {nan, 1.0F, 2.0F, 3.0F}), nanBits) << mode;
        EXPECT_EQ(ShrunkBlock(mode, {3.0F, nan, 2.0F, nan}), std::bit_cast<std::uint32_t>(2.0F)) << mode;
        EXPECT_EQ(ShrunkBlock(mode, {0.0F, -0.0F, 1.0F, -0.0F}), 0U) << mode;
        EXPECT_EQ(ShrunkBlock(mode, {1.0F, -0.0F, 0.0F, 0.0F}), minusZero) << mode;
    }
    EXPECT_EQ(ShrunkBlock("MEDIAN", {0.0F, -0.0F, -0.0F, -1.0F}), 0U) << "equal samples keep their order";
    EXPECT_EQ(ShrunkBlock("MEDIAN", {-0.0F, -0.0F, 0.0F, -1.0F}), minusZero);
}

TEST(Shrink, MeansOfSeveralNaNKeepThePayloadOfTheFirst) {
    const auto number = [](std::uint32_t bits) { return std::bit_cast<float>(bits); };
    const float first = number(0x7FC00001U);
    const float second = number(0xFFC00002U);
    // The second sample comes first in the mean. Blocks alike fill the vectors, the odd width leaves one beside them.
    constexpr int blocks = 33;
    std::vector<float> upper;
    std::vector<float> lower;
    for (int block = 0; block < blocks; ++block) {
        upper.insert(upper.end(), {second, first});
        lower.insert(lower.end(), {1.0F, second});
    }
    upper.push_back(1.0F);
    lower.push_back(first);
    std::vector<float> image = upper;
    image.insert(image.end(), lower.begin(), lower.end());
    CNodeUnderTest node("Shrink");
    node.Set("mode", "AVERAGE").Input(0, Floats(2 * blocks + 1, 2, image)).Run();
    EXPECT_EQ(ElementsOf<std::uint32_t>(node.Output()), std::vector<std::uint32_t>(blocks + 1, 0x7FC00001U));
    EXPECT_EQ(ShrunkBlock("AVERAGE", {1.0F, number(0x7FA00005U), second, first}), 0x7FE00005U) << "made quiet";
    EXPECT_EQ(ShrunkBlock("MEDIAN", {1.0F, first, second, 2.0F}), 0x7FC00001U);
    EXPECT_EQ(ShrunkBlock("MEDIAN", {1.0F, second, first, 2.0F}), 0xFFC00002U);
}

TEST(Shrink, SkipKeepsTheBitsOfEveryFloat) {
    CNodeUnderTest node("Shrink");
    node.Input(0, MakeImage<std::uint32_t>(IMAGE_GREY_F, CSize(3, 1), {0x7FA00001U, 1U, 0x80000000U})).Run();
    EXPECT_EQ(ElementsOf<std::uint32_t>(node.Output()), (std::vector<std::uint32_t>{0x7FA00001U, 0x80000000U}));
}

TEST(Shrink, CountsThreeDimensions) {
    CNodeUnderTest node("Shrink");
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(5, 4))).Run().Output().Size(), CSize(3, 2, 1));
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_F, CSize(4, 1, 5))).Run().Output().Size(), CSize(2, 1, 3));
}

TEST(Shrink, ServesEmptyImagesAndCountsExtentsIn32Bits) {
    const auto sizeOf = [](const CSize& size) {
        CNodeUnderTest node("Shrink");
        node.Set("mode", "AVERAGE").Input(0, ZeroImage(IMAGE_GREY_F, size)).Run();
        EXPECT_EQ(node.Output().Buffer().Size(), 0U);
        return node.Output().Size();
    };
    EXPECT_EQ(sizeOf(CSize(0, 3, 2)), CSize(0, 2, 1));
    EXPECT_EQ(sizeOf(CSize(3, 0, 1)), CSize(2, 0, 1));
    EXPECT_EQ(sizeOf(CSize(3, 3, 0)), CSize(2, 2, 0));
    constexpr std::int64_t beyond = std::int64_t{1} << 32;
    EXPECT_EQ(sizeOf(CSize(beyond + 5, 0, beyond)), CSize(3, 0, 0));
    CNodeUnderTest node("Shrink");
    node.Set("mode", "none").Input(0, ZeroImage(IMAGE_GREY_8, CSize(beyond - 1, 0, 1)));
    EXPECT_EQ(node.Failure().where, "CImage") << "a negative width, found before the mode is looked at";
}

TEST(Shrink, RefusesOtherTypes) {
    const StFailure expected{kWhere, "input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, "};
    for (const auto& type : TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8})) {
        CNodeUnderTest node("Shrink");
        node.Set("mode", "none").Input(0, ZeroImage(type, CSize(2, 2)));
        EXPECT_EQ(node.Failure(), expected) << type.ToString();
    }
}

TEST(Shrink, RefusesAMissingInput) {
    const StFailure expected{kWhere, "input image is NULL"};
    CNodeUnderTest node("Shrink");
    EXPECT_EQ(node.Failure(), expected);
    EXPECT_EQ(node.NullImage(0).Failure(), expected);
}

TEST(Shrink, RefusesAValueThatIsNoImageInTheWordsOfTheHost) {
    CNodeUnderTest node("Shrink");
    node.Input(0, std::make_unique<CValueLong>(3));
    try {
        node.Run();
        FAIL() << "nothing was raised";
    } catch (const CException& failure) {
        EXPECT_STREQ(failure.What(), "the value must be a pointer to an image, but is an integer");
    }
    EXPECT_FALSE(node.HasOutput());
}

TEST(Shrink, RefusesUnknownModesInRunOnly) {
    for (const std::string mode : {"max", "", "MAX ", "%1", "SKIP, MAX"}) {
        const StFailure expected{kWhere, "mode " + mode +
                                             " does not exist, valid modes are:SKIP, MAX, MAXFAST, MIN, MINFAST, "
                                             "MEDIAN, AVERAGE"};
        CNodeUnderTest node("Shrink");
        node.Set("mode", mode.c_str());
        node.Init();
        EXPECT_EQ(node.Input(0, Bytes(1, 1, {1})).Failure(), expected);
        EXPECT_EQ(node.Input(0, Floats(0, 1, {})).Failure(), expected);
    }
}

TEST(Shrink, KeepsTheModeThatIsNotGivenAsAText) {
    CNodeUnderTest node("Shrink");
    node.Input(0, Bytes(2, 1, {1, 3}));
    EXPECT_EQ(BytesOf(node.Run().Output()), (Row{1}));
    EXPECT_EQ(BytesOf(node.Set("mode", "MAX").Run().Output()), (Row{3}));
    EXPECT_EQ(BytesOf(node.Unset("mode").Run().Output()), (Row{3}));
    EXPECT_EQ(BytesOf(node.Set("mode", 5).Run().Output()), (Row{3}));
    EXPECT_EQ(BytesOf(node.Set("mode", "MIN").RunAgain().Output()), (Row{3})) << "only NodeInit reads parameters";
}

TEST(Shrink, RunOnceWorksOnceUntilInitialisedAgainAndStays) {
    CNodeUnderTest node("Shrink");
    node.Set("run_once", true);
    EXPECT_EQ(node.Failure().what, "input image is NULL") << "a failed run doesn't count";
    node.Input(0, Bytes(1, 1, {3}));
    EXPECT_TRUE(node.RunAgain().HasOutput());
    EXPECT_FALSE(node.RunAgain().HasOutput());
    EXPECT_FALSE(node.NoInput(0).RunAgain().HasOutput()) << "not even the input is looked at";
    node.Input(0, Bytes(1, 1, {4}));
    EXPECT_TRUE(node.Unset("run_once").Run().HasOutput());
    EXPECT_FALSE(node.RunAgain().HasOutput()) << "an absent run_once keeps its value";
    node.Set("run_once", false).Run();
    EXPECT_TRUE(node.RunAgain().HasOutput());
}

TEST(Shrink, GivesNoAttributes) {
    auto image = Bytes(1, 1, {1});
    image->Attributes().SetEntry("Image/ContentType", new CValueString(CString("table")));
    CNodeUnderTest node("Shrink");
    EXPECT_TRUE(node.Input(0, std::move(image)).Run().Output().Attributes().IsEmpty());
}

TEST(Shrink, AgreesWithThePlainRulesOnRandomBytes) {
    std::mt19937 random(20260404);
    for (int round = 0; round < 700; ++round) {
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
        const CSize size(extent(round % 5 == 0 ? 300 : 40), extent(6), extent(5));
        const std::string& mode = kModes[static_cast<std::size_t>(round) % kModes.size()];
        CNodeUnderTest node("Shrink");
        node.Set("mode", mode.c_str()).Input(0, RandomImage(IMAGE_GREY_8, size, random));
        const auto before = BytesOf(node.InputImage(0));
        node.Run();
        EXPECT_EQ(BytesOf(node.InputImage(0)), before) << "the input has changed";
        EXPECT_EQ(BytesOf(node.Output()), CPlainShrink<std::uint8_t>(node.InputImage(0), mode).Elements()) << mode;
    }
}

TEST(Shrink, AgreesWithThePlainRulesOnRandomFloats) {
    std::mt19937 random(20260405);
    const std::vector<float> special{0.0F, -0.0F, 1e-40F, -1e-40F, 3e38F, std::numeric_limits<float>::infinity()};
    for (int round = 0; round < 700; ++round) {
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
        const CSize size(extent(round % 5 == 0 ? 300 : 40), extent(6), extent(5));
        const std::string& mode = kModes[static_cast<std::size_t>(round) % kModes.size()];
        std::vector<float> in(size.Volume());
        std::generate(in.begin(), in.end(), [&] {
            const float number = static_cast<float>(random() % 2000) / 7.0F - 100.0F;
            return random() % 4 == 0 ? special[random() % special.size()] : number;
        });
        const bool compares = mode != "AVERAGE" && mode != "MEDIAN"; // a NaN's bits in a sum are the processor's
        if (compares) {
            in[random() % in.size()] = std::numeric_limits<float>::quiet_NaN();
        }
        CNodeUnderTest node("Shrink");
        node.Set("mode", mode.c_str()).Input(0, MakeImage<float>(IMAGE_GREY_F, size, in)).Run();
        EXPECT_EQ(ElementsOf<std::uint32_t>(node.Output()),
                  BitsOf(CPlainShrink<float>(node.InputImage(0), mode).Elements()))
            << mode;
    }
}

} // namespace
} // namespace QUOR::test
