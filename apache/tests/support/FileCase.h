// An operation as a change of one file: these bytes in, these bytes and this result out.
#pragma once

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace zp::test {

struct FileCase {
    std::string name;  // letters, digits and _
    std::string before;
    std::function<int(const std::string& file)> operation;
    int result = 0;
    std::optional<std::string> after = {};  // absent: as before
    std::string printed = "";
    // What stands beside the file afterwards: names without the file's own in front (".zpbackup.rt"); a
    // name of digits alone is written "#".
    std::vector<std::string> beside = {};
    std::optional<std::string> backup = {};  // what a copy that was kept holds; absent: the text before
};

// Runs the case on a new file and compares result, file, standard output and what stands beside the file. A
// copy beside it whose name begins with ".zpbackup" is one that was kept.
void check(const FileCase& fileCase);

// For INSTANTIATE_TEST_SUITE_P.
inline std::ostream& operator<<(std::ostream& out, const FileCase& fileCase) {
    return out << fileCase.name;
}
inline constexpr auto byName = [](const auto& info) { return std::string(info.param.name); };

}  // namespace zp::test
