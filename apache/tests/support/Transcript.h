// Texts in which cases are told, and which stand in configurations/transcripts.
#pragma once

#include <string>

namespace zp::test {

// Compares what a case of the running suite tells with its part of transcripts/SUITE.txt:
//     === NAME: the first line
//     more lines
// A text that is to change is printed as it stands there.
void expectTold(const std::string& name, const std::string& told);

// What was printed, with "> " before each line.
std::string printedLines(const std::string& text);

// What "diff" with these options tells of two texts. A long row of one character is told by its length.
std::string difference(const std::string& before, const std::string& after, const std::string& options);

}  // namespace zp::test
