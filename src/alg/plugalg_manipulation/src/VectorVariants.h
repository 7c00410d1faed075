#pragma once

/// Put before a function with a hot loop, has the compiler make it once for each width of the processor's vectors;
/// which one runs is decided when the module is loaded. The function must lie in an anonymous namespace, or it is
/// exported, and what it calls must be inlined into it, or that runs without wide vectors.
///
/// Clang 14 doesn't know the attribute for templates, and under the thread sanitizer the choice would run before the
/// sanitizer's own start: there the function is made once.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_THREAD__)
#define MANI_VECTOR_VARIANTS __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define MANI_VECTOR_VARIANTS
#endif

namespace QUOR::manipulation {

/// The bytes of a cache line. What vectors are loaded from begins with one: those that lie across two lines take two
/// loads.
constexpr int kLine = 64;

/// How many elements a cache line has.
template <class T> constexpr int kLineElements = kLine / sizeof(T);

} // namespace QUOR::manipulation
