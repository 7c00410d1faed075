#pragma once

/// Put before a function with a hot loop, has the compiler make it once for each width of the processor's vectors;
/// which one runs is decided when the library is loaded. The function must lie in an anonymous namespace, or it is
/// exported, and what it calls must be inlined into it, or that runs without wide vectors.
///
/// Clang 14 doesn't know the attribute for templates, and under the thread sanitizer the choice would run before the
/// sanitizer's own start: there the function is made once, and so it is where this is defined as nothing before.
#if defined(VESSA_VECTOR_VARIANTS)
#elif defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_THREAD__)
#define VESSA_VECTOR_VARIANTS __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define VESSA_VECTOR_VARIANTS
#endif
