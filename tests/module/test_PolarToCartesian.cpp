#include "ResamplingTest.h"

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) PolarToCartesian::Run";

/// The folding as it is told, element by element.
template <class T, class Integer> std::vector<T> PlainFold(const CImage& image, bool ignoreZero) {
    const std::vector<T> in = ElementsOf<T>(image);
    const std::int64_t radii = image.Size().x;
    const std::int64_t angles = image.Size().y;
    const std::int64_t depth = image.Size().z;
    const std::int64_t n = 2 * radii - 1;
    const auto m = static_cast<double>(n / 2);
    constexpr bool isFloat = std::is_same_v<T, float>;
    const double e = isFloat ? 0.0 : 0.5;
    const auto store = [](double value) {
        if constexpr (isFloat) {
            return static_cast<float>(value);
        } else {
            return CutTo<T, Integer>(value);
        }
    };
    std::vector<T> out;
    for (std::int64_t z = 0; z < depth; ++z) {
        for (std::int64_t y = 0; y < n; ++y) {
            for (std::int64_t x = 0; x < n; ++x) {
                const double dy = static_cast<double>(y) - m;
                const double dx = static_cast<double>(x) - m;
                const double rho = std::sqrt(dx * dx + dy * dy);
                double phi = std::atan2(dy, dx);
                if (phi < 0) {
                    phi += 6.283185307179586;
                }
                const double q = phi * static_cast<double>(radii);
                const auto ir = static_cast<std::int64_t>(rho);
                const auto nr = static_cast<std::int64_t>(rho + 0.5);
                const auto ia = static_cast<std::int64_t>(q);
                const auto na = static_cast<std::int64_t>(q + 0.5);
                const double fr = rho - static_cast<double>(ir);
                const double fa = q - static_cast<double>(ia);
                const auto at = [&](std::int64_t r, std::int64_t a) {
                    return in[static_cast<std::size_t>(z * radii * angles + a * radii + r)];
                };
                const auto v = [&](std::int64_t r, std::int64_t a) { return static_cast<double>(at(r, a)); };
                T value{0};
                if (ir >= radii || ia >= angles) {
                    value = T{0};
                } else if (ir == radii - 1 && ia == angles - 1) {
                    value = at(ir, ia);
                } else if (ir == radii - 1) {
                    value = store(v(ir, ia) * (1 - fa) + v(ir, ia + 1) * fa + e);
                } else if (ia == angles - 1) {
                    value = store(v(ir, ia) * (1 - fr) + v(ir + 1, ia) * fr + e);
                } else {
                    const double w00 = (1 - fr) * (1 - fa);
                    const double w01 = (1 - fr) * fa;
                    const double w10 = (1 - fa) * fr;
                    const double w11 = fa * fr;
                    value = store(v(ir, ia) * w00 + v(ir, ia + 1) * w01 + v(ir + 1, ia) * w10 +
                                  v(ir + 1, ia + 1) * w11 + e);
                }
                const auto nearest = static_cast<std::size_t>(z * radii * angles + na * radii + nr);
                if (ignoreZero && nearest < in.size() && in[nearest] == T{0}) {
                    value = T{0};
                }
                out.push_back(value);
            }
        }
    }
    return out;
}

std::vector<std::uint8_t> Folded(ImagePtr image, bool ignoreZero = false) {
    CNodeUnderTest node("PolarToCartesian");
    return BytesOf(node.Set("ignore_zero", ignoreZero).Input(0, std::move(image)).Run().Output());
}

TEST(PolarToCartesian, DescribesItself) {
    const auto setup = DescriptionOf("PolarToCartesian");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "PolarToCartesian");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PPolarToCartesian/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "coordinate transformation");
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 1U);
    ASSERT_TRUE(setup->HasEntry("parameters/ignore_zero", EnValType::Bool));
    EXPECT_FALSE(setup->EntryBool("parameters/ignore_zero", true));
    EXPECT_EQ(MetaText(*setup, "parameters/ignore_zero", "gui/boolean"), "togglebutton");
    EXPECT_EQ(MetaText(*setup, "parameters/ignore_zero", "desc"),
              "The type of this parameter is of type bool. Defines whether zeros in the\ninput image are ignored (i.e. "
              "the corresponding output pixel is set\nto zero) or not.\nBy default it is set to \\a false.\n");
    EXPECT_FALSE(setup->HasEntry("gui/order"));
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"),
              "Input image of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, or IMAGE_GREY_32.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of the same type as the input image.");
    EXPECT_FALSE(setup->Entry("outputs/0", true)->Meta().HasEntry("optional"));
    const std::string text = setup->EntryString("description", "").Text();
    std::size_t position = 0;
    for (const char* part :
         {"BRIEF\nTransforms an image from polar to cartesian coordinates.\n\n",
          "The first row in the input\nimage corresponds to the line starting from the image center in\npositive "
          "x-direction.",
          "\nINPUT 0\n", "\nOUTPUT 0\n", "\nPARAMETER ignore_zero\n",
          "\nNOTE\nfor 3d images, plugin transforms from cylindrical to cartesian coordinates\n",
          "\nKEYWORDS\ncoordinate transformation\n", "\nSEE ALSO\n"}) {
        const std::size_t found = text.find(part, position);
        ASSERT_NE(found, std::string::npos) << part;
        position = found;
    }
    EXPECT_NE(text.find("CartesianToPolar", position), std::string::npos);
}

TEST(PolarToCartesian, GivesASquareAroundTheCentre) {
    const auto size = [](const CSize& polar) {
        CNodeUnderTest node("PolarToCartesian");
        return CSize(node.Input(0, ZeroImage(IMAGE_GREY_8, polar)).Run().Output().Size());
    };
    EXPECT_EQ(size(CSize(1, 7)), CSize(1, 1, 1)) << "of three dimensions";
    EXPECT_EQ(size(CSize(4, 26, 3)), CSize(7, 7, 3));
    EXPECT_EQ(size(CSize(4, 1)), CSize(7, 7, 1));
}

TEST(PolarToCartesian, FoldsASingleRadius) {
    EXPECT_EQ(Folded(Bytes(1, 1, {77})), (std::vector<std::uint8_t>{77}));
    EXPECT_EQ(Folded(Bytes(1, 3, {77, 5, 6})), (std::vector<std::uint8_t>{77})) << "between the rows 0 and 1, at row 0";
}

TEST(PolarToCartesian, WalksTheFirstRowAlongThePositiveXAxis) {
    // R = 3, A = 19; element (r, a) is 10 * a + r. The corners lie beyond the last radius but one: sqrt(8) is 2.83.
    std::vector<std::uint8_t> polar;
    for (int a = 0; a < 19; ++a) {
        for (int r = 0; r < 3; ++r) {
            polar.push_back(static_cast<std::uint8_t>(10 * a + r));
        }
    }
    const auto out = Folded(Bytes(3, 19, polar));
    const auto at = [&](std::size_t x, std::size_t y) { return int{out[5 * y + x]}; };
    EXPECT_EQ(at(2, 2), 0);
    EXPECT_EQ(at(3, 2), 1);
    EXPECT_EQ(at(4, 2), 2);
    EXPECT_EQ(at(2, 3), 48) << "down is a quarter: row 4.71 of radius 1, 47.12 + 1 = 48.12";
    EXPECT_EQ(at(1, 2), 95) << "left is a half: row 9.42, 94.25 + 1";
    EXPECT_EQ(at(2, 1), 142) << "up is three quarters: row 14.14, 141.37 + 1";
    EXPECT_EQ(at(2, 0), 143) << "143.37, in the last column";
    EXPECT_EQ(at(4, 4), 26) << "an eighth, row 2.36, radius 2.83, in the last column without its right neighbour";
}

TEST(PolarToCartesian, RoundsIntegersAndCutsNothingElse) {
    const std::vector<std::uint8_t> bright(static_cast<std::size_t>(2 * 13), 255);
    EXPECT_EQ(Folded(Bytes(2, 13, bright)), std::vector<std::uint8_t>(9, 255));
}

TEST(PolarToCartesian, TakesTheSignFromNegativeZeros) {
    CNodeUnderTest node("PolarToCartesian");
    node.Input(0, Floats(2, 13, std::vector<float>(26, -0.0F))).Run();
    const auto out = ElementsOf<std::uint32_t>(node.Output());
    EXPECT_EQ(out[4], 0U) << "the zero is added";
    node.Input(0, Floats(1, 1, {-0.0F})).Run();
    EXPECT_EQ(ElementsOf<std::uint32_t>(node.Output())[0], 0x80000000U) << "copied as it is";
}

TEST(PolarToCartesian, LeavesTheRestOfASectorAndTheCornersZero) {
    const auto sector = Folded(Bytes(5, 2, std::vector<std::uint8_t>(10, 9)));
    for (std::size_t y = 0; y < 9; ++y) {
        for (std::size_t x = 0; x < 9; ++x) {
            const bool inSector = y == 4 && x >= 4;
            const bool below = y > 4 && std::atan2(static_cast<double>(y) - 4, static_cast<double>(x) - 4) < 0.4 &&
                               std::hypot(static_cast<double>(y) - 4, static_cast<double>(x) - 4) < 5;
            EXPECT_EQ(int{sector[9 * y + x]}, inSector || below ? 9 : 0) << x << ", " << y;
        }
    }
    const auto disc = Folded(Bytes(4, 26, std::vector<std::uint8_t>(104, 9)));
    for (const std::size_t corner : {0U, 6U, 42U, 48U}) {
        EXPECT_EQ(disc[corner], 0);
    }
}

TEST(PolarToCartesian, IgnoresZerosOnDemand) {
    // A zero at radius 1 of the first row, all else 100: the pixel one to the right lies on it exactly.
    std::vector<std::uint8_t> polar(static_cast<std::size_t>(4 * 26), 100);
    polar[1] = 0;
    polar[2] = 50;
    const auto blended = Folded(Bytes(4, 26, polar), false);
    const auto ignored = Folded(Bytes(4, 26, polar), true);
    EXPECT_EQ(blended[7 * 3 + 4], 0);
    EXPECT_EQ(ignored[7 * 3 + 4], 0);
    // Beside it, at radius sqrt(2) and row 3.14, nothing is zero; a zero there is blended in only without the flag.
    EXPECT_EQ(ignored[7 * 4 + 4], 100);
    polar[4 * 3 + 1] = 0;
    EXPECT_EQ(Folded(Bytes(4, 26, polar), false)[7 * 4 + 4], 50) << "100 - 0.586 * 0.858 * 100 = 49.7";
    EXPECT_EQ(Folded(Bytes(4, 26, polar), true)[7 * 4 + 4], 0);
}

TEST(PolarToCartesian, LooksForZerosBeyondTheLastRadiusAndRow) {
    // R = 2, A = 7 of 13: (1, 1) from the centre has rho = 1.41, so that its nearest element is that of radius 1. At
    // R = 3 the corner (2, 2) has rho = 2.83, nearest radius 3: the first element of the next row.
    std::vector<std::uint8_t> polar(static_cast<std::size_t>(3 * 19), 100);
    polar[3 * 3 + 0] = 0; // row 2.36, nearest row 2: the next one is 3
    EXPECT_EQ(Folded(Bytes(3, 19, polar), true)[24], 0);
    EXPECT_EQ(Folded(Bytes(3, 19, polar), false)[24], 100);
}

TEST(PolarToCartesian, ReadsIgnoreZeroInNodeInit) {
    CNodeUnderTest node("PolarToCartesian");
    const auto corner = [&] { return int{BytesOf(node.Output())[24]}; };
    std::vector<std::uint8_t> polar(static_cast<std::size_t>(3 * 19), 100);
    polar[9] = 0;
    node.Input(0, Bytes(3, 19, polar)).Run();
    EXPECT_EQ(corner(), 100);
    node.Set("ignore_zero", true).RunAgain();
    EXPECT_EQ(corner(), 100);
    node.Run();
    EXPECT_EQ(corner(), 0);
    EXPECT_EQ((node.Set("ignore_zero", 0.0).Run(), corner()), 100);
    EXPECT_EQ((node.Set("ignore_zero", 2).Run(), corner()), 0);
    EXPECT_EQ((node.Unset("ignore_zero").Run(), corner()), 100);
}

TEST(PolarToCartesian, RefusesMissingInputsAndOtherTypes) {
    const StFailure missing{kWhere, "input image is NULL"};
    CNodeUnderTest node("PolarToCartesian");
    EXPECT_EQ(node.Failure(), missing);
    EXPECT_EQ(node.NullImage(0).Failure(), missing);
    const StFailure wrongType{
        kWhere, "input image is not of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, or IMAGE_GREY_32."};
    for (const auto& type : TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32})) {
        EXPECT_EQ(node.Input(0, ZeroImage(type, CSize(2, 2))).Failure(), wrongType) << type.ToString();
    }
    node.Input(0, std::make_unique<CValueLong>(1));
    EXPECT_THROW(node.Run(), CException);
    EXPECT_FALSE(node.HasOutput());
}

TEST(PolarToCartesian, ServesEmptyImages) {
    constexpr std::int64_t huge = std::int64_t{1} << 62;
    CNodeUnderTest node("PolarToCartesian");
    const auto size = [&](const CSize& polar) {
        return CSize(node.Input(0, ZeroImage(IMAGE_GREY_F, polar)).Run().Output().Size());
    };
    EXPECT_EQ(size(CSize(0, 5, 3)), CSize(0, 0, 3)) << "no radii";
    EXPECT_EQ(size(CSize(0, huge, huge)), CSize(0, 0, huge));
    EXPECT_EQ(size(CSize(4, 5, 0)), CSize(7, 7, 0));
    EXPECT_EQ(size(CSize(4, 0, 2)), CSize(7, 7, 2));
    EXPECT_EQ(ElementsOf<float>(node.Output()), std::vector<float>(98, 0.0F)) << "no angles";
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(huge, 0))).Failure().where, "CImage");
}

TEST(PolarToCartesian, DropsAttributes) {
    CNodeUnderTest node("PolarToCartesian");
    auto image = ZeroImage(IMAGE_GREY_8, CSize(3, 19));
    image->Attributes().SetEntry("CartesianToPolar/original-size-x", new CValueLong(9));
    EXPECT_TRUE(node.Input(0, std::move(image)).Run().Output().Attributes().IsEmpty());
}

TEST(PolarToCartesian, AgreesWithThePlainLoopOnALargeImage) {
    std::mt19937 random(5);
    for (const auto& type : {IMAGE_GREY_F, IMAGE_GREY_8}) {
        CNodeUnderTest node("PolarToCartesian");
        node.Input(0, RandomNumbers(type, CSize(700, 4399), random)).Run();
        if (type == IMAGE_GREY_F) {
            EXPECT_TRUE(SameNumbers(PlainFold<float, std::int32_t>(node.InputImage(0), false),
                                    ElementsOf<float>(node.Output())));
        } else {
            EXPECT_TRUE(SameNumbers(PlainFold<std::uint8_t, std::int32_t>(node.InputImage(0), false),
                                    ElementsOf<std::uint8_t>(node.Output())));
        }
    }
}

TEST(PolarToCartesian, AgreesWithThePlainLoopOnRandomImages) {
    std::mt19937 random(20260404);
    for (int round = 0; round < 1500; ++round) {
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
        const std::int64_t radii = extent(round % 100 == 0 ? 330 : 24);
        const std::int64_t whole = static_cast<std::int64_t>(std::ceil(static_cast<double>(radii) * 6.2831853));
        const std::int64_t angles[] = {whole, whole - 1, whole + 3, extent(static_cast<unsigned>(whole))};
        const CSize size(radii, angles[random() % 4], extent(3));
        const IImage::CType types[] = {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32};
        const IImage::CType type = types[random() % 4];
        auto image = RandomNumbers(type, size, random);
        if (random() % 2 == 0) { // zeros for the flag, an element each
            auto* bytes = static_cast<std::uint8_t*>(image->Buffer().Data());
            for (std::size_t element = 0; element < size.Volume(); element += random() % 7 + 1) {
                std::memset(bytes + element * type.pixelBytes, 0, type.pixelBytes);
            }
        }
        const bool ignoreZero = random() % 2 == 0;
        CNodeUnderTest node("PolarToCartesian");
        node.Set("ignore_zero", ignoreZero).Input(0, std::move(image));
        const auto before = BytesOf(node.InputImage(0));
        node.Run();
        EXPECT_EQ(BytesOf(node.InputImage(0)), before) << "the input has changed";
        const auto expect = [&]<class T, class Integer>(T, Integer) {
            EXPECT_TRUE(
                SameNumbers(PlainFold<T, Integer>(node.InputImage(0), ignoreZero), ElementsOf<T>(node.Output())))
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
