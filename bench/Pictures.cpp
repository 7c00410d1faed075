#include "Pictures.h"

#include <algorithm>
#include <cmath>

namespace QUOR::bench {

namespace {

/// A number from 0 to below 1 for a place: the same one whenever it is asked.
double NumberAt(std::uint64_t place) {
    std::uint64_t bits = (place + 1) * 0x9E3779B97F4A7C15U;
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9U;
    bits ^= bits >> 27;
    return static_cast<double>(bits >> 11) * 0x1p-53;
}

/// An image whose elements are `element(x, y, z)`.
template <class Element>
std::unique_ptr<CImage> MakePicture(const IImage::CType& type, const CSize& size, Element element) {
    auto image = std::make_unique<CImage>(type, size, CSize(0, 0, 0));
    const auto fill = [&](auto* out) {
        for (std::int64_t z = 0; z < size.z; ++z) {
            for (std::int64_t y = 0; y < size.y; ++y) {
                for (std::int64_t x = 0; x < size.x; ++x) {
                    *out++ = static_cast<std::decay_t<decltype(*out)>>(element(x, y, z));
                }
            }
        }
    };
    if (type == IMAGE_GREY_F) {
        fill(Elements<float>(*image));
    } else {
        fill(Elements<std::uint8_t>(*image));
    }
    return image;
}

std::uint64_t Place(const CSize& size, std::int64_t x, std::int64_t y, std::int64_t z) {
    return static_cast<std::uint64_t>(x + size.x * (y + size.y * z));
}

/// The row of the table that row `row` shows: itself or an earlier one.
std::int64_t ShownRow(std::int64_t row) {
    const double chance = NumberAt(static_cast<std::uint64_t>(row));
    return chance < 0.5 ? row : static_cast<std::int64_t>((chance - 0.5) * static_cast<double>(row));
}

std::uint8_t CellAt(std::int64_t column, std::int64_t row) {
    return static_cast<std::uint8_t>(256.0 * NumberAt(static_cast<std::uint64_t>(ShownRow(row) * 1024 + column)));
}

} // namespace

std::unique_ptr<CImage> Noise(const IImage::CType& type, const CSize& size) { return Noise(type, size, 0.0, 256.0); }

std::unique_ptr<CImage> Noise(const IImage::CType& type, const CSize& size, double least, double most) {
    return MakePicture(type, size, [&](std::int64_t x, std::int64_t y, std::int64_t z) {
        return least + (most - least) * NumberAt(Place(size, x, y, z));
    });
}

std::unique_ptr<CImage> FramedNoise(const IImage::CType& type, const CSize& size) {
    const auto isInside = [](std::int64_t place, std::int64_t extent) {
        return place >= extent / 8 && place < extent - extent / 8;
    };
    return MakePicture(type, size, [&](std::int64_t x, std::int64_t y, std::int64_t z) {
        return isInside(x, size.x) && isInside(y, size.y) ? 256.0 * NumberAt(Place(size, x, y, z)) : 0.0;
    });
}

std::unique_ptr<CImage> Ellipse(const IImage::CType& type, const CSize& size) {
    return MakePicture(type, size, [&](std::int64_t x, std::int64_t y, std::int64_t z) {
        const double dx = static_cast<double>(x) / static_cast<double>(size.x) - 0.5;
        const double dy = static_cast<double>(y) / static_cast<double>(size.y) - 0.5;
        const double along = 0.87 * dx + 0.5 * dy;
        const double across = 0.87 * dy - 0.5 * dx;
        return along * along * 6.0 + across * across * 30.0 < 1.0 ? 1.0 + 255.0 * NumberAt(Place(size, x, y, z)) : 0.0;
    });
}

std::unique_ptr<CImage> PolarNoise(const IImage::CType& type, std::int64_t side) {
    const std::int64_t radii = side / 2;
    return Noise(type,
                 CSize(radii, static_cast<std::int64_t>(std::ceil(6.283185307179586 * static_cast<double>(radii)))));
}

std::unique_ptr<CImage> Sparse(const IImage::CType& type, const CSize& size) {
    return MakePicture(type, size, [&](std::int64_t x, std::int64_t y, std::int64_t z) {
        return NumberAt(Place(size, x, y, z)) < 0.1 ? 1.0 : 0.0;
    });
}

std::unique_ptr<CImage> Labels(const IImage::CType& type, const CSize& size, std::int64_t regions) {
    const auto perRow = static_cast<std::int64_t>(std::ceil(std::sqrt(static_cast<double>(regions))));
    const double cell = static_cast<double>(size.x) / static_cast<double>(perRow);
    const std::int64_t cells = perRow * perRow;
    return MakePicture(type, size, [&](std::int64_t x, std::int64_t y, std::int64_t z) {
        const double wave = 0.1 * std::sin(static_cast<double>(x - y + z) * 3.0 / cell);
        const double column = static_cast<double>(x) / cell + wave;
        const double row = static_cast<double>(y) / cell - wave;
        const bool isGap = column - std::floor(column) < 0.15 || row - std::floor(row) < 0.15;
        const auto number = static_cast<std::int64_t>(column) + perRow * static_cast<std::int64_t>(row);
        const std::int64_t label = isGap ? 0 : std::clamp<std::int64_t>(number + 1, 1, cells);
        return type == IMAGE_GREY_8 ? label % 256 : label;
    });
}

std::unique_ptr<CImage> Table(const IImage::CType& type, std::int64_t columns, std::int64_t rows) {
    return MakePicture(type, CSize(columns, rows),
                       [](std::int64_t x, std::int64_t y, std::int64_t) { return CellAt(x, y); });
}

std::unique_ptr<CImage> TurnedTable(const IImage::CType& type, std::int64_t columns, std::int64_t rows) {
    return MakePicture(type, CSize(rows, columns),
                       [](std::int64_t x, std::int64_t y, std::int64_t) { return CellAt(y, x); });
}

} // namespace QUOR::bench
