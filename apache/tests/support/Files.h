// Files of a test case.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace zp::test {

// A path in the running case's own directory, which is there and empty when the case begins.
std::string scratch(const std::string& name = "");

void writeFile(const std::string& path, std::string_view text);  // makes the directories on the way
std::string readFile(const std::string& path);                   // NoFile when there is none
inline constexpr const char* NoFile = "(no file)";

std::string mode(const std::string& path);   // permission bits in octal, as in "0644"; NoFile
std::string owner(const std::string& path);  // "user:group" in numbers; NoFile
std::vector<std::string> namesIn(const std::string& folder);  // sorted

// Each text with a newline behind it.
std::string lines(std::initializer_list<std::string_view> texts);

// A configuration of the collection in tests/configurations.
std::string collected(const std::string& name);
std::vector<std::string> collection();

}  // namespace zp::test
