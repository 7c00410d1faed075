#include "NodeTest.h"
#include "OneNaN.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) Resize";
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

using Row = std::vector<std::uint8_t>;
using FloatRow = std::vector<float>;

std::int64_t Rounded(std::int64_t extent, double factor) {
    return static_cast<std::int64_t>(static_cast<double>(extent) * factor + 0.5);
}

double Ratio(std::int64_t a, std::int64_t b) { return static_cast<double>(a) / static_cast<double>(b); }

template <class T> ImagePtr PlainBilinear(const CImage& image, double factorX, double factorY) {
    const std::vector<T> in = ElementsOf<T>(image);
    const std::int64_t width = image.Size().x;
    const std::int64_t height = image.Size().y;
    const std::int64_t outWidth = Rounded(width, factorX);
    const std::int64_t outHeight = Rounded(height, factorY);
    const auto at = [&](std::int64_t x, std::int64_t y) {
        return static_cast<double>(in[static_cast<std::size_t>(x + width * y)]);
    };
    std::vector<T> out;
    for (std::int64_t oy = 0; oy < outHeight; ++oy) {
        for (std::int64_t ox = 0; ox < outWidth; ++ox) {
            const double u = static_cast<double>(ox) / Ratio(outWidth, width);
            const double v = static_cast<double>(oy) / Ratio(outHeight, height);
            const auto ix = static_cast<std::int64_t>(u);
            const auto iy = static_cast<std::int64_t>(v);
            const double fx = u - static_cast<double>(ix);
            const double fy = v - static_cast<double>(iy);
            const std::int64_t jx = ix + 1 < width ? ix + 1 : ix;
            const std::int64_t jy = iy + 1 < height ? iy + 1 : iy;
            const auto t1 = static_cast<float>(at(ix, iy) * ((1 - fx) * (1 - fy)));
            const auto t2 = static_cast<float>(at(ix, jy) * ((1 - fx) * fy));
            const auto t3 = static_cast<float>(at(jx, iy) * ((1 - fy) * fx));
            const auto t4 = static_cast<float>(at(jx, jy) * (fy * fx));
            out.push_back(static_cast<T>(((t1 + t2) + t3) + t4));
        }
    }
    return MakeImage<T>(image.Type(), CSize(outWidth, outHeight), out);
}

template <class T> ImagePtr PlainBoxMean(const CImage& image, double factorX, double factorY) {
    const std::vector<T> in = ElementsOf<T>(image);
    const std::int64_t width = image.Size().x;
    const std::int64_t height = image.Size().y;
    const std::int64_t outWidth = Rounded(width, factorX);
    const std::int64_t outHeight = Rounded(height, factorY);
    FloatRow out;
    for (std::int64_t oy = 0; oy < outHeight; ++oy) {
        for (std::int64_t ox = 0; ox < outWidth; ++ox) {
            const auto x0 = static_cast<std::int64_t>(static_cast<double>(ox) / Ratio(outWidth, width));
            const auto y0 = static_cast<std::int64_t>(static_cast<double>(oy) / Ratio(outHeight, height));
            const std::int64_t x1 = std::min(x0 + static_cast<std::int64_t>(Ratio(width, outWidth) + 0.5), width - 1);
            const std::int64_t y1 =
                std::min(y0 + static_cast<std::int64_t>(Ratio(height, outHeight) + 0.5), height - 1);
            double sum = 0;
            std::int64_t count = 0;
            for (std::int64_t y = y0; y <= y1; ++y) {
                for (std::int64_t x = x0; x <= x1; ++x) {
                    sum += in[static_cast<std::size_t>(x + width * y)];
                    ++count;
                }
            }
            out.push_back(static_cast<float>(sum) / static_cast<float>(count));
        }
    }
    return MakeImage<float>(IMAGE_GREY_F, CSize(outWidth, outHeight), out);
}

/// Folds an index as it is told, step by step.
std::int64_t Folded(std::int64_t i, std::int64_t n) {
    while (i < 0) {
        i += 2 * n;
    }
    while (i >= 2 * n) {
        i -= 2 * n;
    }
    return i >= n ? (2 * n - i) - 1 : i;
}

/// One pass along a row of `n` elements at a stride, for one element of the output.
template <class T>
double PlainGaussElement(const T* in, std::int64_t n, std::int64_t stride, std::int64_t position, double factor) {
    const double sigma = 1.0 / (factor + factor);
    const int radius = static_cast<int>(std::ceil(std::sqrt(std::log(10.0) * 6.0) * sigma));
    const int size = 2 * radius + 1;
    const double c = static_cast<double>(position) / factor;
    const auto ic = static_cast<std::int64_t>(c + 0.5);
    std::vector<double> kernel;
    double sum = 0;
    for (int t = 0; t < size; ++t) {
        const double d = (t - ((radius + c) - static_cast<double>(ic))) / sigma;
        kernel.push_back(std::exp(d * -0.5 * d));
        sum += kernel.back();
    }
    double acc = 0;
    for (int t = 0; t < size; ++t) {
        const double weight =
            sum != 0 ? kernel[static_cast<std::size_t>(t)] / sum : kernel[static_cast<std::size_t>(t)];
        acc += static_cast<double>(in[stride * Folded(ic - radius + t, n)]) * weight;
    }
    return acc;
}

template <class T> ImagePtr PlainGauss(const CImage& image, double factorX, double factorY) {
    const std::vector<T> in = ElementsOf<T>(image);
    const std::int64_t width = image.Size().x;
    const std::int64_t height = image.Size().y;
    const auto outWidth = static_cast<std::int64_t>(static_cast<double>(width) * factorX);
    const auto outHeight = static_cast<std::int64_t>(static_cast<double>(height) * factorY);
    FloatRow between(static_cast<std::size_t>(outWidth * height));
    for (std::int64_t y = 0; y < height; ++y) {
        for (std::int64_t x = 0; x < outWidth; ++x) {
            between[static_cast<std::size_t>(x + outWidth * y)] =
                static_cast<float>(PlainGaussElement(in.data() + width * y, width, 1, x, factorX));
        }
    }
    std::vector<T> out;
    for (std::int64_t y = 0; y < outHeight; ++y) {
        for (std::int64_t x = 0; x < outWidth; ++x) {
            const double acc = PlainGaussElement(between.data() + x, height, outWidth, y, factorY);
            out.push_back(static_cast<T>(std::is_floating_point_v<T> ? acc : acc + 0.5));
        }
    }
    return MakeImage<T>(image.Type(), CSize(outWidth, outHeight), out);
}

/// A node whose lines on standard output are kept in `printed`.
struct StResize {
    CNodeUnderTest node{"Resize"};
    std::string printed;

    explicit StResize(ImagePtr image) { node.Input(0, std::move(image)); }
    StResize(ImagePtr image, double factorX, double factorY) : StResize(std::move(image)) {
        node.Set("scale_x", factorX).Set("scale_y", factorY);
    }
    const CImage& Output() {
        const CCapturedOutput lines(std::cout);
        node.Run();
        printed = lines.Text();
        return node.Output();
    }
    FloatRow Floats() { return ElementsOf<float>(Output()); }
    Row Bytes() { return BytesOf(Output()); }
};

ImagePtr Zeros(std::int64_t width, std::int64_t height) { return ZeroImage(IMAGE_GREY_8, CSize(width, height)); }

TEST(Resize, DescribesItself) {
    const auto setup = DescriptionOf("Resize");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Resize");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PResize/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "resize|shrink|scale|enlarge|expand|2d");
    EXPECT_FALSE(setup->HasEntry("gui"));
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 3U);
    for (const std::string axis : {"x", "y"}) {
        const std::string entry = "parameters/scale_" + axis;
        ASSERT_TRUE(setup->HasEntry(CValue_Key(entry), EnValType::Double));
        EXPECT_EQ(setup->EntryDouble(CValue_Key(entry), 0.0), 1.0);
        const std::string start =
            "The type of this parameter is of type double. resizing scale in " + axis + "-direction";
        EXPECT_EQ(MetaText(*setup, entry, "desc").substr(0, start.size()), start);
    }
    ASSERT_TRUE(setup->HasEntry("parameters/keep_ratio", EnValType::Bool));
    EXPECT_FALSE(setup->EntryBool("parameters/keep_ratio", true));
    EXPECT_TRUE(
        MetaText(*setup, "parameters/keep_ratio", "desc").starts_with("The type of this parameter is of type bool. "));
    EXPECT_EQ(MetaText(*setup, "parameters/keep_ratio", "gui/boolean"), "(none)");
    EXPECT_EQ(setup->Entry("inputs", true)->Map()->Size(), 2U);
    EXPECT_EQ(setup->Entry("outputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "First input image of type IMAGE_GREY_F or IMAGE_GREY_8.");
    EXPECT_EQ(MetaText(*setup, "inputs/1", "label"), "Optional Second input image of type IMAGE_GREY_F or "
                                                     "IMAGE_GREY_8\nspecifying the dimension of the output image.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_TRUE(setup->Entry("inputs/1", true)->Meta().EntryBool("optional", false));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of type as the first input image.");
    EXPECT_FALSE(setup->Entry("outputs/0", true)->Meta().HasEntry("optional"));
    EXPECT_EQ(UnwrapPointer<CImage>(setup->Entry("inputs/1", true)), nullptr);
    EXPECT_EQ(UnwrapPointer<CImage>(setup->Entry("outputs/0", true)), nullptr);
}

TEST(Resize, DescriptionTextHoldsItsSectionsInOrder) {
    const std::string text = DescriptionOf("Resize")->EntryString("description", "").Text();
    std::size_t position = 0;
    for (const char* part :
         {"BRIEF\nResize an 2d image\n\n", "The output is computed using a Gaussian kernel.", "\nINPUT 0\n",
          "\nINPUT 1\n", "\nOUTPUT 0\n", "\nPARAMETER scale_x\n", "\nPARAMETER scale_y\n", "\nPARAMETER keep_ratio\n",
          "\nKEYWORDS\nresize, shrink, scale, enlarge, expand, 2d\n", "\nSEE ALSO\n", "Scale", "Shrink"}) {
        const std::size_t found = text.find(part, position);
        ASSERT_NE(found, std::string::npos) << part;
        position = found;
    }
}

TEST(Resize, CopiesWithAttributesUnderFactorsOfOne) {
    auto image = CodedImage(IMAGE_GREY_F, CSize(3, 2, 1));
    image->Attributes().SetEntry("Image/ContentType", new CValueString(CString("table")));
    StResize resize(std::move(image));
    resize.node.Set("shrink_method", "gauss");
    EXPECT_TRUE(SameImage(resize.node.InputImage(0), resize.Output()));
    EXPECT_EQ(resize.node.Output().Attributes().EntryString("Image/ContentType", ""), "table");
    EXPECT_EQ(resize.printed, "");
    // A second input of the same size, whatever the factors say.
    resize.node.Set("scale_x", 3.0).Input(1, Zeros(3, 2));
    EXPECT_TRUE(SameImage(resize.node.InputImage(0), resize.Output()));
    EXPECT_NE(&resize.node.InputImage(0), &resize.node.Output());
}

TEST(Resize, DropsAttributesInAllOtherWays) {
    for (const double factor : {2.0, 0.5}) {
        for (const char* method : {"", "gauss"}) {
            auto image = Zeros(4, 4);
            image->Attributes().SetEntry("Image/ContentType", new CValueString(CString("table")));
            StResize resize(std::move(image), factor, factor);
            resize.node.Set("shrink_method", method);
            EXPECT_TRUE(resize.Output().Attributes().IsEmpty());
            EXPECT_EQ(resize.node.Output().Size().dim, 2);
        }
    }
}

TEST(Resize, CountsAsTwoDimensionsOnlyWhereItComputes) {
    StResize resize(ZeroImage(IMAGE_GREY_8, CSize(4, 4, 1)), 2.0, 1.0);
    EXPECT_EQ(resize.Output().Size(), CSize(8, 4));
}

TEST(Resize, InterpolatesFromTheFirstElementOn) {
    EXPECT_EQ(StResize(Floats(2, 2, {0, 8, 16, 32}), 2.0, 2.0).Floats(),
              (FloatRow{0, 4, 8, 8, 8, 14, 20, 20, 16, 24, 32, 32, 16, 24, 32, 32}));
    EXPECT_EQ(StResize(Bytes(2, 1, {0, 3}), 2.0, 1.0).Bytes(), (Row{0, 1, 3, 3})) << "1.5 is cut";
    EXPECT_EQ(StResize(Bytes(1, 2, {0, 9}), 1.0, 3.0).Bytes(), (Row{0, 3, 6, 9, 9, 9}));
    EXPECT_EQ(StResize(Bytes(2, 1, {255, 255}), 3.0, 1.0).Bytes(), Row(6, 255));
}

TEST(Resize, ShrinksOneAxisWithoutSmoothing) {
    EXPECT_EQ(StResize(Bytes(2, 4, {1, 3, 50, 60, 5, 7, 90, 90}), 2.0, 0.5).Bytes(), (Row{1, 2, 3, 3, 5, 6, 7, 7}));
}

TEST(Resize, TakesTheRatioOfTheRoundedSizes) {
    // 3 columns by 1.5 give 5 (4.5 + 0.5), so that element 4 lies at 4 / (5 / 3), in the last column.
    EXPECT_EQ(StResize(Floats(3, 1, {0, 10, 20}), 1.5, 1.0).Output().Size(), CSize(5, 1));
    EXPECT_EQ(StResize(Bytes(3, 1, {0, 100, 200}), 1.5, 1.0).Bytes(), (Row{0, 60, 120, 180, 200}));
}

TEST(Resize, KeepsTermsOfNoWeight) {
    // An infinity with the weight 0 is no number: in the first element for the column beside, then for the row below.
    constexpr float infinity = std::numeric_limits<float>::infinity();
    for (const float element : StResize(Floats(2, 1, {1, infinity}), 2.0, 1.0).Floats()) {
        EXPECT_TRUE(std::isnan(element));
    }
    const FloatRow out = StResize(Floats(3, 1, {1, 3, -infinity}), 2.0, 1.0).Floats();
    EXPECT_EQ(out[0], 1.0F);
    EXPECT_EQ(out[1], 2.0F);
    EXPECT_TRUE(std::isnan(out[2]));
}

TEST(Resize, TakesTheMeanOfBoxesAsFloats) {
    // Windows of 3 by 3 elements, cut at the edge: columns 0 to 2 and 2 to 3.
    const Row in{0, 1, 2, 3, 10, 11, 12, 13, 20, 21, 22, 23, 30, 31, 32, 33};
    StResize resize(Bytes(4, 4, in), 0.5, 0.5);
    EXPECT_EQ(resize.Output().Type(), IMAGE_GREY_F);
    EXPECT_EQ(resize.Floats(), (FloatRow{11, 12.5F, 26, 27.5F}));
    EXPECT_EQ(resize.printed, "");
    EXPECT_EQ(StResize(Floats(4, 4, FloatRow(in.begin(), in.end())), 0.5, 0.5).Floats(),
              (FloatRow{11, 12.5F, 26, 27.5F}));
}

TEST(Resize, DividesInSinglePrecision) {
    EXPECT_EQ(StResize(Bytes(3, 1, {0, 0, 1}), 0.4, 0.9).Floats(), FloatRow{1.0F / 3.0F});
    // 16777217 isn't a float: the sum becomes 16777216 before it is divided by 2.
    EXPECT_EQ(StResize(Floats(2, 1, {16777216, 1}), 0.5, 0.9).Floats(), FloatRow{8388608});
}

TEST(Resize, SumsFloatsInTheOrderOfTheWindow) {
    // From left to right 1 is lost beside 1e30, from right to left it isn't.
    EXPECT_EQ(StResize(Floats(3, 1, {1e30F, -1e30F, 1}), 0.4, 0.9).Floats(), FloatRow{1.0F / 3.0F});
    EXPECT_EQ(StResize(Floats(3, 1, {1, 1e30F, -1e30F}), 0.4, 0.9).Floats(), FloatRow{0});
    EXPECT_EQ(StResize(Floats(1, 3, {1, 1e30F, -1e30F}), 0.9, 0.4).Floats(), FloatRow{0});
    EXPECT_FALSE(std::signbit(StResize(Floats(2, 1, {-0.0F, -0.0F}), 0.5, 0.9).Floats()[0]));
}

TEST(Resize, RoundsTheSizesOfEachWayAsTold) {
    EXPECT_EQ(StResize(Zeros(5, 5), 0.3, 0.3).Output().Size(), CSize(2, 2)) << "1.5 + 0.5";
    EXPECT_EQ(StResize(Zeros(5, 5), 1.0, 0.3).Output().Size(), CSize(5, 2));
    EXPECT_EQ(StResize(Zeros(10, 10), 0.5, 0.5).Output().Size(), CSize(5, 5));
    StResize gauss(Zeros(5, 5), 0.3, 0.3);
    gauss.node.Set("shrink_method", "gauss");
    EXPECT_EQ(gauss.Output().Size(), CSize(1, 1)) << "1.5";
}

TEST(Resize, SmoothsWithAGaussianKernelIfTold) {
    StResize gauss(Zeros(10, 10), 0.5, 0.25);
    gauss.node.Set("shrink_method", "gauss");
    EXPECT_EQ(gauss.Output().Type(), IMAGE_GREY_8);
    EXPECT_EQ(gauss.node.Output().Size(), CSize(5, 2));
    EXPECT_EQ(gauss.printed, "GausKernel::recompute: sigma: 1\nGausKernel::recompute: sigma: 2\n");
    gauss.node.Set("scale_x", 0.3).Set("scale_y", 0.7);
    gauss.Output();
    EXPECT_EQ(gauss.printed, "GausKernel::recompute: sigma: 1.66667\nGausKernel::recompute: sigma: 0.714286\n");
    EXPECT_EQ(gauss.Output().Type(), IMAGE_GREY_8);
    EXPECT_EQ(gauss.node.Set("shrink_method", "Gauss").Run().Output().Type(), IMAGE_GREY_F) << "the box mean";
}

TEST(Resize, RoundsTheSmoothedBytes) {
    // A plane of one value keeps it, up to rounding, under any kernel.
    for (const std::uint8_t value : Row{0, 1, 128, 254, 255}) {
        StResize gauss(Bytes(4, 4, Row(16, value)), 0.5, 0.5);
        gauss.node.Set("shrink_method", "gauss");
        EXPECT_EQ(gauss.Bytes(), Row(4, value));
    }
}

TEST(Resize, KeepsTheMethodUntilATextReplacesIt) {
    StResize resize(Zeros(4, 4), 0.5, 0.5);
    resize.node.Set("shrink_method", "gauss");
    EXPECT_EQ(resize.Output().Type(), IMAGE_GREY_8);
    resize.node.Unset("shrink_method");
    EXPECT_EQ(resize.Output().Type(), IMAGE_GREY_8);
    resize.node.Set("shrink_method", 3);
    EXPECT_EQ(resize.Output().Type(), IMAGE_GREY_8);
    resize.node.Set("shrink_method", "");
    EXPECT_EQ(resize.Output().Type(), IMAGE_GREY_F);
}

TEST(Resize, TakesTheSizeOfASecondImage) {
    StResize resize(Zeros(4, 2), 9.0, 9.0);
    resize.node.Input(1, ZeroImage(IMAGE_GREY_F, CSize(6, 3)));
    EXPECT_EQ(resize.Output().Size(), CSize(6, 3));
    EXPECT_EQ(resize.node.Output().Type(), IMAGE_GREY_8);
    resize.node.Input(1, ZeroImage(IMAGE_GREY_8, CSize(3, 1)));
    EXPECT_EQ(resize.Output().Size(), CSize(3, 1));
    EXPECT_EQ(resize.node.Output().Type(), IMAGE_GREY_F) << "both shrink: the box mean";
    resize.node.Input(1, ZeroImage(IMAGE_GREY_8, CSize(3, 1, 0)));
    EXPECT_EQ(resize.Output().Size(), CSize(3, 1)) << "its width and height alone count";
}

TEST(Resize, KeepsTheRatioIfTold) {
    StResize resize(Zeros(100, 100));
    resize.node.Input(1, Zeros(200, 50)).Set("keep_ratio", true);
    EXPECT_EQ(resize.Output().Size(), CSize(50, 50));
    resize.node.Input(1, Zeros(300, 200));
    EXPECT_EQ(resize.Output().Size(), CSize(200, 200));
    resize.node.NoInput(1).Set("scale_x", 2.0).Set("scale_y", 3.0);
    EXPECT_EQ(resize.Output().Size(), CSize(200, 300)) << "without a second image the factors stand";
    resize.node.Unset("keep_ratio").Input(1, Zeros(200, 50));
    EXPECT_EQ(resize.Output().Size(), CSize(200, 50));
}

TEST(Resize, TakesFactorsOfBothKindsAndKeepsThem) {
    StResize resize(Zeros(4, 4));
    resize.node.Set("scale_x", 2).Set("scale_y", 3.0);
    EXPECT_EQ(resize.Output().Size(), CSize(8, 12));
    resize.node.Unset("scale_x").Unset("scale_y");
    EXPECT_EQ(resize.Output().Size(), CSize(8, 12)) << "absent keys leave the fields";
}

TEST(Resize, RefusesFactorsOfOtherKinds) {
    CNodeUnderTest node("Resize");
    for (const char* axis : {"x", "y"}) {
        const std::string key = std::string("scale_") + axis;
        const StFailure expected{kWhere, "The input parameter " + key + " must be of typelong or double!"};
        EXPECT_EQ(FailureOf([&] { node.Set(key.c_str(), "2").Init(); }), expected);
        EXPECT_EQ(FailureOf([&] { node.Set(key.c_str(), true).Init(); }), expected);
        node.Unset(key.c_str());
    }
    node.Set("scale_x", "2").Set("scale_y", "2");
    EXPECT_EQ(FailureOf([&] { node.Init(); }).what, "The input parameter scale_x must be of typelong or double!");
}

TEST(Resize, AFailedInitKeepsWhatItReadBefore) {
    StResize resize(Zeros(4, 4));
    resize.node.Set("scale_x", 2.0).Set("scale_y", "2").Set("keep_ratio", true);
    FailureOf([&] { resize.node.Init(); });
    EXPECT_EQ(resize.node.RunAgain().Output().Size(), CSize(8, 4));
    resize.node.Input(1, Zeros(8, 4)).RunAgain();
    EXPECT_EQ(resize.node.Output().Size(), CSize(8, 4)) << "keep_ratio hasn't been read";
}

TEST(Resize, WarnsOfTheDeprecatedNamesAndTakesThem) {
    constexpr const char* warningX = "Warning: (manipulation plugins) Resize factorX is deprecated and should no "
                                     "longer be used. Please use scale_x instead!\n";
    constexpr const char* warningY = "Warning: (manipulation plugins) ResizefactorY is deprecated and should no "
                                     "longer be used. Please use scale_y instead!\n";
    StResize resize(Zeros(4, 4), 3.0, 3.0);
    resize.node.Set("factorX", 2);
    EXPECT_EQ(resize.Output().Size(), CSize(8, 12));
    EXPECT_EQ(resize.printed, warningX);
    resize.node.Set("factorY", 1.0);
    EXPECT_EQ(resize.Output().Size(), CSize(8, 4));
    EXPECT_EQ(resize.printed, std::string(warningX) + warningY);
    resize.node.Unset("factorX").Set("factorY", "2");
    EXPECT_EQ(resize.Output().Size(), CSize(12, 12)) << "another kind is passed over";
    EXPECT_EQ(resize.printed, warningY);
}

TEST(Resize, WarnsBeforeItFailsForTheOtherAxis) {
    CNodeUnderTest node("Resize");
    node.Set("factorX", 2.0).Set("scale_y", "2").Set("factorY", 2.0);
    const CCapturedOutput lines(std::cout);
    EXPECT_EQ(FailureOf([&] { node.Init(); }).what, "The input parameter scale_y must be of typelong or double!");
    EXPECT_NE(lines.Text().find("factorX"), std::string::npos);
    EXPECT_EQ(lines.Text().find("factorY"), std::string::npos);
}

TEST(Resize, RefusesWrongFirstInputsInOrder) {
    CNodeUnderTest node("Resize");
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image is NULL"}));
    EXPECT_EQ(node.NullImage(0).Failure(), (StFailure{kWhere, "input image is NULL"}));
    for (const auto& type : TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8})) {
        EXPECT_EQ(node.Input(0, ZeroImage(type, CSize(2, 2, 2))).Failure(),
                  (StFailure{kWhere, "first input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, "}));
    }
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(0, 2, 2))).Failure(),
              (StFailure{kWhere, "Currently resizing only works with 2D images"}));
    for (const CSize& size : {CSize(0, 2), CSize(2, 0), CSize(2, 2, 0)}) {
        node.Input(0, ZeroImage(IMAGE_GREY_8, size)).Input(1, ZeroImage(IMAGE_GREY_16, CSize(2, 2)));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, "Resizing image with size zero ist not possible!"}));
    }
}

TEST(Resize, RefusesWrongSecondInputsInOrder) {
    CNodeUnderTest node("Resize");
    node.Input(0, Zeros(2, 2));
    EXPECT_EQ(node.NullImage(1).Failure(), (StFailure{kWhere, "seconed input image is NULL"}));
    for (const auto& type : TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8})) {
        EXPECT_EQ(node.Input(1, ZeroImage(type, CSize(2, 2, 2))).Failure(),
                  (StFailure{kWhere, "second input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, "}));
    }
    EXPECT_EQ(node.Input(1, ZeroImage(IMAGE_GREY_F, CSize(0, 2, 2))).Failure(),
              (StFailure{kWhere, "Currently resizing only works with 2D images"}));
    EXPECT_EQ(node.Input(1, Zeros(0, 2)).Failure(), (StFailure{kWhere, "Target size zero is not possible!"}));
    EXPECT_EQ(node.Input(1, Zeros(2, 0)).Failure(), (StFailure{kWhere, "Target size zero is not possible!"}));
    node.Input(1, std::make_unique<CValueLong>(3));
    EXPECT_EQ(node.Failure().what, "the value must be a pointer to an image, but is an integer");
    node.Input(0, std::make_unique<CValueLong>(3));
    EXPECT_EQ(node.Failure().what, "the value must be a pointer to an image, but is an integer");
}

TEST(Resize, RefusesAFactorOfZeroOnlyWhereBothShrink) {
    const StFailure expected{kWhere, "zero as scaling factor is undefined!"};
    for (const double factor : {0.0, -0.0, -0.5, -kInfinity}) {
        EXPECT_EQ(StResize(Zeros(4, 4), factor, 0.5).node.Failure(), expected);
        EXPECT_EQ(StResize(Zeros(4, 4), 0.5, factor).node.Failure(), expected);
        EXPECT_EQ(StResize(Zeros(4, 4), factor, kNaN).node.Failure(), expected);
    }
    EXPECT_EQ(StResize(Zeros(4, 4), 0.0, 1.0).Output().Size(), CSize(0, 4));
    EXPECT_EQ(StResize(Zeros(4, 4), 2.0, 0.0).Output().Size(), CSize(8, 0));
    EXPECT_EQ(StResize(Zeros(4, 4), -0.3, 1.0).Output().Size(), CSize(0, 4)) << "-1.2 + 0.5 is cut to 0";
}

TEST(Resize, GivesEmptyImagesForSmallFactors) {
    EXPECT_EQ(StResize(Zeros(4, 4), 0.1, 0.5).Output().Size(), CSize(0, 2));
    EXPECT_EQ(StResize(Zeros(4, 4), 0.5, 1e-300).Output().Size(), CSize(2, 0));
    EXPECT_EQ(StResize(Zeros(4, 4), 0.1, 0.5).Output().Type(), IMAGE_GREY_F);
}

TEST(Resize, SmoothsNothingIntoAnEmptyImage) {
    StResize gauss(Zeros(4, 4), 1e-12, 0.5);
    gauss.node.Set("shrink_method", "gauss");
    EXPECT_EQ(gauss.Output().Size(), CSize(0, 2));
    EXPECT_EQ(gauss.node.Output().Type(), IMAGE_GREY_8);
    EXPECT_EQ(gauss.printed, "GausKernel::recompute: sigma: 5e+11\nGausKernel::recompute: sigma: 1\n");
    gauss.node.Set("scale_x", 0.5).Set("scale_y", 1e-320);
    EXPECT_EQ(gauss.Output().Size(), CSize(2, 0));
    EXPECT_EQ(gauss.printed, "GausKernel::recompute: sigma: 1\nGausKernel::recompute: sigma: inf\n");
}

TEST(Resize, LeavesSizesThatNoImageHasToTheImage) {
    const auto failure = [](double factorX, double factorY, const char* method) {
        StResize resize(Zeros(4, 4), factorX, factorY);
        resize.node.Set("shrink_method", method);
        const CCapturedOutput lines(std::cout);
        const StFailure raised = resize.node.Failure();
        EXPECT_EQ(lines.Text(), "");
        EXPECT_EQ(raised.where, "CImage");
        return raised.what;
    };
    EXPECT_EQ(failure(-1.0, 1.0, ""), "an image can't have the negative extents (-3, 4)");
    EXPECT_EQ(failure(1.0, -2.0, ""), "an image can't have the negative extents (4, -7)");
    EXPECT_EQ(failure(kNaN, 1.0, ""), "an image can't have the negative extents (-9223372036854775808, 4)");
    EXPECT_EQ(failure(kInfinity, 1.0, ""), "an image can't have the negative extents (-9223372036854775808, 4)");
    EXPECT_EQ(failure(1e30, 1.0, ""), "an image can't have the negative extents (-9223372036854775808, 4)");
    EXPECT_EQ(failure(kNaN, 0.5, ""), "an image can't have the negative extents (-9223372036854775808, 2)");
    EXPECT_EQ(failure(0.5, kNaN, "gauss"), "an image can't have the negative extents (2, -9223372036854775808)");
    EXPECT_EQ(failure(1e18, 1.0, ""), "an image of the extents (4000000000000000000, 4) is too large");
}

TEST(Resize, SumsColumnsThatNo32BitsHold) {
    // 2^24 rows of 255 and some more, as a single window.
    const std::int64_t height = (1 << 24) + (1 << 17);
    auto image = Zeros(1, height);
    image->Buffer().Set(255);
    const FloatRow out = StResize(std::move(image), 0.9, 0.9 / static_cast<double>(height)).Floats();
    EXPECT_EQ(out, FloatRow{255});
}

/// Floats among them are usual numbers or, here and there, of any bits.
ImagePtr RandomPlane(const IImage::CType& type, const CSize& size, bool isWild, std::mt19937& random) {
    auto image = RandomImage(type, size, random);
    if (type == IMAGE_GREY_F && !isWild) {
        auto* elements = static_cast<float*>(image->Buffer().Data());
        std::generate_n(elements, size.Elements(), [&] { return static_cast<float>(random()) * 0x1p-24F - 100.0F; });
    }
    return image;
}

template <class T> ImagePtr PlainResize(const CImage& image, double factorX, double factorY, bool isGauss) {
    if (factorX >= 1.0 || factorY >= 1.0) {
        return PlainBilinear<T>(image, factorX, factorY);
    }
    return isGauss ? PlainGauss<T>(image, factorX, factorY) : PlainBoxMean<T>(image, factorX, factorY);
}

TEST(Resize, AddsWeightedElementsInOrder) {
    // Elements about the middle of each axis are opposite: what is left of their sum are rounding errors.
    constexpr std::int64_t middle = 16;
    constexpr std::int64_t extent = 2 * middle + 1;
    std::mt19937 random(20260407);
    FloatRow rows;
    FloatRow columns;
    for (std::int64_t y = 0; y < extent; ++y) {
        for (std::int64_t x = 0; x < extent; ++x) {
            const auto number = static_cast<float>(random());
            const auto below = static_cast<std::size_t>(x + extent * (extent - 1 - y));
            const auto beside = static_cast<std::size_t>(extent * (y + 1) - 1 - x);
            rows.push_back(y < middle ? number : y == middle ? 0.0F : -rows[below]);
            columns.push_back(x < middle ? number : x == middle ? 0.0F : -columns[beside]);
        }
    }
    for (const FloatRow& elements : {rows, columns}) {
        StResize gauss(Floats(extent, extent, elements), 0.5, 0.5);
        gauss.node.Set("shrink_method", "gauss");
        const CImage& output = gauss.Output();
        EXPECT_TRUE(SameImage(*PlainGauss<float>(gauss.node.InputImage(0), 0.5, 0.5), output));
    }
}

TEST(Resize, SmoothsRowsTooWideForTheCaches) {
    // Sixteen rows of sums are more than the caches hold; those of the first image are whole cache lines.
    std::mt19937 random(20261122);
    for (const std::int64_t width : {1048704, 1048696}) {
        StResize gauss(RandomImage(IMAGE_GREY_8, CSize(width, 16), random), 0.125, 0.125);
        gauss.node.Set("shrink_method", "gauss");
        const CImage& output = gauss.Output();
        EXPECT_TRUE(SameImage(*PlainGauss<std::uint8_t>(gauss.node.InputImage(0), 0.125, 0.125), output)) << width;
    }
}

TEST(Resize, GreysLoseALevelWhereTheirFourPartsDo) {
    // The parts of one grey come to it or, by their roundings, to just below it.
    std::int64_t lowered = 0;
    for (int grey = 0; grey < 256; ++grey) {
        ImagePtr image = ZeroImage(IMAGE_GREY_8, CSize(150, 9));
        image->Buffer().Set(static_cast<unsigned char>(grey));
        StResize resize(std::move(image), 1.3, 1.7);
        const CImage& output = resize.Output();
        const ImagePtr expected = PlainBilinear<std::uint8_t>(resize.node.InputImage(0), 1.3, 1.7);
        EXPECT_TRUE(SameImage(*expected, output)) << grey;
        const auto bytes = ElementsOf<std::uint8_t>(output);
        lowered += std::count_if(bytes.begin(), bytes.end(), [grey](std::uint8_t byte) { return byte != grey; });
        EXPECT_EQ(bytes[0], grey) << "the first element has a single part";
    }
    EXPECT_GT(lowered, 0);
}

TEST(Resize, ComputesBytesOfFewLevelsAsThePlainLoopDoes) {
    std::mt19937 random(20260408);
    for (const double factor : {1.3, 1.5, 3.0, 0.9}) {
        for (const unsigned levels : {2U, 3U, 16U}) {
            ImagePtr image = RandomImage(IMAGE_GREY_8, CSize(300, 40), random);
            auto* bytes = static_cast<std::uint8_t*>(image->Buffer().Data());
            std::transform(bytes, bytes + image->Buffer().Size(), bytes, [levels](std::uint8_t byte) {
                return static_cast<std::uint8_t>(byte % levels * (255 / (levels - 1)));
            });
            StResize resize(std::move(image), factor, 1.3);
            const CImage& output = resize.Output();
            EXPECT_TRUE(SameImage(*PlainBilinear<std::uint8_t>(resize.node.InputImage(0), factor, 1.3), output))
                << factor << ", " << levels << " levels";
        }
    }
}

TEST(Resize, AgreesWithThePlainLoops) {
    std::mt19937 random(20260406);
    const std::vector<double> special{1.0, 2.0, 4.0, 8.0, 16.0, 3.0, 32.0, 0.5, 0.25, 0.125, 1.5, 1.0 / 3.0};
    std::uniform_real_distribution<double> small(0.02, 1.0);
    std::uniform_real_distribution<double> large(0.1, 5.0);
    for (int round = 0; round < 900; ++round) {
        const bool isShrunk = round % 2 == 0;
        const auto factor = [&] {
            double value = isShrunk ? small(random) : large(random);
            if (random() % 2 == 0) {
                value = special[random() % special.size()];
            }
            return isShrunk && value >= 1.0 ? 1.0 / (2.0 * value) : value;
        };
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
        const bool isWide = round % 16 < 2;
        const CSize size(extent(isWide ? 3000 : 70), extent(isWide ? 9 : 70));
        const double factorX = factor();
        const double factorY = factor();
        if (factorX == 1.0 && factorY == 1.0) {
            continue;
        }
        const bool isGauss = random() % 2 == 0;
        const bool isByte = random() % 2 == 0;
        StResize resize(RandomPlane(isByte ? IMAGE_GREY_8 : IMAGE_GREY_F, size, round % 8 == 7, random), factorX,
                        factorY);
        resize.node.Set("shrink_method", isGauss ? "gauss" : "box");
        const auto before = BytesOf(resize.node.InputImage(0));
        const CImage& output = resize.Output();
        EXPECT_EQ(BytesOf(resize.node.InputImage(0)), before) << "the input has changed";
        const CImage& input = resize.node.InputImage(0);
        const ImagePtr expected = isByte ? PlainResize<std::uint8_t>(input, factorX, factorY, isGauss)
                                         : PlainResize<float>(input, factorX, factorY, isGauss);
        EXPECT_TRUE(SameImage(*WithOneNaN(*expected), *WithOneNaN(output)))
            << size.ToString() << " by " << factorX << ", " << factorY << (isGauss ? " gauss" : "");
    }
}

} // namespace
} // namespace QUOR::test
