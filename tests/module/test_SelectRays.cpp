#include "NodeTest.h"

#include <algorithm>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) SelectRays";
constexpr const char* kPlanes = "input image is of multichannel noninterleaved type, not supported (yet)";
constexpr const char* kWrongType = "first input image is not of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, "
                                   "IMAGE_GREY_32, nor IMAGE_BINARY_FG.";
constexpr const char* kWrongSelect = "select image is not of type IMAGE_GREY_F or IMAGE_GREY_8, or IMAGE_BINARY_FG.";
constexpr const char* kWrongSize = "select image has different plane size from input image";

/// A type with all its fields, whose kind is no constant's.
constexpr std::uint16_t kOtherKind = 77;
IImage::CType CustomType(int channels, int channelBytes, bool interleaved, int kind = kOtherKind) {
    return {"IMAGE_CUSTOM", static_cast<std::uint16_t>(channels), static_cast<std::uint16_t>(channelBytes), interleaved,
            static_cast<std::uint16_t>(kind)};
}

/// A volume of the extents 3 x 2 x 2 whose elements tell their coordinates.
ImagePtr Volume(const IImage::CType& type = IMAGE_GREY_8) { return CodedImage(type, CSize(3, 2, 2)); }

TEST(SelectRays, DescribesItself) {
    const auto setup = DescriptionOf("SelectRays");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "SelectRays");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PSelectRays/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "ray|extract|select|delete");
    ASSERT_TRUE(setup->HasEntry("parameters", EnValType::Map));
    EXPECT_TRUE(setup->Entry("parameters", true)->Map()->IsEmpty());
    EXPECT_FALSE(setup->HasEntry("gui"));
    EXPECT_EQ(setup->Entry("inputs", true)->Map()->Size(), 2U);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image of type IMAGE_GREY_F or IMAGE_GREY_8.");
    EXPECT_EQ(MetaText(*setup, "inputs/1", "label"), "Label image of type IMAGE_GREY_F or IMAGE_GREY_8.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_FALSE(setup->Entry("inputs/1", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(setup->Entry("outputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"),
              "Output image of the same type as the input image, but of smaller size.");
}

TEST(SelectRays, DescriptionTextHoldsItsPhrasesInOrder) {
    const std::string text = DescriptionOf("SelectRays")->EntryString("description", "").Text();
    EXPECT_EQ(text.find("BRIEF\nExtract image rays marked by label image.\n\n"), 0U);
    std::size_t position = 0;
    for (const char* phrase :
         {"A ray is an one-dimensional image subsection in Z-direction, similar to rows and columns.",
          "The output image contains these rays arranged in the Y-direction,\n"
          "that is, the output image has the same depth as the first input image,\n"
          "the height corresponds to the number of non-zeros in the label image, and width is 1.",
          "\nINPUT 0\n", "\nINPUT 1\n", "\nOUTPUT 0\n",
          "\nNOTE\nresult image is zero-sized if not rays are marked by the label image\n",
          "\nKEYWORDS\nray, extract, select, delete\n"}) {
        const std::size_t found = text.find(phrase, position);
        ASSERT_NE(found, std::string::npos) << phrase;
        position = found;
    }
}

TEST(SelectRays, PacksMarkedRaysInStorageOrder) {
    CNodeUnderTest node("SelectRays");
    node.Input(0, Volume()).Input(1, Bytes(3, 2, {0, 1, 0, 255, 0, 7})).Run();
    EXPECT_EQ(node.Output().Size(), CSize(1, 3, 2));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{1, 10, 12, 101, 110, 112}));
}

TEST(SelectRays, AllMarkedGivesEachSliceAsAColumn) {
    CNodeUnderTest node("SelectRays");
    node.Input(0, Volume()).Input(1, MakeImage<std::uint8_t>(IMAGE_BINARY_FG, CSize(3, 2), {1, 1, 1, 1, 1, 1})).Run();
    EXPECT_EQ(node.Output().Size(), CSize(1, 6, 2));
    EXPECT_EQ(BytesOf(node.Output()), BytesOf(node.InputImage(0)));
}

TEST(SelectRays, WithoutMarksGivesAnEmptyImage) {
    CNodeUnderTest node("SelectRays");
    node.Input(0, Volume(IMAGE_GREY_16)).Input(1, ZeroImage(IMAGE_GREY_8, CSize(3, 2))).Run();
    EXPECT_EQ(node.Output().Size(), CSize(0, 0, 0));
    EXPECT_EQ(node.Output().Type(), IMAGE_GREY_16);
}

TEST(SelectRays, FloatMarksAreAllButZeros) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    CNodeUnderTest node("SelectRays");
    node.Input(0, Volume());
    node.Input(1, Floats(3, 2, {-0.0F, nan, 0.0F, 1e-45F, -1.0F, std::numeric_limits<float>::infinity()})).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{1, 10, 11, 12, 101, 110, 111, 112}));
}

TEST(SelectRays, OnlyTheFirstSliceOfTheSelectImageCounts) {
    CNodeUnderTest node("SelectRays");
    node.Input(0, Volume());
    node.Input(1, MakeImage<std::uint8_t>(IMAGE_GREY_8, CSize(3, 2, 3),
                                          {0, 0, 1, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}));
    EXPECT_EQ(BytesOf(node.Run().Output()), (std::vector<std::uint8_t>{2, 102}));
    node.Input(1, MakeImage<float>(IMAGE_GREY_F, CSize(3, 2, 2), {0, 0, 0, 0, 1, 0, 1, 1, 1, 1, 1, 1}));
    EXPECT_EQ(BytesOf(node.Run().Output()), (std::vector<std::uint8_t>{11, 111}));
    node.Input(1, ZeroImage(IMAGE_GREY_8, CSize(3, 2, 0)));
    EXPECT_EQ(node.Run().Output().Size(), CSize(0, 0, 0)) << "without a slice nothing is marked";
}

TEST(SelectRays, MovesWholeElementsOfAnyTypeOf1To8Bytes) {
    // Byte k of element n is 16 n + k.
    const std::vector<IImage::CType> types{IMAGE_GREY_8,           IMAGE_GREY_16,          IMAGE_GREY_32,
                                           IMAGE_GREY_64,          IMAGE_GREY_F,           IMAGE_GREY_D,
                                           IMAGE_BINARY_FG,        IMAGE_BINARY_BG,        CustomType(2, 1, true),
                                           CustomType(4, 1, true), CustomType(2, 2, true), CustomType(2, 4, true),
                                           CustomType(8, 1, true), CustomType(1, 8, true), CustomType(1, 2, false)};
    for (const IImage::CType& type : types) {
        std::vector<std::uint8_t> in;
        std::vector<std::uint8_t> expected;
        for (int element = 0; element < 4; ++element) {
            for (int byte = 0; byte < type.pixelBytes; ++byte) {
                in.push_back(static_cast<std::uint8_t>(16 * element + byte));
                if (element % 2 == 1) {
                    expected.push_back(in.back());
                }
            }
        }
        CNodeUnderTest node("SelectRays");
        auto image = MakeImage<std::uint8_t>(type, CSize(2, 1, 2), in);
        image->Attributes().SetEntry("key", new CValueLong(1));
        node.Input(0, std::move(image)).Input(1, Bytes(2, 1, {0, 1})).Run();
        EXPECT_EQ(node.Output().Type(), type);
        EXPECT_EQ(node.Output().Size(), CSize(1, 1, 2));
        EXPECT_EQ(BytesOf(node.Output()), expected) << type.channels << " x " << type.channelBytes;
        EXPECT_TRUE(node.Output().Attributes().IsEmpty());
        EXPECT_EQ(BytesOf(node.InputImage(0)), in);
    }
}

TEST(SelectRays, RefusesElementsOfOtherWidths) {
    for (const auto& type : {CustomType(1, 3, false), CustomType(3, 1, true), CustomType(3, 2, true),
                             CustomType(2, 8, true), CustomType(0, 1, true)}) {
        CNodeUnderTest node("SelectRays");
        node.Input(0, ZeroImage(type, CSize(2, 1))).Input(1, Bytes(2, 1, {0, 1}));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, kWrongType})) << type.channels << " x " << type.channelBytes;
    }
}

TEST(SelectRays, OddWidthsOfAcceptedKindsFailOnlyIfARayIsMarked) {
    for (const int kind : {2, 5, 6, 7, 8}) {
        for (const auto& type :
             {CustomType(1, 3, false, kind), CustomType(3, 1, true, kind), CustomType(0, 4, true, kind),
              CustomType(1000, 64, true, kind), CustomType(255, 255, true, kind)}) {
            for (const std::int64_t depth : {0, 1}) {
                CNodeUnderTest node("SelectRays");
                node.Input(0, ZeroImage(type, CSize(2, 1, depth))).Input(1, Bytes(2, 1, {0, 1}));
                EXPECT_EQ(node.Failure(), (StFailure{kWhere, kWrongType})) << kind;
                node.Input(1, Bytes(2, 1, {0, 0})).Run();
                EXPECT_EQ(node.Output().Size(), CSize(0, 0, 0)) << kind;
            }
        }
    }
}

TEST(SelectRays, RefusesPlanesOfChannels) {
    for (const auto& type : {IMAGE_RGB_8, CustomType(2, 1, false), CustomType(2, 1, false, 5)}) {
        CNodeUnderTest node("SelectRays");
        node.Input(0, ZeroImage(type, CSize(2, 1))).Input(1, Bytes(2, 1, {0, 1}));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, kPlanes}));
    }
}

TEST(SelectRays, RefusesOtherSelectImages) {
    for (const auto& type : TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_BINARY_FG})) {
        CNodeUnderTest node("SelectRays");
        node.Input(0, Volume()).Input(1, ZeroImage(type, CSize(3, 2)));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, kWrongSelect})) << type.ToString();
    }
}

TEST(SelectRays, RefusesAnotherPlaneSize) {
    for (const CSize& size : {CSize(2, 2), CSize(3, 1), CSize(2, 3), CSize(0, 0)}) {
        CNodeUnderTest node("SelectRays");
        node.Input(0, Volume()).Input(1, ZeroImage(IMAGE_GREY_8, size));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, kWrongSize})) << size.ToString();
    }
}

TEST(SelectRays, ChecksInputsStepByStep) {
    const auto number = [] { return std::make_unique<CValueLong>(3); };
    CNodeUnderTest node("SelectRays");
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image is NULL"}));
    EXPECT_EQ(node.Input(0, number()).Failure(), (StFailure{kWhere, "select image is NULL"}));
    EXPECT_EQ(node.Input(1, number()).Failure(), (StFailure{kWhere, "input 0 is not an image"}));
    EXPECT_EQ(node.NullImage(0).Failure(), (StFailure{kWhere, "input 1 is not an image"}));
    EXPECT_EQ(node.NullImage(1).Failure(), (StFailure{kWhere, "input image is NULL"}));
    EXPECT_EQ(node.Input(0, ZeroImage(CustomType(3, 1, false), CSize(2, 2))).Failure(), (StFailure{kWhere, kPlanes}));
    EXPECT_EQ(node.Input(0, ZeroImage(CustomType(3, 1, true), CSize(2, 2))).Failure(), (StFailure{kWhere, kWrongType}));
    EXPECT_EQ(node.Input(0, Bytes(2, 1, {1, 2})).Failure(), (StFailure{kWhere, "select image is NULL"}));
    EXPECT_EQ(node.Input(1, ZeroImage(IMAGE_GREY_16, CSize(1, 1))).Failure(), (StFailure{kWhere, kWrongSelect}));
    EXPECT_EQ(node.Input(1, Bytes(1, 1, {1})).Failure(), (StFailure{kWhere, kWrongSize}));
    EXPECT_EQ(BytesOf(node.Input(1, Bytes(2, 1, {0, 1})).Run().Output()), (std::vector<std::uint8_t>{2}));
}

TEST(SelectRays, ReadsNoMoreOfASelectImageThanItHolds) {
    // Types that are accepted for their kind alone: the node reads bytes, or floats for kind 8.
    struct StRow {
        IImage::CType type;
        std::vector<std::uint8_t> bytes;
        std::vector<std::uint8_t> expected;
    };
    const std::vector<StRow> rows{
        {CustomType(1, 2, false, 5), {0, 1, 0, 0, 9, 9, 9, 9}, {1}},
        {CustomType(1, 1, false, 8), {0, 0, 128, 63}, {0}},
        {CustomType(1, 2, false, 8), {0, 0, 0, 0, 0, 0, 128, 63}, {1}},
        {CustomType(0, 1, false, 5), {}, {}},
    };
    for (const StRow& row : rows) {
        CNodeUnderTest node("SelectRays");
        node.Input(0, Bytes(4, 1, {0, 1, 2, 3}));
        node.Input(1, MakeImage<std::uint8_t>(row.type, CSize(4, 1), row.bytes)).Run();
        EXPECT_EQ(BytesOf(node.Output()), row.expected) << row.type.channelBytes << ", kind " << row.type.kind;
    }
}

TEST(SelectRays, ServesEmptyVolumes) {
    constexpr std::int64_t huge = std::int64_t{1} << 62;
    struct StRow {
        CSize volume;
        CSize select;
        CSize expected;
    };
    const std::vector<StRow> rows{
        {CSize(2, 1, 0), CSize(2, 1), CSize(1, 2, 0)},
        {CSize(0, 3, 2), CSize(0, 3), CSize(0, 0, 0)},
        {CSize(0, huge, huge), CSize(0, huge, huge), CSize(0, 0, 0)},
        {CSize(huge, huge, 0), CSize(huge, huge, 0), CSize(0, 0, 0)},
    };
    for (const StRow& row : rows) {
        CNodeUnderTest node("SelectRays");
        auto select = ZeroImage(IMAGE_GREY_8, row.select);
        select->Buffer().Set(1);
        node.Input(0, ZeroImage(IMAGE_GREY_32, row.volume)).Input(1, std::move(select)).Run();
        EXPECT_EQ(node.Output().Size(), row.expected) << row.volume.ToString();
    }
}

/// The packing as it is told, ray by ray and byte by byte.
std::vector<std::uint8_t> PlainSelect(const CImage& image, const std::vector<bool>& marks) {
    const std::vector<std::uint8_t> in = BytesOf(image);
    const std::size_t bytes = image.Type().pixelBytes;
    const auto plane = static_cast<std::size_t>(image.Size().x * image.Size().y);
    const auto depth = static_cast<std::size_t>(image.Size().z);
    const auto n = static_cast<std::size_t>(std::count(marks.begin(), marks.end(), true));
    std::vector<std::uint8_t> out(n * depth * bytes);
    std::size_t k = 0;
    for (std::size_t ray = 0; ray < plane; ++ray) {
        if (marks[ray]) {
            for (std::size_t z = 0; z < depth; ++z) {
                for (std::size_t byte = 0; byte < bytes; ++byte) {
                    out[(k + n * z) * bytes + byte] = in[(ray + plane * z) * bytes + byte];
                }
            }
            ++k;
        }
    }
    return out;
}

TEST(SelectRays, AgreesWithThePlainLoopOnRandomImages) {
    std::mt19937 random(49);
    const std::vector<IImage::CType> types{IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32,
                                           IMAGE_GREY_F, IMAGE_GREY_64, CustomType(2, 1, true)};
    for (int round = 0; round < 300; ++round) {
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
        const CSize size(extent(round % 5 == 0 ? 500 : 60), extent(40), extent(4));
        // Marks come in runs, from single ones to whole planes.
        const unsigned change = std::vector<unsigned>{2, 5, 40, 3000}[random() % 4];
        std::vector<bool> marks;
        bool mark = random() % 2 == 0;
        for (std::int64_t i = 0; i < size.x * size.y; ++i) {
            mark = mark != (random() % change == 0);
            marks.push_back(mark);
        }
        CNodeUnderTest node("SelectRays");
        node.Input(0, RandomImage(types[random() % types.size()], size, random));
        if (random() % 2 == 0) {
            std::vector<std::uint8_t> bytes;
            for (const bool isMark : marks) {
                bytes.push_back(isMark ? static_cast<std::uint8_t>(random() % 255 + 1) : std::uint8_t{0});
            }
            node.Input(1, Bytes(size.x, size.y, bytes));
        } else {
            std::vector<float> floats;
            for (const bool isMark : marks) {
                floats.push_back(isMark ? -0.25F : (random() % 2 == 0 ? 0.0F : -0.0F));
            }
            node.Input(1, Floats(size.x, size.y, floats));
        }
        node.Run();
        const auto selected = std::count(marks.begin(), marks.end(), true);
        ASSERT_EQ(node.Output().Size(), selected == 0 ? CSize(0, 0, 0) : CSize(1, selected, size.z));
        ASSERT_EQ(BytesOf(node.Output()), PlainSelect(node.InputImage(0), marks)) << size.ToString();
    }
}

} // namespace
} // namespace QUOR::test
