#pragma once

#include "vessa.h"

namespace QUOR::test {

/// Leaves images room for some more bytes than are in use, while it lives.
class CRoomForImages {
public:
    explicit CRoomForImages(std::size_t bytes) { SetImageMemoryLimit(ImageMemoryInUse() + bytes); }
    CRoomForImages(const CRoomForImages&) = delete;
    CRoomForImages& operator=(const CRoomForImages&) = delete;
    ~CRoomForImages() { SetImageMemoryLimit(kNoImageMemoryLimit); }
};

} // namespace QUOR::test
