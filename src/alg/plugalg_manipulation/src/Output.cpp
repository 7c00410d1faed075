#include "Output.h"

#include "Value/ValuePointer.h"

namespace QUOR::manipulation {

std::unique_ptr<CImage> NewImage(const IImage::CType& type, const CSize& size) {
    return std::make_unique<CImage>(type, size, CSize(0, 0, 0));
}

std::unique_ptr<CValue> WrapImage(std::unique_ptr<CImage> image) {
    auto value = std::make_unique<CValueOwnedPointer<CImage>>(image.get(), 1);
    static_cast<void>(image.release()); // the value is the owner now
    return value;
}

void SetOutputs(CPNode& node, std::unique_ptr<CValue> first) { node.SetStackOutput(0, first.release()); }

void SetOutputs(CPNode& node, std::unique_ptr<CValue> first, std::unique_ptr<CValue> second) {
    // A node's usual number of outputs is set without an allocation, so that nothing fails between the two.
    node.SetStackOutput(0, first.release());
    node.SetStackOutput(1, second.release());
}

} // namespace QUOR::manipulation
