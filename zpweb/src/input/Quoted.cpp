#include "input/Quoted.h"

namespace zpweb {

std::string inQuotes(std::string_view value) {
    constexpr size_t Longest = 80;
    std::string text = "\"";
    for (const char c : value.substr(0, Longest)) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            text += '\\';
            text += c;
        } else if (c == '\n' || c == '\r' || c == '\t') {
            text += c == '\n' ? "\\n" : c == '\r' ? "\\r" : "\\t";
        } else if (byte < ' ' || byte == 0x7f) {
            text += "\\x";
            text += "0123456789abcdef"[byte >> 4];
            text += "0123456789abcdef"[byte & 15];
        } else {
            text += c;
        }
    }
    return text + (value.size() > Longest ? "...\"" : "\"");
}

Outcome wrongValue(std::string_view kind, std::string_view value, std::string_view fault,
                   std::string_view expectation) {
    return failure(Status::Usage, std::string(kind) + " " + inQuotes(value) + ": " + std::string(fault) +
                                      "; " + std::string(expectation));
}

}  // namespace zpweb
