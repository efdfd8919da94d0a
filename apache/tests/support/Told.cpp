#include "support/Told.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <vector>

#include "support/Files.h"

namespace zp::test {

namespace {

std::string readable(const std::string& text) {
    std::string told;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find_first_not_of(text[at], at), text.size());
        if (text[at] == '\r') {
            told += "{CR}";
        } else {
            told +=
                end - at < 60 ? text.substr(at, end - at) : '{' + std::to_string(end - at) + text[at] + '}';
        }
        at = end;
    }
    return told;
}

std::string withoutLastNewline(std::string text) {
    if (text.ends_with('\n')) {
        text.pop_back();
    }
    return text;
}

std::string closed(const std::string& text) {
    return text.empty() || text.ends_with('\n') ? text : text + " (no newline)\n";
}

// What "diff" tells with these formats of a line that was, and of one that is new.
std::string difference(const std::string& before, const std::string& after, const std::string& number) {
    const std::string old = scratch("old"), now = scratch("now"), change = scratch("change");
    writeFile(old, closed(before));
    writeFile(now, closed(after));
    const std::string command = "diff --text --old-line-format='" + number + "-%L' --new-line-format='" +
                                number + "+%L' --unchanged-line-format='' " + old + " " + now + " >" +
                                change;
    EXPECT_NE(std::system(command.c_str()), -1);
    return readFile(change);
}

// Lines of one text, and their numbers in order.
struct Alike {
    std::string text;
    std::vector<size_t> numbers;

    [[nodiscard]] std::string told() const {
        std::string list;
        for (size_t i = 0; i < numbers.size(); ++i) {
            const size_t first = i;
            while (i + 1 < numbers.size() && numbers[i + 1] == numbers[i] + 1) {
                ++i;
            }
            list += (list.empty() ? "" : ",") + std::to_string(numbers[first]);
            list += i == first ? "" : ".." + std::to_string(numbers[i]);
        }
        return list + text + '\n';
    }
};

}  // namespace

void expectTold(const std::string& told, const std::string& expected) {
    EXPECT_EQ(withoutLastNewline(readable(told)), expected);
}

std::string printedLines(const std::string& text) {
    std::istringstream printed(text);
    std::string told;
    for (std::string line; std::getline(printed, line);) {
        told += "> " + line + (printed.eof() ? " (no newline)\n" : "\n");
    }
    return told;
}

std::string changes(const std::string& before, const std::string& after) {
    std::istringstream change(difference(before, after, "%dn"));
    std::vector<Alike> all;
    for (std::string line; std::getline(change, line);) {
        size_t digits = 0;
        const size_t number = std::stoul(line, &digits);
        const std::string text = line.substr(digits);
        auto alike = std::find_if(all.begin(), all.end(), [&](auto& other) { return other.text == text; });
        if (alike == all.end()) {
            alike = all.insert(all.end(), {text, {}});
        }
        alike->numbers.push_back(number);
    }
    std::string told;
    for (const Alike& alike : all) {
        told += alike.told();
    }
    return told;
}

std::string changedLines(const std::string& before, const std::string& after) {
    return difference(before, after, "");
}

}  // namespace zp::test
