// Expected texts, told by how they differ from another.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace zp::test {

// The text with its first `from` replaced; there must be one.
inline std::string with(std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    if (at == std::string::npos) {
        ADD_FAILURE() << "nothing to replace: " << from;
        return text;
    }
    return text.replace(at, from.size(), to);
}

inline std::string without(const std::string& text, const std::string& part) {
    return with(text, part, "");
}

inline std::string withoutEmptyLines(const std::string& text) {
    std::string kept;
    for (size_t at = 0; at < text.size();) {
        const size_t end = text.find('\n', at) + 1;
        if (end - at > 1) {
            kept.append(text, at, end - at);
        }
        at = end;
    }
    return kept;
}

}  // namespace zp::test
