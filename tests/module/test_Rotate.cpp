#include "ResamplingTest.h"

#include <iostream>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) Rotate";
constexpr const char* kMethods[] = {"NEAREST_NEIGHBOR", "BILINEAR", "BICUBIC_SPLINES"};

struct StCase {
    double angle = 0.0;
    double background = 0.0;
    bool resize = false;
    std::string method = "BILINEAR";
};

CNodeUnderTest& Configure(CNodeUnderTest& node, const StCase& c) {
    return node.Set("angle", c.angle)
        .Set("bg_value", c.background)
        .Set("resize", c.resize)
        .Set("method", c.method.c_str());
}

/// The general turn as it is told, element by element.
template <class T> class CPlainRotate {
public:
    CPlainRotate(const CImage& image, const StCase& c)
        : m_in(ElementsOf<T>(image)), m_width(image.Size().x), m_height(image.Size().y), m_case(c) {
        const double rad = (c.angle / 180.0) * 3.141592653589793;
        m_c = std::cos(rad);
        m_s = -std::sin(rad);
        out_width = m_width;
        out_height = m_height;
        if (c.resize) {
            const auto w = static_cast<double>(m_width);
            const auto h = static_cast<double>(m_height);
            out_width = Extent({0.0, w * m_c, (-h) * m_s, w * m_c - h * m_s});
            out_height = Extent({0.0, w * m_s, h * m_c, h * m_c + w * m_s});
        }
        for (std::int64_t z = 0; z < image.Size().z; ++z) {
            for (std::int64_t y = 0; y < out_height; ++y) {
                for (std::int64_t x = 0; x < out_width; ++x) {
                    out.push_back(Pixel(x, y, z));
                }
            }
        }
    }

    std::int64_t out_width;
    std::int64_t out_height;
    std::vector<T> out;

private:
    static constexpr bool kFloat = std::is_same_v<T, float>;

    static std::int64_t Extent(const std::vector<double>& corners) {
        double least = corners[0];
        double most = corners[0];
        for (const double corner : corners) {
            least = corner < least ? corner : least;
            most = corner > most ? corner : most;
        }
        return (static_cast<std::int64_t>(most) + 1) - (static_cast<std::int64_t>(least) - 1) + 1;
    }

    T Store(double value) const {
        if constexpr (kFloat) {
            return static_cast<float>(value);
        } else {
            return CutTo<T, std::int32_t>(value);
        }
    }

    /// The element at a flat position, also before its plane; before the first plane lies 0.
    T Flat(std::int64_t z, std::int64_t position) const {
        const std::int64_t index = z * m_width * m_height + position;
        return index < 0 ? T{0} : m_in[static_cast<std::size_t>(index)];
    }
    T At(std::int64_t x, std::int64_t y, std::int64_t z) const { return Flat(z, y * m_width + x); }

    T Pixel(std::int64_t x, std::int64_t y, std::int64_t z) const {
        const double xx = static_cast<double>(x) - static_cast<double>(out_width - 1) * 0.5;
        const double yy = static_cast<double>(y) - static_cast<double>(out_height - 1) * 0.5;
        const double sx = (xx * m_c - yy * m_s) + static_cast<double>(m_width - 1) * 0.5;
        const double sy = (xx * m_s + yy * m_c) + static_cast<double>(m_height - 1) * 0.5;
        const auto w = static_cast<double>(m_width);
        const auto h = static_cast<double>(m_height);
        if (sx < -1.0 || sx >= w || sy < -1.0 || sy >= h) {
            return Store(m_case.background);
        }
        const auto ix = static_cast<std::int64_t>(std::floor(sx));
        const auto iy = static_cast<std::int64_t>(std::floor(sy));
        const double fx = sx - std::floor(sx);
        const double fy = sy - std::floor(sy);
        return m_case.method == "BICUBIC_SPLINES" ? Bicubic(ix, iy, fx, fy, z) : Cell(ix, iy, fx, fy, z);
    }

    T Cell(std::int64_t ix, std::int64_t iy, double fx, double fy, std::int64_t z) const {
        const std::int64_t cx = ix == -1 ? 0 : ix;
        const std::int64_t cy = iy == -1 ? 0 : iy;
        const T p00 = At(cx, cy, z);
        T p10 = p00;
        T p01 = p00;
        T p11 = p00;
        if (ix < m_width - 1) {
            p10 = At(ix + 1, cy, z);
        }
        if (iy < m_height - 1) {
            p01 = At(cx, iy + 1, z);
        }
        if (ix < m_width - 1 && iy < m_height - 1) {
            p11 = At(ix + 1, iy + 1, z);
        }
        if (m_case.method == "NEAREST_NEIGHBOR") {
            return fx < 0.5 ? (fy < 0.5 ? p00 : p01) : (fy < 0.5 ? p10 : p11);
        }
        const double gx = 1 - fx;
        return Store((p10 * fx + gx * p00) * (1 - fy) + (p11 * fx + gx * p01) * fy);
    }

    static double K1(double t) { return t * t * (t * 1.5 - 2.5) + 1.0; }
    static double K2(double t) { return ((2.5 - t * 0.5) * t - 4.0) * t + 2.0; }

    static double E(T a, T b, T c) {
        if constexpr (kFloat) {
            const float first = 3.0F * a;
            const float second = 3.0F * b;
            const float difference = first - second;
            return difference + c;
        } else {
            return 3 * (int{a} - int{b}) + int{c};
        }
    }

    double Above(std::int64_t x, std::int64_t z) const { return E(At(x, 0, z), At(x, 1, z), At(x, 2, z)); }

    /// The corner goes to the left in each row first, and then up.
    double Corner(std::int64_t z) const {
        const auto left = [&](std::int64_t r) { return E(At(0, r, z), At(1, r, z), At(2, r, z)); };
        return 3.0 * left(0) - 3.0 * left(1) + left(2);
    }

    double LeftOf(std::int64_t r, std::int64_t z) const {
        if constexpr (kFloat) {
            const float difference = At(2, r, z) - 3.0F * At(1, r, z);
            return difference + 3.0F * At(0, r, z);
        } else {
            return 3 * (int{At(0, r, z)} - int{At(1, r, z)}) + int{At(2, r, z)};
        }
    }

    T Bicubic(std::int64_t ix, std::int64_t iy, double fx, double fy, std::int64_t z) const {
        if (ix < 0 || ix + 2 >= m_width || iy < 0 || iy + 2 >= m_height) {
            return Store(m_case.background);
        }
        double v[4];
        for (int j = 0; j < 4; ++j) {
            const std::int64_t r = iy - 1 + j;
            double p[4];
            for (int i = 0; i < 4; ++i) {
                const std::int64_t column = ix - 1 + i;
                if (r >= 0) {
                    p[i] = column >= 0 ? At(column, r, z) : LeftOf(r, z);
                } else if (ix >= 1) {
                    p[i] = Above(column, z);
                } else {
                    p[i] = i == 0 ? Corner(z) : Flat(z, -m_width + i - 1);
                }
            }
            v[j] = K1(fx) * p[1] + K2(fx + 1) * p[0] + K1(1 - fx) * p[2] + K2(2 - fx) * p[3];
        }
        const double sum = K2(fy + 1) * v[0] + K1(fy) * v[1] + K1(1 - fy) * v[2] + K2(2 - fy) * v[3];
        return Store(sum + (kFloat ? 0.0 : 0.5));
    }

    std::vector<T> m_in;
    std::int64_t m_width;
    std::int64_t m_height;
    StCase m_case;
    double m_c = 0.0;
    double m_s = 0.0;
};

template <class T> void ExpectPlain(CNodeUnderTest& node, const StCase& c) {
    const CPlainRotate<T> plain(node.InputImage(0), c);
    const CSize size(plain.out_width, plain.out_height, node.InputImage(0).Size().z);
    EXPECT_EQ(node.Output().Size(), size);
    EXPECT_TRUE(SameNumbers(plain.out, ElementsOf<T>(node.Output())))
        << c.method << " by " << c.angle << (c.resize ? " resized " : " ") << node.InputImage(0).Size().ToString();
}

std::vector<std::uint8_t> Turned(const StCase& c, ImagePtr image) {
    CNodeUnderTest node("Rotate");
    const CCapturedOutput warnings(std::cerr);
    return BytesOf(Configure(node, c).Input(0, std::move(image)).Run().Output());
}

TEST(Rotate, DescribesItself) {
    const auto setup = DescriptionOf("Rotate");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Rotate");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PRotate/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "rotate|angle|degree|pi|transform|nearest neighbor|bilinear interpolation|bicubic "
                                  "splines");
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 5U);
    for (const char* key : {"parameters/angle", "parameters/bg_value"}) {
        ASSERT_TRUE(setup->HasEntry(key, EnValType::Double));
        EXPECT_EQ(setup->EntryDouble(key, 1.0), 0.0);
    }
    for (const char* key : {"parameters/resize", "parameters/verbose"}) {
        ASSERT_TRUE(setup->HasEntry(key, EnValType::Bool));
        EXPECT_FALSE(setup->EntryBool(key, true));
        EXPECT_EQ(MetaText(*setup, key, "gui/boolean"), "togglebutton");
    }
    EXPECT_EQ(setup->EntryString("parameters/method", ""), "BILINEAR");
    EXPECT_EQ(MetaText(*setup, "parameters/method", "val/enValues"), "NEAREST_NEIGHBOR, BILINEAR, BICUBIC_SPLINES");
    EXPECT_EQ(MetaText(*setup, "parameters/verbose", "desc"),
              "The type of this parameter is of type bool. print plugin feedback to log area.\nBy default it is set to "
              "\\a false.\n");
    EXPECT_EQ(setup->Entry("gui/order", true)->Map()->Size(), 5U);
    int number = 0;
    for (const char* key : {"angle", "bg_value", "resize", "method", "verbose"}) {
        EXPECT_EQ(setup->EntryString(CValue_Key("gui/order/" + std::to_string(number++)), ""), key);
        EXPECT_NE(MetaText(*setup, std::string("parameters/") + key, "desc"), "(none)");
    }
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image of type IMAGE_GREY_F or IMAGE_GREY_8.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of the same type as the input image.");
    EXPECT_FALSE(setup->Entry("outputs/0", true)->Meta().HasEntry("optional"));
}

TEST(Rotate, DescriptionTextHoldsItsSectionsInOrder) {
    const std::string text = DescriptionOf("Rotate")->EntryString("description", "").Text();
    std::size_t position = 0;
    for (const char* part :
         {"BRIEF\n2d clockwise image rotation.\n\n", "\nINPUT 0\n", "\nOUTPUT 0\n", "\nPARAMETER angle\n",
          "\nPARAMETER bg_value\n", "\nPARAMETER resize\n", "\nPARAMETER method\n", "\nPARAMETER verbose\n",
          "\nPARAMETER pImgIn\n", "\nPARAMETER pImgOut\n", "\nPARAMETER fAngle\n", "\nPARAMETER fBgValue\n",
          "\nPARAMETER bResize\n", "\nNOTE\nRotating a 3d image results in the 2d rotation of each single slide.\n",
          "\nKEYWORDS\n", "\nSEE ALSO\n"}) {
        const std::size_t found = text.find(part, position);
        ASSERT_NE(found, std::string::npos) << part;
        position = found;
    }
    EXPECT_NE(text.find("Reorient", position), std::string::npos);
}

TEST(Rotate, DescribesVerboseByItsField) {
    CNodeUnderTest node("Rotate");
    node.Set("verbose", true).Init();
    CValueMap setup;
    node.Node().GetPluginSetup(setup);
    EXPECT_TRUE(setup.EntryBool("parameters/verbose", false));
}

TEST(Rotate, WholeTurnsCopyWhateverTheParameters) {
    for (const double angle : {0.0, -0.0, 360.0, -360.0, -720.0, 3600.0, 2147483520.0}) {
        for (const char* method : kMethods) {
            for (const bool resize : {false, true}) {
                CNodeUnderTest node("Rotate");
                const CCapturedOutput errors(std::cerr);
                const CCapturedOutput lines(std::cout);
                Configure(node, {angle, 9.0, resize, method}).Set("verbose", true);
                node.Input(0, CodedImage(IMAGE_GREY_8, CSize(3, 2))).Run();
                EXPECT_TRUE(SameImage(node.InputImage(0), node.Output())) << angle;
                EXPECT_EQ(errors.Text() + lines.Text(), "");
            }
        }
    }
}

TEST(Rotate, QuarterAndHalfTurnsMoveElementsIfTheSizeMayChange) {
    // 0  1  2
    // 10 11 12
    const std::vector<std::uint8_t> right{10, 0, 11, 1, 12, 2};
    const std::vector<std::uint8_t> half{12, 11, 10, 2, 1, 0};
    const std::vector<std::uint8_t> left{2, 12, 1, 11, 0, 10};
    const auto turned = [](double angle, const char* method) {
        CNodeUnderTest node("Rotate");
        const CCapturedOutput lines(std::cout);
        const CCapturedOutput errors(std::cerr);
        Configure(node, {angle, 7.0, true, method}).Set("verbose", true);
        node.Input(0, CodedImage(IMAGE_GREY_8, CSize(3, 2))).Run();
        EXPECT_EQ(lines.Text() + errors.Text(), "");
        EXPECT_EQ(node.Output().Size().dim, 3);
        const bool upright = std::fmod(angle, 180.0) == 0.0;
        EXPECT_EQ(node.Output().Size(), upright ? CSize(3, 2, 1) : CSize(2, 3, 1));
        return BytesOf(node.Output());
    };
    for (const char* method : kMethods) {
        for (const double angle : {90.0, -270.0, 450.0, -630.0, 2147483610.0}) {
            EXPECT_EQ(turned(angle, method), right) << angle;
        }
        for (const double angle : {180.0, -180.0, 540.0}) {
            EXPECT_EQ(turned(angle, method), half) << angle;
        }
        for (const double angle : {270.0, -90.0, 630.0}) {
            EXPECT_EQ(turned(angle, method), left) << angle;
        }
    }
}

TEST(Rotate, QuarterTurnsOfVolumesTurnEachPlane) {
    std::mt19937 random(3);
    for (const auto& type : {IMAGE_GREY_8, IMAGE_GREY_F}) {
        for (const CSize& size :
             {CSize(1, 5, 2), CSize(64, 64, 1), CSize(16, 17, 3), CSize(131, 70, 2), CSize(70, 150, 1)}) {
            for (const int quarters : {1, 2, 3}) {
                CNodeUnderTest node("Rotate");
                node.Set("angle", 90 * quarters).Set("resize", true).Input(0, RandomImage(type, size, random)).Run();
                const std::unique_ptr<const IAccess> in(node.InputImage(0).CreateAccess());
                const std::unique_ptr<const IAccess> out(node.Output().CreateAccess());
                int wrong = 0;
                for (std::int64_t z = 0; z < size.z; ++z) {
                    for (std::int64_t y = 0; y < size.y; ++y) {
                        for (std::int64_t x = 0; x < size.x; ++x) {
                            const double source = in->Get(x, y, z, 0);
                            const double moved = quarters == 1   ? out->Get(size.y - 1 - y, x, z, 0)
                                                 : quarters == 2 ? out->Get(size.x - 1 - x, size.y - 1 - y, z, 0)
                                                                 : out->Get(y, size.x - 1 - x, z, 0);
                            wrong += std::memcmp(&source, &moved, sizeof source) != 0;
                        }
                    }
                }
                EXPECT_EQ(wrong, 0) << size.ToString() << " by " << quarters;
            }
        }
    }
}

TEST(Rotate, TurnsPlanesBeyondTheCachesByAQuarter) {
    constexpr std::int64_t width = 1101;
    constexpr std::int64_t height = 2064;
    std::mt19937 random(4);
    for (const int quarters : {1, 3}) {
        CNodeUnderTest node("Rotate");
        node.Set("angle", 90 * quarters).Set("resize", true);
        node.Input(0, RandomImage(IMAGE_GREY_F, CSize(width, height), random)).Run();
        const auto in = ElementsOf<std::uint32_t>(node.InputImage(0));
        const auto out = ElementsOf<std::uint32_t>(node.Output());
        int wrong = 0;
        for (std::int64_t y = 0; y < height; ++y) {
            for (std::int64_t x = 0; x < width; ++x) {
                const std::int64_t moved = quarters == 1 ? height * x + height - 1 - y : height * (width - 1 - x) + y;
                wrong += in[static_cast<std::size_t>(width * y + x)] != out[static_cast<std::size_t>(moved)];
            }
        }
        EXPECT_EQ(wrong, 0) << quarters;
    }
}

TEST(Rotate, KeepsTheBitsOfFloatsThatItMoves) {
    const std::vector<std::uint32_t> bits{0x7FA00001U, 0x80000000U, 0xFFC12345U, 0x7F800001U};
    for (const double angle : {90.0, 180.0, 360.0}) {
        CNodeUnderTest node("Rotate");
        node.Set("angle", angle).Input(0, MakeImage<std::uint32_t>(IMAGE_GREY_F, CSize(1, 4), bits)).Run();
        auto moved = ElementsOf<std::uint32_t>(node.Output());
        if (angle < 360.0) {
            std::reverse(moved.begin(), moved.end());
        }
        EXPECT_EQ(moved, bits) << angle;
    }
    CNodeUnderTest node("Rotate");
    node.Set("angle", 180.0).Set("resize", false).Set("method", "NEAREST_NEIGHBOR");
    node.Input(0, MakeImage<std::uint32_t>(IMAGE_GREY_F, CSize(2, 2), bits)).Run();
    EXPECT_EQ(ElementsOf<std::uint32_t>(node.Output()),
              (std::vector<std::uint32_t>{0x7F800001U, 0xFFC12345U, 0x80000000U, 0x7FA00001U}));
}

TEST(Rotate, InterpolatesQuarterTurnsIfTheSizeIsKept) {
    // The columns of the output run down the columns 1 and 2 of the source, from sy = 2 to sy = -1. What lies at 2 is
    // outside, what lies at -1 is so or not by the rounding of the cosine.
    CNodeUnderTest node("Rotate");
    Configure(node, {90.0, 77.0, false, "BILINEAR"});
    node.Input(0, MakeImage<std::uint8_t>(IMAGE_GREY_8, CSize(4, 2), {0, 20, 40, 60, 100, 120, 140, 160})).Run();
    EXPECT_EQ(node.Output().Size(), CSize(4, 2, 1));
    const auto out = BytesOf(node.Output());
    EXPECT_EQ(out[0], 77);
    EXPECT_EQ(out[4], 77);
    EXPECT_NEAR(out[1], 120, 1);
    EXPECT_NEAR(out[2], 20, 1);
    EXPECT_NEAR(out[5], 140, 1);
    EXPECT_NEAR(out[6], 40, 1);
}

TEST(Rotate, KeepsOrFollowsTheSize) {
    const auto size = [](double angle, bool resize, const CSize& extents) {
        CNodeUnderTest node("Rotate");
        Configure(node, {angle, 0.0, resize, "NEAREST_NEIGHBOR"});
        return CSize(node.Input(0, ZeroImage(IMAGE_GREY_8, extents)).Run().Output().Size());
    };
    EXPECT_EQ(size(45.0, true, CSize(100, 100)), CSize(144, 143, 1));
    EXPECT_EQ(size(45.0, false, CSize(100, 100)), CSize(100, 100, 1));
    // The corners lie at 0, 8.66, 2.5 and 11.16 in x, at 0, -4.99.., 4.33 and -0.67 in y.
    EXPECT_EQ(size(30.0, true, CSize(10, 5, 2)), CSize(14, 11, 2));
    EXPECT_EQ(size(90.5, true, CSize(10, 5)), CSize(7, 13, 1)) << "x from -0.09 to 4.99.., y from -10.04 to 0";
    EXPECT_EQ(size(90.0, false, CSize(10, 5)), CSize(10, 5, 1));
}

TEST(Rotate, FillsTheBackgroundByLowBits) {
    const auto corner = [](double background) {
        return Turned({45.0, background, true, "BILINEAR"}, Bytes(4, 4, std::vector<std::uint8_t>(16, 9)))[0];
    };
    EXPECT_EQ(corner(300.0), 44);
    EXPECT_EQ(corner(-1.0), 255);
    EXPECT_EQ(corner(7.9), 7);
    EXPECT_EQ(corner(1e300), 0);
    EXPECT_EQ(corner(std::nan("")), 0);
    CNodeUnderTest node("Rotate");
    Configure(node, {45.0, 0.1, true, "BILINEAR"}).Input(0, ZeroImage(IMAGE_GREY_F, CSize(4, 4))).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output())[0], 0.1F);
}

TEST(Rotate, RepeatsTheEdgeInTheBandBeforeIt) {
    // A single row turned by a quarter runs through the column 1 at sy = -1, which still is inside, 0, and 1.
    const auto out = Turned({-90.0, 5.0, false, "NEAREST_NEIGHBOR"}, Bytes(3, 1, {10, 20, 30}));
    EXPECT_EQ(out, (std::vector<std::uint8_t>{20, 20, 5}));
}

TEST(Rotate, BicubicLeavesARimAndSmallImagesToTheBackground) {
    const auto rim = Turned({0.001, 3.0, false, "BICUBIC_SPLINES"}, Bytes(5, 5, std::vector<std::uint8_t>(25, 100)));
    for (std::size_t y = 0; y < 5; ++y) {
        EXPECT_EQ(rim[5 * y + 4], 3);
        EXPECT_EQ(rim[20 + y], 3);
    }
    EXPECT_EQ(rim[6], 100);
    EXPECT_EQ(rim[12], 100);
    const auto narrow = Turned({10.0, 3.0, false, "BICUBIC_SPLINES"}, Bytes(2, 9, std::vector<std::uint8_t>(18, 100)));
    EXPECT_EQ(narrow, std::vector<std::uint8_t>(18, 3));
    const auto low = Turned({10.0, 3.0, false, "BICUBIC_SPLINES"}, Bytes(9, 2, std::vector<std::uint8_t>(18, 100)));
    EXPECT_EQ(low, std::vector<std::uint8_t>(18, 3));
}

TEST(Rotate, WarnsOfBicubicBytesOnly) {
    const auto warning = [](const char* method, const IImage::CType& type, double angle) {
        CNodeUnderTest node("Rotate");
        const CCapturedOutput errors(std::cerr);
        const CCapturedOutput lines(std::cout);
        Configure(node, {angle, 0.0, true, method}).Input(0, ZeroImage(type, CSize(4, 4))).Run();
        EXPECT_EQ(lines.Text(), "");
        return errors.Text();
    };
    EXPECT_EQ(warning("BICUBIC_SPLINES", IMAGE_GREY_8, 10.0),
              "Attention: Using bicubic splines interpolation with images of type GREY_8 may produce wrong pixels due "
              "to interpolation undershoot!\n");
    EXPECT_EQ(warning("BICUBIC_SPLINES", IMAGE_GREY_8, 90.0), "");
    EXPECT_EQ(warning("BICUBIC_SPLINES", IMAGE_GREY_F, 10.0), "");
    EXPECT_EQ(warning("BILINEAR", IMAGE_GREY_8, 10.0), "");
    EXPECT_EQ(warning("NEAREST_NEIGHBOR", IMAGE_GREY_8, 10.0), "");
}

TEST(Rotate, PrintsSineAndCosineIfVerbose) {
    const auto lines = [](double angle, bool verbose) {
        CNodeUnderTest node("Rotate");
        const CCapturedOutput captured(std::cout);
        node.Set("angle", angle).Set("resize", false).Set("verbose", verbose);
        node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(2, 2))).Run();
        return captured.Text();
    };
    EXPECT_EQ(lines(90.0, true), "sine -1\ncosine 6.12323e-17\n");
    EXPECT_EQ(lines(-45.0, true), "sine 0.707107\ncosine 0.707107\n");
    EXPECT_EQ(lines(45.0, false), "");
}

TEST(Rotate, RefusesUnknownMethodsAndKeepsTheFieldsThen) {
    for (const char* method : {"", "bilinear", "BILINEAR ", "NEAREST"}) {
        CNodeUnderTest node("Rotate");
        const StFailure expected{kWhere, std::string("Unsupported method '") + method +
                                             "', must be on of: NEAREST_NEIGHBOR, BILINEAR, BICUBIC_SPLINES!"};
        EXPECT_EQ(node.Set("method", method).Failure(), expected) << "checked before the missing input";
    }
    CNodeUnderTest node("Rotate");
    node.Set("method", "BICUBIC_SPLINES").Set("angle", 10).Init();
    node.Set("method", "none").Set("angle", 360);
    EXPECT_EQ(FailureOf([&] { node.Init(); }).where, kWhere);
    const CCapturedOutput errors(std::cerr);
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(3, 3))).RunAgain();
    EXPECT_NE(errors.Text(), "") << "method and angle are still those of the first call";
}

TEST(Rotate, RefusesMissingInputsAndOtherTypes) {
    const StFailure missing{kWhere, "input image is NULL"};
    CNodeUnderTest node("Rotate");
    EXPECT_EQ(node.Failure(), missing);
    EXPECT_EQ(node.NullImage(0).Failure(), missing);
    const StFailure wrongType{kWhere, "input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, "};
    for (const auto& type : TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8})) {
        EXPECT_EQ(node.Input(0, ZeroImage(type, CSize(2, 2))).Failure(), wrongType) << type.ToString();
    }
    node.Input(0, std::make_unique<CValueDouble>(1.0));
    EXPECT_THROW(node.Run(), CException);
    EXPECT_FALSE(node.HasOutput());
}

TEST(Rotate, ReadsItsParametersWithTheirFallbacks) {
    // 1 x 2 becomes 2 x 1 under a quarter turn: the size tells angle and resize.
    const auto turnedSize = [](CNodeUnderTest& node) {
        return CSize(node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(1, 2))).Run().Output().Size());
    };
    CNodeUnderTest node("Rotate");
    EXPECT_EQ(turnedSize(node), CSize(1, 2)) << "the angle is 0";
    EXPECT_EQ(turnedSize(node.Set("angle", 90)), CSize(2, 1, 1)) << "a long, and resize turned on by its absence";
    EXPECT_EQ(turnedSize(node.Set("angle", 270.0)), CSize(2, 1, 1));
    EXPECT_EQ(turnedSize(node.Unset("angle")), CSize(2, 1, 1)) << "the field stays";
    EXPECT_EQ(turnedSize(node.Set("angle", "0")), CSize(2, 1, 1)) << "a text is no number";
    EXPECT_EQ(turnedSize(node.Set("angle", false)), CSize(2, 1, 1));
    EXPECT_EQ(turnedSize(node.Set("resize", false)), CSize(1, 2, 1));
    EXPECT_EQ(turnedSize(node.Unset("resize")), CSize(2, 1, 1));

    CNodeUnderTest verbose("Rotate");
    verbose.Set("angle", 10).Set("verbose", true).Input(0, ZeroImage(IMAGE_GREY_8, CSize(2, 2)));
    const CCapturedOutput lines(std::cout);
    verbose.Run();
    const std::string once = lines.Text();
    verbose.Unset("verbose").Run();
    EXPECT_EQ(lines.Text(), once + once) << "the field stays";

    CNodeUnderTest method("Rotate");
    const CCapturedOutput errors(std::cerr);
    method.Set("angle", 10).Set("method", "BICUBIC_SPLINES").Input(0, ZeroImage(IMAGE_GREY_8, CSize(2, 2))).Run();
    const std::string warned = errors.Text();
    method.Unset("method").Run();
    EXPECT_EQ(errors.Text(), warned) << "back to BILINEAR";
}

TEST(Rotate, TakesTheBackgroundAsLongToo) {
    CNodeUnderTest node("Rotate");
    node.Set("angle", 45).Set("bg_value", 300).Input(0, ZeroImage(IMAGE_GREY_8, CSize(3, 3)));
    EXPECT_EQ(BytesOf(node.Run().Output())[0], 44);
    EXPECT_EQ(BytesOf(node.Unset("bg_value").Run().Output())[0], 44) << "the field stays";
    EXPECT_EQ(BytesOf(node.Set("bg_value", -1).Run().Output())[0], 255);
}

TEST(Rotate, ServesEmptyImages) {
    constexpr std::int64_t huge = std::int64_t{1} << 40;
    for (const char* method : kMethods) {
        CNodeUnderTest node("Rotate");
        const CCapturedOutput errors(std::cerr);
        Configure(node, {30.0, 6.0, true, method});
        node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(0, 0, 2))).Run();
        EXPECT_EQ(node.Output().Size(), CSize(3, 3, 2));
        EXPECT_EQ(BytesOf(node.Output()), std::vector<std::uint8_t>(18, 6));
        // x from 0 to 2, y from 0 to 3.46
        node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(0, 4))).Run();
        EXPECT_EQ(node.Output().Size().y, 6);
        for (const CSize& size : {CSize(5, 4, 0), CSize(0, 0, huge)}) {
            Configure(node, {30.0, 6.0, false, method}).Input(0, ZeroImage(IMAGE_GREY_8, size)).Run();
            EXPECT_EQ(node.Output().Size(), size);
        }
        for (const double angle : {90.0, 180.0, 360.0}) {
            Configure(node, {angle, 6.0, true, method}).Input(0, ZeroImage(IMAGE_GREY_8, CSize(0, huge, huge))).Run();
            EXPECT_EQ(node.Output().Size(), angle == 90.0 ? CSize(huge, 0, huge) : CSize(0, huge, huge));
        }
    }
    CNodeUnderTest node("Rotate");
    Configure(node, {30.0, 6.0, true, "BILINEAR"});
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(0, std::int64_t{1} << 62)));
    EXPECT_EQ(node.Failure().where, "CImage") << "no image is that large";
}

TEST(Rotate, AnglesThatAreNotFiniteLeaveTheBackground) {
    for (const double angle : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        for (const char* method : kMethods) {
            const std::vector<std::uint8_t> ones(20, 1);
            EXPECT_EQ(Turned({angle, 8.0, false, method}, Bytes(5, 4, ones)), std::vector<std::uint8_t>(20, 8));
            EXPECT_EQ(Turned({angle, 8.0, true, method}, Bytes(5, 4, ones)), std::vector<std::uint8_t>(9, 8));
        }
    }
}

TEST(Rotate, AnglesBeyond32BitsAreNoWholeTurns) {
    for (const double angle : {3.6e12, 9e9, -9e9, 1e300}) {
        const StCase c{angle, 8.0, true, "BILINEAR"};
        CNodeUnderTest node("Rotate");
        Configure(node, c).Input(0, CodedImage(IMAGE_GREY_8, CSize(5, 4))).Run();
        ExpectPlain<std::uint8_t>(node, c);
    }
}

TEST(Rotate, DropsAttributes) {
    for (const double angle : {0.0, 90.0, 30.0}) {
        CNodeUnderTest node("Rotate");
        auto image = Bytes(2, 2, {1, 2, 3, 4});
        image->Attributes().SetEntry("Image/ContentType", new CValueString(CString("table")));
        node.Set("angle", angle).Input(0, std::move(image)).Run();
        EXPECT_TRUE(node.Output().Attributes().IsEmpty());
    }
}

TEST(Rotate, BicubicGoesToTheCornerAlongTheRowsAndThenUp) {
    // The first row's element to the left is 2e38, and the corner's 6e38 in double precision. Up the column first it
    // would be threefold in single precision, which is infinite.
    std::vector<float> elements(25, 0.0F);
    elements[2] = 2e38F;
    CNodeUnderTest node("Rotate");
    Configure(node, {25.0, 0.0, false, "BICUBIC_SPLINES"}).Input(0, Floats(5, 5, elements)).Run();
    // Served from (0.24845..., 0.61000...): the weights before and after are -0.0701662 and -0.0231965 in x, and
    // -0.0463901 before and 0.4102178 at the row in y. -0.0463901 * -0.0701662 * 3 + 0.4102178 * (-0.0701662 -
    // 0.0231965) is -0.0285340.
    EXPECT_EQ(ElementsOf<float>(node.Output())[1], -5.70680138e+36F);
}

TEST(Rotate, BicubicWrapsBytesAround) {
    // A step from 0 to 255 between columns 3 and 4 over- and undershoots beside it, by up to 18 of 255.
    std::vector<std::uint8_t> step;
    for (int y = 0; y < 8; ++y) {
        step.insert(step.end(), {0, 0, 0, 0, 255, 255, 255, 255});
    }
    const auto out = Turned({10.0, 0.0, false, "BICUBIC_SPLINES"}, Bytes(8, 8, step));
    int wrapped = 0;
    for (std::size_t y = 2; y < 5; ++y) {
        wrapped += out[8 * y + 2] > 200 || out[8 * y + 3] > 200 || out[8 * y + 4] < 20 || out[8 * y + 5] < 20;
    }
    EXPECT_GT(wrapped, 0);
}

TEST(Rotate, AgreesWithThePlainLoopOnRandomImages) {
    std::mt19937 random(20260402);
    const CCapturedOutput errors(std::cerr);
    std::uniform_real_distribution<double> anyAngle(-400.0, 400.0);
    for (int round = 0; round < 3000; ++round) {
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
        const bool large = round % 50 == 0;
        const CSize size(extent(large ? 700 : 24), extent(large ? 200 : 24), extent(3));
        const double angles[] = {
            anyAngle(random), 90.0, 180.0, -90.0, 45.0, 1e-9, 0.001, 89.999999, std::floor(anyAngle(random))};
        StCase c{angles[random() % 9], static_cast<double>(random() % 256), random() % 2 == 0, kMethods[random() % 3]};
        if (c.angle == std::trunc(c.angle) && std::fmod(c.angle, 90.0) == 0.0) {
            c.resize = false;
            c.angle = std::fmod(c.angle, 360.0) == 0.0 ? 90.0 : c.angle;
        }
        const IImage::CType type = random() % 2 == 0 ? IMAGE_GREY_8 : IMAGE_GREY_F;
        CNodeUnderTest node("Rotate");
        Configure(node, c).Input(0, RandomNumbers(type, size, random));
        const auto before = BytesOf(node.InputImage(0));
        node.Run();
        EXPECT_EQ(BytesOf(node.InputImage(0)), before) << "the input has changed";
        type == IMAGE_GREY_8 ? ExpectPlain<std::uint8_t>(node, c) : ExpectPlain<float>(node, c);
    }
}

} // namespace
} // namespace QUOR::test
