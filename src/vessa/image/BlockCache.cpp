#include "BlockCache.h"

#include "image/Buffer.h"

#include <algorithm>
#include <array>
#include <limits>
#include <mutex>
#include <new>

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#endif

#if defined(__SANITIZE_ADDRESS__)
#define VESSA_POISONS_BLOCKS
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VESSA_POISONS_BLOCKS
#endif
#endif
#if defined(VESSA_POISONS_BLOCKS)
#include <sanitizer/asan_interface.h>
#endif

namespace QUOR {

namespace {

/// Blocks from this size on are whole huge pages and are kept when freed. Smaller ones are the allocator's: their
/// memory stays mapped anyway.
constexpr std::size_t kHugePage = std::size_t{2} << 20;

std::size_t RoundedToPages(std::size_t bytes) {
    if (bytes > std::numeric_limits<std::size_t>::max() - kHugePage) {
        throw std::bad_alloc();
    }
    return (bytes + kHugePage - 1) / kHugePage * kHugePage;
}

/// Null for memory that cannot be had.
void* NewLargeBlock(std::size_t bytes) noexcept {
    void* block = ::operator new(bytes, std::align_val_t(kHugePage), std::nothrow);
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    if (block != nullptr) {
        ::madvise(block, bytes, MADV_HUGEPAGE); // only advice: without huge pages the block works as well
    }
#endif
    return block;
}

void DeleteLargeBlock(void* block) noexcept { ::operator delete(block, std::align_val_t(kHugePage)); }

// Recycling would hide a late access to a freed block from the address sanitizer.
void Poison([[maybe_unused]] void* block, [[maybe_unused]] std::size_t bytes) {
#if defined(VESSA_POISONS_BLOCKS)
    __asan_poison_memory_region(block, bytes);
#endif
}

void Unpoison([[maybe_unused]] void* block, [[maybe_unused]] std::size_t bytes) {
#if defined(VESSA_POISONS_BLOCKS)
    __asan_unpoison_memory_region(block, bytes);
#endif
}

/// How many bytes may be kept: an eighth of the memory, 1 GiB at the most.
std::size_t MostKept() {
    constexpr std::size_t limit = std::size_t{1} << 30;
#if defined(__linux__)
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long pageBytes = ::sysconf(_SC_PAGESIZE);
    if (pages > 0 && pageBytes > 0) {
        return std::min(limit, static_cast<std::size_t>(pages) / 8 * static_cast<std::size_t>(pageBytes));
    }
#endif
    return limit / 4;
}

/// Freed large blocks, ready for the next image of their size. The one freed longest ago leaves first.
class CBlockCache {
public:
    /// A kept block of exactly `bytes`, the one freed last, which may still be in the processor's caches; null if
    /// there is none.
    void* Take(std::size_t bytes) {
        const std::lock_guard lock(m_mutex);
        for (std::size_t index = m_count; index-- > 0;) {
            const StBlock block = m_blocks[index];
            if (block.bytes == bytes) {
                Remove(index);
                return block.address;
            }
        }
        return nullptr;
    }

    /// Keeps the block, or frees it if it is larger than all that may be kept.
    void Put(void* address, std::size_t bytes) noexcept {
        const std::lock_guard lock(m_mutex);
        if (bytes > m_most) {
            DeleteLargeBlock(address);
            return;
        }
        while (m_count == m_blocks.size() || m_kept + bytes > m_most) {
            Free(m_blocks.front());
            Remove(0);
        }
        Poison(address, bytes);
        m_blocks[m_count++] = {address, bytes};
        m_kept += bytes;
    }

    void Clear() noexcept {
        const std::lock_guard lock(m_mutex);
        std::for_each_n(m_blocks.begin(), m_count, Free);
        m_count = 0;
        m_kept = 0;
    }

private:
    struct StBlock {
        void* address;
        std::size_t bytes;
    };

    static void Free(const StBlock& block) {
        Unpoison(block.address, block.bytes);
        DeleteLargeBlock(block.address);
    }

    void Remove(std::size_t index) {
        m_kept -= m_blocks[index].bytes;
        const auto place = m_blocks.begin() + static_cast<std::ptrdiff_t>(index);
        std::move(place + 1, m_blocks.begin() + static_cast<std::ptrdiff_t>(m_count), place);
        --m_count;
    }

    std::mutex m_mutex;
    std::array<StBlock, 128> m_blocks{}; ///< in the order in which they were freed
    std::size_t m_count = 0;
    std::size_t m_kept = 0;
    const std::size_t m_most = MostKept();
};

/// Never destroyed: images with static lifetime may be freed after every other object.
CBlockCache& Cache() {
    alignas(CBlockCache) static std::array<std::byte, sizeof(CBlockCache)> storage;
    static auto* cache = new (storage.data()) CBlockCache;
    return *cache;
}

} // namespace

void* AllocateBlock(std::size_t bytes) {
    if (bytes < kHugePage) {
        return ::operator new(bytes, std::align_val_t(CBuffer::kAlignment));
    }
    const std::size_t size = RoundedToPages(bytes);
    if (void* kept = Cache().Take(size)) {
        Unpoison(kept, size);
        return kept;
    }
    if (void* block = NewLargeBlock(size)) {
        return block;
    }
    ReleaseKeptBlocks();
    if (void* block = NewLargeBlock(size)) {
        return block;
    }
    throw std::bad_alloc();
}

void FreeBlock(void* block, std::size_t bytes) noexcept {
    if (bytes < kHugePage) {
        ::operator delete(block, std::align_val_t(CBuffer::kAlignment));
    } else {
        Cache().Put(block, RoundedToPages(bytes));
    }
}

void ReleaseKeptBlocks() noexcept { Cache().Clear(); }

} // namespace QUOR
