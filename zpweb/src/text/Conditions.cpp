#include "text/Conditions.h"

#include <algorithm>

#include "conf/Text.h"
#include "text/Statements.h"

namespace zpweb {

bool Conditions::take(std::string_view tag, std::string_view arguments) {
    const bool closes = tag.starts_with("</");
    const std::string_view name = zp::conf::upTo(tag.substr(closes ? 2 : 1), " \t\r\n\\>");
    if (name.empty() || zp::conf::lower(name.front()) != 'i' || !isCondition(name)) {
        return false;
    }
    if (closes) {
        close(name);
    } else {
        open_.push_back({std::string(name), key_.size()});
        key_.append(key_.empty() ? "" : "\n").append(name).append(" ").append(arguments);
    }
    ask();
    return true;
}

// A closing tag closes the innermost condition of its name.
void Conditions::close(std::string_view name) {
    for (size_t i = open_.size(); i-- > 0;) {
        if (zp::conf::equalIgnoringCase(open_[i].name, name)) {
            key_.resize(open_[i].before);
            open_.resize(i);
            return;
        }
    }
}

// All that are open are one question.
void Conditions::ask() { unmet_ = !values_.isMet(key_).value_or(true); }

}  // namespace zpweb
