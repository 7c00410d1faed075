#pragma once

#include "image/Image.h"
#include "plugin/Node.h"

#include <memory>

namespace QUOR::manipulation {

/// A new image whose elements aren't initialised.
std::unique_ptr<CImage> NewImage(const IImage::CType& type, const CSize& size);

/// A value that owns the image.
std::unique_ptr<CValue> WrapImage(std::unique_ptr<CImage> image);

/// Hands the values over as outputs 0 and 1: both or, on failure, none.
/// @{
void SetOutputs(CPNode& node, std::unique_ptr<CValue> first);
void SetOutputs(CPNode& node, std::unique_ptr<CValue> first, std::unique_ptr<CValue> second);
/// @}

} // namespace QUOR::manipulation
