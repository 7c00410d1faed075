#include "ByteTable.h"

namespace QUOR::manipulation {

namespace {

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)

using Bytes64 = std::uint8_t __attribute__((vector_size(64)));

/// The whole table in four registers: one permute serves 64 bytes from half of the table, by their lower seven bits.
/// Gives how many bytes it has served, whole vectors. The variants of other loops know levels of processors, of which
/// none has this permute, so that it is asked for by its own name.
__attribute__((target("avx512vbmi,avx512bw"))) std::int64_t
Permute(const std::uint8_t* in, std::int64_t count, const ByteTable<std::uint8_t>& table, std::uint8_t* out) {
    constexpr std::int64_t step = sizeof(Bytes64);
    Bytes64 quarters[4];
    std::memcpy(quarters, table.data(), table.size());
    std::int64_t i = 0;
    for (; i + step <= count; i += step) {
        Bytes64 bytes;
        std::memcpy(&bytes, in + i, step);
        const Bytes64 lower = __builtin_shuffle(quarters[0], quarters[1], bytes);
        const Bytes64 upper = __builtin_shuffle(quarters[2], quarters[3], bytes);
        const Bytes64 found = bytes < 128 ? lower : upper;
        std::memcpy(out + i, &found, step);
    }
    return i;
}

bool CanPermute() { return __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512bw"); }

#else

std::int64_t Permute(const std::uint8_t*, std::int64_t, const ByteTable<std::uint8_t>&, std::uint8_t*) { return 0; }

bool CanPermute() { return false; }

#endif

} // namespace

void LookUpBytes(const std::uint8_t* in, std::int64_t count, const ByteTable<std::uint8_t>& table, std::uint8_t* out) {
    const std::int64_t served = CanPermute() ? Permute(in, count, table, out) : 0;
    LookUpBytes<std::uint8_t>(in + served, count - served, table, out + served);
}

} // namespace QUOR::manipulation
