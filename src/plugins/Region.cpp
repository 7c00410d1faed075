#include "Region.h"

#include "Value/ValuePointer.h"
#include "base/Exception.h"
#include "image/Image.h"

#include <algorithm>
#include <string>
#include <utility>

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
    const auto isRegion = [](float element) { return element != 0.0F; };
    const float* row = m_mask + m_width * y;
    const float* end = row + m_width;
    runs.clear();
    for (const float* first = std::find_if(row, end, isRegion); first != end;) {
        const float* behind = std::find_if_not(first, end, isRegion);
        runs.push_back({first - row, behind - row});
        first = std::find_if(behind, end, isRegion);
    }
}

} // namespace QUOR::shapefeatures
