#include "sys/Mounts.h"

#include <sstream>

#include "sys/File.h"

namespace zpweb {

namespace {

// "a\\040b" for "a b".
std::string withoutEscapes(const std::string& text) {
    std::string plain;
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '\\' && at + 3 < text.size()) {
            plain += static_cast<char>((text[at + 1] - '0') * 64 + (text[at + 2] - '0') * 8 + text[at + 3] -
                                       '0');
            at += 3;
        } else {
            plain += text[at];
        }
    }
    return plain;
}

}  // namespace

std::optional<std::string> mountIn(const std::string& directory) {
    const auto real = realPathOf(directory);
    const auto table = readFile("/proc/self/mountinfo");
    std::istringstream lines(real.ok() && table.ok() ? *table : "");
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string place;
        for (int word = 0; word < 5; ++word) {
            words >> place;
        }
        place = withoutEscapes(place);
        if ((place + "/").starts_with(*real + "/")) {
            return place;
        }
    }
    return std::nullopt;
}

}  // namespace zpweb
