#include "text/Mentions.h"

#include <algorithm>
#include <string>

#include "conf/Text.h"

namespace zpweb {

namespace {

bool isInName(char each) {
    return zp::conf::isLetter(each) || (each >= '0' && each <= '9') || each == '-' || each == '_';
}

// Is that the host, and no part of another's name, of a path or of an address of mail?
bool isHostAt(std::string_view text, size_t begin, size_t end) {
    constexpr std::string_view Www = "www.";
    begin -= text.substr(0, begin).ends_with(Www) ? Www.size() : 0;
    const std::string_view before = text.substr(0, begin), behind = text.substr(end);
    const bool follows =
        !before.empty() && (isInName(before.back()) || before.back() == '.' || before.back() == '@' ||
                            (before.back() == '/' && !before.ends_with("//")));
    const bool goesOn = !behind.empty() && (isInName(behind[0]) ||
                                            (behind[0] == '.' && behind.size() > 1 && isInName(behind[1])));
    return !follows && !goesOn;
}

std::string lowered(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), zp::conf::lower);
    return lower;
}

}  // namespace

bool mentions(std::string_view text, std::string_view host) {
    std::string plain = lowered(text);
    std::erase(plain, '\\');
    const std::string sought = lowered(host);
    size_t at = plain.find(sought);
    while (at != std::string::npos && !isHostAt(plain, at, at + sought.size())) {
        at = plain.find(sought, at + 1);
    }
    return at != std::string::npos;
}

}  // namespace zpweb
