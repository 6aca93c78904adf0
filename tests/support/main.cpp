// Runs the tests of a unit. Every test binary links it; the sanitizers read their settings from here, so that
// a binary behaves the same under ctest, in a debugger and by hand.
#include <tests/support/log_capture.h>

#include <gtest/gtest.h>

extern "C" {
const char* __asan_default_options();
const char* __tsan_default_options();
const char* __ubsan_default_options();

const char* __asan_default_options() {
    return "detect_stack_use_after_return=1:check_initialization_order=1:strict_string_checks=1:"
           "detect_leaks=1:allocator_may_return_null=1";
}

const char* __tsan_default_options() {
    return "halt_on_error=1:second_deadlock_stack=1:allocator_may_return_null=1";
}

const char* __ubsan_default_options() {
    return "print_stacktrace=1";
}
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    qel::test::installLogGuard();
    return RUN_ALL_TESTS();
}
