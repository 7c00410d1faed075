#pragma once

#include "image/Image.h"
#include "plugin/Node.h"

#include <initializer_list>

namespace QUOR::manipulation {

/// Raises the failure `what` of the node with the location tag `where`.
[[noreturn]] void Fail(const char* where, const CString& what);

/// The value on an input slot; an empty slot fails with `missing`.
CValue& RequireValue(CPNode& node, int slot, const char* where, const char* missing);

/// Fails with `noImage` unless the value is a pointer to an image, with or without an image behind it.
void RequireImageValue(const CValue& value, const char* where, const char* noImage);

/// The image behind a value; a pointer without an image fails with `missing`, a value that is no pointer to an image
/// raises the host's own exception.
const CImage& RequireImage(CValue& value, const char* where, const char* missing);

/// The image on an input slot of a node that has no words of its own for a value that is no image.
const CImage& RequireInput(CPNode& node, int slot, const char* where, const char* missing);

/// The image on an input slot of a node that fails with `noImage` for a value that is no image.
const CImage& RequireInput(CPNode& node, int slot, const char* where, const char* missing, const char* noImage);

/// True if `type` is one of the accepted types.
bool IsOneOf(const IImage::CType& type, std::initializer_list<IImage::CType> accepted);

/// Fails with `wrongType` unless the image's type is one of the accepted types.
void RequireType(const CImage& image, std::initializer_list<IImage::CType> accepted, const char* where,
                 const char* wrongType);

} // namespace QUOR::manipulation
