#include "support/FileCase.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/Files.h"
#include "support/Watching.h"

namespace zp::test {

namespace {

std::string shown(const std::string& name, const std::string& file) {
    if (name.find_first_not_of("0123456789") == std::string::npos) {
        return "#";
    }
    return name.compare(0, file.size(), file) == 0 ? name.substr(file.size()) : name;
}

}  // namespace

void check(const FileCase& fileCase) {
    const std::string name = "httpd.conf";
    const std::string folder = scratch("conf");
    const std::string file = folder + "/" + name;
    writeFile(file, fileCase.before);
    {
        const CapturedOutput output;
        EXPECT_EQ(fileCase.operation(file), fileCase.result);
        EXPECT_EQ(output.text(), fileCase.printed);
    }
    EXPECT_EQ(readFile(file), fileCase.after.value_or(fileCase.before));

    std::vector<std::string> beside;
    for (const std::string& found : namesIn(folder)) {
        if (found == name) {
            continue;
        }
        beside.push_back(shown(found, name));
        if (beside.back().compare(0, 9, ".zpbackup") == 0) {
            EXPECT_EQ(readFile(folder + "/" + found), fileCase.backup.value_or(fileCase.before)) << found;
        }
    }
    std::vector<std::string> expected = fileCase.beside;
    std::sort(expected.begin(), expected.end());
    std::sort(beside.begin(), beside.end());
    EXPECT_EQ(beside, expected);
}

}  // namespace zp::test
