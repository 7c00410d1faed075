// Nodes that read an image as labels of regions.

#include "Case.h"
#include "Peers.h"

#include <array>

namespace QUOR::bench {

namespace {

/// Labels and a map that serves all of them.
Images LabelsAndMap(const StScale& scale) {
    const std::int64_t entries = scale.type == IMAGE_GREY_8 ? 256 : 2 * scale.regions;
    return ListOf(Labels(scale.type, scale.size, scale.regions), Noise(scale.type, CSize(entries, 1)));
}

Images ByteNoiseAndMap(const StScale& scale) {
    return ListOf(Noise(scale.type, scale.size), Noise(scale.type, CSize(256, 1)));
}

Images LabelsAlone(const StScale& scale) { return ListOf(Labels(scale.type, scale.size, scale.regions)); }

Images NoiseAlone(const StScale& scale) { return ListOf(Noise(scale.type, scale.size)); }

#if defined(BENCH_OPENCV)

void LookUpBytes(const Images& in) {
    cv::Mat out;
    cv::LUT(Slice(*in[0]), Slice(*in[1]), out);
}

/// The six standard colours again and again, a plane for each channel.
void LookUpColours(const Images& in) {
    constexpr std::array<int, 6> channelsOfColours = {1, 2, 4, 3, 5, 6}; // bit 0 is red, 1 green, 2 blue
    const cv::Mat labels = Slice(*in[0]);
    cv::Mat out(3 * labels.rows, labels.cols, CV_8U);
    for (int channel = 0; channel < 3; ++channel) {
        cv::Mat table(1, 256, CV_8U);
        for (int label = 0; label < 256; ++label) {
            const int channels = channelsOfColours[static_cast<std::size_t>(label % 6)];
            table.at<std::uint8_t>(label) = (channels >> channel & 1) != 0 ? 255 : 0;
        }
        cv::Mat plane = out.rowRange(channel * labels.rows, (channel + 1) * labels.rows);
        cv::LUT(labels, table, plane);
    }
}

/// Counts by a histogram of the labels, written back by a loop.
void HistogramSizes(const Images& in) {
    const cv::Mat labels = Slice(*in[0]);
    double most = 0.0;
    cv::minMaxLoc(labels, nullptr, &most);
    const int bins = static_cast<int>(most) + 1;
    const std::array<float, 2> range = {0.0F, static_cast<float>(bins)};
    const float* ranges = range.data();
    const int channel = 0;
    cv::Mat sizes;
    cv::calcHist(&labels, 1, &channel, cv::Mat(), sizes, 1, &bins, &ranges);
    sizes.at<float>(0) = 0.0F;
    cv::Mat out(labels.size(), CV_32F);
    for (int y = 0; y < labels.rows; ++y) {
        const float* label = labels.ptr<float>(y);
        float* size = out.ptr<float>(y);
        for (int x = 0; x < labels.cols; ++x) {
            size[x] = sizes.at<float>(static_cast<int>(label[x]));
        }
    }
}

#endif

} // namespace

std::vector<CCase> LabelCases() {
    return {
        CCase("LabelToValue", "regions")
            .On(LabelPlanes({IMAGE_GREY_8}))
            .Inputs(LabelsAndMap)
            .OPENCV_PEER("cv::LUT", LookUpBytes)
            .VIPS_PEER("vips_maplut", [](const Images& in) { Compute(VipsImage(*in[0]).maplut(VipsImage(*in[1]))); }),
        CCase("LabelToValue", "regions").On(LabelPlanes({IMAGE_GREY_F})).Inputs(LabelsAndMap),
        CCase("LabelToValue", "noise")
            .On(Planes({IMAGE_GREY_8}))
            .Inputs(ByteNoiseAndMap)
            .OPENCV_PEER("cv::LUT", LookUpBytes),
        CCase("LabelToColor", "regions")
            .On(LabelPlanes({IMAGE_GREY_8}))
            .Inputs(LabelsAlone)
            .OPENCV_PEER("cv::LUT for each channel", LookUpColours),
        CCase("LabelToColor", "regions").On(LabelPlanes({IMAGE_GREY_F})).Inputs(LabelsAlone),
        CCase("LabelToColor", "noise")
            .On(Planes({IMAGE_GREY_8}))
            .Inputs(NoiseAlone)
            .OPENCV_PEER("cv::LUT for each channel", LookUpColours),
        CCase("LabelToSize", "regions")
            .On(LabelPlanes({IMAGE_GREY_F}))
            .Inputs(LabelsAlone)
            .OPENCV_PEER("cv::calcHist, loop", HistogramSizes),
        CCase("LabelToFeature", "elongation").On(LabelPlanes({IMAGE_GREY_F})).Inputs(LabelsAlone),
    };
}

} // namespace QUOR::bench
