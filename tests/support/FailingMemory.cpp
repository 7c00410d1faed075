#include "FailingMemory.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <limits>

#define MEMORY_CALL __attribute__((visibility("default"), used))

// NOLINTBEGIN(bugprone-reserved-identifier): the names of the system's library, and of the sanitizers' runtimes, which
// take its place where they are there

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

__attribute__((weak)) void* __interceptor_malloc(std::size_t size);
__attribute__((weak)) void* __interceptor_calloc(std::size_t count, std::size_t size);
__attribute__((weak)) void* __interceptor_realloc(void* block, std::size_t size);
__attribute__((weak)) void* __interceptor_memalign(std::size_t alignment, std::size_t size);
__attribute__((weak)) void __interceptor_free(void* block);
}

namespace QUOR::test {

namespace {

/// Initialised before any code runs, since memory is taken before that of this file does.
/// @{
constinit std::atomic<bool> isFailing{false};
constinit std::atomic<std::size_t> asked{0};
constinit std::atomic<std::size_t> failed{0};
constinit std::atomic<std::size_t> firstToFail{0};
constinit std::atomic<std::size_t> lastToFail{0};
constinit std::atomic<std::ptrdiff_t> liveBlocks{0};
/// @}

/// True if the allocation at hand is to fail.
bool Fails() {
    if (!isFailing) {
        return false;
    }
    const std::size_t number = ++asked;
    const bool fails = firstToFail <= number && number <= lastToFail;
    if (fails) {
        ++failed;
        errno = ENOMEM;
    }
    return fails;
}

/// True if the caller of `calloc` or `realloc` can't go on without memory. libtiff 4.5 counts a page's field before it
/// has room for it in its list, and reads behind the list's end if there is none. The sanitizers give up if the system
/// can't tell them of a new thread.
bool IsSpared(const void* caller) {
    Dl_info place{};
    if (!isFailing || ::dladdr(caller, &place) == 0) {
        return false;
    }
    const auto isIn = [&](const char* library) { return std::strstr(place.dli_fname, library) != nullptr; };
    return isIn("/libtiff.so") || (__interceptor_malloc != nullptr && isIn("/libc.so"));
}

void* Counted(void* block) {
    liveBlocks += block == nullptr ? 0 : 1;
    return block;
}

void* Allocate(std::size_t size) {
    if (Fails()) {
        return nullptr;
    }
    return Counted(__interceptor_malloc != nullptr ? __interceptor_malloc(size) : __libc_malloc(size));
}

void* AllocateZeros(std::size_t count, std::size_t size, const void* caller) {
    if (!IsSpared(caller) && Fails()) {
        return nullptr;
    }
    return Counted(__interceptor_calloc != nullptr ? __interceptor_calloc(count, size) : __libc_calloc(count, size));
}

void* AllocateAligned(std::size_t alignment, std::size_t size) {
    if (Fails()) {
        return nullptr;
    }
    return Counted(__interceptor_memalign != nullptr ? __interceptor_memalign(alignment, size)
                                                     : __libc_memalign(alignment, size));
}

void Free(void* block) {
    liveBlocks -= block == nullptr ? 0 : 1;
    __interceptor_free != nullptr ? __interceptor_free(block) : __libc_free(block);
}

void* Reallocate(void* block, std::size_t size, const void* caller) {
    if (size == 0 && block != nullptr) {
        Free(block);
        return nullptr;
    }
    if (!IsSpared(caller) && Fails()) {
        return nullptr;
    }
    liveBlocks += block == nullptr ? 1 : 0;
    return __interceptor_realloc != nullptr ? __interceptor_realloc(block, size) : __libc_realloc(block, size);
}

void* Required(void* block) {
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

} // namespace

CFailingMemory::CFailingMemory(const StFailing& failing) {
    asked = 0;
    failed = 0;
    firstToFail = failing.first;
    lastToFail = failing.andAllLater ? std::numeric_limits<std::size_t>::max() : failing.first;
    isFailing = true;
}

CFailingMemory::~CFailingMemory() { isFailing = false; }

std::size_t CFailingMemory::Failures() const { return failed; }

std::ptrdiff_t LiveBlocks() {
    CBuffer::ReleaseKept();
    return liveBlocks;
}

} // namespace QUOR::test

using namespace QUOR::test;

extern "C" {

MEMORY_CALL void* malloc(std::size_t size) noexcept { return Allocate(size); }
MEMORY_CALL void* calloc(std::size_t count, std::size_t size) noexcept {
    return AllocateZeros(count, size, __builtin_return_address(0));
}
MEMORY_CALL void* realloc(void* block, std::size_t size) noexcept {
    return Reallocate(block, size, __builtin_return_address(0));
}
MEMORY_CALL void* memalign(std::size_t alignment, std::size_t size) noexcept {
    return AllocateAligned(alignment, size);
}
MEMORY_CALL void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return AllocateAligned(alignment, size);
}
MEMORY_CALL int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
    *block = AllocateAligned(alignment, size);
    return *block == nullptr ? ENOMEM : 0;
}
MEMORY_CALL void free(void* block) noexcept { Free(block); }
}

// NOLINTEND(bugprone-reserved-identifier)

// The operators of the sanitizers' runtimes don't call the functions above.

MEMORY_CALL void* operator new(std::size_t size) { return Required(Allocate(size)); }
MEMORY_CALL void* operator new[](std::size_t size) { return Required(Allocate(size)); }
MEMORY_CALL void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept { return Allocate(size); }
MEMORY_CALL void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept { return Allocate(size); }
MEMORY_CALL void* operator new(std::size_t size, std::align_val_t alignment) {
    return Required(AllocateAligned(static_cast<std::size_t>(alignment), size));
}
MEMORY_CALL void* operator new[](std::size_t size, std::align_val_t alignment) {
    return Required(AllocateAligned(static_cast<std::size_t>(alignment), size));
}
MEMORY_CALL void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t& /*tag*/) noexcept {
    return AllocateAligned(static_cast<std::size_t>(alignment), size);
}
MEMORY_CALL void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t& /*tag*/) noexcept {
    return AllocateAligned(static_cast<std::size_t>(alignment), size);
}

MEMORY_CALL void operator delete(void* block) noexcept { Free(block); }
MEMORY_CALL void operator delete[](void* block) noexcept { Free(block); }
MEMORY_CALL void operator delete(void* block, std::size_t /*size*/) noexcept { Free(block); }
MEMORY_CALL void operator delete[](void* block, std::size_t /*size*/) noexcept { Free(block); }
MEMORY_CALL void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept { Free(block); }
MEMORY_CALL void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept { Free(block); }
MEMORY_CALL void operator delete(void* block, std::align_val_t /*alignment*/) noexcept { Free(block); }
MEMORY_CALL void operator delete[](void* block, std::align_val_t /*alignment*/) noexcept { Free(block); }
MEMORY_CALL void operator delete(void* block, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    Free(block);
}
MEMORY_CALL void operator delete[](void* block, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    Free(block);
}
MEMORY_CALL void operator delete(void* block, std::align_val_t /*alignment*/, const std::nothrow_t& /*tag*/) noexcept {
    Free(block);
}
MEMORY_CALL void operator delete[](void* block, std::align_val_t /*alignment*/,
                                   const std::nothrow_t& /*tag*/) noexcept {
    Free(block);
}
