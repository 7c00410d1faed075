#pragma once

#include <cstddef>

namespace QUOR {

/// A block of at least `bytes` bytes, aligned to 64, with arbitrary content. Raises `std::bad_alloc`.
void* AllocateBlock(std::size_t bytes);

/// Frees a block of `AllocateBlock` that was asked for with `bytes`.
void FreeBlock(void* block, std::size_t bytes) noexcept;

/// Gives the memory of all kept blocks back to the system.
void ReleaseKeptBlocks() noexcept;

} // namespace QUOR
