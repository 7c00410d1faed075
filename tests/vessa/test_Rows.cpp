#include <vessa.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

namespace QUOR::test {
namespace {

using Bytes = std::vector<unsigned char>;

constexpr std::int64_t kRows = 5;
constexpr std::int64_t kBefore = 3; // bytes of the output in front of the first row
constexpr std::int64_t kBehind = 70;

/// Lengths about those of vectors, cache lines and pages, where the way of copying changes.
constexpr std::int64_t kWidths[] = {1,   2,   31,  32,  33,  63,  64,   65,   96,   127,  128, 129,
                                    159, 160, 161, 255, 256, 300, 4095, 4096, 4097, 4200, 9000};
constexpr std::int64_t kGaps[] = {0, 1, 8, 31, 32, 33, 64, 100, 5000};

/// No byte equals that one row below or some lines on: the step is odd, and 251 is a prime.
Bytes Numbered(std::int64_t count) {
    Bytes bytes(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<unsigned char>((i * 7 + i / 251) % 251);
    }
    return bytes;
}

std::int64_t OutputBytes(std::int64_t width, std::int64_t stride) {
    return kBefore + stride * (kRows - 1) + width + kBehind;
}

TEST(Rows, CopiesRowsBesideOneAnother) {
    const Bytes in{1, 2, 3, 4, 5, 6, 7, 8, 9};
    Bytes out(8, 0);
    CopyRows(in.data(), 3, out.data(), 4, 2, 2);
    EXPECT_EQ(out, (Bytes{1, 2, 0, 0, 4, 5, 0, 0}));
}

TEST(Rows, FillsWhatLiesBetweenRows) {
    const Bytes in{1, 2, 3, 4, 5, 6, 7, 8, 9};
    BytePattern fill;
    std::iota(fill.begin(), fill.end(), static_cast<unsigned char>(100));
    Bytes out(12, 0);
    PlaceRows(in.data(), 3, out.data() + 1, 4, 2, 3, fill);
    EXPECT_EQ(out, (Bytes{0, 1, 2, 100, 101, 4, 5, 100, 101, 7, 8, 0}));
}

TEST(Rows, CopiesNothingWithoutMemory) {
    CopyRows(nullptr, 0, nullptr, 0, 0, 3);
    Bytes out(2, 9);
    CopyRows(out.data(), 1, out.data(), 1, 1, 0);
    EXPECT_EQ(out, (Bytes{9, 9}));
}

TEST(Rows, CopiesRowsOfAnyLength) {
    for (const std::int64_t width : kWidths) {
        for (const std::int64_t gap : kGaps) {
            const std::int64_t inStride = width + gap / 2;
            const std::int64_t outStride = width + gap;
            const Bytes in = Numbered(inStride * kRows);
            Bytes out(static_cast<std::size_t>(OutputBytes(width, outStride)), 255);
            Bytes expected = out;
            for (std::int64_t y = 0; y < kRows; ++y) {
                for (std::int64_t x = 0; x < width; ++x) {
                    expected[static_cast<std::size_t>(kBefore + outStride * y + x)] =
                        in[static_cast<std::size_t>(inStride * y + x)];
                }
            }
            CopyRows(in.data(), inStride, out.data() + kBefore, outStride, width, kRows);
            EXPECT_EQ(out, expected) << width << " " << gap;
        }
    }
}

TEST(Rows, PlacesRowsOfAnyLength) {
    BytePattern fill;
    std::iota(fill.begin(), fill.end(), static_cast<unsigned char>(200));
    for (const std::int64_t width : kWidths) {
        for (const std::int64_t gap : kGaps) {
            const std::int64_t stride = width + gap;
            const Bytes in = Numbered(width * kRows);
            Bytes out(static_cast<std::size_t>(OutputBytes(width, stride)), 255);
            Bytes expected = out;
            for (std::int64_t i = 0; i < stride * (kRows - 1) + width; ++i) {
                const std::int64_t x = i % stride;
                expected[static_cast<std::size_t>(kBefore + i)] =
                    x < width ? in[static_cast<std::size_t>(i / stride * width + x)]
                              : static_cast<unsigned char>(200 + (x - width) % 32);
            }
            PlaceRows(in.data(), width, out.data() + kBefore, stride, width, kRows, fill);
            EXPECT_EQ(out, expected) << width << " " << gap;
        }
    }
}

TEST(Rows, CopiesBlocksThatAreAFewBytesFromTheSamePlaceOfAPage) {
    for (const std::size_t shift : {0U, 1U, 8U, 63U, 64U, 4095U}) {
        for (const std::size_t count : {0U, 1U, 511U, 512U, 513U, 4095U, 4096U, 20000U}) {
            alignas(4096) static unsigned char in[20000];
            alignas(4096) static unsigned char out[4096 + 20000];
            const Bytes numbers = Numbered(static_cast<std::int64_t>(count));
            std::copy(numbers.begin(), numbers.end(), in);
            std::fill(std::begin(out), std::end(out), 255);
            CopyBytes(in, out + shift, count);
            EXPECT_TRUE(std::equal(numbers.begin(), numbers.end(), out + shift)) << shift << " " << count;
            EXPECT_EQ(std::count(std::begin(out), std::end(out), 255),
                      static_cast<std::ptrdiff_t>(std::size(out) - count));
        }
    }
}

} // namespace
} // namespace QUOR::test
