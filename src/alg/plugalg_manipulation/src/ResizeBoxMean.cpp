#include "Elements.h"
#include "Numbers.h"
#include "Output.h"
#include "Resize.h"
#include "VectorVariants.h"

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

    /// One element more than the ratio of the extents; the last element of the axis cuts the windows at the edge.
    std::int64_t First(std::int64_t position) const { return TruncateTo64(static_cast<double>(position) / m_ratio); }
    std::int64_t Last(std::int64_t first) const { return std::min(first + m_reach, m_last); }
    std::int64_t Reach() const { return m_reach; }

private:
    std::int64_t m_last;
    double m_ratio;
    std::int64_t m_reach;
};

/// The mean as the rule has it: both numbers in single precision.
inline float Mean(double sum, std::int64_t count) { return static_cast<float>(sum) / static_cast<float>(count); }

template <class Sum> MANI_VECTOR_VARIANTS void AddRow(const std::uint8_t* in, std::int64_t width, Sum* sums) {
    for (std::int64_t x = 0; x < width; ++x) {
        sums[x] += in[x];
    }
}

/// Sums of bytes are exact in any order: first those of the columns over the rows of a window, then those of windows.
template <class Sum>
void MeansOfBytes(const CImage& input, const CWindows& columns, const CWindows& rows, CImage& output) {
    const std::int64_t width = input.Size().x;
    const auto* in = Elements<std::uint8_t>(input);
    auto* out = Elements<float>(output);
    std::vector<Sum> sums(static_cast<std::size_t>(width));
    for (std::int64_t outY = 0; outY < output.Size().y; ++outY) {
        const std::int64_t top = rows.First(outY);
        const std::int64_t bottom = rows.Last(top);
        std::fill(sums.begin(), sums.end(), Sum{0});
        for (std::int64_t y = top; y <= bottom; ++y) {
            AddRow(in + width * y, width, sums.data());
        }
        for (std::int64_t outX = 0; outX < output.Size().x; ++outX) {
            const std::int64_t left = columns.First(outX);
            const std::int64_t right = columns.Last(left);
            std::int64_t sum = 0;
            for (std::int64_t x = left; x <= right; ++x) {
                sum += static_cast<std::int64_t>(sums[static_cast<std::size_t>(x)]);
            }
            *out++ = Mean(static_cast<double>(sum), (right - left + 1) * (bottom - top + 1));
        }
    }
}

/// So many columns of the output are summed at a time, for all rows.
constexpr int kColumns = 256;

/// Adds one element to each sum: that at the window's first column.
template <int Step>
MANI_VECTOR_VARIANTS void AddElements(const float* in, const std::int64_t* firsts, int count, double* sums) {
    for (int i = 0; i < count; ++i) {
        sums[i] += in[Step == 0 ? firsts[i] : std::int64_t{Step} * i];
    }
}

/// Sums of floats depend on their order: those of neighbouring columns advance together, each in the order of its
/// window's elements.
void MeansOfFloats(const CImage& input, const CWindows& columns, const CWindows& rows, CImage& output) {
    const std::int64_t width = input.Size().x;
    const std::int64_t outWidth = output.Size().x;
    for (std::int64_t outLeft = 0; outLeft < outWidth; outLeft += kColumns) {
        const int count = static_cast<int>(std::min<std::int64_t>(kColumns, outWidth - outLeft));
        std::int64_t firsts[kColumns];
        for (int i = 0; i < count; ++i) {
            firsts[i] = columns.First(outLeft + i);
        }
        for (std::int64_t outY = 0; outY < output.Size().y; ++outY) {
            const std::int64_t top = rows.First(outY);
            const std::int64_t bottom = rows.Last(top);
            double sums[kColumns] = {};
            for (std::int64_t y = top; y <= bottom; ++y) {
                const float* row = Elements<float>(input) + width * y;
                int inside = count; // columns whose windows reach to here
                for (std::int64_t x = 0; x <= columns.Reach(); ++x) {
                    while (inside > 0 && firsts[inside - 1] + x >= width) {
                        --inside;
                    }
                    AddElements<0>(row + x, firsts, inside, sums);
                }
            }
            float* out = Elements<float>(output) + outWidth * outY + outLeft;
            for (int i = 0; i < count; ++i) {
                out[i] = Mean(sums[i], (columns.Last(firsts[i]) - firsts[i] + 1) * (bottom - top + 1));
            }
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
