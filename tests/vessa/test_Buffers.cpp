#include "NodeTest.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

namespace QUOR::test {
namespace {

/// Blocks from here on are kept when they are freed.
constexpr std::size_t kKept = 4096;

/// Blocks from here on are whole huge pages.
constexpr std::size_t kLarge = std::size_t{2} << 20;

bool IsFilledWith(const CBuffer& buffer, unsigned char value) {
    const auto* bytes = static_cast<const unsigned char*>(buffer.Data());
    return std::all_of(bytes, bytes + buffer.Size(), [=](unsigned char byte) { return byte == value; });
}

TEST(Buffers, AreAlignedWhateverTheirSize) {
    for (const std::size_t bytes :
         {std::size_t{1}, std::size_t{63}, std::size_t{64}, std::size_t{65}, std::size_t{4095}, std::size_t{4097},
          std::size_t{100000}, kLarge - 1, kLarge, kLarge + 1, 3 * kLarge + 5}) {
        CBuffer buffer(bytes);
        EXPECT_EQ(buffer.Size(), bytes);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer.Data()) % CBuffer::kAlignment, 0U) << bytes;
        EXPECT_TRUE(IsFilledWith(buffer.Set(0xA5), 0xA5)) << "every byte can be written";
    }
}

TEST(Buffers, WithoutBytesHaveNoBlock) {
    CBuffer empty;
    EXPECT_EQ(empty.Data(), nullptr);
    EXPECT_EQ(empty.Size(), 0U);
    EXPECT_EQ(CBuffer(0).Data(), nullptr);
    EXPECT_EQ(&empty.Set(1), &empty);
    empty.Copy(CBuffer(0));
    EXPECT_EQ(CBuffer(empty).Size(), 0U);
}

TEST(Buffers, CopyBetweenEqualSizesOnly) {
    CBuffer a(100);
    CBuffer b(100);
    a.Set(1);
    b.Set(2);
    a.Copy(b);
    EXPECT_TRUE(IsFilledWith(a, 2));
    a.Copy(a);
    EXPECT_TRUE(IsFilledWith(a, 2));
    EXPECT_EQ(FailureOf([&] { a.Copy(CBuffer(99)); }),
              (StFailure{"CBuffer::Copy", "can't copy a block of 99 bytes over 100"}));
    EXPECT_EQ(FailureOf([&] { a.Copy(CBuffer()); }),
              (StFailure{"CBuffer::Copy", "can't copy a block of 0 bytes over 100"}));
    EXPECT_TRUE(IsFilledWith(a, 2));
}

TEST(Buffers, AreCopiedAndMoved) {
    CBuffer a(100);
    a.Set(7);
    const CBuffer copy(a);
    EXPECT_NE(copy.Data(), a.Data());
    EXPECT_TRUE(IsFilledWith(copy, 7));
    const void* block = a.Data();
    CBuffer moved(std::move(a));
    EXPECT_EQ(moved.Data(), block);
    // A moved buffer is empty. NOLINTNEXTLINE(bugprone-use-after-move, clang-analyzer-cplusplus.Move)
    EXPECT_TRUE(a.Data() == nullptr && a.Size() == 0);
    CBuffer assigned(5);
    assigned = copy;
    EXPECT_TRUE(IsFilledWith(assigned, 7));
    EXPECT_EQ(assigned.Size(), 100U);
    assigned = *&assigned;
    EXPECT_TRUE(IsFilledWith(assigned, 7));
    assigned = CBuffer(3);
    EXPECT_EQ(assigned.Size(), 3U);
}

TEST(Buffers, RaiseBadAllocForMemoryThatCannotBeHad) {
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
    for (const std::size_t bytes : {most, most / 2, most / 16}) {
        EXPECT_THROW(const CBuffer buffer(bytes), std::bad_alloc);
    }
}

/// The block's address after it has been freed.
const void* AddressOfFreed(std::size_t bytes) {
    CBuffer buffer(bytes);
    buffer.Set(1);
    return buffer.Data();
}

TEST(Buffers, TakeLargeBlocksFromThoseThatWereFreed) {
    CBuffer::ReleaseKept();
    const void* first = AddressOfFreed(3 * kLarge);
    const void* second = AddressOfFreed(5 * kLarge);
    CBuffer again(3 * kLarge);
    EXPECT_EQ(again.Data(), first) << "the block of this size, not the one freed last";
    CBuffer almost(5 * kLarge - 100);
    EXPECT_EQ(almost.Data(), second) << "sizes count in whole huge pages";
    EXPECT_TRUE(IsFilledWith(almost.Set(3), 3));
    CBuffer fresh(3 * kLarge);
    EXPECT_NE(fresh.Data(), first) << "a block serves one buffer at a time";
    CBuffer::ReleaseKept();
}

TEST(Buffers, TakeSmallBlocksFromThoseThatWereFreed) {
    CBuffer::ReleaseKept();
    const void* first = AddressOfFreed(3 * kKept);
    const void* second = AddressOfFreed(kLarge - 1);
    CBuffer again(3 * kKept);
    EXPECT_EQ(again.Data(), first) << "the block of this size, not the one freed last";
    CBuffer almost(kLarge - 64);
    EXPECT_NE(almost.Data(), second) << "sizes count in units of 64 bytes";
    CBuffer last(kLarge - 63);
    EXPECT_EQ(last.Data(), second);
    EXPECT_TRUE(IsFilledWith(last.Set(3), 3));
    CBuffer::ReleaseKept();
}

TEST(Buffers, TakeTheBlockFreedLastAmongThoseOfASize) {
    for (const std::size_t bytes : {kKept, kLarge}) {
        CBuffer::ReleaseKept();
        const void* freedLast = nullptr;
        {
            const CBuffer last(bytes);
            const CBuffer first(bytes);
            freedLast = last.Data();
        }
        EXPECT_EQ(CBuffer(bytes).Data(), freedLast);
    }
    CBuffer::ReleaseKept();
}

TEST(Buffers, KeepLargeBlocksHoweverManySmallOnesAreFreed) {
    CBuffer::ReleaseKept();
    const void* large = AddressOfFreed(kLarge);
    for (std::size_t bytes = kKept; bytes < kLarge; bytes += kKept) {
        CBuffer(bytes).Set(1);
    }
    EXPECT_EQ(CBuffer(kLarge).Data(), large);
    CBuffer::ReleaseKept();
}

TEST(Buffers, KeepNoMoreThanTheyMay) {
    for (const std::size_t bytes : {kKept, kLarge}) {
        CBuffer::ReleaseKept();
        std::vector<CBuffer> many;
        std::vector<const void*> blocks;
        for (int count = 0; count < 200; ++count) {
            many.emplace_back(bytes);
            blocks.push_back(many.back().Data());
        }
        std::sort(blocks.begin(), blocks.end());
        EXPECT_EQ(std::adjacent_find(blocks.begin(), blocks.end()), blocks.end());
        many.clear(); // more blocks than are kept
        EXPECT_TRUE(IsFilledWith(CBuffer(bytes).Set(4), 4));
        CBuffer::ReleaseKept();
        CBuffer::ReleaseKept();
        EXPECT_TRUE(IsFilledWith(CBuffer(bytes).Set(5), 5));
    }
}

} // namespace
} // namespace QUOR::test
