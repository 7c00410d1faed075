#include "Blocks.h"
#include "Elements.h"
#include "Numbers.h"
#include "Output.h"
#include "Resize.h"
#include "Transpose.h"
#include "base/VectorVariants.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iostream>
#include <vector>

namespace QUOR::manipulation {

namespace {

/// The kernel for one axis, which tells of itself on standard output.
class CGausKernel {
public:
    explicit CGausKernel(double factor)
        : m_factor(factor), m_sigma(1.0 / (factor + factor)),
          m_radius(TruncateTo64(std::ceil(std::sqrt(std::log(10.0) * 6.0) * m_sigma))) {
        std::cout << CString("GausKernel::recompute: sigma: %1\n").Arg(m_sigma, 0);
    }

    std::int64_t Size() const { return 2 * m_radius + 1; }

    /// The first of the input elements that an element of the output is made of, which may lie outside.
    std::int64_t First(std::int64_t position) const { return Nearest(position) - m_radius; }

    /// Their weights, which follow the element's true place.
    void Weights(std::int64_t position, double* weights) const {
        const double middle =
            (static_cast<double>(m_radius) + Place(position)) - static_cast<double>(Nearest(position));
        double sum = 0.0;
        for (std::int64_t t = 0; t < Size(); ++t) {
            const double distance = (static_cast<double>(t) - middle) / m_sigma;
            weights[t] = std::exp(distance * -0.5 * distance);
            sum += weights[t];
        }
        if (sum != 0.0) {
            std::transform(weights, weights + Size(), weights, [&](double weight) { return weight / sum; });
        }
    }

private:
    double Place(std::int64_t position) const { return static_cast<double>(position) / m_factor; }
    std::int64_t Nearest(std::int64_t position) const { return TruncateTo64(Place(position) + 0.5); }

    double m_factor;
    double m_sigma;
    std::int64_t m_radius;
};

/// An index reflected at the edges until it lies inside: the first and the last element are repeated once.
std::int64_t Reflected(std::int64_t index, std::int64_t extent) {
    const std::int64_t period = 2 * extent;
    const std::int64_t place = (index % period + period) % period;
    return place < extent ? place : period - place - 1;
}

/// So many rows are smoothed at a time: a line of the cache.
constexpr int kRows = 16;

/// Half of them, as one vector for each precision.
constexpr int kLanes = kRows / 2;
using Singles [[gnu::vector_size(kLanes * sizeof(float))]] = float;
using Doubles [[gnu::vector_size(kLanes * sizeof(double))]] = double;

/// Weighted sums of neighbouring columns of `kRows` numbers, each row's in the order of the columns: one sum for each
/// of the `firsts`, from that column on, with weights of its own.
VESSA_VECTOR_VARIANTS void AddColumns(const double* columns, const std::vector<std::int64_t>& firsts,
                                      const double* weights, std::int64_t size, float* out) {
    for (const std::int64_t first : firsts) {
        Doubles upper = {};
        Doubles lower = {};
        const double* column = columns + kRows * first;
        for (std::int64_t t = 0; t < size; ++t) {
            Doubles numbers;
            std::memcpy(&numbers, column, sizeof numbers);
            upper += numbers * weights[t];
            std::memcpy(&numbers, column + kLanes, sizeof numbers);
            lower += numbers * weights[t];
            column += kRows;
        }
        const Singles upperSums = __builtin_convertvector(upper, Singles);
        const Singles lowerSums = __builtin_convertvector(lower, Singles);
        std::memcpy(out, &upperSums, sizeof upperSums);
        std::memcpy(out + kLanes, &lowerSums, sizeof lowerSums);
        weights += size;
        out += kRows;
    }
}

template <class T> VESSA_VECTOR_VARIANTS void Widen(const T* in, std::int64_t count, double* __restrict out) {
    for (std::int64_t i = 0; i < count; ++i) {
        out[i] = in[i];
    }
}

/// Columns of the input from `first` on; those outside are reflected.
template <class T> void CopyReflected(const T* in, std::int64_t width, std::int64_t first, std::int64_t count, T* out) {
    const std::int64_t left = std::clamp<std::int64_t>(-first, 0, count);            // columns outside
    const std::int64_t right = std::clamp<std::int64_t>(width - first, left, count); // behind those inside
    for (std::int64_t x = 0; x < left; ++x) {
        out[x] = in[Reflected(first + x, width)];
    }
    CopyElements(in + first + left, out + left, right - left);
    for (std::int64_t x = right; x < count; ++x) {
        out[x] = in[Reflected(first + x, width)];
    }
}

/// The weights of neighbouring columns of the output are computed once for all rows. Rows are the lanes of the sums: so
/// the input is transposed before and the output after.
template <class T> void SmoothRows(const CImage& input, const CGausKernel& kernel, CImage& output) {
    constexpr std::int64_t mostWeights = 16384; // that stay in the cache
    const auto [width, height, depth] = Extents(input);
    const std::int64_t outWidth = output.Size().x;
    const std::int64_t size = kernel.Size();
    const std::int64_t most = std::max<std::int64_t>(1, mostWeights / size); // columns at a time
    std::vector<double> weights;
    std::vector<std::int64_t> firsts;
    std::vector<T> rows;
    std::vector<T> columns;
    std::vector<double> wideColumns;
    std::vector<float> sums;
    for (std::int64_t left = 0; left < outWidth; left += most) {
        const std::int64_t count = std::min(most, outWidth - left);
        const std::int64_t first = kernel.First(left);
        const std::int64_t span = kernel.First(left + count - 1) + size - first;
        weights.resize(static_cast<std::size_t>(size * count));
        firsts.clear();
        for (std::int64_t x = 0; x < count; ++x) {
            kernel.Weights(left + x, weights.data() + size * x);
            firsts.push_back(kernel.First(left + x) - first);
        }
        rows.resize(static_cast<std::size_t>(kRows * span));
        columns.resize(rows.size());
        wideColumns.resize(rows.size());
        sums.resize(static_cast<std::size_t>(kRows * count));
        for (std::int64_t top = 0; top < height; top += kRows) {
            const std::int64_t inside = std::min<std::int64_t>(kRows, height - top);
            for (std::int64_t y = 0; y < inside; ++y) {
                CopyReflected(Elements<T>(input) + width * (top + y), width, first, span, rows.data() + span * y);
            }
            Transpose<T>({rows.data(), span, span, kRows}, columns.data(), kRows);
            Widen(columns.data(), kRows * span, wideColumns.data());
            AddColumns(wideColumns.data(), firsts, weights.data(), size, sums.data());
            Transpose<float>({sums.data(), kRows, inside, count}, Elements<float>(output) + outWidth * top + left,
                             outWidth);
        }
    }
}

/// Adds rows of neighbouring numbers, each with its weight, one after the other: four at a time, so that the sums are
/// fetched and stored less often.
VESSA_VECTOR_VARIANTS void AddRows(const std::vector<const float*>& rows, const std::vector<double>& weights,
                                   std::int64_t left, std::int64_t count, double* __restrict sums) {
    std::size_t t = 0;
    for (; t + 4 <= rows.size(); t += 4) {
        const float* a = rows[t] + left;
        const float* b = rows[t + 1] + left;
        const float* c = rows[t + 2] + left;
        const float* d = rows[t + 3] + left;
        for (std::int64_t x = 0; x < count; ++x) {
            const double sum = (sums[x] + a[x] * weights[t]) + b[x] * weights[t + 1];
            sums[x] = (sum + c[x] * weights[t + 2]) + d[x] * weights[t + 3];
        }
    }
    for (; t < rows.size(); ++t) {
        for (std::int64_t x = 0; x < count; ++x) {
            sums[x] += rows[t][left + x] * weights[t];
        }
    }
}

template <class T> VESSA_VECTOR_VARIANTS void StoreRow(const double* sums, std::int64_t width, T* out) {
    for (std::int64_t x = 0; x < width; ++x) {
        out[x] = std::is_floating_point_v<T> ? ElementFromNumber<T>(sums[x]) : ElementFromNumber<T>(sums[x] + 0.5);
    }
}

template <class T> void SmoothColumns(const CImage& input, const CGausKernel& kernel, CImage& output) {
    constexpr std::int64_t most = 512; // columns at a time
    const auto [width, height, depth] = Extents(input);
    std::vector<double> weights(static_cast<std::size_t>(kernel.Size()));
    std::vector<const float*> rows(weights.size());
    for (std::int64_t y = 0; y < output.Size().y; ++y) {
        kernel.Weights(y, weights.data());
        std::int64_t source = kernel.First(y);
        for (const float*& row : rows) {
            row = Elements<float>(input) + width * Reflected(source++, height);
        }
        for (std::int64_t left = 0; left < width; left += most) {
            const std::int64_t count = std::min(most, width - left);
            double sums[most] = {};
            AddRows(rows, weights, left, count, sums);
            StoreRow(sums, count, Elements<T>(output) + width * y + left);
        }
    }
}

template <class T> void Smooth(const CImage& input, double factorX, double factorY, CImage& between, CImage& output) {
    const bool isEmpty = IsEmpty(output); // of so small a factor, the kernel may be beyond all memory
    const CGausKernel kernelX(factorX);
    if (!isEmpty) {
        SmoothRows<T>(input, kernelX, between);
    }
    const CGausKernel kernelY(factorY);
    if (!isEmpty) {
        SmoothColumns<T>(between, kernelY, output);
    }
}

} // namespace

std::unique_ptr<CImage> ResizeGauss(const CImage& input, double factorX, double factorY) {
    // Unlike those of the other ways, these sizes aren't rounded.
    const std::int64_t width = TruncateTo64(static_cast<double>(input.Size().x) * factorX);
    const std::int64_t height = TruncateTo64(static_cast<double>(input.Size().y) * factorY);
    const auto between = NewImage(IMAGE_GREY_F, CSize(width, input.Size().y));
    auto output = NewImage(input.Type(), CSize(width, height));
    if (input.Type() == IMAGE_GREY_F) {
        Smooth<float>(input, factorX, factorY, *between, *output);
    } else {
        Smooth<std::uint8_t>(input, factorX, factorY, *between, *output);
    }
    return output;
}

} // namespace QUOR::manipulation
