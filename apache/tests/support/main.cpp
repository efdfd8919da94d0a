#include <gtest/gtest.h>

#include "support/Sandbox.h"

// What managers leave unreleased on purpose: the name of their scratch file. The sanitizer looks the
// function up by name. NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions();
const char* __lsan_default_suppressions() {
    return "leak:CZPWebsite::CZPWebsite\n"
           "leak:CZPUsers::CZPUsers\n";
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) {
        return RUN_ALL_TESTS();
    }
    zp::test::runInSandbox([] { return RUN_ALL_TESTS(); });
}
