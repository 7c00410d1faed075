#include "image/Rows.h"

#include "base/VectorVariants.h"

#include <algorithm>
#include <tuple>

namespace QUOR {

namespace {

/// The bytes of a vector: half of the widest, which is as fast where rows lie in the caches.
constexpr std::int64_t kVector = std::tuple_size_v<BytePattern>;

using Vector [[gnu::vector_size(kVector)]] = unsigned char;

/// Copies vectors. All are loaded before one is stored: a load waits for a store to the same place of another page.
template <int Count> [[gnu::always_inline]] inline void CopyVectors(const unsigned char* in, unsigned char* out) {
    Vector vectors[Count];
    for (int vector = 0; vector < Count; ++vector) {
        std::memcpy(&vectors[vector], in + kVector * vector, kVector);
    }
    for (int vector = 0; vector < Count; ++vector) {
        std::memcpy(out + kVector * vector, &vectors[vector], kVector);
    }
}

/// Copies a row of a vector or more. The last vector overlaps the one before.
[[gnu::always_inline]] inline void CopyShortRow(const unsigned char* in, unsigned char* out, std::int64_t width) {
    std::int64_t x = 0;
    for (; x + 4 * kVector <= width; x += 4 * kVector) {
        CopyVectors<4>(in + x, out + x);
    }
    for (; x + kVector <= width; x += kVector) {
        CopyVectors<1>(in + x, out + x);
    }
    if (x < width) {
        CopyVectors<1>(in + width - kVector, out + width - kVector);
    }
}

VESSA_VECTOR_VARIANTS void CopyShortRows(const unsigned char* in, std::int64_t inStride, unsigned char* out,
                                         std::int64_t outStride, std::int64_t width, std::int64_t rows) {
    for (std::int64_t y = 0; y < rows; ++y) {
        CopyShortRow(in + inStride * y, out + outStride * y, width);
    }
}

/// What is set behind a row may reach into the place of the next one, which is copied after that.
VESSA_VECTOR_VARIANTS void PlaceShortRows(const unsigned char* in, std::int64_t inStride, unsigned char* out,
                                          std::int64_t outStride, std::int64_t width, std::int64_t rows,
                                          const BytePattern& fill) {
    for (std::int64_t y = 0; y < rows - 1; ++y) {
        unsigned char* row = out + outStride * y;
        CopyShortRow(in + inStride * y, row, width);
        for (std::int64_t x = width; x < outStride; x += kVector) {
            CopyVectors<1>(fill.data(), row + x);
        }
    }
    CopyShortRow(in + inStride * (rows - 1), out + outStride * (rows - 1), width);
}

/// Fills bytes with a pattern.
void Fill(unsigned char* out, std::int64_t bytes, const BytePattern& fill) {
    for (; bytes > kVector; bytes -= kVector, out += kVector) {
        std::memcpy(out, fill.data(), kVector);
    }
    std::memcpy(out, fill.data(), static_cast<std::size_t>(std::max<std::int64_t>(bytes, 0)));
}

/// From a vector up to a page: a call of `memcpy` takes as long as it copies one of these rows.
bool AreShort(std::int64_t width) { return width >= kVector && width < 4096; }

} // namespace

void CopyRows(const unsigned char* in, std::int64_t inStride, unsigned char* out, std::int64_t outStride,
              std::int64_t width, std::int64_t rows) {
    if (width == 0) {
        return; // there may be no memory
    }
    if (AreShort(width)) {
        CopyShortRows(in, inStride, out, outStride, width, rows);
        return;
    }
    for (std::int64_t y = 0; y < rows; ++y) {
        CopyBytes(in + inStride * y, out + outStride * y, static_cast<std::size_t>(width));
    }
}

void PlaceRows(const unsigned char* in, std::int64_t inStride, unsigned char* out, std::int64_t outStride,
               std::int64_t width, std::int64_t rows, const BytePattern& fill) {
    if (AreShort(width)) {
        PlaceShortRows(in, inStride, out, outStride, width, rows, fill);
        return;
    }
    for (std::int64_t y = 0; y < rows - 1; ++y) {
        unsigned char* row = out + outStride * y;
        CopyBytes(in + inStride * y, row, static_cast<std::size_t>(width));
        Fill(row + width, outStride - width, fill);
    }
    CopyBytes(in + inStride * (rows - 1), out + outStride * (rows - 1), static_cast<std::size_t>(width));
}

} // namespace QUOR
