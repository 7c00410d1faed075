#include "image/ImageExtraction.h"

#include "base/Exception.h"
#include "image/Rows.h"

namespace QUOR {

namespace {

/// A region as far as an extraction counts it: in three dimensions.
struct StRegion {
    CPos first;
    CSize size;
};

[[noreturn]] void Raise(const char* where, CString message) { throw CException(where, message, nullptr); }

bool IsInside(std::int64_t first, std::int64_t second, std::int64_t extent) {
    return first >= 0 && first <= second && second <= extent;
}

/// The distance of two coordinates in order. One beyond 63 bits, as an empty region may have it, wraps to a negative
/// number, which is no destination's extent.
std::int64_t Extent(std::int64_t first, std::int64_t second) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(second) - static_cast<std::uint64_t>(first));
}

/// The size of a region that can be served. One without elements leaves no image, wherever it lies.
CSize RequireInside(const char* where, const CSize& source, const CPos& first, const CPos& second) {
    const bool ordered = first.x <= second.x && first.y <= second.y && first.z <= second.z;
    const bool empty = first.x == second.x || first.y == second.y || first.z == second.z;
    const bool inside = IsInside(first.x, second.x, source.x) && IsInside(first.y, second.y, source.y) &&
                        IsInside(first.z, second.z, source.z);
    if (!ordered || (!empty && !inside)) {
        Raise(where, CString("the region %1->%2 leaves the image of size %3")
                         .Arg(first.ToString())
                         .Arg(second.ToString())
                         .Arg(source.ToString()));
    }
    return {Extent(first.x, second.x), Extent(first.y, second.y), Extent(first.z, second.z)};
}

const CImage& AsImage(const char* where, const IImage& image) {
    const auto* concrete = dynamic_cast<const CImage*>(&image);
    if (concrete == nullptr) {
        Raise(where, "only images of the class CImage can be extracted");
    }
    return *concrete;
}

void RequireMatch(const char* where, const CImage& destination, const CImage& source, const CSize& size) {
    if (destination.Type() != source.Type()) {
        Raise(where, CString("the destination is of type %1, the source of type %2")
                         .Arg(destination.Type().ToString())
                         .Arg(source.Type().ToString()));
    }
    const CSize& found = destination.Size();
    if (found.x != size.x || found.y != size.y || found.z != size.z) {
        Raise(where,
              CString("the destination has the size %1, the region %2").Arg(found.ToString()).Arg(size.ToString()));
    }
}

void CopyRegion(CImage& destination, const CImage& source, const StRegion& region) {
    const IImage::CType& type = source.Type();
    const std::int64_t planes = type.interleaved ? 1 : type.channels;
    const std::int64_t elementBytes = type.interleaved ? type.pixelBytes : type.channelBytes;
    if (region.size.Volume() == 0 || elementBytes == 0) {
        return;
    }
    const auto* in = static_cast<const unsigned char*>(source.Buffer().Data());
    auto* out = static_cast<unsigned char*>(destination.Buffer().Data());
    const CSize& size = source.Size();
    const std::int64_t rowStride = size.x * elementBytes;
    // Rows of the whole width follow one another without a gap: they are one.
    const std::int64_t rows = region.size.x == size.x ? 1 : region.size.y;
    const std::int64_t width = region.size.x * (region.size.y / rows) * elementBytes;
    for (std::int64_t plane = 0; plane < planes; ++plane, in += rowStride * size.y * size.z) {
        for (std::int64_t z = region.first.z; z < region.first.z + region.size.z; ++z) {
            const std::int64_t first = region.first.x + size.x * (region.first.y + size.y * z);
            CopyRows(in + first * elementBytes, rowStride, out, width, width, rows);
            out += width * rows;
        }
    }
}

} // namespace

void CImageExtraction::Rect(IImage& destination, const IImage& source, const CRect& region) {
    constexpr const char* where = "CImageExtraction::Rect";
    const CImage& from = AsImage(where, source);
    auto& to = const_cast<CImage&>(AsImage(where, destination)); // not const where it came from
    // The first slice, counted in three dimensions.
    const CPos first(region.first.x, region.first.y, 0);
    const CPos second(region.second.x, region.second.y, 1);
    const CSize size = RequireInside(where, from.Size(), first, second);
    RequireMatch(where, to, from, size);
    CopyRegion(to, from, {first, size});
}

void CImageExtraction::Box(const IImage& source, IImage& destination, const CBox& region) {
    constexpr const char* where = "CImageExtraction::Box";
    const CImage& from = AsImage(where, source);
    auto& to = const_cast<CImage&>(AsImage(where, destination)); // not const where it came from
    const CSize size = RequireInside(where, from.Size(), region.first, region.second);
    RequireMatch(where, to, from, size);
    CopyRegion(to, from, {region.first, size});
}

} // namespace QUOR
