#include "image/Buffer.h"

#include "BlockCache.h"
#include "base/Exception.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace QUOR {

namespace {

std::atomic<std::size_t> memoryLimit = kNoImageMemoryLimit;
std::atomic<std::size_t> memoryInUse = 0;

/// Counts the bytes if the limit leaves room for them. Several threads never pass the limit together.
void Count(std::size_t bytes) {
    std::size_t inUse = memoryInUse.load(std::memory_order_relaxed);
    do {
        const std::size_t limit = memoryLimit.load(std::memory_order_relaxed);
        if (inUse > limit || bytes > limit - inUse) {
            throw CImageMemoryLimit(bytes, inUse, limit);
        }
    } while (!memoryInUse.compare_exchange_weak(inUse, inUse + bytes, std::memory_order_relaxed));
}

void Uncount(std::size_t bytes) noexcept { memoryInUse.fetch_sub(bytes, std::memory_order_relaxed); }

/// A counted block that `allocate` gives.
template <class Allocate> void* NewBlock(std::size_t bytes, const Allocate& allocate) {
    if (bytes == 0) {
        return nullptr;
    }
    Count(bytes);
    try {
        return allocate(bytes);
    } catch (const std::bad_alloc&) {
        Uncount(bytes);
        throw;
    }
}

void* RequireZeros(std::size_t bytes) {
    void* zeros = std::calloc(bytes, 1);
    if (zeros == nullptr) {
        throw std::bad_alloc();
    }
    return zeros;
}

} // namespace

void SetImageMemoryLimit(std::size_t bytes) { memoryLimit.store(bytes, std::memory_order_relaxed); }

std::size_t ImageMemoryLimit() { return memoryLimit.load(std::memory_order_relaxed); }

std::size_t ImageMemoryInUse() { return memoryInUse.load(std::memory_order_relaxed); }

CImageMemoryLimit::CImageMemoryLimit(std::size_t bytes, std::size_t inUse, std::size_t limit) noexcept {
    std::snprintf(m_what.data(), m_what.size(),
                  "an image of %zu bytes would take the images beyond the limit of %zu bytes (%zu in use)", bytes,
                  limit, inUse);
}

const char* CImageMemoryLimit::what() const noexcept { return m_what.data(); }

void* AllocateZeros(std::size_t bytes) { return NewBlock(bytes, RequireZeros); }

void FreeZeros(void* zeros, std::size_t bytes) noexcept {
    std::free(zeros);
    Uncount(bytes);
}

CBuffer::CBuffer(std::size_t bytes) : m_data(NewBlock(bytes, AllocateBlock)), m_size(bytes) {}

CBuffer::CBuffer(const CBuffer& other) : CBuffer(other.m_size) {
    if (m_size != 0) {
        std::memcpy(m_data, other.m_data, m_size);
    }
}

CBuffer::CBuffer(CBuffer&& other) noexcept
    : m_data(std::exchange(other.m_data, nullptr)), m_size(std::exchange(other.m_size, 0)) {}

CBuffer& CBuffer::operator=(const CBuffer& other) {
    if (this != &other) {
        *this = CBuffer(other);
    }
    return *this;
}

CBuffer& CBuffer::operator=(CBuffer&& other) noexcept {
    std::swap(m_data, other.m_data);
    std::swap(m_size, other.m_size);
    return *this;
}

CBuffer::~CBuffer() {
    if (m_data != nullptr) {
        FreeBlock(m_data, m_size);
        Uncount(m_size);
    }
}

void CBuffer::Copy(const CBuffer& source) {
    if (source.m_size != m_size) {
        const std::string sizes = std::to_string(source.m_size) + " bytes over " + std::to_string(m_size);
        throw CException("CBuffer::Copy", ("can't copy a block of " + sizes).c_str(), nullptr);
    }
    if (m_size != 0) {
        std::memmove(m_data, source.m_data, m_size);
    }
}

CBuffer& CBuffer::Set(unsigned char value) {
    if (m_size != 0) {
        std::memset(m_data, value, m_size);
    }
    return *this;
}

void CBuffer::ReleaseKept() { ReleaseKeptBlocks(); }

} // namespace QUOR
