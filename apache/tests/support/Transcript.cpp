#include "support/Transcript.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "support/Files.h"

namespace zp::test {

namespace {

std::string withoutLongRows(const std::string& text) {
    std::string told;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find_first_not_of(text[at], at), text.size());
        told += end - at < 60 ? text.substr(at, end - at) : '{' + std::to_string(end - at) + text[at] + '}';
        at = end;
    }
    return told;
}

std::string expectedOf(const std::string& name) {
    const std::string suite = ::testing::UnitTest::GetInstance()->current_test_info()->test_suite_name();
    const std::string all = "\n" + collected("transcripts/" + suite.substr(suite.find('/') + 1) + ".txt");
    const size_t begin = all.find("\n=== " + name + ": ") + 1;
    return begin == 0 ? "" : all.substr(begin, all.find("\n===", begin) + 1 - begin);
}

}  // namespace

void expectTold(const std::string& name, const std::string& told) {
    const std::string whole = "=== " + name + ": " + withoutLongRows(told);
    EXPECT_EQ(whole, expectedOf(name)) << whole;
}

std::string printedLines(const std::string& text) {
    std::istringstream printed(text);
    std::string told;
    for (std::string line; std::getline(printed, line);) {
        told += "> " + line + (printed.eof() ? " (no newline)\n" : "\n");
    }
    return told;
}

std::string difference(const std::string& before, const std::string& after, const std::string& options) {
    const std::string old = scratch("old"), now = scratch("now"), change = scratch("change");
    writeFile(old, before);
    writeFile(now, after);
    const std::string command = "diff --text --label - --label + " + options + " " + old + " " + now +
                                " | sed '1{/^--- -$/d}; 2{/^+++ +$/d}' >" + change;
    EXPECT_EQ(std::system(command.c_str()), 0);
    return readFile(change);
}

}  // namespace zp::test
