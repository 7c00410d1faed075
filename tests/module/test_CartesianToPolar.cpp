#include "ResamplingTest.h"

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) CartesianToPolar::Run";

/// The unrolling as it is told, element by element.
template <class T, class Integer> std::vector<T> PlainUnroll(const CImage& image, const CSize& polar) {
    const std::vector<T> in = ElementsOf<T>(image);
    const std::int64_t w = image.Size().x;
    const std::int64_t h = image.Size().y;
    std::vector<T> out(polar.Volume(), T{0});
    const auto store = [](double value) {
        if constexpr (std::is_same_v<T, float>) {
            return static_cast<float>(value);
        } else {
            return CutTo<T, Integer>(value);
        }
    };
    for (std::int64_t z = 0; z < polar.z; ++z) {
        const auto element = [&](std::int64_t x, std::int64_t y) {
            return in[static_cast<std::size_t>((z * h + y) * w + x)];
        };
        const auto v = [&](std::int64_t x, std::int64_t y) { return static_cast<double>(element(x, y)); };
        for (std::int64_t a = 0; a < polar.y; ++a) {
            const double t = static_cast<double>(a) / static_cast<double>(polar.x);
            for (std::int64_t r = 0; r < polar.x; ++r) {
                const double x = static_cast<double>(r) * std::cos(t) + (static_cast<double>(w) - 1.0) * 0.5;
                const double y = static_cast<double>(r) * std::sin(t) + (static_cast<double>(h) - 1.0) * 0.5;
                if (x < 0 || x >= static_cast<double>(w) || y < 0 || y >= static_cast<double>(h)) {
                    continue;
                }
                const auto ix = static_cast<std::int64_t>(x);
                const auto iy = static_cast<std::int64_t>(y);
                const double fx = x - static_cast<double>(ix);
                const double fy = y - static_cast<double>(iy);
                T& to = out[static_cast<std::size_t>((z * polar.y + a) * polar.x + r)];
                if (ix == w - 1 && iy == h - 1) {
                    to = element(ix, iy);
                } else if (ix == w - 1) {
                    to = store(v(ix, iy) * (1 - fy) + v(ix, iy + 1) * fy);
                } else if (iy == h - 1) {
                    to = store(v(ix, iy) * (1 - fx) + v(ix + 1, iy) * fx);
                } else {
                    const double w00 = (1 - fx) * (1 - fy);
                    const double w01 = (1 - fx) * fy;
                    const double w10 = (1 - fy) * fx;
                    const double w11 = fx * fy;
                    to = store(v(ix, iy) * w00 + v(ix, iy + 1) * w01 + v(ix + 1, iy) * w10 + v(ix + 1, iy + 1) * w11);
                }
            }
        }
    }
    return out;
}

CSize PolarSizeOf(const CSize& size) {
    CNodeUnderTest node("CartesianToPolar");
    return node.Input(0, ZeroImage(IMAGE_GREY_8, size)).Run().Output().Size();
}

TEST(CartesianToPolar, DescribesItself) {
    const auto setup = DescriptionOf("CartesianToPolar");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "CartesianToPolar");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PCartesianToPolar/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "coordinate transformation");
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 0U);
    EXPECT_FALSE(setup->HasEntry("gui/order"));
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image in cartesian coordinates.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image in polar coordinates.");
    EXPECT_FALSE(setup->Entry("outputs/0", true)->Meta().HasEntry("optional"));
    const std::string text = setup->EntryString("description", "").Text();
    std::size_t position = 0;
    for (const char* part :
         {"BRIEF\nTransforms an image from cartesian to polar coordinates.\n\n", "\nINPUT 0\n", "\nOUTPUT 0\n",
          "\nNOTE\nfor 3d images, plugin transforms from cartesian to cylindrical coordinates\n",
          "\nKEYWORDS\ncoordinate transformation\n", "\nSEE ALSO\n"}) {
        const std::size_t found = text.find(part, position);
        ASSERT_NE(found, std::string::npos) << part;
        position = found;
    }
    EXPECT_NE(text.find("PolarToCartesian", position), std::string::npos);
}

TEST(CartesianToPolar, SizesByTheHalfDiagonal) {
    EXPECT_EQ(PolarSizeOf(CSize(1, 1)), CSize(1, 7, 1)) << "of three dimensions";
    EXPECT_EQ(PolarSizeOf(CSize(3, 4, 5)), CSize(3, 19, 5));
    EXPECT_EQ(PolarSizeOf(CSize(100, 100)), CSize(71, 447, 1));
    EXPECT_EQ(PolarSizeOf(CSize(6, 8)), CSize(5, 32, 1)) << "half the diagonal is 5 exactly";
}

TEST(CartesianToPolar, WritesTheSizeAndTheCentreAsAttributes) {
    const auto attributes = [](const CSize& size) {
        CNodeUnderTest node("CartesianToPolar");
        auto image = ZeroImage(IMAGE_GREY_8, size);
        image->Attributes().SetEntry("Image/ContentType", new CValueString(CString("table")));
        const CValueMap& map = node.Input(0, std::move(image)).Run().Output().Attributes();
        EXPECT_EQ(map.Size(), 1U) << "none of the input's";
        EXPECT_EQ(map.Entry("CartesianToPolar", true)->Map()->Size(), 3U);
        std::vector<long long> numbers;
        for (const char* key :
             {"CartesianToPolar/original-size-x", "CartesianToPolar/original-size-y", "CartesianToPolar/offset-x"}) {
            EXPECT_TRUE(map.HasEntry(key, *CValueLong::TypeId())) << key;
            numbers.push_back(map.EntryLong(key));
        }
        return numbers;
    };
    using Numbers = std::vector<long long>;
    EXPECT_EQ(attributes(CSize(100, 100)), (Numbers{100, 100, 49}));
    EXPECT_EQ(attributes(CSize(7, 3)), (Numbers{7, 3, 3}));
    EXPECT_EQ(attributes(CSize(2, 5, 3)), (Numbers{2, 5, 0}));
    EXPECT_EQ(attributes(CSize(0, 5)), (Numbers{0, 5, 0}));
    EXPECT_EQ(attributes(CSize((std::int64_t{1} << 32) + 3, 0, 0)).front(), 3) << "the low 32 bits";
}

TEST(CartesianToPolar, UnrollsASinglePixelIntoEveryRow) {
    CNodeUnderTest node("CartesianToPolar");
    EXPECT_EQ(BytesOf(node.Input(0, Bytes(1, 1, {93})).Run().Output()), std::vector<std::uint8_t>(7, 93));
}

TEST(CartesianToPolar, StartsAtTheCentre) {
    CNodeUnderTest node("CartesianToPolar");
    // 3 x 3: R = ceil(2.12) = 3, A = 19. The first row runs from the centre to the right edge and then outside.
    node.Input(0, CodedImage(IMAGE_GREY_8, CSize(3, 3))).Run();
    const auto out = BytesOf(node.Output());
    EXPECT_EQ(out[0], 11);
    EXPECT_EQ(out[1], 12);
    EXPECT_EQ(out[2], 0);
    for (std::size_t row = 0; row < 19; ++row) {
        EXPECT_EQ(out[3 * row], 11);
    }
    // Row 5 is at 5/3 radians, 95.5 degrees: its second pixel lies at x = 1 - 0.0957, y = 1 + 0.9954 on the screen.
    EXPECT_EQ(out[3 * 5 + 1], 20) << "20.86 truncated";
    node.Input(0, Bytes(2, 2, {0, 1, 2, 4})).Run();
    EXPECT_EQ(BytesOf(node.Output())[0], 1) << "the mean of all four, 1.75, is cut";
}

TEST(CartesianToPolar, TruncatesToTheLowBitsOfItsTypes) {
    // The centre of 2 x 2 equal elements has weights of a quarter each.
    for (const auto& type : {IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32}) {
        auto image = ZeroImage(type, CSize(2, 2));
        image->Buffer().Set(0xFF);
        CNodeUnderTest node("CartesianToPolar");
        node.Input(0, std::move(image)).Run();
        EXPECT_EQ(node.Output().Type(), type);
        const auto out = BytesOf(node.Output());
        for (std::size_t byte = 0; byte < type.pixelBytes; ++byte) {
            EXPECT_EQ(out[byte], 0xFF) << type.ToString();
        }
    }
}

TEST(CartesianToPolar, KeepsTheSignOfZeros) {
    CNodeUnderTest node("CartesianToPolar");
    const auto out =
        ElementsOf<std::uint32_t>(node.Input(0, Floats(3, 3, std::vector<float>(9, -0.0F))).Run().Output());
    EXPECT_EQ(out[0], 0x80000000U) << "between four elements";
    EXPECT_EQ(out[1], 0x80000000U) << "in the last column, between two";
    EXPECT_EQ(out[2], 0U) << "outside";
}

TEST(CartesianToPolar, RefusesMissingInputsAndOtherTypes) {
    const StFailure missing{kWhere, "input image is NULL"};
    CNodeUnderTest node("CartesianToPolar");
    EXPECT_EQ(node.Failure(), missing);
    EXPECT_EQ(node.NullImage(0).Failure(), missing);
    const StFailure wrongType{
        kWhere, "input image is not of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, or IMAGE_GREY_32."};
    for (const auto& type : TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32})) {
        EXPECT_EQ(node.Input(0, ZeroImage(type, CSize(2, 2))).Failure(), wrongType) << type.ToString();
    }
    node.Input(0, std::make_unique<CValueBool>(true));
    EXPECT_THROW(node.Run(), CException);
    EXPECT_FALSE(node.HasOutput());
}

TEST(CartesianToPolar, ServesEmptyImages) {
    constexpr std::int64_t huge = std::int64_t{1} << 30;
    EXPECT_EQ(PolarSizeOf(CSize(0, 0)), CSize(0, 0, 1));
    EXPECT_EQ(PolarSizeOf(CSize(0, 0, huge)), CSize(0, 0, huge));
    EXPECT_EQ(PolarSizeOf(CSize(3, 4, 0)), CSize(3, 19, 0));
    EXPECT_EQ(PolarSizeOf(CSize(huge, 0, 0)).x, huge / 2);
    CNodeUnderTest node("CartesianToPolar");
    node.Input(0, ZeroImage(IMAGE_GREY_16, CSize(0, 5, 2))).Run();
    EXPECT_EQ(node.Output().Size(), CSize(3, 19, 2));
    EXPECT_EQ(BytesOf(node.Output()), std::vector<std::uint8_t>(3 * 19 * 2 * 2, 0));
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(0, 3000000000))).Failure().where, "CImage");
}

TEST(CartesianToPolar, AgreesWithThePlainLoopOnRandomImages) {
    std::mt19937 random(20260403);
    for (int round = 0; round < 1500; ++round) {
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
        const bool large = round % 100 == 0;
        const CSize size(extent(large ? 800 : 20), extent(large ? 150 : 20), extent(3));
        const IImage::CType types[] = {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32};
        const IImage::CType type = types[random() % 4];
        CNodeUnderTest node("CartesianToPolar");
        node.Input(0, RandomNumbers(type, size, random));
        const auto before = BytesOf(node.InputImage(0));
        node.Run();
        EXPECT_EQ(BytesOf(node.InputImage(0)), before) << "the input has changed";
        const auto expect = [&]<class T, class Integer>(T, Integer) {
            EXPECT_TRUE(SameNumbers(PlainUnroll<T, Integer>(node.InputImage(0), node.Output().Size()),
                                    ElementsOf<T>(node.Output())))
                << size.ToString();
        };
        if (type == IMAGE_GREY_F) {
            expect(float{}, std::int32_t{});
        } else if (type == IMAGE_GREY_8) {
            expect(std::uint8_t{}, std::int32_t{});
        } else if (type == IMAGE_GREY_16) {
            expect(std::uint16_t{}, std::int32_t{});
        } else {
            expect(std::uint32_t{}, std::int64_t{});
        }
    }
}

} // namespace
} // namespace QUOR::test
