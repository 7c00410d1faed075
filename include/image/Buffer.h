#pragma once

#include "base/Types.h"

#include <array>
#include <limits>
#include <new>

namespace QUOR {

/// The bytes that all images of the process may take together, counted over the blocks of all buffers; there is no
/// limit at first. What is in use already stays when a lower limit is set.
/// @{
inline constexpr std::size_t kNoImageMemoryLimit = std::numeric_limits<std::size_t>::max();
VESSA_API void SetImageMemoryLimit(std::size_t bytes);
VESSA_API std::size_t ImageMemoryLimit();
VESSA_API std::size_t ImageMemoryInUse();
/// @}

/// Raised before memory is taken for an image that would pass the limit.
class VESSA_API CImageMemoryLimit : public std::bad_alloc {
public:
    /// The image's bytes, those of all images before it, and the limit.
    CImageMemoryLimit(std::size_t bytes, std::size_t inUse, std::size_t limit) noexcept;
    const char* what() const noexcept override;

private:
    std::array<char, 192> m_what{}; ///< copies of the exception must not fail
};

/// A block of zeros for a table that is as long as its largest index. It is counted with the images' memory, but the
/// system gives memory for the parts of it that are written only. Raises as a `CBuffer` does.
/// @{
VESSA_API void* AllocateZeros(std::size_t bytes);
VESSA_API void FreeZeros(void* zeros, std::size_t bytes) noexcept; ///< asked for with `bytes`
/// @}

/// The block of memory that holds an image's elements, aligned to 64 bytes. Its bytes aren't initialised.
///
/// Freed blocks are kept for the next images of their size: mapping fresh memory costs more than copying it. Blocks of
/// 2 MiB and more come in huge pages where the system has them; up to an eighth of the machine's memory of them is
/// kept, and 1 GiB at the most. Of smaller blocks 16 MiB are kept, and of those below 4 KiB none.
class VESSA_API CBuffer {
public:
    static constexpr std::size_t kAlignment = 64;

    CBuffer() = default;
    /// Raises `CImageMemoryLimit` for bytes beyond the limit, and `std::bad_alloc` for memory that cannot be had.
    explicit CBuffer(std::size_t bytes);
    CBuffer(const CBuffer& other);
    CBuffer(CBuffer&& other) noexcept;
    CBuffer& operator=(const CBuffer& other);
    CBuffer& operator=(CBuffer&& other) noexcept;
    virtual ~CBuffer();

    /// Copies the whole block of `source` over this one. Raises a `CException` if the sizes differ.
    virtual void Copy(const CBuffer& source);

    /// Sets every byte.
    CBuffer& Set(unsigned char value);

    const void* Data() const { return m_data; }
    void* Data() { return m_data; }
    /// The number of bytes.
    std::size_t Size() const { return m_size; }

    /// Gives the memory of all kept blocks back to the system.
    static void ReleaseKept();

private:
    void* m_data = nullptr;
    std::size_t m_size = 0;
};

} // namespace QUOR
