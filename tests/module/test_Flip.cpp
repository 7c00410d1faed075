#include "NodeTest.h"

#include <bit>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) Flip";

/// The mapping as it is told, element by element.
template <class T> std::vector<T> PlainFlip(const CImage& image, bool flipX, bool flipY, bool flipZ) {
    const std::vector<T> in = ElementsOf<T>(image);
    const CSize& size = image.Size();
    std::vector<T> out;
    for (std::int64_t z = 0; z < size.z; ++z) {
        for (std::int64_t y = 0; y < size.y; ++y) {
            for (std::int64_t x = 0; x < size.x; ++x) {
                const std::int64_t sx = flipX ? size.x - 1 - x : x;
                const std::int64_t sy = flipY ? size.y - 1 - y : y;
                const std::int64_t sz = flipZ ? size.z - 1 - z : z;
                out.push_back(in[static_cast<std::size_t>(sx + size.x * (sy + size.y * sz))]);
            }
        }
    }
    return out;
}

TEST(Flip, DescribesItself) {
    const auto setup = DescriptionOf("Flip");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Flip");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PFlip/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "flip axes|axis|left to right|mirror|reflect");
    const std::vector<std::string> axes{"x", "y", "z"};
    for (int number = 0; number < 3; ++number) {
        const std::string& axis = axes[static_cast<std::size_t>(number)];
        const std::string entry = "parameters/flip_" + axis;
        ASSERT_TRUE(setup->HasEntry(CValue_Key(entry), EnValType::Bool));
        EXPECT_FALSE(setup->EntryBool(CValue_Key(entry), true));
        EXPECT_EQ(MetaText(*setup, entry, "gui/boolean"), "togglebutton");
        EXPECT_EQ(MetaText(*setup, entry, "desc"),
                  "The type of this parameter is of type bool. flips the input image in " + axis +
                      "-direction.\nBy default it is set to \\a false.\n");
        EXPECT_EQ(setup->EntryString(CValue_Key("gui/order/" + std::to_string(number)), "").Text(), "flip_" + axis);
    }
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 3U);
    EXPECT_EQ(setup->Entry("gui/order", true)->Map()->Size(), 3U);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image of type IMAGE_GREY_F, IMAGE_GREY_D, IMAGE_GREY_8,\n"
                                                     "IMAGE_GREY_16,  IMAGE_GREY_32, IMAGE_MONO_BINARY.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of the same type as the input image.");
    EXPECT_FALSE(setup->Entry("outputs/0", true)->Meta().HasEntry("optional"));
    EXPECT_EQ(UnwrapPointer<CImage>(setup->Entry("inputs/0", true)), nullptr);
    EXPECT_EQ(UnwrapPointer<CImage>(setup->Entry("outputs/0", true)), nullptr);
}

TEST(Flip, DescriptionTextHoldsItsSectionsInOrder) {
    const std::string text = DescriptionOf("Flip")->EntryString("description", "").Text();
    const std::string start = "BRIEF\nFlips/reflects an image in the specified axis directions.\n\n"
                              "Flips/reflects the input image in the X, Y, and/or Z directions.\n";
    EXPECT_EQ(text.substr(0, start.size()), start);
    std::size_t position = 0;
    for (const char* header : {"\nINPUT 0\n", "\nOUTPUT 0\n", "\nPARAMETER flip_x\n", "\nPARAMETER flip_y\n",
                               "\nPARAMETER flip_z\n", "\nKEYWORDS\nflip axes, axis, left to right, mirror, reflect"}) {
        const std::size_t found = text.find(header, position);
        ASSERT_NE(found, std::string::npos) << header;
        position = found;
    }
    EXPECT_EQ(text.find("NOTE"), std::string::npos);
    EXPECT_EQ(text.find("SEE ALSO"), std::string::npos);
}

TEST(Flip, ReversesEachAxisByItself) {
    const std::vector<std::uint8_t> in{0, 1, 2, 10, 11, 12, 100, 101, 102, 110, 111, 112};
    const auto flipped = [&](const char* key) {
        CNodeUnderTest node("Flip");
        node.Set(key, true).Input(0, MakeImage<std::uint8_t>(IMAGE_GREY_8, CSize(3, 2, 2), in)).Run();
        return ElementsOf<std::uint8_t>(node.Output());
    };
    EXPECT_EQ(flipped("flip_x"), (std::vector<std::uint8_t>{2, 1, 0, 12, 11, 10, 102, 101, 100, 112, 111, 110}));
    EXPECT_EQ(flipped("flip_y"), (std::vector<std::uint8_t>{10, 11, 12, 0, 1, 2, 110, 111, 112, 100, 101, 102}));
    EXPECT_EQ(flipped("flip_z"), (std::vector<std::uint8_t>{100, 101, 102, 110, 111, 112, 0, 1, 2, 10, 11, 12}));
}

TEST(Flip, WithoutFlagsGivesASeparateCopyWithoutAttributes) {
    CNodeUnderTest node("Flip");
    auto image = Bytes(2, 2, {1, 2, 3, 4});
    image->Attributes().SetEntry("Image/ContentType", new CValueString(CString("table")));
    node.Input(0, std::move(image)).Run();
    EXPECT_TRUE(SameImage(node.InputImage(0), node.Output()));
    EXPECT_NE(&node.InputImage(0), &node.Output());
    EXPECT_NE(node.InputImage(0).Buffer().Data(), node.Output().Buffer().Data());
    EXPECT_TRUE(node.Output().Attributes().IsEmpty());
}

TEST(Flip, AcceptsItsTypesAndKeepsThem) {
    for (const auto& type : TypesWithout({IMAGE_GREY_64, IMAGE_RGB_8})) {
        CNodeUnderTest node("Flip");
        node.Set("flip_x", true).Input(0, CodedImage(type, CSize(3, 1))).Run();
        EXPECT_EQ(node.Output().Type(), type);
        const std::unique_ptr<const IAccess> access(node.Output().CreateAccess());
        EXPECT_EQ(access->Get(0, 0, 0, 0), 2.0) << type.ToString();
        EXPECT_EQ(access->Get(1, 0, 0, 0), 1.0) << type.ToString();
        EXPECT_EQ(access->Get(2, 0, 0, 0), 0.0) << type.ToString();
    }
}

TEST(Flip, RefusesOtherTypes) {
    for (const auto& type : {IMAGE_GREY_64, IMAGE_RGB_8}) {
        CNodeUnderTest node("Flip");
        const StFailure expected{kWhere, "input image is not of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, "
                                         "IMAGE_GREY_32, IMAGE_GREY_D, or IMAGE_BINARY_FG."};
        EXPECT_EQ(node.Input(0, ZeroImage(type, CSize(2, 2))).Failure(), expected);
    }
}

TEST(Flip, RefusesAMissingInput) {
    const StFailure expected{kWhere, "input image is NULL"};
    CNodeUnderTest node("Flip");
    EXPECT_EQ(node.Failure(), expected);
    EXPECT_EQ(node.NullImage(0).Failure(), expected);
}

TEST(Flip, RefusesAValueThatIsNoImageInTheWordsOfTheHost) {
    CNodeUnderTest node("Flip");
    node.Input(0, std::make_unique<CValueLong>(3));
    try {
        node.Run();
        FAIL() << "nothing was raised";
    } catch (const CException& failure) {
        EXPECT_STREQ(failure.What(), "the value must be a pointer to an image, but is an integer");
        ASSERT_NE(failure.Location(), nullptr);
        EXPECT_EQ(failure.Location()->line, 727);
    }
    EXPECT_FALSE(node.HasOutput());
}

TEST(Flip, KeepsTheDimensionCount) {
    CNodeUnderTest node("Flip");
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(4, 3))).Run().Output().Size().dim, 2);
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(4, 3, 1))).Run().Output().Size().dim, 3);
}

TEST(Flip, LeavesDepthOneAloneUnderFlipZ) {
    CNodeUnderTest node("Flip");
    node.Set("flip_z", true).Input(0, Bytes(2, 2, {1, 2, 3, 4})).Run();
    EXPECT_EQ(ElementsOf<std::uint8_t>(node.Output()), (std::vector<std::uint8_t>{1, 2, 3, 4}));
}

TEST(Flip, ServesEmptyImagesOfAnyExtent) {
    constexpr std::int64_t huge = std::int64_t{1} << 40;
    for (const CSize& size : {CSize(0, 3, 2), CSize(3, 0, 2), CSize(3, 2, 0), CSize(0, huge, huge), CSize(0, 0)}) {
        CNodeUnderTest node("Flip");
        node.Set("flip_x", true).Set("flip_y", true).Set("flip_z", true);
        node.Input(0, ZeroImage(IMAGE_GREY_16, size)).Run();
        EXPECT_EQ(node.Output().Size(), size);
        EXPECT_EQ(node.Output().Buffer().Size(), 0U);
    }
}

TEST(Flip, KeepsTheBitsOfEveryFloat) {
    const std::vector<std::uint32_t> bits{0x7FA00001U, 0x80000000U, 0xFFC12345U, 0x7F800000U};
    CNodeUnderTest node("Flip");
    node.Set("flip_x", true).Input(0, MakeImage<std::uint32_t>(IMAGE_GREY_F, CSize(4, 1), bits)).Run();
    EXPECT_EQ(ElementsOf<std::uint32_t>(node.Output()),
              (std::vector<std::uint32_t>{0x7F800000U, 0xFFC12345U, 0x80000000U, 0x7FA00001U}));
}

TEST(Flip, AbsentParametersResetTheFlags) {
    CNodeUnderTest node("Flip");
    node.Set("flip_x", true).Input(0, Bytes(2, 1, {1, 2})).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{2, 1}));
    node.Unset("flip_x").RunAgain();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{2, 1})) << "only NodeInit reads parameters";
    node.Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{1, 2}));
}

TEST(Flip, TakesFlagsOfOtherKindsAsTheHostConvertsThem) {
    CNodeUnderTest node("Flip");
    node.Input(0, Bytes(2, 1, {1, 2}));
    EXPECT_EQ(BytesOf(node.Set("flip_x", 3).Run().Output()), (std::vector<std::uint8_t>{2, 1}));
    EXPECT_EQ(BytesOf(node.Set("flip_x", 0.0).Run().Output()), (std::vector<std::uint8_t>{1, 2}));
    EXPECT_EQ(BytesOf(node.Set("flip_x", "true").Run().Output()), (std::vector<std::uint8_t>{1, 2}));
}

TEST(Flip, AgreesWithThePlainLoopOnRandomImages) {
    std::mt19937 random(20260401);
    for (int round = 0; round < 400; ++round) {
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
        const CSize size(extent(round % 10 == 0 ? 300 : 40), extent(6), extent(4));
        const auto types = TypesWithout({IMAGE_GREY_64, IMAGE_RGB_8});
        const IImage::CType type = types[random() % types.size()];
        const bool flipX = random() % 2 == 0;
        const bool flipY = random() % 2 == 0;
        const bool flipZ = random() % 2 == 0;
        CNodeUnderTest node("Flip");
        node.Set("flip_x", flipX).Set("flip_y", flipY).Set("flip_z", flipZ);
        node.Input(0, RandomImage(type, size, random));
        const auto before = BytesOf(node.InputImage(0));
        node.Run();
        EXPECT_EQ(BytesOf(node.InputImage(0)), before) << "the input has changed";
        const auto expect = [&]<class T>(T) {
            EXPECT_EQ(ElementsOf<T>(node.Output()), PlainFlip<T>(node.InputImage(0), flipX, flipY, flipZ));
        };
        switch (type.pixelBytes) {
        case 1:
            expect(std::uint8_t{});
            break;
        case 2:
            expect(std::uint16_t{});
            break;
        case 4:
            expect(std::uint32_t{});
            break;
        default:
            expect(std::uint64_t{});
        }
    }
}

} // namespace
} // namespace QUOR::test
