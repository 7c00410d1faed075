// What the sanitizers' runtimes ask every test program at its start. Nobody calls these without a sanitizer.

extern "C" {

// Memory that can't be had is a failure like any other, and tests look at it.
__attribute__((visibility("default"))) const char* __asan_default_options(); // NOLINT(bugprone-reserved-identifier)
const char* __asan_default_options() {                                       // NOLINT(bugprone-reserved-identifier)
    return "allocator_may_return_null=1:detect_stack_use_after_return=1:strict_string_checks=1";
}

__attribute__((visibility("default"))) const char* __tsan_default_options(); // NOLINT(bugprone-reserved-identifier)
const char* __tsan_default_options() { return "halt_on_error=1"; }           // NOLINT(bugprone-reserved-identifier)

__attribute__((visibility("default"))) const char* __ubsan_default_options(); // NOLINT(bugprone-reserved-identifier)
const char* __ubsan_default_options() { return "print_stacktrace=1"; }        // NOLINT(bugprone-reserved-identifier)
}
