#include "Region.h"

#include "Value/ValuePointer.h"
#include "base/Exception.h"
#include "image/Image.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <string>

namespace QUOR::shapefeatures {

namespace {

[[noreturn]] void Fail(const char* where, const char* key, const std::string& what) {
    throw CException(where, ('"' + std::string(key) + "\" " + what).c_str(), nullptr);
}

std::string SizeText(const CSize& size) {
    return std::to_string(size.x) + "x" + std::to_string(size.y) + "x" + std::to_string(size.z);
}

bool IsEmpty(const CImage& image) { return image.Buffer().Size() == 0; }

const CImage& RequirePlane(const CValueMap& data, const char* key, const char* where) {
    const CValue* value = data.Entry(key, false);
    if (value == nullptr) {
        Fail(where, key, "is missing in the map");
    }
    if (value->GenericType() != EnValType::Pointer) {
        Fail(where, key, std::string("is ") + KindName(value->GenericType()) + ", not an image");
    }
    if (value->ElementType() != typeid(CImage)) {
        Fail(where, key, "is a pointer to something else than an image");
    }
    const auto* image = UnwrapPointer<CImage>(value);
    if (image == nullptr) {
        Fail(where, key, "is a pointer without an image");
    }
    if (image->Type() != IMAGE_GREY_F) {
        Fail(where, key, std::string("is of type ") + image->Type().ToString() + ", not of type IMAGE_GREY_F");
    }
    if (!IsEmpty(*image) && image->Size().z != 1) {
        Fail(where, key, "has " + std::to_string(image->Size().z) + " slices: only a single one can be measured");
    }
    return *image;
}

/// Calls `visit(x)` for each column where the region begins or has ended. The changes are marked for a block of
/// elements first, which becomes vectors, and then looked for by words.
template <class Visit> void ForEachChange(const float* row, std::int64_t width, Visit visit) {
    constexpr std::int64_t block = 2048;
    constexpr std::int64_t word = 8;
    alignas(64) std::array<std::uint8_t, block> changes;
    bool before = false;
    for (std::int64_t start = 0; start < width; start += block) {
        const float* in = row + start;
        const std::int64_t size = std::min(block, width - start);
        changes[0] = (in[0] != 0.0F) != before;
        std::transform(in + 1, in + size, in, changes.begin() + 1,
                       [](float element, float left) { return (element != 0.0F) != (left != 0.0F); });
        std::fill(changes.begin() + size, changes.begin() + (size + word - 1) / word * word, std::uint8_t{0});
        before = in[size - 1] != 0.0F;
        for (std::int64_t base = 0; base < size; base += word) {
            std::uint64_t marks = 0;
            std::memcpy(&marks, changes.data() + base, sizeof(marks));
            static_assert(std::endian::native == std::endian::little, "the first mark must be the lowest byte");
            for (; marks != 0; marks &= marks - 1) {
                visit(start + base + std::countr_zero(marks) / 8);
            }
        }
    }
}

} // namespace

CRegion::CRegion(const CValueMap& data, const char* where) {
    const CImage& grey = RequirePlane(data, "image-0", where);
    const CImage& mask = RequirePlane(data, "image-mask", where);
    const CSize& size = mask.Size();
    if (grey.Size().x != size.x || grey.Size().y != size.y || grey.Size().z != size.z) {
        Fail(where, "image-mask",
             "is " + SizeText(size) + ", \"image-0\" is " + SizeText(grey.Size()) + ": both must have one size");
    }
    if (!IsEmpty(mask)) { // an empty one may have any number of rows
        m_grey = static_cast<const float*>(grey.Buffer().Data());
        m_mask = static_cast<const float*>(mask.Buffer().Data());
        m_width = size.x;
        m_height = size.y;
    }
}

void CRegion::FindRuns(std::int64_t y, Runs& runs) const {
    runs.clear();
    std::int64_t first = -1; // of the run that isn't at its end
    ForEachChange(m_mask + m_width * y, m_width, [&](std::int64_t x) {
        if (first >= 0) {
            runs.push_back({first, x});
        }
        first = first >= 0 ? -1 : x;
    });
    if (first >= 0) {
        runs.push_back({first, m_width});
    }
}

} // namespace QUOR::shapefeatures
