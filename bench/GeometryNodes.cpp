// Nodes that map coordinates.

#include "Case.h"
#include "Peers.h"

#include <cmath>

namespace QUOR::bench {

namespace {

Images PictureAndShifts(const StScale& scale) {
    return ListOf(Noise(scale.type, scale.size), Noise(IMAGE_GREY_F, scale.size, -8.0, 8.0),
                  Noise(IMAGE_GREY_F, scale.size, -8.0, 8.0));
}

Images PictureAndEllipse(const StScale& scale) {
    return ListOf(Noise(scale.type, scale.size), Ellipse(IMAGE_GREY_8, scale.size));
}

/// A picture in polar coordinates, as long as it must be for its radii.
Images PolarPicture(const StScale& scale) { return ListOf(PolarNoise(scale.type, scale.size.x)); }

#if defined(BENCH_OPENCV)

CCase::PeerWork Flipped(int code) {
    return [code](const Images& in) {
        cv::Mat out;
        cv::flip(Slice(*in[0]), out, code);
    };
}

void FlipSlices(const Images& in) {
    const CSize& size = in[0]->Size();
    cv::Mat out; // a slice is a row of this view
    cv::flip(AllSlices(*in[0]).reshape(1, static_cast<int>(size.z)), out, 0);
}

CCase::PeerWork Turned(int interpolation) {
    return [interpolation](const Images& in) {
        const cv::Mat image = Slice(*in[0]);
        const cv::Point2f centre(static_cast<float>(image.cols - 1) / 2, static_cast<float>(image.rows - 1) / 2);
        cv::Mat out;
        cv::warpAffine(image, out, cv::getRotationMatrix2D(centre, -30.0, 1.0), image.size(), interpolation);
    };
}

CCase::PeerWork QuarterTurned(int code) {
    return [code](const Images& in) {
        cv::Mat out;
        cv::rotate(Slice(*in[0]), out, code);
    };
}

/// The field of shifts becomes a map of positions first.
CCase::PeerWork Remapped(int interpolation) {
    return [interpolation](const Images& in) {
        const cv::Mat image = Slice(*in[0]);
        const cv::Mat shiftX = Slice(*in[1]);
        const cv::Mat shiftY = Slice(*in[2]);
        cv::Mat mapX(image.size(), CV_32F);
        cv::Mat mapY(image.size(), CV_32F);
        for (int y = 0; y < image.rows; ++y) {
            for (int x = 0; x < image.cols; ++x) {
                mapX.ptr<float>(y)[x] = shiftX.ptr<float>(y)[x] + static_cast<float>(x);
                mapY.ptr<float>(y)[x] = shiftY.ptr<float>(y)[x] + static_cast<float>(y);
            }
        }
        cv::Mat out;
        cv::remap(image, out, mapX, mapY, interpolation);
    };
}

void Transpose(const Images& in) {
    cv::Mat out;
    cv::transpose(Slice(*in[0]), out);
}

CCase::PeerWork Enlarged(double factor) {
    return [factor](const Images& in) {
        cv::Mat out;
        cv::resize(Slice(*in[0]), out, {}, factor, factor, cv::INTER_LINEAR);
    };
}

void BoxMeans(const Images& in) {
    cv::Mat means;
    cv::boxFilter(Slice(*in[0]), means, CV_32F, cv::Size(3, 3), cv::Point(0, 0));
    cv::Mat out;
    cv::resize(means, out, {}, 0.5, 0.5, cv::INTER_NEAREST);
}

void GaussShrunk(const Images& in) {
    constexpr double factor = 0.3;
    constexpr double sigma = 1.0 / (factor + factor);
    const int radius = static_cast<int>(std::ceil(std::sqrt(std::log(10.0) * 6.0) * sigma));
    cv::Mat smooth;
    cv::GaussianBlur(Slice(*in[0]), smooth, cv::Size(2 * radius + 1, 2 * radius + 1), sigma);
    cv::Mat out;
    cv::resize(smooth, out, {}, factor, factor, cv::INTER_NEAREST);
}

void ScaledInside(const Images& in) {
    const cv::Mat image = Slice(*in[0]);
    const cv::Rect inside(image.cols / 6, image.rows / 6, image.cols * 2 / 3, image.rows * 2 / 3);
    cv::Mat out;
    cv::resize(image(inside), out, image.size(), 0, 0, cv::INTER_NEAREST);
}

void TurnedByMoments(const Images& in) {
    const cv::Mat image = Slice(*in[0]);
    const cv::Moments moments = cv::moments(Slice(*in[1]), true);
    const double angle = 0.5 * std::atan2(2.0 * moments.mu11, moments.mu20 - moments.mu02);
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const cv::Matx23d turn(c, s, 0.0, -s, c, 0.0);
    cv::Mat out;
    cv::warpAffine(image, out, turn, image.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP);
}

void Unrolled(const Images& in) {
    const cv::Mat image = Slice(*in[0]);
    const double radius = std::ceil(std::hypot(image.cols, image.rows) / 2.0);
    const cv::Point2f centre(static_cast<float>(image.cols - 1) / 2, static_cast<float>(image.rows - 1) / 2);
    const cv::Size size(static_cast<int>(radius), static_cast<int>(std::ceil(radius * 2.0 * CV_PI)));
    cv::Mat out;
    cv::warpPolar(image, out, size, centre, radius, cv::INTER_LINEAR);
}

void Rolled(const Images& in) {
    const cv::Mat image = Slice(*in[0]);
    const int extent = 2 * image.cols - 1;
    const cv::Point2f centre(static_cast<float>(image.cols - 1), static_cast<float>(image.cols - 1));
    cv::Mat out;
    cv::warpPolar(image, out, cv::Size(extent, extent), centre, image.cols, cv::INTER_LINEAR | cv::WARP_INVERSE_MAP);
}

/// x and z exchanged: one plane for each y.
void TransposeSections(const Images& in) {
    const CSize& size = in[0]->Size();
    const int width = static_cast<int>(size.x);
    const int height = static_cast<int>(size.y);
    const int depth = static_cast<int>(size.z);
    cv::Mat image = AllSlices(*in[0]);
    cv::Mat out(width * height, depth, image.type());
    for (int y = 0; y < height; ++y) {
        const cv::Mat section(depth, width, image.type(), image.ptr(y),
                              image.step.p[0] * static_cast<std::size_t>(height));
        cv::Mat turned(width, depth, image.type(), out.ptr(y), out.step.p[0] * static_cast<std::size_t>(height));
        cv::transpose(section, turned);
    }
}

#endif

std::vector<CCase> MirroringCases() {
    return {
        CCase("Flip", "x").Set("flip_x", true).OPENCV_PEER("cv::flip", Flipped(1)),
        CCase("Flip", "y").Set("flip_y", true).OPENCV_PEER("cv::flip", Flipped(0)),
        CCase("Flip", "x and y").Set("flip_x", true).Set("flip_y", true).OPENCV_PEER("cv::flip", Flipped(-1)),
        CCase("Flip", "z").Set("flip_z", true).On(Volumes()).OPENCV_PEER("cv::flip of slices as rows", FlipSlices),
        CCase("SwitchAxes", "YXZ").Set("axes", "YXZ").OPENCV_PEER("cv::transpose", Transpose),
        CCase("SwitchAxes", "ZYX")
            .Set("axes", "ZYX")
            .On(Volumes())
            .OPENCV_PEER("cv::transpose of sections", TransposeSections),
        CCase("SwitchAxes", "YZX").Set("axes", "YZX").On(Volumes()),
        CCase("Rotate", "90")
            .Set("angle", 90.0)
            .Set("resize", true)
            .OPENCV_PEER("cv::rotate", QuarterTurned(cv::ROTATE_90_CLOCKWISE)),
        CCase("Rotate", "180")
            .Set("angle", 180.0)
            .Set("resize", true)
            .OPENCV_PEER("cv::rotate", QuarterTurned(cv::ROTATE_180)),
    };
}

std::vector<CCase> TurningCases() {
    return {
        CCase("Rotate", "30 nearest")
            .Set("angle", 30.0)
            .Set("method", "NEAREST_NEIGHBOR")
            .OPENCV_PEER("cv::warpAffine", Turned(cv::INTER_NEAREST)),
        CCase("Rotate", "30 bilinear").Set("angle", 30.0).OPENCV_PEER("cv::warpAffine", Turned(cv::INTER_LINEAR)),
        CCase("Rotate", "30 bicubic")
            .Set("angle", 30.0)
            .Set("method", "BICUBIC_SPLINES")
            .OPENCV_PEER("cv::warpAffine", Turned(cv::INTER_CUBIC)),
        CCase("Reorient", "ellipse").Inputs(PictureAndEllipse).OPENCV_PEER("cv::moments, warpAffine", TurnedByMoments),
        CCase("CartesianToPolar", "plane").On(SmallerPlanes()).OPENCV_PEER("cv::warpPolar", Unrolled),
        CCase("PolarToCartesian", "plane")
            .On(SmallerPlanes())
            .Inputs(PolarPicture)
            .OPENCV_PEER("cv::warpPolar", Rolled),
    };
}

std::vector<CCase> ScalingCases() {
    return {
        CCase("Resize", "x2")
            .Set("scale_x", 2.0)
            .Set("scale_y", 2.0)
            .OPENCV_PEER("cv::resize INTER_LINEAR", Enlarged(2.0)),
        CCase("Resize", "x1.3")
            .Set("scale_x", 1.3)
            .Set("scale_y", 1.3)
            .OPENCV_PEER("cv::resize INTER_LINEAR", Enlarged(1.3)),
        CCase("Resize", "x0.5 box")
            .Set("scale_x", 0.5)
            .Set("scale_y", 0.5)
            .OPENCV_PEER("cv::boxFilter, resize", BoxMeans),
        CCase("Resize", "x0.3 gauss")
            .Set("scale_x", 0.3)
            .Set("scale_y", 0.3)
            .Set("shrink_method", "gauss")
            .OPENCV_PEER("cv::GaussianBlur, resize", GaussShrunk),
        CCase("Scale", "x1.5")
            .Set("scale_x", 1.5)
            .Set("scale_y", 1.5)
            .OPENCV_PEER("cv::resize of a region", ScaledInside),
        CCase("Resample", "NONE")
            .Inputs(PictureAndShifts)
            .OPENCV_PEER("loop for the map, cv::remap", Remapped(cv::INTER_NEAREST)),
        CCase("Resample", "BILINEAR")
            .Inputs(PictureAndShifts)
            .Set("interpolation", "BILINEAR")
            .OPENCV_PEER("loop for the map, cv::remap", Remapped(cv::INTER_LINEAR)),
    };
}

} // namespace

std::vector<CCase> GeometryCases() {
    std::vector<CCase> cases = MirroringCases();
    for (const auto& more : {TurningCases(), ScalingCases()}) {
        cases.insert(cases.end(), more.begin(), more.end());
    }
    return cases;
}

} // namespace QUOR::bench
