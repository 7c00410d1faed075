#pragma once

#include "vessa.h"

#include <cstdint>

namespace vessa {

/// Calls `work` with a zero of the C++ type that the samples of images of this type have, and gives what it gives.
template <class Work> auto WithSampleType(const QUOR::IImage::CType& type, const Work& work) {
    if (type == QUOR::IMAGE_GREY_F) {
        return work(float{});
    }
    if (type == QUOR::IMAGE_GREY_D) {
        return work(double{});
    }
    switch (type.channelBytes) {
    case 2:
        return work(std::uint16_t{});
    case 4:
        return work(std::uint32_t{});
    case 8:
        return work(std::uint64_t{});
    default:
        return work(std::uint8_t{});
    }
}

} // namespace vessa
