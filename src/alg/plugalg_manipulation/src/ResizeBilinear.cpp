#include "CacheLine.h"
#include "Elements.h"
#include "Numbers.h"
#include "Output.h"
#include "Resize.h"
#include "base/VectorVariants.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace QUOR::manipulation {

namespace {

/// Where an element of the output lies between two elements of the input, along one axis.
struct StBetween {
    std::int64_t first;
    std::int64_t second; ///< past the edge, the last element repeats
    double fraction;
};

StBetween Between(std::int64_t position, double ratio, std::int64_t extent) {
    const double place = static_cast<double>(position) / ratio;
    const std::int64_t first = TruncateTo64(place);
    return {first, first + 1 < extent ? first + 1 : first, place - static_cast<double>(first)};
}

/// So many columns of the output are computed at a time, for all rows: what they need of two rows of the input stays in
/// the nearest cache.
constexpr int kColumns = 2048;

/// Fractions as whole numbers of this part; see `HasSixteenths`.
constexpr int kParts = 16;

/// So many elements are spread at a time by a single shuffle, and the numbers that tell it which.
/// @{
template <class T> constexpr int kLanes = std::is_same_v<T, float> ? 8 : 16;
template <class T> using Lane = std::conditional_t<std::is_same_v<T, float>, std::int32_t, T>;
/// @}

/// The columns of a part of all rows of the output.
template <class T> struct StColumns {
    // As many of each are filled as there are columns. NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
    StColumns(std::int64_t left, int number, double ratio, std::int64_t width) : count(number) {
        for (int i = 0; i < count; ++i) {
            const StBetween column = Between(left + i, ratio, width);
            first[i] = column.first;
            second[i] = column.second;
            fraction[i] = column.fraction;
            rest[i] = 1.0 - column.fraction;
            single[i] = static_cast<float>(column.fraction);
            parts[i] = static_cast<std::uint16_t>(column.fraction * kParts);
        }
        while (shuffled + kLanes<T> <= count && FindLanes(shuffled, width)) {
            shuffled += kLanes<T>;
        }
    }

    int count;
    int shuffled = 0; ///< the columns up to here are shuffled from as many neighbours, and from those one further on
    alignas(kLine) std::int64_t first[kColumns];
    std::int64_t second[kColumns];
    Lane<T> lane[kColumns];
    double fraction[kColumns];
    double rest[kColumns];         ///< what the fraction leaves of 1
    float single[kColumns];        ///< the fraction as a float
    std::uint16_t parts[kColumns]; ///< the fraction as a number of parts

private:
    /// False if the columns from `begin` on need elements further apart, or too near the end of the row.
    bool FindLanes(int begin, std::int64_t width) {
        const std::int64_t furthest = first[begin + kLanes<T> - 1] - first[begin];
        if (furthest >= kLanes<T> || first[begin] + kLanes<T> >= width) {
            return false;
        }
        for (int i = begin; i < begin + kLanes<T>; ++i) {
            lane[i] = static_cast<Lane<T>>(first[i] - first[begin]);
        }
        return true;
    }
};

/// True for powers of two up to 16: then every fraction is exactly a whole number of sixteenths.
bool HasSixteenths(double ratio) {
    int exponent = 0;
    return std::frexp(ratio, &exponent) == 0.5 && ratio <= kParts;
}

/// A row of the input, spread to the columns of the output: the two elements that each column lies between. They are
/// widened once for all rows of the output that share them.
template <class Element> struct StSpreadRow {
    alignas(kLine) Element first[kColumns];
    Element second[kColumns];
};

/// A row of bytes, interpolated at the columns of the output, in sixteenths.
struct StMixedRow {
    alignas(kLine) std::uint16_t mean[kColumns];
};

/// A spread row of bytes, and what it interpolates to in single precision.
struct StEstimatedRow {
    alignas(kLine) std::uint8_t first[kColumns];
    std::uint8_t second[kColumns];
    float mean[kColumns];
};

[[gnu::always_inline]] inline void PrepareElement(float first, float second, int /*part*/, int column,
                                                  StSpreadRow<float>& row) {
    row.first[column] = first;
    row.second[column] = second;
}

[[gnu::always_inline]] inline void PrepareElement(std::uint8_t first, std::uint8_t second, int part, int column,
                                                  StMixedRow& row) {
    row.mean[column] = static_cast<std::uint16_t>(first * (kParts - part) + second * part);
}

/// Writes in[lane[i]] to out[i] for as many elements as a shuffle takes.
template <class T, class Element>
[[gnu::always_inline]] inline void Shuffle(const T* in, const Lane<T>* lane, Element* out) {
#if defined(__GNUC__) && !defined(__clang__)
    using Elements [[gnu::vector_size(kLanes<T> * sizeof(T))]] = T;
    using Lanes [[gnu::vector_size(kLanes<T> * sizeof(T))]] = Lane<T>;
    Elements elements;
    Lanes lanes;
    std::memcpy(&elements, in, sizeof(elements));
    std::memcpy(&lanes, lane, sizeof(lanes));
    elements = __builtin_shuffle(elements, lanes);
    for (int i = 0; i < kLanes<T>; ++i) {
        out[i] = elements[i];
    }
#else
    for (int i = 0; i < kLanes<T>; ++i) {
        out[i] = in[lane[i]];
    }
#endif
}

/// A pass of loads alone, since what is done with them becomes vectors without it.
template <class T, class Element>
[[gnu::always_inline]] inline void SpreadRow(const T* in, const StColumns<T>& columns, Element* __restrict first,
                                             Element* __restrict second) {
    for (int i = 0; i < columns.shuffled; i += kLanes<T>) {
        Shuffle(in + columns.first[i], &columns.lane[i], &first[i]);
        Shuffle(in + columns.first[i] + 1, &columns.lane[i], &second[i]);
    }
    for (int i = columns.shuffled; i < columns.count; ++i) {
        first[i] = in[columns.first[i]];
        second[i] = in[columns.second[i]];
    }
}

template <class Element>
VESSA_VECTOR_VARIANTS void PrepareSpread(const float* in, const StColumns<float>& columns,
                                         StSpreadRow<Element>& __restrict row) {
    SpreadRow(in, columns, row.first, row.second);
}

VESSA_VECTOR_VARIANTS void PrepareMixed(const std::uint8_t* in, const StColumns<std::uint8_t>& columns,
                                        StMixedRow& __restrict row) {
    std::uint8_t first[kColumns];
    std::uint8_t second[kColumns];
    SpreadRow(in, columns, first, second);
    for (int i = 0; i < columns.count; ++i) {
        // SpreadRow has filled as many. NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage)
        PrepareElement(first[i], second[i], columns.parts[i], i, row);
    }
}

/// Where each element of the input is spread to the same number of columns.
template <int Repeat, class T, class Row>
VESSA_VECTOR_VARIANTS void PrepareRepeated(const T* in, const StColumns<T>& columns, Row& __restrict row) {
    const T* source = in + columns.first[0];
    const int last = columns.count / Repeat - 1;
    for (int i = 0; i < last; ++i) {
        for (int part = 0; part < Repeat; ++part) {
            PrepareElement(source[i], source[i + 1], part * kParts / Repeat, Repeat * i + part, row);
        }
    }
    for (int i = Repeat * last; i < columns.count; ++i) {
        PrepareElement(in[columns.first[i]], in[columns.second[i]], columns.parts[i], i, row);
    }
}

VESSA_VECTOR_VARIANTS void PrepareEstimate(const std::uint8_t* in, const StColumns<std::uint8_t>& columns,
                                           StEstimatedRow& __restrict row) {
    SpreadRow(in, columns, row.first, row.second);
    for (int i = 0; i < columns.count; ++i) {
        const float fx = columns.single[i];
        row.mean[i] = static_cast<float>(row.first[i]) * (1.0F - fx) + static_cast<float>(row.second[i]) * fx;
    }
}

/// The rule: each of the four products is narrowed to a float, their sum is one of floats.
template <class T, class Row>
[[gnu::always_inline]] inline void MixExactly(const StColumns<T>& columns, const Row& upper, const Row& lower,
                                              double fraction, int begin, int end, T* __restrict out) {
    const double gy = 1.0 - fraction;
    for (int i = begin; i < end; ++i) {
        const double fx = columns.fraction[i];
        const double gx = columns.rest[i];
        const auto a = static_cast<float>(upper.first[i] * (gx * gy));
        const auto b = static_cast<float>(lower.first[i] * (gx * fraction));
        const auto c = static_cast<float>(upper.second[i] * (gy * fx));
        const auto d = static_cast<float>(lower.second[i] * (fraction * fx));
        const float sum = ((a + b) + c) + d;
        if constexpr (std::is_floating_point_v<T>) {
            out[i] = sum;
        } else {
            out[i] = static_cast<T>(static_cast<std::int32_t>(sum));
        }
    }
}

VESSA_VECTOR_VARIANTS void MixRows(const StColumns<float>& columns, const StSpreadRow<double>& upper,
                                   const StSpreadRow<double>& lower, double fraction, float* __restrict out) {
    MixExactly(columns, upper, lower, fraction, 0, columns.count, out);
}

/// Bytes interpolated in single precision alone. What rounding takes an estimate and the rule's sum apart is less than
/// 12 * 255 / 2^24, or 0.0002: where a doubt of that size leaves the byte the same, it is the rule's. Where it doesn't,
/// in few places but for those of one grey, the block is computed again.
VESSA_VECTOR_VARIANTS void MixEstimates(const StColumns<std::uint8_t>& columns, const StEstimatedRow& upper,
                                        const StEstimatedRow& lower, double fraction, std::uint8_t* __restrict out) {
    constexpr int block = 64;
    constexpr float doubt = 1.0F / 4096;
    const auto fy = static_cast<float>(fraction);
    const float gy = 1.0F - fy;
    for (int begin = 0; begin < columns.count; begin += block) {
        const int end = std::min(begin + block, columns.count);
        std::int32_t differing = 0;
        for (int i = begin; i < end; ++i) {
            const float estimate = upper.mean[i] * gy + lower.mean[i] * fy;
            const auto least = static_cast<std::int32_t>(estimate - doubt);
            const auto most = static_cast<std::int32_t>(estimate + doubt);
            differing |= least ^ most;
            out[i] = static_cast<std::uint8_t>(most);
        }
        if (differing != 0) {
            MixExactly(columns, upper, lower, fraction, begin, end, out);
        }
    }
}

/// With sixteenths the weights need so few bits that a product of doubles is exact, and narrowing it gives what a
/// product of floats gives.
VESSA_VECTOR_VARIANTS void MixSixteenths(const StColumns<float>& columns, const StSpreadRow<float>& upper,
                                         const StSpreadRow<float>& lower, double fraction, float* __restrict out) {
    const auto fy = static_cast<float>(fraction);
    const float gy = 1.0F - fy;
    for (int i = 0; i < columns.count; ++i) {
        const float fx = columns.single[i];
        const float gx = 1.0F - fx;
        const float a = upper.first[i] * (gx * gy);
        const float b = lower.first[i] * (gx * fy);
        const float c = upper.second[i] * (gy * fx);
        const float d = lower.second[i] * (fy * fx);
        out[i] = ((a + b) + c) + d;
    }
}

/// For bytes all of it is exact, and 16 bits hold the sum of 256ths.
VESSA_VECTOR_VARIANTS void MixByteSixteenths(const StColumns<std::uint8_t>& columns, const StMixedRow& upper,
                                             const StMixedRow& lower, double fraction, std::uint8_t* __restrict out) {
    const auto part = static_cast<std::uint16_t>(fraction * kParts);
    const auto rest = static_cast<std::uint16_t>(kParts - part);
    for (int i = 0; i < columns.count; ++i) {
        const auto sum = static_cast<std::uint16_t>(upper.mean[i] * rest + lower.mean[i] * part);
        out[i] = static_cast<std::uint8_t>(sum / (kParts * kParts));
    }
}

template <class T, class Row> using PrepareFunction = void (*)(const T*, const StColumns<T>&, Row&);
template <class T, class Row> using MixFunction = void (*)(const StColumns<T>&, const Row&, const Row&, double, T*);

template <class T, class Row>
PrepareFunction<T, Row> ChoosePrepareRow(double ratio, PrepareFunction<T, Row> prepareAny) {
    return ratio == 1.0   ? &PrepareRepeated<1, T, Row>
           : ratio == 2.0 ? &PrepareRepeated<2, T, Row>
           : ratio == 4.0 ? &PrepareRepeated<4, T, Row>
                          : prepareAny;
}

/// Neighbouring rows of the output share the rows of the input, which are prepared once.
template <class T, class Row>
void ResizeRows(const CImage& input, CImage& output, double ratioX, double ratioY, PrepareFunction<T, Row> prepareRow,
                MixFunction<T, Row> mixRows) {
    const auto [width, height, depth] = Extents(input);
    const auto [outWidth, outHeight, outDepth] = Extents(output);
    Row rows[2];
    for (std::int64_t left = 0; left < outWidth; left += kColumns) {
        const int count = static_cast<int>(std::min<std::int64_t>(kColumns, outWidth - left));
        const StColumns<T> columns(left, count, ratioX, width);
        Row* upper = &rows[0];
        Row* lower = &rows[1];
        std::int64_t upperY = -1; // the rows that are prepared
        std::int64_t lowerY = -1;
        for (std::int64_t y = 0; y < outHeight; ++y) {
            const StBetween row = Between(y, ratioY, height);
            if (row.first == lowerY) {
                std::swap(upper, lower);
                std::swap(upperY, lowerY);
            }
            if (row.first != upperY) {
                prepareRow(Elements<T>(input) + width * row.first, columns, *upper);
                upperY = row.first;
            }
            if (row.second != lowerY) {
                prepareRow(Elements<T>(input) + width * row.second, columns, *lower);
                lowerY = row.second;
            }
            mixRows(columns, *upper, *lower, row.fraction, Elements<T>(output) + outWidth * y + left);
        }
    }
}

} // namespace

std::unique_ptr<CImage> ResizeBilinear(const CImage& input, double factorX, double factorY) {
    const auto [width, height, depth] = Extents(input);
    auto output = NewImage(input.Type(), CSize(TruncateTo64(static_cast<double>(width) * factorX + 0.5),
                                               TruncateTo64(static_cast<double>(height) * factorY + 0.5)));
    if (IsEmpty(*output)) {
        return output;
    }
    const auto [outWidth, outHeight, outDepth] = Extents(*output);
    const double ratioX = static_cast<double>(outWidth) / static_cast<double>(width);
    const double ratioY = static_cast<double>(outHeight) / static_cast<double>(height);
    const bool hasSixteenths = HasSixteenths(ratioX) && HasSixteenths(ratioY);
    const auto resize = [&](auto prepareRow, auto mixRows) {
        ResizeRows(input, *output, ratioX, ratioY, prepareRow, mixRows);
    };
    if (input.Type() == IMAGE_GREY_F) {
        if (hasSixteenths) {
            resize(ChoosePrepareRow(ratioX, &PrepareSpread<float>), &MixSixteenths);
        } else {
            resize(&PrepareSpread<double>, &MixRows);
        }
    } else if (hasSixteenths) {
        resize(ChoosePrepareRow(ratioX, &PrepareMixed), &MixByteSixteenths);
    } else {
        resize(&PrepareEstimate, &MixEstimates);
    }
    return output;
}

} // namespace QUOR::manipulation
