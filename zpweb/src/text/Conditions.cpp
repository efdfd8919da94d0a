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

// One that is not met is enough.
void Conditions::ask() {
    unmet_ = false;
    for (size_t i = 1; i <= open_.size() && !unmet_; ++i) {
        const size_t length = i < open_.size() ? open_[i].before : key_.size();
        unmet_ = !values_.isMet(std::string_view(key_).substr(0, length)).value_or(true);
    }
}

}  // namespace zpweb
