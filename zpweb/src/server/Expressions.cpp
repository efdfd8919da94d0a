#include "server/Expressions.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <memory>

namespace zpweb {

namespace {

using Code = std::unique_ptr<pcre2_code, decltype(&pcre2_code_free)>;
using Match = std::unique_ptr<pcre2_match_data, decltype(&pcre2_match_data_free)>;

// Null where it is no expression.
Code compiled(const std::string& expression, Letters letters) {
    const uint32_t options = PCRE2_DUPNAMES | PCRE2_DOTALL | PCRE2_DOLLAR_ENDONLY |
                             (letters == Letters::OfAnyCase ? PCRE2_CASELESS : 0);
    int error = 0;
    size_t at = 0;
    return {pcre2_compile(reinterpret_cast<PCRE2_SPTR>(expression.data()), expression.size(), options,
                          &error, &at, nullptr),
            pcre2_code_free};
}

}  // namespace

bool findsIn(const std::string& expression, const std::string& text, Letters letters) {
    const Code code = compiled(expression, letters);
    if (code == nullptr) {
        return true;
    }
    const Match match(pcre2_match_data_create_from_pattern(code.get(), nullptr), pcre2_match_data_free);
    return match == nullptr || pcre2_match(code.get(), reinterpret_cast<PCRE2_SPTR>(text.data()),
                                           text.size(), 0, 0, match.get(), nullptr) != PCRE2_ERROR_NOMATCH;
}

}  // namespace zpweb
