#include "NodeTest.h"

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) Expand::Run";

/// The mapping as it is told, element by element.
template <class T> std::vector<T> PlainExpand(const CImage& image) {
    const std::vector<T> in = ElementsOf<T>(image);
    const CSize& size = image.Size();
    const std::int64_t depth = size.z == 1 ? 1 : 2 * size.z;
    std::vector<T> out;
    for (std::int64_t z = 0; z < depth; ++z) {
        for (std::int64_t y = 0; y < 2 * size.y; ++y) {
            for (std::int64_t x = 0; x < 2 * size.x; ++x) {
                out.push_back(in[static_cast<std::size_t>(x / 2 + size.x * (y / 2 + size.y * (z / 2)))]);
            }
        }
    }
    return out;
}

TEST(Expand, DescribesItself) {
    const auto setup = DescriptionOf("Expand");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Expand");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PExpand/index.html");
    EXPECT_FALSE(setup->HasEntry("keywords"));
    EXPECT_FALSE(setup->HasEntry("gui"));
    ASSERT_TRUE(setup->HasEntry("parameters", EnValType::Map));
    EXPECT_TRUE(setup->Entry("parameters", true)->Map()->IsEmpty()) << "run_once is read, but not declared";
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, "
                                                     "IMAGE_GREY_32, or IMAGE_MONO_BINARY.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of the same type as the input image.");
    EXPECT_FALSE(setup->Entry("outputs/0", true)->Meta().HasEntry("optional"));
    EXPECT_EQ(setup->Entry("inputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(setup->Entry("outputs", true)->Map()->Size(), 1U);
}

TEST(Expand, DescriptionTextHoldsItsSectionsInOrder) {
    const std::string text = DescriptionOf("Expand")->EntryString("description", "").Text();
    std::size_t position = 0;
    for (const char* part : {"BRIEF\nExpands an image to its double size in each direction.\n\n"
                             "Expands an image to twice its width, height an depth by duplicating its\n"
                             "rows, columns and slices. In case of a 2d image only width and height\n"
                             "are being doubled.\n",
                             "\nINPUT 0\n", "\nOUTPUT 0\n",
                             "\nSEE ALSO\nShrink: reduces the size of an image by a factor\n"
                             "of two in all directions."}) {
        const std::size_t found = text.find(part, position);
        ASSERT_NE(found, std::string::npos) << part;
        position = found;
    }
    EXPECT_EQ(text.find("KEYWORDS"), std::string::npos);
}

TEST(Expand, RepeatsElementsOfAPlane) {
    CNodeUnderTest node("Expand");
    node.Input(0, Bytes(2, 1, {5, 7})).Run();
    EXPECT_EQ(node.Output().Size(), CSize(4, 2, 1));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{5, 5, 7, 7, 5, 5, 7, 7}));
}

TEST(Expand, RepeatsRowsAndPlanesOfAVolume) {
    CNodeUnderTest node("Expand");
    node.Input(0, CodedImage(IMAGE_GREY_8, CSize(2, 2, 2))).Run();
    EXPECT_EQ(node.Output().Size(), CSize(4, 4, 4));
    const std::vector<std::uint8_t> plane0{0, 0, 1, 1, 0, 0, 1, 1, 10, 10, 11, 11, 10, 10, 11, 11};
    std::vector<std::uint8_t> expected;
    for (int z = 0; z < 4; ++z) {
        for (const std::uint8_t element : plane0) {
            expected.push_back(static_cast<std::uint8_t>(element + (z < 2 ? 0 : 100)));
        }
    }
    EXPECT_EQ(BytesOf(node.Output()), expected);
}

TEST(Expand, KeepsADepthOfOneAndCountsThreeDimensions) {
    CNodeUnderTest node("Expand");
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(3, 2))).Run().Output().Size(), CSize(6, 4, 1));
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(3, 2, 1))).Run().Output().Size(), CSize(6, 4, 1));
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(3, 2, 3))).Run().Output().Size(), CSize(6, 4, 6));
}

TEST(Expand, ServesEmptyImagesOfAnyExtent) {
    constexpr std::int64_t huge = std::int64_t{1} << 40;
    const auto sizeOf = [](const CSize& size) {
        CNodeUnderTest node("Expand");
        node.Input(0, ZeroImage(IMAGE_GREY_16, size)).Run();
        EXPECT_EQ(node.Output().Buffer().Size(), 0U);
        return node.Output().Size();
    };
    EXPECT_EQ(sizeOf(CSize(0, 3, 2)), CSize(0, 6, 4));
    EXPECT_EQ(sizeOf(CSize(3, 0, 1)), CSize(6, 0, 1));
    EXPECT_EQ(sizeOf(CSize(3, 2, 0)), CSize(6, 4, 0));
    EXPECT_EQ(sizeOf(CSize(0, huge, huge)), CSize(0, 2 * huge, 2 * huge));
}

TEST(Expand, RefusesAnExtentWhoseDoubleNoImageCanHave) {
    CNodeUnderTest node("Expand");
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(std::int64_t{1} << 62, 0, 1)));
    EXPECT_EQ(node.Failure().where, "CImage");
}

TEST(Expand, AcceptsItsTypesAndKeepsThem) {
    for (const auto& type : {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG}) {
        CNodeUnderTest node("Expand");
        node.Input(0, CodedImage(type, CSize(2, 1))).Run();
        EXPECT_EQ(node.Output().Type(), type);
        const std::unique_ptr<const IAccess> access(node.Output().CreateAccess());
        EXPECT_EQ(access->Get(1, 1, 0, 0), 0.0) << type.ToString();
        EXPECT_EQ(access->Get(2, 1, 0, 0), 1.0) << type.ToString();
    }
}

TEST(Expand, RefusesOtherTypes) {
    const StFailure expected{kWhere, "image type is not IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, nor "
                                     "IMAGE_MONO_BINARY"};
    for (const auto& type : {IMAGE_GREY_64, IMAGE_GREY_D, IMAGE_BINARY_BG, IMAGE_RGB_8}) {
        CNodeUnderTest node("Expand");
        EXPECT_EQ(node.Input(0, ZeroImage(type, CSize(2, 2))).Failure(), expected) << type.ToString();
        EXPECT_EQ(node.Input(0, ZeroImage(type, CSize(0, 2))).Failure(), expected) << type.ToString();
    }
}

TEST(Expand, RefusesWhatIsNoImage) {
    CNodeUnderTest node("Expand");
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input 0 is NULL"}));
    EXPECT_EQ(node.NullImage(0).Failure(), (StFailure{kWhere, "input 0 is NULL"}));
    node.Input(0, std::make_unique<CValueLong>(3));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input 0 is not an image"}));
}

TEST(Expand, GivesNoAttributesAndKeepsEveryBit) {
    const std::vector<std::uint32_t> bits{0x7FA00001U, 0x80000000U};
    auto image = MakeImage<std::uint32_t>(IMAGE_GREY_F, CSize(2, 1), bits);
    image->Attributes().SetEntry("Image/ContentType", new CValueString(CString("table")));
    CNodeUnderTest node("Expand");
    node.Input(0, std::move(image)).Run();
    EXPECT_TRUE(node.Output().Attributes().IsEmpty());
    EXPECT_EQ(ElementsOf<std::uint32_t>(node.Output()),
              (std::vector<std::uint32_t>{bits[0], bits[0], bits[1], bits[1], bits[0], bits[0], bits[1], bits[1]}));
}

TEST(Expand, RunOnceWorksOnceUntilInitialisedAgain) {
    CNodeUnderTest node("Expand");
    node.Set("run_once", true);
    EXPECT_EQ(node.Failure().what, "input 0 is NULL") << "a failed run doesn't count";
    node.Input(0, Bytes(1, 1, {3}));
    EXPECT_TRUE(node.RunAgain().HasOutput());
    EXPECT_FALSE(node.RunAgain().HasOutput());
    EXPECT_FALSE(node.NoInput(0).RunAgain().HasOutput()) << "not even the input is looked at";
    node.Input(0, Bytes(1, 1, {4}));
    EXPECT_EQ(BytesOf(node.Run().Output()), (std::vector<std::uint8_t>{4, 4, 4, 4}));
    node.Unset("run_once").Run();
    EXPECT_TRUE(node.RunAgain().HasOutput()) << "an absent run_once is false";
}

TEST(Expand, AgreesWithThePlainLoopOnRandomImages) {
    std::mt19937 random(20260402);
    for (int round = 0; round < 300; ++round) {
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
        const CSize size(extent(round % 10 == 0 ? 700 : 40), extent(6), extent(4));
        const std::vector<IImage::CType> types{IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32,
                                               IMAGE_BINARY_FG};
        const IImage::CType type = types[random() % types.size()];
        CNodeUnderTest node("Expand");
        node.Input(0, RandomImage(type, size, random));
        const auto before = BytesOf(node.InputImage(0));
        node.Run();
        EXPECT_EQ(BytesOf(node.InputImage(0)), before) << "the input has changed";
        const auto expect = [&]<class T>(T) {
            EXPECT_EQ(ElementsOf<T>(node.Output()), PlainExpand<T>(node.InputImage(0)));
        };
        switch (type.pixelBytes) {
        case 1:
            expect(std::uint8_t{});
            break;
        case 2:
            expect(std::uint16_t{});
            break;
        default:
            expect(std::uint32_t{});
        }
    }
}

} // namespace
} // namespace QUOR::test
