// Nodes that join images, divide them, or change how their elements are laid out.

#include "Case.h"
#include "Peers.h"

#include <cstring>
#include <string_view>
#include <unordered_map>

namespace QUOR::bench {

namespace {

Images TwoPictures(const StScale& scale) {
    return ListOf(Noise(scale.type, scale.size), Noise(scale.type, scale.size, 64.0, 192.0));
}

/// The second one lets the first show through at most places.
Images PictureUnderZeros(const StScale& scale) {
    return ListOf(Sparse(scale.type, scale.size), Noise(scale.type, scale.size));
}

Images VolumeAndMarks(const StScale& scale) {
    return ListOf(Noise(scale.type, scale.size), Sparse(IMAGE_GREY_8, CSize(scale.size.x, scale.size.y)));
}

/// A plane and an image of the size of the slices that it becomes.
Images PlaneAndSlice(const StScale& scale) {
    return ListOf(Noise(scale.type, scale.size), Noise(scale.type, CSize(scale.size.x / 8, scale.size.y / 8)));
}

constexpr std::int64_t kColumns = 64;

/// The extents of tables stand for columns and rows.
std::vector<StScale> Tables() {
    return {{IMAGE_GREY_F, CSize(kColumns, 20'000)}, {IMAGE_GREY_F, CSize(kColumns, 1'000'000)}};
}

/// Keeps rows with new bytes, by a hash, and counts how often each one occurs.
void UniqueRows(const Images& in) {
    const std::size_t rows = static_cast<std::size_t>(in[0]->Size().y);
    const std::size_t rowBytes = static_cast<std::size_t>(in[0]->Size().x) * in[0]->Type().pixelBytes;
    const char* row = Elements<char>(*in[0]);
    std::unordered_map<std::string_view, std::size_t> firstOnes;
    firstOnes.reserve(rows);
    std::vector<float> counts(rows);
    std::vector<char> kept;
    for (std::size_t number = 0; number < rows; ++number, row += rowBytes) {
        const auto [first, isNew] = firstOnes.try_emplace(std::string_view(row, rowBytes), number);
        counts[first->second] += 1.0F;
        if (isNew) {
            kept.insert(kept.end(), row, row + rowBytes);
        }
    }
}

#if defined(BENCH_OPENCV)

CCase::PeerWork OfBoth(void (*work)(const cv::Mat& a, const cv::Mat& b, cv::Mat& out)) {
    return [work](const Images& in) {
        cv::Mat out;
        work(Slice(*in[0]), Slice(*in[1]), out);
    };
}

CCase::PeerWork Repeated(int rows, int columns) {
    return [=](const Images& in) {
        cv::Mat out;
        cv::repeat(Slice(*in[0]), rows, columns, out);
    };
}

void AppendColumns(const cv::Mat& a, const cv::Mat& b, cv::Mat& out) { cv::hconcat(a, b, out); }

void AppendRows(const cv::Mat& a, const cv::Mat& b, cv::Mat& out) { cv::vconcat(a, b, out); }

void TakeGreater(const cv::Mat& a, const cv::Mat& b, cv::Mat& out) { cv::max(a, b, out); }

void AddHalves(const cv::Mat& a, const cv::Mat& b, cv::Mat& out) { cv::addWeighted(a, 0.5, b, 0.5, 0.0, out); }

void LayOverZeros(const cv::Mat& a, const cv::Mat& b, cv::Mat& out) {
    out = b.clone();
    a.copyTo(out, a.depth() == CV_8U ? a : cv::Mat(a != 0));
}

void CloneWhole(const Images& in) { const cv::Mat out = AllSlices(*in[0]).clone(); }

void CloneHalves(const Images& in, bool alongX) {
    const cv::Mat image = Slice(*in[0]);
    const int middle = (alongX ? image.cols : image.rows) / 2;
    const cv::Mat first = (alongX ? image.colRange(0, middle) : image.rowRange(0, middle)).clone();
    const cv::Mat second = (alongX ? image.colRange(middle, image.cols) : image.rowRange(middle, image.rows)).clone();
}

void TileSlices(const Images& in) {
    constexpr int perRow = 8;
    const CSize& size = in[0]->Size();
    const int width = static_cast<int>(size.x);
    const int height = static_cast<int>(size.y);
    const int depth = static_cast<int>(size.z);
    cv::Mat out(height * (depth / perRow), width * perRow, Slice(*in[0]).type());
    for (int z = 0; z < depth; ++z) {
        Slice(*in[0], z).copyTo(out(cv::Rect(z % perRow * width, z / perRow * height, width, height)));
    }
}

#endif

std::vector<CCase> JoiningCases() {
    return {
        CCase("Append", "X").Inputs(TwoPictures).OPENCV_PEER("cv::hconcat", OfBoth(AppendColumns)),
        CCase("Append", "Y").Inputs(TwoPictures).Set("along", "Y").OPENCV_PEER("cv::vconcat", OfBoth(AppendRows)),
        CCase("Append", "Z").Inputs(TwoPictures).Set("along", "Z"),
        CCase("ComposeImage", "MEAN").Inputs(TwoPictures).OPENCV_PEER("cv::addWeighted", OfBoth(AddHalves)),
        CCase("ComposeImage", "MAX")
            .Inputs(TwoPictures)
            .Set("mode_compose", "MAX")
            .OPENCV_PEER("cv::max", OfBoth(TakeGreater)),
        CCase("ComposeImage", "FIRST")
            .Inputs(TwoPictures)
            .Set("mode_compose", "FIRST")
            .Reads(EnReads::AsMuchAsItWrites)
            .OPENCV_PEER("cv::Mat::clone", CloneWhole),
        CCase("ComposeImage", "FIRST over zeros")
            .Inputs(PictureUnderZeros)
            .Set("mode_compose", "FIRST")
            .Set("ignore_zero", true)
            .OPENCV_PEER("cv::Mat::clone, copyTo with mask", OfBoth(LayOverZeros)),
        CCase("Replicate", "X")
            .Set("count", 3)
            .OPENCV_PEER("cv::repeat", Repeated(1, 3))
            .VIPS_PEER("vips_replicate", [](const Images& in) { Compute(VipsImage(*in[0]).replicate(3, 1)); }),
        CCase("Replicate", "Y").Set("count", 3).Set("along", "Y").OPENCV_PEER("cv::repeat", Repeated(3, 1)),
    };
}

std::vector<CCase> LayoutCases() {
    return {
        CCase("Split", "X")
            .OPENCV_PEER("cv::Mat::clone of both halves", [](const Images& in) { CloneHalves(in, true); }),
        CCase("Split", "Y")
            .Set("along", "Y")
            .OPENCV_PEER("cv::Mat::clone of both halves", [](const Images& in) { CloneHalves(in, false); }),
        CCase("PlaneToVolume", "slices")
            .Inputs(PlaneAndSlice)
            .Reads(EnReads::AsMuchAsItWrites)
            .OPENCV_PEER("cv::Mat::clone", CloneWhole),
        CCase("VolumeToPlane", "8 in a row")
            .On(Volumes())
            .Set("slices_x", 8)
            .OPENCV_PEER("cv::Mat::copyTo for each slice", TileSlices),
        CCase("Serialize", "volume").On(Volumes()).OPENCV_PEER("cv::Mat::clone", CloneWhole),
        CCase("Deserialize", "volume").On(Volumes()).OPENCV_PEER("cv::Mat::clone", CloneWhole),
        CCase("SelectRays", "every tenth").On(Volumes()).Inputs(VolumeAndMarks),
        CCase("DeleteDuplicate", "rows")
            .Set("along", "Y")
            .On(Tables())
            .Inputs([](const StScale& scale) { return ListOf(Table(scale.type, scale.size.x, scale.size.y)); })
            .Peer("std::unordered_map of rows", UniqueRows),
        CCase("DeleteDuplicate", "columns").On(Tables()).Inputs([](const StScale& scale) {
            return ListOf(TurnedTable(scale.type, scale.size.x, scale.size.y));
        }),
    };
}

} // namespace

std::vector<CCase> RestackingCases() {
    std::vector<CCase> cases = JoiningCases();
    const std::vector<CCase> more = LayoutCases();
    cases.insert(cases.end(), more.begin(), more.end());
    return cases;
}

} // namespace QUOR::bench
