#include "image/Buffer.h"

#include "BlockCache.h"
#include "base/Exception.h"

#include <cstring>
#include <utility>

namespace QUOR {

CBuffer::CBuffer(std::size_t bytes) : m_data(bytes == 0 ? nullptr : AllocateBlock(bytes)), m_size(bytes) {}

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

CBuffer::~CBuffer() { FreeBlock(m_data, m_size); }

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
