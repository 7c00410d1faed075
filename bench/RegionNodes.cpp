// Nodes that cut out of, embed into, shift, halve or double a canvas.

#include "Case.h"
#include "Peers.h"

namespace QUOR::bench {

namespace {

constexpr double kMargin = 1.0 / 16.0; // of the width: the frames that are cut off or added

Images BaseAndPatch(const StScale& scale) {
    return ListOf(Noise(scale.type, scale.size),
                  Noise(scale.type, CSize(scale.size.x / 2, scale.size.y / 2, scale.size.z)));
}

Images BasePatchAndMask(const StScale& scale) {
    Images inputs = BaseAndPatch(scale);
    inputs.push_back(Sparse(IMAGE_GREY_8, inputs[1]->Size()));
    return inputs;
}

#if defined(BENCH_OPENCV)

int Margin(const cv::Mat& image) { return image.cols / 16; }

cv::Rect Inside(const cv::Mat& image) {
    const int margin = Margin(image);
    return {margin, margin, image.cols - 2 * margin, image.rows - 2 * margin};
}

/// Where the patch goes.
cv::Rect Quarter(const cv::Mat& base) { return {base.cols / 8, base.rows / 8, base.cols / 2, base.rows / 2}; }

void Frame(const Images& in) {
    const cv::Mat image = Slice(*in[0]);
    const int margin = Margin(image);
    cv::Mat out;
    cv::copyMakeBorder(image, out, margin, margin, margin, margin, cv::BORDER_CONSTANT, cv::Scalar(7));
}

void Cut(const Images& in) {
    const cv::Mat image = Slice(*in[0]);
    const cv::Mat out = image(Inside(image)).clone();
}

void Copy(const Images& in) { const cv::Mat out = Slice(*in[0]).clone(); }

void CutToBounds(const Images& in) {
    const cv::Mat image = Slice(*in[0]);
    const cv::Mat mask = image.depth() == CV_8U ? image : cv::Mat(image != 0);
    const cv::Mat out = image(cv::boundingRect(mask)).clone();
}

void Patch(const Images& in) {
    cv::Mat out = Slice(*in[0]).clone();
    Slice(*in[1]).copyTo(out(Quarter(out)));
}

void PatchForeground(const Images& in) {
    cv::Mat out = Slice(*in[0]).clone();
    Slice(*in[1]).copyTo(out(Quarter(out)), Slice(*in[2]));
}

void Shift(const Images& in) {
    const cv::Mat image = Slice(*in[0]);
    const int shift = Margin(image);
    const cv::Rect kept(0, 0, image.cols - shift, image.rows - shift);
    cv::Mat out;
    cv::copyMakeBorder(image(kept), out, shift, 0, shift, 0, cv::BORDER_CONSTANT | cv::BORDER_ISOLATED);
}

CCase::PeerWork Scaled(double factor, int interpolation) {
    return [=](const Images& in) {
        cv::Mat out;
        cv::resize(Slice(*in[0]), out, {}, factor, factor, interpolation);
    };
}

#endif

#if defined(BENCH_VIPS)

void Embed(const Images& in) {
    const vips::VImage image = VipsImage(*in[0]);
    const int margin = image.width() / 16;
    Compute(image.embed(margin, margin, image.width() + 2 * margin, image.height() + 2 * margin));
}

void Wrap(const Images& in) {
    const vips::VImage image = VipsImage(*in[0]);
    Compute(image.wrap(vips::VImage::option()->set("x", image.width() / 2)->set("y", image.height() / 16)));
}

#endif

std::vector<CCase> CuttingCases() {
    return {
        CCase("Extract", "inside")
            .SetShare("offset_x", kMargin)
            .SetShare("offset_y", kMargin)
            .SetShare("size_x", 1.0 - 2.0 * kMargin)
            .SetShare("size_y", 1.0 - 2.0 * kMargin)
            .Reads(EnReads::AsMuchAsItWrites)
            .OPENCV_PEER("cv::Mat::clone of a region", Cut),
        CCase("Extract", "whole").OPENCV_PEER("cv::Mat::clone", Copy),
        CCase("Autocrop", "frame")
            .Inputs([](const StScale& scale) { return ListOf(FramedNoise(scale.type, scale.size)); })
            .OPENCV_PEER("cv::boundingRect, clone", CutToBounds),
        CCase("Border", "cut")
            .SetShare("border", -kMargin)
            .Reads(EnReads::AsMuchAsItWrites)
            .OPENCV_PEER("cv::Mat::clone of a region", Cut),
        CCase("Border", "frame").SetShare("border", kMargin).OPENCV_PEER("cv::copyMakeBorder", Frame),
        CCase("Pad", "frame")
            .SetShare("pad_left", kMargin)
            .SetShare("pad_right", kMargin)
            .SetShare("pad_top", kMargin)
            .SetShare("pad_bottom", kMargin)
            .OPENCV_PEER("cv::copyMakeBorder", Frame)
            .VIPS_PEER("vips_embed", Embed),
    };
}

std::vector<CCase> PlacingCases() {
    return {
        CCase("Emplace", "patch")
            .Inputs(BaseAndPatch)
            .SetShare("pos_x", 0.125)
            .SetShare("pos_y", 0.125)
            .OPENCV_PEER("cv::Mat::clone, copyTo", Patch),
        CCase("Emplace", "masked")
            .Inputs(BasePatchAndMask)
            .SetShare("pos_x", 0.125)
            .SetShare("pos_y", 0.125)
            .OPENCV_PEER("cv::Mat::clone, copyTo with mask", PatchForeground),
        CCase("Emplace", "wrapped")
            .Inputs(BaseAndPatch)
            .SetShare("pos_x", 0.75)
            .SetShare("pos_y", 0.75)
            .Set("wrap", true),
        CCase("Translate", "shift")
            .SetShare("offset_x", kMargin)
            .SetShare("offset_y", kMargin)
            .OPENCV_PEER("cv::copyMakeBorder of a region", Shift),
        CCase("Translate", "wrapped")
            .SetShare("offset_x", 0.5)
            .SetShare("offset_y", kMargin)
            .Set("wrap", true)
            .VIPS_PEER("vips_wrap", Wrap),
    };
}

std::vector<CCase> HalvingAndDoublingCases() {
    return {
        CCase("Expand", "plane")
            .OPENCV_PEER("cv::resize INTER_NEAREST", Scaled(2.0, cv::INTER_NEAREST))
            .VIPS_PEER("vips_zoom", [](const Images& in) { Compute(VipsImage(*in[0]).zoom(2, 2)); }),
        CCase("Shrink", "SKIP")
            .OPENCV_PEER("cv::resize INTER_NEAREST", Scaled(0.5, cv::INTER_NEAREST))
            .VIPS_PEER("vips_subsample", [](const Images& in) { Compute(VipsImage(*in[0]).subsample(2, 2)); }),
        CCase("Shrink", "AVERAGE")
            .Set("mode", "AVERAGE")
            .OPENCV_PEER("cv::resize INTER_AREA", Scaled(0.5, cv::INTER_AREA))
            .VIPS_PEER("vips_shrink", [](const Images& in) { Compute(VipsImage(*in[0]).shrink(2, 2)); }),
        CCase("Shrink", "MAX").Set("mode", "MAX"),
        CCase("Shrink", "MEDIAN").Set("mode", "MEDIAN"),
        CCase("Shrink", "volume AVERAGE").Set("mode", "AVERAGE").On(Volumes()),
    };
}

} // namespace

std::vector<CCase> RegionCases() {
    std::vector<CCase> cases = CuttingCases();
    for (const auto& more : {PlacingCases(), HalvingAndDoublingCases()}) {
        cases.insert(cases.end(), more.begin(), more.end());
    }
    return cases;
}

} // namespace QUOR::bench
