#include "server/Expressions.h"

#include <regex>

namespace zpweb {

bool findsIn(const std::string& expression, const std::string& text, Letters letters) {
    try {
        const auto any = letters == Letters::OfAnyCase ? std::regex::icase : std::regex::ECMAScript;
        return std::regex_search(text, std::regex(expression, std::regex::ECMAScript | any));
    } catch (const std::regex_error&) {
        return true;  // Perl's have more than the library knows
    }
}

}  // namespace zpweb
