// An operation as a change of one file.
#pragma once

#include <functional>
#include <ostream>
#include <string>

namespace zp::test {

using FileOperation = std::function<int(const std::string& file)>;

// One operation and then another, or the same again; the first result stands before the second.
inline FileOperation inTurn(const FileOperation& first, const FileOperation& second) {
    return [=](const std::string& file) {
        const int result = first(file);
        return 1000 * result + second(file);
    };
}
inline FileOperation twice(const FileOperation& operation) { return inTurn(operation, operation); }

struct FileCase {
    const char* name;  // letters, digits and _
    std::string before;
    FileOperation operation;
    std::string expected;
};

// Runs the case on a new file and compares what it tells:
//     the result, names of what stands beside the file afterwards
//     > what was printed
//     the changes of the file (see Told.h)
// Of a name beside the file the file's own is left out (".zpbackup.rt"), and one of digits alone is "#". A
// copy whose name begins with ".zpbackup" was kept: where it does not hold the text before, "kept:" and
// its change follow. Where "chatter" ends the first line something is printed, and another case says what.
void check(const FileCase& fileCase);

// For INSTANTIATE_TEST_SUITE_P.
inline std::ostream& operator<<(std::ostream& out, const FileCase& fileCase) {
    return out << fileCase.name;
}
inline constexpr auto byName = [](const auto& info) { return std::string(info.param.name); };

}  // namespace zp::test
