#include "Reverse.h"

#include "base/VectorVariants.h"

namespace QUOR::manipulation {

namespace {

template <class T> VESSA_VECTOR_VARIANTS void Reverse(const T* in, T* out, std::int64_t count) {
    for (std::int64_t i = 0; i < count; ++i) {
        out[i] = in[count - 1 - i];
    }
}

} // namespace

template <class T> void ReverseElements(const T* in, T* out, std::int64_t count) { Reverse(in, out, count); }

template void ReverseElements(const std::uint8_t*, std::uint8_t*, std::int64_t);
template void ReverseElements(const std::uint16_t*, std::uint16_t*, std::int64_t);
template void ReverseElements(const std::uint32_t*, std::uint32_t*, std::int64_t);
template void ReverseElements(const std::uint64_t*, std::uint64_t*, std::int64_t);
template void ReverseElements(const float*, float*, std::int64_t);

} // namespace QUOR::manipulation
