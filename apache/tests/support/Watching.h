// What an operation says: to standard output and to tracking.
#pragma once

#include <CZPTrackManager.h>

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace zp::test {

// Standard output of the library, from here to the end of the scope.
class CapturedOutput {
public:
    CapturedOutput() : terminal_(std::cout.rdbuf(text_.rdbuf())) {}
    ~CapturedOutput() { std::cout.rdbuf(terminal_); }
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    std::string text() const { return text_.str(); }

private:
    std::ostringstream text_;
    std::streambuf* terminal_;
};

// Every call that reached the tracking object, in order: "module X", "properties label=value",
// "method X", "arguments label=value, label=value".
inline std::vector<std::string> callsOf(const CZPTrackManager& tracking) {
    constexpr const char* kinds[] = {"module ", "properties ", "method ", "arguments "};
    std::vector<std::string> calls;
    for (const auto& report : tracking.reports()) {
        std::string call = kinds[static_cast<size_t>(report.kind)] + report.text;
        const char* separator = "";
        for (const auto& [label, value] : report.values) {
            call += separator + label + "=" + value;
            separator = ", ";
        }
        calls.push_back(call);
    }
    return calls;
}

}  // namespace zp::test
