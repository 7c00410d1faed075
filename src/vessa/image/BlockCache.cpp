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

/// Blocks from this size on are kept when freed. An allocator gives smaller ones out of its own caches.
constexpr std::size_t kSmallestKept = 4096;

/// Blocks from this size on are whole huge pages.
constexpr std::size_t kHugePage = std::size_t{2} << 20;

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

/// How many bytes may be kept in huge pages: an eighth of the memory, 1 GiB at the most.
std::size_t MostInHugePages() {
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

/// Freed blocks, ready for the next image of their size. The one freed longest ago leaves first.
class CBlockCache {
public:
    /// Blocks are aligned to `unit` bytes, a power of two, and as long as so many units as they need. Up to `most`
    /// bytes are kept.
    CBlockCache(std::size_t unit, std::size_t most) : m_unit(unit), m_most(most) {}

    /// A kept block or, if there is none, a new one; null if there is no memory for it.
    void* Take(std::size_t bytes) noexcept {
        const std::size_t size = InUnits(bytes);
        void* block = TakeKept(size);
        if (block == nullptr) {
            block = New(size);
        }
        if (block != nullptr) {
            Unpoison(block, bytes);
            Poison(static_cast<std::byte*>(block) + bytes, size - bytes);
        }
        return block;
    }

    /// Keeps the block that was taken for `bytes`, or frees it if it is larger than all that may be kept.
    void Put(void* address, std::size_t bytes) noexcept {
        const StBlock block{address, InUnits(bytes)};
        Poison(address, block.bytes);
        const std::lock_guard lock(m_mutex);
        if (block.bytes > m_most) {
            Free(block);
            return;
        }
        while (m_count == m_blocks.size() || m_kept + block.bytes > m_most) {
            Free(m_blocks.front());
            Remove(0);
        }
        m_blocks[m_count++] = block;
        m_kept += block.bytes;
    }

    void Clear() noexcept {
        const std::lock_guard lock(m_mutex);
        std::for_each_n(m_blocks.begin(), m_count, [this](const StBlock& block) { Free(block); });
        m_count = 0;
        m_kept = 0;
    }

private:
    struct StBlock {
        void* address;
        std::size_t bytes;
    };

    std::size_t InUnits(std::size_t bytes) const { return (bytes + m_unit - 1) & ~(m_unit - 1); }

    /// The block of this size that was freed last: the processor's caches may still hold it.
    void* TakeKept(std::size_t size) noexcept {
        const std::lock_guard lock(m_mutex);
        for (std::size_t index = m_count; index-- > 0;) {
            const StBlock block = m_blocks[index];
            if (block.bytes == size) {
                Remove(index);
                return block.address;
            }
        }
        return nullptr;
    }

    void* New(std::size_t size) const noexcept {
        void* block = ::operator new(size, std::align_val_t(m_unit), std::nothrow);
#if defined(__linux__) && defined(MADV_HUGEPAGE)
        if (block != nullptr && m_unit == kHugePage) {
            ::madvise(block, size, MADV_HUGEPAGE); // only advice: without huge pages the block works as well
        }
#endif
        return block;
    }

    void Free(const StBlock& block) const noexcept {
        Unpoison(block.address, block.bytes);
        ::operator delete(block.address, std::align_val_t(m_unit));
    }

    void Remove(std::size_t index) {
        m_kept -= m_blocks[index].bytes;
        const auto place = m_blocks.begin() + static_cast<std::ptrdiff_t>(index);
        std::move(place + 1, m_blocks.begin() + static_cast<std::ptrdiff_t>(m_count), place);
        --m_count;
    }

    const std::size_t m_unit;
    const std::size_t m_most;
    std::mutex m_mutex;
    std::array<StBlock, 128> m_blocks{}; ///< in the order in which they were freed
    std::size_t m_count = 0;
    std::size_t m_kept = 0;
};

/// Small blocks have a cache of their own, so that many of them never push out a large one.
struct StCaches {
    CBlockCache small{CBuffer::kAlignment, std::size_t{16} << 20};
    CBlockCache large{kHugePage, MostInHugePages()};
};

/// Never destroyed: images with static lifetime may be freed after every other object.
StCaches& Caches() {
    alignas(StCaches) static std::array<std::byte, sizeof(StCaches)> storage;
    static auto* caches = new (storage.data()) StCaches;
    return *caches;
}

CBlockCache& CacheFor(std::size_t bytes) { return bytes < kHugePage ? Caches().small : Caches().large; }

} // namespace

void* AllocateBlock(std::size_t bytes) {
    if (bytes < kSmallestKept) {
        return ::operator new(bytes, std::align_val_t(CBuffer::kAlignment));
    }
    if (bytes > std::numeric_limits<std::size_t>::max() - kHugePage) {
        throw std::bad_alloc(); // no room for whole units
    }
    CBlockCache& cache = CacheFor(bytes);
    if (void* block = cache.Take(bytes)) {
        return block;
    }
    ReleaseKeptBlocks();
    if (void* block = cache.Take(bytes)) {
        return block;
    }
    throw std::bad_alloc();
}

void FreeBlock(void* block, std::size_t bytes) noexcept {
    if (bytes < kSmallestKept) {
        ::operator delete(block, std::align_val_t(CBuffer::kAlignment));
    } else {
        CacheFor(bytes).Put(block, bytes);
    }
}

void ReleaseKeptBlocks() noexcept {
    Caches().small.Clear();
    Caches().large.Clear();
}

} // namespace QUOR
