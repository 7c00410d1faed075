#include "Elements.h"
#include "Numbers.h"
#include "Output.h"
#include "Resize.h"
#include "base/VectorVariants.h"

#include <algorithm>
#include <vector>

namespace QUOR::manipulation {

namespace {

/// The windows of one axis.
class CWindows {
public:
    CWindows(std::int64_t extent, std::int64_t outExtent)
        : m_last(extent - 1), m_ratio(static_cast<double>(outExtent) / static_cast<double>(extent)),
          m_reach(TruncateTo64(static_cast<double>(extent) / static_cast<double>(outExtent) + 0.5)) {}

    std::int64_t First(std::int64_t position) const { return TruncateTo64(static_cast<double>(position) / m_ratio); }
    /// A window has one element more than the ratio of the extents; the axis' last element cuts those at the edge.
    std::int64_t Last(std::int64_t first) const { return std::min(first + m_reach, m_last); }
    std::int64_t Reach() const { return m_reach; }

    std::vector<std::int64_t> Firsts(std::int64_t outExtent) const {
        std::vector<std::int64_t> firsts(static_cast<std::size_t>(outExtent));
        std::int64_t position = 0;
        for (std::int64_t& first : firsts) {
            first = First(position++);
        }
        return firsts;
    }

private:
    std::int64_t m_last;
    double m_ratio;
    std::int64_t m_reach;
};

/// The mean as the rule has it: both numbers in single precision.
inline float Mean(double sum, std::int64_t count) { return static_cast<float>(sum) / static_cast<float>(count); }

template <class Sum> VESSA_VECTOR_VARIANTS void AddRow(const std::uint8_t* in, std::int64_t width, Sum* sums) {
    for (std::int64_t x = 0; x < width; ++x) {
        sums[x] += in[x];
    }
}

/// Sums of bytes are exact in any order: first those of the columns over the rows of a window, then those of windows.
template <class Sum>
void MeansOfBytes(const CImage& input, const CWindows& columns, const CWindows& rows, CImage& output) {
    const std::int64_t width = input.Size().x;
    auto* out = Elements<float>(output);
    const std::vector<std::int64_t> lefts = columns.Firsts(output.Size().x);
    std::vector<Sum> sums(static_cast<std::size_t>(width));
    for (std::int64_t outY = 0; outY < output.Size().y; ++outY) {
        const std::int64_t top = rows.First(outY);
        const std::int64_t bottom = rows.Last(top);
        std::fill(sums.begin(), sums.end(), Sum{0});
        for (std::int64_t y = top; y <= bottom; ++y) {
            AddRow(Elements<std::uint8_t>(input) + width * y, width, sums.data());
        }
        for (const std::int64_t left : lefts) {
            const std::int64_t right = columns.Last(left);
            std::int64_t sum = 0;
            for (std::int64_t x = left; x <= right; ++x) {
                sum += static_cast<std::int64_t>(sums[static_cast<std::size_t>(x)]);
            }
            *out++ = Mean(static_cast<double>(sum), (right - left + 1) * (bottom - top + 1));
        }
    }
}

/// The sums of windows that begin in the columns `lefts` of the row `in`, each in the order of its elements. Windows
/// advance together, so that their sums don't wait for one another.
template <int Windows>
void SumWindows(const float* in, std::int64_t width, const std::int64_t* lefts, std::int64_t windowWidth,
                std::int64_t windowHeight, double* out) {
    double sums[Windows] = {};
    for (std::int64_t y = 0; y < windowHeight; ++y) {
        const float* windows[Windows];
        for (int i = 0; i < Windows; ++i) {
            windows[i] = in + width * y + lefts[i];
        }
        for (std::int64_t x = 0; x < windowWidth; ++x) {
            for (int i = 0; i < Windows; ++i) {
                sums[i] += windows[i][x];
            }
        }
    }
    std::copy(sums, sums + Windows, out);
}

void MeansOfFloats(const CImage& input, const CWindows& columns, const CWindows& rows, CImage& output) {
    constexpr int together = 8;
    const std::int64_t width = input.Size().x;
    const std::int64_t windowWidth = columns.Reach() + 1; // of those that the edge doesn't cut
    const std::vector<std::int64_t> lefts = columns.Firsts(output.Size().x);
    auto* out = Elements<float>(output);
    for (std::int64_t outY = 0; outY < output.Size().y; ++outY) {
        const std::int64_t top = rows.First(outY);
        const std::int64_t windowHeight = rows.Last(top) - top + 1;
        const float* in = Elements<float>(input) + width * top;
        const std::int64_t* left = lefts.data();
        const std::int64_t* const end = left + lefts.size();
        for (; end - left >= together && left[together - 1] + windowWidth <= width; left += together) {
            double sums[together];
            SumWindows<together>(in, width, left, windowWidth, windowHeight, sums);
            for (const double sum : sums) {
                *out++ = Mean(sum, windowWidth * windowHeight);
            }
        }
        for (; left != end; ++left) {
            const std::int64_t cutWidth = std::min(windowWidth, width - *left);
            double sum = 0.0;
            SumWindows<1>(in, width, left, cutWidth, windowHeight, &sum);
            *out++ = Mean(sum, cutWidth * windowHeight);
        }
    }
}

} // namespace

std::unique_ptr<CImage> ResizeBoxMean(const CImage& input, double factorX, double factorY) {
    const auto [width, height, depth] = Extents(input);
    // Floats for bytes, too: the mean isn't cut to whole numbers.
    auto output = NewImage(IMAGE_GREY_F, CSize(TruncateTo64(static_cast<double>(width) * factorX + 0.5),
                                               TruncateTo64(static_cast<double>(height) * factorY + 0.5)));
    if (IsEmpty(*output)) {
        return output;
    }
    const CWindows columns(width, output->Size().x);
    const CWindows rows(height, output->Size().y);
    constexpr std::int64_t mostRows = 1 << 24; // whose bytes a sum of 32 bits holds
    if (input.Type() == IMAGE_GREY_F) {
        MeansOfFloats(input, columns, rows, *output);
    } else if (rows.Reach() < mostRows) {
        MeansOfBytes<std::uint32_t>(input, columns, rows, *output);
    } else {
        MeansOfBytes<std::uint64_t>(input, columns, rows, *output);
    }
    return output;
}

} // namespace QUOR::manipulation
