#include "Inputs.h"

#include "Value/ValuePointer.h"

#include <algorithm>

namespace QUOR::manipulation {

void Fail(const char* where, const CString& what) { throw CException(where, what, nullptr); }

CValue& RequireValue(CPNode& node, int slot, const char* where, const char* missing) {
    CValue* value = node.GetStackInput(slot, false);
    if (value == nullptr) {
        Fail(where, missing);
    }
    return *value;
}

void RequireImageValue(const CValue& value, const char* where, const char* noImage) {
    if (value.ElementType() != typeid(CImage)) {
        Fail(where, noImage);
    }
}

const CImage& RequireImage(CValue& value, const char* where, const char* missing) {
    const CImage* image = UnwrapPointer<CImage>(&value);
    if (image == nullptr) {
        Fail(where, missing);
    }
    return *image;
}

const CImage& RequireInput(CPNode& node, int slot, const char* where, const char* missing) {
    return RequireImage(RequireValue(node, slot, where, missing), where, missing);
}

const CImage& RequireInput(CPNode& node, int slot, const char* where, const char* missing, const char* noImage) {
    CValue& value = RequireValue(node, slot, where, missing);
    RequireImageValue(value, where, noImage);
    return RequireImage(value, where, missing);
}

bool IsOneOf(const IImage::CType& type, std::initializer_list<IImage::CType> accepted) {
    return std::find(accepted.begin(), accepted.end(), type) != accepted.end();
}

void RequireType(const CImage& image, std::initializer_list<IImage::CType> accepted, const char* where,
                 const char* wrongType) {
    if (!IsOneOf(image.Type(), accepted)) {
        Fail(where, wrongType);
    }
}

} // namespace QUOR::manipulation
