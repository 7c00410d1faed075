#include "NodeTest.h"

#include <algorithm>
#include <array>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) AutoCrop";
const StFailure kMissing{kWhere, "input image is NULL"};
const StFailure kNoImage{kWhere, "input 0 is not an image"};
const StFailure kWrongType{kWhere, "input image is not of type IMAGE_GREY_F, IMAGE_GREY_8, or IMAGE_BINARY_FG"};

using Grid = std::vector<std::uint8_t>;
/// offset_x, offset_y, offset_z, size_x, size_y, size_z
using Cropping = std::array<int, 6>;

constexpr std::array<const char*, 6> kKeys{"offset_x", "offset_y", "offset_z", "size_x", "size_y", "size_z"};

Cropping CroppingOf(const CNodeUnderTest& node) {
    const CValue* value = node.OutputValue(1);
    if (value == nullptr || value->GenericType() != EnValType::Map) {
        throw std::runtime_error("output 1 is no map");
    }
    const CValueMap& map = *value->Map();
    EXPECT_EQ(map.Size(), kKeys.size());
    Cropping cropping{};
    for (std::size_t number = 0; number < kKeys.size(); ++number) {
        EXPECT_TRUE(map.HasEntry(kKeys[number], typeid(CValueLong))) << kKeys[number];
        cropping[number] = map.EntryLong(kKeys[number], -99);
    }
    return cropping;
}

/// A node that has cropped the image.
struct StCropped {
    explicit StCropped(ImagePtr image) : node("Autocrop") { node.Input(0, std::move(image)).Run(); }
    const CImage& Image() const { return node.Output(); }
    const CSize& Size() const { return Image().Size(); }
    Cropping Map() const { return CroppingOf(node); }

    CNodeUnderTest node;
};

TEST(Autocrop, DescribesItself) {
    const auto setup = DescriptionOf("Autocrop");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Autocrop");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PAutocrop/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "crop|automatic|extract inner|remove border");
    EXPECT_TRUE(setup->Entry("parameters", true)->Map()->IsEmpty());
    EXPECT_FALSE(setup->HasEntry("gui"));

    ASSERT_EQ(setup->Entry("inputs", true)->Map()->Size(), 1U);
    ASSERT_EQ(setup->Entry("outputs", true)->Map()->Size(), 2U);
    EXPECT_EQ(UnwrapPointer<CImage>(setup->Entry("inputs/0", true)), nullptr);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image of type IMAGE_GREY_F or IMAGE_GREY_8.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(UnwrapPointer<CImage>(setup->Entry("outputs/0", true)), nullptr);
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of the same type as the input image.");
    EXPECT_FALSE(setup->Entry("outputs/0", true)->Meta().HasEntry("optional"));
    ASSERT_TRUE(setup->HasEntry("outputs/1", EnValType::Map));
    EXPECT_TRUE(setup->Entry("outputs/1", true)->Map()->IsEmpty());
    EXPECT_EQ(MetaText(*setup, "outputs/1", "label"),
              "Map with cropping details. The map contains the following entries:\n"
              "offset_x, offset_y, offset_z, size_x, size_y, size_z.");
    EXPECT_FALSE(setup->Entry("outputs/1", true)->Meta().HasEntry("optional"));
}

TEST(Autocrop, DescriptionTextHoldsItsSectionsInOrder) {
    const std::string text = DescriptionOf("Autocrop")->EntryString("description", "").Text();
    EXPECT_TRUE(text.starts_with(
        "BRIEF\nAutomatically crop an image to the smallest bounding box of its non zero foreground.\n\n"));
    std::size_t position = 0;
    for (const char* header : {"\nINPUT 0\n", "\nOUTPUT 0\n", "\nOUTPUT 1\n",
                               "\nNOTE\nThe map in the second output can be used as an input for Extract node.\n",
                               "\nKEYWORDS\ncrop, automatic, extract inner, remove border\n", "\nSEE ALSO\nExtract"}) {
        const std::size_t found = text.find(header, position);
        ASSERT_NE(found, std::string::npos) << header;
        position = found;
    }
    EXPECT_EQ(text.find("PARAMETER"), std::string::npos);
}

TEST(Autocrop, CutsAPlaneToItsForeground) {
    const StCropped crop(Bytes(5, 4,
                               {
                                   0, 0, 0, 0, 0, //
                                   0, 0, 7, 0, 0, //
                                   0, 8, 0, 9, 0, //
                                   0, 0, 0, 0, 0, //
                               }));
    EXPECT_EQ(crop.Map(), (Cropping{1, 1, 0, 3, 2, 1}));
    EXPECT_EQ(crop.Size(), CSize(3, 2, 1)) << "3d, although the input is 2d";
    EXPECT_EQ(BytesOf(crop.Image()), (Grid{0, 7, 0, 8, 0, 9}));
}

// Every side of the box comes from another slice, and none from the first element or the last.
TEST(Autocrop, CutsAVolumeToItsForeground) {
    auto image = ZeroImage(IMAGE_GREY_8, CSize(7, 6, 5));
    const std::unique_ptr<IAccess> access(image->CreateAccess());
    access->Set(3, 3, 1, 0, 11); // front
    access->Set(1, 3, 2, 0, 12); // left
    access->Set(3, 1, 2, 0, 13); // top
    access->Set(5, 2, 2, 0, 14); // right
    access->Set(3, 4, 2, 0, 15); // bottom
    access->Set(4, 3, 3, 0, 16); // back
    const StCropped crop(std::move(image));
    EXPECT_EQ(crop.Map(), (Cropping{1, 1, 1, 5, 4, 3}));
    EXPECT_EQ(crop.Size(), CSize(5, 4, 3));
    EXPECT_EQ(BytesOf(crop.Image()), (Grid{
                                         0,  0, 0,  0,  0,  //
                                         0,  0, 0,  0,  0,  //
                                         0,  0, 11, 0,  0,  //
                                         0,  0, 0,  0,  0,  //
                                         0,  0, 13, 0,  0,  //
                                         0,  0, 0,  0,  14, //
                                         12, 0, 0,  0,  0,  //
                                         0,  0, 15, 0,  0,  //
                                         0,  0, 0,  0,  0,  //
                                         0,  0, 0,  0,  0,  //
                                         0,  0, 0,  16, 0,  //
                                         0,  0, 0,  0,  0,  //
                                     }));
}

TEST(Autocrop, CutsToASingleElement) {
    auto image = ZeroImage(IMAGE_GREY_8, CSize(6, 7));
    static_cast<std::uint8_t*>(image->Buffer().Data())[3 + 6 * 4] = 200;
    const StCropped crop(std::move(image));
    EXPECT_EQ(crop.Map(), (Cropping{3, 4, 0, 1, 1, 1}));
    EXPECT_EQ(crop.Size(), CSize(1, 1, 1));
    EXPECT_EQ(BytesOf(crop.Image()), Grid{200});
}

TEST(Autocrop, GivesAnImageWithOppositeCornersWhole) {
    for (const bool falling : {true, false}) {
        Grid in(24, 0);
        in[falling ? 0 : 3] = 1;
        in[falling ? 23 : 20] = 2;
        const StCropped crop(MakeImage<std::uint8_t>(IMAGE_BINARY_FG, CSize(4, 3, 2), in));
        EXPECT_EQ(crop.Map(), (Cropping{0, 0, 0, 4, 3, 2}));
        EXPECT_EQ(crop.Size(), CSize(4, 3, 2));
        EXPECT_EQ(crop.Image().Type(), IMAGE_BINARY_FG);
        EXPECT_EQ(BytesOf(crop.Image()), in);
    }
}

TEST(Autocrop, GivesAZeroAndTheExtentsWithoutForeground) {
    const struct {
        CSize size;
        Cropping map;
    } rows[] = {
        {CSize(5, 4, 3), {5, 4, 3, 1, 1, 1}},  {CSize(5, 4), {5, 4, 1, 1, 1, 1}},
        {CSize(1, 1, 1), {1, 1, 1, 1, 1, 1}},  {CSize(1, 9), {1, 9, 1, 1, 1, 1}},
        {CSize(600, 3), {600, 3, 1, 1, 1, 1}},
    };
    for (const auto& row : rows) {
        for (const auto& type : {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_BINARY_FG}) {
            const StCropped crop(ZeroImage(type, row.size));
            EXPECT_EQ(crop.Map(), row.map);
            EXPECT_TRUE(SameImage(*ZeroImage(type, CSize(1, 1, 1)), crop.Image()));
        }
    }
}

// Offsets keep their low 32 bits.
TEST(Autocrop, GivesAZeroAndTheExtentsForAnImageWithoutElements) {
    constexpr std::int64_t huge = std::int64_t{1} << 62;
    const struct {
        CSize size;
        Cropping map;
    } rows[] = {
        {CSize(0, 0, 0), {0, 0, 0, 1, 1, 1}},
        {CSize(0, 4, 3), {0, 4, 3, 1, 1, 1}},
        {CSize(5, 0), {5, 0, 1, 1, 1, 1}},
        {CSize(5, 4, 0), {5, 4, 0, 1, 1, 1}},
        {CSize(huge + 7, 0, huge + 9), {7, 0, 9, 1, 1, 1}},
        {CSize(0, 0xFFFFFFFFLL, 0x80000000LL), {0, -1, std::numeric_limits<int>::min(), 1, 1, 1}},
    };
    for (const auto& row : rows) {
        const StCropped crop(ZeroImage(IMAGE_GREY_8, row.size));
        EXPECT_EQ(crop.Map(), row.map);
        EXPECT_TRUE(SameImage(*ZeroImage(IMAGE_GREY_8, CSize(1, 1, 1)), crop.Image()));
    }
}

TEST(Autocrop, TestsFloatsByValueAndKeepsTheirBits) {
    const struct {
        std::uint32_t bits;
        bool isForeground;
    } rows[] = {
        {0x00000000U, false}, // 0.0
        {0x80000000U, false}, // -0.0
        {0x00000001U, true},  // the smallest denormal
        {0x80000001U, true},  // and its negative
        {0x7FC00000U, true},  // NaN
        {0xFFA00001U, true},  // a signalling NaN
        {0xFF800000U, true},  // minus infinity
        {0x3F800000U, true},  // 1.0
    };
    for (const auto& row : rows) {
        const std::vector<std::uint32_t> in{0x80000000U, 0, 0, 0, row.bits, 0x80000000U};
        const StCropped crop(MakeImage<std::uint32_t>(IMAGE_GREY_F, CSize(3, 2), in));
        EXPECT_EQ(crop.Map(), row.isForeground ? (Cropping{1, 1, 0, 1, 1, 1}) : (Cropping{3, 2, 1, 1, 1, 1}));
        EXPECT_EQ(ElementsOf<std::uint32_t>(crop.Image()),
                  std::vector<std::uint32_t>{row.isForeground ? row.bits : 0U});
    }
}

TEST(Autocrop, KeepsTheSignOfZerosInTheBox) {
    const StCropped crop(MakeImage<std::uint32_t>(IMAGE_GREY_F, CSize(5, 1), {0x80000000U, 1, 0x80000000U, 2, 0}));
    EXPECT_EQ(ElementsOf<std::uint32_t>(crop.Image()), (std::vector<std::uint32_t>{1, 0x80000000U, 2}));
}

TEST(Autocrop, CarriesNoAttributes) {
    auto image = Bytes(2, 1, {1, 2});
    image->Attributes().SetEntry("Image/ContentType", new CValueString(CString("table")));
    EXPECT_TRUE(StCropped(std::move(image)).Image().Attributes().IsEmpty());
}

TEST(Autocrop, RefusesOtherTypes) {
    for (const auto& type : TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_BINARY_FG})) {
        CNodeUnderTest node("Autocrop");
        EXPECT_EQ(node.Input(0, ZeroImage(type, CSize(2, 2))).Failure(), kWrongType) << type.ToString();
    }
}

TEST(Autocrop, FailsInTheOrderOfItsChecks) {
    CNodeUnderTest node("Autocrop");
    EXPECT_EQ(node.Failure(), kMissing);
    EXPECT_EQ(node.NullImage(0).Failure(), kMissing);
    EXPECT_EQ(node.Input(0, std::make_unique<CValueLong>(3)).Failure(), kNoImage);
    EXPECT_EQ(node.Input(0, std::make_unique<CValueMap>()).Failure(), kNoImage);
}

TEST(Autocrop, RunsAgainOnAnotherImage) {
    StCropped crop(Bytes(3, 1, {0, 5, 0}));
    crop.node.Input(0, Bytes(3, 1, {0, 0, 6})).RunAgain();
    EXPECT_EQ(crop.Map(), (Cropping{2, 0, 0, 1, 1, 1}));
    EXPECT_EQ(BytesOf(crop.Image()), Grid{6});
    crop.node.NoInput(0);
    EXPECT_EQ(crop.node.Failure(), kMissing);
}

TEST(Autocrop, GivesExtractTheMapOfTheSameCut) {
    std::mt19937 random(20260403);
    for (int round = 0; round < 50; ++round) {
        Grid in(9 * 8 * 3, 0);
        for (int count = 0; count < 3; ++count) {
            in[random() % in.size()] = 77;
        }
        StCropped crop(MakeImage<std::uint8_t>(IMAGE_GREY_8, CSize(9, 8, 3), in));
        CNodeUnderTest extract("Extract");
        extract.Input(0, MakeImage<std::uint8_t>(IMAGE_GREY_8, CSize(9, 8, 3), in));
        extract.Input(1, crop.node.Node().TakeStackOutput(1)).Run();
        EXPECT_TRUE(SameImage(crop.Image(), extract.Output()));
    }
}

TEST(Autocrop, GivesExtractTheLastElementWithoutForeground) {
    StCropped crop(ZeroImage(IMAGE_GREY_8, CSize(3, 2)));
    CNodeUnderTest extract("Extract");
    extract.Input(0, Bytes(3, 2, {1, 2, 3, 4, 5, 6})).Input(1, crop.node.Node().TakeStackOutput(1)).Run();
    EXPECT_EQ(BytesOf(extract.Output()), Grid{6});
}

/// The box by the rules, element by element.
template <class T> Cropping PlainBox(const CImage& image) {
    const std::vector<T> in = ElementsOf<T>(image);
    const CSize& size = image.Size();
    std::array<std::int64_t, 3> least{size.x, size.y, size.z};
    std::array<std::int64_t, 3> most{0, 0, 0};
    std::size_t element = 0;
    for (std::int64_t z = 0; z < size.z; ++z) {
        for (std::int64_t y = 0; y < size.y; ++y) {
            for (std::int64_t x = 0; x < size.x; ++x) {
                if (in[element++] != T{0}) {
                    least = {std::min(least[0], x), std::min(least[1], y), std::min(least[2], z)};
                    most = {std::max(most[0], x), std::max(most[1], y), std::max(most[2], z)};
                }
            }
        }
    }
    Cropping box{};
    bool empty = false;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        box[axis] = static_cast<int>(least[axis]);
        box[axis + 3] = static_cast<int>(most[axis] - least[axis] + 1);
        empty = empty || box[axis + 3] < 1;
    }
    if (empty) {
        box[3] = box[4] = box[5] = 1;
    }
    return box;
}

template <class T> std::vector<T> PlainCrop(const CImage& image, const Cropping& box) {
    const std::vector<T> in = ElementsOf<T>(image);
    const CSize& size = image.Size();
    if (box[0] >= size.x) {
        return {T{0}};
    }
    std::vector<T> out;
    for (std::int64_t z = box[2]; z < box[2] + box[5]; ++z) {
        for (std::int64_t y = box[1]; y < box[1] + box[4]; ++y) {
            for (std::int64_t x = box[0]; x < box[0] + box[3]; ++x) {
                out.push_back(in[static_cast<std::size_t>(x + size.x * (y + size.y * z))]);
            }
        }
    }
    return out;
}

/// An image with a handful of elements that aren't zero, in a part of it.
template <class T> ImagePtr Sparse(const IImage::CType& type, const CSize& size, std::mt19937& random) {
    std::vector<T> elements(size.Volume(), T{0});
    if constexpr (std::is_same_v<T, float>) {
        for (T& element : elements) {
            element = random() % 2 == 0 ? 0.0F : -0.0F;
        }
    }
    const auto pick = [&](std::int64_t extent) {
        return random() % 2 == 0 ? extent / 3 : static_cast<std::int64_t>(random()) % extent;
    };
    for (auto count = random() % 6; count > 0; --count) {
        const std::int64_t element = pick(size.x) + size.x * (pick(size.y) + size.y * pick(size.z));
        elements[static_cast<std::size_t>(element)] =
            std::is_same_v<T, float> && random() % 4 == 0 ? std::numeric_limits<T>::denorm_min() : T{3};
    }
    if constexpr (std::is_same_v<T, float>) {
        if (random() % 4 == 0) {
            elements[random() % elements.size()] = std::numeric_limits<float>::quiet_NaN();
        }
    }
    return MakeImage<T>(type, size, elements);
}

template <class T> void CompareWithThePlainLoop(const IImage::CType& type, std::mt19937& random) {
    using Bits = std::conditional_t<sizeof(T) == 1, std::uint8_t, std::uint32_t>;
    for (int round = 0; round < 500; ++round) {
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
        const CSize size(extent(round % 3 == 0 ? 1500 : 20), extent(8), extent(round % 2 == 0 ? 1 : 5));
        auto image = Sparse<T>(type, size, random);
        const CImage before(*image);
        const StCropped crop(std::move(image));
        const Cropping box = PlainBox<T>(before);
        EXPECT_EQ(crop.Map(), box) << size.ToString();
        EXPECT_EQ(crop.Size(), CSize(box[3], box[4], box[5]));
        EXPECT_EQ(ElementsOf<Bits>(crop.Image()), PlainCrop<Bits>(before, box)) << size.ToString();
        EXPECT_TRUE(SameImage(before, crop.node.InputImage(0))) << "the input has changed";
    }
}

TEST(Autocrop, AgreesWithThePlainLoopOnRandomImages) {
    std::mt19937 random(20260404);
    CompareWithThePlainLoop<std::uint8_t>(IMAGE_GREY_8, random);
    CompareWithThePlainLoop<std::uint8_t>(IMAGE_BINARY_FG, random);
    CompareWithThePlainLoop<float>(IMAGE_GREY_F, random);
}

} // namespace
} // namespace QUOR::test
