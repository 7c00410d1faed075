#include "NodeTest.h"

#include <cmath>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) Translate";

struct StShift {
    std::int64_t x = 0;
    std::int64_t y = 0;
    std::int64_t z = 0;
};

/// The mapping as it is told, element by element.
template <class T> std::vector<T> PlainTranslate(const CImage& image, const StShift& shift, bool wrap, T background) {
    const std::vector<T> in = ElementsOf<T>(image);
    const CSize& size = image.Size();
    const auto modulo = [](std::int64_t c, std::int64_t extent) { return (c % extent + extent) % extent; };
    std::vector<T> out;
    for (std::int64_t z = 0; z < size.z; ++z) {
        for (std::int64_t y = 0; y < size.y; ++y) {
            for (std::int64_t x = 0; x < size.x; ++x) {
                StShift from{x - shift.x, y - shift.y, z - shift.z};
                if (wrap) {
                    from = {modulo(from.x, size.x), modulo(from.y, size.y), modulo(from.z, size.z)};
                }
                const bool inside =
                    from.x >= 0 && from.x < size.x && from.y >= 0 && from.y < size.y && from.z >= 0 && from.z < size.z;
                const std::int64_t number = from.x + size.x * (from.y + size.y * from.z);
                out.push_back(inside ? in[static_cast<std::size_t>(number)] : background);
            }
        }
    }
    return out;
}

using Row = std::vector<std::uint8_t>;

/// The row 1, 2, 3 shifted, on the background 9.
template <class Number> Row Shifted(Number offset, bool wrap) {
    CNodeUnderTest node("Translate");
    node.Set("offset_x", offset).Set("wrap", wrap).Set("bg_value", 9.0).Input(0, Bytes(3, 1, {1, 2, 3})).Run();
    return BytesOf(node.Output());
}

TEST(Translate, DescribesItself) {
    const auto setup = DescriptionOf("Translate");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Translate");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PTranslate/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "shift|translate|move|wrap around|offset");
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image of type IMAGE_GREY_F or IMAGE_GREY_8.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of the same type as the input image.");
    EXPECT_EQ(setup->Entry("inputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(setup->Entry("outputs", true)->Map()->Size(), 1U);
}

TEST(Translate, DescribesItsParameters) {
    const auto setup = DescriptionOf("Translate");
    for (const char* axis : {"x", "y", "z"}) {
        const std::string entry = std::string("parameters/offset_") + axis;
        ASSERT_TRUE(setup->HasEntry(CValue_Key(entry), EnValType::Long));
        EXPECT_EQ(setup->EntryLong(CValue_Key(entry), -1), 0);
        EXPECT_EQ(MetaText(*setup, entry, "desc"),
                  std::string("The type of this parameter is of type long. pixel offset for the translation in ") +
                      axis + "-direction.\nBy default it is set to \\a 0.");
    }
    ASSERT_TRUE(setup->HasEntry("parameters/bg_value", EnValType::Double));
    EXPECT_EQ(setup->EntryDouble("parameters/bg_value", -1.0), 0.0);
    EXPECT_EQ(MetaText(*setup, "parameters/bg_value", "desc"),
              "The type of this parameter is of type double. pixel value for those pixels not covered by the "
              "translation.\nBy default it is set to \\a 0.0.");
    ASSERT_TRUE(setup->HasEntry("parameters/wrap", EnValType::Bool));
    EXPECT_FALSE(setup->EntryBool("parameters/wrap", true));
    EXPECT_EQ(MetaText(*setup, "parameters/wrap", "desc"),
              "The type of this parameter is of type bool. translation can be performed as on a periodic lattice.\n"
              "This can be useful for images in polar coordinates.\nBy default it is set to \\a false.");
    EXPECT_EQ(MetaText(*setup, "parameters/wrap", "gui/boolean"), "(none)");
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 5U) << "run_once is read, but not declared";
    const std::vector<std::string> order{"offset_x", "offset_y", "offset_z", "bg_value", "wrap"};
    for (std::size_t number = 0; number < order.size(); ++number) {
        EXPECT_EQ(setup->EntryString(CValue_Key("gui/order/" + std::to_string(number)), "").Text(), order[number]);
    }
    EXPECT_EQ(setup->Entry("gui/order", true)->Map()->Size(), 5U);
}

TEST(Translate, DescriptionTextHoldsItsSectionsInOrder) {
    const std::string text = DescriptionOf("Translate")->EntryString("description", "").Text();
    std::size_t position = 0;
    for (const char* part :
         {"BRIEF\nShift image.\n\n"
          "Translate the image by given offsets in all three orientations. The offsets can be negative.\n"
          "For pixels not covered by the translation the pixel value is assigned to the background value bg_value.\n",
          "\nINPUT 0\n", "\nOUTPUT 0\n", "\nPARAMETER offset_x\n", "\nPARAMETER offset_y\n", "\nPARAMETER offset_z\n",
          "\nPARAMETER bg_value\n", "\nPARAMETER wrap\n", "\nKEYWORDS\nshift, translate, move, wrap around, offset"}) {
        const std::size_t found = text.find(part, position);
        ASSERT_NE(found, std::string::npos) << part;
        position = found;
    }
}

TEST(Translate, ShiftsARow) {
    EXPECT_EQ(Shifted(0, false), (Row{1, 2, 3}));
    EXPECT_EQ(Shifted(1, false), (Row{9, 1, 2}));
    EXPECT_EQ(Shifted(-1, false), (Row{2, 3, 9}));
    EXPECT_EQ(Shifted(2, false), (Row{9, 9, 1}));
    EXPECT_EQ(Shifted(3, false), (Row{9, 9, 9}));
    EXPECT_EQ(Shifted(-3, false), (Row{9, 9, 9}));
    EXPECT_EQ(Shifted(std::numeric_limits<int>::max(), false), (Row{9, 9, 9}));
    EXPECT_EQ(Shifted(std::numeric_limits<int>::min(), false), (Row{9, 9, 9}));
}

TEST(Translate, ShiftsARowPeriodically) {
    EXPECT_EQ(Shifted(0, true), (Row{1, 2, 3}));
    EXPECT_EQ(Shifted(1, true), (Row{3, 1, 2}));
    EXPECT_EQ(Shifted(-1, true), (Row{2, 3, 1}));
    EXPECT_EQ(Shifted(3, true), (Row{1, 2, 3}));
    EXPECT_EQ(Shifted(7, true), (Row{3, 1, 2}));
    EXPECT_EQ(Shifted(-7, true), (Row{2, 3, 1}));
    EXPECT_EQ(Shifted(std::numeric_limits<int>::max(), true), (Row{3, 1, 2})); // 2^31 - 1 = 3 * 715827882 + 1
    EXPECT_EQ(Shifted(std::numeric_limits<int>::min(), true), (Row{3, 1, 2})); // -2^31 = 3 * -715827883 + 1
}

TEST(Translate, ShiftsRowsAndPlanes) {
    const auto shifted = [](int y, int z, bool wrap) {
        CNodeUnderTest node("Translate");
        node.Set("offset_y", y).Set("offset_z", z).Set("wrap", wrap).Set("bg_value", 9);
        node.Input(0, CodedImage(IMAGE_GREY_8, CSize(2, 2, 2))).Run();
        return BytesOf(node.Output());
    };
    EXPECT_EQ(shifted(1, 0, false), (Row{9, 9, 0, 1, 9, 9, 100, 101}));
    EXPECT_EQ(shifted(-1, 0, false), (Row{10, 11, 9, 9, 110, 111, 9, 9}));
    EXPECT_EQ(shifted(0, 1, false), (Row{9, 9, 9, 9, 0, 1, 10, 11}));
    EXPECT_EQ(shifted(0, -1, false), (Row{100, 101, 110, 111, 9, 9, 9, 9}));
    EXPECT_EQ(shifted(1, 0, true), (Row{10, 11, 0, 1, 110, 111, 100, 101}));
    EXPECT_EQ(shifted(0, 1, true), (Row{100, 101, 110, 111, 0, 1, 10, 11}));
    EXPECT_EQ(shifted(1, 1, true), (Row{110, 111, 100, 101, 10, 11, 0, 1}));
}

TEST(Translate, CutsAnOffsetThatIsGivenAsADouble) {
    EXPECT_EQ(Shifted(1.9, false), (Row{9, 1, 2}));
    EXPECT_EQ(Shifted(-1.9, false), (Row{2, 3, 9}));
    EXPECT_EQ(Shifted(0.99, false), (Row{1, 2, 3}));
    // What 32 bits can't hold is -2^31, which is a shift by 1 on three periodic columns.
    EXPECT_EQ(Shifted(4294967297.0, true), (Row{3, 1, 2}));
    EXPECT_EQ(Shifted(std::nan(""), true), (Row{3, 1, 2}));
    EXPECT_EQ(Shifted(-1e300, false), (Row{9, 9, 9}));
}

TEST(Translate, TakesOffsetsOfOtherKindsAsTheHostConvertsThem) {
    EXPECT_EQ(Shifted(true, false), (Row{9, 1, 2}));
    EXPECT_EQ(Shifted("1", false), (Row{1, 2, 3}));
}

TEST(Translate, FillsWithTheLowBitsOfTheCutBackground) {
    const auto fill = [](auto background) {
        CNodeUnderTest node("Translate");
        node.Set("offset_x", 1).Set("bg_value", background).Input(0, Bytes(2, 1, {1, 2})).Run();
        return BytesOf(node.Output())[0];
    };
    EXPECT_EQ(fill(300.0), 44);
    EXPECT_EQ(fill(-1.0), 255);
    EXPECT_EQ(fill(-0.9), 0);
    EXPECT_EQ(fill(7.99), 7);
    EXPECT_EQ(fill(4294967297.0), 0) << "beyond 32 bits: the low bits of -2^31";
    EXPECT_EQ(fill(std::nan("")), 0);
    EXPECT_EQ(fill(513), 1) << "given as an integer";
}

TEST(Translate, FillsFloatsWithTheBackgroundInSinglePrecision) {
    CNodeUnderTest node("Translate");
    node.Set("offset_x", 1).Set("bg_value", 0.1).Input(0, Floats(2, 1, {1.5F, 2.5F})).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{0.1F, 1.5F}));
    node.Set("bg_value", -1e300).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output())[0], -std::numeric_limits<float>::infinity());
}

TEST(Translate, KeepsTheBackgroundThatIsNotGivenAsANumber) {
    CNodeUnderTest node("Translate");
    node.Set("offset_x", 1).Input(0, Bytes(2, 1, {1, 2}));
    const auto fill = [&] { return BytesOf(node.Run().Output())[0]; };
    EXPECT_EQ(fill(), 0);
    node.Set("bg_value", 5.0);
    EXPECT_EQ(fill(), 5);
    node.Set("bg_value", true);
    EXPECT_EQ(fill(), 5) << "a truth value is no number here";
    node.Set("bg_value", "7");
    EXPECT_EQ(fill(), 5);
    node.Unset("bg_value");
    EXPECT_EQ(fill(), 5);
    node.Set("bg_value", 6);
    EXPECT_EQ(fill(), 6);
}

TEST(Translate, ReadsParametersInNodeInitOnly) {
    CNodeUnderTest node("Translate");
    node.Set("offset_x", 1).Set("wrap", true).Input(0, Bytes(3, 1, {1, 2, 3})).Run();
    node.Unset("offset_x").Unset("wrap");
    EXPECT_EQ(BytesOf(node.RunAgain().Output()), (Row{3, 1, 2}));
    EXPECT_EQ(BytesOf(node.Run().Output()), (Row{1, 2, 3})) << "absent offsets are 0";
    EXPECT_EQ(BytesOf(node.Set("offset_x", 1).Run().Output()), (Row{0, 1, 2})) << "an absent wrap is false";
}

TEST(Translate, AcceptsItsTypesAndKeepsThem) {
    for (const auto& type : {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_BINARY_FG, IMAGE_BINARY_BG}) {
        for (const bool wrap : {false, true}) {
            CNodeUnderTest node("Translate");
            node.Set("offset_x", 1).Set("wrap", wrap).Set("bg_value", 3.0);
            node.Input(0, CodedImage(type, CSize(3, 1))).Run();
            EXPECT_EQ(node.Output().Type(), type);
            const std::unique_ptr<const IAccess> access(node.Output().CreateAccess());
            EXPECT_EQ(access->Get(0, 0, 0, 0), wrap ? 2.0 : 3.0) << type.ToString();
            EXPECT_EQ(access->Get(2, 0, 0, 0), 1.0) << type.ToString();
        }
    }
}

TEST(Translate, RefusesOtherTypes) {
    const StFailure expected{
        kWhere, "input image is not of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_BINARY_FG, or IMAGE_BINARY_FG"};
    for (const auto& type : TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_BINARY_FG, IMAGE_BINARY_BG})) {
        CNodeUnderTest node("Translate");
        EXPECT_EQ(node.Input(0, ZeroImage(type, CSize(2, 2))).Failure(), expected) << type.ToString();
    }
}

TEST(Translate, RefusesWhatIsNoImage) {
    CNodeUnderTest node("Translate");
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image is NULL"}));
    EXPECT_EQ(node.NullImage(0).Failure(), (StFailure{kWhere, "input image is NULL"}));
    node.Input(0, std::make_unique<CValueMap>());
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input 0 is not an image"}));
}

TEST(Translate, GivesACopyWithoutAttributes) {
    for (const bool wrap : {false, true}) {
        CNodeUnderTest node("Translate");
        auto image = Bytes(2, 2, {1, 2, 3, 4});
        image->Attributes().SetEntry("Image/ContentType", new CValueString(CString("table")));
        node.Set("wrap", wrap).Input(0, std::move(image)).Run();
        EXPECT_TRUE(SameImage(node.InputImage(0), node.Output()));
        EXPECT_NE(node.InputImage(0).Buffer().Data(), node.Output().Buffer().Data());
        EXPECT_TRUE(node.Output().Attributes().IsEmpty());
    }
}

TEST(Translate, KeepsTheDimensionCount) {
    CNodeUnderTest node("Translate");
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(4, 3))).Run().Output().Size().dim, 2);
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(4, 3, 1))).Run().Output().Size().dim, 3);
}

TEST(Translate, ServesEmptyImagesOfAnyExtent) {
    constexpr std::int64_t huge = std::int64_t{1} << 40;
    for (const CSize& size : {CSize(0, 3, 2), CSize(3, 0, 2), CSize(3, 2, 0), CSize(0, huge, huge), CSize(0, 0)}) {
        for (const bool wrap : {false, true}) {
            CNodeUnderTest node("Translate");
            node.Set("offset_x", 1).Set("offset_y", 1).Set("offset_z", 1).Set("wrap", wrap);
            node.Input(0, ZeroImage(IMAGE_GREY_F, size)).Run();
            EXPECT_EQ(node.Output().Size(), size);
            EXPECT_EQ(node.Output().Buffer().Size(), 0U);
        }
    }
}

TEST(Translate, RunOnceWorksOnceUntilInitialisedAgain) {
    CNodeUnderTest node("Translate");
    node.Set("run_once", true);
    EXPECT_EQ(node.Failure().what, "input image is NULL") << "a failed run doesn't count";
    node.Input(0, Bytes(1, 1, {3}));
    EXPECT_TRUE(node.RunAgain().HasOutput());
    EXPECT_FALSE(node.RunAgain().HasOutput());
    EXPECT_FALSE(node.NoInput(0).RunAgain().HasOutput()) << "not even the input is looked at";
    node.Input(0, Bytes(1, 1, {4}));
    EXPECT_EQ(BytesOf(node.Run().Output()), (Row{4}));
    node.Unset("run_once").Run();
    EXPECT_TRUE(node.RunAgain().HasOutput()) << "an absent run_once is false";
}

TEST(Translate, AgreesWithThePlainLoopOnRandomImages) {
    std::mt19937 random(20260403);
    for (int round = 0; round < 600; ++round) {
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
        const CSize size(extent(round % 10 == 0 ? 6000 : 30), extent(6), extent(4));
        const auto offset = [&](std::int64_t most) {
            const auto range = static_cast<unsigned>(3 * most);
            return random() % 3 == 0 ? 0 : static_cast<int>(random() % range) - static_cast<int>(range / 2);
        };
        const StShift shift{offset(size.x), offset(size.y), offset(size.z)};
        const bool wrap = random() % 2 == 0;
        const IImage::CType type = random() % 2 == 0 ? IMAGE_GREY_F : IMAGE_GREY_8;
        CNodeUnderTest node("Translate");
        node.Set("offset_x", static_cast<int>(shift.x)).Set("offset_y", static_cast<int>(shift.y));
        node.Set("offset_z", static_cast<int>(shift.z)).Set("wrap", wrap).Set("bg_value", 77.0);
        node.Input(0, RandomImage(type, size, random));
        const auto before = BytesOf(node.InputImage(0));
        node.Run();
        EXPECT_EQ(BytesOf(node.InputImage(0)), before) << "the input has changed";
        if (type == IMAGE_GREY_F) {
            constexpr std::uint32_t bits = 0x429A0000U; // 77.0F
            EXPECT_EQ(ElementsOf<std::uint32_t>(node.Output()),
                      PlainTranslate<std::uint32_t>(node.InputImage(0), shift, wrap, bits));
        } else {
            EXPECT_EQ(BytesOf(node.Output()), PlainTranslate<std::uint8_t>(node.InputImage(0), shift, wrap, 77));
        }
    }
}

} // namespace
} // namespace QUOR::test
