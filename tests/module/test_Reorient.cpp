#include "ResamplingTest.h"

#include <iostream>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) Reorient::Run";

/// The main direction as it is told, element by element.
template <class T> double PlainDirection(const CImage& image) {
    const std::vector<T> in = ElementsOf<T>(image);
    const auto width = static_cast<std::int32_t>(image.Size().x);
    const auto height = static_cast<std::int32_t>(image.Size().y);
    const auto product = [](std::int32_t a, std::int32_t b) {
        const std::int64_t exact = std::int64_t{a} * b;
        return static_cast<double>(static_cast<std::int32_t>(static_cast<std::uint32_t>(exact & 0xFFFFFFFF)));
    };
    double sx = 0.0, sy = 0.0, sxx = 0.0, syy = 0.0, sxy = 0.0, n = 0.0;
    for (std::int32_t y = 0; y < height && !in.empty(); ++y) {
        for (std::int32_t x = 0; x < width; ++x) {
            if (in[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)] !=
                T{0}) {
                sx += x;
                sy += y;
                sxx += product(x, x);
                syy += product(y, y);
                sxy += product(x, y);
                n += 1;
            }
        }
    }
    if (n < 1) {
        return 0.0;
    }
    sx /= n;
    sy /= n;
    const double vx = sxx / n - sx * sx;
    const double vy = syy / n - sy * sy;
    const double cxy = sxy / n - sy * sx;
    const double d = vx - vy;
    const double r = std::sqrt(d * 0.25 * d + cxy * cxy);
    double a = 1.0;
    double b = 1.0;
    if (vx != vy) {
        a = (d * 0.5) / r + 1.0;
        b = cxy / r;
    }
    const double m = std::sqrt(b * b + a * a);
    if (m > 0) {
        a = a / m;
        b = b / m;
    } else {
        a = 0.0;
        b = 1.0;
    }
    double theta = std::atan2(b, a);
    if (std::abs(theta) > 0.7853981633974483) {
        theta += theta < 0 ? 1.5707963267948966 : -1.5707963267948966;
    }
    return theta;
}

/// The turn as it is told, element by element in the order of the rows.
template <class T> struct StPlainTurn {
    std::int64_t wo = 0;
    std::int64_t ho = 0;
    std::vector<T> out;
    bool spills = false;

    StPlainTurn(const CImage& image, double degrees, double background, bool resize) {
        const std::vector<T> in = ElementsOf<T>(image);
        const auto w = static_cast<std::int32_t>(image.Size().x);
        const auto h = static_cast<std::int32_t>(image.Size().y);
        const double rad = (degrees / 180.0) * 3.141592653589793;
        const double c = std::cos(rad);
        const double s = std::sin(rad);
        double minX = 0.0, maxX = 0.0, minY = 0.0, maxY = 0.0;
        for (const double x : {w * c, -h * s, w * c - h * s}) {
            minX = std::min(minX, x);
            maxX = std::max(maxX, x);
        }
        for (const double y : {w * s, h * c, h * c + w * s}) {
            minY = std::min(minY, y);
            maxY = std::max(maxY, y);
        }
        int x0 = 0, x1 = 0, y0 = 0, y1 = 0;
        if (resize) {
            x0 = static_cast<int>(minX) - 1;
            x1 = static_cast<int>(maxX) + 1;
            y0 = static_cast<int>(minY) - 1;
            y1 = static_cast<int>(maxY) + 1;
            wo = x1 - x0 + 1;
            ho = y1 - y0 + 1;
        } else {
            const double mX = ((maxX - minX + 1.0) - w) * 0.5;
            minX += mX;
            maxX -= mX;
            const double mY = ((maxY - minY + 1.0) - h) * 0.5;
            minY += mY;
            maxY -= mY;
            x0 = static_cast<int>(minX + (minX >= 0 ? 0.5 : -0.5));
            x1 = static_cast<int>(maxX + (maxX >= 0 ? 0.5 : -0.5));
            y0 = static_cast<int>(minY + (minY >= 0 ? 0.5 : -0.5));
            y1 = static_cast<int>(maxY + (maxX >= 0 ? 0.5 : -0.5));
            wo = w;
            ho = h;
        }
        T fill{};
        if constexpr (std::is_same_v<T, float>) {
            fill = static_cast<float>(background);
        } else {
            fill = CutTo<T, std::int32_t>(background);
        }
        out.assign(static_cast<std::size_t>(wo * ho), fill);
        if (in.empty()) {
            return;
        }
        for (int y = y0; y < y1; ++y) {
            double u = y * s + (x0 - 1) * c;
            double v = y * c - (x0 - 1) * s;
            for (int x = x0; x <= x1; ++x) {
                u += c;
                v -= s;
                if (u < -1.0 || u > w + 1 || v < -1.0 || v > h + 1) {
                    continue;
                }
                const std::int64_t index = (y - y0) * wo + (x - x0);
                spills = spills || x - x0 == wo;
                if (index < wo * ho) {
                    out[static_cast<std::size_t>(index)] = Sample(in, w, h, u, v);
                }
            }
        }
    }

    static T Sample(const std::vector<T>& in, int w, int h, double u, double v) {
        const auto [near, far, dx] = Neighbours(u, w);
        const auto [nearV, farV, dy] = Neighbours(v, h);
        const auto at = [&](int x, int y) {
            return static_cast<double>(
                in[static_cast<std::size_t>(y) * static_cast<std::size_t>(w) + static_cast<std::size_t>(x)]);
        };
        const double p = at(near, nearV);
        const double q = at(near, farV);
        const double t = at(far, nearV);
        const auto value = static_cast<float>((q * dy + (1 - dy) * p) * 0.5 + (t * dx + (1 - dx) * p) * 0.5);
        if constexpr (std::is_same_v<T, float>) {
            return value;
        } else {
            return CutTo<T, std::int32_t>(static_cast<double>(value) + 0.5);
        }
    }

    static std::tuple<int, int, double> Neighbours(double u, int extent) {
        const int low = static_cast<int>(std::floor(u));
        const int high = static_cast<int>(std::ceil(u));
        const bool lowIsNear = high - u > u - low;
        const int near = lowIsNear ? low : high;
        const int far = lowIsNear ? high : low;
        return {std::clamp(near, 0, extent - 1), std::clamp(far, 0, extent - 1), std::fabs(u - near)};
    }
};

double DirectionOf(const CImage& image) {
    return image.Type() == IMAGE_GREY_F ? PlainDirection<float>(image) : PlainDirection<std::uint8_t>(image);
}

/// Compares with the plain loop; true if pixels were spilled into the next row.
template <class T> bool ExpectPlain(CNodeUnderTest& node, double background, bool resize) {
    const double deg = (DirectionOf(node.InputImage(1)) / 3.141592653589793) * 180.0;
    const StPlainTurn<T> plain(node.InputImage(0), -deg, background, resize);
    EXPECT_EQ(node.Output().Size(), CSize(plain.wo, plain.ho));
    EXPECT_TRUE(SameNumbers(plain.out, ElementsOf<T>(node.Output())))
        << node.InputImage(0).Size().ToString() << " by " << -deg << (resize ? " resized" : "");
    return plain.spills;
}

/// A horizontal line, whose direction is 0.
ImagePtr Horizontal() { return Bytes(3, 1, {1, 1, 1}); }

/// A single element, which turns by -45 degrees.
ImagePtr Dot() { return Bytes(1, 1, {1}); }

std::vector<std::string> LinesFor(ImagePtr data) {
    CNodeUnderTest node("Reorient");
    const CCapturedOutput lines(std::cout);
    node.Set("verbose", true).Input(0, Bytes(1, 1, {1})).Input(1, std::move(data)).Run();
    std::vector<std::string> found;
    std::istringstream stream(lines.Text());
    for (std::string line; std::getline(stream, line);) {
        found.push_back(line);
    }
    return found;
}

TEST(Reorient, DescribesItself) {
    const auto setup = DescriptionOf("Reorient");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Reorient");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PReorient/index.html");
    EXPECT_FALSE(setup->HasEntry("keywords"));
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 3U);
    ASSERT_TRUE(setup->HasEntry("parameters/bg_value", EnValType::Double));
    EXPECT_EQ(setup->EntryDouble("parameters/bg_value", 1.0), 0.0);
    for (const char* key : {"parameters/resize", "parameters/verbose"}) {
        ASSERT_TRUE(setup->HasEntry(key, EnValType::Bool));
        EXPECT_FALSE(setup->EntryBool(key, true));
        EXPECT_EQ(MetaText(*setup, key, "gui/boolean"), "togglebutton");
    }
    EXPECT_EQ(MetaText(*setup, "parameters/bg_value", "gui/boolean"), "(none)");
    EXPECT_EQ(MetaText(*setup, "parameters/bg_value", "desc")
                  .find("The type of this parameter is of type double. pixel "
                        "value for background.\n"),
              0U);
    EXPECT_EQ(MetaText(*setup, "parameters/verbose", "desc")
                  .find("The type of this parameter is of type bool. if true, "
                        "print angle feedback to stdout\n"),
              0U);
    EXPECT_EQ(setup->Entry("gui/order", true)->Map()->Size(), 3U);
    EXPECT_EQ(setup->EntryString("gui/order/0", ""), "bg_value");
    EXPECT_EQ(setup->EntryString("gui/order/1", ""), "resize");
    EXPECT_EQ(setup->EntryString("gui/order/2", ""), "verbose");
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image of type IMAGE_GREY_F or IMAGE_GREY_8.");
    EXPECT_EQ(MetaText(*setup, "inputs/1", "label"),
              "Second input image of type IMAGE_GREY_F or IMAGE_GREY_8 used to\ncompute the rotation angle.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_FALSE(setup->Entry("inputs/1", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of the same type as the input image.");
    const std::string text = setup->EntryString("description", "").Text();
    std::size_t position = 0;
    for (const char* part :
         {"BRIEF\nNode to reorient an image using the main orientation of the data\nin a second input image.\n\n",
          "\nINPUT 0\n", "\nINPUT 1\n", "\nOUTPUT 0\n", "\nPARAMETER bg_value\n", "\nPARAMETER resize\n",
          "\nPARAMETER verbose\n", "\nNOTE\nCurrently only implemented for 2d images.\n", "\nSEE ALSO\n"}) {
        const std::size_t found = text.find(part, position);
        ASSERT_NE(found, std::string::npos) << part;
        position = found;
    }
    EXPECT_NE(text.find("Rotate", position), std::string::npos);
    EXPECT_EQ(text.find("KEYWORDS"), std::string::npos);
}

TEST(Reorient, FindsTheMainDirection) {
    using Lines = std::vector<std::string>;
    const Lines none{"angle (rad): 0", "angle (deg): 0"};
    const Lines quarter{"angle (rad): 0.785398", "angle (deg): 45"};
    EXPECT_EQ(LinesFor(Bytes(3, 2, {0, 0, 0, 0, 0, 0})), none) << "no data";
    EXPECT_EQ(LinesFor(ZeroImage(IMAGE_GREY_8, CSize(3, 2, 0))), none) << "no plane";
    EXPECT_EQ(LinesFor(Bytes(3, 3, {0, 0, 0, 0, 0, 7, 0, 0, 0})), quarter) << "a single element";
    EXPECT_EQ(LinesFor(Bytes(2, 2, {1, 1, 1, 1})), quarter) << "as wide as high";
    EXPECT_EQ(LinesFor(Bytes(2, 2, {0, 1, 1, 0})), quarter) << "whatever the slant";
    EXPECT_EQ(LinesFor(Horizontal()), none);
    EXPECT_EQ(LinesFor(Bytes(1, 3, {1, 1, 1})), none) << "upright is folded to the nearest axis";
    // (0, 0), (2, 1), (4, 2): half the angle of 2 * 4/3 / (8/3 - 2/3), in half-angle form
    EXPECT_EQ(LinesFor(Bytes(5, 3, {1, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 1})),
              (Lines{"angle (rad): 0.463648", "angle (deg): 26.5651"}));
    // the same, mirrored and upright: 63.4 degrees, folded
    EXPECT_EQ(LinesFor(Bytes(3, 5, {1, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 1})),
              (Lines{"angle (rad): -0.463648", "angle (deg): -26.5651"}));
    EXPECT_EQ(LinesFor(Floats(3, 1, {std::nanf(""), -0.0F, 1.0F})), none) << "not a number is data, zero isn't";
    EXPECT_EQ(LinesFor(Floats(3, 1, {0.0F, std::nanf(""), 0.0F})), quarter);
}

TEST(Reorient, ReadsTheFirstPlaneOfVolumes) {
    auto data = ZeroImage(IMAGE_GREY_8, CSize(3, 1, 2));
    std::memset(static_cast<std::uint8_t*>(data->Buffer().Data()) + 3, 1, 1); // data in the second plane only
    EXPECT_EQ(LinesFor(std::move(data)), (std::vector<std::string>{"angle (rad): 0", "angle (deg): 0"}));
    CNodeUnderTest node("Reorient");
    node.Set("resize", true).Input(0, CodedImage(IMAGE_GREY_8, CSize(2, 2, 2))).Input(1, Horizontal()).Run();
    EXPECT_EQ(node.Output().Size(), CSize(5, 5)) << "a single plane";
    EXPECT_EQ(BytesOf(node.Output())[0], 0);
}

TEST(Reorient, MovesByOnePixelWithoutAnAngle) {
    CNodeUnderTest node("Reorient");
    node.Set("bg_value", 99.0).Input(0, CodedImage(IMAGE_GREY_8, CSize(3, 4))).Input(1, Horizontal()).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{11, 12, 12, //
                                                                 21, 22, 22, //
                                                                 31, 32, 32, //
                                                                 99, 99, 99}));
    node.Set("resize", true).Run();
    EXPECT_EQ(node.Output().Size(), CSize(6, 7)) << "of two dimensions";
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{0,  0,  1,  2,  2,  2,  //
                                                                 0,  0,  1,  2,  2,  2,  //
                                                                 10, 10, 11, 12, 12, 12, //
                                                                 20, 20, 21, 22, 22, 22, //
                                                                 30, 30, 31, 32, 32, 32, //
                                                                 30, 30, 31, 32, 32, 32, //
                                                                 99, 99, 99, 99, 99, 99}));
}

TEST(Reorient, FillsTheBackgroundByLowBits) {
    const auto corner = [](double background) {
        CNodeUnderTest node("Reorient");
        node.Set("resize", true).Set("bg_value", background).Input(0, ZeroImage(IMAGE_GREY_8, CSize(9, 9)));
        return int{BytesOf(node.Input(1, Dot()).Run().Output())[0]};
    };
    EXPECT_EQ(corner(300.0), 44);
    EXPECT_EQ(corner(-1.0), 255);
    EXPECT_EQ(corner(7.9), 7);
    EXPECT_EQ(corner(std::nan("")), 0);
    CNodeUnderTest node("Reorient");
    node.Set("resize", true).Set("bg_value", 0.1).Input(0, ZeroImage(IMAGE_GREY_F, CSize(9, 9))).Input(1, Dot());
    EXPECT_EQ(ElementsOf<float>(node.Run().Output())[0], 0.1F);
}

TEST(Reorient, ReadsItsParametersWithTheirFallbacks) {
    CNodeUnderTest node("Reorient");
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(9, 9))).Input(1, Dot());
    const auto corner = [&] { return int{BytesOf(node.Output()).back()}; };
    EXPECT_EQ((node.Set("bg_value", 300).Run(), corner()), 44);
    EXPECT_EQ((node.Unset("bg_value").Run(), corner()), 44) << "the field stays";
    EXPECT_EQ((node.Set("bg_value", "5").Run(), corner()), 44) << "a text is no number";
    EXPECT_EQ((node.Set("bg_value", 6.0).RunAgain(), corner()), 44) << "only NodeInit reads parameters";
    EXPECT_EQ(node.Output().Size(), CSize(9, 9));
    node.Set("resize", 1).Run();
    EXPECT_GT(node.Output().Size().x, 9);
    node.Unset("resize").Run();
    EXPECT_EQ(node.Output().Size(), CSize(9, 9));
    const CCapturedOutput lines(std::cout);
    node.Set("verbose", true).Run();
    const std::string once = lines.Text();
    EXPECT_EQ(once, "angle (rad): 0.785398\nangle (deg): 45\n");
    node.Unset("verbose").Run();
    EXPECT_EQ(lines.Text(), once);
}

TEST(Reorient, RefusesMissingInputs) {
    const StFailure missing{kWhere, "input image is NULL"};
    const auto any = [] { return ZeroImage(IMAGE_GREY_16, CSize(2, 2)); };
    EXPECT_EQ(CNodeUnderTest("Reorient").Failure(), missing);
    EXPECT_EQ(CNodeUnderTest("Reorient").Input(0, any()).Failure(), missing) << "before the types";
    EXPECT_EQ(CNodeUnderTest("Reorient").Input(1, any()).Failure(), missing);
    EXPECT_EQ(CNodeUnderTest("Reorient").NullImage(0).Input(1, any()).Failure(), missing);
    EXPECT_EQ(CNodeUnderTest("Reorient").Input(0, any()).NullImage(1).Failure(), missing);
    EXPECT_EQ(CNodeUnderTest("Reorient").Input(0, std::make_unique<CValueLong>(1)).Failure(), missing)
        << "the second is missed before the first is looked at";
}

TEST(Reorient, RefusesOtherTypes) {
    const StFailure first{kWhere, "first input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, "};
    const StFailure second{kWhere, "second input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, "};
    for (const auto& type : TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8})) {
        CNodeUnderTest node("Reorient");
        const CCapturedOutput lines(std::cout);
        node.Set("verbose", true).Input(0, ZeroImage(type, CSize(2, 2))).Input(1, ZeroImage(type, CSize(2, 2)));
        EXPECT_EQ(node.Failure(), first) << type.ToString();
        EXPECT_EQ(node.Input(0, Dot()).Failure(), second) << type.ToString();
        EXPECT_EQ(lines.Text(), "");
    }
    CNodeUnderTest node("Reorient");
    node.Input(0, std::make_unique<CValueLong>(1)).Input(1, Dot());
    EXPECT_THROW(node.Run(), CException);
    node.Input(0, Dot()).Input(1, std::make_unique<CValueLong>(1));
    EXPECT_THROW(node.Run(), CException);
    EXPECT_FALSE(node.HasOutput());
}

TEST(Reorient, ServesEmptyImages) {
    CNodeUnderTest node("Reorient");
    node.Set("bg_value", 5.0).Input(1, Dot());
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(4, 3, 0))).Run();
    EXPECT_EQ(node.Output().Size(), CSize(4, 3));
    EXPECT_EQ(BytesOf(node.Output()), std::vector<std::uint8_t>(12, 5));
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(0, 0))).Run();
    EXPECT_EQ(node.Output().Size(), CSize(0, 0));
    node.Set("resize", true).Run();
    EXPECT_EQ(node.Output().Size(), CSize(3, 3));
    EXPECT_EQ(BytesOf(node.Output()), std::vector<std::uint8_t>(9, 5));
}

TEST(Reorient, DropsAttributes) {
    CNodeUnderTest node("Reorient");
    auto image = Dot();
    image->Attributes().SetEntry("Image/ContentType", new CValueString(CString("table")));
    EXPECT_TRUE(node.Input(0, std::move(image)).Input(1, Dot()).Run().Output().Attributes().IsEmpty());
}

TEST(Reorient, ProductsWrapAroundBeyond32Bits) {
    // The squares of columns from 46341 on are more than 32 bits hold: the spread along x comes out a third smaller.
    std::vector<std::uint8_t> steps(static_cast<std::size_t>(47000 * 2), 0);
    for (std::size_t x = 0; x < 47000; ++x) {
        steps[x + (x < 23500 ? 0 : 47000)] = 1;
    }
    const auto image = Bytes(47000, 2, steps);
    std::ostringstream expected;
    expected << "angle (rad): " << PlainDirection<std::uint8_t>(*image);
    EXPECT_EQ(LinesFor(Bytes(47000, 2, steps))[0], expected.str());
    const double unwrapped = 5875.0 / (47000.0 * 47000.0 / 12.0);
    EXPECT_GT(PlainDirection<std::uint8_t>(*image), 1.3 * unwrapped);
}

/// By angles with rational sines the window's ends can lie exactly between two columns. Both are then rounded away from
/// zero, which makes the window one column wider than the output. True if that has spilled pixels into the next row.
bool SpillsAt(const CSize& size, std::mt19937& random) {
    struct StSlope {
        std::int64_t run, rise;
    };
    bool spills = false;
    for (const StSlope slope : {StSlope{4, 3}, StSlope{12, 5}, StSlope{15, 8}, StSlope{24, 7}, StSlope{35, 12}}) {
        auto data = ZeroImage(IMAGE_GREY_8, CSize(slope.run + 1, slope.rise + 1));
        const std::unique_ptr<IAccess> access(data->CreateAccess());
        access->Set(0, slope.rise, 0, 0, 1.0);
        access->Set(slope.run, 0, 0, 0, 1.0);
        CNodeUnderTest node("Reorient");
        node.Set("bg_value", 5.0).Input(0, RandomNumbers(IMAGE_GREY_F, size, random));
        spills |= ExpectPlain<float>(node.Input(1, std::move(data)).Run(), 5.0, false);
    }
    return spills;
}

TEST(Reorient, LetsTheLastPixelOfARowLandInTheNextRow) {
    std::mt19937 random(7);
    int spills = 0;
    for (std::int64_t width = 1; width < 50; ++width) {
        for (std::int64_t height = 1; height < 12; ++height) {
            spills += SpillsAt(CSize(width, height), random) ? 1 : 0;
        }
    }
    EXPECT_GT(spills, 0);
}

TEST(Reorient, LetsThePixelBehindAWholeBlockLandInTheNextRow) {
    std::mt19937 random(8);
    int spills = 0;
    for (std::int64_t height = 1; height < 60; ++height) {
        spills += SpillsAt(CSize(256, height), random) ? 1 : 0; // rows are served in blocks of 256
    }
    EXPECT_GT(spills, 0);
}

TEST(Reorient, AgreesWithThePlainLoopOnRandomImages) {
    std::mt19937 random(20260405);
    for (int round = 0; round < 3000; ++round) {
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
        const bool large = round % 60 == 0;
        const CSize size(extent(large ? 300 : 24), extent(large ? 100 : 24));
        const IImage::CType type = random() % 2 == 0 ? IMAGE_GREY_8 : IMAGE_GREY_F;
        const IImage::CType dataType = random() % 2 == 0 ? IMAGE_GREY_8 : IMAGE_GREY_F;
        const CSize dataSize(extent(large ? 2600 : 6), extent(6));
        auto data = ZeroImage(dataType, dataSize);
        const std::unique_ptr<IAccess> access(data->CreateAccess());
        for (std::int64_t count = extent(large ? 2000 : 5); count > 0; --count) {
            access->Set(extent(static_cast<unsigned>(dataSize.x)) - 1, extent(static_cast<unsigned>(dataSize.y)) - 1, 0,
                        0, 1.0);
        }
        const bool resize = random() % 3 == 0;
        const double background = static_cast<double>(random() % 256);
        CNodeUnderTest node("Reorient");
        node.Set("bg_value", background).Set("resize", resize);
        node.Input(0, RandomNumbers(type, size, random)).Input(1, std::move(data));
        const auto before = BytesOf(node.InputImage(0));
        node.Run();
        EXPECT_EQ(BytesOf(node.InputImage(0)), before) << "the input has changed";
        type == IMAGE_GREY_8 ? ExpectPlain<std::uint8_t>(node, background, resize)
                             : ExpectPlain<float>(node, background, resize);
    }
}

} // namespace
} // namespace QUOR::test
