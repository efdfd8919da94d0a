#include <fnmatch.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "support/Sandbox.h"

namespace {

// Does the filter of the command line ask for this test? One that leaves tests out is not understood.
bool isAskedFor(const std::string& name) {
    std::istringstream patterns(GTEST_FLAG_GET(filter));
    for (std::string pattern; std::getline(patterns, pattern, ':');) {
        if (::fnmatch(pattern.c_str(), name.c_str(), 0) == 0) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> testsAskedFor() {
    std::vector<std::string> names;
    const auto& all = *::testing::UnitTest::GetInstance();
    for (int i = 0; i < all.total_test_suite_count(); ++i) {
        const auto& suite = *all.GetTestSuite(i);
        for (int j = 0; j < suite.total_test_count(); ++j) {
            const std::string name = std::string(suite.name()) + "." + suite.GetTestInfo(j)->name();
            if (isAskedFor(name)) {
                names.push_back(name);
            }
        }
    }
    return names;
}

}  // namespace

// What a case mounts, fills or plants is gone with its sandbox: each has one of its own.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) {
        return RUN_ALL_TESTS();
    }
    int failed = 0;
    for (const std::string& name : testsAskedFor()) {
        if (const pid_t child = ::fork(); child == 0) {
            GTEST_FLAG_SET(filter, name);
            zp::test::runInSandbox([] { return RUN_ALL_TESTS(); });
        } else {
            int status = 0;
            failed += ::waitpid(child, &status, 0) != child || status != 0;
        }
    }
    std::quick_exit(failed > 0 ? 1 : 0);  // no test ran in this process, whose leaks would be looked for
}
