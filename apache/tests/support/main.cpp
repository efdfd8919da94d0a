#include <gtest/gtest.h>

#include "support/Sandbox.h"

// Read by the sanitizers of a build that has them, which find the functions by name.
extern "C" {
[[gnu::visibility("default")]] const char* __lsan_default_suppressions();
[[gnu::visibility("default")]] const char* __asan_default_options();

// What managers leave unreleased on purpose: the name of their scratch file.
const char* __lsan_default_suppressions() {
    return "leak:CZPWebsite::CZPWebsite\n"
           "leak:CZPUsers::CZPUsers\n";
}

// Some of those names are made in the C library, through which only the slow way tells who asked for them.
const char* __asan_default_options() { return "fast_unwind_on_malloc=0"; }
}

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) {
        return RUN_ALL_TESTS();
    }
    zp::test::runInSandbox([] { return RUN_ALL_TESTS(); });
}
