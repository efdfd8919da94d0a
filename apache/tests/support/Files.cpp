#include "support/Files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include "support/Sandbox.h"

namespace zp::test {

namespace {

std::string caseFolder() {
    const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()) + "." + test->name();
    std::replace(name.begin(), name.end(), '/', '-');
    return std::string(SandboxFolder) + "/cases/" + name;
}

// In the sandbox; what is read before it is made comes from the sources.
std::string collectionFolder() {
    const std::string folder = std::string(SandboxFolder) + "/configurations/";
    return std::filesystem::exists(folder) ? folder : ZP_TEST_CONFIGURATIONS "/";
}

}  // namespace

std::string scratch(const std::string& name) {
    const std::string folder = caseFolder();
    std::filesystem::create_directories(folder);
    return name.empty() ? folder : folder + "/" + name;
}

void writeFile(const std::string& path, std::string_view text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    ASSERT_TRUE(out) << "cannot write " << path;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return NoFile;
    }
    std::ostringstream text;
    text << in.rdbuf();
    return std::move(text).str();
}

std::string mode(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return NoFile;
    }
    char text[8];
    std::snprintf(text, sizeof text, "%04o", status.st_mode & 07777U);
    return text;
}

std::string owner(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return NoFile;
    }
    return std::to_string(status.st_uid) + ":" + std::to_string(status.st_gid);
}

std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string lines(std::initializer_list<std::string_view> texts) {
    std::string joined;
    for (const std::string_view text : texts) {
        joined.append(text) += '\n';
    }
    return joined;
}

std::string collected(const std::string& name) { return readFile(collectionFolder() + name); }

std::vector<std::string> collection() {
    auto names = namesIn(collectionFolder());
    std::erase_if(names, [](const std::string& name) { return !name.ends_with(".conf"); });
    return names;
}

}  // namespace zp::test
