// Runs the tests of a unit. Every test binary links it. The sanitizers read their settings from here, so that
// a binary behaves the same under ctest, in a debugger and when started by hand.
#include <tests/support/log_capture.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>

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

namespace {

/// Sets the locale from the environment, as desktop toolkits do when they start.
/// @return false if it is not the locale in QEL_TEST_LOCALE, so that no run passes under another one.
bool adoptLocale() {
    std::setlocale(LC_ALL, "");
    const char* const wanted = std::getenv("QEL_TEST_LOCALE");
    const char* const actual = std::setlocale(LC_ALL, nullptr);
    if (!wanted || std::strcmp(wanted, actual) == 0) return true;
    std::fprintf(stderr, "the locale is %s instead of %s\n", actual, wanted);
    return false;
}

} // namespace

int main(int argc, char** argv) {
    if (!adoptLocale()) return 2;
    testing::InitGoogleTest(&argc, argv);
    qel::test::installLogGuard();
    return RUN_ALL_TESTS();
}
