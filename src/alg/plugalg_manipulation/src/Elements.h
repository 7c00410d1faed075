#pragma once

#include "Inputs.h"
#include "image/Image.h"

#include <cstdint>
#include <type_traits>

namespace QUOR::manipulation {

/// Tells a generic lambda for which element type it is called: `[&]<class T>(Element<T>) { Worker<T>(...); }`.
template <class T> struct Element {};

/// The extents of an image.
struct StExtents {
    std::int64_t width;
    std::int64_t height;
    std::int64_t depth;
};

inline StExtents Extents(const CImage& image) { return {image.Size().x, image.Size().y, image.Size().z}; }

/// True for an image with an extent of 0. Its other extents may be huge, so that loops must not run over them.
inline bool IsEmpty(const CImage& image) { return image.Buffer().Size() == 0; }

/// The block of elements of an image; null for an empty one.
/// @{
template <class T> const T* Elements(const CImage& image) { return static_cast<const T*>(image.Buffer().Data()); }
template <class T> T* Elements(CImage& image) { return static_cast<T*>(image.Buffer().Data()); }
/// @}

/// True if the samples of `type` are numbers of the C++ type `Number`.
template <class Number> bool HoldsNumbers(const IImage::CType& type) {
    if constexpr (std::is_same_v<Number, float>) {
        return type == IMAGE_GREY_F;
    } else if constexpr (std::is_same_v<Number, double>) {
        return type == IMAGE_GREY_D;
    } else {
        return type.channelBytes == sizeof(Number) && type != IMAGE_GREY_F && type != IMAGE_GREY_D;
    }
}

/// Fails with the words for a type that a worker doesn't know.
[[noreturn]] inline void FailUnsupported(const IImage::CType& type, const char* where) {
    Fail(where, CString("Image type %1 not supported.").Arg(type.ToString()));
}

/// Calls `worker` with the one of the listed C++ types, as in `<float, std::uint8_t>`, that the samples of `type` are:
/// for nodes that compute. A type that isn't listed fails.
template <class... Numbers, class Worker>
void DispatchNumber(const IImage::CType& type, const char* where, Worker&& worker) {
    const bool known = ((HoldsNumbers<Numbers>(type) && (worker(Element<Numbers>{}), true)) || ...);
    if (!known) {
        FailUnsupported(type, where);
    }
}

/// Calls `worker` with the unsigned integer as wide as the samples of `type`: for nodes that only move elements, for
/// which an element is a pattern of bits.
template <class Worker> void DispatchWidth(const IImage::CType& type, const char* where, Worker&& worker) {
    switch (type.channelBytes) {
    case 1:
        return worker(Element<std::uint8_t>{});
    case 2:
        return worker(Element<std::uint16_t>{});
    case 4:
        return worker(Element<std::uint32_t>{});
    case 8:
        return worker(Element<std::uint64_t>{});
    default:
        FailUnsupported(type, where);
    }
}

} // namespace QUOR::manipulation
