#pragma once

#include "base/Types.h"

#include <string>

namespace QUOR {

/// A position in elements, of 2 or 3 dimensions.
class VESSA_API CPos {
public:
    CPos() = default;
    CPos(std::int64_t column, std::int64_t row) : x(column), y(row), dim(2) {}
    CPos(std::int64_t column, std::int64_t row, std::int64_t slice) : x(column), y(row), z(slice) {}
    CPos(const CPos&) = default;
    CPos& operator=(const CPos&) = default;
    virtual ~CPos();

    /// Sets the number of dimensions that count; the coordinates stay.
    virtual void SetDim(int dimensions) { dim = dimensions; }

    /// "(x, y)" for two dimensions, "(x, y, z)" otherwise.
    std::string ToString() const;

    std::int64_t x = 0;
    std::int64_t y = 0;
    std::int64_t z = 0;
    std::int32_t dim = 3; ///< number of dimensions, 2 or 3
};

/// Same coordinates and dimension count.
VESSA_API bool operator==(const CPos& a, const CPos& b);

/// An extent in elements, of 2 or 3 dimensions. An extent of two dimensions has the depth 1.
class VESSA_API CSize : public CPos {
public:
    CSize() = default;
    CSize(std::int64_t width, std::int64_t height) : CPos(width, height) { z = 1; }
    CSize(std::int64_t width, std::int64_t height, std::int64_t depth) : CPos(width, height, depth) {}
    CSize(const CSize&) = default;
    CSize& operator=(const CSize&) = default;
    ~CSize() override;

    /// The number of elements, x * y * z. What is beyond 64 bits is lost.
    std::size_t Volume() const;
    /// The number of elements in one channel plane of an image: the same number.
    std::size_t Elements() const { return Volume(); }
};

/// A rectangle from the corner `first`, which belongs to it, to the corner `second`, which doesn't.
class VESSA_API CRect {
public:
    CRect(std::int64_t x0, std::int64_t y0, std::int64_t x1, std::int64_t y1) : first(x0, y0), second(x1, y1) {}
    CRect(const CRect&) = default;
    CRect& operator=(const CRect&) = default;
    virtual ~CRect();

    CPos first;
    CPos second;
};

/// A cuboid from the corner `first`, which belongs to it, to the corner `second`, which doesn't.
class VESSA_API CBox {
public:
    CBox(std::int64_t x0, std::int64_t y0, std::int64_t z0, std::int64_t x1, std::int64_t y1, std::int64_t z1)
        : first(x0, y0, z0), second(x1, y1, z1) {}
    CBox(const CBox&) = default;
    CBox& operator=(const CBox&) = default;
    virtual ~CBox();

    CPos first;
    CPos second;
};

} // namespace QUOR
