#pragma once

#include "base/Types.h"

#include <array>
#include <cstring>

namespace QUOR {

/// Copies a block of bytes. A load that follows a store to the same place of another page waits for it, so that
/// `memcpy` takes two to five times as long for rows shorter than a page and for longer ones that are shifted by a few
/// bytes only: those are copied in pieces that it loads whole before it stores them. (`memmove` is never turned into a
/// loop of single words.)
inline void CopyBytes(const unsigned char* in, unsigned char* out, std::size_t bytes) {
    constexpr std::size_t piece = 512;
    constexpr std::uintptr_t page = 4096;
    const std::uintptr_t shift = (reinterpret_cast<std::uintptr_t>(out) - reinterpret_cast<std::uintptr_t>(in)) % page;
    if (bytes < page || (shift > 0 && shift < 64)) {
        for (; bytes > piece; bytes -= piece) {
            std::memmove(out, in, piece);
            in += piece;
            out += piece;
        }
    }
    std::memcpy(out, in, bytes);
}

/// Copies rows of `width` bytes, which don't overlap what is written. Strides are the bytes from one row to the next.
VESSA_API void CopyRows(const unsigned char* in, std::int64_t inStride, unsigned char* out, std::int64_t outStride,
                        std::int64_t width, std::int64_t rows);

/// Bytes that recur: elements of 1, 2, 4, 8, 16 or 32 bytes, side by side.
using BytePattern = std::array<unsigned char, 32>;

/// Copies rows as above, of which there is one at least, and fills what lies in the output between one row and the
/// next with the pattern, which begins anew behind each row.
VESSA_API void PlaceRows(const unsigned char* in, std::int64_t inStride, unsigned char* out, std::int64_t outStride,
                         std::int64_t width, std::int64_t rows, const BytePattern& fill);

} // namespace QUOR
