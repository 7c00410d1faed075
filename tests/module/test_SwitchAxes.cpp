#include "NodeTest.h"

#include <array>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) SwitchAxes::Run";
const std::vector<std::string> kOrders{"XYZ", "XZY", "YXZ", "YZX", "ZYX", "ZXY"};

/// The extents and elements of the result as they are told, element by element.
template <class T> ImagePtr PlainSwitch(const CImage& image, const std::string& order) {
    const std::vector<T> in = ElementsOf<T>(image);
    const CSize& size = image.Size();
    const auto along = [&](std::size_t axis, std::int64_t x, std::int64_t y, std::int64_t z) {
        return order[axis] == 'X' ? x : order[axis] == 'Y' ? y : z;
    };
    const CSize outSize(along(0, size.x, size.y, size.z), along(1, size.x, size.y, size.z),
                        along(2, size.x, size.y, size.z));
    std::vector<T> out(in.size());
    std::size_t element = 0;
    for (std::int64_t z = 0; z < size.z; ++z) {
        for (std::int64_t y = 0; y < size.y; ++y) {
            for (std::int64_t x = 0; x < size.x; ++x) {
                const std::int64_t index =
                    along(0, x, y, z) + outSize.x * (along(1, x, y, z) + outSize.y * along(2, x, y, z));
                out[static_cast<std::size_t>(index)] = in[element++];
            }
        }
    }
    return MakeImage<T>(image.Type(), outSize, out);
}

ImagePtr PlainSwitch(const CImage& image, const std::string& order) {
    switch (image.Type().pixelBytes) {
    case 1:
        return PlainSwitch<std::uint8_t>(image, order);
    case 2:
        return PlainSwitch<std::uint16_t>(image, order);
    default:
        return PlainSwitch<std::uint32_t>(image, order);
    }
}

TEST(SwitchAxes, DescribesItself) {
    const auto setup = DescriptionOf("SwitchAxes");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "SwitchAxes");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PSwitchAxes/index.html");
    EXPECT_FALSE(setup->HasEntry("keywords"));
    EXPECT_FALSE(setup->HasEntry("gui"));
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 1U);
    ASSERT_TRUE(setup->HasEntry("parameters/axes", EnValType::String));
    EXPECT_EQ(setup->EntryString("parameters/axes", ""), "XYZ");
    EXPECT_EQ(MetaText(*setup, "parameters/axes", "val/enValues"), "XYZ, XZY, YXZ, YZX, ZYX, ZXY");
    EXPECT_EQ(MetaText(*setup, "parameters/axes", "gui/boolean"), "(none)");
    const std::string desc = MetaText(*setup, "parameters/axes", "desc");
    const std::string start = "The type of this parameter is of type string. defines the axes to be switched;";
    EXPECT_EQ(desc.substr(0, start.size()), start);
    for (const std::string& word : kOrders) {
        EXPECT_NE(desc.find("\n" + word + ":"), std::string::npos) << word;
    }
    EXPECT_NE(desc.find("transfomation"), std::string::npos);
    EXPECT_NE(desc.find("uniqe"), std::string::npos);
    EXPECT_EQ(setup->Entry("inputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(setup->Entry("outputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, "
                                                     "IMAGE_GREY_32, or IMAGE_MONO_BINARY.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of the same type as the input image.");
    EXPECT_FALSE(setup->Entry("outputs/0", true)->Meta().HasEntry("optional"));
    EXPECT_EQ(UnwrapPointer<CImage>(setup->Entry("inputs/0", true)), nullptr);
    EXPECT_EQ(UnwrapPointer<CImage>(setup->Entry("outputs/0", true)), nullptr);
}

TEST(SwitchAxes, DescriptionTextHoldsItsSections) {
    const std::string text = DescriptionOf("SwitchAxes")->EntryString("description", "").Text();
    EXPECT_TRUE(text.starts_with("BRIEF\nPlugin to switch image axes\n\n"));
    for (const char* header : {"\nINPUT 0\n", "\nOUTPUT 0\n", "\nPARAMETER axes\n"}) {
        EXPECT_NE(text.find(header), std::string::npos) << header;
    }
    for (const char* header : {"KEYWORDS", "NOTE", "SEE ALSO"}) {
        EXPECT_EQ(text.find(header), std::string::npos) << header;
    }
}

TEST(SwitchAxes, NamesTheAxesInTheOrderTold) {
    // Width 3, height 2, depth 2; every element names its place.
    const std::vector<std::uint8_t> in{0, 1, 2, 10, 11, 12, 100, 101, 102, 110, 111, 112};
    const auto expect = [&](const char* order, const CSize& size, const std::vector<std::uint8_t>& elements) {
        CNodeUnderTest node("SwitchAxes");
        node.Set("axes", order).Input(0, MakeImage<std::uint8_t>(IMAGE_GREY_8, CSize(3, 2, 2), in)).Run();
        EXPECT_EQ(node.Output().Size(), size) << order;
        EXPECT_EQ(BytesOf(node.Output()), elements) << order;
    };
    expect("XYZ", CSize(3, 2, 2), in);
    expect("XZY", CSize(3, 2, 2), {0, 1, 2, 100, 101, 102, 10, 11, 12, 110, 111, 112});
    expect("YXZ", CSize(2, 3, 2), {0, 10, 1, 11, 2, 12, 100, 110, 101, 111, 102, 112});
    expect("YZX", CSize(2, 2, 3), {0, 10, 100, 110, 1, 11, 101, 111, 2, 12, 102, 112});
    expect("ZYX", CSize(2, 2, 3), {0, 100, 10, 110, 1, 101, 11, 111, 2, 102, 12, 112});
    expect("ZXY", CSize(2, 3, 2), {0, 100, 1, 101, 2, 102, 10, 110, 11, 111, 12, 112});
}

TEST(SwitchAxes, GivesThreeDimensionsForTwo) {
    CNodeUnderTest node("SwitchAxes");
    node.Input(0, Bytes(2, 3, {0, 1, 10, 11, 20, 21}));
    EXPECT_EQ(node.Run().Output().Size(), CSize(2, 3, 1));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{0, 1, 10, 11, 20, 21}));
    EXPECT_EQ(node.Set("axes", "ZXY").Run().Output().Size(), CSize(1, 2, 3));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{0, 1, 10, 11, 20, 21}));
    EXPECT_EQ(node.Set("axes", "YZX").Run().Output().Size(), CSize(3, 1, 2));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{0, 10, 20, 1, 11, 21}));
}

TEST(SwitchAxes, OppositeOrdersGiveBackTheInput) {
    for (const auto& [there, back] : {std::pair{"ZYX", "ZYX"}, {"ZXY", "YZX"}, {"YZX", "ZXY"}, {"XZY", "XZY"}}) {
        CNodeUnderTest first("SwitchAxes");
        first.Set("axes", there).Input(0, CodedImage(IMAGE_GREY_16, CSize(4, 3, 2))).Run();
        CNodeUnderTest second("SwitchAxes");
        second.Set("axes", back).Input(0, std::make_unique<CImage>(first.Output())).Run();
        EXPECT_TRUE(SameImage(first.InputImage(0), second.Output())) << there;
    }
}

TEST(SwitchAxes, AcceptsItsTypesAndKeepsThem) {
    for (const auto& type : {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG}) {
        CNodeUnderTest node("SwitchAxes");
        node.Set("axes", "YXZ").Input(0, CodedImage(type, CSize(2, 2, 1))).Run();
        EXPECT_EQ(node.Output().Type(), type);
        const std::unique_ptr<const IAccess> access(node.Output().CreateAccess());
        EXPECT_EQ(access->Get(1, 0, 0, 0), 10.0) << type.ToString();
        EXPECT_EQ(access->Get(0, 1, 0, 0), 1.0) << type.ToString();
    }
}

TEST(SwitchAxes, RefusesOtherTypesBeforeItLooksAtTheAxes) {
    const StFailure expected{
        kWhere, "image type is not IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, nor IMAGE_MONO_BINARY"};
    for (const auto& type : {IMAGE_BINARY_BG, IMAGE_GREY_D, IMAGE_GREY_64, IMAGE_RGB_8}) {
        CNodeUnderTest node("SwitchAxes");
        EXPECT_EQ(node.Set("axes", "none").Input(0, ZeroImage(type, CSize(2, 2))).Failure(), expected);
    }
}

TEST(SwitchAxes, RefusesInputsThatAreNoImage) {
    CNodeUnderTest node("SwitchAxes");
    node.Set("axes", "none");
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input 0 is NULL"}));
    EXPECT_EQ(node.Input(0, std::make_unique<CValueLong>(3)).Failure(), (StFailure{kWhere, "input 0 is not an image"}));
    EXPECT_EQ(node.NullImage(0).Failure(), (StFailure{kWhere, "input 0 is null image"}));
}

TEST(SwitchAxes, RefusesEveryOtherText) {
    CNodeUnderTest node("SwitchAxes");
    node.Input(0, Bytes(1, 1, {7}));
    for (const std::string axes : {"xyz", "XY", "XYZX", "", "XXX", "XYZ ", " XYZ", "ZYx", "%1"}) {
        EXPECT_EQ(node.Set("axes", axes.c_str()).Failure(),
                  (StFailure{kWhere, "Unknown transformation '" + axes + "'."}));
    }
    node.Node().Parameters().SetEntry("axes", new CValueString("XYZ\0", 4));
    EXPECT_EQ(node.Failure().where, kWhere);
}

TEST(SwitchAxes, RefusesAnUnknownTextForAnEmptyImage) {
    CNodeUnderTest node("SwitchAxes");
    EXPECT_EQ(node.Set("axes", "abc").Input(0, ZeroImage(IMAGE_GREY_8, CSize(0, 3))).Failure(),
              (StFailure{kWhere, "Unknown transformation 'abc'."}));
}

TEST(SwitchAxes, ReadsItsParameterInNodeInitOnly) {
    CNodeUnderTest node("SwitchAxes");
    node.Set("axes", "YXZ").Input(0, Bytes(2, 1, {1, 2})).Run();
    EXPECT_EQ(node.Output().Size(), CSize(1, 2, 1));
    EXPECT_EQ(node.Unset("axes").RunAgain().Output().Size(), CSize(1, 2, 1));
    EXPECT_EQ(node.Run().Output().Size(), CSize(2, 1, 1));
    node.Set("axes", "YXZ").Run();
    EXPECT_EQ(node.Set("axes", 3).Run().Output().Size(), CSize(2, 1, 1)) << "no text: the default";
}

TEST(SwitchAxes, WithoutNodeInitKeepsTheAxes) {
    CNodeUnderTest node("SwitchAxes");
    EXPECT_EQ(node.Input(0, Bytes(2, 1, {1, 2})).RunAgain().Output().Size(), CSize(2, 1, 1));
}

TEST(SwitchAxes, ServesEmptyImagesOfAnyExtent) {
    constexpr std::int64_t huge = std::int64_t{1} << 40;
    for (const CSize& size : {CSize(0, 3, 2), CSize(3, 0, 2), CSize(3, 2, 0), CSize(0, huge, huge), CSize(0, 0)}) {
        for (const std::string& order : kOrders) {
            CNodeUnderTest node("SwitchAxes");
            node.Set("axes", order.c_str()).Input(0, ZeroImage(IMAGE_GREY_16, size)).Run();
            const std::array<std::int64_t, 3> extents{size.x, size.y, size.z};
            const auto extent = [&](std::size_t axis) { return extents[static_cast<std::size_t>(order[axis] - 'X')]; };
            EXPECT_EQ(node.Output().Size(), CSize(extent(0), extent(1), extent(2)));
        }
    }
}

TEST(SwitchAxes, LeavesAttributesAndInputAlone) {
    CNodeUnderTest node("SwitchAxes");
    auto image = Bytes(2, 2, {1, 2, 3, 4});
    image->Attributes().SetEntry("Image/ContentType", new CValueString(CString("table")));
    node.Set("axes", "YXZ").Input(0, std::move(image)).Run();
    EXPECT_TRUE(node.Output().Attributes().IsEmpty());
    EXPECT_EQ(BytesOf(node.InputImage(0)), (std::vector<std::uint8_t>{1, 2, 3, 4}));
}

TEST(SwitchAxes, AgreesWithThePlainLoop) {
    std::mt19937 random(20260403);
    const std::vector<IImage::CType> types{IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG};
    for (int round = 0; round < 600; ++round) {
        // Planes of several tiles and blocks, thin ones, and axes of a single element in every place.
        std::array<std::int64_t, 3> extents{};
        for (std::int64_t& extent : extents) {
            extent = random() % 4 == 0 ? 1 : static_cast<std::int64_t>(random() % 40 + 1);
        }
        if (round % 8 == 0) {
            extents[random() % 3] = static_cast<std::int64_t>(random() % 600 + 60);
        }
        if (round % 100 == 0) {
            extents = {1100, 130, 1};
            std::swap(extents[random() % 3], extents[random() % 3]);
        }
        const CSize size(extents[0], extents[1], extents[2]);
        const std::string& order = kOrders[random() % kOrders.size()];
        CNodeUnderTest node("SwitchAxes");
        node.Set("axes", order.c_str()).Input(0, RandomImage(types[random() % types.size()], size, random)).Run();
        EXPECT_TRUE(SameImage(*PlainSwitch(node.InputImage(0), order), node.Output())) << order << size.ToString();
    }
}

TEST(SwitchAxes, TransposesWholeTilesOfEachType) {
    std::mt19937 random(20261121);
    for (const auto& type : {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG}) {
        for (const auto& [order, size] : {std::pair{"YXZ", CSize(192, 128, 2)}, {"ZYX", CSize(197, 2, 130)}}) {
            CNodeUnderTest node("SwitchAxes");
            node.Set("axes", order).Input(0, RandomImage(type, size, random)).Run();
            EXPECT_TRUE(SameImage(*PlainSwitch(node.InputImage(0), order), node.Output())) << type.ToString() << order;
        }
    }
}

TEST(SwitchAxes, TransposesRowsAndColumnsOfAnyLength) {
    // About 16 bytes, a cache line, two of them, and as many rows as are moved together.
    std::mt19937 random(20261122);
    for (const auto& [type, bytes] : {std::pair{IMAGE_GREY_8, 1}, {IMAGE_GREY_16, 2}, {IMAGE_GREY_32, 4}}) {
        std::vector<std::int64_t> lengths{1, 2, 128, 129, 256, 261};
        for (const std::int64_t edge : {16 / bytes, 64 / bytes, 128 / bytes}) {
            lengths.insert(lengths.end(), {edge - 1, edge, edge + 1});
        }
        for (const std::int64_t width : lengths) {
            for (const std::int64_t height : lengths) {
                CNodeUnderTest node("SwitchAxes");
                node.Set("axes", "YXZ").Input(0, RandomImage(type, CSize(width, height), random)).Run();
                EXPECT_TRUE(SameImage(*PlainSwitch(node.InputImage(0), "YXZ"), node.Output()))
                    << type.ToString() << " " << width << " x " << height;
            }
        }
    }
}

TEST(SwitchAxes, TransposesPlanesThatBeginWithinABlock) {
    // The rows of the planes x and z follow one another, in numbers that divide neither a line nor a block.
    std::mt19937 random(20261123);
    for (const auto& order : {"ZYX", "YZX", "ZXY"}) {
        for (const std::int64_t width : {3, 20, 64, 150}) {
            for (const std::int64_t depth : {3, 50, 65, 130}) {
                CNodeUnderTest node("SwitchAxes");
                node.Set("axes", order).Input(0, RandomImage(IMAGE_GREY_8, CSize(width, 7, depth), random)).Run();
                EXPECT_TRUE(SameImage(*PlainSwitch(node.InputImage(0), order), node.Output()))
                    << order << " " << width << " x 7 x " << depth;
            }
        }
    }
}

TEST(SwitchAxes, TransposesPlanesBeyondTheCaches) {
    // The rows of the output are whole cache lines, but for the second one.
    std::mt19937 random(20260410);
    for (const auto& [type, size] : {std::pair{IMAGE_GREY_32, CSize(1101, 2064)},
                                     {IMAGE_GREY_32, CSize(1101, 2062)},
                                     {IMAGE_GREY_8, CSize(4097, 2112)}}) {
        CNodeUnderTest node("SwitchAxes");
        node.Set("axes", "YXZ").Input(0, RandomImage(type, size, random)).Run();
        EXPECT_TRUE(SameImage(*PlainSwitch(node.InputImage(0), "YXZ"), node.Output())) << size.ToString();
    }
}

} // namespace
} // namespace QUOR::test
