#pragma once

#include "Cells.h"
#include "Elements.h"
#include "RowLines.h"

#include <algorithm>

namespace QUOR::manipulation {

/// A plane of the source.
template <class T> struct StPlane {
    const T* elements;
    std::int64_t width;
    std::int64_t height;
    std::int64_t number; ///< counted from 0

    const T& At(std::int64_t x, std::int64_t y) const { return elements[y * width + x]; }
};

template <class T> StPlane<T> PlaneOf(const CImage& image, std::int64_t number) {
    const auto [width, height, depth] = Extents(image);
    return {Elements<T>(image) + number * width * height, width, height, number};
}

/// An output row: the lines under it, the columns that are served and, of these, the ones away from the edges.
struct StSampledRow {
    StRowLines lines;
    StColumns served;
    StColumns inner;
};

/// How many rows are walked together, in tiles of `kBlock` columns. Under a whole row may lie more rows of the source
/// than the caches have room for; what lies under a tile stays there from row to row.
constexpr int kBandRows = 64;

/// Calls `work(row, first, count)` for the inner columns of a band of rows, tile by tile.
template <class Row, class Work> void WalkTiles(const Row* rows, int count, std::int64_t width, Work work) {
    for (std::int64_t left = 0; left < width; left += kBlock) {
        for (int row = 0; row < count; ++row) {
            const std::int64_t first = std::max(left, rows[row].inner.first);
            const std::int64_t end = std::min(left + kBlock, rows[row].inner.end);
            if (first < end) {
                work(row, first, static_cast<int>(end - first));
            }
        }
    }
}

/// Fills what a row leaves to the background and serves the pixels near the edges of the source one by one.
template <class Method, class T>
void WriteEdges(const StSampledRow& row, const StPlane<T>& plane, T* out, std::int64_t width, T background) {
    std::fill(out, out + row.served.first, background);
    std::fill(out + row.served.end, out + width, background);
    const auto serve = [&](std::int64_t first, std::int64_t end) {
        for (std::int64_t x = first; x < end; ++x) {
            const auto column = static_cast<double>(x);
            out[x] = Method::Pixel(plane, row.lines.x.At(column), row.lines.y.At(column));
        }
    };
    serve(row.served.first, row.inner.first);
    serve(row.inner.end, row.served.end);
}

/// Writes every plane of the output by sampling the same plane of the input, along `lines(y)` for each row y. Neither
/// image is empty. A method has
///  - `Served(width, height)`, the area of the positions that it serves; others leave the background,
///  - `Pixel(plane, sx, sy)`, the plain rule for one position,
///  - `Inner(width, height)`, the area away from the edges, where positions are served in blocks:
///    `Prepare(lines, first, count)` for what all planes have in common, then `Block(plane, out, count)`.
template <class Method, class T, class Lines>
void SampleAlongLines(const CImage& input, CImage& output, Lines lines, T background) {
    const StExtents in = Extents(input);
    const StExtents out = Extents(output);
    const auto width = static_cast<double>(in.width);
    const auto height = static_cast<double>(in.height);
    const StArea served = Method::Served(width, height);
    const StArea inner = FitsCells(in.width, in.height) ? Method::Inner(width, height) : StArea{};
    const auto target = [&](std::int64_t y, std::int64_t z) {
        return Elements<T>(output) + out.width * (y + out.height * z);
    };

    Method method(in.width);
    StSampledRow rows[kBandRows];
    for (std::int64_t top = 0; top < out.height; top += kBandRows) {
        const int count = static_cast<int>(std::min<std::int64_t>(kBandRows, out.height - top));
        for (int y = 0; y < count; ++y) {
            rows[y].lines = lines(top + y);
            rows[y].served = ColumnsInside(rows[y].lines, served, {0, out.width});
            rows[y].inner = ColumnsInside(rows[y].lines, inner, rows[y].served);
            for (std::int64_t z = 0; z < out.depth; ++z) {
                WriteEdges<Method>(rows[y], PlaneOf<T>(input, z), target(top + y, z), out.width, background);
            }
        }
        WalkTiles(rows, count, out.width, [&](int y, std::int64_t first, int columns) {
            method.Prepare(rows[y].lines, first, columns);
            for (std::int64_t z = 0; z < out.depth; ++z) {
                method.Block(PlaneOf<T>(input, z), target(top + y, z) + first, columns);
            }
        });
    }
}

} // namespace QUOR::manipulation
