// What a case tells of an operation, in a text that stands beside the case.
#pragma once

#include <string>

namespace zp::test {

// Compares; the newline at the end of what is told is left out. A long row of one character is told by its
// length, "{1023x}", and a carriage return as "{CR}".
void expectTold(const std::string& told, const std::string& expected);

// What was printed, with "> " before each line.
std::string printedLines(const std::string& text);

// The lines that changed, each with the numbers that it had before, and has now:
//     7-a line that was taken away
//     8,20..22+the same line four times, where there was none
std::string changes(const std::string& before, const std::string& after);
// The same without numbers: "-a line", "+the same line".
std::string changedLines(const std::string& before, const std::string& after);

}  // namespace zp::test
