// What the sanitizers' runtimes ask every test program at its start. Without a sanitizer nobody calls these.

#define SANITIZER_CALLS extern "C" __attribute__((visibility("default"), used))

// NOLINTBEGIN(bugprone-reserved-identifier): the runtimes' names

// The frames that tell uses after a return aren't aligned for vectors of 64 bytes by GCC 12, which then takes them for
// granted. Clang's builds have no such vectors.
#if defined(__clang__)
#define STACK_OPTION ":detect_stack_use_after_return=1"
#else
#define STACK_OPTION ":detect_stack_use_after_return=0"
#endif

// Memory that can't be had is a failure like any other, and tests look at it.
SANITIZER_CALLS const char* __asan_default_options() {
    return "allocator_may_return_null=1:strict_string_checks=1" STACK_OPTION;
}

SANITIZER_CALLS const char* __ubsan_default_options() { return "print_stacktrace=1"; }

SANITIZER_CALLS const char* __tsan_default_options() { return "allocator_may_return_null=1:halt_on_error=1"; }

// The loader's lock isn't seen, since the loader isn't instrumented.
SANITIZER_CALLS const char* __tsan_default_suppressions() { return "race:ld-linux-x86-64.so"; }

// NOLINTEND(bugprone-reserved-identifier)
