#include "Cells.h"

#include "base/VectorVariants.h"

namespace QUOR::manipulation {

namespace {

VESSA_VECTOR_VARIANTS void FindBlockCells(StRowLines lines, std::int64_t first, int count, std::int32_t width,
                                          StCells& cells) {
    const auto start = static_cast<double>(first);
    for (int i = 0; i < count; ++i) {
        const double column = start + i;
        const double sx = lines.x.At(column);
        const double sy = lines.y.At(column);
        const auto ix = static_cast<std::int32_t>(sx);
        const auto iy = static_cast<std::int32_t>(sy);
        cells.element[i] = iy * width + ix;
        cells.fx[i] = sx - ix;
        cells.fy[i] = sy - iy;
    }
}

} // namespace

void FindCells(const StRowLines& lines, std::int64_t first, int count, std::int32_t width, StCells& cells) {
    FindBlockCells(lines, first, count, width, cells);
}

} // namespace QUOR::manipulation
