#pragma once

#include "base/Types.h"

namespace QUOR {

/// The block of memory that holds an image's elements, aligned to 64 bytes. Its bytes aren't initialised.
///
/// Large blocks come in huge pages where the system has them, and freed large blocks are kept for the next images, up
/// to an eighth of the machine's memory and 1 GiB at the most: mapping fresh memory costs more than copying it.
class VESSA_API CBuffer {
public:
    static constexpr std::size_t kAlignment = 64;

    CBuffer() = default;
    /// Raises `std::bad_alloc` for memory that cannot be had.
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
